#pragma once

#include <cstdint>
#include <string>

namespace kfab::kernel {

/// One bus port of a kernel. Texts are exactly as in its description; empty, or 0, where that has none.
struct PortDesc {
    std::string name;
    std::string mode;
    std::string range;
    std::uint32_t dataWidth = 0;  ///< in bits
    std::string portType;
    std::string base;
};

}  // namespace kfab::kernel
