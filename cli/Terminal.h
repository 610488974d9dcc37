#pragma once

#include <cstddef>

#include <unistd.h>

namespace cli {

/// Whether standard error, or what is asked about, is a terminal that can do more than show lines.
bool isOnTerminal(int descriptor = STDERR_FILENO);

/// Whether it is one, and nobody asks for no colours.
bool hasColour(int descriptor = STDERR_FILENO);

/// Columns of the terminal that it is; 80 for what is no terminal or does not tell.
std::size_t terminalWidth(int descriptor);

/// Columns to fill on standard output: as many as COLUMNS states, else those of the terminal.
std::size_t outputWidth();

/// Whether the locale says that texts are UTF-8.
bool isUtf8Locale();

}  // namespace cli
