#include "playback/Fixture.h"
#include "support/Memory.h"

#include <set>

namespace korvel::tests {

using service::Answer;
using Keys = service::KeyServer::Keys;

TEST_F(PlaybackTest, ProtectedClassPlaysThroughTheKeyServerAndItsPerformanceIsRecorded) {
    start("50102");
    ASSERT_TRUE(until([&] { return picture() > 10 || hasFailed(); }));
    ASSERT_FALSE(hasFailed()) << item()->error()->description();
    EXPECT_NEAR(listener->progress.back().second, 30, 0.05);
    for (const float to : {12.345F, 3.F, 21.5F}) {
        events->seekTo(to);
        const int first = static_cast<int>(to * 30);
        ASSERT_TRUE(until([&] { return picture() >= first && picture() < first + 30; }))
            << picture() << " for " << to;
    }
    ASSERT_TRUE(until([&] { return view().totalPerformedTime >= 2; }));
    EXPECT_GT(position(), 21.5F);
    EXPECT_EQ(std::count(listener->told.begin(), listener->told.end(), "empty"), 0)
        << "a seek alone never empties the buffer";
    std::set<std::string> keys;
    for (const auto& each : requests("/media/keys")) {
        EXPECT_TRUE(keys.insert(each.target).second) << "each once, whatever is sought";
    }
    EXPECT_EQ(requests("/ondemand/v1/token/").size(), keys.size()) << "a token for each";

    const auto seconds = view().totalPerformedTime;
    stop();
    EXPECT_EQ(listener->told.back(), "exit " + std::to_string(seconds));
    ASSERT_TRUE(until([&] { return !service.accounts().performances().empty(); }));
    const auto recorded = service.accounts().performances();
    ASSERT_EQ(recorded.size(), 1u);
    EXPECT_EQ(recorded[0].userId, service.accounts().user("anna")->id);
    EXPECT_NE(recorded[0].json.find("\"actualDurationSecond\":" + std::to_string(seconds)),
              std::string::npos)
        << recorded[0].json;
}

struct BadKey {
    const char* name;
    Keys keys = Keys::right;
    std::optional<Answer> answer{};
    bool fails = true;  ///< or the item waits for ever

    friend void PrintTo(const BadKey& self, std::ostream* out) { *out << self.name; }
};

class BadKeys : public PlaybackTest, public testing::WithParamInterface<BadKey> {};

TEST_P(BadKeys, LeadToOneKeyRequestNoWordToTheListenerAnIdleProcessorAndAQuickEnd) {
    service.keys().give(GetParam().keys);
    if (GetParam().answer) service.script("/media/keys", "POST", *GetParam().answer, 99);
    start("50102");
    ASSERT_TRUE(until([&] { return !requests("/media/keys").empty(); }));
    if (GetParam().fails) {
        ASSERT_TRUE(until([&] { return hasFailed(); }));
    }
    pass(500ms);
    const double before = processorSeconds();
    pass(1s);
    EXPECT_LT(processorSeconds() - before, 0.1);
    EXPECT_EQ(hasFailed(), GetParam().fails);
    EXPECT_EQ(picture(), -1);
    EXPECT_EQ(listener->told, Lines{});
    EXPECT_EQ(position(), -1);
    EXPECT_LT(stop(), 2s);
    EXPECT_EQ(listener->told, Lines{"exit 0"});
    ASSERT_TRUE(until([&] { return !service.accounts().performances().empty(); }));
    EXPECT_EQ(requests("/media/keys").size(), 1u);
    service.release();
}

INSTANTIATE_TEST_SUITE_P(
    , BadKeys,
    testing::Values(BadKey{.name = "Refused", .answer = Answer{.status = 403, .body = "no"}},
                    BadKey{.name = "Rubbish", .answer = Answer{.body = "<ckc>QUJD</ckc>"}},
                    BadKey{.name = "Wrong", .keys = Keys::wrong},
                    BadKey{.name = "Empty", .keys = Keys::empty},
                    BadKey{.name = "Short", .keys = Keys::tooShort},
                    BadKey{.name = "NeverAnswered", .answer = Answer{.hold = true}, .fails = false},
                    BadKey{.name = "Lost", .answer = Answer{.resetAfter = 0}, .fails = false}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_F(PlaybackTest, PlayersWhoseKeyNeverComesLeaveNeitherThreadNorDescriptorBehind) {
    // The service is in this process, too: a thread and a descriptor for each answer it holds.
    const auto own = [&](const char* folder) {
        return entriesOf(folder) - static_cast<std::ptrdiff_t>(service.counters().held);
    };
    const auto startAndClose = [&](std::size_t players, const char* silent, const char* method) {
        service.script(silent, method, {.hold = true}, players);
        for (std::size_t player = 0; player < players; ++player) {
            start("50102");
            ASSERT_TRUE(until([&] { return !requests(silent).empty(); }));
            if (player % 2 == 0) stop();
            events->playerVC->view()->removeFromSuperview();  // closed or not
            place->letGo(events->playerVC);
            events = nullptr;
            service.forgetRequests();
        }
    };
    startAndClose(5, "/ondemand/v1/token", "GET");
    startAndClose(5, "/media/keys", "POST");
    const auto threads = own("/proc/self/task");
    const auto descriptors = own("/proc/self/fd");
    startAndClose(20, "/ondemand/v1/token", "GET");
    startAndClose(80, "/media/keys", "POST");
    EXPECT_TRUE(until([&] {
        return own("/proc/self/task") <= threads + 4 && own("/proc/self/fd") <= descriptors + 10;
    })) << own("/proc/self/task")
        << " threads after " << threads << ", " << own("/proc/self/fd") << " descriptors after "
        << descriptors;
}

}  // namespace korvel::tests
