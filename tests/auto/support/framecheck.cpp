#include "framecheck.h"

#include <QPainter>
#include <QStringList>
#include <QVector>

#include <cstdlib>

namespace framecheck {

QImage coordinatePicture(int width, int height)
{
    Q_ASSERT(width <= 256 && height <= 256);
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            line[x] = qRgba(x, y, kCoordinateBlue, 255);
    }
    return image;
}

QPoint sourceOf(QRgb pixel, int tolerance)
{
    if (qAlpha(pixel) == 0 || std::abs(qBlue(pixel) - kCoordinateBlue) > tolerance)
        return { -1, -1 };
    return { qRed(pixel), qGreen(pixel) };
}

QRegion paintedRegion(const QImage& frame)
{
    const QImage image = frame.convertToFormat(QImage::Format_ARGB32);
    // Runs of painted pixels per row; rows with the same runs merge into one band, so that
    // the rectangles stay few and readable in messages.
    QVector<QRect> rects;
    QVector<QPair<int, int>> band;
    int bandStart = 0;
    const auto closeBand = [&](int end) {
        for (const auto& run : band)
            rects.append(QRect(run.first, bandStart, run.second - run.first, end - bandStart));
    };
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        QVector<QPair<int, int>> runs;
        for (int x = 0; x < image.width();) {
            if (qAlpha(line[x]) == 0) {
                ++x;
                continue;
            }
            const int start = x;
            while (x < image.width() && qAlpha(line[x]) != 0)
                ++x;
            runs.append({ start, x });
        }
        if (runs != band || y == 0) {
            closeBand(y);
            band = runs;
            bandStart = y;
        }
    }
    closeBand(image.height());
    QRegion region;
    region.setRects(rects.constData(), rects.size());
    return region;
}

QString describe(const QRegion& region)
{
    if (region.isEmpty())
        return QStringLiteral("nothing");
    QStringList parts;
    for (const QRect& r : region)
        parts << QStringLiteral("(%1,%2 %3x%4)").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
    return parts.join(QLatin1Char(' '));
}

QString regionDifference(const QRegion& actual, const QRegion& expected)
{
    const QRegion extra = actual - expected;
    const QRegion missing = expected - actual;
    if (extra.isEmpty() && missing.isEmpty())
        return {};
    return QStringLiteral("extra %1; missing %2; painted %3; expected %4")
        .arg(describe(extra), describe(missing), describe(actual), describe(expected));
}

QString imageDifference(const QImage& actual, const QImage& expected)
{
    if (actual.size() != expected.size())
        return QStringLiteral("size %1x%2, expected %3x%4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    const QImage a = actual.convertToFormat(QImage::Format_ARGB32);
    const QImage b = expected.convertToFormat(QImage::Format_ARGB32);
    if (a == b)
        return {};
    int count = 0;
    QPoint first;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y) && count++ == 0)
                first = { x, y };
        }
    }
    if (count == 0)
        return {};
    return QStringLiteral("%1 pixels differ, first at (%2,%3): #%4, expected #%5")
        .arg(count)
        .arg(first.x())
        .arg(first.y())
        .arg(a.pixel(first), 8, 16, QLatin1Char('0'))
        .arg(b.pixel(first), 8, 16, QLatin1Char('0'));
}

ns::Fold makeFold(const QList<QRect>& rects, bool stacked, int count)
{
    ns::Fold f;
    f.enabled = true;
    f.count = count < 0 ? int(rects.size()) : count;
    f.orientation = stacked ? ns::ORIENTATION_VERTICAL : ns::ORIENTATION_HORIZONTAL;
    for (const QRect& r : rects)
        f.rects.push_back({ r.x(), r.y(), r.width(), r.height() });
    return f;
}

QImage foldCut(const QImage& strip, const QList<QRect>& rects, bool stacked, int pieces, QSize frame)
{
    QImage cut(frame, QImage::Format_ARGB32_Premultiplied);
    cut.fill(Qt::transparent);
    QPainter painter(&cut);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    int start = 0;
    for (int i = 0; i < rects.size(); ++i) {
        const QRect& r = rects[i];
        // QImage::copy gives transparent pixels where the rectangle reaches past the strip.
        if (i < pieces)
            painter.drawImage(r.topLeft(),
                strip.copy(stacked ? QRect(0, start, r.width(), r.height()) : QRect(start, 0, r.width(), r.height())));
        start += stacked ? r.height() : r.width();
    }
    return cut;
}

} // namespace framecheck
