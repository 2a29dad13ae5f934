#pragma once

#include <korvel/platform/security/Keychain.h>

#include <memory>
#include <string>

namespace korvel::platform {

/// The desktop's Secret Service, as far as its items carry `applicationName`. Null, within a
/// second, if there is no session bus or no service runs on it: nothing is started, and the library
/// is only loaded where there is a bus.
///
/// A call asks the service to unlock what is locked, which may ask the user, and gives up after 10
/// s with `errSecNotAvailable`; `errSecAuthFailed` if the user refuses. A service that went away is
/// looked for again at each call. The service has no "add unless there": between processes that is
/// kept by a lock file in
/// `$XDG_RUNTIME_DIR`, and not at all where there is no such folder.
std::shared_ptr<Keychain> makeKeychainLibsecret(std::string applicationName);

}  // namespace korvel::platform
