#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace korvel {

template <class T> struct RecordOf { using Type = T; };
template <class T> struct RecordOf<std::shared_ptr<T>> : RecordOf<T> {};
template <class T> struct RecordOf<std::vector<T>> : RecordOf<T> {};

/// The record's own name, for diagnostics: "KCSDKConsent" for a list of them, too.
template <class T> std::string recordName() {
    if constexpr (!std::is_same_v<T, typename RecordOf<T>::Type>) {
        return recordName<typename RecordOf<T>::Type>();
    } else {
        std::string_view text =
            __PRETTY_FUNCTION__;  // "... [with T = ...; ...]" or "... [T = ...]"
        text.remove_prefix(text.find("T = ") + 4);
        text = text.substr(0, text.find_first_of(";]"));
        return std::string(text.substr(text.rfind(':') + 1));
    }
}

}  // namespace korvel
