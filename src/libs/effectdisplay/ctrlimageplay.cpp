#include "ctrlimageplay.h"

#include "effectdisplay.h"
#include "foldtextplay.h"
#include "imagehandoff.h"
#include "pngwriter.h"
#include "foldgeometry.h"

#include <imageplayhelper.h>
#include <spdlogger.h>

#include <QFile>
#include <QLabel>
#include <QPainter>
#include <QTimerEvent>

#include <thread>
#include <utility>

namespace {

// Removes the files of a finished display. Runs detached on its own copy of the names, so it
// may outlive the control and never touches it.
void removeImageFiles(QStringList names)
{
    PLAYER_LOG(debug, "detory imageNames size = {}", names.size());
    for (const QString& name : names) {
        if (QFile::exists(name))
            QFile::remove(name);
    }
}

} // namespace

ImagePlayCtrl::ImagePlayCtrl(QWidget* parent)
    : QWidget(parent)
{
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, true);
    if (parent) {
        m_width = parent->width();
        m_height = parent->height();
    } else {
        PLAYER_LOG(error, "ImagePlayCtrl: no parent widget, the control has no size");
    }
    setFixedSize(m_width, m_height);

    connect(&m_timerUp, &QTimer::timeout, this, &ImagePlayCtrl::slotMoveUp);
    connect(&m_timerDown, &QTimer::timeout, this, &ImagePlayCtrl::slotMoveDown);
    connect(&m_timerLeft, &QTimer::timeout, this, &ImagePlayCtrl::slotMoveLeft);
    connect(&m_timerRight, &QTimer::timeout, this, &ImagePlayCtrl::slotMoveRight);
    for (QTimer* timer : { &m_timerUp, &m_timerDown, &m_timerLeft, &m_timerRight })
        timer->setTimerType(Qt::PreciseTimer);
    show();
}

ImagePlayCtrl::~ImagePlayCtrl()
{
    destory();
}

void ImagePlayCtrl::initImagePlay(const ns::DisplayStyle& style, ns::VAlignment v, ns::HAlignment h)
{
    m_displayStyle = style;
    m_vAlignment = v;
    m_hAlignment = h;

    switch (m_displayStyle.type) {
    case ns::PAGE_SWITCH:
    case ns::STATIC_PAGE:
        m_pEffectDisplay = new EffectDisplay(this);
        m_pEffectDisplay->setFixedSize(size());
        connect(m_pEffectDisplay, &EffectDisplay::signalsImageInitOk, this, [this] { onImageInitOk(); });
        break;
    case ns::SCROLL:
        if (m_fold.enabled) {
            // Kept for the folded scroll's sake; nothing in the scroll path draws with it.
            m_pEffectDisplay = new EffectDisplay(this);
            m_pEffectDisplay->resize(size());
        } else {
            for (QLabel** label : { &m_pLabelFirst, &m_pLabelSecond, &m_pLabelThird }) {
                *label = new QLabel(this);
                (*label)->setAttribute(Qt::WA_TranslucentBackground);
            }
            m_pLabelFirst->show();
            m_pLabelSecond->show();
            m_pLabelThird->show();
        }
        break;
    default:
        break;
    }
}

void ImagePlayCtrl::initWindowSize(int w, int h)
{
    m_width = w;
    m_height = h;
}

void ImagePlayCtrl::setTaskID(const QString& taskID)
{
    m_taskID = taskID;
}

void ImagePlayCtrl::setDuration(int duration)
{
    m_duration = duration;
}

void ImagePlayCtrl::setSpeed(int speed)
{
    m_speed = speed;
}

void ImagePlayCtrl::setNeedResize(bool needResize)
{
    m_needResize = needResize;
}

void ImagePlayCtrl::setDeletePic(bool deletePic)
{
    m_deletePic = deletePic;
}

void ImagePlayCtrl::setbkColor(QString color)
{
    m_bkColor = color;
}

void ImagePlayCtrl::setTextSyncWithMusic(bool sync)
{
    m_textSyncWithMusic = sync;
}

void ImagePlayCtrl::setFoldParaMeters(ns::Fold fold)
{
    m_fold = std::move(fold);
    m_listFoldRect.clear();
    if (!m_fold.enabled)
        return;
    for (const ns::FoldRect& rect : m_fold.rects) {
        QRect r;
        r.setRect(rect.x, rect.y, rect.width, rect.height);
        m_listFoldRect.append(r);
    }
}

int ImagePlayCtrl::calFoldLocal(int n)
{
    return foldPieceStart(m_fold, n);
}

QSize ImagePlayCtrl::calFoldPixmapSize()
{
    return composedFoldSize(m_fold, QSize(m_width, m_height));
}

int ImagePlayCtrl::initImagePos(ns::VAlignment, int length)
{
    return length;
}

int ImagePlayCtrl::initMarqueePos(ns::VAlignment v, int height)
{
    const int posY = m_displayStyle.posY;
    switch (v) {
    case ns::ALIGN_TOP:
        return posY;
    case ns::ALIGN_BOTTOM:
        return posY + m_height - height;
    case ns::ALIGN_VCENTER:
    default:
        // Centred is also what a record with no valid alignment gets.
        return (m_height - height) / 2 + posY;
    }
}

void ImagePlayCtrl::drawPixmapToFoldSize(QString name, ns::VAlignment v)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        PLAYER_LOG(debug, "EffectDisplay::playEffects()------------------open image failed");
    file.close();
    rewriteToFoldSize(name, v);
}

void ImagePlayCtrl::rewriteToFoldSize(const QString& name, ns::VAlignment v)
{
    const QPixmap pixmap(name);
    const QSize foldSize = calFoldPixmapSize();
    QImage image(pixmap.width(), foldSize.height(), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    if (!image.isNull()) {
        QPainter painter(&image);
        const int posY = m_displayStyle.posY;
        switch (v) {
        case ns::ALIGN_TOP:
            painter.drawPixmap(0, posY, pixmap);
            break;
        case ns::ALIGN_VCENTER:
            painter.drawPixmap(0, posY + (image.height() - pixmap.height()) / 2, pixmap);
            break;
        case ns::ALIGN_BOTTOM:
            painter.drawPixmap(0, posY - pixmap.height() + image.height(), pixmap);
            break;
        default:
            break;
        }
    }
    QString error;
    if (!pngwriter::save(image, name, &error))
        PLAYER_LOG(
            warn, "ImagePlayCtrl: cannot rewrite {} to the fold's height: {}", name.toStdString(), error.toStdString());
}

void ImagePlayCtrl::slotAppend(QString imagename, bool bCreatImageStatus)
{
    if (QFile::exists(imagename)) {
        m_listImageName.append(imagename);
    } else if (bCreatImageStatus) {
        // The last file is gone: render anew next time, and let the owner go on with what it has.
        ImagePlayHelper::getInstance().clearTaskImageCache(m_taskID);
        emit signalsImageReady();
    }

    const int type = m_displayStyle.type;
    if (type == ns::SCROLL && !m_fold.enabled) {
        bool loaded = imagehandoff::take(imagename, &m_image);
        if (!loaded) {
            QFile file(imagename);
            const bool opened = file.open(QIODevice::ReadOnly);
            if (!opened)
                PLAYER_LOG(debug, "EffectDisplay::playEffects()------------------open image failed");
            loaded = imagehandoff::read(opened ? file.readAll() : QByteArray(), &m_image);
        }
        if (!loaded) {
            PLAYER_LOG(debug, "ImagePlayCtrl------------------loadPic image failed");
        } else {
            const QSize target = m_needResize ? size() : m_image.size();
            m_listPixmap.append(
                QPixmap::fromImage(m_image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)));
        }
    }
    PLAYER_LOG(trace, "ImagePlay::slotAppend===================creat image success,{}", imagename.toStdString());

    if (m_fold.enabled && type != ns::SCROLL)
        rewriteToFoldSize(imagename, m_vAlignment);

    if (m_textSyncWithMusic) {
        if (!bCreatImageStatus)
            return;
        switch (type) {
        case ns::PAGE_SWITCH:
            startPageSwitchSync();
            break;
        case ns::STATIC_PAGE:
            startStaticPageSync();
            break;
        case ns::SCROLL:
            if (m_fold.enabled)
                appendFoldScroll(bCreatImageStatus);
            else
                appendScrollSync();
            break;
        default:
            break;
        }
        return;
    }
    switch (type) {
    case ns::PAGE_SWITCH:
        startPageSwitch();
        break;
    case ns::STATIC_PAGE:
        startStaticPage();
        break;
    case ns::SCROLL:
        if (m_fold.enabled)
            appendFoldScroll(bCreatImageStatus);
        else
            appendScroll(bCreatImageStatus);
        break;
    default:
        PLAYER_LOG(debug, "ImagePlay::slotAppend===================m_RichTextInfo.content.displayStyle.type is null");
        break;
    }
}

void ImagePlayCtrl::slotCreatImageEnd(bool isEnd)
{
    m_isEnd = isEnd;
}

ImagePlayCtrl::ScrollTimer ImagePlayCtrl::scrollTimerOf(int moveType)
{
    switch (moveType) {
    case ns::MOVE_UP:
        return { &m_timerUp, &m_iTimerScrllImageUp };
    case ns::MOVE_DOWN:
        return { &m_timerDown, &m_iTimerScrllImageDown };
    case ns::MOVE_LEFT:
        return { &m_timerLeft, &m_iTimerScrllImageLeft };
    case ns::MOVE_RIGHT:
        return { &m_timerRight, &m_iTimerScrllImageRight };
    default:
        return {};
    }
}

void ImagePlayCtrl::killRunningTimer(int& id)
{
    // A dead timer is never killed twice, so a second pause is quiet.
    if (id != 0)
        killTimer(id);
    id = 0;
}

void ImagePlayCtrl::restartTimer(int& id)
{
    // A timer still running is replaced, not doubled: a resume without a pause, or a start after
    // one, must not make the display run twice as fast.
    killRunningTimer(id);
    id = startTimer(m_speed, Qt::CoarseTimer);
}

void ImagePlayCtrl::pause()
{
    if (m_displayStyle.type == ns::PAGE_SWITCH) {
        killRunningTimer(m_iTimerPageSwitch);
        if (m_pEffectDisplay)
            m_pEffectDisplay->pauseInterface();
        return;
    }
    if (m_displayStyle.type != ns::SCROLL)
        return;
    const ScrollTimer timer = scrollTimerOf(m_displayStyle.scrollAttributes.effecs.moveType);
    if (!timer.timer) {
        PLAYER_LOG(debug,
            "ImagePlay::slotAppend=====m_RichTextInfo.content.displayStyle.scrollAttributes.effecs.moveType is null");
    } else if (m_textSyncWithMusic) {
        if (timer.timer->isActive())
            timer.timer->stop();
    } else {
        killRunningTimer(*timer.id);
    }
}

void ImagePlayCtrl::resume()
{
    if (m_displayStyle.type == ns::PAGE_SWITCH) {
        restartTimer(m_iTimerPageSwitch);
        if (m_pEffectDisplay)
            m_pEffectDisplay->resumeInterface();
        return;
    }
    if (m_displayStyle.type != ns::SCROLL)
        return;
    const ScrollTimer timer = scrollTimerOf(m_displayStyle.scrollAttributes.effecs.moveType);
    if (!timer.timer)
        return;
    if (m_textSyncWithMusic)
        timer.timer->start(m_speed);
    else
        restartTimer(*timer.id);
}

void ImagePlayCtrl::stop()
{
}

void ImagePlayCtrl::destory()
{
    PLAYER_LOG(debug, "ImagePlayCtrl::destory()-------------------");
    if (m_deletePic) {
        std::thread(removeImageFiles, m_listImageName).detach();
        m_listPixmap.clear();
    }
    // Without its children the control cannot play on; its timers stop with them, so that a tick
    // never reaches a deleted display.
    for (int* id : { &m_iTimerPageSwitch, &m_iTimerStaticPage, &m_iTimerScrllImageUp, &m_iTimerScrllImageDown,
             &m_iTimerScrllImageLeft, &m_iTimerScrllImageRight })
        killRunningTimer(*id);
    for (QTimer* timer : { &m_timerUp, &m_timerDown, &m_timerLeft, &m_timerRight })
        timer->stop();

    delete m_pLabelFirst;
    m_pLabelFirst = nullptr;
    delete m_pLabelSecond;
    m_pLabelSecond = nullptr;
    delete m_pLabelThird;
    m_pLabelThird = nullptr;
    delete m_pEffectDisplay;
    m_pEffectDisplay = nullptr;
    if (m_pFoldTextPlay) {
        m_pFoldTextPlay->stopPlay();
        delete m_pFoldTextPlay;
        m_pFoldTextPlay = nullptr;
    }
    m_listLabel.clear();
    m_listPixmap.clear();
}

void ImagePlayCtrl::timerEvent(QTimerEvent* event)
{
    const int id = event->timerId();
    if (id == m_iTimerPageSwitch)
        pageTick();
    else if (id == m_iTimerStaticPage)
        staticTick();
    else if (id == m_iTimerScrllImageUp)
        tick(ns::MOVE_UP);
    else if (id == m_iTimerScrllImageDown)
        tick(ns::MOVE_DOWN);
    else if (id == m_iTimerScrllImageLeft)
        tick(ns::MOVE_LEFT);
    else if (id == m_iTimerScrllImageRight)
        tick(ns::MOVE_RIGHT);
    else
        QWidget::timerEvent(event);
}

// Pages.

void ImagePlayCtrl::onImageInitOk()
{
    if (!m_waitFirstShow)
        return;
    m_waitFirstShow = false;
    if (m_displayStyle.type == ns::PAGE_SWITCH) {
        restartTimer(m_iTimerPageSwitch);
        emit signalsImageReady();
    } else if (m_displayStyle.type == ns::STATIC_PAGE) {
        restartTimer(m_iTimerStaticPage);
        emit signalsImageReady();
    }
}

void ImagePlayCtrl::showPage(const QString& name)
{
    m_pEffectDisplay->setFoldParaMeters(m_fold);
    m_pEffectDisplay->showEffect(m_effect, name, m_effectTime, m_speed);
    m_pEffectDisplay->show();
    PLAYER_LOG(trace, "ImagePlay::slotAppend===================emit PAGE_SWITCH success");
}

void ImagePlayCtrl::startPageSwitch()
{
    if (m_listImageName.size() != 1 || !m_pEffectDisplay)
        return;
    m_effect = m_displayStyle.pageEffect;
    m_effectTime = m_displayStyle.pageEffect == 0 ? 0 : m_displayStyle.pageEffectDuration;
    m_speed = m_displayStyle.pageStayTime;
    const QString& first = m_listImageName.first();
    if (!m_fold.enabled) {
        m_pEffectDisplay->resize(imagehandoff::sizeOf(first));
        m_pEffectDisplay->move(m_displayStyle.posX, m_displayStyle.posY);
    }
    showPage(first);
}

void ImagePlayCtrl::startPageSwitchSync()
{
    if (!m_pEffectDisplay)
        return;
    m_effect = m_displayStyle.pageEffect;
    m_effectTime = m_displayStyle.pageEffect == 0 ? 0 : m_displayStyle.pageEffectDuration;
    if (m_listImageName.isEmpty()) {
        PLAYER_LOG(trace, "pixmaplist size = 0");
        return;
    }
    m_speed = m_duration / m_listImageName.size();
    const QString& first = m_listImageName.first();
    if (!m_fold.enabled)
        m_pEffectDisplay->resize(imagehandoff::sizeOf(first));
    m_pEffectDisplay->move(m_displayStyle.posX, m_displayStyle.posY);
    showPage(first);
}

void ImagePlayCtrl::startStaticPage()
{
    if (m_listImageName.size() != 1 || !m_pEffectDisplay)
        return;
    m_effect = 0;
    m_effectTime = 0;
    m_speed = m_duration;
    if (!m_fold.enabled)
        m_pEffectDisplay->move(m_displayStyle.posX, m_displayStyle.posY);
    showPage(m_listImageName.first());
}

void ImagePlayCtrl::startStaticPageSync()
{
    if (m_listImageName.isEmpty() || !m_pEffectDisplay)
        return;
    m_effect = 0;
    m_effectTime = 0;
    m_speed = m_duration;
    m_pEffectDisplay->move(m_displayStyle.posX, m_displayStyle.posY);
    showPage(m_listImageName.first());
}

void ImagePlayCtrl::pageTick()
{
    if (!m_pEffectDisplay || m_listImageName.isEmpty())
        return;
    ++m_index;
    if (m_index >= m_listImageName.size())
        m_index = 0;
    m_pEffectDisplay->setFoldParaMeters(m_fold);
    m_pEffectDisplay->showEffect(m_effect, m_listImageName.at(m_index), m_effectTime, m_speed);
}

void ImagePlayCtrl::staticTick()
{
    if (!m_pEffectDisplay || m_listImageName.isEmpty())
        return;
    m_index = 0;
    m_pEffectDisplay->setFoldParaMeters(m_fold);
    m_pEffectDisplay->showEffect(m_effect, m_listImageName.at(m_index), m_effectTime, m_speed);
}
