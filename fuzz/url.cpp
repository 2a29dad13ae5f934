// A base and a reference, on two lines: no crash, and every address that comes out is one.
#include "Require.h"

#include <korvel/platform/foundation/URL.h>

#include <cstddef>

namespace {

using korvel::platform::URL;

void requireAddress(const URL& url) {
    const auto again = URL::parse(url.absoluteString());
    require(again && *again == url, "an address parses as itself");
    const std::size_t length = url.absoluteString().size();
    require(url.scheme().value_or("").size() <= length, "a part is no longer than the whole");
    require(url.host().value_or("").size() <= length, "a part is no longer than the whole");
    require(url.path().size() <= length, "a part is no longer than the whole");
    require(url.query().value_or("").size() <= length, "a part is no longer than the whole");
    require(url.fragment().value_or("").size() <= length, "a part is no longer than the whole");
    require(!url.port() || url.host(), "a port belongs to a host");
    require(url.lastPathComponent().size() <= length, "a part is no longer than the whole");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    const std::size_t line = text.find('\n');
    const std::string_view reference = line == text.npos ? "" : text.substr(line + 1);
    const auto base = URL::parse(text.substr(0, line));
    if (!base) return 0;
    requireAddress(*base);

    const auto resolved = base->resolving(reference);
    require(!resolved || resolved->scheme(), "what is resolved is absolute");
    if (resolved) requireAddress(*resolved);

    const URL appended = base->appendingPathComponent(reference);
    requireAddress(appended);
    require(appended.query() == base->query(), "appending leaves the query alone");
    require(appended.fragment() == base->fragment(), "appending leaves the fragment alone");
    return 0;
}
