#pragma once

#include <chrono>
#include <filesystem>

namespace korvel::platform {

/// Makes `folder` with mode 0700, and those above it, unless it is there. False if that is
/// impossible, or if what is there is not the user's own: others could put in it what they like.
[[nodiscard]] bool makePrivateFolder(const std::filesystem::path& folder);

/// Makes an empty `file` with mode 0600 unless it is there, without ever holding it open: closing a
/// descriptor would drop the locks that this process holds on the file elsewhere. False if that is
/// impossible, or if what is there is no plain file, be it a link to one.
[[nodiscard]] bool makePrivateFile(const std::filesystem::path& file);

/// Exclusive among all threads and processes that lock the same file, from construction to
/// destruction; the system frees it when the process dies.
class FileLock {
public:
    /// Makes the file if needed; follows no link. Waits at most `limit`; `held()` tells whether it
    /// worked.
    FileLock(const std::filesystem::path& file, std::chrono::milliseconds limit);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    bool held() const { return held_; }

private:
    int descriptor_ = -1;
    bool held_ = false;
};

}  // namespace korvel::platform
