#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace korvel::platform {

/// One decoded picture, I420: a plane of brightness, then two of colour at half the width and
/// height, rounded up. Never changes once made; any thread.
struct VideoFrame {
    struct Plane {
        const std::uint8_t* data;
        std::size_t stride;  ///< bytes from one line to the next
    };
    enum class Matrix : std::uint8_t { bt601, bt709, bt2020 };

    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0;
    double pixelAspect = 1;  ///< width of a pixel by its height
    Matrix matrix = Matrix::bt601;
    bool fullRange = false;              ///< brightness 0 to 255 instead of 16 to 235
    std::array<Plane, 3> planes{};       ///< Y, U, V
    std::chrono::nanoseconds time{};     ///< in the stream
    std::shared_ptr<const void> pixels;  ///< keeps the planes' memory
};

}  // namespace korvel::platform
