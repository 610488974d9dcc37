#pragma once

#include "containers/lint/KernelFacts.h"
#include "containers/lint/Outcome.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kfab::lint {

/// What the checks of one kernel find, in the name of the rule that is being checked.
class Findings {
public:
    Findings(const KernelFacts& kernel, Outcome& outcome)
        : kernel_(kernel), outcome_(outcome), firstUnchecked_(outcome.unchecked.size()) {}

    void begin(const Rule& rule) { rule_ = &rule; }

    /// In the description.
    void add(int line, std::string text) { addIn(kernel_.document, line, std::move(text)); }
    /// In the component.
    void addInIp(int line, std::string text) { addIn(kernel_.ip.document, line, std::move(text)); }
    void addIn(const std::string& document, int line, std::string text);

    /// A reason that was told of the rule before is not told again.
    void uncheck(std::string reason);

private:
    const KernelFacts& kernel_;
    Outcome& outcome_;
    std::size_t firstUnchecked_;  // of this kernel
    const Rule* rule_ = nullptr;
};

/// A text of a document in quotes, fit for a terminal.
std::string quote(std::string_view text);
/// As "0x10".
std::string hexadecimal(std::uint64_t number);
/// As "port 'm_read'".
std::string named(const PortFacts& port);
std::string named(const ArgFacts& arg);

}  // namespace kfab::lint
