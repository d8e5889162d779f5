// Extend, move and indent: each frame is one drawPixmap of the whole picture into a
// rectangle that follows p. Arithmetic is single precision, truncated toward zero at the
// painter, with integer divisions and products done before the conversion to float.
#include "effectdisplay.h"

#include <QPainter>

namespace {

constexpr int kIndentFactor = 20;

inline int T(float x)
{
    return static_cast<int>(x);
}
inline float F(int n)
{
    return static_cast<float>(n);
}

} // namespace

void EffectDisplay::drawPixmapInto(QPainter* painter, int x, int y, int w, int h)
{
    drawThroughFold(painter, [&](QPainter* p) { p->drawPixmap(x, y, w, h, m_pixmap); });
}

void EffectDisplay::extendLeft(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    drawPixmapInto(painter, 0, 0, T(F(pw) * m_progress), ph);
}

void EffectDisplay::entendTop(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    drawPixmapInto(painter, 0, 0, pw, T(F(ph) * m_progress));
}

void EffectDisplay::entendRight(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    drawPixmapInto(painter, T(F(pw) - F(pw) * p), 0, T(F(pw) * p), ph);
}

void EffectDisplay::extendBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    drawPixmapInto(painter, 0, T(F(ph) - F(ph) * p), pw, T(F(ph) * p));
}

void EffectDisplay::extendCenter(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    drawPixmapInto(painter, T(F(pw / 2) - F(pw / 2) * p), T(F(ph / 2) - F(ph / 2) * p), T(F(pw) * p), T(F(ph) * p));
}

void EffectDisplay::extendLevel(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    drawPixmapInto(painter, T(F(pw / 2) - F(pw / 2) * p), 0, T(F(pw) * p), ph);
}

void EffectDisplay::extendVertical(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float p = m_progress;
    drawPixmapInto(painter, 0, T(F(ph / 2) - F(ph / 2) * p), pw, T(F(ph) * p));
}

void EffectDisplay::moveLeft(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, T(q * F(-pw)), 0, pw, ph);
}

void EffectDisplay::moveTop(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, T(q * F(-ph)), pw, ph);
}

void EffectDisplay::moveRight(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, T(q * F(pw)), 0, pw, ph);
}

void EffectDisplay::moveBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, T(q * F(ph)), pw, ph);
}

void EffectDisplay::indentLeft(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, T(q * F(-(pw * kIndentFactor))), 0, T(F(pw) + q * F(pw * kIndentFactor)), ph);
}

void EffectDisplay::indentTop(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, T(q * F(-(ph * kIndentFactor))), pw, T(F(ph) + q * F(ph * kIndentFactor)));
}

void EffectDisplay::indentRight(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, 0, T(F(pw) + q * F(pw * kIndentFactor)), ph);
}

void EffectDisplay::indentBottom(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, 0, pw, T(F(ph) + q * F(ph * kIndentFactor)));
}

void EffectDisplay::indentToCenter(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, 0, T(q * F(-(ph * (kIndentFactor / 2)))), pw, T(F(ph) + q * F(ph * kIndentFactor)));
}

void EffectDisplay::indentBothSides(QPainter* painter)
{
    const int pw = m_pixmap.width(), ph = m_pixmap.height();
    const float q = 1.0f - m_progress;
    drawPixmapInto(painter, T(q * F(-(pw * (kIndentFactor / 2)))), 0, T(F(pw) + q * F(pw * kIndentFactor)), ph);
}
