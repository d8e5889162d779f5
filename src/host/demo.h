#pragma once

#include "playlist.h"

#include <QByteArray>
#include <QString>
#include <QVector>

class QDateTime;
class LoopbackFeedServer;

/// A transition the demo shows: its effect code and the name the picture captions give it.
struct DemoEffect {
    int code;
    const char* name;
};

/// The transitions the demo's fixed picture tiles take in turn, in the order they take them:
/// some of every family.
const QVector<DemoEffect>& demoEffects();

/// The last picture tile asks for code 1 every time, so the player picks a transition afresh
/// for each of its pictures.
inline constexpr DemoEffect kDemoRandomEffect { 1, "random" };

/// The region whose pictures run through a fold of three boxes that lie apart.
inline const QString kDemoFoldRegion = QStringLiteral("fold");
/// The region of the picture marquee, a ticker along the bottom edge.
inline const QString kDemoTickerRegion = QStringLiteral("ticker");
/// A text of three pages, Latin and Chinese in several faces, turned by a transition.
inline const QString kDemoNoticeRegion = QStringLiteral("notice");
/// A text page that stays.
inline const QString kDemoStaticRegion = QStringLiteral("static");
/// Text pages scrolling up and down.
inline const QString kDemoUpRegion = QStringLiteral("scroll-up");
inline const QString kDemoDownRegion = QStringLiteral("scroll-down");
/// One-line text tickers: leftward fitted to the item's duration, rightward at a pixel rate.
inline const QString kDemoLeftTickerRegion = QStringLiteral("ticker-left");
inline const QString kDemoRightTickerRegion = QStringLiteral("ticker-right");
/// Texts folded across three boxes each, outlined in front: a ticker moving left and notices
/// moving up.
inline const QString kDemoFoldedTickerRegion = QStringLiteral("folded-ticker");
inline const QString kDemoFoldedUpRegion = QStringLiteral("folded-up");
/// Office pages the demo draws as pictures, paged through a transition.
inline const QString kDemoOfficeRegion = QStringLiteral("office");
/// The RSS feed under the picture tiles, over a panel picture; its feed comes from startDemoFeed().
inline const QString kDemoFeedRegion = QStringLiteral("feed");
/// Where the feed item reads: the loopback address, so the fetch never leaves the machine.
inline const QString kDemoFeedLink = QStringLiteral("https://127.0.0.1/demo/notices.rss");
/// Time between two fetches of the feed: short, so that a few seconds of capture show a renewal.
inline constexpr int kDemoFeedUpdatePeriodMs = 3000;

/// Builds the demo: a 1920x1080 screen with a title strip, picture tiles that loop through
/// demoEffects(), one tile on code 1, one animated picture, a folded region whose wide pictures
/// run over three separate boxes, a picture marquee, and text regions: a paged notice, a static
/// page, pages scrolling up and down, and tickers moving left (in sync mode) and right; office
/// pages; and texts folded across three outlined boxes, a ticker moving left and notices moving up. A row under the
/// tiles is left for addDemoFeed(). Its pictures are drawn here and written into `pictureDir`, which must exist. False
/// with a message if a picture cannot be written.
bool buildDemoPlaylist(const QString& pictureDir, Playlist& playlist, QString* error);

/// Adds the feed row to a playlist from buildDemoPlaylist(): a panel picture, written into
/// `pictureDir`, and over it the RSS item reading kDemoFeedLink. Kept apart because the item needs
/// startDemoFeed(): without the server it shows nothing and logs the player's fetch error.
bool addDemoFeed(const QString& pictureDir, Playlist& playlist, QString* error);

/// The RSS 2.0 document of the demo's feed at its `fetch`-th request (counted from 1): a building's
/// notices under a first item that counts the fetches and tells the time of `now`, so that every
/// renewal shows. Any thread.
QByteArray demoFeedDocument(int fetch, const QDateTime& now);

/// Serves demoFeedDocument() at kDemoFeedLink with `server` on 127.0.0.1, HTTPS on 443 and HTTP on
/// 80 where the feed player looks, and points the player's name probe at "localhost", which resolves
/// without a network. False, with the reason in `error`, when a port cannot be bound; the probe is
/// set all the same, so the fetch then fails at once.
bool startDemoFeed(LoopbackFeedServer& server, QString* error);
