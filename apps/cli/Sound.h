#pragma once

#include <string>

namespace cli {

/// Whether this GStreamer element finds a device to sound on. Sound libraries tell standard error
/// what they tried in vain; where they found nothing at all, that is kept back unless `tellAll`.
/// Initialises GStreamer. Before there are threads that write messages.
bool canSound(const std::string& element, bool tellAll);

}  // namespace cli
