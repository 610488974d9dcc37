#pragma once

#include "containers/lint/KernelFacts.h"
#include "containers/lint/Outcome.h"
#include "containers/lint/Text.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kfab::lint {

/// What the checks of one kernel find, in the name of the rule that is being checked.
class Findings {
public:
    Findings(const KernelFacts& kernel, Outcome& outcome) : kernel_(kernel), outcome_(outcome) {}

    void begin(const Rule& rule);

    /// In the description.
    void add(int line, std::string text) { addIn(kernel_.document, line, std::move(text)); }
    /// In the component.
    void addInIp(int line, std::string text) { addIn(kernel_.ip.document, line, std::move(text)); }
    void addIn(const std::string& document, int line, std::string text);

    /// "; did you mean 'x'?", or nothing: only the first findings of a rule are worth the search.
    std::string suggestion(const std::string& word, const std::vector<std::string>& candidates);

    /// A reason that was told of the rule before is not told again.
    void uncheck(std::string reason);

private:
    const KernelFacts& kernel_;
    Outcome& outcome_;
    const Rule* rule_ = nullptr;
    int suggestions_ = 0;         // of the rule
    std::set<std::string> told_;  // its reasons
};

/// As "port 'm_read'".
std::string named(const PortFacts& port);
std::string named(const ArgFacts& arg);

}  // namespace kfab::lint
