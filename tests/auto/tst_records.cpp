#include <mediarecords.h>
#include <picturegrouprecords.h>
#include <richtextrecords.h>
#include <rssrecords.h>

#include <QtTest>

#include <string>
#include <vector>

namespace {

QString str(const std::string& s)
{
    return QString::fromStdString(s);
}

QStringList strs(const std::vector<std::string>& list)
{
    QStringList out;
    for (const auto& s : list)
        out << str(s);
    return out;
}

constexpr int kManyAttributes = 400;
constexpr int kManyParagraphs = 120;

// A text with hundreds of styles and paragraphs, every entry distinguishable.
ns::RichTextInfo bigText()
{
    ns::RichTextInfo info;
    info.label = "big";
    for (int i = 0; i < kManyAttributes; ++i) {
        ns::TextAttribute attribute;
        attribute.id = i;
        attribute.style.fontFamilies = { "Family " + std::to_string(i) };
        attribute.style.pixelSize = 10 + i;
        attribute.auxStyles[2].textColor = "#FF0000" + std::to_string(i % 10) + "0";
        info.content.textAttributes.push_back(attribute);
    }
    for (int i = 0; i < kManyParagraphs; ++i) {
        ns::Paragraph paragraph;
        paragraph.lineSpacing = float(i) / 4;
        paragraph.lines = { { ns::TextRun { i % kManyAttributes, "line " + std::to_string(i) } } };
        info.content.paragraphs.push_back(paragraph);
    }
    return info;
}

void checkIsBigText(const ns::RichTextInfo& info)
{
    QCOMPARE(info.label, std::string("big"));
    QCOMPARE(int(info.content.textAttributes.size()), kManyAttributes);
    for (int i = 0; i < kManyAttributes; ++i) {
        const auto& attribute = info.content.textAttributes[std::size_t(i)];
        QCOMPARE(attribute.id, i);
        QCOMPARE(attribute.style.fontFamilies, std::vector<std::string> { "Family " + std::to_string(i) });
        QCOMPARE(attribute.style.pixelSize, 10 + i);
        QCOMPARE(attribute.auxStyles[2].textColor, "#FF0000" + std::to_string(i % 10) + "0");
        QCOMPARE(attribute.auxStyles[0].textColor, std::string("#ffffff"));
    }
    QCOMPARE(int(info.content.paragraphs.size()), kManyParagraphs);
    for (int i = 0; i < kManyParagraphs; ++i) {
        const auto& paragraph = info.content.paragraphs[std::size_t(i)];
        QCOMPARE(paragraph.lineSpacing, float(i) / 4);
        QCOMPARE(paragraph.lines.size(), std::size_t(1));
        QCOMPARE(paragraph.lines[0].size(), std::size_t(1));
        QCOMPARE(paragraph.lines[0][0].attributeId, i % kManyAttributes);
        QCOMPARE(paragraph.lines[0][0].text, "line " + std::to_string(i));
    }
}

// Touches every level of the tree, so a shallow copy anywhere shows in the source.
void scribble(ns::RichTextInfo& info)
{
    info.label = "changed";
    for (auto& attribute : info.content.textAttributes) {
        attribute.id += 1000;
        attribute.style.fontFamilies[0] = "Changed";
        attribute.style.fontFamilies.push_back("Extra");
        attribute.style.pixelSize = 1;
        attribute.auxStyles[0].textColor = "#FF123456";
        attribute.auxStyles[2].textColor.clear();
    }
    for (auto& paragraph : info.content.paragraphs) {
        paragraph.lineSpacing = -1;
        paragraph.lines[0][0].text = "changed";
        paragraph.lines[0].push_back(ns::TextRun { 7, "more" });
        paragraph.lines.emplace_back();
    }
    info.content.textAttributes.resize(3);
    info.content.paragraphs.pop_back();
}

} // namespace

class TestRecords : public QObject {
    Q_OBJECT

private slots:
    void defaults_data();
    void defaults();
    void isMarquee_data();
    void isMarquee();

    void richTextDeepCopy_data();
    void richTextDeepCopy();
    void widgetCopy();
    void rssAndPictureGroupCopy();
};

void TestRecords::defaults_data()
{
    QTest::addColumn<QVariant>("actual");
    QTest::addColumn<QVariant>("expected");

    const auto row = [](const char* name, const QVariant& actual, const QVariant& expected) {
        QTest::newRow(name) << actual << expected;
    };

    const ns::RichTextInfo info;
    row("RichTextInfo.label", str(info.label), QString());
    const ns::RichTextContent content;
    row("RichTextContent.textAttributes", int(content.textAttributes.size()), 0);
    row("RichTextContent.keepFlag", content.keepFlag, false);
    row("RichTextContent.paragraphs", int(content.paragraphs.size()), 0);
    row("RichTextContent.textSyncWithMusic", content.textSyncWithMusic, false);
    row("RichTextContent.contentTag", content.contentTag, 0);

    const ns::DisplayStyle style;
    row("DisplayStyle.type", style.type, int(ns::SCROLL));
    row("DisplayStyle.styleFlag", style.styleFlag, false);
    row("DisplayStyle.pageEffect", style.pageEffect, 0);
    row("DisplayStyle.pageEffectDuration", style.pageEffectDuration, 1000);
    row("DisplayStyle.pageStayTime", style.pageStayTime, 10000);
    row("DisplayStyle.posX", style.posX, 0);
    row("DisplayStyle.posY", style.posY, 0);
    row("ScrollAttributes.gapText", str(style.scrollAttributes.gapText), QString());
    row("ScrollAttributes.useGap", style.scrollAttributes.useGap, false);
    row("ScrollAttributes.speedIsPixels", style.scrollAttributes.speedIsPixels, false);
    row("ScrollEffecs.speed", style.scrollAttributes.effecs.speed, 3);
    row("ScrollEffecs.moveType", int(style.scrollAttributes.effecs.moveType), 2);
    row("RichTextContent.displayStyle.type", content.displayStyle.type, 1);
    row("RichTextInfo.content.displayStyle.pageStayTime", info.content.displayStyle.pageStayTime, 10000);

    const ns::TextStyle text;
    row("TextStyle.bkColor", str(text.bkColor), QStringLiteral("#00000000"));
    row("TextStyle.textColor", str(text.textColor), QStringLiteral("#ffffff"));
    row("TextStyle.fontFamilies", strs(text.fontFamilies), QStringList { "Arial" });
    row("TextStyle.fontStyle", text.fontStyle, int(ns::FONT_REGULAR));
    row("TextStyle.pixelSize", text.pixelSize, 16);
    row("TextStyle.underline", text.underline, false);
    row("TextStyle.styleFlag1", text.styleFlag1, false);
    row("TextStyle.styleNumber1", text.styleNumber1, 0);
    row("TextStyle.styleNumber2", text.styleNumber2, 2);
    row("TextStyle.styleNumber3", text.styleNumber3, 2);
    row("TextStyle.styleText1", str(text.styleText1), QString());
    row("TextStyle.styleFlag2", text.styleFlag2, false);
    row("TextStyle.styleNumber4", text.styleNumber4, 2);
    row("TextStyle.styleText2", str(text.styleText2), QString());
    row("TextStyle.styleNumber5", text.styleNumber5, 1);
    row("TextStyle.styleText3", str(text.styleText3), QString());
    row("TextStyle.styleList", strs(text.styleList), QStringList());
    row("TextStyle.styleText4", str(text.styleText4), QString());
    row("TextStyle.styleText5", str(text.styleText5), QString());

    const ns::TextAttribute attribute;
    row("TextAttribute.id", attribute.id, 0);
    row("TextAttribute.auxStyles", int(attribute.auxStyles.size()), 3);
    for (std::size_t i = 0; i < attribute.auxStyles.size(); ++i) {
        const auto& aux = attribute.auxStyles[i];
        QTest::addRow("TextAttribute.auxStyles[%d] defaults", int(i))
            << QVariant(QStringList { str(aux.bkColor), str(aux.textColor), strs(aux.fontFamilies).join(','),
                   QString::number(aux.pixelSize), QString::number(aux.styleNumber5) })
            << QVariant(QStringList { "#00000000", "#ffffff", "Arial", "16", "1" });
    }
    row("TextAttribute.style.fontFamilies", strs(attribute.style.fontFamilies), QStringList { "Arial" });

    const ns::Paragraph paragraph;
    row("Paragraph.vAlignment", int(paragraph.vAlignment), int(ns::ALIGN_VCENTER));
    row("Paragraph.hAlignment", int(paragraph.hAlignment), int(ns::ALIGN_HCENTER));
    row("Paragraph.bkColor", str(paragraph.bkColor), QStringLiteral("#000000FF"));
    row("Paragraph.lineSpacing", paragraph.lineSpacing, 0.0f);
    row("Paragraph.letterSpacing", paragraph.letterSpacing, 0);
    row("Paragraph.lines", int(paragraph.lines.size()), 0);

    const ns::TextRun run;
    row("TextRun.attributeId", run.attributeId, 0);
    row("TextRun.text", str(run.text), QString());

    const ns::RSSMetaData rss;
    row("RSSMetaData.updatePeriod", rss.updatePeriod, 0);
    row("RSSMetaData.showTitle", rss.showTitle, false);
    row("RSSMetaData.showPubDate", rss.showPubDate, false);
    row("RSSMetaData.showDescription", rss.showDescription, false);
    row("RSSMetaData.feedFlag", rss.feedFlag, false);
    row("RSSMetaData.textAttribute.style.pixelSize", rss.textAttribute.style.pixelSize, 16);
    row("RSSMetaData.displayStyle.type", rss.displayStyle.type, 1);

    const ns::PictureGroupMediaData group;
    row("PictureGroupMediaData.pictures", int(group.pictures.size()), 0);
    row("PictureGroupMediaData.displayStyle.pageStayTime", group.displayStyle.pageStayTime, 10000);
    row("PictureStyleGroup.speed", group.styleGroup.speed, 3);
    row("PictureStyleGroup.moveType", int(group.styleGroup.moveType), 2);
    row("PictureStyleGroup.gapText", str(group.styleGroup.gapText), QString());
    row("PictureStyleGroup.useGap", group.styleGroup.useGap, false);
    row("PictureStyleGroup.speedIsPixels", group.styleGroup.speedIsPixels, false);
    row("PictureStyleGroup.type", group.styleGroup.type, 0);
    const ns::PictureGroupItem item;
    row("PictureGroupItem.path", str(item.path), QString());

    const ns::Widget widget;
    row("Widget.effectCode", widget.effectCode, 0);
    row("Widget.effectTime", widget.effectTime, 1000);
    row("Widget.exitEffectCode", widget.exitEffectCode, 0);
    row("Widget.exitEffectTime", widget.exitEffectTime, 1000);
    row("Widget.path", str(widget.path), QString());
    row("Widget.carried strings",
        QStringList { str(widget.name), str(widget.fileName), str(widget.fileHash), str(widget.sourceUrl),
            str(widget.thumbnail), str(widget.extra), str(widget.note) }
            .join(QString()),
        QString());
    row("Widget.fileSize", qlonglong(widget.fileSize), qlonglong(0));
    row("Widget.modifiedTime", qlonglong(widget.modifiedTime), qlonglong(0));
    row("Widget.carried lists", int(widget.attributes.size() + widget.tags.size()), 0);
    row("Widget.jsonText", str(widget.jsonText), QString());
    row("Fold.enabled", widget.fold.enabled, false);
    row("Fold.count", widget.fold.count, 1);
    row("Fold.orientation", int(widget.fold.orientation), 0);
    row("Fold.rects", int(widget.fold.rects.size()), 0);
}

void TestRecords::defaults()
{
    QFETCH(QVariant, actual);
    QFETCH(QVariant, expected);

    QCOMPARE(actual, expected);
}

void TestRecords::isMarquee_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("moveType");
    QTest::addColumn<bool>("marquee");

    QTest::newRow("scroll left") << int(ns::SCROLL) << int(ns::MOVE_LEFT) << true;
    QTest::newRow("scroll right") << int(ns::SCROLL) << int(ns::MOVE_RIGHT) << true;
    QTest::newRow("scroll down") << int(ns::SCROLL) << int(ns::MOVE_DOWN) << false;
    QTest::newRow("scroll up") << int(ns::SCROLL) << int(ns::MOVE_UP) << false;
    QTest::newRow("scroll, unknown direction") << int(ns::SCROLL) << 9 << false;
    QTest::newRow("pages, left") << int(ns::PAGE_SWITCH) << int(ns::MOVE_LEFT) << false;
    QTest::newRow("static, right") << int(ns::STATIC_PAGE) << int(ns::MOVE_RIGHT) << false;
    QTest::newRow("default style") << ns::DisplayStyle {}.type
                                   << int(ns::DisplayStyle {}.scrollAttributes.effecs.moveType) << true;
}

void TestRecords::isMarquee()
{
    QFETCH(int, type);
    QFETCH(int, moveType);
    QFETCH(bool, marquee);

    ns::DisplayStyle style;
    style.type = type;
    style.scrollAttributes.effecs.moveType = static_cast<ns::MoveType>(moveType);
    QCOMPARE(ns::isMarquee(style), marquee);
}

void TestRecords::richTextDeepCopy_data()
{
    QTest::addColumn<bool>("assign");

    QTest::newRow("copy construction") << false;
    QTest::newRow("copy assignment") << true;
}

void TestRecords::richTextDeepCopy()
{
    QFETCH(bool, assign);

    const ns::RichTextInfo source = bigText();
    ns::RichTextInfo assigned;
    assigned.content.textAttributes.resize(1);
    if (assign)
        assigned = source;
    ns::RichTextInfo constructed(source);
    ns::RichTextInfo& copy = assign ? assigned : constructed;
    checkIsBigText(copy);
    if (QTest::currentTestFailed())
        return;

    scribble(copy);
    QCOMPARE(copy.content.textAttributes[0].style.fontFamilies[0], std::string("Changed"));
    checkIsBigText(source);
}

void TestRecords::widgetCopy()
{
    ns::Widget source;
    source.id = 17;
    source.mediaType = 3;
    source.duration = 5000;
    source.geometry = { { 1, 2, 3, 4 } };
    source.path = "/media/a.gif";
    source.attributes = { { "k", "v" } };
    source.tags = { "t" };
    source.jsonText = R"({"showTitle":true})";
    source.fold.enabled = true;
    source.fold.count = 2;
    source.fold.orientation = ns::ORIENTATION_VERTICAL;
    source.fold.rects = { { 0, 0, 100, 50 }, { 0, 50, 100, 50 } };

    ns::Widget copy = source;
    QCOMPARE(copy.id, 17);
    QCOMPARE(copy.mediaType, 3);
    QCOMPARE(copy.duration, 5000);
    QCOMPARE(copy.geometry[3], 4);
    QCOMPARE(copy.path, source.path);
    QCOMPARE(copy.jsonText, source.jsonText);
    QCOMPARE(copy.fold.enabled, true);
    QCOMPARE(copy.fold.count, 2);
    QCOMPARE(copy.fold.orientation, ns::ORIENTATION_VERTICAL);
    QCOMPARE(copy.fold.rects.size(), std::size_t(2));
    QCOMPARE(copy.fold.rects[1].y, 50);

    copy.geometry[3] = 40;
    copy.path = "/media/b.png";
    copy.attributes[0].second = "w";
    copy.tags.push_back("u");
    copy.jsonText.clear();
    copy.fold.rects[1].y = 999;
    copy.fold.rects.push_back({ 1, 1, 1, 1 });
    copy.fold.count = 3;

    QCOMPARE(source.geometry[3], 4);
    QCOMPARE(source.path, std::string("/media/a.gif"));
    QCOMPARE(source.attributes[0].second, std::string("v"));
    QCOMPARE(source.tags.size(), std::size_t(1));
    QCOMPARE(source.jsonText, std::string(R"({"showTitle":true})"));
    QCOMPARE(source.fold.rects.size(), std::size_t(2));
    QCOMPARE(source.fold.rects[1].y, 50);
    QCOMPARE(source.fold.count, 2);
}

void TestRecords::rssAndPictureGroupCopy()
{
    ns::RSSMetaData rss;
    rss.textAttribute.auxStyles[1].fontFamilies = { "DejaVu Sans" };
    rss.displayStyle.scrollAttributes.gapText = "20";
    ns::RSSMetaData rssCopy = rss;
    rssCopy.textAttribute.auxStyles[1].fontFamilies.push_back("Extra");
    rssCopy.displayStyle.scrollAttributes.gapText = "40";
    QCOMPARE(rss.textAttribute.auxStyles[1].fontFamilies, std::vector<std::string> { "DejaVu Sans" });
    QCOMPARE(rss.displayStyle.scrollAttributes.gapText, std::string("20"));

    ns::PictureGroupMediaData group;
    group.pictures.resize(2);
    group.pictures[0].path = "/pages/1.png";
    ns::PictureGroupMediaData groupCopy = group;
    groupCopy.pictures[0].path = "/pages/other.png";
    groupCopy.pictures.pop_back();
    QCOMPARE(group.pictures.size(), std::size_t(2));
    QCOMPARE(group.pictures[0].path, std::string("/pages/1.png"));
}

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
