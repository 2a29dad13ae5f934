#include <korvel/platform/uikit/NSLayoutConstraint.h>
#include <korvel/player/ViewPinning.h>

namespace korvel {

using platform::NSLayoutConstraint;

void pin(const std::shared_ptr<platform::UIView>& view,
         const std::shared_ptr<platform::UIView>& container) {
    view->setFrame(container->bounds());
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    NSLayoutConstraint::activate(
        {view->leadingAnchor().constraintEqualTo(container->leadingAnchor()),
         view->trailingAnchor().constraintEqualTo(container->trailingAnchor()),
         view->heightAnchor().constraintEqualTo(container->heightAnchor()),
         view->centerYAnchor().constraintEqualTo(container->centerYAnchor())});
}

void pinEdges(const std::shared_ptr<platform::UIView>& view,
              const std::shared_ptr<platform::UIView>& container) {
    view->setFrame(container->bounds());
    NSLayoutConstraint::activate(
        {view->centerXAnchor().constraintEqualTo(container->centerXAnchor()),
         view->centerYAnchor().constraintEqualTo(container->centerYAnchor()),
         view->topAnchor().constraintEqualTo(container->topAnchor()),
         view->leadingAnchor().constraintEqualTo(container->leadingAnchor()),
         view->trailingAnchor().constraintEqualTo(container->trailingAnchor()),
         view->bottomAnchor().constraintEqualTo(container->bottomAnchor())});
}

}  // namespace korvel
