#pragma once

#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/foundation/Export.h>

#include <memory>

namespace korvel::platform {

/// Opens samples in the process's own memory, for a host whose content keys may be seen there: its
/// `ContentKeySystem` returns this as its `sampleCipher`. No device does of itself. Any thread;
/// never null.
KORVEL_API std::shared_ptr<const SampleCipher> makeSampleCipherOpenSSL(SampleCipher::Scheme scheme);

}  // namespace korvel::platform
