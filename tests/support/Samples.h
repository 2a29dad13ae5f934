#pragma once

#include <korvel/platform/foundation/JSONDecoder.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace korvel::tests {

/// A class with every required member and, of the optional ones, what `more` adds
/// (`,"provider":"P"`).
inline std::string classJSON(const std::string& tag, const std::string& more = "") {
    return R"({"tag":")" + tag + R"(","className":"Name )" + tag +
           R"(","classDescription":"","intensity":1,"skill":2,"durationSecond":1800,)"
           R"("durationMinutes":"30","equipmentTypes":false,"creationDate":"",)"
           R"("lastModifiedDate":"","favourite":false)" +
           more + "}";
}

inline std::string pageJSON(const std::string& items) {
    return R"({"totalItems":7,"itemsRemaining":5,"items":[)" + items + "]}";
}

inline std::string consentJSON(const std::string& tag) {
    return R"({"policy":"p","consentTag":")" + tag +
           R"(","actionable":true,"urls":[{"linkText":"t","linkUrl":"u"}],"policyHtml":"<p>",)"
           R"("title":"T","version":3,"publishedDate":"","isMandatory":true})";
}

/// The record in `json`, which must hold one.
template <class Record> std::shared_ptr<Record> decoded(const std::string& json) {
    auto record = platform::decodeJSON<std::shared_ptr<Record>>(platform::bytesOf(json));
    if (!record) throw std::logic_error("not such a record: " + json);
    return *record;
}

}  // namespace korvel::tests
