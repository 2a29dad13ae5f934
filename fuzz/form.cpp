// Lines as names and values of a form: no crash, and each pair that is text stands in the body
// once.
#include "Require.h"

#include <korvel/network/KCSDKMultipartForm.h>
#include <korvel/platform/foundation/UTF8.h>

#include <cstddef>

namespace {

using korvel::KCSDKMultipartForm;

KCSDKMultipartForm::TextFields fieldsOf(std::string_view text) {
    KCSDKMultipartForm::TextFields fields;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::size_t equals = std::min(line.find('='), line.size());
        fields.emplace(line.substr(0, equals), line.substr(std::min(equals + 1, line.size())));
    }
    return fields;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto fields = fieldsOf({reinterpret_cast<const char*>(bytes), size});
    const KCSDKMultipartForm form;
    const korvel::platform::Data data = form.body(fields);
    const std::string_view body = korvel::platform::viewOf(data);
    const std::string delimiter = "--" + form.boundary + "\r\n";
    require(body.ends_with(delimiter), "the body ends in a delimiter line");
    require(form.body(std::nullopt).empty(), "no fields, no body");
    require(korvel::platform::isValidUTF8(body), "only text goes in");

    std::size_t shortest = delimiter.size();
    for (const auto& [name, value] : fields) {
        shortest += delimiter.size();
        if (!korvel::platform::isValidUTF8(name) || !korvel::platform::isValidUTF8(value)) continue;
        shortest += name.size() + value.size();
        require(body.find(name) != body.npos, "a name goes in as it is");
        require(body.find(value) != body.npos, "a value goes in as it is");
    }
    require(body.size() >= shortest, "every field has its part");
    return 0;
}
