#pragma once

#include <korvel/platform/security/SealedRecords.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <set>

namespace korvel::platform {

/// Who deals with which record: locks on single bytes of one file, which hold against other
/// processes, and a list, which holds against the threads of this one. Lives in a
/// `std::shared_ptr`. Any thread.
class RecordClaims : public std::enable_shared_from_this<RecordClaims> {
public:
    explicit RecordClaims(std::filesystem::path file);
    RecordClaims(const RecordClaims&) = delete;
    RecordClaims& operator=(const RecordClaims&) = delete;
    ~RecordClaims();

    /// Null if somebody has it, or if the file cannot be used. Never waits.
    SealedRecords::Claim claim(SealedRecords::Number number);

private:
    bool lock(SealedRecords::Number number, short kind);
    void giveBack(SealedRecords::Number number);

    const std::filesystem::path file_;
    std::mutex mutex_;
    int descriptor_ = -1;
    std::set<SealedRecords::Number> claimed_;
};

}  // namespace korvel::platform
