#include <korvel/platform/uikit/UITapGestureRecognizer.h>

#include <utility>

namespace korvel::platform {

UITapGestureRecognizer::UITapGestureRecognizer(std::weak_ptr<void> target, Action action)
    : target_(std::move(target)), action_(std::move(action)) {}

UITapGestureRecognizer::~UITapGestureRecognizer() = default;

void UITapGestureRecognizer::recognize() {
    const auto kept = shared_from_this();
    const auto target = target_.lock();
    if (target && enabled_ && action_) action_(*this);
}

}  // namespace korvel::platform
