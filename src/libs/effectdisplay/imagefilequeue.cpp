#include "imagefilequeue.h"

#include "imagehandoff.h"
#include "pngwriter.h"

#include <spdlogger.h>

#include <QFile>
#include <QThread>
#include <QThreadPool>

#include <algorithm>

namespace {

// The painting thread keeps one core busy; the writers take the others.
QThreadPool* writerPool()
{
    static QThreadPool* pool = [] {
        auto* created = new QThreadPool;
        created->setMaxThreadCount(std::max(1, QThread::idealThreadCount() - 1));
        return created;
    }();
    return pool;
}

// Files being written plus finished pages waiting for their turn: enough to keep the writers busy
// while the painter runs ahead, few enough that a page costs a bounded amount of memory.
int maxInFlight()
{
    return writerPool()->maxThreadCount() + 1;
}

} // namespace

struct ImageFileQueue::Job {
    QImage image;
    QString path;
    bool last = false;
    bool writes = false;
    QImage shown;
    bool shownReady = true;
    bool written = false;
    bool done = false;
};

ImageFileQueue::ImageFileQueue(const std::atomic<bool>& running, Announce announce, QSize shownSize)
    : m_running(running)
    , m_announce(std::move(announce))
    , m_shownSize(shownSize)
{
}

ImageFileQueue::~ImageFileQueue()
{
    finish();
}

void ImageFileQueue::submit(const QImage& image, const QString& path, bool last)
{
    auto job = std::make_shared<Job>();
    job->image = image;
    job->path = path;
    job->last = last;
    job->writes = true;
    const bool first = !m_firstSubmitted;
    job->shownReady = !(first && m_shownSize.isValid());
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return int(m_pending.size()) < maxInFlight(); });
        m_pending.push_back(job);
        ++m_writing;
    }
    // The pool holds no reference to this queue beyond the job: finish() waits for m_writing.
    writerPool()->start([this, job] { write(job); });
    // The first file is what the screen waits for: painting the next page meanwhile would only
    // take a core from it. This thread makes the display's copy instead, which the display would
    // otherwise make after the file is announced.
    if (first) {
        m_firstSubmitted = true;
        QImage shown;
        if (!job->shownReady)
            shown = image.scaled(m_shownSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        std::unique_lock<std::mutex> lock(m_mutex);
        job->shown = std::move(shown);
        job->shownReady = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&job] { return job->done; });
    }
}

void ImageFileQueue::announce(const QString& name, bool last)
{
    auto job = std::make_shared<Job>();
    job->path = name;
    job->last = last;
    job->done = true;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_pending.push_back(job);
    announceReady(lock);
}

void ImageFileQueue::finish()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_writing == 0 && m_pending.empty() && !m_announcing; });
}

void ImageFileQueue::write(const std::shared_ptr<Job>& job)
{
    bool written = false;
    if (m_running.load()) {
        QString error;
        written = pngwriter::save(job->image, job->path, &error);
        // A file that cannot be written leaves its name without a file, which the display skips.
        if (!written)
            PLAYER_LOG(
                warn, "RichTextPlay: cannot write the image file {}: {}", job->path.toStdString(), error.toStdString());
    }

    std::unique_lock<std::mutex> lock(m_mutex);
    job->written = written;
    if (written && !m_keptFirst) {
        m_keptFirst = true;
        m_changed.wait(lock, [&job] { return job->shownReady; });
        imagehandoff::keep(job->path, job->image, job->shown);
    }
    job->image = QImage();
    job->shown = QImage();
    job->done = true;
    --m_writing;
    announceReady(lock);
}

// One thread announces at a time, so the names go out in order even when two writers finish at
// once; the lock is not held while the receiver runs.
void ImageFileQueue::announceReady(std::unique_lock<std::mutex>& lock)
{
    if (m_announcing) {
        m_changed.notify_all();
        return;
    }
    m_announcing = true;
    while (!m_pending.empty() && m_pending.front()->done) {
        const std::shared_ptr<Job> job = m_pending.front();
        m_pending.pop_front();
        m_changed.notify_all();
        if (!m_running.load()) {
            // Stopped while this file was on its way: nobody would show it or remove it later.
            if (job->written)
                QFile::remove(job->path);
            continue;
        }
        lock.unlock();
        m_announce(job->path, job->last);
        lock.lock();
    }
    m_announcing = false;
    m_changed.notify_all();
}
