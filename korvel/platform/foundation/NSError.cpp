#include <korvel/platform/foundation/NSError.h>

namespace korvel::platform {

namespace {
template <class T> const T* detail(const NSError::UserInfo& userInfo, std::string_view key) {
    const auto found = userInfo.find(key);
    return found == userInfo.end() ? nullptr : std::get_if<T>(&found->second);
}
}  // namespace

const std::string* NSError::text(std::string_view key) const {
    return detail<std::string>(userInfo, key);
}

const Data* NSError::data(std::string_view key) const { return detail<Data>(userInfo, key); }

std::shared_ptr<Object> NSError::object(std::string_view key) const {
    const auto* found = detail<std::shared_ptr<Object>>(userInfo, key);
    return found ? *found : nullptr;
}

std::string NSError::description() const {
    std::string line = "Error Domain=" + domain + " Code=" + std::to_string(code);
    const char* separator = " (";
    for (const auto& [key, value] : userInfo) {
        line += separator + key;
        if (const auto* text = std::get_if<std::string>(&value)) line += ": " + *text;
        separator = ", ";
    }
    return userInfo.empty() ? line : line + ")";
}

}  // namespace korvel::platform
