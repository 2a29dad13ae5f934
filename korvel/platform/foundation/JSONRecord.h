#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

namespace korvel::platform {

class JSONCoding;

/// Only the decoder can make one, and so only the decoder can make the records that ask for it.
class DecodingKey {
    friend JSONCoding;
    explicit DecodingKey() = default;
};

template <std::size_t Size> struct FixedText {
    std::array<char, Size> characters{};

    // NOLINTNEXTLINE(google-explicit-constructor): a literal stands for itself in a template
    // argument
    consteval FixedText(const char (&literal)[Size]) {
        std::copy_n(literal, Size, characters.begin());
    }
};

template <FixedText Name, auto Pointer> struct NamedMember {
    static constexpr auto pointer = Pointer;
    static constexpr std::string_view name{Name.characters.data(), Name.characters.size() - 1};
};

/// For a member whose key differs from its name: `named<"UserId", &KCSDKUser::userId>`.
template <FixedText Name, auto Pointer> inline constexpr NamedMember<Name, Pointer> named{};

/// "durationSecond" for `&KCSDKOndemandClass::durationSecond`; both compilers print a member
/// pointer's name.
template <auto Pointer> consteval std::string_view memberName() {
    std::string_view text = __PRETTY_FUNCTION__;  // "... Pointer = &Class::name; ..." or "...]"
    text.remove_prefix(text.find("Pointer = "));
    text = text.substr(0, text.find_first_of(";]"));
    while (text.ends_with(')')) text.remove_suffix(1);
    return text.substr(text.rfind(':') + 1);
}

template <auto Entry> consteval auto entryPointer() {
    if constexpr (std::is_member_object_pointer_v<decltype(Entry)>) {
        return Entry;
    } else {
        return Entry.pointer;
    }
}

template <auto Entry> consteval std::string_view entryName() {
    if constexpr (std::is_member_object_pointer_v<decltype(Entry)>) {
        return memberName<Entry>();
    } else {
        return Entry.name;
    }
}

/// One entry of `Members`: a pointer to a member, or `named`.
template <auto Entry> struct MemberEntry {
    static constexpr auto pointer = entryPointer<Entry>();
    static constexpr std::string_view name = entryName<Entry>();
};

template <class> inline constexpr bool isOptionalMember = false;
template <class T> inline constexpr bool isOptionalMember<std::optional<T>> = true;

/// A record declares its members once, in the order in which they are written:
///
///     friend platform::JSONCoding;
///     using JSON = platform::Members<&MinMaxType::min, &MinMaxType::max>;
///
/// Keys are the members' own names, unless `named` gives another. A `std::optional` member may be
/// absent or null; every other one is required. Members are `std::string`, `std::int64_t`, `bool`,
/// records, records in a `std::shared_ptr`, and `std::vector` of these; 64 at most.
template <auto... Entries> struct Members {
    static_assert(sizeof...(Entries) <= 64, "the decoder keeps a bit for each member");
};

}  // namespace korvel::platform
