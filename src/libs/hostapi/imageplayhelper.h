#pragma once

#include "hostapi_export.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <mutex>

/// Per-task table of rendered image files, keyed by task id. Thread-safe.
class HOSTAPI_EXPORT ImagePlayHelper {
public:
    static ImagePlayHelper& getInstance();

    /// True when the task's images must be rendered; a task never seen reads true.
    bool getFirstPlayFlag(const QString& taskId) const;
    void setFirstPlayFlag(const QString& taskId, bool firstPlay);
    /// Adds a file name at the end of the task's list.
    void appendImageName(const QString& taskId, const QString& imageName);
    /// The task's file names in append order.
    QStringList getImageName(const QString& taskId) const;
    /// Empties the task's list; its flag reads true afterwards.
    void clearTaskImageCache(const QString& taskId);

private:
    ImagePlayHelper() = default;
    Q_DISABLE_COPY(ImagePlayHelper)

    struct Entry {
        bool firstPlay = true;
        QStringList names;
    };
    mutable std::mutex m_mutex;
    QHash<QString, Entry> m_tasks;
};
