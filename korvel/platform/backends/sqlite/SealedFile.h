#pragma once

#include <korvel/platform/backends/sqlite/Database.h>
#include <korvel/platform/backends/sqlite/KeyFile.h>

#include <sys/stat.h>
#include <cerrno>

namespace korvel::platform::sqlite {

/// A database beside the key that seals its values. A folder's databases share the one key.
struct SealedFile {
    /// @param patience how long a call waits for other processes.
    SealedFile(const std::filesystem::path& folder, const char* name, const char* schema,
               std::chrono::milliseconds patience)
        : file(folder / name),
          database(file, schema, patience),
          keyFile(folder / "keychain.key", patience) {}

    /// Looking for something must not leave files behind on a device that never kept anything.
    bool isMissing() const {
        struct stat found {};
        return stat(file.c_str(), &found) != 0 && errno == ENOENT;
    }

    const std::filesystem::path file;
    Database database;
    KeyFile keyFile;
};

}  // namespace korvel::platform::sqlite
