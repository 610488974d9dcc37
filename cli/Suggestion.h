#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace cli {

// Complaints about arguments that `app` has just refused, each with what was likely meant. Empty when the
// arguments were refused for something else.

/// About a word that stands where a subcommand should and is none.
std::string unknownSubcommand(const CLI::App& app);

/// About a word that should be a subcommand of the last of these parsers, each a subcommand of the one
/// before.
std::string unknownSubcommand(const std::vector<const CLI::App*>& parsers, const std::string& word);

/// Whether one is missing at the end.
bool lacksSubcommand(const CLI::App& app);

/// About such a word, or an option that is none, whichever comes first.
std::string unknownWord(const CLI::App& app);

}  // namespace cli
