// The reference host: its playlist reader, the calling order it keeps with its players and how it
// leaves bad items out, and the program itself with its demo, contact sheet and failures.
#include "logcapture.h"
#include "testpictures.h"

#include <capture.h>
#include <demo.h>
#include <effectInfo.h>
#include <hostscreen.h>
#include <picturemarquee.h>
#include <playerfactory.h>
#include <playlist.h>

#include <QDir>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kProcessTimeoutMs = 120000;
// The pictures in the host's loops stay this long; waits cover many of them.
constexpr int kItemMs = 150;
constexpr int kLoopWaitMs = 40 * kItemMs;

} // namespace

class TestMediaHost : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void playlist_data();
    void playlist();
    void itemsOfARegion();
    void callingOrder();
    void badItemsAreLeftOut_data();
    void badItemsAreLeftOut();
    void demoWritesContactSheet();
    void program_data();
    void program();

private:
    // Exit code, stdout and stderr of mediahost.
    std::tuple<int, QString, QString> run(const QStringList& arguments);
    QString write(const QByteArray& text);
    std::unique_ptr<HostScreen> play(QByteArray json);

    QTemporaryDir m_dir;
};

void TestMediaHost::initTestCase()
{
    QVERIFY(!testpictures::savePng(testpictures::quadrants(64, 48), m_dir.path(), "good.png").isEmpty());
}

std::tuple<int, QString, QString> TestMediaHost::run(const QStringList& arguments)
{
    QProcess process;
    process.start(
        qEnvironmentVariable("MEDIAHOST"), arguments + QStringList { "--cache-dir", m_dir.filePath("cache") });
    if (!process.waitForFinished(kProcessTimeoutMs))
        process.kill();
    process.waitForFinished();
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
        QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError()) };
}

QString TestMediaHost::write(const QByteArray& text)
{
    static int counter = 0;
    QFile file(m_dir.filePath(QStringLiteral("file-%1.json").arg(++counter)));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() ? file.fileName() : QString();
}

// A started screen of the playlist `json`, with ITEM standing for a picture item of good.png.
std::unique_ptr<HostScreen> TestMediaHost::play(QByteArray json)
{
    json.replace("ITEM",
        QStringLiteral(R"({"widget": {"path": "good.png", "duration": %1, "effectCode": 16,
        "effectTime": %2}})")
            .arg(kItemMs)
            .arg(kItemMs / 3)
            .toUtf8());
    auto screen
        = std::make_unique<HostScreen>(parsePlaylist(json, m_dir.path()).playlist, PlayerFactory::withBuiltinPlayers());
    screen->show();
    screen->start();
    return screen;
}

void TestMediaHost::playlist_data()
{
    // "R" and the keys of a region "r" (10 by 10 pixels unless they say), beside a good region; or a playlist.
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QStringList>("items"); // of region "r", as "id#number"; empty: left out
    QTest::addColumn<QString>("message"); // in the errors, or "warning: ..." in the warnings

    const auto row = [](const char* name, const QByteArray& json, const QStringList& items, const QString& message) {
        QTest::newRow(name) << json << items << message;
    };
    row("list of one may stay forever", R"(R"items": [{"widget": {"id": 4, "duration": 0}}])", { "4#1" }, "");
    row("entry not an object", R"(R"items": [{"widget": {"id": 1}}, 7, {"widget": {"id": 3}}])", { "1#1", "3#3" },
        "region 'r' item 2: an item must be a JSON object, not number; item left out");
    row("wrong type in widget", R"(R"items": [{"widget": {"duration": "soon"}}, {"widget": {"id": 2}}])", { "2#2" },
        "region 'r' item 1: widget: [json.exception.type_error.302] at duration:");
    row("zero duration in a loop", R"(R"items": [{"widget": {"duration": 0}}, {"widget": {"id": 2}}])", { "2#2" },
        "region 'r' item 1: widget: duration 0 ms");
    row("negative duration", R"(R"item": {"widget": {"duration": -5}})", {},
        "region 'r' item 1: widget: duration -5 ms");
    row("no widget", R"(R"item": {"kind": "picture"})", {}, "region 'r' item 1: needs a \"widget\" object");
    row("both forms", R"(R"item": {"widget": {}}, "items": [{"widget": {}}])", {},
        "region 'r': has both \"item\" and \"items\"; region left out");
    row("neither form", R"(R"items": [])", {}, "region 'r': needs an \"item\" object or a non-empty \"items\" list");
    row("every entry bad", R"(R"items": [1, 2])", {}, "region 'r': no item can be played");
    row("zero width", R"(R"width": 0, "height": 10, "item": {"widget": {}})", {},
        "region 'r': \"width\" is 0, outside 1..16384; region left out");
    row("missing height", R"(R"width": 10, "item": {"widget": {}})", {}, "region 'r': \"height\" is missing");
    row("outside the screen", R"(R"x": 1280, "width": 10, "height": 10, "item": {"widget": {}})", {},
        "region 'r': geometry (1280, 0, 10x10) lies outside the 1280x720 screen");
    row("cut by the screen edge", R"(R"x": -5, "width": 200, "height": 10, "item": {"widget": {"id": 1}})", { "1#1" },
        "warning: region 'r': geometry (-5, 0, 200x10) reaches beyond the 1280x720 screen and is cut");
    row("missing picture", R"(R"item": {"widget": {"id": 1, "path": "no.png"}})", { "1#1" },
        "warning: region 'r' item 1: picture file /base/no.png does not exist");
    row("missing marquee picture", R"(R"item": {"kind": "picture-marquee", "widget":
        {"id": 1, "jsonText": {"pictures": ["/", "x.png"]}}})",
        { "1#1" }, "warning: region 'r' item 1: picture file /base/x.png does not exist");
    row("feed without a host", R"(R"item": {"kind": "rss", "widget": {"id": 1, "path": "a"}})", { "1#1" },
        "warning: region 'r' item 1: feed address 'a' names no host");
    row("region not an object", R"({"regions": [1, {"name": "r", "width": 1, "height": 1, "item": {"widget":
        {"id": 1}}}]})",
        { "1#1" }, "region 1 is not a JSON object; left out");
    row("background not a colour", R"({"screen": {"background": "plaid"}, "regions": [{"name": "r", "width": 1,
        "height": 1, "item": {"widget": {"id": 1}}}]})",
        { "1#1" }, "warning: screen: background \"plaid\" is not a colour");
    row("not JSON", R"({"regions": [)", {}, "not valid JSON");
    row("no regions", R"({"screen": {}})", {}, "the playlist needs a \"regions\" list");
    row("bad screen", R"({"screen": {"width": 0}, "regions": []})", {}, "screen: \"width\" is 0, outside 1..16384");
    row("nothing playable", R"({"regions": [{"width": 1, "height": 0, "item": {"widget": {}}}]})", {},
        "the playlist has no region that can be played");
}

void TestMediaHost::playlist()
{
    QFETCH(QByteArray, json);
    QFETCH(QStringList, items);
    QFETCH(QString, message);
    if (json.startsWith('R'))
        json = QByteArray(R"({"regions": [{"name": "r", )")
            + (json.contains("\"width\"") ? "" : R"("width": 10, "height": 10, )") + json.mid(1)
            + R"(}, {"name": "other", "width": 10, "height": 10, "item": {"widget": {"id": 99}}}]})";
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base"));
    QStringList read;
    for (const PlaylistRegion& region : load.playlist.regions) {
        for (const PlaylistItem& item : region.items)
            read << QStringLiteral("%1#%2").arg(item.widget.id).arg(item.number);
    }
    read.removeAll("99#1");
    QCOMPARE(read, items);
    // A playlist is playable while one region is: the other one here.
    QCOMPARE(load.ok, json.contains("other") || !items.isEmpty());
    const bool warning = message.startsWith("warning: ");
    QVERIFY2(
        message.isEmpty() || !(warning ? load.warnings : load.errors).filter(message.mid(warning ? 9 : 0)).isEmpty(),
        qPrintable((load.errors + load.warnings).join('\n')));
    QVERIFY2(!warning || load.errors.isEmpty(), qPrintable(load.errors.join('\n')));
}

// Paths resolve against the playlist's directory, a feed's address stays as written, items without
// an id get fresh ones above every id written, and an absent duration is the host's default.
void TestMediaHost::itemsOfARegion()
{
    const PlaylistLoad load = parsePlaylist(R"({"regions": [{"name": "r", "width": 10, "height": 10, "items": [
        {"kind": "office", "widget": {"id": 7, "path": "pic.png"}}, {"widget": {"path": "../images/a.png"}},
        {"widget": {"path": "sub/./x.png", "duration": 20}}, {"widget": {"path": "/srv/a.png"}},
        {"widget": {"path": "https://example.org/a.png"}}, {"widget": {"id": 3}},
        {"kind": "rss", "widget": {"path": " https://example.org/feed "}}, {"kind": "picture-marquee",
        "widget": {"jsonText": "{\"pictures\": [\"a.png\", \"../b.png\", \"/c.png\"], \"code\": 246}"}}]}]})",
        "/base/dir");
    QVERIFY2(load.ok && load.errors.isEmpty(), qPrintable(load.errors.join('\n')));
    QStringList read;
    for (const PlaylistItem& item : load.playlist.regions.at(0).items) {
        read << QStringLiteral("%1 %2 %3 %4")
                    .arg(item.kind)
                    .arg(item.widget.id)
                    .arg(item.widget.duration)
                    .arg(QString::fromStdString(item.widget.path));
    }
    QCOMPARE(read,
        QStringList({ "office 7 10000 /base/dir/pic.png", "picture 8 10000 /base/images/a.png",
            "picture 9 20 /base/dir/sub/x.png", "picture 10 10000 /srv/a.png",
            "picture 11 10000 https://example.org/a.png", "picture 3 10000 ", "rss 12 10000  https://example.org/feed ",
            "picture-marquee 13 10000 " }));
    PictureMarqueeSettings settings;
    QVERIFY(readPictureMarqueeSettings(load.playlist.regions.at(0).items.last().widget.jsonText, settings, nullptr));
    QCOMPARE(settings.pictures, QStringList({ "/base/dir/a.png", "/base/b.png", "/c.png" }));
    QCOMPARE(settings.code, 246);
}

// Each item plays in its own parent at its region's place. A new item shows before the one before it
// goes, which goes before the next one comes; a region of one item keeps it; a later region stays in
// front of an earlier one.
void TestMediaHost::callingOrder()
{
    LogCapture log;
    const QRect loop(10, 20, 200, 100), still(50, 50, 100, 100);
    const auto screen = play(R"({"screen": {"width": 400, "height": 300}, "regions": [{"name": "loop", "x": 10,
        "y": 20, "width": 200, "height": 100, "items": [ITEM, ITEM]}, {"name": "still", "x": 50, "y": 50,
        "width": 100, "height": 100, "item": ITEM}]})");
    QTRY_VERIFY_WITH_TIMEOUT(log.count("region 'loop' item 1: status 1") == 2, kLoopWaitMs);
    for (const QWidget* player : screen->findChildren<EffectInfo*>())
        QVERIFY(player->parentWidget()->parentWidget() == screen.get()
            && QList<QRect>({ loop, still }).contains(player->parentWidget()->geometry()));
    int stillAt = -1, loopAt = -1;
    for (int i = 0; i < screen->children().size(); ++i) {
        if (auto* frame = qobject_cast<QWidget*>(screen->children().at(i)))
            (frame->geometry() == still ? stillAt : loopAt) = i;
    }
    QVERIFY2(stillAt > loopAt, "the later region lies in front");
    screen->stop();
    // "<region> <item> playing|ending", in the order they came.
    QStringList events = log.lines().filter(QRegularExpression("\\(picture\\): (playing|ending)$"));
    events.replaceInStrings(QRegularExpression("^.*region '(\\w+)' item (\\d) \\(picture\\): "), "\\1 \\2 ");
    QCOMPARE(events.filter("still"), QStringList({ "still 1 playing", "still 1 ending" }));
    QVERIFY(events.indexOf("still 1 ending") > events.lastIndexOf(QRegularExpression("loop . playing")));
    int live = 0, started = 0;
    for (const QString& event : events.filter("loop")) {
        if (event.endsWith("ending")) {
            QVERIFY(--live >= 0);
            continue;
        }
        QCOMPARE(event, QStringLiteral("loop %1 playing").arg(started % 2 + 1));
        QCOMPARE(live++, started++ ? 1 : 0);
    }
    QVERIFY(started >= 3);
    QCOMPARE(live, 0);
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::badItemsAreLeftOut_data()
{
    QTest::addColumn<QByteArray>("items"); // of region "bad": pictures and one that cannot play
    QTest::addColumn<QString>("error");
    const QByteArray unknown = R"({"kind": "hologram", "widget": {"duration": 150}})";
    const QByteArray throwing = R"({"kind": "rss", "widget": {"duration": 150, "jsonText": "no JSON"}})";
    QTest::newRow("unknown kind after a picture")
        << "ITEM, " + unknown << "region 'bad' item 2: no player for kind 'hologram'";
    QTest::newRow("unknown kind first") << unknown + ", ITEM"
                                        << "region 'bad' item 1: no player for kind 'hologram'";
    QTest::newRow("iInit throws after a picture") << "ITEM, " + throwing << "region 'bad' item 2 (rss): iInit failed: ";
    QTest::newRow("iInit throws first") << throwing + ", ITEM"
                                        << "region 'bad' item 1 (rss): iInit failed: ";
    QTest::newRow("nothing but a throwing item") << throwing << "region 'bad' item 1 (rss): iInit failed: ";
}

// The item that cannot play is logged once and left out of the loop; a region with one picture left
// keeps it, and the other region plays on.
void TestMediaHost::badItemsAreLeftOut()
{
    QFETCH(QByteArray, items);
    QFETCH(QString, error);
    LogCapture log;
    log.expectError(error);
    log.expectError("region 'bad': no item left that can be played");
    const auto screen = play(R"({"regions": [{"name": "bad", "width": 100, "height": 100, "items": [)" + items
        + R"(]}, {"name": "good", "x": 100, "width": 100, "height": 100, "item": ITEM}]})");
    const int pictures = items.count("ITEM");
    QTRY_COMPARE_WITH_TIMEOUT(screen->regions().at(0)->playableItemCount(), pictures, kLoopWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(log.contains("region 'good' item 1: status 1"), kLoopWaitMs);
    QCOMPARE(log.count(error), 1);
    QCOMPARE(log.count("no item left that can be played"), int(pictures == 0));
    QCOMPARE(
        log.lines().filter(QRegularExpression("region '\\w+' item \\d \\(picture\\): playing")).size(), pictures + 1);
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::demoWritesContactSheet()
{
    const QString frames = m_dir.filePath("demo-frames");
    const auto [exitCode, out, err] = run(
        { "--demo", "--seconds", "2", "--capture", frames, "--fps", "4", "--contact-sheet", frames + "/sheet.png" });
    QVERIFY2(exitCode == 0 && !err.contains("[error]"), qPrintable(err));
    for (const QString& region : { QString("tile-1"), kDemoFoldRegion, kDemoTickerRegion, kDemoNoticeRegion,
             kDemoStaticRegion, kDemoUpRegion, kDemoDownRegion, kDemoLeftTickerRegion, kDemoRightTickerRegion,
             kDemoFoldedTickerRegion, kDemoFoldedUpRegion, kDemoOfficeRegion })
        QVERIFY2(err.contains(QStringLiteral("region '%1' item 1: status 1").arg(region)), qPrintable(err));
    QCOMPARE(QImage(QDir(frames).filePath(FrameCapture::frameFileName(1))).size(), QSize(1920, 1080));
    // Pictures, not an empty grid: the cells hold many colours.
    const QImage sheet(frames + "/sheet.png");
    QVERIFY(sheet.width() >= 640 && sheet.width() <= 2000 && sheet.height() >= 200 && sheet.height() <= 2000);
    QSet<QRgb> colours;
    for (int i = 0; i < sheet.width() * sheet.height(); i += 7)
        colours << sheet.pixel(i % sheet.width(), i / sheet.width());
    QVERIFY2(colours.size() > 200, qPrintable(QString::number(colours.size())));
}

void TestMediaHost::program_data()
{
    // FILE:<text> stands for a file holding the text, ABSENT for none, BLOCKED for one under a plain file.
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("messages"); // on stderr; %1: the path of that file

    const auto row = [](const char* name, const QStringList& arguments, int exitCode, const QStringList& messages) {
        QTest::newRow(name) << arguments << exitCode << messages;
    };
    row("nothing to play", {}, 2, { "give either a playlist file or --demo" });
    row("two playlists", { "a.json", "b.json" }, 2, { "one playlist at a time, got 2" });
    row("zero fps", { "--demo", "--fps", "0" }, 2, { "--fps needs a number above 0 and at most 60, not '0'" });
    row("negative seconds", { "--demo", "--seconds", "-1" }, 2, { "--seconds needs a positive number" });
    row("unknown log level", { "--demo", "--log-level", "loud" }, 2, { "unknown log level 'loud'" });
    row("gallery size too small", { "--gallery", "g.png", "--gallery-size", "31x54" }, 2,
        { "--gallery-size needs WIDTHxHEIGHT with each side 32 to 960, not '31x54'" });
    row("render text without a size", { "--render-text", "r.json", "--out", "o" }, 2,
        { "--render-text needs a record file, --size WxH and --out DIR" });
    row("render text size out of range", { "--render-text", "r.json", "--size", "0x100", "--out", "o" }, 2,
        { "--size needs WIDTHxHEIGHT with each side 1 to 16384, not '0x100'" });
    row("size without render text", { "--demo", "--size", "10x10" }, 2, { "--size and --out go with --render-text" });
    row("playlist not JSON", { "FILE:<playlist/>", "--seconds", "1" }, 1, { "playlist %1: not valid JSON" });
    row("no playlist file", { "ABSENT", "--seconds", "1" }, 1, { "cannot read playlist %1" });
    row("gallery through a plain file", { "--gallery", "BLOCKED" }, 1, { "gallery: cannot write the gallery %1" });
    row("no record file", { "--render-text", "ABSENT", "--size", "100x50", "--out", "o" }, 1,
        { "render-text: cannot read" });
    row("record not JSON", { "--render-text", "FILE:{\"content\": ", "--size", "100x50", "--out", "o" }, 1,
        { "is no rich text record" });
    row("record without styles",
        { "--render-text", R"(FILE:{"content":{"paragraphs":[{"lines":[[{"text":"x"}]]}]}})", "--size", "100x50",
            "--out", "o" },
        1, { "textAttributes is empty" });
    // Bad regions are left out, and the others play.
    const QString good = R"(, {"name": "good", "x": 100, "width": 120, "height": 90, "item": {"widget": {"id": 1,
        "effectCode": 16, "effectTime": 200, "path": "good.png"}}}]})";
    const QString bad = R"(FILE:{"screen": {"width": 320, "height": 200}, "regions": [{"name": "bad", "width": 50,
        "height": 50, "item": )";
    row("a kind without a player", { bad + R"({"kind": "hologram", "widget": {"id": 2}}})" + good, "--seconds", "1" },
        0, { "region 'bad' item 1: no player for kind 'hologram'", "region 'good' item 1: status 1" });
    row("marquee settings not JSON",
        { bad + R"({"kind": "picture-marquee", "widget": {"id": 2, "jsonText": "x"}}})" + good, "--seconds", "1" }, 0,
        { "picture-marquee 2: jsonText is not valid JSON", "region 'good' item 1: status 1" });
}

void TestMediaHost::program()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, messages);
    QString path;
    for (QString& argument : arguments) {
        if (argument.startsWith("FILE:"))
            argument = path = write(argument.mid(5).toUtf8());
        else if (argument == "ABSENT" || argument == "BLOCKED")
            argument = path = argument == "ABSENT" ? m_dir.filePath("absent.json") : write("") + "/g.png";
    }
    const QString out = m_dir.filePath("out");
    arguments.replaceInStrings(QRegularExpression("^o$"), out);
    const auto [exitCode, stdOut, err] = run(arguments);
    QTEST(exitCode, "exitCode");
    for (const QString& message : messages)
        QVERIFY2(err.contains(message.contains("%1") ? message.arg(path) : message), qPrintable(err));
    QVERIFY(stdOut.isEmpty() && QDir(out).isEmpty());
}

QTEST_MAIN(TestMediaHost)
#include "tst_mediahost.moc"
