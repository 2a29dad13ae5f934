#pragma once

#include "Messages.h"

#include <korvel/platform/avfoundation/AVPlayerItem.h>

#include <memory>
#include <string>
#include <vector>

namespace cli {

/// A line for each thing that a class's subtitles say, or one that there are none. Main thread.
class Subtitles final : public korvel::platform::KeyValueObserver {
public:
    using AVPlayerItem = korvel::platform::AVPlayerItem;

    /// For `language`, "auto" for the user's own, as long as the result lives.
    static std::shared_ptr<Subtitles> follow(AVPlayerItem& item, std::string language,
                                             std::shared_ptr<Messages> messages);
    Subtitles(std::string language, std::shared_ptr<Messages> messages);

    void observeValueForKeyPath(const std::string& keyPath, korvel::platform::Object& object,
                                const korvel::platform::KeyValueChange& change) override;

private:
    void choose(AVPlayerItem& item) const;
    void tell(const AVPlayerItem& item);

    const std::string language_;
    const std::shared_ptr<Messages> messages_;
    std::vector<korvel::platform::AVSubtitleCue> shown_;
};

}  // namespace cli
