// The on-screen end of a folded scroll: frames made ahead on a worker, shown one per tick.
#include "foldtextplay.h"

#include "drawfoldimage.h"
#include "foldtextplay_p.h"

#include <spdlogger.h>

#include <QColor>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPainter>
#include <QSet>
#include <qpa/qplatformintegration.h>
#include <private/qguiapplication_p.h>

#include <algorithm>

namespace {

// A zero interval would run the frame timer whenever the event loop is idle.
constexpr int kMinIntervalMs = 1;

// Frames are painted into QPixmaps on the worker, which Qt allows only where the platform says so.
bool platformPaintsPixmapsOffGuiThread()
{
    static const bool can = QGuiApplicationPrivate::platformIntegration()
        && QGuiApplicationPrivate::platformIntegration()->hasCapability(QPlatformIntegration::ThreadedPixmaps);
    return can;
}

bool platformMakesGlContexts()
{
    static const bool can = [] {
        QOpenGLContext context;
        return context.create();
    }();
    return can;
}

// Workers whose show ended while they finished a frame. Each is deleted with its frame maker on the
// GUI thread once it has finished; those still here when the application goes are waited for and
// deleted then, so that none paints while Qt goes down.
QSet<FoldImageThread*>& retiredWorkers()
{
    static QSet<FoldImageThread*> workers;
    return workers;
}

void reap(FoldImageThread* worker)
{
    if (!retiredWorkers().remove(worker))
        return;
    worker->waitForLoopEnd();
    worker->releaseDrawFoldImage();
    delete worker;
}

void reapRetiredWorkers()
{
    const QSet<FoldImageThread*> workers = retiredWorkers();
    for (FoldImageThread* worker : workers)
        reap(worker);
}

void retire(FoldImageThread* worker)
{
    static const bool routine = (qAddPostRoutine(reapRetiredWorkers), true);
    Q_UNUSED(routine);
    retiredWorkers().insert(worker);
    QObject::connect(worker, &QThread::finished, QCoreApplication::instance(), [worker] { reap(worker); });
    // It may have finished before the connection was made.
    if (worker->isFinished())
        reap(worker);
}

} // namespace

FoldTextPlay::FoldTextPlay(QWidget* parent)
    : QOpenGLWidget(parent)
{
    resize(parent->width(), parent->height());
    m_pFoldImageThread = new FoldImageThread();
    m_pDrawFoldImage = new DrawFoldImage(this);
    connect(m_pDrawFoldImage, &DrawFoldImage::signalsAppendImage, this, &FoldTextPlay::slotAppendImage);
    connect(&m_frameTimer, &QTimer::timeout, this, &FoldTextPlay::slotTimeout, Qt::DirectConnection);
    m_pDrawFoldImage->setSrcRect(rect());
}

FoldTextPlay::~FoldTextPlay()
{
    PLAYER_LOG(debug, "FoldTextPlay::~FoldTextPlay begin");
    // A worker still running would paint into a deleted frame maker.
    if (m_pFoldImageThread)
        stopPlay();
    PLAYER_LOG(debug, "FoldTextPlay::~FoldTextPlay end");
}

void FoldTextPlay::setBKColor(const QString& color)
{
    m_bkColor = color;
    if (!m_bkColor.isEmpty() && !QColor::isValidColor(m_bkColor)) {
        PLAYER_LOG(warn, "FoldTextPlay: background colour \"{}\" is no colour; no background is drawn",
            m_bkColor.toStdString());
        m_bkColor.clear();
    }
}

void FoldTextPlay::setFoldParaMeters(ns::Fold fold)
{
    m_fold = fold;
    if (m_pDrawFoldImage)
        m_pDrawFoldImage->setFoldParaMeters(std::move(fold));
}

void FoldTextPlay::setMarqueeParaMeters(ns::MoveType moveType, bool useGap, int gap)
{
    m_useGap = useGap;
    m_gap = gap;
    if (m_pDrawFoldImage)
        m_pDrawFoldImage->setMarqueeParaMeters(moveType, useGap, gap);
}

void FoldTextPlay::setMarqueeSpeed(int interval, int step)
{
    m_interval = interval;
    m_step = step;
    if (m_pDrawFoldImage)
        m_pDrawFoldImage->setMarqueeSpeed(interval, step);
}

void FoldTextPlay::appendPixmap(QPixmap pixmap)
{
    if (!m_pDrawFoldImage)
        return;
    QImage image = pixmap.toImage();
    m_pDrawFoldImage->appendImage(image);
}

void FoldTextPlay::startPlay(const QString&)
{
    if (!m_pFoldImageThread || !m_pDrawFoldImage) {
        PLAYER_LOG(error, "FoldTextPlay::startPlay after stopPlay; nothing is shown");
        return;
    }
    if (!platformPaintsPixmapsOffGuiThread()) {
        PLAYER_LOG(error,
            "FoldTextPlay: the platform \"{}\" cannot paint pixmaps off the GUI thread; the folded scroll is not shown",
            QGuiApplication::platformName().toStdString());
        return;
    }
    if (!platformMakesGlContexts()) {
        PLAYER_LOG(error,
            "FoldTextPlay: no OpenGL context can be made on the platform \"{}\"; the folded scroll is not shown "
            "(a display, or Xvfb with Mesa, is needed)",
            QGuiApplication::platformName().toStdString());
        return;
    }
    m_pDrawFoldImage->initPlay();
    m_pFoldImageThread->setDrawFoldImage(m_pDrawFoldImage);
    m_pFoldImageThread->start(QThread::InheritPriority);
    if (m_interval < kMinIntervalMs)
        PLAYER_LOG(error, "FoldTextPlay: frame interval {} ms; {} ms is used", m_interval, kMinIntervalMs);
    m_frameTimer.start(std::max(m_interval, kMinIntervalMs));
}

void FoldTextPlay::stopPlay()
{
    if (!m_pFoldImageThread)
        return;
    FoldImageThread* worker = m_pFoldImageThread;
    DrawFoldImage* maker = m_pDrawFoldImage;
    m_pFoldImageThread = nullptr;
    m_pDrawFoldImage = nullptr;
    m_listFrame.clear();
    worker->setStop();
    worker->setRetired();
    if (!worker->isRunning()) {
        worker->waitForLoopEnd();
        worker->releaseDrawFoldImage();
        delete worker;
        return;
    }
    // The worker is in a frame: the frame maker leaves this widget so that deleting the widget
    // does not take it along, and both go when the frame is done.
    disconnect(maker, &DrawFoldImage::signalsAppendImage, this, &FoldTextPlay::slotAppendImage);
    maker->setParent(nullptr);
    retire(worker);
}

bool FoldTextPlay::isProducing() const
{
    return m_pFoldImageThread && m_pFoldImageThread->isRunning();
}

void FoldTextPlay::slotAppendImage(QPixmap frame)
{
    // A frame queued before stopPlay arrives after it.
    if (!m_pFoldImageThread)
        return;
    m_pDrawFoldImage->framesMade();
    m_listFrame.append(frame);
}

void FoldTextPlay::slotTimeout()
{
    FoldImageThread* worker = m_pFoldImageThread;
    const foldfill::Tick tick
        = foldfill::decide(int(m_listFrame.size()), worker && worker->isRunning(), worker && worker->isFinished());
    if (tick.stopWorker)
        worker->setStop();
    if (tick.restartWorker)
        worker->start(QThread::InheritPriority);
    setUpdatesEnabled(tick.paint);
    if (tick.paint)
        update();
}

void FoldTextPlay::paintGL()
{
    // What the framebuffer held before is not ours to show.
    QOpenGLFunctions* gl = context()->functions();
    gl->glClearColor(0, 0, 0, 0);
    gl->glClear(GL_COLOR_BUFFER_BIT);
    QPainter painter(this);
    if (m_waitFirstFill) {
        if (m_listFrame.size() < foldfill::kFirstFillFrames)
            return;
        m_waitFirstFill = false;
    }
    if (!m_bkColor.isEmpty()) {
        QColor color;
        color.setNamedColor(m_bkColor);
        painter.setBrush(QBrush(color));
        const QRect r = rect();
        painter.drawRect(r.x() - 1, r.y() - 2, r.width() + 2, r.height() + 4);
    }
    if (m_listFrame.size() > foldfill::kKeptFrames)
        painter.drawPixmap(rect(), m_listFrame.takeFirst());
}
