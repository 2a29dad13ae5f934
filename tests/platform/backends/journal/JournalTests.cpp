#include <korvel/doubles/FakeURLSession.h>
#include <korvel/doubles/VirtualClock.h>
#include "support/TemporaryFolder.h"

#include <korvel/platform/backends/journal/LocalyticsJournal.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

namespace korvel::tests {

using namespace doubles;
namespace {

using namespace platform;
using namespace std::chrono_literals;
using json = nlohmann::json;

/// A journal on a virtual clock. `collector` shows what was posted and answers when told.
class Journal : public ::testing::Test {
protected:
    std::shared_ptr<LocalyticsJournal> open(LocalyticsJournalOptions options = {}) {
        if (options.folder.empty()) options.folder = folder / "journal";
        return make<LocalyticsJournal>(options, collector, queue, clock);
    }
    std::shared_ptr<LocalyticsJournal> openWithCollector(LocalyticsJournalOptions options = {}) {
        options.collectorURL = "https://collector.test/events";
        return open(options);
    }
    using Names = std::vector<std::string>;
    json posted(std::size_t index) const {
        return json::parse(viewOf(*collector->requests.at(index).body));
    }
    Names postedNames(std::size_t index) const {
        Names names;
        const json batch = posted(index);
        for (const auto& event : batch.at("events")) names.push_back(event.at("name"));
        return names;
    }
    static Names names(LocalyticsJournal& journal) {
        Names names;
        for (const auto& event : journal.events()) names.push_back(event.name);
        return names;
    }

    TemporaryFolder folder;
    std::shared_ptr<FakeURLSession> collector = std::make_shared<FakeURLSession>();
    std::shared_ptr<VirtualClock> clock = std::make_shared<VirtualClock>();
    std::shared_ptr<MainQueue> queue = make<MainQueue>(clock, MainQueue::Driver::manual);
};

TEST_F(Journal, KeepsWholeEventsInOrderForOtherProcesses) {
    const Localytics::Attributes attributes{
        {"Client ID", "acme"}, {"User ID", "\"4\\2\"\n"}, {"", "Größe 日本 😀"}, {"A", "last"}};
    const auto journal = open();
    journal->tagEvent("before anything is known", {});
    journal->integrate("key");
    journal->openSession();
    journal->setCustomerId("42");
    clock->advance(1234ms);
    journal->tagEvent("User Login", attributes);
    journal->tagEvent("broken \xff text", {{"\xc3", "\xed\xa0\x80"}});
    journal->upload();
    const auto other = open();
    const auto events = other->events();  // on disk at once, not only when the first one goes
    ASSERT_EQ(names(*other),
              (Names{"before anything is known", "User Login", "broken \uFFFD text"}));
    EXPECT_EQ(events[0].sessionId + events[0].appKey + events[0].customerId, "");
    EXPECT_EQ(events[1].attributes, attributes);
    EXPECT_EQ(events[1].appKey, "key");
    EXPECT_EQ(events[1].customerId, "42");
    EXPECT_EQ(events[1].time - events[0].time, 1234ms);
    EXPECT_EQ(events[2].sessionId, events[1].sessionId);
    EXPECT_NE(events[2].id, events[1].id);
    EXPECT_TRUE(collector->requests.empty()) << "without collector nothing leaves the device";
}

TEST_F(Journal, AnEventLeavesOnlyWhenTheCollectorTookIt) {
    const auto journal = openWithCollector({.eventsPerBatch = 2});
    journal->integrate("key");
    journal->setCustomerId("42");
    for (const char* name : {"1", "2", "3"}) journal->tagEvent(name, {{"b", "\"x\""}, {"a", "y"}});
    journal->upload();
    journal->upload();
    ASSERT_EQ(collector->requests.size(), 1u) << "one batch at a time";
    const auto& request = collector->requests[0];
    EXPECT_EQ(request.method + " " + request.url.absoluteString(),
              "POST https://collector.test/events");
    EXPECT_EQ(request.value("Content-Type"), "application/json");
    EXPECT_EQ(postedNames(0), (Names{"1", "2"}));
    const json event = posted(0).at("events").at(0);
    EXPECT_EQ(event.at("attributes"), (json{{"b", "\"x\""}, {"a", "y"}}));
    EXPECT_EQ(event.at("customerId"), "42");
    EXPECT_EQ(event.at("appKey"), "key");
    EXPECT_EQ(event.at("id"), journal->events()[0].id);
    EXPECT_EQ(event.at("time"), 1704196800000);
    EXPECT_EQ(journal->events().size(), 3u) << "sent is not taken";

    collector->answer(200, "");
    EXPECT_EQ(names(*journal), Names{"3"});
    EXPECT_EQ(postedNames(1), Names{"3"}) << "the next batch follows by itself";
    collector->answer(204, std::nullopt);
    EXPECT_TRUE(journal->events().empty());
    EXPECT_EQ(collector->pending(), 0u);
}

TEST_F(Journal, AFailedBatchComesAgainLaterEachTimeWithTheSameIds) {
    const auto journal = openWithCollector();
    journal->tagEvent("1", {});
    journal->upload();
    for (int failure = 1; failure <= 12; ++failure) {
        failure % 2 == 0 ? collector->failTransport() : collector->answer(300 + failure, "");
        const auto longest = std::min<Clock::Duration>(1s * (1 << (failure - 1)), 5min);
        journal->upload();
        clock->advance(*queue, longest / 2 - 1ns);
        ASSERT_EQ(collector->pending(), 0u) << "too early after failure " << failure;
        clock->advance(*queue, longest / 2 + 1ns);
        ASSERT_EQ(collector->pending(), 1u) << "too late after failure " << failure;
    }
    EXPECT_EQ(posted(12).at("events"), posted(0).at("events"));
    collector->answer(200, "");
    EXPECT_TRUE(journal->events().empty());
    journal->tagEvent("2", {});
    journal->upload();
    collector->answer(503, "");
    clock->advance(*queue, 1s);
    EXPECT_EQ(collector->pending(), 1u) << "success starts the delays anew";
}

TEST_F(Journal, OneProcessSendsAtATime) {
    const auto first = openWithCollector();
    const auto second = openWithCollector();
    first->tagEvent("1", {});
    first->upload();
    second->tagEvent("2", {});
    second->upload();
    EXPECT_EQ(collector->pending(), 1u);
    collector->answer(200, "");
    EXPECT_EQ(postedNames(1), Names{"2"});
    collector->answer(200, "");
    clock->advance(*queue, 1s);
    EXPECT_EQ(collector->pending(), 0u) << "the other finds nothing left";
}

TEST_F(Journal, TheOldestEventsGoBeyondTheBounds) {
    const auto journal = openWithCollector({.maximumEvents = 3});
    for (int number = 1; number <= 5; ++number) journal->tagEvent(std::to_string(number), {});
    EXPECT_EQ(names(*journal), (Names{"3", "4", "5"}));
    EXPECT_EQ(journal->dropped(), 2);
    journal->upload();
    EXPECT_EQ(posted(0).at("dropped"), 2);
    const auto small = open({.maximumBytes = 10'000});
    small->tagEvent("large", {{"text", std::string(9'900, 'x')}});
    EXPECT_EQ(names(*small), Names());
    EXPECT_EQ(small->dropped(), 6);
}

TEST_F(Journal, WithoutDiskEventsWaitInMemoryAndMoveLater) {
    const auto obstacle = folder / "journal";
    std::ofstream(obstacle) << "a file where the folder should be";
    const auto journal = openWithCollector({.maximumEvents = 3});
    for (const char* name : {"1", "2", "3", "4"}) journal->tagEvent(name, {{"a", name}});
    EXPECT_EQ(names(*journal), (Names{"2", "3", "4"}));
    journal->upload();
    EXPECT_EQ(postedNames(0), (Names{"2", "3", "4"}));
    collector->answer(500, "");

    std::filesystem::remove(obstacle);
    clock->advance(1s);
    journal->tagEvent("5", {});
    const auto other = open();
    EXPECT_EQ(names(*other), (Names{"3", "4", "5"}));
    EXPECT_EQ(other->events()[0].attributes, (Localytics::Attributes{{"a", "3"}}));
    EXPECT_EQ(other->dropped(), 2);
}

}  // namespace
}  // namespace korvel::tests
