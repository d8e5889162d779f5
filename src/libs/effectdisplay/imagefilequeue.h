#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

/// Writes a renderer's image files on a small pool shared by all renderers while the renderer
/// paints on, and announces each name as soon as its file is complete, in the order the names
/// were handed in. The renderer's thread submits; announcements come from whichever thread
/// completes a file, one at a time.
class ImageFileQueue {
public:
    using Announce = std::function<void(const QString& name, bool last)>;

    /// `running` is the renderer's flag: once it is cleared, files not yet written are not
    /// written, and files that complete are removed instead of announced. A valid `shownSize` is
    /// the size the page display scales a page to: the first image is handed to the display in
    /// that size as well.
    ImageFileQueue(const std::atomic<bool>& running, Announce announce, QSize shownSize = QSize());
    ~ImageFileQueue();

    /// Writes `image` to `path` and announces `path`. Blocks while enough files are in flight,
    /// so a long band holds a bounded number of pieces in memory.
    void submit(const QImage& image, const QString& path, bool last);
    /// Announces `name` in its turn without writing anything (a name with no file behind it).
    void announce(const QString& name, bool last);
    /// Returns once every file submitted so far is written or dropped and announced.
    void finish();

private:
    struct Job;
    void enqueue(const std::shared_ptr<Job>& job);
    void write(const std::shared_ptr<Job>& job);
    void announceReady(std::unique_lock<std::mutex>& lock);

    const std::atomic<bool>& m_running;
    Announce m_announce;
    QSize m_shownSize;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::shared_ptr<Job>> m_pending; // in announcement order
    int m_writing = 0;
    bool m_announcing = false;
    bool m_keptFirst = false;
    bool m_firstSubmitted = false; // touched by the submitting thread only
};
