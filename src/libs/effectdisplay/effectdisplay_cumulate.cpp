// Cumulate and laser: the revealed part stands at its place while the rest is smeared out,
// stretched `factor` times along the direction of travel (3 for cumulate, 30 for laser).
#include "effectdisplay.h"
#include "effectdisplay_p.h"

#include <QPainter>
#include <QPolygonF>

using namespace effectmath;

void EffectDisplay::cumulate(QPainter* painter, Edge edge, int factor, bool polygonFirst)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    const float q = 1.0f - p;
    const QPixmap picture = m_pixmap.scaled(pw, ph, Qt::IgnoreAspectRatio, Qt::FastTransformation);

    QRect piece;
    QRect smear;
    QPolygonF revealed;
    switch (edge) {
    case Edge::Left:
        piece = QRect(0, 0, T(q * F(pw)), ph);
        smear = QRect(T(-((F(pw) - F(pw) * p) * F(factor - 1))), 0, T(q * F(pw * factor)), ph);
        // Starts a pixel before the smear's edge, so the two overlap by a line.
        revealed << QPointF(pw, 0) << QPointF(pw, ph) << QPointF(double(q * F(pw)) - 1.0, ph)
                 << QPointF(double(q * F(pw)) - 1.0, 0);
        break;
    case Edge::Top:
        piece = QRect(0, 0, pw, T(q * F(ph)));
        smear = QRect(0, T(-((F(ph) - F(ph) * p) * F(factor - 1))), pw, T(q * F(ph * factor)));
        revealed << QPointF(0, ph) << QPointF(pw, ph) << QPointF(pw, double(q * F(ph)) - 1.0)
                 << QPointF(0, double(q * F(ph)) - 1.0);
        break;
    case Edge::Right:
        piece = QRect(T(F(pw) * p), 0, T(q * F(pw)), ph);
        smear = QRect(T(F(pw) * p), 0, T(q * F(pw * factor)), ph);
        revealed << QPointF(0, 0) << QPointF(0, ph) << QPointF(double(F(pw) * p), ph) << QPointF(double(F(pw) * p), 0);
        break;
    case Edge::Bottom:
        piece = QRect(0, T(F(ph) * p), pw, T(q * F(ph)));
        smear = QRect(0, T(F(ph) * p), pw, T(q * F(ph * factor)));
        revealed << QPointF(0, 0) << QPointF(pw, 0) << QPointF(pw, double(F(ph) * p)) << QPointF(0, double(F(ph) * p));
        break;
    }

    drawThroughFold(painter, [&](QPainter* painterOn) {
        const auto drawSmear = [&] {
            // Drawing from a source rectangle gives the pixels of a cut-out piece without the copy.
            // Cutting an empty piece yields the whole picture, which near the end is squeezed into
            // a smear that is still a few pixels wide; an empty target paints nothing.
            if (smear.isEmpty())
                return;
            painterOn->drawPixmap(smear, picture, piece.isEmpty() ? picture.rect() : piece);
        };
        const auto drawRevealed = [&] {
            setPictureBrush(painterOn);
            fillPolygon(painterOn, revealed);
        };
        if (polygonFirst) {
            drawRevealed();
            drawSmear();
        } else {
            drawSmear();
            drawRevealed();
        }
    });
}

void EffectDisplay::cumulateLeft(QPainter* painter)
{
    cumulate(painter, Edge::Left, kCumulateFactor, false);
}
void EffectDisplay::cumulateTop(QPainter* painter)
{
    cumulate(painter, Edge::Top, kCumulateFactor, false);
}
void EffectDisplay::cumulateRight(QPainter* painter)
{
    cumulate(painter, Edge::Right, kCumulateFactor, false);
}
void EffectDisplay::cumulateBottom(QPainter* painter)
{
    cumulate(painter, Edge::Bottom, kCumulateFactor, false);
}
// laserLeft alone draws its revealed part before the smear.
void EffectDisplay::laserLeft(QPainter* painter)
{
    cumulate(painter, Edge::Left, kLaserFactor, true);
}
void EffectDisplay::laserTop(QPainter* painter)
{
    cumulate(painter, Edge::Top, kLaserFactor, false);
}
void EffectDisplay::laserRight(QPainter* painter)
{
    cumulate(painter, Edge::Right, kLaserFactor, false);
}
void EffectDisplay::laserBottom(QPainter* painter)
{
    cumulate(painter, Edge::Bottom, kLaserFactor, false);
}
