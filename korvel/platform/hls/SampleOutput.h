#pragma once

#include <korvel/platform/avfoundation/MediaEvents.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/hls/Media.h>

#include <chrono>
#include <memory>
#include <optional>

namespace korvel::platform::hls {

/// Which kinds a stream holds.
struct Tracks {
    bool picture = false;
    bool sound = false;
    bool operator==(const Tracks&) const = default;
};

/// What shows and sounds a presentation's samples: a queue per kind, and behind it decoder and
/// sink.
///
/// Calls come from the loaders' threads and from the one that seeks, one at a time, and none may
/// wait, be it for decoder, sink or main queue: queues take whatever comes. The presentation keeps
/// them short by not loading more. Times are the presentation's: its beginning is zero.
///
/// For each kind, from the opening and from every `flush` on: `begin`, `format`, then samples, with
/// further `begin`s, `format`s and `discontinuity`s between them, and `end`.
class SampleOutput {
public:
    virtual ~SampleOutput();

    /// Before anything else comes; again only if the stream turns out to hold more.
    virtual void tracks(Tracks tracks) = 0;
    /// Of the samples from here on, what lies before `from` is decoded and not shown: after a
    /// flush its target, later the end of what came before, where two variants overlap.
    virtual void begin(Kind kind, std::chrono::nanoseconds from) = 0;
    /// Of the samples from here on, until the next one.
    virtual void format(Kind kind, std::shared_ptr<const Format> format) = 0;
    /// What follows was not coded in one piece with what came: whoever parses or decodes gives out
    /// what it holds and begins anew. Times go on.
    virtual void discontinuity(Kind kind) = 0;
    virtual void sample(Kind kind, Sample sample) = 0;
    /// Nothing more of this kind until a flush. Also of a kind that had no sample at all.
    virtual void end(Kind kind) = 0;
    /// Throws away all that is queued or being decoded, on the thread that called
    /// `Presentation::seek`, or on a loader's where a live stream has gone past. What follows
    /// begins at `to`. It may wait for threads that call `Presentation::taken` or `starved`.
    virtual void flush(std::chrono::nanoseconds to) = 0;

    /// Of what is shown or sounds; after a flush its target until something is. Nothing before
    /// that is known. Any thread, never waiting, also while another call is in progress.
    virtual std::optional<std::chrono::nanoseconds> position() const = 0;
};

/// What a presentation tells of itself: any thread, in order, one call at a time, and none may
/// wait or call the presentation's `close` or `seek`.
class PresentationEvents {
public:
    virtual ~PresentationEvents();
    /// Each as often as it happens.
    virtual void took(MediaStep step) = 0;
    /// Whether what is queued suffices to play on. Starts as not; each change is told once.
    virtual void buffered(bool enough) = 0;
    /// A segment has come, or all that had come has been thrown away.
    virtual void loadedChanged() = 0;
    virtual void durationChanged() = 0;
    /// Other subtitles are loaded, or chosen, than were.
    virtual void cuesChanged() = 0;
    /// For good: nothing is loaded any more. The cause with address and status, as
    /// "NSLocalizedFailureReason".
    virtual void failed(NSError error) = 0;
};

}  // namespace korvel::platform::hls
