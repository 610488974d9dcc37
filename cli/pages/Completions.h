#pragma once

#include <string>

#include <CLI/App.hpp>

namespace cli {

// Completion scripts for a parser and all below it: subcommands, options, the words of those that take one of
// some, directories for those that take one, and else file names.

std::string bashCompletion(const CLI::App& app);
std::string zshCompletion(const CLI::App& app);
std::string fishCompletion(const CLI::App& app);

}  // namespace cli
