#include <korvel/platform/uikit/TextMeasure.h>

#include <cmath>

namespace korvel::platform {

namespace {

constexpr double averageWidth = 0.55;  // of a Latin letter, in the font's size
constexpr double lineHeight = 1.2;
constexpr double boldWidening = 1.06;

/// Width of the character that begins with this UTF-8 byte; those that continue one have none.
double widthFrom(unsigned char byte) {
    if ((byte & 0xC0) == 0x80) return 0;
    return byte >= 0xE1 ? 2 * averageWidth : averageWidth;  // U+1000 and above: mostly wide ones
}

}  // namespace

TextMeasure::~TextMeasure() = default;

CGSize EstimatedTextMeasure::sizeOf(std::string_view text, const UIFont& font) const {
    double width = 0;
    for (const char byte : text) width += widthFrom(static_cast<unsigned char>(byte));
    if (font.weight >= UIFont::Weight::semibold) width *= boldWidening;
    return {std::ceil(width * font.pointSize), std::ceil(lineHeight * font.pointSize)};
}

}  // namespace korvel::platform
