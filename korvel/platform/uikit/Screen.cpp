#include <korvel/platform/uikit/AnimationContext.h>
#include <korvel/platform/uikit/Screen.h>

#include <algorithm>

namespace korvel::platform {

namespace {

Clock::Duration durationOf(double seconds) {
    constexpr double day = 86400;
    if (!(seconds > 0)) return Clock::Duration::zero();
    return std::chrono::duration_cast<Clock::Duration>(
        std::chrono::duration<double>(std::min(seconds, day)));
}

}  // namespace

Screen::Screen(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<const Clock> clock)
    : mainQueue_(std::move(mainQueue)),
      clock_(std::move(clock)),
      textMeasure_(std::make_shared<EstimatedTextMeasure>()),
      device_([this](std::int64_t orientation) {
          tell(&UIViewTreeObserver::orientationChanged, orientation);
      }) {}

Screen::~Screen() = default;

void Screen::addObserver(std::weak_ptr<UIViewTreeObserver> observer) {
    std::erase_if(observers_, [](const auto& one) { return one.expired(); });
    observers_.push_back(std::move(observer));
}

void Screen::setTextMeasure(std::shared_ptr<const TextMeasure> measure) {
    if (measure) textMeasure_ = std::move(measure);
}

void Screen::animate(double seconds, const std::function<void()>& animations,
                     std::function<void()> completion) {
    const AnimationContext context{clock_->now(), durationOf(seconds)};
    const auto* const outer = std::exchange(AnimationContext::current, &context);
    if (animations) animations();
    AnimationContext::current = outer;
    if (completion) mainQueue_->asyncAfter(context.duration, std::move(completion));
}

}  // namespace korvel::platform
