#pragma once

#include "containers/ip/IpComponent.h"
#include "containers/lint/PortFacts.h"
#include "containers/lint/TopModule.h"
#include "platform/xml/ElementTree.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kfab::lint {

struct ArgFacts {
    std::string name, portName, type;
    std::uint64_t qualifier = 0;
    NumberText id, size, offset, hostOffset, hostSize;
    int line = 0;
    const PortFacts* port = nullptr;  ///< none when there is none of the name
    Passing passing = Passing::Unknown;
};

/// The largest number where the sum is beyond 64 bits.
std::uint64_t sumOf(std::uint64_t a, std::uint64_t b);

/// The bytes of a slave that an argument's value, or a pointer's address, takes.
struct Place {
    const ArgFacts* arg;
    const PortFacts* port;
    std::uint64_t offset, size;

    /// Where it ends.
    std::uint64_t end() const { return sumOf(offset, size); }
};

enum class IpState {
    NotGiven,   ///< unknown whether there is one
    NotNeeded,  ///< the kernel has none, and needs none
    Missing,
    Unreadable,
    OtherFormat,
    Read,
};

struct IpFacts {
    IpState state = IpState::NotGiven;
    std::string document;  ///< the component's path, or its name in the package
    std::string problem;   ///< why it could not be read
    int line = 0;          ///< of the problem
    ip::IpComponent component;
    IpFiles files;
    TopModule top;  ///< of a component that was read
};

/// What the manifest of a package says of the kernel.
struct EntryFacts {
    std::string document;
    int line = 0;
    std::string topIp;  ///< the top IP directory, where the package lacks it
};

/// How many bytes the control registers take.
inline constexpr std::uint64_t controlBlockSize = 0x10;

/// Everything about one kernel, numbers parsed once, each thing with its line.
struct KernelFacts {
    std::string kernel;  ///< what findings call it
    std::string document;
    int line = 0, rootLine = 0;
    std::uint64_t versionMajor = 0, versionMinor = 0;
    std::string name, language, vlnv, interrupt, protocol, debug;
    std::vector<PortFacts> ports;
    std::vector<ArgFacts> args;
    std::vector<const PortFacts*> slaves;  ///< the addressable ones
    std::vector<Place> places;             ///< of all values and pointers whose place is known

    IpFacts ip;
    std::optional<EntryFacts> entry;
    std::string sharing;              ///< another kernel of the package that has its VLNV; empty for none
    std::size_t sharingCount = 0;     ///< how many there are
    std::vector<std::string> strays;  ///< left-overs of editors and the like that are packed

    std::string reportDocument;
    lmx60::Element report;                                         ///< the profile; none when there is none
    std::vector<std::shared_ptr<const lmx60::ElementTree>> trees;  ///< what elements belong to

    /// The only addressable slave; none when there are several or none.
    const PortFacts* controlPort() const { return slaves.size() == 1 ? slaves.front() : nullptr; }
    bool hasRegisters() const;
    /// Whether the control registers are known to take the first bytes of the control port.
    bool hasControlBlock() const { return protocol == "start_done"; }
    bool isLater() const;
    /// Its fields; fewer or more than four when it is none.
    std::vector<std::string> vlnvFields() const;
};

/// Takes the facts of a description. Throws lmx60::ReadError for a document that is none; one of a later
/// version may hold what is not known.
void takeDescription(KernelFacts& facts, std::string document);

/// Reads a component, and the sources of its top module. What is wrong with it becomes the state.
void takeComponent(IpFacts& ip, std::string document, IpFiles files);

/// Whether a file's path says that it is a left-over of an editor, of version control or of a system.
bool isStray(std::string_view path);

}  // namespace kfab::lint
