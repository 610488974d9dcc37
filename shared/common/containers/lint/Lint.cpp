#include "containers/lint/Lint.h"

#include "containers/lint/Examination.h"
#include "containers/lint/Findings.h"
#include "containers/lint/LooseFacts.h"
#include "containers/lint/PackageFacts.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"

namespace kfab::lint {
namespace {

void check(const KernelFacts& facts, Outcome& outcome) {
    Findings findings(facts, outcome);
    for (const Rule& rule : rules()) {
        findings.begin(rule);
        rule.check(facts, findings);
    }
}

}  // namespace

Outcome examine(const KernelFacts& facts) {
    Outcome outcome;
    check(facts, outcome);
    return outcome;
}

Outcome lintKernel(const LooseKernel& kernel) {
    return examine(factsOf(kernel));
}

Outcome lintAddition(const KernelAddition& addition) {
    return examine(factsOf(addition));
}

Outcome lintPackage(const std::string& package, const std::optional<std::string>& kernel) {
    if (package.empty() || !HUTFile::exists(package)) throw HEXFileNotFoundException(package);
    const PackageFacts content(package);
    if (kernel) return examine(content.factsOf(content.require(*kernel)));
    Outcome outcome;
    for (std::size_t place = 0; place < content.kernelCount(); ++place) {
        HUTInterrupt::check();
        check(content.factsOf(place), outcome);
    }
    return outcome;
}

}  // namespace kfab::lint
