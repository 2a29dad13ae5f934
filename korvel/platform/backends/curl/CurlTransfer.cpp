#include <korvel/platform/backends/curl/CurlEvents.h>
#include <korvel/platform/backends/curl/CurlTransfer.h>
#include <korvel/platform/backends/curl/Redirection.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace korvel::platform {

namespace {

/// Room kept free behind a body: parsers read in strides past its end, and need not copy it first.
constexpr std::size_t roomBehindBody = 64;
/// A length that the service only announces is believed up to here.
constexpr curl_off_t largestReservation = 8 << 20;

bool isToken(std::string_view text) {
    static constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char each) {
        const bool isPlain = (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
                             (each >= '0' && each <= '9') || each == '-';
        return isPlain || marks.find(each) != std::string_view::npos;
    });
}

/// The header as the library wants it. Line breaks would start a header of their own; only a
/// semicolon makes it send an empty one.
std::string headerLine(const std::string& name, const std::string& value) {
    const auto first = value.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return name + ";";
    std::string line;
    line.reserve(name.size() + 2 + value.size());
    line.append(name).append(": ").append(value, first);
    for (char& character : line) {
        if (character == '\r' || character == '\n' || character == '\0') character = ' ';
    }
    return line;
}

bool isReading(const std::string& method) { return method == "GET" || method == "HEAD"; }

bool wantsBody(const std::string& method) {
    return method == "POST" || method == "PUT" || method == "PATCH";
}

}  // namespace

CurlTransfer::CurlTransfer(URLRequest request, URLSession::CompletionHandler completionHandler)
    : request_(std::move(request)),
      service_(serviceOf(request_.url)),
      completionHandler_(std::move(completionHandler)) {}

CurlTransfer::CurlTransfer(const URL& connectTo) : CurlTransfer(URLRequest(connectTo), nullptr) {
    request_.timeoutInterval = longestOpening;
    isConnection_ = true;
}

CURL* CurlTransfer::start(const CurlSettings& settings, CurlHandles& handles,
                          Clock::time_point now) {
    if (!isWebAddress(request_.url)) {
        fail(makeURLError(URLErrorCode::unsupportedURL, "Not an http or https address"));
        return nullptr;
    }
    if (!isToken(request_.method)) {
        fail(makeURLError(URLErrorCode::unknown, "Not a method: " + request_.method));
        return nullptr;
    }
    handles_ = &handles;
    easy_ = handles.take();
    if (!easy_) {
        fail(makeURLError(URLErrorCode::unknown, "Out of memory"));
        return nullptr;
    }
    largestBody_ = std::min(settings.largestBody, request_.largestBody.value_or(SIZE_MAX));
    lastProgress_ = 0;
    lastMoved_ = now;
    errorText_[0] = '\0';
    body_.clear();
    bodyTooLong_ = false;
    curl_easy_setopt(easy_.get(), CURLOPT_PRIVATE, this);
    setConnectionOptions(easy_.get(), settings, request_.timeoutInterval);
    takeOwnConnection(settings);
    setRequestOptions();
    setHeaders();
    return easy_.get();
}

/// On a reused connection that the service closed meanwhile the library sends once more, not
/// knowing whether the service had read the first one. Where there are connections already nobody
/// waits for this one: it is closed behind the answer.
///
/// One that was opened ahead counts as reused, too: there the second time is refused as it comes.
/// It is closed behind the answer likewise, so that none that carried a request is among these.
void CurlTransfer::takeOwnConnection(const CurlSettings& settings) {
    if (isConnection_) {
        endWhenConnected(easy_.get());
        return;
    }
    if (request_.takesOpenedConnection) {
        goesOut_ = false;
        const curl_prereq_callback once = [](void* self, char*, char*, int, int) {
            const bool again = std::exchange(static_cast<CurlTransfer*>(self)->goesOut_, true);
            return again ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
        };
        curl_easy_setopt(easy_.get(), CURLOPT_PREREQFUNCTION, once);
        curl_easy_setopt(easy_.get(), CURLOPT_PREREQDATA, this);
        // Nobody is coming to say whether the service takes several at once.
        curl_easy_setopt(easy_.get(), CURLOPT_PIPEWAIT, 0L);
        curl_easy_setopt(easy_.get(), CURLOPT_FORBID_REUSE, 1L);
        return;
    }
    if (isReading(request_.method)) return;
    curl_easy_setopt(easy_.get(), CURLOPT_FRESH_CONNECT, 1L);
    const bool isOnlyOne = settings.events && settings.events->sockets() == 0;
    curl_easy_setopt(easy_.get(), CURLOPT_FORBID_REUSE, isOnlyOne ? 0L : 1L);
}

void CurlTransfer::setRequestOptions() {
    CURL* easy = easy_.get();
    curl_easy_setopt(easy, CURLOPT_URL, request_.url.absoluteString().c_str());
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText_.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    head_.listen(easy);
    const bool hasBody = request_.body || wantsBody(request_.method);
    if (request_.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    } else if (hasBody) {
        static const Data nothing;
        const std::string_view body = viewOf(request_.body ? *request_.body : nothing);
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.empty() ? "" : body.data());
    }
    if (request_.method != "HEAD" && request_.method != (hasBody ? "POST" : "GET")) {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
    }
}

void CurlTransfer::setHeaders() {
    headers_.reset();
    for (const auto& [name, value] : request_.headers()) {
        // The library counts the body itself; a second opinion could only break the framing.
        if (!isToken(name) || curl_strequal(name.c_str(), "Content-Length")) continue;
        addHeader(headerLine(name, value).c_str());
    }
    if (request_.body || wantsBody(request_.method)) {
        addHeader("Expect:");
        if (!request_.value("Content-Type")) addHeader("Content-Type:");
    }
    curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
}

void CurlTransfer::addHeader(const char* line) {
    curl_slist* longer = curl_slist_append(headers_.get(), line);
    if (!longer) return;
    (void)headers_.release();
    headers_.reset(longer);
}

std::size_t CurlTransfer::receive(char* bytes, std::size_t, std::size_t count, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.bodyTooLong_ = !transfer.append(bytes, count);
    return transfer.bodyTooLong_ ? CURL_WRITEFUNC_ERROR : count;
}

bool CurlTransfer::append(const char* bytes, std::size_t count) try {
    const std::size_t needed = body_.size() + count;
    if (needed > largestBody_) return false;
    if (body_.empty()) {
        const auto announced = number(CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);
        const auto believed = std::clamp<curl_off_t>(announced, 0, largestReservation);
        body_.reserve(std::max(static_cast<std::size_t>(believed), needed) + roomBehindBody);
    } else if (body_.capacity() < needed + roomBehindBody) {
        body_.reserve(std::max(2 * body_.capacity(), needed + roomBehindBody));
    }
    const auto* first = reinterpret_cast<const std::uint8_t*>(bytes);  // as one block
    body_.insert(body_.end(), first, first + count);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool CurlTransfer::finish(CURLcode result) {
    measure();
    if (result != CURLE_OK) {
        const bool refused = head_.tooLong() || bodyTooLong_;
        const bool again = goesOut_ && result == CURLE_ABORTED_BY_CALLBACK;
        fail(refused ? tooLong()
             : again ? transferError(CURLE_GOT_NOTHING, "The connection broke off")
                     : transferError(result, errorText_.data()));
        return false;
    }
    const int statusCode = static_cast<int>(number(CURLINFO_RESPONSE_CODE));
    if (isRedirect(statusCode)) {
        char* location = nullptr;
        curl_easy_getinfo(easy_.get(), CURLINFO_REDIRECT_URL, &location);
        if (location) return follow(location, statusCode);
    }
    // Said of a connection on which nothing came, mostly before the request did: it was not read.
    constexpr int requestTimeout = 408;
    if (statusCode == requestTimeout && exchange_.metrics.reusedConnection &&
        std::exchange(request_.takesOpenedConnection, false)) {
        letGo();
        return true;
    }
    letGo();
    exchange_.response = HTTPURLResponse{std::move(request_.url), statusCode};
    exchange_.body = std::move(body_);
    return false;
}

/// What was made on this thread goes on it: the memory of one that another frees is waited for.
void CurlTransfer::letGo() {
    handles_->giveBack(std::move(easy_));
    headers_.reset();
}

bool CurlTransfer::follow(const std::string& location, int statusCode) {
    auto next = redirection(request_, statusCode, location, exchange_.metrics.redirects++);
    if (auto* refusal = std::get_if<NSError>(&next)) {
        fail(std::move(*refusal));
        return false;
    }
    letGo();
    request_ = std::move(std::get<URLRequest>(next));
    service_ = serviceOf(request_.url);
    return true;
}

void CurlTransfer::fail(NSError error) {
    constexpr auto tooMany = static_cast<std::int64_t>(URLErrorCode::dataLengthExceedsMaximum);
    if (easy_ && error.code == tooMany) {  // the service has answered all the same
        const int statusCode = static_cast<int>(number(CURLINFO_RESPONSE_CODE));
        exchange_.response = HTTPURLResponse{request_.url, statusCode};
        body_ = {};
    }
    easy_.reset();
    exchange_.error = std::move(error);
}

void CurlTransfer::giveUp(NSError error) {
    measure();
    fail(std::move(error));
}

NSError CurlTransfer::tooLong() const {
    if (head_.tooLong())
        return makeURLError(URLErrorCode::badServerResponse, "The answer's head is too long");
    return makeURLError(URLErrorCode::dataLengthExceedsMaximum, "The answer is too long");
}

void CurlTransfer::measure() {
    auto& metrics = exchange_.metrics;
    const auto before = metrics.end;
    const auto point = [&](CURLINFO info) {
        const std::chrono::microseconds time(number(info));
        return time.count() ? before + time : time;
    };
    metrics.reusedConnection =
        number(CURLINFO_NUM_CONNECTS) == 0 && number(CURLINFO_REQUEST_SIZE) > 0;
    metrics.nameLookup = metrics.connect = metrics.tls = {};
    if (!metrics.reusedConnection) {
        metrics.nameLookup = point(CURLINFO_NAMELOOKUP_TIME_T);
        metrics.connect = point(CURLINFO_CONNECT_TIME_T);
        metrics.tls = point(CURLINFO_APPCONNECT_TIME_T);
    }
    metrics.firstByte = point(CURLINFO_STARTTRANSFER_TIME_T);
    metrics.end = point(CURLINFO_TOTAL_TIME_T);
    metrics.bytesSent += number(CURLINFO_SIZE_UPLOAD_T);
    metrics.bytesReceived += number(CURLINFO_SIZE_DOWNLOAD_T);
}

std::optional<NSError> CurlTransfer::objection(Clock::time_point now) {
    const auto reached = progress();
    if (std::exchange(lastProgress_, reached) != reached) lastMoved_ = now;
    if (std::cmp_greater(number(CURLINFO_SIZE_DOWNLOAD_T), largestBody_)) return tooLong();
    if (now - lastMoved_ < request_.timeoutInterval) return std::nullopt;
    return makeURLError(URLErrorCode::timedOut, "Nothing moved for too long");
}

CurlTransfer::Clock::duration CurlTransfer::watchPeriod() const {
    using namespace std::chrono_literals;
    return std::clamp<Clock::duration>(request_.timeoutInterval / 8, 10ms, 1s);
}

curl_off_t CurlTransfer::progress() const {
    return number(CURLINFO_SIZE_UPLOAD_T) + number(CURLINFO_SIZE_DOWNLOAD_T) +
           static_cast<curl_off_t>(head_.bytes()) + number(CURLINFO_REQUEST_SIZE) +
           (number(CURLINFO_CONNECT_TIME_T) > 0) + (number(CURLINFO_APPCONNECT_TIME_T) > 0);
}

curl_off_t CurlTransfer::number(CURLINFO info) const {
    if ((info & CURLINFO_TYPEMASK) == CURLINFO_OFF_T) {
        curl_off_t value = 0;
        curl_easy_getinfo(easy_.get(), info, &value);
        return value;
    }
    long value = 0;
    curl_easy_getinfo(easy_.get(), info, &value);
    return value;
}

void CurlTransfer::complete() {
    const auto completionHandler = std::exchange(completionHandler_, nullptr);
    const bool isWanted = fate_.exchange(Fate::completed) == Fate::open;
    if (isWanted && completionHandler) completionHandler(std::move(exchange_));
}

bool CurlTransfer::cancel() {
    Fate expected = Fate::open;
    return fate_.compare_exchange_strong(expected, Fate::cancelled);
}

}  // namespace korvel::platform
