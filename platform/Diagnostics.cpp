#include <korvel/platform/Diagnostics.h>

namespace korvel::platform {

Diagnostics::~Diagnostics() = default;

void Diagnostics::requestStarted(RequestId, const URLRequest&) {}
void Diagnostics::requestEnded(RequestId, const Exchange&) {}
void Diagnostics::decodingFailed(RequestId, const std::string&, const std::string&,
                                 const std::string&) {}

}  // namespace korvel::platform
