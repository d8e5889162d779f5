#include "gallery.h"

#include <effectdisplay.h>
#include <spdlogger.h>

#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <QTemporaryDir>
#include <QWidget>

namespace {

constexpr int kMargin = 16;
constexpr int kTitleHeight = 40;
constexpr int kCodesPerRow = 2;
constexpr int kCellGap = 6;
constexpr int kGroupGap = 28; // between the two codes of a sheet row
constexpr int kRowGap = 10;
constexpr int kLabelHeight = 30; // room for two lines when one does not fit
constexpr int kLabelPixelSize = 11;
constexpr int kTitlePixelSize = 17;
constexpr int kCheckerSquare = 8;

const QColor kSheetBackground { 0x1e, 0x1f, 0x24 };
// Neutral greys, which no colour of the sample picture comes near.
const QColor kCheckerLight { 0x50, 0x50, 0x50 };
const QColor kCheckerDark { 0x32, 0x32, 0x32 };
const QColor kCellBorder { 0x70, 0x74, 0x7c };
const QColor kTitleColour { 0xf2, 0xf2, 0xf2 };
const QColor kLabelColour { 0xc8, 0xcc, 0xd4 };

const QColor kQuadrantColours[4] = { { 215, 40, 40 }, { 40, 165, 70 }, { 45, 85, 215 }, { 235, 195, 25 } };

int progressCount()
{
    return int(galleryProgress().size());
}

QFont pixelFont(int pixelSize, bool bold)
{
    QFont font;
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    return font;
}

// Drawn once and tiled, so that cells stay cheap to fill.
QImage checkerTile()
{
    QImage tile(2 * kCheckerSquare, 2 * kCheckerSquare, QImage::Format_RGB32);
    tile.fill(kCheckerDark);
    QPainter painter(&tile);
    painter.fillRect(0, 0, kCheckerSquare, kCheckerSquare, kCheckerLight);
    painter.fillRect(kCheckerSquare, kCheckerSquare, kCheckerSquare, kCheckerSquare, kCheckerLight);
    return tile;
}

void drawOutlinedText(QPainter& painter, const QRectF& box, const QString& text, const QFont& font)
{
    QPainterPath path;
    const QFontMetricsF metrics(font);
    const QRectF bounds = metrics.tightBoundingRect(text);
    const QPointF origin(box.center().x() - bounds.center().x(), box.center().y() - bounds.center().y());
    path.addText(origin, font, text);
    painter.setPen(QPen(QColor(0, 0, 0, 200), std::max(1.5, font.pixelSize() / 14.0)));
    painter.setBrush(Qt::white);
    painter.drawPath(path);
}

} // namespace

QList<int> galleryCodes()
{
    QList<int> codes { 0 };
    codes += EffectDisplay::randomEffectCodes();
    return codes;
}

const QList<float>& galleryProgress()
{
    static const QList<float> progress { 0.25f, 0.5f, 0.75f, 1.0f };
    return progress;
}

GalleryLayout::GalleryLayout(const QSize& cell)
    : cellSize(cell)
    , codeCount(int(galleryCodes().size()))
{
}

QSize GalleryLayout::sheetSize() const
{
    const int groupWidth = progressCount() * cellSize.width() + (progressCount() - 1) * kCellGap;
    const int rows = (codeCount + kCodesPerRow - 1) / kCodesPerRow;
    const int width = 2 * kMargin + kCodesPerRow * groupWidth + (kCodesPerRow - 1) * kGroupGap;
    const int height
        = kMargin + kTitleHeight + rows * (kLabelHeight + cellSize.height()) + (rows - 1) * kRowGap + kMargin;
    return QSize(width, height);
}

QRect GalleryLayout::cellRect(int codeIndex, int progressIndex) const
{
    const int groupWidth = progressCount() * cellSize.width() + (progressCount() - 1) * kCellGap;
    const int group = codeIndex % kCodesPerRow;
    const int row = codeIndex / kCodesPerRow;
    const int x = kMargin + group * (groupWidth + kGroupGap) + progressIndex * (cellSize.width() + kCellGap);
    const int y = kMargin + kTitleHeight + row * (kLabelHeight + cellSize.height() + kRowGap) + kLabelHeight;
    return QRect(QPoint(x, y), cellSize);
}

QRect GalleryLayout::labelRect(int codeIndex, int progressIndex) const
{
    const QRect cell = cellRect(codeIndex, progressIndex);
    return QRect(cell.x(), cell.y() - kLabelHeight, cell.width(), kLabelHeight);
}

QString galleryLabel(int code, float progress)
{
    return QStringLiteral("%1 (0x%2) %3 p=%4")
        .arg(code)
        .arg(QStringLiteral("%1").arg(code, 2, 16, QLatin1Char('0')).toUpper())
        .arg(EffectDisplay::effectName(code))
        .arg(double(progress));
}

QImage drawOrientationPicture(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    const int halfWidth = size.width() / 2;
    const int halfHeight = size.height() / 2;
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect quadrants[4]
        = { QRect(0, 0, halfWidth, halfHeight), QRect(halfWidth, 0, size.width() - halfWidth, halfHeight),
              QRect(0, halfHeight, halfWidth, size.height() - halfHeight),
              QRect(halfWidth, halfHeight, size.width() - halfWidth, size.height() - halfHeight) };
    const QFont digitFont = pixelFont(std::max(8, size.height() * 34 / 100), true);
    for (int i = 0; i < 4; ++i) {
        painter.fillRect(quadrants[i], kQuadrantColours[i]);
        // Off the middle, toward the outer corner, so that the arrow stays clear of the digits.
        const QRectF box
            = QRectF(quadrants[i]).adjusted(i % 2 ? size.width() * 0.06 : 0, 0, i % 2 ? 0 : -size.width() * 0.06, 0);
        drawOutlinedText(painter, box, QString::number(i + 1), digitFont);
    }

    // An arrow pointing to the top edge, down the middle.
    const double w = size.width();
    const double h = size.height();
    const double shaft = w * 0.035;
    const double head = w * 0.09;
    const double top = h * 0.1;
    const double neck = h * 0.42;
    const double bottom = h * 0.9;
    const double cx = w / 2;
    const QPolygonF arrow(QVector<QPointF> { { cx, top }, { cx + head, neck }, { cx + shaft, neck },
        { cx + shaft, bottom }, { cx - shaft, bottom }, { cx - shaft, neck }, { cx - head, neck } });
    painter.setPen(QPen(QColor(0, 0, 0, 200), std::max(1.0, w / 160)));
    painter.setBrush(Qt::white);
    painter.drawPolygon(arrow);
    return image;
}

bool writeEffectGallery(const QString& fileName, const QSize& cellSize, QString* error)
{
    auto fail = [error](const QString& message) {
        if (error)
            *error = message;
        return false;
    };

    QTemporaryDir pictureDir;
    if (!pictureDir.isValid())
        return fail(QStringLiteral("cannot create a temporary directory for the picture"));
    const QString picturePath = pictureDir.filePath(QStringLiteral("orientation.png"));
    if (!drawOrientationPicture(cellSize).save(picturePath, "PNG"))
        return fail(QStringLiteral("cannot write the sample picture %1").arg(picturePath));

    QWidget parent;
    parent.resize(cellSize);
    auto* display = new EffectDisplay(&parent);
    display->showEffect(0, picturePath, 0, 0);
    const QPoint middle(cellSize.width() / 2, cellSize.height() / 2);
    if (qAlpha(display->renderFrame(0, 1.0f).pixel(middle)) != 255)
        return fail(QStringLiteral("the player did not load the sample picture %1").arg(picturePath));

    const GalleryLayout layout(cellSize);
    QImage sheet(layout.sheetSize(), QImage::Format_RGB32);
    sheet.fill(kSheetBackground);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::TextAntialiasing);

    painter.setFont(pixelFont(kTitlePixelSize, true));
    painter.setPen(kTitleColour);
    painter.drawText(QRect(kMargin, kMargin, sheet.width() - 2 * kMargin, kTitleHeight), Qt::AlignLeft | Qt::AlignTop,
        QStringLiteral("Effect codes at p = 0.25, 0.5, 0.75 and 1 on a %1x%2 player; the checkerboard shows "
                       "where a frame leaves the player unpainted")
            .arg(cellSize.width())
            .arg(cellSize.height()));

    const QFont labelFont = pixelFont(kLabelPixelSize, false);
    const QFontMetrics labelMetrics(labelFont);
    painter.setFont(labelFont);
    const QBrush checker(checkerTile());
    const QList<int> codes = galleryCodes();
    for (int codeIndex = 0; codeIndex < codes.size(); ++codeIndex) {
        const int code = codes.at(codeIndex);
        for (int progressIndex = 0; progressIndex < progressCount(); ++progressIndex) {
            const float progress = galleryProgress().at(progressIndex);
            const QRect cell = layout.cellRect(codeIndex, progressIndex);
            painter.setBrushOrigin(cell.topLeft());
            painter.fillRect(cell, checker);
            painter.drawImage(cell.topLeft(), display->renderFrame(code, progress));
            painter.setPen(kCellBorder);
            painter.setBrush(Qt::NoBrush);
            painter.drawRect(cell.adjusted(-1, -1, 0, 0));

            painter.setPen(kLabelColour);
            const QString label = galleryLabel(code, progress);
            const QRect labelBox = layout.labelRect(codeIndex, progressIndex).adjusted(0, 0, 0, -2);
            if (labelMetrics.horizontalAdvance(label) <= labelBox.width()) {
                painter.drawText(labelBox, Qt::AlignLeft | Qt::AlignBottom, label);
            } else {
                // Too narrow for one line: the name on one, the progress under it.
                const int split = label.lastIndexOf(QLatin1Char(' '));
                painter.drawText(labelBox, Qt::AlignLeft | Qt::AlignBottom,
                    labelMetrics.elidedText(label.left(split), Qt::ElideRight, labelBox.width()) + QLatin1Char('\n')
                        + label.mid(split + 1));
            }
        }
    }
    painter.end();

    QFileInfo(fileName).absoluteDir().mkpath(QStringLiteral("."));
    if (!sheet.save(fileName, "PNG"))
        return fail(QStringLiteral("cannot write the gallery %1").arg(fileName));
    PLAYER_LOG(debug, "gallery: {} codes on a {}x{} sheet", codes.size(), sheet.width(), sheet.height());
    return true;
}
