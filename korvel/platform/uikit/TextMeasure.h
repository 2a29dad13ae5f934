#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/uikit/CGSize.h>
#include <korvel/platform/uikit/UIFont.h>

#include <string_view>

namespace korvel::platform {

/// Says how large a line of text is. A toolkit replaces it with its own fonts' measures:
/// `Screen::setTextMeasure`. Main queue.
class KORVEL_API TextMeasure {
public:
    virtual ~TextMeasure();
    virtual CGSize sizeOf(std::string_view text, const UIFont& font) const = 0;
};

/// Guesses from the number and kind of characters: good for a layout that nobody looks at.
class KORVEL_API EstimatedTextMeasure final : public TextMeasure {
public:
    CGSize sizeOf(std::string_view text, const UIFont& font) const override;
};

}  // namespace korvel::platform
