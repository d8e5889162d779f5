// The feed player: its reader against the documents it will meet, hostile ones included, each of
// which ends in a bounded result with the log line of the bound it hit; and against real servers on
// loopback, the fetch's way through the probe, HTTPS and HTTP, and the first show, renewal, failure
// and stop.
#include "feedserver.h"
#include "logcapture.h"
#include "rssplayer_p.h"
#include "rssplayeraccess.h"

#include <imageplayhelper.h>
#include <playerpath.h>
#include <playersettings.h>
#include <playtext.h>

#include <QPointer>
#include <QSemaphore>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTextDocumentFragment>
#include <QtTest>

#include <atomic>
#include <functional>

#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr int kReadyTimeoutMs = 20000;
// Half the client's 5 s read time-out: a stop that waited for it would not end within this.
constexpr int kStopTimeoutMs = 2500;
const QString kLink = QStringLiteral("https://127.0.0.1/news/feed.xml");
const char kRequestError[] = "request error! m_strRssLink is ";
// Which texts the reader takes, and kFetched: the document comes as a fetch hands it over.
enum Switch { kTitle = 1, kDate = 2, kDescription = 4, kAll = 7, kFetched = 8 };

QByteArray feed(const QByteArray& items, const QByteArray& head = QByteArray())
{
    return head + "<rss version=\"2.0\"><channel><title>Channel</title>" + items + "</channel></rss>";
}

QByteArray items(const QStringList& titles)
{
    QByteArray items;
    for (const QString& title : titles) {
        items += "<item><title>" + title.toUtf8() + "</title><pubDate>Mon, 23 Nov 2026 08:00:00 GMT</pubDate>"
            + "<description>&lt;p&gt;First line&lt;/p&gt;&lt;p&gt;Second line&lt;/p&gt;</description></item>";
    }
    return items;
}

// Each paragraph as "alignment:" and its lines as "attributeId=text", one a line. Feed paragraphs
// have a fixed layout: at the top, no spacing, no background of their own.
QStringList describe(const ns::RichTextInfo& record)
{
    QStringList out;
    for (const ns::Paragraph& paragraph : record.content.paragraphs) {
        QStringList lines;
        for (const auto& line : paragraph.lines) {
            lines << QString();
            for (const ns::TextRun& run : line)
                lines.last() += QString::number(run.attributeId) + QLatin1Char('=') + QString::fromStdString(run.text);
        }
        const bool fixed = paragraph.vAlignment == ns::ALIGN_TOP && paragraph.lineSpacing == 0
            && paragraph.letterSpacing == 0 && paragraph.bkColor == "#00000000";
        out << (fixed ? QString() : QStringLiteral("unfixed ")) + QString::number(paragraph.hAlignment)
                + QLatin1Char(':') + lines.join(QLatin1Char('\n'));
    }
    return out;
}

// How often `file` was opened while `work` ran.
int opens(const QString& file, const std::function<void()>& work)
{
    const int watch = ::inotify_init1(IN_NONBLOCK);
    ::inotify_add_watch(watch, QFile::encodeName(file).constData(), IN_OPEN);
    work();
    inotify_event events[16];
    const ssize_t bytes = ::read(watch, events, sizeof events);
    ::close(watch);
    return bytes > 0 ? int(bytes / sizeof(inotify_event)) : 0;
}

int redPixels(QWidget& widget)
{
    const QImage image = widget.grab().toImage();
    int count = 0;
    for (int i = 0; i < image.width() * image.height(); ++i) {
        const QColor c = image.pixelColor(i % image.width(), i / image.width());
        count += c.red() > 200 && c.green() < 60 && c.blue() < 60;
    }
    return count;
}

// A feed player in a shown region; titles in opaque red, the other texts in half-transparent red.
// It counts its MediaReady calls and the red pixels on screen at the first.
struct Player {
    Player(int id, int updatePeriod, const QString& link = kLink)
    {
        parent.resize(480, 270);
        player = new RssPlayer(&parent);
        const QString style = R"({"textColor": "%1", "bkColor": "#FF00FF00", "fontFamilies": ["DejaVu Sans"]})";
        ns::Widget widget;
        widget.id = id;
        widget.duration = 10000;
        widget.path = link.toStdString();
        widget.jsonText = QStringLiteral(R"({"updatePeriod": %1, "showTitle": true, "showPubDate": true,
            "showDescription": true, "displayStyle": {"type": 0}, "textAttribute": {"auxStyles": [%2, %3, %3]}})")
                              .arg(updatePeriod)
                              .arg(style.arg("#FF0000"), style.arg("#80FF0000"))
                              .toStdString();
        initResult = player->iInit(widget, [this](EnumMediaStatus status) {
            if (status == MediaReady && !ready++)
                redAtReady = redPixels(parent);
        });
        parent.show();
    }
    ~Player() { delete player; }
    QWidget parent;
    RssPlayer* player = nullptr;
    int initResult = -1;
    int ready = 0;
    int redAtReady = -1;
};

// The titles of the player's text, as describe() gives them.
QStringList titlesOf(const RssPlayer& player)
{
    return describe(RssPlayerAccess::record(player)).filter(QRegularExpression("^0:1="));
}

} // namespace

class TestRssPlayer : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void reader_data();
    void reader();
    void htmlOpensNoFile();
    void fetch_data();
    void fetch();
    void feedOnScreen();
    void renewal();
    void replacedFetchIsIgnored();
    void failedFetch_data();
    void failedFetch();
    void stopWhileServerIsSilent();

private:
    QTemporaryDir m_cache;
    LoopbackFeedServer m_server;
    std::atomic<int> m_version { 0 };
    std::atomic<bool> m_gated { false };
    QSemaphore m_gate;
    std::unique_ptr<LogCapture> m_log;
};

void TestRssPlayer::initTestCase()
{
    PlayerPath::getInstance().setImageCachePath(m_cache.path());
    // The first version has a title past the text bound: reading it leaves a warning.
    const auto handler = [this](const QString&, bool) {
        if (m_gated)
            m_gate.tryAcquire(1, kReadyTimeoutMs);
        const QStringList titles { "Tram line 4 resumes", QString(rssbounds::kMaxTextChars + 1, 'o') };
        return FeedReply { 200, feed(items(m_version ? QStringList { "New one" } : titles)), "text/xml", QByteArray() };
    };
    QVERIFY(m_server.start(0, 0, handler, nullptr));
}

void TestRssPlayer::init()
{
    RssFetch::setPorts({ m_server.httpsPort(), m_server.httpPort() });
    PlayerSettings::getInstance().setReachabilityHost("localhost");
    m_version = 0;
    m_log = std::make_unique<LogCapture>();
    m_log->expectError("request object destory");
}

void TestRssPlayer::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestRssPlayer::reader_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("switches");
    QTest::addColumn<QStringList>("paragraphs");
    QTest::addColumn<QString>("bound"); // the one warning expected; empty: none at all
    const auto row
        = [](const char* name, const QByteArray& document, int switches, const QStringList& paragraphs,
              const QString& bound = QString()) { QTest::newRow(name) << document << switches << paragraphs << bound; };

    const QByteArray item = "<item><title>t</title><pubDate>Mon</pubDate><description>d</description></item>";
    const QByteArray mixed = "<item><description>d</description><pubDate>Mon</pubDate><title>t</title><title/>"
                             "<description/></item>";
    const QByteArray paragraphs = "&lt;p&gt; one &lt;/p&gt;&lt;p&gt;&lt;/p&gt;&lt;p&gt;two&lt;/p&gt;";
    const QByteArray pre = "<title>&lt;pre&gt;a\tb\nc&lt;/pre&gt;</title>"
                           "<description>&lt;pre&gt;\ta\tb \n\n  c&lt;/pre&gt;</description>";
    const QByteArray broken = "<rss><channel><item><title>one</title></item><item><title>two</title></item></oops>";
    row("kinds in document order", feed(mixed), kAll, { "0:3=d", "2:2=Mon", "0:1=t", "0:" });
    row("titles only", feed(item), kTitle, { "0:1=t" });
    row("dates only", feed(item + item), kDate, { "2:2=Mon", "2:2=Mon" });
    row("descriptions only", feed(item), kDescription, { "0:3=d" });
    row("root not rss", "<feed><channel>" + item + "</channel></feed>", kAll, {});
    row("an item after the channel", "<rss><channel>" + item + "</channel>" + item + "</rss>", kTitle, { "0:1=t" });
    row("elements beside the channel", "<rss><link/><channel>" + item + "</channel></rss>", kTitle, { "0:1=t" });
    row("doctype without entities", feed(item, "<!DOCTYPE rss>"), kTitle, { "0:1=t" });
    row("html paragraphs are lines", feed("<item><description>" + paragraphs + "</description></item>"), kAll,
        { "0:3=one\n3=two" });
    row("an image leaves no placeholder", feed("<item><title>a&lt;img src=\"x.png\"&gt;b</title></item>"), kAll,
        { "0:1=ab" });
    row("tabs and line feeds", feed("<item>" + pre + "</item>"), kAll, { "0:1=abc", "0:3=ab\n3=c" });
    row("broken after item 2", broken + item, kAll, { "0:1=one", "0:1=two" });
    row("element in a text ends reading",
        feed("<item><description>before<b>x</b>after</description><title>t</title></item>"), kAll, { "0:3=before" });

    const QString cut = QStringLiteral("texts of the feed were longer than %1").arg(rssbounds::kMaxTextChars);
    const QString kept(rssbounds::kMaxTextChars, 'x');
    const QByteArray full(rssbounds::kMaxTextChars, 'x');
    const QByteArray longText(rssbounds::kMaxTextChars + 5000, 'x');
    const QByteArray divs
        = QByteArray("&lt;div&gt;").repeated(10000) + "deep" + QByteArray("&lt;/div&gt;").repeated(10000);
    const QByteArray nested
        = QByteArray("<a>").repeated(10000) + "<title>deep</title>" + QByteArray("</a>").repeated(10000);
    const QByteArray dates = QByteArray("<item><pubDate>d</pubDate></item>").repeated(rssbounds::kMaxItems + 1);
    // One entity of about 4000 characters, under Qt's limit for one entity, referenced 100 000 times, is
    // refused at its declaration, before any reference expands, in text or in an attribute.
    const QByteArray bomb = "<!DOCTYPE rss [<!ENTITY e \"" + QByteArray(4000, 'x') + "\">]>";
    const QByteArray refs = QByteArray("&e;").repeated(100000);
    row("entity amplification in text", feed("<item><description>" + refs + "</description></item>", bomb), kAll, {},
        QStringLiteral("declares entities of its own"));
    row("entity amplification in an attribute", feed("<item a=\"" + refs + "\"><title>t</title></item>", bomb), kAll,
        {}, QStringLiteral("declares entities of its own"));
    row("10 000 escaped divs", feed("<item><description>" + divs + "</description></item>"), kAll, { "0:" },
        QStringLiteral("1 ") + cut);
    row("10 000 nested elements", feed("<item>" + nested + "</item>"), kAll, { "0:1=deep" });
    row("too many items", feed(dates), kAll, QVector<QString>(rssbounds::kMaxItems, "2:2=d").toList(),
        QStringLiteral("more than %1 items").arg(rssbounds::kMaxItems));
    row("texts at and past their bound",
        feed("<item><title>" + full + "</title><description>" + longText + "</description><title>" + longText
            + "</title></item>"),
        kAll, { "0:1=" + kept, "0:3=" + kept, "0:1=" + kept }, QStringLiteral("2 ") + cut);
    // The characters read from the whole document are bounded too; "b" is the first one past.
    row("document past its character bound",
        "<rss><channel><item><title>a</title></item>" + QByteArray(rssbounds::kMaxDocumentChars - 1, 'x')
            + "<item><title>b</title></item></channel></rss>",
        kTitle, { "0:1=a" }, QStringLiteral("runs past %1 characters").arg(rssbounds::kMaxDocumentChars));
    // A fetched body past its byte bound is cut before reading; past the bound, the comment runs on.
    const QByteArray head = "<rss><channel><item><title>first</title></item><!--";
    const QByteArray tail = "--><item><title>second</title></item></channel></rss>";
    const QByteArray filler(rssbounds::kMaxDocumentBytes - head.size() - tail.size(), 'x');
    row("body at its byte bound", head + filler + tail, kAll | kFetched, { "0:1=first", "0:1=second" });
    row("body past its byte bound", head + filler + QByteArray(tail.size(), 'x') + tail, kAll | kFetched,
        { "0:1=first" },
        QStringLiteral("feed document of %1 bytes; its first %2 bytes are read")
            .arg(rssbounds::kMaxDocumentBytes + tail.size())
            .arg(rssbounds::kMaxDocumentBytes));
}

void TestRssPlayer::reader()
{
    Player p(7100, 600000);
    QFETCH(QByteArray, document);
    QFETCH(int, switches);
    QFETCH(QString, bound);
    RssPlayerAccess::setSwitches(*p.player, switches & kTitle, switches & kDate, switches & kDescription);
    if (switches & kFetched)
        RssPlayerAccess::requestEnd(*p.player, document);
    const QStringList actual = describe(
        switches & kFetched ? RssPlayerAccess::record(*p.player) : RssPlayerAccess::read(*p.player, document));
    const QStringList warnings = m_log->lines().filter(QRegularExpression(QStringLiteral("^warning ")));
    QCOMPARE(warnings.size(), int(!bound.isEmpty()));
    QVERIFY2(bound.isEmpty() || warnings.first().contains(bound), qPrintable(warnings.join('\n')));
    QTEST(actual, "paragraphs");
}

// Feed text needs none of the style sheets, images and backgrounds its markup names: a feed naming
// /dev/zero or a FIFO would exhaust memory or hang.
void TestRssPlayer::htmlOpensNoFile()
{
    Player p(7100, 600000);
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("named")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("x") == 1);
    file.close();
    const QString markup = QStringLiteral("<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\"/><style>@import "
                                          "url(%1);</style><table background=\"%1\"><tr><td><span style=\""
                                          "background-image:url(%1)\">text</span><img src=\"%1\"></td></tr></table>")
                               .arg(file.fileName());
    // The trap works: Qt's importer left to itself opens the file.
    QVERIFY(opens(file.fileName(), [&] { QTextDocumentFragment::fromHtml(markup).toPlainText(); }) > 0);
    RssPlayerAccess::setSwitches(*p.player, true, true, true);
    const QByteArray escaped = markup.toHtmlEscaped().toUtf8();
    const QByteArray document
        = feed("<item><title>" + escaped + "</title><description>" + escaped + "</description></item>");
    QStringList paragraphs;
    QCOMPARE(opens(file.fileName(), [&] { paragraphs = describe(RssPlayerAccess::read(*p.player, document)); }), 0);
    QCOMPARE(paragraphs, QStringList({ "0:1=text", "0:3=text" }));
}

void TestRssPlayer::fetch_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QList<int>>("statuses"); // over HTTPS (0: the port refuses), over HTTP
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("probeResolves");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<QList<int>>("requests"); // over HTTPS, over HTTP

    const QByteArray doc = feed(items({ "One" })), none, full(rssbounds::kMaxDocumentBytes, 'x');
    const auto row
        = [&](const char* name, const QList<int>& statuses, const QByteArray& body, const QByteArray& expected,
              const QList<int>& requests, bool probe = true, const QString& link = kLink) {
              QTest::newRow(name) << link << statuses << body << probe << expected << requests;
          };
    row("https 200", { 200, 200 }, doc, doc, { 1, 0 });
    row("https 404, http 200", { 404, 200 }, doc, doc, { 1, 1 });
    row("https 404, http 500", { 404, 500 }, doc, none, { 1, 1 });
    row("https refused: no http", { 0, 200 }, doc, none, { 0, 0 });
    row("https redirect leads to http", { 301, 200 }, doc, doc, { 1, 1 });
    row("body cut at its zero byte", { 200, 200 }, QByteArray("<rss>\0</rss>", 12), "<rss>", { 1, 0 });
    row("body at the byte bound", { 200, 200 }, full, full, { 1, 0 });
    row("body past the byte bound", { 200, 200 }, full + "yyyy", full, { 1, 0 });
    row("probe does not resolve", { 200, 200 }, doc, none, { 0, 0 }, false);
    row("empty link", { 200, 200 }, doc, none, { 0, 0 }, true, QString());
}

void TestRssPlayer::fetch()
{
    QFETCH(QString, link);
    QFETCH(QList<int>, statuses);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, expected);
    LoopbackFeedServer server;
    const auto handler = [&](const QString&, bool tls) {
        const int status = statuses[tls ? 0 : 1];
        return FeedReply { status, status == 200 ? body : QByteArray("moved"), "text/xml",
            status / 100 == 3 ? QByteArray("https://127.0.0.1/elsewhere.xml") : QByteArray() };
    };
    QVERIFY(server.start(statuses[0] ? 0 : -1, 0, handler, nullptr));
    RssFetch::setPorts({ statuses[0] ? server.httpsPort() : 1, server.httpPort() }); // nothing listens on 1
    QFETCH(bool, probeResolves);
    PlayerSettings::getInstance().setReachabilityHost(probeResolves ? "localhost" : "no-such-host.invalid");
    m_log->expectError(kRequestError);
    RssFetch fetch;
    QCOMPARE(fetch.fetch(link), expected);
    QTEST(QList<int>({ server.httpsRequests(), server.httpRequests() }), "requests");
    QCOMPARE(m_log->count(kRequestError + link), int(expected.isEmpty()));
    QCOMPARE(m_log->count("the feed is larger than"), int(body.size() > rssbounds::kMaxDocumentBytes));
}

// Only the path of the link is asked for; the feed's items show, and the player is ready once they
// do. The feed's styles become the text's styles 1 to 3, with no background of their own and
// "#RRGGBB" made opaque.
void TestRssPlayer::feedOnScreen()
{
    QString path;
    LoopbackFeedServer server;
    const auto handler = [&path](const QString& requested, bool) {
        path = requested;
        return FeedReply { 200, feed(items({ "Tram line 4 resumes", "Lift B closed" })), "text/xml", QByteArray() };
    };
    QVERIFY(server.start(0, -1, handler, nullptr));
    RssFetch::setPorts({ server.httpsPort(), 1 });
    Player p(7101, 600000, "https://127.0.0.1:8443/news/feed.xml?lang=en#top");
    QCOMPARE(p.initResult, 0);
    QCOMPARE(p.player->iPlay(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QVERIFY2(p.redAtReady > 50, qPrintable(QString::number(p.redAtReady)));
    QCOMPARE(path, QStringLiteral("/news/feed.xml"));
    QCOMPARE(titlesOf(*p.player), QStringList({ "0:1=Tram line 4 resumes", "0:1=Lift B closed" }));
    const ns::RichTextContent& text = RssPlayerAccess::record(*p.player).content;
    QCOMPARE(text.textAttributes.size(), size_t(3));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(text.textAttributes[i].id, i + 1);
        QCOMPARE(text.textAttributes[i].style.textColor, std::string(i ? "#80FF0000" : "#FFFF0000"));
        QCOMPARE(text.textAttributes[i].style.bkColor, std::string("#00000000"));
    }
    p.player->iPause();
    QCOMPARE(p.player->iResume(), 0);
}

// A renewal still on its way is given three update periods, then tried afresh. Once its text is
// ready it takes over from the first one, whose files go with it.
void TestRssPlayer::renewal()
{
    Player p(7102, 600000);
    p.player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QPointer<playtext> first = RssPlayerAccess::textPlay(*p.player);
    QTRY_VERIFY_WITH_TIMEOUT(RssPlayerAccess::requestThread(*p.player)->isFinished(), kReadyTimeoutMs);
    auto& cache = ImagePlayHelper::getInstance();
    QTRY_VERIFY_WITH_TIMEOUT(!cache.getImageName("LUMORAX7102").isEmpty(), kReadyTimeoutMs);
    const QStringList firstFiles = cache.getImageName("LUMORAX7102");
    m_version = 1;
    m_gated = true;
    for (int period = 1; period <= 4; ++period) {
        RssPlayerAccess::renew(*p.player);
        QCOMPARE(m_log->count("was not renewed within 3 periods; trying afresh"), int(period == 4));
    }
    m_gated = false;
    m_gate.release(2);
    QTRY_VERIFY_WITH_TIMEOUT(first.isNull(), kReadyTimeoutMs);
    QVERIFY(RssPlayerAccess::textplayRss(*p.player)->isVisible());
    QCOMPARE(titlesOf(*p.player), QStringList { "0:1=New one" });
    QCOMPARE(p.ready, 1);
    QVERIFY(p.player->findChild<QTimer*>()->isActive());
    for (const QString& file : firstFiles)
        QVERIFY2(!QFileInfo::exists(file), qPrintable(file));
    QCOMPARE(m_log->count(QStringLiteral("removed %1 image files").arg(firstFiles.size())), 1);
    QTRY_VERIFY_WITH_TIMEOUT(!cache.getImageName("LUMORAX7102").isEmpty(), kReadyTimeoutMs);
    for (const QString& file : cache.getImageName("LUMORAX7102"))
        QVERIFY2(QFileInfo::exists(file), qPrintable(file));
}

// A fetch replaced by another may have its result queued already: only the latest one is read.
void TestRssPlayer::replacedFetchIsIgnored()
{
    Player p(7103, 600000);
    p.player->iPlay();
    RssPlayerAccess::requestThread(*p.player)->wait();
    m_version = 1;
    p.player->requestRss();
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QCOMPARE(titlesOf(*p.player), QStringList { "0:1=New one" });
    QCOMPARE(m_log->count("were longer than"), 0);
}

void TestRssPlayer::failedFetch_data()
{
    QTest::addColumn<int>("updatePeriod");
    QTest::addColumn<int>("period");
    QTest::newRow("the shortest period") << 1000 << 1000;
    QTest::newRow("too short: a second") << 999 << 1000;
    QTest::newRow("0 stands for a minute") << 0 << 60000;
    QTest::newRow("negative: a minute") << -5 << 60000;
}

// Ready once, for the failure, and the player waits for its next period with nothing to show; one
// line says why the period differs from the one given.
void TestRssPlayer::failedFetch()
{
    QFETCH(int, updatePeriod);
    QFETCH(int, period);
    PlayerSettings::getInstance().setReachabilityHost("no-such-host.invalid");
    for (const char* error : { kRequestError, "paragraphs is empty", "m_lUpdatePeriod == 0", "is negative" })
        m_log->expectError(error);
    Player p(7104, updatePeriod);
    p.player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QVERIFY(RssPlayerAccess::record(*p.player).content.paragraphs.empty());
    QVERIFY(p.player->findChild<QTimer*>()->isActive());
    QCOMPARE(p.player->findChild<QTimer*>()->interval(), period);
    QCOMPARE(m_log->count("pdatePeriod"), int(updatePeriod != period));
    QCOMPARE(p.ready, 1);
}

// A server that accepts and never answers keeps the handshake waiting for its time-outs; a stop
// ends the fetch at once, and nothing of it reaches the player.
void TestRssPlayer::stopWhileServerIsSilent()
{
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    RssFetch::setPorts({ silent.serverPort(), silent.serverPort() });
    for (int round = 1; round <= 5; ++round) {
        Player p(7105, 600000);
        QSignalSpy connected(&silent, &QTcpServer::newConnection);
        p.player->iPlay();
        QVERIFY(connected.wait(kReadyTimeoutMs));
        p.player->iDestory();
        QTRY_COMPARE_WITH_TIMEOUT(m_log->count("request object destory"), round, kStopTimeoutMs);
        QCOMPARE(p.ready, 0);
    }
    QCOMPARE(m_log->count(kRequestError), 0);
}

QTEST_MAIN(TestRssPlayer)
#include "tst_rssplayer.moc"
