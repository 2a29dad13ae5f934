#include "platform/backends/qtquick/Fixture.h"
#include "support/TemporaryFolder.h"

#include <korvel/platform/backends/qtquick/PainterCanvas.h>
#include <korvel/platform/backends/qtquick/VideoPicture.h>

#include <QtGui/QPointingDevice>

#include <array>

namespace korvel::tests {

using platform::UIColor;
using platform::UIImage;

namespace {

bool areAlike(const QColor& one, const QColor& other) {
    return std::abs(one.red() - other.red()) + std::abs(one.green() - other.green()) +
               std::abs(one.blue() - other.blue()) <
           12;
}

/// The smallest rectangle around all pixels that are nearly of that colour.
QRect where(const QImage& image, const QColor& wanted) {
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (areAlike(image.pixelColor(x, y), wanted)) found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

}  // namespace

TEST_F(QtQuickTest, ATapFadesTheControlsInWithinASecondAndTheNextFadesThemOut) {
    startEmbedded();
    const std::unique_ptr<QPointingDevice> finger(QTest::createTouchDevice());
    const auto free = item->mapToScene({100, 100}).toPoint();
    const auto sees = [&](double from, double to) {  // ticks are real, time is not
        const auto way = [&] { return (255 - colorAt(free).red()) / (255 * 0.6); };
        until([&] { return way() >= from && way() <= to; }, 500);
        EXPECT_GE(way(), from);
        EXPECT_LE(way(), to);
    };
    for (const bool touches : {false, true}) {
        const auto tap = [&] {
            if (!touches) return click(free);
            QTest::touchEvent(quick.get(), finger.get()).press(0, free, quick.get());
            QTest::touchEvent(quick.get(), finger.get()).release(0, free, quick.get());
        };
        for (const double from : {0., 1.}) {
            tap();
            sees(from - 0.02, from + 0.02);
            pass(500ms);
            sees(0.45, 0.55);
            pass(500ms);
            sees(0.99 - from, 1.01 - from);
        }
        const auto video = item->mapRectToScene(item->boundingRect()).toRect();
        EXPECT_EQ(where(grab(), QColor(255, 255, 255)), video) << "no control is left";
    }
}

TEST_F(QtQuickTest, EveryControlIsWhereTheTreeSaysInItsOwnColour) {
    builder = KCSDKVideoViewBuilder::create(decoded<KCSDKOndemandClass>(classJSON("asked")));
    const UIColor play{1, 0.4F, 0, 1};
    const UIColor close{0, 1, 0.4F, 1};
    const UIColor title{1, 1, 0, 1};
    builder->setPlayPauseButtonColor(play);
    builder->setExitButtonColor(close);
    builder->setTitleTextColor(title);
    builder->setProgressSliderTintColor(UIColor{1, 0, 1, 1}, UIColor{0, 1, 1, 1},
                                        UIColor{0.6F, 0, 0, 1}, std::nullopt);
    startEmbedded(16);
    showControls();
    const auto image = grab();
    const auto track = rectOf(*overlay().slider.get());
    const double knob = track.left() + overlay().slider->thumbRect().midX();
    const std::pair<UIColor, QRectF> wanted[] = {
        {play, rectOf(*overlay().btnPlay.get())},
        {close, rectOf(*overlay().btnClose.get())},
        {title, rectOf(*overlay().lblTitle.get())},
        {{1, 0, 1, 1}, {track.topLeft(), QPointF(knob, track.bottom())}},
        {{0, 1, 1, 1}, {QPointF(knob, track.top()), track.bottomRight()}},
        {{0.6F, 0, 0, 1}, track}};
    for (const auto& [color, rect] : wanted) {
        const auto shown = platform::qtquick::colorOf(color);
        const auto found = where(image, shown);
        EXPECT_FALSE(found.isEmpty()) << shown.name().toStdString();
        EXPECT_TRUE(rect.contains(found)) << shown.name().toStdString();
    }
    const auto glyph = where(image, platform::qtquick::colorOf(title));
    EXPECT_NEAR(glyph.center().x(), wanted[2].second.center().x(), 3);
    EXPECT_NEAR(glyph.center().y(), wanted[2].second.center().y(), 5);
}

TEST_F(QtQuickTest, NothingIsRepaintedUnlessSomethingSeenChanges) {
    startEmbedded();
    expectStill("playing, the moving knob hidden, no new picture");
    showControls();
    events->pauseVideo();
    expectStill("paused, controls shown");
    overlay().viewLoader->setHidden(true);
    overlay().lblTitle->setText("Name c1");
    expectStill("set to what it was");

    events->playVideo();
    settle();
    const int before = frames;
    for (int i = 0; i < 10; ++i) passAndShow(100ms);
    EXPECT_GE(frames, before + 5) << "the knob moves";
}

TEST_F(QtQuickTest, TheSpinnerTurnsByTheClockAlone) {
    startEmbedded(16);
    overlay().viewLoader->setHidden(false);
    settle();
    const auto box = rectOf(*overlay().viewLoader.get());
    const auto gap = [&] {  // a quarter of the ring is missing; the angle of its middle
        const auto image = grab();
        QPointF sum;
        for (int degrees = 0; degrees < 360; degrees += 5) {
            const QPointF way(std::cos(degrees * M_PI / 180), std::sin(degrees * M_PI / 180));
            const auto pixel = image.pixelColor((box.center() + way * 22).toPoint());
            if (pixel.red() < 100) sum += way;
        }
        return std::atan2(sum.y(), sum.x()) * 180 / M_PI;
    };
    const double from = gap();
    for (const int quarter : {1, 2, 3}) {
        pass(250ms);
        QTest::qWait(60);
        EXPECT_NEAR(std::remainder(gap() - from - 90. * quarter, 360), 0, 8) << quarter;
    }
    overlay().viewLoader->setHidden(true);
    expectStill("hidden again");
}

TEST(VideoFit, FollowsTheGravity) {
    using enum platform::AVLayerVideoGravity;
    const QRectF all(0, 0, 640, 360);
    const QRectF square(0, 0, 360, 360);
    const std::tuple<double, platform::AVLayerVideoGravity, QRectF, QRectF> rows[] = {
        {1, resize, square, all},
        {1, resizeAspect, {0, 78.75, 360, 202.5}, all},
        {1, resizeAspectFill, square, {140, 0, 360, 360}},
        {0.5, resizeAspect, {20, 0, 320, 360}, all},  // seen as 320 by 360
        {0.5, resizeAspectFill, square, {0, 20, 640, 320}}};
    for (const auto& [pixelAspect, gravity, target, source] : rows) {
        platform::VideoFrame wide;
        wide.width = 640;
        wide.height = 360;
        wide.pixelAspect = pixelAspect;
        const auto fit = platform::qtquick::VideoFit::of(wide, square.size(), gravity);
        EXPECT_EQ(fit.target, target);
        EXPECT_EQ(fit.source, source);
    }
}

TEST(VideoPicture, HasTheColoursOfItsMatrixAndKeepsWhatItGaveOut) {
    using Matrix = platform::VideoFrame::Matrix;
    using YUV = std::array<std::uint8_t, 3>;
    const std::tuple<Matrix, bool, YUV> rows[] = {{Matrix::bt601, false, {81, 90, 240}},
                                                  {Matrix::bt601, true, {76, 85, 255}},
                                                  {Matrix::bt709, false, {63, 102, 240}},
                                                  {Matrix::bt709, true, {54, 99, 255}},
                                                  {Matrix::bt2020, false, {74, 97, 240}}};
    platform::qtquick::VideoPicture picture;
    for (const auto& [matrix, fullRange, red] : rows) {
        platform::VideoFrame frame;
        frame.width = 5;  // odd: the last column has a colour of its own
        frame.height = 3;
        frame.matrix = matrix;
        frame.fullRange = fullRange;
        std::array<std::array<std::uint8_t, 32>, 3> planes{};
        for (std::size_t i = 0; i < 3; ++i) {
            planes.at(i).fill(red.at(i));
            frame.planes.at(i) = {planes.at(i).data(), i == 0 ? 8u : 4u};
        }
        const auto plain = picture.rgb(frame, {0, 0, 5, 3}, {5, 3});
        const auto larger = picture.rgb(frame, {1, 1, 4, 2}, {9, 7});
        const auto half = picture.rgb(frame, {0, 0, 5, 3}, {5, 40}, 0.5);
        EXPECT_TRUE(areAlike(half.pixelColor(4, 39), QColor(128, 0, 0)));
        frame.planes[1] = frame.planes[2] = frame.planes[0];
        picture.rgb(frame, {0, 0, 5, 3}, {5, 3});
        for (const auto& image : {plain, larger}) {
            const auto corner = image.pixelColor(image.width() - 1, image.height() - 1);
            EXPECT_TRUE(areAlike(corner, Qt::red))
                << corner.name().toStdString() << " of " << static_cast<int>(matrix) << fullRange;
        }
    }
    EXPECT_TRUE(picture.rgb({}, {0, 0, 5, 3}, {5, 3}).isNull());
}

TEST_F(QtQuickTest, AVideoUnderAVeilLooksTheSameWhoeverDarkensIt) {
    startEmbedded();
    const auto at = item->mapToScene({100, 100});
    const auto light = [&] { return colorAt(at).red(); };
    EXPECT_EQ(light(), 255);
    click(item->mapToScene({10, 180}));
    passAndShow(990ms);
    const int blended = light();
    passAndShow(20ms);
    EXPECT_NEAR(light(), blended, 4);
    EXPECT_NEAR(light(), 255 * 0.4, 2);
    overlay().viewTap->setBackgroundColor(UIColor{1, 0, 0, 1});
    settle();
    EXPECT_EQ(colorAt(at).red(), 255) << "a colour that is not black lies over it";
    EXPECT_NEAR(colorAt(at).green(), 255 * 0.4, 2);
    overlay().viewTap->setBackgroundColor(UIColor::black());
    overlay().viewTap->setHidden(true);
    settle();
    EXPECT_EQ(light(), 255);
}

TEST(PainterCanvas, TakesTheImageMadeForThePixelsItHas) {
    const TemporaryFolder folder;
    const QColor one(Qt::red), two(Qt::green);
    for (const auto& [name, size, color] :
         {std::tuple("dot.png", 4, one), {"dot@2x.png", 8, two}}) {
        QImage image(size, size, QImage::Format_ARGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(QString::fromStdString(folder / name)));
    }
    const auto image = UIImage::named("dot", platform::Bundle("test", folder / "")).value();
    const auto drawn = [&](double scale, double size, std::optional<UIColor> tint = {}) {
        QImage picture(64, 64, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(scale);
        picture.fill(Qt::black);
        platform::qtquick::PainterCanvas(picture).image(image, {0, 0, size, size}, tint, 1);
        return picture.pixelColor(3, 3);
    };
    EXPECT_EQ(drawn(1, 4), one);
    EXPECT_EQ(drawn(2, 4), two);
    EXPECT_EQ(drawn(1.5, 4), two) << "rather too fine than too coarse";
    EXPECT_EQ(drawn(1, 12), two) << "enlarged";
    EXPECT_EQ(drawn(2, 4, UIColor{1, 1, 0, 1}), QColor(Qt::yellow));
}

}  // namespace korvel::tests
