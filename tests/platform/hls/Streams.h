#pragma once

#include <korvel/platform/foundation/Data.h>

#include <openssl/evp.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Small streams made by hand, whose pictures can be told apart but not decoded.
namespace korvel::tests::streams {

using platform::bytesOf;
using platform::Data;

inline void append(Data& to, const Data& what) { to.insert(to.end(), what.begin(), what.end()); }
inline void number(Data& to, std::uint64_t value, std::size_t size) {
    for (std::size_t i = size; i > 0; --i)
        to.push_back(static_cast<std::uint8_t>(value >> (8 * (i - 1))));
}

/// A picture of a byte stream; its last byte is its mark.
inline Data picture(bool isKey, std::uint8_t mark, bool hasParameters = true) {
    Data bytes;
    if (isKey && hasParameters) bytes = {0, 0, 0, 1, 0x67, 0x42, 0x11, 0, 0, 0, 1, 0x68, 0x22};
    append(bytes, {0, 0, 1, static_cast<std::uint8_t>(isKey ? 0x65 : 0x41),
                   static_cast<std::uint8_t>(isKey ? 0x88 : 0xC0), mark});
    return bytes;
}

/// 1024 samples at 48 kHz.
inline Data adtsFrame(std::uint8_t mark, std::size_t payload = 20) {
    const std::size_t size = payload + 7;
    Data frame{0xFF,
               0xF1,
               0x4C,
               static_cast<std::uint8_t>(0x80 | (size >> 11U)),
               static_cast<std::uint8_t>(size >> 3U),
               static_cast<std::uint8_t>(((size & 7U) << 5U) | 0x1F),
               0xFC};
    frame.resize(size, mark);
    return frame;
}

/// A sound as a table tells it; what it says is the first letter of its language.
struct Voice {
    std::string language{};  ///< as it is written; empty: not told
    std::uint8_t audioType = 0;
    std::uint8_t codec = 0x0F;
    bool speaks = true;
};

class TransportStream {
public:
    static constexpr unsigned picturePid = 0x101;
    static constexpr unsigned soundPid = 0x102;
    unsigned pictureType = 0x1B;
    Data bytes;

    /// Sounds have the numbers from that of the sound on.
    void tables(bool hasPicture = true, const std::vector<Voice>& voices = std::vector<Voice>(1)) {
        Data programmes{0, 0xB0, 13, 0, 1, 0xC1, 0, 0, 0, 1, 0xE1, 0x00, 0, 0, 0, 0};
        section(0, programmes);
        Data map{2, 0xB0, 0, 0, 1, 0xC1, 0, 0, 0xE1, 0x01, 0xF0, 0};
        if (hasPicture) append(map, {static_cast<std::uint8_t>(pictureType), 0xE1, 1, 0xF0, 0});
        auto pid = soundPid;
        for (const Voice& each : voices) {
            number(map, each.codec << 16U | 0xE000U | pid++, 3);
            number(map, 0xF0030A01U + 0x10001U * each.language.size(), 4);
            append(map, bytesOf(each.language));
            map.push_back(each.audioType);
        }
        append(map, {0, 0, 0, 0});
        map[1] = static_cast<std::uint8_t>(0xB0 | (map.size() - 3) >> 8U);
        map[2] = static_cast<std::uint8_t>(map.size() - 3);
        section(0x100, map);
    }

    void pes(unsigned pid, std::int64_t pts, const Data& payload) {
        Data packet{0, 0, 1, static_cast<std::uint8_t>(pid == picturePid ? 0xE0 : 0xC0)};
        number(packet, pid == picturePid ? 0 : payload.size() + 8, 2);
        append(packet, {0x80, 0x80, 5});
        const auto time = static_cast<std::uint64_t>(pts) & 0x1FFFFFFFFU;
        number(packet, 0x21U | ((time >> 29U) & 0x0EU), 1);
        number(packet, ((time >> 14U) & 0xFFFEU) | 1U, 2);
        number(packet, ((time << 1U) & 0xFFFEU) | 1U, 2);
        append(packet, payload);
        packets(pid, packet);
    }

private:
    void section(unsigned pid, const Data& section) {
        Data payload{0};
        append(payload, section);
        payload.resize((payload.size() + 183) / 184 * 184, 0xFF);
        packets(pid, payload);
    }
    void packets(unsigned pid, const Data& payload) {
        for (std::size_t at = 0; at < payload.size();) {
            const std::size_t left = payload.size() - at;
            const std::size_t there = std::min<std::size_t>(left, 184);
            append(bytes, {0x47, static_cast<std::uint8_t>((at == 0 ? 0x40U : 0U) | (pid >> 8U)),
                           static_cast<std::uint8_t>(pid),
                           static_cast<std::uint8_t>((there < 184 ? 0x30 : 0x10) |
                                                     (counters_[pid]++ & 15))});
            if (there < 184) {
                const std::size_t stuffing = 183 - there;
                bytes.push_back(static_cast<std::uint8_t>(stuffing));
                if (stuffing > 0) bytes.push_back(0);
                if (stuffing > 1) bytes.resize(bytes.size() + stuffing - 1, 0xFF);
            }
            bytes.insert(bytes.end(), payload.begin() + static_cast<std::ptrdiff_t>(at),
                         payload.begin() + static_cast<std::ptrdiff_t>(at + there));
            at += there;
        }
    }
    std::map<unsigned, int> counters_;
};

struct SegmentOptions {
    double start = 0;       ///< of the container's times, in seconds
    double length = 2;      ///< seconds
    std::uint8_t mark = 0;  ///< of its pictures
    bool hasPicture = true;
    bool hasSound = true;
    bool beginsWithKey = true;
    bool hasParameters = true;
    std::vector<Voice> voices = std::vector<Voice>(1);  ///< who has no language says the mark
};

inline Data transportSegment(const SegmentOptions& options) {
    TransportStream stream;
    const auto voices = options.hasSound ? options.voices : std::vector<Voice>();
    stream.tables(options.hasPicture, voices);
    const auto ticks = [](double seconds) { return static_cast<std::int64_t>(seconds * 90'000); };
    double sounded = 0;
    const int count = static_cast<int>(options.length * 25);
    for (int i = 0; i < count; ++i) {
        const double at = i / 25.;
        if (options.hasPicture) {
            stream.pes(
                TransportStream::picturePid, ticks(options.start + at),
                picture(i == 0 && options.beginsWithKey, options.mark, options.hasParameters));
        }
        while (options.hasSound && sounded < at + 1. / 25) {
            for (unsigned pid = TransportStream::soundPid; const Voice& each : voices)
                if (pid++; each.speaks)
                    stream.pes(pid - 1, ticks(options.start + sounded),
                               adtsFrame(each.language.empty() ? options.mark
                                                               : std::uint8_t(each.language[0])));
            sounded += 1024. / 48'000;
        }
    }
    return stream.bytes;
}

inline Data box(const std::string& type, const Data& content) {
    Data bytes;
    number(bytes, content.size() + 8, 4);
    bytes.insert(bytes.end(), type.begin(), type.end());
    append(bytes, content);
    return bytes;
}
inline Data joined(std::initializer_list<Data> parts) {
    Data all;
    for (const Data& each : parts) append(all, each);
    return all;
}
inline Data numbers(std::initializer_list<std::uint32_t> words) {
    Data all;
    for (const auto word : words) number(all, word, 4);
    return all;
}

/// One track of pictures at 1000 units a second, whose edit list leaves out its first 80 units.
/// `protection`: the boxes that tell how it is encrypted.
inline Data initialization(const Data& protection = {}) {
    Data entry(78, 0);
    entry[25] = 64;
    entry[27] = 36;
    append(entry, box("avcC", {1, 0x42, 0, 10}));
    append(entry, protection);
    const Data description =
        joined({numbers({0, 1}), box(protection.empty() ? "avc1" : "encv", entry)});
    return box(
        "moov",
        joined(
            {box("mvhd", joined({numbers({0, 0, 0, 1000}), Data(80, 0)})),
             box("trak",
                 joined(
                     {box("tkhd", joined({numbers({0, 0, 0, 7}), Data(68, 0)})),
                      box("edts", box("elst", numbers({0, 1, 0, 80, 0x10000}))),
                      box("mdia",
                          joined({box("mdhd", numbers({0, 0, 0, 1000, 0, 0})),
                                  box("hdlr",
                                      joined({numbers({0, 0}), {'v', 'i', 'd', 'e'}, Data(12, 0)})),
                                  box("minf", box("stbl", box("stsd", description)))}))})),
             box("mvex", box("trex", numbers({0, 7, 1, 40, 0, 0x10000})))}));
}

/// Pictures of 40 units each, the first a key, shown 80 units after they are decoded. `more` of
/// their "traf" lies 48 bytes behind the beginning.
inline Data fragment(std::uint32_t decodeTime, const std::vector<Data>& pictures,
                     const Data& more = {}) {
    Data run = numbers({0x00000A05, static_cast<std::uint32_t>(pictures.size()), 0, 0});
    Data media;
    for (const Data& each : pictures) {
        append(run, numbers({static_cast<std::uint32_t>(each.size()), 80}));
        append(media, each);
    }
    const auto moof = [&] {
        return box("moof", box("traf", joined({box("tfhd", numbers({0x20000, 7})),
                                               box("tfdt", numbers({0, decodeTime})), more,
                                               box("trun", run)})));
    };
    const auto offset = static_cast<std::uint32_t>(moof().size() + 8);
    for (std::size_t i = 0; i < 4; ++i)
        run[8 + i] = static_cast<std::uint8_t>(offset >> (8 * (3 - i)));
    return joined({moof(), box("mdat", media)});
}
inline Data fragment(std::uint32_t decodeTime, std::size_t count, std::uint8_t mark) {
    std::vector<Data> pictures;
    for (std::size_t i = 0; i < count; ++i) pictures.emplace_back(3 + i, mark);
    return fragment(decodeTime, pictures);
}

/// An ID3 tag with the time of what follows.
inline Data timeTag(std::uint64_t ticks) {
    const std::string owner = "com.apple.streaming.transportStreamTimestamp";
    Data frame(owner.begin(), owner.end());
    frame.push_back(0);
    number(frame, ticks, 8);
    Data tag{'I', 'D', '3', 4,  0, 0, 0, 0, 0, static_cast<std::uint8_t>(frame.size() + 10),
             'P', 'R', 'I', 'V'};
    number(tag, frame.size(), 4);
    number(tag, 0, 2);
    append(tag, frame);
    return tag;
}

inline Data encrypted(const Data& plain, const Data& key, const Data& vector) {
    Data coded(plain.size() + 16);
    int size = 0;
    int last = 0;
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(context, EVP_aes_128_cbc(), nullptr, key.data(), vector.data());
    EVP_EncryptUpdate(context, coded.data(), &size, plain.data(), static_cast<int>(plain.size()));
    EVP_EncryptFinal_ex(context, coded.data() + size, &last);
    EVP_CIPHER_CTX_free(context);
    coded.resize(static_cast<std::size_t>(size) + static_cast<std::size_t>(last));
    return coded;
}

}  // namespace korvel::tests::streams
