#include <korvel/platform/backends/curl/AnswerHead.h>
#include <korvel/platform/backends/curl/CurlLibrary.h>
#include <korvel/platform/backends/curl/Redirection.h>
#include <korvel/platform/backends/curl/StreamConnections.h>
#include <korvel/platform/backends/curl/StreamLoaderCurl.h>
#include <korvel/platform/foundation/DispatchQueue.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace korvel::platform {

namespace {

using Clock = std::chrono::steady_clock;
using Connections = StreamConnections;
using Multi = Connections::Multi;
using Easy = Connections::Easy;

/// More than that is not fetched before somebody wants it.
constexpr std::size_t largestChunk = 256 << 10;
constexpr std::size_t largestSkipped = 256 << 10;
/// Taken from the network at once. What a packed body holds may be a thousand times that, all of
/// which is kept when it is not wanted yet.
constexpr long largestRead = 32 << 10;

class StreamCurl final : public ResponseStream, public CurlUser {
public:
    /// `connects`: wants no more than a connection.
    StreamCurl(std::shared_ptr<Connections> connections, URLRequest request, bool connects = false)
        : connections_(std::move(connections)), connects_(connects), request_(std::move(request)) {}

    ~StreamCurl() override {
        if (!process_.isThis()) {
            (void)easy_.release();
            (void)multi_.handle.release();
        }
        // A connection on which an answer was broken off is closed.
        if (!ended_ || error_) multi_.services.erase(service());
        if (easy_) connections_->give(std::move(easy_), std::move(multi_), connects_);
    }

    std::variant<HTTPURLResponse, NSError> response() override {
        const std::lock_guard lock(use_);
        while (!headIsThere_ && !ended_) advance();
        if (error_) return *error_;
        return *response_;
    }

    std::optional<std::uint64_t> expectedContentLength() const override { return length_; }

    std::variant<Data, NSError> read() override {
        const std::lock_guard lock(use_);
        lastMoved_ = Clock::now();
        if (paused_ && easy_) {
            paused_ = false;
            curl_easy_pause(easy_.get(), CURLPAUSE_CONT);
        }
        while (chunk_.empty() && !ended_) advance();
        if (chunk_.empty() && error_) return *error_;
        return std::exchange(chunk_, {});
    }

    void cancel() override {
        cancelled_ = true;
        connections_->wake();
        const std::lock_guard lock(handle_);
        if (multi_.handle) curl_multi_wakeup(multi_.handle.get());
    }

    void stop() override {
        if (!process_.isThis()) return;
        cancel();
        const std::lock_guard lock(use_);
        end(makeURLError(URLErrorCode::unknown, "Cancelled"));
        if (!easy_) return;
        curl_multi_remove_handle(multi_.handle.get(), easy_.get());
        easy_.reset();
        const std::lock_guard handle(handle_);
        multi_.handle.reset();
    }

private:
    static std::size_t receive(char* bytes, std::size_t, std::size_t count, void* self) {
        return static_cast<StreamCurl*>(self)->append(bytes, count);
    }

    std::size_t append(const char* bytes, std::size_t count) {
        if (!headIsThere_ && leadsElsewhere()) {
            skipped_ += count;  // nobody reads what it says
            return skipped_ <= largestSkipped ? count : CURL_WRITEFUNC_ERROR;
        }
        takeHead();
        if (chunk_.size() >= largestChunk) {
            paused_ = true;
            return CURL_WRITEFUNC_PAUSE;
        }
        const auto* first = reinterpret_cast<const std::uint8_t*>(bytes);  // as one block
        chunk_.insert(chunk_.end(), first, first + count);
        lastMoved_ = Clock::now();
        return count;
    }

    void start() {
        lastMoved_ = Clock::now();
        if (!isWebAddress(request_.url)) {
            return end(makeURLError(URLErrorCode::unsupportedURL, "Not an http or https address"));
        }
        if (!multi_.handle) {
            auto multi =
                connects_ ? Connections::make() : connections_->take(service(), cancelled_);
            const std::lock_guard lock(handle_);
            multi_ = std::move(multi);
        }
        multi_.serve(service());
        easy_.reset(curl_easy_init());
        setConnectionOptions(easy_.get(), connections_->settings, request_.timeoutInterval);
        setRequestOptions();
        curl_multi_add_handle(multi_.handle.get(), easy_.get());
    }

    void setRequestOptions() {
        CURL* const easy = easy_.get();
        curl_easy_setopt(easy, CURLOPT_URL, request_.url.absoluteString().c_str());
        curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
        curl_easy_setopt(easy, CURLOPT_SHARE, connections_->cookies());
        curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
        curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 0L);  // there is nobody to share with
        if (connects_) endWhenConnected(easy);
        curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, largestRead);
        curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &StreamCurl::receive);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
        head_.listen(easy);
        headers_.reset();
        if (!request_.value("Accept-Encoding")) addHeader("Accept-Encoding:");  // media is packed
        for (const auto& [name, value] : request_.headers()) {
            std::string line = name;
            line.append(": ").append(value);
            addHeader(line.c_str());
        }
        curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get());
    }

    void addHeader(const char* line) {
        curl_slist* longer = curl_slist_append(headers_.get(), line);
        if (!longer) return;
        (void)headers_.release();
        headers_.reset(longer);
    }

    /// Lets the library work, or waits until it can.
    void advance() {
        if (!easy_ && !ended_) start();
        if (ended_) return;
        if (cancelled_) return end(makeURLError(URLErrorCode::unknown, "Cancelled"));
        int running = 0;
        curl_multi_perform(multi_.handle.get(), &running);
        int left = 0;
        if (const CURLMsg* message = curl_multi_info_read(multi_.handle.get(), &left))
            return finish(message->data.result);
        if (!chunk_.empty()) return;
        if (std::exchange(headBytes_, head_.bytes()) != head_.bytes()) lastMoved_ = Clock::now();
        const auto idle = Clock::now() - lastMoved_;
        if (idle >= request_.timeoutInterval)
            return end(makeURLError(URLErrorCode::timedOut, "Nothing came for too long"));
        const auto patience =
            std::chrono::ceil<std::chrono::milliseconds>(request_.timeoutInterval - idle);
        curl_multi_poll(multi_.handle.get(), nullptr, 0, static_cast<int>(patience.count()),
                        nullptr);
    }

    void finish(CURLcode result) {
        if (head_.tooLong()) {
            end(makeURLError(URLErrorCode::badServerResponse, "The answer's head is too long"));
        } else if (const auto location = headIsThere_ ? std::nullopt : redirectedTo()) {
            follow(*location);
        } else if (skipped_ > largestSkipped) {
            end(makeURLError(URLErrorCode::dataLengthExceedsMaximum, "The redirect is too long"));
        } else if (result != CURLE_OK) {
            end(transferError(result, errorText_.data()));
        } else {
            takeHead();
            ended_ = true;
        }
    }

    /// Asked before the library has made an address of it.
    bool leadsElsewhere() const {
        curl_header* location = nullptr;
        return isRedirect(statusCode()) &&
               curl_easy_header(easy_.get(), "Location", 0, CURLH_HEADER, -1, &location) ==
                   CURLHE_OK &&
               *location->value;
    }

    std::string service() const { return serviceOf(request_.url); }

    std::optional<std::string> redirectedTo() const {
        char* location = nullptr;
        curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &location);
        if (!location || !isRedirect(statusCode())) return std::nullopt;
        return location;
    }

    int statusCode() const {
        long status = 0;
        curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
        return static_cast<int>(status);
    }

    void follow(const std::string& location) {
        auto next = redirection(request_, statusCode(), location, followed_++);
        if (auto* refusal = std::get_if<NSError>(&next)) return end(std::move(*refusal));
        curl_multi_remove_handle(multi_.handle.get(), easy_.get());
        request_ = std::move(std::get<URLRequest>(next));
        errorText_[0] = '\0';
        skipped_ = 0;
        start();
    }

    void takeHead() {
        if (std::exchange(headIsThere_, true)) return;
        response_ = HTTPURLResponse{request_.url, statusCode()};
        curl_off_t length = -1;
        curl_easy_getinfo(easy_.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        if (length >= 0 && !head_.unpacks()) length_ = static_cast<std::uint64_t>(length);
    }

    void end(NSError error) {
        if (!std::exchange(ended_, true)) error_ = std::move(error);
    }

    const std::shared_ptr<Connections> connections_;
    const bool connects_;
    const OwnProcess process_;
    std::atomic<bool> cancelled_ = false;
    std::mutex handle_;  ///< guards the pointer `multi_` for those who cancel
    Multi multi_;

    std::mutex use_;      ///< of the library and of what follows
    URLRequest request_;  ///< of the present hop
    int followed_ = 0;
    AnswerHead head_;
    std::size_t headBytes_ = 0;
    std::size_t skipped_ = 0;
    Easy easy_;
    std::unique_ptr<curl_slist, Connections::CleanUp> headers_;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    Clock::time_point lastMoved_;
    bool headIsThere_ = false;
    bool ended_ = false;
    bool paused_ = false;
    std::optional<HTTPURLResponse> response_;
    std::optional<std::uint64_t> length_;
    std::optional<NSError> error_;
    Data chunk_;
};

class StreamLoaderCurl final : public StreamLoader {
public:
    explicit StreamLoaderCurl(CurlSettings settings)
        : connections_(std::make_shared<Connections>(std::move(settings))) {}

    std::shared_ptr<ResponseStream> open(URLRequest request) override {
        return make(std::move(request), false);
    }

    void connect(const URL& url) override {
        auto service = serviceOf(url);
        if (!isWebAddress(url) || !connections_->expect(service)) return;
        URLRequest request(url);
        request.timeoutInterval = longestOpening;
        DispatchQueue::global().async([stream = make(std::move(request), true),
                                       connections = connections_,
                                       service = std::move(service)]() mutable {
            (void)stream->response();
            stream.reset();
            connections->came(service);
        });
    }

private:
    std::shared_ptr<StreamCurl> make(URLRequest request, bool connects) {
        auto stream = std::make_shared<StreamCurl>(connections_, std::move(request), connects);
        std::call_once(known_, [this] { (void)stopAtExit(connections_); });
        if (!stopAtExit(stream)) stream->stop();
        return stream;
    }

    const std::shared_ptr<Connections> connections_;
    std::once_flag known_;  // to the end of the process
};

}  // namespace

std::shared_ptr<StreamLoader> makeStreamLoaderCurl(const URLSessionCurlOptions& options) {
    watchForExit();
    CurlSettings settings = settingsFrom(options);
    if (settings.authorities.empty()) settings.authorities = systemAuthorities();
    return std::make_shared<StreamLoaderCurl>(std::move(settings));
}

}  // namespace korvel::platform
