#include "Picture.h"

#include "Failure.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace cli {

namespace {

using korvel::platform::VideoFrame;

/// How much red and blue make up the brightness.
struct Weights {
    double red;
    double blue;
};

Weights weightsOf(VideoFrame::Matrix matrix) {
    switch (matrix) {
        case VideoFrame::Matrix::bt709:
            return {.red = 0.2126, .blue = 0.0722};
        case VideoFrame::Matrix::bt2020:
            return {.red = 0.2627, .blue = 0.0593};
        case VideoFrame::Matrix::bt601:
            break;
    }
    return {.red = 0.299, .blue = 0.114};
}

std::uint8_t byteOf(double value) {
    return static_cast<std::uint8_t>(std::clamp(std::lround(value * 255), 0L, 255L));
}

class Colours {
public:
    explicit Colours(const VideoFrame& frame)
        : frame_(frame), weights_(weightsOf(frame.matrix)), full_(frame.fullRange) {}

    void append(std::vector<std::uint8_t>& pixels, std::size_t x, std::size_t y) const {
        const double light = full_ ? sample(0, x, y) / 255. : (sample(0, x, y) - 16) / 219.;
        const double blueness = (sample(1, x / 2, y / 2) - 128) / (full_ ? 255. : 224.);
        const double redness = (sample(2, x / 2, y / 2) - 128) / (full_ ? 255. : 224.);
        const double red = light + 2 * (1 - weights_.red) * redness;
        const double blue = light + 2 * (1 - weights_.blue) * blueness;
        const double green = (light - weights_.red * red - weights_.blue * blue) /
                             (1 - weights_.red - weights_.blue);
        for (const double value : {red, green, blue}) pixels.push_back(byteOf(value));
    }

private:
    int sample(std::size_t plane, std::size_t x, std::size_t y) const {
        const auto& from = frame_.planes.at(plane);
        return from.data[y * from.stride + x];
    }

    const VideoFrame& frame_;
    const Weights weights_;
    const bool full_;
};

}  // namespace

void writePicture(const VideoFrame& frame, const std::filesystem::path& file) {
    const Colours colours(frame);
    const auto width =
        std::max(1U, static_cast<std::uint32_t>(std::lround(frame.width * frame.pixelAspect)));
    std::vector<std::uint8_t> pixels;
    pixels.reserve(std::size_t{3} * width * frame.height);
    for (std::size_t y = 0; y < frame.height; ++y) {
        for (std::size_t x = 0; x < width; ++x) colours.append(pixels, x * frame.width / width, y);
    }
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = frame.height;
    image.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&image, file.c_str(), 0, pixels.data(), 0, nullptr)) {
        throw Failure(ExitCode::failed,
                      "no picture could be written to " + file.string() + ": " + image.message);
    }
}

}  // namespace cli
