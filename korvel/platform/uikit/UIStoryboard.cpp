#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/uikit/StoryboardFile.h>
#include <korvel/platform/uikit/UIActivityIndicatorView.h>
#include <korvel/platform/uikit/UIButton.h>
#include <korvel/platform/uikit/UILabel.h>
#include <korvel/platform/uikit/UISlider.h>
#include <korvel/platform/uikit/UIStoryboard.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace korvel::platform {

struct UIStoryboard::File {
    Bundle bundle;
    std::vector<SceneRecord> scenes;
};

namespace {

using Outlets = std::map<std::string, std::shared_ptr<UIView>>;

constexpr std::array<std::string_view, 8> attributeNames{
    "leading", "trailing", "top", "bottom", "width", "height", "centerX", "centerY"};
constexpr std::array<std::string_view, 3> alignmentNames{"left", "center", "right"};

template <class Value, std::size_t Count>
std::optional<Value> valueNamed(std::string_view name,
                                const std::array<std::string_view, Count>& names) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) return std::nullopt;
    return static_cast<Value>(found - names.begin());
}

std::optional<UIColor> colorOf(const std::optional<std::string>& text) {
    return text ? UIColor::parse(*text) : std::nullopt;
}

void fill(UILabel& label, const ViewRecord& record) {
    if (record.text) label.setText(*record.text);
    if (const auto color = colorOf(record.textColor)) label.setTextColor(*color);
    auto font = label.font();
    if (record.fontSize) font.pointSize = static_cast<double>(*record.fontSize);
    if (record.fontWeight) font.weight = static_cast<UIFont::Weight>(*record.fontWeight);
    label.setFont(font);
    if (!record.textAlignment) return;
    if (const auto alignment = valueNamed<NSTextAlignment>(*record.textAlignment, alignmentNames)) {
        label.setTextAlignment(*alignment);
    }
}

std::shared_ptr<UIView> makeView(const ViewRecord& record, const Bundle& bundle) {
    if (record.viewClass == "UIButton") {
        auto button = make<UIButton>();
        if (record.image) {
            button->setBackgroundImage(UIImage::named(*record.image, bundle),
                                       UIControlState::normal);
        }
        return button;
    }
    if (record.viewClass == "UISlider") return make<UISlider>();
    if (record.viewClass == "UILabel") {
        auto label = make<UILabel>();
        fill(*label, record);
        return label;
    }
    if (record.viewClass == "UIActivityIndicatorView") {
        auto indicator = make<UIActivityIndicatorView>();
        if (record.animating.value_or(false)) indicator->startAnimating();
        return indicator;
    }
    return make<UIView>();
}

void fill(UIView& view, const ViewRecord& record) {
    if (const auto& frame = record.frame) {
        view.setFrame({static_cast<double>(frame->x), static_cast<double>(frame->y),
                       static_cast<double>(frame->width), static_cast<double>(frame->height)});
    }
    view.setTranslatesAutoresizingMaskIntoConstraints(!record.constraints);
    view.setBackgroundColor(colorOf(record.backgroundColor));
    view.setTintColor(colorOf(record.tintColor));
    if (record.alphaPercent) view.setAlpha(static_cast<double>(*record.alphaPercent) / 100);
    view.setHidden(record.hidden.value_or(false));
    view.setAccessibilityLabel(record.accessibilityLabel.value_or(""));
}

std::shared_ptr<UIView> makeTree(const ViewRecord& record, const Bundle& bundle, Outlets& outlets) {
    auto view = makeView(record, bundle);
    fill(*view, record);
    if (record.outlet) outlets[*record.outlet] = view;
    if (record.subviews) {
        for (const auto& subview : *record.subviews) {
            view->addSubview(makeTree(subview, bundle, outlets));
        }
    }
    return view;
}

/// Null if it names an attribute or a view that there is not.
std::shared_ptr<NSLayoutConstraint> makeConstraint(const ConstraintRecord& record,
                                                   const std::shared_ptr<UIView>& view,
                                                   const Outlets& outlets) {
    const auto first = valueNamed<NSLayoutAttribute>(record.attribute, attributeNames);
    const auto second = valueNamed<NSLayoutAttribute>(record.toAttribute.value_or(record.attribute),
                                                      attributeNames);
    if (!first || !second) return nullptr;
    std::shared_ptr<UIView> other;
    if (record.to == "superview") {
        other = view->superview();
    } else if (record.to) {
        const auto found = outlets.find(*record.to);
        if (found == outlets.end()) return nullptr;
        other = found->second;
    }
    return make<NSLayoutConstraint>(view, *first, other, *second,
                                    static_cast<double>(record.constant.value_or(0)));
}

void constrain(const std::shared_ptr<UIView>& view, const ViewRecord& record,
               const Outlets& outlets) {
    if (record.constraints) {
        for (const auto& one : *record.constraints) {
            if (const auto made = makeConstraint(one, view, outlets)) made->setActive(true);
        }
    }
    if (!record.subviews) return;
    for (std::size_t index = 0; index < record.subviews->size(); ++index) {
        constrain(view->subviews()[index], (*record.subviews)[index], outlets);
    }
}

}  // namespace

UIStoryboard::UIStoryboard(std::string_view name, const Bundle& bundle, UIClassRegistry classes)
    : classes_(std::move(classes)) {
    File file{bundle, {}};
    if (auto json = bundle.contents(name, "storyboard.json")) {
        if (auto record = decodeJSON<StoryboardRecord>(std::move(*json))) {
            file.scenes = std::move(record->scenes);
        }
    }
    file_ = std::make_shared<File>(std::move(file));
}

std::shared_ptr<UIViewController> UIStoryboard::instantiateViewController(
    std::string_view identifier) const {
    const auto scene =
        std::find_if(file_->scenes.begin(), file_->scenes.end(),
                     [&](const SceneRecord& one) { return one.identifier == identifier; });
    if (scene == file_->scenes.end()) return nullptr;
    auto controller = classes_.make(scene->controllerClass);
    controller->nib_ = [file = file_, &record = scene->view](UIViewController& owner) {
        Outlets outlets;
        const auto view = makeTree(record, file->bundle, outlets);
        constrain(view, record, outlets);
        owner.setView(view);
        for (const auto& [name, outlet] : outlets) owner.setOutlet(name, outlet);
    };
    return controller;
}

}  // namespace korvel::platform
