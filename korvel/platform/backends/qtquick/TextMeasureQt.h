#pragma once

#include <korvel/platform/uikit/TextMeasure.h>

#include <QtGui/QFont>

namespace korvel::platform::qtquick {

/// The application's own family where the wish names none.
QFont fontFor(const UIFont& wish);

/// GUI thread.
class TextMeasureQt final : public TextMeasure {
public:
    CGSize sizeOf(std::string_view text, const UIFont& font) const override;
};

}  // namespace korvel::platform::qtquick
