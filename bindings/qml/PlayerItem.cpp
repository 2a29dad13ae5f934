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
#include <QTimerEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::qml {

namespace {
constexpr int consentRequiredStatus = 601;
constexpr int subscriptionRequiredStatus = 403;
constexpr qreal timeStep = 1.0 / 30;
/// A start that takes longer is one to say something about.
constexpr int patience = 4000;  // milliseconds

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
        const Consent consent(request_.consent());
        const QPointer self(this);
        if (status == subscriptionRequiredStatus) KorvelContent::instance().lacksMembership();
        Q_EMIT failed(text, status);
        if (self && status == consentRequiredStatus) Q_EMIT consentRequired(consent);
    });
    connect(&request_, &ServiceRequest::changed, this, &PlayerItem::updateCondition);
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
    const QPointer self(this);
    stop();
    if (!self) return;
    ended_ = nullptr;
    streamMessage_.clear();
    takesLong_ = false;
    patience_.start(patience, this);
    setRecord(NoRecord);
    if (self) request_.ask([this] { send(); });
}

void PlayerItem::timerEvent(QTimerEvent* event) {
    if (event->timerId() != patience_.timerId()) return QQuickItem::timerEvent(event);
    patience_.stop();
    takesLong_ = true;
    updateCondition();
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
    state_ = Playback::State::preparing;
    hasPicture_ = false;
    performedSeconds_ = 0;
    playback_->observe([self = QPointer(this), told = playback_.get()](const auto& status) {
        if (self && self->playback_.get() == told) self->follow(status);
        if (self && self->ended_.get() == told) self->follow(status.recorded);
    });
    applySound();
    if (view()) view()->playerLayer()->setVideoGravity(gravityOf(fillMode_));
    const QPointer self(this);
    subtitles_.follow(view());
    if (!self || !playback_) return;
    if (!hasPlace()) KorvelContent::instance().playerCovers(*this);
    const bool remains = set(fullScreen_, !hasPlace(), &PlayerItem::fullScreenChanged) &&
                         set(playing_, autoPlay_, &PlayerItem::playingChanged) &&
                         set(buffering_, true, &PlayerItem::bufferingChanged) &&
                         setTime(position_, 0, &PlayerItem::positionChanged) &&
                         setTime(duration_, 0, &PlayerItem::durationChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (remains) Q_EMIT started();
    if (self) updateCondition();
}

void PlayerItem::follow(const Playback::Status& status) {
    using enum Playback::State;
    state_ = status.state;
    hasPicture_ = hasPicture_ || state_ == playing || state_ == paused;
    if (hasPicture_) patience_.stop();
    const QPointer self(this);
    const auto* const told = playback_.get();
    if (status.failure) streamMessage_ = ServiceRequest::message(*status.failure);
    updateCondition();
    if (!self || playback_.get() != told) return;
    if (status.failure) {
        const auto why = ServiceRequest::wording(*status.failure);
        const bool remains = set(playing_, false, &PlayerItem::playingChanged) &&
                             set(buffering_, false, &PlayerItem::bufferingChanged);
        if (remains) Q_EMIT streamFailed(why);
    } else if (status.state == ended) {
        exit(static_cast<int>(status.performedSeconds));  // its view went, and nobody was told
    }
}

void PlayerItem::exit(int seconds) {
    if (!playback_) return;
    const QPointer self(this);
    if (std::exchange(performedSeconds_, seconds) != seconds) Q_EMIT performedSecondsChanged();
    if (!self || !playback_) return;
    if (returning_) return Q_EMIT exited(seconds);
    listener_->leave();
    ended_ = std::exchange(playback_, nullptr);
    KorvelContent::instance().playerClosed(ended_);
    subtitles_.follow(nullptr);
    if (!self) return;
    setRecord(Sending);
    if (!self) return;
    follow(ended_ ? ended_->status().recorded : std::nullopt);
    if (self) updateCondition();
    if (!self) return;
    const bool remains = set(playing_, false, &PlayerItem::playingChanged) &&
                         set(buffering_, false, &PlayerItem::bufferingChanged) &&
                         set(fullScreen_, false, &PlayerItem::fullScreenChanged) &&
                         tell(&PlayerItem::activeChanged);
    if (!remains) return;
    Q_EMIT exited(seconds);
    if (self) Q_EMIT closed();
}

void PlayerItem::follow(const std::optional<Outcome<Done>>& recorded) {
    if (!recorded) return;
    setRecord(*recorded ? Saved : recorded->failure().isKept ? Kept : Lost);
}

void PlayerItem::setRecord(Record record) {
    if (std::exchange(record_, record) != record) Q_EMIT recordChanged();
}

void PlayerItem::updatePerformed() {
    if (!view()) return;
    const int seconds = static_cast<int>(view()->totalPerformedTime);
    if (std::exchange(performedSeconds_, seconds) != seconds) Q_EMIT performedSecondsChanged();
}

PlayerItem::Condition PlayerItem::conditionNow() const {
    if (request_.busy()) return takesLong_ ? Stalled : Starting;
    if (!playback_) {
        const bool failed = !streamMessage_.isEmpty() || !request_.errorText().isEmpty();
        return failed ? Failed : ended_ ? Ended : Idle;
    }
    using State = Playback::State;
    switch (state_) {
        case State::preparing:
            return takesLong_ ? Stalled : Starting;
        case State::buffering:
            return hasPicture_ ? Waiting : takesLong_ ? Stalled : Starting;
        case State::playing:
            return Playing;
        case State::paused:
            return Paused;
        case State::stalled:
            return Stalled;
        case State::failed:
            return Failed;
        case State::ended:
            break;
    }
    return Ended;
}

void PlayerItem::updateCondition() {
    const auto condition = conditionNow();
    QString message;
    if (condition == Failed) {
        message = streamMessage_.isEmpty() ? request_.message() : streamMessage_;
    } else if (condition == Stalled) {
        message = request_.busy() ? tr("The service takes its time to answer.")
                  : hasPicture_   ? tr("The video does not go on. Is the connection slow?")
                                  : tr("The video takes long to come. Is the connection slow?");
    }
    if (condition == condition_ && message == message_) return;
    condition_ = condition;
    message_ = message;
    Q_EMIT conditionChanged();
}

void PlayerItem::setVolume(qreal volume) {
    volume = std::clamp(volume, 0.0, 1.0);
    if (std::exchange(volume_, volume) == volume) return;
    applySound();
    Q_EMIT volumeChanged();
}

void PlayerItem::setMuted(bool muted) {
    if (std::exchange(muted_, muted) == muted) return;
    applySound();
    Q_EMIT mutedChanged();
}

void PlayerItem::applySound() const {
    const auto player = view() ? view()->player() : nullptr;
    if (!player) return;
    player->setVolume(static_cast<float>(volume_));
    player->setMuted(muted_);
}

std::shared_ptr<KCSDKPlayerEvents> PlayerItem::events() const {
    return playback_ ? playback_->events() : nullptr;
}

bool PlayerItem::hasPlace() const { return events() && events()->parentView; }

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
    patience_.stop();
    if (const auto remote = events()) {
        returning_ = false;  // from here on it is the end that is told
        remote->stopVideo();
    } else {
        updateCondition();
    }
}

void PlayerItem::enterFullScreen() {
    const auto remote = events();
    if (!remote || fullScreen_) return;
    const QPointer self(this);
    remote->enterFullScreen();
    if (self) KorvelContent::instance().playerCovers(*this);
    if (self && events() == remote) set(fullScreen_, true, &PlayerItem::fullScreenChanged);
}

void PlayerItem::exitFullScreen() {
    const auto remote = events();
    if (!remote || !fullScreen_) return;
    if (!hasPlace()) return stop();
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
