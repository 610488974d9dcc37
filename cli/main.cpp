// The command kp.

#include "cli/Command.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"
#include "cli/Suggestion.h"

#include <exception>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace {

/// Makes the parser of a subcommand. One of two words, such as "kernel show", goes below a group.
class ParserTree {
public:
    explicit ParserTree(CLI::App& app) : app_(app) {}

    CLI::App& add(const cli::Command& command) {
        const std::string name = command.name;
        const auto blank = name.find(' ');
        if (blank == std::string::npos) return *app_.add_subcommand(name, command.summary);
        return *group(name.substr(0, blank)).add_subcommand(name.substr(blank + 1), command.summary);
    }

private:
    CLI::App& group(const std::string& name) {
        CLI::App*& group = groups_[name];
        if (group == nullptr) {
            group = app_.add_subcommand(name, "Show and change a kernel description");
            group->require_subcommand(1)->fallthrough();
        }
        return *group;
    }

    CLI::App& app_;
    std::map<std::string, CLI::App*> groups_;
};

/// Runs the subcommand; an answer that could not be written is a failure as well.
int runGuarded(const cli::Run& run) {
    try {
        const cli::ExitStatus status = run();
        if (std::cout.flush()) return status;
        cli::complain("error", "Failed to write the answer to standard output");
        return cli::Failed;
    } catch (const std::exception& failure) {
        cli::complain("error", failure.what());
        return cli::Failed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Packages of compute kernels for FPGA platforms", "kp");
    app.set_version_flag("--version", std::string("kp ") + KP_VERSION);
    app.require_subcommand(1)->fallthrough();
    app.get_formatter()->column_width(32);
    bool quiet = false;
    app.add_flag("-q,--quiet", quiet, "Only errors on standard error");

    cli::Run chosen;
    ParserTree parsers(app);
    for (const cli::Command& command : cli::commands()) {
        CLI::App& parser = parsers.add(command);
        parser.footer(std::string("Example:\n  ") + command.example);
        parser.final_callback([&chosen, run = command.declare(parser)] { chosen = run; });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& wrong) {
        const std::string unknown = cli::unknownSubcommand(app);
        cli::complain("error", unknown.empty() ? wrong.what() : unknown);
        return cli::WrongUsage;
    }
    const std::unique_ptr<cli::ProgressBar> bar = quiet ? nullptr : cli::ProgressBar::onTerminal();
    ComMsgMgr::setSink([&bar, post = cli::messageSink(quiet)](const ComMsg& message) {
        if (bar) bar->erase();
        post(message);
    });
    return runGuarded(chosen);
}
