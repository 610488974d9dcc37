#pragma once

#include "cli/Command.h"

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <CLI/App.hpp>

namespace cli {

/// The parser of the whole command line: one below it for each subcommand, and one for each group such as
/// "kernel". It describes itself, to --help and to whatever else is made of it.
class CommandLine {
public:
    CommandLine();
    /// For these words alone: subcommands that none of them names have no options.
    explicit CommandLine(std::span<const char* const> words);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    /// What to run; or, after help was printed or wrong usage told, the status to end with.
    std::variant<Run, ExitStatus> parse(int argc, const char* const* argv);
    bool isQuiet() const { return isQuiet_; }

    struct Subcommand {
        const Command& command;
        const CLI::App& parser;
    };

    const CLI::App& parser() const { return app_; }
    const std::vector<Subcommand>& subcommands() const { return subcommands_; }

private:
    explicit CommandLine(const std::function<bool(std::string_view word)>& isMeant);

    CLI::App& addParser(const Command& command);
    CLI::App& group(const std::string& name);
    bool isOptionWithValue(const std::string& name) const;
    std::vector<std::string> argumentsFor(int argc, const char* const* argv) const;

    CLI::App app_;
    std::map<std::string, CLI::App*> groups_;
    std::vector<Subcommand> subcommands_;
    bool isQuiet_ = false;
    Run chosen_;
};

}  // namespace cli
