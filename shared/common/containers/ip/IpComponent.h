#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What an IP says of itself: an IEEE 1685 (IP-XACT) component, the same for all editions of the standard.
namespace kfab::ip {

/// The line of the document that something stands in, from 1; 0 for none. It is no part of what is said
/// there: any two are equal.
struct Line {
    int number = 0;
    friend bool operator==(Line, Line) { return true; }
};

/// A number that a component gives, worked out with its parameters at the values that it gives them.
struct Number {
    std::optional<std::uint64_t> value;
    std::string unknown = "it is not given";  ///< why there is no value; empty where there is one
    Line line;

    bool operator==(const Number&) const = default;
};

struct Vlnv {
    std::string vendor, library, name, version;
    Line line;

    /// "vendor:library:name:version".
    std::string text() const { return vendor + ":" + library + ":" + name + ":" + version; }
    bool operator==(const Vlnv&) const = default;
};

enum class ParameterType { Text, Integer, Real, Bits };

/// Values are texts as found; those of numbers may be expressions.
struct Parameter {
    std::string name;
    ParameterType type = ParameterType::Text;
    std::string value;
    std::string minimum, maximum;  ///< empty for none
    std::string choice;            ///< the name of the choice that has all its values; empty for any
    Line line;

    bool operator==(const Parameter&) const = default;
};

struct Choice {
    std::string name;
    std::vector<std::string> values;
    Line line;

    bool operator==(const Choice&) const = default;
};

enum class Direction {
    In,
    Out,
    InOut,
    Phantom,  ///< no signal of its own
    None,     ///< no wires: a transactional or structured port
};

struct Port {
    std::string name;
    Direction direction = Direction::None;
    Number width;          ///< in bits, of all elements of an array together
    bool isClock = false;  ///< whether its driver or qualifier says so; see also clockPorts()
    Line line;

    bool operator==(const Port&) const = default;
};

/// What one signal of a bus is in the component.
struct PortMap {
    std::string logical;   ///< the bus's name of it, such as "AWADDR"
    std::string physical;  ///< a port; empty for a constant
    Number width;          ///< in bits: what of the port is mapped
    Line line;

    bool operator==(const PortMap&) const = default;
};

/// Masters are initiators and slaves targets in later editions.
enum class BusMode { Master, Slave, System, MirroredMaster, MirroredSlave, MirroredSystem, Monitor };

/// As the logical ports tell, whatever the bus is called.
enum class BusKind {
    MemoryMapped,      ///< with bursts, as AXI4
    MemoryMappedLite,  ///< without, as AXI4-Lite
    Stream,
    Clock,
    Reset,
    Other,
};

struct BusInterface {
    std::string name;
    BusMode mode = BusMode::Monitor;
    BusKind kind = BusKind::Other;
    Vlnv busType;
    std::vector<PortMap> portMaps;
    std::string memoryMap;     ///< of a slave; empty for none
    std::string addressSpace;  ///< of a master; empty for none
    std::vector<Parameter> parameters;
    Line line;

    bool operator==(const BusInterface&) const = default;
};

struct AddressSpace {
    std::string name;
    Number range;  ///< in bytes
    Number width;  ///< in bits
    Line line;

    bool operator==(const AddressSpace&) const = default;
};

struct BitField {
    std::string name;
    Number offset, width;  ///< in bits
    Line line;

    bool operator==(const BitField&) const = default;
};

/// One register; those of arrays and of register files stand singly, as "file.name" and "name[2]".
struct Register {
    std::string name;
    Number offset;       ///< in bytes, from the beginning of the address block
    Number size;         ///< in bits
    std::string access;  ///< such as "read-write"; of the address block where it has none of its own
    std::vector<BitField> fields;
    Line line;

    bool operator==(const Register&) const = default;
};

struct AddressBlock {
    std::string name;
    Number base, range;  ///< in bytes
    Number width;        ///< in bits
    std::string usage, access;
    std::vector<Register> registers;
    std::string incomplete;  ///< why there may be more registers than these; empty where there are not
    Line line;

    bool operator==(const AddressBlock&) const = default;
};

struct MemoryMap {
    std::string name;
    std::vector<AddressBlock> blocks;
    std::string incomplete;  ///< why there may be more blocks than these; empty where there are not
    Line line;

    bool operator==(const MemoryMap&) const = default;
};

struct File {
    std::string name;  ///< a path from the component's directory, as found: it may lead anywhere
    std::vector<std::string> types;  ///< such as "verilogSource"
    bool isInclude = false;
    Line line;

    bool operator==(const File&) const = default;
};

struct FileSet {
    std::string name;
    std::vector<File> files;
    Line line;

    bool operator==(const FileSet&) const = default;
};

/// One way to look at the component, such as for synthesis.
struct View {
    std::string name;
    std::vector<std::string> environments;  ///< what it is for, such as "*:synthesis:"
    std::string language;
    std::string module;                 ///< the top module; empty for none
    std::vector<std::string> fileSets;  ///< names
    std::optional<Vlnv> design;         ///< where the view is made of other components
    Line line, moduleLine;

    bool operator==(const View&) const = default;
};

/// An IEEE 1685 component. Lists are in document order. What the document says is present only under a
/// condition is left out where that is known not to hold.
struct IpComponent {
    Vlnv vlnv;
    std::vector<BusInterface> busInterfaces;
    std::vector<Port> ports;
    std::vector<MemoryMap> memoryMaps;
    std::vector<AddressSpace> addressSpaces;
    std::vector<Parameter> parameters;
    std::vector<Parameter> moduleParameters;  ///< of the top modules of all views
    std::vector<Choice> choices;
    std::vector<FileSet> fileSets;
    std::vector<View> views;

    bool operator==(const IpComponent&) const = default;
};

}  // namespace kfab::ip
