#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/Fetcher.h>

#include <algorithm>
#include <array>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

namespace {

constexpr int partialContent = 206;
constexpr int rangeNotSatisfiable = 416;
constexpr int mostServerFaults = 4;
constexpr std::array<milliseconds, 6> pauses{milliseconds(250),  milliseconds(500),
                                             milliseconds(1000), milliseconds(2000),
                                             milliseconds(4000), milliseconds(8000)};

/// Whether the same request may fare better later.
bool mayPass(const NSError& transport) {
    constexpr std::array lasting{URLErrorCode::unsupportedURL,
                                 URLErrorCode::httpTooManyRedirects,
                                 URLErrorCode::redirectToNonExistentLocation,
                                 URLErrorCode::cannotDecodeContentData,
                                 URLErrorCode::dataLengthExceedsMaximum,
                                 URLErrorCode::secureConnectionFailed,
                                 URLErrorCode::serverCertificateUntrusted};
    return std::none_of(lasting.begin(), lasting.end(), [&](URLErrorCode code) {
        return transport.code == static_cast<std::int64_t>(code);
    });
}

bool isServerFault(int status) { return status >= 500 || status == 408 || status == 429; }

}  // namespace

NSError failureAt(const URL& address, int status, const NSError* transport) {
    if (!transport) {
        return makeAVError(AVError::unknown, "The service answered " + std::to_string(status) +
                                                 " for " + address.absoluteString());
    }
    NSError error =
        makeAVError(AVError::unknown, "The line to " + address.absoluteString() + " failed");
    error.userInfo["cause"] = transport->description();
    return error;
}

/// A request with what has come of it so far.
struct Fetcher::Try {
    const FetchRequest& request;
    const Attention::Generation generation;
    const Sink& sink;
    FetchResult result;
    bool mayAgain = false;
    bool moved = false;  ///< bytes came in this attempt
};

FetchResult Fetcher::get(const FetchRequest& request, Attention::Generation generation,
                         const Sink& sink) {
    Try state{request, generation, sink, {.address = request.url}};
    std::size_t pause = 0;
    int refusals = 0;
    int faults = 0;
    nanoseconds waited{};
    while (true) {
        state.mayAgain = state.moved = false;
        state.result.end = FetchResult::End::done;
        attempt(state);
        FetchResult& result = state.result;
        if (attention_.isStale(generation)) result.end = FetchResult::End::stale;
        if (result.end != FetchResult::End::failed || !state.mayAgain) return std::move(result);
        if (state.moved) {
            pause = 0;
            waited = {};
        }
        const bool isRefusal = result.status >= 400 && !isServerFault(result.status);
        if (isRefusal && ++refusals > request.patience) return std::move(result);
        if (isServerFault(result.status) && ++faults > mostServerFaults) return std::move(result);
        const auto length = pauses.at(std::min(pause++, pauses.size() - 1));
        if (waited + length > request.endurance) return std::move(result);
        waited += length;
        if (!attention_.sleep(generation, length)) result.end = FetchResult::End::stale;
        if (result.end == FetchResult::End::stale) return std::move(result);
    }
}

void Fetcher::attempt(Try& state) {
    URLRequest request(state.request.url);
    const auto& range = state.request.range;
    const std::uint64_t offset = (range ? range->offset : 0) + state.result.bytes;
    if (range || offset > 0) {
        request.setValue("bytes=" + std::to_string(offset) + "-" +
                             (range ? std::to_string(range->offset + range->length - 1) : ""),
                         "Range");
    }
    const auto stream = loader_->open(std::move(request));
    const Attention::Use use(attention_, state.generation, [stream] { stream->cancel(); });
    std::uint64_t skip = offset;
    if (head(state, *stream, skip)) body(state, *stream, skip);
}

bool Fetcher::head(Try& state, ResponseStream& stream, std::uint64_t& skip) {
    FetchResult& result = state.result;
    const auto fail = [&](NSError error, bool mayAgain) {
        result.end = FetchResult::End::failed;
        result.error = std::move(error);
        state.mayAgain = mayAgain;
        return false;
    };
    const auto began = attention_.clock().now();
    const auto answer = stream.response();
    result.busy += attention_.clock().now() - began;
    if (const auto* error = std::get_if<NSError>(&answer)) {
        result.status = 0;
        return fail(failureAt(state.request.url, 0, error), mayPass(*error));
    }
    const auto& response = std::get<HTTPURLResponse>(answer);
    result.address = response.url;
    result.status = response.statusCode;
    if (!mayLead(state.request.url, response.url)) {
        return fail(makeAVError(AVError::serverIncorrectlyConfigured,
                                "The stream leads from https to " + response.url.absoluteString()),
                    false);
    }
    if (response.statusCode / 100 != 2) {
        // What was cut may have been cut at its very end.
        const bool isOver =
            response.statusCode == rangeNotSatisfiable && result.bytes > 0 && !state.request.range;
        if (isOver) return false;
        const bool isFinal = response.statusCode == 401 || response.statusCode == 403;
        return fail(failureAt(response.url, response.statusCode), !isFinal);
    }
    if (response.statusCode == partialContent) skip = 0;
    return true;
}

bool Fetcher::body(Try& state, ResponseStream& stream, std::uint64_t skip) {
    FetchResult& result = state.result;
    const auto length = stream.expectedContentLength();
    const auto& range = state.request.range;
    const auto total = range    ? std::optional(range->length)
                       : length ? std::optional(*length - std::min(*length, skip) + result.bytes)
                                : std::nullopt;
    const std::uint64_t limit = range ? range->length : state.request.limit;
    while (!range || result.bytes < range->length) {
        const auto began = attention_.clock().now();
        const auto read = stream.read();
        result.busy += attention_.clock().now() - began;
        if (const auto* error = std::get_if<NSError>(&read)) {
            result.end = FetchResult::End::failed;
            result.error = failureAt(result.address, 0, error);
            state.mayAgain = mayPass(*error);
            return false;
        }
        Bytes bytes(std::get<Data>(read));
        if (bytes.empty()) return true;
        const auto skipped = std::min<std::uint64_t>(skip, bytes.size());
        skip -= skipped;
        bytes = bytes.subspan(static_cast<std::size_t>(skipped));
        const bool isTooLong = bytes.size() > limit - result.bytes;
        if (isTooLong && range) {
            bytes = bytes.first(static_cast<std::size_t>(limit - result.bytes));
        } else if (isTooLong) {
            result.end = FetchResult::End::failed;
            result.error = makeAVError(AVError::fileFormatNotRecognized,
                                       "Too long: " + result.address.absoluteString());
            return false;
        }
        if (bytes.empty()) continue;
        state.moved = true;
        result.bytes += bytes.size();
        if (!state.sink(bytes, result, total)) {
            result.end = FetchResult::End::stopped;
            return false;
        }
    }
    return true;
}

Fetcher::Body Fetcher::whole(const FetchRequest& request, Attention::Generation generation) {
    Data body;
    auto result = get(request, generation, [&](Bytes bytes, const FetchResult&, auto) {
        body.insert(body.end(), bytes.begin(), bytes.end());
        return true;
    });
    return {std::move(result), std::move(body)};
}

}  // namespace korvel::platform::hls
