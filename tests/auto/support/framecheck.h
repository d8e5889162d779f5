#pragma once

#include <mediarecords.h>

#include <QImage>
#include <QList>
#include <QPoint>
#include <QRect>
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

/// An enabled fold of `rects`, side by side or stacked, cut into `count` pieces (-1: one per rectangle).
ns::Fold makeFold(const QList<QRect>& rects, bool stacked, int count = -1);
/// What a fold shows of the composed picture `strip`: rectangle i (of the first `pieces`) shows the
/// part of the strip that begins where the rectangles before it end, along x side by side and
/// along y stacked; what lies beyond the strip and outside the rectangles stays transparent.
QImage foldCut(const QImage& strip, const QList<QRect>& rects, bool stacked, int pieces, QSize frame);

} // namespace framecheck
