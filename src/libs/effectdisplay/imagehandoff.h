#pragma once

#include "effectdisplay_export.h"

#include <QImage>
#include <QString>

/// The first image of each render, kept in memory for a moment after its file is written, so the
/// display that is waiting for it need not decode the file it was just made from. A few entries
/// at most; the oldest goes first. Any thread.
namespace imagehandoff {

/// Keeps `image`, whose file at `path` is complete and holds exactly its pixels.
EFFECTDISPLAY_EXPORT void keep(const QString& path, const QImage& image);

/// Gives up the image kept for `path` into `image`; false when none is kept or its file is gone.
EFFECTDISPLAY_EXPORT bool take(const QString& path, QImage* image);

} // namespace imagehandoff
