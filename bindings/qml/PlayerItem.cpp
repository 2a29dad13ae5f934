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
    connect(&request_, &ServiceRequest::failed, this, [this](const QString& text, int status) {
        const QPointer self(this);
        const Consent consent(request_.consent());
        Q_EMIT failed(text, status);
        if (self && status == consentRequiredStatus) Q_EMIT consentRequired(consent);
    });
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
    const auto* const told = playback_.get();
    Q_EMIT(this->*signal)();
    return self && playback_.get() == told;
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
    PlayOptions options;
    if (!startFullScreen_) options.in = screen.view(this);
    if (overlay_) options.overlay = screen.view(overlay_);
    options.look = [self = QPointer(this)](KCSDKVideoViewBuilder& builder) {
        if (!self) return;
        self->look_.apply(builder);
        builder.setAutoPlay(self->autoPlay_);
    };
    options.listener = listener_;
    using Started = std::shared_ptr<Playback>;
    request_.expect(
        KorvelContent::instance().client().play(class_.record(), std::move(options)),
        [this](const Started& playback) { adopt(playback); },
        [](const Started& playback) {
            playback->stop();
            KorvelContent::instance().playerClosed(playback);
        });
}

void PlayerItem::adopt(std::shared_ptr<Playback> playback) {
    if (const auto failure = playback->status().failure) {
        KorvelContent::instance().playerClosed(playback);
        return request_.fail(*failure);
    }
    playback_ = std::move(playback);
    playback_->observe([self = QPointer(this), told = playback_.get()](const auto& status) {
        if (self && self->playback_.get() == told) self->follow(status);
    });
    if (view()) view()->playerLayer()->setVideoGravity(gravityOf(fillMode_));
    const bool remains = set(fullScreen_, !events()->parentView, &PlayerItem::fullScreenChanged) &&
                         set(playing_, autoPlay_, &PlayerItem::playingChanged) &&
                         set(buffering_, true, &PlayerItem::bufferingChanged) &&
                         setTime(position_, 0, &PlayerItem::positionChanged) &&
                         setTime(duration_, 0, &PlayerItem::durationChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (remains) Q_EMIT started();
}

void PlayerItem::follow(const Playback::Status& status) {
    if (status.failure) {
        const auto why = ServiceRequest::wording(*status.failure);
        const bool remains = set(playing_, false, &PlayerItem::playingChanged) &&
                             set(buffering_, false, &PlayerItem::bufferingChanged);
        if (remains) Q_EMIT streamFailed(why);
    } else if (status.state == Playback::State::ended) {
        exit(static_cast<int>(status.performedSeconds));  // its view went, and nobody was told
    }
}

void PlayerItem::exit(int seconds) {
    if (!playback_) return;
    performedSeconds_ = seconds;
    if (returning_) return Q_EMIT exited(seconds);
    const QPointer self(this);
    listener_->leave();
    KorvelContent::instance().playerClosed(std::exchange(playback_, nullptr));
    const bool remains = set(playing_, false, &PlayerItem::playingChanged) &&
                         set(buffering_, false, &PlayerItem::bufferingChanged) &&
                         set(fullScreen_, false, &PlayerItem::fullScreenChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (!remains) return;
    Q_EMIT exited(seconds);
    if (self) Q_EMIT closed();
}

std::shared_ptr<KCSDKPlayerEvents> PlayerItem::events() const {
    return playback_ ? playback_->events() : nullptr;
}

std::shared_ptr<KCSDKPlayerView> PlayerItem::view() const {
    return playback_ ? playback_->events()->playerVC->viewVideo : nullptr;
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
    if (const auto remote = events()) remote->playVideo();
}
void PlayerItem::play() {
    if (rate() == 0) toggle();
}
void PlayerItem::pause() {
    if (rate() != 0) toggle();
}
void PlayerItem::seek(qreal seconds) {
    if (const auto remote = events()) remote->seekTo(static_cast<float>(seconds));
}

void PlayerItem::stop() {
    request_.forget();  // what is on its way starts nothing
    if (const auto remote = events()) {
        returning_ = false;  // from here on it is the end that is told
        remote->stopVideo();
    }
}

void PlayerItem::enterFullScreen() {
    const auto remote = events();
    if (!remote || fullScreen_) return;
    const QPointer self(this);
    remote->enterFullScreen();
    if (self && events() == remote) set(fullScreen_, true, &PlayerItem::fullScreenChanged);
}

void PlayerItem::exitFullScreen() {
    const auto remote = events();
    if (!remote || !fullScreen_) return;
    if (!remote->parentView) return stop();
    const QPointer self(this);
    returning_ = true;
    remote->exitFullScreen();
    if (!self) return;
    returning_ = false;
    set(fullScreen_, false, &PlayerItem::fullScreenChanged);
}

void PlayerItem::showOverlay() {
    const auto overlay = controls();
    if (overlay && !overlay->controlsShown()) events()->showOverlayView();
}
void PlayerItem::hideOverlay() {
    const auto overlay = controls();
    if (overlay && overlay->controlsShown()) events()->hideOverlayView();
}

}  // namespace korvel::qml
