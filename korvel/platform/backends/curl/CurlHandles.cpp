#include <korvel/platform/backends/curl/CurlHandles.h>

#include <utility>

namespace korvel::platform {

EasyHandle CurlHandles::take() {
    if (kept_.empty()) return EasyHandle(curl_easy_init());
    EasyHandle easy = std::move(kept_.back());
    kept_.pop_back();
    return easy;
}

void CurlHandles::giveBack(EasyHandle easy) {
    if (!easy || kept_.size() == most) return;
    curl_easy_reset(easy.get());  // at once: it points into what the transfer owns
    kept_.push_back(std::move(easy));
}

}  // namespace korvel::platform
