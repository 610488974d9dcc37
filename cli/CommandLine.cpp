#include "cli/CommandLine.h"

#include "cli/NameCompletion.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Suggestion.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <span>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace cli {
namespace {

/// Help shows of an option's value what to give for it, and what it is unless given.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() { column_width(32); }

    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_positional() || !takesValue(*option)) return {};
        const std::string& usual = option->get_default_str();
        return " " + option->get_type_name() + (usual.empty() ? "" : " [" + usual + "]");
    }
};

std::string footer(const std::vector<std::string>& examples, bool checks) {
    std::string text = examples.size() == 1 ? "Example:\n" : "Examples:\n";
    for (const std::string& example : examples)
        text += "  " + example + "\n";
    text += "\nExit status:\n";
    for (const ExitMeaning& meaning : exitMeanings(checks)) {
        std::string status = meaning.status;
        status.resize(5, ' ');
        text += "  " + status + meaning.text + "\n";
    }
    text.pop_back();
    return text;
}

/// Examples of the commands whose names begin with these words.
std::vector<std::string> examplesOf(const std::string& words) {
    std::vector<std::string> examples;
    for (const Command& command : commands())
        if (std::string_view(command.name).starts_with(words)) examples.emplace_back(command.example);
    return examples;
}

/// Prints what parsing ended with, be it help, the version or a complaint.
ExitStatus answer(const CLI::App& app, const CLI::ParseError& ended) {
    const bool isAnswer = ended.get_exit_code() == 0;  // help, or the version
    const std::string unknown = isAnswer ? unknownSubcommand(app) : unknownWord(app);
    if (isAnswer && unknown.empty()) {
        app.exit(ended);
        return Done;
    }
    if (unknown.empty() && lacksSubcommand(app)) {
        std::cerr << app.help();
    } else {
        complain("error", unknown.empty() ? ended.what() : unknown);
    }
    return WrongUsage;
}

}  // namespace

CommandLine::CommandLine() : CommandLine([](std::string_view) { return true; }) {}

CommandLine::CommandLine(std::span<const char* const> words)
    : CommandLine([&](std::string_view word) { return std::ranges::find(words, word) != words.end(); }) {}

CommandLine::CommandLine(const std::function<bool(std::string_view word)>& isMeant)
    : app_("Packages of compute kernels for FPGA platforms", "kp") {
    app_.set_version_flag("--version", std::string("kp ") + KP_VERSION);
    app_.set_help_flag("-h,--help", "Print this help and exit");
    app_.get_option("--version")->description("Print the version and exit");
    app_.require_subcommand(1)->fallthrough();
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.add_flag("-q,--quiet", isQuiet_, "Only errors on standard error");
    app_.add_option("-j,--jobs", "Cores to use, at most 1024; all that the process may use unless given")
        ->type_name("N")
        ->take_last()
        ->check(CLI::Range(1, 1024).description(""));
    app_.footer(footer(examplesOf(""), true));

    for (const Command& command : commands()) {
        CLI::App& parser = addParser(command);
        const std::string_view name = command.name;
        if (!isMeant(name.substr(0, name.find(' ')))) continue;
        parser.footer(footer({command.example}, command.checks));
        parser.final_callback([this, run = command.declare(parser)] { chosen_ = run; });
        subcommands_.push_back({command, parser});
    }
}

/// One of two words, such as "kernel show", goes below a group.
CLI::App& CommandLine::addParser(const Command& command) {
    const std::string name = command.name;
    const auto blank = name.find(' ');
    if (blank == std::string::npos) return *app_.add_subcommand(name, command.summary);
    return *group(name.substr(0, blank)).add_subcommand(name.substr(blank + 1), command.summary);
}

CLI::App& CommandLine::group(const std::string& name) {
    CLI::App*& group = groups_[name];
    if (group == nullptr) {
        group = app_.add_subcommand(name, "Show and change a kernel description");
        group->require_subcommand(1)->fallthrough();
        group->footer(footer(examplesOf(name + " "), false));
    }
    return *group;
}

bool CommandLine::isOptionWithValue(const std::string& name) const {
    return std::any_of(subcommands_.begin(), subcommands_.end(), [&](const Subcommand& subcommand) {
        const CLI::Option* option = subcommand.parser.get_option_no_throw(name);
        return option != nullptr && takesValue(*option);
    });
}

/// The arguments as the parser takes them, the last one first. It would take what follows "--option=" for the
/// value, so that an empty value becomes an argument of its own.
std::vector<std::string> CommandLine::argumentsFor(int argc, const char* const* argv) const {
    std::vector<std::string> arguments;
    bool areOptionsOver = false;
    for (std::string argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        areOptionsOver = areOptionsOver || argument == "--";
        const bool mayBeEmpty = !areOptionsOver && argument.starts_with("--") && argument.ends_with('=');
        if (mayBeEmpty && isOptionWithValue(argument.substr(0, argument.size() - 1))) {
            argument.pop_back();
            arguments.insert(arguments.end(), {argument, ""});
        } else {
            arguments.push_back(argument);
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

std::variant<Run, ExitStatus> CommandLine::parse(int argc, const char* const* argv) {
    if (argc > 1 && argv[1] == std::string_view(completionWord))
        return [this, words = std::vector<std::string>(argv + 2, argv + argc)] {
            return completeName(app_, words);
        };
    try {
        app_.parse(argumentsFor(argc, argv));
        return chosen_;
    } catch (const CLI::ParseError& ended) {
        return answer(app_, ended);
    }
}

}  // namespace cli
