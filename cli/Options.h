#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <CLI/App.hpp>

// What the value of an option is. Help shows it, and shells complete it: FILE, DIR, words such as
// "repo|kernel".

namespace cli {

/// Whether only errors are wanted, which is an option of the whole.
bool isQuiet(const CLI::App& command);

/// How many threads may take part, which is an option of the whole; the usable cores unless given.
std::size_t jobs(const CLI::App& command);

/// Whether it is no flag.
bool takesValue(const CLI::Option& option);

/// The name of what is written, which must not be empty.
CLI::Option* takesOutput(CLI::Option* option, const std::string& type);
/// One that must be there.
CLI::Option* takesDirectory(CLI::Option* option);
CLI::Option* takesFile(CLI::Option* option);
CLI::Option* takesOneOf(CLI::Option* option, const std::vector<std::string>& words);

}  // namespace cli
