#pragma once

// Small measuring helpers shared by the benchmark programs.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace benchsupport {

/// The kB figure of a "Name:  123 kB" line of /proc/self/status, or -1.
inline long statusKib(const char* field)
{
    std::ifstream status("/proc/self/status");
    const std::string head = std::string(field) + ":";
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(head, 0) == 0)
            return std::strtol(line.c_str() + head.size(), nullptr, 10);
    }
    return -1;
}

/// Sets the peak resident size back to the current one (Linux 4.0 and later).
inline bool resetPeak()
{
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return bool(clear);
}

/// The middle value, the upper one of an even count; `values` must not be empty.
inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace benchsupport
