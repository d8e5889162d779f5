// Folded scrolls: the strip that the frame maker moves and cuts into rectangles, the frame list that
// paces its worker, a show on screen, and stopping while the worker paints. The OpenGL parts run on
// a display or a private Xvfb.
#include "foldtextplay_p.h"
#include "framecheck.h"
#include "logcapture.h"

#include <drawfoldimage.h>
#include <foldtextplay.h>

#include <QtTest>

using namespace framecheck;

namespace {

constexpr int kStep = 4;
constexpr int kNoGap = -1000; // useGap off: the gap is one strip length
constexpr QSize kFrame { 400, 120 };
// Side by side: a 300 x 48 strip; stacked: 60 x 120. Scattered over the frame on purpose.
const QList<QRect> kSideBySide = { { 0, 0, 100, 48 }, { 140, 10, 100, 48 }, { 260, 60, 100, 48 } };
const QList<QRect> kStacked = { { 0, 0, 60, 40 }, { 100, 20, 60, 40 }, { 200, 70, 60, 40 } };

// The pixel of image `image` at `c` along the direction of travel: red and green name both.
QRgb bandPixel(int image, int c)
{
    return qRgb(c % 256, c / 256 * 16 + image + 1, 77);
}

QImage bandImage(int length, int breadth, bool alongX, int image)
{
    QImage picture(alongX ? QSize(length, breadth) : QSize(breadth, length), QImage::Format_ARGB32);
    for (int c = 0; c < length; ++c) {
        for (int b = 0; b < breadth; ++b)
            picture.setPixel(alongX ? QPoint(c, b) : QPoint(b, c), bandPixel(image, c));
    }
    return picture;
}

} // namespace

class TestFoldPlay : public QObject {
    Q_OBJECT
private slots:
    void init() { m_log = std::make_unique<LogCapture>(); }
    void cleanup()
    {
        QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
        m_log.reset();
    }
    void strip_data();
    void strip();
    void fillLevels();
    void firstFill();
    void showAndStopWhileWorkerPaints();

private:
    std::unique_ptr<LogCapture> m_log;
};

void TestFoldPlay::strip_data()
{
    QTest::addColumn<int>("moveType");
    QTest::addColumn<int>("cut"); // 0 side by side, 1 stacked, 2 no fold
    QTest::addColumn<QList<int>>("lengths");
    QTest::addColumn<int>("gap");
    QTest::addColumn<int>("count");

    // Lengths and gaps are multiples of the step, so that every wrap lands exactly. A round of three
    // images or more is drawn once, so rows keep it a strip longer than any image (the last with the gap).
    QTest::newRow("one image left, no gap, two pieces") << int(ns::MOVE_LEFT) << 0 << QList<int> { 60 } << kNoGap << 2;
    QTest::newRow("two images right") << int(ns::MOVE_RIGHT) << 0 << QList<int> { 100, 60 } << 40 << 3;
    QTest::newRow("one image up, side by side, negative gap") << int(ns::MOVE_UP) << 0 << QList<int> { 40 } << -8 << 5;
    QTest::newRow("three images down, stacked") << int(ns::MOVE_DOWN) << 1 << QList<int> { 80, 60, 100 } << 20 << 3;
    QTest::newRow("three images up, stacked, no gap")
        << int(ns::MOVE_UP) << 1 << QList<int> { 80, 60, 40 } << kNoGap << 3;
    QTest::newRow("three images left, no fold") << int(ns::MOVE_LEFT) << 2 << QList<int> { 240, 200, 220 } << 40 << 1;
}

// Frame after frame, the strip is the belt of images and gap moved one step a frame, entering at one
// edge, and the frame is the strip cut into the rectangles.
void TestFoldPlay::strip()
{
    QFETCH(int, moveType);
    QFETCH(int, cut);
    QFETCH(QList<int>, lengths);
    QFETCH(int, gap);
    QFETCH(int, count);

    const bool stacked = cut == 1;
    const QList<QRect> rects = cut == 2 ? QList<QRect> { QRect(QPoint(0, 0), kFrame) }
        : stacked                       ? kStacked
                                        : kSideBySide;
    const QSize strip = cut == 2 ? kFrame : stacked ? QSize(60, 120) : QSize(300, 48);
    const bool alongX = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_RIGHT;
    const bool forward = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_UP;
    const int limit = alongX ? strip.width() : strip.height();
    const int breadth = alongX ? strip.height() : strip.width();

    QWidget parent;
    parent.resize(kFrame);
    DrawFoldImage maker(&parent);
    if (cut != 2)
        maker.setFoldParaMeters(makeFold(rects, stacked, count));
    QCOMPARE(maker.foldSize(), strip);
    maker.setMarqueeParaMeters(ns::MoveType(moveType), gap != kNoGap, gap);
    maker.setMarqueeSpeed(16, kStep);
    maker.setSrcRect(QRect(QPoint(0, 0), kFrame));
    // One round of the belt: the images, then the gap; a single image repeats to cover the strip.
    const int gapLength = gap == kNoGap ? limit : std::max(gap, 0);
    QVector<QRgb> round;
    for (int i = 0; i < lengths.size(); ++i) {
        QImage image = bandImage(lengths[i], breadth, alongX, i);
        maker.appendImage(image);
        for (int c = 0; c < lengths[i]; ++c)
            round << bandPixel(i, c);
    }
    maker.initPlay();
    round += QVector<QRgb>(gapLength, 0);
    const int n = int(round.size());
    const int total = lengths.size() == 1 ? (limit / n + 3) * n : lengths.size() == 2 ? 2 * n : n;

    QImage frame;
    connect(&maker, &DrawFoldImage::signalsAppendImage, this, [&frame](const QPixmap& p) { frame = p.toImage(); });
    QImage expected(strip, QImage::Format_ARGB32_Premultiplied);
    for (int k = 0; k < (2 * n + limit) / kStep + 3; ++k) {
        maker.startPlay();
        // Where the belt's first image stood when this frame was drawn.
        const int origin = forward ? limit - k * kStep : gapLength - total + k * kStep;
        expected.fill(Qt::transparent);
        for (int u = forward ? std::max(origin, 0) : 0; u < (forward ? limit : std::min(origin + total, limit)); ++u) {
            for (int b = 0; b < breadth; ++b)
                expected.setPixel(alongX ? QPoint(u, b) : QPoint(b, u), round[((u - origin) % n + n) % n]);
        }
        const QString difference
            = imageDifference(frame, foldCut(expected, rects, stacked, std::min(count, int(rects.size())), kFrame));
        QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("frame %1: %2").arg(k).arg(difference)));
    }
    QCOMPARE(m_log->count("fold count"), count > rects.size() ? 1 : 0);
    QCOMPARE(m_log->count("is negative; the rounds touch"), gap < 0 && gap != kNoGap ? 1 : 0);
}

// How many frames are held steers the worker and the painting.
void TestFoldPlay::fillLevels()
{
    // Held, worker running (a finished one is not), and what a tick does: stop, restart, paint as bits 4, 2, 1.
    const int rows[][3]
        = { { 10, 0, 0 }, { 11, 0, 3 }, { 30, 1, 1 }, { 31, 0, 1 }, { 40, 1, 1 }, { 41, 1, 5 }, { 41, 0, 1 } };
    for (const auto& row : rows) {
        const foldfill::Tick tick = foldfill::decide(row[0], row[1], !row[1]);
        QVERIFY2(
            tick.stopWorker * 4 + tick.restartWorker * 2 + tick.paint == row[2], qPrintable(QString::number(row[0])));
    }
}

// Nothing shows, not even the background, until 31 frames are held; then a frame a paint, its
// transparent half showing the background, and two frames are always kept.
void TestFoldPlay::firstFill()
{
    QWidget parent;
    parent.resize(200, 100);
    auto* play = new FoldTextPlay(&parent);
    play->setBKColor("#FF00FF00");
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    QPixmap frame(play->size());
    frame.fill(Qt::transparent);
    QPainter(&frame).fillRect(QRect(0, 0, 100, 100), Qt::red);
    const auto rgbAt = [play](int x) { return play->grabFramebuffer().pixel(x, 50) & RGB_MASK; };
    for (int i = 0; i < 30; ++i)
        QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frame));
    QCOMPARE(QList<uint>({ rgbAt(50), rgbAt(150), uint(play->frameCount()) }), QList<uint>({ 0, 0, 30 }));
    QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frame));
    QCOMPARE(QList<uint>({ rgbAt(50), uint(play->frameCount()), rgbAt(150) }), QList<uint>({ 0xFF0000, 30, 0x00FF00 }));
    for (int i = 0; i < 31; ++i)
        play->grabFramebuffer();
    QCOMPARE(play->frameCount(), 2);
    play->stopPlay();
}

// A show on screen: the worker rests while the screen is ahead and comes back when it has eaten
// into the frames. Then the worker is stopped in the middle of its frames and the player deleted
// at once, round after round: the worker must finish without touching either, and go with its
// frame maker.
void TestFoldPlay::showAndStopWhileWorkerPaints()
{
    QWidget parent;
    parent.resize(600, 80);
    const QImage image = bandImage(900, 80, true, 0);
    QList<QPointer<DrawFoldImage>> makers;
    for (int round = 0; round < 200; ++round) {
        auto* play = new FoldTextPlay(&parent);
        play->setFoldParaMeters(makeFold({ { 0, 0, 200, 80 }, { 200, 0, 200, 80 }, { 400, 0, 200, 80 } }, false));
        play->setMarqueeParaMeters(ns::MOVE_LEFT, true, 40);
        play->setMarqueeSpeed(16, kStep);
        play->appendPixmap(QPixmap::fromImage(image));
        play->startPlay(QString());
        QVERIFY(play->isProducing());
        makers << play->drawFoldImage();
        if (round == 0) {
            parent.show();
            QTRY_VERIFY(play->frameCount() > foldfill::kMostFrames && !play->isProducing());
            const int made = play->drawFoldImage()->framesMade();
            QTRY_VERIFY(play->drawFoldImage()->framesMade() > made);
            QTRY_COMPARE(qBlue(play->grabFramebuffer().pixel(300, 40)), 77);
        }
        QTest::qWait(QRandomGenerator::global()->bounded(4));
        play->stopPlay();
        QVERIFY(!play->isProducing());
        QCoreApplication::processEvents();
        QCOMPARE(play->frameCount(), 0);
        delete play;
    }
    for (const QPointer<DrawFoldImage>& maker : qAsConst(makers))
        QTRY_VERIFY(maker.isNull());
}

QTEST_MAIN(TestFoldPlay)
#include "tst_foldplay.moc"
