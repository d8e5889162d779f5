// What the feed reader costs: a generated 5 MB feed of 10 000 items read as a renewal reads it, and
// each hostile document the reader is bounded against, with the growth of the process's peak
// resident size while it is read and the warn lines its bounds logged.
#include "benchsupport.h"

#include "rssplayer_p.h"
#include "rssplayeraccess.h"

#include <playerpath.h>
#include <spdlogger.h>

#include <QApplication>
#include <QByteArray>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QWidget>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/base_sink.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <malloc.h>

namespace {

using benchsupport::resetPeak;
using benchsupport::statusKib;

constexpr int kFeedItems = 10000;
constexpr int kRegionWidth = 1920;
constexpr int kRegionHeight = 1080;
constexpr int kEntityChars = 4000; // under Qt's limit for what one entity may expand to
constexpr int kEntityReferences = 100000;
constexpr int kDepth = 10000;
constexpr int kHugeBodyBytes = 200 * 1024 * 1024;
constexpr double kNsPerMs = 1e6;
constexpr double kBytesPerKib = 1024.0;

// Counts the warn lines of the players' logger and drops every line: the 200 MB body shows nothing,
// and the text player says so at error level.
class CountingSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::atomic<int> warnings { 0 };

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        if (message.level == spdlog::level::warn)
            ++warnings;
    }
    void flush_() override { }
};

std::shared_ptr<CountingSink> g_sink;

QByteArray feed(const QByteArray& items, const QByteArray& head = QByteArray())
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>" + head + "<rss version=\"2.0\"><channel><title>Bench</title>"
        + items + "</channel></rss>";
}

// About 500 bytes an item: a title, a date and a description of two HTML paragraphs.
QByteArray bigFeed()
{
    QByteArray items;
    for (int i = 0; i < kFeedItems; ++i) {
        items += QStringLiteral("<item><title>Notice %1: platform change for the 08:%2 service to Northfield</title>"
                                "<pubDate>Mon, 23 Nov 2026 08:%2:00 GMT</pubDate><description>&lt;p&gt;The train "
                                "to Northfield leaves from platform %3 today, and every quarter hour after it until "
                                "the evening.&lt;/p&gt;&lt;p&gt;Please allow extra time to change platforms; lifts "
                                "are at both ends of the hall and staff will help with luggage.&lt;/p&gt;"
                                "</description><link>https://example.org/notices/%1</link></item>")
                     .arg(i)
                     .arg(i % 60, 2, 10, QLatin1Char('0'))
                     .arg(i % 12 + 1)
                     .toUtf8();
    }
    return feed(items);
}

QByteArray entityBomb(bool inAttribute)
{
    const QByteArray dtd = "<!DOCTYPE rss [<!ENTITY e \"" + QByteArray(kEntityChars, 'x') + "\">]>";
    const QByteArray refs = QByteArray("&e;").repeated(kEntityReferences);
    return feed(inAttribute ? "<item a=\"" + refs + "\"><title>after</title></item>"
                            : "<item><description>" + refs + "</description><title>after</title></item>",
        dtd);
}

QByteArray localFiles()
{
    const QByteArray html = "<link rel=\"stylesheet\" type=\"text/css\" href=\"/dev/zero\"/><p>text</p>"
                            "<img src=\"/dev/urandom\"><span style=\"background-image:url(/dev/zero)\">text</span>";
    return feed("<item><description>" + QString::fromLatin1(html).toHtmlEscaped().toUtf8() + "</description></item>");
}

QByteArray hugeBody()
{
    const QByteArray head = "<rss><channel><item><title>first</title></item><!--";
    const QByteArray tail = "--><item><title>past the cut</title></item></channel></rss>";
    QByteArray body(kHugeBodyBytes, 'x');
    body.replace(0, head.size(), head);
    body.replace(body.size() - tail.size(), tail.size(), tail);
    return body;
}

QWidget* g_parent = nullptr;

// Reads `document` once an iteration in a fresh player, every switch on. The peak is taken against
// the resident size just before the first read, with the document already built.
void BM_Read(benchmark::State& state, const std::function<QByteArray()>& make, bool throughRequestEnd)
{
    const QByteArray document = make();
    RssPlayer player(g_parent);
    // The 200 MB body goes the way of a fetched one; nothing is shown of it, so no text is rendered.
    RssPlayerAccess::setSwitches(player, !throughRequestEnd, !throughRequestEnd, !throughRequestEnd);
    malloc_trim(0);
    const bool reset = resetPeak();
    const long baseline = statusKib(reset ? "VmRSS" : "VmHWM");
    g_sink->warnings = 0;
    QElapsedTimer clock;
    clock.start();
    for (auto _ : state) {
        if (throughRequestEnd)
            RssPlayerAccess::requestEnd(player, document);
        else
            RssPlayerAccess::read(player, document);
    }
    const double iterations = double(state.iterations());
    state.counters["read_ms"] = double(clock.nsecsElapsed()) / kNsPerMs / iterations;
    const long peak = statusKib("VmHWM");
    state.counters["doc_kib"] = double(document.size()) / kBytesPerKib;
    state.counters["paragraphs"] = double(RssPlayerAccess::record(player).content.paragraphs.size());
    state.counters["warn_lines_per_read"] = g_sink->warnings / iterations;
    state.counters["peak_growth_kib"] = double(peak - baseline);
    state.counters["peak_reset"] = reset ? 1 : 0;
    state.SetBytesProcessed(int64_t(iterations * document.size()));
}

void BM_ReadFeed(benchmark::State& state)
{
    BM_Read(state, bigFeed, false);
    state.SetItemsProcessed(int64_t(state.iterations()) * kFeedItems);
}

void registerBenchmarks()
{
    benchmark::RegisterBenchmark("BM_ReadFeed_5MB_10000_items", BM_ReadFeed)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    const struct {
        const char* name;
        std::function<QByteArray()> make;
        bool throughRequestEnd;
    } hostile[] = {
        { "BM_Hostile_entities_in_text", [] { return entityBomb(false); }, false },
        { "BM_Hostile_entities_in_attribute", [] { return entityBomb(true); }, false },
        { "BM_Hostile_html_naming_local_files", localFiles, false },
        { "BM_Hostile_10000_escaped_divs",
            [] {
                return feed("<item><description>" + QByteArray("&lt;div&gt;").repeated(kDepth) + "deep"
                    + QByteArray("&lt;/div&gt;").repeated(kDepth) + "</description></item>");
            },
            false },
        { "BM_Hostile_10000_nested_elements",
            [] {
                return feed("<item>" + QByteArray("<a>").repeated(kDepth) + "<title>deep</title>"
                    + QByteArray("</a>").repeated(kDepth) + "</item>");
            },
            false },
        { "BM_Hostile_10001_items",
            [] { return feed(QByteArray("<item><pubDate>d</pubDate></item>").repeated(rssbounds::kMaxItems + 1)); },
            false },
        { "BM_Hostile_long_texts",
            [] {
                const QByteArray text(rssbounds::kMaxTextChars * 4, 'x');
                return feed("<item><title>" + text + "</title><description>" + text + "</description></item>");
            },
            false },
        { "BM_Hostile_200MB_body_request_end", hugeBody, true },
    };
    for (const auto& h : hostile) {
        benchmark::RegisterBenchmark(h.name,
            [make = h.make, request = h.throughRequestEnd](benchmark::State& state) { BM_Read(state, make, request); })
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    benchmark::Initialize(&argc, argv);
    QApplication app(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    g_sink = std::make_shared<CountingSink>();
    SpdLogger::setSinks({ g_sink });
    SpdLogger::setLevel(spdlog::level::warn);
    // Nothing should be rendered; if a text is, it goes to a directory of its own.
    QTemporaryDir cache;
    PlayerPath::getInstance().setImageCachePath(cache.path());
    QWidget parent;
    parent.resize(kRegionWidth, kRegionHeight);
    g_parent = &parent;

    registerBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
