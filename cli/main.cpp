// The command kp.

#include "cli/CommandLine.h"
#include "cli/MessageFilter.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"
#include "cli/Signals.h"
#include "cli/StandardOutput.h"

#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <system_error>

namespace {

std::string textOf(const std::exception& failure) {
    const bool isOutOfMemory = dynamic_cast<const std::bad_alloc*>(&failure) != nullptr;
    return isOutOfMemory ? "There is not enough memory" : failure.what();
}

/// Runs the subcommand. An answer that could not be written is a failure as well, unless nobody wants it.
cli::ExitStatus runGuarded(const cli::Run& run, const cli::StandardOutput& output) {
    try {
        const cli::MessageLimit limit;
        const cli::ExitStatus status = run();
        std::cout.flush();
        if (output.error() == 0 || output.isClosed()) return status;
    } catch (const std::exception& failure) {
        if (cli::caughtSignal() != 0) return cli::Failed;
        if (output.isClosed()) return cli::Done;
        if (output.error() == 0) {
            cli::complain("error", textOf(failure));
            return cli::Failed;
        }
    }
    cli::complain("error",
                  "Failed to write to standard output: " + std::generic_category().message(output.error()));
    return cli::Failed;
}

}  // namespace

int main(int argc, char** argv) {
    cli::handleSignals();
    const cli::StandardOutput output;
    cli::CommandLine commandLine(std::span(argv, static_cast<std::size_t>(argc)));
    const auto parsed = commandLine.parse(argc, argv);
    const auto* ended = std::get_if<cli::ExitStatus>(&parsed);
    const cli::Run run = ended != nullptr ? [&] { return *ended; } : std::get<cli::Run>(parsed);

    const bool quiet = commandLine.isQuiet();
    const std::unique_ptr<cli::ProgressBar> bar = quiet ? nullptr : cli::ProgressBar::onTerminal();
    ComMsgMgr::setSink([&bar, post = cli::messageSink(quiet)](const ComMsg& message) {
        if (bar) bar->erase();
        post(message);
    });
    const cli::ExitStatus status = runGuarded(run, output);
    // Work that was completed before it could be called off is done.
    const bool isCalledOff = cli::caughtSignal() != 0 && status != cli::Done;
    return isCalledOff ? 128 + cli::caughtSignal() : status;
}
