// The scrolling belt of ImagePlayCtrl: what one tick costs the GUI thread on a full-HD ticker of
// three labels, with and without the repaint it causes, and how steadily a level-5 ticker moves
// when its own timer drives it for ten seconds on the offscreen platform.
#include <ctrlimageplay.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>
#include <QTimerEvent>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kWidth = 1920;
constexpr int kBandHeight = 48;
constexpr int kImages = 3;
// One pixel a second: the control's own timer stays out of the way of the timed ticks.
constexpr int kQuietPixelRate = 1;
// Level 5 without sync: a 6 ms QObject timer and one pixel a tick.
constexpr int kSteadyLevel = 5;
constexpr int kSteadySeconds = 10;
constexpr qint64 kWindowNs = 100 * 1000 * 1000;
constexpr double kNsPerMs = 1e6;
constexpr double kUsPerMs = 1e3;
constexpr double kTickTargetMs = 0.5;
constexpr double kPercentile = 0.99;

QStringList g_images;

QImage makeBand(int index)
{
    QImage image(kWidth, kBandHeight, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, kWidth, 0);
    gradient.setColorAt(0, QColor::fromHsv(index * 110, 200, 220));
    gradient.setColorAt(1, QColor::fromHsv(index * 110 + 50, 200, 120));
    painter.fillRect(image.rect(), gradient);
    return image;
}

// A MOVE_LEFT belt of the three bands on a shown 1920x48 parent, as a host lays out a ticker.
struct Ticker {
    Ticker(bool speedIsPixels, int speed)
        : parent(std::make_unique<QWidget>())
    {
        parent->resize(kWidth, kBandHeight);
        parent->show();
        ctrl = new ImagePlayCtrl(parent.get());
        ns::DisplayStyle style;
        style.type = ns::SCROLL;
        style.scrollAttributes.effecs.moveType = ns::MOVE_LEFT;
        style.scrollAttributes.effecs.speed = speed;
        style.scrollAttributes.speedIsPixels = speedIsPixels;
        ctrl->initImagePlay(style, ns::ALIGN_VCENTER, ns::ALIGN_HCENTER);
        for (int i = 0; i < g_images.size(); ++i)
            ctrl->slotAppend(g_images[i], i == g_images.size() - 1);
        QCoreApplication::processEvents();
    }

    std::unique_ptr<QWidget> parent;
    ImagePlayCtrl* ctrl = nullptr;
};

// Catches the id of the control's scroll timer, so a tick can be sent exactly as the timer does.
class TimerIdCatcher : public QObject {
public:
    int id = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Timer && id == 0)
            id = static_cast<QTimerEvent*>(event)->timerId();
        return false;
    }
};

int scrollTimerId(ImagePlayCtrl* ctrl)
{
    TimerIdCatcher catcher;
    ctrl->installEventFilter(&catcher);
    QElapsedTimer clock;
    clock.start();
    while (catcher.id == 0 && clock.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    ctrl->removeEventFilter(&catcher);
    return catcher.id;
}

void tickLoop(benchmark::State& state, bool paint)
{
    Ticker ticker(true, kQuietPixelRate);
    const int id = scrollTimerId(ticker.ctrl);
    if (id == 0) {
        state.SkipWithError("the scroll timer never fired");
        return;
    }
    if (ticker.ctrl->labels().size() != kImages) {
        state.SkipWithError("the belt does not hold three labels");
        return;
    }
    for (auto _ : state) {
        QTimerEvent event(id);
        QCoreApplication::sendEvent(ticker.ctrl, &event);
        if (paint)
            QCoreApplication::processEvents();
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_ScrollTick(benchmark::State& state)
{
    tickLoop(state, false);
}

// The tick and the repaint of what moved, as the next turn of the event loop does it.
void BM_ScrollTickAndPaint(benchmark::State& state)
{
    tickLoop(state, true);
}

BENCHMARK(BM_ScrollTick)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ScrollTickAndPaint)->Unit(benchmark::kMicrosecond);

// Records each tick of the control's timer: when it came, and where the labels stood before it.
class TickRecorder : public QObject {
public:
    explicit TickRecorder(const QList<QLabel*>& labels)
        : m_labels(labels)
    {
        m_clock.start();
    }
    std::vector<qint64> times;
    std::vector<std::vector<int>> positions;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Timer) {
            times.push_back(m_clock.nsecsElapsed());
            std::vector<int> xs;
            for (const QLabel* label : m_labels)
                xs.push_back(label->x());
            positions.push_back(xs);
        }
        return false;
    }

private:
    QList<QLabel*> m_labels;
    QElapsedTimer m_clock;
};

struct Stats {
    double mean = 0;
    double p99 = 0;
    double max = 0;
    double min = 0;
};

Stats statsOf(std::vector<double> values)
{
    Stats s;
    if (values.empty())
        return s;
    std::sort(values.begin(), values.end());
    double sum = 0;
    for (double v : values)
        sum += v;
    s.mean = sum / values.size();
    s.p99 = values[std::min(values.size() - 1, size_t(std::ceil(kPercentile * values.size())) - 1)];
    s.max = values.back();
    s.min = values.front();
    return s;
}

// Ten seconds of a level-5 ticker on its own timer: intervals between ticks, pixels per 100 ms.
int runSteadiness()
{
    Ticker ticker(false, kSteadyLevel);
    const QList<QLabel*> labels = ticker.ctrl->labels();
    const int step = ticker.ctrl->pix();
    const int interval = ticker.ctrl->speed();
    if (labels.size() != kImages || step <= 0) {
        std::fprintf(stderr, "scrollbench: the ticker did not start\n");
        return 1;
    }
    TickRecorder recorder(labels);
    ticker.ctrl->installEventFilter(&recorder);
    QEventLoop loop;
    // Precise: a coarse timer of 10 s may end the run half a second early or late.
    QTimer::singleShot(kSteadySeconds * 1000, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    ticker.ctrl->removeEventFilter(&recorder);

    const size_t ticks = recorder.times.size();
    if (ticks < 3) {
        std::fprintf(stderr, "scrollbench: only %zu ticks in %d s\n", ticks, kSteadySeconds);
        return 1;
    }
    std::vector<double> intervals;
    for (size_t i = 1; i < ticks; ++i)
        intervals.push_back((recorder.times[i] - recorder.times[i - 1]) / kNsPerMs);

    // Travel of tick i: what the labels that were not re-placed moved between its record and the next.
    std::vector<double> windows(size_t((recorder.times.back() - recorder.times.front()) / kWindowNs), 0.0);
    int badSteps = 0;
    for (size_t i = 0; i + 1 < ticks; ++i) {
        int travel = 0;
        for (size_t l = 0; l < recorder.positions[i].size(); ++l) {
            const int dx = recorder.positions[i][l] - recorder.positions[i + 1][l];
            if (dx >= 0)
                travel = std::max(travel, dx);
        }
        badSteps += travel != step;
        const size_t window = size_t((recorder.times[i] - recorder.times.front()) / kWindowNs);
        if (window < windows.size())
            windows[window] += travel;
    }
    const Stats gaps = statsOf(intervals);
    const Stats pixels = statsOf(windows);
    std::vector<double> deviations;
    for (double w : windows)
        deviations.push_back(std::abs(w - pixels.mean));
    const Stats spread = statsOf(deviations);

    std::printf("\nSteadiness: level %d, %d ms QObject timer, %d px a tick, %d s, %zu ticks\n", kSteadyLevel, interval,
        step, kSteadySeconds, ticks);
    std::printf("  first tick %.1f ms after the run began\n", recorder.times.front() / kNsPerMs);
    std::printf("  interval between ticks, ms: mean %.3f  p99 %.3f  max %.3f  min %.3f\n", gaps.mean, gaps.p99,
        gaps.max, gaps.min);
    std::printf("  pixels per 100 ms (%zu windows): mean %.2f  p99 %.0f  max %.0f  min %.0f (expected %.2f)\n",
        windows.size(), pixels.mean, pixels.p99, pixels.max, pixels.min, 100.0 * step / interval);
    std::printf("  deviation from the mean, px: p99 %.2f  max %.2f -> %s (target: at most one step, %d px, at p99)\n",
        spread.p99, spread.max, spread.p99 <= step ? "within target" : "OVER TARGET", step);
    std::printf("  ticks that moved other than one step: %d\n", badSteps);
    return 0;
}

// Prints the tick figures against the target after the usual console output: single runs, or the
// medians when the run is repeated.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred || (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median"))
                continue;
            const double ms = run.GetAdjustedRealTime() / kUsPerMs;
            m_lines.push_back({ run.benchmark_name(), ms });
            if (run.benchmark_name().rfind("BM_ScrollTick", 0) == 0
                && run.benchmark_name().find("Paint") == std::string::npos)
                m_tickMs = std::max(m_tickMs, ms);
        }
    }
    void summary() const
    {
        std::printf("\nTick cost (target under %.1f ms):\n", kTickTargetMs);
        for (const auto& line : m_lines)
            std::printf("  %-32s %.4f ms (%.2f us)\n", line.first.c_str(), line.second, line.second * kUsPerMs);
        if (m_tickMs >= 0)
            std::printf("  -> one tick %s\n", m_tickMs < kTickTargetMs ? "within target" : "OVER TARGET");
    }

private:
    std::vector<std::pair<std::string, double>> m_lines;
    double m_tickMs = -1;
};

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    benchmark::Initialize(&argc, argv);
    QApplication app(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;

    QTemporaryDir dir;
    for (int i = 0; i < kImages; ++i) {
        const QString path = dir.filePath(QStringLiteral("band%1.png").arg(i));
        if (!dir.isValid() || !makeBand(i).save(path)) {
            std::fprintf(stderr, "scrollbench: could not write the bands into %s\n", qPrintable(dir.path()));
            return 1;
        }
        g_images << path;
    }

    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    reporter.summary();
    return runSteadiness();
}
