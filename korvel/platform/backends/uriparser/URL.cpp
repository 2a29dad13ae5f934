#include <korvel/platform/foundation/URL.h>

#include <uriparser/Uri.h>

#include <algorithm>
#include <charconv>

namespace korvel::platform {

namespace {

/// Where "//host" begins, or the path if there is none. Holds for texts that are no address, too.
std::size_t authorityBegin(std::string_view text) {
    const auto end = text.find_first_of(":/?#[]");
    return end < text.size() && text[end] == ':' ? end + 1 : 0;
}

std::size_t pathBegin(std::string_view text) {
    const auto begin = authorityBegin(text);
    if (!text.substr(begin).starts_with("//")) return begin;
    return std::min(text.find_first_of("/?#", begin + 2), text.size());
}

std::size_t pathEnd(std::string_view text) {
    return std::min(text.find_first_of("?#"), text.size());
}

std::string_view authority(std::string_view text) {
    return text.substr(authorityBegin(text), pathBegin(text) - authorityBegin(text));
}

/// The grammar's view of a text. Brackets stand outside an IPv6 literal in addresses that are in
/// use although the grammar refuses them; they are hidden behind "!" while it is asked. As that
/// changes no length, the parser's ranges hold for the text as written, which is put back
/// afterwards.
class Parsed {
public:
    explicit Parsed(std::string_view text) : text_(text) {
        if (text.empty()) return;
        valid_ = parse();
        if (valid_ || text.find_first_of("[]") == std::string_view::npos) return;
        for (auto at = pathBegin(text); at < text_.size(); ++at) {
            if (text_[at] == '[' || text_[at] == ']') text_[at] = '!';
        }
        valid_ = parse();
        text.copy(text_.data(), text_.size());
    }
    Parsed(const Parsed&) = delete;
    Parsed& operator=(const Parsed&) = delete;
    ~Parsed() {
        if (valid_) uriFreeUriMembersA(&uri_);
    }

    bool valid() const { return valid_; }
    const UriUriA& uri() const { return uri_; }

private:
    bool parse() {
        return uriParseSingleUriExA(&uri_, text_.data(), text_.data() + text_.size(), nullptr) ==
               URI_SUCCESS;
    }

    std::string text_;
    UriUriA uri_{};
    bool valid_ = false;
};

std::optional<std::string> textOf(const UriTextRangeA& range) {
    if (!range.first) return std::nullopt;
    return std::string(range.first, range.afterLast);
}

std::string decoded(std::string text) {
    text.resize(static_cast<std::size_t>(uriUnescapeInPlaceA(text.data()) - text.data()));
    return text;
}

std::string encodedPath(std::string_view text) {
    constexpr std::string_view kept =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$&'()*+,;=:@/";
    std::string encoded;
    for (const char character : text) {
        if (kept.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += {'%', "0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
        }
    }
    return encoded;
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
    if (!Parsed(text).valid()) return std::nullopt;
    return URL(std::string(text));
}

std::optional<std::string> URL::scheme() const { return textOf(Parsed(text_).uri().scheme); }

std::optional<std::string> URL::host() const { return textOf(Parsed(text_).uri().hostText); }

std::optional<std::uint16_t> URL::port() const {
    const auto digits = textOf(Parsed(text_).uri().portText);
    if (!digits) return std::nullopt;
    std::uint16_t port = 0;
    const auto end = digits->data() + digits->size();
    const auto [last, error] = std::from_chars(digits->data(), end, port);
    return error == std::errc() && last == end ? std::optional(port) : std::nullopt;
}

std::string URL::path() const {
    const auto begin = pathBegin(text_);
    return text_.substr(begin, pathEnd(text_) - begin);
}

std::optional<std::string> URL::query() const {
    const auto begin = pathEnd(text_);
    if (begin == text_.size() || text_[begin] != '?') return std::nullopt;
    return text_.substr(begin + 1, text_.find('#', begin) - begin - 1);
}

std::optional<std::string> URL::fragment() const {
    const auto begin = text_.find('#');
    if (begin == std::string::npos) return std::nullopt;
    return text_.substr(begin + 1);
}

std::string URL::lastPathComponent() const {
    const std::string path = this->path();
    const auto last = path.find_last_not_of('/');
    if (last == std::string::npos) return path.substr(0, 1);
    const auto slash = path.find_last_of('/', last);
    const auto first = slash == std::string::npos ? 0 : slash + 1;
    return decoded(path.substr(first, last + 1 - first));
}

std::optional<URL> URL::resolving(std::string_view reference) const {
    const Parsed base(text_);
    const Parsed relative(reference);
    if (!base.valid() || !relative.valid()) return std::nullopt;
    UriUriA target{};
    std::optional<URL> resolved;
    if (uriAddBaseUriA(&target, &relative.uri(), &base.uri()) == URI_SUCCESS) {
        int length = 0;
        if (uriToStringCharsRequiredA(&target, &length) == URI_SUCCESS) {
            std::string text(static_cast<std::size_t>(length) + 1, '\0');
            if (uriToStringA(text.data(), &target, length + 1, nullptr) == URI_SUCCESS) {
                text.pop_back();
                const bool own = relative.uri().scheme.first || relative.uri().hostText.first;
                const auto written = authority(own ? reference : std::string_view(text_));
                const auto begin = authorityBegin(text);
                if (!written.empty()) {
                    // An IPv6 address comes out in its longest form; it is put back as written.
                    text.replace(begin, authority(text).size(), written);
                } else if (std::string_view(text).substr(begin).starts_with("//")) {
                    text.insert(begin, "/.");  // a path that would be taken for a host
                }
                resolved = URL(std::move(text));
            }
        }
    }
    uriFreeUriMembersA(&target);
    return resolved;
}

URL URL::appendingPathComponent(std::string_view component) const {
    component.remove_prefix(std::min(component.find_first_not_of('/'), component.size()));
    const auto end = pathEnd(text_);
    std::string text = text_.substr(0, end);
    while (text.size() > pathBegin(text_) && text.back() == '/') text.pop_back();
    return URL(text + "/" + encodedPath(component) + text_.substr(end));
}

std::vector<URL::QueryItem> URL::queryItems() const {
    std::vector<QueryItem> items;
    const auto text = query();
    for (std::size_t begin = 0; text && begin <= text->size();) {
        const auto end = std::min(text->find('&', begin), text->size());
        const auto item = text->substr(begin, end - begin);
        const auto equals = item.find('=');
        items.push_back({decoded(item.substr(0, equals)), std::nullopt});
        if (equals != std::string::npos) items.back().value = decoded(item.substr(equals + 1));
        begin = end + 1;
    }
    return items;
}

URL URL::withScheme(std::string_view scheme) const {
    return URL(std::string(scheme) + ":" + text_.substr(authorityBegin(text_)));
}

}  // namespace korvel::platform
