#include "containers/overview/Parts.h"

#include <algorithm>
#include <iterator>

namespace kfab::overview {
namespace {

Stretch stretchOf(const lint::Place& place) {
    const bool isPointer = place.arg->passing == Passing::Pointer;
    return {.use = isPointer ? Stretch::Use::Pointer : Stretch::Use::Value,
            .offset = place.offset,
            .size = place.size,
            .argument = place.arg->name,
            .through = isPointer ? place.arg->portName : std::string()};
}

/// What lies on the slave, in order of offsets.
std::vector<Stretch> usedBytes(const lint::KernelFacts& facts, const lint::PortFacts& slave) {
    std::vector<Stretch> used;
    if (facts.hasControlBlock() && facts.controlPort() == &slave)
        used.push_back({.use = Stretch::Use::Control, .size = lint::controlBlockSize});
    for (const lint::Place& place : facts.places)
        if (place.port == &slave) used.push_back(stretchOf(place));
    std::stable_sort(used.begin(), used.end(),
                     [](const Stretch& a, const Stretch& b) { return a.offset < b.offset; });
    return used;
}

AddressMap mapOf(const lint::KernelFacts& facts, const lint::PortFacts& slave) {
    AddressMap map{.port = slave.name, .range = slave.range.value};
    if (slave.range.is(0)) map.range.reset();
    std::uint64_t end = 0;
    const auto addGap = [&](std::uint64_t next) {
        if (next > end) map.stretches.push_back({.offset = end, .size = next - end});
    };
    for (Stretch& stretch : usedBytes(facts, slave)) {
        addGap(stretch.offset);
        stretch.shared = std::min(end, stretch.end()) - std::min(end, stretch.offset);
        stretch.isBeyond = map.range && stretch.end() > *map.range;
        end = std::max(end, stretch.end());
        map.stretches.push_back(std::move(stretch));
    }
    if (map.range) addGap(*map.range);
    return map;
}

}  // namespace

std::uint64_t Stretch::end() const {
    return lint::sumOf(offset, size);
}

std::vector<AddressMap> addressMapsOf(const lint::KernelFacts& facts) {
    std::vector<AddressMap> maps;
    std::transform(facts.slaves.begin(), facts.slaves.end(), std::back_inserter(maps),
                   [&](const lint::PortFacts* slave) { return mapOf(facts, *slave); });
    return maps;
}

}  // namespace kfab::overview
