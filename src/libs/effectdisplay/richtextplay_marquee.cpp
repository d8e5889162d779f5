#include "richtextplay.h"

#include "pngwriter.h"

#include <playerpath.h>
#include <spdlogger.h>

#include <QBrush>
#include <QElapsedTimer>
#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QRect>
#include <QTime>
#include <QtGlobal>

#include <cstdlib>

namespace {

constexpr char kNameAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr int kNameAlphabetSize = sizeof(kNameAlphabet) - 1;
constexpr int kRandomNameLength = 32;
constexpr double kMsPerSecond = 1000.0;

int truncated(double value)
{
    return static_cast<int>(value);
}

// The first `height` rows of `image`: a scroll shows only what was painted.
QImage topRows(const QImage& image, int height)
{
    QImage cut(image.width(), height, QImage::Format_ARGB32);
    cut.fill(0);
    QPainter painter(&cut);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawImage(QPoint(0, 0), image, QRect(0, 0, image.width(), height));
    return cut;
}

// A file that cannot be written leaves its name without a file, which the display skips.
void writeImageFile(const QImage& image, const QString& path)
{
    QString error;
    if (!pngwriter::save(image, path, &error))
        PLAYER_LOG(warn, "RichTextPlay: cannot write the image file {}: {}", path.toStdString(), error.toStdString());
}

} // namespace

void RichTextPlay::creatMarqueeImage(const ns::RichTextContent& richTextContant, int width, int height)
{
    if (richTextContant.textAttributes.empty()) {
        PLAYER_LOG(error, " RichTextPlay::creatMarqueeImage-------- richTextContant.textAttributes is empty");
        return;
    }
    m_imageWidth = width;
    m_imageHeight = height;
    m_underlineThickness = underlineThickness(richTextContant.textAttributes);
    m_content = richTextContant;

    m_pageImage = QImage(width, height, QImage::Format_ARGB32);
    if (m_pageImage.isNull()) {
        PLAYER_LOG(error, " RichTextPlay::creatMarqueeImage-------- cannot make a piece of {}x{}", width, height);
        return;
    }
    m_pageImage.fill(0);
    QPainter painter(&m_pageImage);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
    painter.setRenderHint(QPainter::Antialiasing);

    double x = 0;
    for (const ns::Paragraph& paragraph : m_content.paragraphs) {
        m_letterSpacing = paragraph.letterSpacing;
        m_lineSpacing = 0;
        for (const Line& line : paragraph.lines) {
            const std::pair<bool, double> result = paintMarqueeLine(painter, line, m_content.textAttributes, x);
            if (!result.first)
                return;
            x = result.second;
            if (x > m_imageWidth)
                x = 0;
        }
    }

    const QString name = saveMarqueeImage(m_pageImage, truncated(x));
    emit ImageValueChanged(name, true);
}

std::pair<bool, double> RichTextPlay::paintMarqueeLine(
    QPainter& painter, const Line& line, const TextAttributes& textAttributes, double startX)
{
    // A line whose first run is empty is skipped whole.
    if (line.empty() || line.front().text.empty())
        return { m_running.load(), startX };

    const double bottom = m_imageHeight;
    double x = startX;
    double drawX = startX;
    std::size_t run = 0;
    QString text = QString::fromStdString(line.front().text);
    m_hasPending = false;
    QStringList texts;
    QList<QFont> fonts;
    QList<SegmentFormat> formats;

    const auto appendSegment = [&](const QString& piece) {
        texts.append(piece);
        fonts.append(painter.font());
        formats.append(SegmentFormat { painter.font(), painter.pen().color(), m_bkColor });
    };
    const auto clearSegments = [&]() {
        texts.clear();
        fonts.clear();
        formats.clear();
    };

    for (;;) {
        if (!m_running.load())
            return { false, drawX };

        applyTextStyle(painter, textAttributes[attributeIndex(line[run].attributeId, textAttributes)]);
        const QFontMetrics fm = painter.fontMetrics();
        const RunFit fit = fitRun(text, painter.font(), m_imageWidth - x);

        if (fit.width) {
            appendSegment(text);
            x += *fit.width;
            m_hasPending = true;
            if (run + 1 >= line.size()) {
                const double end = paintMarqueeSegments(drawX, bottom, texts, formats, painter);
                clearSegments();
                return { m_running.load(), end };
            }
            text = QString::fromStdString(line[++run].text);
            m_hasPending = true;
            continue;
        }

        QString part = fit.head;
        text.remove(0, part.size());
        if (part.isEmpty() && x == 0 && !text.isEmpty()) {
            part = text.left(1);
            text.remove(0, 1);
            m_oversizeChar = true;
        }

        // The piece is full.
        QString name;
        if (m_hasPending) {
            appendSegment(part);
            const double end = paintMarqueeSegments(drawX, bottom, texts, formats, painter);
            m_hasPending = false;
            clearSegments();
            name = saveMarqueeImage(m_pageImage, truncated(end));
        } else if (m_oversizeChar) {
            const int partWidth = fm.horizontalAdvance(part);
            QImage image(partWidth, fm.height(), QImage::Format_ARGB32);
            image.fill(0);
            {
                QPainter charPainter(&image);
                charPainter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
                charPainter.setRenderHint(QPainter::Antialiasing);
                charPainter.setPen(painter.pen());
                charPainter.setFont(painter.font());
                paintText(drawX, bottom, part, charPainter);
            }
            name = saveMarqueeImage(image, truncated(drawX + partWidth));
            m_oversizeChar = false;
        } else {
            const double end = paintMarqueeText(drawX, bottom, part, painter);
            name = saveMarqueeImage(m_pageImage, truncated(end));
        }

        m_pageImage.fill(0);
        emit ImageValueChanged(name, false);
        drawX = 0;
        x = 0;

        if (text.isEmpty()) {
            if (run + 1 >= line.size())
                return { m_running.load(), 0 };
            text = QString::fromStdString(line[++run].text);
            m_hasPending = true;
        }
    }
}

double RichTextPlay::paintMarqueeSegments(
    double x, double bottom, const QStringList& texts, const QList<SegmentFormat>& formats, QPainter& painter)
{
    m_pageDirty = true;
    for (int i = 0; i < texts.size(); ++i) {
        const QString& text = texts.at(i);
        const SegmentFormat& format = formats.at(i);

        applySegmentFormat(painter, format);

        const QFontMetrics fm(format.font);
        painter.drawText(QPointF(x, bottom - fm.descent()), text);
        const int width = fm.horizontalAdvance(text);
        if (format.font.underline())
            painter.fillRect(
                QRect(truncated(x), truncated(bottom - m_underlineThickness), width, truncated(m_underlineThickness)),
                QBrush(painter.pen().color(), Qt::SolidPattern));
        painter.fillRect(QRect(truncated(x), truncated(bottom - fm.height()), width, fm.height()),
            QBrush(format.bkColor, Qt::SolidPattern));
        x += width;
    }
    return x;
}

double RichTextPlay::paintMarqueeText(double x, double bottom, const QString& text, QPainter& painter)
{
    m_pageDirty = true;
    const QFont font = painter.font();
    const QFontMetrics fm(font);
    if (font.underline()) {
        QFont plain = font;
        plain.setUnderline(false);
        painter.setFont(plain);
    }
    painter.drawText(QPointF(x, bottom - fm.descent()), text);
    const int width = fm.horizontalAdvance(text);
    if (font.underline())
        painter.fillRect(
            QRect(truncated(x), truncated(bottom - m_underlineThickness), width, truncated(m_underlineThickness)),
            QBrush(painter.pen().color(), Qt::SolidPattern));
    painter.fillRect(QRect(truncated(x), truncated(bottom - fm.ascent() - fm.descent()), width, fm.height()),
        QBrush(m_bkColor, Qt::SolidPattern));
    return x + width;
}

QString RichTextPlay::saveImage(QImage& image, int height, int vAlignment)
{
    m_pageDirty = false;
    const QString cachePath = PlayerPath::getInstance().getImageCachePath();
    QElapsedTimer timer;
    timer.start();
    QString path = cachePath + QLatin1Char('/') + randomImageName();

    if (m_content.displayStyle.type == ns::SCROLL) {
        // A scroll shows only what was painted, so the file is cut to it.
        PLAYER_LOG(trace, "RichTextPlay::saveImage=======================start");
        path += QStringLiteral(".png");
        writeImageFile(topRows(image, height), path);
    } else {
        const int d = std::abs(image.height() - height);
        switch (vAlignment) {
        case ns::ALIGN_TOP:
            path += QStringLiteral(".png");
            writeImageFile(image, path);
            break;
        case ns::ALIGN_VCENTER:
        case ns::ALIGN_BOTTOM: {
            QImage placed(image.width(), image.height(), QImage::Format_ARGB32);
            placed.fill(0);
            {
                QPainter painter(&placed);
                painter.setRenderHint(QPainter::Antialiasing);
                if (vAlignment == ns::ALIGN_VCENTER)
                    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
                const int top = vAlignment == ns::ALIGN_VCENTER ? d / 2 : d;
                painter.drawImage(QPoint(0, top), image, QRect(0, 0, image.width(), height));
            }
            path += QStringLiteral(".png");
            writeImageFile(placed, path);
            break;
        }
        default:
            break;
        }
    }

    PLAYER_LOG(trace, "saveImage time =======================:{},{}", timer.elapsed() / kMsPerSecond, "s");
    return path;
}

QString RichTextPlay::saveImageSpecial(QImage& image, int width, int fullHeight, int height, int vAlignment)
{
    m_pageDirty = false;
    const QString cachePath = PlayerPath::getInstance().getImageCachePath();
    QElapsedTimer timer;
    timer.start();
    QString path = cachePath + QLatin1Char('/') + randomImageName();

    if (m_content.displayStyle.type == ns::SCROLL) {
        PLAYER_LOG(trace, "RichTextPlay::saveImage=======================start");
        path += QStringLiteral(".png");
        writeImageFile(topRows(image, height), path);
    } else if (vAlignment == ns::ALIGN_TOP || vAlignment == ns::ALIGN_VCENTER || vAlignment == ns::ALIGN_BOTTOM) {
        const int d = std::abs(fullHeight - height);
        const int sourceRow = vAlignment == ns::ALIGN_TOP ? 0 : (vAlignment == ns::ALIGN_VCENTER ? d / 2 : d);
        QImage placed(width, fullHeight, QImage::Format_ARGB32);
        placed.fill(0);
        {
            QPainter painter(&placed);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.drawImage(QPoint(0, 0), image, QRect(0, sourceRow, image.width(), fullHeight));
        }
        path += QStringLiteral(".png");
        writeImageFile(placed, path);
    }

    PLAYER_LOG(trace, "saveImage time =======================:{},{}", timer.elapsed() / kMsPerSecond, "s");
    return path;
}

QString RichTextPlay::saveMarqueeImage(QImage& image, int width)
{
    m_pageDirty = false;
    QString path = PlayerPath::getInstance().getImageCachePath() + QLatin1Char('/') + randomImageName();
    path += QStringLiteral(".png");
    // A band that ended exactly at a piece's edge leaves nothing for the last piece; its name still
    // goes out, and the display finds no file behind it.
    if (width <= 0) {
        PLAYER_LOG(debug, "RichTextPlay::saveMarqueeImage: empty piece, no file for {}", path.toStdString());
        return path;
    }
    QImage piece(width, image.height(), QImage::Format_ARGB32);
    piece.fill(0);
    {
        QPainter painter(&piece);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawImage(QPoint(0, 0), image, QRect(0, 0, width, image.height()));
    }
    writeImageFile(piece, path);
    return path;
}

QString RichTextPlay::randomImageName()
{
    // qsrand and qrand are per thread, so render workers don't disturb one another's names. The
    // generator is seeded once per thread: seeding by the clock for every name would repeat a name,
    // and overwrite its file, for two images made within one millisecond.
    thread_local bool seeded = false;
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    if (!seeded) {
        const QTime now = QTime::currentTime();
        int local = 0;
        qsrand(uint(now.second() * 1000 + now.msec()) + uint(reinterpret_cast<quintptr>(&local)));
        seeded = true;
    }
    QString name = m_taskID;
    name.reserve(m_taskID.size() + kRandomNameLength);
    for (int i = 0; i < kRandomNameLength; ++i)
        name.append(QLatin1Char(kNameAlphabet[qrand() % kNameAlphabetSize]));
    QT_WARNING_POP
    return name;
}
