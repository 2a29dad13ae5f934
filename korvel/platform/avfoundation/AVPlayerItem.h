#pragma once

#include <korvel/platform/avfoundation/AVURLAsset.h>
#include <korvel/platform/avfoundation/MediaEngine.h>
#include <korvel/platform/foundation/KeyValueObserving.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/CGSize.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

class AVPlayer;

/// A stream on its way through a player. It loads while it is a player's current item. Main queue;
/// made by `make`.
///
/// Observable: "status", "playbackLikelyToKeepUp", "playbackBufferEmpty", and, with a value that
/// says nothing, "presentationSize", "cues" and "loadedTimeRanges", the latter whenever something
/// has been loaded. Of all others observers hear of real changes alone. Where both buffering values
/// change, the one that becomes true is told last. A seek ends as not likely to keep up, and, if
/// enough is loaded there, as likely again in the same moment; if too little is, with an empty
/// buffer, as playing ends that runs dry.
class KORVEL_API AVPlayerItem : public Object, public SharedObject<AVPlayerItem> {
public:
    enum class Status { unknown, readyToPlay, failed };

    explicit AVPlayerItem(std::shared_ptr<AVURLAsset> asset);
    explicit AVPlayerItem(URL url);
    ~AVPlayerItem() override;

    const std::shared_ptr<AVURLAsset>& asset() const { return asset_; }
    Status status() const { return status_; }
    const std::optional<NSError>& error() const { return error_; }  ///< why it failed
    CMTime duration() const { return asset_->duration(); }
    CMTime currentTime() const;
    bool isPlaybackLikelyToKeepUp() const { return likelyToKeepUp_; }
    /// It ran dry while playing, or a seek led to where too little is loaded, and waits.
    bool isPlaybackBufferEmpty() const { return bufferEmpty_; }
    /// The sounds that the stream offers, once it is known; empty where there is no choice. Of
    /// itself the one in the user's language plays, else the stream's default.
    AVMediaSelectionGroup audibleSelectionGroup() const;
    /// Found by name and language. It is heard as soon as a seek to the current time, or the one
    /// under way, has ended; before the start, and after the end, it is kept. An option that the
    /// stream does not have changes nothing.
    void select(const AVMediaSelectionOption& option);
    /// The subtitles that the stream offers, once it is known.
    AVMediaSelectionGroup legibleSelectionGroup() const;
    /// From now on, before the start and after the end, too; none at first.
    void selectSubtitles(const AVSubtitleSelection& selection);
    const AVSubtitleSelection& subtitleSelection() const { return subtitles_; }
    /// What the selected subtitles say at the current time, in order of their start.
    const std::vector<AVSubtitleCue>& cues() const { return cues_; }
    /// Of the picture shown, in square pixels; zero before there is one.
    CGSize presentationSize() const { return presentationSize_; }
    /// What could be played at once, from the current time on.
    std::vector<CMTimeRange> loadedTimeRanges() const;
    /// An event per variant that was in use, each time that it was; kept after the player has let
    /// go of the item, as `errorLog` is.
    std::vector<AVPlayerItemAccessLogEvent> accessLog() const;
    std::vector<AVPlayerItemErrorLogEvent> errorLog() const;
    /// Since a player last opened it.
    const MediaStartUp& startUp() const { return startUp_; }

    void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string keyPath);
    void removeObserver(const KeyValueObserver& observer, const std::string& keyPath);
    /// `block` runs each time that the item has played to its end, as long as `owner` lives, which
    /// is kept alive meanwhile.
    void observeDidPlayToEndTime(std::weak_ptr<void> owner, std::function<void()> block);

private:
    friend AVPlayer;
    friend MediaEvents;
    struct EndObserver {
        std::weak_ptr<void> owner;
        std::function<void()> block;
    };

    void open(AVPlayer& player);
    void close();
    void setRate(double rate);
    void setVolume(double volume);
    void seek(std::chrono::nanoseconds to);
    std::shared_ptr<const VideoFrame> newestFrame() const;

    bool hears(const MediaEvents& events) const { return events_.get() == &events; }
    void didTake(MediaStep step, Clock::Instant when);
    void didBecomeReady();
    void didBuffer(bool enough);
    void didLoad();
    void didChangeCues();
    void didEndSeek();
    void didChangeDuration();
    void didChangeFrame();
    void didPlayToEnd();
    void didFail(const NSError& error);

    void applyRate();
    void awaitCues();
    void awaitCues(const std::vector<AVSubtitleCue>& cues, std::chrono::nanoseconds now);
    void applySelection();
    void startSeek();
    void reportBuffering();
    void reportSeekEnd();
    std::chrono::nanoseconds within(std::chrono::nanoseconds time) const;
    void change(bool& value, bool newValue, const char* keyPath);
    void changeStatus(Status status);

    const std::shared_ptr<AVURLAsset> asset_;
    Status status_ = Status::unknown;
    std::optional<NSError> error_;
    bool likelyToKeepUp_ = false;
    bool bufferEmpty_ = false;
    MediaStartUp startUp_;
    CGSize presentationSize_;
    AVSubtitleSelection subtitles_;
    std::vector<AVSubtitleCue> cues_;
    std::optional<Clock::Instant> cuesDue_;              ///< when they are looked at again
    std::vector<AVPlayerItemAccessLogEvent> accessLog_;  ///< of a playback that has gone
    std::vector<AVPlayerItemErrorLogEvent> errorLog_;
    KeyValueObservers observers_;
    std::vector<EndObserver> endObservers_;

    AVPlayer* player_ = nullptr;  ///< closes the item before it goes
    std::shared_ptr<MediaEvents> events_;
    std::unique_ptr<MediaPlayback> playback_;
    double rate_ = 0;     ///< requested
    double volume_ = 1;   ///< of the playback
    double applied_ = 0;  ///< what the playback was told: 0 while it waits for the buffer
    bool enough_ = false;
    bool ended_ = false;
    bool seeking_ = false;
    bool soundIsDue_ = false;  ///< once it is ready
    std::optional<AVMediaSelectionOption> sound_;
    mutable std::chrono::nanoseconds lastPosition_{};  ///< where it failed, too
    std::optional<std::chrono::nanoseconds> nextSeek_;
    std::optional<std::chrono::nanoseconds> target_;  ///< until the seek there has ended
};

}  // namespace korvel::platform
