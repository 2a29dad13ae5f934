#pragma once

#include <korvel/network/Outcome.h>
#include <korvel/platform/avfoundation/AVSubtitleCue.h>
#include <korvel/platform/foundation/Clock.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace korvel {

namespace platform {
class UIView;
}

struct KCSDKOndemandResultRequest;
class KCSDKPlayerEvents;
class KCSDKPlayerEventsListner;
class KCSDKVideoViewBuilder;
class PlaybackWatch;

struct PlayOptions {
    std::shared_ptr<platform::UIView> in = {};              ///< null: full screen
    std::shared_ptr<platform::UIView> overlay = {};         ///< null: the SDK's own controls
    std::function<void(KCSDKVideoViewBuilder&)> look = {};  ///< main queue, before the start
    std::shared_ptr<KCSDKPlayerEventsListner> listener = {};
    /// Asks for the content token together with the class, and for keys as soon as a playlist names
    /// them, and opens connections to where the client's last class came from: a protected class
    /// starts sooner, at the price of a token and of connections that another may not need.
    bool prefetch = false;
    /// From the start on; later the player's item changes it and tells what they say.
    platform::AVSubtitleSelection subtitles = {};
    /// A stream that brings nothing for so long, at the start or while it is to play, has failed.
    platform::Clock::Duration stallLimit = std::chrono::seconds(30);
    /// The same for a content key that was asked for.
    platform::Clock::Duration keyDeadline = std::chrono::seconds(15);
};

/// One class that plays, and what is to be said of it. A failure ends it as its close button does,
/// the record of what was performed included; nothing comes after `failed` and `ended` but the
/// outcome of that record.
///
/// Any thread. Letting go of it stops nothing: the player goes on where it is shown, its limits
/// count, and its performance is recorded.
class Playback {
public:
    enum class State {
        preparing,  ///< its length and first picture are not there yet
        buffering,  ///< waits for more of the stream
        playing,
        paused,
        stalled,  ///< has been waiting for more than two seconds
        failed,   ///< `failure` says why
        ended,    ///< closed, came to its end, or its view went
    };
    struct Status {
        State state = State::preparing;
        platform::Clock::Duration waiting{};  ///< for how long nothing has come
        std::optional<Failure> failure = {};
        std::int64_t performedSeconds = 0;
        /// Of the performance's record, once it is known: accepted, refused, or, a failure that
        /// says `isKept`, waiting in the outbox, in which case there may be another outcome later.
        std::optional<Outcome<Done>> recorded = {};
        /// That record as it was sent; null where none could be.
        std::shared_ptr<const KCSDKOndemandResultRequest> performance = {};
    };
    using Observer = std::function<void(const Status&)>;
    /// When the start took its steps, each for the first time, on the device's clock; what has not
    /// happened is absent. From `opened` on the stream's and the key's steps go side by side.
    struct Timeline {
        using Moment = std::optional<platform::Clock::Instant>;
        Moment asked{};      ///< for the class, of the service
        Moment performed{};  ///< it answered
        Moment opened{};     ///< the player began to load
        Moment playlist{};
        Moment keyAsked{};    ///< by the stream
        Moment tokenAsked{};  ///< with `PlayOptions::prefetch` at the very beginning
        Moment token{};
        Moment keyRequested{};  ///< of the key server
        Moment key{};
        Moment segment{};  ///< the first bytes of media
        Moment picture{};
    };

    KORVEL_API ~Playback();
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    KORVEL_API Status status() const;
    KORVEL_API Timeline timeline() const;  ///< may be a tenth of a second old
    /// Called on the main queue with what is now, and whenever `state` changes or `recorded` comes.
    /// Replaces an earlier one; may be empty.
    KORVEL_API void observe(Observer observer);

    // Taken to the main queue, in order. None does anything once it is over.
    KORVEL_API void play();
    KORVEL_API void pause();
    KORVEL_API void seek(double seconds);
    KORVEL_API void stop();

    /// The contract's own remote control. Main queue.
    const std::shared_ptr<KCSDKPlayerEvents>& events() const { return events_; }

    /// Internal.
    Playback(std::shared_ptr<PlaybackWatch> watch, std::shared_ptr<KCSDKPlayerEvents> events);

private:
    std::shared_ptr<PlaybackWatch> watch_;
    std::shared_ptr<KCSDKPlayerEvents> events_;
};

}  // namespace korvel
