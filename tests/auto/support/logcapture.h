#pragma once

#include <QString>
#include <QStringList>

#include <spdlog/sinks/base_sink.h>

#include <memory>
#include <vector>
#include <mutex>

/// Captures every line of the players' logger while it lives (level trace), in place of the
/// logger's other sinks, so a test can check what was logged. Error-level lines count as unexpected unless declared
/// with expectError; a test checks `unexpectedErrors()` at its end.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Every line, formatted as "<level> <message>".
    QStringList lines() const;
    /// How many lines contain `needle`.
    int count(const QString& needle) const;
    bool contains(const QString& needle) const { return count(needle) > 0; }
    /// Lines of error level or above that contain `needle` are expected from now on.
    void expectError(const QString& needle);
    /// Error-level lines that no expectError covers.
    QStringList unexpectedErrors() const;
    void clear();

private:
    class Sink;
    std::shared_ptr<Sink> m_sink;
    QStringList m_expected;
    std::vector<spdlog::sink_ptr> m_previousSinks;
    spdlog::level::level_enum m_previousLevel;
};
