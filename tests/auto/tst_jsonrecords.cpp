// The records and their JSON readers, against what docs/json-formats.md promises a host: the
// defaults in its tables, its reading rules, its examples and the place a wrong value is named by.
#include "logcapture.h"

#include <fromstring.h>
#include <jsonrecords.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <functional>
#include <map>

using json = nlohmann::json;

// Records as JSON under the readers' key names, so that whole records compare at once.
#define RECORD_TO_JSON(Type, ...)                                                                                      \
    void to_json(json& nlohmann_json_j, const Type& nlohmann_json_t)                                                   \
    {                                                                                                                  \
        NLOHMANN_JSON_EXPAND(NLOHMANN_JSON_PASTE(NLOHMANN_JSON_TO, __VA_ARGS__))                                       \
    }

namespace ns {
void to_json(json& j, const FoldRect& r)
{
    j = { r.x, r.y, r.width, r.height };
}
RECORD_TO_JSON(ScrollEffecs, speed, moveType)
RECORD_TO_JSON(ScrollAttributes, effecs, gapText, useGap, speedIsPixels)
RECORD_TO_JSON(
    DisplayStyle, type, styleFlag, pageEffect, pageEffectDuration, pageStayTime, scrollAttributes, posX, posY)
RECORD_TO_JSON(TextStyle, bkColor, textColor, fontFamilies, fontStyle, pixelSize, underline, styleFlag1, styleNumber1,
    styleNumber2, styleNumber3, styleText1, styleFlag2, styleNumber4, styleText2, styleNumber5, styleText3, styleList,
    styleText4, styleText5)
RECORD_TO_JSON(TextAttribute, auxStyles, id, style)
RECORD_TO_JSON(TextRun, attributeId, text)
RECORD_TO_JSON(Paragraph, vAlignment, hAlignment, bkColor, lineSpacing, letterSpacing, lines)
RECORD_TO_JSON(RichTextContent, displayStyle, textAttributes, keepFlag, paragraphs, textSyncWithMusic, contentTag)
RECORD_TO_JSON(RichTextInfo, label, content)
RECORD_TO_JSON(
    RSSMetaData, updatePeriod, showTitle, showPubDate, showDescription, feedFlag, textAttribute, displayStyle)
RECORD_TO_JSON(PictureGroupItem, pageId, path, name, pageNumber, stayTime, effectCode, effectTime)
RECORD_TO_JSON(PictureStyleGroup, speed, moveType, gapText, useGap, speedIsPixels, type)
RECORD_TO_JSON(PictureGroupMediaData, pictures, displayStyle, styleGroup)
RECORD_TO_JSON(Fold, enabled, count, orientation, rects)
RECORD_TO_JSON(Widget, id, regionId, name, loop, mediaType, duration, playCount, geometry, zOrder, effectCode,
    effectTime, exitEffectCode, exitEffectTime, path, fileName, fileHash, sourceUrl, thumbnail, extra, fileSize,
    modifiedTime, volume, attributes, tags, note, jsonText, fold)
} // namespace ns

namespace {

struct Kind {
    json defaults;
    // Reads `before`, then `text`, into one default record.
    std::function<json(const json& before, const json& text)> read;
};

template <class T> Kind kind()
{
    return { json(T {}), [](const json& before, const json& text) {
                T record;
                ns::from_json(before, record);
                ns::from_json(text, record);
                return json(record);
            } };
}

const std::map<QString, Kind>& kinds()
{
    static const std::map<QString, Kind> all { { "RichTextInfo", kind<ns::RichTextInfo>() },
        { "RichTextContent", kind<ns::RichTextContent>() }, { "DisplayStyle", kind<ns::DisplayStyle>() },
        { "ScrollAttributes", kind<ns::ScrollAttributes>() }, { "ScrollEffecs", kind<ns::ScrollEffecs>() },
        { "TextAttribute", kind<ns::TextAttribute>() }, { "TextStyle", kind<ns::TextStyle>() },
        { "Paragraph", kind<ns::Paragraph>() }, { "TextRun", kind<ns::TextRun>() },
        { "RSSMetaData", kind<ns::RSSMetaData>() }, { "PictureGroupMediaData", kind<ns::PictureGroupMediaData>() },
        { "PictureGroupItem", kind<ns::PictureGroupItem>() }, { "PictureStyleGroup", kind<ns::PictureStyleGroup>() },
        { "Widget", kind<ns::Widget>() }, { "Fold", kind<ns::Fold>() } };
    return all;
}

// What the page's rules promise a read gives: a key present replaces, an absent one keeps; a list
// replaces the old list, each entry read onto its type's defaults, except auxStyles, which fills its
// three styles from the front; an embedded jsonText is kept as its JSON text.
json promised(json old, const json& text, const std::string& key = std::string())
{
    static const std::map<std::string, json> entries { { "textAttributes", json(ns::TextAttribute {}) },
        { "paragraphs", json(ns::Paragraph {}) }, { "lines", json(ns::TextRun {}) },
        { "pictures", json(ns::PictureGroupItem {}) } };
    if (key == "jsonText" && text.is_structured())
        return text.dump();
    if (text.is_object()) {
        for (const auto& item : text.items()) {
            if (old.contains(item.key()))
                old[item.key()] = promised(old[item.key()], item.value(), item.key());
        }
        return old;
    }
    if (!text.is_array())
        return text;
    if (key == "auxStyles") {
        for (std::size_t i = 0; i < text.size(); ++i)
            old[i] = promised(old[i], text[i]);
        return old;
    }
    json list = json::array();
    for (const json& entry : text)
        list.push_back(promised(entries.count(key) ? entries.at(key) : json(), entry, key));
    return list;
}

// Every value changed to another of its type, at every level.
json changed(json j)
{
    if (j.is_structured()) {
        for (json& value : j)
            value = changed(value);
    } else if (j.is_boolean()) {
        j = !j.get<bool>();
    } else if (j.is_number_float()) {
        j = j.get<double>() + 0.5;
    } else if (j.is_number()) {
        j = j.get<std::int64_t>() + 7;
    } else if (j.is_string()) {
        j = j.get<std::string>() + "x";
    }
    return j;
}

// from_string after `before`, for the three records that players read that way.
template <class T> json readGuarded(const json& before, const QByteArray& text)
{
    T record;
    ns::from_json(before, record);
    from_string(text.toStdString(), record);
    return json(record);
}
const std::map<QString, std::function<json(const json&, const QByteArray&)>> kGuarded {
    { "RichTextInfo", readGuarded<ns::RichTextInfo> },
    { "PictureGroupMediaData", readGuarded<ns::PictureGroupMediaData> }, { "RSSMetaData", readGuarded<ns::RSSMetaData> }
};

QByteArray sourceFile(const QString& relative)
{
    QFile file(qEnvironmentVariable("EFFECTDISPLAY_SOURCE_DIR") + QLatin1Char('/') + relative);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

json parse(const QByteArray& text)
{
    return json::parse(text.constData(), text.constData() + text.size());
}

} // namespace

class TestJsonRecords : public QObject {
    Q_OBJECT

private slots:
    void documentedDefaults();
    void read_data();
    void read();
};

// Each table of the page lists a record's keys with their defaults, which a host relies on.
void TestJsonRecords::documentedDefaults()
{
    const QString page = QString::fromUtf8(sourceFile("docs/json-formats.md"));
    const QRegularExpression heading("^#{2,3} [^`\\n]*(?:`(?:ns::)?(\\w+)`)?", QRegularExpression::MultilineOption);
    const QRegularExpression row(
        "^\\| (`\\w+`(?:, `\\w+`)*) \\|[^|]*\\|([^|]*)\\|", QRegularExpression::MultilineOption);
    const QRegularExpression quoted("`([^`]*)`");
    std::map<QString, QStringList> documented;
    QString record;
    for (const QString& line : page.split('\n')) {
        if (const auto h = heading.match(line); h.hasMatch())
            record = h.captured(1);
        const auto r = row.match(line);
        if (record.isEmpty() || !r.hasMatch())
            continue;
        QVERIFY2(kinds().count(record), qPrintable(record));
        const json& defaults = kinds().at(record).defaults;
        const auto value = quoted.match(r.captured(2));
        for (auto it = quoted.globalMatch(r.captured(1)); it.hasNext();) {
            const std::string key = it.next().captured(1).toStdString();
            documented[record] << QString::fromStdString(key);
            QVERIFY2(defaults.contains(key), qPrintable(record + '.' + QString::fromStdString(key)));
            const json promised = value.hasMatch() ? parse(value.captured(1).toUtf8()) : defaults[key];
            QVERIFY2(defaults[key] == promised,
                qPrintable(record + '.' + QString::fromStdString(key + " is " + defaults[key].dump())));
        }
    }
    QCOMPARE(documented.size(), kinds().size());
    for (const auto& [name, keys] : documented)
        QCOMPARE(keys.size(), int(kinds().at(name).defaults.size()));
}

void TestJsonRecords::read_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error"); // part of the exception's text; empty: the text reads

    for (const auto& [name, kind] : kinds()) {
        const QByteArray all = QByteArray::fromStdString(changed(kind.defaults).dump());
        QTest::addRow("%s: {} keeps every default", qPrintable(name)) << name << all << QByteArray("{}") << QString();
        QTest::addRow("%s: every key changed", qPrintable(name)) << name << QByteArray("{}") << all << QString();
        // A non-object would otherwise read as "every key absent" and pass silently.
        QTest::addRow("%s: an array", qPrintable(name))
            << name << all << QByteArray("[]") << "type_error.302] type must be object, but is array";
        if (kGuarded.count(name)) {
            QTest::addRow("%s: not JSON", qPrintable(name)) << name << all << QByteArray("{} x") << "parse_error";
            QTest::addRow("%s: cut short", qPrintable(name))
                << name << QByteArray("{}") << all.left(all.size() / 2) << "parse_error";
            // Its reader meets this key last: a half-filled record would show.
            const QByteArray bad
                = name == "RichTextInfo" ? R"("content":{"contentTag":"0"})" : R"("displayStyle":{"type":"0"})";
            QTest::addRow("%s: wrong type last", qPrintable(name))
                << name << QByteArray("{}") << all.chopped(1) + ',' + bad + '}' << "type must be integer number";
        }
    }
    const QByteArray paged = sourceFile("examples/richtext-paged.json");
    const auto row = [](const char* name, const char* kind, const QByteArray& before, const QByteArray& text,
                         const char* error = "") { QTest::newRow(name) << kind << before << text << error; };
    row("unknown keys are ignored", "RichTextInfo", "{}", R"({"colour": 1, "content": {"fonts": []}})");
    row("list entries start from defaults", "RichTextInfo", "{}",
        R"({"content":{"paragraphs":[{},{"lines":[[{}],[],[{"text":"a"},{"attributeId":2}]]}],"textAttributes":[{}]}})");
    row("absent keys keep what was read before", "RichTextInfo", paged,
        R"({"content":{"displayStyle":{"pageStayTime":1}}})");
    row("a list replaces the list read before", "RichTextInfo", paged, R"({"content":{"paragraphs":[{}]}})");
    row("an empty list empties", "RichTextInfo", paged, R"({"content":{"textAttributes":[]}})");
    row("aux styles fill from the front", "TextAttribute", R"({"auxStyles":[{},{},{"pixelSize":9}]})",
        R"({"auxStyles":[{"pixelSize":1},{"underline":true}]})");
    row("three aux styles", "TextAttribute", "{}", R"({"auxStyles":[{"pixelSize":1},{},{"pixelSize":3}]})");
    row("32-bit extremes", "DisplayStyle", "{}", R"({"posX":-2147483648,"posY":2147483647})");
    row("64-bit extremes", "Widget", "{}", R"({"fileSize":9223372036854775807,"modifiedTime":-9223372036854775808})");
    row("carried lists and rectangles", "Widget", "{}",
        R"({"attributes":[["k","v"],["a",""]],"tags":["g"],"geometry":[1,2,3,4],
            "fold":{"rects":[[1,2,3,4],[-20,-10,3840,2160]]}})");
    row("embedded jsonText object", "Widget", "{}", R"({"jsonText":{"updatePeriod":300000,"showTitle":true}})");
    row("examples/richtext-paged.json", "RichTextInfo", "{}", paged);
    row("examples/richtext-ticker.json", "RichTextInfo", "{}", sourceFile("examples/richtext-ticker.json"));
    row("examples/picturegroup.json", "PictureGroupMediaData", "{}", sourceFile("examples/picturegroup.json"));
    row("examples/rss-settings.json", "RSSMetaData", "{}", sourceFile("examples/rss-settings.json"));
    row("examples/widget-picture.json", "Widget", "{}", sourceFile("examples/widget-picture.json"));
    row("the page's example", "RichTextInfo", "{}", R"({"content":{"paragraphs":[{"lines":[[{"attributeId":"1"}]]}]}})",
        "[json.exception.type_error.302] at content.paragraphs.lines.attributeId: type must be integer number, but "
        "is string");
    row("number for string", "RichTextInfo", "{}", R"({"label":5})",
        "[json.exception.type_error.302] at label: type must be string, but is number");
    row("fraction for integer", "DisplayStyle", "{}", R"({"pageStayTime":2.0})",
        "at pageStayTime: type must be integer number, but is floating-point number");
    row("fraction for enumeration", "RichTextInfo", "{}",
        R"({"content":{"displayStyle":{"scrollAttributes":{"effecs":{"moveType":2.5}}}}})",
        "at content.displayStyle.scrollAttributes.effecs.moveType: type must be integer number");
    row("string for number", "Paragraph", "{}", R"({"lineSpacing":"2"})", "at lineSpacing: type must be number");
    row("above 32 bits", "RichTextContent", "{}", R"({"contentTag":2147483648})",
        "at contentTag: number 2147483648 does not fit the field");
    row("below 32 bits", "RichTextContent", "{}", R"({"contentTag":-2147483649})", "at contentTag:");
    row("four aux styles", "TextAttribute", "{}", R"({"auxStyles":[{},{},{},{}]})",
        "at auxStyles: auxStyles holds at most 3 styles, but holds 4");
    row("rectangle of three", "Fold", "{}", R"({"rects":[[0,0,10,10],[0,0,10]]})",
        "at rects: rectangle must hold 4 numbers [x, y, width, height], but holds 3");
    row("rectangle as an object", "Fold", "{}", R"({"rects":[{"x":0}]})",
        "at rects: type must be array [x, y, width, height], but is object");
    row("fraction in a rectangle", "Fold", "{}", R"({"rects":[[0,0,10.5,10]]})",
        "at rects: type must be integer number, but is floating-point number");
}

// Whole records compare as a JSON patch from what is expected, which names the leaves that disagree.
void TestJsonRecords::read()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, text);
    QFETCH(QString, error);
    const Kind& k = kinds().at(kind);
    const json start = k.read(parse(before), json::object());
    json expected = start;
    QString thrown;
    try {
        expected = promised(start, parse(text));
        QCOMPARE(QString::fromStdString(json::diff(expected, k.read(parse(before), parse(text))).dump()), "[]");
    } catch (const json::exception& e) {
        thrown = QString::fromUtf8(e.what());
    }
    QVERIFY2(error.isEmpty() ? thrown.isEmpty() : thrown.contains(error), qPrintable(thrown));
    if (!kGuarded.count(kind))
        return;
    // The guarded reader never throws: a text that does not read leaves the record as it was, and
    // two error lines give the text and the reason.
    LogCapture log;
    log.expectError("from_string: exception: ");
    const json guarded = kGuarded.at(kind)(parse(before), text);
    QCOMPARE(QString::fromStdString(json::diff(thrown.isEmpty() ? expected : start, guarded).dump()), "[]");
    const QStringList lines = log.lines().filter("from_string: exception: ");
    QCOMPARE(lines.size(), thrown.isEmpty() ? 0 : 2);
    if (!thrown.isEmpty()) {
        QVERIFY2(lines[0].startsWith("error ") && lines[0].endsWith("exception: " + text), qPrintable(lines[0]));
        QVERIFY2(lines[1].startsWith("error ") && lines[1].endsWith("exception: " + thrown), qPrintable(lines[1]));
    }
}

QTEST_GUILESS_MAIN(TestJsonRecords)
#include "tst_jsonrecords.moc"
