#pragma once

#include "hostapi_export.h"

#include <QString>

#include <mutex>

/// Where rendered text images are cached. The host may point it anywhere; by default it is
/// "effectdisplay/images" under the user's generic cache location. Thread-safe.
class HOSTAPI_EXPORT PlayerPath {
public:
    static PlayerPath& getInstance();

    /// The cache directory, created on first use; empty if it cannot be created.
    QString getImageCachePath();
    /// Replaces the cache directory; an empty path restores the default.
    void setImageCachePath(const QString& path);
    /// The directory used when the host sets none.
    static QString defaultImageCachePath();

private:
    PlayerPath() = default;
    Q_DISABLE_COPY(PlayerPath)

    std::mutex m_mutex;
    QString m_path;
    bool m_created = false;
};
