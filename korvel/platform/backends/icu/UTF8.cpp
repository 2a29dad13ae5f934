#include <korvel/platform/foundation/UTF8.h>

#include <unicode/normalizer2.h>
#include <unicode/schriter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>
#include <cstdint>
#include <cstring>

namespace korvel::platform {

namespace {

/// Reads the sequence at `at` and moves past it: below zero, and past its longest well-formed
/// beginning, if it is ill-formed.
UChar32 nextCharacter(std::string_view text, std::size_t& at) {
    UChar32 character = 0;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"  // inside ICU's macro
    U8_NEXT(text.data(), at, text.size(), character);
#pragma GCC diagnostic pop
    return character;
}

/// Index of the first ill-formed sequence at or after `begin`, the length if there is none.
std::size_t endOfWellFormed(std::string_view text, std::size_t begin) {
    std::size_t at = begin;
    while (at < text.size()) {
        std::uint64_t word = 0;
        if (text.size() - at >= sizeof word) {
            std::memcpy(&word, text.data() + at, sizeof word);
            if ((word & 0x8080808080808080u) == 0) {  // eight characters of ASCII
                at += sizeof word;
                continue;
            }
        }
        const std::size_t start = at;
        if (nextCharacter(text, at) < 0) return start;
    }
    return at;
}

}  // namespace

bool isValidUTF8(std::string_view text) { return endOfWellFormed(text, 0) == text.size(); }

std::string repairedUTF8(std::string text) {
    std::size_t bad = endOfWellFormed(text, 0);
    if (bad == text.size()) return text;

    std::string repaired;
    repaired.reserve(text.size() + 16);
    for (std::size_t at = 0; true;) {
        repaired.append(text, at, bad - at);
        if (bad == text.size()) return repaired;
        at = bad;
        nextCharacter(text, at);
        repaired += "\uFFFD";
        bad = endOfWellFormed(text, at);
    }
}

std::string lossyASCII(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* decomposition = icu::Normalizer2::getNFDInstance(status);
    auto characters = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    if (U_SUCCESS(status)) characters = decomposition->normalize(characters, status);

    std::string ascii;
    for (icu::StringCharacterIterator at(characters); at.hasNext();) {
        const auto character = at.next32PostInc();
        if (character < 0x80) {
            ascii += static_cast<char>(character);
        } else if (u_charType(character) != U_NON_SPACING_MARK) {
            ascii += '?';
        }
    }
    return ascii;
}

}  // namespace korvel::platform
