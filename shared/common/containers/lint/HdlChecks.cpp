#include "containers/lint/Checks.h"
#include "platform/base/HSTStringUtils.h"

#include <unordered_set>

// What holds the component of an IP against the sources of its top module.

namespace kfab::lint {
namespace {

/// Names, with or without regard to case.
class Names {
public:
    Names(std::vector<std::string> names, bool hasCase) : all_(std::move(names)), hasCase_(hasCase) {
        for (const std::string& name : all_)
            known_.insert(folded(name));
    }

    const std::vector<std::string>& all() const { return all_; }
    bool contains(const std::string& name) const { return known_.contains(folded(name)); }

private:
    std::string folded(const std::string& name) const {
        return hasCase_ ? name : HSTStringUtils::foldCase(name);
    }

    std::vector<std::string> all_;
    std::unordered_set<std::string> known_;
    bool hasCase_;
};

bool isAny(const ip::Port&) {
    return true;
}

/// Whether a source has it as well.
bool isSignal(const ip::Port& port) {
    return port.direction != ip::Direction::Phantom && port.direction != ip::Direction::None;
}

std::vector<std::string> portsOf(const ip::IpComponent& component, bool (*isWanted)(const ip::Port&)) {
    std::vector<std::string> names;
    for (const ip::Port& port : component.ports)
        if (isWanted(port)) names.push_back(port.name);
    return names;
}

std::string mapped(const ip::BusInterface& bus, const ip::PortMap& map) {
    return "the port " + quote(map.physical) + ", mapped to " + quote(map.logical) + " of the interface " +
           quote(bus.name) + ",";
}

}  // namespace

void checkIpTop(const KernelFacts& kernel, Findings& findings) {
    if (kernel.ip.state != IpState::Read) return;
    const TopModule& top = kernel.ip.top;
    if (top.state == TopModule::State::Unknown) findings.uncheck(top.unknown);
    if (top.state == TopModule::State::Missing)
        findings.addInIp(top.line, "no source of the view " + quote(top.view) + " defines its top module " +
                                       quote(top.name) + findings.suggestion(top.name, top.others));
}

void checkIpHdlPort(const KernelFacts& kernel, Findings& findings) {
    if (kernel.ip.state != IpState::Read) return;
    const TopModule& top = kernel.ip.top;
    if (top.state == TopModule::State::Unknown) findings.uncheck(top.unknown);
    if (!top.portsUnknown.empty())
        findings.uncheck("of the top module " + quote(top.name) + ": " + top.portsUnknown);
    const bool hasHeader = top.state == TopModule::State::Found && top.portsUnknown.empty();
    const Names ports(portsOf(kernel.ip.component, isAny), top.hasCase);
    const Names signals(portsOf(kernel.ip.component, isSignal), top.hasCase);
    const Names inHeader(top.ports, top.hasCase);
    for (const ip::BusInterface& bus : kernel.ip.component.busInterfaces)
        for (const ip::PortMap& map : bus.portMaps) {
            const std::string& name = map.physical;
            if (name.empty()) continue;
            if (!ports.contains(name))
                findings.addInIp(map.line.number, mapped(bus, map) + " is no port of the component" +
                                                      findings.suggestion(name, ports.all()));
            else if (hasHeader && signals.contains(name) && !inHeader.contains(name))
                findings.addInIp(map.line.number, mapped(bus, map) + " is no port of the top module " +
                                                      quote(top.name) + " in " + quote(top.file) +
                                                      findings.suggestion(name, inHeader.all()));
        }
}

}  // namespace kfab::lint
