#include "effectdisplay.h"

#include "imagehandoff.h"

#include <spdlogger.h>

#include <QFile>
#include <QLabel>
#include <QMovie>
#include <QPainter>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kTickMs = 10;
constexpr int kReelDivisor = 20;
constexpr int kAnimatedMediaType = 3;
constexpr int kRandomEffect = 1;

// The codes that code 1 picks from, in table order.
const QList<int> kRandomCodes { 16, 17, 18, 19, 20, 21, 22, 32, 33, 34, 35, 48, 49, 50, 51, 52, 53, 64, 65, 96, 97, 112,
    144, 160, 176, 177, 192, 193, 194, 195, 208, 209, 210, 211, 240, 241, 242, 243 };

} // namespace

EffectDisplay::EffectDisplay(QWidget* parent)
    : QWidget(parent)
{
    if (parent)
        resize(parent->width(), parent->height());
    else
        PLAYER_LOG(error, "EffectDisplay: constructed without a parent widget, the display has no size");
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    m_reelThickness = height() / kReelDivisor;
    initParameter();

    // A resume before any start must not turn into a zero-interval busy loop.
    m_frameTimer.setInterval(kTickMs);
    m_frameTimer.setObjectName(QStringLiteral("frameTimer"));
    m_marqueeTimer.setObjectName(QStringLiteral("marqueeTimer"));
    connect(&m_frameTimer, &QTimer::timeout, this, QOverload<>::of(&QWidget::update));
    connect(&m_marqueeTimer, &QTimer::timeout, this, QOverload<>::of(&QWidget::update));
}

EffectDisplay::~EffectDisplay()
{
    PLAYER_LOG(debug, "EffectDisplay::~EffectDisplay begin");
    if (m_clockThread && m_clockThread->joinable()) {
        m_clockRunning = false;
        m_clockThread->join();
    }
    delete m_clockThread;
    m_clockThread = nullptr;
    delete m_movie;
    m_movie = nullptr;
    if (m_frameTimer.isActive())
        m_frameTimer.stop();
    PLAYER_LOG(debug, "EffectDisplay::~EffectDisplay end");
}

void EffectDisplay::initInterface(const ns::Widget& widget)
{
    m_widget = widget;
    m_fold = widget.fold;
    if (widget.mediaType != kAnimatedMediaType) {
        m_effectTime = std::min<qint64>(widget.duration, widget.effectTime);
        m_requestedEffect = widget.effectCode;
    }
    m_path = QString::fromStdString(widget.path);
}

void EffectDisplay::playInterface()
{
    if (m_widget.mediaType != kAnimatedMediaType) {
        playEffects();
        return;
    }
    m_label = new QLabel(this);
    m_label->resize(size());
    m_movie = new QMovie(m_path, QByteArray());
    m_movie->setScaledSize(m_label->size());
    m_label->setMovie(m_movie);
    m_label->setAttribute(Qt::WA_TranslucentBackground);
    m_label->show();
    m_movie->start();
}

void EffectDisplay::pauseInterface()
{
    if (m_widget.mediaType == kAnimatedMediaType) {
        if (m_movie)
            m_movie->setPaused(true);
    } else if (m_frameTimer.isActive()) {
        m_frameTimer.stop();
    }
}

void EffectDisplay::resumeInterface()
{
    if (m_widget.mediaType == kAnimatedMediaType) {
        if (m_movie)
            m_movie->setPaused(false);
    } else if (!m_frameTimer.isActive()) {
        m_frameTimer.start();
    }
}

void EffectDisplay::showEffect(int code, QString path, long effectTime, long duration)
{
    m_effectTime = std::min(effectTime, duration);
    m_requestedEffect = code;
    m_path = path;
    playEffects();
}

void EffectDisplay::playEffects()
{
    m_pixmapList.clear();
    m_ListRect.clear();

    QFile file(m_path);
    // A page the renderer has only just written is still in memory, maybe scaled already: no need
    // to decode it.
    QImage shown;
    bool loaded = imagehandoff::take(m_path, &m_image, &shown);
    if (!loaded) {
        const bool opened = file.open(QIODevice::ReadOnly);
        if (!opened)
            PLAYER_LOG(debug, "EffectDisplay::playEffects()------------------open image failed");
        loaded = imagehandoff::read(opened ? file.readAll() : QByteArray(), &m_image);
    }
    if (!loaded) {
        PLAYER_LOG(debug, "EffectDisplay::playEffects()------------------loadPic image failed");
    } else {
        if (m_fold.enabled) {
            int totalWidth = 0;
            int totalHeight = 0;
            for (const ns::FoldRect& r : m_fold.rects) {
                m_ListRect.append(QRect(r.x, r.y, r.width, r.height));
                if (m_fold.orientation == ns::ORIENTATION_HORIZONTAL) {
                    totalWidth += r.width;
                    totalHeight = r.height;
                } else {
                    totalWidth = r.width;
                    totalHeight += r.height;
                }
            }
            m_imageSize = QSize(totalWidth, totalHeight);
        } else {
            m_imageSize = size();
        }
        // One pixel short on both axes: every effect's end frame leaves the last column and row.
        const QSize shownSize(m_imageSize.width() - 1, m_imageSize.height() - 1);
        if (shown.size() != shownSize)
            shown = m_image.scaled(shownSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        m_pixmap = QPixmap::fromImage(shown);

        if (m_playMarquee) {
            // Marquee items keep their own size; m_pixmap only carries the display's size.
            QImage canvas(m_imageSize, QImage::Format_ARGB32);
            canvas.fill(Qt::transparent);
            QPainter painter(&canvas);
            painter.drawImage(0, 0, m_image);
            painter.end();
            m_pixmap = QPixmap::fromImage(canvas);
            m_pixmapList.append(QPixmap::fromImage(m_image));
        }
    }
    file.close();
    if (loaded)
        PLAYER_LOG(debug, "EffectDisplay::playEffects()------------------load image success");

    m_effect = m_requestedEffect;
    if (m_effect == kRandomEffect)
        m_effect = kRandomCodes.at(rand() % kRandomCodes.size());

    if (m_clockThread && m_clockThread->joinable()) {
        m_clockRunning = false;
        m_clockThread->join();
        if (m_frameTimer.isActive())
            m_frameTimer.stop();
        delete m_clockThread;
        m_clockThread = nullptr;
    }

    initParameter();
    m_clockRunning = true;
    if (m_effect != 0)
        m_clockThread = new std::thread(&EffectDisplay::testThread, this, int(m_effectTime));

    if (!m_frameTimer.isActive())
        m_frameTimer.start(kTickMs);
    emit signalsImageInitOk();
}

void EffectDisplay::initParameter()
{
    m_progress = 1.0f;
    m_elapsed = 0;
}

void EffectDisplay::testThread(int effectTime)
{
    const int count = effectTime / kTickMs;
    if (count < 0)
        return;
    // Count first, then sleep: the first tick is there at once and the total reaches effectTime.
    for (int i = 0; i <= count && m_clockRunning; ++i) {
        m_elapsed += kTickMs;
        sleepMS(kTickMs);
    }
}

void EffectDisplay::paintEvent(QPaintEvent*)
{
    const int elapsed = m_elapsed;
    m_progress = float(elapsed) / float(m_effectTime);
    if (elapsed >= m_effectTime) {
        m_progress = 1.0f;
        if (m_frameTimer.isActive())
            m_frameTimer.stop();
    }

    if (m_playMarquee) {
        if (m_frameTimer.isActive())
            m_frameTimer.stop();
        if (!m_marqueeTimer.isActive()) {
            // The first marquee paint only starts the marquee's own timer.
            m_marqueeTimer.start(m_marqueeInterval);
            return;
        }
    }

    // With a fold the effect composes into an image first and begins the painter itself.
    QPainter painter;
    if (!m_fold.enabled)
        painter.begin(this);
    paintEffect(&painter);
}

void EffectDisplay::paintEffect(QPainter* painter)
{
    if (const EffectEntry* entry = findEffect(m_effect))
        (this->*(entry->function))(painter);
}

QImage EffectDisplay::renderFrame(int code, float progress)
{
    QImage frame(size(), QImage::Format_ARGB32_Premultiplied);
    frame.fill(Qt::transparent);
    renderFrame(frame, code, progress);
    return frame;
}

void EffectDisplay::renderFrame(QImage& target, int code, float progress)
{
    const float savedProgress = m_progress;
    const int savedEffect = m_effect;
    const bool timerWasActive = m_frameTimer.isActive();
    m_progress = progress;
    m_effect = code;
    m_foldTarget = &target;
    {
        QPainter painter;
        if (!m_fold.enabled)
            painter.begin(&target);
        paintEffect(&painter);
    }
    m_foldTarget = this;
    m_effect = savedEffect;
    m_progress = savedProgress;
    // Effects that end themselves stop the repaint timer; a seam must not end a running display.
    if (timerWasActive && !m_frameTimer.isActive())
        m_frameTimer.start();
}

const QList<int>& EffectDisplay::randomEffectCodes()
{
    return kRandomCodes;
}

QString EffectDisplay::effectName(int code)
{
    const EffectEntry* entry = findEffect(code);
    return entry ? QString::fromLatin1(entry->name) : QString();
}

const EffectDisplay::EffectEntry* EffectDisplay::findEffect(int code)
{
    static const EffectEntry table[] = {
        { 0x00, "noEffect", &EffectDisplay::noEffect },
        { 0x10, "extendLeft", &EffectDisplay::extendLeft },
        { 0x11, "entendTop", &EffectDisplay::entendTop },
        { 0x12, "entendRight", &EffectDisplay::entendRight },
        { 0x13, "extendBottom", &EffectDisplay::extendBottom },
        { 0x14, "extendCenter", &EffectDisplay::extendCenter },
        { 0x15, "extendLevel", &EffectDisplay::extendLevel },
        { 0x16, "extendVertical", &EffectDisplay::extendVertical },
        { 0x20, "moveLeft", &EffectDisplay::moveLeft },
        { 0x21, "moveTop", &EffectDisplay::moveTop },
        { 0x22, "moveRight", &EffectDisplay::moveRight },
        { 0x23, "moveBottom", &EffectDisplay::moveBottom },
        { 0x30, "indentLeft", &EffectDisplay::indentLeft },
        { 0x31, "indentTop", &EffectDisplay::indentTop },
        { 0x32, "indentRight", &EffectDisplay::indentRight },
        { 0x33, "indentBottom", &EffectDisplay::indentBottom },
        { 0x34, "indentToCenter", &EffectDisplay::indentToCenter },
        { 0x35, "indentBothSides", &EffectDisplay::indentBothSides },
        { 0x40, "reelTop", &EffectDisplay::reelTop },
        { 0x41, "reelBottom", &EffectDisplay::reelBottom },
        { 0x60, "windowBottom", &EffectDisplay::windowBottom },
        { 0x61, "windowRight", &EffectDisplay::windowRight },
        { 0x70, "zoomFullScreen", &EffectDisplay::zoomFullScreen },
        { 0x90, "wheelRotate", &EffectDisplay::wheelRotate },
        { 0xA0, "dentine", &EffectDisplay::dentine },
        { 0xB0, "fadeIn", &EffectDisplay::fadeIn },
        { 0xB1, "fadeOut", &EffectDisplay::fadeOut },
        { 0xC0, "cumulateLeft", &EffectDisplay::cumulateLeft },
        { 0xC1, "cumulateTop", &EffectDisplay::cumulateTop },
        { 0xC2, "cumulateRight", &EffectDisplay::cumulateRight },
        { 0xC3, "cumulateBottom", &EffectDisplay::cumulateBottom },
        { 0xD0, "laserLeft", &EffectDisplay::laserLeft },
        { 0xD1, "laserTop", &EffectDisplay::laserTop },
        { 0xD2, "laserRight", &EffectDisplay::laserRight },
        { 0xD3, "laserBottom", &EffectDisplay::laserBottom },
        { 0xF0, "openToBottom", &EffectDisplay::openToBottom },
        { 0xF1, "openToTop", &EffectDisplay::openToTop },
        { 0xF2, "openToBothSide", &EffectDisplay::openToBothSide },
        { 0xF3, "openToCenter", &EffectDisplay::openToCenter },
        { 0xF4, "marqueeRightToLeft", &EffectDisplay::marqueeRightToLeft },
        { 0xF5, "marqueeLeftToRight", &EffectDisplay::marqueeLeftToRight },
        { 0xF6, "marqueeToUp", &EffectDisplay::marqueeToUp },
        { 0xF7, "marqueeToBottom", &EffectDisplay::marqueeToBottom },
    };
    const auto it
        = std::find_if(std::begin(table), std::end(table), [code](const EffectEntry& e) { return e.code == code; });
    return it == std::end(table) ? nullptr : it;
}

void EffectDisplay::noEffect(QPainter* painter)
{
    drawThroughFold(
        painter, [this](QPainter* p) { p->drawPixmap(0, 0, m_pixmap.width(), m_pixmap.height(), m_pixmap); });
    // A picture without a transition costs one frame.
    if (m_frameTimer.isActive())
        m_frameTimer.stop();
}
