// The fold cut of EffectDisplay and the marquee's setters: a composed frame is cut into
// pieces that land in the fold rectangles, which may lie anywhere on the widget.
#include "effectdisplay.h"

#include "foldgeometry.h"

#include <spdlogger.h>

#include <QPainter>

void EffectDisplay::setFoldParaMeters(ns::Fold fold)
{
    m_fold = std::move(fold);
}

void EffectDisplay::appendPixmap(QPixmap pixmap)
{
    m_pixmapList.append(pixmap);
}

void EffectDisplay::setPlayMarquee(bool on)
{
    m_playMarquee = on;
}

void EffectDisplay::setMarqueeSpeed(int interval, int step)
{
    m_marqueeInterval = interval;
    m_marqueeStep = step;
}

void EffectDisplay::setMarqueeParaMeters(bool useGap, int gap)
{
    m_marqueeUseGap = useGap;
    m_marqueeGap = gap;
}

void EffectDisplay::playMarquee()
{
    m_marqueeStarted = true;
    m_marqueeFirstFrame = true;
}

void EffectDisplay::drawThroughFold(QPainter* painter, const std::function<void(QPainter*)>& draw)
{
    if (!m_fold.enabled) {
        draw(painter);
        return;
    }
    QImage image(m_pixmap.size(), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    if (!image.isNull()) {
        painter->begin(&image);
        painter->setPen(Qt::transparent);
        draw(painter);
        painter->end();
    }
    drawFoldImage(painter, image, m_fold.orientation, m_fold.count);
}

int EffectDisplay::calFoldLocal(int index)
{
    return foldPieceStart(m_fold, index);
}

int EffectDisplay::calListWidth(int count, QList<int>& list)
{
    int sum = 0;
    for (int i = 0; i < count && i < list.size(); ++i)
        sum += list.at(i);
    return sum;
}

int EffectDisplay::calPixListWidth(int count, QList<QPixmap> list)
{
    if (count < 0 || count > list.size())
        return 0;
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += list.at(i).width();
    return sum;
}

int EffectDisplay::calPixListHeight(int count, QList<QPixmap> list)
{
    if (count < 1 || count > list.size())
        return 0;
    int sum = 0;
    for (int i = 0; i < count; ++i)
        sum += list.at(i).height();
    return sum;
}

void EffectDisplay::drawFoldImage(QPainter* painter, QImage& image, ns::EnumOrientation orientation, int count)
{
    painter->begin(m_foldTarget);
    if (m_fold.enabled && !m_ListRect.isEmpty()) {
        // A count beyond the rectangles is the host's error; draw what exists.
        const int pieces = std::min(count, m_ListRect.size());
        for (int i = 0; i < pieces; ++i) {
            const QRect& target = m_ListRect.at(i);
            const int local = calFoldLocal(i);
            const QRect source = orientation == ns::ORIENTATION_HORIZONTAL
                ? QRect(local, 0, target.width(), target.height())
                : QRect(0, local, target.width(), target.height());
            painter->drawImage(target, image, source);
        }
    } else if (m_fold.enabled) {
        PLAYER_LOG(error, "fold media m_ListRect is empty");
        return; // the caller's painter ends it
    } else {
        const QRect r = rect();
        painter->drawImage(r, image.scaled(r.width(), r.height(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    painter->end();
}

void EffectDisplay::drawFoldPixmap(QPainter* painter, QPixmap& pixmap, ns::EnumOrientation orientation, int count)
{
    painter->begin(m_foldTarget);
    if (m_fold.enabled && !m_ListRect.isEmpty()) {
        const int pieces = std::min(count, m_ListRect.size());
        const QRect& first = m_ListRect.first();
        for (int i = 0; i < pieces; ++i) {
            const QRect& target = m_ListRect.at(i);
            const int local = calFoldLocal(i);
            if (orientation == ns::ORIENTATION_HORIZONTAL) {
                const QPixmap piece = pixmap.copy(local, first.y(), target.width(), target.height());
                painter->drawPixmap(
                    target.topLeft(), piece.scaled(target.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation));
            } else {
                const QPixmap piece = pixmap.copy(first.x(), local, target.width(), target.height());
                painter->drawPixmap(
                    target.topLeft(), piece.scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
            }
        }
    } else if (!m_fold.enabled) {
        painter->drawPixmap(rect(), pixmap.scaled(rect().size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    painter->end();
}
