#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace korvel::platform {

/// Records that an application must not lose, in the order in which they came; on disk nobody but
/// their user can read them.
///
/// Thread safety: any thread, and any number of processes of the same application and user. Each
/// call is atomic and lasts: what it kept is there after the process is killed. None waits longer
/// than a quarter of a second.
class KORVEL_API SealedRecords {
public:
    using Number = std::int64_t;  ///< grows with each record, and is never given twice
    struct Record {
        Number number = 0;
        Data value = {};
    };
    struct Bounds {
        std::size_t records;
        std::size_t bytes;  ///< of the sealed values
    };
    /// A record is dealt with by whoever holds its claim: one at a time, among all threads and
    /// processes. Letting go of it, or dying, gives it back.
    using Claim = std::shared_ptr<void>;
    struct Added {
        Number number = 0;
        Claim claim = {};
        std::vector<Record> crowdedOut = {};  ///< the oldest, gone for the sake of the bounds
    };

    virtual ~SealedRecords();
    /// Nothing, and nothing has changed, if it cannot be kept.
    virtual std::optional<Added> add(const Data& value, Bounds bounds) = 0;
    /// Oldest first; without those whose seal is broken, and empty on any failure.
    virtual std::vector<Record> all() = 0;
    /// Null if somebody holds it, or if the record is gone.
    virtual Claim claim(Number number) = 0;
    /// Whether the record is gone. To be called with its claim.
    virtual bool remove(Number number) = 0;
};

}  // namespace korvel::platform
