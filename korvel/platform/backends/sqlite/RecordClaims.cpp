#include <korvel/platform/backends/sqlite/RecordClaims.h>

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace korvel::platform {

RecordClaims::RecordClaims(std::filesystem::path file) : file_(std::move(file)) {}

RecordClaims::~RecordClaims() {
    if (descriptor_ >= 0) close(descriptor_);
}

SealedRecords::Claim RecordClaims::claim(SealedRecords::Number number) {
    const std::lock_guard guard(mutex_);
    if (descriptor_ < 0) {
        descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                           S_IRUSR | S_IWUSR);
    }
    if (descriptor_ < 0 || claimed_.contains(number) || !lock(number, F_WRLCK)) return nullptr;
    claimed_.insert(number);
    return {this, [self = shared_from_this(), number](void*) { self->giveBack(number); }};
}

void RecordClaims::giveBack(SealedRecords::Number number) {
    const std::lock_guard guard(mutex_);
    claimed_.erase(number);
    lock(number, F_UNLCK);
}

/// Locks of the open file, not of the process: those would end with any other descriptor of it.
bool RecordClaims::lock(SealedRecords::Number number, short kind) {
    struct flock range {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = number;
    range.l_len = 1;
    return fcntl(descriptor_, F_OFD_SETLK, &range) == 0;
}

}  // namespace korvel::platform
