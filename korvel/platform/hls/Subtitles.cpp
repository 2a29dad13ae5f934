#include <korvel/platform/hls/Subtitles.h>

#include <utility>

namespace korvel::platform::hls {

void Subtitles::offer(SubtitleChoice choice, Definitions definitions) {
    {
        const std::lock_guard lock(mutex_);
        choice_ = std::move(choice);
        definitions_ = std::move(definitions);
    }
    apply();
}

void Subtitles::select(const AVSubtitleSelection& selection) {
    {
        const std::lock_guard lock(mutex_);
        selection_ = selection;
    }
    apply();
}

void Subtitles::close() {
    {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
    }
    apply();
}

void Subtitles::apply() {
    std::shared_ptr<SubtitleLoader> former;
    std::shared_ptr<SubtitleLoader> next;
    {
        const std::lock_guard lock(mutex_);
        const auto wanted =
            isClosed_ ? std::nullopt : choice_.chosen(selection_, stage_->languages());
        if (std::exchange(current_, wanted) == wanted) return;
        if (wanted) {
            next = std::make_shared<SubtitleLoader>(stage_, statistics_, choice_.playlists(*wanted),
                                                    definitions_);
        }
        former = std::exchange(loader_, next);
    }
    if (former) former->close();
    if (next) next->start();
    stage_->cuesChanged();
}

std::shared_ptr<SubtitleLoader> Subtitles::loader() const {
    const std::lock_guard lock(mutex_);
    return loader_;
}

AVMediaSelectionGroup Subtitles::group() const {
    const std::lock_guard lock(mutex_);
    return {choice_.options(), current_};
}

void Subtitles::sought(Time to) {
    if (const auto current = loader()) current->sought(to);
}

std::vector<AVSubtitleCue> Subtitles::cues(Time from) const {
    const auto current = loader();
    return current ? current->cues(from) : std::vector<AVSubtitleCue>();
}

}  // namespace korvel::platform::hls
