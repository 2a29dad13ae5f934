#include <korvel/platform/hls/SegmentReading.h>

#include <utility>

namespace korvel::platform::hls {

namespace {

/// Samples of one kind wait for the first of the other, by which times are told.
constexpr std::size_t mostHeldBytes = std::size_t{32} << 20U;

}  // namespace

SegmentReading::SegmentReading(Stage& stage, Feeding& feeding, const Segment& segment,
                               const Data& initialization, Options options)
    : stage_(stage),
      feeding_(feeding),
      segment_(segment),
      initialization_(initialization),
      options_(options) {}

SegmentReading::State SegmentReading::push(ContainerReader::Bytes bytes) {
    if (state_ != State::reading) return state_;
    if (reader_) {
        reader_->push(bytes);
        return state_;
    }
    head_.insert(head_.end(), bytes.begin(), bytes.end());
    recognise(false);
    return state_;
}

SegmentReading::State SegmentReading::finish() {
    if (!reader_ && state_ == State::reading) recognise(true);
    if (reader_ && state_ == State::reading) reader_->finish();
    if (state_ == State::reading && !isComplete_) state_ = State::foreign;
    if (state_ == State::reading && !shift_) anchorByWhatIsThere();
    if (state_ == State::reading) accept(feeding_.finish());
    reader_.reset();
    return state_;
}

void SegmentReading::recognise(bool isWhole) {
    const auto found = recognised(head_, isWhole);
    if (!found) return;
    container_ = *found;
    if (container_ == Container::playlist) {
        state_ = State::playlist;
        return;
    }
    if (samples_ && samples_->scheme == SampleCipher::Scheme::ctr &&
        container_ != Container::fragments)
        return locked("Samples are encrypted by SAMPLE-AES-CTR in what is no fragmented MP4");
    reader_ = makeContainerReader(container_, initialization_, *this, samples_);
    if (!reader_) {
        state_ = State::foreign;
        return;
    }
    const Data head = std::exchange(head_, {});
    reader_->push(head);
}

std::size_t SegmentReading::chooseSound(const std::vector<SoundTrack>& sounds) {
    if (!options_.sound || !feeding_.owns(Kind::sound)) return 0;
    const auto pick = options_.sound->pick(sounds);
    if (pick.isOther) feeding_.cut(Kind::sound);
    return pick.track;
}

void SegmentReading::format(std::shared_ptr<const Format> format) {
    if (!feeding_.owns(format->kind)) return;
    formats_.at(static_cast<std::size_t>(format->kind)) = std::move(format);
}

void SegmentReading::formatsAreComplete() {
    isComplete_ = true;
    if (!has(Kind::picture) && !has(Kind::sound)) {
        state_ = State::empty;
        return;
    }
    feeding_.begin({reference(), options_.mayGoBack, options_.isLast});
    if (options_.isMain) {
        stage_.addTracks(options_.generation,
                         {has(Kind::picture), has(Kind::sound) || options_.hasOtherSound});
    }
}

Kind SegmentReading::reference() const { return has(Kind::picture) ? Kind::picture : Kind::sound; }

void SegmentReading::sample(Kind kind, Sample sample) {
    if (state_ != State::reading || !has(kind)) return;
    if (!shift_ && isComplete_ && kind == reference() && sample.pts) {
        anchor(*sample.pts);
        releaseHeld();
    }
    if (state_ != State::reading) return;
    if (shift_) return place(kind, std::move(sample));
    heldBytes_ += sample.bytes.size();
    if (heldBytes_ < mostHeldBytes) held_.push_back({kind, std::move(sample)});
}

void SegmentReading::locked(const std::string& reason) {
    if (state_ != State::reading) return;
    state_ = State::locked;
    lock_ = reason;
}

void SegmentReading::anchor(Time container) {
    if (!options_.isMain && !stage_.waitForAnchor(options_.generation, segment_.discontinuity)) {
        state_ = State::overtaken;
        return;
    }
    shift_ = stage_.timeline().shift({.discontinuity = segment_.discontinuity,
                                      .container = container,
                                      .wrap = wrapPeriod(container_),
                                      .playlist = segment_.start,
                                      .duration = segment_.duration,
                                      .goesOn = options_.goesOn});
    stage_.attention().notify();
}

/// The kind that was waited for has no sample in this segment.
void SegmentReading::anchorByWhatIsThere() {
    for (const Held& each : held_) {
        if (!each.sample.pts) continue;
        anchor(*each.sample.pts);
        break;
    }
    if (state_ == State::reading && shift_) releaseHeld();
}

void SegmentReading::releaseHeld() {
    auto held = std::exchange(held_, {});
    for (Held& each : held) {
        if (state_ == State::reading) place(each.kind, std::move(each.sample));
    }
}

void SegmentReading::place(Kind kind, Sample sample) {
    if (sample.pts) *sample.pts += *shift_;
    if (sample.dts) *sample.dts += *shift_;
    accept(feeding_.take(kind, formats_.at(static_cast<std::size_t>(kind)), std::move(sample)));
}

void SegmentReading::accept(Feeding::Answer answer) {
    switch (answer) {
        case Feeding::Answer::taken:
            return;
        case Feeding::Answer::back:
            state_ = State::back;
            return;
        case Feeding::Answer::parameters:
            state_ = State::parameters;
            return;
        case Feeding::Answer::learned:
            state_ = State::learned;
            return;
        case Feeding::Answer::overtaken:
            state_ = State::overtaken;
            return;
    }
}

std::optional<SegmentReading::Time> SegmentReading::end() const {
    return feeding_.given(reference());
}

}  // namespace korvel::platform::hls
