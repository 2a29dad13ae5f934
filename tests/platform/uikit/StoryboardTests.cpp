#include "platform/uikit/Rig.h"

#include <korvel/platform/uikit/UIImage.h>
#include <korvel/platform/uikit/UIStoryboard.h>

#include <map>

namespace korvel::tests {
namespace {

struct Overlay : UIViewController {
    std::map<std::string, std::shared_ptr<UIView>, std::less<>> outlets;
    void setOutlet(std::string_view name, const std::shared_ptr<UIView>& view) override {
        outlets.emplace(name, view);
    }
};

struct Storyboards : OnScreen {
    const Bundle bundle{"com.korvel.KorvelContentSDK", KORVEL_BUNDLE};
    UIClassRegistry classes;

    Storyboards() { classes.add<Overlay>("KCSDKPlayerOverlay"); }
};

TEST_F(Storyboards, TheOverlayIsSaneFromSmallToLarge) {
    const auto controller =
        std::dynamic_pointer_cast<Overlay>(UIStoryboard("KCSDKOndemandClass", bundle, classes)
                                               .instantiateViewController("KCSDKPlayerOverlay"));
    ASSERT_TRUE(controller);
    window->setRootViewController(controller);
    for (const CGSize size : {CGSize{320, 180}, {390, 844}, {1920, 1080}}) {
        window->setFrame({{}, size});
        window->layoutIfNeeded();
        EXPECT_EQ(controller->view()->frame(), CGRect({}, size));
        EXPECT_EQ(controller->outlets["viewTap"]->frame(), CGRect({}, size));
        std::vector<CGRect> places;
        for (const auto* name : {"btnPlay", "btnClose", "lblTitle", "slider"}) {
            const auto place = controller->outlets[name]->frame();
            EXPECT_GE(place.size.width, 44) << name;
            EXPECT_GE(place.size.height, 44) << name;
            EXPECT_TRUE(place.minX() >= 8 && place.maxX() <= size.width - 8 && place.minY() >= 8 &&
                        place.maxY() <= size.height - 8)
                << name << " at " << testing::PrintToString(place);
            for (const auto& other : places) {
                EXPECT_TRUE(place.maxX() <= other.minX() || other.maxX() <= place.minX() ||
                            place.maxY() <= other.minY() || other.maxY() <= place.minY())
                    << name << " lies over another";
            }
            places.push_back(place);
        }
        EXPECT_EQ(places[0].center(), CGRect({}, size).center());
        EXPECT_EQ(places[2].midX(), size.width / 2) << "the title is centred";
        EXPECT_EQ(controller->outlets["viewLoader"]->frame().center(), places[0].center());
    }
}

TEST_F(Storyboards, WhatIsMissingIsNullAndWhatIsUnknownIsPlain) {
    const UIStoryboard storyboard("KCSDKOndemandClass", bundle, {});
    EXPECT_EQ(storyboard.instantiateViewController("Nobody"), nullptr);
    const auto plain = storyboard.instantiateViewController("KCSDKPlayerOverlay");
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<Overlay>(plain), nullptr);
    EXPECT_EQ(plain->view()->subviews().size(), 6u);
    EXPECT_EQ(UIStoryboard("Nothing", bundle, classes).instantiateViewController("x"), nullptr);
}

TEST_F(Storyboards, ImagesComeInThreeResolutions) {
    for (const auto& [name, size] : std::map<std::string, CGSize>{
             {"play", {64, 64}}, {"pause", {64, 64}}, {"close", {44, 44}}, {"thumb", {24, 24}}}) {
        const auto image = UIImage::named(name, bundle);
        ASSERT_TRUE(image) << name;
        EXPECT_EQ(image->size(), size);
        for (const auto& [wanted, got] : {std::pair{0.5, 1.0}, {1.25, 2.0}, {3, 3}, {4, 3}}) {
            const auto* variant = image->variant(wanted);
            ASSERT_NE(variant, nullptr);
            EXPECT_EQ(variant->scale, got);
            EXPECT_EQ(UIImage::withData(UIImage::encoded(*variant).value(), got)->size(), size);
        }
    }
    EXPECT_NE(UIImage::named("play", bundle), UIImage::named("pause", bundle));
    EXPECT_EQ(UIImage::named("nothing", bundle), std::nullopt);
    EXPECT_EQ(UIImage::withData(bytesOf("GIF89a")), std::nullopt);
    EXPECT_EQ(UIImage().variant(2), nullptr);
}

}  // namespace
}  // namespace korvel::tests
