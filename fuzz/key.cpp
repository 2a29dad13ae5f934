// A key server's answer of any bytes: no crash, and a key comes of nothing but 16 bytes in base64,
// whatever tags stand around and between.
#include "Require.h"

#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/player/KeyLoading.h>

#include <cstddef>
#include <string>

namespace {

using namespace korvel::platform;

/// The plain way, which takes the square of the text's length.
std::string without(std::string text, std::string_view part) {
    for (auto at = text.find(part); at != text.npos; at = text.find(part, at)) {
        text.erase(at, part.size());
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const Data answer(bytes, bytes + size);
    const std::string text(viewOf(answer));
    const auto context = korvel::contentKeyContext(answer);
    if (!isValidUTF8(text) || size > korvel::largestKeyAnswer) {
        require(!context, "only text of a key's length is an answer");
        return 0;
    }
    const auto bare = without(without(text, "<ckc>"), "</ckc>");
    require(context == base64Decoded(bare), "the tags go, and nothing else");
    require(!context || base64Encoded(viewOf(*context)) == bare, "there is one way to write it");

    AVAssetResourceLoadingRequest request(std::nullopt, nullptr, [] {});
    request.dataRequest()->respond(context.value_or(Data()));
    request.finishLoading();
    const bool isKey = std::holds_alternative<ContentKey>(request.key());
    require(isKey == (context && context->size() == ContentKey().size()), "a key has its size");
    return 0;
}
