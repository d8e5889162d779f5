#include "logcapture.h"
#include "testpictures.h"

#include <effectdisplay.h>

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

using namespace testpictures;

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 100;

QImage grabImage(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

// Bounding box of the pixels a viewer would see (alpha above zero).
QRect paintedRect(const QImage& image)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0)
                box |= QRect(x, y, 1, 1);
        }
    }
    return box;
}

int threadCount()
{
    return int(QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

QTimer* frameTimer(EffectDisplay& display)
{
    return display.findChild<QTimer*>("frameTimer");
}

void waitMs(int ms)
{
    QElapsedTimer clock;
    clock.start();
    QVERIFY(QTest::qWaitFor([&] { return clock.elapsed() >= ms; }, ms + 1000));
}

} // namespace

class TestEffectDisplay : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void noEffectEndFrame();
    void clockOnlyForRealEffects_data();
    void clockOnlyForRealEffects();
    void unknownCodePaintsNothing_data();
    void unknownCodePaintsNothing();
    void effectTimeIsCutToDuration();
    void clockStartsAtPlayNotAtFirstPaint();
    void secondShowEffectRestartsProgress();
    void randomCodePicksFromPool();
    void rectangleEffects_data();
    void rectangleEffects();
    void fold_data();
    void fold();
    void foldWithoutRectanglesLogs_data();
    void foldWithoutRectanglesLogs();
    void pauseAndResume();
    void badFiles_data();
    void badFiles();
    void destroyWhileClockRuns();

private:
    QTemporaryDir m_dir;
    QString m_picture;
    std::unique_ptr<QWidget> m_parent;
    EffectDisplay* m_display = nullptr;
    std::unique_ptr<LogCapture> m_log;
};

void TestEffectDisplay::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_picture = savePng(quadrants(400, 200), m_dir.path(), "quadrants.png");
    QVERIFY(!m_picture.isEmpty());
}

void TestEffectDisplay::init()
{
    m_log = std::make_unique<LogCapture>();
    m_parent = std::make_unique<QWidget>();
    m_parent->resize(kWidth, kHeight);
    m_display = new EffectDisplay(m_parent.get());
}

void TestEffectDisplay::cleanup()
{
    m_parent.reset();
    m_display = nullptr;
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestEffectDisplay::noEffectEndFrame()
{
    QCOMPARE(m_display->size(), QSize(kWidth, kHeight));
    m_display->showEffect(0, m_picture, 1000, 1000);
    const QImage frame = grabImage(*m_display);

    // The picture is fitted to one pixel less than the widget and drawn unchanged.
    const QImage expected = QImage(m_picture)
                                .scaled(kWidth - 1, kHeight - 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(frame.copy(0, 0, kWidth - 1, kHeight - 1), expected);
    for (int y = 0; y < kHeight; ++y)
        QCOMPARE(qAlpha(frame.pixel(kWidth - 1, y)), 0);
    for (int x = 0; x < kWidth; ++x)
        QCOMPARE(qAlpha(frame.pixel(x, kHeight - 1)), 0);
    QVERIFY(!frameTimer(*m_display)->isActive());
    QVERIFY(m_log->contains("EffectDisplay::playEffects()------------------load image success"));
}

void TestEffectDisplay::clockOnlyForRealEffects_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("extraThreads");
    QTest::newRow("noEffect") << 0 << 0;
    QTest::newRow("extendLeft") << 16 << 1;
    QTest::newRow("unknown code still counts") << 100 << 1;
}

void TestEffectDisplay::clockOnlyForRealEffects()
{
    QFETCH(int, code);
    QFETCH(int, extraThreads);

    // A first load lets Qt start the helper threads it starts lazily, so they do not count.
    m_display->showEffect(0, m_picture, 0, 0);
    const int before = threadCount();
    m_display->showEffect(code, m_picture, 5000, 5000);
    QCOMPARE(threadCount(), before + extraThreads);
    QVERIFY(frameTimer(*m_display)->isActive());
}

void TestEffectDisplay::unknownCodePaintsNothing_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("2") << 2;
    QTest::newRow("100") << 100;
    QTest::newRow("248") << 248;
    QTest::newRow("negative") << -16;
}

void TestEffectDisplay::unknownCodePaintsNothing()
{
    QFETCH(int, code);

    m_parent->show();
    QSignalSpy initOk(m_display, &EffectDisplay::signalsImageInitOk);
    m_display->showEffect(code, m_picture, 100, 100);
    QCOMPARE(initOk.count(), 1);
    QCOMPARE(m_display->currentEffect(), code);
    QVERIFY(frameTimer(*m_display)->isActive());
    QVERIFY(paintedRect(grabImage(*m_display)).isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!frameTimer(*m_display)->isActive(), 5000);
    QVERIFY(paintedRect(grabImage(*m_display)).isEmpty());
}

void TestEffectDisplay::effectTimeIsCutToDuration()
{
    m_parent->show();
    m_display->showEffect(16, m_picture, 60000, 150);
    // With the full minute the timer would run a minute; the duration ends it.
    QTRY_VERIFY_WITH_TIMEOUT(!frameTimer(*m_display)->isActive(), 10000);
    QCOMPARE(paintedRect(grabImage(*m_display)), QRect(0, 0, kWidth - 1, kHeight - 1));
}

void TestEffectDisplay::clockStartsAtPlayNotAtFirstPaint()
{
    m_display->showEffect(16, m_picture, 100, 100);
    waitMs(300);
    // The first paint comes after the effect time: it is already the end frame.
    QCOMPARE(paintedRect(grabImage(*m_display)), QRect(0, 0, kWidth - 1, kHeight - 1));
}

void TestEffectDisplay::secondShowEffectRestartsProgress()
{
    m_parent->show();
    m_display->showEffect(16, m_picture, 2000, 2000);
    QTRY_VERIFY_WITH_TIMEOUT(paintedRect(grabImage(*m_display)).width() >= kWidth / 2, 10000);

    m_display->showEffect(16, m_picture, 2000, 2000);
    QVERIFY2(paintedRect(grabImage(*m_display)).width() < kWidth / 4, "progress did not fall back to the start");
    QVERIFY(frameTimer(*m_display)->isActive());
}

void TestEffectDisplay::randomCodePicksFromPool()
{
    const QList<int>& pool = EffectDisplay::randomEffectCodes();
    QCOMPARE(pool.size(), 38);
    QSet<int> seen;
    for (int i = 0; i < 60; ++i) {
        m_display->showEffect(1, m_picture, 1000, 1000);
        const int code = m_display->currentEffect();
        QVERIFY2(pool.contains(code), qPrintable(QString::number(code)));
        seen.insert(code);
    }
    QVERIFY(seen.size() > 10);
    QVERIFY(!seen.contains(0));
    for (int marquee = 244; marquee <= 247; ++marquee)
        QVERIFY(!seen.contains(marquee));
}

void TestEffectDisplay::rectangleEffects_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<float>("progress");
    QTest::addColumn<QRect>("painted");
    QTest::addColumn<QPoint>("probe");
    QTest::addColumn<QColor>("probeColor");

    // The picture is 199 x 99 in a 200 x 100 widget; probes lie away from colour borders.
    const QRect whole(0, 0, 199, 99);
    for (int code : { 16, 17, 18, 19, 20, 21, 22, 32, 33, 34, 35, 48, 49, 50, 51, 52, 53 }) {
        const QByteArray name = EffectDisplay::effectName(code).toLatin1();
        QTest::newRow(name + " p=1") << code << 1.0f << whole << QPoint(10, 10) << kTopLeft;
    }
    for (int code : { 16, 17, 18, 19, 20, 21, 22 }) {
        const QByteArray name = EffectDisplay::effectName(code).toLatin1();
        QTest::newRow(name + " p=0") << code << 0.0f << QRect() << QPoint(10, 10) << QColor(Qt::transparent);
    }
    QTest::newRow("moveLeft p=0 lies outside") << 32 << 0.0f << QRect() << QPoint(10, 10) << QColor(Qt::transparent);

    QTest::newRow("extendLeft") << 16 << 0.5f << QRect(0, 0, 99, 99) << QPoint(90, 10) << kTopRight;
    QTest::newRow("entendTop") << 17 << 0.5f << QRect(0, 0, 199, 49) << QPoint(10, 40) << kBottomLeft;
    QTest::newRow("entendRight") << 18 << 0.5f << QRect(99, 0, 99, 99) << QPoint(110, 10) << kTopLeft;
    QTest::newRow("extendBottom") << 19 << 0.5f << QRect(0, 49, 199, 49) << QPoint(10, 55) << kTopLeft;
    QTest::newRow("extendCenter") << 20 << 0.5f << QRect(49, 24, 99, 49) << QPoint(55, 30) << kTopLeft;
    QTest::newRow("extendLevel") << 21 << 0.5f << QRect(49, 0, 99, 99) << QPoint(140, 90) << kBottomRight;
    QTest::newRow("extendVertical") << 22 << 0.5f << QRect(0, 24, 199, 49) << QPoint(10, 30) << kTopLeft;
    QTest::newRow("moveLeft") << 32 << 0.5f << QRect(0, 0, 100, 99) << QPoint(10, 10) << kTopRight;
    QTest::newRow("moveTop") << 33 << 0.5f << QRect(0, 0, 199, 50) << QPoint(10, 10) << kBottomLeft;
    QTest::newRow("moveRight") << 34 << 0.5f << QRect(99, 0, 101, 99) << QPoint(110, 10) << kTopLeft;
    QTest::newRow("moveBottom") << 35 << 0.5f << QRect(0, 49, 199, 51) << QPoint(10, 60) << kTopLeft;
    QTest::newRow("indentLeft keeps the right edge") << 48 << 0.5f << whole << QPoint(5, 10) << kTopRight;
    QTest::newRow("indentTop keeps the bottom edge") << 49 << 0.5f << whole << QPoint(10, 5) << kBottomLeft;
    QTest::newRow("indentRight keeps the left edge")
        << 50 << 0.5f << QRect(0, 0, 200, 99) << QPoint(190, 10) << kTopLeft;
    QTest::newRow("indentBottom keeps the top edge")
        << 51 << 0.5f << QRect(0, 0, 199, 100) << QPoint(10, 95) << kTopLeft;
    QTest::newRow("indentToCenter") << 52 << 0.5f << QRect(0, 0, 199, 100) << QPoint(10, 95) << kBottomLeft;
    QTest::newRow("indentBothSides") << 53 << 0.5f << QRect(0, 0, 200, 99) << QPoint(190, 10) << kTopRight;
}

void TestEffectDisplay::rectangleEffects()
{
    QFETCH(int, code);
    QFETCH(float, progress);
    QFETCH(QRect, painted);
    QFETCH(QPoint, probe);
    QFETCH(QColor, probeColor);

    m_display->showEffect(0, m_picture, 0, 0);
    const QImage frame = m_display->renderFrame(code, progress).convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(frame.size(), QSize(kWidth, kHeight));
    QCOMPARE(paintedRect(frame), painted);
    QVERIFY2(near(frame.pixel(probe), probeColor),
        qPrintable(QStringLiteral("probe is #%1").arg(frame.pixel(probe), 8, 16, QLatin1Char('0'))));
}

void TestEffectDisplay::fold_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QList<QRect>>("rects");
    QTest::addColumn<QList<QPoint>>("probes");
    QTest::addColumn<QList<QColor>>("colors");

    const QColor none(Qt::transparent);
    // Side by side: frame 300 x 50, picture 299 x 49; pieces at x 0..99 and 100..299.
    QTest::newRow("side by side") << 0 << QList<QRect> { { 0, 0, 100, 50 }, { 150, 100, 200, 50 } }
                                  << QList<QPoint> { { 10, 10 }, { 99, 45 }, { 120, 10 }, { 160, 110 }, { 340, 110 },
                                         { 348, 140 }, { 349, 110 }, { 200, 149 } }
                                  << QList<QColor> { kTopLeft, kBottomLeft, none, kTopLeft, kTopRight, kBottomRight,
                                         none, none };
    // Stacked: frame 100 x 100, picture 99 x 99; pieces at y 0..39 and 40..99.
    QTest::newRow("stacked") << 1 << QList<QRect> { { 0, 0, 100, 40 }, { 200, 100, 100, 60 } }
                             << QList<QPoint> { { 10, 10 }, { 90, 30 }, { 210, 150 }, { 290, 150 }, { 299, 110 },
                                    { 210, 159 }, { 150, 50 } }
                             << QList<QColor> { kTopLeft, kTopRight, kBottomLeft, kBottomRight, none, none, none };
}

void TestEffectDisplay::fold()
{
    QFETCH(int, orientation);
    QFETCH(QList<QRect>, rects);
    QFETCH(QList<QPoint>, probes);
    QFETCH(QList<QColor>, colors);

    m_parent->resize(400, 200);
    auto* display = new EffectDisplay(m_parent.get());
    ns::Widget widget;
    widget.mediaType = 0;
    widget.duration = 1000;
    widget.effectCode = 0;
    widget.path = m_picture.toStdString();
    widget.fold.enabled = true;
    widget.fold.count = rects.size();
    widget.fold.orientation = ns::EnumOrientation(orientation);
    for (const QRect& r : rects)
        widget.fold.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
    display->initInterface(widget);
    display->playInterface();

    const QImage frame = grabImage(*display);
    for (int i = 0; i < probes.size(); ++i) {
        QVERIFY2(near(frame.pixel(probes[i]), colors[i]),
            qPrintable(QStringLiteral("probe %1 (%2,%3) is #%4")
                           .arg(i)
                           .arg(probes[i].x())
                           .arg(probes[i].y())
                           .arg(frame.pixel(probes[i]), 8, 16, QLatin1Char('0'))));
    }
    // A fold that is switched off is ignored, rectangles or not.
    widget.fold.enabled = false;
    display->initInterface(widget);
    display->playInterface();
    QCOMPARE(paintedRect(grabImage(*display)), QRect(0, 0, 399, 199));
}

void TestEffectDisplay::foldWithoutRectanglesLogs_data()
{
    QTest::addColumn<bool>("withRects");
    QTest::addColumn<bool>("goodPicture");
    QTest::newRow("no rectangles") << false << true;
    QTest::newRow("picture failed to load") << true << false;
}

void TestEffectDisplay::foldWithoutRectanglesLogs()
{
    QFETCH(bool, withRects);
    QFETCH(bool, goodPicture);

    m_log->expectError("fold media m_ListRect is empty");
    ns::Fold fold;
    fold.enabled = true;
    if (withRects)
        fold.rects = { { 0, 0, 50, 50 }, { 60, 0, 50, 50 } };
    m_display->setFoldParaMeters(fold);
    m_display->showEffect(0, goodPicture ? m_picture : m_dir.filePath("missing.png"), 0, 0);

    QVERIFY(paintedRect(grabImage(*m_display)).isEmpty());
    QVERIFY(paintedRect(grabImage(*m_display)).isEmpty());
    QCOMPARE(m_log->count("fold media m_ListRect is empty"), 2);
}

void TestEffectDisplay::pauseAndResume()
{
    m_parent->show();
    QTimer* timer = frameTimer(*m_display);
    m_display->showEffect(16, m_picture, 100, 100);
    m_display->pauseInterface();
    QVERIFY(!timer->isActive());
    // The clock runs on through the pause: a resume after the end shows the end frame at once.
    waitMs(300);
    m_display->resumeInterface();
    QVERIFY(timer->isActive());
    QTRY_VERIFY_WITH_TIMEOUT(!timer->isActive(), 5000);
    QCOMPARE(paintedRect(grabImage(*m_display)), QRect(0, 0, kWidth - 1, kHeight - 1));

    // A resume before anything played must not spin at interval 0.
    EffectDisplay idle(m_parent.get());
    idle.resumeInterface();
    QCOMPARE(frameTimer(idle)->interval(), 10);
}

void TestEffectDisplay::badFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("loads");
    QTest::addColumn<QString>("suffix");

    QByteArray png;
    {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        quadrants(40, 20).save(&buffer, "PNG");
    }
    QTest::newRow("missing") << QByteArray() << false << false << ".png";
    QTest::newRow("not a picture") << QByteArray("GIF89a but then nothing sensible") << true << false << ".png";
    QTest::newRow("empty file") << QByteArray() << true << false << ".png";
    QTest::newRow("truncated png") << png.left(png.size() / 3) << true << false << ".png";
    QTest::newRow("png named jpg") << png << true << true << ".jpg";
}

void TestEffectDisplay::badFiles()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, exists);
    QFETCH(bool, loads);
    QFETCH(QString, suffix);

    const QString path = m_dir.filePath(QStringLiteral("subject") + suffix);
    QFile::remove(path);
    if (exists) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    // A good picture first: a failed load keeps it on screen.
    m_display->showEffect(0, m_picture, 0, 0);
    const QImage before = grabImage(*m_display);
    m_log->clear();

    QSignalSpy initOk(m_display, &EffectDisplay::signalsImageInitOk);
    m_display->showEffect(0, path, 0, 0);
    QCOMPARE(initOk.count(), 1);
    QCOMPARE(m_log->count("EffectDisplay::playEffects()------------------open image failed"), exists ? 0 : 1);
    QCOMPARE(m_log->count("EffectDisplay::playEffects()------------------loadPic image failed"), loads ? 0 : 1);
    QCOMPARE(m_log->count("EffectDisplay::playEffects()------------------load image success"), loads ? 1 : 0);
    const QImage after = grabImage(*m_display);
    if (loads)
        QVERIFY(after != before);
    else
        QCOMPARE(after, before);
}

void TestEffectDisplay::destroyWhileClockRuns()
{
    m_display->showEffect(0, m_picture, 0, 0);
    const int before = threadCount();
    m_display->showEffect(16, m_picture, 60000, 60000);
    QCOMPARE(threadCount(), before + 1);
    delete m_display;
    m_display = nullptr;
    // The clock was joined: its thread is gone, not detached.
    QCOMPARE(threadCount(), before);
    QVERIFY(m_log->contains("EffectDisplay::~EffectDisplay begin"));
    QVERIFY(m_log->contains("EffectDisplay::~EffectDisplay end"));
}

QTEST_MAIN(TestEffectDisplay)
#include "tst_effectdisplay.moc"
