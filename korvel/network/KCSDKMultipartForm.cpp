#include <korvel/network/KCSDKMultipartForm.h>
#include <korvel/platform/foundation/Random.h>
#include <korvel/platform/foundation/UTF8.h>

#include <cstdio>
#include <string_view>

namespace korvel {

namespace {
std::string randomBoundary() {
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08x%08x", platform::randomUInt32(),
                  platform::randomUInt32());
    return std::string("KorvelContentSDK.boundary.") + digits;
}

void append(platform::Data& body, std::string_view text) {
    if (platform::isValidUTF8(text)) body.insert(body.end(), text.begin(), text.end());
}
}  // namespace

KCSDKMultipartForm::KCSDKMultipartForm() : boundary(randomBoundary()) {}

platform::Data KCSDKMultipartForm::body(const std::optional<TextFields>& fields) const {
    if (!fields) return {};
    const std::string delimiterLine = "--" + boundary + "\r\n";
    platform::Data body;
    for (const auto& [name, text] : *fields) {
        append(body, delimiterLine);
        append(body, "Content-Disposition: form-data; name=\"" + name + "\"\r\n\r\n");
        append(body, text + "\r\n");
    }
    append(body, delimiterLine);
    return body;
}

}  // namespace korvel
