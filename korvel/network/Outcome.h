#pragma once

#include <korvel/network/Failure.h>
#include <korvel/platform/foundation/FatalError.h>

#include <functional>
#include <memory>
#include <utility>
#include <variant>

namespace korvel {

/// The value of an operation that has none to give.
struct Done {};

/// What became of an operation: a value, or the reason why there is none.
template <class T> class [[nodiscard]] Outcome {
public:
    Outcome(T value) : result_(std::in_place_index<0>, std::move(value)) {}
    Outcome(Failure failure) : result_(std::in_place_index<1>, std::move(failure)) {}

    bool hasValue() const noexcept { return result_.index() == 0; }
    explicit operator bool() const noexcept { return hasValue(); }

    /// Asking for what is not there is a programming error, and ends the process.
    T& value() { return *required(std::get_if<0>(&result_), "value"); }
    const T& value() const { return *required(std::get_if<0>(&result_), "value"); }
    const Failure& failure() const { return *required(std::get_if<1>(&result_), "failure"); }
    Failure& failure() { return *required(std::get_if<1>(&result_), "failure"); }

    T& operator*() { return value(); }
    const T& operator*() const { return value(); }
    /// The record itself, which is never null: `page->items`.
    auto operator->() { return pointerTo(value()); }
    auto operator->() const { return pointerTo(value()); }

private:
    template <class P> static P* required(P* part, const char* name) {
        if (!part) platform::fatalError(std::string("an outcome without a ") + name);
        return part;
    }
    template <class V> static V* pointerTo(V& value) { return &value; }
    template <class R> static R* pointerTo(std::shared_ptr<R>& record) { return record.get(); }
    template <class R> static R* pointerTo(const std::shared_ptr<R>& record) {
        return record.get();
    }

    std::variant<T, Failure> result_;
};

/// Called at most once, on a background thread unless an operation says otherwise, and destroyed
/// right after, called or not. May be empty.
template <class T> using OutcomeHandler = std::function<void(Outcome<T>)>;

}  // namespace korvel
