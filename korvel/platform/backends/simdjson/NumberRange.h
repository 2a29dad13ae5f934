#pragma once

#include <cstddef>

namespace korvel::platform {

/// The parser refuses a document for one number beyond the range of its types, even in a place that
/// nobody reads, although JSON sets no such limit. This puts "0.5", which no integer accepts, in
/// the place of every such number of the `size` bytes at `text`; what breaks JSON's grammar stays
/// for the parser to find. False: there was none.
bool replaceNumbersOutOfRange(char* text, std::size_t size);

}  // namespace korvel::platform
