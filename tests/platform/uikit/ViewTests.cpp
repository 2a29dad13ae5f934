#include "platform/uikit/Rig.h"

#include <korvel/platform/uikit/UIActivityIndicatorView.h>
#include <korvel/platform/uikit/UIButton.h>
#include <korvel/platform/uikit/UILabel.h>
#include <korvel/platform/uikit/UISlider.h>

namespace korvel::tests {
namespace {

struct Views : OnScreen {
    std::shared_ptr<UIView> box = add("box", {0, 0, 400, 300});
};

TEST_F(Views, EachChangeIsToldOnceAndNoChangeIsNot) {
    const auto label = add<UILabel>("label", {0, 0, 9, 9}, box);
    const auto slider = add<UISlider>("slider", {0, 0, 124, 44}, box);
    const auto spinner = add<UIActivityIndicatorView>("spinner", {}, box);
    settle();
    observer->take();
    const std::vector<std::pair<std::function<void()>, Names>> changes = {
        {[&] { box->setTransform(CGAffineTransform().scaledBy(2, 2)); }, {"box geometry"}},
        {[&] { box->setAlpha(0.5); }, {"box alpha"}},
        {[&] { box->setHidden(true); }, {"box hidden"}},
        {[&] { box->setBackgroundColor(UIColor::white()); }, {"box content"}},
        {[&] { box->setTintColor(UIColor::white()); }, {"slider content"}},
        {[&] { box->setUserInteractionEnabled(false); }, {"box interaction"}},
        {[&] { label->setText("a"); }, {"label content"}},
        {[&] { spinner->startAnimating(); }, {"spinner content"}},
        {[&] { slider->setMaximumValue(100); }, {}},  // the knob stays where it is
        {[&] { slider->setValue(50); }, {"slider content"}},
        {[&] { box->bringSubviewToFront(label); }, {"box subviews"}},
        {[&] { screen->device().setValue(4, "orientation"); }, {"orientation 4"}},
        {[&] { window->makeKeyAndVisible(); }, {"window window"}},
    };
    for (std::size_t index = 0; index < changes.size(); ++index) {
        const auto& [change, expected] = changes[index];
        change();
        EXPECT_EQ(observer->take(), expected) << index;
        change();
        EXPECT_EQ(observer->take(), Names()) << "the same again, " << index;
    }
    box->layer()->setNeedsDisplay();
    EXPECT_EQ(observer->take(), Names{"box content"});
    box->removeFromSuperview();
    EXPECT_EQ(observer->take(), Names{"window subviews"});
    box->setAlpha(0.1);
    label->setText("unseen");
    EXPECT_EQ(observer->take(), Names());
}

TEST_F(Views, AnimationsChangeTheModelAtOnceAndThePixelsOverTime) {
    box->setAlpha(0);
    observer->take();
    const auto seen = [&] { return box->presentationAlpha(clock->now()); };
    screen->animate(
        1.0, [&] { box->setAlpha(0.6); }, note("done"));
    EXPECT_EQ(observer->take(), Names{"box fades for 1000"});
    EXPECT_EQ(box->alpha(), 0.6);
    EXPECT_EQ(seen(), 0);
    clock->advance(*queue, 500ms);
    EXPECT_DOUBLE_EQ(seen(), 0.3);

    screen->animate(0.5, [&] { box->setAlpha(0); });
    EXPECT_DOUBLE_EQ(seen(), 0.3) << "goes on from what is seen";
    EXPECT_EQ(box->alpha(), 0);
    clock->advance(*queue, 499ms);
    EXPECT_EQ(log, Names());
    clock->advance(*queue, 1ms);
    EXPECT_EQ(seen(), 0);
    EXPECT_EQ(log, Names{"done"});

    screen->animate(1, [&] { box->setAlpha(1); });
    box->removeFromSuperview();
    EXPECT_EQ(seen(), 1) << "nobody watches a view that is away";
}

TEST_F(Views, TheTreeRefusesCircles) {
    const auto leaf = add("leaf", {}, box);
    leaf->addSubview(box);
    box->addSubview(box);
    EXPECT_EQ(box->superview(), window);
    EXPECT_EQ(box->subviews().size() + leaf->subviews().size(), 1u);
}

struct Tinted : UIButton {
    using UIButton::tintOf;
    using UIButton::UIButton;
};

TEST_F(Views, TintIsInheritedByTemplatesAndOwnedByOthers) {
    const auto play = UIImage::named("play", Bundle("b", KORVEL_BUNDLE)).value();
    const auto button = add<Tinted>("button", {0, 0, 200, 100}, box);
    box->setTintColor(UIColor::white());
    std::vector<std::optional<UIColor>> tints;
    using Mode = UIImage::RenderingMode;
    for (const std::optional<UIColor> tint : {std::optional(UIColor::black()), {}}) {
        button->setTintColor(tint);
        for (const auto mode : {Mode::automatic, Mode::alwaysTemplate, Mode::alwaysOriginal}) {
            tints.push_back(button->tintOf(play.withRenderingMode(mode)));
        }
    }
    const auto own = UIColor::black();
    EXPECT_EQ(tints, (std::vector<std::optional<UIColor>>{own, own, std::nullopt, std::nullopt,
                                                          UIColor::white(), std::nullopt}));
}

TEST_F(Views, EverythingGoesInAnyOrder) {
    const std::weak_ptr<UIView> view = box;
    auto child = add<UISlider>("child", {}, box);
    NSLayoutConstraint::activate({child->topAnchor().constraintEqualTo(box->topAnchor())});
    const auto layer = box->layer();
    screen->animate(1, [&] { box->setAlpha(0.2); });
    press({1, 1});
    box.reset();
    window.reset();
    EXPECT_TRUE(view.expired());
    EXPECT_EQ(child->superview(), nullptr);
    EXPECT_EQ(child->window(), nullptr);
    EXPECT_FALSE(child->isTracking());
    child->setValue(1);
    child->layoutIfNeeded();
    layer->setNeedsDisplay();
    EXPECT_EQ(layer->view(), nullptr);
    settle();
}

}  // namespace
}  // namespace korvel::tests
