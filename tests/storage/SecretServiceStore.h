#pragma once

#include "storage/TemporaryFolder.h"

#include <korvel/platform/backends/libsecret/KeychainLibsecret.h>

#include <sys/types.h>
#include <memory>
#include <string>

namespace korvel::tests {

/// A session bus of its own with the desktop's real keyring daemon, which die with the object or
/// with this process. It points this process's environment at them.
class SecretServiceStore {
public:
    SecretServiceStore();
    SecretServiceStore(const SecretServiceStore&) = delete;
    SecretServiceStore& operator=(const SecretServiceStore&) = delete;
    ~SecretServiceStore();

    std::string missing() const { return missing_; }
    std::shared_ptr<platform::Keychain> open(std::string application = "storage-tests") const;
    void stopKeyring();
    void stopBus();

private:
    TemporaryFolder folder_;
    std::string missing_;
    pid_t bus_ = 0;
    pid_t keyring_ = 0;
};

}  // namespace korvel::tests
