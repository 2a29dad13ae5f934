#include "Subtitles.h"

#include "Text.h"

#include <algorithm>
#include <utility>

namespace cli {

using korvel::platform::AVSubtitleSelection;

std::shared_ptr<Subtitles> Subtitles::follow(AVPlayerItem& item, std::string language,
                                             std::shared_ptr<Messages> messages) {
    auto made = std::make_shared<Subtitles>(std::move(language), std::move(messages));
    for (const auto* each : {"status", "cues"}) item.addObserver(made, each);
    if (item.status() == AVPlayerItem::Status::readyToPlay) made->choose(item);
    return made;
}

Subtitles::Subtitles(std::string language, std::shared_ptr<Messages> messages)
    : language_(std::move(language)), messages_(std::move(messages)) {}

void Subtitles::observeValueForKeyPath(const std::string& keyPath, korvel::platform::Object& object,
                                       const korvel::platform::KeyValueChange&) {
    auto& item = dynamic_cast<AVPlayerItem&>(object);
    if (keyPath == "cues") return tell(item);
    if (item.status() == AVPlayerItem::Status::readyToPlay) choose(item);
}

/// Only now it is known what there is.
void Subtitles::choose(AVPlayerItem& item) const {
    const auto group = item.legibleSelectionGroup();
    if (group.selected) return;
    std::string others;
    for (const auto& each : group.options) {
        const auto& tag = each.extendedLanguageTag;
        if (tag == language_ || tag.substr(0, tag.find('-')) == language_)
            return item.selectSubtitles({AVSubtitleSelection::Mode::option, each});
        others += (others.empty() ? "" : ", ") + (tag.empty() ? each.displayName : tag);
    }
    messages_->line(others.empty() ? "the class has no subtitles"
                                   : "no such subtitles; the class has them in " + others);
}

void Subtitles::tell(const AVPlayerItem& item) {
    const auto before = std::exchange(shown_, item.cues());
    for (const auto& cue : shown_) {
        if (std::find(before.begin(), before.end(), cue) != before.end()) continue;
        std::string text = cue.text();
        std::replace(text.begin(), text.end(), '\n', ' ');
        const std::chrono::duration<double> start = cue.start;
        messages_->line(clockTime(start.count()) + " \u201c" + text + "\u201d");
    }
}

}  // namespace cli
