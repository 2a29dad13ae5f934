#pragma once

#include <korvel/platform/foundation/MainQueue.h>

#include <functional>
#include <memory>
#include <optional>
#include <thread>

namespace cli {

enum class Key { pause, back, forward, stop };

/// Understands what a terminal sends for keys, byte by byte.
class KeyReader {
public:
    std::optional<Key> take(char byte);

private:
    enum class State { outside, afterEscape, inSequence };
    State state_ = State::outside;
};

/// The keys pressed at the terminal, one by one and without echo. None where standard input is no
/// terminal, or another program's. The terminal is as before when this is gone, and also when a
/// signal ends or stops the process meanwhile. Main thread, and one at a time.
class Keyboard {
public:
    /// `pressed` runs on `queue`, as long as this lives.
    Keyboard(std::shared_ptr<korvel::platform::MainQueue> queue, std::function<void(Key)> pressed);
    ~Keyboard();
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    bool isThere() const { return reader_.joinable(); }

private:
    void read(const std::weak_ptr<std::function<void(Key)>>& pressed) const;

    std::shared_ptr<korvel::platform::MainQueue> queue_;
    std::shared_ptr<std::function<void(Key)>> pressed_;
    int ended_ = -1;  ///< readable when the reader is to end
    std::thread reader_;
};

}  // namespace cli
