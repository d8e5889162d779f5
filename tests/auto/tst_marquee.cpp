// The picture marquee (codes 244 to 247): which item lies where on each frame. Items are solid
// blocks of distinct colours and sizes, drawn at their own size, so a frame can be compared pixel
// for pixel. Every renderFrame call is one frame: it draws, then moves the belt by the step.
//
// What a viewer sees is a belt: the items in list order, each directly behind the one before, the
// gap only after the last, repeating. A backward belt (244, 246) enters at the far edge D and on
// frame k begins at D - step * k; a forward one (245, 247) enters at 0 and its front is at step * k.
// The rows keep every width entry a multiple of the step, so the ring rotates without a jump, and
// make the ring long enough (its length minus its longest entry at least D) to cover the display.
#include "framecheck.h"
#include "logcapture.h"
#include "testpictures.h"

#include <effectdisplay.h>

#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <memory>

using namespace framecheck;
using namespace testpictures;

namespace {

constexpr int kInterval = 10;
const QList<QColor> kPalette { kTopLeft, kTopRight, kBottomLeft, kBottomRight };

struct Rig {
    explicit Rig(QSize size)
        : parent(std::make_unique<QWidget>())
    {
        parent->resize(size);
        display = new EffectDisplay(parent.get());
    }
    std::unique_ptr<QWidget> parent;
    EffectDisplay* display = nullptr;
};

class PaintCounter : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

QImage solid(QSize size, const QColor& colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QImage transparentImage(QSize size)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    return image;
}

QImage frame(EffectDisplay& display, int code)
{
    return display.renderFrame(code, 0.0f).convertToFormat(QImage::Format_ARGB32);
}

QImage grabImage(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

QTimer* timer(EffectDisplay& display, const char* name)
{
    return display.findChild<QTimer*>(name);
}

bool isHorizontal(int code)
{
    return code == 244 || code == 245;
}

bool isForward(int code)
{
    return code == 245 || code == 247;
}

// Frame k of the belt described at the top of this file, for a frame of `size`.
QImage beltFrame(QSize size, int code, const QList<QSize>& items, int gap, int step, int k)
{
    const bool horizontal = isHorizontal(code);
    const int display = horizontal ? size.width() : size.height();
    int group = 0; // the items of one period, without the gap
    for (const QSize& item : items)
        group += horizontal ? item.width() : item.height();
    const int period = group + gap;

    QImage image = transparentImage(size);
    QPainter painter(&image);
    const auto drawPeriod = [&](int start) {
        for (int i = 0; i < items.size(); ++i) {
            const QSize& item = items[i];
            painter.fillRect(horizontal ? QRect(QPoint(start, 0), item) : QRect(QPoint(0, start), item), kPalette[i]);
            start += horizontal ? item.width() : item.height();
        }
    };
    if (isForward(code)) {
        for (int start = step * k - group; start + group > 0; start -= period)
            drawPeriod(start);
    } else {
        for (int start = display - step * k; start < display; start += period)
            drawPeriod(start);
    }
    return image;
}

} // namespace

class TestMarquee : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void frames_data();
    void frames();
    void belt_data();
    void belt();
    void firstPaintOnlyStartsTheTimer();
    void withoutPlayMarqueePaintsNothing_data();
    void withoutPlayMarqueePaintsNothing();
    void ordinaryEffectUnderMarqueeTimer();
    void pauseDoesNotStopTheMarquee();
    void emptyRing_data();
    void emptyRing();
    void emptyRingDoesNotMove();
    void foldCutsTheBelt_data();
    void foldCutsTheBelt();

private:
    void addMarqueeColumns();
    // Marquee mode in the documented order; the first item comes from a file, the rest are appended.
    void start(
        EffectDisplay& display, int code, const QList<QSize>& items, bool useGap, int gap, int step, bool play = true);

    QTemporaryDir m_dir;
    std::unique_ptr<LogCapture> m_log;
};

void TestMarquee::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestMarquee::init()
{
    m_log = std::make_unique<LogCapture>();
}

void TestMarquee::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestMarquee::addMarqueeColumns()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QSize>("display");
    QTest::addColumn<QList<QSize>>("items");
    QTest::addColumn<bool>("useGap");
    QTest::addColumn<int>("gap");
    QTest::addColumn<int>("step");
}

void TestMarquee::start(
    EffectDisplay& display, int code, const QList<QSize>& items, bool useGap, int gap, int step, bool play)
{
    const QString path = savePng(solid(items[0], kPalette[0]), m_dir.path(),
        QStringLiteral("first_%1x%2.png").arg(items[0].width()).arg(items[0].height()));
    QVERIFY(!path.isEmpty());
    display.setPlayMarquee(true);
    display.setMarqueeSpeed(kInterval, step);
    display.setMarqueeParaMeters(useGap, gap);
    display.showEffect(code, path, 1000, 1000);
    for (int i = 1; i < items.size(); ++i)
        display.appendPixmap(QPixmap::fromImage(solid(items[i], kPalette[i])));
    if (play)
        display.playMarquee();
}

void TestMarquee::frames_data()
{
    addMarqueeColumns();
    QTest::addColumn<int>("index");
    QTest::addColumn<QList<QRect>>("rects");
    QTest::addColumn<QList<int>>("colours");

    const QList<QSize> one { { 100, 40 } };
    // Frame k draws at offset 500 - 10k: frame 0 at 500, out of view; frame 1 at 490.
    QTest::newRow("244 starts outside") << 244 << QSize(500, 60) << one << true << 20 << 10 << 0 << QList<QRect> {}
                                        << QList<int> {};
    QTest::newRow("244 comes in") << 244 << QSize(500, 60) << one << true << 20 << 10 << 1
                                  << QList<QRect> { { 490, 0, 10, 40 } } << QList<int> { 0 };
    // Offset -50, an item every 120: -50, 70, 190, 310, 430.
    QTest::newRow("244 every 120") << 244 << QSize(500, 60) << one << true << 20 << 10 << 55
                                   << QList<QRect> { { 0, 0, 50, 40 }, { 70, 0, 100, 40 }, { 190, 0, 100, 40 },
                                          { 310, 0, 100, 40 }, { 430, 0, 70, 40 } }
                                   << QList<int> { 0, 0, 0, 0, 0 };
    // Without useGap the gap is 500: the next item is at -50 + 600 = 550.
    QTest::newRow("244 no gap, one in view") << 244 << QSize(500, 60) << one << false << 20 << 10 << 55
                                             << QList<QRect> { { 0, 0, 50, 40 } } << QList<int> { 0 };
    // First frame: -E = -100, overridden by the preparation: 20 - 7 * 120 = -820, which puts the
    // last of the 7 items at -100. Had -100 stood, items would show at 20, 140, ...
    QTest::newRow("245 starts outside") << 245 << QSize(500, 60) << one << true << 20 << 10 << 0 << QList<QRect> {}
                                        << QList<int> {};
    // Offset -820 + 150: the last item at 50, the one before at -70.
    QTest::newRow("245 comes in") << 245 << QSize(500, 60) << one << true << 20 << 10 << 15
                                  << QList<QRect> { { 0, 0, 30, 40 }, { 50, 0, 100, 40 } } << QList<int> { 0, 0 };
    // Offset 0 at frame 30; widths 110, 70 + 50: a at 0, b at 110, a again at 230.
    QTest::newRow("244 two items") << 244 << QSize(300, 60) << QList<QSize> { { 110, 50 }, { 70, 30 } } << true << 50
                                   << 10 << 30
                                   << QList<QRect> { { 0, 0, 110, 50 }, { 110, 0, 70, 30 }, { 230, 0, 70, 50 } }
                                   << QList<int> { 0, 1, 0 };
    // Offset 0 at frame 25; widths 100, 70, 50 + 30: the gap only after c, 220 to 250.
    QTest::newRow("244 three items") << 244 << QSize(250, 50) << QList<QSize> { { 100, 40 }, { 70, 30 }, { 50, 20 } }
                                     << true << 30 << 10 << 25
                                     << QList<QRect> { { 0, 0, 100, 40 }, { 100, 0, 70, 30 }, { 170, 0, 50, 20 } }
                                     << QList<int> { 0, 1, 2 };
    QTest::newRow("246 comes in") << 246 << QSize(60, 400) << QList<QSize> { { 40, 90 } } << true << 10 << 10 << 1
                                  << QList<QRect> { { 0, 390, 40, 10 } } << QList<int> { 0 };
    // Two items: the first frame leaves the offset at 0 (a would show at the top) and the
    // preparation sets 20 - (90 + 130 + 90 + 130) = -420, the last b at -110.
    const QList<QSize> two { { 50, 90 }, { 30, 110 } };
    QTest::newRow("247 two items start outside")
        << 247 << QSize(60, 300) << two << true << 20 << 10 << 0 << QList<QRect> {} << QList<int> {};
    // b at -110 + 120 = 10, a directly above it at -80.
    QTest::newRow("247 two items come in")
        << 247 << QSize(60, 300) << two << true << 20 << 10 << 12
        << QList<QRect> { { 0, 0, 50, 10 }, { 0, 10, 30, 110 } } << QList<int> { 0, 1 };
}

void TestMarquee::frames()
{
    QFETCH(int, code);
    QFETCH(QSize, display);
    QFETCH(QList<QSize>, items);
    QFETCH(bool, useGap);
    QFETCH(int, gap);
    QFETCH(int, step);
    QFETCH(int, index);
    QFETCH(QList<QRect>, rects);
    QFETCH(QList<int>, colours);

    Rig rig(display);
    start(*rig.display, code, items, useGap, gap, step);
    for (int k = 0; k < index; ++k)
        frame(*rig.display, code);

    QImage expected = transparentImage(display);
    QPainter painter(&expected);
    for (int i = 0; i < rects.size(); ++i)
        painter.fillRect(rects[i], kPalette[colours[i]]);
    painter.end();
    const QString difference = imageDifference(frame(*rig.display, code), expected);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void TestMarquee::belt_data()
{
    addMarqueeColumns();
    QTest::addColumn<int>("frames");

    const QList<QSize> one { { 100, 40 } };
    // n = 500 / 120 + 2 = 6: 7 items of 120. Offset 500 - 10k; the head reaches 0 on frame 50 and
    // the ring (840) covers the display from then on; rotations from frame 62, every 12 frames,
    // a full turn by frame 134.
    QTest::newRow("244 one item") << 244 << QSize(500, 60) << one << true << 20 << 10 << 140;
    // Gap 500: pitch 600, n = 2, 3 items; rotations at frames 110 and 170.
    QTest::newRow("244 one item, no gap") << 244 << QSize(500, 60) << one << false << 20 << 10 << 180;
    // Offset 20 - 840 = -820; rotation when the offset reaches 500 + 120 - 840 = -220 (frame 60),
    // then every 12 frames.
    QTest::newRow("245 one item") << 245 << QSize(500, 60) << one << true << 20 << 10 << 140;
    // Widths 110, 120, 110, 120; offset 300 - 10k, rotations at frames 41, 53, 64, 76, 87 ...
    const QList<QSize> two { { 110, 50 }, { 70, 30 } };
    QTest::newRow("244 two items") << 244 << QSize(300, 60) << two << true << 50 << 10 << 120;
    // Gap 300: widths 110, 370, 110, 370; offset 300 - 960 = -660, rotation at -290 (frame 37),
    // the ring is then b, a, b, a and the next rotation comes 11 frames later.
    QTest::newRow("245 two items, no gap") << 245 << QSize(300, 60) << two << false << 0 << 10 << 120;
    // Widths 100, 70, 80 (250); offset 150 - 10k, rotations at frames 25, 32, 40, 50 ...
    const QList<QSize> three { { 100, 40 }, { 70, 30 }, { 50, 20 } };
    QTest::newRow("244 three items") << 244 << QSize(150, 50) << three << true << 30 << 10 << 100;
    // Offset 30 - 250 = -220 (c at -50); first rotation at 150 + 80 - 250 = -20, frame 20.
    QTest::newRow("245 three items") << 245 << QSize(150, 50) << three << true << 30 << 10 << 100;
    // n = 400 / 100 + 2 = 6: 7 items of 100; offset 400 - 10k, rotations from frame 50.
    QTest::newRow("246 one item") << 246 << QSize(60, 400) << QList<QSize> { { 40, 90 } } << true << 10 << 10 << 120;
    // Gap 300: pitch 390, n = 2, 3 items; offset 300 - 1170 = -870, rotation at -480 (frame 39).
    QTest::newRow("247 one item, no gap")
        << 247 << QSize(60, 300) << QList<QSize> { { 40, 90 } } << false << 0 << 10 << 100;
    // Widths 90, 130, 90, 130 (440); offset 20 - 440 = -420, rotation at 300 + 130 - 440 (frame 41).
    QTest::newRow("247 two items") << 247 << QSize(60, 300) << QList<QSize> { { 50, 90 }, { 30, 110 } } << true << 20
                                   << 10 << 120;
    // Widths 60, 45, 45 (150); offset 90 - 15k, rotations at frames 10, 13, 16, 20 ...
    const QList<QSize> tall { { 40, 60 }, { 30, 45 }, { 20, 30 } };
    QTest::newRow("246 three items") << 246 << QSize(40, 90) << tall << true << 15 << 15 << 60;
    // Offset 15 - 150 = -135; first rotation at 90 + 45 - 150 = -15, frame 8.
    QTest::newRow("247 three items") << 247 << QSize(40, 90) << tall << true << 15 << 15 << 60;
}

void TestMarquee::belt()
{
    QFETCH(int, code);
    QFETCH(QSize, display);
    QFETCH(QList<QSize>, items);
    QFETCH(bool, useGap);
    QFETCH(int, gap);
    QFETCH(int, step);
    QFETCH(int, frames);

    Rig rig(display);
    start(*rig.display, code, items, useGap, gap, step);
    const int extent = isHorizontal(code) ? display.width() : display.height();
    // Without useGap one display of space follows the items.
    const int beltGap = useGap ? gap : extent;
    for (int k = 0; k < frames; ++k) {
        const QString difference
            = imageDifference(frame(*rig.display, code), beltFrame(display, code, items, beltGap, step, k));
        QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("frame %1: %2").arg(k).arg(difference)));
    }
}

void TestMarquee::firstPaintOnlyStartsTheTimer()
{
    Rig rig({ 500, 60 });
    start(*rig.display, 244, { { 100, 40 } }, true, 20, 10);
    QTimer* marqueeTimer = timer(*rig.display, "marqueeTimer");
    QVERIFY(!marqueeTimer->isActive());
    QVERIFY(timer(*rig.display, "frameTimer")->isActive());

    // The parent stays hidden, so only these grabs paint.
    QVERIFY(paintedRegion(grabImage(*rig.display)).isEmpty());
    QVERIFY(marqueeTimer->isActive());
    QCOMPARE(marqueeTimer->interval(), kInterval);
    QVERIFY(!timer(*rig.display, "frameTimer")->isActive());
    // The first marquee frame is at offset 500, out of view; the paint moved it to 490.
    QVERIFY(paintedRegion(grabImage(*rig.display)).isEmpty());
    QCOMPARE(paintedRegion(grabImage(*rig.display)), QRegion(490, 0, 10, 40));
}

void TestMarquee::withoutPlayMarqueePaintsNothing_data()
{
    QTest::addColumn<int>("code");
    for (int code = 244; code <= 247; ++code)
        QTest::newRow(qPrintable(EffectDisplay::effectName(code))) << code;
}

void TestMarquee::withoutPlayMarqueePaintsNothing()
{
    QFETCH(int, code);

    Rig rig({ 200, 200 });
    PaintCounter counter;
    rig.display->installEventFilter(&counter);
    start(*rig.display, code, { { 100, 40 } }, true, 20, 10, false);
    rig.parent->show();
    QTRY_VERIFY(timer(*rig.display, "marqueeTimer")->isActive());
    QVERIFY(!timer(*rig.display, "frameTimer")->isActive());
    const int before = counter.paints;
    QTRY_VERIFY(counter.paints >= before + 3);
    QVERIFY(paintedRegion(grabImage(*rig.display)).isEmpty());
    for (int k = 0; k < 30; ++k)
        QVERIFY(paintedRegion(frame(*rig.display, code)).isEmpty());
}

void TestMarquee::ordinaryEffectUnderMarqueeTimer()
{
    Rig rig({ 200, 100 });
    PaintCounter counter;
    rig.display->installEventFilter(&counter);
    const QString path = savePng(quadrants(100, 50), m_dir.path(), "quadrants.png");
    rig.display->setPlayMarquee(true);
    rig.display->setMarqueeSpeed(kInterval, 5);
    rig.display->showEffect(16, path, 100, 100);
    rig.parent->show();
    QTRY_VERIFY(timer(*rig.display, "marqueeTimer")->isActive());
    QVERIFY(!timer(*rig.display, "frameTimer")->isActive());

    // Marquee mode keeps the picture at its own size on a display-sized pixmap, so the end frame
    // of extendLeft shows it unscaled in the top-left corner.
    QTRY_COMPARE(paintedRegion(grabImage(*rig.display)), QRegion(0, 0, 100, 50));
    const QImage end = grabImage(*rig.display);
    QVERIFY(near(end.pixel(10, 10), kTopLeft));
    QVERIFY(near(end.pixel(90, 40), kBottomRight));
    // The effect is over and the frame timer is stopped: only the marquee timer repaints now.
    const int before = counter.paints;
    QTRY_VERIFY(counter.paints >= before + 3);
    QVERIFY(!timer(*rig.display, "frameTimer")->isActive());
}

void TestMarquee::pauseDoesNotStopTheMarquee()
{
    Rig rig({ 300, 60 });
    PaintCounter counter;
    rig.display->installEventFilter(&counter);
    start(*rig.display, 244, { { 100, 40 } }, true, 20, 10);
    rig.parent->show();
    QTimer* marqueeTimer = timer(*rig.display, "marqueeTimer");
    QTRY_VERIFY(marqueeTimer->isActive());

    rig.display->pauseInterface();
    QVERIFY(marqueeTimer->isActive());
    int before = counter.paints;
    QTRY_VERIFY(counter.paints >= before + 3);

    rig.display->resumeInterface();
    QVERIFY(marqueeTimer->isActive());
    // The resume restarts the frame timer; the next marquee paint stops it again.
    QTRY_VERIFY(!timer(*rig.display, "frameTimer")->isActive());
    before = counter.paints;
    QTRY_VERIFY(counter.paints >= before + 3);
}

void TestMarquee::emptyRing_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("zeroItems");
    for (int code = 244; code <= 247; ++code) {
        const QByteArray name = EffectDisplay::effectName(code).toLatin1();
        QTest::newRow(name + " empty") << code << false;
        // Nothing ever loaded: D is 0, and two items of no extent with gap 0 make every width 0,
        // so each rotation test holds again at once.
        QTest::newRow(name + " zero-extent items") << code << true;
    }
}

void TestMarquee::emptyRing()
{
    QFETCH(int, code);
    QFETCH(bool, zeroItems);

    Rig rig({ 200, 100 });
    rig.display->setPlayMarquee(true);
    rig.display->setMarqueeSpeed(kInterval, 10);
    rig.display->setMarqueeParaMeters(true, zeroItems ? 0 : 20);
    // A picture that does not load appends nothing.
    rig.display->showEffect(code, m_dir.filePath("missing.png"), 1000, 1000);
    if (zeroItems) {
        rig.display->appendPixmap(QPixmap());
        rig.display->appendPixmap(QPixmap());
    }
    rig.display->playMarquee();
    QVERIFY(m_log->contains("EffectDisplay::playEffects()------------------loadPic image failed"));
    for (int k = 0; k < 10; ++k)
        QVERIFY(paintedRegion(frame(*rig.display, code)).isEmpty());
    for (int k = 0; k < 3; ++k)
        QVERIFY(paintedRegion(grabImage(*rig.display)).isEmpty());
}

void TestMarquee::emptyRingDoesNotMove()
{
    Rig rig({ 300, 60 });
    start(*rig.display, 244, { { 100, 40 } }, true, 50, 10, false);
    // The failed load empties the ring and keeps the display-sized pixmap of the first load.
    rig.display->showEffect(244, m_dir.filePath("missing.png"), 1000, 1000);
    rig.display->playMarquee();
    for (int k = 0; k < 5; ++k)
        QVERIFY(paintedRegion(frame(*rig.display, 244)).isEmpty());

    // The first (empty) frame put the offset at 300, and empty frames do not move it: the items
    // appended now enter at the far edge.
    rig.display->appendPixmap(QPixmap::fromImage(solid({ 110, 50 }, kPalette[0])));
    rig.display->appendPixmap(QPixmap::fromImage(solid({ 70, 30 }, kPalette[1])));
    QVERIFY(paintedRegion(frame(*rig.display, 244)).isEmpty());
    const QImage entered = frame(*rig.display, 244);
    QCOMPARE(paintedRegion(entered), QRegion(290, 0, 10, 50));
    QVERIFY(near(entered.pixel(295, 10), kPalette[0], 0));
}

void TestMarquee::foldCutsTheBelt_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QList<QRect>>("rects");
    QTest::addColumn<QSize>("item");
    QTest::addColumn<int>("gap");

    // Frame 250 x 40 (D = 250); rectangle 0 shows frame x 0..99, rectangle 1 frame x 100..249.
    // Item 60 + gap 20: n = 250 / 80 + 2 = 5, a ring of 6 (480), rotations every 8 frames from 33.
    QTest::newRow("side by side") << 244 << 0 << QList<QRect> { { 0, 0, 100, 40 }, { 200, 50, 150, 40 } }
                                  << QSize(60, 30) << 20;
    // Frame 50 x 180 (D = 180); rectangle 0 shows frame y 0..79, rectangle 1 frame y 80..179.
    // Item 50 + gap 10: n = 180 / 60 + 2 = 5, a ring of 6 (360), rotations every 6 frames from 24.
    QTest::newRow("stacked") << 246 << 1 << QList<QRect> { { 0, 0, 50, 80 }, { 100, 10, 50, 100 } } << QSize(40, 50)
                             << 10;
}

void TestMarquee::foldCutsTheBelt()
{
    QFETCH(int, code);
    QFETCH(int, orientation);
    QFETCH(QList<QRect>, rects);
    QFETCH(QSize, item);
    QFETCH(int, gap);

    Rig rig({ 400, 200 });
    ns::Fold fold;
    fold.enabled = true;
    fold.count = rects.size();
    fold.orientation = ns::EnumOrientation(orientation);
    QSize composed(0, 0);
    for (const QRect& r : rects) {
        fold.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
        composed = orientation == 0 ? QSize(composed.width() + r.width(), r.height())
                                    : QSize(r.width(), composed.height() + r.height());
    }
    rig.display->setFoldParaMeters(fold);
    start(*rig.display, code, { item }, true, gap, 10);

    for (int k = 0; k < 50; ++k) {
        // The rectangles show consecutive slices of the composed belt, in list order.
        const QImage belt = beltFrame(composed, code, { item }, gap, 10, k);
        QImage expected = transparentImage(rig.display->size());
        QPainter painter(&expected);
        int local = 0;
        for (const QRect& r : rects) {
            painter.drawImage(r.topLeft(),
                belt.copy(orientation == 0 ? QRect(local, 0, r.width(), r.height())
                                           : QRect(0, local, r.width(), r.height())));
            local += orientation == 0 ? r.width() : r.height();
        }
        painter.end();
        const QString difference = imageDifference(frame(*rig.display, code), expected);
        QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("frame %1: %2").arg(k).arg(difference)));
    }
}

QTEST_MAIN(TestMarquee)
#include "tst_marquee.moc"
