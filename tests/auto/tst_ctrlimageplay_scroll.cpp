// The display control: speed and step from the record, when a belt starts, how its labels are laid
// out and placed, how it moves and wraps, and pages placed and fitted to a fold. Images are solid
// blocks of distinct colours written as PNG files, so which image a label carries shows in its
// pixels. Belt ticks are driven by calling the direction's tick slot with the control's own timer
// paused; only the page and pause cases let the timers run.
#include "framecheck.h"
#include "logcapture.h"
#include "testpictures.h"

#include <ctrlimageplay.h>
#include <drawfoldimage.h>
#include <effectdisplay.h>
#include <foldtextplay.h>

#include <QLabel>
#include <QtTest>

#include <memory>
#include <numeric>

using namespace testpictures;
using Ints = QVector<int>;

namespace {

const QList<QColor> kPalette { kTopLeft, kTopRight, kBottomLeft, kBottomRight, { 200, 0, 200 } };
const QSize kWindow(400, 300);
constexpr int kBreadth = 40; // of a horizontal belt's images
constexpr int L = ns::MOVE_LEFT, R = ns::MOVE_RIGHT, U = ns::MOVE_UP, D = ns::MOVE_DOWN;
constexpr int kTop = ns::ALIGN_TOP, kCentre = ns::ALIGN_VCENTER, kBottom = ns::ALIGN_BOTTOM;

// Positions along and across a belt running in direction `d`.
struct Belt {
    static bool horizontal(int d) { return d == L || d == R; }
    static bool forward(int d) { return d == L || d == U; }
    static int along(const QLabel* label, int d) { return horizontal(d) ? label->x() : label->y(); }
    static int across(const QLabel* label, int d) { return horizontal(d) ? label->y() : label->x(); }
    static int extent(const QLabel* label, int d) { return horizontal(d) ? label->width() : label->height(); }
};

// A belt as laid out at its start in a 400 x 300 window: the image on each label and where it starts.
// Lengths are those of the images along the belt, 0 for a file that holds no picture; a null gap is
// no useGap; `across` is the y of a horizontal belt.
struct Layout {
    int direction;
    Ints lengths, shown, starts;
    int index = 0;
    bool sync = false;
    QString gap = "50";
    int v = kCentre, posY = 0, across = 130;
};

// Where the page display stands, and the height of the page files fitted to the fold and the top of
// the page in them.
struct Pages {
    int type, sync, fold, v, posY;
    QPoint at;
    int height, top;
};

template <typename T> void row(const char* tag, const T& value)
{
    QTest::newRow(tag) << value;
}

int colourOf(const QLabel* label)
{
    const QImage image = label->pixmap(Qt::ReturnByValue).toImage();
    for (int i = 0; i < kPalette.size() && !image.isNull(); ++i) {
        if (near(image.pixel(0, 0), kPalette[i]))
            return i;
    }
    return -1;
}

ns::DisplayStyle scrollStyle(int direction, int speed = 10, const QString& gapText = "50")
{
    ns::DisplayStyle style;
    style.type = ns::SCROLL;
    style.scrollAttributes.effecs.moveType = ns::MoveType(direction);
    style.scrollAttributes.effecs.speed = speed;
    style.scrollAttributes.useGap = !gapText.isNull();
    style.scrollAttributes.gapText = gapText.toStdString();
    return style;
}

} // namespace

Q_DECLARE_METATYPE(Layout)
Q_DECLARE_METATYPE(Pages)

class TestCtrlImagePlayScroll : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(m_dir.isValid()); }
    void init() { m_log = std::make_unique<LogCapture>(); }
    void cleanup()
    {
        m_parent.reset();
        QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
        m_log.reset();
    }
    void speed_data();
    void speed();
    void layout_data();
    void layout();
    void beltRunsOn_data();
    void beltRunsOn();
    void pages_data();
    void pages();

private:
    ImagePlayCtrl* makeControl(const ns::DisplayStyle& style, bool sync = false, int duration = 10000,
        const ns::Fold& fold = {}, int v = kCentre, QSize window = kWindow);
    // Images of `lengths` along a belt, in palette order; a length of 0 is a file that holds no picture.
    QStringList images(int direction, const Ints& lengths);

    QTemporaryDir m_dir;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<QWidget> m_parent;
    int m_files = 0;
};

ImagePlayCtrl* TestCtrlImagePlayScroll::makeControl(
    const ns::DisplayStyle& style, bool sync, int duration, const ns::Fold& fold, int v, QSize window)
{
    m_parent = std::make_unique<QWidget>();
    m_parent->resize(window);
    auto* ctrl = new ImagePlayCtrl(m_parent.get());
    ctrl->setFoldParaMeters(fold);
    ctrl->setTaskID(QStringLiteral("LUMORAX7"));
    ctrl->initImagePlay(style, ns::VAlignment(v), ns::ALIGN_LEFT);
    ctrl->setDuration(duration);
    ctrl->setTextSyncWithMusic(sync);
    return ctrl;
}

QStringList TestCtrlImagePlayScroll::images(int direction, const Ints& lengths)
{
    QStringList names;
    for (int i = 0; i < lengths.size(); ++i) {
        names << m_dir.filePath(QStringLiteral("image%1.png").arg(++m_files));
        QImage image(Belt::horizontal(direction) ? QSize(lengths[i], kBreadth) : QSize(kWindow.width(), lengths[i]),
            QImage::Format_ARGB32);
        image.fill(kPalette.at(i));
        QFile file(names.last());
        if (!(lengths[i] ? image.save(names.last(), "PNG") : file.open(QIODevice::WriteOnly) && file.write("no")))
            return {};
    }
    return names;
}

// Hands the names over in order, the last one marked as such.
void feed(ImagePlayCtrl* ctrl, const QStringList& names)
{
    for (int i = 0; i < names.size(); ++i)
        ctrl->slotAppend(names[i], i == names.size() - 1);
}

void TestCtrlImagePlayScroll::speed_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("pixels"); // the level is a rate in pixels per second
    QTest::addColumn<bool>("fold");
    QTest::addColumn<int>("duration"); // of a sync belt of 600 + 400 pixels, -1 for 0; 0: not sync
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("step");

    const int plain[] = { 40, 25, 16, 8, 6, 4, 7, 6, 5, 4 };
    for (int level = 1; level <= 10; ++level) {
        QTest::addRow("level %d", level) << level << false << false << 0 << plain[level - 1] << (level < 7 ? 1 : 2);
        // A folded belt is painted frame by frame: 16 ms frames from level 3 on, and a growing step.
        QTest::addRow("fold level %d", level)
            << level << false << true << 0 << (level <= 3 ? 64 >> (level - 1) : 16) << std::max(1, level - 2);
    }
    // Beyond the table the step is left as it was: 0 on a fresh control, so nothing moves.
    QTest::newRow("level 11") << 11 << false << false << 0 << 3 << 0;
    QTest::newRow("fold level 0") << 0 << false << true << 0 << 8 << 0;
    // Faster than a pixel per millisecond would be a timer that never rests; broken records scroll
    // at the slowest level.
    QTest::newRow("1 px/s") << 1 << true << false << 0 << 1000 << 1;
    QTest::newRow("1500 px/s") << 1500 << true << false << 0 << 1 << 1;
    QTest::newRow("level -3") << -3 << false << false << 0 << 40 << 1;
    QTest::newRow("0 px/s") << 0 << true << false << 0 << 40 << 1;
    QTest::newRow("fold -5 px/s") << -5 << true << true << 0 << 64 << 1;
    // Sync: whole milliseconds per pixel pick the step; a path longer than its duration gets 16 ms ticks.
    const QList<QList<int>> sync { { 1000, 8, 8 }, { 1999, 16, 8 }, { 2000, 10, 5 }, { 3999, 20, 5 }, { 4000, 12, 3 },
        { 9999, 20, 2 }, { 10000, 10, 1 }, { 12500, 13, 1 }, { 999, 16, 16 }, { 333, 16, 48 }, { -1, 20, 0 } };
    for (const QList<int>& row : sync)
        QTest::addRow("sync %d ms", row[0]) << 10 << false << false << row[0] << row[1] << row[2];
}

void TestCtrlImagePlayScroll::speed()
{
    QFETCH(int, level);
    QFETCH(bool, pixels);
    QFETCH(bool, fold);
    QFETCH(int, duration);

    const bool broken = level <= 0 && (pixels || !fold) && !duration;
    if (broken)
        m_log->expectError("is not valid");
    ns::DisplayStyle style = scrollStyle(duration ? L : D, level);
    style.scrollAttributes.speedIsPixels = pixels;
    ns::Fold folding = framecheck::makeFold({ { 0, 0, 200, 40 }, { 200, 0, 200, 40 } }, false);
    folding.enabled = fold;
    ImagePlayCtrl* ctrl = makeControl(style, duration, std::max(duration, 0), folding);
    // Not sync, a downward belt waits for its last image, so only the speed is worked out; a folded
    // one is handed to the fold player at its last image, at the same pace.
    ctrl->slotAppend(images(L, { 600 })[0], duration || fold);
    QTEST(ctrl->speed(), "interval");
    QTEST(ctrl->pix(), "step");
    const FoldTextPlay* play = ctrl->findChild<FoldTextPlay*>();
    QVERIFY(!fold || (play && play->interval() == ctrl->speed() && play->drawFoldImage()->step() == ctrl->pix()));
    QCOMPARE(m_log->count("is not valid"), int(broken));
}

void TestCtrlImagePlayScroll::layout_data()
{
    QTest::addColumn<Layout>("belt");
    // A single image is copied to cover the window and one more, a gap apart.
    const auto copies = [](int first, int pitch, int count) {
        Ints starts;
        for (int i = 0; i < count; ++i)
            starts << first + i * pitch;
        return starts;
    };
    row("left, gap of no number", Layout { L, { 100 }, Ints(6), copies(400, 100, 6), 0, false, "12px" });
    row("left, window gap", Layout { L, { 100 }, Ints(2), { 400, 900 }, 0, false, {} });
    row("sync left, window gap, bottom", Layout { L, { 100 }, Ints(2), { 400, 900 }, 0, true, {}, kBottom, 0, 260 });
    row("sync right, window and a second, top",
        Layout { R, { 100 }, Ints(2), { -100, -1600 }, 0, true, {}, kTop, 9, 9 });
    row("right, gap -100 taken as 0", Layout { R, { 100 }, Ints(6), copies(-100, -100, 6), 0, false, "-100" });
    // Not sync, an upward belt starts one image height down rather than at the window's bottom.
    row("up", Layout { U, { 100 }, Ints(4), copies(100, 150, 4) });
    row("sync up", Layout { U, { 100 }, Ints(4), copies(300, 150, 4), 0, true });
    // Two: the gap after the second; none before Third on a backward belt, but on a sync downward one.
    row("left, two, top, posY 9",
        Layout { L, { 100, 150 }, { 0, 1, 0 }, { 400, 500, 700 }, 0, false, "50", kTop, 9, 9 });
    row("sync left, two, posY 9",
        Layout { L, { 100, 150 }, { 0, 1, 0 }, { 400, 500, 700 }, 0, true, "50", kCentre, 9, 139 });
    row("right, two, bottom, posY 9",
        Layout { R, { 100, 150 }, { 1, 0, 1 }, { -150, -250, -400 }, 0, false, "50", kBottom, 9, 269 });
    row("down, two", Layout { D, { 100, 60 }, { 1, 0, 1 }, { -60, -160, -220 } });
    row("sync down, two", Layout { D, { 100, 60 }, { 1, 0, 1 }, { -60, -160, -270 }, 0, true });
    // More: forward the third joins behind the second and the rest wait; backward the last three.
    row("left, four", Layout { L, { 100, 150, 120, 80 }, { 0, 1, 2 }, { 400, 500, 650 }, 2 });
    row("up, four", Layout { U, { 100, 150, 120, 80 }, { 0, 1, 2 }, { 100, 200, 350 }, 2 });
    row("right, four", Layout { R, { 100, 150, 120, 80 }, { 3, 2, 1 }, { -80, -200, -350 }, 1 });
    row("unknown direction", Layout { 7, { 100, 60 }, {}, {} });
    // A file that holds no picture takes no place.
    row("sync down, second undecodable", Layout { D, { 100, 0, 120, 80 }, { 3, 2, 0 }, { -80, -200, -300 }, 0, true });
}

// The belt starts with the second image of a leftward or upward belt (or its only one), and with the
// last one in sync mode and on downward and rightward belts. A last file that turns out missing is
// reported again but never lays the belt out anew.
void TestCtrlImagePlayScroll::layout()
{
    QFETCH(Layout, belt);
    const int d = belt.direction;
    const bool noRoom = belt.gap.startsWith('-');
    if (noRoom)
        m_log->expectError("leaves no room for an image");
    ns::DisplayStyle style = scrollStyle(d, 10, belt.gap);
    style.posY = belt.posY;
    ImagePlayCtrl* ctrl = makeControl(style, belt.sync, 10000, {}, belt.v);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    const QStringList names = images(d, belt.lengths) << m_dir.filePath("missing.png");
    const int startsAt = belt.shown.isEmpty() ? 99
        : Belt::forward(d) && !belt.sync      ? std::min(2, names.size() - 1)
                                              : names.size() - 1;
    for (int i = 0; i < names.size(); ++i) {
        const QImage before = ctrl->grab().toImage();
        ctrl->slotAppend(names[i], i >= names.size() - 2);
        QCOMPARE(ready.count(), (i + 1 >= startsAt) + (i == names.size() - 1));
        QVERIFY(i < names.size() - 1 || ctrl->grab().toImage() == before);
    }
    const QList<QLabel*> labels = ctrl->labels();
    QCOMPARE(labels.size(), belt.shown.size());
    for (int i = 0; i < labels.size(); ++i) {
        const QList<int> laid { colourOf(labels[i]), Belt::extent(labels[i], d), Belt::along(labels[i], d),
            Belt::across(labels[i], d) };
        QCOMPARE(laid,
            QList<int>(
                { belt.shown[i], belt.lengths[belt.shown[i]], belt.starts[i], Belt::horizontal(d) ? belt.across : 0 }));
    }
    const QList<int> logged { m_log->count("leaves no room for an image"), m_log->count("moveType is null") > 0 };
    QCOMPARE(logged, QList<int>({ noRoom, labels.isEmpty() }));
    QCOMPARE(ctrl->currentIndex(), belt.index);
}

void TestCtrlImagePlayScroll::beltRunsOn_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<Ints>("lengths");

    QTest::newRow("left, one") << L << false << Ints { 120 };
    QTest::newRow("left, four") << L << false << Ints { 100, 150, 120, 90 };
    QTest::newRow("sync left, two") << L << true << Ints { 100, 150 };
    QTest::newRow("right, two") << R << false << Ints { 100, 150 };
    QTest::newRow("sync right, three") << R << true << Ints { 100, 150, 120 };
    QTest::newRow("up, four") << U << false << Ints { 100, 60, 80, 120 };
    QTest::newRow("down, one") << D << false << Ints { 90 };
    // Longer than the window: gone only when its top edge reaches the bottom.
    QTest::newRow("sync down, two, taller than the window") << D << true << Ints { 400, 350 };
}

// Tick by tick every label moves one step along, keeping its place across; a label that crossed the
// far edge takes the next image and goes behind the label ahead of it, with the gap before each
// round's first image, the one-pixel overlap inside a leftward round, and one step more behind
// label 0 (the label ahead moves after it in a tick).
void TestCtrlImagePlayScroll::beltRunsOn()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(Ints, lengths);

    const int d = direction;
    ImagePlayCtrl* ctrl = makeControl(scrollStyle(d), sync, 3000);
    const char* tick = d == L ? "slotMoveLeft" : d == R ? "slotMoveRight" : d == U ? "slotMoveUp" : "slotMoveDown";
    feed(ctrl, images(d, lengths));
    ctrl->pause();
    const QList<QLabel*> labels = ctrl->labels();
    const int step = ctrl->pix();
    QVERIFY(labels.size() >= 2 && step > 0);
    const int across = Belt::across(labels[0], d);
    const int farEdge = Belt::horizontal(d) ? kWindow.width() : kWindow.height();
    const int belt = std::accumulate(lengths.begin(), lengths.end(), 0);
    int jumps = 0;
    for (int t = 0; t < (farEdge + 3 * (belt + ctrl->gap() + farEdge)) / step; ++t) {
        QList<int> before;
        QList<int> lengthBefore;
        for (const QLabel* label : labels) {
            before << Belt::along(label, d);
            lengthBefore << Belt::extent(label, d);
        }
        QVERIFY(QMetaObject::invokeMethod(ctrl, tick, Qt::DirectConnection));
        for (int i = 0; i < labels.size(); ++i) {
            const QLabel* label = labels[i];
            QCOMPARE(Belt::across(label, d), across);
            const int moved = before[i] + (Belt::forward(d) ? -step : step);
            if (Belt::forward(d) ? moved > -lengthBefore[i] : moved < farEdge) {
                QCOMPARE(Belt::along(label, d), moved);
                continue;
            }
            const int image = colourOf(label);
            QVERIFY(image >= 0 && image < lengths.size());
            QCOMPARE(Belt::extent(label, d), lengths[image]);
            ++jumps;
            const QLabel* ahead = labels[(labels.size() - 1 + i) % labels.size()];
            const int space = Belt::forward(d) ? Belt::along(label, d) - Belt::along(ahead, d) - Belt::extent(ahead, d)
                                               : Belt::along(ahead, d) - Belt::along(label, d) - Belt::extent(label, d);
            const int join = image == (Belt::forward(d) ? 0 : lengths.size() - 1) ? ctrl->gap() : d == L ? -1 : 0;
            QVERIFY2(space == join + (i == 0 ? step : 0),
                qPrintable(QString::asprintf("tick %d, label %d (image %d): %d behind", t, i, image, space)));
        }
    }
    QVERIFY(jumps >= 2 * labels.size());
    // Resumed, the belt runs on by itself; paused again, it holds.
    ctrl->resume();
    const QPoint at = labels[0]->pos();
    QTRY_VERIFY(labels[0]->pos() != at);
    ctrl->pause();
    const QPoint held = labels[0]->pos();
    QVERIFY(!QTest::qWaitFor([&] { return labels[0]->pos() != held; }, 10 * ctrl->speed()));
}

void TestCtrlImagePlayScroll::pages_data()
{
    QTest::addColumn<Pages>("pages");
    const int paged = ns::PAGE_SWITCH, still = ns::STATIC_PAGE;
    // Fold 1: side by side, 60 high; fold 2: stacked, 75 high.
    row("paged", Pages { paged, false, 0, kTop, 9, { 5, 9 }, kBreadth, 0 });
    row("sync paged", Pages { paged, true, 0, kBottom, 9, { 5, 9 }, kBreadth, 0 });
    row("static", Pages { still, false, 0, kBottom, 9, { 5, 9 }, kBreadth, 0 });
    row("sync static", Pages { still, true, 0, kTop, 9, { 5, 9 }, kBreadth, 0 });
    row("paged, fold, top, posY 7", Pages { paged, false, 1, kTop, 7, {}, 60, 7 });
    row("paged, fold, centre, posY 7", Pages { paged, false, 1, kCentre, 7, {}, 60, 17 });
    row("paged, fold, bottom, posY 7", Pages { paged, false, 1, kBottom, 7, {}, 60, 27 });
    row("sync paged, stacked fold, centre", Pages { paged, true, 2, kCentre, 0, { 5, 0 }, 75, 17 });
    row("static, stacked fold, bottom, posY 3", Pages { still, false, 2, kBottom, 3, {}, 75, 38 });
}

// Pages stand at the record's place and turn by themselves; with a fold every page file is first
// rewritten to the fold's height, the page placed in it as the text is aligned.
void TestCtrlImagePlayScroll::pages()
{
    QFETCH(Pages, pages);
    ns::DisplayStyle style;
    style.type = pages.type;
    style.pageEffect = 32;
    style.pageEffectDuration = 60;
    style.pageStayTime = 100;
    style.posX = 5;
    style.posY = pages.posY;
    const int duration = 150;
    const ns::Fold fold = !pages.fold ? ns::Fold()
        : pages.fold == 1             ? framecheck::makeFold({ { 0, 0, 80, 50 }, { 80, 30, 80, 60 } }, false)
                                      : framecheck::makeFold({ { 0, 0, 160, 30 }, { 0, 40, 160, 45 } }, true);
    ImagePlayCtrl* ctrl = makeControl(style, pages.sync, duration, fold, pages.v, { 160, 90 });
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    const QStringList names = images(L, { 100, 100, 100 });
    feed(ctrl, names);
    QCOMPARE(ready.count(), 1);
    EffectDisplay* display = ctrl->effectDisplay();
    QSignalSpy shown(display, &EffectDisplay::signalsImageInitOk);
    const bool paged = pages.type == ns::PAGE_SWITCH;
    const QList<int> timing { ctrl->speed(), ctrl->effectTime(), display->currentEffect() };
    QCOMPARE(timing, paged ? QList<int>({ pages.sync ? duration / 3 : 100, 60, 32 }) : QList<int>({ duration, 0, 0 }));
    QCOMPARE(display->pos(), pages.at);
    for (const QString& name : names) {
        const QImage file(name);
        QCOMPARE(file.size(), QSize(100, pages.height));
        QCOMPARE(framecheck::paintedRegion(file).boundingRect(), QRect(0, pages.top, 100, kBreadth) & file.rect());
    }
    // Page after page, and round again; a static page comes afresh.
    QTRY_VERIFY_WITH_TIMEOUT(shown.count() >= 3, 150 * ctrl->speed() + 2000);
    QCOMPARE(ctrl->currentIndex(), paged ? shown.count() % 3 : 0);
    QCOMPARE(ready.count(), 1);
}

QTEST_MAIN(TestCtrlImagePlayScroll)
#include "tst_ctrlimageplay_scroll.moc"
