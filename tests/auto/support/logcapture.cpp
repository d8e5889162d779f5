#include "logcapture.h"

#include <spdlogger.h>

class LogCapture::Sink : public spdlog::sinks::base_sink<std::mutex> {
public:
    struct Line {
        spdlog::level::level_enum level;
        QString text;
    };

    std::vector<Line> snapshot()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return m_lines;
    }
    void clear()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        m_lines.clear();
    }

protected:
    void sink_it_(const spdlog::details::log_msg& msg) override
    {
        m_lines.push_back({ msg.level, QString::fromUtf8(msg.payload.data(), int(msg.payload.size())) });
    }
    void flush_() override { }

private:
    std::vector<Line> m_lines;
};

LogCapture::LogCapture()
    : m_sink(std::make_shared<Sink>())
    , m_previousSinks(SpdLogger::getSpdLog()->sinks())
    , m_previousLevel(SpdLogger::getSpdLog()->level())
{
    SpdLogger::setSinks({ m_sink });
    SpdLogger::setLevel(spdlog::level::trace);
}

LogCapture::~LogCapture()
{
    SpdLogger::setSinks(m_previousSinks);
    SpdLogger::setLevel(m_previousLevel);
}

QStringList LogCapture::lines() const
{
    QStringList out;
    for (const auto& line : m_sink->snapshot()) {
        const auto name = spdlog::level::to_string_view(line.level);
        out << QString::fromUtf8(name.data(), int(name.size())) + QLatin1Char(' ') + line.text;
    }
    return out;
}

int LogCapture::count(const QString& needle) const
{
    int n = 0;
    for (const auto& line : m_sink->snapshot()) {
        if (line.text.contains(needle))
            ++n;
    }
    return n;
}

void LogCapture::expectError(const QString& needle)
{
    m_expected << needle;
}

QStringList LogCapture::unexpectedErrors() const
{
    QStringList out;
    for (const auto& line : m_sink->snapshot()) {
        if (line.level < spdlog::level::err)
            continue;
        bool expected = false;
        for (const QString& needle : m_expected)
            expected = expected || line.text.contains(needle);
        if (!expected)
            out << line.text;
    }
    return out;
}

void LogCapture::clear()
{
    m_sink->clear();
}
