#pragma once

#include <cstdint>
#include <string>

namespace kfab::kernel {

/// One argument of a kernel. Texts are exactly as in its description; empty, or 0, where that has none.
struct ArgDesc {
    std::string name;
    std::uint32_t addressQualifier = 0;
    std::string id;
    std::string port;
    std::string size;
    std::string offset;
    std::string hostOffset;
    std::string hostSize;
    std::string type;
    std::string memSize;
    std::string origName;
    std::string origUse;
};

}  // namespace kfab::kernel
