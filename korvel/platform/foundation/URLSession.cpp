#include <korvel/platform/foundation/ResponseStream.h>
#include <korvel/platform/foundation/URLSession.h>

namespace korvel::platform {

URLSession::~URLSession() = default;
ResponseStream::~ResponseStream() = default;
StreamLoader::~StreamLoader() = default;

void URLSession::uploadTask(URLRequest request, std::optional<Data> bodyData,
                            CompletionHandler completionHandler) {
    request.body = std::move(bodyData);
    dataTask(std::move(request), std::move(completionHandler));
}

}  // namespace korvel::platform
