#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What sources in hardware description languages say of the modules in them, as far as that can be read
/// without running a preprocessor.
namespace kfab::lint {

/// A module of Verilog or SystemVerilog, or an entity of VHDL.
struct HdlModule {
    std::string name;
    std::vector<std::string> ports;
    std::string unknown;  ///< why there may be other ports than these; empty where there are not
};

struct HdlSource {
    std::vector<HdlModule> modules;
    std::vector<std::string> included;  ///< files that it includes, as it names them
    std::string hidden;                 ///< why it may define more modules; empty where it does not
};

HdlSource readVerilog(std::string_view text);
HdlSource readVhdl(std::string_view text);

}  // namespace kfab::lint
