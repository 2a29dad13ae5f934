#include "platform/backends/qtquick/Fixture.h"

#include <korvel/platform/backends/qtquick/SubtitlePicture.h>
#include <korvel/platform/backends/qtquick/ViewAccessible.h>

namespace korvel::tests {

using platform::AVSubtitleCue;
using platform::qtquick::SubtitlePicture;
using platform::qtquick::SubtitlePlace;

namespace {

using Alignment = AVSubtitleCue::Alignment;

AVSubtitleCue says(std::string text) { return {.end = 100s, .runs = {{std::move(text)}}}; }

/// A picture of 640 by 360 below a bar of 20.
QRectF placeOf(const std::vector<AVSubtitleCue>& cues, double inset = 0, double scale = 1) {
    const auto shown = SubtitlePicture::of(cues, {{0, 20, 640, 360}, {640, 400}, inset, scale});
    EXPECT_EQ(QSizeF(shown.image.size()), shown.target.size() * scale);
    return shown.target;
}

QRect difference(const QImage& one, const QImage& other) {
    QRect found;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            if (one.pixel(x, y) != other.pixel(x, y)) found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

}  // namespace

TEST(SubtitlePicture, PutsEachCueWhereItBelongsInsideThePicture) {
    const auto at = [](std::string text, double top, double center, double width, Alignment how) {
        return AVSubtitleCue{{}, 100s, {{std::move(text)}}, top, center, width, how};
    };
    const QRectF safe(32, 38, 576, 324);  // a twentieth at each side is left free
    const QRectF bottom = placeOf({says("Stand up")});
    EXPECT_NEAR(bottom.center().x(), 320, 1);
    EXPECT_NEAR(bottom.bottom(), safe.bottom(), 1);
    EXPECT_NEAR(bottom.height(), 360. / 18 * 1.2, 4);
    const double high = bottom.height();
    using Edge = double (*)(const QRectF&);
    const Edge left = [](const QRectF& rect) { return rect.left(); };
    const Edge right = [](const QRectF& rect) { return rect.right(); };
    const Edge top = [](const QRectF& rect) { return rect.top(); };
    const Edge low = [](const QRectF& rect) { return rect.bottom(); };
    const std::tuple<AVSubtitleCue, double, Edge, double> rows[] = {
        {at("a", 0, 0.25, 0.5, Alignment::start), 0, left, safe.left()},
        {at("\u05d0", 0, 0.75, 0.5, Alignment::start), 0, right, safe.right()},
        {at("a", 0, 0.75, 0.5, Alignment::end), 0, right, safe.right()},
        {at("a", 0, 9, -1, Alignment::center), 0, right, safe.right() - 49},  // of 6 letters
        {at("a", -3, 0.5, 1, Alignment::center), 0, top, safe.top()},
        {at("a", 0.5, 0.5, 1, Alignment::center), 0, top, 200},
        {at("a", 1, 0.5, 1, Alignment::center), 0, low, safe.bottom()},
        {says("a"), 100, low, 300},
        {at("a", 1, 0.5, 1, Alignment::center), 100, low, 300},
        {says(std::string(4000, 'm')), 0, low, safe.bottom()}};
    for (const auto& [cue, inset, edge, wanted] : rows) {
        const auto found = placeOf({cue}, inset);
        EXPECT_NEAR(edge(found), wanted, 12) << cue.runs[0].text.substr(0, 9);
        EXPECT_TRUE(safe.adjusted(-1, -1, 1, 1).contains(found));
    }

    const auto sum = placeOf({says("One"), says("Two\nthree"), at("Top", 0, 0.5, 1, {})});
    EXPECT_NEAR(sum.bottom(), bottom.bottom(), 1);
    EXPECT_NEAR(sum.top(), safe.top(), 1);
    EXPECT_NEAR(placeOf({says("One"), says("Two\nthree")}).height(), 3 * high + 4, 3);
    const std::vector many(40, says("Too many"));
    EXPECT_TRUE(safe.contains(placeOf(many).adjusted(1, 1, -1, -1)));
    EXPECT_NEAR(placeOf({says("Fine")}, 0, 2).width(), placeOf({says("Fine")}).width(), 3);
    const auto seen = [](const char* text) {
        return SubtitlePicture::of({says(text)}, {{0, 0, 640, 360}, {640, 360}}).image;
    };
    EXPECT_EQ(seen("\u05d0\u05d1!"), seen("\u05d0\u05d1!\u200f")) << "a mark at the left";
    auto bold = says("Wide");
    bold.runs[0].isBold = true;
    EXPECT_GT(placeOf({bold}).width(), placeOf({says("Wide")}).width());
    EXPECT_GT(placeOf({says("<b>x</b>")}).width(), 3 * placeOf({says("x")}).width());
    for (const auto& nothing : {std::string(), std::string(4000, '\n') + "a"})
        EXPECT_TRUE(placeOf({says(nothing)}).isEmpty());
}

TEST_F(QtQuickTest, SubtitlesLieOverThePictureBelowTheControlsAndLeaveNothingBehind) {
    startEmbedded(235);
    const auto& playing = player().player()->currentItem();
    const auto choose = [&](platform::AVSubtitleSelection::Mode mode) {
        playing->selectSubtitles({mode});
        run();
        settle();
        return grab();
    };
    const auto heard = [&] {
        QString found;
        const auto items = platform::qtquick::ViewAccessible::below(*quick->contentItem());
        for (auto* each : items) {
            auto* const told = QAccessible::queryAccessibleInterface(each);
            if (told->role() == QAccessible::StaticText) found += told->text(QAccessible::Name);
        }
        return found.toStdString();
    };
    using enum platform::AVSubtitleSelection::Mode;
    const QSizeF sizes[] = {{640, 360}, {300, 500}};
    for (const auto& size : sizes) {
        item->setSize(size);
        stream().cues = {says("Breathe out")};
        const auto plain = choose(none);
        const auto seen = item->mapRectToScene(item->boundingRect());
        const auto words = difference(plain, choose(byLanguage));
        EXPECT_NEAR(words.center().x(), seen.center().x(), 2);
        EXPECT_NEAR(words.bottom(), seen.bottom() - size.height() / 20, 2);
        const double letters = std::min(size.height(), size.width() * 3 / 4) / 18;
        EXPECT_NEAR(words.height(), std::max(letters, 14.) * 1.2, 4);
        EXPECT_NEAR(colorAt(words.topLeft() + QPointF(2, 2)).red(), 51, 2) << "a box of black";
        EXPECT_EQ(heard().find("Breathe out"), 0u) << heard();
        expectStill("with words that stay");
        stream().frame = plainFrame(16);
        stream().events->frameChanged();
        settle();
        EXPECT_EQ(colorAt(words.topLeft() - QPointF(4, 4)).red(), 0) << "a new picture";
        stream().frame = plainFrame(235);
        player().playerLayer()->setShowsSubtitles(false);
        stream().events->frameChanged();
        settle();
        EXPECT_TRUE(difference(plain, grab()).isNull()) << "the host shows them";
        EXPECT_EQ(heard().find("Breathe out"), std::string::npos);
        player().playerLayer()->setShowsSubtitles(true);
        EXPECT_TRUE(difference(plain, choose(none)).isNull());
    }

    item->setSize({640, 360});
    showControls();
    const auto plain = choose(none);
    const auto words = difference(plain, choose(byLanguage));
    const auto track = rectOf(*overlay().slider.get());
    EXPECT_LE(words.bottom(), track.top()) << "they make room";
    EXPECT_GT(words.bottom(), track.top() - 20);
    click(item->mapToScene({10, 180}));
    passAndShow(1s);
    EXPECT_NEAR(colorAt(words.topLeft() + QPointF(2, 2)).red(), 255, 2) << "and take it back";
    showControls();
    const auto veiled = grab();
    int brightest = 0;
    for (int x = words.left(); x < words.right(); ++x)
        brightest = std::max(brightest, veiled.pixelColor(x, words.center().y()).red());
    EXPECT_NEAR(brightest, 255 * 0.4, 4) << "under the veil";
    player().playerLayer()->setPlayer(nullptr);
    settle();
    EXPECT_EQ(heard().find("Breathe out"), std::string::npos);
}

}  // namespace korvel::tests
