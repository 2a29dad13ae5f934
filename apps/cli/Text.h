#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// `text` as a terminal may show it: what is not UTF-8 as U+FFFD; line breaks, escape sequences'
/// first bytes and reversals of the writing direction as blanks, so that a service's text cannot
/// take over the user's screen.
std::string printable(std::string_view text);

/// How many columns of a terminal printable text takes, as the system's character table has it: two
/// for a Chinese character or an emoji, none for an accent put upon the letter before.
std::size_t columns(std::string_view text);

/// Printable text cut to at most `width` columns, "…" at the end if something was cut off.
std::string fitted(std::string_view text, std::size_t width);

/// Printable text broken into lines of at most `width` columns, at blanks where there are any.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// "1 h 2 min 3 s", without what is 0.
std::string lengthOf(std::int64_t seconds);

/// "1:02:03", or "2:03".
std::string clockTime(double seconds);

}  // namespace cli
