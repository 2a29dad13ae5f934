#include "Suggestion.h"

#include <algorithm>
#include <numeric>

namespace cli {

namespace {

/// How many letters are missing, too many, wrong, or swapped with their neighbour.
std::size_t slips(const std::string& from, const std::string& to) {
    std::vector<std::size_t> beforeLast;
    std::vector<std::size_t> last(to.size() + 1);
    std::iota(last.begin(), last.end(), 0U);
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::vector<std::size_t> row{i};
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t wrong = from[i - 1] == to[j - 1] ? 0 : 1;
            row.push_back(std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + wrong}));
            const bool swapped =
                i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::move(last);
        last = std::move(row);
    }
    return last.back();
}

}  // namespace

std::string suggestion(const std::string& typed, const std::vector<std::string>& known) {
    std::string result;
    auto most = 1 + typed.size() / 4;  // of a short word anything is a slip away
    for (const auto& word : known) {
        const bool begins = word.starts_with(typed);
        const auto distance = begins ? 0 : slips(typed, word);
        if (distance > most || (distance == most && !result.empty())) continue;
        result = word;
        most = distance;
    }
    return result;
}

}  // namespace cli
