#pragma once

#include <service/ContentKeys.h>

#include <cstddef>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::service {

/// Hands out content keys to bearers of a content token: the other half of the SDK's open content
/// key system. Thread safety: any thread.
class KeyServer {
public:
    /// What it puts into answers that are well made otherwise.
    enum class Keys { right, wrong, tooShort, empty };
    struct Reply {
        int status;
        std::string body;  ///< "<ckc>" base64 "</ckc>", or what is wrong
    };

    /// `privateKey`: PEM file, X25519 or Ed25519. Throws std::runtime_error.
    explicit KeyServer(const std::filesystem::path& privateKey);

    std::string issueToken();
    void give(Keys keys);
    /// `identifier` is that of the address, `body` the request's: "spc=" raw base64 "&assetId=" the
    /// identifier again, neither of them encoded as forms are.
    Reply answer(std::string_view authorization, std::string_view identifier,
                 std::string_view body);

private:
    using Bytes = std::vector<std::uint8_t>;

    std::optional<Bytes> opened(const Bytes& spc) const;
    Bytes given(std::string_view identifier);

    Bytes secretKey_;
    Bytes publicKey_;
    std::mutex mutex_;
    std::set<std::string, std::less<>> tokens_;
    Keys keys_ = Keys::right;
};

}  // namespace korvel::service
