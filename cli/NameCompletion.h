#pragma once

#include "cli/Command.h"

#include <span>
#include <string>

namespace cli {

/// The word before a line that a shell completes: "kp __complete extract p.kp va".
constexpr const char* completionWord = "__complete";

/// Prints a line for each name in the package on the line that the last of its words may become: a kernel's
/// or a member's. Ends with the status Found when something else belongs there, and says nothing of what
/// fails. Names that would upset a terminal are left out.
ExitStatus completeName(const CLI::App& app, std::span<const std::string> words);

}  // namespace cli
