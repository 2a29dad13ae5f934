#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <cstdint>

namespace korvel {

/// A range, both ends included. A value.
struct MinMaxType {
    std::int64_t min = 0;
    std::int64_t max = 0;

    bool operator==(const MinMaxType&) const = default;

    using JSON = platform::Members<&MinMaxType::min, &MinMaxType::max>;
};

}  // namespace korvel
