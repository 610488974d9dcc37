// The command kp.

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"

#include <exception>
#include <iostream>
#include <memory>

namespace {

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
    cli::CommandLine commandLine;
    const auto parsed = commandLine.parse(argc, argv);
    if (const auto* status = std::get_if<cli::ExitStatus>(&parsed)) return *status;

    const bool quiet = commandLine.isQuiet();
    const std::unique_ptr<cli::ProgressBar> bar = quiet ? nullptr : cli::ProgressBar::onTerminal();
    ComMsgMgr::setSink([&bar, post = cli::messageSink(quiet)](const ComMsg& message) {
        if (bar) bar->erase();
        post(message);
    });
    return runGuarded(std::get<cli::Run>(parsed));
}
