#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Texts as a terminal shows them, in columns: wide characters take two, combining marks none.

namespace cli {

/// The text fit for a terminal: what could move the cursor or turn the order of characters round is escaped.
std::string displayed(std::string_view text);

// Of texts that are displayed.

std::size_t displayWidth(std::string_view text);

/// A longer text loses its middle, in whose place `mark` stands.
std::string shortened(std::string_view text, std::size_t width, std::string_view mark);

/// The lines of a text, broken at blanks, and within words that are wider than a line.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

}  // namespace cli
