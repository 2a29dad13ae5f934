#include "platform/uikit/Rig.h"

#include <korvel/platform/uikit/UIButton.h>
#include <korvel/platform/uikit/UISlider.h>
#include <korvel/platform/uikit/UITapGestureRecognizer.h>

#include <limits>

namespace korvel::tests {
namespace {

/// A button of 100 by 100 points and, below it, a slider whose knob runs 400 points.
struct Controls : OnScreen {
    std::shared_ptr<UIView> root = add("root", {0, 0, 400, 300});
    std::shared_ptr<UIButton> button = add<UIButton>("button", {100, 50, 100, 100}, root);
    std::shared_ptr<UISlider> slider = add<UISlider>("slider", {-12, 200, 424, 44}, root);
    std::shared_ptr<int> target = std::make_shared<int>();

    Controls() {
        slider->setMaximumValue(400);
        root->addGestureRecognizer(platform::make<UITapGestureRecognizer>(
            target, [this](UITapGestureRecognizer&) { log.push_back("tap"); }));
        noteEvents(*button);
        noteEvents(*slider);
    }
    void noteEvents(UIControl& control) {
        using enum UIControlEvents;
        for (const auto& [event, name] : {std::pair{touchDown, " down"},
                                          {touchUpInside, " up"},
                                          {touchUpOutside, " out"},
                                          {touchCancel, " cancel"},
                                          {valueChanged, " value"}}) {
            control.addTarget(target, note(control.accessibilityLabel() + name), event);
        }
    }
    Names take() { return std::exchange(log, {}); }
};

TEST_F(Controls, ATouchGoesToTheFrontmostViewThatTakesIt) {
    const auto cover = add("cover", {100, 50, 100, 100}, root);
    const auto hit = [&] { return window->hitTest({150, 100}); };
    EXPECT_EQ(hit(), cover);
    cover->setHidden(true);
    EXPECT_EQ(hit(), button);
    cover->setHidden(false);
    cover->setAlpha(0);
    EXPECT_EQ(hit(), button);
    cover->setAlpha(0.01);
    cover->setUserInteractionEnabled(false);
    EXPECT_EQ(hit(), button);
    root->setUserInteractionEnabled(false);
    EXPECT_EQ(hit(), window) << "what disables a view disables all within";
    EXPECT_FALSE(press({150, 100})) << "the window itself leaves it to whoever is behind";
    root->setUserInteractionEnabled(true);
    EXPECT_EQ(window->hitTest({200, 100}), root) << "the right edge lies outside";
}

TEST_F(Controls, ASmallControlIsHitBesideItUnlessAnotherOrWhatLiesOverItIs) {
    const auto small = add<UIButton>("small", {300, 100, 20, 20}, root);    // 286 to 334, 86 to 134
    const auto beside = add<UIButton>("beside", {322, 100, 20, 20}, root);  // in front of it
    const auto cover = add("cover", {280, 125, 30, 30}, root);
    slider->setFrame({20, 200, 360, 44});
    const std::pair<platform::CGPoint, std::shared_ptr<UIView>> hits[] = {
        {{286, 86}, small},   {{285, 100}, root},   {{319, 110}, small}, {{321, 110}, beside},
        {{290, 130}, cover},  {{150, 49}, root},    {{8, 222}, slider},  {{7, 222}, root},
        {{391, 222}, slider}, {{200, 245}, slider}, {{200, 246}, root},  {{200, 198}, slider},
    };
    for (const auto& [point, wanted] : hits) {
        EXPECT_EQ(window->hitTest(point), wanted) << point.x << ' ' << point.y;
    }
    press({9, 222});
    move({49, 222});
    EXPECT_NEAR(slider->value(), 40 * 400 / 336., 0.1)
        << "taken beside its knob, which is held there";
}

TEST_F(Controls, AButtonFiresWhereItIsReleasedInside) {
    press({150, 100});
    EXPECT_EQ(button->state(), UIControlState::highlighted);
    move({390, 290});
    EXPECT_EQ(button->state(), UIControlState::normal);
    release({390, 290});
    EXPECT_EQ(take(), (Names{"button down", "button out"}));

    press({150, 100});
    release({215, 100});  // a finger strays
    EXPECT_EQ(take(), (Names{"button down", "button up"}));

    press({150, 100});
    window->touchCancelled();
    release({150, 100});
    EXPECT_EQ(take(), (Names{"button down", "button cancel"}));

    button->setEnabled(false);
    tap({150, 100});
    EXPECT_EQ(take(), Names()) << "a disabled control takes the touch and does nothing";

    button->setEnabled(true);
    target.reset();
    tap({150, 100});
    EXPECT_EQ(take(), Names()) << "nobody is left to be told";
}

TEST_F(Controls, ATapOnTheBackgroundIsNoTapOnAControl) {
    tap({20, 20});
    EXPECT_EQ(take(), Names{"tap"});
    slider->setUserInteractionEnabled(false);
    tap({200, 222});
    EXPECT_EQ(take(), Names{"tap"}) << "falls through to the background";
    press({20, 20});
    move({60, 20});
    release({20, 20});
    EXPECT_EQ(take(), Names()) << "a drag";
    press({20, 20});
    clock->advance(2s);
    release({20, 20});
    EXPECT_EQ(take(), Names()) << "a long press";
}

TEST_F(Controls, ATouchBesideTheKnobBringsItThereAndValuesStayWithinTheirLimits) {
    press({5, 222});
    EXPECT_EQ(take(), Names{"slider down"}) << "a knob that is only touched stays";
    release({5, 222});
    take();
    press({100, 222});
    move({9000, 100});  // up and down does not count
    EXPECT_FLOAT_EQ(slider->value(), 400);
    move({100, 290});
    window->touchCancelled();
    EXPECT_FLOAT_EQ(slider->value(), 100);
    EXPECT_EQ(take(), (Names{"slider down", "slider value", "slider value", "slider value",
                             "slider cancel"}));
    slider->setValue(1000);
    EXPECT_EQ(slider->value(), 400);
    slider->setMaximumValue(50);
    EXPECT_EQ(slider->value(), 50);
    slider->setValue(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(slider->value(), 50);
    EXPECT_EQ(take(), Names()) << "only the user sends events";
}

TEST_F(Controls, ATouchOnAViewThatLeavesIsCancelled) {
    const auto inner = add<UIButton>("inner", {0, 0, 10, 10}, add("outer", {0, 0, 50, 50}, root));
    inner->addTarget(target, note("cancel"), UIControlEvents::touchCancel);
    press({5, 5});
    inner->superview()->removeFromSuperview();
    EXPECT_EQ(take(), Names{"cancel"});
    EXPECT_FALSE(inner->isTracking());
    release({5, 5});

    button->addTarget(
        target, [&] { button->removeFromSuperview(); }, UIControlEvents::touchDown);
    press({150, 100});
    EXPECT_EQ(take(), (Names{"button down", "button cancel"}));
    EXPECT_FALSE(button->isTracking());
    move({150, 101});
    release({150, 100});

    press({5, 222});
    root.reset();
    window.reset();
    EXPECT_EQ(take(), (Names{"slider down", "slider cancel"}));
}

TEST_F(Controls, ActionsMayDestroyWhatSentThem) {
    const std::weak_ptr<UIButton> gone = button;
    button->addTarget(
        target, [&] { root->removeFromSuperview(), root.reset(), button.reset(), target.reset(); },
        UIControlEvents::touchUpInside);
    button->addTarget(target, note("nobody's"), UIControlEvents::touchUpInside);
    tap({150, 100});
    EXPECT_EQ(take(), (Names{"button down", "button up"}));
    EXPECT_TRUE(gone.expired());
}

}  // namespace
}  // namespace korvel::tests
