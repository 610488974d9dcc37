#pragma once

#include <string>
#include <string_view>

namespace cli {

/// Text as roff shows it: nothing in it is a request or an escape.
std::string roffText(std::string_view text);

/// Markdown in the macros of man pages: paragraphs, lists of one level, indented blocks, and tables of two
/// columns, whose first becomes the terms of a list. Links become their words.
std::string roffFromMarkdown(const std::string& markdown);

}  // namespace cli
