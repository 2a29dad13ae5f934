#include <service/Artwork.h>

#include <cstdio>
// libjpeg's header needs FILE and size_t to be there
#include <jpeglib.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <numbers>
#include <utility>
#include <vector>

namespace korvel::service {

namespace {

constexpr int width = 640;
constexpr int height = 360;
constexpr float pixel = 1.0F / height;  // the picture is 1 high

struct Color {
    float red, green, blue;
};
constexpr Color mix(Color from, Color to, float part) {
    return {from.red + (to.red - from.red) * part, from.green + (to.green - from.green) * part,
            from.blue + (to.blue - from.blue) * part};
}

struct Palette {
    Color dark, deep, light;
};
constexpr std::array<Palette, 6> palettes{{
    {{0.13F, 0.06F, 0.09F}, {0.62F, 0.16F, 0.17F}, {1.00F, 0.55F, 0.32F}},
    {{0.04F, 0.11F, 0.14F}, {0.10F, 0.42F, 0.44F}, {0.72F, 0.90F, 0.68F}},
    {{0.05F, 0.07F, 0.20F}, {0.19F, 0.27F, 0.74F}, {0.45F, 0.78F, 1.00F}},
    {{0.14F, 0.09F, 0.04F}, {0.70F, 0.40F, 0.06F}, {1.00F, 0.84F, 0.36F}},
    {{0.12F, 0.04F, 0.17F}, {0.52F, 0.14F, 0.62F}, {1.00F, 0.52F, 0.76F}},
    {{0.03F, 0.09F, 0.17F}, {0.06F, 0.38F, 0.62F}, {0.52F, 0.92F, 0.92F}},
}};

/// 0 to 1, different for every use of one variation.
float chance(unsigned variation, unsigned use) {
    std::uint32_t bits = variation * 2654435761U + use * 40503U + 12345U;
    bits ^= bits >> 15U;
    bits *= 2246822519U;
    bits ^= bits >> 13U;
    return static_cast<float>(bits & 0xffffU) / 65535.0F;
}

/// How much of a pixel lies inside, by its distance from the edge (negative inside).
float coverage(float distance) { return std::clamp(0.5F - distance / (1.5F * pixel), 0.0F, 1.0F); }

/// What is drawn over the ground, from dark to light.
struct Layer {
    float cover;
    float tone;  ///< 0: the palette's deep colour, 1: the light one
};

/// One picture's drawing: the layers at a place, x from 0 to 16/9 and y from 0 to 1.
class Motif {
public:
    Motif(unsigned motif, unsigned number)
        : kind(motif % 6),
          centreX(1.05F + 0.45F * chance(number, 1)),
          centreY(0.35F + 0.3F * chance(number, 2)),
          size(0.30F + 0.16F * chance(number, 3)),
          turn(std::numbers::pi_v<float> * chance(number, 4)) {}

    std::array<Layer, 3> at(float x, float y) const {
        switch (kind) {
            case 0:
                return plates(x, y);
            case 1:
                return hills(x, y);
            case 2:
                return wheel(x, y);
            case 3:
                return lanes(x, y);
            case 4:
                return sparks(x, y);
            default:
                return ripples(x, y);
        }
    }

private:
    float radius(float x, float y) const { return std::hypot(x - centreX, y - centreY); }
    static float ring(float distance, float at, float thickness) {
        return coverage(std::abs(distance - at) - thickness / 2);
    }

    std::array<Layer, 3> plates(float x, float y) const {
        const float r = radius(x, y);
        return {{{0.55F * coverage(r - size * 1.55F), 0.25F},
                 {0.8F * coverage(r - size) * (1 - coverage(r - size * 0.42F)), 0.75F},
                 {0.9F * ring(r, size * 1.25F, 0.02F), 1.0F}}};
    }
    std::array<Layer, 3> hills(float x, float y) const {
        const float back = 0.52F + 0.12F * std::sin(2.1F * x + turn);
        const float front = 0.74F + 0.10F * std::sin(1.6F * x + 2 * turn + 1);
        return {{{0.9F * coverage(radius(x, y + 0.12F) - size * 0.62F), 1.0F},
                 {0.75F * coverage(back - y), 0.35F},
                 {0.9F * coverage(front - y), 0.05F}}};
    }
    std::array<Layer, 3> wheel(float x, float y) const {
        constexpr float spokes = 9;
        const float r = radius(x, y);
        const float angle = std::atan2(y - centreY, x - centreX) + turn;
        const float sector = 2 * std::numbers::pi_v<float> / spokes;
        const float off = std::abs(std::remainder(angle, sector)) * r;
        const float rim = size * 1.15F;
        return {{{ring(r, rim, 0.055F), 0.55F},
                 {0.8F * coverage(off - 0.006F) * coverage(r - rim), 0.9F},
                 {coverage(r - size * 0.2F), 1.0F}}};
    }
    std::array<Layer, 3> lanes(float x, float y) const {
        const float slope = 0.45F + 0.3F * turn;
        const float across = x - centreX + slope * (y - 0.5F);
        const auto lane = [&](float at, float half) {
            return coverage(std::abs(across - at * (0.25F + y)) - half * (0.2F + y));
        };
        return {{{0.75F * lane(-0.42F, 0.13F), 0.3F},
                 {0.85F * lane(0.0F, 0.13F), 0.7F},
                 {0.9F * lane(0.42F, 0.13F), 1.0F}}};
    }
    std::array<Layer, 3> sparks(float x, float y) const {
        const auto diamond = [&](float dx, float dy, float half) {
            return coverage((std::abs(x - centreX - dx) * 1.5F + std::abs(y - centreY - dy)) -
                            half);
        };
        return {{{0.7F * diamond(-0.34F, 0.12F, size * 0.9F), 0.3F},
                 {0.8F * diamond(0.0F, 0.0F, size * 1.15F), 0.65F},
                 {0.95F * diamond(0.26F, -0.14F, size * 0.5F), 1.0F}}};
    }
    std::array<Layer, 3> ripples(float x, float y) const {
        const float r = std::hypot((x - centreX) * 0.62F, y - 0.92F);
        return {{{0.8F * ring(r, size * 0.62F, 0.09F), 0.35F},
                 {0.8F * ring(r, size * 1.08F, 0.07F), 0.65F},
                 {0.9F * ring(r, size * 1.5F, 0.05F), 1.0F}}};
    }

    unsigned kind;
    float centreX, centreY, size, turn;
};

Color paint(const Motif& motif, const Palette& palette, float x, float y) {
    const float light = std::clamp(0.15F + 0.45F * x + 0.25F * (1 - y), 0.0F, 1.0F);
    Color color = mix(palette.dark, palette.deep, light);
    for (const Layer& layer : motif.at(x, y)) {
        color = mix(color, mix(palette.deep, palette.light, layer.tone), layer.cover * 0.92F);
    }
    const float shade = 1 - 0.25F * y;
    return {color.red * shade, color.green * shade, color.blue * shade};
}

std::uint8_t byteOf(float part) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(part, 0.0F, 1.0F) * 255));
}

std::string encoded(std::vector<std::uint8_t>& pixels) {
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr faults{};
    jpeg.err = jpeg_std_error(&faults);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &bytes, &size);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 86, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        JSAMPROW row = &pixels[std::size_t{jpeg.next_scanline} * width * 3];
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owned(bytes, &std::free);
    std::string result(bytes, bytes + size);
    jpeg_destroy_compress(&jpeg);
    return result;
}

/// Draws each picture once.
class Gallery {
public:
    explicit Gallery(const Catalogue& catalogue) {
        const auto all =
            nlohmann::json::parse(catalogue.collections(std::numeric_limits<std::size_t>::max()));
        unsigned motif = 0;
        for (const auto& collection : all) {
            for (const auto& each : collection.value("collectionItems", nlohmann::json::array()))
                motifs_.emplace(each.at("tag").get<std::string>(), motif);
            ++motif;
        }
    }

    std::string picture(const std::string& tag) {
        const std::lock_guard lock(mutex_);
        std::string& drawn = pictures_[tag];
        if (drawn.empty()) {
            const auto found = motifs_.find(tag);
            drawn = drawArtwork(found == motifs_.end() ? 0 : found->second,
                                static_cast<unsigned>(std::strtoul(tag.c_str(), nullptr, 10)));
        }
        return drawn;
    }

private:
    std::map<std::string, unsigned> motifs_;
    std::mutex mutex_;
    std::map<std::string, std::string> pictures_;
};

}  // namespace

std::string drawArtwork(unsigned motif, unsigned variation) {
    const Motif drawing(motif, variation);
    const Palette& palette = palettes[motif % palettes.size()];
    std::vector<std::uint8_t> pixels;
    pixels.reserve(std::size_t{width} * height * 3);
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const Color color = paint(drawing, palette, (static_cast<float>(column) + 0.5F) * pixel,
                                      (static_cast<float>(row) + 0.5F) * pixel);
            pixels.push_back(byteOf(color.red));
            pixels.push_back(byteOf(color.green));
            pixels.push_back(byteOf(color.blue));
        }
    }
    return encoded(pixels);
}

void addArtwork(Endpoints& endpoints, const Catalogue& catalogue) {
    const auto gallery = std::make_shared<Gallery>(catalogue);
    endpoints.Get(
        "/media/images/([^/]+)\\.jpg",
        [&catalogue, gallery](const httplib::Request& request, httplib::Response& response) {
            const std::string tag = request.matches[1].str();
            if (!catalogue.holds(tag)) return Endpoints::refuse(response, 404, "no such picture");
            response.set_content(gallery->picture(tag), "image/jpeg");
        });
}

}  // namespace korvel::service
