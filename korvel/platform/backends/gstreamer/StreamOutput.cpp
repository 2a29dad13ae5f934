#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/StreamOutput.h>

#include <utility>

namespace korvel::platform::gst {

using hls::Kind;
using std::chrono::nanoseconds;

StreamOutput::StreamOutput(std::shared_ptr<Pipeline> pipeline,
                           std::function<void(NSError)> undecodable)
    : pipeline_(std::move(pipeline)), undecodable_(std::move(undecodable)) {}

StreamOutput::~StreamOutput() = default;

void StreamOutput::attach(const std::function<std::shared_ptr<hls::Presentation>()>& open) {
    const std::lock_guard lock(opening_);
    presentation_ = open();
}

std::shared_ptr<hls::Presentation> StreamOutput::presentation() {
    const std::lock_guard lock(opening_);
    return presentation_.lock();
}

void StreamOutput::setRate(double rate) { pace_.setRate(rate); }

void StreamOutput::close() {
    const std::lock_guard lock(branching_);
    closed_ = true;
    for (const auto& each : branches_) {
        if (each) each->close();
    }
}

std::unique_ptr<Branch> StreamOutput::makeBranch(Kind kind) {
    auto inlet = kind == Kind::picture ? pipeline_->pictureInlet() : pipeline_->soundInlet();
    return std::make_unique<Branch>(
        kind, pipeline_->bin(), std::move(inlet), pace_,
        Branch::Listener{
            .taken =
                [this, kind](std::size_t bytes) {
                    if (const auto told = presentation()) told->taken(kind, bytes);
                },
            .starved =
                [this, kind] {
                    if (const auto told = presentation()) told->starved(kind);
                },
            .undecodable = [this, kind](const std::string& caps) { isUndecodable(kind, caps); }});
}

/// A class without its sound is better than none.
void StreamOutput::isUndecodable(Kind kind, const std::string& caps) {
    if (kind == Kind::sound && hasPicture_) return;
    undecodable_(makeAVError(AVError::decoderNotFound, "There is no decoder for " + caps + "."));
}

void StreamOutput::tracks(hls::Tracks tracks) {
    const std::lock_guard lock(branching_);
    if (closed_) return;
    const bool isFirst = !branches_[0] && !branches_[1];
    if (tracks.picture) hasPicture_ = true;
    for (const Kind kind : {Kind::picture, Kind::sound}) {
        auto& branch = branches_.at(static_cast<std::size_t>(kind));
        const bool has = kind == Kind::picture ? tracks.picture : tracks.sound;
        if (has && !branch) branch = makeBranch(kind);
    }
    if (isFirst) return pipeline_->start();
    gst_bin_sync_children_states(pipeline_->bin());
}

void StreamOutput::put(Kind kind, Item item) {
    const auto& branch = branches_.at(static_cast<std::size_t>(kind));
    if (branch) branch->feed().put(std::move(item));
}

void StreamOutput::begin(Kind kind, nanoseconds from) {
    // A stream need not begin at zero, nor exactly where one wanted it to.
    if (!isUnderWay_ && from != pace_.current().from) pace_.restart(from);
    if (!hasBegun_) pipeline_->startAt(from);
    isUnderWay_ = hasBegun_ = true;
    put(kind, Begin{from});
}

void StreamOutput::format(Kind kind, std::shared_ptr<const hls::Format> format) {
    put(kind, std::move(format));
}

void StreamOutput::discontinuity(Kind kind) { put(kind, Renewal{}); }

void StreamOutput::sample(Kind kind, hls::Sample sample) { put(kind, std::move(sample)); }

void StreamOutput::end(Kind kind) { put(kind, End{}); }

void StreamOutput::flush(nanoseconds to) {
    hasBegun_ = true;
    isUnderWay_ = false;
    pipeline_->beginFlush(to);
    {
        // What sinks lose amid the pipeline's own step to playing it does not notice, and then
        // tells nobody that they have prerolled again.
        const StateLock lock(pipeline_->element());
        for (const auto& each : branches_) {
            if (each) each->startFlush();
        }
    }
    for (const auto& each : branches_) {
        if (each) each->settle();
    }
    pace_.restart(to);
    pipeline_->flushed();
    for (const auto& each : branches_) {
        if (each) each->stopFlush();
    }
}

std::optional<nanoseconds> StreamOutput::position() const {
    if (!hasBegun_) return std::nullopt;
    // Not by what is shown, which stands still where decoders wait for more: by then it is too
    // late.
    const auto running = pipeline_->runningTime();
    return running ? pace_.timeAt(*running) : pipeline_->time();
}

}  // namespace korvel::platform::gst
