#include "demo.h"

#include "gifwriter.h"
#include "picturemarquee.h"

#include <QDir>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <nlohmann/json.hpp>

#include <playersettings.h>
#include <richtextrecords.h>

#include <cmath>

namespace {

// Screen of the demo, top to bottom: a title strip; two rows of three picture tiles and the feed
// row under them, with a column of text regions at their right; the row of the folded picture
// and the folded upward text, the folded ticker, the text tickers and the picture ticker.
constexpr int kScreenWidth = 1920;
constexpr int kScreenHeight = 1080;
constexpr int kPictureAreaWidth = 1280;
constexpr int kTitleHeight = 72;
constexpr int kGap = 8;
constexpr int kColumns = 3;
constexpr int kRows = 2;

constexpr int kTickerHeight = 48;
constexpr int kTickerTop = kScreenHeight - kGap - kTickerHeight;
// Two rows of text tickers above the picture ticker.
constexpr int kTextTickerHeight = 44;
constexpr int kTextTickersTop = kTickerTop - 2 * (kGap + kTextTickerHeight);
// A ticker folded across three boxes that lie apart on one row.
constexpr int kFoldedTickerHeight = 44;
constexpr int kFoldedTickerTop = kTextTickersTop - kGap - kFoldedTickerHeight;
constexpr int kFoldHeight = 100;
constexpr int kFoldTop = kFoldedTickerTop - kGap - kFoldHeight;
// Three boxes with clear gaps between them, so that the slices of one picture read as such.
constexpr int kFoldBoxes = 3;
constexpr int kFoldBoxWidth = 270;
constexpr int kFoldBoxGap = 30;
constexpr int kFoldMargin = kGap;
// Right of the folded pictures: a text folded across three boxes that scrolls up, entering the
// right box at its bottom and leaving the left one at its top.
constexpr int kFoldedUpLeft = kFoldMargin + kFoldBoxes * kFoldBoxWidth + (kFoldBoxes - 1) * kFoldBoxGap + 4 * kGap;
constexpr int kFoldedUpWidth = kScreenWidth - kGap - kFoldedUpLeft;
constexpr int kFoldedBoxGap = 30;
constexpr int kFoldedBoxInset = 3; // room for the outline drawn around each box
static_assert(kFoldedUpWidth > 3 * kFoldedBoxGap, "the folded text boxes fit the screen");

// The feed row: a panel picture across the tiles' width, its label at the left and the feed
// region over the rest. The region holds one notice (title, date, two lines) but not the next
// title too, so that each notice gets a page of its own.
constexpr int kFeedRowHeight = 148;
constexpr int kFeedRowTop = kFoldTop - kGap - kFeedRowHeight;
constexpr int kFeedLabelWidth = 232;
constexpr int kFeedInset = 8;
constexpr int kFeedPadding = 20; // between the label and the feed text, and at the right

constexpr int kTileWidth = (kPictureAreaWidth - (kColumns + 1) * kGap) / kColumns;
constexpr int kTileHeight = (kFeedRowTop - kTitleHeight - (kRows + 1) * kGap) / kRows;
constexpr int kPictureTiles = 5; // the sixth tile holds the animation
constexpr int kRandomTile = kPictureTiles - 1; // takes code 1 for every picture
constexpr int kFixedTiles = kPictureTiles - 1; // take demoEffects() in turn

constexpr int kCaptionGap = 12; // between the effect's name and its code

constexpr int kMinPicturesPerTile = 3;
constexpr int kFirstDurationMs = 2000;
constexpr int kDurationStepMs = 250; // staggers the tiles so that they do not all turn at once
constexpr int kEffectTimeMs = 1000;

constexpr int kAnimatedMediaType = 3;
constexpr int kAnimationFrames = 12;
constexpr int kAnimationDelayMs = 80;

constexpr int kTitleId = 1;
constexpr int kAnimationId = 900;
constexpr int kTileIdBase = 100;
constexpr int kFoldIdBase = 800;
constexpr int kTickerId = 950;

constexpr int kFoldDurationMs = 3000;
constexpr int kFoldEffectTimeMs = 1200;

// An even ticker of 250 pixels a second, with a wider space where the ring closes.
constexpr int kTickerCode = 244;
constexpr int kTickerIntervalMs = 20;
constexpr int kTickerStep = 5;
constexpr int kTickerGap = 48;
constexpr int kTickerMargin = 8; // transparent, left and right of each pill: the space between tiles
constexpr int kTickerPadding = 18; // inside a pill, around its text

const QColor kScreenBackground { 0x12, 0x14, 0x1a };
const QString kPicture = QStringLiteral("picture");
const QString kText = QStringLiteral("text");

// The text column right of the tiles.
constexpr int kTextLeft = kPictureAreaWidth;
constexpr int kTextWidth = kScreenWidth - kPictureAreaWidth - kGap;
constexpr int kTextTop = kTitleHeight + kGap;
constexpr int kNoticeHeight = 250;
constexpr int kStaticHeight = 120;
constexpr int kNoticeId = 960;
constexpr int kStaticId = 961;
constexpr int kNoticeEffect = 0x14; // extendCenter between pages
constexpr int kNoticeEffectMs = 700;
constexpr int kNoticeStayMs = 2500;

// Below the static page: an upward and a downward scroll side by side, then the office pages.
constexpr int kScrollTop = kTextTop + kNoticeHeight + kGap + kStaticHeight + kGap;
constexpr int kScrollHeight = 160;
constexpr int kScrollWidth = (kTextWidth - kGap) / 2;
constexpr int kUpId = 962;
constexpr int kDownId = 963;
constexpr int kUpLevel = 3; // 62.5 px/s
constexpr int kDownLevel = 2; // 40 px/s
// The tickers: leftward in sync mode, one pass of its text in the item's duration; rightward at a
// pixel rate.
constexpr int kLeftTickerId = 964;
constexpr int kRightTickerId = 965;
constexpr int kLeftTickerPassMs = 20000;
constexpr int kRightTickerPixelsPerSecond = 90;
// The folded texts, each with an outline picture in front of its boxes.
constexpr int kFoldedTickerId = 967;
constexpr int kFoldedUpId = 968;
constexpr int kFoldedOutlineIdBase = 980;
constexpr int kFoldedTickerLevel = 5; // 16 ms, 3 px: 187.5 px/s
constexpr int kFoldedUpLevel = 2; // 32 ms, 1 px

// Office pages under the scrolling texts: slides the demo draws, paged through reelBottom.
constexpr int kOfficeTop = kScrollTop + kScrollHeight + kGap;
constexpr int kOfficeId = 966;
constexpr int kOfficePages = 3;
constexpr int kOfficeEffect = 0x41; // reelBottom
constexpr int kOfficeEffectMs = 800;
constexpr int kOfficeStayMs = 3000;

// The feed: one notice a page, sliding in from the bottom; the first page of a renewed feed too.
constexpr int kFeedPanelId = 970;
constexpr int kFeedId = 971;
constexpr int kFeedPageEffect = 0x23; // moveBottom
constexpr int kFeedPageEffectMs = 500;
// Two pages, the live item and one notice, between two renewals.
constexpr int kFeedPageStayMs = 1700;
constexpr int kMsPerSecond = 1000;

// What the folded region's pictures come up with, one after the other.
const QVector<DemoEffect> kFoldEffects { { 0xF2, "openToBothSide" }, { 0x10, "extendLeft" }, { 0x90, "wheelRotate" } };

// Different lengths on purpose: the marquee runs pictures at their own width.
const QStringList kTickerTexts { QStringLiteral("NOW PLAYING"), QStringLiteral("mediahost demo"),
    QStringLiteral("picture marquee \u00b7 code 244 (0xF4)"), QStringLiteral("tiles of their own width"),
    QStringLiteral("%1 px every %2 ms").arg(kTickerStep).arg(kTickerIntervalMs),
    QStringLiteral("above: one picture cut into three boxes"), QStringLiteral("ring of pictures") };

QRect tileRect(int slot)
{
    const int column = slot % kColumns;
    const int row = slot / kColumns;
    return QRect(
        kGap + column * (kTileWidth + kGap), kTitleHeight + kGap + row * (kTileHeight + kGap), kTileWidth, kTileHeight);
}

QFont pixelFont(int pixelSize, bool bold)
{
    QFont font;
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

QImage drawTitle(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, size.width(), 0);
    gradient.setColorAt(0, QColor(0x1b, 0x2a, 0x49));
    gradient.setColorAt(1, QColor(0x3a, 0x16, 0x4a));
    painter.fillRect(image.rect(), gradient);
    painter.setPen(Qt::white);
    painter.setFont(pixelFont(32, true));
    painter.drawText(
        image.rect().adjusted(24, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("mediahost demo"));
    painter.setPen(QColor(0xd0, 0xd8, 0xe8));
    painter.setFont(pixelFont(17, false));
    painter.drawText(image.rect().adjusted(0, 0, -24, 0), Qt::AlignRight | Qt::AlignVCenter,
        QStringLiteral("each tile loops over its pictures \u00b7 captions name the transition that brought them in"));
    return image;
}

// A gradient in the tile's hue, a few rings, a big number and a caption bar, so that every
// picture differs from the one before it and a transition shows clearly.
QImage drawSlide(const QSize& size, int tile, int picture, const DemoEffect& effect)
{
    const int hue = (tile * 67 + picture * 97) % 360;
    QImage image(size, QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, QColor::fromHsv(hue, 170, 240));
    gradient.setColorAt(1, QColor::fromHsv((hue + 50) % 360, 220, 120));
    painter.fillRect(image.rect(), gradient);

    painter.setPen(QPen(QColor(255, 255, 255, 70), 10));
    painter.setBrush(Qt::NoBrush);
    for (int ring = 0; ring < 3; ++ring) {
        const int radius = 40 + ring * 45 + picture * 12;
        const QPoint centre(size.width() * (picture % 2 ? 3 : 1) / 4, size.height() / 3 + ring * 10);
        painter.drawEllipse(centre, radius, radius);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 45));
    painter.drawRect(QRect(0, 0, size.width(), size.height())
                         .adjusted(size.width() / 2, 0, 0, 0)
                         .translated(0, (picture % 3) * size.height() / 6 - size.height() / 2));

    painter.setPen(QColor(255, 255, 255, 235));
    painter.setFont(pixelFont(size.height() * 45 / 100, true));
    const QRect numberArea(0, 0, size.width(), size.height() * 78 / 100);
    painter.drawText(numberArea, Qt::AlignCenter, QString::number(picture + 1));

    const QRect bar(0, size.height() * 78 / 100, size.width(), size.height() - size.height() * 78 / 100);
    painter.fillRect(bar, QColor(0, 0, 0, 150));
    painter.setPen(Qt::white);
    painter.setFont(pixelFont(bar.height() * 40 / 100, true));
    if (effect.code == kDemoRandomEffect.code) {
        // The transition is chosen when the picture comes up, so the caption cannot name it.
        painter.drawText(bar.adjusted(14, 0, -14, 0), Qt::AlignLeft | Qt::AlignVCenter,
            QStringLiteral("%1 (code %2)").arg(QString::fromLatin1(effect.name)).arg(effect.code));
        return image;
    }
    const QRect textArea = bar.adjusted(14, 0, -14, 0);
    const QString name = QString::fromLatin1(effect.name);
    const QString code = QStringLiteral("code %1 (0x%2)")
                             .arg(effect.code)
                             .arg(QStringLiteral("%1").arg(effect.code, 2, 16, QLatin1Char('0')).toUpper());
    const QFont codeFont = pixelFont(bar.height() * 30 / 100, false);
    // Long names get a smaller font rather than running into the code.
    const int nameRoom = textArea.width() - QFontMetrics(codeFont).horizontalAdvance(code) - kCaptionGap;
    QFont nameFont = painter.font();
    while (nameFont.pixelSize() > codeFont.pixelSize() && QFontMetrics(nameFont).horizontalAdvance(name) > nameRoom)
        nameFont.setPixelSize(nameFont.pixelSize() - 1);
    painter.setFont(nameFont);
    painter.drawText(textArea, Qt::AlignLeft | Qt::AlignVCenter, name);
    painter.setFont(codeFont);
    painter.drawText(textArea, Qt::AlignRight | Qt::AlignVCenter, code);
    return image;
}

// A banner as wide as the three fold boxes together: a gradient, a wave and a line of text that
// run across the whole width, so that the boxes plainly show three slices of one picture.
QImage drawFoldBanner(const QSize& size, int picture, const DemoEffect& effect)
{
    const int hue = (200 + picture * 110) % 360;
    QImage image(size, QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);

    QLinearGradient gradient(0, 0, size.width(), 0);
    gradient.setColorAt(0, QColor::fromHsv(hue, 200, 230));
    gradient.setColorAt(0.5, QColor::fromHsv((hue + 60) % 360, 210, 200));
    gradient.setColorAt(1, QColor::fromHsv((hue + 120) % 360, 220, 170));
    painter.fillRect(image.rect(), gradient);

    // A ruler along the bottom edge, a longer mark every fourth.
    constexpr int kTickSpacing = 32;
    painter.setPen(QPen(QColor(255, 255, 255, 120), 2));
    for (int x = 0; x < size.width(); x += kTickSpacing) {
        const int length = x % (4 * kTickSpacing) == 0 ? size.height() / 6 : size.height() / 12;
        painter.drawLine(x, size.height() - length, x, size.height());
    }

    QPainterPath wave;
    const double middle = size.height() * 0.42;
    const double amplitude = size.height() * 0.25;
    for (int x = 0; x <= size.width(); x += 4) {
        const double y = middle + amplitude * std::sin(2 * M_PI * x / (size.width() / 2.5) + picture);
        if (x == 0)
            wave.moveTo(x, y);
        else
            wave.lineTo(x, y);
    }
    painter.setPen(QPen(QColor(255, 255, 255, 90), 8, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(wave);

    painter.setPen(Qt::white);
    painter.setFont(pixelFont(size.height() * 40 / 100, true));
    painter.drawText(QRect(0, 0, size.width(), size.height() * 66 / 100), Qt::AlignCenter,
        QStringLiteral("ONE WIDE PICTURE \u00b7 THREE BOXES \u00b7 %1").arg(picture + 1));
    painter.setFont(pixelFont(size.height() * 17 / 100, false));
    painter.drawText(QRect(0, size.height() * 62 / 100, size.width(), size.height() * 26 / 100), Qt::AlignCenter,
        QStringLiteral("fold, 3 boxes side by side \u00b7 brought in by %1 (0x%2)")
            .arg(QString::fromLatin1(effect.name))
            .arg(QStringLiteral("%1").arg(effect.code, 2, 16, QLatin1Char('0')).toUpper()));
    return image;
}

// A pill of text on a transparent ground, as wide as its text; the margins keep tiles apart.
QImage drawTickerTile(int height, int index, const QString& text)
{
    const QFont font = pixelFont(height * 44 / 100, true);
    const int textWidth = QFontMetrics(font).horizontalAdvance(text);
    const int bullet = height / 5;
    QImage image(textWidth + 2 * kTickerPadding + bullet * 2 + 2 * kTickerMargin, height, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QRectF pill = QRectF(image.rect()).adjusted(kTickerMargin, height / 8.0, -kTickerMargin, -height / 8.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((index * 53 + 10) % 360, 190, 200));
    painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
    painter.setBrush(QColor(255, 255, 255, 220));
    painter.drawEllipse(QPointF(pill.left() + kTickerPadding, pill.center().y()), bullet / 2.0, bullet / 2.0);
    painter.setPen(Qt::white);
    painter.setFont(font);
    painter.drawText(pill.adjusted(kTickerPadding + bullet * 1.5, 0, -kTickerPadding / 2.0, 0),
        Qt::AlignLeft | Qt::AlignVCenter, text);
    return image;
}

// A square that turns a quarter round and a dot that circles it once over the frames.
QList<QImage> drawAnimation(const QSize& size)
{
    QList<QImage> frames;
    const QPointF centre(size.width() / 2.0, size.height() * 0.45);
    const double side = size.height() * 0.32;
    const double orbit = size.height() * 0.30;
    for (int frame = 0; frame < kAnimationFrames; ++frame) {
        const double turn = double(frame) / kAnimationFrames;
        QImage image(size, QImage::Format_ARGB32);
        image.fill(QColor(0x20, 0x24, 0x30));
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);

        painter.save();
        painter.translate(centre);
        painter.rotate(90.0 * turn);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromHsv(int(360 * turn), 200, 250));
        painter.drawRoundedRect(QRectF(-side / 2, -side / 2, side, side), 12, 12);
        painter.restore();

        const double angle = 2 * M_PI * turn;
        const QPointF dot = centre + QPointF(orbit * std::cos(angle), orbit * std::sin(angle));
        painter.setBrush(QColor(0xff, 0xd0, 0x30));
        painter.drawEllipse(dot, size.height() * 0.05, size.height() * 0.05);

        painter.setPen(Qt::white);
        painter.setFont(pixelFont(size.height() / 14, true));
        painter.drawText(QRect(0, size.height() * 84 / 100, size.width(), size.height() * 16 / 100), Qt::AlignCenter,
            QStringLiteral("animated picture (mediaType 3)"));
        frames << image;
    }
    return frames;
}

bool savePicture(const QImage& image, const QString& path, QString* error)
{
    if (image.save(path, "PNG"))
        return true;
    if (error)
        *error = QStringLiteral("cannot write the demo picture %1").arg(path);
    return false;
}

PlaylistItem pictureItem(int id, const QString& path, int durationMs, int effectCode, int effectTimeMs, int number)
{
    PlaylistItem item;
    item.kind = kPicture;
    item.number = number;
    item.widget.id = id;
    item.widget.duration = durationMs;
    item.widget.effectCode = effectCode;
    item.widget.effectTime = effectTimeMs;
    item.widget.path = path.toStdString();
    return item;
}

// The demo's texts are written as the JSON a host hands to the text player.
nlohmann::json textStyle(int id, const char* family, int pixelSize, const char* color, int fontStyle = ns::FONT_REGULAR,
    const char* background = "#00000000", bool underline = false)
{
    return { { "id", id },
        { "style",
            { { "fontFamilies", { family } }, { "pixelSize", pixelSize }, { "textColor", color },
                { "fontStyle", fontStyle }, { "bkColor", background }, { "underline", underline } } } };
}

nlohmann::json textRun(int attribute, const char* text)
{
    return { { "attributeId", attribute }, { "text", text } };
}

nlohmann::json textParagraph(const nlohmann::json& lines, int hAlignment, int vAlignment, const char* background,
    double lineSpacing = 0, int letterSpacing = 0)
{
    return { { "hAlignment", hAlignment }, { "vAlignment", vAlignment }, { "bkColor", background },
        { "lineSpacing", lineSpacing }, { "letterSpacing", letterSpacing }, { "lines", lines } };
}

std::string textRecord(
    const nlohmann::json& displayStyle, const nlohmann::json& styles, const nlohmann::json& paragraphs)
{
    return nlohmann::json {
        { "content", { { "displayStyle", displayStyle }, { "textAttributes", styles }, { "paragraphs", paragraphs } } }
    }.dump();
}

PlaylistRegion textRegion(const QString& name, const QRect& geometry, int id, const std::string& record)
{
    PlaylistRegion region;
    region.name = name;
    region.geometry = geometry;
    PlaylistItem item;
    item.kind = kText;
    item.number = 1;
    item.widget.id = id;
    item.widget.duration = playlistdefaults::kItemDurationMs;
    item.widget.jsonText = record;
    region.items << item;
    return region;
}

// Height of a line in a style of the demo's texts, as the text renderer lays it out: the face that
// the font mapping picks, ascent and descent.
int styleLineHeight(const nlohmann::json& style)
{
    QString family = QString::fromStdString(style["style"]["fontFamilies"][0].get<std::string>());
    PlayerSettings::getInstance().convertFontFamily(family);
    QFont font(family);
    font.setPixelSize(style["style"]["pixelSize"].get<int>());
    const int fontStyle = style["style"]["fontStyle"].get<int>();
    font.setBold(fontStyle == ns::FONT_BOLD || fontStyle == ns::FONT_BOLD_ITALIC);
    font.setItalic(fontStyle == ns::FONT_ITALIC || fontStyle == ns::FONT_BOLD_ITALIC);
    const QFontMetrics fm(font);
    return fm.ascent() + fm.descent();
}

// The text renderer breaks pages only where a page is full. To give each paragraph a page of its
// own, it is padded above and below with blank lines (empty runs of a padding style) that bring
// it as close to the page height as whole pixel sizes allow.
nlohmann::json padToPage(
    nlohmann::json lines, const nlohmann::json& styles, int padStyleId, double lineSpacing, int pageHeight)
{
    const auto styleOf = [&](int id) {
        for (const nlohmann::json& style : styles) {
            if (style["id"].get<int>() == id)
                return style;
        }
        return styles.front();
    };
    int used = 0;
    for (const nlohmann::json& line : lines) {
        int tallest = 0;
        for (const nlohmann::json& run : line)
            tallest = std::max(tallest, styleLineHeight(styleOf(run["attributeId"].get<int>())));
        used += tallest + int(lineSpacing);
    }
    nlohmann::json pad = styleOf(padStyleId);
    const auto padLine = [&](int room) {
        int size = 1;
        for (int candidate = 1; candidate < room; ++candidate) {
            pad["style"]["pixelSize"] = candidate;
            if (styleLineHeight(pad) + int(lineSpacing) > room)
                break;
            size = candidate;
        }
        return size;
    };
    const int room = pageHeight - used;
    if (room <= 2 * (int(lineSpacing) + 2))
        return lines;
    const int top = padLine(room / 2);
    pad["style"]["pixelSize"] = top;
    const int below = padLine(room - styleLineHeight(pad) - int(lineSpacing));
    nlohmann::json padded = nlohmann::json::array();
    padded.push_back({ { { "attributeId", padStyleId + top }, { "text", "" } } });
    for (const nlohmann::json& line : lines)
        padded.push_back(line);
    padded.push_back({ { { "attributeId", padStyleId + below }, { "text", "" } } });
    return padded;
}

// Padding styles: one per pixel size, with ids above kPadBase.
constexpr int kPadBase = 1000;
constexpr int kPadSizes = 200;

nlohmann::json withPadStyles(nlohmann::json styles)
{
    for (int size = 1; size < kPadSizes; ++size)
        styles.push_back(textStyle(kPadBase + size, "DejaVu Sans", size, "#00000000"));
    return styles;
}

// A library notice of three pages in three faces and colours, Latin and Chinese, brought in page
// by page through a transition. The families are those content usually names; the font mapping
// finds the installed faces for them.
PlaylistRegion noticeRegion()
{
    enum { Title = 1, Chinese, Body, Accent, Small };
    const nlohmann::json styles = withPadStyles({ textStyle(Title, "Times New Roman", 38, "#FFFFD24A", ns::FONT_BOLD),
        textStyle(Chinese, "Microsoft YaHei", 32, "#FFFFFFFF"), textStyle(Body, "Arial", 24, "#FFBFE3FF"),
        textStyle(Accent, "Arial", 24, "#FF1B2A49", ns::FONT_BOLD, "#FF8FD694"),
        textStyle(Small, "Arial", 20, "#FFE0E0E0", ns::FONT_ITALIC, "#00000000", true),
        textStyle(kPadBase, "DejaVu Sans", 10, "#00000000") });
    const char* background = "#FF1B2A49";
    const auto page = [&](const nlohmann::json& lines, int hAlignment, double lineSpacing) {
        return textParagraph(padToPage(lines, styles, kPadBase, lineSpacing, kNoticeHeight), hAlignment, ns::ALIGN_TOP,
            background, lineSpacing);
    };
    const nlohmann::json welcome
        = { { textRun(Title, "Riverside Library") }, { textRun(Chinese, "欢迎光临 · 河畔图书馆") },
              { textRun(Body, "Open today "), textRun(Accent, " 09:00 – 21:00 ") }, { textRun(Small, "page 1 of 3") } };
    const nlohmann::json events = { { textRun(Title, " Today · 今日活动") },
        { textRun(Body, "  10:30  Story time for children") }, { textRun(Chinese, "  14:00  书法讲座 三楼") },
        { textRun(Body, "  18:00  "), textRun(Accent, " Film night ") }, { textRun(Small, "  page 2 of 3") } };
    const nlohmann::json notes
        = { { textRun(Title, "Reading room") }, { textRun(Chinese, "阅览室在二楼，请保持安静。") },
              { textRun(Body, "Second floor, please keep quiet.") }, { textRun(Small, "page 3 of 3") } };
    const nlohmann::json paragraphs
        = { page(welcome, ns::ALIGN_HCENTER, 6), page(events, ns::ALIGN_LEFT, 2), page(notes, ns::ALIGN_HCENTER, 8) };
    const nlohmann::json style = { { "type", ns::PAGE_SWITCH }, { "pageEffect", kNoticeEffect },
        { "pageEffectDuration", kNoticeEffectMs }, { "pageStayTime", kNoticeStayMs } };
    return textRegion(kDemoNoticeRegion, QRect(kTextLeft, kTextTop, kTextWidth, kNoticeHeight), kNoticeId,
        textRecord(style, styles, paragraphs));
}

// One page that stays: opening hours in Chinese and English on coloured backgrounds.
PlaylistRegion staticRegion()
{
    enum { Big = 1, Latin, Badge };
    const nlohmann::json styles
        = { textStyle(Big, "SimHei", 40, "#FFFFFFFF", ns::FONT_BOLD), textStyle(Latin, "Verdana", 22, "#FFFFF3C4"),
              textStyle(Badge, "Courier New", 22, "#FF3A164A", ns::FONT_BOLD, "#FFFFD24A") };
    const nlohmann::json lines = { { textRun(Big, "今日开放 09:00–21:00") },
        { textRun(Latin, "Open every day "), textRun(Badge, " STATIC_PAGE ") } };
    const nlohmann::json paragraphs = { textParagraph(lines, ns::ALIGN_HCENTER, ns::ALIGN_VCENTER, "#FF3A164A", 6) };
    const nlohmann::json style = { { "type", ns::STATIC_PAGE } };
    return textRegion(kDemoStaticRegion, QRect(kTextLeft, kTextTop + kNoticeHeight + kGap, kTextWidth, kStaticHeight),
        kStaticId, textRecord(style, styles, paragraphs));
}

nlohmann::json scrollStyle(int moveType, int speed, bool speedIsPixels = false)
{
    return { { "type", ns::SCROLL },
        { "scrollAttributes",
            { { "effecs", { { "speed", speed }, { "moveType", moveType } } }, { "speedIsPixels", speedIsPixels } } } };
}

// Pages that scroll up and down, one round after the other with a window's height between.
PlaylistRegion verticalScrollRegion(const QString& name, int moveType, int level, int left, int id)
{
    enum { Head = 1, Body, Chinese };
    const nlohmann::json styles = { textStyle(Head, "Arial", 24, "#FFFFD24A", ns::FONT_BOLD),
        textStyle(Body, "Arial", 20, "#FFFFFFFF"), textStyle(Chinese, "SimSun", 22, "#FF8FD694") };
    const bool up = moveType == ns::MOVE_UP;
    const nlohmann::json lines = { { textRun(Head, up ? "Scrolling up" : "Scrolling down") },
        { textRun(Body, up ? "MOVE_UP, level 3" : "MOVE_DOWN, level 2") },
        { textRun(Chinese, up ? "向上滚动的文字" : "向下滚动的文字") }, { textRun(Body, "Arrivals · Departures") },
        { textRun(Body, "Platform 4 · 09:42") }, { textRun(Chinese, "请注意安全") } };
    const nlohmann::json paragraphs = { textParagraph(lines, ns::ALIGN_HCENTER, ns::ALIGN_TOP, "#FF203040", 4) };
    return textRegion(name, QRect(left, kScrollTop, kScrollWidth, kScrollHeight), id,
        textRecord(scrollStyle(moveType, level), styles, paragraphs));
}

// A one-line ticker; `sync` fits one pass of its text into the item's duration.
PlaylistRegion tickerTextRegion(const QString& name, int top, int moveType, int speed, bool speedIsPixels, bool sync,
    int durationMs, int id, const nlohmann::json& lines, const char* background)
{
    enum { Plain = 1, Strong, Chinese };
    const nlohmann::json styles = { textStyle(Plain, "Arial", 26, "#FFFFFFFF"),
        textStyle(Strong, "Arial", 26, "#FF12141A", ns::FONT_BOLD, "#FFFFD24A"),
        textStyle(Chinese, "Microsoft YaHei", 26, "#FF8FD694") };
    nlohmann::json record = nlohmann::json::parse(textRecord(scrollStyle(moveType, speed, speedIsPixels), styles,
        nlohmann::json::array({ textParagraph(lines, ns::ALIGN_LEFT, ns::ALIGN_VCENTER, background) })));
    record["content"]["textSyncWithMusic"] = sync;
    PlaylistRegion region
        = textRegion(name, QRect(kGap, top, kScreenWidth - 2 * kGap, kTextTickerHeight), id, record.dump());
    region.items.first().widget.duration = durationMs;
    return region;
}

PlaylistRegion leftTickerRegion()
{
    enum { Plain = 1, Strong, Chinese };
    const nlohmann::json lines = { { textRun(Strong, " NEWS "),
        textRun(Plain, "  Text ticker moving left in sync mode: one pass of this line takes the item's 20 s  ·  "),
        textRun(Chinese, "同步模式：整段文字在二十秒内走完"),
        textRun(Plain, "  ·  then the next round follows a screen and a bit later  ") } };
    return tickerTextRegion(kDemoLeftTickerRegion, kTextTickersTop, ns::MOVE_LEFT, 3, false, true, kLeftTickerPassMs,
        kLeftTickerId, lines, "#FF1B2A49");
}

PlaylistRegion rightTickerRegion()
{
    enum { Plain = 1, Strong, Chinese };
    const nlohmann::json lines = { { textRun(Plain, "  Text ticker moving right at 90 pixels a second  ·  "),
        textRun(Chinese, "每秒九十像素向右移动"), textRun(Plain, "  ·  "), textRun(Strong, " MOVE_RIGHT ") } };
    return tickerTextRegion(kDemoRightTickerRegion, kTextTickersTop + kTextTickerHeight + kGap, ns::MOVE_RIGHT,
        kRightTickerPixelsPerSecond, true, false, playlistdefaults::kItemDurationMs, kRightTickerId, lines,
        "#FF3A164A");
}

// Three boxes of `size` side by side with `gap` between them, inset for their outlines.
ns::Fold foldedBoxes(const QSize& size, int gap, ns::EnumOrientation orientation)
{
    ns::Fold fold;
    fold.enabled = true;
    fold.count = 3;
    fold.orientation = orientation;
    const int width = (size.width() - 2 * gap) / 3;
    for (int box = 0; box < fold.count; ++box) {
        fold.rects.push_back({ box * (width + gap) + kFoldedBoxInset, kFoldedBoxInset, width - 2 * kFoldedBoxInset,
            size.height() - 2 * kFoldedBoxInset });
    }
    return fold;
}

// A transparent picture with an outline around each box of `fold`, to lie in front of the boxes.
QImage drawFoldOutlines(const QSize& size, const ns::Fold& fold)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0xF2, 0x8C, 0x28), 2));
    for (const ns::FoldRect& r : fold.rects)
        painter.drawRoundedRect(QRectF(r.x - 2, r.y - 2, r.width + 4, r.height + 4), 4, 4);
    return image;
}

// A text folded across the boxes of `fold`, with their outlines in front of it.
bool foldedTextRegions(const QString& dir, const QString& name, const QRect& geometry, int id, const ns::Fold& fold,
    const std::string& record, QList<PlaylistRegion>& regions, QString* error)
{
    PlaylistRegion text = textRegion(name, geometry, id, record);
    text.items.first().widget.fold = fold;
    PlaylistRegion outlines;
    outlines.name = name + QStringLiteral("-outlines");
    outlines.geometry = geometry;
    const QString path = QDir(dir).filePath(name + QStringLiteral("-outlines.png"));
    if (!savePicture(drawFoldOutlines(geometry.size(), fold), path, error))
        return false;
    outlines.items << pictureItem(
        kFoldedOutlineIdBase + int(regions.size()), path, playlistdefaults::kItemDurationMs, 0, 0, 1);
    regions << text << outlines;
    return true;
}

// A ticker folded across three boxes on one row: the line leaves the left end of a box and comes
// out of the right end of the box before it.
bool foldedTickerRegions(const QString& dir, QList<PlaylistRegion>& regions, QString* error)
{
    enum { Plain = 1, Strong, Chinese };
    const nlohmann::json styles = { textStyle(Plain, "Arial", 26, "#FFFFFFFF", ns::FONT_REGULAR, "#FF1B2A49"),
        textStyle(Strong, "Arial", 26, "#FF12141A", ns::FONT_BOLD, "#FFF28C28"),
        textStyle(Chinese, "Microsoft YaHei", 26, "#FF8FD694", ns::FONT_REGULAR, "#FF1B2A49") };
    const nlohmann::json lines = { { textRun(Strong, " FOLD "),
        textRun(Plain, "  One ticker folded across three boxes: the line runs out of one box into the next  ·  "),
        textRun(Chinese, "一条字幕折叠在三个框里"), textRun(Plain, "  ·  level 5, a frame every 16 ms  ") } };
    const QRect geometry(kGap, kFoldedTickerTop, kScreenWidth - 2 * kGap, kFoldedTickerHeight);
    const std::string record = textRecord(scrollStyle(ns::MOVE_LEFT, kFoldedTickerLevel), styles,
        nlohmann::json::array({ textParagraph(lines, ns::ALIGN_LEFT, ns::ALIGN_VCENTER, "#00000000") }));
    return foldedTextRegions(dir, kDemoFoldedTickerRegion, geometry, kFoldedTickerId,
        foldedBoxes(geometry.size(), kFoldedBoxGap, ns::ORIENTATION_HORIZONTAL), record, regions, error);
}

// Notices folded across three stacked pieces shown side by side: a line comes up in the right box,
// then in the middle one, then in the left one.
bool foldedUpRegions(const QString& dir, QList<PlaylistRegion>& regions, QString* error)
{
    enum { Plain = 1, Strong };
    const nlohmann::json styles
        = { textStyle(Plain, "Arial", 22, "#FFFFFFFF"), textStyle(Strong, "Arial", 22, "#FFFFD24A", ns::FONT_BOLD) };
    nlohmann::json lines = nlohmann::json::array();
    const char* const notices[] = { "Folded upward:", "right box first,", "then the middle,", "then the left.",
        "Platform 2:", "the 18:05 is", "on time today." };
    for (size_t i = 0; i < sizeof(notices) / sizeof(notices[0]); ++i)
        lines.push_back({ textRun(i == 0 || i == 4 ? Strong : Plain, notices[i]) });
    const QRect geometry(kFoldedUpLeft, kFoldTop, kFoldedUpWidth, kFoldHeight);
    const std::string record = textRecord(scrollStyle(ns::MOVE_UP, kFoldedUpLevel), styles,
        nlohmann::json::array({ textParagraph(lines, ns::ALIGN_HCENTER, ns::ALIGN_TOP, "#00000000") }));
    return foldedTextRegions(dir, kDemoFoldedUpRegion, geometry, kFoldedUpId,
        foldedBoxes(geometry.size(), kFoldedBoxGap, ns::ORIENTATION_VERTICAL), record, regions, error);
}

// A slide of a small presentation: a white page with a coloured heading band, three bullet lines
// and a page number, drawn larger than the region so the player's scaling shows.
QImage drawOfficePage(const QSize& size, int page)
{
    static const char* const kHeadings[kOfficePages] = { "Quarterly report", "Visitors by month", "Next steps" };
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const int band = size.height() / 4;
    painter.fillRect(QRect(0, 0, size.width(), band), QColor::fromHsv(210 + page * 40, 160, 170));
    painter.setPen(Qt::white);
    painter.setFont(pixelFont(band * 55 / 100, true));
    painter.drawText(QRect(size.width() / 20, 0, size.width(), band), Qt::AlignLeft | Qt::AlignVCenter,
        QString::fromLatin1(kHeadings[page]));
    painter.setPen(QColor(0x30, 0x30, 0x30));
    painter.setFont(pixelFont(band * 32 / 100, false));
    const int line = (size.height() - band) / 4;
    for (int item = 0; item < 3; ++item) {
        const int y = band + line / 2 + item * line;
        painter.setBrush(QColor::fromHsv(210 + page * 40, 160, 170));
        painter.drawEllipse(QPoint(size.width() / 14, y + line / 2), line / 8, line / 8);
        painter.drawText(QRect(size.width() / 10, y, size.width(), line), Qt::AlignLeft | Qt::AlignVCenter,
            QStringLiteral("Office page %1, point %2").arg(page + 1).arg(item + 1));
    }
    painter.setFont(pixelFont(band * 28 / 100, false));
    painter.drawText(QRect(0, size.height() - line, size.width() - size.width() / 30, line),
        Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("%1 / %2").arg(page + 1).arg(kOfficePages));
    return image;
}

// An office item: its pages as pictures, listed in the page group record of its jsonText.
bool officeRegion(const QDir& dir, PlaylistRegion& region, QString* error)
{
    region.name = kDemoOfficeRegion;
    region.geometry = QRect(kTextLeft, kOfficeTop, kTextWidth, kFoldTop - kGap - kOfficeTop);
    nlohmann::json pages = nlohmann::json::array();
    for (int page = 0; page < kOfficePages; ++page) {
        const QString path = dir.filePath(QStringLiteral("office-page-%1.png").arg(page + 1));
        if (!savePicture(drawOfficePage(region.geometry.size() * 2, page), path, error))
            return false;
        nlohmann::json entry = { { "path", path.toStdString() }, { "pageNumber", page + 1 } };
        if (page == 0) {
            // The first page's timing stands for the whole group.
            entry["stayTime"] = kOfficeStayMs;
            entry["effectCode"] = kOfficeEffect;
            entry["effectTime"] = kOfficeEffectMs;
        }
        pages.push_back(entry);
    }
    const nlohmann::json group = { { "pictures", pages }, { "styleGroup", { { "type", ns::PAGE_SWITCH } } } };
    PlaylistItem item;
    item.kind = QStringLiteral("office");
    item.number = 1;
    item.widget.id = kOfficeId;
    item.widget.duration = playlistdefaults::kItemDurationMs;
    item.widget.jsonText = group.dump();
    region.items << item;
    return true;
}

QRect feedRowRect()
{
    return QRect(kGap, kFeedRowTop, kPictureAreaWidth - 2 * kGap, kFeedRowHeight);
}

// The ground of the feed row: a label block with a feed sign at the left, a darker field for the
// feed text, which the player paints on a transparent background.
QImage drawFeedPanel(const QSize& size)
{
    const QColor accent(0xF2, 0x8C, 0x28);
    QImage image(size, QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QLinearGradient gradient(0, 0, size.width(), size.height());
    gradient.setColorAt(0, QColor(0x1e, 0x27, 0x36));
    gradient.setColorAt(1, QColor(0x15, 0x1b, 0x26));
    painter.fillRect(image.rect(), gradient);
    const QRect label(0, 0, kFeedLabelWidth, size.height());
    painter.fillRect(label, QColor(0x1b, 0x2a, 0x49));
    painter.fillRect(QRect(label.right() - 3, 0, 4, size.height()), accent);

    // A feed sign: a dot and two arcs on an orange square.
    constexpr int kSign = 48;
    const QRect sign(20, 20, kSign, kSign);
    painter.setPen(Qt::NoPen);
    painter.setBrush(accent);
    painter.drawRoundedRect(sign, 9, 9);
    painter.setBrush(Qt::white);
    const QPointF corner(sign.left() + 13, sign.bottom() - 12);
    painter.drawEllipse(corner, 5, 5);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(Qt::white, 5, Qt::SolidLine, Qt::RoundCap));
    for (int radius : { 16, 28 })
        painter.drawArc(QRectF(corner.x() - radius, corner.y() - radius, 2 * radius, 2 * radius), 0, 90 * 16);

    painter.setPen(Qt::white);
    painter.setFont(pixelFont(26, true));
    painter.drawText(QRect(sign.right() + 14, sign.top(), label.width(), sign.height()),
        Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("RSS feed"));
    painter.setPen(QColor(0xc8, 0xd2, 0xe0));
    painter.setFont(pixelFont(16, false));
    painter.drawText(QRect(20, sign.bottom() + 14, label.width() - 30, 24), Qt::AlignLeft | Qt::AlignVCenter,
        QStringLiteral("from 127.0.0.1, HTTPS"));
    painter.drawText(QRect(20, sign.bottom() + 38, label.width() - 30, 24), Qt::AlignLeft | Qt::AlignVCenter,
        QStringLiteral("renewed every %1 s").arg(kDemoFeedUpdatePeriodMs / kMsPerSecond));
    return image;
}

// The feed item's settings: gold titles, grey dates, white descriptions, a page per notice.
std::string feedSettings()
{
    const auto style = [](const char* color, int pixelSize, int fontStyle) {
        return nlohmann::json { { "textColor", color }, { "fontFamilies", { "Arial" } }, { "pixelSize", pixelSize },
            { "fontStyle", fontStyle } };
    };
    const nlohmann::json settings = { { "updatePeriod", kDemoFeedUpdatePeriodMs }, { "showTitle", true },
        { "showPubDate", true }, { "showDescription", true },
        { "textAttribute",
            { { "auxStyles",
                { style("#FFFFD24A", 30, ns::FONT_BOLD), style("#FFA8B8CC", 18, ns::FONT_ITALIC),
                    style("#FFFFFFFF", 24, ns::FONT_REGULAR) } } } },
        { "displayStyle",
            { { "type", ns::PAGE_SWITCH }, { "pageEffect", kFeedPageEffect },
                { "pageEffectDuration", kFeedPageEffectMs }, { "pageStayTime", kFeedPageStayMs } } } };
    return settings.dump();
}

} // namespace

const QVector<DemoEffect>& demoEffects()
{
    // One or two of every family, ordered so that neighbouring tiles show different families.
    static const QVector<DemoEffect> effects {
        { 0x14, "extendCenter" },
        { 0x40, "reelTop" },
        { 0x70, "zoomFullScreen" },
        { 0xC0, "cumulateLeft" },
        { 0x22, "moveRight" },
        { 0x60, "windowBottom" },
        { 0x90, "wheelRotate" },
        { 0xD1, "laserTop" },
        { 0x35, "indentBothSides" },
        { 0x41, "reelBottom" },
        { 0xA0, "dentine" },
        { 0xF2, "openToBothSide" },
        { 0xB0, "fadeIn" },
        { 0x61, "windowRight" },
        { 0xB1, "fadeOut" },
        { 0xF3, "openToCenter" },
    };
    return effects;
}

bool buildDemoPlaylist(const QString& pictureDir, Playlist& playlist, QString* error)
{
    const QDir dir(pictureDir);
    playlist = Playlist {};
    playlist.name = QStringLiteral("mediahost demo");
    playlist.screenSize = QSize(kScreenWidth, kScreenHeight);
    playlist.background = kScreenBackground;

    PlaylistRegion title;
    title.name = QStringLiteral("title");
    title.geometry = QRect(0, 0, kScreenWidth, kTitleHeight);
    const QString titlePath = dir.filePath(QStringLiteral("title.png"));
    if (!savePicture(drawTitle(title.geometry.size()), titlePath, error))
        return false;
    title.items << pictureItem(kTitleId, titlePath, playlistdefaults::kItemDurationMs, 0, 0, 1);
    playlist.regions << title;

    // The fixed tiles take the effects in turn, column by column through the pictures, so that
    // they show different transitions at any moment and every listed code comes up.
    const QVector<DemoEffect>& effects = demoEffects();
    const int picturesPerTile = std::max(kMinPicturesPerTile, int((effects.size() + kFixedTiles - 1) / kFixedTiles));
    for (int tile = 0; tile < kPictureTiles; ++tile) {
        PlaylistRegion region;
        region.name = QStringLiteral("tile-%1").arg(tile + 1);
        region.geometry = tileRect(tile);
        const int durationMs = kFirstDurationMs + tile * kDurationStepMs;
        for (int picture = 0; picture < picturesPerTile; ++picture) {
            const DemoEffect& effect
                = tile == kRandomTile ? kDemoRandomEffect : effects.at((picture * kFixedTiles + tile) % effects.size());
            const QString path = dir.filePath(QStringLiteral("tile-%1-%2.png").arg(tile + 1).arg(picture + 1));
            if (!savePicture(drawSlide(region.geometry.size(), tile, picture, effect), path, error))
                return false;
            region.items << pictureItem(
                kTileIdBase * (tile + 1) + picture, path, durationMs, effect.code, kEffectTimeMs, picture + 1);
        }
        playlist.regions << region;
    }

    // One region whose three boxes lie apart on the screen; its pictures are as wide as the boxes together.
    PlaylistRegion fold;
    fold.name = kDemoFoldRegion;
    fold.geometry = QRect(0, kFoldTop, kFoldedUpLeft - 2 * kGap, kFoldHeight);
    ns::Fold boxes;
    boxes.enabled = true;
    boxes.count = kFoldBoxes;
    boxes.orientation = ns::ORIENTATION_HORIZONTAL;
    for (int box = 0; box < kFoldBoxes; ++box)
        boxes.rects.push_back({ kFoldMargin + box * (kFoldBoxWidth + kFoldBoxGap), 0, kFoldBoxWidth, kFoldHeight });
    for (int picture = 0; picture < kFoldEffects.size(); ++picture) {
        const DemoEffect& effect = kFoldEffects.at(picture);
        const QString path = dir.filePath(QStringLiteral("fold-%1.png").arg(picture + 1));
        if (!savePicture(drawFoldBanner(QSize(kFoldBoxes * kFoldBoxWidth, kFoldHeight), picture, effect), path, error))
            return false;
        PlaylistItem item
            = pictureItem(kFoldIdBase + picture, path, kFoldDurationMs, effect.code, kFoldEffectTimeMs, picture + 1);
        item.widget.fold = boxes;
        fold.items << item;
    }
    playlist.regions << fold;

    PlaylistRegion ticker;
    ticker.name = kDemoTickerRegion;
    ticker.geometry = QRect(kGap, kTickerTop, kScreenWidth - 2 * kGap, kTickerHeight);
    nlohmann::json tiles = nlohmann::json::array();
    for (int tile = 0; tile < kTickerTexts.size(); ++tile) {
        const QString path = dir.filePath(QStringLiteral("ticker-%1.png").arg(tile + 1));
        if (!savePicture(drawTickerTile(kTickerHeight, tile, kTickerTexts.at(tile)), path, error))
            return false;
        tiles.push_back(path.toStdString());
    }
    const nlohmann::json marquee { { "pictures", tiles }, { "code", kTickerCode }, { "interval", kTickerIntervalMs },
        { "step", kTickerStep }, { "useGap", true }, { "gap", kTickerGap } };
    PlaylistItem tickerItem;
    tickerItem.kind = kPictureMarqueeKind;
    tickerItem.number = 1;
    tickerItem.widget.id = kTickerId;
    tickerItem.widget.duration = playlistdefaults::kItemDurationMs;
    tickerItem.widget.jsonText = marquee.dump();
    ticker.items << tickerItem;
    playlist.regions << ticker;

    PlaylistRegion animation;
    animation.name = QStringLiteral("animation");
    animation.geometry = tileRect(kPictureTiles);
    const QString gifPath = dir.filePath(QStringLiteral("animation.gif"));
    if (!writeAnimatedGif(gifPath, drawAnimation(animation.geometry.size()), kAnimationDelayMs)) {
        if (error)
            *error = QStringLiteral("cannot write the demo animation %1").arg(gifPath);
        return false;
    }
    PlaylistItem animated = pictureItem(kAnimationId, gifPath, playlistdefaults::kItemDurationMs, 0, 0, 1);
    animated.widget.mediaType = kAnimatedMediaType;
    animation.items << animated;
    playlist.regions << animation;

    playlist.regions << noticeRegion() << staticRegion()
                     << verticalScrollRegion(kDemoUpRegion, ns::MOVE_UP, kUpLevel, kTextLeft, kUpId)
                     << verticalScrollRegion(
                            kDemoDownRegion, ns::MOVE_DOWN, kDownLevel, kTextLeft + kScrollWidth + kGap, kDownId)
                     << leftTickerRegion() << rightTickerRegion();
    PlaylistRegion office;
    if (!officeRegion(dir, office, error))
        return false;
    playlist.regions << office;
    return foldedTickerRegions(pictureDir, playlist.regions, error)
        && foldedUpRegions(pictureDir, playlist.regions, error);
}

bool addDemoFeed(const QString& pictureDir, Playlist& playlist, QString* error)
{
    PlaylistRegion panel;
    panel.name = QStringLiteral("feed-panel");
    panel.geometry = feedRowRect();
    const QString panelPath = QDir(pictureDir).filePath(QStringLiteral("feed-panel.png"));
    if (!savePicture(drawFeedPanel(panel.geometry.size()), panelPath, error))
        return false;
    panel.items << pictureItem(kFeedPanelId, panelPath, playlistdefaults::kItemDurationMs, 0, 0, 1);

    // Later regions lie in front: the feed goes over its panel.
    PlaylistRegion feed;
    feed.name = kDemoFeedRegion;
    feed.geometry = feedRowRect().adjusted(kFeedLabelWidth + kFeedPadding, kFeedInset, -kFeedPadding, -kFeedInset);
    PlaylistItem item;
    item.kind = QStringLiteral("rss");
    item.number = 1;
    item.widget.id = kFeedId;
    item.widget.duration = playlistdefaults::kItemDurationMs;
    item.widget.path = kDemoFeedLink.toStdString();
    item.widget.jsonText = feedSettings();
    feed.items << item;
    playlist.regions << panel << feed;
    return true;
}
