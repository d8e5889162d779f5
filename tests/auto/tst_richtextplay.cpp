// The text renderer: line breaking, page breaking and the band of a left or right scroll, read
// back from the PNG files it writes. Each expected file is painted here, pixel for pixel, from
// QFontMetrics of the same fonts, so the cases hold for any installed version of the fonts.
#include "framecheck.h"
#include "textsupport.h"

#include <imagehandoff.h>
#include <imageplay.h>
#include <richtextplay.h>

#include <QFileInfo>
#include <QPainter>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <cmath>
#include <optional>

namespace {

// The styles a run names by its digit: white text on an opaque background of its own. `face` is
// what the host's font mapping makes of `family`.
struct Style {
    const char* family;
    const char* face;
    int pixelSize;
    int fontStyle;
    const char* bkColor;
};
const char* const kDejaVu = "DejaVu Sans";
const Style kStyles[] = { { kDejaVu, kDejaVu, 14, ns::FONT_REGULAR, "#FFFF0000" },
    { kDejaVu, kDejaVu, 40, ns::FONT_REGULAR, "#FF0000FF" },
    { "Liberation Sans", "Liberation Sans", 20, ns::FONT_REGULAR, "#FF008000" },
    { kDejaVu, kDejaVu, 24, ns::FONT_BOLD, "#FF808000" }, { kDejaVu, kDejaVu, 24, ns::FONT_ITALIC, "#FF008080" },
    { kDejaVu, kDejaVu, 24, ns::FONT_BOLD_ITALIC, "#FF800080" },
    { kDejaVu, kDejaVu, 24, 7, "#FF404040" }, // no known style: the font's own weight and slant
    { "Microsoft YaHei", "WenQuanYi Micro Hei", 28, ns::FONT_REGULAR, "#FF204080" } };

QFont fontOf(int style, int letterSpacing = 0)
{
    QFont font(kStyles[style].face);
    font.setPixelSize(kStyles[style].pixelSize);
    font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    font.setBold(kStyles[style].fontStyle == ns::FONT_BOLD || kStyles[style].fontStyle == ns::FONT_BOLD_ITALIC);
    font.setItalic(kStyles[style].fontStyle == ns::FONT_ITALIC || kStyles[style].fontStyle == ns::FONT_BOLD_ITALIC);
    return font;
}

// A line as its runs joined by '+', each its style's digit and its text: "0small+1Big".
std::vector<ns::TextRun> runsOf(const QString& line)
{
    std::vector<ns::TextRun> runs;
    for (const QString& run : line.split('+', Qt::SkipEmptyParts))
        runs.push_back({ run.left(1).toInt(), run.mid(1).toStdString() });
    return runs;
}

// Lines joined by '|', "line*n" standing for n of them.
QStringList linesOf(const QString& joined)
{
    QStringList lines;
    for (const QString& item : joined.split('|'))
        for (int n = item.contains('*') ? item.section('*', 1).toInt() : 1; n > 0; --n)
            lines << item.section('*', 0, 0);
    return lines;
}

int widthOf(const QString& line, int letterSpacing = 0)
{
    int width = 0;
    for (const ns::TextRun& run : runsOf(line))
        width += QFontMetrics(fontOf(run.attributeId, letterSpacing)).horizontalAdvance(run.text.c_str());
    return width;
}

// Ascent plus descent of the tallest run with text; a blank line has the height of its one run.
int textHeightOf(const QString& line)
{
    int height = 0;
    for (const ns::TextRun& run : runsOf(line)) {
        const QFontMetrics fm(fontOf(run.attributeId));
        height = std::max(height, !run.text.empty() || runsOf(line).size() == 1 ? fm.ascent() + fm.descent() : 0);
    }
    return height;
}

struct Layout {
    int type = ns::SCROLL;
    int moveType = ns::MOVE_UP;
    float lineSpacing = 0;
    int letterSpacing = 0;
    int vAlignment = ns::ALIGN_TOP;
    int hAlignment = ns::ALIGN_LEFT;
};

// The lines in one paragraph with every style; a line "/" starts the next paragraph.
ns::RichTextContent content(const QString& lines, const Layout& layout = Layout())
{
    ns::RichTextContent c;
    c.displayStyle.type = layout.type;
    c.displayStyle.scrollAttributes.effecs.moveType = ns::MoveType(layout.moveType);
    for (const Style& s : kStyles) {
        ns::TextAttribute& attribute = c.textAttributes.emplace_back();
        attribute.id = int(c.textAttributes.size()) - 1;
        std::tie(
            attribute.style.bkColor, attribute.style.fontFamilies, attribute.style.fontStyle, attribute.style.pixelSize)
            = std::make_tuple(s.bkColor, std::vector<std::string> { s.family }, s.fontStyle, s.pixelSize);
    }
    const ns::Paragraph p { ns::VAlignment(layout.vAlignment), ns::HAlignment(layout.hAlignment), "#000000FF",
        layout.lineSpacing, layout.letterSpacing, {} };
    c.paragraphs = { p };
    for (const QString& line : linesOf(lines))
        line == "/" ? c.paragraphs.push_back(p) : c.paragraphs.back().lines.push_back(runsOf(line));
    return c;
}

// Renders pages, or a band when the content is a left or right scroll. Files are named after the
// task, in the image cache, and never twice; only the last says it is.
void render(const ns::RichTextContent& c, int width, int height, QStringList* names)
{
    RichTextPlay play;
    play.setTaskID(QStringLiteral("LUMORAX42"));
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    ns::isMarquee(c.displayStyle) ? play.creatMarqueeImage(c, width, height) : play.creatImage(c, width, height);
    for (const QList<QVariant>& args : spy) {
        *names << args.at(0).toString();
        QCOMPARE(args.at(1).toBool(), names->size() == spy.size());
        QVERIFY2(names->last() == "isEmpty"
                || QRegularExpression("/LUMORAX42[0-9a-zA-Z]{32}\\.png$").match(names->last()).hasMatch(),
            qPrintable(names->last()));
    }
    QCOMPARE(QSet<QString>(names->begin(), names->end()).size(), names->size());
}

// A transparent image with the runs of each line painted from x on the line's bottom edge, as a
// viewer should see them: each run's text on its background.
QImage paintedLines(QSize size, const QList<std::tuple<double, int, QString>>& lines, int letterSpacing = 0)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(0);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
    painter.setPen(Qt::white);
    for (auto [x, bottom, line] : lines) {
        for (const ns::TextRun& run : runsOf(line)) {
            const QFontMetrics fm(fontOf(run.attributeId, letterSpacing));
            painter.setFont(fontOf(run.attributeId, letterSpacing));
            painter.drawText(QPointF(x, bottom - fm.descent()), run.text.c_str());
            const int width = fm.horizontalAdvance(run.text.c_str());
            painter.fillRect(
                int(x), bottom - fm.height(), width, fm.height(), QColor(kStyles[run.attributeId].bkColor));
            x += width;
        }
    }
    return image;
}

} // namespace

Q_DECLARE_METATYPE(Layout)

class TestRichTextPlay : public QObject {
    Q_OBJECT
    std::optional<CacheScope> m_cache;
private slots:
    void init() { m_cache.emplace(); }
    void cleanup()
    {
        QVERIFY2(m_cache->log.unexpectedErrors().isEmpty(), qPrintable(m_cache->log.unexpectedErrors().join('\n')));
    }

    void cutMatchesWholeTextMeasure_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<int>("letterSpacing");
        QTest::addColumn<QString>("text");
        // Kerning pairs, ligature candidates, combining accents and characters outside the basic
        // plane, whose widths depend on the units around a cut.
        const QString prose = QStringLiteral("AVAWAY To Ta Wa Yo office affluent fjord \"quoted\" L'Ty, 1/4 ");
        const QString mixed
            = QStringLiteral("Open 09:00 今日开放 e\u0301a\u0300o\u0308 \U00020000\U0001F600x 阅览室，。 ");
        QTest::newRow("latin prose, long run") << 2 << 0 << prose.repeated(12);
        QTest::newRow("bold, letter spacing") << 3 << 3 << prose.repeated(12);
        QTest::newRow("chinese, marks and surrogates") << 7 << 1 << mixed.repeated(16);
        // Heads may shrink as they grow; every head is measured.
        QTest::newRow("negative letter spacing") << 0 << -4 << prose.repeated(5);
        QTest::newRow("short text") << 2 << 0 << QStringLiteral("To Wa");
        QTest::newRow("one glyph") << 0 << 0 << QStringLiteral("W");
    }

    void cutMatchesWholeTextMeasure()
    {
        QFETCH(int, style);
        QFETCH(int, letterSpacing);
        QFETCH(QString, text);
        const QFont font = fontOf(style, letterSpacing);
        QVector<int> heads(text.size() + 1);
        for (int n = 1; n <= text.size(); ++n)
            heads[n] = QFontMetrics(font).horizontalAdvance(text, n);
        // At heads spread over the text, every head's width and half a pixel either side of it: the
        // cut is the head before the first one wider than the room; all of it when it is narrower.
        const int samples = std::min(int(text.size()), 97);
        for (int i = 0; i <= samples; ++i) {
            for (const double room : { -0.5, 0.0, 0.5 }) {
                const double maxWidth = heads.at(int(qint64(text.size()) * i / samples)) + room;
                const auto wider
                    = std::find_if(heads.begin() + 1, heads.end() - 1, [&](int w) { return w > maxWidth; });
                const QString cut = RichTextPlay::cutTextToWidth(text, font, maxWidth);
                QCOMPARE(cut, text.left(maxWidth > heads.last() ? int(text.size()) : int(wider - heads.begin()) - 1));
                // The one-pass form that lays out lines: the whole width when it fits, else the same cut.
                const RichTextPlay::RunFit fit = RichTextPlay::fitRun(text, font, maxWidth);
                QCOMPARE(fit.width, heads.last() > maxWidth ? std::optional<int>() : heads.last());
                QCOMPARE(fit.head, fit.width ? QString() : cut);
            }
        }
    }

    void layout_data()
    {
        QTest::addColumn<Layout>("layout");
        QTest::addColumn<QString>("width"); // pixels, or as wide as this line and a pixel
        // A line of each style with its spacing, '+' more pixels; a band is as high as its tallest line.
        QTest::addColumn<QString>("height");
        QTest::addColumn<QString>("text");
        // The files in order, joined by ','; each its lines, or a band's piece its runs. A file that
        // starts with '!' holds a line taller than the page, or a glyph wider than the band, in its
        // own size; "-" is a name without a file.
        QTest::addColumn<QString>("files");
        // Characters no font draws, as "paragraph:line:run:code point" in text order, each once a run.
        QTest::addColumn<QString>("missing");
        const auto row = [](const QString& name, const Layout& layout, const QString& width, const char* height,
                             const QString& text, const QString& files, const char* missing = "") {
            QTest::newRow(qPrintable(name)) << layout << width << QString(height) << text << files << QString(missing);
        };
        const Layout up { ns::SCROLL, ns::MOVE_UP, 2 }, up3 { ns::SCROLL, ns::MOVE_UP, 3 };
        row("the sixth line opens a page", up, "401", "00000+8", "0e*6", "0e*5,0e");
        row("three pages", up3, "401", "22222+10", "2Pg*11", "2Pg*5,2Pg*5,2Pg");
        row("a line ending at the edge moves on", up, "401", "00000", "0edge*5", "0edge*4,0edge");
        row("a blank line ending at the edge stays", up, "401", "00000", "0edge*4|0", "0edge*4|0");
        row("a blank line past the edge opens a page", up3, "401", "00000+2", "0edge*5|0|0edge", "0edge*5,0|0edge");
        row("a blank line opens a centred page", { ns::PAGE_SWITCH, 0, 3, 0, ns::ALIGN_VCENTER }, "401", "00000+2",
            "0edge*5|0|0edge", "0edge*5,0|0edge");
        row("an oversize line closes the page", up, "401", "0+2", "0small|1Big", "0small,!1Big,-");
        row("an oversize line opens the text", up, "401", "0+2", "1Big|0small", "!1Big,0small");
        row("a cut word taller than the page", up, "1HH", "0+2", "1HHHH", "!1HH,!1HH,-");
        row("a cut line as tall as the page fits", up, "1HH", "1", "1HHHH", "1HH,!1HH,-");
        row("a cut line ending at the edge moves on", up, "0nnnnn", "00", "0nnnnnnnnnnnnnnn", "0nnnnn,0nnnnn,0nnnnn");
        row("blank lines of another size; no runs, no line", up, "401", "1111", "0text|1|0text|", "0text|1|0text");
        row("leading empty runs are blank lines", up, "401", "1111", "1+0+0text+1", "1|0|0text");
        row("a page a line, in quick succession", up, "0name", "0+1", "0name*60",
            QString("0name,").repeated(59) + "0name");
        row("no room for a page", up, "0", "00", "0text", "");
        for (int h : { ns::ALIGN_LEFT, ns::ALIGN_HCENTER, ns::ALIGN_RIGHT }) {
            row(QString("a run cut into lines, hAlignment %1").arg(h), { ns::SCROLL, 0, 2, 0, 0, h }, "0nnnnnnnnnn",
                "00000", "0nnnnnnnnnnnnnnnnnnnnnnnnn", "0nnnnnnnnnn*2|0nnnnn");
            row(QString("the second run cut, hAlignment %1").arg(h), { ns::SCROLL, 0, 2, 0, 0, h }, "0n+1HH", "11111",
                "0n+1HHHHH|0a+1H", "0n+1HH|1HH|1H|0a+1H");
        }
        for (int type : { ns::PAGE_SWITCH, ns::STATIC_PAGE, ns::SCROLL })
            for (int v : { ns::ALIGN_TOP, ns::ALIGN_VCENTER, ns::ALIGN_BOTTOM })
                row(QString("placed, type %1, vAlignment %2").arg(type).arg(v), { type, 0, 3, 0, v }, "401", "2222+5",
                    "2Block*7", "2Block*4,2Block*3");
        // The used height is carried from line to line as a whole number: each line's fraction of
        // spacing is dropped, and the last page drops the whole spacing, fraction and all.
        row("a quarter pixel of spacing", { ns::SCROLL, 0, 4.25 }, "401", "0000+1", "0row*7", "0row*4,0row*3");
        row("spacing below a pixel", { ns::SCROLL, 0, 0.75 }, "401", "0000", "0row*3", "0row*3");
        // Unassigned code points have no glyph anywhere; spaces, controls and joiners draw nothing.
        const QString drawable = "0Latin 42 \u00e9+7\u4e2d\u6587|0a\tb\u00a0c\u200dd\u2028";
        const QString missing = "0first|0x\u0378y\u0378\U0010FFFD+0ok \u0378";
        row("all drawn", { ns::SCROLL }, "401", "00000", drawable, drawable);
        row("no glyph", { ns::SCROLL }, "401", "00000", missing, missing, "0:1:0:378,0:1:0:10FFFD,0:1:1:378");

        // A band: all lines in a row, cut into pieces no wider than the band.
        const Layout band { ns::SCROLL, ns::MOVE_LEFT };
        const QString a20 = "0" + QString(20, 'a'), a15 = "0" + QString(15, 'a'), text = "Weekly Timetable 今日";
        row("band narrower than the widget", band, a20, "", "0aaaaaaa", "0aaaaaaa");
        row("band of two and a half widths", band, a20, "", "0" + QString(50, 'a'), a20 + "," + a20 + ",0aaaaaaaaaa");
        row("band lines and paragraphs run together", band, a20, "", "0aa|1aa|/|0aa", "0aa+1aa+0aa");
        row("band paragraphs across a cut", band, a20, "", a15 + "|/|0aaaaaaaaaa", a15 + "+0aaaaa,0aaaaa");
        row("band line led by an empty run is left out", band, a20, "", "0ab|0+0cd|0ef", "0ab+0ef");
        row("band sizes share the bottom", band, "500", "", "0small+1Big+0small", "0small+1Big+0small");
        row("band glyphs wider than the band", band, "1", "", "1WMW" + QString(40, 'i'),
            "!1W,!1M,!1W," + QString("!1i,").repeated(40) + "-");
        row("band without text", band, "401", "", "|/|", "");
        for (const char* style : { "3", "4", "5", "6", "7" }) // bold, italic, both, neither, a family the host maps
            row(QString("band style ") + style, band, "2000", "", style + text, style + text);
        row("band with wider letters", { ns::SCROLL, ns::MOVE_LEFT, 0, 4 }, "2000", "", "0" + text, "0" + text);
        row("band with narrower letters, bold", { ns::SCROLL, ns::MOVE_RIGHT, 0, -1 }, "2000", "", "3" + text,
            "3" + text);
    }

    void layout()
    {
        QFETCH(Layout, layout);
        QFETCH(QString, width);
        QFETCH(QString, height);
        QFETCH(QString, text);
        QFETCH(QString, files);
        QFETCH(QString, missing);
        const ns::RichTextContent c = content(text, layout);
        const bool band = ns::isMarquee(c.displayStyle);
        const QStringList expected = files.isEmpty() ? QStringList() : files.split(',');
        const float s = layout.lineSpacing;
        const auto step = [s](const QString& line) { return textHeightOf(line) + int(s); };
        bool pixels = false;
        const int pageWidth = width.toInt(&pixels) + (pixels ? 0 : widthOf(width, layout.letterSpacing) + 1);
        int pageHeight = height.section('+', 1).toInt();
        for (const QChar style : height.section('+', 0, 0))
            pageHeight += step(style);
        for (const QString& line : linesOf(band ? text : QString()))
            pageHeight = std::max(pageHeight, line == "/" ? 0 : textHeightOf(line));
        // The host makes a band as high as the tallest line, measured in the families as written.
        QWidget parent;
        ImagePlay measure(&parent);
        measure.setRichTextInfo({ {}, c });
        QVERIFY(!band || text.startsWith('7') || measure.calMaxLineHeight() == pageHeight);

        QStringList found;
        for (const RichTextPlay::MissingGlyph& glyph : RichTextPlay::missingGlyphs(c)) {
            QCOMPARE(glyph.runText.toStdString(), c.paragraphs[glyph.paragraph].lines[glyph.line][glyph.run].text);
            found << QString::asprintf("%d:%d:%d:%X", glyph.paragraph, glyph.line, glyph.run, uint(glyph.codePoint));
        }
        QCOMPARE(found.join(','), missing);
        m_cache->log.expectError("cannot make a");
        QStringList names;
        render(c, pageWidth, pageHeight, &names);
        // The renderer says so once a text, with the count; a page or band of no size is refused.
        QCOMPARE(m_cache->log.count(QString("%1 characters of the text have no glyph").arg(found.size())),
            found.isEmpty() ? 0 : 1);
        QCOMPARE(m_cache->log.count("have no glyph"), found.isEmpty() ? 0 : 1);
        QCOMPARE(m_cache->log.count(
                     QString("cannot make a %1 of %2x%3").arg(band ? "piece" : "page").arg(pageWidth).arg(pageHeight)),
            expected.isEmpty() ? 1 : 0);
        QCOMPARE(names.size(), expected.size());
        QCOMPARE(m_cache->fileCount(), expected.size() - expected.count("-"));
        // The display takes the first file from memory, once: the same pixels.
        QImage kept;
        QVERIFY(names.isEmpty() || (imagehandoff::take(names[0], &kept) && kept == QImage(names[0])));
        QVERIFY(names.isEmpty() || (!imagehandoff::take(names[0], &kept) && !imagehandoff::take(names.last(), &kept)));

        for (int i = 0; i < expected.size(); ++i) {
            QVERIFY(expected.at(i) != "-" || names.at(i) == "isEmpty" || (band && !QFileInfo::exists(names.at(i))));
            const bool oversize = expected.at(i).startsWith('!');
            const QStringList lines = linesOf(expected.at(i).mid(oversize));
            // A page keeps the spacing under its last line, unless it is the text's last page or a
            // blank line closed it.
            const bool dropsSpacing
                = i + 1 == expected.size() || runsOf(linesOf(expected.at(i + 1))[0])[0].text.empty();
            int used = 0;
            for (const QString& line : lines)
                used += step(line);
            used = oversize ? int(textHeightOf(lines[0]) + s) : used - (dropsSpacing ? int(std::ceil(s)) : 0);
            const bool paged = layout.type != ns::SCROLL && !oversize;
            // Left, centre, right and top, centre, bottom are 0, 1, 2: none, half or all of the room.
            int y = paged ? (pageHeight - used) * layout.vAlignment / 2 : 0;
            QList<std::tuple<double, int, QString>> placed;
            for (const QString& line : lines) {
                placed.append({ (pageWidth - widthOf(line)) * layout.hAlignment / 2.0,
                    band ? pageHeight : y + textHeightOf(line), line });
                y += step(line);
            }
            const QSize size = band ? QSize(widthOf(lines[0], layout.letterSpacing), oversize ? used : pageHeight)
                                    : QSize(pageWidth, paged ? pageHeight : used);
            const QString difference = expected.at(i) == "-"
                ? QString()
                : framecheck::imageDifference(QImage(names.at(i)), paintedLines(size, placed, layout.letterSpacing));
            QVERIFY2(difference.isEmpty(), qPrintable(QStringLiteral("file %1: %2").arg(i).arg(difference)));
        }
    }

    void underline_data()
    {
        QTest::addColumn<int>("moveType");
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("room"); // spaces the width holds
        QTest::newRow("page, one segment") << int(ns::MOVE_UP) << "1    " << 4;
        QTest::newRow("page, cut piece") << int(ns::MOVE_UP) << "1    " << 2;
        QTest::newRow("page, two segments") << int(ns::MOVE_UP) << "1  +1  " << 4;
        QTest::newRow("band") << int(ns::MOVE_LEFT) << "1    " << 4;
    }

    void underline()
    {
        QFETCH(int, moveType);
        QFETCH(QString, line);
        QFETCH(int, room);
        // Spaces draw no glyph: what is painted is the underline alone. The unused style 2 makes the
        // thickness of several segments and of the band 250 / 25.
        ns::RichTextContent c = content(line, { ns::SCROLL, moveType });
        c.textAttributes[1].style.bkColor = "#00000000";
        c.textAttributes[1].style.underline = c.textAttributes[2].style.underline = true;
        std::tie(c.textAttributes[1].style.pixelSize, c.textAttributes[2].style.pixelSize) = std::make_pair(60, 250);
        QFont font(kDejaVu);
        font.setPixelSize(60);
        const QFontMetrics fm(font);
        const int width = fm.horizontalAdvance(QString(room, ' '));
        QStringList names;
        render(c, width + 1, fm.height() + 10, &names);
        // A line of one piece has a thickness from its font; one of several segments, and the band,
        // the one from the largest underlined style, at the lower edge of the piece.
        const int t = moveType == ns::MOVE_UP && !line.contains('+') ? fm.height() / 25 : 250 / 25;
        const int bottom = moveType == ns::MOVE_UP ? fm.height() : fm.height() + 10;
        QCOMPARE(framecheck::paintedRegion(QImage(names.value(0))).boundingRect(), QRect(0, bottom - t, width, t));
    }

    void stopFromAnotherThread_data()
    {
        QTest::addColumn<int>("moveType");
        QTest::addColumn<int>("stopAfter"); // names announced before stop(); -1 stops before the render
        QTest::addColumn<QString>("text");
        const QString oneLine = "0" + QString("stop").repeated(20); // the stop lands inside the line
        QTest::newRow("pages, stopped before") << int(ns::MOVE_UP) << -1 << "0stop*20";
        QTest::newRow("pages, stopped after the first page") << int(ns::MOVE_UP) << 1 << "0stop*20";
        QTest::newRow("pages, stopped inside a line") << int(ns::MOVE_UP) << 1 << oneLine;
        QTest::newRow("band, stopped after the first piece") << int(ns::MOVE_LEFT) << 1 << "0stop*20";
        QTest::newRow("band, stopped inside a line") << int(ns::MOVE_LEFT) << 2 << oneLine;
    }

    void stopFromAnotherThread()
    {
        QFETCH(int, moveType);
        QFETCH(int, stopAfter);
        QFETCH(QString, text);
        // The render runs on a worker; each name blocks it until this thread has seen it. Nothing
        // announced after the stop counts, nor any file left behind.
        RichTextPlay play;
        QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
        QObject receiver;
        const auto stop = [&] { spy.size() == stopAfter ? play.stop() : void(); };
        connect(&play, &RichTextPlay::ImageValueChanged, &receiver, stop, Qt::BlockingQueuedConnection);
        if (stopAfter < 0)
            play.stop();
        const ns::RichTextContent c = content(text, { ns::SCROLL, moveType });
        const int width = 2 * widthOf("0stop") + 1, height = (moveType == ns::MOVE_UP ? 3 : 1) * textHeightOf("0") + 1;
        std::unique_ptr<QThread> worker(QThread::create([&] {
            ns::isMarquee(c.displayStyle) ? play.creatMarqueeImage(c, width, height)
                                          : play.creatImage(c, width, height);
        }));
        QSignalSpy finished(worker.get(), &QThread::finished);
        worker->start();
        QVERIFY(finished.wait(10000));
        QCOMPARE(spy.size(), std::max(stopAfter, 0));
        QVERIFY(std::none_of(spy.begin(), spy.end(), [](const QList<QVariant>& args) { return args.at(1).toBool(); }));
        QCOMPARE(m_cache->fileCount(), std::max(stopAfter, 0));
    }
};

QTEST_MAIN(TestRichTextPlay)
#include "tst_richtextplay.moc"
