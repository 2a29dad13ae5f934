#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace korvel {

/// Which page of the catalogue. Pages count from 1; absent `sort` is "alpha", absent `order` "asc".
struct ClassesPage {
    std::int64_t page = 1;
    std::int64_t size = 20;
    std::optional<std::string> sort = {};
    std::optional<std::string> order = {};
};

}  // namespace korvel
