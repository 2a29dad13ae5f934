#include <korvel/platform/backends/openssl/SampleCipherOpenSSL.h>
#include <korvel/platform/hls/Cipher.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace korvel::platform::hls {
namespace {

[[noreturn]] void endAmidDecrypting(std::chrono::microseconds after) {
    prepareCiphers();
    const auto decrypt = [] {
        const auto samples = makeSampleCipherOpenSSL(SampleCipher::Scheme::ctr);
        Data bytes(1600, 7);
        const std::span<std::uint8_t> ranges[] = {bytes};
        for (;;) {
            (void)makeCipher({}, {})->update(bytes);
            (void)samples->decrypt({}, {}, ranges);
        }
    };
    for (int thread = 0; thread < 3; ++thread) std::thread(decrypt).detach();
    std::this_thread::sleep_for(after);
    std::exit(0);
}

TEST(CipherTest, TheProcessMayEndWhileLoadersDecrypt) {
    for (int turn = 1; turn <= 20; ++turn) {
        EXPECT_EXIT(endAmidDecrypting(std::chrono::microseconds(200) * turn),
                    testing::ExitedWithCode(0), "");
    }
}

}  // namespace
}  // namespace korvel::platform::hls
