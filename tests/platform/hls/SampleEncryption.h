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

    /// As one message with what came before: with CBC whole blocks.
    void apply(Data& sample, std::size_t from, std::size_t size) {
        for (std::size_t at = from; at < from + size; ++at, ++used) {
            const std::size_t i = used % 16;
            if (!isCBC && i == 0) stream = encrypted(vector, key, Data(16));
            (isCBC ? vector[i] : sample[at]) ^= isCBC ? sample[at] : stream[i];
            if (isCBC && i == 15)
                std::copy_n((vector = encrypted(vector, key, Data(16))).begin(), 16,
                            &sample[at - 15]);
            for (std::size_t j = 16; !isCBC && i == 15 && j > 8 && ++vector[--j] == 0;) continue;
        }
    }
    /// Of `run` and `gap` blocks in turn the first, and not what is less than a block.
    Data pattern(Data sample, std::size_t from, std::size_t size, std::size_t run,
                 std::size_t gap) {
        for (std::size_t i = 0; i < size / 16; ++i) {
            if (run == 0 || i % (run + gap) < run) apply(sample, from + 16 * i, 16);
        }
        return sample;
    }
};

/// With the bytes that keep a unit from looking like a start code.
inline Data escaped(const Data& unit) {
    Data bytes;
    for (const auto byte : unit) {
        const auto size = bytes.size();
        if (size > 1 && byte < 4 && bytes[size - 1] == 0 && bytes[size - 2] == 0)
            bytes.push_back(3);
        bytes.push_back(byte);
    }
    return bytes;
}

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
