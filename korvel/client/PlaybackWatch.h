#pragma once

#include <korvel/client/Playback.h>
#include <korvel/client/Ticket.h>
#include <korvel/platform/Device.h>
#include <korvel/platform/foundation/Timer.h>
#include <korvel/presentation/StartDirection.h>

#include <mutex>

namespace korvel {

namespace platform {
class AVPlayerItem;
}
class KCSDKPlayerView;
class KnownServers;

/// Starts one class, and follows its player to the record of what was performed. Lives as long as
/// the start, the player's view, or whoever asks about it; holds none of them. Main queue, but for
/// what says otherwise.
class PlaybackWatch final : public StartDirection,
                            public std::enable_shared_from_this<PlaybackWatch> {
public:
    using State = Playback::State;

    /// Any thread. `ticket` has a manager; `outbox` may be null.
    PlaybackWatch(const platform::Device& device, std::shared_ptr<KCSDKOndemandClass> chosen,
                  PlayOptions&& options, std::shared_ptr<Ticket> ticket,
                  std::shared_ptr<Outbox> outbox);
    /// Once, unless the ticket's operation is over by now.
    void start(const std::shared_ptr<KnownServers>& servers);

    void answered() override;
    void done(Outcome<std::shared_ptr<KCSDKPlayerEvents>> outcome) override;
    bool closes(std::int64_t performedSeconds) override;
    void record(const KCSDKOndemandClass& performed, std::int64_t performedSeconds) override;

    Playback::Status status() const;      ///< any thread
    Playback::Timeline timeline() const;  ///< any thread
    void observe(Playback::Observer observer);
    void setPlaying(bool plays);
    void seek(double seconds);
    void stop();

    const std::shared_ptr<platform::MainQueue> mainQueue;

private:
    void follow(const std::shared_ptr<KCSDKPlayerView>& view);
    void look();
    void followSteps(const KCSDKPlayerView& view, const platform::AVPlayerItem& item);
    State judge(KCSDKPlayerView& view, platform::Clock::Instant now);
    bool failsOverdue(const KCSDKPlayerView& view, platform::Clock::Instant now);
    void failWith(const KCSDKPlayerView& view, const platform::AVPlayerItem& item);
    void fail(Failure failure);
    bool isOver() const;
    void close();
    void enter(State state);
    void tell();
    void recorded(Outcome<Box> outcome);  ///< any thread

    const std::shared_ptr<platform::Clock> clock_;
    const std::shared_ptr<KCSDKOndemandClass> class_;
    const std::shared_ptr<Outbox> outbox_;
    PlayOptions options_;
    std::shared_ptr<Ticket> ticket_;  ///< until the start is done
    std::shared_ptr<const KCSDKOndemandResultRequest> performance_;
    std::weak_ptr<KCSDKPlayerView> view_;
    std::shared_ptr<platform::Timer> timer_;
    std::optional<platform::Clock::Instant> waitsSince_;
    std::optional<platform::Clock::Instant> keySince_;
    Playback::Observer observer_;
    bool closes_ = false;
    bool closed_ = false;
    mutable std::mutex mutex_;  ///< of the two, which the main queue alone writes
    Playback::Status status_;
    Playback::Timeline timeline_;
};

}  // namespace korvel
