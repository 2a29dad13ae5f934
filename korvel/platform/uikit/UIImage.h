#pragma once

#include <korvel/platform/foundation/Bundle.h>
#include <korvel/platform/uikit/CGSize.h>

#include <memory>
#include <string>
#include <vector>

namespace korvel::platform {

/// A PNG picture in one or more resolutions, still encoded: a toolkit decodes the one that it
/// needs. A cheap value; any thread. The default one is empty: it has no size and draws nothing,
/// which is another thing than no image.
class KORVEL_API UIImage {
public:
    /// How views with a tint treat it.
    enum class RenderingMode {
        automatic,       ///< takes the view's own tint if it has one
        alwaysOriginal,  ///< keeps its colours
        alwaysTemplate,  ///< only its shape counts; takes the tint of the views around, too
    };
    struct Variant {
        double scale;  ///< pixels per point
        std::filesystem::path file;
        std::shared_ptr<const Data> bytes;  ///< instead of a file

        bool operator==(const Variant&) const = default;
    };

    UIImage() = default;
    /// "play" finds "play.png", "play@2x.png" and "play@3x.png" in the bundle; nothing if there is
    /// none of them, or none of them is a PNG file.
    static std::optional<UIImage> named(std::string_view name, const Bundle& bundle);
    /// Nothing if it is not a PNG file.
    static std::optional<UIImage> contentsOfFile(const std::filesystem::path& file,
                                                 double scale = 1);
    static std::optional<UIImage> withData(Data png, double scale = 1);

    UIImage withRenderingMode(RenderingMode mode) const;

    const std::string& name() const;  ///< empty unless it comes from a bundle
    CGSize size() const;              ///< in points
    bool isEmpty() const { return !content_; }
    RenderingMode renderingMode() const { return mode_; }
    /// The best one for so many pixels per point: not coarser if possible, else the finest.
    /// Borrowed from the image; null if that is empty.
    const Variant* variant(double scale) const;
    /// The encoded bytes of a variant; nothing if its file cannot be read any more.
    static std::optional<Data> encoded(const Variant& variant);

    /// Of the same files, or of the very same bytes.
    bool operator==(const UIImage& other) const;

private:
    struct Content;
    std::shared_ptr<const Content> content_;
    RenderingMode mode_ = RenderingMode::automatic;
};

}  // namespace korvel::platform
