#pragma once

#include <korvel/platform/foundation/JSONRecord.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// `attribute` of the view = `toAttribute` (the same one if absent) of the view `to` + `constant`.
struct ConstraintRecord {
    std::string attribute;          ///< as in `NSLayoutAttribute`
    std::optional<std::string> to;  ///< "superview" or an outlet; absent: a plain length
    std::optional<std::string> toAttribute;
    std::optional<std::int64_t> constant;  ///< points

    using JSON = Members<&ConstraintRecord::attribute, &ConstraintRecord::to,
                         &ConstraintRecord::toAttribute, &ConstraintRecord::constant>;
};

/// In points.
struct FrameRecord {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;

    using JSON =
        Members<&FrameRecord::x, &FrameRecord::y, &FrameRecord::width, &FrameRecord::height>;
};

/// A view of a scene, its subviews from back to front. What is absent stays as the class makes it;
/// with constraints, the view goes where they say.
struct ViewRecord {
    std::optional<std::string> viewClass;  ///< absent: a plain view
    std::optional<std::string> outlet;
    std::optional<FrameRecord> frame;
    std::optional<std::vector<ConstraintRecord>> constraints;
    std::optional<std::string> backgroundColor;
    std::optional<std::string> tintColor;
    std::optional<std::int64_t> alphaPercent;
    std::optional<bool> hidden;
    std::optional<std::string> accessibilityLabel;
    std::optional<std::string> image;  ///< of a button, by name in the bundle
    std::optional<std::string> text;   ///< of a label, as all below
    std::optional<std::string> textColor;
    std::optional<std::string> textAlignment;
    std::optional<std::int64_t> fontSize;
    std::optional<std::int64_t> fontWeight;
    std::optional<bool> animating;  ///< of an activity indicator
    std::optional<std::vector<ViewRecord>> subviews;

    using JSON = Members<named<"class", &ViewRecord::viewClass>, &ViewRecord::outlet,
                         &ViewRecord::frame, &ViewRecord::constraints, &ViewRecord::backgroundColor,
                         &ViewRecord::tintColor, &ViewRecord::alphaPercent, &ViewRecord::hidden,
                         &ViewRecord::accessibilityLabel, &ViewRecord::image, &ViewRecord::text,
                         &ViewRecord::textColor, &ViewRecord::textAlignment, &ViewRecord::fontSize,
                         &ViewRecord::fontWeight, &ViewRecord::animating, &ViewRecord::subviews>;
};

struct SceneRecord {
    std::string identifier;
    std::string controllerClass;
    ViewRecord view;

    using JSON = Members<&SceneRecord::identifier, named<"class", &SceneRecord::controllerClass>,
                         &SceneRecord::view>;
};

struct StoryboardRecord {
    std::vector<SceneRecord> scenes;

    using JSON = Members<&StoryboardRecord::scenes>;
};

}  // namespace korvel::platform
