#include <korvel/platform/localytics/Localytics.h>

namespace korvel::platform {

Localytics::~Localytics() = default;

}  // namespace korvel::platform
