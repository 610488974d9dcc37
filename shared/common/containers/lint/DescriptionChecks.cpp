#include "containers/kernel/CTypes.h"
#include "containers/lint/Checks.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

namespace kfab::lint {
namespace {

using Numbers = std::initializer_list<std::pair<const char*, const NumberText*>>;

void checkNumbers(const std::string& owner, int line, const Numbers& numbers, Findings& findings) {
    for (const auto& [what, number] : numbers)
        if (number->isWrong())
            findings.add(line, "the " + std::string(what) + " " + quote(number->text) + " of " + owner +
                                   " is no unsigned number of 64 bits, decimal or beginning with 0x");
}

bool isIdentifier(const std::string& name) {
    const auto fits = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
    return !name.empty() && std::isdigit(static_cast<unsigned char>(name.front())) == 0 &&
           std::all_of(name.begin(), name.end(), fits);
}

void checkName(const std::string& what, const std::string& name, int line, Findings& findings) {
    if (name.empty())
        findings.add(line, what + " has no name");
    else if (!isIdentifier(name))
        findings.add(line, "the name " + quote(name) + " of " + what + " is no C identifier");
}

template <class Things>
void checkDuplicates(const Things& things, const char* what, Findings& findings) {
    std::map<std::string_view, int> lines;
    for (const auto& thing : things)
        if (const auto [first, isNew] = lines.emplace(thing.name, thing.line); !isNew && !thing.name.empty())
            findings.add(thing.line, "there is another " + std::string(what) + " " + quote(thing.name) +
                                         " on line " + std::to_string(first->second));
}

bool isPlaced(const ArgFacts& arg) {
    return arg.passing == Passing::Value || arg.passing == Passing::Pointer;
}

/// Passes on the places on the control port; false, and told, when there are several.
template <class Use>
void onControlPort(const KernelFacts& kernel, Findings& findings, const Use& use) {
    const bool isAmbiguous = kernel.slaves.size() > 1 && kernel.hasRegisters();
    if (isAmbiguous) return findings.uncheck("it has several addressable slaves");
    if (kernel.controlPort() == nullptr) return;
    for (const ArgFacts& arg : kernel.args)
        if (isPlaced(arg) && (!arg.offset.isGiven || !arg.size.isGiven))
            findings.uncheck(named(arg) + " has no " + (arg.offset.isGiven ? "size" : "offset"));
    for (const Place& place : kernel.places)
        if (place.port == kernel.controlPort()) use(place);
}

bool isPointerType(std::string_view type) {
    return type.find_first_of("*[") != std::string_view::npos;
}

/// In bytes; none of a type that is not known, or a pointer.
std::optional<std::uint64_t> sizeOfValue(const std::string& type) {
    if (isPointerType(type)) return {};
    std::istringstream words(type);
    std::string unqualified;
    for (std::string word; words >> word;)
        if (word != "const" && word != "volatile" && word != "restrict")
            unqualified += (unqualified.empty() ? "" : " ") + word;
    return kernel::sizeOfCType(unqualified);
}

std::string bitsOf(const NumberText& width) {
    return width.isGiven ? "is " + quote(width.text) + " bits wide" : "has no data width";
}

}  // namespace

void checkNumber(const KernelFacts& kernel, Findings& findings) {
    for (const PortFacts& port : kernel.ports)
        checkNumbers(named(port), port.line, {{"range", &port.range}, {"base", &port.base}}, findings);
    for (const ArgFacts& arg : kernel.args)
        checkNumbers(named(arg), arg.line,
                     {{"id", &arg.id},
                      {"size", &arg.size},
                      {"offset", &arg.offset},
                      {"host offset", &arg.hostOffset},
                      {"host size", &arg.hostSize}},
                     findings);
}

void checkNames(const KernelFacts& kernel, Findings& findings) {
    checkName("the kernel", kernel.name, kernel.line, findings);
    for (const PortFacts& port : kernel.ports)
        checkName("a port", port.name, port.line, findings);
    for (const ArgFacts& arg : kernel.args)
        checkName("an argument", arg.name, arg.line, findings);
}

void checkVlnv(const KernelFacts& kernel, Findings& findings) {
    if (kernel.vlnv.empty()) {
        if (kernel.ip.state == IpState::NotNeeded) return;
        if (kernel.ip.state == IpState::NotGiven && kernel.language != "ip")
            return findings.uncheck("it has no VLNV, which only a kernel without an IP may lack");
        return findings.add(kernel.line, "the kernel has no VLNV");
    }
    const std::vector<std::string> fields = kernel.vlnvFields();
    const bool hasEmpty = std::find(fields.begin(), fields.end(), "") != fields.end();
    if (fields.size() != 4 || hasEmpty)
        findings.add(kernel.line, "the VLNV " + quote(kernel.vlnv) + " is not vendor:library:name:version");
}

void checkDuplicatePort(const KernelFacts& kernel, Findings& findings) {
    checkDuplicates(kernel.ports, "port", findings);
}

void checkDuplicateArg(const KernelFacts& kernel, Findings& findings) {
    checkDuplicates(kernel.args, "argument", findings);
}

void checkDuplicateId(const KernelFacts& kernel, Findings& findings) {
    std::map<std::uint64_t, const ArgFacts*> met;
    for (const ArgFacts& arg : kernel.args) {
        if (!arg.id.value) continue;
        const auto [first, isNew] = met.emplace(*arg.id.value, &arg);
        if (!isNew)
            findings.add(arg.line, named(arg) + " has the id " + std::to_string(*arg.id.value) + " of " +
                                       named(*first->second));
    }
}

void checkIdGap(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args) {
        if (!arg.id.isGiven)
            findings.uncheck("not all arguments have an id");
        else if (arg.id.value && *arg.id.value >= kernel.args.size())
            findings.add(arg.line, named(arg) + " has the id " + std::to_string(*arg.id.value) +
                                       "; the ids of " + std::to_string(kernel.args.size()) +
                                       " arguments are 0 to " + std::to_string(kernel.args.size() - 1));
    }
}

void checkNoPort(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args)
        if (arg.portName.empty()) findings.add(arg.line, named(arg) + " has no port");
}

void checkUnknownPort(const KernelFacts& kernel, Findings& findings) {
    std::vector<std::string> names;
    for (const PortFacts& port : kernel.ports)
        names.push_back(port.name);
    for (const ArgFacts& arg : kernel.args) {
        if (arg.portName.empty() || arg.port != nullptr) continue;
        findings.add(arg.line, "the port " + quote(arg.portName) + " of " + named(arg) + " is not there" +
                                   findings.suggestion(arg.portName, names));
    }
}

void checkPointerPort(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args) {
        if (arg.passing == Passing::Unknown) {
            findings.uncheck("the address qualifier " + std::to_string(arg.qualifier) + " of " + named(arg) +
                             " is not known");
            continue;
        }
        if (arg.port == nullptr || !arg.port->isAddressable()) continue;
        if (arg.passing == Passing::Pointer && arg.port->isSlave())
            findings.add(arg.line, named(arg) + " is a pointer, but its " + named(*arg.port) + " is a slave");
        if (arg.passing == Passing::Value && arg.port->isMaster())
            findings.add(arg.line, named(arg) + " is a value, but its " + named(*arg.port) + " is a master");
    }
}

void checkPointerSize(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args) {
        if (arg.passing != Passing::Pointer) continue;
        if (!arg.size.isGiven)
            findings.uncheck(named(arg) + " has no size");
        else if (arg.size.value && !arg.size.is(8))
            findings.add(arg.line, named(arg) + " is a pointer of " + hexadecimal(*arg.size.value) +
                                       " bytes instead of 0x8");
    }
}

void checkHostSize(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args)
        if (isPlaced(arg) && arg.size.value && arg.hostSize.value && *arg.size.value != *arg.hostSize.value)
            findings.add(arg.line, named(arg) + " has " + hexadecimal(*arg.size.value) + " bytes, but " +
                                       hexadecimal(*arg.hostSize.value) + " on the host");
}

void checkOverlap(const KernelFacts& kernel, Findings& findings) {
    std::vector<Place> places;
    onControlPort(kernel, findings, [&](const Place& place) {
        if (place.size > 0) places.push_back(place);
    });
    std::stable_sort(places.begin(), places.end(),
                     [](const Place& a, const Place& b) { return a.offset < b.offset; });
    const Place* furthest = nullptr;
    for (const Place& place : places) {
        if (furthest != nullptr && place.offset < furthest->end())
            findings.add(place.arg->line, named(*place.arg) + " begins at " + hexadecimal(place.offset) +
                                              ", before " + named(*furthest->arg) + " ends at " +
                                              hexadecimal(furthest->end()));
        if (furthest == nullptr || place.end() > furthest->end()) furthest = &place;
    }
}

void checkBeyondRange(const KernelFacts& kernel, Findings& findings) {
    for (const Place& place : kernel.places) {
        const NumberText& range = place.port->range;
        if (!range.value || range.is(0) || place.end() <= *range.value) continue;
        const char* whose =
            place.arg->passing == Passing::Pointer ? " bytes of the control " : " bytes of its ";
        findings.add(place.arg->line, named(*place.arg) + " ends at " + hexadecimal(place.end()) +
                                          ", beyond the " + hexadecimal(*range.value) + whose +
                                          named(*place.port));
    }
    for (const ArgFacts& arg : kernel.args) {
        if (arg.passing == Passing::Pointer && kernel.slaves.size() > 1)
            findings.uncheck("it has several addressable slaves");
        else if (isPlaced(arg) && !kernel.slaves.empty() && (!arg.offset.isGiven || !arg.size.isGiven))
            findings.uncheck(named(arg) + " has no " + (arg.offset.isGiven ? "size" : "offset"));
    }
}

void checkInControlBlock(const KernelFacts& kernel, Findings& findings) {
    if (!kernel.hasControlBlock()) {
        if (kernel.hasRegisters())
            findings.uncheck(kernel.protocol.empty()
                                 ? "it has no control protocol"
                                 : "the control protocol " + quote(kernel.protocol) + " is not known");
        return;
    }
    onControlPort(kernel, findings, [&](const Place& place) {
        if (place.offset < controlBlockSize)
            findings.add(place.arg->line, named(*place.arg) + " begins at " + hexadecimal(place.offset) +
                                              ", within the control registers below " +
                                              hexadecimal(controlBlockSize));
    });
}

void checkControlPort(const KernelFacts& kernel, Findings& findings) {
    if (kernel.slaves.empty() && kernel.hasRegisters())
        findings.add(kernel.line, "the kernel has values or pointers, but no addressable slave to set them");
}

void checkPortMode(const KernelFacts& kernel, Findings& findings) {
    for (const PortFacts& port : kernel.ports)
        if (port.isAddressable() && !port.isMaster() && !port.isSlave())
            findings.add(port.line, "the mode " + quote(port.mode) + " of " + named(port) +
                                        " is neither 'master' nor 'slave'");
}

void checkPortType(const KernelFacts& kernel, Findings& findings) {
    for (const PortFacts& port : kernel.ports)
        if (!port.isAddressable() && !port.isStream())
            findings.add(port.line, "the type " + quote(port.type) + " of " + named(port) +
                                        " is neither 'addressable' nor 'stream'");
}

void checkDataWidth(const KernelFacts& kernel, Findings& findings) {
    for (const PortFacts& port : kernel.ports) {
        const std::uint64_t width = port.dataWidth.value.value_or(0);
        const bool isPowerOfTwo = width >= 8 && width <= 4096 && (width & (width - 1)) == 0;
        if (port.isAddressable() && !isPowerOfTwo)
            findings.add(port.line, named(port) + " " + bitsOf(port.dataWidth) +
                                        " instead of a power of two from 8 to 4096");
        if (port.isStream() && (width == 0 || width % 8 != 0))
            findings.add(port.line,
                         named(port) + " " + bitsOf(port.dataWidth) + " instead of a multiple of 8");
    }
}

void checkPortRange(const KernelFacts& kernel, Findings& findings) {
    for (const PortFacts& port : kernel.ports) {
        if (!port.isAddressable() || port.range.isWrong()) continue;
        if (port.range.value.value_or(0) == 0)
            findings.add(port.line, named(port) + " has no range");
        else if (port.base.value && *port.base.value >= *port.range.value)
            findings.add(port.line, "the base " + hexadecimal(*port.base.value) + " of " + named(port) +
                                        " lies beyond its range of " + hexadecimal(*port.range.value));
    }
}

void checkMisaligned(const KernelFacts& kernel, Findings& findings) {
    onControlPort(kernel, findings, [&](const Place& place) {
        if (place.offset % 4 != 0)
            findings.add(place.arg->line, named(*place.arg) + " begins at " + hexadecimal(place.offset) +
                                              ", which is no multiple of 4");
    });
}

void checkTypeSize(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args) {
        if (arg.passing != Passing::Value || !arg.size.value) continue;
        const auto size = sizeOfValue(arg.type);
        if (size && !arg.size.is(*size))
            findings.add(arg.line, named(arg) + " has " + hexadecimal(*arg.size.value) +
                                       " bytes, but its type " + quote(arg.type) + " has " +
                                       hexadecimal(*size));
    }
}

void checkPointerType(const KernelFacts& kernel, Findings& findings) {
    for (const ArgFacts& arg : kernel.args) {
        if (arg.type.empty() || !isPlaced(arg)) continue;
        const bool isPointer = arg.passing == Passing::Pointer;
        if (isPointer != isPointerType(arg.type))
            findings.add(arg.line, named(arg) + " is passed as a " + (isPointer ? "pointer" : "value") +
                                       ", but its type " + quote(arg.type) + " is " +
                                       (isPointer ? "none" : "a pointer"));
    }
}

void checkInterrupt(const KernelFacts& kernel, Findings& findings) {
    const bool isKnown =
        kernel.interrupt.empty() || kernel.interrupt == "true" || kernel.interrupt == "false";
    if (!isKnown)
        findings.add(kernel.line,
                     "the interrupt " + quote(kernel.interrupt) + " is neither 'true' nor 'false'");
}

void checkLanguage(const KernelFacts& kernel, Findings& findings) {
    if (kernel.language.empty()) findings.add(kernel.line, "the kernel has no language");
}

void checkLaterVersion(const KernelFacts& kernel, Findings& findings) {
    if (kernel.isLater())
        findings.add(kernel.rootLine, "the document is of version " + std::to_string(kernel.versionMajor) +
                                          "." + std::to_string(kernel.versionMinor) +
                                          ", but nothing later than 1.10 is known");
}

void checkNoArgs(const KernelFacts& kernel, Findings& findings) {
    if (!kernel.slaves.empty() && kernel.args.empty())
        findings.add(kernel.line,
                     "the kernel has the slave " + quote(kernel.slaves.front()->name) + ", but no argument");
}

}  // namespace kfab::lint
