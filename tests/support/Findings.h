#pragma once

#include "containers/lint/Outcome.h"
#include "tests/support/Packages.h"

/// As "kernel.xml:13: argument ... [code]", the document by its last component.
inline Texts linesOf(const kfab::lint::Outcome& outcome) {
    Texts lines;
    for (const auto& finding : outcome.findings)
        lines.push_back(std::filesystem::path(finding.document).filename().string() + ":" +
                        std::to_string(finding.line) + ": " + finding.text + " [" + finding.rule->code + "]");
    return lines;
}
