#include "containers/lint/Outcome.h"

#include <algorithm>

namespace kfab::lint {

bool Outcome::has(Severity severity) const {
    return std::any_of(findings.begin(), findings.end(),
                       [&](const Finding& finding) { return finding.rule->severity == severity; });
}

}  // namespace kfab::lint
