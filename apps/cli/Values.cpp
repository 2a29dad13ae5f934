#include "Values.h"

#include <unistd.h>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>

namespace cli {

namespace {

/// Nothing unless all of the text is one.
template <class Number> std::optional<Number> numberIn(std::string_view text) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(value) : std::nullopt;
}

bool isRange(std::string_view text) {
    const auto dash = text.find('-');
    const auto least = numberIn<std::uint64_t>(text.substr(0, dash));
    if (dash == std::string_view::npos) return least.has_value();
    const auto most = numberIn<std::uint64_t>(text.substr(dash + 1));
    if (least && most) return *least <= *most;
    return (least && dash + 1 == text.size()) || (most && dash == 0);
}

std::string listed(const std::vector<std::string>& texts, const char* separator) {
    std::string result;
    for (const auto& text : texts) result += (result.empty() ? "" : separator) + text;
    return result;
}

std::string complaintAboutNewFile(const std::filesystem::path& file) {
    std::error_code error;
    const auto folder = file.has_parent_path() ? file.parent_path() : ".";
    if (std::filesystem::is_directory(file, error)) return file.string() + " is a folder";
    if (!std::filesystem::is_directory(folder, error))
        return "there is no folder " + folder.string();
    const bool isThere = std::filesystem::exists(file, error);
    const bool writable = access(isThere ? file.c_str() : folder.c_str(), W_OK) == 0;
    return writable ? "" : file.string() + " cannot be written";
}

}  // namespace

void takesOneOf(CLI::Option* option, const std::vector<std::string>& values) {
    option->type_name(listed(values, "|"))->check([values](const std::string& text) {
        const bool known = std::find(values.begin(), values.end(), text) != values.end();
        return known ? "" : "'" + text + "' is none of " + listed(values, ", ");
    });
}

void takesNumber(CLI::Option* option, std::int64_t least) {
    option->type_name("N")->check([least](const std::string& text) {
        const auto value = numberIn<std::int64_t>(text);
        if (value && *value >= least) return std::string();
        return "'" + text + "' is no whole number from " + std::to_string(least) + " on";
    });
}

void takesSeconds(CLI::Option* option, double least, double most) {
    option->type_name("SECONDS")->check([=](const std::string& text) {
        const auto value = numberIn<double>(text);
        if (value && *value >= least && *value <= most) return std::string();
        char limits[64];
        std::snprintf(limits, sizeof limits, "%g to %g", least, most);
        return "'" + text + "' is no number of seconds from " + limits;
    });
}

void takesRange(CLI::Option* option) {
    option->type_name("RANGE")->check([](const std::string& text) {
        return isRange(text) ? "" : "'" + text + "' is no range such as 20, 10-30, -30 or 30-";
    });
}

void takesName(CLI::Option* option) {
    option->required()->type_name("")->check(
        [](const std::string& text) { return text.empty() ? "must not be empty" : ""; });
}

void takesFile(CLI::Option* option) {
    option->type_name("FILE")->check([](const std::string& text) {
        std::error_code error;
        return std::filesystem::is_regular_file(text, error) ? "" : "there is no file " + text;
    });
}

void takesNewFile(CLI::Option* option) {
    option->type_name("FILE")->check(
        [](const std::string& text) { return complaintAboutNewFile(text); });
}

}  // namespace cli
