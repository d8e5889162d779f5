// Fade, zoom, wheel and dentine: the transitions that are no single rectangle.
#include "effectdisplay.h"
#include "effectdisplay_p.h"

#include <QPainter>
#include <QPolygonF>

using namespace effectmath;

void EffectDisplay::setPictureBrush(QPainter* painter)
{
    // Scaling to the pixmap's own size returns it unchanged, so this costs nothing per frame.
    painter->setBrush(
        QBrush(m_pixmap.scaled(m_pixmap.width(), m_pixmap.height(), Qt::IgnoreAspectRatio, Qt::FastTransformation)));
    painter->setPen(Qt::transparent);
}

void EffectDisplay::fillPolygon(QPainter* painter, const QPolygonF& polygon)
{
    painter->drawPolygon(polygon, Qt::OddEvenFill);
}

void EffectDisplay::fadeIn(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    drawThroughFold(painter, [&](QPainter* p) {
        p->setOpacity(double(m_progress));
        p->fillRect(0, 0, pw, ph, QBrush(m_pixmap.scaled(pw, ph, Qt::IgnoreAspectRatio, Qt::FastTransformation)));
    });
}

void EffectDisplay::fadeOut(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    drawThroughFold(painter, [&](QPainter* p) {
        p->setOpacity(double(1.0f - m_progress));
        // The end frame shows the picture again rather than an empty widget.
        if (m_progress >= 1.0f)
            p->setOpacity(1.0);
        p->fillRect(0, 0, pw, ph, QBrush(m_pixmap.scaled(pw, ph, Qt::IgnoreAspectRatio, Qt::FastTransformation)));
    });
}

void EffectDisplay::zoomFullScreen(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    const QPixmap picture = m_pixmap.scaled(pw, ph, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    const float hw = F(pw / 2);
    const int w = T(hw * p);
    const int h = T(F(ph) * p);
    const int y = T((1.0f - p) * F(ph));
    // Each piece is drawn at its own size from a source rectangle: the same pixels as cutting it
    // out first, without the copy. An empty source rectangle would mean the whole pixmap to Qt.
    drawThroughFold(painter, [&](QPainter* painterOn) {
        if (w <= 0 || h <= 0)
            return;
        painterOn->drawPixmap(QRect(pw / 2 - 1, y, w, h), picture, QRect(T(F(pw) - hw * p), 0, w, h));
        painterOn->drawPixmap(QRect(T((1.0f - p) * hw + 1.0f), y, w, h), picture, QRect(0, 0, w, h));
    });
}

void EffectDisplay::wheelRotate(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    const double pd = double(p);
    const double cx = double(pw / 2);
    const double cy = double(ph / 2);
    const double w = double(pw);
    const double h = double(ph);

    // The sweep's edge runs along the border at a constant speed per side, clockwise from twelve.
    QPolygonF polygon;
    polygon << QPointF(cx, cy) << QPointF(cx, 0.0);
    if (p <= 0.125) {
        const float e = F(pw / 2) + F(pw / 2) * p * 8.0f;
        polygon << QPointF(double(e), 0.0);
    } else if (p <= 0.375) {
        polygon << QPointF(w, 0.0) << QPointF(w, (pd - 0.125) * h * 4.0);
    } else if (p <= 0.625) {
        polygon << QPointF(w, 0.0) << QPointF(w, h) << QPointF(w - (pd - 0.375) * w * 4.0, h);
    } else if (p <= 0.875) {
        polygon << QPointF(w, 0.0) << QPointF(w, h) << QPointF(0.0, h) << QPointF(0.0, h - (pd - 0.625) * h * 4.0);
    } else {
        polygon << QPointF(w, 0.0) << QPointF(w, h) << QPointF(0.0, h) << QPointF(0.0, 0.0)
                << QPointF((pd - 0.875) * double(pw / 2) * 8.0, 0.0);
    }
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, polygon);
    });
}

void EffectDisplay::dentine(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    // Nine strips, not eight: the last takes what the division leaves over.
    const int s = pw / kDentineCount;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        // The brush follows the transform, so each strip carries its own slice of the picture.
        painterOn->setTransform(QTransform().translate(0.0, double((1.0f - p) * F(ph))));
        for (int i = 0; i <= kDentineCount; i += 2) {
            const double bottom = double(F(ph) * p);
            fillPolygon(painterOn,
                QPolygonF({ QPointF(s * i, 0.0), QPointF(s * (i + 1), 0.0), QPointF(s * (i + 1), bottom),
                    QPointF(s * i, bottom) }));
        }
        painterOn->setTransform(QTransform().translate(0.0, double((1.0f - p) * F(-ph))));
        for (int i = 1; i <= kDentineCount; i += 2) {
            const double top = double(F(ph) - F(ph) * p);
            fillPolygon(painterOn,
                QPolygonF(
                    { QPointF(s * i, ph), QPointF(s * (i + 1), ph), QPointF(s * (i + 1), top), QPointF(s * i, top) }));
        }
    });
}
