// What one frame of a player costs at 1920x1080, next to the floor of any frame: copying its
// bytes, and one full-frame drawPixmap into an image of the kind a widget backing store is.
// Every effect code is measured the same way over the whole range of its progress, then the
// four marquee codes on a running belt, and some effects through a fold of three pieces.
#include <effectdisplay.h>

#include <QApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>
#include <QRegion>
#include <QStringList>
#include <QTemporaryDir>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kFrameBytes = size_t(kWidth) * kHeight * 4;
constexpr long kEffectTimeMs = 1000;
constexpr const char* kBaseline = "BM_DrawPixmap";
constexpr const char* kMemcpy = "BM_Memcpy";
// Progress runs over 0, 0.01, ... 1; successive frames step through it by a stride near 101
// times the golden ratio, so that even a short run samples the whole range evenly.
constexpr int kProgressSteps = 100;
constexpr int kProgressStride = 62;
// Frames dearer than this multiple of the plain drawPixmap are marked in the closing table.
constexpr double kTargetRatio = 4.0;

// The marquee: a ring of three pictures of different lengths across the whole frame, and the
// speed of a quick ticker.
constexpr int kMarqueeStep = 4;
constexpr int kMarqueeIntervalMs = 10;
constexpr int kMarqueeGap = 64;
const int kMarqueeLengths[] = { 640, 800, 960 };
const int kMarqueeCodes[] = { 0xF4, 0xF5, 0xF6, 0xF7 };
// Enough frames for the belt to come in from the edge and cover the frame before timing starts.
constexpr int kMarqueeWarmUpFrames = kWidth / kMarqueeStep + 64;

// The fold: three pieces of 640x360 at three places of the frame, none touching another, and
// three of 640x1080 that together cover the frame, in another order than in the composed picture.
const QRect kFoldApart[] = { { 0, 0, 640, 360 }, { 640, 360, 640, 360 }, { 1280, 720, 640, 360 } };
const QRect kFoldFull[] = { { 1280, 0, 640, 1080 }, { 0, 0, 640, 1080 }, { 640, 0, 640, 1080 } };
const int kFoldCodes[] = { 0x00, 0x10, 0xF2 };

QString g_picturePath;
// Ring pictures, the first of each to load through showEffect: full height for the horizontal
// codes, full width for the vertical ones.
QStringList g_horizontalRing;
QStringList g_verticalRing;

// Opaque, as most signage pictures are. QPixmap stores an opaque picture as RGB32 whatever the
// image's format, on the player's side as on this one, so both draw the same kind of pixels.
QImage makePicture(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, width, height);
    gradient.setColorAt(0, QColor(20, 90, 160));
    gradient.setColorAt(1, QColor(230, 160, 40));
    painter.fillRect(image.rect(), gradient);
    return image;
}

void countFrames(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations());
}

// A player on a full-HD parent that has loaded the picture for effect code 0.
struct NoEffectPlayer {
    NoEffectPlayer()
    {
        parent.resize(kWidth, kHeight);
        display = new EffectDisplay(&parent);
        display->showEffect(0, g_picturePath, kEffectTimeMs, kEffectTimeMs);
    }
    bool showsPicture() { return qAlpha(display->renderFrame(0, 1.0f).pixel(kWidth / 2, kHeight / 2)) == 255; }

    QWidget parent;
    EffectDisplay* display = nullptr;
};

void BM_DrawPixmap(benchmark::State& state)
{
    const QPixmap pixmap = QPixmap::fromImage(makePicture(kWidth - 1, kHeight - 1));
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    target.fill(Qt::transparent);
    for (auto _ : state) {
        QPainter painter(&target);
        painter.drawPixmap(0, 0, pixmap);
    }
    benchmark::DoNotOptimize(target.constBits());
    countFrames(state);
}

void BM_Memcpy(benchmark::State& state)
{
    std::vector<unsigned char> source(kFrameBytes, 0x5a);
    std::vector<unsigned char> target(kFrameBytes);
    benchmark::DoNotOptimize(target.data());
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), kFrameBytes);
        benchmark::ClobberMemory();
    }
    countFrames(state);
}

// What a widget's backing store costs before any effect paints: clearing it to transparent.
void BM_Clear(benchmark::State& state)
{
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        target.fill(Qt::transparent);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(target.constBits());
    countFrames(state);
}

void BM_NoEffectFrame(benchmark::State& state)
{
    NoEffectPlayer player;
    if (!player.showsPicture()) {
        state.SkipWithError("the player did not load the picture");
        return;
    }
    for (auto _ : state) {
        const QImage frame = player.display->renderFrame(0, 1.0f);
        benchmark::DoNotOptimize(frame.constBits());
    }
    countFrames(state);
}

void BM_NoEffectPaintEvent(benchmark::State& state)
{
    NoEffectPlayer player;
    if (!player.showsPicture()) {
        state.SkipWithError("the player did not load the picture");
        return;
    }
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    target.fill(Qt::transparent);
    player.display->render(&target);
    if (qAlpha(target.pixel(kWidth / 2, kHeight / 2)) != 255) {
        state.SkipWithError("QWidget::render painted nothing");
        return;
    }
    for (auto _ : state)
        player.display->render(&target);
    benchmark::DoNotOptimize(target.constBits());
    countFrames(state);
}

// Frames of `code` over the whole transition into a kept full-HD target, cleared first as a
// backing store is before a paint event.
void paintFrames(benchmark::State& state, EffectDisplay& display, int code)
{
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    int step = 0;
    for (auto _ : state) {
        const float progress = float(step) / float(kProgressSteps);
        step = (step + kProgressStride) % (kProgressSteps + 1);
        target.fill(Qt::transparent);
        display.renderFrame(target, code, progress);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(target.constBits());
    countFrames(state);
}

// One frame of effect `code` at a progress that moves on every frame, painted into a kept
// full-HD target that is cleared first, as a backing store is before a paint event.
void BM_Effect(benchmark::State& state, int code)
{
    NoEffectPlayer player;
    if (!player.showsPicture()) {
        state.SkipWithError("the player did not load the picture");
        return;
    }
    paintFrames(state, *player.display, code);
}

bool isHorizontalMarquee(int code)
{
    return code == 0xF4 || code == 0xF5;
}

// A marquee on a full-HD parent, set up in the order a host does it, with the belt already
// running across the whole frame.
struct MarqueePlayer {
    explicit MarqueePlayer(int code)
    {
        parent.resize(kWidth, kHeight);
        display = new EffectDisplay(&parent);
        display->setPlayMarquee(true);
        display->setMarqueeSpeed(kMarqueeIntervalMs, kMarqueeStep);
        display->setMarqueeParaMeters(true, kMarqueeGap);
        const QStringList& ring = isHorizontalMarquee(code) ? g_horizontalRing : g_verticalRing;
        display->showEffect(code, ring.first(), 0, 0);
        for (int i = 1; i < ring.size(); ++i)
            display->appendPixmap(QPixmap(ring.at(i)));
        display->playMarquee();
    }
    // Most of a row or column across the middle is picture: the belt covers the frame.
    bool coversFrame(int code)
    {
        QImage frame(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
        frame.fill(Qt::transparent);
        display->renderFrame(frame, code, 1.0f);
        const bool horizontal = isHorizontalMarquee(code);
        const int length = horizontal ? kWidth : kHeight;
        int opaque = 0;
        for (int i = 0; i < length; ++i)
            opaque += qAlpha(horizontal ? frame.pixel(i, kHeight / 2) : frame.pixel(kWidth / 2, i)) == 255;
        return opaque > length * 3 / 4;
    }

    QWidget parent;
    EffectDisplay* display = nullptr;
};

// One frame of a marquee: the marquee functions take no progress and move the belt one step on
// every call, so each iteration is the next frame of a running ticker.
void BM_Marquee(benchmark::State& state, int code)
{
    MarqueePlayer player(code);
    QImage target(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    for (int i = 0; i < kMarqueeWarmUpFrames; ++i) {
        target.fill(Qt::transparent);
        player.display->renderFrame(target, code, 1.0f);
    }
    if (!player.coversFrame(code)) {
        state.SkipWithError("the marquee does not cover the frame");
        return;
    }
    for (auto _ : state) {
        target.fill(Qt::transparent);
        player.display->renderFrame(target, code, 1.0f);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(target.constBits());
    countFrames(state);
}

// A player whose picture is cut into three fold pieces at `rects`, side by side in the composed frame.
struct FoldPlayer {
    explicit FoldPlayer(const QRect (&rects)[3])
    {
        parent.resize(kWidth, kHeight);
        display = new EffectDisplay(&parent);
        ns::Fold fold;
        fold.enabled = true;
        fold.count = 3;
        fold.orientation = ns::ORIENTATION_HORIZONTAL;
        for (const QRect& rect : rects)
            fold.rects.push_back({ rect.x(), rect.y(), rect.width(), rect.height() });
        display->setFoldParaMeters(fold);
        display->showEffect(0, g_picturePath, kEffectTimeMs, kEffectTimeMs);
        for (const QRect& rect : rects)
            pieces += rect;
    }
    // The end frame of code 0 fills the pieces and leaves the rest of the frame alone.
    bool cutsPicture()
    {
        const QImage frame = display->renderFrame(0, 1.0f);
        for (const QRect& piece : pieces) {
            if (qAlpha(frame.pixel(piece.center())) != 255)
                return false;
        }
        const QPoint outside(kWidth - 2, 2);
        return pieces.contains(outside) || qAlpha(frame.pixel(outside)) == 0;
    }

    QWidget parent;
    EffectDisplay* display = nullptr;
    QRegion pieces;
};

// One frame of effect `code` through the fold, as BM_Effect measures it without one.
void BM_Fold(benchmark::State& state, const QRect (&rects)[3], int code)
{
    FoldPlayer player(rects);
    if (!player.cutsPicture()) {
        state.SkipWithError("the fold did not place the picture's pieces");
        return;
    }
    paintFrames(state, *player.display, code);
}

// "BM_Effect_0x10_extendLeft"
std::string effectBenchmarkName(const char* prefix, int code)
{
    char text[80];
    std::snprintf(
        text, sizeof text, "%s_0x%02X_%s", prefix, unsigned(code), qPrintable(EffectDisplay::effectName(code)));
    return text;
}

// Code 0 and every code that code 1 picks from, after the baselines; then the marquee codes and
// the fold.
void registerEffectBenchmarks()
{
    QList<int> codes { 0 };
    codes += EffectDisplay::randomEffectCodes();
    for (int code : codes)
        benchmark::RegisterBenchmark(effectBenchmarkName("BM_Effect", code).c_str(), BM_Effect, code);
    for (int code : kMarqueeCodes)
        benchmark::RegisterBenchmark(effectBenchmarkName("BM_Marquee", code).c_str(), BM_Marquee, code);
    for (int code : kFoldCodes) {
        benchmark::RegisterBenchmark(effectBenchmarkName("BM_FoldApart", code).c_str(),
            [code](benchmark::State& state) { BM_Fold(state, kFoldApart, code); });
        benchmark::RegisterBenchmark(effectBenchmarkName("BM_FoldFull", code).c_str(),
            [code](benchmark::State& state) { BM_Fold(state, kFoldFull, code); });
    }
}

// Opaque pictures of the three ring lengths across the whole frame, written as PNG into `dir`.
bool writeRing(const QTemporaryDir& dir, bool horizontal, QStringList& ring)
{
    for (int length : kMarqueeLengths) {
        const QString path = dir.filePath(QStringLiteral("ring-%1-%2.png").arg(horizontal ? 'h' : 'v').arg(length));
        const QImage picture = horizontal ? makePicture(length, kHeight) : makePicture(kWidth, length);
        if (!picture.save(path))
            return false;
        ring << path;
    }
    return true;
}

} // namespace

// The baseline runs first so that every later line can carry its ratio.
BENCHMARK(BM_DrawPixmap);
BENCHMARK(BM_Memcpy);
BENCHMARK(BM_Clear);
BENCHMARK(BM_NoEffectFrame);
BENCHMARK(BM_NoEffectPaintEvent);

namespace {

// The console output, with a ratio_to_drawPixmap counter on each line and a table of ratios
// to drawPixmap and to memcpy at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    using ConsoleReporter::ConsoleReporter;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<Run> withRatio = runs;
        for (Run& run : withRatio) {
            // With repetitions the median, reported after the single runs, stands for the benchmark
            // in the closing table; the counter goes on single runs only.
            const bool single = run.run_type == Run::RT_Iteration;
            if (run.error_occurred || (!single && run.aggregate_name != "median"))
                continue;
            const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            record(run.run_name.function_name, seconds);
            if (const double baseline = secondsOf(kBaseline); single && baseline > 0)
                run.counters["ratio_to_drawPixmap"] = seconds / baseline;
        }
        ConsoleReporter::ReportRuns(withRatio);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::ostream& out = GetOutputStream();
        out << "\n" << line("Per 1920x1080 frame", "ms", "x drawPixmap", "x memcpy");
        const double baseline = secondsOf(kBaseline);
        bool anyOver = false;
        for (const auto& [name, seconds] : m_seconds) {
            const bool over = baseline > 0 && seconds > kTargetRatio * baseline;
            anyOver = anyOver || over;
            out << line(name, fixed(seconds * 1e3, 3), ratio(seconds, baseline) + (over ? " *" : "  "),
                ratio(seconds, secondsOf(kMemcpy)));
        }
        if (anyOver)
            out << "* more than " << fixed(kTargetRatio, 0) << " times the plain drawPixmap\n";
    }

private:
    void record(const std::string& name, double seconds)
    {
        for (auto& entry : m_seconds) {
            if (entry.first == name) {
                entry.second = seconds;
                return;
            }
        }
        m_seconds.emplace_back(name, seconds);
    }
    static std::string fixed(double value, int decimals)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.*f", decimals, value);
        return text;
    }
    static std::string ratio(double seconds, double reference)
    {
        return reference > 0 ? fixed(seconds / reference, 2) : std::string("-");
    }
    static std::string line(
        const std::string& name, const std::string& ms, const std::string& toBaseline, const std::string& toMemcpy)
    {
        char text[200];
        std::snprintf(
            text, sizeof text, "%-34s%10s%16s%10s\n", name.c_str(), ms.c_str(), toBaseline.c_str(), toMemcpy.c_str());
        return text;
    }
    double secondsOf(const std::string& name) const
    {
        for (const auto& entry : m_seconds) {
            if (entry.first == name)
                return entry.second;
        }
        return 0;
    }

    std::vector<std::pair<std::string, double>> m_seconds;
};

// Another output format asked for on the command line gets the library's own reporter.
bool wantsConsole(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--benchmark_format=", 0) == 0 && arg != "--benchmark_format=console")
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const bool console = wantsConsole(argc, argv);
    benchmark::Initialize(&argc, argv);
    QApplication app(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;

    QTemporaryDir dir;
    g_picturePath = dir.filePath(QStringLiteral("picture.png"));
    if (!dir.isValid() || !makePicture(kWidth, kHeight).save(g_picturePath) || !writeRing(dir, true, g_horizontalRing)
        || !writeRing(dir, false, g_verticalRing)) {
        std::fprintf(stderr, "effectbench: could not write the pictures into %s\n", qPrintable(dir.path()));
        return 1;
    }

    registerEffectBenchmarks();
    if (console) {
        const auto colour = isatty(STDOUT_FILENO) ? RatioReporter::OO_Color : RatioReporter::OO_None;
        RatioReporter reporter(RatioReporter::OutputOptions(RatioReporter::OO_Tabular | colour));
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    return 0;
}
