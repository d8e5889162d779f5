// Folded scroll playback on a 1920x120 band cut into three 640x120 rectangles, at level 10 (a frame
// every 16 ms moved 8 px, 62.5 frames a second consumed): how fast the frame maker makes frames,
// on the calling thread and on its worker; what one paintGL costs the GUI thread; and how steadily
// a running player moves over ten seconds. Needs an OpenGL context: run it under
// scripts/with-display.sh when there is no display.
#include "foldgeometry.h"
#include "foldtextplay_p.h"

#include <drawfoldimage.h>
#include <foldtextplay.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 120;
constexpr int kPieces = 3;
constexpr int kIntervalMs = 16; // level 10 of a folded scroll
constexpr int kStep = 8;
constexpr int kGap = 120;
constexpr double kConsumedPerSecond = 1000.0 / kIntervalMs;
constexpr double kRateTarget = 2.0;
constexpr int kTextPx = 72;
constexpr int kLineHeight = 120;
constexpr int kWarmUpFrames = 60;
constexpr int kRounds = 5;
constexpr int kRoundFrames = 200;
constexpr int kWorkerMs = 2000;
constexpr int kPaintWarmUp = 20;
constexpr int kPaints = 300;
// Qt turns a repaint() within a frame (1/60 s) of the last composition into a later update.
constexpr int kRepaintSpacingMs = 20;
constexpr int kDistinctFrames = 64;
constexpr int kSteadyMs = 10000;
constexpr int kSampleMs = 100;
constexpr int kWaitMs = 5000;
constexpr double kNsPerUs = 1e3;
constexpr double kNsPerS = 1e9;
const char* const kLine = "Platform 4 \u00b7 the 10:42 to the airport leaves on time \u00b7 doors close two minutes "
                          "before departure \u00b7 ";

struct Shape {
    const char* name;
    ns::MoveType move;
    ns::EnumOrientation orientation;
    QSize image; // each of the three text images
};

// Side by side the strip is 1920x120; stacked it is 640x360, which only moving up fills.
const Shape kShapes[] = {
    { "side by side, left", ns::MOVE_LEFT, ns::ORIENTATION_HORIZONTAL, { 4000, kHeight } },
    { "side by side, up", ns::MOVE_UP, ns::ORIENTATION_HORIZONTAL, { kWidth, 10 * kLineHeight } },
    { "stacked, up", ns::MOVE_UP, ns::ORIENTATION_VERTICAL, { kWidth / kPieces, 10 * kLineHeight } },
};

ns::Fold foldOf(ns::EnumOrientation orientation)
{
    ns::Fold fold;
    fold.enabled = true;
    fold.count = kPieces;
    fold.orientation = orientation;
    for (int i = 0; i < kPieces; ++i)
        fold.rects.push_back({ i * kWidth / kPieces, 0, kWidth / kPieces, kHeight });
    return fold;
}

// Antialiased text on a transparent background, as a rendered marquee text is: one line along a
// horizontal image, lines of 120 px down a vertical one.
QImage textImage(QSize size, int index)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(kTextPx);
    painter.setFont(font);
    painter.setPen(QColor::fromHsv(index * 110 % 360, 120, 255));
    const QString text = QString::fromUtf8(kLine).repeated(4);
    for (int y = 0; y < size.height(); y += kLineHeight)
        painter.drawText(QRect(-y % 700, y, size.width() + 700, kLineHeight), Qt::AlignVCenter | Qt::AlignLeft, text);
    return image;
}

std::vector<QImage> textImages(const Shape& shape)
{
    std::vector<QImage> images;
    for (int i = 0; i < 3; ++i)
        images.push_back(textImage(shape.image, i));
    return images;
}

// A frame maker set up as FoldTextPlay sets up its own, on a hidden 1920x120 parent.
struct Maker {
    Maker(const Shape& shape, std::vector<QImage> images)
        : parent(std::make_unique<QWidget>())
    {
        parent->resize(kWidth, kHeight);
        maker = new DrawFoldImage(parent.get());
        maker->setSrcRect(parent->rect());
        maker->setFoldParaMeters(foldOf(shape.orientation));
        maker->setMarqueeParaMeters(shape.move, true, kGap);
        maker->setMarqueeSpeed(kIntervalMs, kStep);
        for (QImage& image : images)
            maker->appendImage(image);
        maker->initPlay();
    }

    std::unique_ptr<QWidget> parent;
    DrawFoldImage* maker = nullptr;
};

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t rank = size_t(std::ceil(p * values.size()));
    return values[std::min(values.size() - 1, rank > 0 ? rank - 1 : 0)];
}

// startPlay in a loop, as the worker runs it. The frames are held as the player's list holds them,
// so that each frame paints into a fresh pixmap as it does in playback.
double callingThreadRate(const Shape& shape, const std::vector<QImage>& images)
{
    Maker m(shape, images);
    std::deque<QPixmap> held;
    QObject::connect(
        m.maker, &DrawFoldImage::signalsAppendImage, m.maker,
        [&held](const QPixmap& frame) {
            held.push_back(frame);
            if (held.size() > size_t(foldfill::kMostFrames))
                held.pop_front();
        },
        Qt::DirectConnection);
    for (int i = 0; i < kWarmUpFrames; ++i)
        m.maker->startPlay();
    std::vector<double> rates;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer clock;
        clock.start();
        for (int i = 0; i < kRoundFrames; ++i)
            m.maker->startPlay();
        rates.push_back(kRoundFrames * kNsPerS / clock.nsecsElapsed());
    }
    return percentile(rates, 0.5);
}

// The worker's own loop, unpaced, its frames queued to a counter on the GUI thread.
double workerRate(const Shape& shape, const std::vector<QImage>& images)
{
    Maker m(shape, images);
    long arrived = 0;
    QObject receiver;
    QObject::connect(
        m.maker, &DrawFoldImage::signalsAppendImage, &receiver, [&arrived] { ++arrived; }, Qt::QueuedConnection);
    FoldImageThread worker;
    worker.setDrawFoldImage(m.maker);
    QElapsedTimer clock;
    clock.start();
    worker.start();
    QEventLoop loop;
    QTimer::singleShot(kWorkerMs, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    worker.setStop();
    worker.wait();
    const qint64 ns = clock.nsecsElapsed();
    QCoreApplication::sendPostedEvents(&receiver);
    return arrived * kNsPerS / ns;
}

bool waitExposed(QWidget& widget)
{
    QElapsedTimer clock;
    clock.start();
    while (!(widget.windowHandle() && widget.windowHandle()->isExposed()) && clock.elapsed() < kWaitMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QCoreApplication::processEvents();
    return widget.windowHandle() && widget.windowHandle()->isExposed();
}

struct PaintCost {
    double medianUs = 0;
    double p99Us = 0;
    int framesLeft = 0; // frames held after the run less those before: 0 when each call took one
};

// Each call is preceded, untimed, by one new frame through the player's slot, so the list stays
// above the first fill and each paint uploads a pixmap it has not seen. `spacingMs` of rest, also
// untimed, go before each call.
template <typename Paint>
PaintCost paintCost(FoldTextPlay* play, const std::vector<QPixmap>& frames, int spacingMs, Paint paint)
{
    size_t next = 0;
    const auto feed = [&] {
        QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frames[next++ % frames.size()].copy()));
    };
    for (int i = 0; i < kPaintWarmUp; ++i) {
        feed();
        QThread::msleep(spacingMs);
        paint();
    }
    const int before = play->frameCount();
    std::vector<double> us;
    for (int i = 0; i < kPaints; ++i) {
        feed();
        QThread::msleep(spacingMs);
        QElapsedTimer clock;
        clock.start();
        paint();
        us.push_back(clock.nsecsElapsed() / kNsPerUs);
    }
    return { percentile(us, 0.5), percentile(us, 0.99), play->frameCount() - before };
}

int runPaintCost(const std::vector<QImage>& images)
{
    std::vector<QPixmap> frames;
    {
        Maker m(kShapes[0], images);
        QObject::connect(
            m.maker, &DrawFoldImage::signalsAppendImage, m.maker,
            [&frames](const QPixmap& frame) { frames.push_back(frame); }, Qt::DirectConnection);
        while (frames.size() < size_t(kDistinctFrames))
            m.maker->startPlay();
    }
    QWidget parent;
    parent.resize(kWidth, kHeight);
    auto* play = new FoldTextPlay(&parent);
    parent.show();
    if (!waitExposed(parent)) {
        std::fprintf(stderr, "foldbench: the window was never exposed\n");
        return 1;
    }
    for (int i = 0; i <= foldfill::kFirstFillFrames; ++i)
        QMetaObject::invokeMethod(play, "slotAppendImage", Q_ARG(QPixmap, frames[size_t(i)].copy()));
    QCoreApplication::processEvents();
    const int held = play->frameCount();
    const PaintCost grab = paintCost(play, frames, 0, [play] { play->grabFramebuffer(); });
    const PaintCost repaint = paintCost(play, frames, kRepaintSpacingMs, [play] { play->repaint(); });
    play->stopPlay();
    delete play;

    std::printf("\nGUI cost of one paintGL: a 1920x120 frame, %d+ frames held, %d calls each\n", held, kPaints);
    std::printf("  %-44s %10s %10s %16s\n", "call", "median us", "p99 us", "frames left");
    std::printf("  %-44s %10.0f %10.0f %16d\n", "grabFramebuffer (paintGL, read back)", grab.medianUs, grab.p99Us,
        grab.framesLeft);
    std::printf("  %-44s %10.0f %10.0f %16d\n", "repaint, 20 ms apart (paintGL, compose, flush)", repaint.medianUs,
        repaint.p99Us, repaint.framesLeft);
    std::printf(
        "  frames left 0: each call ran paintGL once and it took one frame; budget %d ms a frame\n", kIntervalMs);
    return 0;
}

// A real player at level 10 under the event loop. Frames consumed = frames arrived - frames held,
// both read on the GUI thread; arrivals are counted on a second queued connection, posted right
// after the player's own for the same frame. A read between the two is one frame off in one window
// and the next window makes it up.
int runSteadiness(const std::vector<QImage>& images)
{
    QWidget parent;
    parent.resize(kWidth, kHeight);
    auto* play = new FoldTextPlay(&parent);
    play->setFoldParaMeters(foldOf(ns::ORIENTATION_HORIZONTAL));
    play->setMarqueeParaMeters(ns::MOVE_LEFT, true, kGap);
    play->setMarqueeSpeed(kIntervalMs, kStep);
    for (const QImage& image : images)
        play->appendPixmap(QPixmap::fromImage(image));
    parent.show();
    if (!waitExposed(parent)) {
        std::fprintf(stderr, "foldbench: the window was never exposed\n");
        return 1;
    }
    long arrived = 0;
    QObject receiver;
    QObject::connect(
        play->drawFoldImage(), &DrawFoldImage::signalsAppendImage, &receiver, [&arrived] { ++arrived; },
        Qt::QueuedConnection);
    const QPointer<DrawFoldImage> maker = play->drawFoldImage();
    const auto consumed = [&] { return arrived - play->frameCount(); };

    QElapsedTimer clock;
    clock.start();
    play->startPlay(QString());
    while (consumed() <= 0 && clock.elapsed() < kWaitMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    const double firstPaintMs = clock.elapsed();
    std::vector<std::pair<qint64, long>> samples { { clock.nsecsElapsed(), consumed() } };
    QTimer sampler;
    sampler.setTimerType(Qt::PreciseTimer);
    QObject::connect(&sampler, &QTimer::timeout, [&] { samples.emplace_back(clock.nsecsElapsed(), consumed()); });
    QEventLoop loop;
    QTimer::singleShot(kSteadyMs + kSampleMs / 2, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    sampler.start(kSampleMs);
    loop.exec();
    sampler.stop();
    play->stopPlay();
    delete play;
    // The worker may still be in a frame; it goes, with its frame maker, once it has finished it.
    clock.restart();
    while (!maker.isNull() && clock.elapsed() < kWaitMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    if (!maker.isNull())
        std::fprintf(stderr, "foldbench: the worker was not reaped within %d ms\n", kWaitMs);

    if (samples.size() < 3 || samples.front().second <= 0) {
        std::fprintf(stderr, "foldbench: the player never painted a frame\n");
        return 1;
    }
    // Whole frames times the step, as the screen sees them: at 16 ms a frame a 100 ms window holds
    // 6 or 7 of them. How long the windows really were is shown beside.
    std::vector<double> pixels;
    std::vector<double> windowMs;
    for (size_t i = 1; i < samples.size(); ++i) {
        pixels.push_back(double(samples[i].second - samples[i - 1].second) * kStep);
        windowMs.push_back((samples[i].first - samples[i - 1].first) / 1e6);
    }
    const double median = percentile(pixels, 0.5);
    const double p1 = percentile(pixels, 0.01);
    const double p99 = percentile(pixels, 0.99);
    const double seconds = (samples.back().first - samples.front().first) / kNsPerS;
    const double fps = (samples.back().second - samples.front().second) / seconds;

    std::printf("\nSteadiness: level 10 (%d ms, %d px), %.1f s from the first paint (%.0f ms after startPlay)\n",
        kIntervalMs, kStep, seconds, firstPaintMs);
    std::printf("  frames consumed %.1f/s (expected %.1f); pixels per %d ms over %zu windows (mean expected %.1f)\n",
        fps, kConsumedPerSecond, kSampleMs, pixels.size(), kConsumedPerSecond * kStep * kSampleMs / 1000.0);
    std::printf("  median %.0f  p1 %.0f  p99 %.0f  min %.0f  max %.0f px; windows %.1f to %.1f ms (p99 %.1f)\n", median,
        p1, p99, percentile(pixels, 0), percentile(pixels, 1), percentile(windowMs, 0), percentile(windowMs, 1),
        percentile(windowMs, 0.99));
    std::printf("  -> p99 %s one step (%d px) of the median; p1 %s\n", p99 - median <= kStep ? "within" : "NOT within",
        kStep, median - p1 <= kStep ? "within one step too" : "more than one step below");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    std::vector<std::vector<QImage>> images;
    for (const Shape& shape : kShapes)
        images.push_back(textImages(shape));

    std::printf("foldbench: folded scroll 1920x120 in three 640x120 rectangles, %d px a frame, gap %d; level 10 "
                "consumes %.1f frames/s\n",
        kStep, kGap, kConsumedPerSecond);
    std::printf("\nFrame maker (three text images per shape): calling thread, median of %d rounds of %d frames;\n"
                "worker unpaced for %d ms, frames counted on the GUI thread\n",
        kRounds, kRoundFrames, kWorkerMs);
    std::printf("  %-20s %-9s %-10s %14s %8s %14s %8s\n", "shape", "strip", "images", "calling fps", "x62.5",
        "worker fps", "x62.5");
    double slowest = 1e9;
    for (size_t s = 0; s < std::size(kShapes); ++s) {
        const Shape& shape = kShapes[s];
        const double direct = callingThreadRate(shape, images[s]);
        const double worker = workerRate(shape, images[s]);
        slowest = std::min({ slowest, direct, worker });
        const QSize strip = composedFoldSize(foldOf(shape.orientation), QSize(kWidth, kHeight));
        std::printf("  %-20s %4dx%-4d %4dx%-5d %14.1f %7.2fx %14.1f %7.2fx\n", shape.name, strip.width(),
            strip.height(), shape.image.width(), shape.image.height(), direct, direct / kConsumedPerSecond, worker,
            worker / kConsumedPerSecond);
    }
    std::printf("  -> slowest %.2fx the consumption: %s (target at least %.0fx)\n", slowest / kConsumedPerSecond,
        slowest / kConsumedPerSecond >= kRateTarget ? "within target" : "UNDER TARGET", kRateTarget);

    if (const int status = runPaintCost(images[0]))
        return status;
    return runSteadiness(images[0]);
}
