// The text renderer: line breaking, page breaking and the band of a left or right scroll, read
// back from the PNG files it writes. Every expected size comes from QFontMetrics of the same font,
// so the cases hold for any installed version of the fonts.
#include "logcapture.h"

#include <playerpath.h>
#include <imagehandoff.h>
#include <richtextplay.h>

#include <playersettings.h>

#include <QDir>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFileInfo>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QThread>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

const QString kDejaVu = QStringLiteral("DejaVu Sans");
const QString kLiberation = QStringLiteral("Liberation Sans");
const QString kWenQuanYi = QStringLiteral("WenQuanYi Micro Hei");
const QString kTaskId = QStringLiteral("LUMORAX42");
// Opaque blue behind the text, so a block's rows can be found in a file.
constexpr char kOpaqueBackground[] = "#FF0000FF";

// The font the renderer builds for a style of `family` and `pixelSize`, regular weight.
QFont fontOf(const QString& family, int pixelSize)
{
    QFont font;
    font.setStyleHint(QFont::SansSerif, QFont::PreferDefault);
    font.setFamily(family);
    font.setPixelSize(pixelSize);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0);
    font.setWeight(50);
    font.setStyle(QFont::StyleNormal);
    return font;
}

int lineHeight(const QFont& font, int lineSpacing)
{
    const QFontMetrics fm(font);
    return fm.ascent() + fm.descent() + lineSpacing;
}

ns::TextAttribute attribute(int id, const QString& family, int pixelSize, const char* bkColor = "#00000000")
{
    ns::TextAttribute a;
    a.id = id;
    a.style.fontFamilies = { family.toStdString() };
    a.style.pixelSize = pixelSize;
    a.style.fontStyle = ns::FONT_REGULAR;
    a.style.bkColor = bkColor;
    return a;
}

ns::TextRun run(int attributeId, const QString& text)
{
    return ns::TextRun { attributeId, text.toStdString() };
}

ns::Paragraph paragraph(std::vector<std::vector<ns::TextRun>> lines, float lineSpacing = 0,
    ns::VAlignment vAlignment = ns::ALIGN_TOP, ns::HAlignment hAlignment = ns::ALIGN_LEFT)
{
    ns::Paragraph p;
    p.vAlignment = vAlignment;
    p.hAlignment = hAlignment;
    p.lineSpacing = lineSpacing;
    p.lines = std::move(lines);
    return p;
}

// A scroll upward: page files are cut to the rows really used, which makes page heights visible.
ns::RichTextContent content(std::vector<ns::TextAttribute> attributes, std::vector<ns::Paragraph> paragraphs,
    int type = ns::SCROLL, ns::MoveType moveType = ns::MOVE_UP)
{
    ns::RichTextContent c;
    c.displayStyle.type = type;
    c.displayStyle.scrollAttributes.effecs.moveType = moveType;
    c.textAttributes = std::move(attributes);
    c.paragraphs = std::move(paragraphs);
    return c;
}

// `count` lines of one run each with attribute 0.
std::vector<std::vector<ns::TextRun>> lines(int count, const QString& text)
{
    std::vector<std::vector<ns::TextRun>> result;
    for (int i = 0; i < count; ++i)
        result.push_back({ run(0, text) });
    return result;
}

struct Output {
    QStringList names;
    QList<bool> last;
    QList<QImage> images;
};

Output collect(const QSignalSpy& spy)
{
    Output out;
    for (const QList<QVariant>& args : spy) {
        out.names.append(args.at(0).toString());
        out.last.append(args.at(1).toBool());
        out.images.append(QImage(args.at(0).toString()));
    }
    return out;
}

// Smallest rectangle holding every pixel of exactly `color`.
QRect boundsOf(const QImage& image, QColor color)
{
    QRect bounds;
    const QRgb wanted = color.rgba();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) == wanted)
                bounds |= QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

// First and last row holding an opaque pixel, or (-1, -1).
QPair<int, int> opaqueRows(const QImage& image)
{
    int first = -1;
    int last = -1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) == 255) {
                if (first < 0)
                    first = y;
                last = y;
                break;
            }
        }
    }
    return { first, last };
}

// The plain definition of the cut: the first n whose head is wider than maxWidth gives n - 1 units.
// `heads[n]` is QFontMetrics::horizontalAdvance(text, n) for the whole text.
int referenceCut(const QVector<int>& heads, double maxWidth)
{
    const int length = heads.size() - 1;
    if (maxWidth > heads.at(length))
        return length;
    if (length < 2)
        return 0;
    for (int n = 1; n < length; ++n) {
        if (heads.at(n) > maxWidth)
            return n - 1;
    }
    return length - 1;
}

QString repeated(const QString& piece, int length)
{
    QString text;
    while (text.size() < length)
        text += piece;
    return text.left(length);
}

QList<bool> lastFlags(int count)
{
    QList<bool> flags;
    for (int i = 0; i < count; ++i)
        flags.append(i == count - 1);
    return flags;
}

} // namespace

Q_DECLARE_METATYPE(std::vector<ns::Paragraph>)
Q_DECLARE_METATYPE(std::vector<std::vector<ns::TextRun>>)

class TestRichTextPlay : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void cutTextToWidth_data();
    void cutTextToWidth();
    void cutMatchesWholeTextMeasure_data();
    void cutMatchesWholeTextMeasure();
    void lineOffsetAndThickness();

    void pageBreaking_data();
    void pageBreaking();
    void nextPageStartsAtTop();
    void blankLines_data();
    void blankLines();
    void longWords_data();
    void longWords();
    void verticalPlace_data();
    void verticalPlace();
    void pageBoundaries_data();
    void pageBoundaries();
    void runsShareBottomEdge_data();
    void runsShareBottomEdge();
    void underline_data();
    void underline();
    void stopFromAnotherThread();
    void stopBetweenLines_data();
    void stopBetweenLines();
    void unusableInput_data();
    void unusableInput();

    void marqueePieces_data();
    void marqueePieces();
    void marqueeOversizeGlyph();
    void oversizeLineFile_data();
    void oversizeLineFile();
    void fileNames_data();
    void fileNames();

    void fractionalLineSpacing_data();
    void fractionalLineSpacing();
    void letterSpacingAndStyles_data();
    void letterSpacingAndStyles();
    void defaultFontMapping_data();
    void defaultFontMapping();
    void mappedFamilyRendersAsItsTarget();
    void missingGlyphs_data();
    void missingGlyphs();
    void firstFileHandedOff();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<LogCapture> m_log;
};

void TestRichTextPlay::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    PlayerPath::getInstance().setImageCachePath(m_dir->path());
    m_log = std::make_unique<LogCapture>();
}

void TestRichTextPlay::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
    PlayerPath::getInstance().setImageCachePath(QString());
    m_dir.reset();
}

void TestRichTextPlay::cutTextToWidth_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("headUnits"); // maxWidth is the width of this many units...
    QTest::addColumn<double>("adjust"); // ...plus this
    QTest::addColumn<int>("expectedUnits");

    const QString latin = QStringLiteral("abcdefghijklmnop");
    const QString chinese = QStringLiteral("汉字文本测试渲染排版");
    QTest::newRow("width of a head: that head fits") << kDejaVu << latin << 5 << 0.0 << 5;
    QTest::newRow("just below a head: one unit less") << kDejaVu << latin << 5 << -0.5 << 4;
    QTest::newRow("whole text needs strict room") << kLiberation << latin << latin.size() << 0.0 << latin.size() - 1;
    QTest::newRow("whole text with room") << kLiberation << latin << latin.size() << 0.5 << latin.size();
    QTest::newRow("chinese head") << kWenQuanYi << chinese << 3 << 1.0 << 3;
    QTest::newRow("single unit too wide") << kDejaVu << QStringLiteral("W") << 1 << -1.0 << 0;
    QTest::newRow("nothing fits") << kDejaVu << latin << 0 << 0.0 << 0;
}

void TestRichTextPlay::cutTextToWidth()
{
    QFETCH(QString, family);
    QFETCH(QString, text);
    QFETCH(int, headUnits);
    QFETCH(double, adjust);
    QFETCH(int, expectedUnits);

    const QFont font = fontOf(family, 20);
    const double maxWidth = QFontMetrics(font).horizontalAdvance(text.left(headUnits)) + adjust;
    QCOMPARE(RichTextPlay::cutTextToWidth(text, font, maxWidth), text.left(expectedUnits));
}

void TestRichTextPlay::cutMatchesWholeTextMeasure_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("letterSpacing");
    QTest::addColumn<int>("weight");
    QTest::addColumn<QString>("text");

    // Kerning pairs and ligature candidates, whose widths depend on the units around a cut.
    const QString prose = QStringLiteral("AVAWAY To Ta Wa Yo office affluent fjord \"quoted\" L'Ty, 1/4 ");
    const QString chinese = QStringLiteral("汉字文本测试渲染排版，标点符号。");
    const QString mixed = QStringLiteral("Open 09:00 今日开放 Reading room 阅览室 ");
    // Combining accents and characters outside the basic plane, two units each.
    const QString combining = QStringLiteral("e\u0301a\u0300o\u0308 \U00020000\U0001F600x ");
    QTest::newRow("latin prose, long run") << kLiberation << 0 << 50 << repeated(prose, 1500);
    QTest::newRow("latin prose, bold, letter spacing") << kDejaVu << 3 << 75 << repeated(prose, 1500);
    QTest::newRow("chinese, long run") << kWenQuanYi << 0 << 50 << repeated(chinese, 1200);
    QTest::newRow("mixed latin and chinese") << kDejaVu << 1 << 50 << repeated(mixed, 1500);
    QTest::newRow("combining marks and surrogates") << kDejaVu << 0 << 50 << repeated(combining, 900);
    // Heads may shrink as they grow; every head is measured.
    QTest::newRow("negative letter spacing") << kDejaVu << -4 << 50 << repeated(prose, 300);
    QTest::newRow("short text") << kLiberation << 0 << 50 << QStringLiteral("To Wa");
}

void TestRichTextPlay::cutMatchesWholeTextMeasure()
{
    QFETCH(QString, family);
    QFETCH(int, letterSpacing);
    QFETCH(int, weight);
    QFETCH(QString, text);

    QFont font = fontOf(family, 20);
    font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    font.setWeight(weight);
    const QFontMetrics fm(font);
    QVector<int> heads(text.size() + 1);
    for (int n = 1; n <= text.size(); ++n)
        heads[n] = fm.horizontalAdvance(text, n);

    // Every head width itself and half a pixel either side of it, at heads spread over the text:
    // short lines cut long runs, long lines reach the end of the text.
    const int samples = std::min(int(text.size()), 97);
    for (int i = 1; i <= samples; ++i) {
        const int n = int(qint64(text.size()) * i / samples);
        for (double maxWidth : { heads.at(n) - 0.5, double(heads.at(n)), heads.at(n) + 0.5 }) {
            const QString cut = RichTextPlay::cutTextToWidth(text, font, maxWidth);
            QVERIFY2(cut == text.left(referenceCut(heads, maxWidth)),
                qPrintable(QStringLiteral("maxWidth %1: %2 units, expected %3")
                               .arg(maxWidth)
                               .arg(cut.size())
                               .arg(referenceCut(heads, maxWidth))));
            // The one-pass form that lays out lines: the whole width when it fits, else the same cut.
            const RichTextPlay::RunFit fit = RichTextPlay::fitRun(text, font, maxWidth);
            const int whole = heads.at(text.size());
            QCOMPARE(fit.width.has_value(), !(whole > maxWidth));
            if (fit.width)
                QCOMPARE(*fit.width, whole);
            else
                QCOMPARE(fit.head, cut);
        }
    }
}

void TestRichTextPlay::lineOffsetAndThickness()
{
    QCOMPARE(RichTextPlay::lineOffset(100, 30, 10, ns::ALIGN_LEFT), 0.0);
    QCOMPARE(RichTextPlay::lineOffset(100, 30, 10, ns::ALIGN_HCENTER), 30.0);
    QCOMPARE(RichTextPlay::lineOffset(100, 30, 10, ns::ALIGN_RIGHT), 60.0);
    // A unit wider than the page is not clamped.
    QCOMPARE(RichTextPlay::lineOffset(10, 0, 30, ns::ALIGN_HCENTER), -10.0);

    std::vector<ns::TextAttribute> attributes { attribute(0, kDejaVu, 50), attribute(1, kDejaVu, 20) };
    QCOMPARE(RichTextPlay::underlineThickness(attributes), 1.0);
    attributes[1].style.underline = true;
    QCOMPARE(RichTextPlay::underlineThickness(attributes), 1.0);
    attributes[0].style.underline = true;
    QCOMPARE(RichTextPlay::underlineThickness(attributes), 2.0);

    QCOMPARE(RichTextPlay::attributeIndex(
                 7, { attribute(3, kDejaVu, 10), attribute(7, kDejaVu, 11), attribute(7, kDejaVu, 12) }),
        1);
    QCOMPARE(RichTextPlay::tallestFontIndex({ fontOf(kDejaVu, 14), fontOf(kDejaVu, 40), fontOf(kDejaVu, 40) }), 1);
}

void TestRichTextPlay::pageBreaking_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("pixelSize");
    QTest::addColumn<int>("lineSpacing");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("lineCount");
    // Lines on each page; a page holds five.
    QTest::addColumn<QList<int>>("perPage");

    QTest::newRow("fits on one page") << kDejaVu << 16 << 2 << "Hello" << 3 << QList<int> { 3 };
    QTest::newRow("five lines fill a page") << kDejaVu << 16 << 2 << "Hello" << 5 << QList<int> { 5 };
    QTest::newRow("sixth line opens a page") << kDejaVu << 16 << 2 << "Hello" << 6 << QList<int> { 5, 1 };
    QTest::newRow("seven lines") << kLiberation << 20 << 0 << "Page" << 7 << QList<int> { 5, 2 };
    QTest::newRow("three pages") << kWenQuanYi << 24 << 3 << QStringLiteral("文本") << 11 << QList<int> { 5, 5, 1 };
}

void TestRichTextPlay::pageBreaking()
{
    QFETCH(QString, family);
    QFETCH(int, pixelSize);
    QFETCH(int, lineSpacing);
    QFETCH(QString, text);
    QFETCH(int, lineCount);
    QFETCH(QList<int>, perPage);

    const int h = lineHeight(fontOf(family, pixelSize), lineSpacing);
    // Room for five lines and half of a sixth.
    const int pageHeight = 5 * h + h / 2;
    RichTextPlay play;
    play.setTaskID(kTaskId);
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, family, pixelSize) }, { paragraph(lines(lineCount, text), lineSpacing) }),
        400, pageHeight);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(perPage.size()));
    for (int i = 0; i < perPage.size(); ++i) {
        QVERIFY2(!out.images.at(i).isNull(), qPrintable(out.names.at(i)));
        // A closed page keeps the spacing under its last line, the last page drops it.
        const int expected = perPage.at(i) * h - (i == perPage.size() - 1 ? lineSpacing : 0);
        QCOMPARE(out.images.at(i).height(), expected);
        QCOMPARE(out.images.at(i).width(), 400);
    }
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), perPage.size());
    // Whole lines close pages at their end; none is cut here.
    QCOMPARE(m_log->count(" RichTextPlay::creatImage=======================emit 2 image success"), perPage.size() - 1);
    QCOMPARE(m_log->count("emit 1 image success"), 0);
    QCOMPARE(m_log->count("RichTextPlay::saveImage=======================start"), perPage.size());
}

void TestRichTextPlay::nextPageStartsAtTop()
{
    // Paged display with the text at the top: files keep the page size, and the sixth line
    // stands at the top of the second page with its background down to its own bottom.
    const int lineSpacing = 2;
    const QFont font = fontOf(kDejaVu, 16);
    const int h = lineHeight(font, lineSpacing);
    const int pageHeight = 5 * h + h / 2;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, kDejaVu, 16, kOpaqueBackground) },
                        { paragraph(lines(6, QStringLiteral("Hello")), lineSpacing) }, ns::PAGE_SWITCH),
        300, pageHeight);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(2));
    QCOMPARE(out.images.at(0).height(), pageHeight);
    QCOMPARE(out.images.at(1).height(), pageHeight);
    const QFontMetrics fm(font);
    QCOMPARE(opaqueRows(out.images.at(1)), qMakePair(0, fm.height() - 1));
    QCOMPARE(opaqueRows(out.images.at(0)), qMakePair(0, 4 * h + fm.height() - 1));
}

void TestRichTextPlay::blankLines_data()
{
    QTest::addColumn<std::vector<ns::Paragraph>>("paragraphs");
    // How many lines of the 14 and of the 40 pixel font make up the file's height.
    QTest::addColumn<int>("smallLines");
    QTest::addColumn<int>("bigLines");

    // Attribute 0 is 14 pixels, attribute 1 is 40.
    QTest::newRow("empty run of a big font")
        << std::vector<ns::Paragraph> { paragraph({ { run(0, "text") }, { run(1, "") }, { run(0, "text") } }) } << 2
        << 1;
    QTest::newRow("line without runs adds nothing")
        << std::vector<ns::Paragraph> { paragraph({ { run(0, "text") }, {}, { run(0, "text") } }) } << 2 << 0;
    QTest::newRow("paragraph without lines adds nothing") << std::vector<ns::Paragraph> {
        paragraph({ { run(1, "text") } }), paragraph({}), paragraph({ { run(1, "text") } })
    } << 0 << 2;
    QTest::newRow("empty last run changes nothing")
        << std::vector<ns::Paragraph> { paragraph({ { run(0, "text"), run(1, "") } }) } << 1 << 0;
    QTest::newRow("two sizes on one line take the taller")
        << std::vector<ns::Paragraph> { paragraph({ { run(0, "small"), run(1, "big") } }) } << 0 << 1;
    QTest::newRow("only a blank line") << std::vector<ns::Paragraph> { paragraph({ { run(1, "") } }) } << 0 << 1;
}

void TestRichTextPlay::blankLines()
{
    QFETCH(std::vector<ns::Paragraph>, paragraphs);
    QFETCH(int, smallLines);
    QFETCH(int, bigLines);

    const int small = lineHeight(fontOf(kDejaVu, 14), 0);
    const int big = lineHeight(fontOf(kDejaVu, 40), 0);
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, kDejaVu, 14), attribute(1, kDejaVu, 40) }, paragraphs), 400, 1000);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(1));
    QCOMPARE(out.images.at(0).height(), smallLines * small + bigLines * big);
}

void TestRichTextPlay::longWords_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<int>("pixelSize");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("unitsPerLine"); // the page is as wide as this many units, plus one pixel
    QTest::addColumn<int>("expectedLines");

    QTest::newRow("latin word cut without hyphen") << kDejaVu << 20 << QString(25, 'n') << 10 << 3;
    QTest::newRow("chinese cut like latin") << kWenQuanYi << 20 << QString(7, QChar(0x6587)) << 3 << 3;
    // The page is one pixel wide: every glyph stands alone and the loop goes on.
    QTest::newRow("glyph wider than the page") << kLiberation << 40 << QStringLiteral("WWW") << 0 << 3;
}

void TestRichTextPlay::longWords()
{
    QFETCH(QString, family);
    QFETCH(int, pixelSize);
    QFETCH(QString, text);
    QFETCH(int, unitsPerLine);
    QFETCH(int, expectedLines);

    const QFont font = fontOf(family, pixelSize);
    const int width = QFontMetrics(font).horizontalAdvance(text.left(unitsPerLine)) + 1;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, family, pixelSize) }, { paragraph({ { run(0, text) } }) }), width, 1000);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(1));
    QCOMPARE(out.images.at(0).height(), expectedLines * lineHeight(font, 0));
    QCOMPARE(out.images.at(0).width(), width);
}

void TestRichTextPlay::verticalPlace_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("vAlignment");
    QTest::addColumn<bool>("fullPage");

    QTest::newRow("paged, top") << int(ns::PAGE_SWITCH) << int(ns::ALIGN_TOP) << true;
    QTest::newRow("paged, centre") << int(ns::PAGE_SWITCH) << int(ns::ALIGN_VCENTER) << true;
    QTest::newRow("paged, bottom") << int(ns::STATIC_PAGE) << int(ns::ALIGN_BOTTOM) << true;
    QTest::newRow("scroll up, centre") << int(ns::SCROLL) << int(ns::ALIGN_VCENTER) << false;
}

void TestRichTextPlay::verticalPlace()
{
    QFETCH(int, type);
    QFETCH(int, vAlignment);
    QFETCH(bool, fullPage);

    const int pageHeight = 300;
    const QFont font = fontOf(kLiberation, 20);
    const int block = 3 * QFontMetrics(font).height();
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, kLiberation, 20, kOpaqueBackground) },
                        { paragraph(lines(3, QStringLiteral("Block")), 0, ns::VAlignment(vAlignment)) }, type),
        200, pageHeight);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(1));
    const QImage& image = out.images.at(0);
    QCOMPARE(image.height(), fullPage ? pageHeight : block);
    int top = 0;
    if (fullPage && vAlignment == ns::ALIGN_VCENTER)
        top = (pageHeight - block) / 2;
    else if (fullPage && vAlignment == ns::ALIGN_BOTTOM)
        top = pageHeight - block;
    QCOMPARE(opaqueRows(image), qMakePair(top, top + block - 1));
}

void TestRichTextPlay::pageBoundaries_data()
{
    QTest::addColumn<std::vector<std::vector<ns::TextRun>>>("textLines");
    QTest::addColumn<int>("pageFont"); // the page is as high as a line of this font...
    QTest::addColumn<int>("pageLines"); // ...times this...
    QTest::addColumn<int>("pageExtra"); // ...plus this many pixels
    QTest::addColumn<QString>("widthText"); // the page is as wide as this text...
    QTest::addColumn<int>("widthFont"); // ...in this font, plus one pixel
    // Per signal: the font of the file's lines, 0 for "isEmpty", and how many lines it holds.
    QTest::addColumn<QList<int>>("fonts");
    QTest::addColumn<QList<int>>("counts");

    using Lines = std::vector<std::vector<ns::TextRun>>;
    const Lines fiveText = lines(5, QStringLiteral("edge"));
    Lines fourAndBlank = lines(4, QStringLiteral("edge"));
    fourAndBlank.push_back({ run(0, "") });
    Lines fiveAndBlank = fiveText;
    fiveAndBlank.push_back({ run(0, "") });
    const Lines bigWord { { run(1, QStringLiteral("WWWW")) } };
    const QString wide(40, 'n');

    QTest::newRow("text line ending at the edge moves on")
        << fiveText << 14 << 5 << 0 << wide << 14 << QList<int> { 14, 14 } << QList<int> { 4, 1 };
    QTest::newRow("cut line ending at the edge moves on")
        << Lines { { run(0, QString(15, 'n')) } } << 14 << 2 << 0 << QString(5, 'n') << 14 << QList<int> { 14, 14, 14 }
        << QList<int> { 1, 1, 1 };
    QTest::newRow("blank line ending at the edge stays")
        << fourAndBlank << 14 << 5 << 0 << wide << 14 << QList<int> { 14 } << QList<int> { 5 };
    QTest::newRow("blank line past the edge opens a page")
        << fiveAndBlank << 14 << 5 << 7 << wide << 14 << QList<int> { 14, 14 } << QList<int> { 5, 1 };
    QTest::newRow("oversize line closes the page") << Lines { { run(0, "small") }, { run(1, "big") } } << 14 << 1 << 2
                                                   << wide << 14 << QList<int> { 14, 40, 0 } << QList<int> { 1, 1, 0 };
    QTest::newRow("oversize line opens the text") << Lines { { run(1, "big") }, { run(0, "small") } } << 14 << 1 << 2
                                                  << wide << 14 << QList<int> { 40, 14 } << QList<int> { 1, 1 };
    QTest::newRow("cut word taller than the page")
        << bigWord << 14 << 1 << 2 << QStringLiteral("WW") << 40 << QList<int> { 40, 40, 0 } << QList<int> { 1, 1, 0 };
    QTest::newRow("line as tall as the page ending a text")
        << Lines { { run(1, "big") } } << 40 << 1 << 0 << wide << 14 << QList<int> { 40, 0 } << QList<int> { 1, 0 };
    QTest::newRow("cut line as tall as the page fits")
        << bigWord << 40 << 1 << 0 << QStringLiteral("WW") << 40 << QList<int> { 40, 40, 0 } << QList<int> { 1, 1, 0 };
}

void TestRichTextPlay::pageBoundaries()
{
    QFETCH(std::vector<std::vector<ns::TextRun>>, textLines);
    QFETCH(int, pageFont);
    QFETCH(int, pageLines);
    QFETCH(int, pageExtra);
    QFETCH(QString, widthText);
    QFETCH(int, widthFont);
    QFETCH(QList<int>, fonts);
    QFETCH(QList<int>, counts);

    const int width = QFontMetrics(fontOf(kDejaVu, widthFont)).horizontalAdvance(widthText) + 1;
    const int pageHeight = pageLines * lineHeight(fontOf(kDejaVu, pageFont), 0) + pageExtra;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(
        content({ attribute(0, kDejaVu, 14), attribute(1, kDejaVu, 40) }, { paragraph(textLines) }), width, pageHeight);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(fonts.size()));
    for (int i = 0; i < fonts.size(); ++i) {
        if (fonts.at(i) == 0) {
            QCOMPARE(out.names.at(i), QStringLiteral("isEmpty"));
            continue;
        }
        QVERIFY2(!out.images.at(i).isNull(), qPrintable(out.names.at(i)));
        QCOMPARE(out.images.at(i).height(), counts.at(i) * lineHeight(fontOf(kDejaVu, fonts.at(i)), 0));
    }
}

void TestRichTextPlay::runsShareBottomEdge_data()
{
    QTest::addColumn<int>("linesBefore");
    QTest::newRow("on the first page") << 0;
    QTest::newRow("pushed to a fresh page") << 2;
}

void TestRichTextPlay::runsShareBottomEdge()
{
    QFETCH(int, linesBefore);

    // Transparent text: only the backgrounds show, red behind the small run, blue behind the big one.
    const QColor red(255, 0, 0);
    const QColor blue(0, 0, 255);
    ns::TextAttribute small = attribute(0, kDejaVu, 14, "#FFFF0000");
    ns::TextAttribute big = attribute(1, kDejaVu, 40, "#FF0000FF");
    small.style.textColor = big.style.textColor = "#00000000";
    const QFontMetrics smallFm(fontOf(kDejaVu, 14));
    const QFontMetrics bigFm(fontOf(kDejaVu, 40));
    const int pageWidth = 401;
    const int pageHeight = bigFm.height() + 5;
    std::vector<std::vector<ns::TextRun>> textLines = lines(linesBefore, QStringLiteral("before"));
    textLines.push_back({ run(0, QStringLiteral("small")), run(1, QStringLiteral("Big")) });

    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(
        content({ small, big }, { paragraph(textLines, 0, ns::ALIGN_TOP, ns::ALIGN_HCENTER) }, ns::PAGE_SWITCH),
        pageWidth, pageHeight);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(linesBefore > 0 ? 2 : 1));
    const QImage& page = out.images.last();
    const int smallWidth = smallFm.horizontalAdvance(QStringLiteral("small"));
    const int bigWidth = bigFm.horizontalAdvance(QStringLiteral("Big"));
    const double offset = (pageWidth - smallWidth - bigWidth) * 0.5;
    const int bottom = bigFm.ascent() + bigFm.descent();
    QCOMPARE(boundsOf(page, red), QRect(int(offset), bottom - smallFm.height(), smallWidth, smallFm.height()));
    QCOMPARE(boundsOf(page, blue), QRect(int(offset + smallWidth), bottom - bigFm.height(), bigWidth, bigFm.height()));
}

void TestRichTextPlay::underline_data()
{
    QTest::addColumn<bool>("marquee");
    QTest::addColumn<bool>("cut"); // the run is cut, so it is painted as one piece
    QTest::newRow("page, one segment") << false << false;
    QTest::newRow("page, cut piece") << false << true;
    QTest::newRow("band") << true << false;
}

void TestRichTextPlay::underline()
{
    QFETCH(bool, marquee);
    QFETCH(bool, cut);

    // Spaces draw no glyph: what is green is the underline alone.
    const QColor green(0, 255, 0);
    ns::TextAttribute a = attribute(0, kDejaVu, 60);
    a.style.textColor = "#00ff00";
    a.style.underline = true;
    // Unused, but it makes the thickness of several segments and of the band 250 / 25.
    ns::TextAttribute huge = attribute(9, kDejaVu, 250);
    huge.style.underline = true;
    const QFontMetrics fm(fontOf(kDejaVu, 60));
    const QString text(4, ' ');
    const int textWidth = fm.horizontalAdvance(text);
    const int pageWidth = cut ? fm.horizontalAdvance(text.left(2)) + 1 : 500;
    const int height = fm.height() + 10;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    const ns::RichTextContent c
        = content({ a, huge }, { paragraph({ { run(0, text) } }) }, ns::SCROLL, marquee ? ns::MOVE_LEFT : ns::MOVE_UP);
    if (marquee)
        play.creatMarqueeImage(c, pageWidth, height);
    else
        play.creatImage(c, pageWidth, height);

    const Output out = collect(spy);
    QVERIFY(!out.images.isEmpty());
    const QImage& image = out.images.first();
    if (marquee) {
        // The band always uses the thickness taken from all styles, at the lower edge of the piece.
        const int t = 250 / 25;
        QCOMPARE(boundsOf(image, green), QRect(0, height - t, textWidth, t));
    } else {
        const int t = fm.height() > 25 ? fm.height() / 25 : 1;
        const int width = cut ? fm.horizontalAdvance(text.left(2)) : textWidth;
        QCOMPARE(boundsOf(image, green), QRect(0, fm.height() - t, width, t));
    }
}

void TestRichTextPlay::stopFromAnotherThread()
{
    // The render runs on a worker; the first image blocks it until stop() has run here.
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    QObject receiver;
    connect(
        &play, &RichTextPlay::ImageValueChanged, &receiver, [&]() { play.stop(); }, Qt::BlockingQueuedConnection);
    const QFont font = fontOf(kLiberation, 16);
    const ns::RichTextContent c
        = content({ attribute(0, kLiberation, 16) }, { paragraph(lines(40, QStringLiteral("worker"))) });
    std::unique_ptr<QThread> worker(QThread::create([&]() { play.creatImage(c, 200, 2 * lineHeight(font, 0) + 1); }));
    QSignalSpy finished(worker.get(), &QThread::finished);
    worker->start();
    QVERIFY(finished.wait(10000));
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(1).toBool(), false);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), 1);
}

void TestRichTextPlay::stopBetweenLines_data()
{
    QTest::addColumn<bool>("marquee");
    QTest::addColumn<int>("stopAfter"); // signals before stop(); -1 stops before the render
    QTest::addColumn<bool>("oneLine"); // all text in one line, so the stop lands inside it

    QTest::newRow("pages, stopped before") << false << -1 << false;
    QTest::newRow("pages, stopped after the first page") << false << 1 << false;
    QTest::newRow("pages, stopped inside a line") << false << 1 << true;
    QTest::newRow("band, stopped after the first piece") << true << 1 << false;
    QTest::newRow("band, stopped inside a line") << true << 2 << true;
}

void TestRichTextPlay::stopBetweenLines()
{
    QFETCH(bool, marquee);
    QFETCH(int, stopAfter);
    QFETCH(bool, oneLine);

    const QFont font = fontOf(kDejaVu, 16);
    const int h = lineHeight(font, 0);
    const QString text = QStringLiteral("stop");
    const int width = QFontMetrics(font).horizontalAdvance(text) * 2 + 1;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    // Direct: names are announced from the thread that finished the file, while the renderer
    // may be painting on; nothing announced after the stop counts, nor any file left behind.
    connect(
        &play, &RichTextPlay::ImageValueChanged, this,
        [&]() {
            if (spy.size() == stopAfter)
                play.stop();
        },
        Qt::DirectConnection);
    if (stopAfter < 0)
        play.stop();
    const ns::RichTextContent c
        = content({ attribute(0, kDejaVu, 16) }, { paragraph(oneLine ? lines(1, text.repeated(20)) : lines(20, text)) },
            ns::SCROLL, marquee ? ns::MOVE_LEFT : ns::MOVE_UP);
    if (marquee)
        play.creatMarqueeImage(c, width, h);
    else
        play.creatImage(c, width, 3 * h + 1);

    const int expected = std::max(stopAfter, 0);
    QCOMPARE(spy.size(), expected);
    for (const QList<QVariant>& args : spy)
        QCOMPARE(args.at(1).toBool(), false);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), expected);
}

void TestRichTextPlay::unusableInput_data()
{
    QTest::addColumn<bool>("withAttributes");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("pageError");
    QTest::addColumn<QString>("bandError");

    QTest::newRow("no text attributes")
        << false << 100 << 100 << " RichTextPlay::creatImage-------- richTextContant.textAttributes is empty"
        << " RichTextPlay::creatMarqueeImage-------- richTextContant.textAttributes is empty";
    QTest::newRow("no width") << true << 0 << 100 << " RichTextPlay::creatImage-------- cannot make a page of 0x100"
                              << " RichTextPlay::creatMarqueeImage-------- cannot make a piece of 0x100";
    QTest::newRow("negative height") << true << 100 << -5
                                     << " RichTextPlay::creatImage-------- cannot make a page of 100x-5"
                                     << " RichTextPlay::creatMarqueeImage-------- cannot make a piece of 100x-5";
}

void TestRichTextPlay::unusableInput()
{
    QFETCH(bool, withAttributes);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(QString, pageError);
    QFETCH(QString, bandError);

    m_log->expectError(pageError);
    m_log->expectError(bandError);
    std::vector<ns::TextAttribute> attributes;
    if (withAttributes)
        attributes.push_back(attribute(0, kDejaVu, 16));
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    const ns::RichTextContent c = content(attributes, { paragraph(lines(2, QStringLiteral("x"))) });
    play.creatImage(c, width, height);
    play.creatMarqueeImage(c, width, height);
    QCOMPARE(spy.size(), 0);
    QCOMPARE(m_log->count(pageError), 1);
    QCOMPARE(m_log->count(bandError), 1);
    QVERIFY(QDir(m_dir->path()).entryList(QDir::Files).isEmpty());
}

void TestRichTextPlay::marqueePieces_data()
{
    QTest::addColumn<QStringList>("paragraphTexts");
    QTest::addColumn<int>("widgetUnits"); // the widget is as wide as this many 'a'
    QTest::addColumn<QList<int>>("pieceUnits"); // width of each piece in 'a'

    QTest::newRow("narrower than the widget") << QStringList { QString(7, 'a') } << 20 << QList<int> { 7 };
    QTest::newRow("two and a half widths") << QStringList { QString(50, 'a') } << 20 << QList<int> { 20, 20, 10 };
    QTest::newRow("paragraphs run together")
        << QStringList { QString(5, 'a'), QString(6, 'a') } << 20 << QList<int> { 11 };
    QTest::newRow("paragraphs across a cut")
        << QStringList { QString(15, 'a'), QString(10, 'a') } << 20 << QList<int> { 20, 5 };
}

void TestRichTextPlay::marqueePieces()
{
    QFETCH(QStringList, paragraphTexts);
    QFETCH(int, widgetUnits);
    QFETCH(QList<int>, pieceUnits);

    const QFont font = fontOf(kDejaVu, 18);
    const QFontMetrics fm(font);
    const auto widthOf = [&](int units) { return fm.horizontalAdvance(QString(units, 'a')); };
    const int height = fm.height();
    std::vector<ns::Paragraph> paragraphs;
    for (const QString& text : paragraphTexts)
        paragraphs.push_back(paragraph({ { run(0, text) } }));
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatMarqueeImage(
        content({ attribute(0, kDejaVu, 18) }, paragraphs, ns::SCROLL, ns::MOVE_LEFT), widthOf(widgetUnits), height);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(pieceUnits.size()));
    for (int i = 0; i < pieceUnits.size(); ++i) {
        QVERIFY2(!out.images.at(i).isNull(), qPrintable(out.names.at(i)));
        QCOMPARE(out.images.at(i).width(), widthOf(pieceUnits.at(i)));
        QCOMPARE(out.images.at(i).height(), height);
    }
}

void TestRichTextPlay::marqueeOversizeGlyph()
{
    // A band narrower than one glyph: each glyph gets a file of its own width, and the band goes on.
    const QFont font = fontOf(kLiberation, 40);
    const QFontMetrics fm(font);
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatMarqueeImage(content({ attribute(0, kLiberation, 40, kOpaqueBackground) },
                               { paragraph({ { run(0, QStringLiteral("WMW")) } }) }, ns::SCROLL, ns::MOVE_RIGHT),
        5, fm.height());

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(4));
    const QString glyphs = QStringLiteral("WMW");
    for (int i = 0; i < glyphs.size(); ++i) {
        QCOMPARE(out.images.at(i).size(), QSize(fm.horizontalAdvance(glyphs.at(i)), fm.height()));
        QCOMPARE(opaqueRows(out.images.at(i)), qMakePair(0, fm.height() - 1));
    }
    // Nothing is left for the last piece: it has no width, and no file can be made of it.
    QVERIFY(!QFileInfo::exists(out.names.last()));
}

void TestRichTextPlay::oversizeLineFile_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("cut"); // a word cut into lines, each painted as one piece
    QTest::newRow("paged, collected line") << int(ns::PAGE_SWITCH) << false;
    QTest::newRow("paged, cut piece") << int(ns::PAGE_SWITCH) << true;
    QTest::newRow("scroll up, collected line") << int(ns::SCROLL) << false;
}

void TestRichTextPlay::oversizeLineFile()
{
    QFETCH(int, type);
    QFETCH(bool, cut);

    // A line taller than the page gets a file of its own height, text down to its bottom.
    const QFont font = fontOf(kDejaVu, 40);
    const QFontMetrics fm(font);
    const int pageWidth = cut ? fm.horizontalAdvance(QStringLiteral("WW")) + 1 : 300;
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(content({ attribute(0, kDejaVu, 40, kOpaqueBackground) },
                        { paragraph({ { run(0, QStringLiteral("WWW")) } }) }, type),
        pageWidth, 20);

    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(cut ? 3 : 2));
    QCOMPARE(out.names.last(), QStringLiteral("isEmpty"));
    for (int i = 0; i < out.images.size() - 1; ++i) {
        QCOMPARE(out.images.at(i).size(), QSize(pageWidth, fm.height()));
        QCOMPARE(opaqueRows(out.images.at(i)), qMakePair(0, fm.height() - 1));
    }
    // The cut piece leaves inside the line, the rest at its end.
    QCOMPARE(m_log->count(" RichTextPlay::creatImage=======================emit 1 image success"), cut ? 1 : 0);
    QCOMPARE(m_log->count(" RichTextPlay::creatImage=======================emit 2 image success"), 1);
    QCOMPARE(m_log->count("saveImage time =======================:"), out.images.size() - 1);
}

void TestRichTextPlay::fileNames_data()
{
    QTest::addColumn<bool>("marquee");
    QTest::newRow("page") << false;
    QTest::newRow("band") << true;
}

void TestRichTextPlay::fileNames()
{
    QFETCH(bool, marquee);

    RichTextPlay play;
    play.setTaskID(kTaskId);
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    // Many small images in quick succession: names must not repeat within a millisecond. The band
    // is one pixel wide, so every glyph becomes a tiny file of its own.
    const QFont font = fontOf(kDejaVu, 16);
    if (marquee) {
        play.creatMarqueeImage(content({ attribute(0, kDejaVu, 16) }, { paragraph(lines(1, QString(80, 'i'))) },
                                   ns::SCROLL, ns::MOVE_RIGHT),
            1, QFontMetrics(font).height());
    } else {
        play.creatImage(content({ attribute(0, kDejaVu, 16) }, { paragraph(lines(120, QStringLiteral("name"))) },
                            ns::SCROLL, ns::MOVE_DOWN),
            QFontMetrics(font).horizontalAdvance(QStringLiteral("name")) + 1, 2 * lineHeight(font, 0));
    }

    QVERIFY(spy.size() > 1);
    const QRegularExpression pattern(QStringLiteral("^LUMORAX42[0-9a-zA-Z]{32}\\.png$"));
    QSet<QString> seen;
    for (const QList<QVariant>& args : spy) {
        const QFileInfo info(args.at(0).toString());
        QCOMPARE(info.absolutePath(), QDir(m_dir->path()).absolutePath());
        QVERIFY2(pattern.match(info.fileName()).hasMatch(), qPrintable(info.fileName()));
        seen.insert(info.fileName());
    }
    QCOMPARE(seen.size(), spy.size());
    // The band's last piece is empty and has no file.
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), spy.size() - (marquee ? 1 : 0));
}

void TestRichTextPlay::fractionalLineSpacing_data()
{
    QTest::addColumn<float>("lineSpacing");
    QTest::addColumn<int>("lineCount");
    QTest::addColumn<int>("pageLines"); // the page is as high as this many lines of whole spacing
    // The used height is carried from line to line as a whole number, so the fraction of each
    // line's spacing is dropped, and the save drops the whole spacing below the last line.
    QTest::newRow("half a pixel, one page") << 2.5f << 3 << 10;
    QTest::newRow("a quarter, two pages") << 4.25f << 7 << 4;
    QTest::newRow("below one pixel") << 0.75f << 4 << 10;
}

void TestRichTextPlay::fractionalLineSpacing()
{
    QFETCH(float, lineSpacing);
    QFETCH(int, lineCount);
    QFETCH(int, pageLines);

    const QFont font = fontOf(kDejaVu, 16);
    const int whole = int(lineSpacing);
    const int step = lineHeight(font, whole); // what each line adds to the used height
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(
        content({ attribute(0, kDejaVu, 16) }, { paragraph(lines(lineCount, QStringLiteral("row")), lineSpacing) }),
        300, pageLines * step + 1);

    const Output out = collect(spy);
    QList<int> heights;
    for (const QImage& image : out.images)
        heights.append(image.height());
    QList<int> expected;
    for (int left = lineCount; left > 0; left -= pageLines) {
        const int onPage = std::min(left, pageLines);
        // A closed page keeps its last line's spacing; the last one drops it, fraction and all.
        expected.append(left > pageLines ? onPage * step : int(onPage * step - lineSpacing));
    }
    QCOMPARE(heights, expected);
    QCOMPARE(out.last, lastFlags(expected.size()));
}

void TestRichTextPlay::letterSpacingAndStyles_data()
{
    QTest::addColumn<int>("letterSpacing");
    QTest::addColumn<int>("fontStyle");
    QTest::addColumn<int>("weight");
    QTest::addColumn<bool>("italic");

    QTest::newRow("regular") << 0 << int(ns::FONT_REGULAR) << 50 << false;
    QTest::newRow("bold") << 0 << int(ns::FONT_BOLD) << 75 << false;
    QTest::newRow("italic") << 0 << int(ns::FONT_ITALIC) << 50 << true;
    QTest::newRow("bold italic") << 0 << int(ns::FONT_BOLD_ITALIC) << 75 << true;
    QTest::newRow("unknown style leaves the font alone") << 0 << 7 << 50 << false;
    QTest::newRow("wider letters") << 4 << int(ns::FONT_REGULAR) << 50 << false;
    QTest::newRow("narrower letters, bold") << -1 << int(ns::FONT_BOLD) << 75 << false;
}

void TestRichTextPlay::letterSpacingAndStyles()
{
    QFETCH(int, letterSpacing);
    QFETCH(int, fontStyle);
    QFETCH(int, weight);
    QFETCH(bool, italic);

    // One band piece narrower than the widget is exactly as wide as the text in the font in force.
    const QString text = QStringLiteral("Weekly Timetable");
    ns::TextAttribute styled = attribute(0, kDejaVu, 24, kOpaqueBackground);
    styled.style.fontStyle = fontStyle;
    ns::Paragraph p = paragraph({ { run(0, text) } });
    p.letterSpacing = letterSpacing;
    QFont expected = fontOf(kDejaVu, 24);
    expected.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    expected.setWeight(weight);
    expected.setItalic(italic);
    const QFontMetrics fm(expected);

    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatMarqueeImage(content({ styled }, { p }, ns::SCROLL, ns::MOVE_LEFT), 2000, fm.height());
    const Output out = collect(spy);
    QCOMPARE(out.last, lastFlags(1));
    QCOMPARE(out.images.at(0).size(), QSize(fm.horizontalAdvance(text), fm.height()));
    QCOMPARE(QFontInfo(expected).bold(), weight > 50);

    // The glyphs are those of the expected face: the same text painted by the test with it, in
    // white on the same background, covers the same rows and columns.
    QImage reference(out.images.at(0).size(), QImage::Format_ARGB32);
    reference.fill(0);
    {
        QPainter painter(&reference);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::white);
        painter.setFont(expected);
        painter.drawText(QPointF(0, fm.height() - fm.descent()), text);
        painter.fillRect(reference.rect(), QColor(kOpaqueBackground));
    }
    QCOMPARE(boundsOf(out.images.at(0), Qt::white), boundsOf(reference, Qt::white));
}

void TestRichTextPlay::defaultFontMapping_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("cjk");

    QTest::newRow("Arial") << "Arial" << kLiberation << false;
    QTest::newRow("loosely spelt") << "  arial " << kLiberation << false;
    QTest::newRow("Times New Roman") << "Times New Roman"
                                     << "Liberation Serif" << false;
    QTest::newRow("Courier New") << "Courier New"
                                 << "Liberation Mono" << false;
    QTest::newRow("Microsoft YaHei") << "Microsoft YaHei" << kWenQuanYi << true;
    QTest::newRow("微软雅黑") << "微软雅黑" << kWenQuanYi << true;
    QTest::newRow("SimSun") << "SimSun" << kWenQuanYi << true;
    QTest::newRow("宋体") << "宋体" << kWenQuanYi << true;
    QTest::newRow("SimHei") << "SimHei" << kWenQuanYi << true;
    QTest::newRow("installed family stays") << kDejaVu << kDejaVu << false;
    QTest::newRow("unknown family stays") << "Nonesuch Grotesk"
                                          << "Nonesuch Grotesk" << false;
}

void TestRichTextPlay::defaultFontMapping()
{
    QFETCH(QString, family);
    QFETCH(QString, expected);
    QFETCH(bool, cjk);

    QString mapped = family;
    PlayerSettings::getInstance().convertFontFamily(mapped);
    QCOMPARE(mapped, expected);
    if (cjk) {
        // Real glyphs for Chinese, not boxes from a face that lacks them.
        const QFontMetrics fm(QFont(mapped, 20));
        for (char32_t ucs4 : { U'中', U'文', U'汉', U'字', U'，' })
            QVERIFY(fm.inFontUcs4(ucs4));
    }
}

void TestRichTextPlay::mappedFamilyRendersAsItsTarget()
{
    // Every family the default mapping rewrites lands on a face that is installed here.
    const QStringList installed = QFontDatabase().families();
    for (const QString& family : PlayerSettings::defaultFontFamilies()) {
        QString mapped = family;
        PlayerSettings::getInstance().convertFontFamily(mapped);
        QVERIFY2(installed.contains(mapped), qPrintable(family + QStringLiteral(" -> ") + mapped));
    }

    // A text styled in a family content names renders exactly as in the face it is mapped to.
    const auto render = [&](const QString& family) {
        RichTextPlay play;
        QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
        const ns::Paragraph p = paragraph({ { run(0, QStringLiteral("今日开放 Open today")) } });
        play.creatImage(content({ attribute(0, family, 28, kOpaqueBackground) }, { p }), 400, 200);
        return collect(spy).images.value(0);
    };
    const QImage named = render(QStringLiteral("Microsoft YaHei"));
    QVERIFY(!named.isNull());
    QCOMPARE(named, render(kWenQuanYi));
    QVERIFY(named != render(kDejaVu));
}

void TestRichTextPlay::missingGlyphs_data()
{
    // Code points no font has: unassigned ones. Each row: runs of one line, and what is reported
    // as "run:code point" in text order.
    QTest::addColumn<QStringList>("runs");
    QTest::addColumn<QStringList>("reported");

    QTest::newRow("all drawable") << QStringList { QStringLiteral("Latin text, 42 \u00e9") } << QStringList {};
    QTest::newRow("spaces, controls and joiners draw nothing")
        << QStringList { QStringLiteral("a\tb\u00a0c\u200dd\u2028") } << QStringList {};
    QTest::newRow("each once per run, in order") << QStringList { QStringLiteral("x\u0378y\u0378\U0010FFFD") }
                                                 << QStringList { QStringLiteral("0:378"), QStringLiteral("0:10FFFD") };
    QTest::newRow("again in a later run") << QStringList { QStringLiteral("\u0378"), QStringLiteral("ok \u0378") }
                                          << QStringList { QStringLiteral("0:378"), QStringLiteral("1:378") };
}

void TestRichTextPlay::missingGlyphs()
{
    QFETCH(QStringList, runs);
    QFETCH(QStringList, reported);

    std::vector<ns::TextRun> line;
    for (const QString& text : runs)
        line.push_back(run(0, text));
    const ns::RichTextContent c
        = content({ attribute(0, kDejaVu, 16) }, { paragraph({ lines(1, QStringLiteral("first")).front(), line }) });
    QStringList found;
    for (const RichTextPlay::MissingGlyph& glyph : RichTextPlay::missingGlyphs(c)) {
        QCOMPARE(glyph.paragraph, 0);
        QCOMPARE(glyph.line, 1);
        QCOMPARE(glyph.runText, runs.at(glyph.run));
        found << QStringLiteral("%1:%2").arg(glyph.run).arg(uint(glyph.codePoint), 0, 16).toUpper();
    }
    QCOMPARE(found, reported);

    // The player says so once per text, with the count.
    RichTextPlay play;
    play.creatImage(c, 400, 100);
    const QString needle = QStringLiteral("%1 characters of the text have no glyph").arg(reported.size());
    QCOMPARE(m_log->count(QStringLiteral("have no glyph")), reported.isEmpty() ? 0 : 1);
    QCOMPARE(m_log->count(needle), reported.isEmpty() ? 0 : 1);
}

void TestRichTextPlay::firstFileHandedOff()
{
    // The display takes the first page from memory instead of its file: it must hold the file's pixels.
    const QFont font = fontOf(kDejaVu, 16);
    const ns::RichTextContent c = content({ attribute(0, kDejaVu, 16, "#FF204080") },
        { paragraph(lines(9, QStringLiteral("handed off")), 0, ns::ALIGN_BOTTOM, ns::ALIGN_HCENTER) }, ns::PAGE_SWITCH);
    RichTextPlay play;
    QSignalSpy spy(&play, &RichTextPlay::ImageValueChanged);
    play.creatImage(c, 160, 4 * lineHeight(font, 0) + 3);
    QVERIFY(spy.size() >= 3);
    const QString first = spy.at(0).at(0).toString();
    QImage kept;
    QVERIFY(imagehandoff::take(first, &kept));
    QCOMPARE(kept, QImage(first).convertToFormat(kept.format()));
    QVERIFY(!imagehandoff::take(first, &kept));
    QVERIFY(!imagehandoff::take(spy.at(1).at(0).toString(), &kept));
}

QTEST_MAIN(TestRichTextPlay)
#include "tst_richtextplay.moc"
