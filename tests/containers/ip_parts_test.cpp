#include "containers/ip/ComponentFacts.h"
#include "containers/ip/ComponentReader.h"
#include "tests/support/Components.h"

#include <sstream>
#include <utility>

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>

namespace {

using namespace kfab::ip;
using testing::ElementsAre;

std::string shown(const Number& number) {
    return number.value ? std::to_string(*number.value) : number.unknown;
}

/// The number that an expression in a component with some parameters is worth, or why it is unknown.
std::string worth(const std::string& expression, const std::string& attributes = "") {
    std::string parameters;
    for (const std::string each : {"W=32", "Z=0", "NEG=-3", "BIG=2**63", "REAL=1.5", "TEXT=fast", "A=B + 1",
                                   "B=A + 1", "BAD=W / Z", "TWICE=1", "TWICE=2"}) {
        const std::string id = each.substr(0, each.find('='));
        parameters +=
            named("parameter parameterId='" + id + "'", id, tag("value", each.substr(id.size() + 1)));
    }
    const std::string range = tag("range " + attributes, "<![CDATA[", expression, "]]>");
    const IpComponent component = parseComponent(
        componentXml("v:l:n:1", tag("addressSpaces", named("addressSpace", "s", range, tag("width", "1"))) +
                                    tag("parameters", parameters)));
    return shown(component.addressSpaces.at(0).range);
}

TEST(IpExpressions, AreWorkedOutOrUnknown) {
    const std::pair<std::string, std::string> cases[] = {
        {" 32\n", "32"},
        {"0x20", "32"},
        {"#1f", "31"},
        {"'h20", "32"},
        {"8'hFF + 4'b1010 + 'o17 + 'd9", "289"},
        {"64'd1_000", "1000"},
        {"4K", "4096"},
        {"0x1G", "1073741824"},
        {"010", "10"},
        {"18446744073709551615", "18446744073709551615"},
        {"(W/8)-1", "3"},
        {"2 + 3 * 4 ** 2 % 7", "8"},
        {"-7 / 2 + 4", "1"},
        {"-2 ** 2", "4"},
        {"1 << 4 | 3 & 2 ^ 1", "19"},
        {"~0 & 'hFF", "255"},
        {"!W + !0 + (1 < 2) + (2 >= 3) + (1 == 1) + (1 != 1)", "3"},
        {"W > 16 ? W == 32 ? 5 : 6 : 7", "5"},
        {"$clog2(W) + $clog2(33) + $clog2(1) + $clog2(0)", "11"},
        {"1 << 63 >> 60", "8"},
        {"true + false", "1"},
        {"2 ** 64 - 1", "'2 ** 64 - 1': it does not fit into 64 bits"},
        {"BIG + (BIG - 1)", "18446744073709551615"},
        {"BIG * 2", "'BIG * 2': it does not fit into 64 bits"},
        {"1 << 64", "'1 << 64': it does not fit into 64 bits"},
        {"-1 * 2**63 - 1", "'-1 * 2**63 - 1': it does not fit into 64 bits"},
        {"18446744073709551616", "'18446744073709551616': it does not fit into 64 bits"},
        {"4'hFF", "'4'hFF': a literal does not fit into the bits that it says"},
        {"4'b10x0", "'4'b10x0': it is no integer"},
        {"1 % Z", "'1 % Z': division by zero"},
        {"2 ** NEG", "'2 ** NEG': the exponent is negative"},
        {"1 << NEG", "'1 << NEG': the shift is negative"},
        {"NEG", "'NEG': it is negative"},
        {"BAD + 1", "'W / Z': division by zero"},
        {"Z ? BAD : 7", "7"},
        {"Z && BAD || 3 || BAD", "1"},
        {"2 * (W && 3) + (W && Z)", "2"},
        {"BAD && Z", "'W / Z': division by zero"},
        {"REAL", "'1.5': it is no integer"},
        {"TEXT", "there is no parameter 'fast'"},
        {"GONE * 2", "there is no parameter 'GONE'"},
        {"TWICE", "there are several parameters 'TWICE'"},
        {"A", "the parameter 'A' depends on itself"},
        {"$bits(W)", "'$bits(W)': the function '$bits' is not known"},
        {"W +", "'W +': it ends too early"},
        {"$clog2(W", "'$clog2(W': a ')' is missing"},
        {"W ? 1", "'W ? 1': a ':' is missing"},
        {"W W", "'W W': it cannot be read at 'W'"},
        {"Z ? (1 : 2", "'Z ? (1 : 2': a ')' is missing"},
        {"", "'': it ends too early"},
        {"\"0101\"", "'\"0101\"': it cannot be read at '\"0101\"'"},
        {std::string(98, '(') + "1" + std::string(98, ')'), "1"},
        {std::string(70'000, '('), "'" + std::string(80, '(') + "...': it is nested too deeply"},
        {std::string(70'000, '-') + "1", "'" + std::string(80, '-') + "...': it is nested too deeply"},
        {"1" + repeated(70'000, [](int) { return "+1"; }), "70001"},
    };
    for (const auto& [expression, expected] : cases)
        EXPECT_EQ(worth(expression), expected) << expression.substr(0, 80);
}

TEST(IpExpressions, OfDependenciesAreWorkedOutOrUnknown) {
    const std::pair<std::string, std::string> cases[] = {
        {"spirit:decode(id('W')) div 8 - 1", "3"},
        {"((id('W') mod 5) * pow(2, 3))", "16"},
        {"id('W') = 32 and not_known(1)",
         "'id('W') = 32 and not_known(1)': the function 'not_known' is not known"},
        {"id('Z') != 0 or id('W') > 1", "1"},
        {"(spirit:decode(id('W')) / 8) - 1", "3"},
        {"7 div 2", "'7 div 2': the quotient is no integer"},
        {"7 div id('Z')", "'7 div id('Z')': division by zero"},
        {"id('GONE')", "there is no parameter 'GONE'"},
        {"id('W' + 1", "'id('W' + 1': a ')' is missing"},
        {"../x", "'../x': it cannot be read at '../x'"},
        {"W", "'W': 'W' is no known name"},
    };
    for (const auto& [dependency, expected] : cases) {
        const std::string attribute =
            "dependency=\"" + boost::algorithm::replace_all_copy(dependency, ">", "&gt;");
        EXPECT_EQ(worth("5", "resolve='dependent' " + attribute + "\""), expected);
        EXPECT_EQ(worth("5", "resolve='user' " + attribute + "\""), "5");
    }
}

/// A component with a bus interface whose logical ports are those of a list, each mapped to a port of its
/// name and the range that begins behind "=", if one does; there is no such port for "?".
IpComponent withBus(const std::string& signals) {
    std::string maps, ports;
    std::istringstream words(signals);
    for (std::string word; words >> word;) {
        const std::string name = word.substr(0, word.find('='));
        maps += portMap(name, "p_" + name);
        const std::string vector =
            name == word ? "" : tag("vectors", tag("vector", range(word.substr(name.size() + 1), "0")));
        if (!word.ends_with('?'))
            ports += named("port", "p_" + name, tag("wire", tag("direction", "in"), vector));
    }
    return parseComponent(componentXml(
        "v:l:n:1",
        tag("busInterfaces", named("busInterface", "b", busType, "<slave/>", tag("portMaps", maps))) +
            tag("model", tag("ports", ports)) +
            tag("parameters", named("parameter parameterId='W'", "W", tag("value", "64")))));
}

TEST(BusInterfaces, AreOfTheKindThatTheirLogicalPortsTell) {
    const char* const kinds[] = {"mapped", "lite", "stream", "clock", "reset", "other"};
    const std::string neither = "it is neither memory-mapped nor a stream / it is not memory-mapped";
    const std::pair<std::string, std::string> cases[] = {
        {"AWADDR=31 AWLEN=7 WDATA=W-1 ARADDR=39 ARLEN=7 RDATA=63 ACLK", "mapped 64 / 32"},
        {"araddr=63 rdata=31", "lite 32 / 64"},
        {"AWADDR=11 WDATA=31 RDATA=63 ARADDR=11", "lite WDATA has 32 bits and RDATA 64 / 12"},
        {"AWADDR=11 WDATA=M", "lite there is no parameter 'M' / 12"},
        {"AWADDR=? WDATA=?", "lite there is no port 'p_WDATA' / there is no port 'p_AWADDR'"},
        {"AWADDR=11 WDATA=31 WDATA=31 RDATA=W-1", "lite 64 / 12"},
        {"AWADDR=11", "lite no port is mapped to WDATA / 12"},
        {"TVALID TREADY TDATA=W+7", "stream 72 / it is not memory-mapped"},
        {"VALID DATA=7", "stream 8 / it is not memory-mapped"},
        {"TVALID TREADY", "other " + neither},
        {"CLK", "clock " + neither},
        {"RST_N", "reset " + neither},
        {"INTERRUPT", "other " + neither},
        {"PADDR=31 PSEL PWDATA=31", "other " + neither},
        {"", "other " + neither},
    };
    for (const auto& [signals, expected] : cases) {
        const IpComponent component = withBus(signals);
        const BusInterface& bus = component.busInterfaces.at(0);
        EXPECT_EQ(kinds[static_cast<int>(bus.kind)] + (" " + shown(dataWidth(bus))) + " / " +
                      shown(addressWidth(bus)),
                  expected)
            << signals;
    }
    EXPECT_EQ(addressBlock(withBus("CLK"), withBus("CLK").busInterfaces[0]).unknown,
              "it refers to no memory map");
    EXPECT_THAT(clockPorts(withBus("AWADDR=11 ACLK")), ElementsAre("p_ACLK"));
    EXPECT_THAT(clockPorts(withBus("TVALID SYSCLK CLKS=3")), ElementsAre("p_SYSCLK"));
}

/// The registers of a block with some children, as "name@offset:bits", and why there may be more.
std::string registersOf(const std::string& children, const std::string& more = "") {
    const IpComponent component = parseComponent(componentXml(
        "v:l:n:1", tag("memoryMaps", named("memoryMap", "m",
                                           named("addressBlock", "b", tag("baseAddress", "0"),
                                                 tag("range", "64"), tag("width", "32"), children),
                                           more))));
    const AddressBlock& block = component.memoryMaps.at(0).blocks.at(0);
    std::string text;
    for (const Register& one : block.registers)
        text += one.name + "@" + shown(one.offset) + ":" + shown(one.size) + " ";
    return text + block.incomplete;
}

TEST(Registers, StandSinglyWithTheirOffsetsInBytes) {
    const auto reg = [](const std::string& name, const std::string& offset, const std::string& more = "") {
        return named("register", name, tag("addressOffset", offset), tag("size", "16"), more);
    };
    const auto file = [](const std::string& more) {
        return named("registerFile", "f", tag("addressOffset", "8"), tag("range", "8"), more);
    };
    const std::string two = tag("dim", "2"), words = tag("addressUnitBits", "32");
    const std::string tooMany = "its arrays and files of registers are too large";
    const std::string deep = file("").substr(0, file("").rfind("</"));
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {reg("a", "4") + reg("b", "X") + reg("gone", "0", tag("isPresent", "1 == 2")), "",
         "a@4:16 b@there is no parameter 'X':16 "},
        {reg("a", "4", two + two), "", "a[0]@4:16 a[1]@6:16 a[2]@8:16 a[3]@10:16 "},
        {reg("a", "1", tag("array", two, tag("stride", "4"))), words, "a[0]@4:16 a[1]@20:16 "},
        {reg("a", "1", two), words, "a[0]@4:16 a[1]@8:16 "},
        {reg("a", "4", two), tag("addressUnitBits", "4"), "a[0]@2:16 a[1]@4:16 "},
        {reg("a", "4"), tag("addressUnitBits", "0"), "a@an address unit has no bits:16 "},
        {reg("a", "3"), tag("addressUnitBits", "4"), "a@it is no whole number of bytes:16 "},
        {file(two + file(reg("a", "2"))), "", "f[0].f.a@18:16 f[1].f.a@26:16 "},
        {reg("a", "0", tag("dim", "X")), "", "the length of the array 'a': there is no parameter 'X'"},
        {"<registerDefinitionRef/>", "", "the registers of 'b' are defined elsewhere"},
        {file(tag("dim", "2**40")), "", tooMany},
        {file(tag("dim", "2**20") + file(tag("dim", "2**20"))), "", tooMany},
        {repeated(1000, [&](int) { return deep; }) + repeated(1000, [](int) { return "</registerFile>"; }),
         "", "its register files are nested too deeply"},
    };
    for (const auto& [children, more, expected] : cases)
        EXPECT_EQ(registersOf(children, more), expected) << children.substr(0, 200);
}

}  // namespace
