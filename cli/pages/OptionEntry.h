#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace cli {

/// One option of a parser, as pages show it and shells complete it.
struct OptionEntry {
    std::vector<std::string> names;  ///< with their dashes, short ones first
    std::string value;               ///< what it takes, such as "FILE" or "repo|kernel"; empty for a flag
    std::string help;
    bool isRepeatable = false;

    /// The words that the value is one of; none when it can be anything.
    std::vector<std::string> words() const;
};

/// Of the parser alone, in the order of help; positionals have their own entries there.
std::vector<OptionEntry> optionsOf(const CLI::App& parser);
std::vector<OptionEntry> positionalsOf(const CLI::App& parser);

}  // namespace cli
