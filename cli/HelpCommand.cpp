#include "cli/Command.h"
#include "cli/Output.h"
#include "cli/Suggestion.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/FormatterFwd.hpp>

namespace cli {
namespace {

/// Prints what "kp kernel show --help" would for the words "kernel" and "show".
ExitStatus help(const CLI::App& whole, const std::vector<std::string>& words) {
    std::vector<const CLI::App*> parsers{&whole};
    std::string name = whole.get_name();
    for (const std::string& word : words) {
        const auto found =
            parsers.back()->get_subcommands([&](const CLI::App* one) { return one->get_name() == word; });
        if (found.empty()) {
            complain("error", unknownSubcommand(parsers, word));
            return WrongUsage;
        }
        parsers.push_back(found.front());
        name += " " + word;
    }
    std::cout << parsers.back()->get_formatter()->make_help(parsers.back(), name, CLI::AppFormatMode::Normal);
    return Done;
}

}  // namespace

Run declareHelp(CLI::App& app) {
    auto words = std::make_shared<std::vector<std::string>>();
    app.add_option("SUBCOMMAND", *words, "The subcommand; all of them unless given")->type_name("NAME");
    return [words, whole = app.get_parent()] { return help(*whole, *words); };
}

}  // namespace cli
