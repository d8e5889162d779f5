#include "imagehandoff.h"

#include "pngwriter.h"

#include <QFile>
#include <QImageReader>

#include <deque>
#include <mutex>
#include <utility>

namespace imagehandoff {

namespace {

// Each render keeps its first image only, so this bounds what renders nobody shows leave behind.
constexpr std::size_t kKept = 4;

struct Entry {
    QString path;
    QImage image;
    QImage shown;
};

struct Kept {
    std::mutex mutex;
    std::deque<Entry> images;
};

Kept& kept()
{
    static Kept instance;
    return instance;
}

} // namespace

void keep(const QString& path, const QImage& image, const QImage& shown)
{
    Kept& store = kept();
    const std::lock_guard<std::mutex> lock(store.mutex);
    store.images.push_back({ path, image, shown });
    if (store.images.size() > kKept)
        store.images.pop_front();
}

bool take(const QString& path, QImage* image, QImage* shown)
{
    Kept& store = kept();
    const std::lock_guard<std::mutex> lock(store.mutex);
    for (auto it = store.images.begin(); it != store.images.end(); ++it) {
        if (it->path != path)
            continue;
        Entry found = std::move(*it);
        store.images.erase(it);
        // A cleared cache removes the file: then the name shows nothing, as it would from disk.
        if (!QFile::exists(path))
            return false;
        *image = std::move(found.image);
        if (shown)
            *shown = std::move(found.shown);
        return true;
    }
    return false;
}

bool read(const QByteArray& data, QImage* image)
{
    QImage fast = pngwriter::decode(data);
    if (fast.isNull())
        return image->loadFromData(data);
    *image = std::move(fast);
    return true;
}

QSize sizeOf(const QString& path)
{
    const QSize size = QImageReader(path).size();
    return size.isValid() ? size : QSize(0, 0);
}

} // namespace imagehandoff
