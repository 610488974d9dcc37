#include "containers/author/Registers.h"

#include "containers/author/KernelRefused.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <limits>

namespace kfab::author {
namespace {

/// How the first of several registers of one argument is called behind its name.
constexpr std::string_view firstEndings[] = {"_low", "_lo", "_l", "_lsb", "_0", "_1", "[0]"};

bool isCalled(const ip::Register& reg, const std::string& argument, std::string_view ending) {
    return reg.name.starts_with(argument) &&
           HSTStringUtils::equalsIgnoreCase(std::string_view(reg.name).substr(argument.size()), ending);
}

/// Argument of less than a word may have a word to themselves.
bool fits(std::uint64_t bytes, std::uint64_t size) {
    constexpr std::uint64_t word = 4;
    return bytes == size || (bytes == word && size < word);
}

}  // namespace

Registers::Registers(const ip::IpComponent& component, const ip::BusInterface& slave)
    : slave_(slave), block_(ip::addressBlock(component, slave)) {
    if (block_.part == nullptr) return;
    base_ = block_.part->base.value.value();
    for (const ip::Register& reg : block_.part->registers)
        if (reg.offset.value) byOffset_.emplace(*reg.offset.value, &reg);
}

void Registers::refuse(const std::string& reason, const std::string& argument) const {
    throw KernelRefused("Where the argument " + HUTPathUtils::quoted(argument) + " lies on " +
                            HUTPathUtils::quoted(slave_.name) +
                            " cannot be told: " + HUTPathUtils::shown(reason),
                        KernelRefused::Lacking::Offset, argument);
}

Registers::Place Registers::placeOf(const ip::Register& reg, const std::string& argument) const {
    const std::string named = " of the register '" + reg.name + "' is not known: ";
    if (!reg.offset.value) refuse("the offset" + named + reg.offset.unknown, argument);
    if (!reg.size.value) refuse("the size" + named + reg.size.unknown, argument);
    const std::uint64_t bytes = *reg.size.value / 8 + (*reg.size.value % 8 != 0 ? 1 : 0);
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    if (*reg.offset.value > most - base_ || bytes > most - base_ - *reg.offset.value)
        refuse("the register '" + reg.name + "' ends beyond 64 bits", argument);
    return {base_ + *reg.offset.value, bytes};
}

/// How many bytes the register and those of the argument's name that adjoin it have, until they are enough.
std::uint64_t Registers::bytesFrom(Place first, const std::string& argument, std::uint64_t size) const {
    std::uint64_t bytes = first.bytes;
    while (bytes < size) {
        const auto [begin, end] = byOffset_.equal_range(first.offset - base_ + bytes);
        const auto next = std::find_if(
            begin, end, [&](const auto& entry) { return entry.second->name.starts_with(argument); });
        const std::uint64_t added = next == end ? 0 : placeOf(*next->second, argument).bytes;
        if (added == 0) break;
        bytes += added;
    }
    return bytes;
}

std::optional<std::uint64_t> Registers::offsetOf(const std::string& argument, std::uint64_t size,
                                                 const std::set<std::string>& arguments) const {
    if (block_.part == nullptr) {
        if (!slave_.memoryMap.empty()) refuse(block_.unknown, argument);
        return {};
    }
    std::string misfit;
    const auto offsetIfCalled = [&](std::string_view ending) -> std::optional<std::uint64_t> {
        for (const ip::Register& reg : block_.part->registers) {
            if (!isCalled(reg, argument, ending)) continue;
            if (!ending.empty() && arguments.contains(reg.name)) continue;
            const Place place = placeOf(reg, argument);
            if (!ending.empty() && place.bytes >= size) continue;  // not one of several
            const std::uint64_t bytes = bytesFrom(place, argument, size);
            if (fits(bytes, size)) return place.offset;
            misfit = "its register '" + reg.name + "' has " + std::to_string(bytes) + " bytes, and it has " +
                     std::to_string(size);
        }
        return {};
    };
    if (const auto offset = offsetIfCalled("")) return offset;
    for (const std::string_view ending : firstEndings)
        if (const auto offset = offsetIfCalled(ending)) return offset;
    if (!misfit.empty()) refuse(misfit, argument);
    if (!block_.part->incomplete.empty()) refuse(block_.part->incomplete, argument);
    return {};
}

std::uint64_t Registers::end(const std::string& argument) const {
    std::uint64_t end = 0;
    if (block_.part == nullptr) return end;
    for (const ip::Register& reg : block_.part->registers) {
        const Place place = placeOf(reg, argument);
        end = std::max(end, place.offset + place.bytes);
    }
    return end;
}

}  // namespace kfab::author
