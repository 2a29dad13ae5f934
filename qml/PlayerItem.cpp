#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/backends/qtquick/ScreenHostQtQuick.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>
#include <korvel/presentation/KCSDKPlayerEvents.h>
#include <korvel/presentation/KCSDKPlayerOverlay.h>
#include <korvel/presentation/KCSDKVideoViewBuilder.h>
#include <korvel/qml/KorvelContent.h>
#include <korvel/qml/PlayerItem.h>
#include <korvel/qml/PlayerListener.h>
#include <korvel/sdk/KCSDK.h>

#include <QQuickWindow>
#include <cmath>
#include <utility>

namespace korvel::qml {

namespace {
constexpr int consentRequiredStatus = 601;
constexpr qreal timeStep = 1.0 / 30;
}  // namespace

PlayerItem::PlayerItem(QQuickItem* parent) : QQuickItem(parent) {
    connect(&request_, &ServiceRequest::failed, this, &PlayerItem::failed);
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

void PlayerItem::set(bool& member, bool value, void (PlayerItem::*signal)()) {
    if (std::exchange(member, value) != value) Q_EMIT(this->*signal)();
}

void PlayerItem::setTime(qreal& member, qreal seconds, void (PlayerItem::*signal)()) {
    if (std::abs(member - seconds) < timeStep) return;
    member = seconds;
    Q_EMIT(this->*signal)();
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
    const auto builder = std::make_shared<KCSDKVideoViewBuilder>(class_.record());
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
    set(fullScreen_, !events_->parentView, &PlayerItem::fullScreenChanged);
    set(playing_, autoPlay_, &PlayerItem::playingChanged);
    set(buffering_, true, &PlayerItem::bufferingChanged);
    setTime(position_, 0, &PlayerItem::positionChanged);
    setTime(duration_, 0, &PlayerItem::durationChanged);
    watchStream();
    Q_EMIT activeChanged();
    Q_EMIT started();
}

void PlayerItem::watchStream() {
    const auto player = events_->playerVC->viewVideo->player();
    if (const auto stream = player ? player->currentItem() : nullptr) {
        stream->addObserver(listener_, "status");
    }
}

void PlayerItem::exit(int seconds) {
    performedSeconds_ = seconds;
    if (returning_) return Q_EMIT exited(seconds);
    listener_->leave();
    // The closing goes on behind this turn of the queue, also when this item does not.
    const auto queue = platform::Device::current().mainQueue;
    queue->async([queue, events = std::exchange(events_, nullptr)] { queue->async([events] {}); });
    set(playing_, false, &PlayerItem::playingChanged);
    set(buffering_, false, &PlayerItem::bufferingChanged);
    set(fullScreen_, false, &PlayerItem::fullScreenChanged);
    Q_EMIT activeChanged();
    Q_EMIT exited(seconds);
    Q_EMIT closed();
}

float PlayerItem::rate() const {
    const auto view = events_ ? events_->playerVC->viewVideo : nullptr;
    const auto player = view ? view->player() : nullptr;
    return player ? player->rate() : 0;
}

void PlayerItem::toggle() {
    if (events_) events_->playVideo();
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
        events->stopVideo();
    } else if (listener_) {
        listener_->leave();  // an answer on its way starts nothing
        listener_ = nullptr;
    }
}

void PlayerItem::enterFullScreen() {
    if (!events_ || fullScreen_) return;
    const auto events = events_;
    events->enterFullScreen();
    set(fullScreen_, true, &PlayerItem::fullScreenChanged);
}

void PlayerItem::exitFullScreen() {
    if (!events_ || !fullScreen_) return;
    if (!events_->parentView) return stop();
    const auto events = events_;
    returning_ = true;
    events->exitFullScreen();
    returning_ = false;
    set(fullScreen_, false, &PlayerItem::fullScreenChanged);
}

void PlayerItem::showOverlay() {
    const auto controls = events_ ? events_->playerVC->viewVideo->overlayController : nullptr;
    if (controls && !controls->controlsShown()) events_->showOverlayView();
}
void PlayerItem::hideOverlay() {
    const auto controls = events_ ? events_->playerVC->viewVideo->overlayController : nullptr;
    if (controls && controls->controlsShown()) events_->hideOverlayView();
}

}  // namespace korvel::qml
