#include <korvel/platform/foundation/UTF8.h>
#include <korvel/session/KCSDKKeyChain.h>

#include <utility>

namespace korvel {

using platform::Data;
using platform::OSStatus;
using platform::SecItemQuery;

KCSDKKeyChain::KCSDKKeyChain(std::shared_ptr<platform::Keychain> keychain,
                             std::shared_ptr<platform::Diagnostics> diagnostics)
    : keychain_(std::move(keychain)), diagnostics_(std::move(diagnostics)) {}

OSStatus KCSDKKeyChain::told(std::string_view key, OSStatus status) const {
    const bool failed = status != platform::errSecSuccess && status != platform::errSecItemNotFound;
    if (failed && diagnostics_) diagnostics_->keychainFailed(std::string(key), status);
    return status;
}

OSStatus KCSDKKeyChain::save(std::string_view key, std::optional<Data> bytes) const {
    if (!bytes) return platform::errSecSuccess;
    const SecItemQuery query{.account = std::string(key), .valueData = std::move(bytes)};
    keychain_->SecItemDelete(query);
    return told(key, keychain_->SecItemAdd(query));
}

std::optional<Data> KCSDKKeyChain::load(std::string_view key) const {
    std::optional<Data> result;
    const auto status = keychain_->SecItemCopyMatching(
        {.account = std::string(key), .returnData = true, .matchLimitOne = true}, result);
    return status == platform::errSecSuccess ? result : std::nullopt;
}

std::optional<std::string> KCSDKKeyChain::loadText(std::string_view key) const {
    const auto bytes = load(key);
    if (!bytes) return std::nullopt;
    const auto text = platform::viewOf(*bytes);
    return platform::isValidUTF8(text) ? std::string(text) : std::string();
}

void KCSDKKeyChain::clear() const { told({}, keychain_->SecItemDelete({})); }

}  // namespace korvel
