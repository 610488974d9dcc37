#pragma once

#include <functional>
#include <span>

#include <CLI/App.hpp>

namespace cli {

enum ExitStatus { Done = 0, Found = 1, WrongUsage = 2, Failed = 3 };

using Run = std::function<ExitStatus()>;

/// One subcommand. `name` is the words to type, such as "kernel show"; `declare` adds its options to the
/// parser and returns what runs after parsing.
struct Command {
    const char* name;
    const char* summary;
    const char* example;
    Run (*declare)(CLI::App& app);
};

/// Every subcommand, in the order that help lists them.
std::span<const Command> commands();

// One source file each.
Run declareAdd(CLI::App& app);
Run declareList(CLI::App& app);
Run declareValidate(CLI::App& app);
Run declareVerify(CLI::App& app);
Run declareInfo(CLI::App& app);
Run declareFiles(CLI::App& app);
Run declareExtract(CLI::App& app);
Run declareCat(CLI::App& app);
Run declareAddCache(CLI::App& app);
Run declareCustomize(CLI::App& app);
Run declareKernelShow(CLI::App& app);
Run declareKernelEdit(CLI::App& app);
Run declareKernelReport(CLI::App& app);

}  // namespace cli
