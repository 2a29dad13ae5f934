#pragma once

namespace korvel {

class KCSDKKeyChain;
class KCSDKUser;

class KCSDKUtil {
public:
    /// Writes the session's four items: "token", "userId", "userName", "expiryTime", in that order.
    /// A failed write is ignored; the next call that needs the item goes out without it.
    static void store(const KCSDKUser& user, const KCSDKKeyChain& keychain);
};

}  // namespace korvel
