#include "capture.h"

#include <spdlogger.h>

#include <QDir>
#include <QFileInfo>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include <cmath>

namespace {

constexpr int kCellWidth = 320;
constexpr int kMaxColumns = 4;
constexpr int kMargin = 16;
constexpr int kGap = 12;
constexpr int kTitleHeight = 44;
constexpr int kLabelHeight = 26;
constexpr int kTitlePixelSize = 20;
constexpr int kLabelPixelSize = 14;
const QColor kSheetBackground { 0x1e, 0x1f, 0x24 };
const QColor kTitleColour { 0xf2, 0xf2, 0xf2 };
const QColor kLabelColour { 0xc8, 0xcc, 0xd4 };
const QColor kFrameBorder { 0x50, 0x54, 0x5c };
const QColor kMissingCell { 0x40, 0x20, 0x20 };

} // namespace

FrameCapture::FrameCapture(QWidget* target, const QString& directory, double fps, QObject* parent)
    : QObject(parent)
    , m_target(target)
    , m_directory(directory)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(std::max(1, int(std::lround(1000.0 / fps))));
    connect(&m_timer, &QTimer::timeout, this, &FrameCapture::grabFrame);
}

bool FrameCapture::prepare(QString* error)
{
    QDir dir(m_directory);
    if (!dir.mkpath(QStringLiteral("."))) {
        if (error)
            *error = QStringLiteral("cannot create the capture directory %1").arg(m_directory);
        return false;
    }
    const QStringList old = dir.entryList({ QStringLiteral("frame-*.png") }, QDir::Files);
    for (const QString& name : old) {
        if (!dir.remove(name)) {
            if (error)
                *error = QStringLiteral("cannot remove the old frame %1").arg(dir.filePath(name));
            return false;
        }
    }
    return true;
}

void FrameCapture::start()
{
    m_clock.start();
    m_timer.start();
}

void FrameCapture::stop()
{
    m_timer.stop();
}

QString FrameCapture::frameFileName(int number)
{
    return QStringLiteral("frame-%1.png").arg(number, 5, 10, QLatin1Char('0'));
}

void FrameCapture::grabFrame()
{
    CapturedFrame frame;
    frame.number = m_frames.size() + 1;
    frame.seconds = m_clock.elapsed() / 1000.0;
    frame.path = QDir(m_directory).filePath(frameFileName(frame.number));
    if (!m_target->grab().save(frame.path, "PNG")) {
        // One line is enough: a full disk or a removed directory fails every frame alike.
        if (!m_failed)
            PLAYER_LOG(error, "capture: cannot write {}", frame.path.toStdString());
        m_failed = true;
        return;
    }
    m_frames << frame;
    PLAYER_LOG(trace, "capture: {} at {:.2f} s", frame.path.toStdString(), frame.seconds);
}

QList<int> pickEvenly(int count, int maximum)
{
    QList<int> picked;
    if (count <= 0 || maximum <= 0)
        return picked;
    if (count <= maximum) {
        for (int i = 0; i < count; ++i)
            picked << i;
        return picked;
    }
    if (maximum == 1)
        return { 0 };
    for (int i = 0; i < maximum; ++i)
        picked << int(std::lround(double(i) * (count - 1) / (maximum - 1)));
    return picked;
}

bool writeContactSheet(
    const QList<CapturedFrame>& frames, const QString& fileName, const QString& title, QString* error)
{
    const QList<int> picked = pickEvenly(frames.size(), kContactSheetCells);
    QList<QImage> images;
    QSize frameSize;
    for (int index : picked) {
        images << QImage(frames.at(index).path);
        if (!frameSize.isValid() && !images.last().isNull())
            frameSize = images.last().size();
    }
    if (!frameSize.isValid()) {
        if (error)
            *error = frames.isEmpty() ? QStringLiteral("no frames were captured")
                                      : QStringLiteral("none of the captured frames can be read");
        return false;
    }

    const int cellHeight = std::max(1, kCellWidth * frameSize.height() / frameSize.width());
    const int columns = std::min(kMaxColumns, int(picked.size()));
    const int rows = (int(picked.size()) + columns - 1) / columns;
    const int width = 2 * kMargin + columns * kCellWidth + (columns - 1) * kGap;
    const int height = kMargin + kTitleHeight + rows * (cellHeight + kLabelHeight) + (rows - 1) * kGap + kMargin;

    QImage sheet(width, height, QImage::Format_RGB32);
    sheet.fill(kSheetBackground);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);

    QFont titleFont = painter.font();
    titleFont.setPixelSize(kTitlePixelSize);
    titleFont.setBold(true);
    painter.setFont(titleFont);
    painter.setPen(kTitleColour);
    const QString heading
        = QStringLiteral("%1 \u2014 %2 of %3 frames").arg(title).arg(picked.size()).arg(frames.size());
    painter.drawText(QRect(kMargin, kMargin, width - 2 * kMargin, kTitleHeight), Qt::AlignLeft | Qt::AlignTop, heading);

    QFont labelFont = painter.font();
    labelFont.setPixelSize(kLabelPixelSize);
    labelFont.setBold(false);
    painter.setFont(labelFont);
    for (int cell = 0; cell < picked.size(); ++cell) {
        const CapturedFrame& frame = frames.at(picked.at(cell));
        const int x = kMargin + (cell % columns) * (kCellWidth + kGap);
        const int y = kMargin + kTitleHeight + (cell / columns) * (cellHeight + kLabelHeight + kGap);
        const QRect target(x, y, kCellWidth, cellHeight);
        if (images.at(cell).isNull())
            painter.fillRect(target, kMissingCell);
        else
            painter.drawImage(target, images.at(cell));
        painter.setPen(kFrameBorder);
        painter.drawRect(target.adjusted(0, 0, -1, -1));
        painter.setPen(kLabelColour);
        const QString label = QStringLiteral("frame %1  \u00b7  %2 s").arg(frame.number).arg(frame.seconds, 0, 'f', 2);
        painter.drawText(
            QRect(x, y + cellHeight, kCellWidth, kLabelHeight), Qt::AlignHCenter | Qt::AlignVCenter, label);
    }
    painter.end();

    QFileInfo(fileName).absoluteDir().mkpath(QStringLiteral("."));
    if (!sheet.save(fileName, "PNG")) {
        if (error)
            *error = QStringLiteral("cannot write the contact sheet %1").arg(fileName);
        return false;
    }
    return true;
}
