#pragma once

#include <QImage>
#include <QPoint>
#include <QRegion>
#include <QString>

/// Geometry of painted frames: which pixels an effect covered, and which picture pixel it put
/// there. Works with the coordinate picture, whose every pixel names its own position.
namespace framecheck {

/// Blue channel of every pixel of the coordinate picture; tells picture pixels from anything else.
constexpr int kCoordinateBlue = 90;

/// An opaque picture of `width` x `height` (each at most 256) whose pixel (x, y) has red x and
/// green y, so a sampled frame pixel tells where in the picture it came from.
QImage coordinatePicture(int width, int height);
/// The picture pixel that `pixel` shows, or (-1, -1) when it is no pixel of the coordinate picture
/// (blue more than `tolerance` away).
QPoint sourceOf(QRgb pixel, int tolerance = 0);

/// The pixels with alpha above zero.
QRegion paintedRegion(const QImage& frame);
/// The rectangles of `region`, for failure messages.
QString describe(const QRegion& region);
/// Empty when the regions are equal, otherwise what is painted too much and what is missing.
QString regionDifference(const QRegion& actual, const QRegion& expected);
/// Empty when the images are equal pixel for pixel, otherwise the count and the first difference.
QString imageDifference(const QImage& actual, const QImage& expected);

} // namespace framecheck
