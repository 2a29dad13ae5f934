#pragma once

#include <korvel/platform/avfoundation/AVPlayerItem.h>
#include <korvel/platform/foundation/Locale.h>
#include <korvel/platform/foundation/SharedObject.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace korvel::platform {

struct Device;

/// Plays one item at a time. Main queue; made by `make`. With it goes the playback,
/// at once, whatever it is waiting for.
class KORVEL_API AVPlayer : public Object, public SharedObject<AVPlayer> {
public:
    using Status = AVPlayerItem::Status;

    /// Plays with the device's media engine and content key system. `item` may be null.
    AVPlayer(std::shared_ptr<AVPlayerItem> item, const Device& device);
    ~AVPlayer() override;

    const std::shared_ptr<AVPlayerItem>& currentItem() const { return item_; }
    /// The item given loads and, if the rate says so, plays; the former one is closed. May be null.
    void replaceCurrentItem(std::shared_ptr<AVPlayerItem> item);
    Status status() const;  ///< the current item's; unknown without one

    void play() { setRate(1); }
    void pause() { setRate(0); }
    /// The rate asked for, also while the item loads or waits for its buffer. 0 once the item has
    /// played to its end or failed.
    float rate() const { return rate_; }
    /// What is negative or no number counts as 0.
    void setRate(float rate);

    /// Of this player's sound alone, from 0 to 1; what lies outside is led to the nearer end.
    float volume() const { return volume_; }
    void setVolume(float volume);
    /// The volume stays what it is meanwhile.
    bool isMuted() const { return muted_; }
    void setMuted(bool muted);

    /// Where a seek goes to until it has ended; zero without an item.
    CMTime currentTime() const;
    /// Clamped to the item; kept until the item is ready; the last of several counts. A time that
    /// is neither numeric nor infinite is ignored. Always exact, whatever the tolerances.
    void seek(CMTime to, CMTime toleranceBefore, CMTime toleranceAfter);

    /// `block` gets the current time at every `interval`, paused or not, until removed. An empty
    /// queue means the main queue. Nothing, and no token, if the interval is not positive.
    std::shared_ptr<Object> addPeriodicTimeObserver(CMTime interval,
                                                    std::shared_ptr<DispatchQueue> queue,
                                                    std::function<void(CMTime)> block);
    /// It runs no more. Another player's token, or one removed already, does nothing.
    void removeTimeObserver(const std::shared_ptr<Object>& token);

    /// Kept for devices that can play elsewhere; nothing here reads them.
    bool allowsExternalPlayback = true;
    bool usesExternalPlaybackWhileExternalScreenIsActive = false;

    /// The picture of this moment; null if there is none.
    std::shared_ptr<const VideoFrame> newestFrame() const;
    /// `block` runs after each change of the picture as long as `owner` lives.
    void observeFrames(std::weak_ptr<void> owner, std::function<void()> block);

private:
    friend AVPlayerItem;
    void open(std::shared_ptr<AVPlayerItem> item);
    void close();
    void frameChanged();
    void itemStopped();
    void applyVolume();

    struct FrameObserver {
        std::weak_ptr<void> owner;
        std::function<void()> block;
    };
    const std::shared_ptr<MediaEngine> engine_;
    const std::shared_ptr<ContentKeySystem> keySystem_;
    const std::shared_ptr<MainQueue> mainQueue_;
    const std::shared_ptr<const Clock> clock_;
    const std::shared_ptr<Locale> locale_;
    std::shared_ptr<AVPlayerItem> item_;
    float rate_ = 0;
    float volume_ = 1;
    bool muted_ = false;
    std::map<std::shared_ptr<Object>, MainQueue::Token> timeObservers_;
    std::vector<FrameObserver> frameObservers_;
};

}  // namespace korvel::platform
