// Reel, window and open: the picture is revealed through polygons filled with it as a brush.
#include "effectdisplay.h"
#include "effectdisplay_p.h"

#include <QPainter>
#include <QPolygonF>

using namespace effectmath;

namespace {

QPolygonF band(double left, double top, double right, double bottom)
{
    return QPolygonF({ QPointF(left, top), QPointF(right, top), QPointF(right, bottom), QPointF(left, bottom) });
}

} // namespace

void EffectDisplay::reelTop(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float a = F(ph) * m_progress;
    // The curl keeps the depth the widget had when it was built.
    const int r = m_reelThickness;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        painterOn->setRenderHint(QPainter::Antialiasing, true);
        setPictureBrush(painterOn);
        const int y = T(a);
        fillPolygon(painterOn, QPolygonF({ QPointF(0, y), QPointF(pw, y), QPointF(pw, 0), QPointF(0, 0) }));

        // The curl: a mirror image of what comes next, about the horizontal middle.
        painterOn->setTransform(
            QTransform().translate(pw / 2, ph / 2).rotate(180.0, Qt::XAxis).translate(-(pw / 2), 1 - ph / 2));
        const int limit = F(r) > F(ph) - a ? ph : T(a + F(r));
        painterOn->translate(0.0, double(F(ph) - (a + a)));
        fillPolygon(painterOn, band(0, double(a), pw, limit));
    });
}

void EffectDisplay::reelBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float b = F(ph) - F(ph) * m_progress;
    const int r = m_reelThickness;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, band(0, double(b), pw, ph));

        painterOn->setTransform(
            QTransform().translate(pw / 2, ph / 2).rotate(180.0, Qt::XAxis).translate(-(pw / 2), -(ph / 2)));
        const int limit = F(r) > b ? 0 : T(b - F(r));
        painterOn->translate(0.0, double(F(ph) - (b + b)));
        fillPolygon(painterOn, band(0, double(b), pw, limit));
    });
}

void EffectDisplay::windowBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    // 21 blinds, not 20: the last one takes what the division leaves over, up to one blind.
    const int s = ph / kWindowCount;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        for (int i = 0; i <= kWindowCount; ++i) {
            const double e = double(F(s) * p + F(s * i));
            fillPolygon(painterOn, band(0, s * i, pw, e));
        }
    });
}

void EffectDisplay::windowRight(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    const int s = pw / kWindowCount;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        for (int i = 0; i <= kWindowCount; ++i) {
            const double e = double(F(s) * p + F(s * i));
            fillPolygon(painterOn, band(s * i, 0, e, ph));
        }
    });
}

void EffectDisplay::openToBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const double edge = double(F(ph) * m_progress);
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, band(0, 0, pw, edge));
    });
}

void EffectDisplay::openToTop(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const double b = double(F(ph) - F(ph) * m_progress);
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, band(0, b, pw, ph));
    });
}

void EffectDisplay::openToBothSide(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float m = F(ph / 2);
    const float d = F(ph / 2) * m_progress;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, band(0, double(m - d), pw, double(m + d)));
    });
}

void EffectDisplay::openToCenter(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    // Built on ph + 1 so that the two bands meet without a gap.
    const float c = F(ph + 1) * m_progress * 0.5f;
    drawThroughFold(painter, [&](QPainter* painterOn) {
        setPictureBrush(painterOn);
        fillPolygon(painterOn, band(0, 0, pw, double(c)));
        fillPolygon(painterOn, band(0, double(F(ph) - c), pw, ph));
    });
}
