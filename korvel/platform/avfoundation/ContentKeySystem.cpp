#include <korvel/platform/avfoundation/ContentKeySystem.h>

namespace korvel::platform {

ContentKeyExchange::~ContentKeyExchange() = default;
SampleCipher::~SampleCipher() = default;
ContentKeySystem::~ContentKeySystem() = default;

std::shared_ptr<const SampleCipher> ContentKeySystem::sampleCipher(SampleCipher::Scheme) const {
    return nullptr;
}

}  // namespace korvel::platform
