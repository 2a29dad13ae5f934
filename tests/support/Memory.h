#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace korvel::tests {

/// Of this process's status, "VmRSS:" now and "VmHWM:" at the most since `forgetPeak`.
inline double megabytes(const std::string& field) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(field)) return std::stod(line.substr(field.size())) / 1024;
    }
    return 0;
}

/// Of this process's "/proc/self/task" its threads, of "/proc/self/fd" its descriptors.
inline std::ptrdiff_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

inline void forgetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

}  // namespace korvel::tests
