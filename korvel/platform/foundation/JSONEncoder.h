#pragma once

#include <korvel/platform/foundation/JSONCoding.h>

namespace korvel::platform {

/// Writes records as JSON: members in declaration order, no blanks, no key for an optional member
/// that holds nothing, "/" as "\/" (the service has always seen it so). Texts that are not UTF-8
/// are repaired with U+FFFD, so this encoder never fails; a device's own may. Any thread.
class KORVEL_API JSONEncoder {
public:
    virtual ~JSONEncoder();

    /// `value` is a record, a record in a `std::shared_ptr`, or a `std::vector` of either. Nothing
    /// on failure, and then `error`, if given, says why.
    template <class T>
    std::optional<Data> encode(const T& value, std::string* error = nullptr) const {
        std::string reason;
        std::optional<Data> body = write(&JSONCoding::writeFrom<T>, &value, reason);
        if (!body && error) *error = std::move(reason);
        return body;
    }

protected:
    virtual std::optional<Data> write(JSONCoding::Writer writer, const void* value,
                                      std::string& error) const;
};

}  // namespace korvel::platform
