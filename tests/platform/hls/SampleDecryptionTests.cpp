#include "platform/hls/ContainerListening.h"
#include "platform/hls/SampleEncryption.h"

#include <random>

namespace korvel::tests {

using enum SampleCipher::Scheme;

namespace {

const Data key(16, 7);
const Data vector{1, 2, 3, 4, 5, 6, 7, 8, 255, 255, 255, 255, 255, 255, 255, 254};

Listener unlock(const Data& bytes, SampleCipher::Scheme scheme, const Data& map = {},
                std::size_t piece = 188) {
    Encryption how{.samples = makeSampleCipherOpenSSL(scheme), .scheme = scheme};
    std::copy(key.begin(), key.end(), how.key.begin());
    std::copy(vector.begin(), vector.end(), how.vector.begin());
    return read(bytes, map, piece, how);
}

std::vector<Data> contents(const std::vector<Sample>& samples) {
    std::vector<Data> all;
    for (const Sample& each : samples) all.push_back(each.bytes);
    return all;
}

Data noise(std::size_t size) {
    std::mt19937 random(5);
    Data bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() % 251);
    return bytes;
}

/// How the two samples of a fragment are encrypted, and how it says so.
struct Locked {
    const char* scheme = "cbcs";
    unsigned run = 1;
    unsigned gap = 9;
    std::uint8_t vectorSize = 0;                            ///< 0: a constant one
    std::vector<std::pair<std::size_t, unsigned>> parts{};  ///< plain, encrypted; none: all
    bool isApart = false;  ///< vectors and parts lie in no box of their own
    std::uint8_t constantSize = 16;
    unsigned vectors = 2;

    bool isCBC() const { return scheme[2] == 'c'; }
    Data map() const {
        Data how{1, 0, 0, 0, 0, static_cast<std::uint8_t>(run << 4U | gap), 1, vectorSize};
        how.resize(24, 9);
        if (vectorSize == 0) append(how, joined({{constantSize}, vector}));
        const Data type =
            joined({box("frma", bytesOf("avc1")), box("schm", joined({Data(4), bytesOf(scheme)}))});
        return initialization(box("sinf", joined({type, box("schi", box("tenc", how))})));
    }
    Data media(Data sample) const {
        Data own = vector;
        if (vectorSize == 8) std::fill(own.begin() + 8, own.end(), std::uint8_t{0});
        Data record(own.begin(), own.begin() + vectorSize);
        if (!parts.empty()) number(record, parts.size(), 2);
        SampleEncryption counter{false, key, own};
        std::size_t at = 0;
        const decltype(parts) all{{0, static_cast<unsigned>(sample.size())}};
        for (const auto& [plain, coded] : parts.empty() ? all : parts) {
            if (!parts.empty()) number(record, plain << 32U | coded, 6);
            at += plain;
            if (isCBC())
                sample = SampleEncryption{true, key, own}.pattern(sample, at, coded, run, gap);
            if (!isCBC()) counter.apply(sample, at, coded);
            at += coded;
        }
        const Data records = joined({record, record});
        const Data sizes{0, 0, 0, 0, static_cast<std::uint8_t>(record.size()), 0, 0, 0, 2};
        const Data apart =
            joined({box("saiz", sizes), box("saio", numbers({0, 1, 93})), box("free", records)});
        const Data list = joined({numbers({parts.empty() ? 0U : 2U, vectors}), records});
        return fragment(0, std::vector<Data>(2, sample), isApart ? apart : box("senc", list));
    }
};

}  // namespace

TEST(SampleDecryptionTest, FragmentsAreOpenedHoweverTheySayHowTheyAreEncrypted) {
    const Locked rows[] = {{"cenc", 0, 0, 8, {{5, 19}, {7, 50}, {300, 26}}},
                           {"cenc", 0, 0, 16, {{5, 19}, {7, 50}, {0, 326}}, true},
                           {"cenc", 0, 0, 16},
                           {"cbcs", 1, 9, 0, {{9, 15}, {5, 177}, {1, 200}}, true},
                           {"cbcs", 2, 3, 16, {{0, 0}, {40, 367}}},
                           {"cbcs", 0, 0, 0},
                           {"cbcs", 1, 0, 16, {{7, 400}}}};
    for (const Locked& row : rows) {
        for (const std::size_t piece : {1u, 1000u}) {
            const auto scheme = row.isCBC() ? cbc : ctr;
            const auto found = unlock(row.media(noise(407)), scheme, row.map(), piece);
            EXPECT_EQ(contents(found.pictures()), std::vector<Data>(2, noise(407)))
                << &row - rows << ' ' << found.reason;
        }
    }
    EXPECT_EQ(unlock(fragment(0, 2, 1), cbc, initialization()).pictures().size(), 2u) << "plain";
}

TEST(SampleDecryptionTest, WhatSaysWronglyHowItIsEncryptedIsLeftOutWithItsReason) {
    const auto renamed = [](Data bytes, const std::string& from, const std::string& to) {
        const auto found = std::search(bytes.begin(), bytes.end(), from.begin(), from.end());
        std::copy(to.begin(), to.end(), found);
        return bytes;
    };
    const auto vectors = [](unsigned count) {
        return Locked{.parts = {{20, 80}}, .vectors = count}.media(noise(100));
    };
    const Data map = Locked{}.map();
    const Data group =
        box("sgpd", joined({{1, 0, 0, 0}, bytesOf("seig"), numbers({20, 1}), Data(20)}));
    const auto with = [](const Data& more) { return fragment(0, {noise(100)}, more); };
    const std::tuple<const char*, Data, Data> rows[] = {
        {"longer than itself", map, Locked{.parts = {{20, 64}, {5, 12}}}.media(noise(100))},
        {"shorter than itself", map, Locked{.parts = {{20, 64}}}.media(noise(100))},
        {"too few vectors", map, vectors(1)},
        {"too many vectors", map, vectors(1U << 31U)},
        {"no vectors", Locked{.vectorSize = 16}.map(), with({})},
        {"vectors of 8 bytes", Locked{.vectorSize = 8}.map(), vectors(2)},
        {"a vector of 8 bytes", Locked{.constantSize = 8}.map(), vectors(2)},
        {"not described", renamed(map, "tenc", "free"), vectors(2)},
        {"\"cens\"", renamed(map, "cbcs", "cens"), vectors(2)},
        {"seig", map, with(group)},
        {"seig", map, with(renamed(group, "sgpd", "sbgp"))},
        {"lie apart", map, with(joined({box("saiz", Data(9)), box("saio", numbers({0, 1, 999}))}))},
    };
    for (const auto& [expected, description, bytes] : rows) {
        const auto found = unlock(bytes, cbc, description);
        EXPECT_NE(found.reason.find(expected), std::string::npos) << expected << found.reason;
        EXPECT_LT(found.pictures().size(), 2u) << expected;
    }
}

TEST(SampleDecryptionTest, TransportStreamsAndBareSoundAreOpenedUnitByUnitAndFrameByFrame) {
    // Much looks like start codes. Units are encrypted as they are, or without what hides that.
    const auto unit = [](std::size_t size) {
        Data bytes = noise(size);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(byte % 3 * (byte % 7));
        bytes.front() = size % 2 ? 0x41 : 0x65;
        bytes.back() = 9;
        return bytes;
    };
    const auto locked = [](const Data& plain, std::size_t head, std::size_t size, std::size_t gap) {
        return SampleEncryption{true, key, vector}.pattern(plain, head, size, 1, gap);
    };
    TransportStream stream;
    stream.pictureType = 0xDB;
    stream.tables(true, {{.codec = 0xCF}});
    std::vector<Data> pictures;
    std::vector<Data> frames;
    const Data start = joined({{0, 0, 0, 1, 9, 0xF0, 0, 0, 1, 0x67}, Data(90, 4), {0, 0, 1}});
    for (const std::size_t size : {20, 40, 48, 49, 64, 65, 208, 209, 224, 225, 2000}) {
        for (const Data& plain : {escaped(unit(size)), unit(size)}) {
            const bool isLong = plain.size() > 48;
            const Data sent = isLong ? escaped(locked(plain, 32, plain.size() - 33, 9)) : plain;
            pictures.push_back(joined({start, isLong ? escaped(unit(size)) : plain}));
            stream.pes(TransportStream::picturePid, 3600 * std::ssize(pictures),
                       joined({start, sent}));
        }
        frames.push_back(adtsFrame(5, size));
        stream.pes(TransportStream::soundPid, 1920 * std::ssize(frames),
                   locked(frames.back(), 23, std::max<std::size_t>(size, 16) - 16, 0));
    }
    const auto found = unlock(stream.bytes, cbc);
    EXPECT_EQ(contents(found.pictures()), pictures);
    EXPECT_EQ(contents(found.sounds()), frames);
    for (const std::uint8_t type : {std::uint8_t{0xC1}, std::uint8_t{0xC2}}) {
        Data frame(128, 3);
        const Data head =
            type == 0xC1 ? Data{11, 119, 0, 63, 0, 64} : Data{11, 119, 0, 63, 48, 128};
        std::copy(head.begin(), head.end(), frame.begin());
        const Data sent = joined({locked(frame, 16, 112, 0), locked(frame, 16, 112, 0)});
        TransportStream sound;
        sound.tables(false, {{.codec = type}});
        sound.pes(TransportStream::soundPid, 0, sent);
        for (const Data& bytes : {sound.bytes, joined({timeTag(0), sent})})
            EXPECT_EQ(contents(unlock(bytes, cbc).sounds()), std::vector<Data>(2, frame)) << type;
    }
}

}  // namespace korvel::tests
