#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <string>

namespace korvel {

/// A choice of a class filter. A value.
struct ValueType {
    std::string text;   ///< for display
    std::string value;  ///< what the filter takes

    bool operator==(const ValueType&) const = default;

    using JSON = platform::Members<&ValueType::text, &ValueType::value>;
};

}  // namespace korvel
