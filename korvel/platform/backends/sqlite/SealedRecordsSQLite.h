#pragma once

#include <korvel/platform/security/SealedRecords.h>

#include <filesystem>
#include <memory>

namespace korvel::platform {

/// A database in `folder`, values sealed under the key file of the keychain there. Opens nothing
/// before the first call and makes nothing before the first record. A damaged database is kept as
/// "outbox.corrupt" and started anew. A process forked after the first call keeps nothing and finds
/// nothing; a new program does.
std::shared_ptr<SealedRecords> makeSealedRecordsSQLite(std::filesystem::path folder);

}  // namespace korvel::platform
