#include <bindings/qml/KorvelContent.h>
#include <bindings/qml/PlayerItem.h>
#include <bindings/qml/PlayerListener.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/avfoundation/AVPlayerLayer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/player/KCSDKPlayerOverlay.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/sdk/KCSDK.h>

#include <QQuickWindow>
#include <cmath>
#include <utility>

namespace korvel::qml {

namespace {
constexpr int consentRequiredStatus = 601;
constexpr qreal timeStep = 1.0 / 30;

platform::AVLayerVideoGravity gravityOf(PlayerItem::FillMode mode) {
    using enum platform::AVLayerVideoGravity;
    switch (mode) {
        case PlayerItem::Fit:
            return resizeAspect;
        case PlayerItem::Stretch:
            return resize;
        case PlayerItem::Crop:
            break;
    }
    return resizeAspectFill;
}
}  // namespace

PlayerItem::PlayerItem(QQuickItem* parent) : QQuickItem(parent) {
    connect(&request_, &ServiceRequest::failed, this, &PlayerItem::failed);
    connect(&KorvelContent::instance(), &KorvelContent::ending, this, &PlayerItem::stop);
}

PlayerItem::~PlayerItem() {
    stop();
    if (listener_) listener_->leave();
}

void PlayerItem::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemSceneChange && !data.window) stop();
    QQuickItem::itemChange(change, data);
}

void PlayerItem::setOndemandClass(const OndemandClass& ondemandClass) {
    class_ = ondemandClass;
    Q_EMIT ondemandClassChanged();
}

void PlayerItem::setOverlay(QQuickItem* overlay) {
    if (overlay_ == overlay) return;
    overlay_ = overlay;
    Q_EMIT overlayChanged();
}

void PlayerItem::setFillMode(FillMode mode) {
    if (std::exchange(fillMode_, mode) == mode) return;
    if (view()) view()->playerLayer()->setVideoGravity(gravityOf(mode));
    Q_EMIT fillModeChanged();
}

bool PlayerItem::tell(Signal signal) {
    const QPointer self(this);
    const auto* const told = events_.get();
    Q_EMIT(this->*signal)();
    return self && events_.get() == told;
}

bool PlayerItem::set(bool& member, bool value, Signal signal) {
    return std::exchange(member, value) == value || tell(signal);
}

bool PlayerItem::setTime(qreal& member, qreal seconds, Signal signal) {
    if (std::abs(member - seconds) < timeStep) return true;
    member = seconds;
    return tell(signal);
}

void PlayerItem::start() {
    stop();
    request_.ask([this] { send(); });
}

void PlayerItem::send() {
    if (!window()) return request_.fail(tr("The player is in no window."));
    if (!class_.valid()) return request_.fail(tr("There is no class to start."));
    auto& screen = KorvelContent::instance().screenOn(*window());
    if (listener_) listener_->leave();
    listener_ = std::make_shared<PlayerListener>(*this);
    const auto builder = KCSDKVideoViewBuilder::create(class_.record());
    look_.apply(*builder);
    builder->setAutoPlay(autoPlay_);
    builder->setEventReceiver(listener_);
    builder->startVideoIn(
        startFullScreen_ ? nullptr : screen.view(this), overlay_ ? screen.view(overlay_) : nullptr,
        [self = QPointer(this), mine = listener_](auto events, auto error) {
            if (!self || self->listener_ != mine) {
                if (events) events->stopVideo();  // nobody waits for it any more
                return;
            }
            std::shared_ptr<KCSDKConsent> consent;
            if (error) {
                consent = std::dynamic_pointer_cast<KCSDKConsent>(error->object("consent"));
            }
            self->request_.settle(error, [&] { self->adopt(std::move(events)); });
            if (self && error && error->code == consentRequiredStatus) {
                Q_EMIT self->consentRequired(Consent(consent));
            }
        });
}

void PlayerItem::adopt(Events events) {
    if (!events) return request_.fail(tr("The service knows no such class."));
    events_ = std::move(events);
    if (view()) view()->playerLayer()->setVideoGravity(gravityOf(fillMode_));
    watchStream();
    const bool remains = set(fullScreen_, !events_->parentView, &PlayerItem::fullScreenChanged) &&
                         set(playing_, autoPlay_, &PlayerItem::playingChanged) &&
                         set(buffering_, true, &PlayerItem::bufferingChanged) &&
                         setTime(position_, 0, &PlayerItem::positionChanged) &&
                         setTime(duration_, 0, &PlayerItem::durationChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (remains) Q_EMIT started();
}

void PlayerItem::watchStream() {
    const auto player = view() ? view()->player() : nullptr;
    if (const auto stream = player ? player->currentItem() : nullptr) {
        stream->addObserver(listener_, "status");
    }
}

void PlayerItem::exit(int seconds) {
    performedSeconds_ = seconds;
    if (returning_) return Q_EMIT exited(seconds);
    const QPointer self(this);
    listener_->leave();
    events_ = nullptr;
    const bool remains = set(playing_, false, &PlayerItem::playingChanged) &&
                         set(buffering_, false, &PlayerItem::bufferingChanged) &&
                         set(fullScreen_, false, &PlayerItem::fullScreenChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (!remains) return;
    Q_EMIT exited(seconds);
    if (self) Q_EMIT closed();
}

std::shared_ptr<KCSDKPlayerView> PlayerItem::view() const {
    return events_ ? events_->playerVC->viewVideo : nullptr;
}

std::shared_ptr<KCSDKPlayerOverlay> PlayerItem::controls() const {
    const auto shown = view();
    return shown && !shown->isCustomOverlayAdded ? shown->overlayController : nullptr;
}

float PlayerItem::rate() const {
    const auto player = view() ? view()->player() : nullptr;
    return player ? player->rate() : 0;
}

void PlayerItem::toggle() {
    if (const auto events = events_) events->playVideo();
}
void PlayerItem::play() {
    if (rate() == 0) toggle();
}
void PlayerItem::pause() {
    if (rate() != 0) toggle();
}
void PlayerItem::seek(qreal seconds) {
    if (events_) events_->seekTo(static_cast<float>(seconds));
}

void PlayerItem::stop() {
    request_.forget();
    if (const auto events = events_) {
        returning_ = false;  // from here on it is the end that is told
        events->stopVideo();
    } else if (listener_) {
        listener_->leave();  // an answer on its way starts nothing
        listener_ = nullptr;
    }
}

void PlayerItem::enterFullScreen() {
    if (!events_ || fullScreen_) return;
    const QPointer self(this);
    const auto events = events_;
    events->enterFullScreen();
    if (self && events_ == events) set(fullScreen_, true, &PlayerItem::fullScreenChanged);
}

void PlayerItem::exitFullScreen() {
    if (!events_ || !fullScreen_) return;
    if (!events_->parentView) return stop();
    const QPointer self(this);
    const auto events = events_;
    returning_ = true;
    events->exitFullScreen();
    if (!self) return;
    returning_ = false;
    set(fullScreen_, false, &PlayerItem::fullScreenChanged);
}

void PlayerItem::showOverlay() {
    const auto overlay = controls();
    if (overlay && !overlay->controlsShown()) events_->showOverlayView();
}
void PlayerItem::hideOverlay() {
    const auto overlay = controls();
    if (overlay && overlay->controlsShown()) events_->hideOverlayView();
}

}  // namespace korvel::qml
