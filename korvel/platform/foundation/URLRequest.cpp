#include <korvel/platform/foundation/URLRequest.h>

#include <strings.h>
#include <algorithm>

namespace korvel::platform {

namespace {
bool sameName(std::string_view left, std::string_view right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}
}  // namespace

void URLRequest::setValue(std::optional<std::string> value, std::string_view name) {
    const auto found = std::find_if(headers_.begin(), headers_.end(), [&](const auto& header) {
        return sameName(header.first, name);
    });
    if (!value) {
        if (found != headers_.end()) headers_.erase(found);
    } else if (found != headers_.end()) {
        found->second = std::move(*value);
    } else {
        headers_.emplace_back(name, std::move(*value));
    }
}

std::optional<std::string> URLRequest::value(std::string_view name) const {
    for (const auto& [key, value] : headers_) {
        if (sameName(key, name)) return value;
    }
    return std::nullopt;
}

}  // namespace korvel::platform
