#pragma once

#include <service/Endpoints.h>

#include <filesystem>
#include <string>

namespace korvel::service {

/// Subtitles that lie in `folder` as TAG/LANGUAGE.vtt, beside either form of that class's stream:
///
///     /media/TAG/subtitles/en.m3u8, en.vtt         /media/TAG/NAME.ism/subtitles/...
void addSubtitles(Endpoints& endpoints, std::filesystem::path folder);

/// The stream's first playlist, with those of the class; as it was if there are none.
std::string withSubtitles(std::string playlist, const std::filesystem::path& folder,
                          const std::string& tag);

}  // namespace korvel::service
