#include "containers/ip/Parts.h"
#include "platform/xml/Quoted.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kfab::ip {
namespace {

using lmx60::quoted;

constexpr Row<BitField> bitFieldRows[] = {
    name<&BitField::name>("name"),
    number<&BitField::offset>("bitOffset", Needed::Yes),
    number<&BitField::width>("bitWidth", Needed::Yes),
};

constexpr Row<Register> registerRows[] = {
    name<&Register::name>("name"),
    number<&Register::offset>("addressOffset", Needed::Yes),
    number<&Register::size>("size", Needed::Yes),
    text<&Register::access>("access"),
    text<&Register::access>("accessPolicies/accessPolicy/access"),
    records<&Register::fields, bitFieldRows>("field"),
};

/// Registers that stand together in a file of them.
struct RegisterFile {
    std::string name;
    Number offset, range;
    Line line;
};

constexpr Row<RegisterFile> registerFileRows[] = {
    name<&RegisterFile::name>("name"),
    number<&RegisterFile::offset>("addressOffset", Needed::Yes),
    number<&RegisterFile::range>("range", Needed::Yes),
};

constexpr Row<AddressBlock> blockRows[] = {
    name<&AddressBlock::name>("name"),
    number<&AddressBlock::base>("baseAddress", Needed::Yes),
    number<&AddressBlock::range>("range", Needed::Yes),
    number<&AddressBlock::width>("width", Needed::Yes),
    text<&AddressBlock::usage>("usage"),
    text<&AddressBlock::access>("access"),
    text<&AddressBlock::access>("accessPolicies/accessPolicy/access"),
};

constexpr Row<MemoryMap> mapRows[] = {
    name<&MemoryMap::name>("name"),
};

/// Addresses are counted in units of so many bits, mostly of 8.
struct Units {
    Number bits;

    Number inBytes(const Number& units) const {
        if (bits.value && *bits.value % 8 == 0) return product(units, known(*bits.value / 8));
        Number bytes = product(units, bits);
        if (bytes.value && *bytes.value % 8 != 0)
            bytes = {.value = {}, .unknown = "it is no whole number of bytes", .line = units.line};
        if (bytes.value) *bytes.value /= 8;
        return bytes;
    }

    /// As many units as hold so many bits.
    Number inUnits(const Number& size) const {
        if (!size.value || !bits.value) return product(size, bits);
        return known(*size.value / *bits.value + (*size.value % *bits.value == 0 ? 0 : 1));
    }
};

/// Small documents may describe arrays of any size, and files with long names: what stands singly of them
/// takes no more memory than this in one component.
constexpr std::size_t maximumFlattened = std::size_t{256} << 20;
constexpr int maximumFileDepth = 32;

/// Flattens the registers of one block.
class RegisterReader {
public:
    RegisterReader(AddressBlock& block, const Units& units, Values& values, std::size_t& bytesLeft)
        : block_(block), units_(units), values_(values), bytesLeft_(bytesLeft) {}

    /// The registers below an element, with their offsets from it.
    std::vector<Register> readAll(lmx60::Element parent, int depth = 0);

private:
    std::vector<Register> readRegister(lmx60::Element element);
    std::vector<Register> readFile(lmx60::Element element, int depth);

    /// What an element of a name and an offset holds, at each of the places that it has when it is an array
    /// with so many units from one to the next.
    std::vector<Register> spread(lmx60::Element element, const std::string& name, const Number& offset,
                                 const Number& unitsApart, const std::vector<Register>& held);
    bool place(const std::vector<Register>& held, const std::string& name, const Number& offset,
               std::vector<Register>& to);

    AddressBlock& block_;
    const Units& units_;
    Values& values_;
    std::size_t& bytesLeft_;
};

std::size_t sizeOf(const Register& one) {
    std::size_t bytes = sizeof(Register) + one.name.size() + one.access.size();
    for (const BitField& field : one.fields)
        bytes += sizeof(BitField) + field.name.size();
    return bytes;
}

/// False when that would take too much memory.
bool RegisterReader::place(const std::vector<Register>& held, const std::string& name, const Number& offset,
                           std::vector<Register>& to) {
    std::size_t bytes = sizeof(Register);
    for (const Register& one : held)
        bytes += sizeOf(one) + name.size();
    if (bytes > bytesLeft_) {
        block_.incomplete = "its arrays and files of registers are too large";
        return false;
    }
    bytesLeft_ -= bytes;
    for (const Register& one : held) {
        Register& placed = to.emplace_back(one);
        placed.name = name + one.name;
        placed.offset = sum(one.offset, offset);
    }
    return true;
}

std::vector<Register> RegisterReader::spread(lmx60::Element element, const std::string& name,
                                             const Number& offset, const Number& unitsApart,
                                             const std::vector<Register>& held) {
    Number count = known(1);
    Number distance = units_.inBytes(unitsApart);
    bool isArray = false;
    for (const char* path : {"dim", "array/dim"})
        forEach(element, path, [&](lmx60::Element dimension) {
            count = product(count, values_.numberOf(dimension));
            isArray = true;
        });
    forEach(element, "array/stride",
            [&](lmx60::Element stride) { distance = units_.inBytes(values_.numberOf(stride)); });
    std::vector<Register> placed;
    if (!isArray) {
        place(held, name, offset, placed);
    } else if (!count.value) {
        block_.incomplete = "the length of the array " + quoted(name) + ": " + count.unknown;
    }
    for (std::uint64_t i = 0; isArray && i < count.value.value_or(0); ++i) {
        const Number at = sum(offset, product(distance, known(i)));
        if (!place(held, name + "[" + std::to_string(i) + "]", at, placed)) break;
    }
    return placed;
}

std::vector<Register> RegisterReader::readRegister(lmx60::Element element) {
    auto one = readNew<Register>(element, registerRows, values_);
    if (one.access.empty()) one.access = block_.access;
    const Number offset = units_.inBytes(std::exchange(one.offset, known(0)));
    one.offset.line = offset.line;
    const std::string name = std::exchange(one.name, {});
    return spread(element, name, offset, units_.inUnits(one.size), {one});
}

std::vector<Register> RegisterReader::readFile(lmx60::Element element, int depth) {
    if (depth == maximumFileDepth) {
        block_.incomplete = "its register files are nested too deeply";
        return {};
    }
    const auto file = readNew<RegisterFile>(element, registerFileRows, values_);
    std::vector<Register> held = readAll(element, depth + 1);
    for (Register& one : held)
        one.name.insert(0, ".");
    return spread(element, file.name, units_.inBytes(file.offset), file.range, held);
}

std::vector<Register> RegisterReader::readAll(lmx60::Element parent, int depth) {
    if (isDefinedElsewhere(parent))
        block_.incomplete =
            "the registers of " + quoted(parent.child("name").text()) + " are defined elsewhere";
    std::vector<Register> all;
    for (const lmx60::Element child : parent.children()) {
        const bool isRegister = child.name() == "register";
        if ((!isRegister && child.name() != "registerFile") || !values_.isPresent(child)) continue;
        for (Register& one : isRegister ? readRegister(child) : readFile(child, depth))
            all.push_back(std::move(one));
    }
    return all;
}

AddressBlock readBlock(lmx60::Element element, const Units& units, Values& values, std::size_t& bytesLeft) {
    auto block = readNew<AddressBlock>(element, blockRows, values);
    if (block.access.empty()) block.access = "read-write";
    block.base = units.inBytes(block.base);
    block.range = units.inBytes(block.range);
    block.registers = RegisterReader(block, units, values, bytesLeft).readAll(element);
    return block;
}

MemoryMap readMemoryMap(lmx60::Element element, Values& values, std::size_t& bytesLeft) {
    MemoryMap map;
    map.line = {element.line()};
    read<MemoryMap>(map, element, mapRows, values);
    Units units{known(8)};
    if (const lmx60::Element bits = element.child("addressUnitBits")) units.bits = values.numberOf(bits);
    if (units.bits.value == 0)
        units.bits = {.value = {}, .unknown = "an address unit has no bits", .line = {}};
    for (const lmx60::Element child : element.children()) {
        if (!values.isPresent(child)) continue;
        if (child.name() == "addressBlock") {
            map.blocks.push_back(readBlock(child, units, values, bytesLeft));
        } else if (child.name() == "bank" || child.name() == "subspaceMap" ||
                   child.name() == "memoryMapDefinitionRef") {
            map.incomplete = "of the memory map " + quoted(map.name) + " a " + std::string(child.name()) +
                             " is not worked out";
        }
    }
    return map;
}

}  // namespace

void takeMemoryMaps(IpComponent& component, lmx60::Element memoryMaps, Values& values) {
    std::size_t bytesLeft = maximumFlattened;
    for (const lmx60::Element map : memoryMaps.children())
        if (map.name() == "memoryMap" && values.isPresent(map))
            component.memoryMaps.push_back(readMemoryMap(map, values, bytesLeft));
}

}  // namespace kfab::ip
