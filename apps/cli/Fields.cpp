#include "Fields.h"

#include "Text.h"

#include <algorithm>

namespace cli {

namespace {
constexpr std::size_t widestProse = 100;  // longer lines are hard to read
constexpr std::size_t narrowestProse = 16;
}  // namespace

void Fields::add(std::string label, const std::string& value) {
    fields_.emplace_back(std::move(label), printable(value));
}

void Fields::add(std::string label, const std::optional<std::string>& value) {
    if (value) add(std::move(label), *value);
}

std::string Fields::text(PageWidth page) const {
    std::size_t indent = 0;
    for (const auto& [label, value] : fields_) indent = std::max(indent, columns(label) + 2);
    const auto line = std::min(page.value_or(widestProse), widestProse);
    const auto width = std::max(line > indent ? line - indent : 0, narrowestProse);

    std::string result;
    for (const auto& [label, value] : fields_) {
        std::string before = label + std::string(indent - columns(label), ' ');
        for (const auto& part : wrapped(value, width)) {
            result += before + part + '\n';
            before.assign(indent, ' ');
        }
    }
    return result;
}

}  // namespace cli
