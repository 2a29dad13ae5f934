#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/NSError.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

namespace korvel::platform {

/// The AES-128 key of a stream.
using ContentKey = std::array<std::uint8_t, 16>;

/// One key request's road from SPC to key. Any thread, one at a time; nothing of it is kept after
/// it.
class KORVEL_API ContentKeyExchange {
public:
    virtual ~ContentKeyExchange();
    /// What goes to the key server.
    virtual const Data& spc() const = 0;
    /// The key in the server's answer to this `spc`; nothing, and `*error` says why, if the answer
    /// is another one's, damaged, or holds no key. Called on a thread that may wait.
    virtual std::optional<ContentKey> open(const Data& ckc, NSError* error) const = 0;
};

/// The device's module for content keys. Any thread.
class KORVEL_API ContentKeySystem {
public:
    virtual ~ContentKeySystem();
    /// `certificate` is the application's, as its file holds it. Null, and `*error` says why, if it
    /// is none that the module can use.
    virtual std::unique_ptr<ContentKeyExchange> exchange(const Data& certificate,
                                                         const Data& contentIdentifier,
                                                         NSError* error) const = 0;
};

}  // namespace korvel::platform
