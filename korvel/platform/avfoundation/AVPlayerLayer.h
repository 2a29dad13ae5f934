#pragma once

#include <korvel/platform/avfoundation/AVPlayer.h>
#include <korvel/platform/foundation/SharedObject.h>
#include <korvel/platform/uikit/CALayer.h>

#include <memory>

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

/// Shows a player's pictures. Main queue.
class KORVEL_API AVPlayerLayer : public CALayer, public SharedObject<AVPlayerLayer> {
public:
    AVPlayerLayer();
    ~AVPlayerLayer() override;

    const std::shared_ptr<AVPlayer>& player() const { return player_; }
    void setPlayer(std::shared_ptr<AVPlayer> player);

    AVLayerVideoGravity videoGravity() const { return videoGravity_; }
    void setVideoGravity(AVLayerVideoGravity gravity);

    /// For whoever shows the layer: the picture of this moment; null if there is none.
    std::shared_ptr<const VideoFrame> newestFrame() const;

private:
    std::shared_ptr<AVPlayer> player_;
    AVLayerVideoGravity videoGravity_ = AVLayerVideoGravity::resizeAspect;
};

}  // namespace korvel::platform
