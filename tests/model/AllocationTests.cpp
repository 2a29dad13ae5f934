#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/model/KCSDKOndemandMetaData.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include "support/Samples.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations = 0;
std::atomic<std::size_t> allocated = 0;  // bytes, freed or not
std::atomic<std::size_t> failing = 0;    // which allocation from now on finds no memory; 0: none
}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    allocated += size;
    if (failing != 0 && --failing == 0) return nullptr;
    return std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace korvel {
namespace {

platform::Data roomyBody(const std::string& json) {
    platform::Data body;
    body.reserve(json.size() + 64);
    body.assign(json.begin(), json.end());
    return body;
}

std::string pageOf(int classes, const std::string& more = "") {
    std::string items = tests::classJSON("tag", more);
    while (--classes > 0) items += "," + tests::classJSON("tag", more);
    return tests::pageJSON(items);
}

TEST(Decoding, AllocatesOncePerRecordListAndLongText) {
    const std::string more =
        R"(,"provider":"a text that does not fit inline","imageLink":"another one of that sort",)"
        R"("languageName":"short","equipmentNames":["a bench of oak or beech","mat","rope"])";
    const std::size_t perClass = 1 + 2 + 1 + 1;
    const std::string json = pageOf(100, more);
    // Once to have the parser's own buffers made, once to count.
    for (const bool counts : {false, true}) {
        platform::Data body = roomyBody(json);
        const std::size_t before = allocations;
        const auto page =
            platform::decodeJSON<std::shared_ptr<KCSDKOndemandClassResponse>>(std::move(body));
        const std::size_t made = allocations - before;
        ASSERT_TRUE(page);
        EXPECT_TRUE(!counts || made == 1 + 1 + 100 * perClass) << made;
    }
}

template <class Record> bool decodes(const std::string& json, platform::DecodingError& error) {
    return platform::decodeJSON<std::shared_ptr<Record>>(roomyBody(json), &error).has_value();
}

TEST(Decoding, AListOfWhatAreNoElementsTakesNoMoreThanItsParsing) {
    std::string zeros = "0";
    while (zeros.size() < (1U << 20)) zeros += ",0";
    const std::string page = R"({"totalItems":1,"itemsRemaining":0,"items":[)" + zeros + "]}";
    const std::string values = R"({"classTypes":[],"equipments":[)" + zeros + "]}";
    platform::DecodingError error;
    std::size_t before = allocated;
    EXPECT_FALSE(decodes<KCSDKOndemandClassResponse>(page, error));
    EXPECT_EQ(error.path, "items[0]");
    EXPECT_LT(allocated - before, 16 * page.size());
    before = allocated;
    EXPECT_FALSE(decodes<KCSDKOndemandMetaData>(values, error));
    EXPECT_EQ(error.path, "equipments[0]");
    EXPECT_LT(allocated - before, 16 * values.size());
}

TEST(Decoding, LongListsGrowWithWhatWasRead) {
    const auto page =
        platform::decodeJSON<std::shared_ptr<KCSDKOndemandClassResponse>>(roomyBody(pageOf(5000)));
    ASSERT_TRUE(page);
    EXPECT_EQ((*page)->items.size(), 5000u);
    EXPECT_EQ((*page)->items.capacity(), 5000u);
}

TEST(Decoding, RunningOutOfMemoryAnywhereIsNotUnderstanding) {
    const std::string small =
        pageOf(1, R"(,"provider":"a text that does not fit inline","equipmentNames":["a","b"])");
    platform::DecodingError none;
    ASSERT_TRUE(
        decodes<KCSDKOndemandClassResponse>(small, none));  // what the parser makes but once
    for (const auto& json : {small, pageOf(2000)}) {        // with a kept parser, and a new one
        bool understood = false;
        for (std::size_t nth = 1; !understood && nth < 100; ++nth) {
            platform::DecodingError error;
            platform::Data body = roomyBody(json);
            failing = nth;
            understood = platform::decodeJSON<std::shared_ptr<KCSDKOndemandClassResponse>>(
                             std::move(body), &error)
                             .has_value();
            const bool failed = failing == 0;
            failing = 0;
            EXPECT_EQ(understood, !failed) << nth;
            EXPECT_EQ(error.reason.empty(), understood) << nth;
        }
        EXPECT_TRUE(understood || json.size() > small.size());
    }
}

}  // namespace
}  // namespace korvel
