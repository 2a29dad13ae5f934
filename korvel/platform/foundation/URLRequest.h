#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/URL.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel::platform {

/// One HTTP request as it should go out. A value.
class KORVEL_API URLRequest {
public:
    explicit URLRequest(URL address) : url(std::move(address)) {}

    URL url;
    std::string method = "GET";
    std::optional<Data> body;
    /// The exchange ends with an error after this long without progress (not in total).
    std::chrono::milliseconds timeoutInterval{std::chrono::seconds(60)};
    /// Bytes that the answer's body may have, after decompression, where that is fewer than the
    /// session takes of any.
    std::optional<std::size_t> largestBody;
    /// Takes a connection that `URLSession::connect` opened, if there is one. Should that break
    /// off, the request fails: it reaches the service at most once. Where the service says of it,
    /// by a 408, that no request was read in time, it goes out once more over one of its own.
    bool takesOpenedConnection = false;

    /// Sets a header, replacing one of the same name whatever its case; nothing removes it. An
    /// empty value is sent as an empty header.
    void setValue(std::optional<std::string> value, std::string_view name);
    /// Nothing if the header is not set. The name's case does not matter.
    std::optional<std::string> value(std::string_view name) const;
    /// In the order in which they were first set.
    const std::vector<std::pair<std::string, std::string>>& headers() const { return headers_; }

private:
    std::vector<std::pair<std::string, std::string>> headers_;
};

}  // namespace korvel::platform
