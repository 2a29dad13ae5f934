#include <korvel/model/KCSDKUser.h>
#include <korvel/session/KCSDKKeyChain.h>
#include <korvel/session/KCSDKUtil.h>

#include <charconv>

namespace korvel {

namespace {
/// Shortest text that reads back as the same double, always with a fraction or an exponent: "0.0".
std::string decimalText(double value) {
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    std::string text(buffer, end);
    if (text.find_first_of(".en") == std::string::npos) text += ".0";
    return text;
}
}  // namespace

void KCSDKUtil::store(const KCSDKUser& user, const KCSDKKeyChain& keychain) {
    keychain.save("token", platform::bytesOf(user.code));
    keychain.save("userId", platform::bytesOf(user.userId));
    keychain.save("userName", platform::bytesOf(user.username));
    keychain.save("expiryTime", platform::bytesOf(decimalText(user.tokenExpiration)));
}

}  // namespace korvel
