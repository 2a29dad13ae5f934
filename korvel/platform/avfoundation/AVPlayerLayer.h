#pragma once

#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/CALayer.h>

#include <memory>
#include <vector>

namespace korvel::platform {

/// How a picture of another shape fills its view.
enum class AVLayerVideoGravity {
    resizeAspect,      ///< whole, with bars
    resizeAspectFill,  ///< all of the view, the picture's rest cut off
    resize,            ///< stretched
};
inline constexpr auto AVLayerVideoGravityResizeAspect = AVLayerVideoGravity::resizeAspect;
inline constexpr auto AVLayerVideoGravityResizeAspectFill = AVLayerVideoGravity::resizeAspectFill;
inline constexpr auto AVLayerVideoGravityResize = AVLayerVideoGravity::resize;

/// Shows a player's pictures, and over them what the chosen subtitles say. Main queue.
class KORVEL_API AVPlayerLayer : public CALayer, public SharedObject<AVPlayerLayer> {
public:
    AVPlayerLayer();
    ~AVPlayerLayer() override;

    const std::shared_ptr<AVPlayer>& player() const { return player_; }
    void setPlayer(std::shared_ptr<AVPlayer> player);

    AVLayerVideoGravity videoGravity() const { return videoGravity_; }
    void setVideoGravity(AVLayerVideoGravity gravity);

    /// False: the host shows the item's cues in its own way.
    bool showsSubtitles() const { return showsSubtitles_; }
    void setShowsSubtitles(bool shows);
    /// Points at the view's bottom that cues leave free, for what lies there above the picture.
    double subtitleInset() const { return subtitleInset_; }
    void setSubtitleInset(double inset);

    /// For whoever shows the layer: the picture of this moment; null if there is none.
    std::shared_ptr<const VideoFrame> newestFrame() const;
    /// Likewise what is to be read over it.
    const std::vector<AVSubtitleCue>& cues() const;

private:
    class CueObserver;
    void follow(const std::shared_ptr<AVPlayerItem>& item);

    std::shared_ptr<AVPlayer> player_;
    AVLayerVideoGravity videoGravity_ = AVLayerVideoGravity::resizeAspect;
    bool showsSubtitles_ = true;
    double subtitleInset_ = 0;
    std::shared_ptr<CueObserver> cueObserver_;
    std::weak_ptr<AVPlayerItem> item_;  ///< whose cues are observed
};

}  // namespace korvel::platform
