#include "testpictures.h"

#include <QDir>
#include <QPainter>

#include <cstdlib>

namespace testpictures {

QImage quadrants(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    QPainter painter(&image);
    const int hw = width / 2;
    const int hh = height / 2;
    painter.fillRect(0, 0, hw, hh, kTopLeft);
    painter.fillRect(hw, 0, width - hw, hh, kTopRight);
    painter.fillRect(0, hh, hw, height - hh, kBottomLeft);
    painter.fillRect(hw, hh, width - hw, height - hh, kBottomRight);
    return image;
}

QString savePng(const QImage& image, const QString& dir, const QString& name)
{
    const QString path = QDir(dir).filePath(name);
    return image.save(path, "PNG") ? path : QString();
}

bool near(QRgb a, QColor b, int tolerance)
{
    return std::abs(qRed(a) - b.red()) <= tolerance && std::abs(qGreen(a) - b.green()) <= tolerance
        && std::abs(qBlue(a) - b.blue()) <= tolerance && std::abs(qAlpha(a) - b.alpha()) <= tolerance;
}

} // namespace testpictures
