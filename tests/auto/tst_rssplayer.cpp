// The feed player against real servers on loopback: the fetch's way through the probe, HTTPS and
// HTTP, and the player's first show, renewal, failure and stop.
#include "feedserver.h"
#include "logcapture.h"
#include "rssplayer_p.h"
#include "rssplayeraccess.h"

#include <imageplayhelper.h>
#include <playerpath.h>
#include <playersettings.h>
#include <playtext.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QPointer>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <nlohmann/json.hpp>

#include <atomic>

namespace {

constexpr QSize kRegion { 480, 270 };
constexpr int kReadyTimeoutMs = 20000;
constexpr int kNoRefusal = -1;
const QString kLink = QStringLiteral("https://127.0.0.1/news/feed.xml");
const QString kProbe = QStringLiteral("localhost");
const QString kUnresolvable = QStringLiteral("no-such-host.invalid");
const char kRequestError[] = "request error! m_strRssLink is ";

QByteArray feed(const QStringList& titles)
{
    QByteArray items;
    for (const QString& title : titles) {
        items += "<item><title>" + title.toUtf8() + "</title><pubDate>Mon, 23 Nov 2026 08:00:00 GMT</pubDate>"
            + "<description>&lt;p&gt;First line&lt;/p&gt;&lt;p&gt;Second line&lt;/p&gt;</description></item>";
    }
    return "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel><title>Channel</title>" + items + "</channel></rss>";
}

std::string settings(int updatePeriod, const char* textColor = "#FF0000")
{
    const nlohmann::json style = { { "textColor", textColor }, { "bkColor", "#FF00FF00" },
        { "fontFamilies", { "DejaVu Sans" } }, { "pixelSize", 24 } };
    return nlohmann::json {
        { "updatePeriod", updatePeriod }, { "showTitle", true }, { "showPubDate", true }, { "showDescription", true },
        { "textAttribute", { { "auxStyles", { style, style, style } } } },
        { "displayStyle", { { "type", ns::PAGE_SWITCH }, { "pageEffect", 0 } } }
    }.dump();
}

QStringList titlesOf(const ns::RichTextInfo& record)
{
    QStringList titles;
    for (const ns::Paragraph& paragraph : record.content.paragraphs) {
        for (const auto& line : paragraph.lines) {
            if (!line.empty() && line.front().attributeId == 1)
                titles << QString::fromStdString(line.front().text);
        }
    }
    return titles;
}

int redPixels(QWidget& widget)
{
    const QImage image = widget.grab().toImage();
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            count += c.red() > 200 && c.green() < 60 && c.blue() < 60;
        }
    }
    return count;
}

// A port that refuses: bound once, then closed.
int closedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

} // namespace

class TestRssPlayer : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void fetch_data();
    void fetch();
    void feedOnScreen();
    void renewal();
    void cachedReplay();
    void failedFetch_data();
    void failedFetch();
    void colours_data();
    void colours();
    void stopWhileServerIsSilent();

private:
    struct Player {
        QWidget parent;
        RssPlayer* player = nullptr;
        int ready = 0;
    };
    // A player of `link` that counts its MediaReady calls.
    void makePlayer(
        Player& p, int id, int updatePeriod, const QString& link = kLink, const char* textColor = "#FF0000");

    QTemporaryDir m_cache;
    LoopbackFeedServer m_server;
    std::atomic<int> m_version { 0 };
    std::unique_ptr<LogCapture> m_log;
};

void TestRssPlayer::initTestCase()
{
    QVERIFY(m_cache.isValid());
    PlayerPath::getInstance().setImageCachePath(m_cache.path());
    QString error;
    QVERIFY2(
        m_server.start(
            0, 0,
            [this](const QString&, bool) {
                FeedReply reply;
                reply.body = feed(m_version == 0 ? QStringList { "Old one", "Old two" } : QStringList { "New one" });
                return reply;
            },
            &error),
        qPrintable(error));
}

void TestRssPlayer::init()
{
    RssFetch::setPorts({ m_server.httpsPort(), m_server.httpPort() });
    PlayerSettings::getInstance().setReachabilityHost(kProbe);
    m_version = 0;
    m_log = std::make_unique<LogCapture>();
}

void TestRssPlayer::cleanup()
{
    QVERIFY2(m_log->unexpectedErrors().isEmpty(), qPrintable(m_log->unexpectedErrors().join('\n')));
    m_log.reset();
}

void TestRssPlayer::makePlayer(Player& p, int id, int updatePeriod, const QString& link, const char* textColor)
{
    p.parent.resize(kRegion);
    p.player = new RssPlayer(&p.parent);
    ns::Widget widget;
    widget.id = id;
    widget.duration = 10000;
    widget.path = link.toStdString();
    widget.jsonText = settings(updatePeriod, textColor);
    p.player->iInit(widget, [&p](EnumMediaStatus status) { p.ready += status == MediaReady; });
}

void TestRssPlayer::fetch_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<int>("httpsStatus"); // kNoRefusal: the port refuses
    QTest::addColumn<int>("httpStatus");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("httpsRequests");
    QTest::addColumn<int>("httpRequests");

    const QByteArray doc = feed({ "One" });
    QTest::newRow("https 200") << kLink << 200 << 200 << doc << kProbe << doc << 1 << 0;
    QTest::newRow("http link tried over https first")
        << "http://127.0.0.1/news/feed.xml" << 200 << 200 << doc << kProbe << doc << 1 << 0;
    QTest::newRow("https 404, http 200") << kLink << 404 << 200 << doc << kProbe << doc << 1 << 1;
    QTest::newRow("https 404, http 500") << kLink << 404 << 500 << doc << kProbe << QByteArray() << 1 << 1;
    QTest::newRow("https refused: no http") << kLink << kNoRefusal << 200 << doc << kProbe << QByteArray() << 0 << 0;
    QTest::newRow("https redirect leads to http") << kLink << 301 << 200 << doc << kProbe << doc << 1 << 1;
    QTest::newRow("http redirect fails") << kLink << 404 << 302 << doc << kProbe << QByteArray() << 1 << 1;
    QTest::newRow("body cut at its zero byte")
        << kLink << 200 << 200 << QByteArray("<rss>\0</rss>", 12) << kProbe << QByteArray("<rss>") << 1 << 0;
    QTest::newRow("probe does not resolve") << kLink << 200 << 200 << doc << kUnresolvable << QByteArray() << 0 << 0;
    QTest::newRow("empty link") << QString() << 200 << 200 << doc << kProbe << QByteArray() << 0 << 0;
}

void TestRssPlayer::fetch()
{
    QFETCH(QString, link);
    QFETCH(int, httpsStatus);
    QFETCH(int, httpStatus);
    QFETCH(QByteArray, body);
    QFETCH(QString, probe);
    QFETCH(QByteArray, expected);

    LoopbackFeedServer server;
    QString error;
    QVERIFY2(server.start(
                 httpsStatus == kNoRefusal ? -1 : 0, 0,
                 [&](const QString&, bool tls) {
                     const int status = tls ? httpsStatus : httpStatus;
                     return FeedReply { status, status == 200 ? body : QByteArray("moved"), "text/xml",
                         status / 100 == 3 ? QByteArray("https://127.0.0.1/elsewhere.xml") : QByteArray() };
                 },
                 &error),
        qPrintable(error));
    RssFetch::setPorts({ httpsStatus == kNoRefusal ? closedPort() : server.httpsPort(), server.httpPort() });
    PlayerSettings::getInstance().setReachabilityHost(probe);
    if (expected.isEmpty())
        m_log->expectError(kRequestError);

    RssFetch fetch;
    QCOMPARE(fetch.fetch(link), expected);
    QTEST(server.httpsRequests(), "httpsRequests");
    QTEST(server.httpRequests(), "httpRequests");
    QCOMPARE(m_log->count(kRequestError + link), expected.isEmpty() ? 1 : 0);
}

void TestRssPlayer::feedOnScreen()
{
    // Only the path of the link is asked for: a port, a query and a fragment are dropped.
    QString path;
    LoopbackFeedServer server;
    QVERIFY(server.start(
        0, -1,
        [&path](const QString& requested, bool) {
            path = requested;
            FeedReply reply;
            reply.body = feed({ "Tram line 4 resumes", "Lift B closed" });
            return reply;
        },
        nullptr));
    RssFetch::setPorts({ server.httpsPort(), 1 });
    Player p;
    makePlayer(p, 7101, 600000, QStringLiteral("https://127.0.0.1:8443/news/feed.xml?lang=en#top"));
    p.parent.show();
    p.player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QCOMPARE(path, QStringLiteral("/news/feed.xml"));

    // Title, date at the right, description one line per HTML paragraph, item after item.
    const ns::RichTextInfo& record = RssPlayerAccess::record(*p.player);
    QCOMPARE(record.content.paragraphs.size(), size_t(6));
    const ns::Paragraph& date = record.content.paragraphs[1];
    QCOMPARE(date.hAlignment, ns::ALIGN_RIGHT);
    QCOMPARE(date.lines.front().front().attributeId, 2);
    const ns::Paragraph& description = record.content.paragraphs[2];
    QCOMPARE(description.lines.size(), size_t(2));
    QCOMPARE(description.lines[1].front().text, std::string("Second line"));
    QCOMPARE(titlesOf(record), QStringList({ "Tram line 4 resumes", "Lift B closed" }));
    // "#FF0000" was made opaque red and drawn.
    QTRY_VERIFY_WITH_TIMEOUT(redPixels(p.parent) > 50, kReadyTimeoutMs);
    delete p.player;
}

void TestRssPlayer::renewal()
{
    Player p;
    makePlayer(p, 7102, 600000);
    p.parent.show();
    p.player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QPointer<playtext> first = RssPlayerAccess::textPlay(*p.player);
    QVERIFY(first);
    QTRY_VERIFY_WITH_TIMEOUT(!ImagePlayHelper::getInstance().getImageName("LUMORAX7102").isEmpty(), kReadyTimeoutMs);
    const QStringList firstFiles = ImagePlayHelper::getInstance().getImageName("LUMORAX7102");

    m_version = 1;
    RssPlayerAccess::renew(*p.player);
    // A second period ends before the renewal is ready: it waits instead of turning the slots over.
    RssPlayerAccess::renew(*p.player);
    QTRY_VERIFY_WITH_TIMEOUT(first.isNull(), kReadyTimeoutMs);
    QPointer<playtext> second = RssPlayerAccess::textplayRss(*p.player);
    QVERIFY(second && second->isVisible());

    const ns::RichTextInfo& record = RssPlayerAccess::record(*p.player);
    QCOMPARE(titlesOf(record), QStringList { "New one" });
    QCOMPARE(record.content.paragraphs.size(), size_t(3));
    QCOMPARE(record.content.textAttributes.size(), size_t(3));
    QCOMPARE(p.ready, 1);
    QVERIFY(p.player->findChild<QTimer*>()->isActive());
    // The first text's files went with it; the new text keeps its own.
    for (const QString& file : firstFiles)
        QVERIFY2(!QFileInfo::exists(file), qPrintable(file));
    QTRY_VERIFY_WITH_TIMEOUT(!ImagePlayHelper::getInstance().getImageName("LUMORAX7102").isEmpty(), kReadyTimeoutMs);
    for (const QString& file : ImagePlayHelper::getInstance().getImageName("LUMORAX7102"))
        QVERIFY2(QFileInfo::exists(file), qPrintable(file));
    delete p.player;
}

void TestRssPlayer::cachedReplay()
{
    const int before = m_server.httpsRequests();
    {
        Player p;
        makePlayer(p, 7103, 600000);
        p.player->iPlay();
        QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
        QTRY_VERIFY_WITH_TIMEOUT(!ImagePlayHelper::getInstance().getFirstPlayFlag("LUMORAX7103"), kReadyTimeoutMs);
        delete p.player;
    }
    Player again;
    makePlayer(again, 7103, 600000);
    again.parent.show();
    again.player->iPlay();
    QTRY_COMPARE_WITH_TIMEOUT(again.ready, 1, kReadyTimeoutMs);
    QCOMPARE(m_server.httpsRequests(), before + 1);
    QTRY_VERIFY_WITH_TIMEOUT(redPixels(again.parent) > 50, kReadyTimeoutMs);
    delete again.player;
}

void TestRssPlayer::failedFetch_data()
{
    QTest::addColumn<int>("updatePeriod");
    QTest::addColumn<int>("period");
    QTest::newRow("period as given") << 2500 << 2500;
    QTest::newRow("0 stands for a minute") << 0 << 60000;
    QTest::newRow("negative: a minute") << -5 << 60000;
    QTest::newRow("too short: a second") << 20 << 1000;
}

void TestRssPlayer::failedFetch()
{
    QFETCH(int, updatePeriod);
    QFETCH(int, period);
    PlayerSettings::getInstance().setReachabilityHost(kUnresolvable);
    m_log->expectError(kRequestError);
    m_log->expectError("richTextInfo.content.paragraphs is empty");
    m_log->expectError("RssPlayer m_lUpdatePeriod == 0");
    m_log->expectError("is negative");

    Player p;
    makePlayer(p, 7104, updatePeriod);
    p.player->iPlay();
    // Ready once, for the failure, and the player waits for its next period with nothing to show.
    QTRY_COMPARE_WITH_TIMEOUT(p.ready, 1, kReadyTimeoutMs);
    QVERIFY(RssPlayerAccess::record(*p.player).content.paragraphs.empty());
    const QTimer* timer = p.player->findChild<QTimer*>();
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), period);
    // One line says why the period differs from the one given.
    QCOMPARE(m_log->count("pdatePeriod"), updatePeriod == period ? 0 : 1);
    QCOMPARE(p.ready, 1);
    delete p.player;
}

void TestRssPlayer::colours_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("used");
    QTest::newRow("#RRGGBB made opaque") << "#FF0000"
                                         << "#FFFF0000";
    QTest::newRow("#AARRGGBB kept") << "#80FF0000"
                                    << "#80FF0000";
    QTest::newRow("other lengths kept") << "#F00"
                                        << "#F00";
}

void TestRssPlayer::colours()
{
    QFETCH(QString, given);
    QFETCH(QString, used);
    m_log->expectError("richTextInfo.content.paragraphs is empty");
    Player p;
    makePlayer(p, 7105, 600000, kLink, qPrintable(given));
    RssPlayerAccess::requestEnd(*p.player, feed({}));
    const auto& attributes = RssPlayerAccess::record(*p.player).content.textAttributes;
    QCOMPARE(attributes.size(), size_t(3));
    for (size_t i = 0; i < attributes.size(); ++i) {
        QCOMPARE(attributes[i].id, int(i) + 1);
        QCOMPARE(QString::fromStdString(attributes[i].style.textColor), used);
        QCOMPARE(attributes[i].style.bkColor, std::string("#00000000"));
    }
    delete p.player;
}

void TestRssPlayer::stopWhileServerIsSilent()
{
    // Accepts connections and never answers: the handshake would wait for its time-outs.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    RssFetch::setPorts({ silent.serverPort(), silent.serverPort() });
    m_log->expectError("request object destory");
    int ticks = 0;
    QTimer gui;
    connect(&gui, &QTimer::timeout, [&ticks] { ++ticks; });
    gui.start(10);
    for (int round = 0; round < 20; ++round) {
        Player p;
        makePlayer(p, 7106, 600000);
        p.player->iPlay();
        QTest::qWait(QRandomGenerator::global()->bounded(60));
        QElapsedTimer clock;
        clock.start();
        p.player->iDestory();
        // Far below the 3 s connection and 5 s read time-outs.
        QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed())));
        QTest::qWait(5);
        QCOMPARE(p.ready, 0);
        delete p.player;
    }
    QTest::qWait(200);
    QVERIFY(ticks > 0);
    QVERIFY(m_log->count("request object destory") > 0);
    QCOMPARE(m_log->count(kRequestError), 0);
}

QTEST_MAIN(TestRssPlayer)
#include "tst_rssplayer.moc"
