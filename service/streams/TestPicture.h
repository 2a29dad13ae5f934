#pragma once

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
};

}  // namespace korvel::service
