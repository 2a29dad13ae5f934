#pragma once

#include <openssl/ssl.h>
#include <filesystem>
#include <memory>

namespace korvel::service {

/// A certificate authority of a few minutes' standing, and the service's certificate under it: for
/// "localhost", 127.0.0.1 and ::1, both keys on P-256.
class TLSContext {
public:
    /// Throws std::runtime_error if the keys cannot be made or the file cannot be written.
    TLSContext();
    ~TLSContext();  ///< removes the authority's file and its folder
    TLSContext(const TLSContext&) = delete;
    TLSContext& operator=(const TLSContext&) = delete;

    SSL_CTX* get() const { return context_.get(); }
    const std::filesystem::path& caFile() const { return caFile_; }

private:
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context_;
    std::filesystem::path caFile_;
};

}  // namespace korvel::service
