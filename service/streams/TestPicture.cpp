#include <service/streams/TestPicture.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace korvel::service {

namespace {

constexpr std::uint8_t black = 16;
constexpr std::uint8_t white = 235;

/// Brightness alone; the clock and the boxes have no colour.
struct Surface {
    std::span<std::uint8_t> pixels;
    int width;
    int height;

    void fill(int left, int top, int across, int down, std::uint8_t brightness) {
        const int right = std::clamp(left + across, 0, width);
        left = std::clamp(left, 0, right);
        for (int y = std::max(top, 0); y < std::min(top + down, height); ++y) {
            const auto line =
                pixels.subspan(static_cast<std::size_t>(y) * static_cast<std::size_t>(width));
            std::fill(line.begin() + left, line.begin() + right, brightness);
        }
    }
};

// Segments of a digit, as on a pocket calculator: top, the upper two, middle, the lower two,
// bottom.
constexpr std::array<unsigned, 10> segmentsOf{0b1110111, 0b0100100, 0b1011101, 0b1101101,
                                              0b0101110, 0b1101011, 0b1111011, 0b0100101,
                                              0b1111111, 0b1101111};

void drawDigit(Surface& surface, int left, int top, int size, int digit) {
    const int stroke = size / 5;
    const unsigned lit = segmentsOf.at(static_cast<std::size_t>(digit));
    const auto segment = [&](unsigned bit, int x, int y, int across, int down) {
        if (lit >> bit & 1U) surface.fill(left + x, top + y, across, down, white);
    };
    segment(0, 0, 0, size, stroke);
    segment(1, 0, 0, stroke, size);
    segment(2, size - stroke, 0, stroke, size);
    segment(3, 0, size - stroke / 2, size, stroke);
    segment(4, 0, size, stroke, size);
    segment(5, size - stroke, size, stroke, size);
    segment(6, 0, 2 * size - stroke, size, stroke);
}

void drawClock(Surface& surface, int number, int perSecond) {
    const int seconds = number / perSecond;
    const int hundredths = number % perSecond * 100 / perSecond;
    const std::array digits{seconds / 600 % 10, seconds / 60 % 10, seconds / 10 % 6,
                            seconds % 10,       hundredths / 10,   hundredths % 10};
    const int size = surface.height / 8;
    int left = surface.width / 2 - 5 * size;
    const int top = surface.height / 2 - size;
    surface.fill(left - size / 2, top - size / 2, 10 * size + size / 2, 3 * size, black);
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i == 2 || i == 4) left += size / 2;
        drawDigit(surface, left, top, size, digits.at(i));
        left += size + size / 2;
    }
}

}  // namespace

std::size_t TestPicture::size() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 / 2;
}

void TestPicture::draw(int number, std::span<std::uint8_t> into) const {
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    Surface surface{into.first(count), width, height};
    for (int y = 0; y < height; ++y) {
        surface.fill(0, y, width, 1, static_cast<std::uint8_t>(60 + y * 80 / height));
    }
    const int bar = number * width / (4 * perSecond) % width;
    surface.fill(bar, height / 9, width / 16, height, 180);
    for (int bit = 0; bit < 16; ++bit) {
        surface.fill(bit * width / 16, 0, width / 16, height / 9,
                     number >> bit & 1 ? white : black);
    }
    drawClock(surface, number, perSecond);

    const auto colour = into.subspan(count);
    for (std::size_t i = 0; i < colour.size(); ++i) {
        const auto across = static_cast<int>(i % static_cast<std::size_t>(width / 2));
        const bool second = i >= colour.size() / 2;
        colour[i] = static_cast<std::uint8_t>(second ? 120 + across * 32 / width
                                                     : 140 - across * 24 / width);
    }
}

}  // namespace korvel::service
