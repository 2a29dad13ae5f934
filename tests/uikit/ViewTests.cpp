#include "uikit/Rig.h"

#include <korvel/platform/uikit/Canvas.h>
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
        {[&] {
             box->setFrame({1, 0, 400, 300});
         },
         {"box geometry"}},
        {[&] { box->setClipsToBounds(true); }, {"box geometry"}},
        {[&] { box->setTransform(CGAffineTransform().scaledBy(2, 2)); }, {"box geometry"}},
        {[&] { box->setAlpha(0.5); }, {"box alpha"}},
        {[&] { box->setHidden(true); }, {"box hidden"}},
        {[&] { box->setBackgroundColor(UIColor::white()); }, {"box content"}},
        {[&] { box->setTintColor(UIColor::white()); }, {"slider content"}},
        {[&] { box->setUserInteractionEnabled(false); }, {"box interaction"}},
        {[&] { label->setText("a"); }, {"label content"}},
        {[&] { label->setFont(UIFont::boldSystemFont(28)); }, {"label content"}},
        {[&] { label->setTextColor(UIColor::white()); }, {"label content"}},
        {[&] { label->setTextAlignment(NSTextAlignment::center); }, {"label content"}},
        {[&] { spinner->startAnimating(); }, {"spinner content"}},
        {[&] { slider->setMaximumValue(100); }, {}},  // the knob stays where it is
        {[&] { slider->setValue(50); }, {"slider content"}},
        {[&] { slider->setThumbTintColor(UIColor::black()); }, {"slider content"}},
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
    EXPECT_EQ(box->layer()->view(), box);

    box->removeFromSuperview();
    EXPECT_EQ(observer->take(), Names{"window subviews"});
    box->setAlpha(0.1);
    label->setText("unseen");
    EXPECT_EQ(observer->take(), Names());
    window->addSubview(box);
    EXPECT_EQ(observer->take(), Names{"window subviews"});

    observer.reset();
    box->setAlpha(1);  // nobody to tell
}

TEST_F(Views, AKnobIsToldOnlyWhenItMovesVisibly) {
    const auto slider = add<UISlider>("slider", {0, 0, 624, 44}, box);
    slider->setMaximumValue(1800);
    observer->take();
    for (int report = 0; report < 1500; ++report) {  // ten seconds of playback
        slider->setValue(static_cast<float>(report) / 150);
    }
    EXPECT_EQ(observer->take().size(), 13u) << "of 3.3 points";
    EXPECT_FLOAT_EQ(slider->value(), 1499.0F / 150);
}

TEST_F(Views, AnimationsChangeTheModelAtOnceAndThePixelsOverTime) {
    box->setAlpha(0);
    settle();
    observer->take();
    const auto seen = [&] { return box->presentationAlpha(clock->now()); };
    screen->animate(
        1.0,
        [&] {
            box->setAlpha(0.6);
            box->setHidden(false);  // as it is
        },
        note("done"));
    EXPECT_EQ(observer->take(), Names{"box fades for 1000"});
    EXPECT_EQ(box->alpha(), 0.6);
    EXPECT_EQ(seen(), 0);
    clock->advance(*queue, 100ms);
    EXPECT_LT(seen(), 0.06) << "slow at first";
    clock->advance(*queue, 400ms);
    EXPECT_DOUBLE_EQ(seen(), 0.3);

    screen->animate(0.5, [&] { box->setAlpha(0); });
    EXPECT_DOUBLE_EQ(seen(), 0.3) << "goes on from what is seen";
    EXPECT_EQ(box->alpha(), 0);
    clock->advance(*queue, 499ms);
    EXPECT_EQ(log, Names());
    clock->advance(*queue, 1ms);
    EXPECT_EQ(seen(), 0);
    EXPECT_EQ(log, Names{"done"});

    observer->take();
    screen->animate(
        0, [&] { box->setAlpha(0.5); }, note("at the next turn"));
    EXPECT_EQ(observer->take(), Names{"box alpha"});
    EXPECT_EQ(seen(), 0.5);
    EXPECT_EQ(log.size(), 1u);
    settle();
    EXPECT_EQ(log.back(), "at the next turn");

    screen->animate(1, [&] { box->setAlpha(1); });
    box->removeFromSuperview();
    EXPECT_EQ(seen(), 1) << "nobody watches a view that is away";
}

TEST_F(Views, TheTreeRefusesCirclesAndMovesViewsWhole) {
    const auto inner = add("inner", {}, box);
    const auto leaf = add("leaf", {}, inner);
    leaf->addSubview(box);
    box->addSubview(box);
    box->addSubview(nullptr);
    EXPECT_EQ(leaf->subviews().size() + box->subviews().size(), 1u);
    window->addSubview(inner);
    EXPECT_EQ(inner->superview(), window);
    EXPECT_EQ(leaf->window(), window);
    EXPECT_TRUE(box->subviews().empty());
    window->addSubview(box);
    EXPECT_EQ(window->subviews().back(), box) << "again: to the front";
}

TEST_F(Views, TintIsInheritedByTemplatesAndOwnedByOthers) {
    struct Painter final : Canvas {
        std::vector<std::optional<UIColor>> tints;
        std::vector<CGRect> places;
        void fill(const CGRect&, double, const UIColor&) override {}
        void image(const UIImage&, const CGRect& rect, const std::optional<UIColor>& tint,
                   double) override {
            tints.push_back(tint);
            places.push_back(rect);
        }
        void text(const std::string&, const UIFont&, const UIColor&, const CGRect&,
                  NSTextAlignment) override {}
        void arc(const CGRect&, double, double, double, const UIColor&) override {}
    } painter;
    const auto play = UIImage::named("play", Bundle("b", KORVEL_BUNDLE)).value();
    const auto button = add<UIButton>("button", {0, 0, 200, 100}, box);
    const auto own = UIColor::parse("#ff8000").value();
    using Mode = UIImage::RenderingMode;
    const auto tintsOf = [&](std::optional<UIColor> tint) {
        button->setTintColor(tint);
        painter.tints.clear();
        for (const auto mode : {Mode::automatic, Mode::alwaysTemplate, Mode::alwaysOriginal}) {
            button->setBackgroundImage(play.withRenderingMode(mode), UIControlState::normal);
            button->draw(painter);
        }
        return painter.tints;
    };
    box->setTintColor(UIColor::white());
    using Tints = std::vector<std::optional<UIColor>>;
    EXPECT_EQ(tintsOf(own), (Tints{own, own, std::nullopt}));
    EXPECT_EQ(tintsOf(std::nullopt), (Tints{std::nullopt, UIColor::white(), std::nullopt}));
    EXPECT_EQ(painter.places.back(), CGRect(50, 0, 100, 100)) << "in its own proportions";

    painter.tints.clear();
    button->setBackgroundImage(UIImage(), UIControlState::normal);
    button->draw(painter);
    EXPECT_TRUE(painter.tints.empty());
    EXPECT_NE(button->backgroundImage(UIControlState::normal), std::nullopt);
}

TEST(Colors, AreReadFromTwoHexadecimalForms) {
    EXPECT_EQ(UIColor::parse("#00ff0080"), (UIColor{0, 1, 0, 128.0F / 255}));
    for (const auto* wrong : {"", "#", "ffffff", "#fffff", "#fffffff", "#ff-f00", "#gggggg"}) {
        EXPECT_EQ(UIColor::parse(wrong), std::nullopt) << wrong;
    }
}

TEST_F(Views, EverythingGoesInAnyOrder) {
    const std::weak_ptr<UIView> view = box;
    auto child = add<UISlider>("child", {}, box);
    child->addTarget(
        child, [kept = std::weak_ptr(child)] {}, UIControlEvents::valueChanged);
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

    const std::weak_ptr<Screen> shared = screen;
    screen.reset();
    EXPECT_TRUE(shared.expired());
}

}  // namespace
}  // namespace korvel::tests
