#pragma once

#include <korvel/platform/backends/gstreamer/Route.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace korvel::platform::gst {

struct Cancelled {};
struct EndOfBytes {};
struct Failure {
    NSError error;
    int statusCode = 0;  ///< of the answer, if there was one
};
using Portion = std::variant<Data, EndOfBytes, Cancelled, Failure>;

/// The bytes behind one address, in order. One thread takes them, any other may cancel.
class Delivery {
public:
    virtual ~Delivery();
    /// Waits for the next portion.
    virtual Portion next() = 0;
    /// Ends all waiting, now and later.
    virtual void cancel() = 0;
    /// Of all bytes of the address, once that is known.
    virtual std::optional<std::uint64_t> size() const { return std::nullopt; }
};

/// What the routed address stands for: a key's bytes, or the body of a web address from `offset`
/// on, its playlists routed.
std::unique_ptr<Delivery> deliver(std::shared_ptr<Route> route, const std::string& address,
                                  std::uint64_t offset);

}  // namespace korvel::platform::gst
