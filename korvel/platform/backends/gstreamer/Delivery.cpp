#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/gstreamer/Delivery.h>
#include <korvel/platform/backends/gstreamer/Playlist.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::gst {

namespace {

constexpr std::size_t longestPlaylist = std::size_t{16} << 20U;
constexpr int partialContent = 206;
constexpr int rangeNotSatisfiable = 416;

class KeyDelivery final : public Delivery {
public:
    KeyDelivery(std::shared_ptr<Route> route, std::optional<URL> address)
        : route_(std::move(route)), address_(std::move(address)) {}

    Portion next() override {
        const Route::Wait wait(*route_);
        if (std::exchange(delivered_, true)) return EndOfBytes{};
        const auto answer = route_->keys().ask(address_, wait_);
        if (!answer) return Cancelled{};
        if (const auto* refusal = std::get_if<NSError>(&*answer)) return Failure{*refusal};
        const auto& key = std::get<ContentKey>(*answer);
        return Data(key.begin(), key.end());
    }
    void cancel() override { wait_->cancel(); }

private:
    const std::shared_ptr<Route> route_;
    const std::optional<URL> address_;
    const std::shared_ptr<KeyWait> wait_ = std::make_shared<KeyWait>();
    bool delivered_ = false;
};

class StreamDelivery final : public Delivery {
public:
    StreamDelivery(std::shared_ptr<Route> route, URLRequest request, std::uint64_t offset)
        : route_(std::move(route)), offset_(offset), toSkip_(offset) {
        if (offset > 0) request.setValue("bytes=" + std::to_string(offset) + "-", "Range");
        stream_ = route_->loader().open(std::move(request));
    }

    Portion next() override {
        const Route::Wait wait(*route_);
        if (!std::exchange(opened_, true)) {
            if (auto trouble = open()) return *std::move(trouble);
            return first();
        }
        return more();
    }
    void cancel() override { stream_->cancel(); }
    std::optional<std::uint64_t> size() const override { return size_; }

private:
    std::optional<Portion> open() {
        auto head = stream_->response();
        if (const auto* error = std::get_if<NSError>(&head)) return trouble(*error);
        const auto& response = std::get<HTTPURLResponse>(head);
        address_ = response.url;
        if (response.statusCode == rangeNotSatisfiable && offset_ > 0) return EndOfBytes{};
        if (response.statusCode >= 400) {
            return trouble(
                makeAVError(AVError::unknown, "The service answered " +
                                                  std::to_string(response.statusCode) + " for " +
                                                  response.url.absoluteString()),
                response.statusCode);
        }
        if (response.statusCode == partialContent) toSkip_ = 0;
        if (const auto length = stream_->expectedContentLength())
            size_ = *length + (offset_ - toSkip_);
        return std::nullopt;
    }

    /// A playlist is needed whole; all else goes on as it comes.
    Portion first() {
        auto portion = more();
        auto* bytes = std::get_if<Data>(&portion);
        if (!bytes || offset_ > 0 || !isPlaylist(viewOf(*bytes))) return portion;
        while (bytes->size() <= longestPlaylist) {
            auto following = more();
            if (std::holds_alternative<EndOfBytes>(following)) return routed(viewOf(*bytes));
            const auto* rest = std::get_if<Data>(&following);
            if (!rest) return following;
            bytes->insert(bytes->end(), rest->begin(), rest->end());
        }
        return trouble(makeAVError(AVError::fileFormatNotRecognized, "The playlist has no end."));
    }

    Portion routed(std::string_view text) {
        auto playlist = routedPlaylist(text, *address_);
        size_ = playlist.text.size();
        if (!playlist.sampleAES) return bytesOf(playlist.text);
        const auto error =
            makeAVError(AVError::contentIsProtected,
                        "The stream is encrypted by SAMPLE-AES, which cannot be opened here.");
        route_->fail(error);
        return trouble(error);
    }

    Portion more() {
        while (true) {
            auto read = stream_->read();
            if (const auto* error = std::get_if<NSError>(&read)) return trouble(*error);
            auto& bytes = std::get<Data>(read);
            if (bytes.empty()) return EndOfBytes{};
            // The service takes no notice of ranges.
            const auto skipped = std::min<std::uint64_t>(toSkip_, bytes.size());
            toSkip_ -= skipped;
            bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(skipped));
            if (!bytes.empty()) return std::move(bytes);
        }
    }

    Portion trouble(const NSError& error, int statusCode = 0) {
        route_->note(error);
        return Failure{error, statusCode};
    }

    const std::shared_ptr<Route> route_;
    const std::uint64_t offset_;
    std::uint64_t toSkip_;
    std::shared_ptr<ResponseStream> stream_;
    std::optional<URL> address_;
    std::optional<std::uint64_t> size_;
    bool opened_ = false;
};

}  // namespace

Delivery::~Delivery() = default;

std::unique_ptr<Delivery> deliver(std::shared_ptr<Route> route, const std::string& address,
                                  std::uint64_t offset) {
    auto original = originalAddress(address);
    if (address.starts_with(keyScheme) || !original)
        return std::make_unique<KeyDelivery>(std::move(route), std::move(original));
    return std::make_unique<StreamDelivery>(std::move(route), URLRequest(*std::move(original)),
                                            offset);
}

}  // namespace korvel::platform::gst
