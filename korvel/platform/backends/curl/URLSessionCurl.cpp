#include <korvel/platform/backends/curl/CurlLoop.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <algorithm>

namespace korvel::platform {

namespace {

/// Keeps neither: who holds on to a task of a request that has ended keeps no handler of it alive.
class CurlTask final : public URLSessionTask {
public:
    CurlTask(std::weak_ptr<CurlLoop> loop, std::weak_ptr<CurlTransfer> transfer)
        : loop_(std::move(loop)), transfer_(std::move(transfer)) {}

    void cancel() override {
        auto transfer = transfer_.lock();
        if (!transfer || !transfer->cancel()) return;
        if (const auto loop = loop_.lock()) loop->cancel(std::move(transfer));
    }

private:
    const std::weak_ptr<CurlLoop> loop_;
    const std::weak_ptr<CurlTransfer> transfer_;
};

URLSessionCurlOptions optionsAhead(URLSessionCurlOptions options) {
    options.idleConnections =
        std::min<std::chrono::milliseconds>(options.idleConnections, longestUnused);
    return options;
}

/// Connections that are opened ahead have a loop of their own, which keeps none but those that
/// never carried a request: which of its connections a request takes is the library's to choose.
class URLSessionCurl final : public URLSession {
public:
    URLSessionCurl(const URLSessionCurlOptions& options, const BackgroundExecutor& background)
        : loop_(std::make_shared<CurlLoop>(options, background)),
          ahead_(std::make_shared<CurlLoop>(optionsAhead(options), background)) {}
    ~URLSessionCurl() override {
        loop_->stop();
        ahead_->stop();
    }

    void connect(const URL& url) override { ahead_->submit(std::make_shared<CurlTransfer>(url)); }

    std::shared_ptr<URLSessionTask> dataTask(URLRequest request,
                                             CompletionHandler completionHandler) override {
        const auto& loop = request.takesOpenedConnection ? ahead_ : loop_;
        auto transfer =
            std::make_shared<CurlTransfer>(std::move(request), std::move(completionHandler));
        auto task = std::make_shared<CurlTask>(loop, transfer);
        loop->submit(std::move(transfer));
        return task;
    }

private:
    const std::shared_ptr<CurlLoop> loop_;
    const std::shared_ptr<CurlLoop> ahead_;
};

}  // namespace

std::shared_ptr<URLSession> makeURLSessionCurl(const URLSessionCurlOptions& options,
                                               BackgroundExecutor background) {
    return std::make_shared<URLSessionCurl>(options, background);
}

}  // namespace korvel::platform
