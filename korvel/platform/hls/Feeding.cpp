#include <korvel/platform/hls/AccessUnit.h>
#include <korvel/platform/hls/Feeding.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::nanoseconds tolerance = 2ms;
/// So late a first picture is still the one that is wanted.
constexpr std::chrono::nanoseconds lateness = 20ms;
/// Variants need not be cut at quite the same pictures.
constexpr std::chrono::nanoseconds latenessOfVariants = 100ms;
constexpr std::size_t mostEarlyBytes = std::size_t{32} << 20U;

std::optional<VideoCodec> byteStreamCodec(const Format& format) {
    if (format.kind != Kind::picture || !format.codecData.empty()) return std::nullopt;
    if (format.caps.starts_with("video/x-h264, stream-format=(string)byte-stream"))
        return VideoCodec::h264;
    if (format.caps.starts_with("video/x-h265, stream-format=(string)byte-stream"))
        return VideoCodec::h265;
    return std::nullopt;
}

}  // namespace

void Feeding::restart(Stage::Generation generation, Time from) {
    generation_ = generation;
    from_ = from;
    joined_ = isRejoining_ = isAwaiting_ = isLearning_ = takesAny_ = false;
    early_.clear();
    earlyBytes_ = 0;
    lanes_ = {};
}

void Feeding::rejoin() {
    early_.clear();
    earlyBytes_ = 0;
    if (!joined_) return;
    const auto& picture = of(Kind::picture).end;
    const auto& sound = of(Kind::sound).end;
    from_ = (owns(Kind::picture) && picture ? picture : sound).value_or(from_);
    joined_ = isAwaiting_ = false;
    isRejoining_ = true;
    for (Lane& lane : lanes_) lane.overlaps = lane.hasBegun;
}

void Feeding::discontinuity() {
    for (const Kind kind : {Kind::picture, Kind::sound}) cut(kind);
}

Feeding::Answer Feeding::take(Kind kind, const std::shared_ptr<const Format>& format,
                              Sample sample) {
    if (!joined_) return join(kind, format, std::move(sample));
    if (!isAwaiting_) return give(kind, format, std::move(sample));
    const bool isCovered = kind == Kind::picture && sample.pts &&
                           *sample.pts + sample.duration.value_or(Time::zero()) > from_;
    early_.push_back({kind, format, std::move(sample)});
    return isCovered ? release() : Answer::taken;
}

/// Nothing is given before it is known that this segment is early enough and can be decoded; sound
/// waits for that decision.
Feeding::Answer Feeding::join(Kind kind, const std::shared_ptr<const Format>& format,
                              Sample sample) {
    if (isLearning_) {
        if (kind != segment_.reference || !sample.isKey) return Answer::taken;
        complete(*format, sample);
        isLearning_ = false;
        return Answer::learned;
    }
    if (kind != segment_.reference || !sample.pts) {
        earlyBytes_ += sample.bytes.size();
        if (earlyBytes_ < mostEarlyBytes) early_.push_back({kind, format, std::move(sample)});
        return Answer::taken;
    }
    const bool isLate = *sample.pts > from_ + (isRejoining_ ? latenessOfVariants : lateness);
    const bool isBare = sample.isKey && !hasParameters(*format, sample);
    if ((isLate || !sample.isKey) && segment_.mayGoBack) return Answer::back;
    if (!sample.isKey && !takesAny_) return Answer::taken;
    if (isBare && segment_.mayGoBack) return Answer::parameters;
    joined_ = true;
    isAwaiting_ = segment_.isLast && kind == Kind::picture && !isRejoining_ &&
                  *sample.pts + sample.duration.value_or(Time::zero()) <= from_;
    early_.push_back({kind, format, std::move(sample)});
    return isAwaiting_ ? Answer::taken : release();
}

Feeding::Answer Feeding::release() {
    isAwaiting_ = false;
    auto early = std::exchange(early_, {});
    earlyBytes_ = 0;
    for (Early& each : early) {
        if (give(each.kind, each.format, std::move(each.sample)) == Answer::overtaken)
            return Answer::overtaken;
    }
    return Answer::taken;
}

Feeding::Answer Feeding::give(Kind kind, const std::shared_ptr<const Format>& format,
                              Sample sample) {
    Lane& lane = of(kind);
    const bool isThere =
        lane.overlaps && sample.pts && lane.end && *sample.pts < *lane.end - tolerance;
    if (isThere && kind == Kind::sound) return Answer::taken;
    complete(*format, sample);
    const bool passed = stage_.pass(generation_, [&](SampleOutput& output) {
        if (!lane.hasBegun) output.begin(kind, from_);
        if (isThere) output.begin(kind, *lane.end);
        if (std::exchange(lane.isCut, false)) output.discontinuity(kind);
        if (!lane.format || (lane.format != format && *lane.format != *format))
            output.format(kind, format);
        lane.hasBegun = true;
        lane.overlaps = lane.overlaps && !sample.pts;
        lane.format = format;
        stage_.levels().added(kind, sample);
        lane.end = stage_.levels().end(kind);
        output.sample(kind, std::move(sample));
    });
    if (!passed) return Answer::overtaken;
    stage_.look();
    return Answer::taken;
}

bool Feeding::hasParameters(const Format& format, const Sample& sample) const {
    const auto codec = byteStreamCodec(format);
    if (!codec) return true;
    const auto known = parameters_.find(variant_);
    return known != parameters_.end() || inspected(*codec, sample.bytes).hasParameters;
}

/// Streams may hold their parameters at the beginning alone: a decoder that begins elsewhere gets
/// them with its first picture.
void Feeding::complete(const Format& format, Sample& sample) {
    const auto codec = sample.isKey ? byteStreamCodec(format) : std::nullopt;
    if (!codec) return;
    Data& known = parameters_[variant_];
    if (inspected(*codec, sample.bytes).hasParameters) {
        known = parametersIn(*codec, sample.bytes);
    } else {
        sample.bytes.insert(sample.bytes.begin(), known.begin(), known.end());
    }
}

Feeding::Answer Feeding::finish() {
    if (std::exchange(isLearning_, false)) {
        parameters_[variant_];
        return Answer::learned;
    }
    if (joined_ && isAwaiting_) {
        // What is wanted lies behind the last picture: that one is shown.
        std::optional<Time> last;
        for (const Early& each : early_) {
            if (each.kind == Kind::picture && each.sample.pts)
                last = std::max(last.value_or(*each.sample.pts), *each.sample.pts);
        }
        from_ = std::min(from_, last.value_or(from_));
        return release();
    }
    if (joined_) return Answer::taken;
    takesAny_ = !segment_.mayGoBack;
    return segment_.mayGoBack ? Answer::back : Answer::taken;
}

void Feeding::end() {
    for (const Kind kind : {Kind::picture, Kind::sound}) {
        if (!owns(kind)) continue;
        stage_.pass(generation_, [&](SampleOutput& output) {
            Lane& lane = of(kind);
            if (!std::exchange(lane.hasBegun, true)) output.begin(kind, from_);
            stage_.levels().ended(kind);
            output.end(kind);
        });
    }
    stage_.look();
}

}  // namespace korvel::platform::hls
