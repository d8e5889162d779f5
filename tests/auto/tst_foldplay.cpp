// Folded scrolls: the strip that the frame maker moves and cuts into rectangles, the frame list
// that paces its worker, stopping while the worker paints, and a folded text on screen. The
// OpenGL parts run on a display or a private Xvfb.
#include "foldtextplay_p.h"
#include "logcapture.h"

#include <drawfoldimage.h>
#include <foldtextplay.h>
#include <imageplayhelper.h>
#include <playerpath.h>
#include <playtext.h>

#include <QPointer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <numeric>

namespace {

constexpr int kStep = 4;
constexpr int kMarkBlue = 77;
constexpr int kNoGap = -1; // useGap off: the gap is one strip length
constexpr int kReadyTimeoutMs = 20000;

// Image `image` of a strip: its pixel at `c` along the direction of travel has red c % 256 and
// green c / 256 * 16 + image + 1, so that a frame pixel names the image and column it shows.
QImage bandImage(int length, int breadth, bool alongX, int image)
{
    QImage picture(alongX ? QSize(length, breadth) : QSize(breadth, length), QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int c = alongX ? x : y;
            picture.setPixel(x, y, qRgb(c % 256, c / 256 * 16 + image + 1, kMarkBlue));
        }
    }
    return picture;
}

// "image:column", or "-" for a transparent pixel.
QString shown(QRgb pixel)
{
    if (qAlpha(pixel) == 0)
        return QStringLiteral("-");
    if (qBlue(pixel) != kMarkBlue)
        return QStringLiteral("?");
    return QStringLiteral("%1:%2").arg(qGreen(pixel) % 16 - 1).arg(qRed(pixel) + qGreen(pixel) / 16 * 256);
}

QRgb rgbAt(const QImage& image, int x, int y)
{
    return image.pixel(x, y) & RGB_MASK;
}

int modulo(int a, int n)
{
    return ((a % n) + n) % n;
}

ns::Fold fold(ns::EnumOrientation orientation, int count, const QList<QRect>& rects)
{
    ns::Fold f;
    f.enabled = true;
    f.count = count;
    f.orientation = orientation;
    for (const QRect& r : rects)
        f.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
    return f;
}

// Side by side: a 300 x 48 strip; stacked: 60 x 120. Scattered over the frame on purpose.
const QList<QRect> kSideBySide = { { 0, 0, 100, 48 }, { 140, 10, 100, 48 }, { 260, 60, 100, 48 } };
const QList<QRect> kStacked = { { 0, 0, 60, 40 }, { 100, 20, 60, 40 }, { 200, 70, 60, 40 } };
constexpr QSize kFrame { 400, 120 };

} // namespace

class TestFoldPlay : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void strip_data();
    void strip();
    void fillLevels_data();
    void fillLevels();
    void firstFill_data();
    void firstFill();
    void stopWhileWorkerPaints();
    void foldedTextOnScreen();

private:
    std::unique_ptr<LogCapture> m_log;
};

void TestFoldPlay::init()
{
    m_log = std::make_unique<LogCapture>();
}

void TestFoldPlay::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestFoldPlay::strip_data()
{
    QTest::addColumn<int>("moveType");
    QTest::addColumn<bool>("stacked");
    QTest::addColumn<QList<int>>("lengths");
    QTest::addColumn<int>("gap");
    QTest::addColumn<int>("count");

    // Lengths and gaps are multiples of the step, so that every wrap lands exactly.
    QTest::newRow("one image left") << int(ns::MOVE_LEFT) << false << QList<int> { 60 } << 20 << 3;
    QTest::newRow("one image left, no gap") << int(ns::MOVE_LEFT) << false << QList<int> { 60 } << kNoGap << 3;
    QTest::newRow("one image right") << int(ns::MOVE_RIGHT) << false << QList<int> { 52 } << 8 << 3;
    QTest::newRow("two images right") << int(ns::MOVE_RIGHT) << false << QList<int> { 100, 60 } << 40 << 3;
    QTest::newRow("one image up, side by side") << int(ns::MOVE_UP) << false << QList<int> { 40 } << 12 << 3;
    QTest::newRow("three images down, stacked") << int(ns::MOVE_DOWN) << true << QList<int> { 80, 60, 100 } << 20 << 3;
    QTest::newRow("three images up, stacked, no gap")
        << int(ns::MOVE_UP) << true << QList<int> { 80, 60, 40 } << kNoGap << 3;
    QTest::newRow("two of three pieces") << int(ns::MOVE_LEFT) << false << QList<int> { 60 } << 20 << 2;
    QTest::newRow("count above the rectangles") << int(ns::MOVE_LEFT) << false << QList<int> { 60 } << 20 << 5;
}

// Frame after frame, each rectangle shows the strip from where its piece begins, and the strip
// is the belt of images and gap moved one step a frame.
void TestFoldPlay::strip()
{
    QFETCH(int, moveType);
    QFETCH(bool, stacked);
    QFETCH(QList<int>, lengths);
    QFETCH(int, gap);
    QFETCH(int, count);

    const QList<QRect>& rects = stacked ? kStacked : kSideBySide;
    const QSize stripSize = stacked ? QSize(60, 120) : QSize(300, 48);
    const bool alongX = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_RIGHT;
    const bool forward = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_UP;
    const int limit = alongX ? stripSize.width() : stripSize.height();
    const int breadth = alongX ? stripSize.height() : stripSize.width();

    QWidget parent;
    parent.resize(kFrame);
    DrawFoldImage maker(&parent);
    maker.setFoldParaMeters(fold(stacked ? ns::ORIENTATION_VERTICAL : ns::ORIENTATION_HORIZONTAL, count, rects));
    QCOMPARE(maker.foldSize(), stripSize);
    maker.setMarqueeParaMeters(ns::MoveType(moveType), gap != kNoGap, gap);
    maker.setMarqueeSpeed(16, kStep);
    maker.setSrcRect(QRect(QPoint(0, 0), kFrame));
    for (int i = 0; i < lengths.size(); ++i) {
        QImage image = bandImage(lengths[i], breadth, alongX, i);
        maker.appendImage(image);
    }
    maker.initPlay();
    const int gapLength = gap == kNoGap ? limit : gap;
    QCOMPARE(maker.gap(), gapLength);

    // The belt repeats images and gap with this period.
    QVector<int> pattern; // image at each position of a period, -1 for the gap
    QVector<int> column;
    for (int i = 0; i < lengths.size(); ++i) {
        for (int c = 0; c < lengths[i]; ++c) {
            pattern << i;
            column << c;
        }
    }
    pattern += QVector<int>(gapLength, -1);
    column += QVector<int>(gapLength, -1);
    const int period = int(pattern.size());
    const QList<int> belt = maker.lengths();
    const int total = std::accumulate(belt.begin(), belt.end(), 0);

    QImage frame;
    connect(&maker, &DrawFoldImage::signalsAppendImage, this, [&frame](const QPixmap& p) { frame = p.toImage(); });
    const int pieces = std::min(count, int(rects.size()));
    const int frames = (2 * period + limit) / kStep + 3;
    for (int k = 0; k < frames; ++k) {
        maker.startPlay();
        QCOMPARE(frame.size(), kFrame);
        // Where the belt's first image stood when this frame was drawn.
        const int origin = forward ? limit - k * kStep : gapLength - total + k * kStep;
        for (int i = 0; i < int(rects.size()); ++i) {
            const QRect& r = rects[i];
            for (int a = 0; a < r.width(); a += 7) {
                for (int b = 0; b < r.height(); b += 9) {
                    const QPoint onStrip
                        = stacked ? QPoint(a, maker.foldLocal(i) + b) : QPoint(maker.foldLocal(i) + a, b);
                    const int u = alongX ? onStrip.x() : onStrip.y();
                    QString expected = QStringLiteral("-");
                    // The belt enters at one edge: at first it covers the strip only partly.
                    const bool covered = forward ? u >= origin : u < origin + total;
                    if (i < pieces && covered) {
                        const int at = modulo(u - origin, period);
                        if (pattern[at] >= 0)
                            expected = QStringLiteral("%1:%2").arg(pattern[at]).arg(column[at]);
                    }
                    const QString actual = shown(frame.pixel(r.topLeft() + QPoint(a, b)));
                    if (actual != expected) {
                        QFAIL(qPrintable(QStringLiteral("frame %1, rectangle %2 at (%3, %4): shows %5, expected %6")
                                             .arg(k)
                                             .arg(i)
                                             .arg(a)
                                             .arg(b)
                                             .arg(actual, expected)));
                    }
                }
            }
        }
    }
    // Nothing outside the rectangles.
    QCOMPARE(qAlpha(frame.pixel(kFrame.width() - 1, 0)), 0);
    QCOMPARE(m_log->count("fold count"), count == pieces ? 0 : 1);
}

void TestFoldPlay::fillLevels_data()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<bool>("running");
    QTest::addColumn<bool>("stop");
    QTest::addColumn<bool>("restart");
    QTest::addColumn<bool>("paint");
    // A finished worker is not running.
    QTest::newRow("0: starved") << 0 << true << false << false << false;
    QTest::newRow("10: starved, no restart") << 10 << false << false << false << false;
    QTest::newRow("11: restart") << 11 << false << false << true << true;
    QTest::newRow("30: restart") << 30 << false << false << true << true;
    QTest::newRow("30 while running") << 30 << true << false << false << true;
    QTest::newRow("31: no restart") << 31 << false << false << false << true;
    QTest::newRow("40: goes on") << 40 << true << false << false << true;
    QTest::newRow("41: stop") << 41 << true << true << false << true;
    QTest::newRow("41 finished: nothing to stop") << 41 << false << false << false << true;
}

void TestFoldPlay::fillLevels()
{
    QFETCH(int, held);
    QFETCH(bool, running);
    const foldfill::Tick tick = foldfill::decide(held, running, !running);
    QTEST(tick.stopWorker, "stop");
    QTEST(tick.restartWorker, "restart");
    QTEST(tick.paint, "paint");
}

void TestFoldPlay::firstFill_data()
{
    QTest::addColumn<QString>("background");
    QTest::newRow("green background") << "#FF00FF00";
    QTest::newRow("no background") << "";
}

// Nothing shows, not even the background, until 31 frames are held; then a frame a paint, its
// transparent half showing the background.
void TestFoldPlay::firstFill()
{
    QFETCH(QString, background);
    QWidget parent;
    parent.resize(200, 100);
    auto* play = new FoldTextPlay(&parent);
    play->setBKColor(background);
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    QPixmap frame(play->size());
    frame.fill(Qt::transparent);
    QPainter(&frame).fillRect(QRect(0, 0, 100, 100), Qt::red);
    const auto paint = [play] { return play->grabFramebuffer(); };
    for (int i = 0; i < foldfill::kFirstFillFrames - 1; ++i)
        QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frame));
    // The framebuffer is cleared and nothing else: no frame, no background.
    QImage picture = paint();
    QCOMPARE(rgbAt(picture, 50, 50), 0u);
    QCOMPARE(rgbAt(picture, 150, 50), 0u);
    QCOMPARE(play->frameCount(), foldfill::kFirstFillFrames - 1);

    QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frame));
    picture = paint();
    QCOMPARE(play->frameCount(), foldfill::kFirstFillFrames - 1);
    QCOMPARE(rgbAt(picture, 50, 50), 0xFF0000u);
    QCOMPARE(rgbAt(picture, 150, 50), background.isEmpty() ? 0u : QColor(background).rgb() & RGB_MASK);
    paint();
    QCOMPARE(play->frameCount(), foldfill::kFirstFillFrames - 2);
    play->stopPlay();
    delete play;
}

// The worker is stopped in the middle of its frames and the player deleted at once: the worker
// must finish without touching either, and go with its frame maker.
void TestFoldPlay::stopWhileWorkerPaints()
{
    QWidget parent;
    parent.resize(600, 80);
    QImage image = bandImage(900, 80, true, 0);
    QList<QPointer<DrawFoldImage>> makers;
    for (int round = 0; round < 200; ++round) {
        auto* play = new FoldTextPlay(&parent);
        play->setFoldParaMeters(
            fold(ns::ORIENTATION_HORIZONTAL, 3, { { 0, 0, 200, 80 }, { 200, 0, 200, 80 }, { 400, 0, 200, 80 } }));
        play->setMarqueeParaMeters(ns::MOVE_LEFT, true, 40);
        play->setMarqueeSpeed(16, kStep);
        play->appendPixmap(QPixmap::fromImage(image));
        play->startPlay(QString());
        makers << play->drawFoldImage();
        QTest::qWait(QRandomGenerator::global()->bounded(4));
        play->stopPlay();
        QCOMPARE(play->frameCount(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(play->frameCount(), 0);
        delete play;
    }
    for (const QPointer<DrawFoldImage>& maker : qAsConst(makers))
        QTRY_VERIFY(maker.isNull());
}

void TestFoldPlay::foldedTextOnScreen()
{
    QTemporaryDir cache;
    PlayerPath::getInstance().setImageCachePath(cache.path());
    const nlohmann::json style = { { "id", 1 },
        { "style",
            { { "bkColor", "#FFFF0000" }, { "textColor", "#FFFFFFFF" }, { "fontFamilies", { "DejaVu Sans" } },
                { "pixelSize", 24 } } } };
    const nlohmann::json run = { { "attributeId", 1 }, { "text", "A folded ticker runs across three boxes" } };
    const nlohmann::json record = { { "content",
        { { "displayStyle",
              { { "type", ns::SCROLL },
                  { "scrollAttributes", { { "effecs", { { "speed", 10 }, { "moveType", ns::MOVE_LEFT } } } } } } },
            { "textAttributes", { style } },
            { "paragraphs", { { { "vAlignment", 1 }, { "hAlignment", 0 }, { "lines", { { run } } } } } } } } };
    QWidget parent;
    parent.resize(480, 40);
    auto* player = new playtext(&parent);
    ns::Widget widget;
    widget.id = 7201;
    widget.duration = 10000;
    widget.jsonText = record.dump();
    widget.fold = fold(ns::ORIENTATION_HORIZONTAL, 3, { { 0, 0, 140, 40 }, { 170, 0, 140, 40 }, { 340, 0, 140, 40 } });
    int ready = 0;
    player->iInit(widget, [&ready](EnumMediaStatus status) { ready += status == MediaReady; });
    parent.show();
    player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(ready, 1, kReadyTimeoutMs);
    auto* play = parent.findChild<FoldTextPlay*>();
    QVERIFY(play && play->isVisible());
    // The red runs come in at the right box and move left, across the gaps between the boxes.
    const auto redColumns = [&parent] {
        const QImage shot = parent.grab().toImage();
        QVector<int> columns;
        for (int x = 0; x < shot.width(); ++x) {
            const QColor c = shot.pixelColor(x, 20);
            if (c.red() > 200 && c.green() < 80 && c.blue() < 80)
                columns << x;
        }
        return columns;
    };
    QTRY_VERIFY_WITH_TIMEOUT(!redColumns().isEmpty(), kReadyTimeoutMs);
    const QVector<int> before = redColumns();
    QTRY_VERIFY_WITH_TIMEOUT(redColumns().first() < before.first(), kReadyTimeoutMs);
    for (int x : redColumns())
        QVERIFY2(x < 140 || (x >= 170 && x < 310) || x >= 340, qPrintable(QString::number(x)));
    player->iDestory();
    delete player;
    PlayerPath::getInstance().setImageCachePath(QString());
}

QTEST_MAIN(TestFoldPlay)
#include "tst_foldplay.moc"
