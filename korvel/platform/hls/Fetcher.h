#pragma once

#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/hls/Attention.h>
#include <korvel/platform/hls/Playlist.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace korvel::platform::hls {

/// How a body is to be had.
struct FetchRequest {
    URL url;
    std::optional<ByteRange> range{};
    /// Longer bodies are an error.
    std::uint64_t limit = std::uint64_t{1} << 40U;
    /// How often a refusal (4xx) is asked again: services publish late.
    int patience = 2;
    /// How long a line that is down is tried again.
    std::chrono::seconds endurance{60};
};

struct FetchResult {
    enum class End {
        done,
        stopped,  ///< by the sink
        stale,    ///< the generation was overtaken
        failed,
    };
    End end = End::done;
    URL address;  ///< after redirects
    NSError error{};
    int status = 0;  ///< of the last answer; 0: none
    std::uint64_t bytes = 0;
    std::chrono::nanoseconds busy{};  ///< time spent waiting for the line
};

/// Gets bodies for one loader: goes on where a line was cut, asks again after failures that may
/// pass, and refuses what leads from https to http. One thread.
class Fetcher {
public:
    using Bytes = std::span<const std::uint8_t>;
    /// Gets the body piece by piece; false stops. `total` is its whole size where that is known.
    using Sink = std::function<bool(Bytes bytes, const FetchResult& soFar,
                                    std::optional<std::uint64_t> total)>;

    Fetcher(std::shared_ptr<StreamLoader> loader, Attention& attention)
        : loader_(std::move(loader)), attention_(attention) {}

    FetchResult get(const FetchRequest& request, Attention::Generation generation,
                    const Sink& sink);
    struct Body {
        FetchResult result;
        Data bytes{};
    };
    Body whole(const FetchRequest& request, Attention::Generation generation);

private:
    struct Try;
    void attempt(Try& state);
    bool head(Try& state, ResponseStream& stream, std::uint64_t& skip);
    bool body(Try& state, ResponseStream& stream, std::uint64_t skip);

    const std::shared_ptr<StreamLoader> loader_;
    Attention& attention_;
};

/// "The service answered 404 for ..." or what the transport says, with the address.
NSError failureAt(const URL& address, int status, const NSError* transport = nullptr);

}  // namespace korvel::platform::hls
