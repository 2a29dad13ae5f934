#pragma once

#include "Failure.h"
#include "Host.h"
#include "Keyboard.h"
#include "Subtitles.h"

#include <korvel/platform/uikit/UIWindow.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace cli {

struct PlayArguments {
    std::string tag;
    std::optional<float> seek;          ///< seconds, where to begin
    std::optional<double> length;       ///< seconds after which to stop
    std::filesystem::path pictureFile;  ///< for the last picture shown; empty: for none
    bool fullScreen = false;
    bool paused = false;
    bool mute = false;
    bool timings = false;
    std::string subtitles{};  ///< their language, "auto" for the user's; empty: none
    bool lacksSound = false;  ///< though it was asked for
};

/// One class in windows that nobody sees, from its start to its performance's recording: what an
/// application with a screen does, too, but for the screen. Main thread.
class ClassSession {
public:
    ClassSession(Host& host, PlayArguments arguments);
    ~ClassSession();
    ClassSession(const ClassSession&) = delete;
    ClassSession& operator=(const ClassSession&) = delete;

    /// Until the class has ended, somebody has stopped it, or it goes on no longer. Throws
    /// `Failure` where it cannot be started.
    void play();
    /// Waits for the recording. Throws `Failure` if the service did not take it.
    std::shared_ptr<const korvel::KCSDKOndemandResultRequest> recorded();
    /// Why it went on no longer, if that was not wanted.
    const std::optional<Failure>& failure() const { return failure_; }

private:
    class Watch;
    void start();
    void press(Key key);
    void seekBy(float seconds);
    bool hasStarted() const;
    bool isOver();
    void checkSeek();
    void close();
    void keepPicture() const;
    void tell();

    Host& host_;
    const PlayArguments arguments_;
    std::shared_ptr<korvel::platform::UIWindow> window_;
    std::shared_ptr<Watch> watch_;
    std::shared_ptr<korvel::Playback> playback_;
    std::shared_ptr<Subtitles> subtitles_;
    std::optional<Keyboard> keyboard_;
    std::optional<Failure> failure_;
    bool stopped_ = false;  ///< by a key
    bool seekChecked_ = false;
    std::optional<Failure> seekRefused_;
    int ticks_ = 0;
    std::optional<korvel::platform::Clock::Instant> began_;
};

}  // namespace cli
