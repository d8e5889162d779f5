// The SCROLL side of ImagePlayCtrl: an endless belt of labels, each showing one decoded image,
// moved by m_pix pixels per tick. A label that leaves the window at the far side takes the next
// image and goes behind the label ahead of it, so a handful of labels carry any number of images.
#include "ctrlimageplay.h"

#include "foldtextplay.h"
#include "imagehandoff.h"

#include <spdlogger.h>

#include <QLabel>
#include <QPixmap>

#include <algorithm>
#include <cmath>

namespace {

struct SpeedStep {
    int intervalMs;
    int pix;
};

constexpr int kLevelCount = 10;
// Levels 3 to 6 follow ceil(64 / ((level - 2) * 4)) ms at one pixel; from level 7 on the step
// doubles, so level 7 is faster than 6 although its interval is longer.
constexpr SpeedStep kLevelSteps[kLevelCount] = {
    { 40, 1 },
    { 25, 1 },
    { 16, 1 },
    { 8, 1 },
    { 6, 1 },
    { 4, 1 },
    { 7, 2 },
    { 6, 2 },
    { 5, 2 },
    { 4, 2 },
};
// A folded belt is painted frame by frame, so it keeps a 16 ms frame and grows the step instead.
constexpr SpeedStep kFoldLevelSteps[kLevelCount] = {
    { 64, 1 },
    { 32, 1 },
    { 16, 1 },
    { 16, 2 },
    { 16, 3 },
    { 16, 4 },
    { 16, 5 },
    { 16, 6 },
    { 16, 7 },
    { 16, 8 },
};
constexpr int kBeyondLevelsIntervalMs = 3;
constexpr int kFoldBeyondLevelsIntervalMs = 8;
constexpr double kMsPerSecond = 1000.0;
constexpr int kPixelRateStep = 1;
// A zero interval would spin the GUI thread; pixel rates above 1000 are held at 1 ms per pixel.
constexpr int kMinIntervalMs = 1;

// calSyncSpeed: a path shorter than its duration gets a 16 ms tick and a step to match; otherwise
// the step is picked by whole milliseconds per pixel so that the interval stays about 8 to 20 ms.
constexpr double kFastTickMs = 16.0;
struct SyncRow {
    int belowMsPerPixel;
    int pix;
};
constexpr SyncRow kSyncRows[] = { { 2, 8 }, { 4, 5 }, { 6, 3 }, { 10, 2 } };
constexpr int kSlowSyncPix = 1;

// A sync pass has ended when the last image has left; the next round comes this much later.
constexpr int kSyncGapExtra = 1000;
// Two pieces of one round on a leftward belt overlap by a pixel, so no seam shows between them.
constexpr int kLeftJoinOverlap = 1;
// Enough copies of a single image to cover the window and one more coming in.
constexpr int kOneImageExtraLabels = 2;
constexpr int kBeltLabels = 3;

bool isHorizontal(ns::MoveType direction)
{
    return direction == ns::MOVE_LEFT || direction == ns::MOVE_RIGHT;
}

// LEFT and UP belts run toward negative coordinates and read the images forward.
bool runsForward(ns::MoveType direction)
{
    return direction == ns::MOVE_LEFT || direction == ns::MOVE_UP;
}

bool isDirection(int moveType)
{
    return moveType == ns::MOVE_LEFT || moveType == ns::MOVE_RIGHT || moveType == ns::MOVE_DOWN
        || moveType == ns::MOVE_UP;
}

int gapNumber(const std::string& gapText)
{
    // Text that is no decimal number gives 0, so rounds touch.
    return QString::fromStdString(gapText).toInt(nullptr, 10);
}

void logUnknownMoveType()
{
    PLAYER_LOG(debug,
        "ImagePlay::slotAppend=====m_RichTextInfo.content.displayStyle.scrollAttributes.effecs.moveType is null");
}

} // namespace

int ImagePlayCtrl::calScrollSpeed(bool speedIsPixels, int speed)
{
    const SpeedStep* table = m_fold.enabled ? kFoldLevelSteps : kLevelSteps;
    if (speedIsPixels) {
        if (speed <= 0) {
            PLAYER_LOG(error, "ImagePlayCtrl: pixel rate {} is not valid, scrolling at the slowest level", speed);
            m_pix = table[0].pix;
            return table[0].intervalMs;
        }
        m_pix = kPixelRateStep;
        const int interval = int(kMsPerSecond / speed);
        if (interval < kMinIntervalMs) {
            PLAYER_LOG(debug, "ImagePlayCtrl: pixel rate {} is above one pixel per ms, interval held at {} ms", speed,
                kMinIntervalMs);
            return kMinIntervalMs;
        }
        return interval;
    }
    if (speed >= 1 && speed <= kLevelCount) {
        m_pix = table[speed - 1].pix;
        return table[speed - 1].intervalMs;
    }
    if (m_fold.enabled)
        return kFoldBeyondLevelsIntervalMs;
    if (speed > kLevelCount)
        return kBeyondLevelsIntervalMs;
    PLAYER_LOG(error, "ImagePlayCtrl: speed level {} is not valid, scrolling at level 1", speed);
    m_pix = table[0].pix;
    return table[0].intervalMs;
}

void ImagePlayCtrl::calSyncSpeed(int duration, int pix)
{
    // A duration of 0 has no finite ratio, and a negative path no sense: both leave the speed.
    if (duration <= 0 || pix <= 0) {
        PLAYER_LOG(debug, "text duration is {}", m_duration);
        return;
    }
    if (duration < pix) {
        m_pix = qRound(double(pix) / double(duration) * kFastTickMs);
        m_speed = int(kFastTickMs);
    } else {
        const double x = double(duration) / double(pix);
        const double f = std::floor(x);
        m_pix = kSlowSyncPix;
        for (const SyncRow& row : kSyncRows) {
            if (f < row.belowMsPerPixel) {
                m_pix = row.pix;
                break;
            }
        }
        const double temp = x * m_pix;
        m_speed = qRound(temp);
        PLAYER_LOG(
            debug, "duration = {},pix = {},speed = {},m_pix = {},temp = {}", duration, pix, m_speed, m_pix, temp);
    }
    PLAYER_LOG(debug, "duration = {},pix = {},speed = {},m_pix = {}", duration, pix, m_speed, m_pix);
}

int ImagePlayCtrl::gapFor(bool sync) const
{
    const ns::ScrollAttributes& attributes = m_displayStyle.scrollAttributes;
    if (attributes.useGap)
        return gapNumber(attributes.gapText);
    const auto direction = attributes.effecs.moveType;
    const int window = isHorizontal(direction) ? width() : height();
    if (!sync)
        return window;
    // A single image on a sync leftward belt follows itself at a window's distance.
    if (direction == ns::MOVE_LEFT && m_listPixmap.size() == 1)
        return window;
    return window + kSyncGapExtra;
}

bool ImagePlayCtrl::prepareScroll(bool sync)
{
    const auto direction = m_displayStyle.scrollAttributes.effecs.moveType;
    if (!isDirection(direction)) {
        logUnknownMoveType();
        return false;
    }
    if (sync) {
        int sum = 0;
        if (isHorizontal(direction)) {
            for (const QString& name : qAsConst(m_listImageName))
                sum += imagehandoff::sizeOf(name).width();
        } else {
            for (const QPixmap& pixmap : qAsConst(m_listPixmap))
                sum += pixmap.height();
        }
        calSyncSpeed(m_duration, sum + (isHorizontal(direction) ? m_width : m_height));
    }
    m_gap = gapFor(sync);
    if (isHorizontal(direction) && !m_listPixmap.isEmpty())
        m_marqueeY = initMarqueePos(m_vAlignment, m_listPixmap.first().height());
    return true;
}

void ImagePlayCtrl::appendScroll(bool bCreatImageStatus)
{
    const ns::ScrollAttributes& attributes = m_displayStyle.scrollAttributes;
    m_speed = calScrollSpeed(attributes.speedIsPixels, attributes.effecs.speed);
    if (!prepareScroll(false))
        return;

    // Counted in decoded images: a file that exists but fails to decode takes no place on the belt.
    const int count = m_listPixmap.size();
    if (m_beltImages != 0) {
        // A last-image call whose file was missing repeats the count; the belt is laid out once.
        if (runsForward(attributes.effecs.moveType) && m_beltImages == 2 && count == kBeltLabels)
            joinThirdImage();
        return;
    }
    if (runsForward(attributes.effecs.moveType)) {
        if (count >= 2 || bCreatImageStatus)
            startBelt();
    } else if (bCreatImageStatus) {
        startBelt();
    }
}

void ImagePlayCtrl::appendScrollSync()
{
    if (m_beltImages != 0) {
        PLAYER_LOG(debug, "ImagePlayCtrl: the sync belt is running already, {} images", m_listPixmap.size());
        return;
    }
    if (prepareScroll(true))
        startBelt();
}

void ImagePlayCtrl::appendFoldScroll(bool bCreatImageStatus)
{
    const ns::ScrollAttributes& attributes = m_displayStyle.scrollAttributes;
    // A folded belt keeps its own pace, sync or not: a frame per tick of the fold table.
    m_speed = calScrollSpeed(attributes.speedIsPixels, attributes.effecs.speed);
    if (attributes.useGap)
        m_gap = gapNumber(attributes.gapText);
    if (!m_textSyncWithMusic && !bCreatImageStatus)
        return;
    if (isHorizontal(attributes.effecs.moveType)) {
        for (const QString& name : qAsConst(m_listImageName))
            drawPixmapToFoldSize(name, m_vAlignment);
    }
    if (m_listImageName.isEmpty()) {
        PLAYER_LOG(error, "ImagePlayCtrl: no image file of the folded scroll is left; nothing is shown");
        return;
    }
    if (m_pFoldTextPlay) {
        PLAYER_LOG(debug, "ImagePlayCtrl: the folded scroll is running already");
        return;
    }
    // Made when a folded scroll needs it, so that folded pages never ask for an OpenGL context.
    m_pFoldTextPlay = new FoldTextPlay(this);
    m_pFoldTextPlay->resize(size());
    m_pFoldTextPlay->setBKColor(m_bkColor);
    m_pFoldTextPlay->setFoldParaMeters(m_fold);
    m_pFoldTextPlay->setMarqueeParaMeters(attributes.effecs.moveType, attributes.useGap, m_gap);
    m_pFoldTextPlay->setMarqueeSpeed(m_speed, m_pix);
    for (const QString& name : qAsConst(m_listImageName))
        m_pFoldTextPlay->appendPixmap(QPixmap(name));
    m_pFoldTextPlay->startPlay(m_listImageName.first());
    // Shown in sync mode too: made this late, a child of a shown control would stay hidden.
    m_pFoldTextPlay->show();
    emit signalsImageReady();
}

void ImagePlayCtrl::startBelt()
{
    const int count = m_listPixmap.size();
    if (count == 0) {
        PLAYER_LOG(debug, "ImagePlayCtrl: no image could be decoded, the scroll shows nothing");
        return;
    }
    if (count >= 2 && !(m_pLabelFirst && m_pLabelSecond && m_pLabelThird)) {
        PLAYER_LOG(error, "ImagePlayCtrl: the scroll labels are gone, the scroll shows nothing");
        return;
    }
    if (count == 1)
        layoutOneImage();
    else if (count == 2)
        layoutTwoImages();
    else
        layoutManyImages();
    m_beltImages = std::min(count, kBeltLabels);
    startScrollTimer();
    emit signalsImageReady();
    if (count == 1)
        PLAYER_LOG(trace, "ImagePlay::slotAppend===================emit SCROLL1 success");
    else if (count == 2)
        PLAYER_LOG(trace, "ImagePlay::slotAppend===================emit SCROLL2 success");
    else
        PLAYER_LOG(trace, "ImagePlay::slotAppend===================emit SCROLL3 success");
}

int ImagePlayCtrl::beltStart(const QLabel* label)
{
    switch (m_displayStyle.scrollAttributes.effecs.moveType) {
    case ns::MOVE_LEFT:
        return m_width;
    case ns::MOVE_UP:
        return m_textSyncWithMusic ? m_height : initImagePos(m_vAlignment, label->height());
    case ns::MOVE_RIGHT:
        return -label->width();
    default:
        return -label->height();
    }
}

int ImagePlayCtrl::along(const QLabel* label) const
{
    return isHorizontal(m_displayStyle.scrollAttributes.effecs.moveType) ? label->x() : label->y();
}

int ImagePlayCtrl::extent(const QLabel* label) const
{
    return isHorizontal(m_displayStyle.scrollAttributes.effecs.moveType) ? label->width() : label->height();
}

void ImagePlayCtrl::moveAlong(QLabel* label, int position)
{
    if (isHorizontal(m_displayStyle.scrollAttributes.effecs.moveType))
        label->move(position, m_marqueeY);
    else
        label->move(0, position);
}

void ImagePlayCtrl::showImage(QLabel* label, int index)
{
    const QPixmap& pixmap = m_listPixmap.at(index);
    label->setPixmap(pixmap);
    label->resize(pixmap.size());
}

void ImagePlayCtrl::layoutOneImage()
{
    const auto direction = m_displayStyle.scrollAttributes.effecs.moveType;
    const QPixmap& image = m_listPixmap.first();
    const int length = isHorizontal(direction) ? image.width() : image.height();
    const int window = isHorizontal(direction) ? m_width : m_height;
    if (m_gap + length <= 0) {
        PLAYER_LOG(error, "ImagePlayCtrl: gap {} leaves no room for an image of {} pixels, the gap is taken as 0",
            m_gap, length);
        m_gap = 0;
    }
    // Never fewer than two copies, even for a window of no size.
    const int count = std::max(window / (m_gap + length) + kOneImageExtraLabels, kOneImageExtraLabels);
    for (int i = 0; i < count; ++i) {
        auto* label = new QLabel(this);
        label->setAttribute(Qt::WA_TranslucentBackground);
        label->show();
        label->setPixmap(image);
        label->setFixedSize(image.size());
        m_listLabel.append(label);
        PLAYER_LOG(trace, "MarqueeTimer::loopPlay===================:{}", i + 1);
    }
    const bool forward = runsForward(direction);
    moveAlong(m_listLabel.first(), beltStart(m_listLabel.first()));
    for (int i = 1; i < count; ++i) {
        const QLabel* before = m_listLabel.at(i - 1);
        QLabel* label = m_listLabel.at(i);
        moveAlong(label, forward ? along(before) + extent(before) + m_gap : along(before) - m_gap - extent(label));
    }
    m_index = 0;
}

void ImagePlayCtrl::layoutTwoImages()
{
    const auto direction = m_displayStyle.scrollAttributes.effecs.moveType;
    m_listLabel << m_pLabelFirst << m_pLabelSecond << m_pLabelThird;
    if (runsForward(direction)) {
        showImage(m_pLabelFirst, 0);
        moveAlong(m_pLabelFirst, beltStart(m_pLabelFirst));
        showImage(m_pLabelSecond, 1);
        moveAlong(m_pLabelSecond, along(m_pLabelFirst) + extent(m_pLabelFirst));
        showImage(m_pLabelThird, 0);
        moveAlong(m_pLabelThird, along(m_pLabelSecond) + extent(m_pLabelSecond) + m_gap);
    } else {
        showImage(m_pLabelFirst, 1);
        moveAlong(m_pLabelFirst, beltStart(m_pLabelFirst));
        showImage(m_pLabelSecond, 0);
        moveAlong(m_pLabelSecond, along(m_pLabelFirst) - extent(m_pLabelSecond));
        showImage(m_pLabelThird, 1);
        // Only a sync downward belt puts the gap here; the start leaves m_index at 0 either way.
        const int gap = direction == ns::MOVE_DOWN && m_textSyncWithMusic ? m_gap : 0;
        moveAlong(m_pLabelThird, along(m_pLabelSecond) - gap - extent(m_pLabelThird));
    }
    m_index = 0;
}

void ImagePlayCtrl::layoutManyImages()
{
    const int count = m_listPixmap.size();
    m_listLabel << m_pLabelFirst << m_pLabelSecond << m_pLabelThird;
    if (runsForward(m_displayStyle.scrollAttributes.effecs.moveType)) {
        showImage(m_pLabelFirst, 0);
        moveAlong(m_pLabelFirst, beltStart(m_pLabelFirst));
        showImage(m_pLabelSecond, 1);
        moveAlong(m_pLabelSecond, along(m_pLabelFirst) + extent(m_pLabelFirst));
        showImage(m_pLabelThird, 2);
        moveAlong(m_pLabelThird, along(m_pLabelSecond) + extent(m_pLabelSecond));
        m_index = 2;
    } else {
        showImage(m_pLabelFirst, count - 1);
        moveAlong(m_pLabelFirst, beltStart(m_pLabelFirst));
        showImage(m_pLabelSecond, count - 2);
        moveAlong(m_pLabelSecond, along(m_pLabelFirst) - extent(m_pLabelSecond));
        showImage(m_pLabelThird, count - 3);
        moveAlong(m_pLabelThird, along(m_pLabelSecond) - extent(m_pLabelThird));
        m_index = count - 3;
    }
}

void ImagePlayCtrl::joinThirdImage()
{
    if (!(m_pLabelSecond && m_pLabelThird)) {
        PLAYER_LOG(error, "ImagePlayCtrl: the scroll labels are gone, the third image is not shown");
        return;
    }
    m_beltImages = kBeltLabels;
    if (m_displayStyle.scrollAttributes.effecs.moveType == ns::MOVE_UP) {
        m_pLabelThird->move(0, m_pLabelSecond->y() + m_pLabelSecond->height());
        showImage(m_pLabelThird, 2);
        m_index += 2;
    } else {
        m_pLabelThird->move(m_pLabelSecond->x() + m_pLabelSecond->width(), m_marqueeY);
        showImage(m_pLabelThird, 2);
        PLAYER_LOG(debug,
            "this->width()={}, this->height()={}, m_pLabelThird->width()={}, m_pLabelThird->height()={}, "
            "m_listPixmap.at(2).width()={}, m_listPixmap.at(2).height()={}",
            width(), height(), m_pLabelThird->width(), m_pLabelThird->height(), m_listPixmap.at(2).width(),
            m_listPixmap.at(2).height());
        m_index = 2;
    }
    PLAYER_LOG(trace, "ImagePlay::slotAppend===================emit SCROLL3 success");
}

void ImagePlayCtrl::startScrollTimer()
{
    const ScrollTimer timer = scrollTimerOf(m_displayStyle.scrollAttributes.effecs.moveType);
    if (m_textSyncWithMusic)
        timer.timer->start(m_speed);
    else
        restartTimer(*timer.id);
}

void ImagePlayCtrl::tick(ns::MoveType direction)
{
    const int count = m_listPixmap.size();
    const int size = m_listLabel.size();
    if (count == 0 || size == 0)
        return;
    const bool horizontal = isHorizontal(direction);
    const bool forward = runsForward(direction);
    const int farEdge = horizontal ? m_width : m_height;
    for (int i = 0; i < size; ++i) {
        QLabel* label = m_listLabel.at(i);
        const int position = (horizontal ? label->x() : label->y()) + (forward ? -m_pix : m_pix);
        if (horizontal)
            label->move(position, m_marqueeY);
        else
            label->move(0, position);
        const int length = horizontal ? label->width() : label->height();
        if (forward ? position > -length : position < farEdge)
            continue;

        m_index += forward ? 1 : -1;
        const bool wrapped = m_index < 0 || m_index >= count;
        if (wrapped)
            m_index = forward || m_index >= count ? 0 : count - 1;
        showImage(label, m_index);

        const QLabel* prev = m_listLabel.at((size - 1 + i) % size);
        const int prevStart = horizontal ? prev->x() : prev->y();
        int next = 0;
        if (forward) {
            const int join = wrapped ? m_gap : (horizontal ? -kLeftJoinOverlap : 0);
            next = prevStart + (horizontal ? prev->width() : prev->height()) + join;
        } else {
            next = prevStart - (horizontal ? label->width() : label->height()) - (wrapped ? m_gap : 0);
        }
        if (horizontal)
            label->move(next, m_marqueeY);
        else
            label->move(0, next);
    }
}

void ImagePlayCtrl::slotMoveUp()
{
    PLAYER_LOG(trace, "m_iTimerScrllImageUp,{},{}", m_speed, m_pix);
    tick(ns::MOVE_UP);
}

void ImagePlayCtrl::slotMoveDown()
{
    tick(ns::MOVE_DOWN);
}

void ImagePlayCtrl::slotMoveLeft()
{
    tick(ns::MOVE_LEFT);
}

void ImagePlayCtrl::slotMoveRight()
{
    tick(ns::MOVE_RIGHT);
}
