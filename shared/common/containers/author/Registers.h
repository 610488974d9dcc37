#pragma once

#include "containers/ip/ComponentFacts.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace kfab::author {

/// Where the registers of a slave lie that arguments are written to. Offsets are in bytes, from address 0 of
/// the slave. What cannot be told throws KernelRefused, which lacks the argument's offset.
class Registers {
public:
    /// @param slave whose address block, if any, has a base that is known
    Registers(const ip::IpComponent& component, const ip::BusInterface& slave);

    /// Of the register that has the argument's name, or the first one of several that adjoin each other and
    /// have its name and an ending; none when there is no such register. `arguments` are the names of all.
    std::optional<std::uint64_t> offsetOf(const std::string& argument, std::uint64_t size,
                                          const std::set<std::string>& arguments) const;

    /// Where the last register ends; 0 when none is described.
    std::uint64_t end(const std::string& argument) const;

private:
    struct Place {
        std::uint64_t offset, bytes;
    };
    Place placeOf(const ip::Register& reg, const std::string& argument) const;
    std::uint64_t bytesFrom(Place first, const std::string& argument, std::uint64_t size) const;
    [[noreturn]] void refuse(const std::string& reason, const std::string& argument) const;

    const ip::BusInterface& slave_;
    ip::Found<ip::AddressBlock> block_;
    std::uint64_t base_ = 0;                                      // of the block
    std::multimap<std::uint64_t, const ip::Register*> byOffset_;  // of the block; of those that are known
};

}  // namespace kfab::author
