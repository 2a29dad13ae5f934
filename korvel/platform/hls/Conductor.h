#pragma once

#include <korvel/platform/hls/Ladder.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/Presentation.h>
#include <korvel/platform/hls/Rendition.h>
#include <korvel/platform/hls/Stage.h>
#include <korvel/platform/hls/Statistics.h>
#include <korvel/platform/hls/Subtitles.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// Opens the address, finds out what there is, and sets a loader going for each rendition.
class Conductor final : public Presentation, public std::enable_shared_from_this<Conductor> {
public:
    Conductor(PresentationParts parts, VariantBounds bounds);
    ~Conductor() override;
    void open(const URL& url);

    void close() override;
    void seek(std::chrono::nanoseconds to) override;
    void setRate(double rate) override;
    void setBounds(VariantBounds bounds) override;
    AVMediaSelectionGroup sounds() const override;
    bool selectSound(const AVMediaSelectionOption& option) override;
    AVMediaSelectionGroup subtitles() const override;
    void selectSubtitles(const AVSubtitleSelection& selection) override;
    std::vector<AVSubtitleCue> cues(std::chrono::nanoseconds from) const override;
    void taken(Kind kind, std::size_t bytes) override;
    void starved(Kind kind) override;
    std::optional<std::chrono::nanoseconds> duration() const override;
    std::vector<MediaTimeRange> buffered() const override;
    std::vector<Variant> variants() const override;
    std::vector<AVPlayerItemAccessLogEvent> accessLog() const override;
    std::vector<AVPlayerItemErrorLogEvent> errorLog() const override;

private:
    static void load(const std::shared_ptr<Stage>& stage, const URL& url,
                     const std::weak_ptr<Conductor>& conductor);
    void begin(const URL& address, Playlist playlist);
    void begin(const URL& address, MediaPlaylist playlist);
    void begin(const URL& address, const MasterPlaylist& playlist);
    std::shared_ptr<SoundChoice> makeSoundChoice(const MasterPlaylist& playlist, const URL& address,
                                                 const std::vector<const VariantTag*>& variants);
    std::shared_ptr<Ladder> makeLadder(std::vector<Variant> variants) const;
    void start(std::shared_ptr<Ladder> ladder, Rendition::Source source);

    const std::shared_ptr<Stage> stage_;
    const std::shared_ptr<Statistics> statistics_ = std::make_shared<Statistics>();
    Subtitles subtitles_{stage_, statistics_};
    std::atomic<unsigned> samplesTaken_ = 0;

    mutable std::mutex mutex_;
    std::shared_ptr<Ladder> ladder_;  ///< null until it is known what there is
    VariantBounds bounds_;
    std::shared_ptr<SoundChoice> sound_;  ///< likewise
    std::optional<AVMediaSelectionOption> wish_;
};

}  // namespace korvel::platform::hls
