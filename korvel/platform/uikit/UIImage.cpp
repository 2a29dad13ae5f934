#include <korvel/platform/uikit/UIImage.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <span>
#include <utility>

namespace korvel::platform {

struct UIImage::Content {
    std::string name;
    CGSize size;
    std::vector<Variant> variants;  ///< coarsest first

    bool operator==(const Content&) const = default;
};

namespace {

constexpr std::size_t headerSize = 24;  // signature, length and name of the first chunk, two sizes
using Header = std::array<std::uint8_t, headerSize>;

double bigEndian(std::span<const std::uint8_t> bytes) {
    std::uint32_t value = 0;
    for (const auto byte : bytes.first(4)) value = value << 8 | byte;
    return value;
}

std::optional<CGSize> pixelSize(std::span<const std::uint8_t> data) {
    constexpr std::string_view start("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    if (data.size() < headerSize ||
        !std::equal(start.begin(), start.end(), data.begin(),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; })) {
        return std::nullopt;
    }
    return CGSize{bigEndian(data.subspan(16)), bigEndian(data.subspan(20))};
}

std::optional<CGSize> pixelSize(const std::filesystem::path& file) {
    Header header{};
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(header.data()), header.size());
    return stream ? pixelSize(std::span<const std::uint8_t>(header)) : std::nullopt;
}

CGSize inPoints(CGSize pixels, double scale) {
    return {pixels.width / scale, pixels.height / scale};
}

}  // namespace

std::optional<UIImage> UIImage::named(std::string_view name, const Bundle& bundle) {
    Content content{std::string(name), {}, {}};
    for (const auto& [suffix, scale] : {std::pair("", 1.0), {"@2x", 2.0}, {"@3x", 3.0}}) {
        const auto file = bundle.path(std::string(name) + suffix, "png");
        const auto pixels = file ? pixelSize(*file) : std::nullopt;
        if (!pixels) continue;
        if (content.variants.empty()) content.size = inPoints(*pixels, scale);
        content.variants.push_back({scale, *file, {}});
    }
    if (content.variants.empty()) return std::nullopt;
    UIImage image;
    image.content_ = std::make_shared<Content>(std::move(content));
    return image;
}

std::optional<UIImage> UIImage::contentsOfFile(const std::filesystem::path& file, double scale) {
    const auto pixels = pixelSize(file);
    if (!pixels || !(scale > 0)) return std::nullopt;
    UIImage image;
    image.content_ =
        std::make_shared<Content>(Content{{}, inPoints(*pixels, scale), {{scale, file, {}}}});
    return image;
}

std::optional<UIImage> UIImage::withData(Data png, double scale) {
    const auto pixels = pixelSize(std::span<const std::uint8_t>(png));
    if (!pixels || !(scale > 0)) return std::nullopt;
    auto bytes = std::make_shared<const Data>(std::move(png));
    UIImage image;
    image.content_ = std::make_shared<Content>(
        Content{{}, inPoints(*pixels, scale), {{scale, {}, std::move(bytes)}}});
    return image;
}

UIImage UIImage::withRenderingMode(RenderingMode mode) const {
    auto copy = *this;
    copy.mode_ = mode;
    return copy;
}

const std::string& UIImage::name() const {
    static const std::string none;
    return content_ ? content_->name : none;
}

CGSize UIImage::size() const { return content_ ? content_->size : CGSize(); }

const UIImage::Variant* UIImage::variant(double scale) const {
    if (!content_) return nullptr;
    const auto& variants = content_->variants;
    const auto found =
        std::find_if(variants.begin(), variants.end(),
                     [&](const Variant& candidate) { return candidate.scale >= scale; });
    return found == variants.end() ? &variants.back() : &*found;
}

std::optional<Data> UIImage::encoded(const Variant& variant) {
    if (variant.bytes) return *variant.bytes;
    std::ifstream stream(variant.file, std::ios::binary);
    if (!stream) return std::nullopt;
    return Data(std::istreambuf_iterator<char>(stream), {});
}

bool UIImage::operator==(const UIImage& other) const {
    if (mode_ != other.mode_) return false;
    if (content_ == other.content_) return true;
    return content_ && other.content_ && *content_ == *other.content_;
}

}  // namespace korvel::platform
