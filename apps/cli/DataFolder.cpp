#include "DataFolder.h"

#include "Failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <cerrno>
#include <system_error>

namespace cli {

namespace {
[[noreturn]] void unusable(const std::filesystem::path& folder, const std::error_code& reason) {
    throw Failure(ExitCode::failed,
                  "cannot use the data folder " + folder.string() + ": " + reason.message());
}
}  // namespace

DataFolder::DataFolder(const std::filesystem::path& folder) : lock_(-1) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) unusable(folder, error);
    lock_ = open((folder / "korvel-cli.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0) unusable(folder, {errno, std::generic_category()});
}

DataFolder::~DataFolder() { close(lock_); }

bool DataFolder::take() { return flock(lock_, LOCK_EX | LOCK_NB) == 0; }

}  // namespace cli
