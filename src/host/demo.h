#pragma once

#include "playlist.h"

#include <QString>
#include <QVector>

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
/// Office pages the demo draws as pictures, paged through a transition.
inline const QString kDemoOfficeRegion = QStringLiteral("office");

/// Builds the demo: a 1920x1080 screen with a title strip, picture tiles that loop through
/// demoEffects(), one tile on code 1, one animated picture, a folded region whose wide pictures
/// run over three separate boxes, a picture marquee, and text regions: a paged notice, a static
/// page, pages scrolling up and down, and tickers moving left (in sync mode) and right; and office
/// pages. Its pictures are drawn here and written
/// into `pictureDir`, which must exist. False with a message if a picture cannot be written.
bool buildDemoPlaylist(const QString& pictureDir, Playlist& playlist, QString* error);
