#include "containers/lint/HdlSource.h"
#include "containers/lint/Lint.h"
#include "tests/support/Findings.h"

#include <gtest/gtest.h>

namespace {

using kfab::lint::Outcome;

/// As "vadd(clk,rst): why there may be more ports; why there may be more modules".
std::string described(const kfab::lint::HdlSource& source) {
    std::string text;
    for (const auto& module : source.modules) {
        text += (text.empty() ? "" : " ") + module.name + "(";
        for (const std::string& port : module.ports)
            text += (text.back() == '(' ? "" : ",") + port;
        text += ")" + (module.unknown.empty() ? "" : ": " + module.unknown);
    }
    for (const std::string& name : source.included)
        text += " +" + name;
    return text + (source.hidden.empty() ? "" : "; " + source.hidden);
}

TEST(Lint, ReadsTheModulesOfSources) {
    // clang-format off
    const std::pair<const char*, const char*> verilog[] = {
        {"module m; endmodule module n(); endmodule", "m() n()"},
        {"module m (a, b, \\c+d , e);\n input a;", "m(a,b,c+d,e)"},
        {"macromodule automatic m import p::*, q::x; #(parameter W = (1, 2), T = int) (input wire [W-1:0] a, b [0:3],\n"
         " output logic q = {1'b0, ~a}, (* keep = \"x)\" *) inout p::t c, bus.slave s, .named(x[1:0]), cls#(4) d);", "m(a,b,q,c,s,named,d)"},
        {"// module no;\n/* module no; */ `define NO module no; \\\n module no2;\nextern module no3(a);\nmodule m(a /* , b */); initial $display(\"module no\"); endmodule", "m(a)"},
        {"`timescale 1ns/1ps\n`include \"d/x.vh\"\n`ifdef A\nmodule m(a);\n`M(x)\nendmodule\n`endif", "m(a) +d/x.vh"},
        {"module m(a, `B); endmodule", "m(a): its header uses '`B'"},
        {"module m(a,\n`ifdef X\nb,\n`endif\nc); endmodule", "m(a): its header uses '`ifdef'"},
        {"module m({a, b}); endmodule module n(.*);", "m(): it has ports without names n(): it has ports without names"},
        {"module m(a, b", "m(a,b): its header does not end"},
        {"`MAKE(m)\nmodule n; endmodule", "n(); uses the macro 'MAKE' outside of modules"},
        {"module `NAME (a); endmodule", "; has a module whose name is made by a macro"},
        {"`include `WHAT", "; includes a file that it does not name"},
        {"module m(a); endmodule\n`pragma protect begin_protected\nmodule n; endmodule", "m(a); is encrypted"},
        {"`protected\nmodule", "; is encrypted"},
        {"\"\\", ""}, {"/*", ""}, {"`", "; uses the macro '' outside of modules"}, {"module", "; has a module whose name is made by a macro"},
    };
    const std::pair<const char*, const char*> vhdl[] = {
        {"ENTITY work_top is generic (w : natural := f(8)); port (a, B : in std_logic_vector(w - 1 downto 0) := (others => '0');\n"
         "signal \\c.d\\ : out bit); -- e : in bit;\n end entity work_top; entity n is end n;", "work_top(a,B,c.d) n()"},
        {"architecture a of m is begin u : entity work.n port map (x => y); end; attribute k of m : entity is \"entity z is\"; c <= '\"'; entity o is end;", "o()"},
        {"`protect begin_protected\nentity m is end;", "; is encrypted"},
        {"entity m is port (", "m()"},
    };
    // clang-format on
    for (const auto& [text, expected] : verilog)
        EXPECT_EQ(described(kfab::lint::readVerilog(text)), expected) << text;
    for (const auto& [text, expected] : vhdl)
        EXPECT_EQ(described(kfab::lint::readVhdl(text)), expected) << text;
}

/// The findings and what is unchecked, after one piece of the component and the whole top source changed.
Texts linesWithTop(const std::string& piece, const std::string& other, const std::string& name,
                   const std::string& source) {
    const ExampleDirectory directory;
    directory.edit("ip/component.xml", piece, other);
    if (!name.empty()) directory.file("ip/hdl/" + name, source);
    const Outcome outcome =
        kfab::lint::lintKernel({.kernelXml = directory / "kernel.xml", .ipDir = directory / "ip"});
    Texts lines = linesOf(outcome);
    for (const auto& each : outcome.unchecked)
        lines.push_back(each.reason + " [" + each.code + "]");
    return lines;
}

TEST(Lint, HoldsTheComponentAgainstTheSourceOfItsTopModule) {
    const std::string top = "<ipxact:moduleName>vadd<",
                      file = "hdl/vadd.v</ipxact:name><ipxact:fileType>verilogSource<",
                      noPort = ", mapped to 'CLK' of the interface 'clk', is no port of the ";
    const std::string clock = "<ipxact:physicalPort><ipxact:name>clk<";
    const auto both = [](const std::string& reason) {
        return Texts{reason + " [ip-top]", reason + " [ip-hdl-port]"};
    };
    std::string header = TemporaryDirectory::read(KP_EXAMPLES_DIR "/vadd/ip/hdl/vadd.v");
    header.resize(header.find(");") + 2);
    const auto with = [&](const std::string& piece, const std::string& other) {
        return std::string(header).replace(header.find(piece), piece.size(), other);
    };
    const std::tuple<std::string, std::string, std::string, std::string, Texts> rows[] = {
        // clang-format off
        {top, top, "vadd.v", header, {}},
        {top, "<ipxact:moduleName>vad<", "", "", {"component.xml:209: no source of the view 'synthesis' defines its top module 'vad'; did you mean 'vadd'? [ip-top]"}},
        {top, "<ipxact:moduleName><", "", "", both("the view 'synthesis' names no top module")},
        {clock, "<ipxact:physicalPort><ipxact:name>cl<", "", "", {"component.xml:87: the port 'cl'" + noPort + "component; did you mean 'clk'? [ip-hdl-port]"}},
        {top, top, "vadd.v", with("clk", "ck"), {"component.xml:87: the port 'clk'" + noPort + "top module 'vadd' in 'hdl/vadd.v'; did you mean 'ck'? [ip-hdl-port]"}},
        {top, top, "vadd.v", with("input  wire        clk", "`CLOCK"), {"of the top module 'vadd': its header uses '`CLOCK' [ip-hdl-port]"}},
        {top, top, "vadd.v", header + header, {"of the top module 'vadd': the file 'hdl/vadd.v' defines it more than once [ip-hdl-port]"}},
        {top, top, "vadd.v", "`include \"top.vh\"", both("the included file 'top.vh' is in no file set of the view")},
        {top, top, "vadd.v", "`pragma protect begin", both("the file 'hdl/vadd.v' is encrypted")},
        {top, top, "vadd.v", std::string("module\0", 7), both("the file 'hdl/vadd.v' is no text")},
        {file, "hdl/vadd.edf</ipxact:name><ipxact:fileType>edif<", "vadd.edf", "", both("the file 'hdl/vadd.edf' is no source that can be read")},
        // clang-format on
    };
    for (const auto& [piece, other, name, source, lines] : rows)
        EXPECT_EQ(linesWithTop(piece, other, name, source), lines) << other << source;
    EXPECT_EQ(linesWithTop(file, "hdl/vadd.vhd</ipxact:name><ipxact:fileType>vhdlSource-93<", "vadd.vhd",
                           "entity VADD is port (CLK : in bit); end;")
                  .size(),
              37U);
}

}  // namespace
