#include <korvel/platform/security/PrivateFiles.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>
#include <thread>

namespace korvel::platform {

namespace {

/// Root may use what it was given, such as a volume that belongs to a user.
bool isPrivate(const std::filesystem::path& folder) {
    struct stat found {};
    if (stat(folder.c_str(), &found) != 0 || !S_ISDIR(found.st_mode)) return false;
    const bool ours = found.st_uid == geteuid() || geteuid() == 0;
    return ours && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

bool makePrivateFolder(const std::filesystem::path& folder) {
    if (mkdir(folder.c_str(), 0700) == 0) return true;
    std::error_code error;
    if (errno == ENOENT) {
        std::filesystem::create_directories(folder.parent_path(), error);
        if (mkdir(folder.c_str(), 0700) == 0) return true;
    }
    return isPrivate(folder);
}

bool makePrivateFile(const std::filesystem::path& file) {
    if (mknod(file.c_str(), S_IFREG | 0600, 0) == 0) return true;
    struct stat found {};
    return errno == EEXIST && lstat(file.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

FileLock::FileLock(const std::filesystem::path& file, std::chrono::milliseconds limit)
    : descriptor_(
          open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600)) {
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
