#pragma once

#include <korvel/network/Outcome.h>

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace korvel {

/// What an operation yields, whatever that is, as one type: a record as it is, a list in a box,
/// nothing as null. What passes outcomes on needs to know no more, and is there once for all.
using Box = std::shared_ptr<void>;
using BoxHandler = OutcomeHandler<Box>;

template <class T> struct Boxed {
    static Box of(T value) {
        if constexpr (std::is_empty_v<T>)
            return nullptr;
        else
            return std::make_shared<T>(std::move(value));
    }
    /// Once.
    static T unboxed(const Box& box) {
        if constexpr (std::is_empty_v<T>)
            return {};
        else
            return std::move(*static_cast<T*>(box.get()));
    }
};
template <class Record> struct Boxed<std::shared_ptr<Record>> {
    static Box of(std::shared_ptr<Record> record) { return record; }
    static std::shared_ptr<Record> unboxed(const Box& box) {
        return std::static_pointer_cast<Record>(box);
    }
};

template <class T> Outcome<T> unboxed(Outcome<Box> outcome) {
    if (!outcome) return std::move(outcome.failure());
    return Boxed<T>::unboxed(*outcome);
}

/// The handler of an operation that yields a `T`, as what carries it: made of a function that takes
/// the outcome, or of one that takes the box. As `OutcomeHandler` in all else.
template <class T> class Handler {
public:
    Handler() = default;
    Handler(std::nullptr_t) {}
    Handler(BoxHandler boxed) : boxed_(std::move(boxed)) {}
    template <std::invocable<Outcome<T>> Function>
    requires(!std::same_as<std::remove_cvref_t<Function>, Handler>) Handler(Function function)
        : boxed_([function = std::move(function)](Outcome<Box> outcome) {
              function(unboxed<T>(std::move(outcome)));
          }) {}

    /// Tells of an outcome, if anybody wants to hear it.
    void operator()(Outcome<T> outcome) const {
        if (!boxed_) return;
        if (!outcome) return boxed_(std::move(outcome.failure()));
        boxed_(Boxed<T>::of(std::move(*outcome)));
    }
    const BoxHandler& boxed() const& { return boxed_; }
    BoxHandler&& boxed() && { return std::move(boxed_); }

private:
    BoxHandler boxed_;
};

}  // namespace korvel
