// The scrolling belt of ImagePlayCtrl: speed and step from the record, when a belt starts, how its
// labels are laid out, and how it moves and wraps. Images are solid blocks of distinct colours
// written as PNG files, so which image a label carries shows in its pixels. Ticks are driven by
// calling the direction's tick slot directly, one at a time, with the control's own timer paused;
// only the pause and resume cases let the timer run.
#include "logcapture.h"
#include "testpictures.h"

#include <ctrlimageplay.h>
#include <drawfoldimage.h>
#include <foldtextplay.h>

#include <QLabel>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>
#include <QTimerEvent>
#include <QtTest>

#include <cstdlib>
#include <memory>

using namespace testpictures;

namespace {

constexpr int kFastLevel = 10; // 4 ms, 2 pixels a tick
constexpr int kSlowLevel = 5; // 6 ms, 1 pixel a tick
const QColor kExtraColour { 200, 0, 200 };
const QList<QColor> kPalette { kTopLeft, kTopRight, kBottomLeft, kBottomRight, kExtraColour };
// Timer waits allow this many intervals per expected event: the machine may be busy.
constexpr int kTimerSlack = 50;
constexpr int kMinWaitMs = 2000;

bool isHorizontal(ns::MoveType direction)
{
    return direction == ns::MOVE_LEFT || direction == ns::MOVE_RIGHT;
}

bool runsForward(ns::MoveType direction)
{
    return direction == ns::MOVE_LEFT || direction == ns::MOVE_UP;
}

const char* tickSlot(ns::MoveType direction)
{
    switch (direction) {
    case ns::MOVE_LEFT:
        return "slotMoveLeft";
    case ns::MOVE_RIGHT:
        return "slotMoveRight";
    case ns::MOVE_UP:
        return "slotMoveUp";
    default:
        return "slotMoveDown";
    }
}

int along(const QLabel* label, ns::MoveType direction)
{
    return isHorizontal(direction) ? label->x() : label->y();
}

int across(const QLabel* label, ns::MoveType direction)
{
    return isHorizontal(direction) ? label->y() : label->x();
}

int extent(const QLabel* label, ns::MoveType direction)
{
    return isHorizontal(direction) ? label->width() : label->height();
}

// Which palette colour a label shows, -1 for none.
int colourOf(const QLabel* label)
{
    const QImage image = label->pixmap(Qt::ReturnByValue).toImage();
    if (image.isNull())
        return -1;
    const QRgb pixel = image.pixel(0, 0);
    for (int i = 0; i < kPalette.size(); ++i) {
        if (near(pixel, kPalette[i]))
            return i;
    }
    return -1;
}

int waitMs(int interval, int events)
{
    return qMax(kMinWaitMs, interval * events * kTimerSlack);
}

ns::DisplayStyle scrollStyle(ns::MoveType direction, int speed = kFastLevel, const char* gapText = "50")
{
    ns::DisplayStyle style;
    style.type = ns::SCROLL;
    style.scrollAttributes.effecs.moveType = direction;
    style.scrollAttributes.effecs.speed = speed;
    style.scrollAttributes.useGap = gapText != nullptr;
    style.scrollAttributes.gapText = gapText ? gapText : "";
    return style;
}

class TimerEventSpy : public QObject {
public:
    QList<int> ids;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Timer)
            ids << static_cast<QTimerEvent*>(event)->timerId();
        return false;
    }
};

struct Snapshot {
    QList<QPoint> positions;
    QList<int> colours;
};

Snapshot snapshot(const ImagePlayCtrl& ctrl)
{
    Snapshot s;
    for (const QLabel* label : ctrl.labels()) {
        s.positions << label->pos();
        s.colours << colourOf(label);
    }
    return s;
}

} // namespace

class TestCtrlImagePlayScroll : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void speedFromRecord_data();
    void speedFromRecord();
    void badSpeedFromRecord_data();
    void badSpeedFromRecord();
    void syncSpeed_data();
    void syncSpeed();
    void gapTable_data();
    void gapTable();
    void startRules_data();
    void startRules();
    void oneImageLayout_data();
    void oneImageLayout();
    void twoImageLayout_data();
    void twoImageLayout();
    void manyImageLayout_data();
    void manyImageLayout();
    void beltRunsOn_data();
    void beltRunsOn();
    void rightBeltAsSeen();
    void thirdImageJoins_data();
    void thirdImageJoins();
    void syncPassTakesDuration_data();
    void syncPassTakesDuration();
    void unknownMoveTypeShowsNothing_data();
    void unknownMoveTypeShowsNothing();
    void repeatedLastImageStartsOnce_data();
    void repeatedLastImageStartsOnce();
    void undecodableFileIsSkipped_data();
    void undecodableFileIsSkipped();
    void pauseHoldsAndResumeContinues_data();
    void pauseHoldsAndResumeContinues();
    void resumeTwiceKeepsOneTimer();
    void foldedScroll_data();
    void foldedScroll();

private:
    ImagePlayCtrl* makeControl(QSize window, const ns::DisplayStyle& style, bool sync = false, int duration = 10000,
        const ns::Fold& fold = {});
    QString imageFile(QSize size, int colour);
    QStringList imageFiles(const QList<QSize>& sizes);
    QString garbageFile();
    // Hands the names over in order, the last one marked as such.
    void feed(ImagePlayCtrl* ctrl, const QStringList& names);
    void ticks(ImagePlayCtrl* ctrl, ns::MoveType direction, int count);

    QTemporaryDir m_dir;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<QWidget> m_parent;
    int m_files = 0;
};

void TestCtrlImagePlayScroll::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestCtrlImagePlayScroll::init()
{
    m_log = std::make_unique<LogCapture>();
}

void TestCtrlImagePlayScroll::cleanup()
{
    m_parent.reset();
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

ImagePlayCtrl* TestCtrlImagePlayScroll::makeControl(
    QSize window, const ns::DisplayStyle& style, bool sync, int duration, const ns::Fold& fold)
{
    m_parent = std::make_unique<QWidget>();
    m_parent->resize(window);
    auto* ctrl = new ImagePlayCtrl(m_parent.get());
    if (fold.enabled)
        ctrl->setFoldParaMeters(fold);
    ctrl->setTaskID(QStringLiteral("LUMORAX7"));
    ctrl->initImagePlay(style, ns::ALIGN_VCENTER, ns::ALIGN_LEFT);
    ctrl->setDuration(duration);
    ctrl->setTextSyncWithMusic(sync);
    return ctrl;
}

QString TestCtrlImagePlayScroll::imageFile(QSize size, int colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(kPalette.at(colour));
    return savePng(image, m_dir.path(), QStringLiteral("image%1.png").arg(++m_files));
}

QStringList TestCtrlImagePlayScroll::imageFiles(const QList<QSize>& sizes)
{
    QStringList names;
    for (int i = 0; i < sizes.size(); ++i)
        names << imageFile(sizes[i], i);
    return names;
}

QString TestCtrlImagePlayScroll::garbageFile()
{
    const QString name = m_dir.filePath(QStringLiteral("garbage%1.png").arg(++m_files));
    QFile file(name);
    if (file.open(QIODevice::WriteOnly))
        file.write("this is no picture");
    return name;
}

void TestCtrlImagePlayScroll::feed(ImagePlayCtrl* ctrl, const QStringList& names)
{
    for (int i = 0; i < names.size(); ++i)
        ctrl->slotAppend(names[i], i == names.size() - 1);
}

void TestCtrlImagePlayScroll::ticks(ImagePlayCtrl* ctrl, ns::MoveType direction, int count)
{
    for (int i = 0; i < count; ++i)
        QVERIFY(QMetaObject::invokeMethod(ctrl, tickSlot(direction), Qt::DirectConnection));
}

void TestCtrlImagePlayScroll::speedFromRecord_data()
{
    QTest::addColumn<bool>("fold");
    QTest::addColumn<bool>("speedIsPixels");
    QTest::addColumn<int>("speed");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("step");

    const int plain[][2]
        = { { 40, 1 }, { 25, 1 }, { 16, 1 }, { 8, 1 }, { 6, 1 }, { 4, 1 }, { 7, 2 }, { 6, 2 }, { 5, 2 }, { 4, 2 } };
    const int folded[][2] = { { 64, 1 }, { 32, 1 }, { 16, 1 }, { 16, 2 }, { 16, 3 }, { 16, 4 }, { 16, 5 }, { 16, 6 },
        { 16, 7 }, { 16, 8 } };
    for (int level = 1; level <= 10; ++level) {
        QTest::addRow("level %d", level) << false << false << level << plain[level - 1][0] << plain[level - 1][1];
        QTest::addRow("fold level %d", level) << true << false << level << folded[level - 1][0] << folded[level - 1][1];
    }
    // Beyond the table the step is left as it was: 0 on a fresh control, so nothing moves.
    QTest::newRow("level 11") << false << false << 11 << 3 << 0;
    QTest::newRow("fold level 11") << true << false << 11 << 8 << 0;
    QTest::newRow("fold level 0") << true << false << 0 << 8 << 0;
    QTest::newRow("30 px/s") << false << true << 30 << 33 << 1;
    QTest::newRow("7 px/s") << false << true << 7 << 142 << 1;
    QTest::newRow("1000 px/s") << false << true << 1000 << 1 << 1;
    QTest::newRow("fold 30 px/s") << true << true << 30 << 33 << 1;
}

void TestCtrlImagePlayScroll::speedFromRecord()
{
    QFETCH(bool, fold);
    QFETCH(bool, speedIsPixels);
    QFETCH(int, speed);
    QFETCH(int, interval);
    QFETCH(int, step);

    ns::DisplayStyle style = scrollStyle(ns::MOVE_DOWN, speed);
    style.scrollAttributes.speedIsPixels = speedIsPixels;
    ns::Fold folding;
    folding.enabled = fold;
    folding.rects = { { 0, 0, 200, 40 }, { 200, 0, 200, 40 } };
    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, style, false, 10000, folding);
    // Not the last image: a downward belt waits, so only the speed is worked out.
    ctrl->slotAppend(imageFile({ 100, 40 }, 0), false);
    QCOMPARE(ctrl->speed(), interval);
    QCOMPARE(ctrl->pix(), step);
}

void TestCtrlImagePlayScroll::badSpeedFromRecord_data()
{
    QTest::addColumn<bool>("speedIsPixels");
    QTest::addColumn<int>("speed");
    QTest::addColumn<int>("interval");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("error");

    // Broken records scroll at the slowest level rather than not at all or at random.
    QTest::newRow("level 0") << false << 0 << 40 << "speed level 0 is not valid" << true;
    QTest::newRow("level -3") << false << -3 << 40 << "speed level -3 is not valid" << true;
    QTest::newRow("0 px/s") << true << 0 << 40 << "pixel rate 0 is not valid" << true;
    QTest::newRow("-5 px/s") << true << -5 << 40 << "pixel rate -5 is not valid" << true;
    // Faster than a pixel per millisecond would be a zero interval, a timer that never rests.
    QTest::newRow("1500 px/s") << true << 1500 << 1 << "pixel rate 1500 is above one pixel per ms" << false;
}

void TestCtrlImagePlayScroll::badSpeedFromRecord()
{
    QFETCH(bool, speedIsPixels);
    QFETCH(int, speed);
    QFETCH(int, interval);
    QFETCH(QString, message);
    QFETCH(bool, error);

    if (error)
        m_log->expectError(message);
    ns::DisplayStyle style = scrollStyle(ns::MOVE_LEFT, speed);
    style.scrollAttributes.speedIsPixels = speedIsPixels;
    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, style);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    ctrl->slotAppend(imageFile({ 100, 40 }, 0), true);
    QCOMPARE(ctrl->speed(), interval);
    QCOMPARE(ctrl->pix(), 1);
    QVERIFY(m_log->contains(message));
    // The text still scrolls.
    QCOMPARE(ready.count(), 1);
    QVERIFY(!ctrl->labels().isEmpty());
}

void TestCtrlImagePlayScroll::syncSpeed_data()
{
    QTest::addColumn<int>("duration");
    QTest::addColumn<int>("pix");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("step");
    // 0: left alone, 1: the fast branch (short line only), 2: the table (both lines).
    QTest::addColumn<int>("branch");

    QTest::newRow("10000/2920") << 10000 << 2920 << 17 << 5 << 2;
    QTest::newRow("60000/2920") << 60000 << 2920 << 21 << 1 << 2;
    QTest::newRow("3000/9000") << 3000 << 9000 << 16 << 48 << 1;
    QTest::newRow("5000/5000") << 5000 << 5000 << 8 << 8 << 2;
    QTest::newRow("x 1.999") << 1999 << 1000 << 16 << 8 << 2;
    QTest::newRow("x 2.0") << 2000 << 1000 << 10 << 5 << 2;
    QTest::newRow("x 3.999") << 3999 << 1000 << 20 << 5 << 2;
    QTest::newRow("x 4.0") << 4000 << 1000 << 12 << 3 << 2;
    QTest::newRow("x 6.0") << 6000 << 1000 << 12 << 2 << 2;
    QTest::newRow("x 9.999") << 9999 << 1000 << 20 << 2 << 2;
    QTest::newRow("x 10.0") << 10000 << 1000 << 10 << 1 << 2;
    // temp 12.5 rounds up, as qRound does.
    QTest::newRow("x 12.5") << 12500 << 1000 << 13 << 1 << 2;
    QTest::newRow("999/1000") << 999 << 1000 << 16 << 16 << 1;
    QTest::newRow("duration -1") << -1 << 100 << 20 << 0 << 0;
    QTest::newRow("path 0") << 1000 << 0 << 20 << 0 << 0;
    QTest::newRow("duration 0") << 0 << 100 << 20 << 0 << 0;
    QTest::newRow("path -5") << 100 << -5 << 20 << 0 << 0;
}

void TestCtrlImagePlayScroll::syncSpeed()
{
    QFETCH(int, duration);
    QFETCH(int, pix);
    QFETCH(int, interval);
    QFETCH(int, step);
    QFETCH(int, branch);

    QWidget parent;
    parent.resize(400, 100);
    ImagePlayCtrl ctrl(&parent);
    ctrl.setDuration(7777);
    ctrl.calSyncSpeed(duration, pix);
    QCOMPARE(ctrl.speed(), interval);
    QCOMPARE(ctrl.pix(), step);

    const QString shortLine
        = QStringLiteral("duration = %1,pix = %2,speed = %3,m_pix = %4").arg(duration).arg(pix).arg(interval).arg(step);
    int shortLines = 0;
    int longLines = 0;
    for (const QString& line : m_log->lines()) {
        shortLines += line.endsWith(shortLine);
        longLines += line.contains(shortLine + QStringLiteral(",temp = "));
    }
    QCOMPARE(m_log->count(QStringLiteral("text duration is 7777")), branch == 0 ? 1 : 0);
    QCOMPARE(shortLines, branch == 0 ? 0 : 1);
    QCOMPARE(longLines, branch == 2 ? 1 : 0);
}

void TestCtrlImagePlayScroll::gapTable_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<bool>("useGap");
    QTest::addColumn<QString>("gapText");
    QTest::addColumn<int>("images");
    QTest::addColumn<int>("gap");

    // The window is 400 x 300.
    QTest::newRow("left") << int(ns::MOVE_LEFT) << false << false << "" << 2 << 400;
    QTest::newRow("right") << int(ns::MOVE_RIGHT) << false << false << "" << 2 << 400;
    QTest::newRow("up") << int(ns::MOVE_UP) << false << false << "" << 2 << 300;
    QTest::newRow("down") << int(ns::MOVE_DOWN) << false << false << "" << 2 << 300;
    QTest::newRow("sync up") << int(ns::MOVE_UP) << true << false << "" << 2 << 1300;
    QTest::newRow("sync down") << int(ns::MOVE_DOWN) << true << false << "" << 1 << 1300;
    QTest::newRow("sync right") << int(ns::MOVE_RIGHT) << true << false << "" << 1 << 1400;
    QTest::newRow("sync left, two") << int(ns::MOVE_LEFT) << true << false << "" << 2 << 1400;
    QTest::newRow("sync left, one") << int(ns::MOVE_LEFT) << true << false << "" << 1 << 400;
    QTest::newRow("gap 40") << int(ns::MOVE_LEFT) << false << true << "40" << 2 << 40;
    QTest::newRow("sync gap 40") << int(ns::MOVE_UP) << true << true << "40" << 2 << 40;
    QTest::newRow("gap -30") << int(ns::MOVE_LEFT) << false << true << "-30" << 2 << -30;
    QTest::newRow("gap abc") << int(ns::MOVE_LEFT) << false << true << "abc" << 2 << 0;
    QTest::newRow("gap empty") << int(ns::MOVE_RIGHT) << false << true << "" << 2 << 0;
    QTest::newRow("gap 12px") << int(ns::MOVE_UP) << false << true << "12px" << 2 << 0;
    QTest::newRow("gap hex") << int(ns::MOVE_LEFT) << true << true << "0x10" << 2 << 0;
}

void TestCtrlImagePlayScroll::gapTable()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(bool, useGap);
    QFETCH(QString, gapText);
    QFETCH(int, images);
    QFETCH(int, gap);

    const auto moveType = ns::MoveType(direction);
    ns::DisplayStyle style = scrollStyle(moveType);
    style.scrollAttributes.useGap = useGap;
    style.scrollAttributes.gapText = gapText.toStdString();
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, style, sync);
    QList<QSize> sizes;
    for (int i = 0; i < images; ++i)
        sizes << (isHorizontal(moveType) ? QSize(100, 40) : QSize(400, 100));
    feed(ctrl, imageFiles(sizes));
    QCOMPARE(ctrl->gap(), gap);

    // With two images the gap stands between the second image and the third label's image 0.
    const QList<QLabel*> labels = ctrl->labels();
    if (images == 2 && runsForward(moveType)) {
        QCOMPARE(labels.size(), 3);
        QCOMPARE(along(labels[2], moveType), along(labels[1], moveType) + extent(labels[1], moveType) + gap);
    }
}

void TestCtrlImagePlayScroll::startRules_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<QList<bool>>("flags");
    // Call after which the belt stands and the ready signal has gone out, counting from 1; 0: never.
    QTest::addColumn<int>("startsAt");

    using Flags = QList<bool>;
    QTest::newRow("left, first alone waits") << int(ns::MOVE_LEFT) << false << Flags { false } << 0;
    QTest::newRow("left, second starts") << int(ns::MOVE_LEFT) << false << Flags { false, false } << 2;
    QTest::newRow("left, first and last") << int(ns::MOVE_LEFT) << false << Flags { true } << 1;
    QTest::newRow("up, second starts") << int(ns::MOVE_UP) << false << Flags { false, false, false } << 2;
    QTest::newRow("up, first and last") << int(ns::MOVE_UP) << false << Flags { true } << 1;
    QTest::newRow("right, waits for last") << int(ns::MOVE_RIGHT) << false << Flags { false, false } << 0;
    QTest::newRow("right, last starts") << int(ns::MOVE_RIGHT) << false << Flags { false, false, true } << 3;
    QTest::newRow("down, last starts") << int(ns::MOVE_DOWN) << false << Flags { false, true } << 2;
    QTest::newRow("sync left, last starts") << int(ns::MOVE_LEFT) << true << Flags { false, false, true } << 3;
    QTest::newRow("sync left, waits") << int(ns::MOVE_LEFT) << true << Flags { false, false } << 0;
    QTest::newRow("sync up, last starts") << int(ns::MOVE_UP) << true << Flags { false, true } << 2;
}

void TestCtrlImagePlayScroll::startRules()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(QList<bool>, flags);
    QFETCH(int, startsAt);

    const auto moveType = ns::MoveType(direction);
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, scrollStyle(moveType), sync);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    for (int call = 1; call <= flags.size(); ++call) {
        const QSize size = isHorizontal(moveType) ? QSize(100, 40) : QSize(400, 100);
        ctrl->slotAppend(imageFile(size, call - 1), flags[call - 1]);
        const bool started = startsAt != 0 && call >= startsAt;
        QCOMPARE(ready.count(), started ? 1 : 0);
        QCOMPARE(ctrl->labels().isEmpty(), !started);
    }
}

void TestCtrlImagePlayScroll::oneImageLayout_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QSize>("image");
    QTest::addColumn<QString>("gapText"); // null: no useGap
    QTest::addColumn<int>("count");
    QTest::addColumn<QPoint>("first");
    QTest::addColumn<int>("pitch"); // from one label's start to the next one's, along the belt
    QTest::addColumn<bool>("badGap");

    // Marquee images are centred: y = (100 - 40) / 2.
    QTest::newRow("left 1920, gap 1920") << int(ns::MOVE_LEFT) << false << QSize(1920, 100) << QSize(500, 40) << "1920"
                                         << 2 << QPoint(1920, 30) << 2420 << false;
    QTest::newRow("left 1000, gap 0") << int(ns::MOVE_LEFT) << false << QSize(1000, 100) << QSize(100, 40) << "0" << 12
                                      << QPoint(1000, 30) << 100 << false;
    QTest::newRow("left, window gap") << int(ns::MOVE_LEFT) << false << QSize(1000, 100) << QSize(100, 40) << QString()
                                      << 2 << QPoint(1000, 30) << 1100 << false;
    QTest::newRow("sync left, window gap") << int(ns::MOVE_LEFT) << true << QSize(1000, 100) << QSize(100, 40)
                                           << QString() << 2 << QPoint(1000, 30) << 1100 << false;
    QTest::newRow("right") << int(ns::MOVE_RIGHT) << false << QSize(1000, 100) << QSize(100, 40) << "50" << 8
                           << QPoint(-100, 30) << -150 << false;
    QTest::newRow("up") << int(ns::MOVE_UP) << false << QSize(200, 300) << QSize(200, 100) << "50" << 4
                        << QPoint(0, 100) << 150 << false;
    QTest::newRow("sync up") << int(ns::MOVE_UP) << true << QSize(200, 300) << QSize(200, 100) << "50" << 4
                             << QPoint(0, 300) << 150 << false;
    QTest::newRow("down") << int(ns::MOVE_DOWN) << false << QSize(200, 300) << QSize(200, 100) << "50" << 4
                          << QPoint(0, -100) << -150 << false;
    QTest::newRow("sync down") << int(ns::MOVE_DOWN) << true << QSize(200, 300) << QSize(200, 100) << "50" << 4
                               << QPoint(0, -100) << -150 << false;
    // A gap that swallows the image would make copies without end: the rounds touch instead.
    QTest::newRow("left, gap -100") << int(ns::MOVE_LEFT) << false << QSize(1000, 100) << QSize(100, 40) << "-100" << 12
                                    << QPoint(1000, 30) << 100 << true;
    QTest::newRow("up, gap -150") << int(ns::MOVE_UP) << false << QSize(200, 300) << QSize(200, 100) << "-150" << 5
                                  << QPoint(0, 100) << 100 << true;
}

void TestCtrlImagePlayScroll::oneImageLayout()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(QSize, window);
    QFETCH(QSize, image);
    QFETCH(QString, gapText);
    QFETCH(int, count);
    QFETCH(QPoint, first);
    QFETCH(int, pitch);
    QFETCH(bool, badGap);

    const QString noRoom = QStringLiteral("leaves no room for an image");
    if (badGap)
        m_log->expectError(noRoom);
    const auto moveType = ns::MoveType(direction);
    const QByteArray gap = gapText.toLatin1();
    ImagePlayCtrl* ctrl
        = makeControl(window, scrollStyle(moveType, kFastLevel, gapText.isNull() ? nullptr : gap.constData()), sync);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    ctrl->slotAppend(imageFile(image, 0), true);

    QCOMPARE(ready.count(), 1);
    const QList<QLabel*> labels = ctrl->labels();
    QCOMPARE(labels.size(), count);
    QCOMPARE(m_log->count(QStringLiteral("MarqueeTimer::loopPlay===================:%1").arg(count)), 1);
    QCOMPARE(m_log->count(QStringLiteral("emit SCROLL1 success")), 1);
    QCOMPARE(labels[0]->pos(), first);
    for (int i = 0; i < labels.size(); ++i) {
        QCOMPARE(colourOf(labels[i]), 0);
        QCOMPARE(labels[i]->size(), image);
        QCOMPARE(across(labels[i], moveType), isHorizontal(moveType) ? first.y() : 0);
        if (i > 0)
            QCOMPARE(along(labels[i], moveType) - along(labels[i - 1], moveType), pitch);
    }
    QCOMPARE(ctrl->currentIndex(), 0);
    QCOMPARE(m_log->count(noRoom), badGap ? 1 : 0);
    if (badGap)
        QCOMPARE(ctrl->gap(), 0);
}

void TestCtrlImagePlayScroll::twoImageLayout_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<QList<int>>("images"); // of First, Second, Third
    QTest::addColumn<QList<int>>("starts"); // along the belt

    // Window 400 x 300, gap 50. Horizontal images 100 and 150 wide, vertical ones 100 and 60 high.
    using Ints = QList<int>;
    for (bool sync : { false, true }) {
        const char* mode = sync ? "sync" : "not sync";
        QTest::addRow("left, %s", mode) << int(ns::MOVE_LEFT) << sync << Ints { 0, 1, 0 } << Ints { 400, 500, 700 };
        // No gap before Third on a rightward belt.
        QTest::addRow("right, %s", mode) << int(ns::MOVE_RIGHT) << sync << Ints { 1, 0, 1 }
                                         << Ints { -150, -250, -400 };
    }
    // Not sync, the upward belt starts one image height down rather than at the window's bottom.
    QTest::newRow("up, not sync") << int(ns::MOVE_UP) << false << Ints { 0, 1, 0 } << Ints { 100, 200, 310 };
    QTest::newRow("up, sync") << int(ns::MOVE_UP) << true << Ints { 0, 1, 0 } << Ints { 300, 400, 510 };
    QTest::newRow("down, not sync") << int(ns::MOVE_DOWN) << false << Ints { 1, 0, 1 } << Ints { -60, -160, -220 };
    QTest::newRow("down, sync") << int(ns::MOVE_DOWN) << true << Ints { 1, 0, 1 } << Ints { -60, -160, -270 };
}

void TestCtrlImagePlayScroll::twoImageLayout()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(QList<int>, images);
    QFETCH(QList<int>, starts);

    const auto moveType = ns::MoveType(direction);
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, scrollStyle(moveType), sync);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    const QList<QSize> sizes = isHorizontal(moveType) ? QList<QSize> { { 100, 40 }, { 150, 40 } }
                                                      : QList<QSize> { { 400, 100 }, { 400, 60 } };
    feed(ctrl, imageFiles(sizes));

    QCOMPARE(ready.count(), 1);
    QCOMPARE(m_log->count(QStringLiteral("emit SCROLL2 success")), 1);
    const QList<QLabel*> labels = ctrl->labels();
    QCOMPARE(labels.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(colourOf(labels[i]), images[i]);
        QCOMPARE(labels[i]->size(), sizes[images[i]]);
        QCOMPARE(along(labels[i], moveType), starts[i]);
        QCOMPARE(across(labels[i], moveType), isHorizontal(moveType) ? 130 : 0);
    }
    QCOMPARE(ctrl->currentIndex(), 0);
}

void TestCtrlImagePlayScroll::manyImageLayout_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<QList<int>>("images");
    QTest::addColumn<QList<int>>("starts");
    QTest::addColumn<int>("index");

    // Window 400 x 300; four images, horizontal 100, 150, 120, 80 wide, vertical as high.
    using Ints = QList<int>;
    QTest::newRow("sync left") << int(ns::MOVE_LEFT) << true << Ints { 0, 1, 2 } << Ints { 400, 500, 650 } << 2;
    QTest::newRow("sync up") << int(ns::MOVE_UP) << true << Ints { 0, 1, 2 } << Ints { 300, 400, 550 } << 2;
    for (bool sync : { false, true }) {
        const char* mode = sync ? "sync" : "not sync";
        QTest::addRow("right, %s", mode) << int(ns::MOVE_RIGHT) << sync << Ints { 3, 2, 1 } << Ints { -80, -200, -350 }
                                         << 1;
        QTest::addRow("down, %s", mode) << int(ns::MOVE_DOWN) << sync << Ints { 3, 2, 1 } << Ints { -80, -200, -350 }
                                        << 1;
    }
}

void TestCtrlImagePlayScroll::manyImageLayout()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(QList<int>, images);
    QFETCH(QList<int>, starts);
    QFETCH(int, index);

    const auto moveType = ns::MoveType(direction);
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, scrollStyle(moveType), sync);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    QList<QSize> sizes;
    for (int length : { 100, 150, 120, 80 })
        sizes << (isHorizontal(moveType) ? QSize(length, 40) : QSize(400, length));
    feed(ctrl, imageFiles(sizes));

    QCOMPARE(ready.count(), 1);
    QCOMPARE(m_log->count(QStringLiteral("emit SCROLL3 success")), 1);
    const QList<QLabel*> labels = ctrl->labels();
    QCOMPARE(labels.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(colourOf(labels[i]), images[i]);
        QCOMPARE(along(labels[i], moveType), starts[i]);
    }
    QCOMPARE(ctrl->currentIndex(), index);
}

void TestCtrlImagePlayScroll::beltRunsOn_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QList<int>>("lengths"); // of the images along the belt
    QTest::addColumn<int>("duration");

    using Ints = QList<int>;
    const QSize wide(400, 100);
    const QSize tall(200, 300);
    QTest::newRow("left, one") << int(ns::MOVE_LEFT) << false << wide << Ints { 120 } << 0;
    QTest::newRow("left, two") << int(ns::MOVE_LEFT) << false << wide << Ints { 100, 150 } << 0;
    QTest::newRow("left, four") << int(ns::MOVE_LEFT) << false << wide << Ints { 100, 150, 120, 90 } << 0;
    QTest::newRow("sync left, two") << int(ns::MOVE_LEFT) << true << wide << Ints { 100, 150 } << 2000;
    QTest::newRow("sync left, three") << int(ns::MOVE_LEFT) << true << wide << Ints { 100, 150, 120 } << 20000;
    QTest::newRow("right, one") << int(ns::MOVE_RIGHT) << false << wide << Ints { 120 } << 0;
    QTest::newRow("right, two") << int(ns::MOVE_RIGHT) << false << wide << Ints { 100, 150 } << 0;
    QTest::newRow("sync right, three") << int(ns::MOVE_RIGHT) << true << wide << Ints { 100, 150, 120 } << 3000;
    QTest::newRow("up, one") << int(ns::MOVE_UP) << false << tall << Ints { 90 } << 0;
    QTest::newRow("up, two") << int(ns::MOVE_UP) << false << tall << Ints { 100, 60 } << 0;
    QTest::newRow("up, four") << int(ns::MOVE_UP) << false << tall << Ints { 100, 60, 80, 120 } << 0;
    QTest::newRow("sync up, three") << int(ns::MOVE_UP) << true << tall << Ints { 100, 60, 80 } << 4000;
    QTest::newRow("down, one") << int(ns::MOVE_DOWN) << false << tall << Ints { 90 } << 0;
    QTest::newRow("down, two") << int(ns::MOVE_DOWN) << false << tall << Ints { 100, 60 } << 0;
    QTest::newRow("sync down, two") << int(ns::MOVE_DOWN) << true << tall << Ints { 100, 60 } << 5000;
    // Taller than the window: gone only when the top edge reaches the bottom.
    QTest::newRow("down, taller than window") << int(ns::MOVE_DOWN) << false << tall << Ints { 400, 350 } << 0;
}

// Tick by tick: every label moves one step, and a label that crossed the far edge goes behind the
// label ahead of it, with the gap before each round's first image, the one-pixel overlap inside a
// leftward round, and one step more behind label 0 (its predecessor moves after it in a tick).
void TestCtrlImagePlayScroll::beltRunsOn()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(QSize, window);
    QFETCH(QList<int>, lengths);
    QFETCH(int, duration);

    const auto moveType = ns::MoveType(direction);
    const bool horizontal = isHorizontal(moveType);
    const bool forward = runsForward(moveType);
    ImagePlayCtrl* ctrl = makeControl(window, scrollStyle(moveType), sync, duration);
    QList<QSize> sizes;
    for (int length : lengths)
        sizes << (horizontal ? QSize(length, 40) : QSize(window.width(), length));
    feed(ctrl, imageFiles(sizes));
    ctrl->pause();

    const QList<QLabel*> labels = ctrl->labels();
    QVERIFY(labels.size() >= 2);
    const int count = lengths.size();
    const int step = ctrl->pix();
    const int gap = ctrl->gap();
    QVERIFY(step > 0);
    const int crossing = horizontal ? labels[0]->y() : 0;
    const int farEdge = horizontal ? window.width() : window.height();
    const int roundStart = forward ? 0 : count - 1;
    const int inside = horizontal && forward ? -1 : 0;
    int belt = 0;
    for (int length : lengths)
        belt += length;
    const int tickCount = (farEdge + 3 * (belt + gap + farEdge)) / step;

    int jumps = 0;
    for (int t = 0; t < tickCount; ++t) {
        QList<int> before;
        QList<int> lengthBefore;
        for (const QLabel* label : labels) {
            before << along(label, moveType);
            lengthBefore << extent(label, moveType);
        }
        ticks(ctrl, moveType, 1);
        for (int i = 0; i < labels.size(); ++i) {
            const QLabel* label = labels[i];
            QCOMPARE(across(label, moveType), crossing);
            const int moved = before[i] + (forward ? -step : step);
            const bool gone = forward ? moved <= -lengthBefore[i] : moved >= farEdge;
            if (!gone) {
                QCOMPARE(along(label, moveType), moved);
                continue;
            }
            const int image = colourOf(label);
            QVERIFY(image >= 0 && image < count);
            ++jumps;
            const QLabel* prev = labels[(labels.size() - 1 + i) % labels.size()];
            const int space = forward ? along(label, moveType) - (along(prev, moveType) + extent(prev, moveType))
                                      : along(prev, moveType) - (along(label, moveType) + extent(label, moveType));
            const int join = (image == roundStart ? gap : inside) + (i == 0 ? step : 0);
            QVERIFY2(space == join,
                qPrintable(QStringLiteral("tick %1, label %2 (image %3): %4 pixels behind the label ahead, not %5")
                               .arg(t)
                               .arg(i)
                               .arg(image)
                               .arg(space)
                               .arg(join)));
        }
    }
    QVERIFY(jumps >= 2 * labels.size());
}

// A rightward belt of two images as a viewer sees it: 1, 0, 1 from the edge, and at the first
// wrap image 1 twice in a row.
void TestCtrlImagePlayScroll::rightBeltAsSeen()
{
    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, scrollStyle(ns::MOVE_RIGHT));
    feed(ctrl, imageFiles({ { 100, 40 }, { 100, 40 } }));
    ctrl->pause();
    QCOMPARE(ctrl->pix(), 2);

    const auto seenAt = [ctrl](int x) {
        const QImage image = ctrl->grab().toImage();
        const QRgb pixel = image.pixel(x, 50);
        for (int i = 0; i < kPalette.size(); ++i) {
            if (near(pixel, kPalette[i]))
                return i;
        }
        return qAlpha(pixel) == 0 ? -1 : -2;
    };
    // 300 pixels on: Third at 0, Second at 100, First at 200.
    ticks(ctrl, ns::MOVE_RIGHT, 150);
    QCOMPARE(seenAt(350), -1);
    QCOMPARE(seenAt(250), 1);
    QCOMPARE(seenAt(150), 0);
    QCOMPARE(seenAt(50), 1);
    // 500 pixels on First has left at 400 and comes back with image 1 behind Third, after the gap
    // and one step: Second 300, Third 200, First 48.
    ticks(ctrl, ns::MOVE_RIGHT, 100);
    QCOMPARE(seenAt(350), 0);
    QCOMPARE(seenAt(250), 1);
    QCOMPARE(seenAt(175), -1);
    QCOMPARE(seenAt(100), 1);
    QCOMPARE(seenAt(20), -1);
    QCOMPARE(ctrl->currentIndex(), 1);
}

void TestCtrlImagePlayScroll::thirdImageJoins_data()
{
    QTest::addColumn<int>("direction");
    QTest::newRow("left") << int(ns::MOVE_LEFT);
    QTest::newRow("up") << int(ns::MOVE_UP);
}

void TestCtrlImagePlayScroll::thirdImageJoins()
{
    QFETCH(int, direction);

    const auto moveType = ns::MoveType(direction);
    const QSize window(400, 300);
    ImagePlayCtrl* ctrl = makeControl(window, scrollStyle(moveType));
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    const auto size
        = [moveType](int length) { return isHorizontal(moveType) ? QSize(length, 40) : QSize(400, length); };
    ctrl->slotAppend(imageFile(size(100), 0), false);
    ctrl->slotAppend(imageFile(size(150), 1), false);
    QCOMPARE(ready.count(), 1);
    ctrl->pause();
    ticks(ctrl, moveType, 10);

    const QList<QLabel*> labels = ctrl->labels();
    ctrl->slotAppend(imageFile(size(120), 2), false);
    QCOMPARE(ready.count(), 1);
    QCOMPARE(colourOf(labels[2]), 2);
    QCOMPARE(along(labels[2], moveType), along(labels[1], moveType) + extent(labels[1], moveType));
    QCOMPARE(extent(labels[2], moveType), 120);
    QCOMPARE(ctrl->currentIndex(), 2);
    QCOMPARE(m_log->count(QStringLiteral("emit SCROLL3 success")), 1);

    // A fourth image changes no label; it comes up when the index reaches it.
    const Snapshot held = snapshot(*ctrl);
    ctrl->slotAppend(imageFile(size(90), 3), true);
    QCOMPARE(snapshot(*ctrl).positions, held.positions);
    QCOMPARE(snapshot(*ctrl).colours, held.colours);
    QCOMPARE(ready.count(), 1);
    const int farEdge = isHorizontal(moveType) ? window.width() : window.height();
    int tick = 0;
    while (!snapshot(*ctrl).colours.contains(3) && tick < farEdge + 1000) {
        ticks(ctrl, moveType, 1);
        ++tick;
    }
    QVERIFY(snapshot(*ctrl).colours.contains(3));
    QCOMPARE(ctrl->currentIndex(), 3);
}

void TestCtrlImagePlayScroll::syncPassTakesDuration_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QList<int>>("lengths");
    QTest::addColumn<int>("duration");

    using Ints = QList<int>;
    const QSize screen(1920, 100);
    // Paths of 2920, 9000 and 5000 pixels.
    QTest::newRow("left 10000/2920") << int(ns::MOVE_LEFT) << screen << Ints { 400, 300, 300 } << 10000;
    QTest::newRow("left 60000/2920") << int(ns::MOVE_LEFT) << screen << Ints { 400, 300, 300 } << 60000;
    QTest::newRow("left 3000/9000") << int(ns::MOVE_LEFT) << screen << Ints { 2360, 2360, 2360 } << 3000;
    QTest::newRow("left 5000/5000") << int(ns::MOVE_LEFT) << screen << Ints { 1000, 1000, 1080 } << 5000;
    QTest::newRow("left, two") << int(ns::MOVE_LEFT) << screen << Ints { 700, 500 } << 7000;
    QTest::newRow("right") << int(ns::MOVE_RIGHT) << screen << Ints { 400, 300, 300 } << 10000;
    QTest::newRow("up") << int(ns::MOVE_UP) << QSize(200, 300) << Ints { 200, 200, 200 } << 9000;
    QTest::newRow("down") << int(ns::MOVE_DOWN) << QSize(200, 300) << Ints { 250, 150, 100 } << 4000;
}

// One pass of a sync text, until its last image has left the window, takes the text's duration
// up to the rounding of the interval (or, on paths longer than the duration, of the step).
void TestCtrlImagePlayScroll::syncPassTakesDuration()
{
    QFETCH(int, direction);
    QFETCH(QSize, window);
    QFETCH(QList<int>, lengths);
    QFETCH(int, duration);

    const auto moveType = ns::MoveType(direction);
    const bool horizontal = isHorizontal(moveType);
    ImagePlayCtrl* ctrl = makeControl(window, scrollStyle(moveType, kFastLevel, nullptr), true, duration);
    QList<QSize> sizes;
    for (int length : lengths)
        sizes << (horizontal ? QSize(length, 40) : QSize(window.width(), length));
    feed(ctrl, imageFiles(sizes));
    ctrl->pause();

    const int interval = ctrl->speed();
    const int step = ctrl->pix();
    QVERIFY(interval > 0 && step > 0);
    // The label that carries the last image: Second of two, Third of three; a backward belt
    // begins with the last image, so its pass ends with image 0 on Third.
    const QList<QLabel*> labels = ctrl->labels();
    const int lastImage = runsForward(moveType) ? lengths.size() - 1 : 0;
    QLabel* last = nullptr;
    for (QLabel* label : labels) {
        if (colourOf(label) == lastImage)
            last = label;
    }
    QVERIFY(last);
    const int farEdge = horizontal ? window.width() : window.height();
    int path = farEdge;
    for (int length : lengths)
        path += length;

    int tickCount = 0;
    while (tickCount <= path) {
        const int before = along(last, moveType);
        ticks(ctrl, moveType, 1);
        ++tickCount;
        if (std::abs(along(last, moveType) - before) != step)
            break;
    }
    const int elapsed = tickCount * interval;
    const double tolerance = duration < path ? double(duration) * 0.5 / step + interval : tickCount * 0.5 + interval;
    QVERIFY2(std::abs(elapsed - duration) <= tolerance,
        qPrintable(QStringLiteral("%1 ticks of %2 ms (%3 px) take %4 ms for %5 ms")
                       .arg(tickCount)
                       .arg(interval)
                       .arg(step)
                       .arg(elapsed)
                       .arg(duration)));
}

void TestCtrlImagePlayScroll::unknownMoveTypeShowsNothing_data()
{
    QTest::addColumn<bool>("sync");
    QTest::newRow("not sync") << false;
    QTest::newRow("sync") << true;
}

void TestCtrlImagePlayScroll::unknownMoveTypeShowsNothing()
{
    QFETCH(bool, sync);

    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, scrollStyle(ns::MoveType(7)), sync);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    feed(ctrl, imageFiles({ { 100, 40 }, { 150, 40 } }));
    QCOMPARE(ready.count(), 0);
    QVERIFY(ctrl->labels().isEmpty());
    QCOMPARE(ctrl->imageNames().size(), 2);
    QVERIFY(m_log->contains(QStringLiteral(
        "ImagePlay::slotAppend=====m_RichTextInfo.content.displayStyle.scrollAttributes.effecs.moveType is null")));
    const QImage seen = ctrl->grab().toImage();
    for (int x = 0; x < seen.width(); x += 10)
        QCOMPARE(qAlpha(seen.pixel(x, 50)), 0);
}

void TestCtrlImagePlayScroll::repeatedLastImageStartsOnce_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<int>("images");

    QTest::newRow("left, two") << int(ns::MOVE_LEFT) << 2;
    QTest::newRow("up, two") << int(ns::MOVE_UP) << 2;
    QTest::newRow("left, three") << int(ns::MOVE_LEFT) << 3;
    QTest::newRow("up, three") << int(ns::MOVE_UP) << 3;
    QTest::newRow("right, two") << int(ns::MOVE_RIGHT) << 2;
}

// A last image whose file is missing repeats the image count: the belt must stay as laid out,
// with one timer.
void TestCtrlImagePlayScroll::repeatedLastImageStartsOnce()
{
    QFETCH(int, direction);
    QFETCH(int, images);

    const auto moveType = ns::MoveType(direction);
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, scrollStyle(moveType, kSlowLevel));
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    for (int i = 0; i < images; ++i) {
        const QSize size = isHorizontal(moveType) ? QSize(100 + 10 * i, 40) : QSize(400, 100 + 10 * i);
        // A rightward belt needs a last image to start; the missing one below then repeats it.
        ctrl->slotAppend(imageFile(size, i), moveType == ns::MOVE_RIGHT && i == images - 1);
    }
    QCOMPARE(ready.count(), 1);
    const Snapshot laidOut = snapshot(*ctrl);
    const int index = ctrl->currentIndex();

    ctrl->slotAppend(m_dir.filePath(QStringLiteral("missing.png")), true);
    QCOMPARE(ready.count(), 2); // the missing file's own report, not a second start
    QCOMPARE(ctrl->labels().size(), 3);
    QCOMPARE(snapshot(*ctrl).positions, laidOut.positions);
    QCOMPARE(snapshot(*ctrl).colours, laidOut.colours);
    QCOMPARE(ctrl->currentIndex(), index);

    TimerEventSpy timers;
    ctrl->installEventFilter(&timers);
    const int events = 6;
    QTRY_VERIFY_WITH_TIMEOUT(timers.ids.size() >= events, waitMs(ctrl->speed(), events));
    QCOMPARE(QSet<int>(timers.ids.begin(), timers.ids.end()).size(), 1);
    ctrl->removeEventFilter(&timers);
}

void TestCtrlImagePlayScroll::undecodableFileIsSkipped_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<int>("brokenAt");

    QTest::newRow("right, middle") << int(ns::MOVE_RIGHT) << false << 1;
    QTest::newRow("left, second") << int(ns::MOVE_LEFT) << false << 1;
    QTest::newRow("up, third") << int(ns::MOVE_UP) << false << 2;
    QTest::newRow("sync left, middle") << int(ns::MOVE_LEFT) << true << 1;
    QTest::newRow("sync down, last") << int(ns::MOVE_DOWN) << true << 3;
}

// A file that exists but holds no picture takes no place on the belt, and the belt never reaches
// for an image that isn't there.
void TestCtrlImagePlayScroll::undecodableFileIsSkipped()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(int, brokenAt);

    const auto moveType = ns::MoveType(direction);
    const bool horizontal = isHorizontal(moveType);
    ImagePlayCtrl* ctrl = makeControl({ 400, 300 }, scrollStyle(moveType), sync, 3000);
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    QStringList names;
    QList<int> colours;
    for (int i = 0; i < 4; ++i) {
        if (i == brokenAt) {
            names << garbageFile();
            continue;
        }
        names << imageFile(horizontal ? QSize(100 + 10 * i, 40) : QSize(400, 100 + 10 * i), i);
        colours << i;
    }
    feed(ctrl, names);
    QCOMPARE(ctrl->imageNames().size(), 4);
    QVERIFY(m_log->contains(QStringLiteral("ImagePlayCtrl------------------loadPic image failed")));
    QCOMPARE(ready.count(), 1);
    QCOMPARE(ctrl->labels().size(), 3);
    ctrl->pause();

    // Several rounds: every label shows one of the good images, and each of them comes by.
    QSet<int> seen;
    const int farEdge = horizontal ? 400 : 300;
    for (int t = 0; t < 4 * (farEdge + 4 * 130) / ctrl->pix(); ++t) {
        ticks(ctrl, moveType, 1);
        for (const QLabel* label : ctrl->labels()) {
            const int colour = colourOf(label);
            QVERIFY2(colours.contains(colour), qPrintable(QStringLiteral("label shows %1").arg(colour)));
            seen << colour;
        }
    }
    QCOMPARE(seen.size(), colours.size());
}

void TestCtrlImagePlayScroll::pauseHoldsAndResumeContinues_data()
{
    QTest::addColumn<bool>("sync");
    QTest::newRow("not sync") << false;
    QTest::newRow("sync") << true;
}

void TestCtrlImagePlayScroll::pauseHoldsAndResumeContinues()
{
    QFETCH(bool, sync);

    // Sync: a path of 650 pixels in 6500 ms, 10 ms and 1 pixel a tick.
    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, scrollStyle(ns::MOVE_LEFT), sync, 6500);
    feed(ctrl, imageFiles({ { 100, 40 }, { 150, 40 } }));
    const int interval = ctrl->speed();
    const int step = ctrl->pix();
    QVERIFY(step > 0);
    const QList<QLabel*> labels = ctrl->labels();
    QTRY_VERIFY_WITH_TIMEOUT(labels[0]->x() <= 400 - 3 * step, waitMs(interval, 3));

    ctrl->pause();
    const Snapshot held = snapshot(*ctrl);
    const int index = ctrl->currentIndex();
    // Let the event loop run for a good number of intervals: nothing may move.
    QTimer probe;
    probe.setSingleShot(true);
    QSignalSpy probed(&probe, &QTimer::timeout);
    probe.start(10 * interval);
    QVERIFY(probed.wait(waitMs(interval, 10)));
    QCOMPARE(snapshot(*ctrl).positions, held.positions);

    ctrl->resume();
    QTRY_VERIFY_WITH_TIMEOUT(labels[0]->x() < held.positions[0].x(), waitMs(interval, 1));
    // Every label goes on from where it stood, by whole steps, none of them re-placed.
    const int moved = held.positions[0].x() - labels[0]->x();
    QCOMPARE(moved % step, 0);
    for (int i = 0; i < labels.size(); ++i)
        QCOMPARE(labels[i]->pos(), held.positions[i] - QPoint(moved, 0));
    QCOMPARE(snapshot(*ctrl).colours, held.colours);
    QCOMPARE(ctrl->currentIndex(), index);
}

void TestCtrlImagePlayScroll::resumeTwiceKeepsOneTimer()
{
    ImagePlayCtrl* ctrl = makeControl({ 400, 100 }, scrollStyle(ns::MOVE_LEFT, kSlowLevel));
    feed(ctrl, imageFiles({ { 100, 40 }, { 150, 40 } }));
    QCOMPARE(ctrl->speed(), 6);
    ctrl->pause();
    const int start = ctrl->labels().first()->x();

    TimerEventSpy timers;
    ctrl->installEventFilter(&timers);
    ctrl->resume();
    ctrl->resume();
    const int events = 8;
    QTRY_VERIFY_WITH_TIMEOUT(timers.ids.size() >= events, waitMs(ctrl->speed(), events));
    ctrl->removeEventFilter(&timers);
    QCOMPARE(QSet<int>(timers.ids.begin(), timers.ids.end()).size(), 1);
    // Each timer event is one tick of one pixel.
    QCOMPARE(start - ctrl->labels().first()->x(), timers.ids.size() * ctrl->pix());
}

void TestCtrlImagePlayScroll::foldedScroll_data()
{
    QTest::addColumn<int>("direction");
    QTest::addColumn<bool>("sync");
    QTest::addColumn<bool>("rewritten");

    QTest::newRow("left") << int(ns::MOVE_LEFT) << false << true;
    QTest::newRow("sync right") << int(ns::MOVE_RIGHT) << true << true;
    QTest::newRow("up") << int(ns::MOVE_UP) << false << false;
    QTest::newRow("sync down") << int(ns::MOVE_DOWN) << true << false;
}

void TestCtrlImagePlayScroll::foldedScroll()
{
    QFETCH(int, direction);
    QFETCH(bool, sync);
    QFETCH(bool, rewritten);

    ns::Fold fold;
    fold.enabled = true;
    fold.rects = { { 0, 0, 200, 80 }, { 200, 0, 200, 80 } };
    ImagePlayCtrl* ctrl
        = makeControl({ 400, 100 }, scrollStyle(ns::MoveType(direction), kSlowLevel), sync, 10000, fold);
    m_parent->show(); // a child made later is hidden until shown
    QSignalSpy ready(ctrl, &ImagePlayCtrl::signalsImageReady);
    const QStringList names = imageFiles({ { 100, 40 }, { 150, 40 } });

    ctrl->slotAppend(names[0], false);
    QVERIFY(!ctrl->findChild<FoldTextPlay*>());
    QCOMPARE(QImage(names[0]).height(), 40);
    ctrl->slotAppend(names[1], true);
    // The fold's own table, in sync mode too: level 5 is 16 ms and 3 pixels.
    QCOMPARE(ctrl->speed(), 16);
    QCOMPARE(ctrl->pix(), 3);
    QCOMPARE(ctrl->gap(), 50);
    QCOMPARE(ready.count(), 1);
    QVERIFY(ctrl->labels().isEmpty());
    // The whole belt runs in the fold player, which shows in sync mode too.
    auto* play = ctrl->findChild<FoldTextPlay*>();
    QVERIFY(play && play->isVisible());
    QCOMPARE(play->interval(), 16);
    QCOMPARE(play->drawFoldImage()->step(), 3);
    QCOMPARE(play->drawFoldImage()->gap(), 50);
    QCOMPARE(play->drawFoldImage()->imageCount(), 4);
    ctrl->destory();
    QVERIFY(!ctrl->findChild<FoldTextPlay*>());
    for (const QString& name : names)
        QCOMPARE(QImage(name).height(), rewritten ? 80 : 40);
}

QTEST_MAIN(TestCtrlImagePlayScroll)
#include "tst_ctrlimageplay_scroll.moc"
