#include "containers/lint/Checks.h"
#include "containers/lint/Timing.h"

#include <algorithm>
#include <set>

namespace kfab::lint {
namespace {

using lmx60::Element;

std::string_view textOf(Element element) {
    return element ? element.text() : std::string_view();
}

/// The name of the module at the top; none when the report says nothing of it.
Element topModuleName(const KernelFacts& kernel) {
    return kernel.report.child("RTLDesignHierarchy").child("TopModule").child("ModuleName");
}

std::vector<std::string> topModulesOf(const ip::IpComponent& component) {
    std::vector<std::string> modules;
    for (const ip::View& view : component.views)
        modules.push_back(view.module);
    return modules;
}

template <class Use>
void forEachModule(const KernelFacts& kernel, const Use& use) {
    for (const Element module : kernel.report.child("ModuleInformation").children())
        if (module.name() == "Module") use(module);
}

template <class Use>
void forEachInstance(Element parent, const Use& use) {
    for (const Element list : parent.children()) {
        if (list.name() != "InstancesList") continue;
        for (const Element instance : list.children()) {
            use(instance);
            forEachInstance(instance, use);
        }
    }
}

}  // namespace

void checkReportTop(const KernelFacts& kernel, Findings& findings) {
    const Element top = topModuleName(kernel);
    if (!top) return;
    const std::vector<std::string> fields = kernel.vlnvFields();
    std::vector<std::string> fitting = topModulesOf(kernel.ip.component);
    fitting.push_back(kernel.name);
    if (fields.size() == 4) fitting.push_back(fields[2]);
    if (std::find(fitting.begin(), fitting.end(), top.text()) != fitting.end()) return;
    const bool isIpKnown = kernel.ip.state == IpState::Read || kernel.ip.state == IpState::NotNeeded;
    if (!isIpKnown) return findings.uncheck("the top module of the IP is not known");
    findings.addIn(kernel.reportDocument, top.line(),
                   "the report is of the module " + quote(top.text()) + ", not of the kernel " +
                       quote(kernel.name) + " or its IP");
}

void checkReportPort(const KernelFacts& kernel, Findings& findings) {
    const Element top = topModuleName(kernel);
    if (!top) return;
    std::set<std::string_view> names;
    forEachModule(kernel, [&](Element module) {
        if (textOf(module.child("Name")) != top.text()) return;
        for (const Element port : module.child("InterfaceSummary").children())
            if (const Element name = port.child("name")) names.insert(name.text());
    });
    if (names.empty()) return findings.uncheck("the report lists no ports of its top module");
    for (const PortFacts& port : kernel.ports)
        if (const auto name = names.lower_bound(port.name);
            name == names.end() || !name->starts_with(port.name))
            findings.add(port.line, "no port of the report's top module " + quote(top.text()) +
                                        " begins with the name of " + named(port));
}

void checkReportTiming(const KernelFacts& kernel, Findings& findings) {
    forEachModule(kernel, [&](Element module) {
        const Element timing = module.child("PerformanceEstimates").child("SummaryOfTimingAnalysis");
        const Element estimated = timing.child("EstimatedClockPeriod");
        const Timing periods = timingOf(module);
        if (periods.isMet().value_or(true)) return;
        findings.addIn(
            kernel.reportDocument, estimated.line(),
            "the module " + quote(textOf(module.child("Name"))) + " needs a clock period of " +
                std::string(estimated.text()) + ", more than the target " +
                std::string(textOf(timing.child("TargetClockPeriod"))) + " less the uncertainty " +
                (periods.uncertainty ? std::string(textOf(timing.child("ClockUncertainty"))) : "0"));
    });
}

void checkReportModule(const KernelFacts& kernel, Findings& findings) {
    std::set<std::string_view> modules;
    forEachModule(kernel, [&](Element module) { modules.insert(textOf(module.child("Name"))); });
    if (modules.empty()) return;
    forEachInstance(kernel.report.child("RTLDesignHierarchy").child("TopModule"), [&](Element instance) {
        const Element name = instance.child("ModuleName");
        if (name && !modules.contains(name.text()))
            findings.addIn(kernel.reportDocument, name.line(),
                           "the instance " + quote(textOf(instance.child("InstName"))) +
                               " is of the module " + quote(name.text()) +
                               ", which the report says nothing of");
    });
}

}  // namespace kfab::lint
