#include <korvel/platform/foundation/SDKBundle.h>

#include <dlfcn.h>

namespace korvel::platform {

namespace {

namespace fs = std::filesystem;

fs::path libraryFile() {
    Dl_info info{};
    const auto* code = reinterpret_cast<const void*>(&findSDKBundle);
    return dladdr(code, &info) != 0 && info.dli_fname ? info.dli_fname : "";
}

std::optional<fs::path> folderAbove(const fs::path& file) {
    std::error_code failed;
    const auto whole = fs::canonical(file, failed);
    if (failed) return std::nullopt;
    for (auto folder = whole.parent_path();; folder = folder.parent_path()) {
        auto bundle = folder / "share" / "korvel" / "KorvelContentSDK.bundle";
        if (fs::is_directory(bundle, failed)) return bundle;
        if (!folder.has_relative_path()) return std::nullopt;
    }
}

}  // namespace

std::optional<Bundle> findSDKBundle() {
    auto folder = folderAbove(libraryFile());
    if (!folder) folder = folderAbove("/proc/self/exe");
    if (!folder) return std::nullopt;
    return Bundle(std::string(sdkBundleIdentifier), *folder);
}

}  // namespace korvel::platform
