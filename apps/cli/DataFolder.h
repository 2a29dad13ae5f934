#pragma once

#include <filesystem>

namespace cli {

/// The folder in which the device keeps its secrets and events, for one process at a time: starting
/// the SDK deletes the session that another process may be using.
class DataFolder {
public:
    /// Makes the folder. Throws `Failure` if that cannot be.
    explicit DataFolder(const std::filesystem::path& folder);
    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

    /// False while another process has it. Given back when this process ends.
    bool take();

private:
    int lock_;
};

}  // namespace cli
