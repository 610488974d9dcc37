#pragma once

#include "containers/lint/Outcome.h"

#include <string>

#include <nlohmann/json_fwd.hpp>

// Forms of what lint found.

namespace cli {

/// As compilers print it, but for the severity: "vadd/kernel.xml:14: argument ... [overlap]".
std::string lintLine(const kfab::lint::Finding& finding, const std::string& severity = {});

nlohmann::ordered_json lintJson(const kfab::lint::Outcome& outcome);

void printLintText(const kfab::lint::Outcome& outcome);
void printLintJson(const kfab::lint::Outcome& outcome);
/// SARIF 2.1.0. Documents that are members of `package` are told to be; they are files when it is empty.
void printLintSarif(const kfab::lint::Outcome& outcome, const std::string& package);

void printRulesText();
void printRulesJson();

}  // namespace cli
