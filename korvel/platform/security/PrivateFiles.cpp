#include <korvel/platform/security/PrivateFiles.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>
#include <thread>

namespace korvel::platform {

bool makePrivateFolder(const std::filesystem::path& folder) {
    if (mkdir(folder.c_str(), 0700) == 0) return true;
    std::error_code error;
    if (errno == ENOENT) {
        std::filesystem::create_directories(folder.parent_path(), error);
        if (mkdir(folder.c_str(), 0700) == 0) return true;
    }
    return std::filesystem::is_directory(folder, error);
}

bool makePrivateFile(const std::filesystem::path& file) {
    return mknod(file.c_str(), S_IFREG | 0600, 0) == 0 || errno == EEXIST;
}

FileLock::FileLock(const std::filesystem::path& file, std::chrono::milliseconds limit)
    : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) return;
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        held_ = flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
        if (held_ || (errno != EWOULDBLOCK && errno != EINTR)) return;
        if (std::chrono::steady_clock::now() >= deadline) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

FileLock::~FileLock() {
    if (held_) flock(descriptor_, LOCK_UN);  // a forked child may hold a copy of the descriptor
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace korvel::platform
