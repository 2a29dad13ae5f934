#pragma once

#include <curl/curl.h>

#include <cstddef>
#include <string_view>

namespace korvel::platform {

/// The head of one hop's answer as it arrives, interim answers before it and trailers behind it
/// included: bounds them, and decides whether the library unpacks the body.
///
/// A body in an encoding that nobody here knows is an answer all the same and arrives as it is; the
/// library by itself would fail, and with it an error page whose server only mislabels it.
class AnswerHead {
public:
    /// Lines of more bytes than that, all together, are nobody's head.
    static constexpr std::size_t most = std::size_t{256} << 10;

    /// Has what arrives for `easy` told to this object, which must outlive the transfer. Bodies
    /// that are packed are unpacked, whatever the request offered.
    void listen(CURL* easy);

    std::size_t bytes() const { return bytes_; }
    /// More than `most` came; the transfer has ended for it.
    bool tooLong() const { return bytes_ > most; }
    /// Whether the body comes out longer or shorter than it travels.
    bool unpacks() const { return packed_ && known_; }

private:
    static std::size_t receive(char* bytes, std::size_t one, std::size_t count, void* self);
    void take(std::string_view line);
    void decide();

    CURL* easy_ = nullptr;
    std::size_t bytes_ = 0;
    bool packed_ = false;
    bool known_ = true;
};

}  // namespace korvel::platform
