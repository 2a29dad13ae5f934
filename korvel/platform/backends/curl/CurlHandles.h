#pragma once

#include <curl/curl.h>

#include <memory>
#include <vector>

namespace korvel::platform {

struct EasyCleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanup>;

/// Easy handles that have done their work, for the transfers that come next: to make one, with the
/// buffers that it gets as it runs, and to destroy it takes a tenth of a small request's processor
/// time. None has options, credentials or a connection of what it did before.
///
/// Belongs to one thread at a time.
class CurlHandles {
public:
    /// A handle as new. Null if memory is short.
    EasyHandle take();
    /// One that is in no multi handle any more. Those beyond what a burst needs are destroyed.
    void giveBack(EasyHandle easy);
    void clear() { kept_.clear(); }

private:
    static constexpr std::size_t most = 64;  // of some 20 KiB, until the connections idle out

    std::vector<EasyHandle> kept_;
};

}  // namespace korvel::platform
