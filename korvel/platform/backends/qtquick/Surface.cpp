#include <korvel/platform/backends/qtquick/Accessibility.h>
#include <korvel/platform/backends/qtquick/Mirror.h>
#include <korvel/platform/backends/qtquick/Surface.h>

#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <utility>

namespace korvel::platform::qtquick {

namespace {

/// Above what a host puts into its window, below the popups of Qt Quick Controls.
constexpr double aboveHost = 1'000'000;
constexpr int tickMilliseconds = 16;
/// No video worth the name changes its picture less often.
constexpr Clock::Duration longestPicture = std::chrono::milliseconds(50);

/// All hosts' items that were lent to the item or to those in it.
void giveBackAll(QQuickItem& item) {
    if (auto* view = qobject_cast<ViewItem*>(&item)) view->giveBack();
    for (auto* child : item.childItems()) giveBackAll(*child);
}

bool isSteady(const UIView& view, Clock::Instant now) {
    return !view.animation() || now >= view.animation()->end();
}

/// What lies directly over the view's own pixels, on all of them, and is nothing but black; null if
/// anything else does, or if it is about to change.
const UIView* veilOver(const UIView& view, Clock::Instant now) {
    if (view.alpha() < 1 || !isSteady(view, now)) return nullptr;
    const auto* over = &view;
    while (!over->subviews().empty()) {
        const auto all = over->bounds();
        over = over->subviews().front().get();
        const bool plain = !over->isHidden() && !over->drawsContent() && over->frame() == all &&
                           over->transform().isIdentity() && isSteady(*over, now);
        if (!plain) return nullptr;
        if (const auto& color = over->backgroundColor()) {
            return color->red == 0 && color->green == 0 && color->blue == 0 ? over : nullptr;
        }
        if (over->alpha() < 1) return nullptr;
    }
    return nullptr;
}

unsigned partsOf(UIViewChange what) {
    switch (what) {
        case UIViewChange::geometry:
            return ViewItem::geometry;
        case UIViewChange::alpha:
            return ViewItem::look;
        case UIViewChange::hidden:
            return ViewItem::look | ViewItem::input;
        case UIViewChange::content:
            return ViewItem::content;
        case UIViewChange::interaction:
            return ViewItem::input;
        case UIViewChange::accessibility:
            return ViewItem::description;
    }
    return ViewItem::everything;
}

}  // namespace

Surface::Surface(QQuickItem& place, Kind kind, std::shared_ptr<Screen> screen,
                 std::shared_ptr<Mirror> mirror)
    : QQuickItem(&place),
      kind_(kind),
      screen_(std::move(screen)),
      mirror_(std::move(mirror)),
      shown_(make<UIWindow>(screen_)) {
    setZ(aboveHost);
    setVisible(false);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    mirror_->add(*shown_, *this);
    QObject::connect(&place, &QQuickItem::widthChanged, this, &Surface::follow);
    QObject::connect(&place, &QQuickItem::heightChanged, this, &Surface::follow);
    follow();
    polish();
    if (!covers()) return;
    window()->installEventFilter(this);
    QObject::connect(window(), &QQuickWindow::activeFocusItemChanged, this,
                     &Surface::keepFocusInside);
    tellCovering(*window());
}

Surface::~Surface() { close(); }

void Surface::close() {
    if (!shown_) return;
    std::exchange(mirror_, nullptr)->remove(*shown_);
    ring_.reset();
    if (covers() && window()) window()->removeEventFilter(this);
    giveBackAll(*this);
    for (const auto& [view, item] : std::exchange(items_, {})) item->freeze();
    const auto closed = std::exchange(shown_, nullptr);
    closed->touchCancelled();
    setParentItem(nullptr);
    const auto tell = std::exchange(onShownChanged, nullptr);
    if (std::exchange(showsAnything_, false) && tell) tell();
    deleteLater();  // the host may do this from within an event that came through here
}

void Surface::follow() {
    if (const auto* place = parentItem()) setSize(place->size());
}

void Surface::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (!shown_) return;
    shown_->setFrame({0, 0, now.width(), now.height()});
    for (const auto& view : std::vector(shown_->subviews())) {
        if (dynamic_cast<HostItemView*>(view.get())) view->setFrame(shown_->bounds());
    }
    if (ring_) ring_->follow(now.size());
    polish();
}

// MARK: notes

ViewItem* Surface::itemOf(const UIView& view) const {
    const auto found = items_.find(&view);
    return found == items_.end() ? nullptr : found->second;
}

void Surface::viewChanged(const UIView& view, UIViewChange what) {
    if (auto* item = itemOf(view)) item->note(partsOf(what));
}

void Surface::subviewsChanged() {
    treeChanged_ = true;
    polish();
}

void Surface::animationBegan(const UIView& view) {
    if (auto* item = itemOf(view)) item->note(ViewItem::look);
}

/// The view is about to leave; its pixels go slowly.
void Surface::fadeOut(const UIView& view) {
    auto* const leaving = itemOf(view);
    if (!leaving) return;
    for (auto entry = items_.begin(); entry != items_.end();) {
        auto* const item = entry->second;
        const bool leaves = item == leaving || leaving->isAncestorOf(item);
        entry = leaves ? items_.erase(entry) : std::next(entry);
        if (leaves) item->freeze();
    }
    leaving->setEnabled(false);
    fading_.push_back({leaving, leaving->opacity(), now()});
    treeChanged_ = true;
    polish();
}

void Surface::queue(ViewItem& item, When when) {
    if (std::find(queued_.begin(), queued_.end(), &item) == queued_.end()) queued_.push_back(&item);
    if (when == When::nextFrame || now() - lastVideo_ > longestPicture) return askForFrame();
    if (!video_.isActive()) video_.start(longestPicture / std::chrono::milliseconds(1), this);
}

/// Items that say only while a frame is being made that they have changed get another one for it.
void Surface::askForFrame() {
    for (auto* item : queued_) {
        if (item->flags() & ItemHasContents) item->update();
    }
    polish();
}

void Surface::forget(ViewItem& item) {
    std::erase(queued_, &item);
    std::erase(moving_, &item);
}

void Surface::animate(ViewItem& item) {
    if (!isMoving(item)) moving_.push_back(&item);
}

bool Surface::isMoving(const ViewItem& item) const {
    return std::find(moving_.begin(), moving_.end(), &item) != moving_.end();
}

// MARK: bringing it over

void Surface::updatePolish() {
    if (!shown_) return;
    const auto kept = shown_;
    video_.stop();
    kept->layoutIfNeeded();
    if (std::exchange(treeChanged_, false)) reconcile();
    for (auto* item : std::exchange(queued_, {})) item->refresh();
    step();
}

/// To blend a colour over every pixel of a video costs nearly as much as the video. Where that only
/// makes it darker, the video is made darker in the first place.
void Surface::shadeVideos() {
    std::unordered_map<const UIView*, double> veils;
    for (const auto& [address, item] : items_) {
        const auto view = item->showsVideo() ? item->view() : nullptr;
        if (!view) continue;
        const auto* const veil = veilOver(*view, now());
        const double opacity = veil ? veil->alpha() * veil->backgroundColor()->alpha : 0;
        item->setLight(1 - opacity);
        if (veil) veils[veil] = opacity;
    }
    for (const auto& [view, item] : items_) item->setVeilBelow(veils.contains(view));
}

/// There for the host's sake, and nothing to a user.
bool Surface::isPlaceholder(const UIView& view) const {
    if (&view == shown_.get()) return true;
    if (const auto* own = dynamic_cast<const HostItemView*>(&view)) return own->isAtHome();
    const auto& root = shown_->rootViewController();
    return root && root->viewIfLoaded().get() == &view && view.gestureRecognizers().empty() &&
           !view.backgroundColor();
}

void Surface::reconcile() {
    ++round_;
    const bool hadFocus = holdsFocus();
    if (hadFocus && !covers()) rememberFocus();
    place(shown_, *this, 0);
    std::vector<ViewItem*> left;
    for (const auto& [view, item] : items_) {
        if (item->round != round_) left.push_back(item);
    }
    std::erase_if(items_, [&](const auto& entry) { return entry.second->round != round_; });
    for (auto* item : left) retire(*item);
    updateShown();
    if (!showsAnything_) return;
    remembers_ = remembers_ && !hadFocus;
    if (hadFocus && !holdsFocus()) forceActiveFocus(Qt::OtherFocusReason);
}

ViewItem& Surface::place(const std::shared_ptr<UIView>& view, QQuickItem& parent, double z) {
    auto& item = items_[view.get()];
    if (item && item->view() != view) {  // another view came to lie at the same address
        retire(*item);
        item = nullptr;
    }
    if (!item) item = new ViewItem(view, *this);
    auto& found = *item;  // the table may move below
    found.round = round_;
    if (found.parentItem() != &parent) found.setParentItem(&parent);
    found.setZ(z);
    found.lend(view);
    double above = 1;
    const auto subviews = view->subviews();  // a lent item's handlers may change them
    for (const auto& subview : subviews) place(subview, found, above++);
    return found;
}

void Surface::retire(ViewItem& item) {
    const auto view = std::dynamic_pointer_cast<HostItemView>(item.view());
    item.giveBack();
    item.freeze();
    item.setParentItem(nullptr);
    item.deleteLater();
    if (view) view->goHome();
}

void Surface::updateShown() {
    const auto& views = shown_->subviews();
    const bool shows = std::any_of(views.begin(), views.end(), [this](const auto& view) {
        return !isPlaceholder(*view) || !view->subviews().empty();
    });
    setVisible(shows || !fading_.empty());
    if (shows == showsAnything_) return;
    showsAnything_ = shows;
    if (covers()) {
        setAcceptHoverEvents(shows);
        shows ? takeFocus() : giveFocusBack();
        if (window()) tellCovering(*window());
    } else {
        if (!shows) setFocus(false);
        setActiveFocusOnTab(shows);
        restoreFocus();
    }
    if (onShownChanged) onShownChanged();
}

// MARK: what moves by itself: by the clock, not by frames, whose pace the renderer decides

void Surface::step() {
    const auto time = now();
    std::erase_if(moving_, [&](auto* item) { return !item->step(time); });
    std::erase_if(fading_, [&](const Fading& fading) {
        const UIViewAnimation fade{fading.from, 0, fading.begin,
                                   UIViewController::transitionDuration};
        fading.item->setOpacity(fade.alphaAt(time));
        if (time < fade.end()) return false;
        giveBackAll(*fading.item);
        fading.item->setParentItem(nullptr);
        fading.item->deleteLater();
        return true;
    });
    if (fading_.empty()) setVisible(showsAnything_);
    shadeVideos();
    if (moving_.empty() && fading_.empty()) {
        ticks_.stop();
    } else if (!ticks_.isActive()) {
        ticks_.start(tickMilliseconds, Qt::PreciseTimer, this);
    }
}

void Surface::timerEvent(QTimerEvent* event) {
    if (event->timerId() == ticks_.timerId()) return step();
    if (event->timerId() != video_.timerId()) return QQuickItem::timerEvent(event);
    video_.stop();
    askForFrame();
}

}  // namespace korvel::platform::qtquick
