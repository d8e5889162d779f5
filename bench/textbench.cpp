// What a text costs to render at 1920x1080: laying out and painting a page apart from writing it
// as PNG, a long marquee band with its time per character and its peak memory, and cutting a long
// run to the width of a line next to the plain head-by-head loop. The process keeps to one core,
// as the render worker does.
#include "benchsupport.h"

#include <playerpath.h>
#include <pngwriter.h>
#include <richtextplay.h>
#include <richtextrecords.h>
#include <spdlogger.h>

#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QFontInfo>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/base_sink.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <malloc.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

namespace {

using benchsupport::resetPeak;
using benchsupport::statusKib;

using Clock = std::chrono::steady_clock;

constexpr int kPageWidth = 1920;
constexpr int kPageHeight = 1080;
constexpr char kFontFamily[] = "DejaVu Sans";
constexpr int kPixelSize = 24;
// QFont::Normal, which the renderer sets for a regular style.
constexpr int kRegularWeight = 50;
constexpr char kWhite[] = "#ffffff";
constexpr char kAmber[] = "#ffbf00";
constexpr char kTransparent[] = "#00000000";
constexpr int kFirstStyle = 1;
constexpr int kSecondStyle = 2;
// The renderer's own setting: zlib's slowest level.
constexpr int kPngQuality = 0;

// Pages are timed up to the last of several full pages, so that the render's setup (copy of the
// content, the page image) is shared out as it is in a real render of many pages.
constexpr int kPagesPerRender = 3;
// A full 1080p page of 24-pixel text holds about 6000 characters; this leaves a spare page.
constexpr int kPageTextLength = (kPagesPerRender + 1) * 8000;
constexpr int kMaxWordsPerRun = 3;
// A dense page takes over a second to write; two renders of three pages are enough for a mean.
constexpr int kWrittenPageIterations = 2;
// A page of a few short lines, as a sign with a title and two lines under it.
constexpr int kSparseLines = 3;
constexpr int kSparseLineLength = 40;
constexpr double kLayoutTargetMs = 30.0;

// Marquee bands: the text lengths, and what linear means.
const int kBandLengths[] = { 25000, 50000, 100000 };
constexpr double kLinearTolerance = 0.2;
constexpr int kChildTimeoutMs = 5 * 60 * 1000;
constexpr char kBandChildFlag[] = "--band-child=";
// Copies of the text a band keeps while it runs: the content's std::string (one byte a unit of
// this ASCII text) and the run as a QString (two).
constexpr double kTextCopyBytesPerChar = 3.0;
constexpr int kBytesPerPixel = 4;

// Cutting a run to a line.
const int kCutLengths[] = { 1000, 10000, 100000 };
// The plain loop lays out the whole run for every head it measures: at 100 000 units one cut
// takes over a second.
const int kNaiveCutLengths[] = { 1000, 10000 };
constexpr double kLineWidth = 1920.0;
// "About flat": a cut of the longest run costs at most this many times one of the shortest.
constexpr double kFlatTolerance = 1.5;

constexpr double kSecondsPerNs = 1e-9;
constexpr double kMsPerSecond = 1e3;
constexpr double kUsPerSecond = 1e6;
constexpr double kBytesPerKib = 1024.0;
constexpr double kCharsPerThousand = 1000.0;
constexpr double kPerMille = 1000.0;
constexpr double kPercent = 100.0;

// What the renderer logs after every page it writes: the seconds the write took, in whole ms.
constexpr char kWriteTimeMarker[] = "saveImage time =======================:";
// Only errors get through while timing, so that logging costs nothing measurable.
constexpr auto kQuietLevel = spdlog::level::err;

double secondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double>(to - from).count();
}

// CPU time of the whole process, so that work Qt might hand to a helper thread is counted too. On
// a shared machine it is the steadier figure: time the core spends on others is not in it.
double processCpuSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * kSecondsPerNs;
}

// Every line of the logger comes here: the write times of saveImage are kept for the page
// benchmarks, errors are shown, the rest is dropped.
class CaptureSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    std::vector<double> takeWriteSeconds()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(m_writeSeconds, {});
    }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        const std::string payload(message.payload.data(), message.payload.size());
        const size_t at = payload.find(kWriteTimeMarker);
        if (at != std::string::npos)
            m_writeSeconds.push_back(std::strtod(payload.c_str() + at + sizeof kWriteTimeMarker - 1, nullptr));
        if (message.level >= spdlog::level::err)
            std::fprintf(stderr, "textbench: %s\n", payload.c_str());
    }
    void flush_() override { }

private:
    std::vector<double> m_writeSeconds;
};

std::shared_ptr<CaptureSink> g_sink;

void captureLogging()
{
    g_sink = std::make_shared<CaptureSink>();
    SpdLogger::setSinks({ g_sink });
    SpdLogger::setLevel(kQuietLevel);
}

// Ordinary words of a notice, mixed by a fixed generator so that every run sees the same text.
const char* const kWords[] = { "Welcome", "to", "the", "main", "hall", "of", "our", "station", "trains", "to",
    "Northfield", "leave", "from", "platform", "12", "at", "10:45", "and", "every", "quarter", "hour", "after",
    "Please", "keep", "your", "luggage", "with", "you", "at", "all", "times", "Tickets", "are", "sold", "on", "level",
    "2", "near", "exit", "B", "Opening", "hours", "Monday", "Friday", "07:00", "-", "21:30", "weekend", "and",
    "holidays", "closed", "Today", "sunny", "intervals", "high", "of", "23", "degrees", "light", "wind", "from", "the",
    "west", "Thank", "you", "for", "travelling", "with", "us" };
constexpr unsigned kTextSeed = 20261123;

std::vector<std::string> makeWords(int length)
{
    std::minstd_rand generator(kTextSeed);
    std::vector<std::string> words;
    int total = 0;
    while (total < length) {
        words.emplace_back(kWords[generator() % std::size(kWords)]);
        words.back() += ' ';
        total += int(words.back().size());
    }
    return words;
}

// Exactly `length` characters of words and spaces.
std::string makeText(int length)
{
    std::string text;
    for (const std::string& word : makeWords(length))
        text += word;
    text.resize(size_t(length));
    return text;
}

// Every character the texts use, to paint once before a memory baseline.
QString allGlyphs()
{
    QString glyphs;
    for (const char* word : kWords)
        glyphs += QString::fromLatin1(word) + QLatin1Char(' ');
    return glyphs;
}

// The font the renderer builds for a regular style of kFontFamily at kPixelSize.
QFont rendererFont()
{
    QFont font;
    font.setStyleHint(QFont::SansSerif, QFont::PreferDefault);
    font.setFamily(QString::fromLatin1(kFontFamily));
    font.setPixelSize(kPixelSize);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0);
    font.setWeight(kRegularWeight);
    font.setStyle(QFont::StyleNormal);
    return font;
}

ns::TextAttribute textAttribute(int id, const char* textColor)
{
    ns::TextAttribute attribute;
    attribute.id = id;
    attribute.style.fontFamilies = { kFontFamily };
    attribute.style.pixelSize = kPixelSize;
    attribute.style.fontStyle = ns::FONT_REGULAR;
    attribute.style.textColor = textColor;
    attribute.style.bkColor = kTransparent;
    return attribute;
}

// Top-aligned, so that saveImage writes the page as it is, without placing it on a new image first.
ns::RichTextContent pageContent(std::vector<std::vector<ns::TextRun>> lines)
{
    ns::RichTextContent content;
    content.displayStyle.type = ns::PAGE_SWITCH;
    content.textAttributes = { textAttribute(kFirstStyle, kWhite), textAttribute(kSecondStyle, kAmber) };
    ns::Paragraph paragraph;
    paragraph.vAlignment = ns::ALIGN_TOP;
    paragraph.hAlignment = ns::ALIGN_LEFT;
    paragraph.lines = std::move(lines);
    content.paragraphs.push_back(std::move(paragraph));
    return content;
}

// One paragraph of one run: every line of every page is cut out of it.
ns::RichTextContent oneRunContent(int length)
{
    return pageContent({ { ns::TextRun { kFirstStyle, makeText(length) } } });
}

// The same words as runs of one to three words in two alternating styles: lines are put together
// from many pieces, and the run that overflows is cut.
ns::RichTextContent manyRunsContent(int length)
{
    std::minstd_rand generator(kTextSeed);
    std::vector<ns::TextRun> line;
    const std::vector<std::string> words = makeWords(length);
    for (size_t i = 0; i < words.size();) {
        ns::TextRun run { line.size() % 2 ? kSecondStyle : kFirstStyle, {} };
        for (int n = 1 + int(generator() % kMaxWordsPerRun); n > 0 && i < words.size(); --n)
            run.text += words[i++];
        line.push_back(std::move(run));
    }
    return pageContent({ std::move(line) });
}

ns::RichTextContent sparseContent()
{
    std::vector<std::vector<ns::TextRun>> lines;
    for (int i = 0; i < kSparseLines; ++i)
        lines.push_back({ ns::TextRun {
            kFirstStyle, makeText(kSparseLineLength * (i + 1)).substr(size_t(kSparseLineLength * i)) } });
    return pageContent(std::move(lines));
}

// A left scroll: the whole text as one run, rendered as one band.
ns::RichTextContent bandContent(int length)
{
    ns::RichTextContent content = pageContent({ { ns::TextRun { kFirstStyle, makeText(length) } } });
    content.displayStyle.type = ns::SCROLL;
    content.displayStyle.scrollAttributes.effecs.moveType = ns::MOVE_LEFT;
    return content;
}

QTemporaryDir* g_dir = nullptr;

QString pagesDir()
{
    return g_dir->filePath(QStringLiteral("pages"));
}

void writeInto(const QString& dir)
{
    PlayerPath::getInstance().setImageCachePath(dir);
    PlayerPath::getInstance().getImageCachePath();
}

// PlayerPath makes its directory once and trusts it from then on: with the directory gone, every
// write of the renderer fails as the file is opened, before any encoding, and the render does
// everything else as usual.
void refuseWrites()
{
    const QString dir = g_dir->filePath(QStringLiteral("refused"));
    writeInto(dir);
    QDir(dir).removeRecursively();
}

struct PageRender {
    // From the call to creatImage to the signal of the last counted page.
    double seconds = 0;
    double cpuSeconds = 0;
    QStringList files;
    // What saveImage logged for each of those pages.
    std::vector<double> loggedWriteSeconds;
};

// Renders `content` with a fresh renderer until `pages` pages are out, and stops it there.
PageRender renderPages(const ns::RichTextContent& content, int pages)
{
    PageRender render;
    RichTextPlay play;
    Clock::time_point end;
    double cpuEnd = 0;
    QObject::connect(&play, &RichTextPlay::ImageValueChanged, [&](const QString& name, bool) {
        render.files << name;
        if (render.files.size() == pages) {
            end = Clock::now();
            cpuEnd = processCpuSeconds();
            play.stop();
        }
    });
    g_sink->takeWriteSeconds();
    const double cpuStart = processCpuSeconds();
    const Clock::time_point start = Clock::now();
    play.creatImage(content, kPageWidth, kPageHeight);
    if (render.files.size() < pages) {
        end = Clock::now();
        cpuEnd = processCpuSeconds();
    }
    render.seconds = secondsBetween(start, end);
    render.cpuSeconds = cpuEnd - cpuStart;
    render.loggedWriteSeconds = g_sink->takeWriteSeconds();
    render.loggedWriteSeconds.resize(std::min(render.loggedWriteSeconds.size(), size_t(pages)));
    return render;
}

void removeFiles(const QStringList& files)
{
    for (const QString& file : files)
        QFile::remove(file);
}

// kPagesPerRender full pages of `content`, written as PNG or with every write refused; the
// iteration's time is that of the whole render up to the last page.
void BM_Page(benchmark::State& state, const ns::RichTextContent* content, bool written)
{
    if (written)
        writeInto(pagesDir());
    else
        refuseWrites();
    // saveImage's log line is the renderer's own timing of each write; nothing else is kept.
    SpdLogger::setLevel(spdlog::level::trace);
    double seconds = 0;
    double cpuSeconds = 0;
    double loggedWrite = 0;
    for (auto _ : state) {
        const PageRender render = renderPages(*content, kPagesPerRender);
        state.SetIterationTime(render.seconds);
        const bool enough = render.files.size() == kPagesPerRender;
        const bool filesAsExpected = std::all_of(render.files.begin(), render.files.end(),
            [written](const QString& file) { return QFileInfo::exists(file) == written; });
        removeFiles(render.files);
        if (!enough || !filesAsExpected) {
            state.SkipWithError(!enough ? "the text did not fill the pages"
                                        : (written ? "a page was not written" : "a refused page was written"));
            break;
        }
        seconds += render.seconds;
        cpuSeconds += render.cpuSeconds;
        for (double write : render.loggedWriteSeconds)
            loggedWrite += write;
    }
    SpdLogger::setLevel(kQuietLevel);
    const double pages = double(state.iterations()) * kPagesPerRender;
    state.counters["page_ms"] = seconds * kMsPerSecond / pages;
    state.counters["page_cpu_ms"] = cpuSeconds * kMsPerSecond / pages;
    if (written)
        state.counters["logged_write_ms"] = loggedWrite * kMsPerSecond / pages;
    state.SetItemsProcessed(int64_t(pages));
}

QImage g_densePage;
QImage g_sparsePage;
QImage g_bandPiece;

// A page the renderer made, read back: the same pixels in the same format as the page it wrote.
QImage renderedPage(const ns::RichTextContent& content)
{
    writeInto(pagesDir());
    const PageRender render = renderPages(content, 1);
    QImage page;
    if (!render.files.isEmpty())
        page = QImage(render.files.first()).convertToFormat(QImage::Format_ARGB32);
    removeFiles(render.files);
    return page;
}

// One page written on its own: by the players' writer, or by QImage::save at quality 0 as the
// renderer wrote it before. The file must read back to the page's pixels.
void BM_PngWrite(benchmark::State& state, const QImage* page, bool qt)
{
    const QString path = g_dir->filePath(QStringLiteral("alone.png"));
    for (auto _ : state) {
        if (!(qt ? page->save(path, "PNG", kPngQuality) : pngwriter::save(*page, path))) {
            state.SkipWithError("the PNG write failed");
            break;
        }
    }
    if (QImage(path).convertToFormat(QImage::Format_ARGB32) != page->convertToFormat(QImage::Format_ARGB32))
        state.SkipWithError("the file does not read back to the page");
    state.counters["file_kib"] = double(QFileInfo(path).size()) / kBytesPerKib;
    // How much of the page is text: share of pixels not fully transparent.
    qint64 inked = 0;
    for (int y = 0; y < page->height(); ++y) {
        const QRgb* row = reinterpret_cast<const QRgb*>(page->constScanLine(y));
        for (int x = 0; x < page->width(); ++x)
            inked += qAlpha(row[x]) != 0;
    }
    state.counters["ink_permille"] = kPerMille * double(inked) / (double(page->width()) * page->height());
    QFile::remove(path);
}

// ---- Marquee bands, each in a child process of its own so that its peak memory is its own.

// Paints every glyph of the text and writes one small PNG, so that the font, its glyph cache,
// the PNG writer and zlib are loaded before the baseline is taken.
void warmUp(const QFont& font, const QString& dir)
{
    const QString glyphs = allGlyphs();
    const QFontMetrics fm(font);
    QImage image(fm.horizontalAdvance(glyphs), fm.height(), QImage::Format_ARGB32);
    image.fill(0);
    {
        QPainter painter(&image);
        painter.setFont(font);
        painter.setPen(QColor(kWhite));
        painter.drawText(0, fm.ascent(), glyphs);
    }
    const QString path = QDir(dir).filePath(QStringLiteral("warm-up.png"));
    image.save(path, "PNG", kPngQuality);
    QFile::remove(path);
}

// Renders a band of `length` characters and prints one line of key=value pairs: its times, and
// the peak resident size during the render next to the size just before it.
int bandChild(int argc, char** argv, int length)
{
    QApplication app(argc, argv);
    captureLogging();
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "textbench: no temporary directory for the band\n");
        return 1;
    }
    writeInto(dir.path());
    const QFont font = rendererFont();
    const QFontMetrics fm(font);
    warmUp(font, dir.path());
    const ns::RichTextContent content = bandContent(length);
    const int bandWidth = fm.horizontalAdvance(QString::fromStdString(content.paragraphs[0].lines[0][0].text));

    // Freed memory that the allocator still holds would be reused unseen by the band; given back
    // first, everything the band touches shows in its peak.
    malloc_trim(0);
    const bool reset = resetPeak();
    const long baseline = statusKib(reset ? "VmRSS" : "VmHWM");
    // Only a count: a list of the names would grow with the band and show in its peak.
    int pieces = 0;
    bool last = false;
    double seconds = 0;
    double cpuSeconds = 0;
    {
        RichTextPlay play;
        QObject::connect(&play, &RichTextPlay::ImageValueChanged, [&](const QString&, bool lastImage) {
            ++pieces;
            last = lastImage;
        });
        const double cpuStart = processCpuSeconds();
        const Clock::time_point start = Clock::now();
        play.creatMarqueeImage(content, kPageWidth, fm.height());
        seconds = secondsBetween(start, Clock::now());
        cpuSeconds = processCpuSeconds() - cpuStart;
    }
    const long peak = statusKib("VmHWM");
    std::printf("length=%d pieces=%d last=%d height=%d band_px=%d reset=%d baseline_kib=%ld peak_kib=%ld "
                "seconds=%.6f cpu_seconds=%.6f\n",
        length, pieces, int(last), fm.height(), bandWidth, int(reset), baseline, peak, seconds, cpuSeconds);
    return 0;
}

using BandResult = std::map<std::string, double>;

std::optional<BandResult> runBandChild(int length, std::string& error)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), { QStringLiteral("%1%2").arg(kBandChildFlag).arg(length) });
    if (!child.waitForFinished(kChildTimeoutMs) || child.exitStatus() != QProcess::NormalExit
        || child.exitCode() != 0) {
        error = "the band child failed";
        return std::nullopt;
    }
    BandResult result;
    const QString output = QString::fromLocal8Bit(child.readAllStandardOutput()).trimmed();
    for (const QString& pair : output.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        result[pair.section(QLatin1Char('='), 0, 0).toStdString()] = pair.section(QLatin1Char('='), 1).toDouble();
    if (result["seconds"] <= 0 || result["pieces"] < 1 || result["last"] != 1) {
        error = "the band child rendered no band: " + output.toStdString();
        return std::nullopt;
    }
    return result;
}

// The band's time in its child, with the child's peak memory over its baseline.
void BM_Band(benchmark::State& state, int length)
{
    BandResult band;
    for (auto _ : state) {
        std::string error;
        std::optional<BandResult> result = runBandChild(length, error);
        if (!result) {
            state.SkipWithError(error.c_str());
            return;
        }
        band = *result;
        state.SetIterationTime(band["seconds"]);
    }
    const double perThousand = kCharsPerThousand / length;
    state.counters["ms_per_1000_chars"] = band["seconds"] * kMsPerSecond * perThousand;
    state.counters["cpu_ms"] = band["cpu_seconds"] * kMsPerSecond;
    state.counters["cpu_ms_per_1000_chars"] = band["cpu_seconds"] * kMsPerSecond * perThousand;
    state.counters["pieces"] = band["pieces"];
    state.counters["peak_kib"] = band["peak_kib"] - band["baseline_kib"];
    state.counters["text_copies_kib"] = kTextCopyBytesPerChar * length / kBytesPerKib;
    state.counters["piece_kib"] = double(kPageWidth) * band["height"] * kBytesPerPixel / kBytesPerKib;
    state.counters["whole_band_kib"] = band["band_px"] * band["height"] * kBytesPerPixel / kBytesPerKib;
    // 0 if the peak could not be set back before the band: then it is the peak of the whole child.
    state.counters["hwm_reset"] = band["reset"];
}

// ---- Cutting a run to a line.

// The plain reference: every head measured in turn, each measure laying out the whole run.
QString naiveCut(const QString& text, const QFont& font, double maxWidth)
{
    const QFontMetrics fm(font);
    if (maxWidth > fm.horizontalAdvance(text))
        return text;
    if (text.size() < 2)
        return QString();
    for (int n = 1; n < text.size(); ++n) {
        if (fm.horizontalAdvance(text, n) > maxWidth)
            return text.left(n - 1);
    }
    return text.left(text.size() - 1);
}

const QString& cutText(int length)
{
    static std::map<int, QString> texts;
    auto it = texts.find(length);
    if (it == texts.end())
        it = texts.emplace(length, QString::fromStdString(makeText(length))).first;
    return it->second;
}

// Once per length, before its first timing: the cut must be the plain loop's.
void checkCut(int length)
{
    static std::set<int> checked;
    if (!checked.insert(length).second)
        return;
    const QFont font = rendererFont();
    const QString cut = RichTextPlay::cutTextToWidth(cutText(length), font, kLineWidth);
    const QString reference = naiveCut(cutText(length), font, kLineWidth);
    if (cut != reference) {
        std::fprintf(stderr, "textbench: cutTextToWidth of %d units gives %d units, the plain loop %d\n", length,
            int(cut.size()), int(reference.size()));
        std::abort();
    }
}

void BM_Cut(benchmark::State& state, int length)
{
    checkCut(length);
    const QFont font = rendererFont();
    const QString& text = cutText(length);
    int units = 0;
    for (auto _ : state) {
        const QString cut = RichTextPlay::cutTextToWidth(text, font, kLineWidth);
        units = int(cut.size());
        benchmark::DoNotOptimize(cut.constData());
    }
    state.counters["head_units"] = units;
}

void BM_CutNaive(benchmark::State& state, int length)
{
    const QFont font = rendererFont();
    const QString& text = cutText(length);
    int units = 0;
    for (auto _ : state) {
        const QString cut = naiveCut(text, font, kLineWidth);
        units = int(cut.size());
        benchmark::DoNotOptimize(cut.constData());
    }
    state.counters["head_units"] = units;
}

ns::RichTextContent g_oneRun;
ns::RichTextContent g_oneRunCentred;
ns::RichTextContent g_manyRuns;

void registerBenchmarks()
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("BM_Page_OneRun_Refused", BM_Page, &g_oneRun, false)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    // Centred, the default of a paragraph: saveImage places every page on a new image before writing.
    RegisterBenchmark("BM_Page_OneRunCentred_Refused", BM_Page, &g_oneRunCentred, false)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    RegisterBenchmark("BM_Page_OneRun_Written", BM_Page, &g_oneRun, true)
        ->UseManualTime()
        ->Iterations(kWrittenPageIterations)
        ->Unit(benchmark::kMillisecond);
    RegisterBenchmark("BM_Page_ManyRuns_Refused", BM_Page, &g_manyRuns, false)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    RegisterBenchmark("BM_Page_ManyRuns_Written", BM_Page, &g_manyRuns, true)
        ->UseManualTime()
        ->Iterations(kWrittenPageIterations)
        ->Unit(benchmark::kMillisecond);
    for (const auto& [name, page] : { std::pair { "Dense", &g_densePage }, std::pair { "Sparse", &g_sparsePage },
             std::pair { "BandPiece", &g_bandPiece } }) {
        RegisterBenchmark((std::string("BM_PngWrite_") + name).c_str(), BM_PngWrite, page, true)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
        RegisterBenchmark((std::string("BM_PngDeflate_") + name).c_str(), BM_PngWrite, page, false)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
    for (int length : kBandLengths) {
        RegisterBenchmark(("BM_Band_" + std::to_string(length)).c_str(), BM_Band, length)
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
    for (int length : kCutLengths)
        RegisterBenchmark(("BM_Cut_" + std::to_string(length)).c_str(), BM_Cut, length)->Unit(benchmark::kMicrosecond);
    for (int length : kNaiveCutLengths) {
        RegisterBenchmark(("BM_CutNaive_" + std::to_string(length)).c_str(), BM_CutNaive, length)
            ->Unit(benchmark::kMicrosecond);
    }
}

// ---- How busy the other cores were: on this kind of virtual machine, work on another core slows
// this one down, CPU time included, so the closing table says how quiet the run was.

struct CoreTimes {
    double busy = 0;
    double total = 0;
};

int g_pinnedCpu = -1;
CoreTimes g_otherCoresAtStart;

// Busy and total ticks of every core but the pinned one, from /proc/stat.
CoreTimes otherCoreTimes()
{
    // user nice system idle iowait irq softirq steal: idle and iowait are the idle ones.
    constexpr int kTickFields = 8;
    constexpr int kIdleField = 3;
    constexpr int kIowaitField = 4;
    CoreTimes times;
    std::ifstream stat("/proc/stat");
    for (std::string name; stat >> name;) {
        std::string rest;
        std::getline(stat, rest);
        if (name.rfind("cpu", 0) != 0 || name == "cpu" || std::atoi(name.c_str() + 3) == g_pinnedCpu)
            continue;
        const char* cursor = rest.c_str();
        for (int field = 0; field < kTickFields; ++field) {
            char* end = nullptr;
            const double ticks = std::strtod(cursor, &end);
            cursor = end;
            times.total += ticks;
            if (field != kIdleField && field != kIowaitField)
                times.busy += ticks;
        }
    }
    return times;
}

// ---- The closing table.

std::string fixed(double value, int decimals)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string shown(const std::optional<double>& value, int decimals)
{
    return value ? fixed(*value, decimals) : "-";
}

// "wall | cpu"
std::string pair(const std::optional<double>& wall, const std::optional<double>& cpu, int decimals)
{
    return shown(wall, decimals) + " | " + shown(cpu, decimals);
}

std::string verdict(const std::optional<bool>& met)
{
    return !met ? "" : (*met ? "met" : "NOT MET");
}

std::optional<double> difference(const std::optional<double>& a, const std::optional<double>& b)
{
    return a && b ? std::optional<double>(*a - *b) : std::nullopt;
}

// The console output, then a table of the figures that matter and whether each target is met.
// Targets are judged on CPU time: on a shared machine the wall time also holds whatever else ran
// on the core, and the process keeps to one core.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    using ConsoleReporter::ConsoleReporter;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            // With repetitions the median, reported after the single runs, stands for the benchmark.
            if (run.error_occurred || (run.run_type != Run::RT_Iteration && run.aggregate_name != "median"))
                continue;
            Figures& figures = m_figures[run.run_name.function_name];
            const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
            figures.seconds = run.GetAdjustedRealTime() / unit;
            figures.cpuSeconds = run.GetAdjustedCPUTime() / unit;
            for (const auto& [name, counter] : run.counters)
                figures.counters[name] = counter.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::ostream& out = GetOutputStream();
        out << "\n"
            << row("Text at 1920x1080, " + std::string(kFontFamily) + " 24 px, one core", "wall | cpu", "target", "");
        pageRows(out, "one run", "OneRun");
        pageRows(out, "many short runs", "ManyRuns");
        out << row("PNG write alone, ms and KiB: Qt quality 0 | libdeflate writer", "", "speed-up", "");
        for (const auto& [label, name] : { std::pair { "  dense page", "Dense" },
                 std::pair { "  sparse page", "Sparse" }, std::pair { "  one band piece", "BandPiece" } }) {
            const std::string qt = std::string("BM_PngWrite_") + name;
            const std::string ours = std::string("BM_PngDeflate_") + name;
            const std::optional<double> qtMs = seconds(qt, kMsPerSecond);
            const std::optional<double> ourMs = seconds(ours, kMsPerSecond);
            const std::string ratio = qtMs && ourMs && *ourMs > 0 ? fixed(*qtMs / *ourMs, 1) + "x" : "-";
            out << row(label,
                pair(qtMs, ourMs, 1) + "  (" + pair(counter(qt, "file_kib"), counter(ours, "file_kib"), 0) + ")",
                ratio + " (target 8x)", "");
        }
        bandRows(out);
        cutRows(out);
        const CoreTimes now = otherCoreTimes();
        const double total = now.total - g_otherCoresAtStart.total;
        if (total > 0) {
            const double busy = kPercent * (now.busy - g_otherCoresAtStart.busy) / total;
            out << row("Other cores busy during the run, %", fixed(busy, 0), "", "");
        }
    }

private:
    struct Figures {
        double seconds = 0;
        double cpuSeconds = 0;
        std::map<std::string, double> counters;
    };

    const Figures* figures(const std::string& name) const
    {
        const auto it = m_figures.find(name);
        return it == m_figures.end() ? nullptr : &it->second;
    }
    std::optional<double> seconds(const std::string& name, double scale) const
    {
        const Figures* found = figures(name);
        return found ? std::optional<double>(found->seconds * scale) : std::nullopt;
    }
    std::optional<double> cpuSeconds(const std::string& name, double scale) const
    {
        const Figures* found = figures(name);
        return found ? std::optional<double>(found->cpuSeconds * scale) : std::nullopt;
    }
    std::optional<double> counter(const std::string& name, const std::string& counterName) const
    {
        const Figures* found = figures(name);
        if (!found)
            return std::nullopt;
        const auto it = found->counters.find(counterName);
        return it == found->counters.end() ? std::nullopt : std::optional<double>(it->second);
    }
    static std::string row(
        const std::string& label, const std::string& figure, const std::string& target, const std::string& verdictText)
    {
        char text[240];
        std::snprintf(text, sizeof text, "%-50s%22s   %-18s%s\n", label.c_str(), figure.c_str(), target.c_str(),
            verdictText.c_str());
        return text;
    }

    void pageRows(std::ostream& out, const std::string& what, const std::string& key) const
    {
        const std::string refused = "BM_Page_" + key + "_Refused";
        const std::string written = "BM_Page_" + key + "_Written";
        const std::optional<double> layout = counter(refused, "page_ms");
        const std::optional<double> layoutCpu = counter(refused, "page_cpu_ms");
        const std::optional<double> page = counter(written, "page_ms");
        const std::optional<double> pageCpu = counter(written, "page_cpu_ms");
        const std::optional<double> write = difference(page, layout);
        const std::optional<double> writeCpu = difference(pageCpu, layoutCpu);
        std::optional<bool> met;
        if (layoutCpu)
            met = *layoutCpu < kLayoutTargetMs;
        out << row("Page, " + what + ", ms/page:", "", "", "");
        out << row("  layout and paint (writes refused)", pair(layout, layoutCpu, 2),
            "< " + fixed(kLayoutTargetMs, 0) + " ms", verdict(met));
        const std::string centred = "BM_Page_" + key + "Centred_Refused";
        if (figures(centred)) {
            out << row("  centred: also placed on a new image",
                pair(counter(centred, "page_ms"), counter(centred, "page_cpu_ms"), 2), "", "");
        }
        out << row("  written page", pair(page, pageCpu, 1), "", "");
        out << row("  PNG write (written - refused)", pair(write, writeCpu, 1), "", "");
        out << row("  PNG write as saveImage logs it", shown(counter(written, "logged_write_ms"), 1), "", "");
        std::optional<double> share;
        if (write && page)
            share = kPercent * *write / *page;
        out << row("  write's share of a written page, %", shown(share, 1), "", "");
    }

    void bandRows(std::ostream& out) const
    {
        out << row("Marquee band, one run of text, 1920 px pieces:", "", "", "");
        std::vector<std::pair<int, double>> cpuTimes;
        std::vector<std::pair<int, double>> peaks;
        std::optional<double> pieceKib;
        for (int length : kBandLengths) {
            const std::string name = "BM_Band_" + std::to_string(length);
            const std::string head = "  " + std::to_string(length) + " chars: ";
            if (const std::optional<double> cpu = counter(name, "cpu_ms"))
                cpuTimes.emplace_back(length, *cpu);
            if (const std::optional<double> peak = counter(name, "peak_kib"))
                peaks.emplace_back(length, *peak);
            if (const std::optional<double> piece = counter(name, "piece_kib"))
                pieceKib = piece;
            out << row(head + "ms", pair(seconds(name, kMsPerSecond), counter(name, "cpu_ms"), 0), "", "");
            out << row(head + "ms per 1000 chars",
                pair(counter(name, "ms_per_1000_chars"), counter(name, "cpu_ms_per_1000_chars"), 1), "", "");
            out << row(head + "peak memory over baseline, KiB", shown(counter(name, "peak_kib"), 0), "", "");
        }
        for (size_t i = 1; i < cpuTimes.size(); ++i) {
            const double lengths = double(cpuTimes[i].first) / cpuTimes[i - 1].first;
            const double ratio = cpuTimes[i].second / cpuTimes[i - 1].second;
            const bool met = std::abs(ratio / lengths - 1.0) <= kLinearTolerance;
            out << row(
                "  cpu time " + std::to_string(cpuTimes[i].first) + " / " + std::to_string(cpuTimes[i - 1].first),
                fixed(ratio, 2), fixed(lengths, 1) + " +-" + fixed(kLinearTolerance * 100, 0) + "%", verdict(met));
        }
        if (peaks.size() >= 2 && pieceKib) {
            // What the peak gains from the shortest band to the longest beyond the text's own copies:
            // anything that grows with the band itself shows here.
            const auto& [shortLength, shortPeak] = peaks.front();
            const auto& [longLength, longPeak] = peaks.back();
            const double growth
                = longPeak - shortPeak - kTextCopyBytesPerChar * (longLength - shortLength) / kBytesPerKib;
            out << row("  peak growth " + std::to_string(shortLength) + " -> " + std::to_string(longLength)
                    + " less text copies, KiB",
                fixed(growth, 0), "< 1 piece, " + fixed(*pieceKib, 0), verdict(growth < *pieceKib));
        }
    }

    void cutRows(std::ostream& out) const
    {
        out << row("Cut a run to 1920 px, us per call:", "", "", "");
        std::vector<double> cpuTimes;
        for (int length : kCutLengths) {
            const std::string cut = "BM_Cut_" + std::to_string(length);
            const std::string naive = "BM_CutNaive_" + std::to_string(length);
            const std::optional<double> cutCpu = cpuSeconds(cut, kUsPerSecond);
            const std::optional<double> naiveCpu = cpuSeconds(naive, kUsPerSecond);
            if (cutCpu)
                cpuTimes.push_back(*cutCpu);
            const std::string head = "  " + std::to_string(length) + " units, ";
            out << row(head + "windowed cut", pair(seconds(cut, kUsPerSecond), cutCpu, 1), "", "");
            if (naiveCpu) {
                out << row(head + "plain loop", pair(seconds(naive, kUsPerSecond), naiveCpu, 0),
                    cutCpu ? "x" + fixed(*naiveCpu / *cutCpu, 0) + " the cut" : "", "");
            }
        }
        if (cpuTimes.size() >= 2) {
            const double ratio = cpuTimes.back() / cpuTimes.front();
            out << row("  cpu time, longest run / shortest run", fixed(ratio, 2), "<= " + fixed(kFlatTolerance, 1),
                verdict(ratio <= kFlatTolerance));
        }
    }

    std::map<std::string, Figures> m_figures;
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

// The first core this process may run on, and from now on only that one: the render worker is one
// thread, and Qt's helpers must not spread the work of a page over the other core.
int keepToOneCore()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return -1;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &allowed)) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(cpu, &one);
            return sched_setaffinity(0, sizeof one, &one) == 0 ? cpu : -1;
        }
    }
    return -1;
}

std::optional<int> bandChildLength(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind(kBandChildFlag, 0) == 0)
            return std::atoi(arg.c_str() + sizeof kBandChildFlag - 1);
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int cpu = keepToOneCore();
    if (const std::optional<int> length = bandChildLength(argc, argv))
        return bandChild(argc, argv, *length);

    const bool console = wantsConsole(argc, argv);
    benchmark::Initialize(&argc, argv);
    QApplication app(argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    captureLogging();

    const QFont font = rendererFont();
    if (QFontInfo(font).family() != QLatin1String(kFontFamily)) {
        std::fprintf(stderr, "textbench: the font \"%s\" is not installed\n", kFontFamily);
        return 1;
    }
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "textbench: no temporary directory\n");
        return 1;
    }
    g_dir = &dir;
    g_oneRun = oneRunContent(kPageTextLength);
    g_oneRunCentred = g_oneRun;
    g_oneRunCentred.paragraphs.front().vAlignment = ns::ALIGN_VCENTER;
    g_manyRuns = manyRunsContent(kPageTextLength);
    g_densePage = renderedPage(g_oneRun);
    g_sparsePage = renderedPage(sparseContent());
    // A band piece is one full line of text; the dense page's first line is one.
    g_bandPiece = g_densePage.copy(0, 0, kPageWidth, QFontMetrics(font).height());
    if (g_densePage.isNull() || g_sparsePage.isNull()) {
        std::fprintf(stderr, "textbench: could not render the pages to write into %s\n", qPrintable(dir.path()));
        return 1;
    }
    benchmark::AddCustomContext("pinned_cpu", cpu < 0 ? "not pinned" : std::to_string(cpu));
    g_pinnedCpu = cpu;
    g_otherCoresAtStart = otherCoreTimes();

    registerBenchmarks();
    if (console) {
        const auto colour = isatty(STDOUT_FILENO) ? SummaryReporter::OO_Color : SummaryReporter::OO_None;
        SummaryReporter reporter(SummaryReporter::OutputOptions(SummaryReporter::OO_Tabular | colour));
        benchmark::RunSpecifiedBenchmarks(&reporter);
    } else {
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    return 0;
}
