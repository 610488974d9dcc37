#pragma once

#include "cli/CommandLine.h"
#include "cli/pages/Handbook.h"

#include <map>
#include <string>

namespace cli {

/// The man pages of the command and of each of its subcommands by file name, such as "kp-add.1". Prose and
/// synopses come from the handbook, all else from the parsers. Throws when the handbook has no section for a
/// subcommand.
std::map<std::string, std::string> manPages(const CommandLine& commandLine, const Handbook& handbook);

}  // namespace cli
