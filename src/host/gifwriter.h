#pragma once

#include <QImage>
#include <QList>
#include <QString>

/// Writes an animated GIF (looping forever) from frames of equal size. Qt reads GIFs but
/// cannot write them; the demo and the tests make their animated pictures with this.
/// Colours are reduced to a fixed 252-colour palette; fully transparent pixels stay transparent.
/// Returns false if the file cannot be written or the frames are empty or differ in size.
bool writeAnimatedGif(const QString& fileName, const QList<QImage>& frames, int delayMs);
