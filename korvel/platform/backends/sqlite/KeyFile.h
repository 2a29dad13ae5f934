#pragma once

#include <korvel/platform/backends/sodium/SealingKey.h>
#include <korvel/platform/security/Keychain.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <tuple>

namespace korvel::platform {

/// The user's sealing key, kept in a file of mode 0600. All processes agree on one key, also when
/// they start at once. Any thread.
class KeyFile {
public:
    explicit KeyFile(std::filesystem::path file);

    /// `errSecItemNotFound` if there is no key, or something that is none; `errSecNotAvailable` or
    /// `errSecIO` if the file cannot be read. Notices when the file was replaced.
    OSStatus read(std::shared_ptr<const SealingKey>& key);
    /// The same, but makes folder and key if there is none. `errSecNotAvailable` if that is
    /// impossible.
    OSStatus readOrMake(std::shared_ptr<const SealingKey>& key);

private:
    using Identity = std::tuple<std::uint64_t, std::uint64_t, std::int64_t, std::int64_t>;

    OSStatus load();
    bool make() const;

    const std::filesystem::path file_;
    std::mutex mutex_;
    std::shared_ptr<const SealingKey> key_;
    Identity identity_;  ///< of the file that `key_` came from
};

}  // namespace korvel::platform
