#include "effectInfo.h"

#include "effectdisplay.h"

#include <spdlogger.h>

#include <QTimer>

EffectInfo::EffectInfo(QWidget* parent)
    : QWidget(parent)
{
    if (parent)
        resize(parent->width(), parent->height());
    else
        PLAYER_LOG(error, "EffectInfo: constructed without a parent widget, the player has no size");
    setWindowFlags(Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    m_pEffectDisplay = new EffectDisplay(this);
}

EffectInfo::~EffectInfo()
{
    PLAYER_LOG(debug, "EffectInfo::~EffectInfo begin");
    delete m_pEffectDisplay;
    m_pEffectDisplay = nullptr;
    PLAYER_LOG(debug, "EffectInfo::~EffectInfo end");
}

int EffectInfo::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    m_callback = std::move(callback);
    m_pEffectDisplay->initInterface(widget);
    m_pEffectDisplay->playInterface();
    // The player is the shot's context: a player deleted before the loop turns reports nothing.
    QTimer::singleShot(0, this, [this] {
        if (m_callback)
            m_callback(MediaReady);
        else
            PLAYER_LOG(error, "EffectInfo: no status callback to report MediaReady to");
    });
    return 0;
}

int EffectInfo::iPlay()
{
    return 0;
}

void EffectInfo::iPause()
{
    m_pEffectDisplay->pauseInterface();
}

void EffectInfo::iStop()
{
}

int EffectInfo::iResume()
{
    m_pEffectDisplay->resumeInterface();
    return 0;
}

void EffectInfo::iDestory()
{
}
