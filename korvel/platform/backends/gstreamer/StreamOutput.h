#pragma once

#include <korvel/platform/backends/gstreamer/Branch.h>
#include <korvel/platform/backends/gstreamer/Pace.h>
#include <korvel/platform/backends/gstreamer/Pipeline.h>
#include <korvel/platform/hls/Presentation.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace korvel::platform::gst {

/// Shows and sounds a presentation's samples: a branch per kind in one pipeline, which has to be
/// closed before this goes.
class StreamOutput final : public hls::SampleOutput {
public:
    /// `undecodable`: nothing decodes what the stream is made of; on a branch's thread.
    StreamOutput(std::shared_ptr<Pipeline> pipeline, std::function<void(NSError)> undecodable);
    ~StreamOutput() override;

    /// `open` makes the presentation, which the branches may tell of samples even before it
    /// returns.
    void attach(const std::function<std::shared_ptr<hls::Presentation>()>& open);
    /// What was opened, as long as it lives. Any thread.
    std::shared_ptr<hls::Presentation> presentation();
    /// From now on. Any thread.
    void setRate(double rate);
    /// Nothing more is built; the pipeline may be closed.
    void close();

    void tracks(hls::Tracks tracks) override;
    void begin(hls::Kind kind, std::chrono::nanoseconds from) override;
    void format(hls::Kind kind, std::shared_ptr<const hls::Format> format) override;
    void discontinuity(hls::Kind kind) override;
    void sample(hls::Kind kind, hls::Sample sample) override;
    void end(hls::Kind kind) override;
    void flush(std::chrono::nanoseconds to) override;
    std::optional<std::chrono::nanoseconds> position() const override;

private:
    std::unique_ptr<Branch> makeBranch(hls::Kind kind);
    void put(hls::Kind kind, Item item);
    void isUndecodable(hls::Kind kind, const std::string& caps);

    const std::shared_ptr<Pipeline> pipeline_;
    const std::function<void(NSError)> undecodable_;
    Pace pace_;

    std::mutex opening_;
    std::weak_ptr<hls::Presentation> presentation_;

    std::mutex branching_;  ///< guards the branches' making against `close`
    std::array<std::unique_ptr<Branch>, 2> branches_;  ///< by kind
    std::atomic<bool> hasPicture_ = false;
    std::atomic<bool> hasBegun_ = false;
    bool isUnderWay_ = false;  ///< something has begun since the last flush
    bool closed_ = false;
};

}  // namespace korvel::platform::gst
