#include "containers/ip/ComponentFacts.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Errors.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Components.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryDirectory.h"

#include <sstream>
#include <tuple>
#include <utility>

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>

namespace {

using namespace kfab::ip;
using testing::ElementsAre;

std::string shown(const Number& number) {
    return number.value ? std::to_string(*number.value) : number.unknown;
}

/// What is wrong with a document, as "line: text".
std::string refusalOf(const std::string& document) {
    try {
        parseComponent(document);
    } catch (const lmx60::ReadError& refusal) {
        return std::to_string(refusal.error().line) + ": " + refusal.what();
    }
    return "read";
}

TEST(IpComponent, IsTheSameInAllEditions) {
    // All kinds of parts in the words of an edition, and what only some tool knows between.
    const auto everythingOf = [](const std::string& edition) {
        return readComponent(KP_TESTS_DIR "/containers/component-" + edition + ".xml");
    };
    const IpComponent component = everythingOf("2014");
    EXPECT_EQ(everythingOf("2009"), component);
    EXPECT_EQ(everythingOf("2022"), component);

    ASSERT_EQ(component.busInterfaces.size(), 3U);
    const BusInterface& slave = component.busInterfaces[0];
    const BusInterface& master = component.busInterfaces[1];
    EXPECT_EQ(slave.mode, BusMode::Slave);
    EXPECT_EQ(master.mode, BusMode::Master);
    EXPECT_EQ(component.busInterfaces[2].mode, BusMode::MirroredSlave);
    const AddressBlock& block = *addressBlock(component, slave).part;
    std::vector<std::string> registers;
    for (const Register& one : block.registers)
        registers.push_back(one.name + " " + shown(one.offset) + " " + shown(one.size) + " " + one.access);
    EXPECT_THAT(registers,
                ElementsAre("r 32 32 read-only", "bank[0].x 68 16 read-write", "bank[1].x 76 16 read-write"));
    const View& view = *synthesisView(component).part;
    const ViewFiles files = filesOf(component, view);
    ASSERT_EQ(files.files.size(), 2U);
    EXPECT_TRUE(files.files[1]->isInclude);
    EXPECT_THAT(clockPorts(component), ElementsAre("clk"));
    EXPECT_THAT(
        (std::vector<std::string>{
            component.vlnv.text(), slave.busType.text(), slave.parameters.at(0).value,
            shown(dataWidth(slave)), shown(addressWidth(slave)),
            shown(addressSpace(component, master).part->range), shown(block.base), shown(block.range),
            block.registers[0].fields.at(0).name, shown(findPort(component, "all")->width),
            view.name + " " + view.module + " " + view.language,
            files.files[1]->types.at(1) + ": " + files.incomplete, component.views.at(1).design->text(),
            filesOf(component, component.views[1]).incomplete, component.moduleParameters.at(0).name,
            component.parameters.at(0).maximum, component.choices.at(0).values.at(1)}),
        ElementsAre("v:l:n:1", "v:l:b:1", "fast", "32", "32", "4294967296", "16", "4096", "f", "64",
                    "syn top verilog", "cfg: the file set 'gone' is not there", "v:l:d:2",
                    "the view 'parts' is made of other components", "W", "64", "32"));
    EXPECT_EQ(findPort(component, "all")->direction, Direction::InOut);
    EXPECT_EQ(component.parameters[0].type, ParameterType::Integer);
    EXPECT_THAT(
        (std::vector<int>{slave.line.number, master.line.number, view.line.number, view.moduleLine.number}),
        ElementsAre(8, 42, 104, 114));
}

TEST(IpComponent, WhatBreaksItsEditionIsRefusedAtItsLine) {
    const auto component = [](const std::string& children) { return componentXml("v:l:n:1", children); };
    const auto bus = [&](const std::string& children) {
        return component(tag("busInterfaces", tag("busInterface", "\n", children)));
    };
    const auto port = [&](const std::string& children) {
        return component(tag("model", tag("ports", "\n", tag("port", children))));
    };
    const auto block = [&](const std::string& children) {
        const std::string base = tag("baseAddress", "0") + tag("width", "8") + "\n";
        return component(
            tag("memoryMaps", named("memoryMap", "m", named("addressBlock", "b", base, children))));
    };
    const auto lacks = [](const std::string& element, const std::string& child) {
        return "element '" + element + "' lacks its required element '" + child + "'";
    };
    const std::string name = tag("name", "s"), space = "http://www.accellera.org/XMLSchema/IPXACT/1685-2014";
    const std::pair<std::string, std::string> cases[] = {
        {"<component>\n</other>", "2: mismatched tag"},
        {"\n<root versionMajor='1'/>",
         "2: the document element is 'root' in the namespace '', not a component of IEEE 1685"},
        {"<design xmlns='" + space + "'/>", "1: the document element is 'design' in the namespace '" + space +
                                                "', not a component of IEEE 1685"},
        {"<component xmlns='" + space + "'>\n<vendor>v</vendor></component>",
         "1: " + lacks("component", "library")},
        {componentXml("v:l::1"), "1: element 'name' is empty"},
        {bus(busType + "<slave/>"), "2: " + lacks("busInterface", "name")},
        {bus(name + busType), "2: bus interface 's' has no mode"},
        {bus(name + busType + "<slave/>\n<master/>"), "4: bus interface 's' has more than one mode"},
        {bus(name + "<slave/>"), "2: " + lacks("busInterface", "busType")},
        {bus(name + "<slave/>\n<busType vendor='v'/>"),
         "4: element 'busType' lacks its required attribute 'library'"},
        {bus(name + busType + "<slave/>" +
             tag("portMaps", "\n", tag("portMap", named("logicalPort", "CLK")))),
         "4: " + lacks("portMap", "physicalPort/name")},
        {port(tag("wire", tag("direction", "in"))), "3: " + lacks("port", "name")},
        {port(name), "3: " + lacks("port", "wire")},
        {port(name + "\n<wire/>"), "4: " + lacks("wire", "direction")},
        {port(name + tag("wire", "\n", tag("direction", "input"))), "4: 'input' is no direction of a port"},
        {block(""), "2: " + lacks("addressBlock", "range")},
        {block(tag("range", "8") + named("register", "r", tag("size", "8"))),
         "3: " + lacks("register", "addressOffset")},
        {block(tag("range", "8") + named("registerFile", "r")),
         "3: " + lacks("registerFile", "addressOffset")},
        {component(tag("parameters", named("parameter", "P"))), "2: " + lacks("parameter", "value")},
        {component(tag("fileSets", named("fileSet", "f", "\n<file/>"))), "3: " + lacks("file", "name")},
        {component(tag("model", tag("views", "\n<view/>"))), "3: " + lacks("view", "name")},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(refusalOf(document), expected) << document;

    const TemporaryDirectory directory;
    const CapturedMessages messages;
    const std::string path = directory.file("c.xml", port(name));
    EXPECT_EQ(failureOf<HEXAll>([&] { readComponent(path); }),
              "[17-132] " + path + ":3: " + lacks("port", "wire"));
    EXPECT_THROW(readComponent(directory / "none.xml"), HEXFileNotFoundException);
}

TEST(IpComponent, HostileOnesAreReadOrRefusedInTime) {
    const auto refusal = [](const std::string& children) {
        return refusalOf(componentXml("v:l:n:1", children));
    };
    EXPECT_EQ(refusalOf("<!DOCTYPE c [<!ENTITY a 'b'>]>\n" + componentXml("v:l:n:&a;")),
              "1: document type declarations are not accepted");
    const auto chained = [](int i) {
        const std::string next = "p" + std::to_string(i + 1);
        return named("parameter parameterId='p" + std::to_string(i) + "'", "p",
                     tag("value", next, " + ", next));
    };
    const auto port = [](int i) {
        return named("port", "clk" + std::to_string(i), tag("wire", tag("direction", "in")));
    };
    const IpComponent large = parseComponent(componentXml(
        "v:l:n:1", tag("addressSpaces", named("addressSpace", "s", tag("range", "p0"), tag("width", "1"))) +
                       tag("parameters", repeated(50'000, chained)) +
                       tag("model", tag("ports", repeated(100'000, port)))));
    EXPECT_THAT(shown(large.addressSpaces.at(0).range), testing::HasSubstr(": it is nested too deeply"));
    EXPECT_EQ(clockPorts(large).size(), 100'000U);
    const std::string view = named("view", "v", tag("componentInstantiationRef", "c"));
    const std::string set = tag("fileSetRef", tag("localName", "s"));
    const auto many = [](const std::string& piece) { return repeated(2'000, [&](int) { return piece; }); };
    EXPECT_EQ(refusal(tag("model", tag("views", many(view)),
                          tag("instantiations", named("componentInstantiation", "c", many(set))))),
              "2: the views refer to too many file sets");
}

TEST(CheckParameter, TellsWhatTheComponentWouldNotTake) {
    const auto parameter = [](const std::string& name, const std::string& attributes) {
        return named("parameter " + attributes, name, tag("value", "1"));
    };
    const IpComponent component = parseComponent(componentXml(
        "v:l:n:1",
        tag("choices", named("choice", "c", tag("enumeration", "fast"), tag("enumeration", "0x10"))) +
            tag("parameters", parameter("DEPTH", "type='int' minimum='2' maximum='2**9'"),
                parameter("RATE", "type='real' minimum='-1.5'"),
                parameter("KIND", "type='string' choiceRef='c'"),
                parameter("MOVING", "type='int' maximum='DEPTH'"), parameter("FREE", ""))));
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"DEPTH", " 64 ", ""},
        {"DEPTH", "'h200", ""},
        {"DEPTH", "513", "the value '513' of parameter 'DEPTH' is above the maximum '2**9'"},
        {"DEPTH", "-2", "the value '-2' of parameter 'DEPTH' is below the minimum '2'"},
        {"DEPTH", "deep", "the value 'deep' of parameter 'DEPTH' is no integer of 64 bits"},
        {"WIDTH_OF_ALL", "4", "the IP 'v:l:n:1' has no parameter 'WIDTH_OF_ALL'"},
        {"RATE", "-1.25e0", ""},
        {"RATE", "-2", "the value '-2' of parameter 'RATE' is below the minimum '-1.5'"},
        {"RATE", "1.2.3", "the value '1.2.3' of parameter 'RATE' is no number"},
        {"KIND", "fast", ""},
        {"KIND", "16", ""},
        {"KIND", "FAST", "the value 'FAST' of parameter 'KIND' is none of 'fast', '0x10'"},
        {"MOVING", "999", ""},
        {"FREE", "any {text}", ""},
    };
    for (const auto& [name, value, expected] : cases)
        EXPECT_EQ(checkParameter(component, name, value).value_or(""), expected) << name << "=" << value;
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
        {"", "'': it ends too early"},
        {"Z ? (1 : 2", "'Z ? (1 : 2': a ')' is missing"},
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
        {"PADDR=31 PSEL PWDATA=31", "other " + neither},
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
