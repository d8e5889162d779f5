#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QSize>
#include <QString>

/// Default size of one picture cell of the effect gallery.
inline constexpr QSize kGalleryDefaultCellSize { 192, 108 };
/// Smallest and largest cell edge that --gallery-size accepts, in pixels.
constexpr int kGalleryMinCellEdge = 32;
constexpr int kGalleryMaxCellEdge = 960;

/// The codes the gallery shows, one per row: 0, then the codes that code 1 picks from, in
/// table order. Code 1 itself and the marquee codes are left out: they paint no picture of
/// their own.
QList<int> galleryCodes();
/// The progress values of the cells of a row, left to right.
const QList<float>& galleryProgress();

/// Where everything lies on the contact sheet of the gallery for a given cell size: a title
/// line, then rows of two codes side by side, each code with one cell per progress value and
/// a label above every cell.
struct GalleryLayout {
    explicit GalleryLayout(const QSize& cellSize);

    QSize sheetSize() const;
    /// The picture area of cell `progressIndex` of the code at `codeIndex` in galleryCodes().
    QRect cellRect(int codeIndex, int progressIndex) const;
    /// The label band just above that cell.
    QRect labelRect(int codeIndex, int progressIndex) const;

    QSize cellSize;
    int codeCount = 0;
};

/// "194 (0xC2) cumulateRight p=0.25".
QString galleryLabel(int code, float progress);

/// The picture the gallery shows: four coloured quadrants numbered 1 to 4 in reading order and
/// an arrow pointing up, so that a cut, a stretch or a mirror shows at a glance.
QImage drawOrientationPicture(const QSize& size);

/// Renders every code of galleryCodes() at every progress of galleryProgress() with an
/// EffectDisplay of `cellSize`, over a checkerboard that shows through wherever an effect
/// leaves the widget unpainted, and writes the sheet as PNG. False with a message on failure.
bool writeEffectGallery(const QString& fileName, const QSize& cellSize, QString* error);
