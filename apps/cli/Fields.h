#pragma once

#include "Table.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cli {

/// One thing's properties, a label and a value to a line; long values go on below themselves.
class Fields {
public:
    void add(std::string label, const std::string& value);
    /// An absent value is left out.
    void add(std::string label, const std::optional<std::string>& value);
    std::string text(PageWidth page) const;  ///< ends in a line break

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};

}  // namespace cli
