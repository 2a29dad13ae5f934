#include <korvel/platform/foundation/JSONEncoder.h>

#include <korvel/platform/foundation/UTF8.h>

#include <array>
#include <charconv>

namespace korvel::platform {
namespace {

void append(Data& out, std::string_view text) { out.insert(out.end(), text.begin(), text.end()); }

/// What follows the backslash, or 0 for characters that stand for themselves; 'u' wants four
/// digits.
constexpr std::array<char, 256> escapes = [] {
    std::array<char, 256> table{};
    for (std::size_t control = 0; control < 0x20; ++control) table[control] = 'u';
    table['\b'] = 'b';
    table['\f'] = 'f';
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    table['/'] = '/';
    return table;
}();

void appendQuoted(Data& out, std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    out.push_back('"');
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const char escape = escapes[byte];
        if (escape) {
            out.push_back('\\');
            out.push_back(static_cast<unsigned char>(escape));
        } else {
            out.push_back(byte);
        }
        if (escape == 'u') {
            append(out, "00");
            append(out, digits.substr(byte >> 4, 1));
            append(out, digits.substr(byte & 15, 1));
        }
    }
    out.push_back('"');
}

}  // namespace

JSONEncoder::~JSONEncoder() = default;

std::optional<Data> JSONEncoder::write(JSONCoding::Writer writer, const void* value,
                                       std::string&) const {
    Data body;
    writer(body, value);
    return body;
}

bool JSONCoding::write(Data& out, const std::string& text) {
    if (isValidUTF8(text)) {
        appendQuoted(out, text);
    } else {
        appendQuoted(out, repairedUTF8(text));
    }
    return true;
}

bool JSONCoding::write(Data& out, std::int64_t number) {
    std::array<char, 24> text{};
    const auto end = std::to_chars(text.begin(), text.end(), number).ptr;
    append(out, {text.begin(), end});
    return true;
}

bool JSONCoding::write(Data& out, bool flag) {
    append(out, flag ? "true" : "false");
    return true;
}

bool JSONCoding::writeNull(Data& out) {
    append(out, "null");
    return true;
}

bool JSONCoding::writeList(Data& out, const ListTable& table, const void* list) {
    const void* first = nullptr;
    const std::size_t count = table.count(list, &first);
    const auto* element = static_cast<const std::byte*>(first);
    out.push_back('[');
    for (std::size_t index = 0; index < count; ++index, element += table.stride) {
        if (index != 0) out.push_back(',');
        table.write(out, element);
    }
    out.push_back(']');
    return true;
}

bool JSONCoding::writeRecord(Data& out, const RecordTable& table, const void* record) {
    out.push_back('{');
    bool first = true;
    for (const Member& member : table.members) {
        const std::size_t before = out.size();
        if (!first) out.push_back(',');
        appendQuoted(out, member.name);
        out.push_back(':');
        if (member.write(out, record)) {
            first = false;
        } else {
            out.resize(before);
        }
    }
    out.push_back('}');
    return true;
}

}  // namespace korvel::platform
