#pragma once

#include "platform/base/Export.h"

#include <span>

namespace kfab::lint {

class Findings;
struct KernelFacts;

enum class Severity {
    Warning,  ///< likely a mistake
    Error,    ///< the link or the host program fails, or reaches wrong data
};

/// "warning" or "error".
KP_EXPORT const char* severityText(Severity severity);

/// A mistake made in the example kernel, examples/vadd. A " ... " of `right` is any text there, which `wrong`
/// leaves as it is.
struct Example {
    const char* document;  ///< that the texts stand in; empty where they are a command or the name of a file
    const char* wrong;
    const char* right;
    const char* place;    ///< of the finding, such as "kernel.xml:13"
    const char* finding;  ///< its text
};

/// One thing that can be wrong with a kernel. A code never changes its meaning.
struct Rule {
    const char* code;
    Severity severity;
    const char* meaning;      ///< when it is found, as one clause
    const char* explanation;  ///< what goes wrong then
    const char* cure;
    Example example;
    void (*check)(const KernelFacts& kernel, Findings& findings);
};

/// All rules, in the order of their findings.
KP_EXPORT std::span<const Rule> rules();

}  // namespace kfab::lint
