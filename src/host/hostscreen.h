#pragma once

#include "playerfactory.h"
#include "playlist.h"

#include <imediaplay.h>

#include <QObject>
#include <QTimer>
#include <QWidget>

#include <optional>

/// Plays the items of one region in a loop on the host screen, on the GUI thread.
///
/// Each item gets its own parent widget of the region's size, a child of the screen at the
/// region's position, and its player is driven in the order of the contract: construct,
/// iInit, iPlay, show; to end it: hide, iStop, iDestory, delete. The next item starts on top
/// of the one before, which stays until the new one has reported MediaReady and its
/// transition has run, so a transition plays over the old picture and not over an empty
/// screen. An item whose kind has no player, or whose iInit throws, is logged and left out
/// of the loop.
class RegionPlayer : public QObject {
    Q_OBJECT
public:
    RegionPlayer(const PlaylistRegion& region, const PlayerFactory& factory, QWidget* screen);
    ~RegionPlayer() override;

    /// Starts the first item that can be played.
    void start();
    /// Ends every item this region shows.
    void stop();
    /// Puts this region's item widgets on top of the screen's other children, oldest first.
    void raiseFrames();

    const QString& name() const { return m_region.name; }
    /// Items still in the loop: those that failed to start are gone.
    int playableItemCount() const { return int(m_region.items.size()); }

signals:
    /// An item's player has been started and shown.
    void itemStarted(int number);

private:
    Q_DISABLE_COPY(RegionPlayer)

    struct Active {
        QWidget* frame = nullptr;
        PlayerFactory::Player player;
        int number = 0;
        QString kind;
        int transitionMs = 0;
        quint64 serial = 0;
        bool ready = false;
    };

    void playFrom(int index);
    bool startItem(const PlaylistItem& item);
    void endItem(Active& active);
    void switchToNext();
    void retirePrevious();
    void onStatus(quint64 serial, EnumMediaStatus status);
    Active* findActive(quint64 serial);

    PlaylistRegion m_region;
    PlayerFactory m_factory;
    QWidget* m_screen = nullptr;
    int m_index = -1; // position of the current item in m_region.items
    quint64 m_nextSerial = 1;
    std::optional<Active> m_starting; // between construction and the end of startItem
    std::optional<Active> m_current;
    std::optional<Active> m_previous; // shown under m_current until its transition is over
    QTimer m_switchTimer;
    QTimer m_retireTimer;
};

/// The host's screen: a widget of the playlist's screen size and background colour whose
/// regions play their items. Runs on the GUI thread.
class HostScreen : public QWidget {
    Q_OBJECT
public:
    HostScreen(const Playlist& playlist, const PlayerFactory& factory, QWidget* parent = nullptr);
    ~HostScreen() override;

    void start();
    /// Ends every player; called by the destructor too.
    void stop();
    const QList<RegionPlayer*>& regions() const { return m_regions; }

private:
    Q_DISABLE_COPY(HostScreen)

    // Later regions lie in front of earlier ones, also after one of them starts a new item.
    void restack();

    QList<RegionPlayer*> m_regions;
};
