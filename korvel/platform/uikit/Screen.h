#pragma once

#include <korvel/platform/foundation/MainQueue.h>
#include <korvel/platform/uikit/TextMeasure.h>
#include <korvel/platform/uikit/UIApplication.h>
#include <korvel/platform/uikit/UIDevice.h>

#include <utility>

namespace korvel::platform {

/// All that windows share. It shows nothing itself: a toolkit's mirror observes it. Lives in a
/// `std::shared_ptr`; windows own it. Main queue.
class KORVEL_API Screen final : public Object {
public:
    Screen(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<const Clock> clock);
    ~Screen() override;

    /// The device's.
    static Screen& main();

    MainQueue& mainQueue() const { return *mainQueue_; }
    const Clock& clock() const { return *clock_; }
    UIApplication& application() { return application_; }
    UIDevice& device() { return device_; }

    /// Told until it is gone.
    void addObserver(std::weak_ptr<UIViewTreeObserver> observer);
    /// Labels keep the size that they were given until they change or are laid out again.
    void setTextMeasure(std::shared_ptr<const TextMeasure> measure);
    const TextMeasure& textMeasure() const { return *textMeasure_; }

    /// See `UIView::animate`.
    void animate(double seconds, const std::function<void()>& animations,
                 std::function<void()> completion = {});

    /// For the view tree: calls the observers, if there are any.
    template <class... Parameters, class... Arguments>
    void tell(void (UIViewTreeObserver::*event)(Parameters...), Arguments&&... arguments) {
        for (std::size_t index = 0; index < observers_.size(); ++index) {
            if (const auto observer = observers_[index].lock()) {
                ((*observer).*event)(std::forward<Arguments>(arguments)...);
            }
        }
    }

private:
    std::shared_ptr<MainQueue> mainQueue_;
    std::shared_ptr<const Clock> clock_;
    std::shared_ptr<const TextMeasure> textMeasure_;
    std::vector<std::weak_ptr<UIViewTreeObserver>> observers_;
    UIApplication application_;
    UIDevice device_;
};

}  // namespace korvel::platform
