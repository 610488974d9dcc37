#include "containers/ip/Parts.h"
#include "containers/ip/Quoted.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kfab::ip {
namespace {

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
        if (!size.value || bits.value.value_or(0) == 0) return product(size, bits);
        return known(*size.value / *bits.value + (*size.value % *bits.value == 0 ? 0 : 1));
    }
};

/// Small documents may describe arrays of any size: no more of their registers, files and fields stand
/// singly.
constexpr std::size_t maximumCopies = 65'536;
constexpr int maximumFileDepth = 32;

/// Flattens the registers of one block.
class RegisterReader {
public:
    RegisterReader(AddressBlock& block, const Units& units, Values& values, std::size_t& copiesLeft)
        : block_(block), units_(units), values_(values), copiesLeft_(copiesLeft) {}

    /// Where something stands whose offset counts from there.
    struct Place {
        std::string prefix;
        Number offset = known(0);
        int depth = 0;
        bool isCopy = false;  // of something that the document has once
    };
    void readAll(lmx60::Element parent, const Place& place);

private:
    void readRegister(lmx60::Element element, const Place& place);
    void readFile(lmx60::Element element, const Place& place);

    /// Passes on the place of each element of an array, or the one place of what is no array.
    template <class Use>
    void forEachPlace(lmx60::Element element, const Place& first, const Number& unitsApart, const Use& use);

    bool spend(std::size_t copies);

    AddressBlock& block_;
    const Units& units_;
    Values& values_;
    std::size_t& copiesLeft_;
};

bool RegisterReader::spend(std::size_t copies) {
    if (copies > copiesLeft_) {
        block_.incomplete = "the arrays of registers have too many elements";
        return false;
    }
    copiesLeft_ -= copies;
    return true;
}

template <class Use>
void RegisterReader::forEachPlace(lmx60::Element element, const Place& first, const Number& unitsApart,
                                  const Use& use) {
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
    if (!isArray) return use(first);
    if (!count.value) {
        block_.incomplete = "the length of the array " + quoted(first.prefix) + ": " + count.unknown;
        return;
    }
    for (std::uint64_t i = 0; i < *count.value && spend(1); ++i)
        use({.prefix = first.prefix + "[" + std::to_string(i) + "]",
             .offset = sum(first.offset, product(distance, known(i))),
             .depth = first.depth,
             .isCopy = true});
}

void RegisterReader::readRegister(lmx60::Element element, const Place& place) {
    auto one = readNew<Register>(element, registerRows, values_);
    if (one.access.empty()) one.access = block_.access;
    const Place first{.prefix = place.prefix + one.name,
                      .offset = sum(units_.inBytes(one.offset), place.offset),
                      .depth = place.depth,
                      .isCopy = place.isCopy};
    forEachPlace(element, first, units_.inUnits(one.size), [&](const Place& at) {
        if (at.isCopy && !spend(one.fields.size() + (place.isCopy ? 1 : 0))) return;
        one.name = at.prefix;
        one.offset = at.offset;
        block_.registers.push_back(one);
    });
}

void RegisterReader::readFile(lmx60::Element element, const Place& place) {
    if (place.isCopy && !spend(1)) return;
    if (place.depth == maximumFileDepth) {
        block_.incomplete = "the register files are nested too deeply";
        return;
    }
    const auto file = readNew<RegisterFile>(element, registerFileRows, values_);
    const Place first{.prefix = place.prefix + file.name,
                      .offset = sum(units_.inBytes(file.offset), place.offset),
                      .depth = place.depth + 1,
                      .isCopy = place.isCopy};
    forEachPlace(element, first, file.range, [&](Place at) {
        at.prefix += ".";
        readAll(element, at);
    });
}

void RegisterReader::readAll(lmx60::Element parent, const Place& place) {
    if (isDefinedElsewhere(parent))
        block_.incomplete =
            "the registers of " + quoted(parent.child("name").text()) + " are defined elsewhere";
    for (const lmx60::Element child : parent.children()) {
        if (!values_.isPresent(child)) continue;
        if (child.name() == "register") readRegister(child, place);
        if (child.name() == "registerFile") readFile(child, place);
    }
}

AddressBlock readBlock(lmx60::Element element, const Units& units, Values& values, std::size_t& copiesLeft) {
    auto block = readNew<AddressBlock>(element, blockRows, values);
    if (block.access.empty()) block.access = "read-write";
    block.base = units.inBytes(block.base);
    block.range = units.inBytes(block.range);
    RegisterReader(block, units, values, copiesLeft).readAll(element, {});
    return block;
}

MemoryMap readMemoryMap(lmx60::Element element, Values& values, std::size_t& copiesLeft) {
    MemoryMap map;
    map.line = {element.line()};
    read<MemoryMap>(map, element, mapRows, values);
    Units units{known(8)};
    if (const lmx60::Element bits = element.child("addressUnitBits")) units.bits = values.numberOf(bits);
    for (const lmx60::Element child : element.children()) {
        if (!values.isPresent(child)) continue;
        if (child.name() == "addressBlock") {
            map.blocks.push_back(readBlock(child, units, values, copiesLeft));
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
    std::size_t copiesLeft = maximumCopies;
    for (const lmx60::Element map : memoryMaps.children())
        if (map.name() == "memoryMap" && values.isPresent(map))
            component.memoryMaps.push_back(readMemoryMap(map, values, copiesLeft));
}

}  // namespace kfab::ip
