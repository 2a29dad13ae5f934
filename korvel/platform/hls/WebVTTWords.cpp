#include <korvel/platform/hls/WebVTT.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

// Of a WebVTT file: what a cue says.

namespace korvel::platform::hls {

namespace {

using Run = AVSubtitleCue::Run;

/// More than a screen holds.
constexpr std::size_t mostText = 4096;
constexpr std::size_t mostRuns = 16;
constexpr std::size_t longestEntity = 10;

std::string encoded(std::uint32_t code) {
    const auto tail = [code](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80) return {static_cast<char>(code)};
    if (code < 0x800) return {static_cast<char>(0xC0U | (code >> 6U)), tail(0)};
    if (code < 0x10000) return {static_cast<char>(0xE0U | (code >> 12U)), tail(6), tail(0)};
    return {static_cast<char>(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)};
}

/// "amp" or "#x26"; nothing for what stands for no character.
std::optional<std::string> character(std::string_view entity) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 8> names{
        {{"amp", "&"},
         {"lt", "<"},
         {"gt", ">"},
         {"quot", "\""},
         {"apos", "'"},
         {"nbsp", "\xC2\xA0"},
         {"lrm", "\xE2\x80\x8E"},
         {"rlm", "\xE2\x80\x8F"}}};
    for (const auto& [name, text] : names) {
        if (entity == name) return std::string(text);
    }
    if (!entity.starts_with('#')) return std::nullopt;
    entity.remove_prefix(1);
    const bool isHexadecimal = entity.starts_with('x') || entity.starts_with('X');
    if (isHexadecimal) entity.remove_prefix(1);
    std::uint32_t code = 0;
    const auto* const end = entity.data() + entity.size();
    const auto [last, error] = std::from_chars(entity.data(), end, code, isHexadecimal ? 16 : 10);
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    if (error != std::errc() || last != end || code < 0x20 || code > 0x10FFFF || isSurrogate)
        return std::nullopt;
    return encoded(code);
}

class Words {
public:
    void read(std::string_view text) {
        while (!text.empty()) {
            const char first = text.front();
            std::size_t length = 1;
            if (first == '<') {
                length = std::min(text.find('>'), text.size() - 1) + 1;
                tag(text.substr(1, length - 1));
            } else if (first == '&') {
                length = entity(text);
            } else {
                length = std::min(text.find_first_of("<&"), text.size());
                append(text.substr(0, length));
            }
            text.remove_prefix(length);
        }
    }

    std::vector<Run> result() && {
        while (!runs_.empty()) {
            auto& text = runs_.back().text;
            text.erase(text.find_last_not_of(" \t\n") + 1);
            if (!text.empty()) break;
            runs_.pop_back();
        }
        return std::move(runs_);
    }

private:
    void tag(std::string_view tag) {
        const bool isEnd = tag.starts_with('/');
        if (isEnd) tag.remove_prefix(1);
        const auto name = tag.substr(0, tag.find_first_of(". \t\n>"));
        const auto kind = std::string_view("biu").find(name);
        if (name.size() != 1 || kind == name.npos) return;
        auto& depth = depths_.at(kind);
        if (!isEnd) {
            ++depth;
        } else if (depth > 0) {
            --depth;
        }
    }

    std::size_t entity(std::string_view text) {
        const auto end = text.substr(0, longestEntity).find(';');
        const auto found = end == text.npos ? std::nullopt : character(text.substr(1, end - 1));
        append(found ? std::string_view(*found) : text.substr(0, 1));
        return found ? end + 1 : 1;
    }

    void append(std::string_view text) {
        for (const char each : text) {
            const auto byte = static_cast<unsigned char>(each);
            const bool isBlank = each == ' ' || each == '\t' || each == '\n';
            if ((byte < 0x20 && !isBlank) || (size_ == 0 && isBlank)) continue;
            const bool isWhole = (byte & 0xC0U) != 0x80U;
            if (isFull_ || (isWhole && size_ >= mostText)) {
                isFull_ = true;
                return;
            }
            run().text += each;
            ++size_;
        }
    }

    /// The one that goes on here.
    Run& run() {
        const auto [bold, italic, underlined] = depths_;
        const bool isSame = !runs_.empty() && runs_.back().isBold == (bold > 0) &&
                            runs_.back().isItalic == (italic > 0) &&
                            runs_.back().isUnderlined == (underlined > 0);
        if (!isSame && runs_.size() < mostRuns)
            runs_.push_back({{}, bold > 0, italic > 0, underlined > 0});
        return runs_.back();
    }

    std::vector<Run> runs_;
    std::array<unsigned, 3> depths_{};  ///< of bold, italic, underlined
    std::size_t size_ = 0;
    bool isFull_ = false;
};

}  // namespace

std::vector<Run> wordsIn(std::string_view text) {
    Words words;
    words.read(text);
    return std::move(words).result();
}

}  // namespace korvel::platform::hls
