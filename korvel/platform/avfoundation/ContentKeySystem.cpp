#include <korvel/platform/avfoundation/ContentKeySystem.h>

namespace korvel::platform {

ContentKeyExchange::~ContentKeyExchange() = default;
ContentKeySystem::~ContentKeySystem() = default;

}  // namespace korvel::platform
