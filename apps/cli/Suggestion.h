#pragma once

#include <string>
#include <vector>

namespace cli {

/// The one of `known` that was probably meant by `typed`: it begins so, or is a slip or two away.
/// Empty if there is none.
std::string suggestion(const std::string& typed, const std::vector<std::string>& known);

}  // namespace cli
