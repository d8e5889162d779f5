#include "hostscreen.h"

#include <spdlogger.h>

#include <QPalette>
#include <QPointer>

#include <algorithm>
#include <exception>

namespace {

constexpr int kAnimatedMediaType = 3;

// How long the item before stays under a new one: as long as the new one's transition.
int transitionMs(const PlaylistItem& item)
{
    const ns::Widget& widget = item.widget;
    if (widget.mediaType == kAnimatedMediaType || widget.effectCode == 0)
        return 0;
    return std::max(0, std::min(widget.effectTime, widget.duration));
}

std::string text(const QString& value)
{
    return value.toStdString();
}

} // namespace

RegionPlayer::RegionPlayer(const PlaylistRegion& region, const PlayerFactory& factory, QWidget* screen)
    : QObject(screen)
    , m_region(region)
    , m_factory(factory)
    , m_screen(screen)
{
    m_switchTimer.setSingleShot(true);
    m_retireTimer.setSingleShot(true);
    connect(&m_switchTimer, &QTimer::timeout, this, &RegionPlayer::switchToNext);
    connect(&m_retireTimer, &QTimer::timeout, this, &RegionPlayer::retirePrevious);
}

RegionPlayer::~RegionPlayer()
{
    stop();
}

void RegionPlayer::start()
{
    if (!m_current)
        playFrom(0);
}

void RegionPlayer::stop()
{
    m_switchTimer.stop();
    m_retireTimer.stop();
    if (m_previous)
        endItem(*m_previous);
    m_previous.reset();
    if (m_current)
        endItem(*m_current);
    m_current.reset();
    m_index = -1;
}

void RegionPlayer::raiseFrames()
{
    if (m_previous)
        m_previous->frame->raise();
    if (m_current)
        m_current->frame->raise();
}

void RegionPlayer::playFrom(int index)
{
    while (!m_region.items.isEmpty()) {
        index %= m_region.items.size();
        if (m_current && index == m_index) {
            // Everything else left the loop: the one item that plays simply stays.
            m_switchTimer.stop();
            return;
        }
        if (startItem(m_region.items.at(index))) {
            if (m_previous)
                endItem(*m_previous);
            m_previous = std::move(m_current);
            m_current = std::move(m_starting);
            m_starting.reset();
            m_index = index;
            if (m_region.items.size() > 1)
                m_switchTimer.start(m_region.items.at(index).widget.duration);
            else
                m_switchTimer.stop();
            m_retireTimer.stop();
            if (m_previous && m_current->ready)
                m_retireTimer.start(m_current->transitionMs);
            emit itemStarted(m_current->number);
            return;
        }
        m_region.items.removeAt(index);
        if (m_index > index)
            --m_index;
    }
    PLAYER_LOG(error, "region '{}': no item left that can be played", text(m_region.name));
}

bool RegionPlayer::startItem(const PlaylistItem& item)
{
    auto* frame = new QWidget(m_screen);
    frame->setGeometry(m_region.geometry);
    // Shown while still empty: showing it later would show the player with it, before the
    // host's own show.
    frame->show();
    const PlayerFactory::Player player = m_factory.create(item.kind, frame);
    if (!player) {
        PLAYER_LOG(error, "region '{}' item {}: no player for kind '{}' (known kinds: {}); item left out",
            text(m_region.name), item.number, text(item.kind), text(m_factory.kinds().join(QStringLiteral(", "))));
        delete frame;
        return false;
    }

    const quint64 serial = m_nextSerial++;
    m_starting = Active { frame, player, item.number, item.kind, transitionMs(item), serial, false };
    QPointer<RegionPlayer> self(this);
    auto callback = [self, serial](EnumMediaStatus status) {
        if (self)
            self->onStatus(serial, status);
    };
    bool failed = true;
    QString failure;
    try {
        player.play->iInit(item.widget, std::move(callback));
        failed = false;
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    } catch (...) {
        failure = QStringLiteral("unknown exception");
    }
    if (failed) {
        PLAYER_LOG(error, "region '{}' item {} ({}): iInit failed: {}; item left out", text(m_region.name), item.number,
            text(item.kind), text(failure));
        m_starting.reset();
        // The contract makes a bare delete safe; the half-initialised player gets no more calls.
        delete player.widget;
        delete frame;
        return false;
    }
    player.play->iPlay();
    player.widget->show();
    PLAYER_LOG(debug, "region '{}' item {} ({}): playing", text(m_region.name), item.number, text(item.kind));
    return true;
}

void RegionPlayer::endItem(Active& active)
{
    PLAYER_LOG(debug, "region '{}' item {} ({}): ending", text(m_region.name), active.number, text(active.kind));
    active.player.widget->hide();
    active.player.play->iStop();
    active.player.play->iDestory();
    delete active.player.widget;
    delete active.frame;
    active = Active {};
}

void RegionPlayer::switchToNext()
{
    playFrom(m_index + 1);
}

void RegionPlayer::retirePrevious()
{
    if (m_previous)
        endItem(*m_previous);
    m_previous.reset();
}

RegionPlayer::Active* RegionPlayer::findActive(quint64 serial)
{
    for (std::optional<Active>* slot : { &m_starting, &m_current, &m_previous }) {
        if (*slot && (*slot)->serial == serial)
            return &**slot;
    }
    return nullptr;
}

void RegionPlayer::onStatus(quint64 serial, EnumMediaStatus status)
{
    Active* active = findActive(serial);
    if (!active)
        return;
    PLAYER_LOG(info, "region '{}' item {}: status {}", text(m_region.name), active->number, int(status));
    if (status != MediaReady)
        return;
    active->ready = true;
    if (m_current && active == &*m_current && m_previous)
        m_retireTimer.start(active->transitionMs);
}

HostScreen::HostScreen(const Playlist& playlist, const PlayerFactory& factory, QWidget* parent)
    : QWidget(parent)
{
    setFixedSize(playlist.screenSize);
    QPalette colours = palette();
    colours.setColor(QPalette::Window, playlist.background);
    setPalette(colours);
    setAutoFillBackground(true);
    const QString name
        = playlist.name.isEmpty() ? QStringLiteral("mediahost") : QStringLiteral("%1 - mediahost").arg(playlist.name);
    setWindowTitle(name);
    for (const PlaylistRegion& region : playlist.regions) {
        auto* player = new RegionPlayer(region, factory, this);
        connect(player, &RegionPlayer::itemStarted, this, &HostScreen::restack);
        m_regions << player;
    }
}

HostScreen::~HostScreen()
{
    stop();
}

void HostScreen::start()
{
    PLAYER_LOG(debug, "screen {}x{}: starting {} regions", width(), height(), m_regions.size());
    for (RegionPlayer* region : qAsConst(m_regions))
        region->start();
}

void HostScreen::stop()
{
    for (RegionPlayer* region : qAsConst(m_regions))
        region->stop();
}

void HostScreen::restack()
{
    for (RegionPlayer* region : qAsConst(m_regions))
        region->raiseFrames();
}
