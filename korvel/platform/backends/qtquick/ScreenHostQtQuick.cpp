#include <korvel/platform/backends/qtquick/Mirror.h>
#include <korvel/platform/backends/qtquick/PumpQt.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/platform/backends/qtquick/Surface.h>
#include <korvel/platform/backends/qtquick/TextMeasureQt.h>

#include <QtCore/QHash>
#include <QtQuick/QQuickWindow>

#include <algorithm>

namespace korvel::platform {

using qtquick::HostItemView;
using qtquick::Mirror;
using qtquick::Surface;

class ScreenHostQtQuick::Private {
public:
    struct Place {
        QPointer<Surface> surface;
        std::weak_ptr<HostItemView> view;
    };

    std::shared_ptr<Screen> screen;
    std::shared_ptr<Mirror> mirror;
    QHash<QQuickWindow*, QPointer<Surface>> windows;
    QHash<QQuickItem*, Place> places;
    bool presenting = false;
    std::function<bool()> leave;

    Surface* surfaceOf(QQuickWindow* window) const { return windows.value(window).data(); }
};

ScreenHostQtQuick::ScreenHostQtQuick(std::shared_ptr<Screen> screen, QObject* parent)
    : QObject(parent), private_(std::make_unique<Private>()) {
    private_->screen = std::move(screen);
    private_->mirror = std::make_shared<Mirror>([this](int to) { Q_EMIT orientationChanged(to); });
    private_->screen->addObserver(private_->mirror);
    private_->screen->setTextMeasure(std::make_shared<qtquick::TextMeasureQt>());
    qtquick::PumpQt::attach(private_->screen);
}

ScreenHostQtQuick::~ScreenHostQtQuick() {
    QObject::disconnect(this, nullptr, nullptr, nullptr);
    for (const auto& place : std::exchange(private_->places, {})) {
        if (place.surface) place.surface->close();
    }
    for (const auto& surface : std::exchange(private_->windows, {})) {
        if (surface) surface->close();
    }
    private_->mirror.reset();
    private_->screen->setTextMeasure(std::make_shared<EstimatedTextMeasure>());
    private_->screen->mainQueue().attach(nullptr);
}

const std::shared_ptr<Screen>& ScreenHostQtQuick::screen() const { return private_->screen; }

void ScreenHostQtQuick::attach(QQuickWindow* window) {
    if (!window || private_->surfaceOf(window)) return;
    auto* surface = new Surface(*window->contentItem(), Surface::Kind::window, private_->screen,
                                private_->mirror);
    private_->windows[window] = surface;
    surface->onShownChanged = [this] { updatePresenting(); };
    surface->onLeave = [this] {
        const auto leave = private_->leave;  // which may be replaced meanwhile
        return leave && leave();
    };
    surface->shown()->setRootViewController(make<UIViewController>());
    surface->shown()->makeKeyAndVisible();
    QObject::connect(window, &QWindow::activeChanged, surface, [window, surface] {
        if (window->isActive() && surface->shown()) surface->shown()->makeKeyAndVisible();
    });
    QObject::connect(window, &QObject::destroyed, this,
                     [this, window] { private_->windows.remove(window); });
}

void ScreenHostQtQuick::detach(QQuickWindow* window) {
    const auto surface = private_->windows.take(window);
    if (!surface) return;
    surface->close();
    QObject::disconnect(window, nullptr, this, nullptr);
}

std::shared_ptr<UIWindow> ScreenHostQtQuick::window(QQuickWindow* window) const {
    const auto* surface = private_->surfaceOf(window);
    return surface ? surface->shown() : nullptr;
}

std::shared_ptr<UIView> ScreenHostQtQuick::view(QQuickItem* item) {
    if (!item) return nullptr;
    auto& place = private_->places[item];
    auto view = place.view.lock();
    if (!place.surface) {
        place.surface = new Surface(*item, Surface::Kind::item, private_->screen, private_->mirror);
        QObject::connect(item, &QObject::destroyed, this,
                         [this, item] { private_->places.remove(item); });
    }
    if (!view) {
        view = make<HostItemView>(*item, place.surface->shown());
        place.view = view;
    }
    view->goHome();
    return view;
}

void ScreenHostQtQuick::setLeaveHandler(std::function<bool()> leave) {
    private_->leave = std::move(leave);
}

void ScreenHostQtQuick::updatePresenting() {
    const auto& windows = private_->windows;
    const bool presenting = std::any_of(windows.begin(), windows.end(), [](const auto& surface) {
        return surface && surface->showsAnything();
    });
    if (std::exchange(private_->presenting, presenting) != presenting) Q_EMIT presentingChanged();
}

bool ScreenHostQtQuick::isPresenting() const { return private_->presenting; }

int ScreenHostQtQuick::orientation() const {
    return static_cast<int>(private_->screen->device().orientation());
}

}  // namespace korvel::platform
