#include "foldpattern.h"

#include "playlist.h"

#include <drawfoldimage.h>
#include <foldtextplay.h>
#include <spdlogger.h>

#include <QFont>
#include <QPainter>
#include <QPolygon>
#include <QTimer>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

constexpr int kIntervalMs = 16;
constexpr int kStep = 2; // 125 px/s: slow enough to read the numbers as they cross a join
constexpr int kMinArrowSpacing = 160;
constexpr int kMinorTick = 10;
constexpr int kMiddleTick = 50;
constexpr int kMajorTick = 100;
constexpr int kMaxTick = 24;
constexpr int kMinArrow = 8;
constexpr int kMaxArrow = 64;

// The direction a scrolling text item moves; left for anything else.
ns::MoveType travelOf(const std::string& jsonText)
{
    const nlohmann::json record = nlohmann::json::parse(jsonText, nullptr, false);
    const nlohmann::json* style = nullptr;
    if (record.is_object() && record.contains("content") && record["content"].is_object())
        style = record["content"].contains("displayStyle") ? &record["content"]["displayStyle"] : nullptr;
    if (!style || !style->is_object() || style->value("type", -1) != ns::SCROLL)
        return ns::MOVE_LEFT;
    const nlohmann::json effecs
        = style->value("scrollAttributes", nlohmann::json::object()).value("effecs", nlohmann::json::object());
    const int moveType = effecs.is_object() ? effecs.value("moveType", int(ns::MOVE_LEFT)) : int(ns::MOVE_LEFT);
    return moveType >= ns::MOVE_LEFT && moveType <= ns::MOVE_UP ? ns::MoveType(moveType) : ns::MOVE_LEFT;
}

} // namespace

QImage drawFoldPattern(int length, int breadth, int moveType)
{
    const bool alongX = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_RIGHT;
    length = std::max(length, 1);
    breadth = std::max(breadth, 1);
    QImage image(alongX ? QSize(length, breadth) : QSize(breadth, length), QImage::Format_ARGB32);
    image.fill(QColor(0x20, 0x20, 0x20));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // (along, across) in the strip to a point of the image.
    const auto at = [alongX](int along, int across) { return alongX ? QPoint(along, across) : QPoint(across, along); };

    // The ruler on the far edge: its labels tell how far into the strip a pixel is.
    painter.setPen(QPen(Qt::white, 1));
    QFont small;
    small.setPixelSize(std::clamp(breadth / 6, 8, 14));
    painter.setFont(small);
    for (int along = 0; along < length; along += kMinorTick) {
        const int major = std::min(breadth / 4, kMaxTick);
        const int tick = along % kMajorTick == 0 ? major : along % kMiddleTick == 0 ? major * 2 / 3 : major * 2 / 5;
        painter.drawLine(at(along, breadth - 1), at(along, breadth - 1 - tick));
        if (along % kMajorTick == 0 && along > 0)
            painter.drawText(QRect(at(along + 2, breadth - 1 - std::min(breadth / 4, kMaxTick) - small.pixelSize() - 2),
                                 QSize(60, small.pixelSize() + 4)),
                Qt::AlignLeft | Qt::AlignVCenter, QString::number(along));
    }

    // Numbered arrows, each a colour of its own, pointing the way the strip moves.
    const bool backward = moveType == ns::MOVE_RIGHT || moveType == ns::MOVE_DOWN;
    const int size = std::clamp(breadth / 2, kMinArrow, kMaxArrow);
    const int spacing = std::max(kMinArrowSpacing, 3 * size);
    QFont big;
    big.setBold(true);
    big.setPixelSize(std::max(size / 2, 8));
    painter.setFont(big);
    int number = 1;
    for (int along = spacing / 4; along + size <= length; along += spacing, ++number) {
        const int tip = backward ? along + size : along;
        const int tail = backward ? along : along + size;
        const int across = breadth / 8;
        QPolygon arrow;
        arrow << at(tip, across + size / 2) << at(tail, across) << at(tail, across + size);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor::fromHsv((number * 47) % 360, 200, 255));
        painter.drawPolygon(arrow);
        painter.setPen(Qt::white);
        const QPoint label = at(along + size + 4, across);
        painter.drawText(QRect(backward ? at(along - 4 - size, across) : label, QSize(size, size)), Qt::AlignCenter,
            QString::number(number));
    }
    return image;
}

int useFoldPattern(Playlist& playlist)
{
    int replaced = 0;
    for (PlaylistRegion& region : playlist.regions) {
        for (PlaylistItem& item : region.items) {
            if (!item.widget.fold.enabled)
                continue;
            // The direction stays with the item; what it showed does not.
            item.widget.jsonText = nlohmann::json { { "moveType", int(travelOf(item.widget.jsonText)) } }.dump();
            item.kind = kFoldPatternKind;
            ++replaced;
        }
    }
    return replaced;
}

FoldPattern::FoldPattern(QWidget* parent)
    : QWidget(parent)
{
    resize(parent->size());
}

FoldPattern::~FoldPattern()
{
    iDestory();
}

int FoldPattern::iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback)
{
    m_callback = std::move(callback);
    const nlohmann::json settings = nlohmann::json::parse(widget.jsonText, nullptr, false);
    int moveType = settings.is_object() ? settings.value("moveType", int(ns::MOVE_LEFT)) : int(ns::MOVE_LEFT);
    if (moveType < ns::MOVE_LEFT || moveType > ns::MOVE_UP)
        moveType = ns::MOVE_LEFT;
    if (!widget.fold.enabled || widget.fold.rects.empty())
        PLAYER_LOG(warn, "fold pattern: item {} has no folded rectangles; the strip fills the region", widget.id);

    m_play = new FoldTextPlay(this);
    // No background: the screen shows between the rectangles, so each piece stands out.
    m_play->setFoldParaMeters(widget.fold);
    const QSize composed = m_play->drawFoldImage()->foldSize();
    const bool alongX = moveType == ns::MOVE_LEFT || moveType == ns::MOVE_RIGHT;
    m_play->setMarqueeParaMeters(ns::MoveType(moveType), true, 0);
    m_play->setMarqueeSpeed(kIntervalMs, kStep);
    m_play->appendPixmap(QPixmap::fromImage(drawFoldPattern(
        alongX ? composed.width() : composed.height(), alongX ? composed.height() : composed.width(), moveType)));
    QTimer::singleShot(0, this, [this] {
        if (m_callback)
            m_callback(MediaReady);
    });
    return 0;
}

int FoldPattern::iPlay()
{
    if (m_play && !m_started) {
        m_started = true;
        m_play->startPlay(QString());
        m_play->show();
    }
    return 0;
}

void FoldPattern::iPause()
{
}

void FoldPattern::iStop()
{
}

int FoldPattern::iResume()
{
    return 0;
}

void FoldPattern::iDestory()
{
    if (!m_play)
        return;
    m_play->stopPlay();
    delete m_play;
    m_play = nullptr;
}
