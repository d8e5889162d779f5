// The picture marquee: a ring of pictures at their own size runs endlessly across the widget.
// Only the first item's extent is ever crossed by the offset; when it has left, it moves to the
// other end of the ring.
#include "effectdisplay.h"

#include <QPainter>

void EffectDisplay::marqueeRightToLeft(QPainter* painter)
{
    marquee(painter, true, false);
}
void EffectDisplay::marqueeLeftToRight(QPainter* painter)
{
    marquee(painter, true, true);
}
void EffectDisplay::marqueeToUp(QPainter* painter)
{
    marquee(painter, false, false);
}
void EffectDisplay::marqueeToBottom(QPainter* painter)
{
    marquee(painter, false, true);
}

void EffectDisplay::marquee(QPainter* painter, bool horizontal, bool forward)
{
    if (!m_marqueeStarted)
        return;

    const auto extentOf = [horizontal](const QPixmap& item) { return horizontal ? item.width() : item.height(); };
    // In marquee mode m_pixmap only carries the display's size.
    const int display = horizontal ? m_pixmap.width() : m_pixmap.height();
    const int imageExtent = horizontal ? m_image.width() : m_image.height();

    if (m_marqueeFirstFrame) {
        m_marqueeFirstFrame = false;
        if (!m_marqueeUseGap)
            m_marqueeGap = display; // one screen of space behind each item
        if (!forward)
            m_marqueeOffset = display;
        else if (horizontal)
            m_marqueeOffset
                = m_pixmapList.size() == 1 ? -m_image.width() : -calPixListWidth(m_pixmapList.size(), m_pixmapList);
        else if (m_pixmapList.size() == 1)
            m_marqueeOffset = -m_image.height();
    }

    // With a fold the belt is composed into a frame first and then cut; without one it lands on
    // the widget directly, and no frame is needed at all.
    QImage frame;
    if (m_fold.enabled) {
        frame = QImage(m_pixmap.size(), QImage::Format_ARGB32);
        frame.fill(Qt::transparent);
        painter->begin(&frame);
    }

    // Nothing to run yet (the picture did not load): an empty frame.
    if (!m_pixmapList.isEmpty()) {
        bool prepared = true;
        if (m_pixmapList.size() == 1) {
            // Enough copies to cover the display and one more coming in.
            const int pitch = imageExtent + m_marqueeGap;
            const int copies = pitch > 0 ? display / pitch + 2 : 2;
            const QPixmap item = QPixmap::fromImage(m_image);
            for (int i = 0; i < copies; ++i)
                m_pixmapList.append(item);
            m_widthList.clear();
            for (const QPixmap& each : qAsConst(m_pixmapList))
                m_widthList.append(extentOf(each) + m_marqueeGap);
            m_marqueeListState = 1;
        } else if (m_pixmapList.size() == 2) {
            // a, b, a, b: the gap follows every second item.
            const QPixmap a = m_pixmapList.at(0);
            const QPixmap b = m_pixmapList.at(1);
            m_pixmapList.append(a);
            m_pixmapList.append(b);
            m_widthList.clear();
            m_widthList << extentOf(a) << extentOf(b) + m_marqueeGap << extentOf(a) << extentOf(b) + m_marqueeGap;
            m_marqueeListState = 2;
        } else if (m_marqueeListState == 0) {
            m_widthList.clear();
            for (int i = 0; i < m_pixmapList.size() - 1; ++i)
                m_widthList.append(extentOf(m_pixmapList.at(i)));
            m_widthList.append(extentOf(m_pixmapList.last()) + m_marqueeGap);
            m_marqueeListState = 3;
        } else {
            prepared = false;
        }
        if (prepared && forward)
            m_marqueeOffset = m_marqueeGap - calListWidth(m_widthList.size(), m_widthList);

        // Items of no extent would satisfy the rotation test forever: one full turn per frame at most.
        int rotations = 0;
        const int maxRotations = m_pixmapList.size();
        for (int i = 0; i < m_pixmapList.size(); ++i) {
            const QPixmap& item = m_pixmapList.at(i);
            const int pos = calListWidth(i, m_widthList) + m_marqueeOffset;
            const bool visible = horizontal && forward ? pos + extentOf(item) >= 0 : pos < display;
            if (visible) {
                if (horizontal)
                    painter->drawPixmap(pos, 0, item.width(), item.height(), item);
                else
                    painter->drawPixmap(0, pos, item.width(), item.height(), item);
            }
            if (m_widthList.isEmpty() || rotations >= maxRotations)
                continue;
            if (!forward) {
                if (m_marqueeOffset <= -m_widthList.first()) {
                    // The head has left: it goes to the back of the ring.
                    m_pixmapList.append(m_pixmapList.takeFirst());
                    m_widthList.append(m_widthList.takeFirst());
                    m_marqueeOffset = 0;
                    ++rotations;
                    i = -1;
                }
            } else {
                const int total = calListWidth(m_widthList.size(), m_widthList);
                const int last = m_widthList.last();
                if (m_marqueeOffset >= display + last - total) {
                    // The tail has left at the far edge: it comes round to the front.
                    m_pixmapList.prepend(m_pixmapList.takeLast());
                    m_widthList.prepend(m_widthList.takeLast());
                    m_marqueeOffset = display - total;
                    ++rotations;
                    i = -1;
                }
            }
        }
        m_marqueeOffset += forward ? m_marqueeStep : -m_marqueeStep;
    }

    if (m_fold.enabled) {
        painter->end();
        drawFoldImage(painter, frame, m_fold.orientation, m_fold.count);
    }
}
