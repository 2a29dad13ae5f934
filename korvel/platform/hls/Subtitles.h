#pragma once

#include <korvel/platform/hls/Stage.h>
#include <korvel/platform/hls/Statistics.h>
#include <korvel/platform/hls/SubtitleChoice.h>
#include <korvel/platform/hls/SubtitleLoader.h>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// A presentation's subtitles: what there is, what is wanted, and a loader as long as something is.
/// Any thread; no call waits.
class Subtitles {
public:
    using Time = std::chrono::nanoseconds;

    Subtitles(std::shared_ptr<Stage> stage, std::shared_ptr<Statistics> statistics)
        : stage_(std::move(stage)), statistics_(std::move(statistics)) {}

    /// What there is, once that is known.
    void offer(SubtitleChoice choice, Definitions definitions);
    AVMediaSelectionGroup group() const;
    /// At once; kept until it is known what there is.
    void select(const AVSubtitleSelection& selection);
    /// The presentation goes on there.
    void sought(Time to);
    /// As with `MediaPlayback`.
    std::vector<AVSubtitleCue> cues(Time from) const;
    /// For good.
    void close();

private:
    std::shared_ptr<SubtitleLoader> loader() const;
    void apply();

    const std::shared_ptr<Stage> stage_;
    const std::shared_ptr<Statistics> statistics_;

    mutable std::mutex mutex_;
    SubtitleChoice choice_;
    Definitions definitions_;
    AVSubtitleSelection selection_;
    std::optional<std::size_t> current_;
    std::shared_ptr<SubtitleLoader> loader_;  ///< of the current one
    bool isClosed_ = false;
};

}  // namespace korvel::platform::hls
