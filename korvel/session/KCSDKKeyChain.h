#pragma once

#include <korvel/platform/Diagnostics.h>
#include <korvel/platform/security/Keychain.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvel {

/// The SDK's view of the device's keychain: one item per key. Any thread.
class KCSDKKeyChain {
public:
    /// `diagnostics`, told of what is not forgotten or not stored, may be null.
    explicit KCSDKKeyChain(std::shared_ptr<platform::Keychain> keychain,
                           std::shared_ptr<platform::Diagnostics> diagnostics = nullptr);

    /// Replaces the key's item; the status is that of the add. Absent bytes: 0, and nothing is
    /// touched.
    platform::OSStatus save(std::string_view key, std::optional<platform::Data> bytes) const;
    /// Nothing on any failure.
    std::optional<platform::Data> load(std::string_view key) const;
    /// The item as text: nothing if there is no item, "" if its bytes are not UTF-8.
    std::optional<std::string> loadText(std::string_view key) const;
    /// Deletes every item of the application, the host's own too: a new start trusts no old secret.
    void clear() const;

private:
    platform::OSStatus told(std::string_view key, platform::OSStatus status) const;

    std::shared_ptr<platform::Keychain> keychain_;
    std::shared_ptr<platform::Diagnostics> diagnostics_;
};

}  // namespace korvel
