#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/Object.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace korvel::platform {

/// An error as a value: which authority speaks (`domain`), what it says (`code`), and details by
/// key. A detail is a text, bytes, or a record; records compare by identity.
struct KORVEL_API NSError {
    using Value = std::variant<std::string, Data, std::shared_ptr<Object>>;
    using UserInfo = std::map<std::string, Value, std::less<>>;

    std::string domain;
    std::int64_t code = 0;
    UserInfo userInfo;

    /// The detail under `key` if there is one of that type, else null. Borrowed from this error.
    const std::string* text(std::string_view key) const;
    const Data* data(std::string_view key) const;
    std::shared_ptr<Object> object(std::string_view key) const;

    /// For logs: domain, code, the names of the details, and those that are texts in full.
    std::string description() const;

    bool operator==(const NSError&) const = default;
};

}  // namespace korvel::platform

namespace korvel {
using platform::NSError;
}  // namespace korvel
