#pragma once

#include <korvel/platform/foundation/NSError.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace korvel::platform {

/// Domain of the errors that media parts make themselves.
inline constexpr std::string_view avFoundationErrorDomain = "AVFoundationErrorDomain";

enum class AVError : std::int64_t {
    unknown = -11800,
    decodeFailed = -11821,
    fileFormatNotRecognized = -11828,
    contentIsProtected = -11831,  ///< in a way that this device cannot open
    decoderNotFound = -11833,
    contentIsNotAuthorized = -11835,  ///< no key was to be had
    serverIncorrectlyConfigured = -11850,
    noMediaEngine = -11868,  ///< the device has none
};

/// `reason` becomes the detail "NSLocalizedFailureReason".
inline NSError makeAVError(AVError code, std::string reason) {
    return {.domain = std::string(avFoundationErrorDomain),
            .code = static_cast<std::int64_t>(code),
            .userInfo = {{"NSLocalizedFailureReason", std::move(reason)}}};
}

}  // namespace korvel::platform
