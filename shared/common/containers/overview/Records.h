#pragma once

#include "containers/lint/Outcome.h"
#include "containers/lint/PortFacts.h"
#include "containers/lint/Timing.h"
#include "platform/base/Export.h"
#include "platform/zip/ArchiveDigest.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// What there is to show of packages and kernels, typed, whoever shows it. Texts of documents and names are
/// as found: they may hold anything.
namespace kfab::overview {

using lint::NumberText;
using lint::Passing;
using lint::Timing;

struct Package {
    std::string path;
    std::uint64_t size = 0;  ///< of the file, in bytes
    std::size_t fileCount = 0;
    std::uint64_t contentSize = 0;  ///< what the files add up to, in bytes
    std::uint32_t formatMajor = 0, formatMinor = 0;
    std::uint32_t softwareMajor = 0, softwareMinor = 0;  ///< what wrote it; 0.0 when it does not say
    std::time_t written = 0;                             ///< the time of its manifest
    DigestVerdict digest = DigestVerdict::Unreadable;
    std::string seal;  ///< the digest that it carries
    std::vector<std::string> ipCaches;
};

/// What the manifest of a package says of a kernel. Folders are names in the package.
struct Entry {
    std::string folder, ip, topIp, project;
    std::vector<std::string> flows;
};

struct Argument {
    std::string name, type, port;
    Passing passing = Passing::Unknown;
    NumberText id, size, offset, hostOffset, hostSize;
};

/// Bytes of a slave that belong together.
struct Stretch {
    enum class Use {
        Control,  ///< the registers that start the kernel
        Value,    ///< an argument's value
        Pointer,  ///< the address of an argument's data
        Gap,      ///< nothing
    };
    Use use = Use::Gap;
    std::uint64_t offset = 0, size = 0;
    std::string argument = {};
    std::string through = {};  ///< the port that a pointer's data go through
    std::uint64_t shared = 0;  ///< how many of the bytes something before it has as well
    bool isBeyond = false;     ///< whether it ends beyond the port's range

    /// The byte behind it, or the last one that has an address.
    std::uint64_t end() const;
};

/// A slave in order of offsets, from its first byte to its last; gaps are stretches of their own.
struct AddressMap {
    std::string port;
    std::optional<std::uint64_t> range;  ///< how many bytes the port has
    std::vector<Stretch> stretches = {};
};

/// Texts, as the report has them: "12", "48.00 ns", "undef".
struct Latency {
    struct Case {
        std::string cycles, time;
    };
    Case best, average, worst;
    std::string interval, pipeline;
};

/// What a module takes of the device; none where the report does not say.
struct Resources {
    using Count = std::optional<std::uint64_t>;
    Count lut, ff, bram, dsp, uram, slice;
};

struct ResourceKind {
    const char* name;     ///< what people call it
    const char* element;  ///< what reports call it
    Resources::Count Resources::*count;
};

inline constexpr ResourceKind resourceKinds[] = {
    {"LUT", "LUT", &Resources::lut},        {"FF", "FF", &Resources::ff},
    {"BRAM", "BRAM_18K", &Resources::bram}, {"DSP", "DSP48E", &Resources::dsp},
    {"URAM", "URAM", &Resources::uram},     {"SLICE", "SLICE", &Resources::slice},
};

struct Module {
    std::string name;
    Timing timing;
    std::optional<Latency> latency;
    Resources resources = {};
};

/// An instance of a module; those in it follow, one level deeper.
struct Instance {
    std::size_t level = 0;  ///< 0 for a module at the top, which has no name and id
    std::string name, moduleName, id;
    std::optional<std::size_t> module = {};  ///< which one of the report's; none when it says nothing of it
};

struct Fifo {
    std::string name, parent, staticDepth, runtimeDepth;
    std::vector<std::string> ends = {};
};

/// The figures of synthesis. Of loops a description keeps none.
struct KP_EXPORT Report {
    std::vector<Module> modules;
    std::vector<Instance> instances;  ///< in the order of the tree
    std::vector<Fifo> fifos;

    /// The module at the top; none when it is not told, or nothing is told of it.
    const Module* top() const;
    /// Of those below the top, the one that takes most of something; none when nobody takes any.
    const Module* largest(Resources::Count Resources::*count) const;
};

struct File {
    std::string part;  ///< "description", "ip", "cpu-source" ...; "other" for what belongs to none
    std::string name;  ///< in the package, or a path
    std::uint64_t size = 0, storedSize = 0;
};

struct Kernel {
    std::string name;      ///< in the manifest, else in the description
    std::string document;  ///< the description
    std::string problem;   ///< why that could not be read; the rest up to the files is empty then
    std::uint64_t versionMajor = 0, versionMinor = 0;
    std::string language, vlnv, protocol, interrupt, debug;
    std::vector<lint::PortFacts> ports;
    std::vector<Argument> arguments;
    std::vector<AddressMap> maps;  ///< of each slave
    std::optional<Report> report;
    lint::Outcome findings;
    std::optional<Entry> entry;  ///< none outside a package
    std::vector<File> files;     ///< by part, then by name
};

struct Overview {
    std::optional<Package> package;
    std::vector<Kernel> kernels;
};

}  // namespace kfab::overview
