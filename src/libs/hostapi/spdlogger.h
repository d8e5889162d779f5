#pragma once

#include "hostapi_export.h"

#include <spdlog/logger.h>

#include <memory>
#include <vector>

/// The one logger of the players. The host may replace its sinks and level at any time;
/// callers fetch the logger afresh for each line, so a replacement takes effect at once.
class HOSTAPI_EXPORT SpdLogger {
public:
    static std::shared_ptr<spdlog::logger> getSpdLog();
    /// Replaces every sink of the logger (default: one coloured stderr sink).
    static void setSinks(std::vector<spdlog::sink_ptr> sinks);
    static void addSink(spdlog::sink_ptr sink);
    static void removeSink(const spdlog::sink_ptr& sink);
    /// Default level: info.
    static void setLevel(spdlog::level::level_enum level);
};

/// Blocks the calling thread for `ms` milliseconds.
HOSTAPI_EXPORT void sleepMS(int ms);

namespace hostapi {
/// The file name without its directories, at compile time, for log heads.
constexpr const char* baseName(const char* path)
{
    const char* name = path;
    for (const char* c = path; *c; ++c) {
        if (*c == '/' || *c == '\\')
            name = c + 1;
    }
    return name;
}
} // namespace hostapi

/// Logs one line with the "[file:function:line] " head through the players' logger.
/// `level` is a spdlog level name: trace, debug, info, warn, error, critical.
#define PLAYER_LOG(level, fmtText, ...)                                                                                \
    SpdLogger::getSpdLog()->level("[{}:{}:{}] " fmtText, hostapi::baseName(__FILE__), __func__, __LINE__, ##__VA_ARGS__)
