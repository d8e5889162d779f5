// A feed's way to the screen: a 50-item feed served over HTTPS on loopback, from iPlay to the first
// text ready, and a renewal from the update timer to the new text shown and the old one gone. The
// fetch and the read on their own stand beside them as yardsticks.
#include "benchsupport.h"

#include "feedserver.h"
#include "rssplayer_p.h"
#include "rssplayeraccess.h"

#include <playerpath.h>
#include <playersettings.h>
#include <playtext.h>
#include <spdlogger.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTemporaryDir>
#include <QWidget>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <vector>

namespace {

using benchsupport::median;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kItems = 50;
constexpr int kRounds = 5;

QByteArray feed(int version)
{
    QByteArray doc = "<?xml version=\"1.0\" encoding=\"utf-8\"?><rss version=\"2.0\"><channel><title>Bench</title>";
    for (int i = 0; i < kItems; ++i) {
        doc += QStringLiteral("<item><title>Notice %1.%2: platform change for the 08:%3 service</title>"
                              "<pubDate>Mon, 23 Nov 2026 08:%3:00 GMT</pubDate><description>&lt;p&gt;The train "
                              "leaves from platform %4 today.&lt;/p&gt;&lt;p&gt;Please allow extra time.&lt;/p&gt;"
                              "</description></item>")
                   .arg(version)
                   .arg(i)
                   .arg(i % 60, 2, 10, QLatin1Char('0'))
                   .arg(i % 12 + 1)
                   .toUtf8();
    }
    return doc + "</channel></rss>";
}

std::string settings()
{
    const nlohmann::json style
        = { { "textColor", "#FFFFFF" }, { "fontFamilies", { "DejaVu Sans" } }, { "pixelSize", 28 } };
    return nlohmann::json {
        { "updatePeriod", 3600000 }, { "showTitle", true }, { "showPubDate", true }, { "showDescription", true },
        { "textAttribute", { { "auxStyles", { style, style, style } } } },
        { "displayStyle", { { "type", 0 }, { "pageEffect", 0 }, { "pageStayTime", 10000 } } }
    }.dump();
}

template <class Done> double waitFor(const QElapsedTimer& clock, Done done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return clock.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    SpdLogger::setLevel(spdlog::level::err);
    QTemporaryDir cache;
    PlayerPath::getInstance().setImageCachePath(cache.path());
    PlayerSettings::getInstance().setReachabilityHost(QStringLiteral("localhost"));

    std::atomic<int> version { 0 };
    LoopbackFeedServer server;
    QString error;
    if (!server.start(
            0, 0,
            [&version](const QString&, bool) {
                FeedReply reply;
                reply.body = feed(version);
                return reply;
            },
            &error)) {
        std::fprintf(stderr, "rssrenewbench: %s\n", qPrintable(error));
        return 1;
    }
    RssFetch::setPorts({ server.httpsPort(), server.httpPort() });
    const QString link = QStringLiteral("https://127.0.0.1/bench/feed.xml");

    std::vector<double> fetchMs, readMs, firstMs, renewMs;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer clock;
        clock.start();
        RssFetch fetch;
        const QByteArray document = fetch.fetch(link);
        fetchMs.push_back(clock.nsecsElapsed() / 1e6);

        QWidget parent;
        parent.resize(kWidth, kHeight);
        auto* player = new RssPlayer(&parent);
        RssPlayerAccess::setSwitches(*player, true, true, true);
        clock.restart();
        RssPlayerAccess::read(*player, document);
        readMs.push_back(clock.nsecsElapsed() / 1e6);
        delete player;

        player = new RssPlayer(&parent);
        ns::Widget widget;
        widget.id = 5000 + round;
        widget.path = link.toStdString();
        widget.jsonText = settings();
        bool ready = false;
        player->iInit(widget, [&ready](EnumMediaStatus) { ready = true; });
        parent.show();
        clock.restart();
        player->iPlay();
        firstMs.push_back(waitFor(clock, [&ready] { return ready; }));

        // The renewal: the timer's slot, the fetch, the read, the new text rendered and shown, the old one gone.
        version = round + 1;
        QPointer<playtext> old = RssPlayerAccess::textPlay(*player);
        clock.restart();
        RssPlayerAccess::renew(*player);
        renewMs.push_back(waitFor(clock, [&old, player] {
            playtext* current = RssPlayerAccess::textplayRss(*player);
            return old.isNull() && current && current->isVisible();
        }));
        player->iDestory();
        delete player;
    }
    std::printf("feed of %d items at %dx%d, paged; medians of %d rounds\n", kItems, kWidth, kHeight, kRounds);
    std::printf("  %-44s %10.2f ms\n", "fetch over HTTPS on loopback (probe included)", median(fetchMs));
    std::printf("  %-44s %10.2f ms\n", "read the document into a text record", median(readMs));
    std::printf("  %-44s %10.1f ms\n", "iPlay to the first text ready", median(firstMs));
    std::printf("  %-44s %10.1f ms\n", "renewal, timer to the new text shown", median(renewMs));
    return 0;
}
