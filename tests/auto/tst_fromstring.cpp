#include <fromstring.h>
#include <logcapture.h>

#include <QFile>
#include <QtTest>

#include <string>

namespace {

const QString kMessage = QStringLiteral("from_string: exception: ");

std::string readExample(const char* name)
{
    QFile file(QString::fromLocal8Bit(qgetenv("EFFECTDISPLAY_SOURCE_DIR")) + QStringLiteral("/examples/")
        + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().toStdString();
}

// Values in every part of each record that a broken text below tries to change.
ns::RichTextInfo filledText()
{
    ns::RichTextInfo info;
    info.label = "kept";
    info.content.displayStyle.type = ns::PAGE_SWITCH;
    info.content.displayStyle.pageStayTime = 1234;
    info.content.textAttributes.resize(2);
    info.content.textAttributes[1].id = 5;
    info.content.textAttributes[1].style.fontFamilies = { "DejaVu Sans" };
    info.content.paragraphs.resize(1);
    info.content.paragraphs[0].lines = { { ns::TextRun { 5, "kept text" } } };
    return info;
}

void checkFilledText(const ns::RichTextInfo& info)
{
    QCOMPARE(info.label, std::string("kept"));
    QCOMPARE(info.content.displayStyle.type, int(ns::PAGE_SWITCH));
    QCOMPARE(info.content.displayStyle.pageStayTime, 1234);
    QCOMPARE(info.content.textAttributes.size(), std::size_t(2));
    QCOMPARE(info.content.textAttributes[1].id, 5);
    QCOMPARE(info.content.textAttributes[1].style.fontFamilies, std::vector<std::string> { "DejaVu Sans" });
    QCOMPARE(info.content.paragraphs.size(), std::size_t(1));
    QCOMPARE(info.content.paragraphs[0].lines.size(), std::size_t(1));
    QCOMPARE(info.content.paragraphs[0].lines[0][0].text, std::string("kept text"));
}

ns::PictureGroupMediaData filledGroup()
{
    ns::PictureGroupMediaData group;
    group.pictures.resize(2);
    group.pictures[0].path = "/pages/kept-1.png";
    group.pictures[0].stayTime = 4321;
    group.pictures[1].path = "/pages/kept-2.png";
    group.styleGroup.type = ns::SCROLL;
    group.styleGroup.moveType = ns::MOVE_UP;
    return group;
}

void checkFilledGroup(const ns::PictureGroupMediaData& group)
{
    QCOMPARE(group.pictures.size(), std::size_t(2));
    QCOMPARE(group.pictures[0].path, std::string("/pages/kept-1.png"));
    QCOMPARE(group.pictures[0].stayTime, 4321);
    QCOMPARE(group.pictures[1].path, std::string("/pages/kept-2.png"));
    QCOMPARE(group.styleGroup.type, int(ns::SCROLL));
    QCOMPARE(group.styleGroup.moveType, ns::MOVE_UP);
}

ns::RSSMetaData filledRss()
{
    ns::RSSMetaData rss;
    rss.updatePeriod = 90000;
    rss.showTitle = true;
    rss.textAttribute.auxStyles[0].textColor = "#FFFFD700";
    rss.displayStyle.scrollAttributes.effecs.moveType = ns::MOVE_UP;
    return rss;
}

void checkFilledRss(const ns::RSSMetaData& rss)
{
    QCOMPARE(rss.updatePeriod, 90000);
    QCOMPARE(rss.showTitle, true);
    QCOMPARE(rss.showDescription, false);
    QCOMPARE(rss.textAttribute.auxStyles[0].textColor, std::string("#FFFFD700"));
    QCOMPARE(rss.displayStyle.scrollAttributes.effecs.moveType, ns::MOVE_UP);
}

// Runs from_string on a pre-filled record of the named kind and checks the record.
void readAndCheckUnchanged(const QString& kind, const std::string& text)
{
    if (kind == QLatin1String("text")) {
        ns::RichTextInfo info = filledText();
        from_string(text, info);
        checkFilledText(info);
    } else if (kind == QLatin1String("group")) {
        ns::PictureGroupMediaData group = filledGroup();
        from_string(text, group);
        checkFilledGroup(group);
    } else {
        ns::RSSMetaData rss = filledRss();
        from_string(text, rss);
        checkFilledRss(rss);
    }
}

} // namespace

class TestFromString : public QObject {
    Q_OBJECT

private slots:
    void brokenText_data();
    void brokenText();
    void validText();
    void examples();
};

void TestFromString::brokenText_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("reason");

    const QString parse = QStringLiteral("parse_error");
    const QString type = QStringLiteral("type_error");

    for (const char* kind : { "text", "group", "rss" }) {
        QTest::addRow("%s: empty", kind) << kind << QByteArray() << parse;
        QTest::addRow("%s: not json", kind) << kind << QByteArray("hello, world") << parse;
        QTest::addRow("%s: trailing garbage", kind) << kind << QByteArray("{} x") << parse;
        QTest::addRow("%s: array", kind) << kind << QByteArray("[1, 2]") << type;
        QTest::addRow("%s: deeply nested", kind) << kind << QByteArray(20000, '[') + QByteArray(20000, ']') << type;
    }

    // Each changes fields first and fails later, so a half-filled record would show.
    QTest::newRow("text: truncated") << "text"
                                     << QByteArray(R"({"label":"new","content":{"displayStyle":{"pageStayTime":1)")
                                     << parse;
    QTest::newRow("text: wrong type deep inside")
        << "text" << QByteArray(R"({"label":"new","content":{"displayStyle":{"type":1,"pageStayTime":5},
            "textAttributes":[{"id":9}],"paragraphs":[{"lines":[[{"attributeId":1,"text":7}]]}]}})")
        << type;
    QTest::newRow("text: bad colour type")
        << "text" << QByteArray(R"({"label":"new","content":{"textAttributes":[{"style":
            {"fontFamilies":["A"],"textColor":16777215}}]}})")
        << type;
    QTest::newRow("group: truncated") << "group" << QByteArray(R"({"pictures":[{"path":"/pages/new.png"},)") << parse;
    QTest::newRow("group: wrong type deep inside")
        << "group" << QByteArray(R"({"pictures":[{"path":"/pages/new.png","stayTime":"8000"}]})") << type;
    QTest::newRow("group: style after pages")
        << "group" << QByteArray(R"({"pictures":[{"path":"/pages/new.png"}],"styleGroup":{"moveType":"up"}})") << type;
    QTest::newRow("rss: truncated") << "rss" << QByteArray(R"({"updatePeriod":1000,"showTitle":fal)") << parse;
    QTest::newRow("rss: wrong type deep inside")
        << "rss"
        << QByteArray(R"({"updatePeriod":1000,"showTitle":false,"textAttribute":{"auxStyles":[{"textColor":"#FF000000"},
            {"pixelSize":"big"}]}})")
        << type;
    QTest::newRow("rss: integer for switch")
        << "rss" << QByteArray(R"({"updatePeriod":1000,"showDescription":1})") << type;
}

void TestFromString::brokenText()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, text);
    QFETCH(QString, reason);

    LogCapture log;
    log.expectError(QStringLiteral("from_string: exception"));

    readAndCheckUnchanged(kind, text.toStdString());
    if (QTest::currentTestFailed())
        return;

    QStringList lines;
    for (const QString& line : log.lines()) {
        if (line.contains(kMessage))
            lines << line;
    }
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[0].startsWith(QLatin1String("error ")), qPrintable(lines[0]));
    QVERIFY2(lines[1].startsWith(QLatin1String("error ")), qPrintable(lines[1]));
    QVERIFY2(lines[0].endsWith(kMessage + QString::fromUtf8(text)), qPrintable(lines[0]));
    QVERIFY2(lines[1].contains(kMessage + QStringLiteral("[json.exception.") + reason), qPrintable(lines[1]));
    QCOMPARE(log.unexpectedErrors(), QStringList());
}

void TestFromString::validText()
{
    LogCapture log;

    // Keys the text leaves out keep what the record held before.
    ns::RichTextInfo info = filledText();
    from_string(R"({"label":"new","content":{"displayStyle":{"pageStayTime":500}}})", info);
    QCOMPARE(info.label, std::string("new"));
    QCOMPARE(info.content.displayStyle.pageStayTime, 500);
    QCOMPARE(info.content.displayStyle.type, int(ns::PAGE_SWITCH));
    QCOMPARE(info.content.paragraphs[0].lines[0][0].text, std::string("kept text"));

    ns::PictureGroupMediaData group = filledGroup();
    from_string(R"({"pictures":[{"path":"/pages/new.png","stayTime":2000}]})", group);
    QCOMPARE(group.pictures.size(), std::size_t(1));
    QCOMPARE(group.pictures[0].path, std::string("/pages/new.png"));
    QCOMPARE(group.pictures[0].stayTime, 2000);
    QCOMPARE(group.styleGroup.moveType, ns::MOVE_UP);

    ns::RSSMetaData rss = filledRss();
    from_string(R"({"updatePeriod":0,"showDescription":true,"textAttribute":{"auxStyles":[{"pixelSize":30}]}})", rss);
    QCOMPARE(rss.updatePeriod, 0);
    QCOMPARE(rss.showDescription, true);
    QCOMPARE(rss.showTitle, true);
    QCOMPARE(rss.textAttribute.auxStyles[0].pixelSize, 30);
    QCOMPARE(rss.textAttribute.auxStyles[0].textColor, std::string("#FFFFD700"));

    QCOMPARE(log.count(kMessage), 0);
    QCOMPARE(log.unexpectedErrors(), QStringList());
}

void TestFromString::examples()
{
    LogCapture log;

    ns::RichTextInfo info;
    from_string(readExample("richtext-ticker.json"), info);
    QCOMPARE(info.content.displayStyle.scrollAttributes.effecs.moveType, ns::MOVE_LEFT);
    QCOMPARE(info.content.displayStyle.scrollAttributes.effecs.speed, 120);
    QCOMPARE(info.content.paragraphs.size(), std::size_t(1));
    QCOMPARE(info.content.paragraphs[0].lines[0][1].text, std::string("东门今日20:00关闭。"));

    ns::PictureGroupMediaData group;
    from_string(readExample("picturegroup.json"), group);
    QCOMPARE(group.pictures.size(), std::size_t(3));
    QCOMPARE(group.pictures[2].path, std::string("/var/lib/signage/pages/page-003.png"));
    QCOMPARE(group.styleGroup.type, int(ns::PAGE_SWITCH));

    ns::RSSMetaData rss;
    from_string(readExample("rss-settings.json"), rss);
    QCOMPARE(rss.updatePeriod, 600000);
    QCOMPARE(rss.textAttribute.auxStyles[1].textColor, std::string("#a0a0a0"));

    QCOMPARE(log.count(kMessage), 0);
    QCOMPARE(log.unexpectedErrors(), QStringList());
}

QTEST_GUILESS_MAIN(TestFromString)
#include "tst_fromstring.moc"
