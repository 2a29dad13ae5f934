#include <korvel/model/KCSDKOndemandClassResponse.h>
#include <korvel/platform/foundation/JSONDecoder.h>

#include "support/Samples.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations = 0;
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
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

TEST(Decoding, AllocatesOncePerRecordListAndLongText) {
    const std::string more =
        R"(,"provider":"a text that does not fit inline","imageLink":"another one of that sort",)"
        R"("languageName":"short","equipmentNames":["a bench of oak or beech","mat","rope"])";
    const std::size_t perClass = 1 + 2 + 1 + 1;
    std::string items;
    for (int index = 0; index < 100; ++index) {
        if (index != 0) items += ',';
        items += tests::classJSON("tag", more);
    }
    const std::string json = tests::pageJSON(items);
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

}  // namespace
}  // namespace korvel
