#pragma once

#include "logcapture.h"

#include <playerpath.h>

#include <QDir>
#include <QTemporaryDir>

/// An empty image cache of its own and a log capture, for one test function of the text suites.
struct CacheScope {
    CacheScope() { PlayerPath::getInstance().setImageCachePath(dir.path()); }
    ~CacheScope() { PlayerPath::getInstance().setImageCachePath(QString()); }
    /// Files in the cache now.
    int fileCount() const { return QDir(dir.path()).entryList(QDir::Files).size(); }

    QTemporaryDir dir;
    LogCapture log;
};
