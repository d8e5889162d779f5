#pragma once

/// How the level of a folded scroll's frame list steers its worker and its painting.
namespace foldfill {

constexpr int kMostFrames = 40; // above: the worker stops
constexpr int kFirstFillFrames = 31; // held before the first paint; below it a finished worker restarts
constexpr int kStarvedFrames = 10; // at or below: painting pauses
constexpr int kKeptFrames = 2; // a paint takes a frame only when more are held

/// What one tick of the frame timer does with `held` frames.
struct Tick {
    bool stopWorker = false;
    bool restartWorker = false;
    bool paint = false;
};

inline Tick decide(int held, bool workerRunning, bool workerFinished)
{
    Tick tick;
    tick.stopWorker = held > kMostFrames && workerRunning;
    if (held <= kStarvedFrames)
        return tick;
    tick.restartWorker = held < kFirstFillFrames && workerFinished;
    tick.paint = true;
    return tick;
}

} // namespace foldfill
