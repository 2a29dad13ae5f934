#pragma once

#include <korvel/doubles/VirtualClock.h>

#include <korvel/platform/hls/Presentation.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace korvel::tests {

using namespace doubles;

using namespace std::chrono_literals;

/// A virtual clock with delays that come due when a test moves it.
struct Timers {
    const std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    const std::shared_ptr<platform::MainQueue> queue =
        platform::make<platform::MainQueue>(clock, platform::MainQueue::Driver::manual);

    auto after() const {
        return [queue = queue](platform::Clock::Duration delay, std::function<void()> action) {
            queue->asyncAfter(delay, std::move(action));
        };
    }
    /// Where somebody waits for it.
    void advance(platform::Clock::Duration duration) const {
        if (queue->drain()) clock->advance(*queue, duration);
    }
};

/// A server in memory. Any thread.
class FakeServer final : public platform::StreamLoader {
public:
    struct Answer {
        platform::Data body{};
        int status = 200;
        bool obeysRanges = true;
        std::size_t cutAfter = SIZE_MAX;  ///< bytes, of the first answer alone
        int refusals = 0;                 ///< answers of 404 before
        bool isHeld = false;              ///< until it is cancelled
        std::size_t piece = 16'384;       ///< bytes a read
        std::string redirect{};
    };

    explicit FakeServer(std::shared_ptr<VirtualClock> clock) : clock_(std::move(clock)) {}

    void put(const std::string& address, Answer answer) {
        const std::lock_guard lock(mutex_);
        answers_[address] = std::move(answer);
    }
    void put(const std::string& address, const std::string& text) {
        put(address, Answer{.body = platform::bytesOf(text)});
    }
    void change(const std::string& address, const std::function<void(Answer&)>& how) {
        const std::lock_guard lock(mutex_);
        how(answers_[address]);
    }
    /// What was asked for, ranges behind a blank.
    std::vector<std::string> asked() const {
        const std::lock_guard lock(mutex_);
        return asked_;
    }
    std::size_t count(const std::string& address) const {
        const std::lock_guard lock(mutex_);
        return static_cast<std::size_t>(std::count_if(
            asked_.begin(), asked_.end(),
            [&](const std::string& each) { return each.substr(0, each.find(' ')) == address; }));
    }
    /// Bytes of its bodies that were read.
    std::int64_t given(const std::string& address) const {
        const std::lock_guard lock(mutex_);
        const auto found = given_.find(address);
        return found == given_.end() ? 0 : found->second;
    }
    std::int64_t size(const std::string& address) const {
        const std::lock_guard lock(mutex_);
        return static_cast<std::int64_t>(answers_.at(address).body.size());
    }
    /// Of every line, bits a second on the virtual clock; 0: at once.
    std::atomic<double> speed = 0;

    std::shared_ptr<platform::ResponseStream> open(platform::URLRequest request) override;

private:
    class Stream;
    void gave(const std::string& address, std::size_t size) {
        const std::lock_guard lock(mutex_);
        given_[address] += static_cast<std::int64_t>(size);
    }
    const std::shared_ptr<VirtualClock> clock_;
    mutable std::mutex mutex_;
    std::map<std::string, Answer> answers_;
    std::map<std::string, std::int64_t> given_;
    std::vector<std::string> asked_;
};

class FakeServer::Stream final : public platform::ResponseStream {
public:
    Stream(FakeServer& server, platform::URLRequest request, Answer answer)
        : server_(server), request_(std::move(request)), answer_(std::move(answer)) {}

    std::variant<platform::HTTPURLResponse, platform::NSError> response() override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !answer_.isHeld || cancelled_; });
        if (cancelled_) return lost();
        auto status = answer_.refusals > 0 ? 404 : answer_.status;
        const auto range = request_.value("Range");
        end_ = answer_.body.size();
        if (range && answer_.obeysRanges && status == 200) {
            status = 206;
            const auto dash = range->find('-');
            at_ = std::stoull(range->substr(6));
            if (at_ >= answer_.body.size()) status = 416;
            if (dash + 1 < range->size())
                end_ = std::min<std::size_t>(end_, std::stoull(range->substr(dash + 1)) + 1);
        }
        const auto url = platform::URL::parse(answer_.redirect);
        return platform::HTTPURLResponse{url.value_or(request_.url), status};
    }
    std::optional<std::uint64_t> expectedContentLength() const override {
        return end_ > at_ ? end_ - at_ : 0;
    }
    std::variant<platform::Data, platform::NSError> read() override {
        const std::lock_guard lock(mutex_);
        if (cancelled_ || given_ >= answer_.cutAfter) return lost();
        const auto size =
            std::min({answer_.piece, end_ - std::min(at_, end_), answer_.cutAfter - given_});
        const auto begin = answer_.body.begin() + static_cast<std::ptrdiff_t>(at_);
        const double speed = server_.speed;
        if (speed > 0 && size > 0) {
            server_.clock_->advance(std::chrono::nanoseconds(
                static_cast<std::int64_t>(static_cast<double>(size) * 8e9 / speed)));
        }
        if (size == 0) return platform::Data();
        at_ += size;
        given_ += size;
        server_.gave(request_.url.absoluteString(), size);
        return platform::Data(begin, begin + static_cast<std::ptrdiff_t>(size));
    }
    void cancel() override {
        const std::lock_guard lock(mutex_);
        cancelled_ = true;
        changed_.notify_all();
    }

private:
    static platform::NSError lost() {
        return {platform::urlErrorDomain,
                static_cast<std::int64_t>(platform::URLErrorCode::networkConnectionLost),
                {}};
    }
    FakeServer& server_;
    const platform::URLRequest request_;
    const Answer answer_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::size_t given_ = 0;
    bool cancelled_ = false;
};

inline std::shared_ptr<platform::ResponseStream> FakeServer::open(platform::URLRequest request) {
    const std::lock_guard lock(mutex_);
    const std::string address = request.url.absoluteString();
    const auto range = request.value("Range");
    asked_.push_back(address + (range ? " " + *range : ""));
    const auto found = answers_.find(address);
    Answer answer = found == answers_.end() ? Answer{.status = 404} : found->second;
    if (found != answers_.end()) {
        if (found->second.refusals > 0) --found->second.refusals;
        found->second.cutAfter = SIZE_MAX;
    }
    return std::make_shared<Stream>(*this, std::move(request), std::move(answer));
}

}  // namespace korvel::tests
