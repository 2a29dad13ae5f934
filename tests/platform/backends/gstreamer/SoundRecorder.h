#pragma once

#include <string>
#include <vector>

namespace korvel::tests {

/// A piece of sound as the device got it.
struct SoundPiece {
    double from;                 ///< in the stream, seconds
    double length;               ///< seconds
    std::vector<float> samples;  ///< of the first channel
    int perSecond;
};

/// Makes a sound device of that name, which sounds in its time and notes what comes.
void registerSoundRecorder(const std::string& name);
/// What came since the last flush.
std::vector<SoundPiece> recordedBy(const std::string& name);

}  // namespace korvel::tests
