#pragma once

#include <QColor>
#include <QImage>
#include <QString>

/// Pictures for pixel checks: four quadrants of distinct, opaque colours, so that where a
/// picture lands and how it is scaled shows in sampled pixels.
namespace testpictures {

inline const QColor kTopLeft { 220, 30, 30 };
inline const QColor kTopRight { 30, 200, 40 };
inline const QColor kBottomLeft { 40, 60, 230 };
inline const QColor kBottomRight { 240, 220, 20 };

QImage quadrants(int width, int height);
/// Writes `image` as PNG into `dir` and returns the file's path.
QString savePng(const QImage& image, const QString& dir, const QString& name);
/// True when the two colours differ by at most `tolerance` in every channel, alpha included.
bool near(QRgb a, QColor b, int tolerance = 8);

} // namespace testpictures
