#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/hls/AudioFrames.h>
#include <korvel/platform/hls/Encryption.h>

#include <optional>

namespace korvel::platform::hls {

/// Of a stream in a transport stream whose samples are encrypted: its type if they were not.
/// Nothing if they are not.
std::optional<unsigned> plainStreamType(unsigned type);

/// Decrypts H.264 in place, a byte stream of whole units. False if the device does not.
bool decryptPicture(Data& bytes, const Encryption& how);

/// Decrypts one frame in place. False if the device does not, or if frames of that kind have no
/// encrypted form.
bool decryptFrame(AudioCodec codec, Data& frame, const Encryption& how);

}  // namespace korvel::platform::hls
