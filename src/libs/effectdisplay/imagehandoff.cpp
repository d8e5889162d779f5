#include "imagehandoff.h"

#include <QFile>

#include <deque>
#include <mutex>
#include <utility>

namespace imagehandoff {

namespace {

// Each render keeps its first image only, so this bounds what renders nobody shows leave behind.
constexpr std::size_t kKept = 4;

struct Kept {
    std::mutex mutex;
    std::deque<std::pair<QString, QImage>> images;
};

Kept& kept()
{
    static Kept instance;
    return instance;
}

} // namespace

void keep(const QString& path, const QImage& image)
{
    Kept& store = kept();
    const std::lock_guard<std::mutex> lock(store.mutex);
    store.images.emplace_back(path, image);
    if (store.images.size() > kKept)
        store.images.pop_front();
}

bool take(const QString& path, QImage* image)
{
    Kept& store = kept();
    const std::lock_guard<std::mutex> lock(store.mutex);
    for (auto it = store.images.begin(); it != store.images.end(); ++it) {
        if (it->first != path)
            continue;
        QImage found = std::move(it->second);
        store.images.erase(it);
        // A cleared cache removes the file: then the name shows nothing, as it would from disk.
        if (!QFile::exists(path))
            return false;
        *image = std::move(found);
        return true;
    }
    return false;
}

} // namespace imagehandoff
