#pragma once

#include <korvel/platform/foundation/Export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

/// An address after RFC 3986, absolute or relative, kept exactly as written. A value; any thread.
///
/// What does not parse: an empty text; blanks, control and non-ASCII characters; any of
/// `" < > \ ^ backtick { | }`; a `%` without two hexadecimal digits; a second `#`. Brackets are
/// accepted in path, query and fragment, and around an IPv6 address.
class KORVEL_API URL {
public:
    /// Nothing if `text` is no address. A relative reference ("foo", "../x?y") is one.
    static std::optional<URL> parse(std::string_view text);

    const std::string& absoluteString() const { return text_; }

    /// Components as written, percent-encoding kept; nothing where the component is absent, which
    /// is not the same as empty ("x?" has an empty query, "x" has none).
    std::optional<std::string> scheme() const;
    std::optional<std::string> host() const;    ///< without the brackets of an IPv6 literal
    std::optional<std::uint16_t> port() const;  ///< nothing if absent, empty or out of range
    std::string path() const;
    std::optional<std::string> query() const;
    std::optional<std::string> fragment() const;

    /// Last segment of the path, percent-decoded, ignoring trailing slashes; "/" for the root, ""
    /// for no path.
    std::string lastPathComponent() const;

    /// `reference` resolved against this address (RFC 3986, 5.2: dot segments removed, query of the
    /// reference kept). Nothing if `reference` is no address or this one has no scheme.
    std::optional<URL> resolving(std::string_view reference) const;

    /// This address with `component` appended to its path after exactly one slash; what a path
    /// cannot hold is percent-encoded, "%" too ("/" stays a separator); query and fragment stay
    /// behind the path.
    URL appendingPathComponent(std::string_view component) const;

    struct QueryItem {
        std::string name;
        std::optional<std::string> value;  ///< nothing without "=", "" with nothing behind it
        bool operator==(const QueryItem&) const = default;
    };
    /// The query split at "&", percent-decoded ("+" stays); empty without a query.
    std::vector<QueryItem> queryItems() const;

    /// The same address under another scheme.
    URL withScheme(std::string_view scheme) const;

    bool operator==(const URL&) const = default;

private:
    explicit URL(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

}  // namespace korvel::platform
