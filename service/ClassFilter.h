#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::service {

/// What of a class can be searched and sorted by. Texts are folded (see `folded`).
struct ClassTraits {
    std::string name;
    std::string text;  ///< everything that a search by words looks at
    std::string category;
    std::string provider;
    std::vector<std::string> languages;   ///< tag and name
    std::vector<std::string> equipments;  ///< names and values
    std::string creationDate;
    std::int64_t intensity = 0;
    std::int64_t skill = 0;
    std::int64_t minutes = 0;
    std::int64_t calories = 0;
};

/// In lower case: ASCII, Latin-1 and the Latin Extended-A letters of our instructors' names.
std::string folded(std::string_view text);

enum class SortKey { name, date, duration, intensity, calories };
struct Order {
    SortKey key = SortKey::name;
    bool descending = false;

    /// Unknown words mean the defaults: by name, ascending.
    static Order named(std::string_view key, std::string_view direction);
    bool before(const ClassTraits& left, const ClassTraits& right) const;
};

/// The criteria of one search. An absent or empty criterion lets every class through.
class ClassFilter {
public:
    /// `criteria` is the request's object; members that are not texts are passed over.
    explicit ClassFilter(const nlohmann::json& criteria);
    bool matches(const ClassTraits& traits) const;
    const Order& order() const { return order_; }

private:
    struct Range {
        std::int64_t least = std::numeric_limits<std::int64_t>::min();
        std::int64_t most = std::numeric_limits<std::int64_t>::max();

        static Range of(std::string_view text);
        bool holds(std::int64_t value) const { return least <= value && value <= most; }
    };

    std::vector<std::string> words_;
    std::string phrase_;
    std::vector<std::string> types_;
    std::vector<std::string> languages_;
    std::vector<std::string> providers_;
    std::vector<std::string> equipments_;
    Range minutes_;
    Range intensity_;
    Range skill_;
    Order order_;
};

}  // namespace korvel::service
