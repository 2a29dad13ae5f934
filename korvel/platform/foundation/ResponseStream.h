#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/URLSession.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <variant>

namespace korvel::platform {

/// A body that is read as it comes, by one thread that waits for it: media, which is played before
/// its end and of which a pause must not fetch more. Errors are those of `URLSession`; after one
/// there is nothing more to read.
class KORVEL_API ResponseStream {
public:
    virtual ~ResponseStream();
    /// Waits for the answer's head, redirects followed; the same one at every call.
    virtual std::variant<HTTPURLResponse, NSError> response() = 0;
    /// Of the body, in bytes, once there is a response that tells.
    virtual std::optional<std::uint64_t> expectedContentLength() const = 0;
    /// Waits for some bytes; none at the end of the body.
    virtual std::variant<Data, NSError> read() = 0;
    /// Ends all waiting, now and later, with an error. Any thread.
    virtual void cancel() = 0;
};

/// Opens response streams. Any thread.
class KORVEL_API StreamLoader {
public:
    virtual ~StreamLoader();
    /// Nothing is sent before the stream is asked. The time-out counts while somebody waits. A GET,
    /// whatever the request says.
    virtual std::shared_ptr<ResponseStream> open(URLRequest request) = 0;
    /// A hint that `url` will be opened soon: opens a connection for it, which is closed if nobody
    /// comes; who comes before it stands waits for it. Returns at once. Here it does nothing.
    virtual void connect(const URL& url);
};

}  // namespace korvel::platform
