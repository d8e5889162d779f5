#include <jsonrecords.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <array>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using json = nlohmann::json;

// A record is compared as the list of "path=value" leaves in which it differs from a
// baseline record; list entries beyond the baseline's are compared with a default entry.
// So reading `{}` must give an empty list, and every key a text sets shows up once.
namespace {

QString at(const QString& path, const char* key)
{
    return path.isEmpty() ? QString::fromLatin1(key) : path + QLatin1Char('.') + QLatin1String(key);
}

template <class T> std::enable_if_t<std::is_arithmetic_v<T> || std::is_enum_v<T>, QString> text(T v)
{
    if constexpr (std::is_same_v<T, bool>)
        return v ? QStringLiteral("true") : QStringLiteral("false");
    else if constexpr (std::is_floating_point_v<T>)
        return QString::number(double(v));
    else
        return QString::number(qint64(v));
}
QString text(const std::string& v)
{
    return QString::fromStdString(v);
}
QString text(const std::pair<std::string, std::string>& v)
{
    return text(v.first) + QLatin1Char(':') + text(v.second);
}
QString text(const ns::FoldRect& r)
{
    return QStringLiteral("[%1,%2,%3,%4]").arg(r.x).arg(r.y).arg(r.width).arg(r.height);
}

void diff(QStringList& out, const QString& path, const ns::ScrollEffecs& v, const ns::ScrollEffecs& b);
void diff(QStringList& out, const QString& path, const ns::ScrollAttributes& v, const ns::ScrollAttributes& b);
void diff(QStringList& out, const QString& path, const ns::DisplayStyle& v, const ns::DisplayStyle& b);
void diff(QStringList& out, const QString& path, const ns::TextStyle& v, const ns::TextStyle& b);
void diff(QStringList& out, const QString& path, const ns::TextAttribute& v, const ns::TextAttribute& b);
void diff(QStringList& out, const QString& path, const ns::TextRun& v, const ns::TextRun& b);
void diff(QStringList& out, const QString& path, const ns::Paragraph& v, const ns::Paragraph& b);
void diff(QStringList& out, const QString& path, const ns::RichTextContent& v, const ns::RichTextContent& b);
void diff(QStringList& out, const QString& path, const ns::RichTextInfo& v, const ns::RichTextInfo& b);
void diff(QStringList& out, const QString& path, const ns::RSSMetaData& v, const ns::RSSMetaData& b);
void diff(QStringList& out, const QString& path, const ns::PictureGroupItem& v, const ns::PictureGroupItem& b);
void diff(QStringList& out, const QString& path, const ns::PictureStyleGroup& v, const ns::PictureStyleGroup& b);
void diff(
    QStringList& out, const QString& path, const ns::PictureGroupMediaData& v, const ns::PictureGroupMediaData& b);
void diff(QStringList& out, const QString& path, const ns::Fold& v, const ns::Fold& b);
void diff(QStringList& out, const QString& path, const ns::Widget& v, const ns::Widget& b);

template <class T> auto diff(QStringList& out, const QString& path, const T& v, const T& b) -> decltype(text(v), void())
{
    if (text(v) != text(b))
        out << path + QLatin1Char('=') + text(v);
}

template <class T> void diff(QStringList& out, const QString& path, const std::vector<T>& v, const std::vector<T>& b)
{
    if (v.size() != b.size())
        out << path + QStringLiteral(".size=") + QString::number(v.size());
    for (std::size_t i = 0; i < v.size(); ++i)
        diff(out, path + QStringLiteral("[%1]").arg(i), v[i], i < b.size() ? b[i] : T {});
}

template <class T, std::size_t N>
void diff(QStringList& out, const QString& path, const std::array<T, N>& v, const std::array<T, N>& b)
{
    for (std::size_t i = 0; i < N; ++i)
        diff(out, path + QStringLiteral("[%1]").arg(i), v[i], b[i]);
}

#define DIFF(member) diff(out, at(path, #member), v.member, b.member)

void diff(QStringList& out, const QString& path, const ns::ScrollEffecs& v, const ns::ScrollEffecs& b)
{
    DIFF(speed);
    DIFF(moveType);
}

void diff(QStringList& out, const QString& path, const ns::ScrollAttributes& v, const ns::ScrollAttributes& b)
{
    DIFF(effecs);
    DIFF(gapText);
    DIFF(useGap);
    DIFF(speedIsPixels);
}

void diff(QStringList& out, const QString& path, const ns::DisplayStyle& v, const ns::DisplayStyle& b)
{
    DIFF(type);
    DIFF(styleFlag);
    DIFF(pageEffect);
    DIFF(pageEffectDuration);
    DIFF(pageStayTime);
    DIFF(scrollAttributes);
    DIFF(posX);
    DIFF(posY);
}

void diff(QStringList& out, const QString& path, const ns::TextStyle& v, const ns::TextStyle& b)
{
    DIFF(bkColor);
    DIFF(textColor);
    DIFF(fontFamilies);
    DIFF(fontStyle);
    DIFF(pixelSize);
    DIFF(underline);
    DIFF(styleFlag1);
    DIFF(styleNumber1);
    DIFF(styleNumber2);
    DIFF(styleNumber3);
    DIFF(styleText1);
    DIFF(styleFlag2);
    DIFF(styleNumber4);
    DIFF(styleText2);
    DIFF(styleNumber5);
    DIFF(styleText3);
    DIFF(styleList);
    DIFF(styleText4);
    DIFF(styleText5);
}

void diff(QStringList& out, const QString& path, const ns::TextAttribute& v, const ns::TextAttribute& b)
{
    DIFF(auxStyles);
    DIFF(id);
    DIFF(style);
}

void diff(QStringList& out, const QString& path, const ns::TextRun& v, const ns::TextRun& b)
{
    DIFF(attributeId);
    DIFF(text);
}

void diff(QStringList& out, const QString& path, const ns::Paragraph& v, const ns::Paragraph& b)
{
    DIFF(vAlignment);
    DIFF(hAlignment);
    DIFF(bkColor);
    DIFF(lineSpacing);
    DIFF(letterSpacing);
    DIFF(lines);
}

void diff(QStringList& out, const QString& path, const ns::RichTextContent& v, const ns::RichTextContent& b)
{
    DIFF(displayStyle);
    DIFF(textAttributes);
    DIFF(keepFlag);
    DIFF(paragraphs);
    DIFF(textSyncWithMusic);
    DIFF(contentTag);
}

void diff(QStringList& out, const QString& path, const ns::RichTextInfo& v, const ns::RichTextInfo& b)
{
    DIFF(label);
    DIFF(content);
}

void diff(QStringList& out, const QString& path, const ns::RSSMetaData& v, const ns::RSSMetaData& b)
{
    DIFF(updatePeriod);
    DIFF(showTitle);
    DIFF(showPubDate);
    DIFF(showDescription);
    DIFF(feedFlag);
    DIFF(textAttribute);
    DIFF(displayStyle);
}

void diff(QStringList& out, const QString& path, const ns::PictureGroupItem& v, const ns::PictureGroupItem& b)
{
    DIFF(pageId);
    DIFF(path);
    DIFF(name);
    DIFF(pageNumber);
    DIFF(stayTime);
    DIFF(effectCode);
    DIFF(effectTime);
}

void diff(QStringList& out, const QString& path, const ns::PictureStyleGroup& v, const ns::PictureStyleGroup& b)
{
    DIFF(speed);
    DIFF(moveType);
    DIFF(gapText);
    DIFF(useGap);
    DIFF(speedIsPixels);
    DIFF(type);
}

void diff(QStringList& out, const QString& path, const ns::PictureGroupMediaData& v, const ns::PictureGroupMediaData& b)
{
    DIFF(pictures);
    DIFF(displayStyle);
    DIFF(styleGroup);
}

void diff(QStringList& out, const QString& path, const ns::Fold& v, const ns::Fold& b)
{
    DIFF(enabled);
    DIFF(count);
    DIFF(orientation);
    DIFF(rects);
}

void diff(QStringList& out, const QString& path, const ns::Widget& v, const ns::Widget& b)
{
    DIFF(id);
    DIFF(regionId);
    DIFF(name);
    DIFF(loop);
    DIFF(mediaType);
    DIFF(duration);
    DIFF(playCount);
    DIFF(geometry);
    DIFF(zOrder);
    DIFF(effectCode);
    DIFF(effectTime);
    DIFF(exitEffectCode);
    DIFF(exitEffectTime);
    DIFF(path);
    DIFF(fileName);
    DIFF(fileHash);
    DIFF(sourceUrl);
    DIFF(thumbnail);
    DIFF(extra);
    DIFF(fileSize);
    DIFF(modifiedTime);
    DIFF(volume);
    DIFF(attributes);
    DIFF(tags);
    DIFF(note);
    DIFF(jsonText);
    DIFF(fold);
}

#undef DIFF

template <class T> QStringList changesAfterReading(const json& j, const T& start)
{
    T record = start;
    ns::from_json(j, record);
    QStringList out;
    diff(out, QString(), record, start);
    return out;
}

// Reads `j` into a default record of the named kind and lists what changed.
QStringList changesAfterReading(const QString& kind, const json& j)
{
    if (kind == QLatin1String("RichTextInfo"))
        return changesAfterReading(j, ns::RichTextInfo {});
    if (kind == QLatin1String("RichTextContent"))
        return changesAfterReading(j, ns::RichTextContent {});
    if (kind == QLatin1String("DisplayStyle"))
        return changesAfterReading(j, ns::DisplayStyle {});
    if (kind == QLatin1String("ScrollAttributes"))
        return changesAfterReading(j, ns::ScrollAttributes {});
    if (kind == QLatin1String("ScrollEffecs"))
        return changesAfterReading(j, ns::ScrollEffecs {});
    if (kind == QLatin1String("TextAttribute"))
        return changesAfterReading(j, ns::TextAttribute {});
    if (kind == QLatin1String("TextStyle"))
        return changesAfterReading(j, ns::TextStyle {});
    if (kind == QLatin1String("Paragraph"))
        return changesAfterReading(j, ns::Paragraph {});
    if (kind == QLatin1String("TextRun"))
        return changesAfterReading(j, ns::TextRun {});
    if (kind == QLatin1String("RSSMetaData"))
        return changesAfterReading(j, ns::RSSMetaData {});
    if (kind == QLatin1String("PictureGroupMediaData"))
        return changesAfterReading(j, ns::PictureGroupMediaData {});
    if (kind == QLatin1String("PictureGroupItem"))
        return changesAfterReading(j, ns::PictureGroupItem {});
    if (kind == QLatin1String("PictureStyleGroup"))
        return changesAfterReading(j, ns::PictureStyleGroup {});
    if (kind == QLatin1String("Widget"))
        return changesAfterReading(j, ns::Widget {});
    if (kind == QLatin1String("Fold"))
        return changesAfterReading(j, ns::Fold {});
    qFatal("unknown record kind %s", qPrintable(kind));
    return {};
}

QString sourceDir()
{
    return QString::fromLocal8Bit(qgetenv("EFFECTDISPLAY_SOURCE_DIR"));
}

QByteArray readSourceFile(const QString& relative)
{
    QFile file(sourceDir() + QLatin1Char('/') + relative);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

json parse(const QByteArray& text)
{
    return json::parse(text.constData(), text.constData() + text.size());
}

// Which exception a read ended in, and its text.
std::pair<QString, QString> failureOf(const QString& kind, const QByteArray& text)
{
    try {
        changesAfterReading(kind, parse(text));
    } catch (const json::type_error& e) {
        return { QStringLiteral("type_error"), QString::fromUtf8(e.what()) };
    } catch (const json::out_of_range& e) {
        return { QStringLiteral("out_of_range"), QString::fromUtf8(e.what()) };
    } catch (const std::exception& e) {
        return { QStringLiteral("other"), QString::fromUtf8(e.what()) };
    }
    return { QStringLiteral("none"), QString() };
}

} // namespace

class TestJsonRecords : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void exampleFiles_data();
    void exampleFiles();
    void docExamplesMatchFiles();

    void read_data();
    void read();
    void readIntoFilledRecord_data();
    void readIntoFilledRecord();

    void wrongTypes_data();
    void wrongTypes();

    void widgetJsonText_data();
    void widgetJsonText();
    void foldRects_data();
    void foldRects();
    void badFoldRects_data();
    void badFoldRects();
};

void TestJsonRecords::initTestCase()
{
    QVERIFY2(!sourceDir().isEmpty(), "EFFECTDISPLAY_SOURCE_DIR must name the source tree (CTest sets it)");
}

void TestJsonRecords::exampleFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QStringList>("changes");

    QTest::newRow("paged text") << "examples/richtext-paged.json"
                                << "RichTextInfo"
                                << QStringList {
                                       "label=Lobby notice",
                                       "content.displayStyle.type=0",
                                       "content.displayStyle.pageEffect=176",
                                       "content.displayStyle.pageEffectDuration=800",
                                       "content.displayStyle.pageStayTime=6000",
                                       "content.displayStyle.scrollAttributes.effecs.moveType=5",
                                       "content.textAttributes.size=3",
                                       "content.textAttributes[0].auxStyles[0].textColor=#FFFF0000",
                                       "content.textAttributes[0].auxStyles[0].pixelSize=14",
                                       "content.textAttributes[0].auxStyles[1].textColor=#FFFFFF00",
                                       "content.textAttributes[0].auxStyles[1].pixelSize=14",
                                       "content.textAttributes[0].auxStyles[2].textColor=#FF90EE90",
                                       "content.textAttributes[0].auxStyles[2].pixelSize=14",
                                       "content.textAttributes[0].id=1",
                                       "content.textAttributes[0].style.textColor=#FFFFFFFF",
                                       "content.textAttributes[0].style.fontFamilies[0]=DejaVu Sans",
                                       "content.textAttributes[0].style.fontStyle=0",
                                       "content.textAttributes[0].style.pixelSize=48",
                                       "content.textAttributes[1].id=2",
                                       "content.textAttributes[1].style.textColor=#FFFFD700",
                                       "content.textAttributes[1].style.fontFamilies.size=2",
                                       "content.textAttributes[1].style.fontFamilies[0]=WenQuanYi Micro Hei",
                                       "content.textAttributes[1].style.fontFamilies[1]=DejaVu Sans",
                                       "content.textAttributes[1].style.pixelSize=48",
                                       "content.textAttributes[2].id=3",
                                       "content.textAttributes[2].style.fontFamilies[0]=DejaVu Sans",
                                       "content.textAttributes[2].style.fontStyle=2",
                                       "content.textAttributes[2].style.pixelSize=32",
                                       "content.textAttributes[2].style.underline=true",
                                       "content.paragraphs.size=2",
                                       "content.paragraphs[0].bkColor=#FF102040",
                                       "content.paragraphs[0].lineSpacing=12.5",
                                       "content.paragraphs[0].letterSpacing=1",
                                       "content.paragraphs[0].lines.size=2",
                                       "content.paragraphs[0].lines[0].size=1",
                                       "content.paragraphs[0].lines[0][0].attributeId=1",
                                       "content.paragraphs[0].lines[0][0].text=Welcome to Riverside Library",
                                       "content.paragraphs[0].lines[1].size=1",
                                       "content.paragraphs[0].lines[1][0].attributeId=2",
                                       "content.paragraphs[0].lines[1][0].text=欢迎光临",
                                       "content.paragraphs[1].vAlignment=0",
                                       "content.paragraphs[1].hAlignment=0",
                                       "content.paragraphs[1].bkColor=#FF102040",
                                       "content.paragraphs[1].lineSpacing=8",
                                       "content.paragraphs[1].lines.size=2",
                                       "content.paragraphs[1].lines[0].size=2",
                                       "content.paragraphs[1].lines[0][0].attributeId=3",
                                       "content.paragraphs[1].lines[0][0].text=Open today 09:00 - 21:00 ",
                                       "content.paragraphs[1].lines[0][1].attributeId=2",
                                       "content.paragraphs[1].lines[0][1].text=今日开放",
                                       "content.paragraphs[1].lines[1].size=1",
                                       "content.paragraphs[1].lines[1][0].attributeId=3",
                                       "content.paragraphs[1].lines[1][0].text=Reading room on the second floor",
                                   };

    QTest::newRow("ticker") << "examples/richtext-ticker.json"
                            << "RichTextInfo"
                            << QStringList {
                                   "label=Entrance ticker",
                                   "content.displayStyle.scrollAttributes.effecs.speed=120",
                                   "content.displayStyle.scrollAttributes.gapText=300",
                                   "content.displayStyle.scrollAttributes.useGap=true",
                                   "content.displayStyle.scrollAttributes.speedIsPixels=true",
                                   "content.textAttributes.size=2",
                                   "content.textAttributes[0].id=1",
                                   "content.textAttributes[0].style.textColor=#FFFFFFFF",
                                   "content.textAttributes[0].style.fontFamilies[0]=DejaVu Sans",
                                   "content.textAttributes[0].style.fontStyle=0",
                                   "content.textAttributes[0].style.pixelSize=40",
                                   "content.textAttributes[1].id=2",
                                   "content.textAttributes[1].style.textColor=#FFFFD700",
                                   "content.textAttributes[1].style.fontFamilies[0]=WenQuanYi Micro Hei",
                                   "content.textAttributes[1].style.pixelSize=40",
                                   "content.paragraphs.size=1",
                                   "content.paragraphs[0].hAlignment=0",
                                   "content.paragraphs[0].bkColor=#FF000000",
                                   "content.paragraphs[0].lines.size=1",
                                   "content.paragraphs[0].lines[0].size=2",
                                   "content.paragraphs[0].lines[0][0].attributeId=1",
                                   "content.paragraphs[0].lines[0][0].text=The east entrance closes at 20:00 today. ",
                                   "content.paragraphs[0].lines[0][1].attributeId=2",
                                   "content.paragraphs[0].lines[0][1].text=东门今日20:00关闭。",
                               };

    QTest::newRow("picture group") << "examples/picturegroup.json"
                                   << "PictureGroupMediaData"
                                   << QStringList {
                                          "pictures.size=3",
                                          "pictures[0].pageId=9001",
                                          "pictures[0].path=/var/lib/signage/pages/page-001.png",
                                          "pictures[0].name=Quarterly report, page 1",
                                          "pictures[0].pageNumber=1",
                                          "pictures[0].stayTime=8000",
                                          "pictures[0].effectCode=32",
                                          "pictures[0].effectTime=600",
                                          "pictures[1].pageId=9002",
                                          "pictures[1].path=/var/lib/signage/pages/page-002.png",
                                          "pictures[1].name=Quarterly report, page 2",
                                          "pictures[1].pageNumber=2",
                                          "pictures[2].pageId=9003",
                                          "pictures[2].path=/var/lib/signage/pages/page-003.png",
                                          "pictures[2].name=Quarterly report, page 3",
                                          "pictures[2].pageNumber=3",
                                          "styleGroup.moveType=5",
                                      };

    QTest::newRow("rss settings") << "examples/rss-settings.json"
                                  << "RSSMetaData"
                                  << QStringList {
                                         "updatePeriod=600000",
                                         "showTitle=true",
                                         "showPubDate=true",
                                         "showDescription=true",
                                         "textAttribute.auxStyles[0].textColor=#FFFFD700",
                                         "textAttribute.auxStyles[0].fontFamilies[0]=DejaVu Sans",
                                         "textAttribute.auxStyles[0].fontStyle=0",
                                         "textAttribute.auxStyles[0].pixelSize=36",
                                         "textAttribute.auxStyles[1].textColor=#a0a0a0",
                                         "textAttribute.auxStyles[1].fontFamilies[0]=DejaVu Sans",
                                         "textAttribute.auxStyles[1].fontStyle=2",
                                         "textAttribute.auxStyles[1].pixelSize=20",
                                         "textAttribute.auxStyles[2].textColor=#FFFFFFFF",
                                         "textAttribute.auxStyles[2].fontFamilies.size=2",
                                         "textAttribute.auxStyles[2].fontFamilies[0]=DejaVu Sans",
                                         "textAttribute.auxStyles[2].fontFamilies[1]=WenQuanYi Micro Hei",
                                         "textAttribute.auxStyles[2].pixelSize=28",
                                         "displayStyle.scrollAttributes.effecs.speed=4",
                                         "displayStyle.scrollAttributes.effecs.moveType=5",
                                     };

    QTest::newRow("picture widget") << "examples/widget-picture.json"
                                    << "Widget"
                                    << QStringList {
                                           "id=1042",
                                           "regionId=2",
                                           "name=Spring sale banner",
                                           "loop=true",
                                           "mediaType=1",
                                           "duration=15000",
                                           "geometry[2]=1920",
                                           "geometry[3]=270",
                                           "zOrder=1",
                                           "effectCode=176",
                                           "effectTime=800",
                                           "path=/var/lib/signage/media/spring-sale.png",
                                           "fileName=spring-sale.png",
                                           "fileHash=9f2c4e1b7a0d3c5e8f6a1b2c3d4e5f60",
                                           "sourceUrl=https://cms.example.com/media/spring-sale.png",
                                           "thumbnail=/var/lib/signage/thumbs/spring-sale.png",
                                           "fileSize=482133",
                                           "modifiedTime=1714557600",
                                           "attributes.size=2",
                                           "attributes[0]=campaign:spring",
                                           "attributes[1]=owner:marketing",
                                           "tags.size=2",
                                           "tags[0]=banner",
                                           "tags[1]=sale",
                                           "note=Split across the two halves of the top strip",
                                           "fold.enabled=true",
                                           "fold.count=2",
                                           "fold.rects.size=2",
                                           "fold.rects[0]=[0,0,960,270]",
                                           "fold.rects[1]=[960,0,960,270]",
                                       };
}

void TestJsonRecords::exampleFiles()
{
    QFETCH(QString, file);
    QFETCH(QString, kind);
    QFETCH(QStringList, changes);

    const QByteArray text = readSourceFile(file);
    QVERIFY2(!text.isEmpty(), qPrintable(file + QStringLiteral(" is missing or empty")));
    QCOMPARE(changesAfterReading(kind, parse(text)), changes);
}

// Users copy from the page, so the page and the files must not drift apart.
void TestJsonRecords::docExamplesMatchFiles()
{
    const QString doc = QString::fromUtf8(readSourceFile(QStringLiteral("docs/json-formats.md")));
    QVERIFY(!doc.isEmpty());

    // A complete example names its file on the line before the block (a blank line may lie between).
    const QRegularExpression block(QStringLiteral("([^\\n]*)\\n(?:[ \\t]*\\n)?```json\\n(.*?)\\n```"),
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpression fileName(QStringLiteral("`(examples/[^`]+\\.json)`"));
    QStringList documented;
    auto it = block.globalMatch(doc);
    while (it.hasNext()) {
        const auto match = it.next();
        const QByteArray blockText = match.captured(2).toUtf8();
        json fromDoc;
        try {
            fromDoc = parse(blockText);
        } catch (const json::exception& e) {
            QFAIL(qPrintable(QStringLiteral("a json block of the page does not parse: %1\n%2")
                                 .arg(QString::fromUtf8(e.what()), match.captured(2))));
        }
        const auto name = fileName.match(match.captured(1));
        if (!name.hasMatch())
            continue;
        documented << name.captured(1);
        const QByteArray fileText = readSourceFile(name.captured(1));
        QVERIFY2(!fileText.isEmpty(), qPrintable(name.captured(1)));
        QVERIFY2(parse(fileText) == fromDoc, qPrintable(name.captured(1) + QStringLiteral(" differs from the page")));
    }
    documented.sort();
    QCOMPARE(documented,
        QStringList({ "examples/picturegroup.json", "examples/richtext-paged.json", "examples/richtext-ticker.json",
            "examples/rss-settings.json", "examples/widget-picture.json" }));
}

void TestJsonRecords::read_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("changes");

    // An empty object keeps every default, at every level.
    for (const char* kind : { "RichTextInfo", "RichTextContent", "DisplayStyle", "ScrollAttributes", "ScrollEffecs",
             "TextAttribute", "TextStyle", "Paragraph", "TextRun", "RSSMetaData", "PictureGroupMediaData",
             "PictureGroupItem", "PictureStyleGroup", "Widget", "Fold" })
        QTest::addRow("%s {}", kind) << kind << QByteArray("{}") << QStringList();

    // Keys the record does not know are ignored.
    QTest::newRow("unknown keys") << "RichTextInfo" << QByteArray(R"({"colour": 1, "content": {"fonts": []}})")
                                  << QStringList();

    // Partial objects: only what is written changes.
    QTest::newRow("deep moveType")
        << "RichTextInfo"
        << QByteArray(R"({"content":{"displayStyle":{"scrollAttributes":{"effecs":{"moveType":3}}}}})")
        << QStringList { "content.displayStyle.scrollAttributes.effecs.moveType=3" };
    QTest::newRow("empty nested objects")
        << "RichTextInfo" << QByteArray(R"({"content":{"displayStyle":{"scrollAttributes":{}}}})") << QStringList();
    QTest::newRow("list entry from defaults")
        << "RichTextInfo" << QByteArray(R"({"content":{"paragraphs":[{}],"textAttributes":[{}]}})")
        << QStringList { "content.textAttributes.size=1", "content.paragraphs.size=1" };
    QTest::newRow("one style key") << "TextStyle" << QByteArray(R"({"pixelSize":40})")
                                   << QStringList { "pixelSize=40" };
    QTest::newRow("empty font list") << "TextStyle" << QByteArray(R"({"fontFamilies":[]})")
                                     << QStringList { "fontFamilies.size=0" };
    QTest::newRow("lineSpacing integer") << "Paragraph" << QByteArray(R"({"lineSpacing":3})")
                                         << QStringList { "lineSpacing=3" };
    QTest::newRow("lineSpacing fraction")
        << "Paragraph" << QByteArray(R"({"lineSpacing":0.75})") << QStringList { "lineSpacing=0.75" };
    QTest::newRow("empty run makes a line")
        << "Paragraph" << QByteArray(R"({"lines":[[{}]]})") << QStringList { "lines.size=1", "lines[0].size=1" };
    QTest::newRow("enum out of range kept")
        << "ScrollEffecs" << QByteArray(R"({"moveType":9,"speed":-1})") << QStringList { "speed=-1", "moveType=9" };
    QTest::newRow("alignment out of range kept") << "Paragraph" << QByteArray(R"({"vAlignment":7,"hAlignment":-2})")
                                                 << QStringList { "vAlignment=7", "hAlignment=-2" };
    QTest::newRow("32-bit extremes") << "DisplayStyle" << QByteArray(R"({"posX":-2147483648,"posY":2147483647})")
                                     << QStringList { "posX=-2147483648", "posY=2147483647" };
    QTest::newRow("two of three aux styles")
        << "TextAttribute" << QByteArray(R"({"auxStyles":[{"pixelSize":1},{"underline":true}]})")
        << QStringList { "auxStyles[0].pixelSize=1", "auxStyles[1].underline=true" };
    QTest::newRow("picture group, one page")
        << "PictureGroupMediaData" << QByteArray(R"({"pictures":[{"path":"/p/1.png"}]})")
        << QStringList { "pictures.size=1", "pictures[0].path=/p/1.png" };
    QTest::newRow("rss, one switch") << "RSSMetaData" << QByteArray(R"({"showDescription":true})")
                                     << QStringList { "showDescription=true" };
    QTest::newRow("widget, path only") << "Widget" << QByteArray(R"({"path":" https://news.example.com/rss "})")
                                       << QStringList { "path= https://news.example.com/rss " };

    // Every key of every record, each set away from its default, so a misspelt key shows.
    QTest::newRow("all keys: TextStyle")
        << "TextStyle"
        << QByteArray(R"({"bkColor":"#FF000000","textColor":"#FF00FF00","fontFamilies":["A","B"],"fontStyle":3,
            "pixelSize":20,"underline":true,"styleFlag1":true,"styleNumber1":11,"styleNumber2":12,"styleNumber3":13,
            "styleText1":"t1","styleFlag2":true,"styleNumber4":14,"styleText2":"t2","styleNumber5":15,"styleText3":"t3",
            "styleList":["l1"],"styleText4":"t4","styleText5":"t5"})")
        << QStringList { "bkColor=#FF000000", "textColor=#FF00FF00", "fontFamilies.size=2", "fontFamilies[0]=A",
               "fontFamilies[1]=B", "fontStyle=3", "pixelSize=20", "underline=true", "styleFlag1=true",
               "styleNumber1=11", "styleNumber2=12", "styleNumber3=13", "styleText1=t1", "styleFlag2=true",
               "styleNumber4=14", "styleText2=t2", "styleNumber5=15", "styleText3=t3", "styleList.size=1",
               "styleList[0]=l1", "styleText4=t4", "styleText5=t5" };
    QTest::newRow("all keys: TextAttribute")
        << "TextAttribute"
        << QByteArray(
               R"({"auxStyles":[{"pixelSize":1},{"pixelSize":2},{"pixelSize":3}],"id":7,"style":{"pixelSize":30}})")
        << QStringList { "auxStyles[0].pixelSize=1", "auxStyles[1].pixelSize=2", "auxStyles[2].pixelSize=3", "id=7",
               "style.pixelSize=30" };
    QTest::newRow("all keys: TextRun") << "TextRun" << QByteArray(R"({"attributeId":4,"text":"t"})")
                                       << QStringList { "attributeId=4", "text=t" };
    QTest::newRow("all keys: Paragraph")
        << "Paragraph"
        << QByteArray(R"({"vAlignment":2,"hAlignment":2,"bkColor":"#FF111111","lineSpacing":2.25,"letterSpacing":3,
            "lines":[[],[{"text":"a"}]]})")
        << QStringList { "vAlignment=2", "hAlignment=2", "bkColor=#FF111111", "lineSpacing=2.25", "letterSpacing=3",
               "lines.size=2", "lines[1].size=1", "lines[1][0].text=a" };
    QTest::newRow("all keys: ScrollEffecs")
        << "ScrollEffecs" << QByteArray(R"({"speed":7,"moveType":4})") << QStringList { "speed=7", "moveType=4" };
    QTest::newRow("all keys: ScrollAttributes")
        << "ScrollAttributes"
        << QByteArray(R"({"effecs":{"speed":9},"gapText":"40","useGap":true,"speedIsPixels":true})")
        << QStringList { "effecs.speed=9", "gapText=40", "useGap=true", "speedIsPixels=true" };
    QTest::newRow("all keys: DisplayStyle")
        << "DisplayStyle"
        << QByteArray(R"({"type":2,"styleFlag":true,"pageEffect":16,"pageEffectDuration":500,"pageStayTime":3000,
            "scrollAttributes":{"useGap":true},"posX":5,"posY":6})")
        << QStringList { "type=2", "styleFlag=true", "pageEffect=16", "pageEffectDuration=500", "pageStayTime=3000",
               "scrollAttributes.useGap=true", "posX=5", "posY=6" };
    QTest::newRow("all keys: RichTextContent")
        << "RichTextContent"
        << QByteArray(R"({"displayStyle":{"type":0},"textAttributes":[{"id":1}],"keepFlag":true,"paragraphs":[{}],
            "textSyncWithMusic":true,"contentTag":9})")
        << QStringList { "displayStyle.type=0", "textAttributes.size=1", "textAttributes[0].id=1", "keepFlag=true",
               "paragraphs.size=1", "textSyncWithMusic=true", "contentTag=9" };
    QTest::newRow("all keys: RichTextInfo")
        << "RichTextInfo" << QByteArray(R"({"label":"L","content":{"contentTag":1}})")
        << QStringList { "label=L", "content.contentTag=1" };
    QTest::newRow("all keys: RSSMetaData")
        << "RSSMetaData"
        << QByteArray(R"({"updatePeriod":1000,"showTitle":true,"showPubDate":true,"showDescription":true,
            "feedFlag":true,"textAttribute":{"id":5},"displayStyle":{"posX":3}})")
        << QStringList { "updatePeriod=1000", "showTitle=true", "showPubDate=true", "showDescription=true",
               "feedFlag=true", "textAttribute.id=5", "displayStyle.posX=3" };
    QTest::newRow("all keys: PictureGroupItem")
        << "PictureGroupItem"
        << QByteArray(R"({"pageId":5000000000,"path":"/p.png","name":"n","pageNumber":4,"stayTime":2000,
            "effectCode":33,"effectTime":300})")
        << QStringList { "pageId=5000000000", "path=/p.png", "name=n", "pageNumber=4", "stayTime=2000", "effectCode=33",
               "effectTime=300" };
    QTest::newRow("all keys: PictureStyleGroup")
        << "PictureStyleGroup"
        << QByteArray(R"({"speed":8,"moveType":3,"gapText":"10","useGap":true,"speedIsPixels":true,"type":1})")
        << QStringList { "speed=8", "moveType=3", "gapText=10", "useGap=true", "speedIsPixels=true", "type=1" };
    QTest::newRow("all keys: PictureGroupMediaData")
        << "PictureGroupMediaData"
        << QByteArray(R"({"pictures":[{"path":"/a.png"}],"displayStyle":{"type":2},"styleGroup":{"type":2}})")
        << QStringList { "pictures.size=1", "pictures[0].path=/a.png", "displayStyle.type=2", "styleGroup.type=2" };
    QTest::newRow("all keys: Fold") << "Fold"
                                    << QByteArray(R"({"enabled":true,"count":3,"orientation":1,"rects":[[1,2,3,4]]})")
                                    << QStringList { "enabled=true", "count=3", "orientation=1", "rects.size=1",
                                           "rects[0]=[1,2,3,4]" };
    QTest::newRow("all keys: Widget")
        << "Widget"
        << QByteArray(R"({"id":1,"regionId":2,"name":"n","loop":true,"mediaType":3,"duration":4,"playCount":5,
            "geometry":[6,7,8,9],"zOrder":10,"effectCode":11,"effectTime":12,"exitEffectCode":13,"exitEffectTime":14,
            "path":"p","fileName":"f","fileHash":"h","sourceUrl":"u","thumbnail":"t","extra":"e",
            "fileSize":6000000000,"modifiedTime":-1,"volume":15,"attributes":[["k","v"]],"tags":["g"],"note":"o",
            "jsonText":"{}","fold":{"count":2}})")
        << QStringList { "id=1", "regionId=2", "name=n", "loop=true", "mediaType=3", "duration=4", "playCount=5",
               "geometry[0]=6", "geometry[1]=7", "geometry[2]=8", "geometry[3]=9", "zOrder=10", "effectCode=11",
               "effectTime=12", "exitEffectCode=13", "exitEffectTime=14", "path=p", "fileName=f", "fileHash=h",
               "sourceUrl=u", "thumbnail=t", "extra=e", "fileSize=6000000000", "modifiedTime=-1", "volume=15",
               "attributes.size=1", "attributes[0]=k:v", "tags.size=1", "tags[0]=g", "note=o", "jsonText={}",
               "fold.count=2" };
}

void TestJsonRecords::read()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, text);
    QFETCH(QStringList, changes);

    QCOMPARE(changesAfterReading(kind, parse(text)), changes);
}

void TestJsonRecords::readIntoFilledRecord_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("changes");

    QTest::newRow("absent keys keep what was read before")
        << QByteArray(R"({"content":{"displayStyle":{"pageStayTime":1}}})")
        << QStringList { "content.displayStyle.pageStayTime=1" };
    QTest::newRow("a list replaces the old list")
        << QByteArray(R"({"content":{"paragraphs":[{}]}})")
        << QStringList { "content.paragraphs.size=1", "content.paragraphs[0].bkColor=#000000FF",
               "content.paragraphs[0].lineSpacing=0", "content.paragraphs[0].letterSpacing=0",
               "content.paragraphs[0].lines.size=0" };
    QTest::newRow("an empty list empties")
        << QByteArray(R"({"content":{"textAttributes":[]}})") << QStringList { "content.textAttributes.size=0" };
}

void TestJsonRecords::readIntoFilledRecord()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, changes);

    ns::RichTextInfo filled;
    ns::from_json(parse(readSourceFile(QStringLiteral("examples/richtext-paged.json"))), filled);
    QCOMPARE(filled.content.paragraphs.size(), std::size_t(2));

    QCOMPARE(changesAfterReading(parse(text), filled), changes);
}

void TestJsonRecords::wrongTypes_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<QString>("where");

    const QString type = QStringLiteral("type_error");
    const QString range = QStringLiteral("out_of_range");

    QTest::newRow("number for string") << "RichTextInfo" << QByteArray(R"({"label":5})") << type << "at label:";
    QTest::newRow("string for integer") << "RichTextInfo" << QByteArray(R"({"content":{"displayStyle":{"type":"0"}}})")
                                        << type << "at content.displayStyle.type:";
    QTest::newRow("bool for integer") << "RichTextInfo" << QByteArray(R"({"content":{"displayStyle":{"type":true}}})")
                                      << type << "at content.displayStyle.type:";
    QTest::newRow("fraction for integer")
        << "RichTextInfo" << QByteArray(R"({"content":{"displayStyle":{"pageStayTime":1.5}}})") << type
        << "at content.displayStyle.pageStayTime:";
    QTest::newRow("fraction for enum")
        << "RichTextInfo"
        << QByteArray(R"({"content":{"displayStyle":{"scrollAttributes":{"effecs":{"moveType":2.5}}}}})") << type
        << "at content.displayStyle.scrollAttributes.effecs.moveType:";
    QTest::newRow("integer for bool") << "RichTextInfo" << QByteArray(R"({"content":{"keepFlag":1}})") << type
                                      << "at content.keepFlag:";
    QTest::newRow("number for record") << "RichTextInfo" << QByteArray(R"({"content":{"displayStyle":5}})") << type
                                       << "at content.displayStyle: type must be object";
    QTest::newRow("null for record") << "RichTextInfo" << QByteArray(R"({"content":null})") << type
                                     << "at content: type must be object";
    QTest::newRow("null for string") << "TextRun" << QByteArray(R"({"text":null})") << type << "at text:";
    // Without the check a non-object would read as "every key absent" and pass silently.
    for (const char* kind : { "RichTextInfo", "RichTextContent", "DisplayStyle", "ScrollAttributes", "ScrollEffecs",
             "TextAttribute", "TextStyle", "Paragraph", "TextRun", "RSSMetaData", "PictureGroupMediaData",
             "PictureGroupItem", "PictureStyleGroup", "Widget", "Fold" })
        QTest::addRow("%s from array", kind) << kind << QByteArray("[]") << type << "type must be object, but is array";
    QTest::newRow("top level string") << "RSSMetaData" << QByteArray(R"("text")") << type
                                      << "type must be object, but is string";
    QTest::newRow("fold as number") << "Widget" << QByteArray(R"({"fold":5})") << type
                                    << "at fold: type must be object, but is number";
    QTest::newRow("object for list") << "RichTextInfo" << QByteArray(R"({"content":{"textAttributes":{}}})") << type
                                     << "at content.textAttributes: type must be array";
    QTest::newRow("string for font list")
        << "RichTextInfo" << QByteArray(R"({"content":{"textAttributes":[{"style":{"fontFamilies":"Arial"}}]}})")
        << type << "at content.textAttributes.style.fontFamilies:";
    QTest::newRow("number in font list") << "TextStyle" << QByteArray(R"({"fontFamilies":["Arial",3]})") << type
                                         << "at fontFamilies:";
    QTest::newRow("line not an array") << "RichTextInfo"
                                       << QByteArray(R"({"content":{"paragraphs":[{"lines":[{"text":"x"}]}]}})") << type
                                       << "at content.paragraphs.lines:";
    QTest::newRow("string attributeId deep inside")
        << "RichTextInfo" << QByteArray(R"({"content":{"paragraphs":[{"lines":[[{"attributeId":"1"}]]}]}})") << type
        << "at content.paragraphs.lines.attributeId:";
    QTest::newRow("string lineSpacing") << "Paragraph" << QByteArray(R"({"lineSpacing":"2"})") << type
                                        << "at lineSpacing:";
    QTest::newRow("above 32 bits") << "RichTextInfo" << QByteArray(R"({"content":{"contentTag":2147483648}})") << range
                                   << "at content.contentTag:";
    QTest::newRow("below 32 bits") << "RichTextInfo" << QByteArray(R"({"content":{"contentTag":-2147483649}})") << range
                                   << "at content.contentTag:";
    QTest::newRow("above 64 bits") << "PictureGroupMediaData"
                                   << QByteArray(R"({"pictures":[{"pageId":18446744073709551615}]})") << range
                                   << "at pictures.pageId:";
    QTest::newRow("four aux styles") << "TextAttribute" << QByteArray(R"({"auxStyles":[{},{},{},{}]})") << range
                                     << "at auxStyles: auxStyles holds at most 3 styles";
    QTest::newRow("aux styles not a list")
        << "TextAttribute" << QByteArray(R"({"auxStyles":{}})") << type << "at auxStyles:";
    QTest::newRow("aux style not an object") << "RSSMetaData" << QByteArray(R"({"textAttribute":{"auxStyles":[1]}})")
                                             << type << "at textAttribute.auxStyles: type must be object";
    QTest::newRow("rss period as string")
        << "RSSMetaData" << QByteArray(R"({"updatePeriod":"60000"})") << type << "at updatePeriod:";
    QTest::newRow("rss aux colour as number")
        << "RSSMetaData" << QByteArray(R"({"textAttribute":{"auxStyles":[{"textColor":1}]}})") << type
        << "at textAttribute.auxStyles.textColor:";
    QTest::newRow("page stay as string") << "PictureGroupMediaData"
                                         << QByteArray(R"({"pictures":[{"stayTime":"8000"}]})") << type
                                         << "at pictures.stayTime:";
    QTest::newRow("pictures as object") << "PictureGroupMediaData" << QByteArray(R"({"pictures":{}})") << type
                                        << "at pictures:";
    QTest::newRow("style group type as bool")
        << "PictureGroupMediaData" << QByteArray(R"({"styleGroup":{"type":false}})") << type << "at styleGroup.type:";
    QTest::newRow("jsonText number") << "Widget" << QByteArray(R"({"jsonText":5})") << type << "at jsonText:";
    QTest::newRow("jsonText bool") << "Widget" << QByteArray(R"({"jsonText":true})") << type << "at jsonText:";
    QTest::newRow("fold flag as string") << "Widget" << QByteArray(R"({"fold":{"enabled":"yes"}})") << type
                                         << "at fold.enabled:";
    QTest::newRow("geometry of three") << "Widget" << QByteArray(R"({"geometry":[1,2,3]})") << range << "at geometry:";
    QTest::newRow("attribute pair of one")
        << "Widget" << QByteArray(R"({"attributes":[["a"]]})") << range << "at attributes:";
}

void TestJsonRecords::wrongTypes()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, text);
    QFETCH(QString, exception);
    QFETCH(QString, where);

    const auto failure = failureOf(kind, text);
    QCOMPARE(failure.first, exception);
    QVERIFY2(failure.second.contains(where), qPrintable(failure.second));
}

void TestJsonRecords::widgetJsonText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("jsonText");

    QTest::newRow("string kept verbatim")
        << QByteArray(R"({"jsonText":"{ \"showTitle\" : true }"})") << R"({ "showTitle" : true })";
    QTest::newRow("string that is not json") << QByteArray(R"({"jsonText":"not json"})") << "not json";
    QTest::newRow("embedded object") << QByteArray(R"({"jsonText":{"updatePeriod":300000,"showTitle":true}})")
                                     << R"({"showTitle":true,"updatePeriod":300000})";
    QTest::newRow("embedded empty object") << QByteArray(R"({"jsonText":{}})") << "{}";
    QTest::newRow("embedded array") << QByteArray(R"({"jsonText":[1,"a"]})") << R"([1,"a"])";
    QTest::newRow("embedded text record")
        << QByteArray(R"({"jsonText":{"content":{"paragraphs":[{"lines":[[{"attributeId":1,"text":"欢迎光临"}]]}]}}})")
        << R"({"content":{"paragraphs":[{"lines":[[{"attributeId":1,"text":"欢迎光临"}]]}]}})";
    QTest::newRow("absent") << QByteArray(R"({"id":3})") << "";
}

void TestJsonRecords::widgetJsonText()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, jsonText);

    ns::Widget widget;
    ns::from_json(parse(text), widget);
    QCOMPARE(QString::fromStdString(widget.jsonText), jsonText);

    // What a player gets must read back to what the playlist embedded.
    const json source = parse(text);
    if (source.contains("jsonText") && source["jsonText"].is_structured())
        QVERIFY(json::parse(widget.jsonText) == source["jsonText"]);
}

void TestJsonRecords::foldRects_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QStringList>("rects");

    QTest::newRow("two stacked") << QByteArray(R"({"rects":[[0,0,100,50],[0,50,100,50]]})")
                                 << QStringList { "[0,0,100,50]", "[0,50,100,50]" };
    QTest::newRow("negative and large") << QByteArray(R"({"rects":[[-20,-10,3840,2160]]})")
                                        << QStringList { "[-20,-10,3840,2160]" };
    QTest::newRow("none") << QByteArray(R"({"rects":[]})") << QStringList();
    QTest::newRow("absent keeps old") << QByteArray(R"({"count":4})") << QStringList { "[9,9,9,9]" };
}

void TestJsonRecords::foldRects()
{
    QFETCH(QByteArray, source);
    QFETCH(QStringList, rects);

    ns::Fold fold;
    fold.rects = { ns::FoldRect { 9, 9, 9, 9 } };
    ns::from_json(parse(source), fold);
    QStringList read;
    for (const auto& rect : fold.rects)
        read << text(rect);
    QCOMPARE(read, rects);
}

void TestJsonRecords::badFoldRects_data()
{
    QTest::addColumn<QByteArray>("rects");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<QString>("reason");

    const QString type = QStringLiteral("type_error");
    const QString range = QStringLiteral("out_of_range");
    const QString size = QStringLiteral("rectangle must hold 4 numbers [x, y, width, height]");
    const QString shape = QStringLiteral("type must be array [x, y, width, height]");

    QTest::newRow("three numbers") << QByteArray("[[0,0,10]]") << range << size + ", but holds 3";
    QTest::newRow("five numbers") << QByteArray("[[0,0,10,10,5]]") << range << size + ", but holds 5";
    QTest::newRow("empty entry") << QByteArray("[[]]") << range << size + ", but holds 0";
    QTest::newRow("second entry short") << QByteArray("[[0,0,10,10],[1,2]]") << range << size + ", but holds 2";
    QTest::newRow("object entry") << QByteArray(R"([{"x":0,"y":0,"width":10,"height":10}])") << type
                                  << shape + ", but is object";
    QTest::newRow("flat list") << QByteArray("[0,0,10,10]") << type << shape + ", but is number";
    QTest::newRow("string inside") << QByteArray(R"([[0,0,"10",10]])") << type
                                   << "type must be integer number, but is string";
    QTest::newRow("fraction inside") << QByteArray("[[0,0,10.5,10]]") << type
                                     << "type must be integer number, but is floating-point number";
    QTest::newRow("rects not a list") << QByteArray(R"({"x":0})") << type << "type must be array, but is object";
}

void TestJsonRecords::badFoldRects()
{
    QFETCH(QByteArray, rects);
    QFETCH(QString, exception);
    QFETCH(QString, reason);

    const auto failure = failureOf(QStringLiteral("Widget"), "{\"fold\":{\"rects\":" + rects + "}}");
    QCOMPARE(failure.first, exception);
    QVERIFY2(failure.second.contains(QStringLiteral("at fold.rects: ") + reason), qPrintable(failure.second));
}

QTEST_GUILESS_MAIN(TestJsonRecords)
#include "tst_jsonrecords.moc"
