#include <korvel/sdk/SDKResources.h>

namespace korvel {

platform::UIImage sdkImage(const platform::Device& device, std::string_view name) {
    const auto* bundle = device.bundle(sdkBundleIdentifier);
    return bundle ? platform::UIImage::named(name, *bundle).value_or(platform::UIImage())
                  : platform::UIImage();
}

}  // namespace korvel
