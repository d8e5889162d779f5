#pragma once

#include <mediarecords.h>

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>

/// One media item of a region: which player shows it and the description that player gets.
struct PlaylistItem {
    QString kind; ///< key of the player factory: "picture", "picture-marquee", "text", "office", "rss"
    ns::Widget widget;
    int number = 0; ///< 1-based position in the region's list as written, for log lines
};

/// A rectangle of the screen that plays its items one after the other, in a loop.
struct PlaylistRegion {
    QString name;
    QRect geometry; ///< in screen coordinates
    QList<PlaylistItem> items; ///< one item stays; several loop, each for its duration
};

/// What the host shows: a screen of a fixed size and its regions, back to front.
struct Playlist {
    QString name;
    QSize screenSize;
    QColor background;
    QList<PlaylistRegion> regions;
};

/// The result of reading a playlist. When `ok` is false nothing can be played and `errors`
/// says why; otherwise `errors` lists the regions and items that were left out and
/// `warnings` what was adjusted. Every message names its region.
struct PlaylistLoad {
    bool ok = false;
    Playlist playlist;
    QStringList errors;
    QStringList warnings;
};

namespace playlistdefaults {
constexpr int kScreenWidth = 1280;
constexpr int kScreenHeight = 720;
constexpr int kMaxExtent = 16384; ///< larger screens or regions are taken for typing errors
constexpr int kItemDurationMs = 10000; ///< used when an item gives no duration
inline const QColor kBackground { Qt::black };
inline const QString kKind { QStringLiteral("picture") };
} // namespace playlistdefaults

/// Reads a playlist from its JSON text. Relative `path` values of the items, and the pictures of
/// a picture marquee, resolve against `baseDir`. Never throws.
PlaylistLoad parsePlaylist(const QByteArray& json, const QString& baseDir);

/// Reads the playlist file `fileName`; relative paths resolve against the file's directory.
PlaylistLoad loadPlaylist(const QString& fileName);
