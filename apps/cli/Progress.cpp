#include "Progress.h"

#include <array>
#include <chrono>

namespace cli {

namespace {
constexpr auto tick = std::chrono::milliseconds(100);
constexpr int ticksPerSecond = 10;
constexpr std::array spinner{'|', '/', '-', '\\'};
}  // namespace

Progress::Progress(std::shared_ptr<Messages> messages, korvel::platform::MainQueue& queue,
                   std::string what)
    : messages_(std::move(messages)),
      timer_(korvel::platform::Timer::scheduled(
          queue, tick, true, [out = messages_, what = std::move(what), ticks = 0]() mutable {
              if (++ticks < ticksPerSecond) return;
              const auto frame = static_cast<std::size_t>(ticks) % spinner.size();
              out->progress(std::string(1, spinner[frame]) + ' ' + what + ", " +
                            std::to_string(ticks / ticksPerSecond) + " s");
          })) {}

Progress::~Progress() {
    timer_->invalidate();
    messages_->progress("");
}

}  // namespace cli
