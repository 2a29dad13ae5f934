#include "platform/uikit/Rig.h"

#include <korvel/platform/uikit/UINavigationController.h>
#include <korvel/platform/uikit/UITabBarController.h>

namespace korvel::tests {
namespace {

struct Controllers : OnScreen {
    std::shared_ptr<UIViewController> root = named("root"), a = named("a"), b = named("b"),
                                      c = named("c");

    Controllers() {
        window->setRootViewController(root);
        settle();
        observer->take();
    }
    static std::shared_ptr<UIViewController> named(const std::string& name) {
        auto controller = platform::make<UIViewController>();
        controller->view()->setAccessibilityLabel(name);
        return controller;
    }
    /// Names of the views in the window, from back to front.
    Names shown() const {
        Names names;
        for (const auto& view : window->subviews()) names.push_back(view->accessibilityLabel());
        return names;
    }
};

TEST_F(Controllers, APresentedViewCoversTheWindowUntilItIsDismissed) {
    const auto player = named("player");
    const auto host = add("host", {0, 0, 10, 10});
    host->addSubview(player->view());
    player->view()->setTranslatesAutoresizingMaskIntoConstraints(false);
    observer->take();
    root->present(player, true, note("presented"));
    EXPECT_EQ(shown(), (Names{"root", "host", "player"}));
    EXPECT_EQ(player->presentingViewController(), root);
    EXPECT_EQ(observer->take(), (Names{"host subviews", "window subviews", "player geometry",
                                       "player presented slowly", "player fades for 250"}));
    window->setFrame({0, 0, 300, 400});
    clock->advance(*queue, 249ms);
    EXPECT_EQ(log, Names()) << "after the transition";
    clock->advance(*queue, 1ms);
    EXPECT_EQ(log, Names{"presented"});
    EXPECT_EQ(player->view()->frame(), CGRect(0, 0, 300, 400));

    observer->take();
    player->dismiss(false, [&] {
        note("dismissed")();
        host->addSubview(player->view());
    });
    EXPECT_EQ(observer->take(), (Names{"player dismissed", "window subviews"}));
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(player->view()->superview(), nullptr);
    EXPECT_EQ(log.size(), 1u) << "on the main queue";
    settle();
    EXPECT_EQ(log.back(), "dismissed");
    EXPECT_EQ(player->view()->superview(), host);
}

TEST_F(Controllers, DismissalTakesAllThatIsAbove) {
    root->present(a, false);
    a->present(b, false);
    b->present(c, false);
    EXPECT_EQ(shown(), (Names{"root", "a", "b", "c"}));
    observer->take();
    a->dismiss(true);  // a presents: it stays
    EXPECT_EQ(shown(), (Names{"root", "a"}));
    EXPECT_EQ(observer->take(), (Names{"c dismissed slowly", "window subviews",
                                       "b dismissed slowly", "window subviews"}));
    a->dismiss(true);
    EXPECT_EQ(shown(), Names{"root"});
    root->dismiss(true, note("nothing to dismiss"));
    EXPECT_EQ(log, Names{"nothing to dismiss"});
}

TEST_F(Controllers, ImpossiblePresentationsAreRefusedQuietly) {
    root->present(root, true, note("self"));
    named("detached")->present(a, true, note("in no window"));
    root->addChild(c);
    root->present(c, true, note("a child"));
    root->present(a, false);
    root->present(b, true, note("a second one"));
    a->present(root, true, note("what it covers"));
    a->present(a, true, note("presented already"));
    clock->advance(*queue, 1s);
    EXPECT_EQ(log, Names());
    a->view()->removeFromSuperview();
    a->present(a, true);
    EXPECT_EQ(shown(), (Names{"root", "a"})) << "its view comes back, nothing is presented anew";
    EXPECT_EQ(a->presentedViewController(), nullptr);
}

TEST_F(Controllers, ContainersShowTheirChosenOne) {
    const auto stack = platform::make<UINavigationController>();
    stack->pushViewController(a);
    window->setRootViewController(stack);
    stack->pushViewController(b);
    settle();
    EXPECT_EQ(a->view()->window(), nullptr);
    EXPECT_EQ(b->view()->frame(), window->bounds());
    EXPECT_EQ(stack->popViewController(), b);
    EXPECT_EQ(stack->visibleViewController(), a);
    EXPECT_EQ(a->view()->window(), window);

    const auto tabs = platform::make<UITabBarController>();
    tabs->setViewControllers({b, c});
    window->setRootViewController(tabs);
    EXPECT_EQ(tabs->selectedViewController(), b);
    tabs->setSelectedViewController(c);
    tabs->setSelectedViewController(a);  // not one of them
    settle();
    EXPECT_EQ(tabs->selectedViewController(), c);
    EXPECT_EQ(c->view()->frame(), window->bounds());
    EXPECT_EQ(b->view()->window(), nullptr);
}

TEST_F(Controllers, EverythingGoesInAnyOrder) {
    const std::vector<std::weak_ptr<void>> all{root,      a,         b,     root->view(),
                                               a->view(), b->view(), window};
    root->present(a, true, note("never"));
    a->present(b, true);
    root->addChild(named("child"));
    a.reset();
    b.reset();
    root.reset();
    EXPECT_EQ(shown(), (Names{"root", "a", "b"})) << "the window owns them all";
    window->setRootViewController(nullptr);
    EXPECT_EQ(shown(), Names());
    window.reset();
    for (const auto& one : all) EXPECT_TRUE(one.expired());

    window = platform::make<UIWindow>(screen);
    window->setRootViewController(named("root"));
    window->rootViewController()->present(c, false);
    window.reset();  // with a presentation under way
    c->dismiss(false, note("too late"));
    EXPECT_EQ(log.back(), "too late");
}

}  // namespace
}  // namespace korvel::tests
