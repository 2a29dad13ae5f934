#include "support/ChildProcess.h"
#include "support/TemporaryFolder.h"

#include <korvel/doubles/FakeSealedRecords.h>
#include <korvel/platform/backends/sqlite/SealedRecordsSQLite.h>

#include <gtest/gtest.h>

#include <atomic>

namespace korvel::tests {
namespace {

using platform::SealedRecords;

struct SealedRecordsTest : testing::Test {
    TemporaryFolder folder;
    std::shared_ptr<SealedRecords> open() const {
        return platform::makeSealedRecordsSQLite(folder / "data");
    }
    static std::string texts(const std::vector<SealedRecords::Record>& records) {
        std::string all;
        for (const auto& record : records) all += std::string(platform::viewOf(record.value)) + " ";
        return all;
    }
    static constexpr SealedRecords::Bounds three{.records = 3, .bytes = 10'000};
};

TEST_F(SealedRecordsTest, TheOldestGoForTheSakeOfTheBoundsAndTheNewestStays) {
    const auto inMemory = std::make_shared<doubles::FakeSealedRecords>();
    for (const auto& [records, later] :
         {std::pair<std::shared_ptr<SealedRecords>, std::shared_ptr<SealedRecords>>{open(), open()},
          {inMemory, inMemory}}) {
        EXPECT_TRUE(records->all().empty());
        EXPECT_FALSE(std::filesystem::exists(folder / "data")) << "looking leaves nothing behind";
        for (const char* text : {"a", "b", "c"}) {
            EXPECT_EQ(texts(records->add(platform::bytesOf(text), three)->crowdedOut), "");
        }
        auto last = records->add(platform::bytesOf("d"), three);
        EXPECT_EQ(texts(last->crowdedOut), "a ");
        EXPECT_EQ(later->claim(last->number), nullptr);
        last->claim = nullptr;
        EXPECT_NE(later->claim(last->number), nullptr);
        EXPECT_EQ(texts(later->all()), "b c d ");
        const auto large = records->add(platform::Data(20'000, 'x'), three);
        EXPECT_EQ(texts(large->crowdedOut), "b c d ");
        EXPECT_EQ(later->all().size(), 1u);
        EXPECT_TRUE(later->remove(large->number));
        EXPECT_EQ(later->claim(large->number), nullptr) << "it is gone";
        std::filesystem::remove_all(folder / "data");
    }
}

TEST_F(SealedRecordsTest, AClaimHoldsAgainstEverybodyUntilItsHolderIsGone) {
    const auto state = shared<std::atomic<std::int64_t>>();
    ChildProcess child([&] {
        const auto added = open()->add(platform::bytesOf("a"), three);
        *state = added->number;
        while (true) pause();
    });
    ASSERT_TRUE(eventually([&] { return *state != 0; }));
    const auto one = open();
    EXPECT_EQ(texts(one->all()), "a ");
    EXPECT_EQ(one->claim(*state), nullptr);
    child.kill();
    const auto claim = one->claim(*state);
    EXPECT_NE(claim, nullptr);
    EXPECT_EQ(one->claim(*state), nullptr);
    EXPECT_EQ(open()->claim(*state), nullptr);
}

TEST_F(SealedRecordsTest, OnDiskNothingCanBeReadAndABrokenSealHidesItsRecordAlone) {
    const auto secret = platform::bytesOf("a secret of some length");
    ASSERT_TRUE(open()->add(secret, three));
    for (const auto& file : std::filesystem::directory_iterator(folder / "data")) {
        EXPECT_EQ(readFile(file.path()).find("secret"), std::string::npos) << file.path();
    }
    std::filesystem::remove(folder / "data" / "keychain.key");
    ASSERT_TRUE(open()->add(platform::bytesOf("new"), three));
    EXPECT_EQ(texts(open()->all()), "new ");
}

}  // namespace
}  // namespace korvel::tests
