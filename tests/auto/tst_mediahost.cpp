// The reference host: playlist reading, its picture-marquee player, the calling order it keeps
// with its players, how it survives bad items, and the program itself with its demo and contact
// sheet.
#include "logcapture.h"
#include "testpictures.h"

#include <capture.h>
#include <demo.h>
#include <playerpath.h>
#include <effectdisplay.h>
#include <gallery.h>
#include <hostscreen.h>
#include <jsonrecords.h>
#include <picturemarquee.h>
#include <playerfactory.h>
#include <playlist.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr int kProcessTimeoutMs = 120000;
// Waits are bounded by many item durations, so only a broken loop runs into them.
constexpr int kFakeDurationMs = 150;
constexpr int kFakeEffectTimeMs = 50;
constexpr int kLoopWaitMs = 40 * kFakeDurationMs;

const QStringList kFullLifecycle { QStringLiteral("iInit"), QStringLiteral("iPlay"), QStringLiteral("show"),
    QStringLiteral("hide"), QStringLiteral("iStop"), QStringLiteral("iDestory"), QStringLiteral("delete") };

// What one fake player went through, kept after the player is gone.
struct FakeRecord {
    int itemId = -1;
    QStringList calls;
    QRect parentGeometry;
    QWidget* parentParent = nullptr;
};

// Every call of every fake player, in the order they happened.
struct FakeJournal {
    std::vector<std::shared_ptr<FakeRecord>> players;
    QList<QPair<int, QString>> calls; // index into players, call

    void note(int player, const QString& call)
    {
        players[player]->calls << call;
        calls << qMakePair(player, call);
    }
    int position(int player, const QString& call) const { return calls.indexOf(qMakePair(player, call)); }
    QList<int> playersOf(int itemId) const
    {
        QList<int> found;
        for (int i = 0; i < int(players.size()); ++i) {
            if (players[i]->itemId == itemId)
                found << i;
        }
        return found;
    }
};

// A player that only records how the host drives it; it reports MediaReady the way
// EffectInfo does, once the event loop has turned after iInit.
class FakePlayer : public QWidget, public IMediaPlay {
public:
    FakePlayer(QWidget* parent, FakeJournal* journal, bool throwInInit)
        : QWidget(parent)
        , m_journal(journal)
        , m_throwInInit(throwInInit)
    {
        m_index = int(journal->players.size());
        auto record = std::make_shared<FakeRecord>();
        record->parentGeometry = parent->geometry();
        record->parentParent = parent->parentWidget();
        journal->players.push_back(record);
    }
    ~FakePlayer() override { m_journal->note(m_index, QStringLiteral("delete")); }

    int iInit(const ns::Widget& widget, std::function<void(EnumMediaStatus)> callback) override
    {
        m_journal->players[m_index]->itemId = widget.id;
        m_journal->note(m_index, QStringLiteral("iInit"));
        if (m_throwInInit)
            throw std::runtime_error("jsonText is not JSON");
        m_callback = std::move(callback);
        QTimer::singleShot(0, this, [this] { m_callback(MediaReady); });
        return 0;
    }
    int iPlay() override
    {
        m_journal->note(m_index, QStringLiteral("iPlay"));
        return 0;
    }
    void iPause() override { m_journal->note(m_index, QStringLiteral("iPause")); }
    void iStop() override { m_journal->note(m_index, QStringLiteral("iStop")); }
    int iResume() override
    {
        m_journal->note(m_index, QStringLiteral("iResume"));
        return 0;
    }
    void iDestory() override { m_journal->note(m_index, QStringLiteral("iDestory")); }
    void setVisible(bool visible) override
    {
        m_journal->note(m_index, visible ? QStringLiteral("show") : QStringLiteral("hide"));
        QWidget::setVisible(visible);
    }

private:
    FakeJournal* m_journal;
    bool m_throwInInit;
    int m_index = -1;
    std::function<void(EnumMediaStatus)> m_callback;
};

PlayerFactory fakeFactory(FakeJournal* journal)
{
    PlayerFactory factory;
    factory.registerKind(QStringLiteral("fake"), [journal](QWidget* parent) {
        auto* player = new FakePlayer(parent, journal, false);
        return PlayerFactory::Player { player, player };
    });
    factory.registerKind(QStringLiteral("fake-throwing"), [journal](QWidget* parent) {
        auto* player = new FakePlayer(parent, journal, true);
        return PlayerFactory::Player { player, player };
    });
    return factory;
}

PlaylistItem fakeItem(int id, const QString& kind = QStringLiteral("fake"))
{
    PlaylistItem item;
    item.kind = kind;
    item.number = id;
    item.widget.id = id;
    item.widget.duration = kFakeDurationMs;
    item.widget.effectCode = 16;
    item.widget.effectTime = kFakeEffectTimeMs;
    return item;
}

PlaylistRegion region(const QString& name, const QRect& geometry, const QList<PlaylistItem>& items)
{
    PlaylistRegion region;
    region.name = name;
    region.geometry = geometry;
    region.items = items;
    return region;
}

Playlist screenOf(const QList<PlaylistRegion>& regions)
{
    Playlist playlist;
    playlist.screenSize = QSize(400, 300);
    playlist.background = Qt::black;
    playlist.regions = regions;
    return playlist;
}

// A playlist holding the region under test and one good region, so that the playlist as a
// whole stays playable when the region under test is left out.
QByteArray withRegion(const QByteArray& regionBody)
{
    return "{\"regions\": [" + regionBody
        + ", {\"name\": \"other\", \"width\": 10, \"height\": 10, \"item\": {\"widget\": {\"id\": 99}}}]}";
}

const PlaylistRegion* findRegion(const Playlist& playlist, const QString& name)
{
    for (const PlaylistRegion& region : playlist.regions) {
        if (region.name == name)
            return &region;
    }
    return nullptr;
}

bool anyContains(const QStringList& messages, const QString& needle)
{
    for (const QString& message : messages) {
        if (message.contains(needle))
            return true;
    }
    return false;
}

// The marquee tests run quick belts, so that a whole turn of the ring takes well under a second.
constexpr int kMarqueeIntervalMs = 10;
constexpr int kMarqueeStep = 2;
// Waits for the belt cover many turns of the ring at its own pace.
constexpr int kMarqueeWaitMs = 15000;

// Where the pixels near `colour` lie on the middle line of `frame` along one axis: the first and
// last index, or (-1, -1) when there are none.
QPair<int, int> extentOf(const QImage& frame, const QColor& colour, bool horizontal)
{
    QPair<int, int> extent(-1, -1);
    const int length = horizontal ? frame.width() : frame.height();
    for (int i = 0; i < length; ++i) {
        const QRgb pixel = horizontal ? frame.pixel(i, frame.height() / 2) : frame.pixel(frame.width() / 2, i);
        if (!testpictures::near(pixel, colour, 4))
            continue;
        if (extent.first < 0)
            extent.first = i;
        extent.second = i;
    }
    return extent;
}

QImage solid(const QSize& size, const QColor& colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

// Pixels of `frame` inside `area` that differ from `background`.
int paintedPixels(const QImage& frame, const QRect& area, const QColor& background)
{
    int painted = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            painted += !testpictures::near(frame.pixel(x, y), background, 2);
    }
    return painted;
}

struct RunResult {
    int exitCode = -1;
    QString out;
    QString err;
};

} // namespace

class TestMediaHost : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void parsePaths_data();
    void parsePaths();
    void parseItems_data();
    void parseItems();
    void parseDefaults();
    void parseRejects_data();
    void parseRejects();
    void parseWarnings_data();
    void parseWarnings();
    void loadPlaylistFailures_data();
    void loadPlaylistFailures();
    void shippedPlaylistsParse_data();
    void shippedPlaylistsParse();

    void marqueeSettings_data();
    void marqueeSettings();
    void marqueePicturePaths_data();
    void marqueePicturePaths();

    void pickEvenly_data();
    void pickEvenly();

    void callingOrder();
    void badItemsAreLeftOut_data();
    void badItemsAreLeftOut();
    void laterRegionsStayInFront();
    void marqueeRuns_data();
    void marqueeRuns();
    void marqueeInHost_data();
    void marqueeInHost();
    void demoFoldAndTicker();

    void demoWritesContactSheet();
    void demoTextAndOfficeRegions();
    void programSurvivesBadRegions_data();
    void programSurvivesBadRegions();
    void unreadablePlaylistFails_data();
    void unreadablePlaylistFails();
    void badCommandLine_data();
    void badCommandLine();
    void helpNamesEveryOption();
    void galleryShowsEveryCode_data();
    void galleryShowsEveryCode();
    void galleryCannotBeWritten();
    void renderTextPrintsItsFiles_data();
    void renderTextPrintsItsFiles();
    void renderTextBadRecord_data();
    void renderTextBadRecord();

private:
    RunResult run(const QStringList& arguments);
    QString writePlaylist(const QByteArray& text);

    QString m_program;
    QString m_sourceDir;
    QTemporaryDir m_dir;
};

void TestMediaHost::initTestCase()
{
    m_program = qEnvironmentVariable("MEDIAHOST");
    m_sourceDir = qEnvironmentVariable("EFFECTDISPLAY_SOURCE_DIR");
    QVERIFY2(QFileInfo(m_program).isExecutable(), "MEDIAHOST must name the built mediahost");
    QVERIFY2(QFileInfo(m_sourceDir).isDir(), "EFFECTDISPLAY_SOURCE_DIR must name the source tree");
    QVERIFY(m_dir.isValid());
}

RunResult TestMediaHost::run(const QStringList& arguments)
{
    QProcess process;
    process.start(m_program, arguments + QStringList { QStringLiteral("--cache-dir"), m_dir.filePath("cache") });
    RunResult result;
    if (!process.waitForFinished(kProcessTimeoutMs)) {
        process.kill();
        process.waitForFinished();
        result.err = QStringLiteral("mediahost did not finish");
        return result;
    }
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString TestMediaHost::writePlaylist(const QByteArray& text)
{
    static int counter = 0;
    const QString path = m_dir.filePath(QStringLiteral("playlist-%1.json").arg(++counter));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return QString();
    return path;
}

void TestMediaHost::parsePaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("file name") << "pic.png"
                               << "/base/dir/pic.png";
    QTest::newRow("parent directory") << "../images/a.png"
                                      << "/base/images/a.png";
    QTest::newRow("dot segments") << "sub/./x.png"
                                  << "/base/dir/sub/x.png";
    QTest::newRow("absolute") << "/srv/media/a.png"
                              << "/srv/media/a.png";
    QTest::newRow("feed address") << "https://example.org/feed.xml"
                                  << "https://example.org/feed.xml";
    QTest::newRow("empty") << ""
                           << "";
}

void TestMediaHost::parsePaths()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    const QByteArray json = "{\"regions\": [{\"name\": \"r\", \"width\": 10, \"height\": 10, \"item\": "
                            "{\"kind\": \"office\", \"widget\": {\"path\": \""
        + path.toUtf8() + "\"}}}]}";
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base/dir"));
    QVERIFY2(load.ok, qPrintable(load.errors.join('\n')));
    QCOMPARE(QString::fromStdString(load.playlist.regions.at(0).items.at(0).widget.path), expected);
}

void TestMediaHost::parseItems_data()
{
    QTest::addColumn<QByteArray>("items");
    QTest::addColumn<QList<int>>("ids"); // empty: the region is left out
    QTest::addColumn<QString>("error"); // empty: no error

    QTest::newRow("single item") << QByteArray("\"item\": {\"widget\": {\"id\": 5}}") << QList<int> { 5 } << "";
    QTest::newRow("list in order") << QByteArray("\"items\": [{\"widget\": {\"id\": 3, \"duration\": 1}}, "
                                                 "{\"widget\": {\"id\": 1, \"duration\": 1}}, "
                                                 "{\"widget\": {\"id\": 2, \"duration\": 1}}]")
                                   << QList<int> { 3, 1, 2 } << "";
    QTest::newRow("list of one may stay forever")
        << QByteArray("\"items\": [{\"widget\": {\"id\": 4, \"duration\": 0}}]") << QList<int> { 4 } << "";
    QTest::newRow("bad entry left out") << QByteArray(
        "\"items\": [{\"widget\": {\"id\": 1}}, 7, {\"widget\": {\"id\": 3}}]")
                                        << QList<int> { 1, 3 } << "region 'r' item 2: an item must be a JSON object";
    QTest::newRow("wrong type in widget")
        << QByteArray("\"items\": [{\"widget\": {\"id\": 1, \"duration\": \"soon\"}}, {\"widget\": {\"id\": 2}}]")
        << QList<int> { 2 } << "region 'r' item 1: widget:";
    QTest::newRow("zero duration in a loop")
        << QByteArray("\"items\": [{\"widget\": {\"id\": 1, \"duration\": 0}}, {\"widget\": {\"id\": 2}}]")
        << QList<int> { 2 } << "region 'r' item 1: widget: duration 0 ms";
    QTest::newRow("negative duration") << QByteArray("\"item\": {\"widget\": {\"id\": 1, \"duration\": -5}}")
                                       << QList<int> {} << "region 'r' item 1: widget: duration -5 ms";
    QTest::newRow("no widget") << QByteArray("\"item\": {\"kind\": \"picture\"}") << QList<int> {}
                               << "region 'r' item 1: needs a \"widget\" object";
    QTest::newRow("kind not a string") << QByteArray("\"item\": {\"kind\": 3, \"widget\": {}}") << QList<int> {}
                                       << "region 'r' item 1: \"kind\" must be";
    QTest::newRow("both forms") << QByteArray("\"item\": {\"widget\": {}}, \"items\": [{\"widget\": {}}]")
                                << QList<int> {} << "region 'r': has both \"item\" and \"items\"";
    QTest::newRow("neither form") << QByteArray("\"duration\": 5") << QList<int> {}
                                  << "region 'r': needs an \"item\" object or a non-empty \"items\" list";
    QTest::newRow("empty list") << QByteArray("\"items\": []") << QList<int> {}
                                << "region 'r': needs an \"item\" object or a non-empty \"items\" list";
    QTest::newRow("every entry bad") << QByteArray("\"items\": [1, 2]") << QList<int> {}
                                     << "region 'r': no item can be played";
}

void TestMediaHost::parseItems()
{
    QFETCH(QByteArray, items);
    QFETCH(QList<int>, ids);
    QFETCH(QString, error);
    const PlaylistLoad load
        = parsePlaylist(withRegion("{\"name\": \"r\", \"width\": 10, \"height\": 10, " + items + "}"), "/base");
    QVERIFY(load.ok);
    const PlaylistRegion* region = findRegion(load.playlist, QStringLiteral("r"));
    QList<int> readIds;
    QList<int> numbers;
    if (region) {
        for (const PlaylistItem& item : region->items) {
            readIds << item.widget.id;
            numbers << item.number;
        }
    }
    QCOMPARE(readIds, ids);
    if (error.isEmpty())
        QVERIFY2(load.errors.isEmpty(), qPrintable(load.errors.join('\n')));
    else
        QVERIFY2(anyContains(load.errors, error), qPrintable(load.errors.join('\n')));
    // Numbers count the entries as written, so a log line points at the right one.
    if (QTest::currentDataTag() == QByteArray("bad entry left out"))
        QCOMPARE(numbers, (QList<int> { 1, 3 }));
}

void TestMediaHost::parseDefaults()
{
    const QByteArray json = "{\"regions\": ["
                            "{\"width\": 100, \"height\": 50, \"item\": {\"widget\": {\"path\": \"a.png\"}}},"
                            "{\"name\": \"b\", \"width\": 10, \"height\": 10, \"items\": ["
                            "{\"widget\": {\"id\": 7}}, {\"widget\": {}}]}]}";
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base"));
    QVERIFY2(load.ok, qPrintable(load.errors.join('\n')));
    const Playlist& playlist = load.playlist;
    QCOMPARE(playlist.screenSize, QSize(playlistdefaults::kScreenWidth, playlistdefaults::kScreenHeight));
    QCOMPARE(playlist.background, QColor(Qt::black));
    QCOMPARE(playlist.regions.size(), 2);

    const PlaylistRegion& first = playlist.regions.at(0);
    QCOMPARE(first.name, QStringLiteral("region 1"));
    QCOMPARE(first.geometry, QRect(0, 0, 100, 50));
    const PlaylistItem& item = first.items.at(0);
    QCOMPARE(item.kind, QStringLiteral("picture"));
    QCOMPARE(item.number, 1);
    QCOMPARE(item.widget.duration, playlistdefaults::kItemDurationMs);
    QCOMPARE(item.widget.mediaType, 0);
    QCOMPARE(item.widget.effectCode, 0);
    QCOMPARE(item.widget.effectTime, 1000);
    QVERIFY(!item.widget.fold.enabled);

    // Items without an id get fresh ones above every id written: none is shared.
    QSet<int> ids;
    for (const PlaylistRegion& region : playlist.regions) {
        for (const PlaylistItem& each : region.items)
            ids << each.widget.id;
    }
    QCOMPARE(ids.size(), 3);
    QVERIFY(ids.contains(7));
    QCOMPARE(playlist.regions.at(1).items.at(1).widget.id, 9);
}

void TestMediaHost::parseRejects_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("error");

    const auto geometry = [](const QByteArray& keys) {
        return withRegion("{\"name\": \"r\", " + keys + ", \"item\": {\"widget\": {}}}");
    };
    QTest::newRow("zero width") << geometry("\"width\": 0, \"height\": 10") << true
                                << "region 'r': \"width\" is 0, outside 1..16384; region left out";
    QTest::newRow("negative height") << geometry("\"width\": 10, \"height\": -4") << true
                                     << "region 'r': \"height\" is -4, outside 1..16384";
    QTest::newRow("absurd width") << geometry("\"width\": 100000, \"height\": 10") << true
                                  << "region 'r': \"width\" is 100000";
    QTest::newRow("width as text") << geometry("\"width\": \"100\", \"height\": 10") << true
                                   << "region 'r': \"width\" must be a whole number";
    QTest::newRow("fractional x") << geometry("\"x\": 1.5, \"width\": 10, \"height\": 10") << true
                                  << "region 'r': \"x\" must be a whole number";
    QTest::newRow("missing height") << geometry("\"width\": 10") << true << "region 'r': \"height\" is missing";
    QTest::newRow("outside the screen") << geometry("\"x\": 2000, \"width\": 10, \"height\": 10") << true
                                        << "region 'r': geometry (2000, 0, 10x10) lies outside the 1280x720 screen";
    QTest::newRow("region not an object") << withRegion("[1, 2]") << true << "region 1 is not a JSON object";

    QTest::newRow("not JSON") << QByteArray("{\"regions\": [") << false << "not valid JSON";
    QTest::newRow("top level array") << QByteArray("[]") << false << "must be a JSON object, not array";
    QTest::newRow("no regions") << QByteArray("{\"screen\": {}}") << false << "needs a \"regions\" list";
    QTest::newRow("bad screen") << QByteArray("{\"screen\": {\"width\": 0}, \"regions\": []}") << false
                                << "screen: \"width\" is 0";
    QTest::newRow("nothing playable") << QByteArray(
        "{\"regions\": [{\"name\": \"r\", \"width\": 0, \"height\": 1, \"item\": {\"widget\": {}}}]}")
                                      << false << "no region that can be played";
}

void TestMediaHost::parseRejects()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, ok);
    QFETCH(QString, error);
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base"));
    QCOMPARE(load.ok, ok);
    QVERIFY2(anyContains(load.errors, error), qPrintable(load.errors.join('\n')));
    if (ok) {
        QVERIFY(!findRegion(load.playlist, QStringLiteral("r")));
        QVERIFY(findRegion(load.playlist, QStringLiteral("other")));
    }
}

void TestMediaHost::parseWarnings_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<QString>("keptRegion");

    QTest::newRow("region cut by the screen edge")
        << withRegion("{\"name\": \"r\", \"x\": 1200, \"width\": 200, \"height\": 10, \"item\": {\"widget\": {}}}")
        << "region 'r': geometry (1200, 0, 200x10) reaches beyond the 1280x720 screen"
        << "r";
    QTest::newRow("missing picture file") << withRegion(
        "{\"name\": \"r\", \"width\": 10, \"height\": 10, \"item\": {\"widget\": {\"path\": "
        "\"nowhere.png\"}}}") << "region 'r' item 1: picture file /base/nowhere.png does not exist"
                                          << "r";
    QTest::newRow("missing marquee picture")
        << withRegion("{\"name\": \"r\", \"width\": 10, \"height\": 10, \"item\": {\"kind\": \"picture-marquee\", "
                      "\"widget\": {\"jsonText\": {\"pictures\": [\"/\", \"gone.png\"]}}}}")
        << "region 'r' item 1: picture file /base/gone.png does not exist"
        << "r";
    QTest::newRow("background not a colour") << QByteArray(
        "{\"screen\": {\"background\": \"plaid\"}, \"regions\": [{\"width\": 1, \"height\": 1, "
        "\"item\": {\"widget\": {}}}]}") << "screen: background \"plaid\" is not a colour"
                                             << "region 1";
}

void TestMediaHost::parseWarnings()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, warning);
    QFETCH(QString, keptRegion);
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base"));
    QVERIFY2(load.ok, qPrintable(load.errors.join('\n')));
    QVERIFY2(load.errors.isEmpty(), qPrintable(load.errors.join('\n')));
    QVERIFY2(anyContains(load.warnings, warning), qPrintable(load.warnings.join('\n')));
    QVERIFY2(findRegion(load.playlist, keptRegion), "a warning leaves the region in");
}

void TestMediaHost::loadPlaylistFailures_data()
{
    QTest::addColumn<QByteArray>("content"); // null: no file at all
    QTest::addColumn<QString>("error");

    QTest::newRow("not JSON") << QByteArray("regions: none") << "not valid JSON";
    QTest::newRow("empty file") << QByteArray("") << "not valid JSON";
    QTest::newRow("missing file") << QByteArray() << "cannot read playlist";
}

void TestMediaHost::loadPlaylistFailures()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    const QString path = content.isNull() ? m_dir.filePath(QStringLiteral("absent.json")) : writePlaylist(content);
    QVERIFY(!path.isEmpty());
    const PlaylistLoad load = loadPlaylist(path);
    QVERIFY(!load.ok);
    QCOMPARE(load.errors.size(), 1);
    QVERIFY2(load.errors.first().contains(error), qPrintable(load.errors.first()));
    QVERIFY2(load.errors.first().contains(path), "the message names the file");
}

void TestMediaHost::shippedPlaylistsParse_data()
{
    QTest::addColumn<QString>("source");

    QTest::newRow("examples/playlist-pictures.json") << "examples/playlist-pictures.json";
    QTest::newRow("example in docs/mediahost.md") << "docs/mediahost.md";
}

void TestMediaHost::shippedPlaylistsParse()
{
    QFETCH(QString, source);
    QFile file(QDir(m_sourceDir).filePath(source));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    QByteArray json = file.readAll();
    if (source.endsWith(QLatin1String(".md"))) {
        // The first JSON block of the guide is its complete example.
        const QRegularExpression block(
            QStringLiteral("```json\\n(.*?)```"), QRegularExpression::DotMatchesEverythingOption);
        const QRegularExpressionMatch match = block.match(QString::fromUtf8(json));
        QVERIFY2(match.hasMatch(), "the guide has a ```json example");
        json = match.captured(1).toUtf8();
    }
    const QString examples = QDir(m_sourceDir).filePath(QStringLiteral("examples"));
    const PlaylistLoad load = parsePlaylist(json, examples);
    QVERIFY2(load.ok, qPrintable(load.errors.join('\n')));
    QVERIFY2(load.errors.isEmpty(), qPrintable(load.errors.join('\n')));
    QVERIFY(load.playlist.regions.size() >= 2);
    bool loops = false;
    for (const PlaylistRegion& region : load.playlist.regions) {
        loops = loops || region.items.size() > 1;
        for (const PlaylistItem& item : region.items) {
            const QString path = QString::fromStdString(item.widget.path);
            QVERIFY2(
                path.isEmpty() || QDir::isAbsolutePath(path) || path.contains(QLatin1String("://")), qPrintable(path));
        }
    }
    QVERIFY2(loops, "the example shows a region that loops");
}

void TestMediaHost::marqueeSettings_data()
{
    QTest::addColumn<QByteArray>("jsonText");
    QTest::addColumn<QString>("error"); // empty: the text reads
    QTest::addColumn<QStringList>("pictures");
    QTest::addColumn<QList<int>>("numbers"); // code, interval, step, gap, useGap

    QTest::newRow("defaults") << QByteArray("{\"pictures\": [\"a.png\"]}") << "" << QStringList { "a.png" }
                              << QList<int> { 244, 20, 2, 0, 0 };
    QTest::newRow("every key") << QByteArray("{\"pictures\": [\"a.png\", \"b.png\", \"a.png\"], \"code\": 247, "
                                             "\"interval\": 10, \"step\": 0, \"gap\": 30, \"useGap\": true}")
                               << "" << QStringList { "a.png", "b.png", "a.png" } << QList<int> { 247, 10, 0, 30, 1 };
    QTest::newRow("unknown keys are ignored")
        << QByteArray("{\"pictures\": [\"a.png\"], \"speed\": \"fast\", \"code\": 245}") << ""
        << QStringList { "a.png" } << QList<int> { 245, 20, 2, 0, 0 };

    const QStringList none;
    const QList<int> noNumbers;
    QTest::newRow("not JSON") << QByteArray("pictures: a.png") << "jsonText is not valid JSON" << none << noNumbers;
    QTest::newRow("empty text") << QByteArray("") << "jsonText is not valid JSON" << none << noNumbers;
    QTest::newRow("a list") << QByteArray("[\"a.png\"]") << "jsonText must be a JSON object, not array" << none
                            << noNumbers;
    QTest::newRow("no pictures") << QByteArray("{\"code\": 244}") << "needs a non-empty \"pictures\" list" << none
                                 << noNumbers;
    QTest::newRow("empty pictures") << QByteArray("{\"pictures\": []}") << "needs a non-empty \"pictures\" list" << none
                                    << noNumbers;
    QTest::newRow("pictures not a list") << QByteArray("{\"pictures\": \"a.png\"}")
                                         << "needs a non-empty \"pictures\" list" << none << noNumbers;
    QTest::newRow("picture not a name") << QByteArray("{\"pictures\": [\"a.png\", 3]}") << "\"pictures\" holds 3"
                                        << none << noNumbers;
    QTest::newRow("empty picture name") << QByteArray("{\"pictures\": [\"\"]}") << "\"pictures\" holds \"\"" << none
                                        << noNumbers;
    QTest::newRow("code of another effect")
        << QByteArray("{\"pictures\": [\"a.png\"], \"code\": 16}")
        << "\"code\" is 16; it must be a whole number from 244 to 247" << none << noNumbers;
    QTest::newRow("code past the last") << QByteArray("{\"pictures\": [\"a.png\"], \"code\": 248}") << "\"code\" is 248"
                                        << none << noNumbers;
    QTest::newRow("zero interval") << QByteArray("{\"pictures\": [\"a.png\"], \"interval\": 0}")
                                   << "\"interval\" is 0; it must be a whole number from 1 to 60000" << none
                                   << noNumbers;
    QTest::newRow("negative step") << QByteArray("{\"pictures\": [\"a.png\"], \"step\": -2}") << "\"step\" is -2"
                                   << none << noNumbers;
    QTest::newRow("fractional step") << QByteArray("{\"pictures\": [\"a.png\"], \"step\": 1.5}") << "\"step\" is 1.5"
                                     << none << noNumbers;
    QTest::newRow("absurd gap") << QByteArray("{\"pictures\": [\"a.png\"], \"gap\": 10000000000}")
                                << "\"gap\" is 10000000000" << none << noNumbers;
    QTest::newRow("gap as text") << QByteArray("{\"pictures\": [\"a.png\"], \"gap\": \"20\"}") << "\"gap\" is \"20\""
                                 << none << noNumbers;
    QTest::newRow("useGap as a number") << QByteArray("{\"pictures\": [\"a.png\"], \"useGap\": 1}")
                                        << "\"useGap\" is 1; it must be true or false" << none << noNumbers;
}

void TestMediaHost::marqueeSettings()
{
    QFETCH(QByteArray, jsonText);
    QFETCH(QString, error);
    QFETCH(QStringList, pictures);
    QFETCH(QList<int>, numbers);

    PictureMarqueeSettings settings;
    settings.code = 246; // a failed read leaves the settings alone
    QString message;
    const bool ok = readPictureMarqueeSettings(jsonText.toStdString(), settings, &message);
    if (!error.isEmpty()) {
        QVERIFY(!ok);
        QVERIFY2(message.contains(error), qPrintable(message));
        QCOMPARE(settings.code, 246);
        QVERIFY(settings.pictures.isEmpty());
        return;
    }
    QVERIFY2(ok, qPrintable(message));
    QCOMPARE(settings.pictures, pictures);
    QCOMPARE(
        (QList<int> { settings.code, settings.interval, settings.step, settings.gap, int(settings.useGap) }), numbers);
}

void TestMediaHost::marqueePicturePaths_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("jsonText"); // as written in the playlist
    QTest::addColumn<QStringList>("expected"); // empty: the text is passed on unchanged

    const QString marquee = kPictureMarqueeKind;
    QTest::newRow("embedded object") << marquee
                                     << QByteArray("{\"pictures\": [\"a.png\", \"../b.png\", \"/srv/c.png\", "
                                                   "\"https://example.org/d.png\"], \"code\": 246}")
                                     << QStringList { "/base/dir/a.png", "/base/b.png", "/srv/c.png",
                                            "https://example.org/d.png" };
    QTest::newRow("quoted text") << marquee
                                 << QByteArray("\"{\\\"pictures\\\": [\\\"sub/./a.png\\\"], \\\"code\\\": 246}\"")
                                 << QStringList { "/base/dir/sub/a.png" };
    QTest::newRow("text that does not read") << marquee << QByteArray("\"pictures: a.png\"") << QStringList {};
    QTest::newRow("another kind") << QStringLiteral("rss") << QByteArray("{\"pictures\": [\"a.png\"], \"code\": 246}")
                                  << QStringList {};
}

void TestMediaHost::marqueePicturePaths()
{
    QFETCH(QString, kind);
    QFETCH(QByteArray, jsonText);
    QFETCH(QStringList, expected);
    const QByteArray json = "{\"regions\": [{\"name\": \"r\", \"width\": 10, \"height\": 10, \"item\": {\"kind\": \""
        + kind.toUtf8() + "\", \"widget\": {\"jsonText\": " + jsonText + "}}}]}";
    const PlaylistLoad load = parsePlaylist(json, QStringLiteral("/base/dir"));
    QVERIFY2(load.ok, qPrintable(load.errors.join('\n')));
    const std::string passedOn = load.playlist.regions.at(0).items.at(0).widget.jsonText;

    if (expected.isEmpty()) {
        // What the player gets is what the playlist says, to the byte.
        ns::Widget unchanged;
        ns::from_json(nlohmann::json::parse(json.constData())["regions"][0]["item"]["widget"], unchanged);
        QCOMPARE(QString::fromStdString(passedOn), QString::fromStdString(unchanged.jsonText));
        return;
    }
    PictureMarqueeSettings settings;
    QString error;
    QVERIFY2(readPictureMarqueeSettings(passedOn, settings, &error), qPrintable(error));
    QCOMPARE(settings.pictures, expected);
    QCOMPARE(settings.code, 246); // the other keys are kept
}

void TestMediaHost::pickEvenly_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<QList<int>>("expected");

    QTest::newRow("none") << 0 << 12 << QList<int> {};
    QTest::newRow("fewer than cells") << 5 << 12 << QList<int> { 0, 1, 2, 3, 4 };
    QTest::newRow("exactly full") << 3 << 3 << QList<int> { 0, 1, 2 };
    QTest::newRow("every second") << 23 << 12 << QList<int> { 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22 };
    QTest::newRow("first and last") << 30 << 4 << QList<int> { 0, 10, 19, 29 };
    QTest::newRow("one cell") << 9 << 1 << QList<int> { 0 };
}

void TestMediaHost::pickEvenly()
{
    QFETCH(int, count);
    QFETCH(int, maximum);
    QFETCH(QList<int>, expected);
    QCOMPARE(::pickEvenly(count, maximum), expected);
}

void TestMediaHost::callingOrder()
{
    LogCapture log;
    FakeJournal journal;
    const QRect loopRect(10, 20, 200, 100);
    const QRect stillRect(220, 20, 100, 100);
    auto screen = std::make_unique<HostScreen>(
        screenOf({ region(QStringLiteral("loop"), loopRect, { fakeItem(1), fakeItem(2) }),
            region(QStringLiteral("still"), stillRect, { fakeItem(3) }) }),
        fakeFactory(&journal));
    screen->show();
    screen->start();

    // Wait until item 1 has come round again and been shown, and that one reported ready.
    QVERIFY(QTest::qWaitFor(
        [&] {
            const QList<int> ones = journal.playersOf(1);
            return ones.size() >= 2 && journal.players[ones.at(1)]->calls.contains(QStringLiteral("show"));
        },
        kLoopWaitMs));
    QTRY_VERIFY_WITH_TIMEOUT(log.count(QStringLiteral("region 'loop' item 1: status 1")) >= 2, kLoopWaitMs);
    screen->stop();

    QVERIFY(!journal.players.empty());
    for (const auto& record : journal.players)
        QVERIFY2(record->calls == kFullLifecycle, qPrintable(record->calls.join(' ')));

    // The loop plays its items in order, each in its own parent at the region's place.
    QList<int> loopOrder;
    QList<int> loopPlayers;
    for (int i = 0; i < int(journal.players.size()); ++i) {
        const FakeRecord& record = *journal.players[i];
        QCOMPARE(record.parentParent, screen.get());
        if (record.itemId == 3) {
            QCOMPARE(record.parentGeometry, stillRect);
            continue;
        }
        QCOMPARE(record.parentGeometry, loopRect);
        loopOrder << record.itemId;
        loopPlayers << i;
    }
    QCOMPARE(loopOrder.mid(0, 3), (QList<int> { 1, 2, 1 }));
    for (int k = 1; k < loopOrder.size(); ++k)
        QVERIFY(loopOrder.at(k) != loopOrder.at(k - 1));

    // A new item is shown before the one before it goes, and that one goes before the next
    // item is made: at most two players of a region at a time.
    for (int k = 0; k + 1 < loopPlayers.size(); ++k) {
        const int older = loopPlayers.at(k);
        const int newer = loopPlayers.at(k + 1);
        QVERIFY(journal.position(newer, QStringLiteral("show")) < journal.position(older, QStringLiteral("hide")));
        if (k + 2 < loopPlayers.size()) {
            QVERIFY(journal.position(older, QStringLiteral("delete"))
                < journal.position(loopPlayers.at(k + 2), QStringLiteral("iInit")));
        }
    }

    // The single item was made once and stayed until the host stopped.
    const QList<int> still = journal.playersOf(3);
    QCOMPARE(still.size(), 1);
    QVERIFY(journal.position(still.first(), QStringLiteral("hide"))
        > journal.position(loopPlayers.last(), QStringLiteral("show")));
    QVERIFY(log.contains(QStringLiteral("region 'still' item 3: status 1")));
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::badItemsAreLeftOut_data()
{
    QTest::addColumn<QString>("badKind");
    QTest::addColumn<bool>("badFirst");
    QTest::addColumn<bool>("onlyBad");
    QTest::addColumn<QString>("error");

    const QString unknown = QStringLiteral("region 'bad' item 2: no player for kind 'hologram' (known kinds: fake");
    const QString throwing = QStringLiteral("region 'bad' item 2 (fake-throwing): iInit failed: jsonText is not JSON");
    QTest::newRow("unknown kind after a good item") << "hologram" << false << false << unknown;
    QTest::newRow("unknown kind before a good item") << "hologram" << true << false << unknown;
    QTest::newRow("iInit throws after a good item") << "fake-throwing" << false << false << throwing;
    QTest::newRow("iInit throws before a good item") << "fake-throwing" << true << false << throwing;
    QTest::newRow("nothing but a throwing item") << "fake-throwing" << false << true << throwing;
}

void TestMediaHost::badItemsAreLeftOut()
{
    QFETCH(QString, badKind);
    QFETCH(bool, badFirst);
    QFETCH(bool, onlyBad);
    QFETCH(QString, error);

    LogCapture log;
    log.expectError(error);
    log.expectError(QStringLiteral("region 'bad': no item left that can be played"));
    FakeJournal journal;
    const PlaylistItem bad = fakeItem(2, badKind);
    QList<PlaylistItem> items;
    if (onlyBad)
        items << bad;
    else
        items = badFirst ? QList<PlaylistItem> { bad, fakeItem(1) } : QList<PlaylistItem> { fakeItem(1), bad };
    HostScreen screen(screenOf({ region(QStringLiteral("bad"), QRect(0, 0, 100, 100), items),
                          region(QStringLiteral("good"), QRect(100, 0, 100, 100), { fakeItem(3) }) }),
        fakeFactory(&journal));
    screen.show();
    screen.start();
    RegionPlayer* badRegion = screen.regions().at(0);

    QTRY_COMPARE_WITH_TIMEOUT(badRegion->playableItemCount(), onlyBad ? 0 : 1, kLoopWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(log.contains(QStringLiteral("region 'good' item 3: status 1")), kLoopWaitMs);
    QCOMPARE(log.count(error), 1);
    if (onlyBad)
        QVERIFY(log.contains(QStringLiteral("region 'bad': no item left that can be played")));
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));

    // The good item of the region was made once and stays; the bad one got no second try.
    if (!onlyBad)
        QCOMPARE(journal.playersOf(1).size(), 1);
    const QList<int> badPlayers = journal.playersOf(2);
    if (badKind == QLatin1String("fake-throwing")) {
        QCOMPARE(badPlayers.size(), 1);
        QCOMPARE(journal.players[badPlayers.first()]->calls,
            (QStringList { QStringLiteral("iInit"), QStringLiteral("delete") }));
    } else {
        QVERIFY(badPlayers.isEmpty());
    }
    screen.stop();
    for (int i : journal.playersOf(1) + journal.playersOf(3))
        QCOMPARE(journal.players[i]->calls, kFullLifecycle);
}

void TestMediaHost::laterRegionsStayInFront()
{
    FakeJournal journal;
    // "back" loops under "front"; each new item of "back" must not come up over "front".
    HostScreen screen(screenOf({ region(QStringLiteral("back"), QRect(0, 0, 200, 200), { fakeItem(1), fakeItem(2) }),
                          region(QStringLiteral("front"), QRect(50, 50, 100, 100), { fakeItem(3) }) }),
        fakeFactory(&journal));
    screen.show();
    screen.start();
    QVERIFY(QTest::qWaitFor(
        [&] {
            const QList<int> twos = journal.playersOf(2);
            return !twos.isEmpty() && journal.players[twos.first()]->calls.contains(QStringLiteral("show"));
        },
        kLoopWaitMs));
    // Stacking order of the screen's children is their order in children(): last is on top.
    const QObjectList children = screen.children();
    int frontIndex = -1;
    int backIndex = -1;
    for (int i = 0; i < children.size(); ++i) {
        auto* frame = qobject_cast<QWidget*>(children.at(i));
        if (!frame || frame->isHidden())
            continue;
        if (frame->geometry() == QRect(50, 50, 100, 100))
            frontIndex = i;
        else if (frame->geometry() == QRect(0, 0, 200, 200))
            backIndex = i;
    }
    QVERIFY(frontIndex >= 0);
    QVERIFY(backIndex >= 0);
    QVERIFY2(frontIndex > backIndex, "the later region lies in front");
    screen.stop();
}

void TestMediaHost::marqueeRuns_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("useGap");
    QTest::addColumn<bool>("missingPicture"); // a file in the list that does not exist

    QTest::newRow("244 right to left") << 244 << false << false;
    QTest::newRow("245 left to right") << 245 << false << false;
    QTest::newRow("246 up") << 246 << false << false;
    QTest::newRow("247 down") << 247 << false << false;
    QTest::newRow("244 with a gap") << 244 << true << false;
    QTest::newRow("247 with a gap") << 247 << true << false;
    QTest::newRow("245 with a missing picture") << 245 << true << true;
}

void TestMediaHost::marqueeRuns()
{
    QFETCH(int, code);
    QFETCH(bool, useGap);
    QFETCH(bool, missingPicture);
    const bool horizontal = code == 244 || code == 245;
    const bool forward = code == 245 || code == 247;

    // Three tiles of different lengths across a strip; red is the one the test follows.
    const int across = 24;
    const QSize strip = horizontal ? QSize(160, across) : QSize(across, 160);
    const auto tile = [&](int length) { return horizontal ? QSize(length, across) : QSize(across, length); };
    const QString tag = QString::fromLatin1(QTest::currentDataTag()).replace(' ', '-');
    QStringList pictures;
    pictures << testpictures::savePng(solid(tile(30), testpictures::kTopLeft), m_dir.path(), tag + "-red.png");
    if (missingPicture)
        pictures << m_dir.filePath(QStringLiteral("no-such-tile.png"));
    pictures << testpictures::savePng(solid(tile(50), testpictures::kTopRight), m_dir.path(), tag + "-green.png")
             << testpictures::savePng(solid(tile(40), testpictures::kBottomLeft), m_dir.path(), tag + "-blue.png");
    QVERIFY(!pictures.contains(QString()));

    nlohmann::json settings { { "code", code }, { "interval", kMarqueeIntervalMs }, { "step", kMarqueeStep },
        { "useGap", useGap }, { "gap", 12 } };
    for (const QString& picture : qAsConst(pictures))
        settings["pictures"].push_back(picture.toStdString());
    ns::Widget widget;
    widget.id = 7;
    widget.jsonText = settings.dump();

    LogCapture log;
    QWidget parent;
    parent.resize(strip);
    const PlayerFactory::Player player = PlayerFactory::withBuiltinPlayers().create(kPictureMarqueeKind, &parent);
    QVERIFY(player);
    QList<EnumMediaStatus> statuses;
    QCOMPARE(player.play->iInit(widget, [&statuses](EnumMediaStatus status) { statuses << status; }), 0);
    QCOMPARE(player.play->iPlay(), 0);
    QCOMPARE(player.widget->size(), strip);
    parent.show();
    QTRY_COMPARE_WITH_TIMEOUT(statuses, QList<EnumMediaStatus> { MediaReady }, kMarqueeWaitMs);

    // Two frames in a row with the red tile wholly inside the strip, at different places: the
    // step between them shows the direction.
    QPair<int, int> before(-1, -1);
    int moved = 0;
    const auto redMoves = [&] {
        const QPair<int, int> now = extentOf(parent.grab().toImage(), testpictures::kTopLeft, horizontal);
        const int length = horizontal ? strip.width() : strip.height();
        const bool inside = now.first > 0 && now.second < length - 1 && now.second - now.first == 29;
        if (inside && before.first > 0 && now.first != before.first)
            moved = now.first - before.first;
        before = inside ? now : qMakePair(-1, -1);
        return moved != 0;
    };
    QVERIFY2(QTest::qWaitFor(redMoves, kMarqueeWaitMs), "the red tile never ran across the strip");
    QVERIFY2(forward ? moved > 0 : moved < 0, qPrintable(QStringLiteral("moved by %1").arg(moved)));
    QVERIFY2(qAbs(moved) < 40, qPrintable(QStringLiteral("moved by %1").arg(moved)));

    // The others come round too, each at its own length.
    for (const auto& [colour, length] :
        { qMakePair(testpictures::kTopRight, 50), qMakePair(testpictures::kBottomLeft, 40) }) {
        const auto whole = [&, colour = colour, length = length] {
            const QPair<int, int> extent = extentOf(parent.grab().toImage(), colour, horizontal);
            return extent.first > 0 && extent.second - extent.first == length - 1;
        };
        QVERIFY2(QTest::qWaitFor(whole, kMarqueeWaitMs), qPrintable(colour.name()));
    }

    // Pausing does not stop a marquee.
    auto* marquee = static_cast<PictureMarquee*>(player.play);
    QVERIFY(marquee->display());
    const auto* timer = marquee->display()->findChild<QTimer*>(QStringLiteral("marqueeTimer"));
    QVERIFY(timer && timer->isActive());
    player.play->iPause();
    QVERIFY(timer->isActive());
    QCOMPARE(player.play->iResume(), 0);
    QVERIFY(timer->isActive());

    player.widget->hide();
    player.play->iStop();
    player.play->iDestory();
    QVERIFY(!marquee->display());
    player.play->iDestory();
    delete player.widget;

    QCOMPARE(log.count(QStringLiteral("cannot load picture")), missingPicture ? 1 : 0);
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::marqueeInHost_data()
{
    QTest::addColumn<QByteArray>("jsonText"); // "TILE" stands for the path of a good tile
    QTest::addColumn<QString>("error"); // empty: the marquee runs

    QTest::newRow("good") << QByteArray("{\"pictures\": [\"TILE\", \"TILE\"], \"interval\": 10, \"step\": 3}") << "";
    QTest::newRow("not JSON") << QByteArray("pictures = TILE") << "picture-marquee 5: jsonText is not valid JSON: ";
    QTest::newRow("no pictures key")
        << QByteArray("{\"picture\": \"TILE\"}")
        << "picture-marquee 5: jsonText needs a non-empty \"pictures\" list of file names; "
           "nothing is shown";
    QTest::newRow("code of another effect")
        << QByteArray("{\"pictures\": [\"TILE\"], \"code\": 1}") << "picture-marquee 5: \"code\" is 1;";
    QTest::newRow("no picture loads") << QByteArray("{\"pictures\": [\"nowhere.png\", \"/\"]}")
                                      << "picture-marquee 5: none of its 2 pictures loads; nothing is shown";
}

void TestMediaHost::marqueeInHost()
{
    QFETCH(QByteArray, jsonText);
    QFETCH(QString, error);
    const QString tile = testpictures::savePng(solid(QSize(40, 30), testpictures::kTopLeft), m_dir.path(), "tile.png");
    const QString good = testpictures::savePng(testpictures::quadrants(60, 40), m_dir.path(), "good.png");
    QVERIFY(!tile.isEmpty() && !good.isEmpty());

    LogCapture log;
    if (!error.isEmpty())
        log.expectError(error);
    PlaylistItem marquee = fakeItem(5, kPictureMarqueeKind);
    marquee.widget.jsonText = QString::fromUtf8(jsonText).replace(QLatin1String("TILE"), tile).toStdString();
    PlaylistItem picture = fakeItem(6, QStringLiteral("picture"));
    picture.widget.effectCode = 0;
    picture.widget.path = good.toStdString();
    const QRect tickerRect(0, 0, 400, 30);
    const QRect pictureRect(0, 100, 60, 40);
    const Playlist playlist = screenOf({ region(QStringLiteral("ticker"), tickerRect, { marquee }),
        region(QStringLiteral("good"), pictureRect, { picture }) });
    HostScreen screen(playlist, PlayerFactory::withBuiltinPlayers());
    screen.show();
    screen.start();

    // Both report ready, whatever the marquee makes of its settings.
    QTRY_VERIFY_WITH_TIMEOUT(log.contains(QStringLiteral("region 'ticker' item 5: status 1")), kMarqueeWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(log.contains(QStringLiteral("region 'good' item 6: status 1")), kMarqueeWaitMs);
    const auto pictureShows = [&] {
        const QImage frame = screen.grab().toImage();
        return testpictures::near(frame.pixel(pictureRect.topLeft() + QPoint(5, 5)), testpictures::kTopLeft)
            && testpictures::near(frame.pixel(pictureRect.topLeft() + QPoint(50, 30)), testpictures::kBottomRight);
    };
    QVERIFY2(QTest::qWaitFor(pictureShows, kMarqueeWaitMs), "the other region shows its picture");

    if (error.isEmpty()) {
        const auto tileShows = [&] {
            return extentOf(screen.grab().toImage().copy(tickerRect), testpictures::kTopLeft, true).first >= 0;
        };
        QVERIFY2(QTest::qWaitFor(tileShows, kMarqueeWaitMs), "the marquee's tiles come into view");
    } else {
        QCOMPARE(log.count(error), 1);
        // Nothing is shown: no display was made for the marquee, and its strip stays background.
        QCOMPARE(screen.findChildren<EffectDisplay*>().size(), 1);
        QCOMPARE(paintedPixels(screen.grab().toImage(), tickerRect, playlist.background), 0);
    }
    screen.stop();
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::demoFoldAndTicker()
{
    QDir dir(m_dir.path());
    QVERIFY(dir.mkpath(QStringLiteral("demo-pictures")));
    Playlist playlist;
    QString error;
    QVERIFY2(buildDemoPlaylist(dir.filePath(QStringLiteral("demo-pictures")), playlist, &error), qPrintable(error));
    const PlaylistRegion* fold = findRegion(playlist, kDemoFoldRegion);
    const PlaylistRegion* ticker = findRegion(playlist, kDemoTickerRegion);
    QVERIFY(fold && ticker);
    QCOMPARE(ticker->items.size(), 1);
    QCOMPARE(ticker->items.first().kind, kPictureMarqueeKind);

    // Three boxes of the fold, apart from each other and within the region.
    const ns::Fold& boxes = fold->items.first().widget.fold;
    QVERIFY(boxes.enabled);
    QCOMPARE(boxes.count, 3);
    QCOMPARE(int(boxes.rects.size()), 3);
    QCOMPARE(boxes.orientation, ns::ORIENTATION_HORIZONTAL);
    QList<QRect> rects;
    for (const ns::FoldRect& r : boxes.rects)
        rects << QRect(r.x, r.y, r.width, r.height);
    for (int i = 0; i < rects.size(); ++i) {
        QVERIFY(QRect(QPoint(0, 0), fold->geometry.size()).contains(rects.at(i)));
        if (i > 0)
            QVERIFY2(rects.at(i).left() > rects.at(i - 1).right() + 1, "a gap lies between the boxes");
    }
    for (const PlaylistItem& item : fold->items) {
        QVERIFY(item.widget.fold.enabled);
        QVERIFY(item.widget.effectCode != 0);
    }

    LogCapture log;
    HostScreen screen(playlist, PlayerFactory::withBuiltinPlayers());
    screen.show();
    screen.start();

    // Each box shows its slice of the first banner, once its transition has run; the gaps show
    // the screen.
    const QImage banner(QString::fromStdString(fold->items.first().widget.path));
    QVERIFY(!banner.isNull());
    QCOMPARE(banner.width(), rects.at(0).width() + rects.at(1).width() + rects.at(2).width());
    QString mismatch;
    const auto foldShowsBanner = [&] {
        const QImage frame = screen.grab().toImage();
        int sliceStart = 0;
        for (const QRect& box : rects) {
            for (int dx : { 10, box.width() / 2, box.width() - 10 }) {
                const QPoint onScreen = fold->geometry.topLeft() + box.topLeft() + QPoint(dx, 4);
                const QRgb expected = banner.pixel(sliceStart + dx, 4);
                if (!testpictures::near(frame.pixel(onScreen), QColor(expected), 12)) {
                    mismatch = QStringLiteral("(%1, %2)").arg(onScreen.x()).arg(onScreen.y());
                    return false;
                }
            }
            sliceStart += box.width();
        }
        return true;
    };
    QVERIFY2(QTest::qWaitFor(foldShowsBanner, kMarqueeWaitMs), qPrintable(mismatch));
    const QImage frame = screen.grab().toImage();
    for (int i = 1; i < rects.size(); ++i) {
        const QRect gap(
            rects.at(i - 1).right() + 1, 0, rects.at(i).left() - rects.at(i - 1).right() - 1, fold->geometry.height());
        QCOMPARE(paintedPixels(frame, gap.translated(fold->geometry.topLeft()), playlist.background), 0);
    }

    // The ticker fills with tiles as they come in from the right.
    const auto tickerFilled = [&] {
        return paintedPixels(screen.grab().toImage(), ticker->geometry, playlist.background)
            > ticker->geometry.width() * ticker->geometry.height() / 4;
    };
    QVERIFY2(QTest::qWaitFor(tickerFilled, kMarqueeWaitMs), "the ticker runs");
    screen.stop();
    QVERIFY(log.contains(QStringLiteral("region '%1' item 1: status 1").arg(kDemoTickerRegion)));
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::demoWritesContactSheet()
{
    const QString frames = m_dir.filePath(QStringLiteral("demo-frames"));
    const QString sheetPath = QDir(frames).filePath(QStringLiteral("sheet.png"));
    const RunResult result
        = run({ QStringLiteral("--demo"), QStringLiteral("--seconds"), QStringLiteral("2"), QStringLiteral("--capture"),
            frames, QStringLiteral("--fps"), QStringLiteral("4"), QStringLiteral("--contact-sheet"), sheetPath });
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    for (const QString& region : { QStringLiteral("tile-1"), kDemoFoldRegion, kDemoTickerRegion, kDemoNoticeRegion,
             kDemoStaticRegion, kDemoUpRegion, kDemoDownRegion, kDemoLeftTickerRegion, kDemoRightTickerRegion,
             kDemoFoldedTickerRegion, kDemoFoldedUpRegion })
        QVERIFY2(
            result.err.contains(QStringLiteral("region '%1' item 1: status 1").arg(region)), qPrintable(result.err));
    QVERIFY2(!result.err.contains(QLatin1String("[error]")), qPrintable(result.err));

    const QImage first(QDir(frames).filePath(FrameCapture::frameFileName(1)));
    QCOMPARE(first.size(), QSize(1920, 1080));

    QVERIFY(QFileInfo(sheetPath).size() > 0);
    const QImage sheet(sheetPath);
    QVERIFY2(!sheet.isNull(), "the contact sheet loads as a picture");
    QVERIFY2(sheet.width() >= 640 && sheet.width() <= 2000, qPrintable(QString::number(sheet.width())));
    QVERIFY2(sheet.height() >= 200 && sheet.height() <= 2000, qPrintable(QString::number(sheet.height())));
    // Pictures, not an empty grid: the cells hold many colours.
    QSet<QRgb> colours;
    for (int y = 0; y < sheet.height(); y += 4) {
        for (int x = 0; x < sheet.width(); x += 4)
            colours << sheet.pixel(x, y);
    }
    QVERIFY2(colours.size() > 200, qPrintable(QString::number(colours.size())));
}

void TestMediaHost::demoTextAndOfficeRegions()
{
    QDir dir(m_dir.path());
    QVERIFY(dir.mkpath(QStringLiteral("demo-text")));
    Playlist playlist;
    QString error;
    QVERIFY2(buildDemoPlaylist(dir.filePath(QStringLiteral("demo-text")), playlist, &error), qPrintable(error));
    const QStringList names { kDemoNoticeRegion, kDemoStaticRegion, kDemoUpRegion, kDemoDownRegion,
        kDemoLeftTickerRegion, kDemoRightTickerRegion, kDemoOfficeRegion, kDemoFoldedTickerRegion,
        kDemoFoldedUpRegion };
    QList<const PlaylistRegion*> texts;
    for (const QString& name : names) {
        const PlaylistRegion* region = findRegion(playlist, name);
        QVERIFY2(region, qPrintable(name));
        QCOMPARE(region->items.first().kind, QString::fromLatin1(name == kDemoOfficeRegion ? "office" : "text"));
        texts << region;
    }
    // Text regions lie on the screen beside the others, overlapping none but the outlines of their
    // folded boxes.
    for (const PlaylistRegion& region : playlist.regions) {
        QVERIFY(QRect(QPoint(0, 0), playlist.screenSize).contains(region.geometry));
        for (const PlaylistRegion* text : texts) {
            if (&region != text && region.name != text->name + QLatin1String("-outlines"))
                QVERIFY2(!region.geometry.intersects(text->geometry), qPrintable(region.name + " / " + text->name));
        }
    }

    PlayerPath::getInstance().setImageCachePath(dir.filePath(QStringLiteral("demo-text-cache")));
    LogCapture log;
    HostScreen screen(playlist, PlayerFactory::withBuiltinPlayers());
    screen.show();
    screen.start();
    for (const PlaylistRegion* text : texts) {
        const QString ready = QStringLiteral("region '%1' item 1: status 1").arg(text->name);
        QTRY_VERIFY2_WITH_TIMEOUT(log.contains(ready), qPrintable(ready), kMarqueeWaitMs);
    }
    const auto regionImage
        = [&](const PlaylistRegion* region) { return screen.grab().toImage().copy(region->geometry); };
    // Text on the region's background: many pixels differ from the colour of a corner.
    const auto textPixels = [](const QImage& image) {
        const QRgb background = image.pixel(image.width() - 2, image.height() - 2);
        int count = 0;
        for (int y = 0; y < image.height(); y += 2) {
            for (int x = 0; x < image.width(); x += 2)
                count += image.pixel(x, y) != background;
        }
        return count;
    };
    // Every text shows and, but for the static page, moves on: pages turn, belts run.
    QList<QImage> before;
    for (const PlaylistRegion* text : texts) {
        QTRY_VERIFY2_WITH_TIMEOUT(textPixels(regionImage(text)) > 200, qPrintable(text->name), kMarqueeWaitMs);
        before << regionImage(text);
    }
    for (int i = 0; i < texts.size(); ++i) {
        if (texts.at(i)->name != kDemoStaticRegion)
            QTRY_VERIFY2_WITH_TIMEOUT(
                regionImage(texts.at(i)) != before.at(i), qPrintable(texts.at(i)->name), kMarqueeWaitMs);
    }
    QCOMPARE(regionImage(texts.at(names.indexOf(kDemoStaticRegion))), before.at(names.indexOf(kDemoStaticRegion)));
    screen.stop();
    PlayerPath::getInstance().setImageCachePath(QString());
    QVERIFY2(log.unexpectedErrors().isEmpty(), qPrintable(log.unexpectedErrors().join('\n')));
}

void TestMediaHost::programSurvivesBadRegions_data()
{
    QTest::addColumn<QByteArray>("badRegion");
    QTest::addColumn<QString>("error");

    QTest::newRow("unknown kind") << QByteArray("{\"name\": \"mystery\", \"width\": 50, \"height\": 50, \"item\": "
                                                "{\"kind\": \"hologram\", \"widget\": {\"id\": 2}}}")
                                  << "region 'mystery' item 1: no player for kind 'hologram'";
    QTest::newRow("broken widget") << QByteArray("{\"name\": \"broken\", \"width\": 50, \"height\": 50, \"item\": "
                                                 "{\"widget\": {\"id\": 2, \"duration\": \"soon\"}}}")
                                   << "region 'broken' item 1: widget:";
    QTest::newRow("missing picture") << QByteArray(
        "{\"name\": \"ghost\", \"width\": 50, \"height\": 50, \"item\": "
        "{\"widget\": {\"id\": 2, \"effectCode\": 16, \"path\": \"absent.png\"}}}")
                                     << "region 'ghost' item 1: picture file";
    QTest::newRow("marquee settings not JSON")
        << QByteArray("{\"name\": \"ticker\", \"width\": 50, \"height\": 50, \"item\": {\"kind\": "
                      "\"picture-marquee\", \"widget\": {\"id\": 2, \"jsonText\": \"pictures: good.png\"}}}")
        << "picture-marquee 2: jsonText is not valid JSON";
    QTest::newRow("bad geometry") << QByteArray(
        "{\"name\": \"flat\", \"width\": 50, \"height\": 0, \"item\": {\"widget\": {\"id\": 2}}}")
                                  << "region 'flat': \"height\" is 0";
}

void TestMediaHost::programSurvivesBadRegions()
{
    QFETCH(QByteArray, badRegion);
    QFETCH(QString, error);
    const QString picture = testpictures::savePng(testpictures::quadrants(64, 48), m_dir.path(), "good.png");
    QVERIFY(!picture.isEmpty());
    const QString playlist = writePlaylist("{\"screen\": {\"width\": 320, \"height\": 200}, \"regions\": [" + badRegion
        + ", {\"name\": \"good\", \"x\": 100, \"width\": 120, \"height\": 90, \"item\": {\"kind\": \"picture\", "
          "\"widget\": {\"id\": 1, \"effectCode\": 16, \"effectTime\": 200, \"path\": \"good.png\"}}}]}");
    QVERIFY(!playlist.isEmpty());
    const RunResult result = run({ playlist, QStringLiteral("--seconds"), QStringLiteral("1") });
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QVERIFY2(result.err.contains(error), qPrintable(result.err));
    QVERIFY2(result.err.contains(QStringLiteral("region 'good' item 1: status 1")), qPrintable(result.err));
}

void TestMediaHost::unreadablePlaylistFails_data()
{
    QTest::addColumn<QByteArray>("content"); // null: no file
    QTest::addColumn<QString>("error");

    QTest::newRow("not JSON") << QByteArray("<playlist/>") << "not valid JSON";
    QTest::newRow("no regions") << QByteArray("{\"screen\": {}}") << "needs a \"regions\" list";
    QTest::newRow("missing file") << QByteArray() << "cannot read playlist";
}

void TestMediaHost::unreadablePlaylistFails()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    const QString path = content.isNull() ? m_dir.filePath(QStringLiteral("none.json")) : writePlaylist(content);
    const RunResult result = run({ path, QStringLiteral("--seconds"), QStringLiteral("1") });
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains(error), qPrintable(result.err));
    QVERIFY2(result.err.contains(path), qPrintable(result.err));
}

void TestMediaHost::badCommandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("error");

    QTest::newRow("nothing to play") << QStringList {} << "give either a playlist file or --demo";
    QTest::newRow("playlist and demo") << QStringList { "a.json", "--demo" } << "give either a playlist file or --demo";
    QTest::newRow("two playlists") << QStringList { "a.json", "b.json" } << "one playlist at a time";
    QTest::newRow("zero fps") << QStringList { "--demo", "--fps", "0" } << "--fps needs a number above 0";
    QTest::newRow("negative seconds") << QStringList { "--demo", "--seconds", "-1" }
                                      << "--seconds needs a positive number";
    QTest::newRow("unknown log level") << QStringList { "--demo", "--log-level", "loud" } << "unknown log level 'loud'";
    QTest::newRow("unknown option") << QStringList { "--demo", "--fast" } << "Unknown option 'fast'";
    QTest::newRow("gallery and demo") << QStringList { "--gallery", "g.png", "--demo" } << "--gallery plays nothing";
    QTest::newRow("gallery and playlist")
        << QStringList { "--gallery", "g.png", "a.json" } << "--gallery plays nothing";
    QTest::newRow("render text without a size")
        << QStringList { "--render-text", "r.json", "--out", "o" } << "--render-text needs a record file, --size WxH";
    QTest::newRow("render text size out of range") << QStringList { "--render-text", "r.json", "--size", "0x100",
        "--out", "o" } << "--size needs WIDTHxHEIGHT with each side 1 to 16384, not '0x100'";
    QTest::newRow("size without render text")
        << QStringList { "--demo", "--size", "10x10" } << "--size and --out go with --render-text";
    QTest::newRow("render text and a playlist") << QStringList { "p.json", "--render-text", "r.json", "--size", "10x10",
        "--out", "o" } << "--render-text plays nothing";
    QTest::newRow("gallery size alone") << QStringList { "--demo", "--gallery-size", "96x54" }
                                        << "--gallery-size goes with --gallery";
    QTest::newRow("gallery size too small") << QStringList { "--gallery", "g.png", "--gallery-size", "8x8" }
                                            << "--gallery-size needs WIDTHxHEIGHT with each side 32 to 960, not '8x8'";
    QTest::newRow("gallery size not a size")
        << QStringList { "--gallery", "g.png", "--gallery-size", "wide" } << "--gallery-size needs WIDTHxHEIGHT";
}

void TestMediaHost::badCommandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, error);
    const RunResult result = run(arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains(error), qPrintable(result.err));
}

void TestMediaHost::helpNamesEveryOption()
{
    const RunResult result = run({ QStringLiteral("--help") });
    QCOMPARE(result.exitCode, 0);
    for (const char* option : { "--demo", "--seconds", "--capture", "--fps", "--contact-sheet", "--cache-dir",
             "--log-level", "--gallery", "--gallery-size", "--render-text", "--size", "--out", "playlist" })
        QVERIFY2(result.out.contains(QLatin1String(option)), option);
}

void TestMediaHost::galleryShowsEveryCode_data()
{
    QTest::addColumn<QStringList>("sizeArguments");
    QTest::addColumn<QSize>("cell");

    QTest::newRow("default cells") << QStringList {} << QSize(192, 108);
    QTest::newRow("small cells") << QStringList { "--gallery-size", "96x54" } << QSize(96, 54);
    QTest::newRow("odd cells") << QStringList { "--gallery-size", "121X67" } << QSize(121, 67);
}

void TestMediaHost::galleryShowsEveryCode()
{
    QFETCH(QStringList, sizeArguments);
    QFETCH(QSize, cell);
    const QString path = m_dir.filePath(QStringLiteral("gallery/%1/g.png").arg(QTest::currentDataTag()));
    const RunResult result = run(QStringList { QStringLiteral("--gallery"), path } + sizeArguments);
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QCOMPARE(result.out.trimmed(), QFileInfo(path).absoluteFilePath());
    const QImage sheet(path);
    QVERIFY2(!sheet.isNull(), "the gallery loads as a picture");

    // Code 0 and the 38 codes that code 1 picks from, two codes of four cells to a row.
    const QList<int> codes = galleryCodes();
    QCOMPARE(codes.size(), 39);
    QCOMPARE(codes.first(), 0);
    QVERIFY(!codes.contains(1) && !codes.contains(0xF4) && !codes.contains(0xF7));
    const GalleryLayout layout(cell);
    QCOMPARE(sheet.size(), layout.sheetSize());
    QVERIFY(sheet.width() >= 8 * cell.width() && sheet.width() < 8 * cell.width() + 200);
    QVERIFY(sheet.height() >= 20 * cell.height() && sheet.height() < 20 * (cell.height() + 60) + 100);
    QCOMPARE(layout.cellRect(0, 0).size(), cell);
    QVERIFY(!layout.cellRect(0, 3).intersects(layout.cellRect(1, 0)));
    QVERIFY(layout.cellRect(codes.size() - 1, 3).bottom() < sheet.height());

    // Each cell holds the frame that the player itself paints for its code and progress, over
    // grey where the frame is transparent.
    const QString picturePath = testpictures::savePng(
        drawOrientationPicture(cell), m_dir.path(), QStringLiteral("%1.png").arg(QTest::currentDataTag()));
    QVERIFY(!picturePath.isEmpty());
    QWidget parent;
    parent.resize(cell);
    auto* display = new EffectDisplay(&parent);
    display->showEffect(0, picturePath, 0, 0);
    const auto isGrey = [](QRgb pixel) { return qRed(pixel) == qGreen(pixel) && qGreen(pixel) == qBlue(pixel); };
    constexpr int kSamples = 7;
    int opaque = 0;
    int transparent = 0;
    for (int codeIndex = 0; codeIndex < codes.size(); ++codeIndex) {
        for (int progressIndex = 0; progressIndex < galleryProgress().size(); ++progressIndex) {
            const QImage frame = display->renderFrame(codes.at(codeIndex), galleryProgress().at(progressIndex));
            const QRect rect = layout.cellRect(codeIndex, progressIndex);
            for (int i = 0; i < kSamples; ++i) {
                for (int j = 0; j < kSamples; ++j) {
                    // Corners included: the last column and row are where effects leave gaps.
                    const QPoint at((cell.width() - 1) * i / (kSamples - 1), (cell.height() - 1) * j / (kSamples - 1));
                    const QRgb painted = frame.pixel(at);
                    const QRgb shown = sheet.pixel(rect.topLeft() + at);
                    const QString where = QStringLiteral("code %1, p=%2, (%3, %4)")
                                              .arg(codes.at(codeIndex))
                                              .arg(galleryProgress().at(progressIndex))
                                              .arg(at.x())
                                              .arg(at.y());
                    if (qAlpha(painted) == 255) {
                        ++opaque;
                        QVERIFY2(testpictures::near(shown, QColor(painted), 2), qPrintable(where));
                    } else if (qAlpha(painted) == 0) {
                        ++transparent;
                        QVERIFY2(isGrey(shown), qPrintable(where));
                    }
                }
            }
        }
    }
    // Both kinds are common: a third or more of the samples are unpainted at the early stages.
    const int samples = int(codes.size() * galleryProgress().size()) * kSamples * kSamples;
    QVERIFY2(opaque > samples / 3 && transparent > samples / 4,
        qPrintable(QStringLiteral("%1 opaque, %2 transparent").arg(opaque).arg(transparent)));

    // Spot checks that need no player: the picture is fitted one pixel short of the player's
    // edges, and extendLeft at a quarter fills the left quarter only.
    const QImage picture = drawOrientationPicture(cell);
    const QRect noEffect = layout.cellRect(0, int(galleryProgress().size()) - 1);
    QVERIFY(testpictures::near(sheet.pixel(noEffect.topLeft() + QPoint(2, 2)), picture.pixel(2, 2), 24));
    QVERIFY(isGrey(sheet.pixel(noEffect.right(), noEffect.center().y())));
    QVERIFY(isGrey(sheet.pixel(noEffect.center().x(), noEffect.bottom())));
    QCOMPARE(galleryProgress().first(), 0.25f);
    const QRect extendLeft = layout.cellRect(int(codes.indexOf(0x10)), 0);
    QVERIFY(!isGrey(sheet.pixel(extendLeft.topLeft() + QPoint(cell.width() / 10, cell.height() / 8))));
    QVERIFY(isGrey(sheet.pixel(extendLeft.topLeft() + QPoint(cell.width() * 6 / 10, cell.height() / 8))));
}

void TestMediaHost::galleryCannotBeWritten()
{
    // A directory in the path that is a plain file: neither created nor written through.
    const QString blocker = m_dir.filePath(QStringLiteral("blocker"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const QString path = blocker + QStringLiteral("/g.png");
    const RunResult result = run({ QStringLiteral("--gallery"), path });
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains(QStringLiteral("gallery: cannot write the gallery ") + path), qPrintable(result.err));
    QVERIFY(result.out.isEmpty());
}

void TestMediaHost::renderTextPrintsItsFiles_data()
{
    QTest::addColumn<QString>("record");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("band");

    QTest::addColumn<QStringList>("missing"); // code points listed as having no glyph

    QTest::newRow("pages") << "examples/richtext-paged.json" << QSize(640, 200) << false << QStringList {};
    QTest::newRow("band pieces") << "examples/richtext-ticker.json" << QSize(500, 120) << true << QStringList {};
    // No font has an unassigned code point; the record is written by the test.
    QTest::newRow("glyph report") << QString() << QSize(300, 60) << false << QStringList { "U+0378", "U+10FFFD" };
}

void TestMediaHost::renderTextPrintsItsFiles()
{
    QFETCH(QString, record);
    QFETCH(QSize, size);
    QFETCH(bool, band);
    QFETCH(QStringList, missing);

    if (record.isEmpty()) {
        record = m_dir.filePath(QStringLiteral("glyphs.json"));
        QFile file(record);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"content":{"displayStyle":{"type":0},"textAttributes":[{"id":1,"style":{"fontFamilies":
            ["DejaVu Sans"],"pixelSize":20,"textColor":"#FFFFFFFF"}}],"paragraphs":[{"lines":[[{"attributeId":1,
            "text":"Gate \u0378 open \u0378"}],[{"attributeId":1,"text":"\udbff\udffd"}]]}]}})");
    }
    const QString out = m_dir.filePath(QStringLiteral("render/%1").arg(QTest::currentDataTag()));
    const RunResult result
        = run({ QStringLiteral("--render-text"), QDir(m_sourceDir).filePath(record), QStringLiteral("--size"),
            QStringLiteral("%1x%2").arg(size.width()).arg(size.height()), QStringLiteral("--out"), out });
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));

    // One line per file, in order: path, size, and "last" on the last line only; then one line
    // per character without a glyph, with its place.
    QStringList lines = result.out.trimmed().split(QLatin1Char('\n'));
    QStringList listed;
    while (lines.last().startsWith(QLatin1String("missing-glyph\t")))
        listed.prepend(lines.takeLast().section(QLatin1Char('\t'), 1, 2));
    QStringList expectedListed;
    for (int i = 0; i < missing.size(); ++i)
        expectedListed << missing.at(i) + QStringLiteral("\tparagraph 1, line %1, run 1").arg(i + 1);
    QCOMPARE(listed, expectedListed);
    QVERIFY2(lines.size() >= (missing.isEmpty() ? 2 : 1), qPrintable(result.out));
    int bandHeight = -1;
    for (int i = 0; i < lines.size(); ++i) {
        const QStringList fields = lines.at(i).split(QLatin1Char('\t'));
        QCOMPARE(fields.size(), 3);
        const QImage image(fields.at(0));
        QVERIFY2(!image.isNull(), qPrintable(fields.at(0)));
        QCOMPARE(QFileInfo(fields.at(0)).absolutePath(), QDir(out).absolutePath());
        QCOMPARE(fields.at(1), QStringLiteral("%1x%2").arg(image.width()).arg(image.height()));
        QCOMPARE(fields.at(2), QString::fromLatin1(i == lines.size() - 1 ? "last" : "more"));
        if (band) {
            // Pieces of one band: as high as its tallest line, never wider than the region.
            QVERIFY(image.width() <= size.width());
            QVERIFY(image.height() < size.height());
            if (bandHeight < 0)
                bandHeight = image.height();
            QCOMPARE(image.height(), bandHeight);
        } else {
            QCOMPARE(image.size(), size);
        }
    }
    QCOMPARE(QDir(out).entryList(QDir::Files).size(), lines.size());
}

void TestMediaHost::renderTextBadRecord_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("error");

    QTest::newRow("missing file") << QByteArray() << "render-text: cannot read";
    QTest::newRow("broken JSON") << QByteArray("{\"content\": ") << "is no rich text record";
    QTest::newRow("wrong type") << QByteArray(R"({"content":{"paragraphs":"text"}})") << "is no rich text record";
    QTest::newRow("no styles") << QByteArray(R"({"content":{"paragraphs":[{"lines":[[{"text":"x"}]]}]}})")
                               << "textAttributes is empty";
}

void TestMediaHost::renderTextBadRecord()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, error);

    const QString record = text.isEmpty() ? m_dir.filePath(QStringLiteral("absent.json")) : writePlaylist(text);
    const QString out = m_dir.filePath(QStringLiteral("render-bad/%1").arg(QTest::currentDataTag()));
    const RunResult result = run({ QStringLiteral("--render-text"), record, QStringLiteral("--size"),
        QStringLiteral("100x50"), QStringLiteral("--out"), out });
    QCOMPARE(result.exitCode, 1);
    QVERIFY2(result.err.contains(error), qPrintable(result.err));
    QVERIFY(result.out.isEmpty());
    QVERIFY(QDir(out).entryList(QDir::Files).isEmpty());
}

QTEST_MAIN(TestMediaHost)
#include "tst_mediahost.moc"
