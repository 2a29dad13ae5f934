#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/hls/SegmentSource.h>
#include <korvel/platform/hls/Stage.h>

#include <utility>

namespace korvel::platform::hls {

namespace {

Attention::After afterOf(const PresentationParts& parts) {
    if (parts.after) return parts.after;
    return [](Clock::Duration delay, std::function<void()> action) {
        DispatchQueue::global().asyncAfter(delay, std::move(action));
    };
}

}  // namespace

SampleOutput::~SampleOutput() = default;
PresentationEvents::~PresentationEvents() = default;

Stage::Stage(PresentationParts parts)
    : parts_(std::move(parts)),
      attention_(std::make_shared<Attention>(parts_.clock, afterOf(parts_))),
      keys_(parts_.keys, attention_) {}

bool Stage::pass(Generation generation, const std::function<void(SampleOutput&)>& deliver) {
    const std::lock_guard lock(gate_);
    if (attention_->isStale(generation) || failed_) return false;
    deliver(*parts_.output);
    return true;
}

void Stage::addTracks(Generation generation, Tracks tracks) {
    const bool passed = pass(generation, [&](SampleOutput& output) {
        const Tracks all{tracks_.picture || tracks.picture, tracks_.sound || tracks.sound};
        if (hasTracks_ && all == tracks_) return;
        tracks_ = all;
        levels_.setTracks(all);
        output.tracks(all);
        hasTracks_ = true;
    });
    if (passed) attention_->notify();
}

void Stage::took(MediaStep step) {
    const std::lock_guard lock(tell_);
    if (!silent_) parts_.events->took(step);
}

void Stage::loadedChanged() {
    const std::lock_guard lock(tell_);
    if (!silent_) parts_.events->loadedChanged();
}

void Stage::cuesChanged() {
    const std::lock_guard lock(tell_);
    if (!silent_) parts_.events->cuesChanged();
}

std::shared_ptr<Attention> Stage::makeAttention() const {
    return std::make_shared<Attention>(parts_.clock, afterOf(parts_));
}

void Stage::look() {
    const std::lock_guard lock(tell_);
    if (silent_) return;
    const auto verdict = levels_.judge(position());
    if (std::exchange(told_, verdict.isEnough) != verdict.isEnough) {
        parts_.events->buffered(verdict.isEnough);
        attention_->notify();
    }
    if (!verdict.again || againAsked_.exchange(true)) return;
    afterOf(parts_)(*verdict.again, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        self->againAsked_ = false;
        self->look();
    });
}

void Stage::preload(const URL& base, const KeyTag& key) {
    if (!keys_.opens(key) || key.uri.empty()) return;
    const auto url = resolved(base, key.uri);
    if (url && keys_.preload(*url)) took(MediaStep::keyAsked);
}

void Stage::failPart(NSError error, const char* part) {
    error.userInfo.emplace("part", std::string(part));
    fail(error);
}

void Stage::fail(const NSError& error) {
    {
        const std::lock_guard lock(tell_);
        if (silent_ || failed_.exchange(true)) return;
        silent_ = true;
        parts_.events->failed(error);
    }
    attention_->close();
    keys_.close();
}

void Stage::close() {
    attention_->close();
    keys_.close();
    // Whoever is calling out now ends first; nobody does after that.
    const std::lock_guard gate(gate_);
    const std::lock_guard lock(tell_);
    silent_ = true;
}

void Stage::seek(Time to) {
    const std::lock_guard gate(gate_);
    move(to);
}

void Stage::leap(Generation generation, Time to) {
    const std::lock_guard gate(gate_);
    if (!attention_->isStale(generation)) move(to);
}

/// The gate is held.
void Stage::move(Time to) {
    {
        const std::lock_guard lock(mutex_);
        target_ = to;
        mainDiscontinuity_ = INT64_MIN;
        mainIsDone_ = false;
    }
    attention_->raise();
    {
        const std::lock_guard lock(tell_);
        if (silent_) return;
        levels_.restart(to);
        if (std::exchange(told_, false)) parts_.events->buffered(false);
    }
    parts_.output->flush(to);
    levels_.restart(to);  // of what the queues gave out until they stood still
    loadedChanged();
    attention_->notify();
}

std::optional<Stage::Time> Stage::target() const {
    const std::lock_guard lock(mutex_);
    return target_;
}

void Stage::beginAt(Time start) {
    {
        const std::lock_guard lock(mutex_);
        if (target_) return;
        target_ = start;
    }
    attention_->notify();
}

Stage::Time Stage::position() const {
    const auto position = parts_.output->position();
    return position ? *position : target().value_or(Time::zero());
}

std::shared_ptr<const MediaPlaylist> Stage::reference() const {
    const std::lock_guard lock(mutex_);
    return reference_;
}

void Stage::setReference(std::shared_ptr<const MediaPlaylist> playlist) {
    const std::lock_guard lock(mutex_);
    reference_ = std::move(playlist);
}

std::optional<Stage::Time> Stage::duration() const {
    const std::lock_guard lock(mutex_);
    return duration_;
}

void Stage::setDuration(std::optional<Time> duration) {
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(duration_, duration) == duration) return;
    }
    const std::lock_guard lock(tell_);
    if (!silent_) parts_.events->durationChanged();
}

void Stage::setMain(std::int64_t discontinuity, bool isDone) {
    {
        const std::lock_guard lock(mutex_);
        mainDiscontinuity_ = discontinuity;
        mainIsDone_ = isDone;
    }
    attention_->notify();
}

bool Stage::waitForAnchor(Generation generation, std::int64_t discontinuity) {
    if (hasTracks_ && timeline_.isAnchored(discontinuity)) return true;
    soundWaits_ = true;
    attention_->notify();
    const bool goesOn = attention_->wait(generation, std::nullopt, [&] {
        if (hasTracks_ && timeline_.isAnchored(discontinuity)) return true;
        const std::lock_guard lock(mutex_);
        return mainIsDone_ || (hasTracks_ && mainDiscontinuity_ > discontinuity) ||
               levels_.bytes(Kind::picture) >= Levels::mostBytes;
    });
    soundWaits_ = false;
    return goesOn;
}

}  // namespace korvel::platform::hls
