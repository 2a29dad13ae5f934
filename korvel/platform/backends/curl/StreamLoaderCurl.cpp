#include <korvel/platform/backends/curl/AnswerHead.h>
#include <korvel/platform/backends/curl/CurlLibrary.h>
#include <korvel/platform/backends/curl/Redirection.h>
#include <korvel/platform/backends/curl/StreamLoaderCurl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace korvel::platform {

namespace {

using Clock = std::chrono::steady_clock;

/// More than that is not fetched before somebody wants it.
constexpr std::size_t largestChunk = 256 << 10;
constexpr std::size_t mostIdle = 6;
constexpr std::size_t largestSkipped = 256 << 10;
/// Taken from the network at once. What a packed body holds may be a thousand times that, all of
/// which is kept when it is not wanted yet.
constexpr long largestRead = 32 << 10;

struct CleanUp {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
struct ShareCleanUp {
    void operator()(CURLSH* share) const { curl_share_cleanup(share); }
};
struct MultiCleanUp {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
using Easy = std::unique_ptr<CURL, CleanUp>;
using Multi = std::unique_ptr<CURLM, MultiCleanUp>;

/// The connections of streams that have ended, for those to come: one handle has them, and is used
/// by one stream at a time.
class Connections final : public CurlUser, public std::enable_shared_from_this<Connections> {
public:
    explicit Connections(CurlSettings common) : settings(std::move(common)) {
        curl_share_setopt(cookies_.get(), CURLSHOPT_USERDATA, this);
        curl_share_setopt(cookies_.get(), CURLSHOPT_LOCKFUNC, lockCookies);
        curl_share_setopt(cookies_.get(), CURLSHOPT_UNLOCKFUNC, unlockCookies);
        curl_share_setopt(cookies_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
    }
    ~Connections() override {
        if (process_.isThis()) return;
        for (Multi& multi : idle_) (void)multi.release();
        (void)cookies_.release();
    }
    /// What servers set with a playlist they want to see with its segments.
    CURLSH* cookies() const { return cookies_.get(); }
    Multi take() {
        {
            const std::lock_guard lock(mutex_);
            if (!idle_.empty()) {
                Multi last = std::move(idle_.back());
                idle_.pop_back();
                return last;
            }
        }
        Multi multi(curl_multi_init());
        curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, 4L);
        return multi;
    }
    /// Ends the transfer. At the end of the process a stream may be on its way here, unseen by
    /// whoever stops the streams.
    void give(Easy easy, Multi multi) {
        const std::lock_guard lock(mutex_);
        if (stopped_) {
            (void)easy.release();
            (void)multi.release();
            return;
        }
        curl_multi_remove_handle(multi.get(), easy.get());
        easy.reset();
        if (idle_.size() < mostIdle) idle_.push_back(std::move(multi));
    }
    void stop() override {
        if (!process_.isThis()) return;
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        idle_.clear();
    }

    const CurlSettings settings;

private:
    static void lockCookies(CURL*, curl_lock_data, curl_lock_access, void* self) {
        static_cast<Connections*>(self)->cookiesInUse_.lock();
    }
    static void unlockCookies(CURL*, curl_lock_data, void* self) {
        static_cast<Connections*>(self)->cookiesInUse_.unlock();
    }

    const OwnProcess process_;
    std::mutex cookiesInUse_;
    std::unique_ptr<CURLSH, ShareCleanUp> cookies_{curl_share_init()};
    std::mutex mutex_;
    std::vector<Multi> idle_;
    bool stopped_ = false;
};

class StreamCurl final : public ResponseStream, public CurlUser {
public:
    StreamCurl(std::shared_ptr<Connections> connections, URLRequest request)
        : connections_(std::move(connections)), request_(std::move(request)) {}

    ~StreamCurl() override {
        if (!process_.isThis()) {
            (void)easy_.release();
            (void)multi_.release();
        }
        if (easy_) connections_->give(std::move(easy_), std::move(multi_));
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
        const std::lock_guard lock(handle_);
        if (multi_) curl_multi_wakeup(multi_.get());
    }

    void stop() override {
        if (!process_.isThis()) return;
        cancel();
        const std::lock_guard lock(use_);
        end(makeURLError(URLErrorCode::unknown, "Cancelled"));
        if (!easy_) return;
        curl_multi_remove_handle(multi_.get(), easy_.get());
        easy_.reset();
        const std::lock_guard handle(handle_);
        multi_.reset();
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
        chunk_.insert(chunk_.end(), bytes, bytes + count);
        lastMoved_ = Clock::now();
        return count;
    }

    void start() {
        lastMoved_ = Clock::now();
        if (!isWebAddress(request_.url)) {
            return end(makeURLError(URLErrorCode::unsupportedURL, "Not an http or https address"));
        }
        if (!multi_) {
            const std::lock_guard lock(handle_);
            multi_ = connections_->take();
        }
        easy_.reset(curl_easy_init());
        setConnectionOptions(easy_.get(), connections_->settings, request_.timeoutInterval);
        setRequestOptions();
        curl_multi_add_handle(multi_.get(), easy_.get());
    }

    void setRequestOptions() {
        CURL* const easy = easy_.get();
        curl_easy_setopt(easy, CURLOPT_URL, request_.url.absoluteString().c_str());
        curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
        curl_easy_setopt(easy, CURLOPT_SHARE, connections_->cookies());
        curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
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
        curl_multi_perform(multi_.get(), &running);
        int left = 0;
        if (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left))
            return finish(message->data.result);
        if (!chunk_.empty()) return;
        if (std::exchange(headBytes_, head_.bytes()) != head_.bytes()) lastMoved_ = Clock::now();
        const auto idle = Clock::now() - lastMoved_;
        if (idle >= request_.timeoutInterval)
            return end(makeURLError(URLErrorCode::timedOut, "Nothing came for too long"));
        const auto patience =
            std::chrono::ceil<std::chrono::milliseconds>(request_.timeoutInterval - idle);
        curl_multi_poll(multi_.get(), nullptr, 0, static_cast<int>(patience.count()), nullptr);
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
        curl_multi_remove_handle(multi_.get(), easy_.get());
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
    std::unique_ptr<curl_slist, CleanUp> headers_;
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
        auto stream = std::make_shared<StreamCurl>(connections_, std::move(request));
        std::call_once(known_, [this] { (void)stopAtExit(connections_); });
        if (!stopAtExit(stream)) stream->stop();
        return stream;
    }

private:
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
