#pragma once

#include <korvel/platform/Device.h>

namespace korvel::platform {

/// Gives `device` this machine's own parts where it has none: a host's own part never costs the
/// standard one's threads or files. Defined by the backends, of which a device knows nothing else.
void complete(Device& device, const DeviceOptions& options);

}  // namespace korvel::platform
