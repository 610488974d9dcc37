#pragma once

#include "platform/base/Export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Texts as people see them, in columns: wide characters take two, combining marks none.
namespace display {

/// The text fit for a terminal or a page: what could move the cursor, turn the order of characters round or
/// cover what is around it is escaped, and so are what is not seen and bytes that are no UTF-8. What is fit
/// already stays as it is.
KP_EXPORT std::string displayed(std::string_view text);

// Of texts that are displayed.

KP_EXPORT std::size_t displayWidth(std::string_view text);

/// A longer text loses its middle, in whose place `mark` stands.
KP_EXPORT std::string shortened(std::string_view text, std::size_t width, std::string_view mark);

/// The lines of a text, broken at blanks, and within words that are wider than a line.
KP_EXPORT std::vector<std::string> wrapped(std::string_view text, std::size_t width);

}  // namespace display
