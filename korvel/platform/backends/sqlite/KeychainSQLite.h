#pragma once

#include <korvel/platform/security/Keychain.h>

#include <filesystem>
#include <memory>

namespace korvel::platform {

/// The device's own store: a database in `folder`, values sealed under a key file that only its
/// user can read. Opens nothing before the first call and makes nothing before the first add.
///
/// A folder or disk that cannot be used gives `errSecNotAvailable` or `errSecIO` at each call and
/// is tried again at the next, and so does one that others than the user can write in. Another
/// process that keeps the store locked is waited for half a second, and not again before a call
/// succeeded: `errSecIO`. A damaged database is kept as "keychain.corrupt" and started anew.
/// If the key was lost or replaced, older items give `errSecDecode` until they are deleted. A
/// process forked after the first call gets `errSecNotAvailable`; a new program does not.
std::shared_ptr<Keychain> makeKeychainSQLite(std::filesystem::path folder);

}  // namespace korvel::platform
