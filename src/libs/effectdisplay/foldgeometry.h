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
