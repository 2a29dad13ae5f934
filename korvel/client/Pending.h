#pragma once

#include <korvel/client/PendingCore.h>
#include <korvel/network/Boxed.h>

#include <coroutine>
#include <utility>

namespace korvel {

/// An operation that was begun, and ends exactly once: with a value, or with a `Failure` when its
/// deadline comes at the latest. Its outcome is taken in one of three ways: waited for by `get`,
/// handed to `then`, or awaited in a coroutine of whatever kind.
///
/// Any thread; one thread at a time. Letting go of it lets go of the outcome: the operation goes
/// on, heard by nobody. `cancel` ends it.
template <class T> class [[nodiscard]] Pending {
public:
    explicit Pending(std::shared_ptr<PendingCore> state) : state_(std::move(state)) {}
    Pending(Pending&&) noexcept = default;
    Pending& operator=(Pending&&) noexcept = default;

    /// Waits. On the thread of the main queue that goes on meanwhile, as in a run loop.
    Outcome<T> get() && {
        state_->wait();
        return unboxed<T>(state_->take());
    }
    /// The same with an earlier deadline, at which the operation is ended.
    Outcome<T> get(platform::Clock::Duration deadline) && {
        state_->endWithin(deadline);
        return std::move(*this).get();
    }

    /// `handler` is called once, on `queue`, or on a background thread if that is null. It must not
    /// throw.
    void then(std::shared_ptr<platform::DispatchQueue> queue, OutcomeHandler<T> handler) && {
        auto& state = *state_;
        state.afterwards(std::move(queue),
                         [state = std::move(state_), handler = std::move(handler)] {
                             handler(unboxed<T>(state->take()));
                         });
    }

    /// A coroutine that awaits this resumes on `queue`; without it, on a background thread.
    Pending on(std::shared_ptr<platform::DispatchQueue> queue) && {
        queue_ = std::move(queue);
        return std::move(*this);
    }
    /// Cancels the operation when the token says so, or at once if it has.
    Pending stoppedBy(const std::stop_token& token) && {
        state_->stopWith(token);
        return std::move(*this);
    }
    /// Ends the operation, its transfer included: the outcome is a failure, `cancelled`, unless
    /// there is one already.
    void cancel() { state_->cancel(); }
    bool isOver() const { return state_->isOver(); }

    /// A coroutine that is destroyed while it waits is not resumed, provided that it is destroyed
    /// where it would have been resumed.
    class Awaiter {
    public:
        Awaiter(std::shared_ptr<PendingCore> state, std::shared_ptr<platform::DispatchQueue> queue)
            : state_(std::move(state)), queue_(std::move(queue)) {}
        Awaiter(const Awaiter&) = delete;
        Awaiter& operator=(const Awaiter&) = delete;
        ~Awaiter() {
            if (waiting_) state_->afterwards(nullptr, nullptr);
        }

        /// Also of what is over the end is told on the queue.
        bool await_ready() const { return false; }
        void await_suspend(std::coroutine_handle<> waiting) {
            waiting_ = std::make_shared<std::coroutine_handle<>>(waiting);
            state_->afterwards(queue_, [weak = std::weak_ptr(waiting_)] {
                if (const auto handle = weak.lock()) handle->resume();
            });
        }
        Outcome<T> await_resume() {
            waiting_ = nullptr;
            return unboxed<T>(state_->take());
        }

    private:
        const std::shared_ptr<PendingCore> state_;
        const std::shared_ptr<platform::DispatchQueue> queue_;
        std::shared_ptr<std::coroutine_handle<>> waiting_;
    };
    Awaiter operator co_await() && { return Awaiter(std::move(state_), std::move(queue_)); }

private:
    std::shared_ptr<PendingCore> state_;
    std::shared_ptr<platform::DispatchQueue> queue_;
};

}  // namespace korvel
