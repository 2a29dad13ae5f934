#include "support/ChildProcess.h"
#include "support/Memory.h"
#include "support/RealService.h"
#include "support/TemporaryFolder.h"

#include <korvel/KorvelContentSDK.h>
#include <service/ServiceProcess.h>

#include <gtest/gtest.h>
#include <zlib.h>

namespace korvel::tests {
namespace {

constexpr int millions = 120;

std::string zeros(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "0,";
    return text;
}

/// A page of so many millions of items that are none, packed as it is written.
std::string packedPage() {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY);
    std::string packed(1 << 20, '\0');
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const auto add = [&](std::string text, int flush) {
        stream.next_in = reinterpret_cast<Bytef*>(text.data());
        stream.avail_in = static_cast<uInt>(text.size());
        deflate(&stream, flush);
    };
    add(R"({"totalItems":1,"itemsRemaining":0,"items":[)", Z_NO_FLUSH);
    for (int i = 0; i < millions; ++i) add(zeros(1'000'000), Z_NO_FLUSH);
    add("0]}", Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string page(int items) {
    return R"({"totalItems":1,"itemsRemaining":0,"items":[)" + zeros(items) + "0]}";
}

// What is refused, and the largest that is not: two megabytes.
TEST(Memory, StaysSmallWhateverTheServiceAnswers) {
    using Service = service::ContentService;
    const service::ServiceProcess service({.tls = false, .keptRequests = 0}, [](Service& each) {
        each.script(
            {.status = 200, .body = packedPage(), .headers = {{"Content-Encoding", "gzip"}}});
        each.script({.status = 200, .body = page(millions * 1'000'000)});
        each.script({.status = 200, .body = page(1'040'000)});
        return std::string();
    });
    const TemporaryFolder folder;
    platform::DeviceOptions options;
    options.dataFolder = folder / "data";
    ASSERT_TRUE(platform::Device::install({}, options));
    ContentClient client(makeConfig({}, service.baseURL()));
    forgetPeak();
    const double before = megabytes("VmHWM:");
    for (int answer = 0; answer < 3; ++answer) {
        const auto outcome = client.classes({.page = 1, .size = 5}).get();
        ASSERT_FALSE(outcome);
        EXPECT_EQ(outcome.failure().reason, Failure::Reason::notUnderstood) << answer;
    }
    if (sanitized) GTEST_SKIP() << "sanitizers keep memory for themselves";
    EXPECT_LT(megabytes("VmHWM:") - before, 64);
}

}  // namespace
}  // namespace korvel::tests
