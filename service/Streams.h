#pragma once

#include <service/Endpoints.h>
#include <service/KeyServer.h>

#include <filesystem>

namespace korvel::service {

/// Serves the streams in `folder` under every class, with the subtitles that there are, and their
/// keys:
///
///     /media/TAG/index.m3u8, /media/TAG/360p/00000.ts, ...             plain
///     /media/TAG/NAME.ism/manifest..., /media/TAG/NAME.ism/360p/...    encrypted
///     POST /media/keys?kid=IDENTIFIER                                  the key server
///
/// Byte ranges are obeyed; scripts throttle, hold and break segments as they do all answers.
void addStreams(Endpoints& endpoints, const std::filesystem::path& folder,
                const std::filesystem::path& subtitles, KeyServer& keys);

}  // namespace korvel::service
