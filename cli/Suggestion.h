#pragma once

#include <string>

#include <CLI/App.hpp>

namespace cli {

/// After `app` refused its arguments: the complaint about a word that stands where a subcommand should and is
/// none, with the subcommand that was likely meant. Empty when the arguments were refused for something else.
std::string unknownSubcommand(const CLI::App& app);

}  // namespace cli
