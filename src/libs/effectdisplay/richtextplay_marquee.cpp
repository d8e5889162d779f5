#include "richtextplay.h"

#include "imagefilequeue.h"
#include "pngwriter.h"

#include <playerpath.h>
#include <spdlogger.h>

#include <QBrush>
#include <QElapsedTimer>
#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QHash>
#include <QRect>
#include <QSet>
#include <QTime>
#include <QtGlobal>

#include <cstdlib>
#include <map>

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
    const FileQueueScope files(this, QSize());
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
    publish(name, true);
    reportMissingGlyphs();
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
        publish(name, false);
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

RichTextPlay::FileQueueScope::FileQueueScope(RichTextPlay* renderer, QSize shownSize)
    : m_renderer(renderer)
{
    m_renderer->m_files = new ImageFileQueue(
        m_renderer->m_running,
        [renderer](const QString& name, bool last) { emit renderer->ImageValueChanged(name, last); }, shownSize);
}

// The render is over when its files are: a stopped render's pending files are dropped.
RichTextPlay::FileQueueScope::~FileQueueScope()
{
    delete m_renderer->m_files;
    m_renderer->m_files = nullptr;
    m_renderer->m_stagedImage = QImage();
}

void RichTextPlay::stageImageFile(const QImage& image)
{
    m_stagedImage = image;
}

// Every name goes out through here, after the file staged for it, if any, is written.
void RichTextPlay::publish(const QString& name, bool last)
{
    QImage image;
    std::swap(image, m_stagedImage);
    if (m_files) {
        if (image.isNull())
            m_files->announce(name, last);
        else
            m_files->submit(image, name, last);
        return;
    }
    QString error;
    if (!image.isNull() && !pngwriter::save(image, name, &error))
        PLAYER_LOG(warn, "RichTextPlay: cannot write the image file {}: {}", name.toStdString(), error.toStdString());
    emit ImageValueChanged(name, last);
}

std::vector<RichTextPlay::MissingGlyph> RichTextPlay::missingGlyphs(const ns::RichTextContent& content)
{
    std::vector<MissingGlyph> missing;
    if (content.textAttributes.empty())
        return missing;
    // One font per style and paragraph spacing, and each code point looked up once in it.
    struct Font {
        QFontMetrics metrics;
        QHash<uint, bool> drawable;
    };
    std::map<std::pair<int, double>, Font> fonts;
    for (std::size_t p = 0; p < content.paragraphs.size(); ++p) {
        const ns::Paragraph& paragraph = content.paragraphs[p];
        for (std::size_t l = 0; l < paragraph.lines.size(); ++l) {
            const Line& line = paragraph.lines[l];
            for (std::size_t r = 0; r < line.size(); ++r) {
                const int index = attributeIndex(line[r].attributeId, content.textAttributes);
                const auto key = std::make_pair(index, double(paragraph.letterSpacing));
                auto found = fonts.find(key);
                if (found == fonts.end()) {
                    const QFont font
                        = fontOf(content.textAttributes[std::size_t(index)].style, paragraph.letterSpacing);
                    found = fonts.emplace(key, Font { QFontMetrics(font), {} }).first;
                }
                Font& font = found->second;
                const QString text = QString::fromStdString(line[r].text);
                QSet<uint> reported;
                for (const uint codePoint : text.toUcs4()) {
                    auto known = font.drawable.constFind(codePoint);
                    if (known == font.drawable.constEnd()) {
                        const QChar::Category category = QChar::category(codePoint);
                        // Spaces, controls and joiners draw nothing of their own.
                        const bool drawable = QChar::isSpace(codePoint) || category == QChar::Other_Control
                            || category == QChar::Other_Format || font.metrics.inFontUcs4(codePoint);
                        known = font.drawable.insert(codePoint, drawable);
                    }
                    if (*known || reported.contains(codePoint))
                        continue;
                    reported.insert(codePoint);
                    missing.push_back({ char32_t(codePoint), int(p), int(l), int(r), text });
                }
            }
        }
    }
    return missing;
}

void RichTextPlay::reportMissingGlyphs() const
{
    const std::vector<MissingGlyph> missing = missingGlyphs(m_content);
    if (missing.empty())
        return;
    QString first;
    for (const MissingGlyph& glyph : missing) {
        const QString hex = QString::number(uint(glyph.codePoint), 16).toUpper();
        first += QStringLiteral(" U+") + hex.rightJustified(4, QLatin1Char('0'));
        if (first.size() > 40)
            break;
    }
    PLAYER_LOG(warn,
        "RichTextPlay: task {}: {} characters of the text have no glyph in any installed font and show as "
        "empty boxes (first:{})",
        m_taskID.toStdString(), missing.size(), first.toStdString());
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
        stageImageFile(topRows(image, height));
    } else {
        const int d = std::abs(image.height() - height);
        switch (vAlignment) {
        case ns::ALIGN_TOP:
            path += QStringLiteral(".png");
            // A copy: the painter goes on with the next page in this very image.
            stageImageFile(image.copy());
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
            stageImageFile(placed);
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
        stageImageFile(topRows(image, height));
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
        stageImageFile(placed);
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
    stageImageFile(piece);
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
