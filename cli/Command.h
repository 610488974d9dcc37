#pragma once

#include <functional>
#include <span>
#include <string>

#include <CLI/App.hpp>

namespace cli {

enum ExitStatus { Done = 0, Found = 1, WrongUsage = 2, Failed = 3 };

using Run = std::function<ExitStatus()>;

/// One subcommand. `name` is the words to type, such as "kernel show"; `declare` adds its options to the
/// parser and returns what runs after parsing. One that checks may end with the status Found.
struct Command {
    const char* name;
    const char* summary;
    const char* example;
    Run (*declare)(CLI::App& app);
    bool checks = false;
};

/// Every subcommand, in the order that help lists them.
std::span<const Command> commands();

struct ExitMeaning {
    std::string status;
    std::string text;
};

/// What the exit statuses mean, of all commands or of those that check nothing.
std::vector<ExitMeaning> exitMeanings(bool checks);

// One source file each.
Run declareAdd(CLI::App& app);
Run declareList(CLI::App& app);
Run declareValidate(CLI::App& app);
Run declareVerify(CLI::App& app);
Run declareLint(CLI::App& app);
Run declareDiff(CLI::App& app);
Run declareShow(CLI::App& app);
Run declarePage(CLI::App& app);
Run declareInfo(CLI::App& app);
Run declareFiles(CLI::App& app);
Run declareExtract(CLI::App& app);
Run declareCat(CLI::App& app);
Run declareAddCache(CLI::App& app);
Run declareRemove(CLI::App& app);
Run declareMerge(CLI::App& app);
Run declareCustomize(CLI::App& app);
Run declareKernelShow(CLI::App& app);
Run declareKernelNew(CLI::App& app);
Run declareKernelEdit(CLI::App& app);
Run declareKernelReport(CLI::App& app);
Run declareHelp(CLI::App& app);

}  // namespace cli
