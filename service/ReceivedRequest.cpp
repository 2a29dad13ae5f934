#include <service/ReceivedRequest.h>

#include <strings.h>

namespace korvel::service {

std::optional<std::string> ReceivedRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0)
            return value;
    }
    return std::nullopt;
}

}  // namespace korvel::service
