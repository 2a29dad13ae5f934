#pragma once

#include <korvel/client/Playback.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/Timer.h>

#include <mutex>

namespace korvel {

namespace platform {
class AVPlayerItem;
}
class KCSDKPlayerView;

/// Follows one player from its start to its record. Lives as long as the player's view or whoever
/// asks about it; holds neither. Main queue, but for what says otherwise.
class Playback::Watch : public std::enable_shared_from_this<Watch> {
public:
    Watch(const platform::Device& device, const PlayOptions& options);

    /// The player is there.
    void follow(const std::shared_ptr<KCSDKPlayerView>& view);
    /// Any thread: what became of the performance's record, and its bytes if there were any.
    void recorded(Outcome<Done> outcome, const std::optional<platform::Data>& sent = {});

    /// The service has answered.
    void performed();
    Status status() const;      ///< any thread
    Timeline timeline() const;  ///< any thread
    void observe(Observer observer);
    std::shared_ptr<KCSDKPlayerView> view() const { return view_.lock(); }
    bool isOver() const;
    void setPlaying(bool plays);
    void seek(double seconds);
    void stop();

private:
    void look();
    void followSteps(const KCSDKPlayerView& view, const platform::AVPlayerItem& item);
    Failure failureOf(const KCSDKPlayerView& view, const platform::AVPlayerItem& item) const;
    State judge(KCSDKPlayerView& view, platform::Clock::Instant now);
    std::optional<Failure> overdue(const KCSDKPlayerView& view, platform::Clock::Instant now) const;
    /// False if it had closed before: a performance counts once.
    bool closed(std::optional<std::int64_t> performedSeconds);
    void close();
    void fail(Failure failure);
    void change(const std::function<void(Status&)>& change);

    const std::shared_ptr<platform::Clock> clock_;
    const std::shared_ptr<platform::MainQueue> mainQueue_;
    const platform::Clock::Duration stallLimit_;
    const platform::Clock::Duration keyDeadline_;
    const platform::AVSubtitleSelection subtitles_;
    std::weak_ptr<KCSDKPlayerView> view_;
    std::shared_ptr<platform::Timer> timer_;
    std::optional<platform::Clock::Instant> waitsSince_;
    std::optional<platform::Clock::Instant> keySince_;
    Observer observer_;
    bool closes_ = false;
    bool closed_ = false;
    mutable std::mutex mutex_;  ///< of the two, which the main queue alone writes
    Status status_;
    Timeline timeline_;
};

}  // namespace korvel
