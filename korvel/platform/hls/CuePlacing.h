#pragma once

#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/Timeline.h>
#include <korvel/platform/hls/WebVTT.h>

namespace korvel::platform::hls {

/// Brings the cues of a segment, whose discontinuity is anchored, from the file's times to the
/// presentation's. `began`: where the playlist has the beginning of that discontinuity.
///
/// A map tells how they lie to the containers' times. Not all packagers write one, and not all
/// that do mean it: ffmpeg, and whoever puts a whole file behind a playlist, counts from the
/// playlist's beginning, whatever its containers count from; others leave the map out and
/// count as their containers do, or anew with each recording or segment; some write the customary
/// map of ten seconds beside fragments that begin at zero. So a map holds unless by it not one cue
/// lies where its segment does, and without a map it is that way of counting by which most do.
void placeCues(WebVTT& file, const Segment& segment, std::chrono::nanoseconds began,
               const Timeline& timeline);

}  // namespace korvel::platform::hls
