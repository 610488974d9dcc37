#include "containers/ip/ComponentFacts.h"
#include "containers/lint/Checks.h"
#include "platform/base/HSTStringUtils.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <unordered_map>
#include <utility>

namespace kfab::lint {
namespace {

using ip::BusInterface;
using ip::BusKind;
using ip::BusMode;

bool isRead(const KernelFacts& kernel) {
    return kernel.ip.state == IpState::Read;
}

bool isMemoryMapped(const BusInterface& bus) {
    return bus.kind == BusKind::MemoryMapped || bus.kind == BusKind::MemoryMappedLite;
}

/// The interfaces of an IP by their names, whatever the case of their letters.
class Interfaces {
public:
    explicit Interfaces(const ip::IpComponent& component) {
        for (const BusInterface& bus : component.busInterfaces) {
            byName_.emplace(bus.name, &bus);
            byFoldedName_.emplace(HSTStringUtils::foldCase(bus.name), &bus);
        }
    }

    const BusInterface* find(const std::string& name) const {
        if (const auto same = byName_.find(name); same != byName_.end()) return same->second;
        const auto alike = byFoldedName_.find(HSTStringUtils::foldCase(name));
        return alike == byFoldedName_.end() ? nullptr : alike->second;
    }

private:
    std::unordered_map<std::string, const BusInterface*> byName_, byFoldedName_;
};

/// Passes on each port that the IP has an interface for.
template <class Use>
void forEachInterface(const KernelFacts& kernel, const Use& use) {
    if (!isRead(kernel)) return;
    const Interfaces interfaces(kernel.ip.component);
    for (const PortFacts& port : kernel.ports)
        if (const BusInterface* bus = interfaces.find(port.name)) use(port, *bus);
}

const char* kindText(BusKind kind) {
    switch (kind) {
        case BusKind::MemoryMapped:
        case BusKind::MemoryMappedLite:
            return "memory-mapped";
        case BusKind::Stream:
            return "a stream";
        case BusKind::Clock:
            return "a clock";
        case BusKind::Reset:
            return "a reset";
        case BusKind::Other:
            break;
    }
    return "of a kind that is not known";
}

const char* modeText(BusMode mode) {
    switch (mode) {
        case BusMode::Master:
            return "a master";
        case BusMode::Slave:
            return "a slave";
        case BusMode::System:
            return "a system interface";
        case BusMode::MirroredMaster:
            return "a mirrored master";
        case BusMode::MirroredSlave:
            return "a mirrored slave";
        case BusMode::MirroredSystem:
            return "a mirrored system interface";
        case BusMode::Monitor:
            break;
    }
    return "a monitor";
}

/// What is wrong is told by ip-kind.
bool hasKindOf(const BusInterface& bus, const PortFacts& port) {
    return (port.isAddressable() && isMemoryMapped(bus)) || (port.isStream() && bus.kind == BusKind::Stream);
}

void uncheck(const PortFacts& port, const std::string& reason, Findings& findings) {
    findings.uncheck("of the interface of " + named(port) + ": " + reason);
}

/// Passes on the address block that the IP describes for each addressable slave.
template <class Use>
void forEachBlock(const KernelFacts& kernel, Findings& findings, const Use& use) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (!port.isAddressable() || !port.isSlave() || !isMemoryMapped(bus)) return;
        const auto block = ip::addressBlock(kernel.ip.component, bus);
        if (block.part != nullptr)
            use(port, *block.part);
        else
            uncheck(port, block.unknown, findings);
    });
}

/// Where the registers of an address block lie, in bytes from address 0 of the slave.
class Registers {
public:
    /// Of a block whose base is known.
    explicit Registers(const ip::AddressBlock& block) {
        const std::uint64_t base = *block.base.value;
        for (const ip::Register& each : block.registers) {
            if (!each.offset.value || !each.size.value) continue;
            const std::uint64_t place = base + *each.offset.value;
            byPlace_.emplace(place, &each);
            for (const std::string& name : {each.name, each.name.substr(0, each.name.find_last_of("_["))})
                if (const auto [first, isNew] = byName_.emplace(name, place); !isNew)
                    first->second = std::min(first->second, place);
        }
    }

    /// What is known of the register of an argument's name, or of the lowest one of "name_low" and the like.
    std::string suggestion(const Place& place) const {
        const auto found = byName_.find(place.arg->name);
        if (found == byName_.end()) return {};
        if (found->second == place.offset) return "; that of its name has another size";
        return "; that of its name lies at " + hexadecimal(found->second);
    }

    /// Whether a register, or registers that adjoin, take exactly the bytes of a place. A value of less than
    /// a word may have a word to itself, and what is smaller than its register a field at its beginning.
    bool hold(const Place& place) const {
        constexpr std::uint64_t word = 4;
        std::uint64_t at = place.offset;
        while (at < place.end()) {
            const auto found = byPlace_.find(at);
            if (found == byPlace_.end()) return false;
            const auto isWhole = [&](const ip::BitField& field) {
                return field.offset.value == 0 && field.width.value == (place.end() - at) * 8;
            };
            const auto& fields = found->second->fields;
            if (std::any_of(fields.begin(), fields.end(), isWhole)) return true;
            const std::uint64_t bytes = *found->second->size.value / 8;
            if (bytes == word && place.size < word) return true;
            if (bytes == 0 || bytes > place.end() - at) return false;
            at += bytes;
        }
        return at == place.end();
    }

private:
    std::unordered_map<std::uint64_t, const ip::Register*> byPlace_;
    std::unordered_map<std::string, std::uint64_t> byName_;
};

/// A file's path below the component's directory, plain; none when it leads out of that.
std::optional<std::string> pathInIp(const std::string& name) {
    const std::filesystem::path path = std::filesystem::path(name).lexically_normal();
    if (path.is_absolute() || path.empty() || *path.begin() == "..") return {};
    return path.string();
}

/// Whether a name is that of a file at all: it may be an address, or stand on variables of somebody's
/// environment.
bool isPlainName(const std::string& name) {
    return name.find('$') == std::string::npos && name.find("://") == std::string::npos;
}

template <class Use>
void forEachFile(const KernelFacts& kernel, const Use& use) {
    if (!isRead(kernel)) return;
    for (const ip::FileSet& set : kernel.ip.component.fileSets)
        for (const ip::File& file : set.files)
            use(set, file);
}

}  // namespace

void checkIpMissing(const KernelFacts& kernel, Findings& findings) {
    if (kernel.ip.state == IpState::NotGiven)
        return findings.uncheck("no IP is given; nothing was held against it");
    if (kernel.ip.state != IpState::Missing) return;
    const std::string& document = kernel.entry ? kernel.entry->document : kernel.document;
    findings.addIn(document, kernel.entry ? kernel.entry->line : kernel.line,
                   "the kernel's IP is not there: " + quote(kernel.ip.document) + " is missing");
}

void checkIpUnreadable(const KernelFacts& kernel, Findings& findings) {
    if (kernel.ip.state == IpState::Unreadable) findings.addInIp(kernel.ip.line, kernel.ip.problem);
}

void checkIpFormat(const KernelFacts& kernel, Findings& findings) {
    if (kernel.ip.state == IpState::OtherFormat)
        findings.addInIp(kernel.ip.line, kernel.ip.problem + "; nothing of it was checked");
}

void checkIpVlnv(const KernelFacts& kernel, Findings& findings) {
    if (!isRead(kernel) || kernel.vlnv.empty()) return;
    const std::string vlnv = kernel.ip.component.vlnv.text();
    if (kernel.vlnv != vlnv)
        findings.add(kernel.line,
                     "the VLNV " + quote(kernel.vlnv) + " is not that of the IP, " + quote(vlnv));
}

void checkIpPort(const KernelFacts& kernel, Findings& findings) {
    if (!isRead(kernel)) return;
    const Interfaces interfaces(kernel.ip.component);
    std::vector<std::string> names;
    for (const BusInterface& bus : kernel.ip.component.busInterfaces)
        names.push_back(bus.name);
    for (const PortFacts& port : kernel.ports) {
        if (interfaces.find(port.name) != nullptr) continue;
        findings.add(port.line,
                     named(port) + " is no bus interface of the IP" + findings.suggestion(port.name, names));
    }
}

void checkIpPortCase(const KernelFacts& kernel, Findings& findings) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (bus.name != port.name)
            findings.add(port.line, named(port) + " is spelled " + quote(bus.name) + " in the IP");
    });
}

void checkIpMode(const KernelFacts& kernel, Findings& findings) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (!port.isMaster() && !port.isSlave()) {
            if (port.isStream()) uncheck(port, "the mode " + quote(port.mode) + " is not known", findings);
            return;
        }
        const BusMode mode = port.isMaster() ? BusMode::Master : BusMode::Slave;
        if (bus.mode != mode)
            findings.add(port.line, named(port) + " is " + modeText(mode) + ", but " + modeText(bus.mode) +
                                        " in the IP");
    });
}

void checkIpKind(const KernelFacts& kernel, Findings& findings) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (!port.isAddressable() && !port.isStream()) return;
        if (bus.kind == BusKind::Other) return uncheck(port, "its signals do not tell its kind", findings);
        if (!hasKindOf(bus, port))
            findings.add(port.line, named(port) + " is " +
                                        kindText(port.isStream() ? BusKind::Stream : BusKind::MemoryMapped) +
                                        ", but " + kindText(bus.kind) + " in the IP");
    });
}

void checkIpWidth(const KernelFacts& kernel, Findings& findings) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (!hasKindOf(bus, port) || !port.dataWidth.value) return;
        const ip::Number width = ip::dataWidth(bus);
        if (!width.value) return uncheck(port, width.unknown, findings);
        if (!port.dataWidth.is(*width.value))
            findings.add(port.line, named(port) + " is " + std::to_string(*port.dataWidth.value) +
                                        " bits wide, but " + std::to_string(*width.value) + " in the IP");
    });
}

void checkIpAddressWidth(const KernelFacts& kernel, Findings& findings) {
    forEachInterface(kernel, [&](const PortFacts& port, const BusInterface& bus) {
        if (!port.isSlave() || !port.isAddressable() || !isMemoryMapped(bus) || !port.range.value) return;
        const ip::Number width = ip::addressWidth(bus);
        if (!width.value) return uncheck(port, width.unknown, findings);
        if (*width.value < 64 && *port.range.value > std::uint64_t{1} << *width.value)
            findings.add(port.line, named(port) + " has a range of " + hexadecimal(*port.range.value) +
                                        ", but the IP's " + std::to_string(*width.value) +
                                        " address bits reach " +
                                        hexadecimal(std::uint64_t{1} << *width.value) + " bytes");
    });
}

void checkIpUnused(const KernelFacts& kernel, Findings& findings) {
    if (!isRead(kernel)) return;
    std::set<std::string> used;
    for (const PortFacts& port : kernel.ports)
        used.insert(HSTStringUtils::foldCase(port.name));
    for (const BusInterface& bus : kernel.ip.component.busInterfaces) {
        const bool isPort = bus.mode == BusMode::Master || bus.mode == BusMode::Slave;
        const bool isUsed = used.contains(HSTStringUtils::foldCase(bus.name));
        if (isPort && !isUsed && (isMemoryMapped(bus) || bus.kind == BusKind::Stream))
            findings.addInIp(bus.line.number, "the interface " + quote(bus.name) + " is " +
                                                  kindText(bus.kind) + ", but no port of the description");
    }
}

void checkIpRange(const KernelFacts& kernel, Findings& findings) {
    forEachBlock(kernel, findings, [&](const PortFacts& port, const ip::AddressBlock& block) {
        if (!block.range.value) return uncheck(port, block.range.unknown, findings);
        if (!block.base.value) return uncheck(port, block.base.unknown, findings);
        const std::uint64_t end = sumOf(*block.base.value, *block.range.value);
        if (port.range.value && *port.range.value > end)
            findings.add(port.line, named(port) + " has a range of " + hexadecimal(*port.range.value) +
                                        ", but the IP's address block " + quote(block.name) + " ends at " +
                                        hexadecimal(end));
    });
}

void checkIpRegister(const KernelFacts& kernel, Findings& findings) {
    std::unordered_map<const PortFacts*, std::vector<const Place*>> placesOn;
    for (const Place& place : kernel.places)
        placesOn[place.port].push_back(&place);
    std::unordered_map<const ip::AddressBlock*, Registers> described;
    forEachBlock(kernel, findings, [&](const PortFacts& port, const ip::AddressBlock& block) {
        if (block.registers.empty() || !placesOn.contains(&port)) return;
        if (!block.base.value) return uncheck(port, block.base.unknown, findings);
        const Registers& registers = described.try_emplace(&block, block).first->second;
        for (const Place* place : placesOn[&port]) {
            if (registers.hold(*place)) continue;
            if (!block.incomplete.empty()) {
                uncheck(port, block.incomplete, findings);
                continue;
            }
            findings.add(place->arg->line, named(*place->arg) + " takes " + hexadecimal(place->size) +
                                               " bytes at " + hexadecimal(place->offset) +
                                               ", where the IP describes no such register" +
                                               registers.suggestion(*place));
        }
    });
}

void checkIpClock(const KernelFacts& kernel, Findings& findings) {
    if (!isRead(kernel)) return;
    const auto& buses = kernel.ip.component.busInterfaces;
    const bool hasInterface = std::any_of(buses.begin(), buses.end(),
                                          [](const BusInterface& bus) { return bus.kind == BusKind::Clock; });
    if (!hasInterface && ip::clockPorts(kernel.ip.component).empty())
        findings.addInIp(kernel.ip.component.vlnv.line.number,
                         "no port and no interface of the IP is a clock");
}

void checkIpFile(const KernelFacts& kernel, Findings& findings) {
    forEachFile(kernel, [&](const ip::FileSet& set, const ip::File& file) {
        if (!isPlainName(file.name))
            return findings.uncheck("the file " + quote(file.name) + " is named by an address or a variable");
        const std::optional<std::string> path = pathInIp(file.name);
        if (path && !kernel.ip.files.sizeOf(*path))
            findings.addInIp(file.line.number, "the file " + quote(file.name) + " of the file set " +
                                                   quote(set.name) + " is not there");
    });
}

void checkIpFileOutside(const KernelFacts& kernel, Findings& findings) {
    forEachFile(kernel, [&](const ip::FileSet& set, const ip::File& file) {
        if (isPlainName(file.name) && !pathInIp(file.name))
            findings.addInIp(file.line.number, "the file " + quote(file.name) + " of the file set " +
                                                   quote(set.name) + " lies outside the IP");
    });
}

void checkTopIp(const KernelFacts& kernel, Findings& findings) {
    if (kernel.entry && !kernel.entry->topIp.empty())
        findings.addIn(kernel.entry->document, kernel.entry->line,
                       "the top IP directory " + quote(kernel.entry->topIp) + " is not in the package");
}

void checkIpShared(const KernelFacts& kernel, Findings& findings) {
    if (kernel.sharingCount == 0) return;
    const std::size_t more = kernel.sharingCount - 1;
    findings.add(kernel.line, "the VLNV " + quote(kernel.vlnv) + ", and so the IP, is that of kernel " +
                                  quote(kernel.sharing) +
                                  (more > 0 ? " and " + std::to_string(more) + " more" : "") + " as well");
}

void checkStrayFile(const KernelFacts& kernel, Findings& findings) {
    for (const std::string& name : kernel.strays)
        findings.addIn(name, 0, "the file is a left-over and no part of the kernel");
}

}  // namespace kfab::lint
