#include <korvel/platform/hls/FragmentTrack.h>

#include <array>
#include <string>

namespace korvel::platform::hls {

using Bytes = Fields::Bytes;

namespace {

struct PictureEntry {
    std::string_view type;
    std::string_view configuration;  ///< box that holds the decoder's; its content is what it wants
    const char* caps;
};

constexpr std::array<PictureEntry, 8> pictures{{
    {"avc1", "avcC", "video/x-h264, stream-format=(string)avc, alignment=(string)au"},
    {"avc3", "avcC", "video/x-h264, stream-format=(string)avc3, alignment=(string)au"},
    {"hvc1", "hvcC", "video/x-h265, stream-format=(string)hvc1, alignment=(string)au"},
    {"hev1", "hvcC", "video/x-h265, stream-format=(string)hev1, alignment=(string)au"},
    {"av01", "av1C", "video/x-av1, stream-format=(string)obu-stream, alignment=(string)tu"},
    {"vp09", "", "video/x-vp9"},
    {"vp08", "", "video/x-vp8"},
    {"mp4v", "esds", "video/mpeg, mpegversion=(int)4, systemstream=(boolean)false"},
}};

/// Length of an MPEG-4 descriptor: up to four bytes of seven bits.
std::size_t descriptorLength(Fields& fields) {
    std::size_t length = 0;
    for (int i = 0; i < 4; ++i) {
        const auto byte = fields.byte();
        length = (length << 7U) | (byte & 127U);
        if ((byte & 128U) == 0) break;
    }
    return length;
}

struct ElementaryStream {
    std::uint8_t type = 0;  ///< object type indication
    Data configuration{};
};

ElementaryStream elementaryStream(Bytes content) {
    ElementaryStream found;
    Fields fields(content);
    fields.skip(4);
    while (fields.left() > 2) {
        const auto tag = fields.byte();
        const auto length = descriptorLength(fields);
        if (tag == 3) {  // the stream; the others lie within it
            fields.skip(2);
            const auto flags = fields.byte();
            if ((flags & 0x80U) != 0) fields.skip(2);
            if ((flags & 0x40U) != 0) fields.skip(fields.byte());
            if ((flags & 0x20U) != 0) fields.skip(2);
        } else if (tag == 4) {
            found.type = fields.byte();
            fields.skip(12);
        } else if (tag == 5) {
            const auto bytes = fields.rest().first(std::min(length, fields.left()));
            found.configuration.assign(bytes.begin(), bytes.end());
            break;
        } else {
            fields.skip(length);
        }
    }
    return found;
}

std::string field(const char* name, std::uint64_t value) {
    return std::string(", ") + name + "=(int)" + std::to_string(value);
}

std::shared_ptr<const Format> pictureFormat(const Box& entry) {
    constexpr std::size_t head = 78;
    if (entry.content.size() < head) return nullptr;
    Fields fields(entry.content.subspan(24));
    const auto width = fields.half();
    const auto height = fields.half();
    for (const PictureEntry& each : pictures) {
        if (each.type != entry.type) continue;
        Format format{Kind::picture, each.caps};
        const auto box = boxIn(entry.content.subspan(head), each.configuration);
        if (!each.configuration.empty() && !box) return nullptr;
        if (each.configuration == "esds") {
            format.codecData = elementaryStream(box->content).configuration;
        } else if (box) {
            format.codecData.assign(box->content.begin(), box->content.end());
        }
        format.caps += field("width", width) + field("height", height);
        return std::make_shared<const Format>(std::move(format));
    }
    return nullptr;
}

/// The head that a stream of Opus begins with, from what the box tells in another byte order.
Data opusHead(Bytes content) {
    if (content.size() < 11) return {};
    Data head{'O', 'p', 'u', 's', 'H', 'e', 'a', 'd', 1, content[1]};
    const auto turned = [&](std::size_t at, std::size_t size) {
        for (std::size_t i = size; i > 0; --i) head.push_back(content[at + i - 1]);
    };
    turned(2, 2);
    turned(4, 4);
    turned(8, 2);
    head.insert(head.end(), content.begin() + 10, content.end());
    return head;
}

std::shared_ptr<const Format> soundFormat(const Box& entry) {
    if (entry.content.size() < 28) return nullptr;
    Fields fields(entry.content.subspan(8));
    const auto version = fields.half();
    fields.skip(6);
    const auto channels = fields.half();
    fields.skip(6);
    const auto rate = fields.word() >> 16U;
    const Bytes boxes = Fields(entry.content.subspan(28))
                            .rest()
                            .subspan(version == 1 && entry.content.size() >= 44 ? 16 : 0);
    const std::string layout = field("rate", rate) + field("channels", channels);
    Format format{Kind::sound, {}};
    if (entry.type == "mp4a") {
        const auto box = boxIn(boxes, "esds");
        if (!box) return nullptr;
        auto stream = elementaryStream(box->content);
        if (stream.type == 0x69 || stream.type == 0x6B) {
            format.caps = "audio/mpeg, mpegversion=(int)1, layer=(int)3" + layout;
        } else {
            format.caps = "audio/mpeg, mpegversion=(int)4, stream-format=(string)raw" + layout;
            format.codecData = std::move(stream.configuration);
        }
    } else if (entry.type == "ac-3") {
        format.caps = "audio/x-ac3" + layout;
    } else if (entry.type == "ec-3") {
        format.caps = "audio/x-eac3" + layout;
    } else if (entry.type == ".mp3") {
        format.caps = "audio/mpeg, mpegversion=(int)1, layer=(int)3" + layout;
    } else if (const auto box = boxIn(boxes, "dOps"); box && entry.type == "Opus") {
        format.codecData = opusHead(box->content);
        if (format.codecData.empty()) return nullptr;
        format.caps = "audio/x-opus, channel-mapping-family=(int)" +
                      std::to_string(box->content[10]) + layout;
    } else {
        return nullptr;
    }
    return std::make_shared<const Format>(std::move(format));
}

}  // namespace

std::shared_ptr<const Format> formatOf(const Box& sampleEntry, Kind kind) {
    return kind == Kind::picture ? pictureFormat(sampleEntry) : soundFormat(sampleEntry);
}

}  // namespace korvel::platform::hls
