#pragma once

#include <service/Endpoints.h>
#include <service/KeyServer.h>

#include <filesystem>

namespace korvel::service {

/// Serves the streams in `folder` under every class, and their keys:
///
///     /media/TAG/index.m3u8, /media/TAG/360p/00000.ts, ...             plain
///     /media/TAG/NAME.ism/manifest..., /media/TAG/NAME.ism/360p/...    encrypted
///     POST /media/keys?kid=IDENTIFIER                                  the key server
///
/// Byte ranges are obeyed; scripts throttle, hold and break segments as they do all answers.
void addStreams(Endpoints& endpoints, std::filesystem::path folder, KeyServer& keys);

}  // namespace korvel::service
