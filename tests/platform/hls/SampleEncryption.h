#pragma once

#include "platform/hls/Streams.h"

#include <korvel/platform/backends/openssl/SampleCipherOpenSSL.h>

namespace korvel::tests::streams {

/// Encrypts samples as packagers do, byte by byte, and not by what decrypts them.
struct SampleEncryption {
    bool isCBC;
    Data key;
    Data vector;  ///< of 16 bytes
    std::size_t used = 0;
    Data stream{};

    Data block() const {
        Data coded = encrypted(vector, key, Data(16));
        coded.resize(16);
        return coded;
    }
    /// As one message with what came before: with CBC whole blocks.
    void apply(Data& sample, std::size_t from, std::size_t size) {
        for (std::size_t at = from; at < from + size; ++at, ++used) {
            const std::size_t i = used % 16;
            if (!isCBC && i == 0) stream = block();
            (isCBC ? vector[i] : sample[at]) ^= isCBC ? sample[at] : stream[i];
            if (i < 15) continue;
            if (isCBC) std::copy_n((vector = block()).begin(), 16, &sample[at - 15]);
            for (std::size_t j = 16; !isCBC && j > 8 && ++vector[--j] == 0;) continue;
        }
    }
    /// Of `run` and `gap` blocks in turn the first, and not what is less than a block.
    void pattern(Data& sample, std::size_t from, std::size_t size, std::size_t run,
                 std::size_t gap) {
        for (std::size_t i = 0; i < size / 16; ++i) {
            if (run == 0 || i % (run + gap) < run) apply(sample, from + 16 * i, 16);
        }
    }
};

/// Of a device that opens samples.
struct OpeningKeySystem final : platform::ContentKeySystem {
    std::unique_ptr<platform::ContentKeyExchange> exchange(const Data&, const Data&,
                                                           platform::NSError*) const override {
        return nullptr;
    }
    std::shared_ptr<const platform::SampleCipher> sampleCipher(
        platform::SampleCipher::Scheme scheme) const override {
        return platform::makeSampleCipherOpenSSL(scheme);
    }
};

}  // namespace korvel::tests::streams
