#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/foundation/URLSession.h>

namespace korvel::platform {

URLSession::~URLSession() = default;
URLSessionTask::~URLSessionTask() = default;
ResponseStream::~ResponseStream() = default;
StreamLoader::~StreamLoader() = default;
void StreamLoader::connect(const URL&) {}

bool Exchange::isTooLong() const {
    return error && response && error->domain == urlErrorDomain &&
           error->code == static_cast<std::int64_t>(URLErrorCode::dataLengthExceedsMaximum);
}

void URLSession::connect(const URL&) {}

std::shared_ptr<URLSessionTask> URLSession::uploadTask(URLRequest request,
                                                       std::optional<Data> bodyData,
                                                       CompletionHandler completionHandler) {
    request.body = std::move(bodyData);
    return dataTask(std::move(request), std::move(completionHandler));
}

}  // namespace korvel::platform
