#pragma once

#include <korvel/platform/backends/sodium/SealingKey.h>
#include <korvel/platform/security/Keychain.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <tuple>

struct stat;

namespace korvel::platform {

/// The user's sealing key, kept in a file of mode 0600. All processes agree on one key, also when
/// they start at once. Any thread.
class KeyFile {
public:
    /// Nothing waits longer than `patience` for other processes.
    KeyFile(std::filesystem::path file, std::chrono::milliseconds patience);

    /// `errSecItemNotFound` if there is no key, or a file that is none; `errSecNotAvailable` or
    /// `errSecIO` if it cannot be read, is no plain file (a link to one, too), or is not the user's
    /// own. Notices when the file was replaced.
    OSStatus read(std::shared_ptr<const SealingKey>& key);
    /// The same, but makes folder and key if there is none. `errSecNotAvailable` if that is
    /// impossible, at once if another process kept the folder locked the last time.
    OSStatus readOrMake(std::shared_ptr<const SealingKey>& key);

private:
    using Identity = std::tuple<std::uint64_t, std::uint64_t, std::int64_t, std::int64_t>;

    static Identity identityOf(const struct stat& file);
    OSStatus load();
    bool make() const;

    const std::filesystem::path file_;
    const std::chrono::milliseconds patience_;
    std::mutex mutex_;
    std::shared_ptr<const SealingKey> key_;
    bool waitedInVain_ = false;
    Identity identity_;  ///< of the file that `key_` came from
};

}  // namespace korvel::platform
