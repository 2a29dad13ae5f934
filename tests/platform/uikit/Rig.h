#pragma once

#include <korvel/doubles/VirtualClock.h>

#include <gtest/gtest.h>
#include <korvel/platform/uikit/Screen.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace korvel::platform {

inline void PrintTo(const CGRect& rect, std::ostream* out) {
    *out << rect.minX() << "," << rect.minY() << " " << rect.size.width << "x" << rect.size.height;
}

}  // namespace korvel::platform

namespace korvel::tests {

using namespace doubles;

using namespace platform;
using namespace std::chrono_literals;
using Names = std::vector<std::string>;

/// Writes down what it is told; views go by their accessibility labels.
struct FakeObserver final : UIViewTreeObserver {
    Names told;

    Names take() { return std::exchange(told, {}); }
    void tell(const UIView& view, const std::string& what) {
        told.push_back(view.accessibilityLabel() + " " + what);
    }

    void viewChanged(UIView& view, UIViewChange what) override {
        static const char* const names[] = {"geometry", "alpha",       "hidden",
                                            "content",  "interaction", "accessibility"};
        tell(view, names[static_cast<std::size_t>(what)]);
    }
    void subviewsChanged(UIView& view) override { tell(view, "subviews"); }
    void animationBegan(UIView& view, const UIViewAnimation& animation) override {
        tell(view, "fades for " + std::to_string(animation.duration / 1ms));
    }
    void presentationChanged(UIViewController& controller, bool presented, bool animated) override {
        tell(*controller.view(), std::string(presented ? "presented" : "dismissed") +
                                     (animated ? " slowly" : "") +
                                     (controller.view()->window() ? "" : ", gone"));
    }
    void windowChanged(UIWindow& window) override { tell(window, "window"); }
    void orientationChanged(std::int64_t orientation) override {
        told.push_back("orientation " + std::to_string(orientation));
    }
};

/// A window of 400 by 300 points on a clock that a test moves.
struct OnScreen : testing::Test {
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<MainQueue> queue = make<MainQueue>(clock, MainQueue::Driver::manual);
    std::shared_ptr<Screen> screen = std::make_shared<Screen>(queue, clock);
    std::shared_ptr<FakeObserver> observer = std::make_shared<FakeObserver>();
    std::shared_ptr<UIWindow> window = make<UIWindow>(screen, CGRect(0, 0, 400, 300));
    Names log;

    OnScreen() {
        window->setAccessibilityLabel("window");
        screen->addObserver(observer);
    }

    template <class View = UIView>
    std::shared_ptr<View> add(const std::string& name, const CGRect& frame,
                              const std::shared_ptr<UIView>& superview = nullptr) {
        auto view = make<View>(frame);
        view->setAccessibilityLabel(name);
        (superview ? superview : window)->addSubview(view);
        return view;
    }
    std::function<void()> note(std::string line) {
        return [this, line] { log.push_back(line); };
    }
    void settle() { clock->settle(*queue); }

    bool press(CGPoint point) { return window->touchBegan(point, clock->now()); }
    void move(CGPoint point) { window->touchMoved(point, clock->now()); }
    void release(CGPoint point) { window->touchEnded(point, clock->now()); }
    void tap(CGPoint point) {
        press(point);
        release(point);
    }
};

}  // namespace korvel::tests
