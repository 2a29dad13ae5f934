#pragma once

#include <memory>
#include <utility>

namespace korvel::platform {

/// Base of what hands out pointers to itself, and so lives in a `std::shared_ptr` from its first
/// moment on. Such a class, and what derives from it, is made by `make<T>(...)` and in no other
/// way: on the stack, as a member or by `new` it does not compile, because it stays abstract.
/// `Self` is the class itself.
template <class Self> class SharedObject : public std::enable_shared_from_this<Self> {
public:
    virtual ~SharedObject() = default;

private:
    virtual void isMadeByMake() const = 0;
};

/// What `make` makes.
template <class T> class Made final : public T {
public:
    template <class... Arguments>
    explicit Made(Arguments&&... arguments) : T(std::forward<Arguments>(arguments)...) {}

private:
    void isMadeByMake() const override {}
};

/// A `T`, which derives from `SharedObject`, made with the arguments of its constructor.
template <class T, class... Arguments> std::shared_ptr<T> make(Arguments&&... arguments) {
    return std::make_shared<Made<T>>(std::forward<Arguments>(arguments)...);
}

}  // namespace korvel::platform
