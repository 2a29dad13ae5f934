#pragma once

#include <korvel/platform/foundation/Export.h>

namespace korvel::platform {

/// Root of the reference types. Two of them are equal only if they are the same object, so they are
/// never copied; they live in `std::shared_ptr`.
class KORVEL_API Object {
public:
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object();

protected:
    Object() = default;
};

}  // namespace korvel::platform
