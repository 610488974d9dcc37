#include "cli/Command.h"

namespace cli {
namespace {

constexpr Command table[] = {
    {"add", "Add a kernel to a package, replace one, or update one",
     "kp add vadd.kp kernel.xml --ip ip --cpu-source vadd.cpp --report design.xml", declareAdd},
    {"list", "List the kernels of a package", "kp list vadd.kp --json", declareList},
    {"validate", "Check that every kernel of a package has the flow of a target",
     "kp validate vadd.kp --target hw_emu", declareValidate, true},
    {"verify", "Check a package's digest, structure and contents", "kp verify vadd.kp", declareVerify, true},
    {"lint", "Hold kernels' descriptions, IPs and reports against each other", "kp lint vadd.kp --strict",
     declareLint, true},
    {"diff", "Tell what differs between two packages, and what that means for their users",
     "kp diff old.kp new.kp --breaking", declareDiff, true},
    {"show", "Show what a package or a kernel is, for eyes", "kp show vadd.kp vadd", declareShow},
    {"page", "Write what a package or a kernel is as a page for browsers", "kp page vadd.kp -o vadd.html",
     declarePage},
    {"info", "Report what a package holds", "kp info vadd.kp --json", declareInfo},
    {"files", "Show where each part of a kernel lies", "kp files vadd.kp vadd", declareFiles},
    {"extract", "Extract a kernel, or all, to a directory", "kp extract vadd.kp vadd -d out", declareExtract},
    {"cat", "Write a member to standard output", "kp cat vadd.kp vadd/kernel.xml", declareCat},
    {"add-cache", "Add the IP caches below a directory", "kp add-cache vadd.kp caches", declareAddCache},
    {"remove", "Remove kernels from a package", "kp remove vadd.kp vadd --dry-run", declareRemove},
    {"merge", "Make one package of several", "kp merge -o all.kp vadd.kp vmul.kp --sort", declareMerge},
    {"customize", "Make a package with a customized RTL kernel",
     "kp customize vadd.kp vadd --name vadd_big -o big.kp --param DEPTH=64 --host-script host.tcl",
     declareCustomize},
    {"kernel new", "Write the description of a kernel from its IP and a prototype in C",
     "kp kernel new ip --prototype 'void vadd(const uint *a, uint *out, uint length)' -o kernel.xml",
     declareKernelNew},
    {"kernel show", "Show the definition in a kernel description", "kp kernel show kernel.xml --json",
     declareKernelShow},
    {"kernel edit", "Write a kernel description with changed settings",
     "kp kernel edit kernel.xml -o out --compile-options=-g --report design.xml", declareKernelEdit},
    {"kernel report", "Write the profile of a kernel description as a report of its own",
     "kp kernel report kernel.xml -o design.xml", declareKernelReport},
    {"help", "Print the help of a subcommand, or of all", "kp help kernel show", declareHelp},
};

}  // namespace

std::span<const Command> commands() {
    return table;
}

std::vector<ExitMeaning> exitMeanings(bool checks) {
    std::vector<ExitMeaning> meanings{{"0", checks ? "done; what was checked holds" : "done"}};
    if (checks) meanings.push_back({"1", "a check found something"});
    meanings.push_back({"2", "wrong usage"});
    meanings.push_back({"3", "the operation failed; a package it would have changed is as it was"});
    meanings.push_back({"130", "interrupted by SIGINT, likewise; 143 by SIGTERM, 129 by SIGHUP"});
    return meanings;
}

}  // namespace cli
