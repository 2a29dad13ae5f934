#include <korvel/platform/security/Keychain.h>

namespace korvel::platform {

Keychain::~Keychain() = default;

}  // namespace korvel::platform
