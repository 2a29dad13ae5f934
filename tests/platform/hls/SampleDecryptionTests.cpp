#include "platform/hls/Rig.h"
#include "platform/hls/SampleEncryption.h"

#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/ContainerReader.h>

#include <random>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;
using namespace streams;
using enum SampleCipher::Scheme;

namespace {

const Data usualKey(16, 7);
const Data usualVector{1, 2, 3, 4, 5, 6, 7, 8, 255, 255, 255, 255, 255, 255, 255, 254};

struct Unlocked final : ContainerListener {
    std::array<std::vector<Data>, 2> samples;
    std::string reason;
    void format(std::shared_ptr<const Format>) override {}
    void formatsAreComplete() override {}
    void sample(Kind kind, Sample sample) override {
        samples.at(static_cast<std::size_t>(kind)).push_back(std::move(sample.bytes));
    }
    void locked(const std::string& why) override { reason = why; }
};

Unlocked unlock(const Data& bytes, SampleCipher::Scheme scheme, const Data& map = {},
                std::size_t piece = 1000) {
    Unlocked listener;
    Encryption how{.samples = makeSampleCipherOpenSSL(scheme), .scheme = scheme};
    std::copy(usualKey.begin(), usualKey.end(), how.key.begin());
    std::copy(usualVector.begin(), usualVector.end(), how.vector.begin());
    const auto reader = makeContainerReader(*recognised(bytes, true), map, listener, how);
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        reader->push(ContainerReader::Bytes(bytes).subspan(at, std::min(piece, bytes.size() - at)));
    reader->finish();
    return listener;
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
        if (vectorSize == 0) append(how, joined({{constantSize}, usualVector}));
        const Data details = box("schi", box("tenc", how));
        return initialization(
            box("sinf", joined({box("frma", bytesOf("avc1")),
                                box("schm", joined({Data(4), bytesOf(scheme)})), details})));
    }
    Data media(Data sample, unsigned time = 0, const Data& key = usualKey) const {
        Data own = usualVector;
        if (vectorSize == 8) std::fill(own.begin() + 8, own.end(), std::uint8_t{0});
        Data record(own.begin(), own.begin() + vectorSize);
        if (!parts.empty()) number(record, parts.size(), 2);
        SampleEncryption counter{false, key, own};
        std::size_t at = 0;
        const decltype(parts) all{{0, static_cast<unsigned>(sample.size())}};
        for (const auto& [plain, coded] : parts.empty() ? all : parts) {
            if (!parts.empty()) number(record, plain << 32U | coded, 6);
            at += plain;
            if (isCBC()) SampleEncryption{true, key, own}.pattern(sample, at, coded, run, gap);
            if (!isCBC()) counter.apply(sample, at, coded);
            at += coded;
        }
        const Data records = joined({record, record});
        const auto size = static_cast<std::uint8_t>(record.size());
        const Data more =
            isApart ? joined({box("saiz", joined({Data(4), {size}, numbers({2})})),
                              box("saio", numbers({0, 1, 48 + 17 + 20 + 8})), box("free", records)})
                    : box("senc", joined({numbers({parts.empty() ? 0U : 2U, vectors}), records}));
        return fragment(time, std::vector<Data>(2, sample), more);
    }
};

}  // namespace

TEST(SampleDecryptionTest, FragmentsAreOpenedHoweverTheySayHowTheyAreEncrypted) {
    const Data plain = noise(407);
    const Locked rows[] = {{"cenc", 0, 0, 8, {{5, 19}, {7, 50}, {300, 26}}},
                           {"cenc", 0, 0, 16, {{5, 19}, {7, 50}, {0, 326}}, true},
                           {"cenc", 0, 0, 16},
                           {"cbcs", 1, 9, 0, {{9, 15}, {5, 177}, {1, 200}}},
                           {"cbcs", 1, 9, 0, {{9, 16}, {5, 176}, {1, 200}}, true},
                           {"cbcs", 2, 3, 16, {{0, 0}, {40, 367}}},
                           {"cbcs", 0, 0, 0},
                           {"cbcs", 1, 0, 16, {{7, 400}}}};
    for (const Locked& row : rows) {
        const auto bytes = row.media(plain);
        for (const std::size_t piece : {1u, 1000u}) {
            const auto found = unlock(bytes, row.isCBC() ? cbc : ctr, row.map(), piece);
            EXPECT_EQ(found.reason, "") << &row - rows;
            EXPECT_EQ(found.samples[0], std::vector<Data>(2, plain)) << &row - rows;
        }
        const auto other = unlock(bytes, row.isCBC() ? ctr : cbc, row.map());
        EXPECT_NE(other.reason.find(row.scheme), std::string::npos);
        EXPECT_TRUE(other.samples[0].empty());
    }
    EXPECT_EQ(unlock(fragment(0, 2, 1), cbc, initialization()).samples[0].size(), 2u)
        << "plain ones";
}

TEST(SampleDecryptionTest, WhatSaysWronglyHowItIsEncryptedIsLeftOutWithItsReason) {
    const auto other = [](Data bytes, const std::string& from, const std::string& to) {
        std::copy(to.begin(), to.end(),
                  std::search(bytes.begin(), bytes.end(), from.begin(), from.end()));
        return bytes;
    };
    const Locked usual{.parts = {{20, 80}}};
    const auto vectors = [&](unsigned count) {
        return Locked{.parts = {{20, 80}}, .vectors = count}.media(noise(100));
    };
    const auto with = [](const Data& more) { return fragment(0, {noise(100)}, more); };
    const Data map = usual.map();
    const Data group =
        box("sgpd", joined({{1, 0, 0, 0}, bytesOf("seig"), numbers({20, 1}), Data(20)}));
    const Data apart = joined({box("saiz", Data(9)), box("saio", numbers({0, 1, 9999}))});
    const std::tuple<const char*, Data, Data> rows[] = {
        {"longer than itself", map, Locked{.parts = {{20, 64}, {5, 12}}}.media(noise(100))},
        {"shorter than itself", map, usual.media(noise(101))},
        {"too few vectors", map, vectors(1)},
        {"too few vectors", map, vectors(99'999)},
        {"too many vectors", map, vectors(1U << 31U)},
        {"no vectors", Locked{.vectorSize = 16}.map(), with({})},
        {"vectors of 8 bytes", Locked{.vectorSize = 8}.map(), vectors(2)},
        {"a vector of 8 bytes", Locked{.constantSize = 8}.map(), vectors(2)},
        {"a vector of 17 bytes", Locked{.constantSize = 17}.map(), vectors(2)},
        {"not described", other(map, "tenc", "free"), vectors(2)},
        {"\"cens\"", other(map, "cbcs", "cens"), vectors(2)},
        {"seig", map, with(group)},
        {"seig", map, with(other(group, "sgpd", "sbgp"))},
        {"lie apart", map, with(apart)},
    };
    for (const auto& [reason, description, bytes] : rows) {
        const auto found = unlock(bytes, cbc, description);
        EXPECT_NE(found.reason.find(reason), std::string::npos) << reason << ": " << found.reason;
        EXPECT_LT(found.samples[0].size(), 2u) << reason;
    }
}

TEST_F(PresentationTest, SamplesAreOpenedWhereTheDeviceDoesSoAndRefusedElsewhere) {
    answerKeys();
    const Locked how{.parts = {{20, 80}}};
    server->put("https://h/init", {.body = how.map()});
    server->put("https://h/0", {.body = how.media(noise(100), 0, Data(16, 8))});
    server->put("https://h/1", {.body = how.media(noise(100), 80)});
    server->put("https://h/2", {.body = how.media(noise(101), 80)});
    const auto play = [&](const std::string& last, const std::string& method = "SAMPLE-AES") {
        const std::string tag = "#EXT-X-KEY:METHOD=" + method + ",URI=\"";
        server->put("https://h/list.m3u8",
                    "#EXTM3U\n" + tag + "data:;base64,CAgICAgICAgICAgICAgICA==\"\n" +
                        "#EXT-X-MAP:URI=\"init\"\n#EXTINF:0.08,\n0\n" + tag +
                        "skd://k\"\n#EXTINF:0.08,\n" + last + "\n#EXT-X-ENDLIST\n");
        open("https://h/list.m3u8");
        EXPECT_TRUE(until([&] { return output->error() || output->lane(Kind::picture).ended; }));
        return reason();
    };
    for (const std::string method : {"SAMPLE-AES", "SAMPLE-AES-CTR"}) {
        EXPECT_EQ(play("1", method),
                  "The stream is encrypted by " + method + ", which cannot be opened here.");
    }
    EXPECT_EQ(keysAsked() + server->count("https://h/0"), 0u) << "refused before anything else";
    keys->setContentKeySystem(std::make_shared<OpeningKeySystem>());
    EXPECT_EQ(play("1"), "none");
    const auto pictures = output->lane(Kind::picture).samples;
    ASSERT_EQ(pictures.size(), 4u);
    for (const Sample& each : pictures) EXPECT_EQ(each.bytes, noise(100));
    EXPECT_EQ(keysAsked(), 1u);
    EXPECT_EQ(play("2"), "A sample's encrypted parts are shorter than itself: https://h/2");
    EXPECT_EQ(static_cast<AVError>(output->error()->code), AVError::contentIsProtected);
}

}  // namespace korvel::tests
