// The demo's feed, served from the host itself: a building's notice board as RSS 2.0.
#include "demo.h"

#include "feedserver.h"

#include <playersettings.h>

#include <QDateTime>
#include <QStringList>
#include <QUrl>
#include <QXmlStreamWriter>

#include <atomic>
#include <iterator>
#include <memory>

namespace {

// The feed player asks HTTPS on 443 first and HTTP on 80 after any other reply than 200.
constexpr int kHttpsPort = 443;
constexpr int kHttpPort = 80;
constexpr int kStatusNotFound = 404;
const QString kLocalProbeHost = QStringLiteral("localhost");

constexpr int kMsPerSecond = 1000;

struct Notice {
    const char* title;
    int daysAgo;
    int hour;
    int minute;
    const char* lines[2]; // the player shows a description line by line and never wraps one
};

// Every description has two lines, so that each notice fills one page of the feed region.
const Notice kNotices[] = {
    { "电梯维护通知", 0, 8, 15,
        { "本周六 08:00–12:00 三号电梯停用，请使用一号或二号电梯。", "给您带来不便，敬请谅解。物业服务中心" } },
    { "Fire alarm test on Thursday at 10:00", 0, 7, 40,
        { "The alarm sounds for about two minutes.", "There is no need to leave the building during the test." } },
    { "Bike room moves to level B1", 1, 17, 5,
        { "From Monday the bike room is next to the east stairs.", "Your access card opens the new door as before." } },
    { "Café on level 2: new opening hours", 1, 9, 30,
        { "Weekdays 07:30–17:00, Saturdays 09:00–14:00.", "Soup of the week: pumpkin and ginger." } },
    { "Water off on floors 10 to 12", 2, 16, 20,
        { "Tuesday 22:00 to 23:30, for work on the risers.", "Please close your taps before you leave." } },
};
constexpr int kNoticeCount = int(std::size(kNotices));

void writeItem(QXmlStreamWriter& xml, const QString& title, const QDateTime& published, const QStringList& lines)
{
    xml.writeStartElement(QStringLiteral("item"));
    xml.writeTextElement(QStringLiteral("title"), title);
    xml.writeTextElement(QStringLiteral("pubDate"), published.toString(Qt::RFC2822Date));
    // Descriptions are HTML: a line break has to be markup, plain newlines fold into spaces.
    xml.writeTextElement(QStringLiteral("description"), lines.join(QStringLiteral("<br/>")));
    xml.writeEndElement();
}

} // namespace

QByteArray demoFeedDocument(int fetch, const QDateTime& now)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("rss"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("2.0"));
    xml.writeStartElement(QStringLiteral("channel"));
    xml.writeTextElement(QStringLiteral("title"), QStringLiteral("Harbour Point notices"));
    xml.writeTextElement(QStringLiteral("link"), kDemoFeedLink);
    xml.writeTextElement(QStringLiteral("description"), QStringLiteral("Notices for the tenants of Harbour Point"));

    writeItem(xml,
        QStringLiteral("Harbour Point · update %1 at %2").arg(fetch).arg(now.toString(QStringLiteral("HH:mm:ss"))), now,
        { QStringLiteral("This board fetches its notices every %1 s from a feed on this machine.")
                .arg(kDemoFeedUpdatePeriodMs / kMsPerSecond),
            QStringLiteral("Lifts 1–6 in service · car park B2 open · visitors sign in at reception") });
    // The notices take turns behind the first item, so that each renewal brings another one forward.
    for (int i = 0; i < kNoticeCount; ++i) {
        const Notice& notice = kNotices[(fetch - 1 + i) % kNoticeCount];
        const QDateTime published(
            now.date().addDays(-notice.daysAgo), QTime(notice.hour, notice.minute), now.timeSpec());
        writeItem(xml, QString::fromUtf8(notice.title), published,
            { QString::fromUtf8(notice.lines[0]), QString::fromUtf8(notice.lines[1]) });
    }
    xml.writeEndDocument();
    return document;
}

bool startDemoFeed(LoopbackFeedServer& server, QString* error)
{
    PlayerSettings::getInstance().setReachabilityHost(kLocalProbeHost);
    const QString path = QUrl(kDemoFeedLink).path();
    auto fetches = std::make_shared<std::atomic<int>>(0);
    const auto handler = [path, fetches](const QString& requested, bool) {
        FeedReply reply;
        if (requested != path) {
            reply.status = kStatusNotFound;
            reply.contentType = "text/plain; charset=utf-8";
            reply.body = "no such feed\n";
            return reply;
        }
        reply.body = demoFeedDocument(++*fetches, QDateTime::currentDateTime());
        return reply;
    };
    if (server.start(kHttpsPort, kHttpPort, handler, error))
        return true;
    if (error)
        *error += QStringLiteral(": the port is in use, or binding ports below 1024 needs root");
    return false;
}
