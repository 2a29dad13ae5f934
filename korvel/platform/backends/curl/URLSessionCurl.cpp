#include <korvel/platform/backends/curl/CurlLoop.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

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

class URLSessionCurl final : public URLSession {
public:
    URLSessionCurl(const URLSessionCurlOptions& options, BackgroundExecutor background)
        : loop_(std::make_shared<CurlLoop>(options, std::move(background))) {}
    ~URLSessionCurl() override { loop_->stop(); }

    std::shared_ptr<URLSessionTask> dataTask(URLRequest request,
                                             CompletionHandler completionHandler) override {
        auto transfer =
            std::make_shared<CurlTransfer>(std::move(request), std::move(completionHandler));
        auto task = std::make_shared<CurlTask>(loop_, transfer);
        loop_->submit(std::move(transfer));
        return task;
    }

private:
    std::shared_ptr<CurlLoop> loop_;
};

}  // namespace

std::shared_ptr<URLSession> makeURLSessionCurl(const URLSessionCurlOptions& options,
                                               BackgroundExecutor background) {
    return std::make_shared<URLSessionCurl>(options, std::move(background));
}

}  // namespace korvel::platform
