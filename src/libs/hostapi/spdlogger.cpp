#include "spdlogger.h"

#include <spdlog/sinks/stdout_color_sinks.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

constexpr const char* kLoggerName = "effectdisplay";

std::shared_ptr<spdlog::logger>& instance()
{
    static std::shared_ptr<spdlog::logger> logger = [] {
        auto created
            = std::make_shared<spdlog::logger>(kLoggerName, std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
        created->set_level(spdlog::level::info);
        return created;
    }();
    return logger;
}

// spdlog's sink list must not change while other threads log through it, so every change
// builds a new logger and swaps it in under this lock; a line being written elsewhere keeps
// the old logger alive through its shared_ptr.
std::mutex& swapMutex()
{
    static std::mutex mutex;
    return mutex;
}

void replaceSinks(std::vector<spdlog::sink_ptr> sinks)
{
    auto& logger = instance();
    auto replacement = std::make_shared<spdlog::logger>(kLoggerName, sinks.begin(), sinks.end());
    replacement->set_level(logger->level());
    logger = std::move(replacement);
}

} // namespace

std::shared_ptr<spdlog::logger> SpdLogger::getSpdLog()
{
    std::lock_guard<std::mutex> lock(swapMutex());
    return instance();
}

void SpdLogger::setSinks(std::vector<spdlog::sink_ptr> sinks)
{
    std::lock_guard<std::mutex> lock(swapMutex());
    replaceSinks(std::move(sinks));
}

void SpdLogger::addSink(spdlog::sink_ptr sink)
{
    std::lock_guard<std::mutex> lock(swapMutex());
    auto sinks = instance()->sinks();
    sinks.push_back(std::move(sink));
    replaceSinks(std::move(sinks));
}

void SpdLogger::removeSink(const spdlog::sink_ptr& sink)
{
    std::lock_guard<std::mutex> lock(swapMutex());
    auto sinks = instance()->sinks();
    sinks.erase(std::remove(sinks.begin(), sinks.end(), sink), sinks.end());
    replaceSinks(std::move(sinks));
}

void SpdLogger::setLevel(spdlog::level::level_enum level)
{
    std::lock_guard<std::mutex> lock(swapMutex());
    instance()->set_level(level);
}

void sleepMS(int ms)
{
    if (ms > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}
