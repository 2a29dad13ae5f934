#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerViewModel.h>

#include <array>

namespace korvel {

using platform::UIView;

namespace {
constexpr double fadeSeconds = 1.0;
constexpr double dimmedAlpha = 0.6;
}  // namespace

KCSDKPlayerOverlay::KCSDKPlayerOverlay() = default;
KCSDKPlayerOverlay::~KCSDKPlayerOverlay() = default;

void KCSDKPlayerOverlay::viewDidLoad() {
    UIViewController::viewDidLoad();
    const auto self = std::static_pointer_cast<KCSDKPlayerOverlay>(shared_from_this());
    view()->addGestureRecognizer(platform::make<platform::UITapGestureRecognizer>(
        self, [this](auto& sender) { didTapWithSender(&sender); }));
    viewLoader->setHidden(true);
}

void KCSDKPlayerOverlay::viewDidLayoutSubviews() {
    if (onControlsChanged) onControlsChanged();
}

void KCSDKPlayerOverlay::setOutlet(std::string_view name, const std::shared_ptr<UIView>& outlet) {
    viewTap.connect(name, outlet);
    btnPlay.connect(name, outlet);
    btnClose.connect(name, outlet);
    slider.connect(name, outlet);
    lblTitle.connect(name, outlet);
    viewLoader.connect(name, outlet);
}

void KCSDKPlayerOverlay::didTapWithSender(platform::UITapGestureRecognizer*) {
    UIView::animate(fadeSeconds, [this] { toggleControls(); });
}

bool KCSDKPlayerOverlay::controlsShown() const { return viewTap->alpha() != 0; }

void KCSDKPlayerOverlay::toggleControls() {
    const std::array<std::shared_ptr<UIView>, 4> controls{btnPlay.get(), btnClose.get(),
                                                          slider.get(), lblTitle.get()};
    if (controlsShown()) {
        viewTap->setAlpha(0);
        for (const auto& control : controls) control->setAlpha(0);
        for (const auto& control : controls) control->setHidden(true);
    } else {
        for (const auto& control : controls) control->setHidden(false);
        viewTap->setAlpha(dimmedAlpha);
        for (const auto& control : controls) control->setAlpha(1);
    }
    view()->setAccessibilityLabel(controlsShown() ? "Hide controls" : "Show controls");
    if (onControlsChanged) onControlsChanged();
}

}  // namespace korvel
