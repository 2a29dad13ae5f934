#include "Profile.h"

#include "Options.h"
#include "Suggestion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace cli {

namespace {

std::string trimmed(std::string_view text) {
    constexpr const char* blanks = " \t\r";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(blanks) - begin + 1));
}

std::string unquoted(const std::string& text) {
    const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

std::vector<std::string> keysOf(const CLI::App& app) {
    std::vector<std::string> keys;
    for (const auto* option : app.get_options()) {
        if (!option->get_envname().empty()) keys.push_back(option->get_lnames().front());
    }
    return keys;
}

/// Returns what is wrong with the line.
std::string takeLine(CLI::App& app, const std::string& line) {
    const auto equals = line.find('=');
    if (equals == std::string::npos) return "'" + line + "' is no line such as \"user = anna\"";
    const auto key = trimmed(std::string_view(line).substr(0, equals));
    const auto keys = keysOf(app);
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
        const auto meant = suggestion(key, keys);
        return "there is no '" + key + "'" +
               (meant.empty() ? "" : ", did you mean '" + meant + "'?");
    }
    auto* option = app.get_option("--" + key);
    const auto shown = option->get_default_str();
    try {
        option->default_val(unquoted(trimmed(std::string_view(line).substr(equals + 1))));
        option->default_str(shown);  // help is not to show secrets
    } catch (const CLI::Error& error) {
        return error.what();
    }
    return {};
}

}  // namespace

std::string readProfile(CLI::App& app) {
    using std::filesystem::perms;
    const auto file = userFolder("XDG_CONFIG_HOME", ".config") / "korvel" / "config";
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (!file.is_absolute() || !std::filesystem::exists(status)) return {};
    if ((status.permissions() & (perms::group_all | perms::others_all)) != perms::none) {
        return file.string() + " may hold secrets and is open to others: chmod 600 " +
               file.string();
    }
    std::ifstream lines(file);
    if (!lines) return file.string() + " cannot be read";
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        line = trimmed(line);
        if (line.empty() || line.front() == '#') continue;
        const auto complaint = takeLine(app, line);
        if (!complaint.empty())
            return file.string() + ", line " + std::to_string(number) + ": " + complaint;
    }
    return {};
}

}  // namespace cli
