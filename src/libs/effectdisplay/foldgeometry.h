#pragma once

#include <mediarecords.h>

#include <QSize>

/// The size of the picture a fold cuts into its rectangles: side by side the widths add up and the
/// last rectangle gives the height; stacked the heights add up and the last gives the width.
/// Without a fold, the window itself; with a fold and no rectangles, nothing.
inline QSize composedFoldSize(const ns::Fold& fold, const QSize& window)
{
    if (!fold.enabled)
        return window;
    if (fold.rects.empty())
        return QSize(0, 0);
    int sum = 0;
    if (fold.orientation == ns::ORIENTATION_HORIZONTAL) {
        for (const ns::FoldRect& rect : fold.rects)
            sum += rect.width;
        return QSize(sum, fold.rects.back().height);
    }
    for (const ns::FoldRect& rect : fold.rects)
        sum += rect.height;
    return QSize(fold.rects.back().width, sum);
}

/// Where piece `index` begins in the composed picture: the widths (side by side) or heights
/// (stacked) of the rectangles before it. -1 when `index` is negative or above the rectangles.
inline int foldPieceStart(const ns::Fold& fold, int index)
{
    if (index < 0 || index > int(fold.rects.size()))
        return -1;
    int start = 0;
    for (int i = 0; i < index; ++i)
        start += fold.orientation == ns::ORIENTATION_HORIZONTAL ? fold.rects[size_t(i)].width
                                                                : fold.rects[size_t(i)].height;
    return start;
}
