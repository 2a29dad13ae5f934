#pragma once

#include <korvel/platform/foundation/JSONCoding.h>

namespace korvel::platform {

/// The record, or the list of records, that `body` holds; nothing if it is not valid JSON (RFC
/// 8259, all of it is checked, UTF-8 included), or holds something else. `T` is
/// `std::shared_ptr<Record>`, a value record, or a `std::vector` of either. Any thread.
///
/// A member that is required must be there, not null, and of its type; unknown keys are ignored
/// whatever they hold; of keys given twice the last counts. An integer is any number without
/// fraction within 64 bits, however written: 5, 5.0, 5e0. A byte order mark is skipped. Nesting
/// ends at 1024.
///
/// The bytes are parsed where they are if `body` is handed over with 64 bytes of spare capacity,
/// else copied once. `error`, if given, is filled on failure only.
template <class T> std::optional<T> decodeJSON(Data body, DecodingError* error = nullptr) {
    std::optional<T> result(std::in_place);
    if (!JSONCoding::decode(std::move(body), &JSONCoding::readInto<T>, &*result, error)) {
        result.reset();
    }
    return result;
}

}  // namespace korvel::platform
