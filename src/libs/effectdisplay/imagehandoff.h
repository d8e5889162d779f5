#pragma once

#include "effectdisplay_export.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

/// The first image of each render, kept in memory for a moment after its file is written, so the
/// display that is waiting for it need not decode the file it was just made from. A few entries
/// at most; the oldest goes first. Any thread.
namespace imagehandoff {

/// Keeps `image`, whose file at `path` is complete and holds exactly its pixels, and optionally
/// `shown`: the same image as the page display shows it (smooth-scaled to its size).
EFFECTDISPLAY_EXPORT void keep(const QString& path, const QImage& image, const QImage& shown = QImage());

/// Gives up what is kept for `path`: the image into `image`, and the shown copy into `shown` when
/// one was kept (else `shown` is made null). False when nothing is kept or the file is gone.
EFFECTDISPLAY_EXPORT bool take(const QString& path, QImage* image, QImage* shown = nullptr);

/// Reads the image in `data`: the players' own PNG files on a fast path, anything else with Qt
/// (content decides the format, not a file name). False when it is no image Qt reads.
EFFECTDISPLAY_EXPORT bool read(const QByteArray& data, QImage* image);

/// The size of the image in the file at `path`, read from its header without decoding it; 0x0
/// when the file cannot be read, as a null QPixmap of it would say.
EFFECTDISPLAY_EXPORT QSize sizeOf(const QString& path);

} // namespace imagehandoff
