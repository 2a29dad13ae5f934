#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace korvel::tests {

/// A folder that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = std::filesystem::temp_directory_path() / "korvel-storage-XXXXXX";
        if (!mkdtemp(name.data())) std::abort();
        path_ = name;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::filesystem::path operator/(const char* name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace korvel::tests
