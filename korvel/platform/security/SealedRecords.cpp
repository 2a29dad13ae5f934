#include <korvel/platform/security/SealedRecords.h>

namespace korvel::platform {

SealedRecords::~SealedRecords() = default;

}  // namespace korvel::platform
