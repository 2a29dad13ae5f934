#include "ClassSession.h"

#include "Picture.h"
#include "Reasons.h"

#include <korvel/platform/uikit/Screen.h>
#include <korvel/player/KCSDKPlayerView.h>
#include <korvel/player/KCSDKPlayerViewController.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace cli {

using korvel::KCSDKPlayerEvents;
using korvel::platform::AVPlayer;
using korvel::platform::AVPlayerItem;
using korvel::platform::Clock;
using korvel::platform::Device;
using korvel::platform::UIView;

namespace {

constexpr korvel::platform::CGRect windowFrame{{0, 0}, {1280, 720}};
constexpr float seekStep = 10;  // seconds
constexpr auto lineInterval = std::chrono::milliseconds(200);
constexpr int linesPerSecond = 5;

double inSeconds(Clock::Duration time) { return std::chrono::duration<double>(time).count(); }

Clock::Instant now() { return Device::current().clock->now(); }

/// The service's words for what is missing, with the command that helps.
Failure startFailure(const Failure& failure) {
    constexpr std::int64_t forbidden = 403;
    constexpr std::int64_t unknown = 404;
    if (failure.status == forbidden) {
        return {ExitCode::subscriptionRequired,
                std::string(failure.what()) + " (\"korvel subscribe ID\" starts a subscription)",
                failure.status};
    }
    if (failure.status == unknown) return {ExitCode::notFound, failure.what(), failure.status};
    return failure;
}

}  // namespace

/// Written by the player, read by the session.
class ClassSession::Watch final : public korvel::KCSDKPlayerEventsListner {
public:
    float position = 0;  ///< seconds
    std::optional<float> duration;
    bool likelyToKeepUp = false;  ///< it was, at least once
    bool exited = false;
    std::weak_ptr<AVPlayer> player;
    std::shared_ptr<const korvel::platform::VideoFrame> lastPicture;  ///< at the exit

    void playerExitWithDuration(std::int64_t) override {
        exited = true;
        if (const auto current = player.lock()) lastPicture = current->newestFrame();
    }
    void currentVideoPositionWithDurationPlayedSeconds(float seconds) override {
        position = seconds;
    }
    void totalVideoDurationWithTotalDuration(float seconds) override { duration = seconds; }
    void playbackLikelyToKeepUp() override { likelyToKeepUp = true; }
};

ClassSession::ClassSession(Host& host, PlayArguments arguments)
    : host_(host),
      arguments_(std::move(arguments)),
      window_(korvel::platform::make<korvel::platform::UIWindow>(Device::current().screen,
                                                                 windowFrame)),
      watch_(std::make_shared<Watch>()) {
    window_->setRootViewController(korvel::platform::make<korvel::platform::UIViewController>());
    window_->makeKeyAndVisible();
}

ClassSession::~ClassSession() = default;

std::shared_ptr<AVPlayer> ClassSession::player() const {
    return events_->playerVC->viewVideo->player();
}

void ClassSession::play() {
    const auto& tag = arguments_.tag;
    const auto record = host_.fetch<korvel::KCSDKOndemandClass>(
        [&](auto done) { korvel::KCSDK::getOndemandClassDetails(tag, std::move(done)); });
    if (!record) throw Failure(ExitCode::notFound, "there is no class '" + tag + "'");
    const auto builder = korvel::KCSDKVideoViewBuilder::create(record);
    builder->setEventReceiver(watch_);
    builder->setAutoPlay(!arguments_.paused);
    events_ = start(builder);
    host_.observer().watch("/ondemandtracking");
    watch_->player = player();
    if (arguments_.seek) events_->seekTo(*arguments_.seek);

    host_.showNoProgress();
    keyboard_.emplace(host_.queue(), [this](Key key) { press(key); });
    if (keyboard_->isThere())
        host_.messages()->line("space pauses, \u2190 and \u2192 seek, q stops");
    const auto line =
        korvel::platform::Timer::scheduled(*host_.queue(), lineInterval, true, [this] { tell(); });
    lastGoing_ = now();
    host_.runUntil([this] { return isOver(); });
    line->invalidate();
    host_.messages()->progress("");
    keyboard_.reset();
    close();
}

std::shared_ptr<KCSDKPlayerEvents> ClassSession::start(
    const std::shared_ptr<korvel::KCSDKVideoViewBuilder>& builder) {
    std::shared_ptr<UIView> place;
    if (!arguments_.fullScreen) {
        place = korvel::platform::make<UIView>(window_->bounds());
        window_->rootViewController()->view()->addSubview(place);
    }
    try {
        auto events = host_.fetch<KCSDKPlayerEvents>(
            [&](auto done) { builder->startVideoIn(place, nullptr, std::move(done)); });
        if (events) return events;
    } catch (const Failure& failure) {
        throw startFailure(failure);
    }
    throw Failure(ExitCode::notFound, "the service has no class '" + arguments_.tag + "' to play");
}

void ClassSession::press(Key key) {
    switch (key) {
        case Key::pause:
            return events_->pauseVideo();  // or plays: it is one toggle
        case Key::back:
            return seekBy(-seekStep);
        case Key::forward:
            return seekBy(seekStep);
        case Key::stop:
            stopped_ = true;
    }
}

void ClassSession::seekBy(float seconds) {
    if (const auto current = player()) {
        const auto from = korvel::platform::CMTimeGetSeconds(current->currentTime());
        events_->seekTo(std::max(static_cast<float>(from) + seconds, 0.F));
    }
}

bool ClassSession::isOver() {
    if (watch_->exited || stopped_ || host_.wasInterrupted()) return true;
    const auto current = player();
    const auto item = current ? current->currentItem() : nullptr;
    if (!item) return true;
    if (item->status() == AVPlayerItem::Status::failed) {
        failure_ = streamFailed(*item->error());
    } else {
        checkPatience(*item);
    }
    if (failure_) return true;
    // The seconds count from the same moment as the performed ones, or a little later.
    if (watch_->likelyToKeepUp && !began_) began_ = now();
    return began_ && arguments_.length && inSeconds(now() - *began_) >= *arguments_.length;
}

void ClassSession::checkPatience(const AVPlayerItem& item) {
    if (item.isPlaybackLikelyToKeepUp()) {
        lastGoing_ = now();
    } else if (now() - lastGoing_ >= host_.patience()) {
        failure_ = streamSilent(watch_->likelyToKeepUp, inSeconds(host_.patience()));
    }
}

void ClassSession::close() {
    if (!watch_->exited) events_->stopVideo();
    try {
        keepPicture();
    } catch (const Failure& failure) {
        if (!failure_) failure_ = failure;
    }
}

void ClassSession::keepPicture() const {
    const auto& file = arguments_.pictureFile;
    if (file.empty()) return;
    if (!watch_->lastPicture) {
        throw Failure(ExitCode::failed, "there was no picture to write to " + file.string());
    }
    writePicture(*watch_->lastPicture, file);
    const std::chrono::duration<double> time = watch_->lastPicture->time;
    host_.messages()->line("the picture at " + clockTime(time.count()) + " is in " + file.string());
}

Performance ClassSession::recorded() {
    host_.runUntil([this] { return host_.observer().report().ended; }, host_.patience());
    const auto report = host_.observer().report();
    if (!report.ended) throw notRecorded(noAnswer(report, inSeconds(host_.patience())));
    if (report.lost) throw notRecorded(noConnection(*report.lost));
    if (!isAccepted(report)) throw notRecorded(rejected(report));
    return performanceIn(report.sent);
}

std::string ClassSession::state() const {
    const auto current = player();
    if (!current || !current->currentItem()) return "stopping";
    if (!watch_->likelyToKeepUp) return "loading";
    if (!current->currentItem()->isPlaybackLikelyToKeepUp()) return "buffering";
    return current->rate() == 0 ? "paused" : "playing";
}

/// On a terminal a line that changes; elsewhere a line each second.
void ClassSession::tell() {
    auto text = state();
    if (watch_->duration) {
        text +=
            ' ' + clockTime(watch_->position) + " of " + clockTime(std::round(*watch_->duration));
    }
    text +=
        ", performed " + std::to_string(events_->playerVC->viewVideo->totalPerformedTime) + " s";
    if (host_.messages()->onTerminal()) {
        host_.messages()->progress(text);
    } else if (ticks_++ % linesPerSecond == 0) {
        host_.messages()->line(text);
    }
}

}  // namespace cli
