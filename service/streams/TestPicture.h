#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace korvel::service {

/// The moving picture of the development streams: a row of 16 boxes, white for a one, with the
/// number of the picture in binary, lowest bit first; a clock; a sweeping bar.
struct TestPicture {
    int width;
    int height;
    int perSecond;

    std::size_t size() const;  ///< bytes of one I420 picture, width and height being even
    void draw(int number, std::span<std::uint8_t> into) const;

    /// The number on such a picture, shown at any size; `isWhite` tells what is at x and y.
    template <class Size, class IsWhite>
    static int numberOn(Size width, Size height, IsWhite isWhite) {
        int number = 0;
        for (Size bit = 0; bit < 16; ++bit) {
            if (isWhite((2 * bit + 1) * width / 32, height / 18)) number |= 1 << bit;
        }
        return number;
    }
};

}  // namespace korvel::service
