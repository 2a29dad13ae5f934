#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/NSError.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

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

/// What opens samples that are encrypted each by itself, with headers left plain between them. Any
/// thread, several at a time: streams call it from their loaders, for each sample, and wait for it.
class KORVEL_API SampleCipher {
public:
    enum class Scheme {
        cbc,  ///< AES-128 in CBC mode without padding: "SAMPLE-AES"
        ctr,  ///< AES-128 in CTR mode: "SAMPLE-AES-CTR"
    };
    using Vector = std::array<std::uint8_t, 16>;
    using Ranges = std::span<const std::span<std::uint8_t>>;

    virtual ~SampleCipher();
    /// Decrypts the ranges, in place, as one message that begins with `vector`: each goes on where
    /// the one before ended. With CBC each is a number of whole blocks; with CTR they have any
    /// length, and of the vector the last eight bytes count, without a carry into the others. The
    /// ranges are borrowed. False if it cannot be done, which ends the stream.
    virtual bool decrypt(const ContentKey& key, const Vector& vector, Ranges ranges) const = 0;
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
    /// What opens samples with the keys of this module; null if it opens none of that scheme, as
    /// here: such streams are refused then. Asked at each segment, so that it should be kept.
    virtual std::shared_ptr<const SampleCipher> sampleCipher(SampleCipher::Scheme scheme) const;
};

}  // namespace korvel::platform
