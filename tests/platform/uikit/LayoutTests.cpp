#include "platform/uikit/Rig.h"

#include <korvel/platform/uikit/UILabel.h>
#include <korvel/player/ViewPinning.h>

namespace korvel::tests {
namespace {

struct Layout : OnScreen {
    std::shared_ptr<UIView> box = add("box", {50, 20, 200, 100});
    std::shared_ptr<UIView> view = add("view", {1, 2, 3, 4}, box);

    Layout() { view->setTranslatesAutoresizingMaskIntoConstraints(false); }

    CGRect laidOut() {
        view->layoutIfNeeded();
        return view->frame();
    }
};

TEST_F(Layout, PinnedViewsFillTheirContainerWhateverItsSize) {
    for (const auto pinned : {pin, pinEdges}) {
        pinned(view, box);
        for (const CGSize size : {CGSize{200, 100}, {333, 77}, {0, 0}, {1920, 1080}}) {
            box->setFrame({{7, 9}, size});
            EXPECT_EQ(laidOut(), CGRect({}, size));
        }
        for (const auto pins = box->constraints(); const auto& each : pins) each->setActive(false);
        box->setFrame({0, 0, 10, 10});
        EXPECT_EQ(laidOut().size, (CGSize{1920, 1080})) << "what nothing decides stays";
    }
}

TEST_F(Layout, FollowsAtTheNextTurnOfTheMainQueueWithoutBeingAsked) {
    pin(view, box);
    box->setFrame({0, 0, 90, 60});
    EXPECT_EQ(view->frame(), CGRect(0, 0, 200, 100));
    settle();
    EXPECT_EQ(view->frame(), CGRect(0, 0, 90, 60));
    EXPECT_EQ(queue->drain(), std::nullopt) << "a layout at rest costs nothing";
    view->setFrame({5, 5, 5, 5});
    settle();
    EXPECT_EQ(view->frame(), CGRect(0, 0, 90, 60)) << "constraints outrank a frame";
}

TEST_F(Layout, EdgesCentresLengthsAndSiblingsDecideInTheOrderOfActivation) {
    const auto label = add<UILabel>("label", {}, box);
    label->setTranslatesAutoresizingMaskIntoConstraints(false);
    label->setText("text");
    const auto width = view->widthAnchor().constraintEqualToConstant(40);
    NSLayoutConstraint::activate(
        {width, view->trailingAnchor().constraintEqualTo(box->trailingAnchor(), -10),
         view->centerYAnchor().constraintEqualTo(box->centerYAnchor()),
         view->heightAnchor().constraintEqualTo(view->widthAnchor()),
         view->widthAnchor().constraintEqualToConstant(99),  // contradicts, and gives way
         label->trailingAnchor().constraintEqualTo(view->leadingAnchor(), -8),
         label->topAnchor().constraintEqualTo(view->topAnchor()),
         view->bottomAnchor().constraintEqualTo(window->bottomAnchor(), -1e9)});
    EXPECT_EQ(laidOut(), CGRect(150, 30, 40, 40));
    const auto textSize = EstimatedTextMeasure().sizeOf("text", label->font());
    EXPECT_EQ(label->frame(), CGRect({142 - textSize.width, 30}, textSize));

    width->setConstant(20);
    EXPECT_EQ(laidOut(), CGRect(170, 40, 20, 20));
    EXPECT_EQ(label->frame().maxX(), 162);
}

TEST_F(Layout, ConstraintsVanishWithAViewThatLeaves) {
    pin(view, box);
    const auto outer = box->constraints();
    const auto inner = add("inner", {0, 0, 5, 5}, view);
    const auto own = inner->widthAnchor().constraintEqualTo(view->widthAnchor());
    NSLayoutConstraint::activate({own});
    view->removeFromSuperview();
    EXPECT_TRUE(box->constraints().empty());
    EXPECT_FALSE(outer.front()->isActive());
    EXPECT_TRUE(own->isActive()) << "they left together";
    const auto stranger = platform::make<UIView>();
    const auto impossible = view->topAnchor().constraintEqualTo(stranger->topAnchor());
    impossible->setActive(true);
    EXPECT_FALSE(impossible->isActive());
}

TEST_F(Layout, PinningAgainDoesNotPileUp) {
    for (int round = 0; round < 100; ++round) pin(view, box);
    EXPECT_EQ(box->constraints().size(), 4u);
    const auto held = box->constraints();
    pin(view, box);
    EXPECT_EQ(box->constraints().size(), 8u) << "one that its maker holds is his to deactivate";
}

}  // namespace
}  // namespace korvel::tests
