#include <korvel/platform/Diagnostics.h>

#include <atomic>

namespace korvel::platform {

Diagnostics::~Diagnostics() = default;

Diagnostics::RequestId Diagnostics::newRequestId() {
    static std::atomic<RequestId> last = 0;
    return ++last;
}

void Diagnostics::requestStarted(RequestId, const URLRequest&) {}
void Diagnostics::requestEnded(RequestId, const Exchange&) {}
void Diagnostics::decodingFailed(RequestId, const std::string&, const std::string&,
                                 const std::string&) {}
void Diagnostics::keychainFailed(const std::string&, OSStatus) {}

}  // namespace korvel::platform
