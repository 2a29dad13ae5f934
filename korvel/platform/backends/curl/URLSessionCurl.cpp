#include <korvel/platform/backends/curl/CurlLoop.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

namespace korvel::platform {

namespace {

class URLSessionCurl final : public URLSession {
public:
    URLSessionCurl(const URLSessionCurlOptions& options, BackgroundExecutor background)
        : loop_(std::make_shared<CurlLoop>(options, std::move(background))) {}
    ~URLSessionCurl() override { loop_->stop(); }

    std::shared_ptr<URLSessionTask> dataTask(URLRequest request,
                                             CompletionHandler completionHandler) override {
        loop_->submit(
            std::make_shared<CurlTransfer>(std::move(request), std::move(completionHandler)));
        return nullptr;
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
