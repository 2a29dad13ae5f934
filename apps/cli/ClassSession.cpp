#include "ClassSession.h"

#include "Picture.h"
#include "Text.h"
#include "Timings.h"

#include <korvel/platform/uikit/Screen.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <utility>

namespace cli {

using korvel::platform::AVPlayer;
using korvel::platform::Clock;
using korvel::platform::Device;
using korvel::platform::UIView;

namespace {

constexpr korvel::platform::CGRect windowFrame{{0, 0}, {1280, 720}};
constexpr float seekStep = 10;  // seconds
constexpr auto lineInterval = std::chrono::milliseconds(200);
constexpr int linesPerSecond = 5;

/// In the order of `Playback::State`.
constexpr std::array states{"loading", "buffering", "playing", "paused",
                            "stalled", "stopping",  "stopping"};

Clock::Instant now() { return Device::current().clock->now(); }

Failure notRecorded(const korvel::Failure& failure, const Options& options) {
    auto reason = failureOf(failure, options);
    const std::string what =
        failure.isKept ? "the performance is not recorded yet, a later run sends it again: "
                       : "the performance may not be recorded: ";
    return {reason.code, what + reason.what(), reason.status};
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

void ClassSession::play() {
    start();
    host_.showNoProgress();
    keyboard_.emplace(host_.queue(), [this](Key key) { press(key); });
    if (keyboard_->isThere())
        host_.messages()->line("space pauses, \u2190 and \u2192 seek, q stops");
    const auto line =
        korvel::platform::Timer::scheduled(*host_.queue(), lineInterval, true, [this] { tell(); });
    host_.runUntil([this] { return isOver(); });
    line->invalidate();
    host_.messages()->progress("");
    keyboard_.reset();
    if (seekRefused_) throw Failure(*seekRefused_);  // not closed, so nothing is recorded
    close();
}

void ClassSession::start() {
    const auto& tag = arguments_.tag;
    const auto record =
        host_.value(host_.client().classDetails(tag), "there is no class '" + tag + "'");
    korvel::PlayOptions options;
    // Whether there is such a second is known when the stream is, and before anything plays.
    const bool plays = !arguments_.paused && !arguments_.seek;
    options.look = [plays](auto& builder) { builder.setAutoPlay(plays); };
    options.listener = watch_;
    if (arguments_.subtitles == "auto")
        options.subtitles.mode = korvel::platform::AVSubtitleSelection::Mode::byLanguage;
    options.stallLimit = options.keyDeadline = host_.patience();
    if (!arguments_.fullScreen) {
        options.in = korvel::platform::make<UIView>(window_->bounds());
        window_->rootViewController()->view()->addSubview(options.in);
    }
    playback_ = host_.value(host_.client().play(record, std::move(options)),
                            "the service has no class '" + tag + "' to play");
    const auto player = playback_->events()->playerVC->viewVideo->player();
    watch_->player = player;
    if (!arguments_.subtitles.empty()) {
        subtitles_ =
            Subtitles::follow(*player->currentItem(), arguments_.subtitles, host_.messages());
    }
    if (arguments_.seek) playback_->events()->seekTo(*arguments_.seek);
}

void ClassSession::press(Key key) {
    switch (key) {
        case Key::pause:
            return playback_->events()->pauseVideo();  // or plays: it is one toggle
        case Key::back:
            return seekBy(-seekStep);
        case Key::forward:
            return seekBy(seekStep);
        case Key::stop:
            stopped_ = true;
    }
}

void ClassSession::seekBy(float seconds) {
    if (const auto current = watch_->player.lock()) {
        const auto from = korvel::platform::CMTimeGetSeconds(current->currentTime());
        playback_->events()->seekTo(std::max(static_cast<float>(from) + seconds, 0.F));
    }
}

void ClassSession::checkSeek() {
    if (!arguments_.seek || !watch_->duration || std::exchange(seekChecked_, true)) return;
    if (*arguments_.seek >= *watch_->duration) {
        seekRefused_.emplace(ExitCode::usage, "--seek goes beyond the end: class '" +
                                                  arguments_.tag + "' lasts " +
                                                  clockTime(std::round(*watch_->duration)));
    } else if (!arguments_.paused) {
        playback_->play();
    }
}

/// A start that is to be told of is not over before its picture is there, or sound alone plays.
bool ClassSession::hasStarted() const {
    return !arguments_.timings || playback_->timeline().picture ||
           playback_->status().performedSeconds > 0;
}

bool ClassSession::isOver() {
    checkSeek();
    if (seekRefused_ || watch_->exited || stopped_ || host_.wasInterrupted()) return true;
    // The seconds count from the same moment as the performed ones, or a little later.
    if (watch_->likelyToKeepUp && !began_ && hasStarted()) began_ = now();
    return began_ && arguments_.length &&
           now() - *began_ >= std::chrono::duration<double>(*arguments_.length);
}

void ClassSession::close() {
    if (!watch_->exited) playback_->events()->stopVideo();
    if (arguments_.timings) {
        for (const auto& each : timings(playback_->timeline())) host_.messages()->line(each);
    }
    if (const auto failure = playback_->status().failure) {
        failure_ = failureOf(*failure, host_.options());
    }
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

std::shared_ptr<const korvel::KCSDKOndemandResultRequest> ClassSession::recorded() {
    host_.runUntil([this] { return playback_->status().recorded.has_value(); }, host_.patience());
    const auto status = playback_->status();
    const auto outcome =
        status.recorded.value_or(korvel::Failure{.reason = korvel::Failure::Reason::timedOut});
    if (!outcome) throw notRecorded(outcome.failure(), host_.options());
    return status.performance;
}

/// On a terminal a line that changes; elsewhere a line each second.
void ClassSession::tell() {
    const auto status = playback_->status();
    std::string text = states.at(static_cast<std::size_t>(status.state));
    if (watch_->duration) {
        text +=
            ' ' + clockTime(watch_->position) + " of " + clockTime(std::round(*watch_->duration));
    }
    text += ", performed " + std::to_string(status.performedSeconds) + " s";
    if (host_.messages()->onTerminal()) {
        host_.messages()->progress(text);
    } else if (ticks_++ % linesPerSecond == 0) {
        host_.messages()->line(text);
    }
}

}  // namespace cli
