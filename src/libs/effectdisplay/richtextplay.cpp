#include "richtextplay.h"

#include <playersettings.h>
#include <spdlogger.h>

#include <QBrush>
#include <QFontMetrics>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QRect>
#include <QRectF>

#include <algorithm>
#include <limits>

namespace {

// Underlines of a single piece grow by one pixel per this many pixels of font height.
constexpr int kUnderlineFontStep = 25;
constexpr double kUnderlineFontStepF = 25.0;
constexpr int kBoldWeight = 75;
constexpr int kRegularWeight = 50;

double lineHeightOf(const QFontMetrics& fm, double lineSpacing)
{
    return double(fm.ascent()) + double(fm.descent()) + lineSpacing;
}

int truncated(double value)
{
    return static_cast<int>(value);
}

// QFontMetrics::horizontalAdvance(text, n) lays out the whole text on every call, so measuring the
// heads of a long run one by one costs the square of its length. Heads are measured instead inside a
// window of the run, with this many units of the run behind them: shaping (kerning, ligatures,
// joining) looks no further ahead, so a head measures the same in the window as in the whole run.
constexpr int kShapingContext = 32;
constexpr int kSmallestWindow = 128;

// Large enough to hold a line of `maxWidth` with room to spare, so one window usually does.
int firstWindow(const QFontMetrics& fm, double maxWidth)
{
    const double perUnit = std::max(1, fm.averageCharWidth());
    const double units = std::min(2.0 * maxWidth / perUnit, double(std::numeric_limits<int>::max() / 4));
    return std::max(kSmallestWindow, int(units) + kShapingContext);
}

int nextWindow(int window, int length)
{
    return window > length / 2 ? length : window * 2;
}

// Heads only grow wider as they grow longer while no glyph advance is negative; negative letter
// spacing can make one so, and then no head may be skipped.
bool measuresInWindows(const QFont& font)
{
    if (font.letterSpacingType() == QFont::AbsoluteSpacing)
        return font.letterSpacing() >= 0;
    return font.letterSpacing() >= 100;
}

// Width of the head of `n` units of `text`, measured with the context that shaping needs behind it
// and no more, so that a measure costs in proportion to the head.
int headWidth(const QFontMetrics& fm, const QString& text, int n)
{
    if (n + kShapingContext < text.size())
        return fm.horizontalAdvance(text.left(n + kShapingContext), n);
    return fm.horizontalAdvance(text, n);
}

// The first n in [1, last] whose head of `text` is wider than `maxWidth`, given that the head of
// `last` units, `widthAtLast` wide, is. Heads never get narrower as they grow (measuresInWindows),
// so the answer is bracketed: first around a guess from the mean advance of the head, which in a
// run of similar glyphs lands within a unit or two, then by bisection.
int firstWiderHead(const QFontMetrics& fm, const QString& text, int last, double maxWidth, int widthAtLast)
{
    int low = 1; // every head shorter than this fits
    int high = last; // this head is wider
    const double perUnit = double(std::max(1, widthAtLast)) / last;
    const int guess = std::clamp(int(maxWidth / perUnit) + 1, low, high);
    if (headWidth(fm, text, guess) > maxWidth) {
        high = guess;
        for (int step = 1; guess - step >= low; step *= 2) {
            if (!(headWidth(fm, text, guess - step) > maxWidth)) {
                low = guess - step + 1;
                break;
            }
            high = guess - step;
        }
    } else {
        low = guess + 1;
        for (int step = 1; guess + step < high; step *= 2) {
            if (headWidth(fm, text, guess + step) > maxWidth) {
                high = guess + step;
                break;
            }
            low = guess + step + 1;
        }
    }
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (headWidth(fm, text, middle) > maxWidth)
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

// The cut by its plain definition: every head measured in the whole text, in turn.
QString plainCut(const QFontMetrics& fm, const QString& text, double maxWidth)
{
    if (maxWidth > fm.horizontalAdvance(text))
        return text;
    if (text.size() < 2)
        return QString();
    for (int n = 1; n < text.size(); ++n) {
        if (fm.horizontalAdvance(text, n) > maxWidth)
            return text.left(n - 1);
    }
    return text.left(text.size() - 1);
}

} // namespace

RichTextPlay::RichTextPlay(QObject* parent)
    : QObject(parent)
{
}

RichTextPlay::~RichTextPlay() = default;

void RichTextPlay::stop()
{
    m_running.exchange(false);
}

void RichTextPlay::creatImage(const ns::RichTextContent& richTextContant, int width, int height)
{
    if (richTextContant.textAttributes.empty()) {
        PLAYER_LOG(error, " RichTextPlay::creatImage-------- richTextContant.textAttributes is empty");
        return;
    }
    m_underlineThickness = underlineThickness(richTextContant.textAttributes);
    m_imageWidth = width;
    m_imageHeight = height;
    m_content = richTextContant;

    m_pageImage = QImage(width, height, QImage::Format_ARGB32);
    // An empty or unallocatable page would turn every unit into a file of its own.
    if (m_pageImage.isNull()) {
        PLAYER_LOG(error, " RichTextPlay::creatImage-------- cannot make a page of {}x{}", width, height);
        return;
    }
    m_pageImage.fill(0);
    // Pages that are not scrolled are shown smooth-scaled one pixel short on both axes.
    const bool paged = m_content.displayStyle.type != ns::SCROLL && width > 1 && height > 1;
    const FileQueueScope files(this, paged ? QSize(width - 1, height - 1) : QSize());
    QPainter painter(&m_pageImage);
    // Whatever is painted first stays on top: a piece's background goes in after its text.
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
    painter.setRenderHint(QPainter::Antialiasing);

    int y = 0;
    for (const ns::Paragraph& paragraph : m_content.paragraphs) {
        m_lineSpacing = double(paragraph.lineSpacing);
        m_letterSpacing = paragraph.letterSpacing;
        m_hAlignment = paragraph.hAlignment;
        m_vAlignment = paragraph.vAlignment;
        for (const Line& line : paragraph.lines) {
            const std::pair<bool, QPoint> result = paintLine(painter, line, m_content.textAttributes, QPoint(0, y));
            y = result.second.y();
            if (!result.first)
                return;
        }
    }

    if (y == 0) {
        publish(QStringLiteral("isEmpty"), true);
        reportMissingGlyphs();
        return;
    }
    const QString name = saveImage(m_pageImage, truncated(y - m_lineSpacing), m_vAlignment);
    publish(name, true);
    reportMissingGlyphs();
}

std::pair<bool, QPoint> RichTextPlay::paintLine(
    QPainter& painter, const Line& line, const TextAttributes& textAttributes, QPoint pos)
{
    const double pageWidth = m_imageWidth;
    const double pageHeight = m_imageHeight;
    double y = pos.y();
    if (line.empty())
        return { true, QPoint(0, pos.y()) };

    // Empty runs ahead of the first text are blank lines of their own font's height.
    if (line.front().text.empty()) {
        std::size_t i = 0;
        for (; i < line.size() && line[i].text.empty(); ++i) {
            applyTextStyle(painter, textAttributes[attributeIndex(line[i].attributeId, textAttributes)]);
            const double h = lineHeightOf(painter.fontMetrics(), m_lineSpacing);
            y += h;
            if (y > pageHeight) {
                const QString name = saveImage(m_pageImage, truncated(y - h - m_lineSpacing), m_vAlignment);
                m_pageImage.fill(0);
                publish(name, false);
                y = h;
            }
        }
        if (i == line.size())
            return { true, QPoint(0, truncated(y)) };
    }

    m_hasPending = false;
    double x = 0;
    std::size_t run = 0;
    QString text = QString::fromStdString(line.front().text);
    QStringList texts;
    QList<QFont> fonts;
    QList<SegmentFormat> formats;

    const auto appendSegment = [&](const QString& piece, const QFont& font) {
        texts.append(piece);
        fonts.append(font);
        formats.append(SegmentFormat { font, painter.pen().color(), m_bkColor });
    };
    const auto tallestHeight = [&](const QFontMetrics& fallback) {
        if (fonts.isEmpty())
            return lineHeightOf(fallback, m_lineSpacing);
        return lineHeightOf(QFontMetrics(fonts.at(tallestFontIndex(fonts))), m_lineSpacing);
    };
    const auto clearSegments = [&]() {
        m_hasPending = false;
        texts.clear();
        fonts.clear();
        formats.clear();
    };

    for (;;) {
        if (!m_running.load())
            return { false, QPoint(0, truncated(y)) };

        if (text.isEmpty()) {
            if (++run >= line.size())
                break;
            text = QString::fromStdString(line[run].text);
            m_hasPending = true;
        }

        applyTextStyle(painter, textAttributes[attributeIndex(line[run].attributeId, textAttributes)]);
        const QFontMetrics fm = painter.fontMetrics();
        const RunFit fit = fitRun(text, painter.font(), pageWidth - x);

        if (fit.width) {
            if (!text.isEmpty()) {
                appendSegment(text, painter.font());
                x += *fit.width;
                m_hasPending = true;
            }
            if (++run >= line.size())
                break;
            text = QString::fromStdString(line[run].text);
            m_hasPending = true;
            continue;
        }

        QString part = fit.head;
        text.remove(0, part.size());
        // Not one unit fits on a fresh line: take it anyway, or the loop would never advance.
        if (part.isEmpty() && x == 0 && !text.isEmpty()) {
            part = text.left(1);
            text.remove(0, 1);
        }

        double h;
        if (m_hasPending) {
            if (!part.isEmpty())
                appendSegment(part, painter.font());
            h = tallestHeight(fm);
        } else {
            h = lineHeightOf(fm, m_lineSpacing);
        }
        y += h;
        const double offset = lineOffset(pageWidth, x, fm.horizontalAdvance(part), m_hAlignment);

        const auto paintCut = [&](QPainter& target, double bottom) {
            if (m_hasPending) {
                paintSegments(offset, bottom, texts, formats, target);
                clearSegments();
            } else {
                paintText(offset, bottom, part, target);
            }
        };

        if (y < pageHeight) {
            paintCut(painter, y - m_lineSpacing);
        } else if (h > pageHeight) {
            if (m_pageDirty)
                closePage(truncated(y - h), "emit 1 image success");
            emitOversizeLine(painter, h, offset, m_hasPending, texts, formats, part, "emit 1 image success");
            clearSegments();
            y = 0;
        } else {
            if (m_pageDirty)
                closePage(truncated(y - h), "emit 1 image success");
            y = h;
            paintCut(painter, h - m_lineSpacing);
        }
        x = 0;
    }

    // End of the line: paint what is collected.
    if (texts.isEmpty())
        return { m_running.load(), QPoint(0, truncated(y)) };
    const double h = tallestHeight(painter.fontMetrics());
    y += h;
    const double offset = lineOffset(pageWidth, x, 0, m_hAlignment);
    if (y < pageHeight) {
        paintSegments(offset, y - m_lineSpacing, texts, formats, painter);
        clearSegments();
        return { m_running.load(), QPoint(0, truncated(y)) };
    }
    if (h < pageHeight) {
        closePage(truncated(y - h), "emit 2 image success");
        paintSegments(offset, h - m_lineSpacing, texts, formats, painter);
        clearSegments();
        return { m_running.load(), QPoint(0, truncated(h)) };
    }
    if (m_pageDirty)
        closePage(truncated(y - h), "emit 2 image success");
    emitOversizeLine(painter, h, offset, true, texts, formats, QString(), "emit 2 image success");
    clearSegments();
    return { m_running.load(), QPoint(0, 0) };
}

void RichTextPlay::closePage(int height, const char* what)
{
    const QString name = saveImage(m_pageImage, height, m_vAlignment);
    m_pageImage.fill(0);
    PLAYER_LOG(trace, " RichTextPlay::creatImage======================={}", what);
    publish(name, false);
}

void RichTextPlay::emitOversizeLine(QPainter& painter, double h, double x, bool pending, const QStringList& texts,
    const QList<SegmentFormat>& formats, const QString& part, const char* what)
{
    const int n = truncated(h);
    QImage image(m_pageImage.width(), n, QImage::Format_ARGB32);
    image.fill(0);
    {
        QPainter linePainter(&image);
        linePainter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
        linePainter.setRenderHint(QPainter::Antialiasing);
        linePainter.setPen(painter.pen());
        linePainter.setFont(painter.font());
        if (pending)
            paintSegments(x, h - m_lineSpacing, texts, formats, linePainter);
        else
            paintText(x, h - m_lineSpacing, part, linePainter);
    }
    const QString name = saveImageSpecial(image, m_pageImage.width(), n, n, m_vAlignment);
    PLAYER_LOG(trace, " RichTextPlay::creatImage======================={}", what);
    publish(name, false);
}

void RichTextPlay::applyTextStyle(QPainter& painter, const ns::TextAttribute& attribute)
{
    const ns::TextStyle& style = attribute.style;
    m_bkColor.setNamedColor(QString::fromStdString(style.bkColor));

    QPen pen = painter.pen();
    QColor textColor;
    textColor.setNamedColor(QString::fromStdString(style.textColor));
    pen.setColor(textColor);
    painter.setPen(pen);

    if (style.fontFamilies.empty())
        PLAYER_LOG(warn, "RichTextPlay::applyTextStyle: style {} names no font family", attribute.id);
    painter.setFont(fontOf(style, m_letterSpacing));
}

QFont RichTextPlay::fontOf(const ns::TextStyle& style, double letterSpacing)
{
    QFont font;
    font.setStyleHint(QFont::SansSerif, QFont::PreferDefault);
    if (!style.fontFamilies.empty()) {
        QString family = QString::fromStdString(style.fontFamilies.front());
        PlayerSettings::getInstance().convertFontFamily(family);
        font.setFamily(family);
    }
    font.setUnderline(style.underline);
    font.setPixelSize(style.pixelSize);
    font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    switch (style.fontStyle) {
    case ns::FONT_BOLD:
        font.setWeight(kBoldWeight);
        break;
    case ns::FONT_REGULAR:
        font.setWeight(kRegularWeight);
        font.setStyle(QFont::StyleNormal);
        break;
    case ns::FONT_ITALIC:
        font.setStyle(QFont::StyleItalic);
        break;
    case ns::FONT_BOLD_ITALIC:
        font.setWeight(kBoldWeight);
        font.setStyle(QFont::StyleItalic);
        break;
    default:
        break;
    }
    return font;
}

int RichTextPlay::attributeIndex(int id, const TextAttributes& textAttributes)
{
    for (std::size_t i = 0; i < textAttributes.size(); ++i) {
        if (textAttributes[i].id == id)
            return static_cast<int>(i);
    }
    return 0;
}

RichTextPlay::RunFit RichTextPlay::fitRun(const QString& text, const QFont& font, double available)
{
    const QFontMetrics fm(font);
    if (!measuresInWindows(font)) {
        // Heads may get narrower as they grow: every head is measured in turn.
        const int width = fm.horizontalAdvance(text);
        if (!(width > available))
            return { width, QString() };
        return { std::nullopt, plainCut(fm, text, available) };
    }
    // A long run: a head already wider than the room tells that the run is wider still, and the
    // cut lies inside that head.
    for (int window = firstWindow(fm, available); window < text.size(); window = nextWindow(window, text.size())) {
        const int last = window - kShapingContext;
        const int width = headWidth(fm, text, last);
        if (width > available)
            return { std::nullopt, text.left(firstWiderHead(fm, text, last, available, width) - 1) };
    }
    const int width = fm.horizontalAdvance(text);
    if (!(width > available))
        return { width, QString() };
    if (text.size() < 2)
        return { std::nullopt, QString() };
    const int last = text.size() - 1;
    const int widthAtLast = headWidth(fm, text, last);
    if (widthAtLast > available)
        return { std::nullopt, text.left(firstWiderHead(fm, text, last, available, widthAtLast) - 1) };
    return { std::nullopt, text.left(last) };
}

QString RichTextPlay::cutTextToWidth(const QString& text, const QFont& font, double maxWidth)
{
    if (!measuresInWindows(font))
        return plainCut(QFontMetrics(font), text, maxWidth);
    const RunFit fit = fitRun(text, font, maxWidth);
    if (!fit.width)
        return fit.head;
    // The whole text is no wider than maxWidth, and it is returned only if it is narrower. At equal
    // width no head is wider either, so all but the last unit fit.
    if (maxWidth > *fit.width)
        return text;
    return text.size() < 2 ? QString() : text.left(text.size() - 1);
}

int RichTextPlay::tallestFontIndex(const QList<QFont>& fonts)
{
    int tallest = 0;
    int index = 0;
    for (int i = 0; i < fonts.size(); ++i) {
        const int height = QFontMetrics(fonts.at(i)).height();
        if (height > tallest) {
            tallest = height;
            index = i;
        }
    }
    return index;
}

double RichTextPlay::lineOffset(double available, double used, double extra, ns::HAlignment alignment)
{
    switch (alignment) {
    case ns::ALIGN_HCENTER:
        return (available - used - extra) * 0.5;
    case ns::ALIGN_RIGHT:
        return available - used - extra;
    case ns::ALIGN_LEFT:
    default:
        return 0;
    }
}

double RichTextPlay::underlineThickness(const TextAttributes& textAttributes)
{
    double thickness = 1.0;
    for (const ns::TextAttribute& attribute : textAttributes) {
        if (attribute.style.underline)
            thickness = std::max(thickness, double(attribute.style.pixelSize));
    }
    if (thickness > kUnderlineFontStepF)
        return thickness / kUnderlineFontStepF;
    return 1.0;
}

void RichTextPlay::applySegmentFormat(QPainter& painter, const SegmentFormat& format)
{
    QPen pen = painter.pen();
    pen.setColor(format.textColor);
    painter.setPen(pen);
    // The font's own underline is never drawn: the system paints its own underline rectangle.
    if (format.font.underline()) {
        QFont plain = format.font;
        plain.setUnderline(false);
        painter.setFont(plain);
    } else {
        painter.setFont(format.font);
    }
}

void RichTextPlay::paintSegments(
    double x, double bottom, const QStringList& texts, const QList<SegmentFormat>& formats, QPainter& painter)
{
    m_pageDirty = true;
    for (int i = 0; i < texts.size(); ++i) {
        const QString& text = texts.at(i);
        const SegmentFormat& format = formats.at(i);

        applySegmentFormat(painter, format);

        const QFontMetrics fm(format.font);
        // Each piece stands on the common bottom by its own descent, so sizes line up at the bottom edge.
        painter.drawText(QPointF(x, bottom - fm.descent()), text);
        const int width = fm.horizontalAdvance(text);
        double t;
        if (texts.size() == 1)
            t = fm.height() > kUnderlineFontStep ? fm.height() / kUnderlineFontStep : 1;
        else
            t = m_underlineThickness;
        if (format.font.underline())
            painter.fillRect(QRectF(x, bottom - t, width, t), QBrush(painter.pen().color(), Qt::SolidPattern));
        painter.fillRect(QRect(truncated(x), truncated(bottom - fm.height()), width, fm.height()),
            QBrush(format.bkColor, Qt::SolidPattern));
        x += width;
    }
}

void RichTextPlay::paintText(double x, double bottom, const QString& text, QPainter& painter)
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
    const int t = fm.height() > kUnderlineFontStep ? fm.height() / kUnderlineFontStep : 1;
    if (font.underline())
        painter.fillRect(
            QRect(truncated(x), truncated(bottom - t), width, t), QBrush(painter.pen().color(), Qt::SolidPattern));
    painter.fillRect(QRect(truncated(x), truncated(bottom - fm.ascent() - fm.descent()), width, fm.height()),
        QBrush(m_bkColor, Qt::SolidPattern));
}
