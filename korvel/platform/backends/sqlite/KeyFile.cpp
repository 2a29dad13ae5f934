#include <korvel/platform/backends/sqlite/KeyFile.h>
#include <korvel/platform/security/PrivateFiles.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <string>
#include <utility>

namespace korvel::platform {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    int get() const { return number_; }

private:
    int number_;
};

std::filesystem::path beside(std::filesystem::path file, const char* extension) {
    return file.replace_extension(extension);
}

void syncFolder(const std::filesystem::path& folder) {
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.get() >= 0) fsync(opened.get());
}

}  // namespace

KeyFile::KeyFile(std::filesystem::path file, std::chrono::milliseconds patience)
    : file_(std::move(file)), patience_(patience) {}

OSStatus KeyFile::read(std::shared_ptr<const SealingKey>& key) {
    const std::lock_guard lock(mutex_);
    const OSStatus status = load();
    key = key_;
    return status;
}

OSStatus KeyFile::readOrMake(std::shared_ptr<const SealingKey>& key) {
    const std::lock_guard lock(mutex_);
    OSStatus status = load();
    if (status == errSecItemNotFound) {
        if (!makePrivateFolder(file_.parent_path())) return errSecNotAvailable;
        const auto none = std::chrono::milliseconds::zero();
        const FileLock files(beside(file_, ".lock"), waitedInVain_ ? none : patience_);
        waitedInVain_ = !files.held();
        if (waitedInVain_) return errSecNotAvailable;
        status = load();  // another process may have made it meanwhile
        if (status == errSecItemNotFound) status = make() ? load() : errSecNotAvailable;
    }
    key = key_;
    return status;
}

KeyFile::Identity KeyFile::identityOf(const struct stat& file) {
    return {file.st_dev, file.st_ino, file.st_mtim.tv_sec, file.st_mtim.tv_nsec};
}

OSStatus KeyFile::load() {
    struct stat found {};
    if (lstat(file_.c_str(), &found) != 0) {
        key_.reset();
        return errno == ENOENT ? errSecItemNotFound : errSecNotAvailable;
    }
    if (key_ && identityOf(found) == identity_) return errSecSuccess;
    key_.reset();
    // Whatever was put in the key's place is not followed, not waited for and not touched.
    const Descriptor opened(open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (opened.get() < 0 || fstat(opened.get(), &found) != 0 || !S_ISREG(found.st_mode) ||
        (found.st_uid != geteuid() && geteuid() != 0)) {
        return errSecNotAvailable;
    }
    std::array<std::uint8_t, SealingKey::size + 1> bytes{};
    const auto size = ::read(opened.get(), bytes.data(), bytes.size());
    if (size < 0) return errSecIO;
    if (size != SealingKey::size) return errSecItemNotFound;
    if ((found.st_mode & 077) != 0) fchmod(opened.get(), 0600);
    key_ = std::make_shared<SealingKey>(std::span(bytes).first<SealingKey::size>());
    identity_ = identityOf(found);
    return errSecSuccess;
}

bool KeyFile::make() const {
    // Under a name of its own until it is whole: a reader sees all of a key or none.
    const auto unfinished = beside(file_, ".new");
    unlink(unfinished.c_str());  // left behind by a process that was killed here
    const Descriptor opened(
        open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (opened.get() < 0) return false;
    const SealingKey fresh;
    const auto bytes = fresh.bytes();
    if (write(opened.get(), bytes.data(), bytes.size()) != std::ssize(bytes) ||
        fsync(opened.get()) != 0 || rename(unfinished.c_str(), file_.c_str()) != 0) {
        unlink(unfinished.c_str());
        return false;
    }
    syncFolder(file_.parent_path());
    return true;
}

}  // namespace korvel::platform
