#pragma once

#include <service/ContentService.h>
#include <service/Endpoints.h>

namespace korvel::service {

/// Adds the handlers under /dev/, with which another program steers `service` and looks at what it
/// has recorded. README.md lists them.
void addDevInterface(Endpoints& endpoints, ContentService& service);

}  // namespace korvel::service
