#include "containers/ip/ComponentFacts.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Errors.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Components.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryDirectory.h"

#include <regex>
#include <tuple>

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

/// The edition's namespace, its prefix for elements and the one for attributes.
struct Edition {
    int year;
    std::string space, prefix, attributePrefix;
};
const Edition editions[] = {
    {2009, "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009", "spirit:", "spirit:"},
    {2014, "http://www.accellera.org/XMLSchema/IPXACT/1685-2014", "ipxact:", ""},
    {2022, "http://www.accellera.org/XMLSchema/IPXACT/1685-2022", "", ""},
};

/// A component with all kinds of parts, in the words of an edition, and what only some tool knows between.
std::string everything(const Edition& edition) {
    const bool isOld = edition.year == 2009, isNew = edition.year == 2022;
    const auto in = [&](const std::string& old, const std::string& later) { return isOld ? old : later; };
    const auto vector = [&](const std::string& ends) {
        return isOld ? tag("vector", ends) : tag("vectors", tag("vector", ends));
    };
    const std::string extension = tag("vendorExtensions", "<t:sub><port/><t:ref vendor='v'/></t:sub>");
    const auto wire = [&](const std::string& name, const std::string& direction, const std::string& more) {
        return named("port", name, tag("wire", tag("direction", direction), more), extension);
    };
    const auto bus = [&](const std::string& name, const std::string& mode, const std::string& more) {
        return "\n" + named("busInterface", name, busType, mode, more);
    };
    const std::string maps = tag("portMaps", portMap("AWADDR", "awaddr"), portMap("AWLEN", "awlen"),
                                 portMap("WDATA", "all",
                                         isOld ? tag("vector", range("47", "16"))
                                               : tag("partSelect", tag("range", range("47", "16")))));
    const std::string slave = isNew ? "target" : "slave";
    const std::string buses =
        bus("s_axi", tag(slave, "<memoryMapRef memoryMapRef='map'/>"),
            in(maps, tag("abstractionTypes", tag("abstractionType", maps))) +
                tag("parameters", named("parameter", "MODE", tag("value", "fast")))) +
        bus("m", tag(isNew ? "initiator" : "master", "<addressSpaceRef addressSpaceRef='space'/>"), "") +
        bus("tap", isNew ? "<mirroredTarget/>" : "<mirroredSlave/>", "");
    const std::string dim = isNew ? tag("array", tag("dim", "2"), tag("stride", "8")) : tag("dim", "2");
    const std::string access = tag("access", "read-only");
    const std::string block = named(
        "addressBlock", "block", tag("baseAddress", "0x10"),
        in("<range resolve='dependent' dependency='4 * spirit:pow(2, id(&quot;P.DEPTH&quot;))'>0</range>",
           tag("range", "4 * 2 ** uuid_1")),
        tag("width", "32"),
        named("register", "r", tag("addressOffset", "0x20"), tag("size", "32"),
              isNew ? tag("accessPolicies", tag("accessPolicy", access)) : access,
              named("field", "f", tag("bitOffset", "4"), tag("bitWidth", "2"))),
        named("registerFile", "bank", dim, tag("addressOffset", "0x40"), tag("range", "8"),
              named("register", "x", tag("addressOffset", "4"), tag("size", "16"))));
    const auto set = [](const std::string& name) { return tag("fileSetRef", tag("localName", name)); };
    const std::string module = set("rtl") + set("gone");
    const std::string forSynthesis = tag("envIdentifier", "verilogSource:t:synthesis");
    const std::string simulation = named("view", "sim", tag("envIdentifier", "verilogSource:t:simulation"));
    const std::string vlnv = " vendor='v' library='l' name='d' version='2'/>";
    const std::string views =
        isOld ? tag("views", simulation,
                    named("view", "syn", forSynthesis, tag("language", "verilog"), "\n",
                          tag("modelName", "top"), module),
                    named("view", "parts", "<hierarchyRef" + vlnv)) +
                    tag("modelParameters",
                        named("modelParameter", "W", tag("value id='M.W' format='long'", "32")))
              : tag("views", simulation,
                    named("view", "syn", forSynthesis, tag("componentInstantiationRef", "c")),
                    named("view", "parts", tag("designInstantiationRef", "d"))) +
                    tag("instantiations",
                        named("componentInstantiation", "c", tag("language", "verilog"), "\n",
                              tag("moduleName", "top"),
                              tag("moduleParameters",
                                  named("moduleParameter type='int'", "W", tag("value", "32"))),
                              module),
                        named("designInstantiation", "d", "<designRef" + vlnv));
    const std::string clock = isOld   ? tag("driver", "<clockDriver/>")
                              : isNew ? tag("qualifier", tag("isClock", "true"))
                                      : tag("drivers", tag("driver", "<clockDriver/>"));
    const std::string left =
        in("<left resolve='dependent' dependency=\"(spirit:decode(id('P.WIDTH')) - 1)\">7</left>",
           tag("left", "WIDTH - 1"));
    const std::string twice =
        in("<left resolve='dependent' dependency=\"(spirit:decode(id('M.W')) * 2) - 1\">0</left>",
           tag("left", "W * 2 - 1"));
    const std::string ports = wire("awaddr", "in", vector(left + tag("right", "0"))) +
                              wire("awlen", "in", vector(range("0", "7"))) + wire("clk", "in", clock) +
                              wire("all", "inout", vector(twice + tag("right", "0")));
    const std::string limits = "minimum='8' maximum='64' choiceRef='widths'";
    const std::string parameters =
        isOld ? named("parameter", "AXI", tag("value id='P.WIDTH' format='long' " + limits, "32")) +
                    named("parameter", "DEPTH", tag("value id='P.DEPTH' format='long'", "10"))
              : named("parameter parameterId='WIDTH' type='int' " + limits, "AXI", tag("value", "32")) +
                    named("parameter parameterId='uuid_1' type='longint'", "DEPTH", tag("value", "10"));
    const std::string document =
        "<t:first/>" + tag("vendor", "v") + tag("library", "l") + tag("name", "n") + tag("version", "1") +
        tag("busInterfaces", buses) +
        tag("addressSpaces", named("addressSpace", "space", tag("range", "4G"), tag("width", "64"))) +
        tag("memoryMaps", named("memoryMap", "map", block, tag("addressUnitBits", "8"))) +
        tag("model", views, tag("ports", ports)) +
        tag("choices", named("choice", "widths", tag("enumeration", "16"), tag("enumeration", "32"))) +
        tag("fileSets", named("fileSet", "rtl", named("file", "a.v", tag("fileType", "verilogSource")),
                              named("file", "a.cfg", tag("fileType", "verilogSource"),
                                    in(tag("userFileType", "cfg"), tag("fileType user='cfg'", "user")),
                                    tag("isIncludeFile", "true"), extension))) +
        tag("parameters", parameters) + extension;
    const std::string prefixed =
        std::regex_replace(document, std::regex("(</?)(\\w+[ />])"), "$1" + edition.prefix + "$2");
    const std::string declaration =
        edition.prefix.empty() ? "xmlns" : "xmlns:" + edition.prefix.substr(0, edition.prefix.size() - 1);
    return tag(
        edition.prefix + "component xmlns:t='http://tool.example/ext' t:made='x' " + declaration + "='" +
            edition.space + "'",
        std::regex_replace(prefixed, std::regex(" (\\w+=['\"])"), " " + edition.attributePrefix + "$1"));
}

TEST(IpComponent, IsTheSameInAllEditions) {
    const IpComponent component = parseComponent(everything(editions[1]));
    EXPECT_EQ(parseComponent(everything(editions[0])), component);
    EXPECT_EQ(parseComponent(everything(editions[2])), component);

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
            files.files[1]->types.at(1) + ": " + files.incomplete, component.views.at(2).design->text(),
            filesOf(component, component.views[2]).incomplete, component.moduleParameters.at(0).name,
            component.parameters.at(0).maximum, component.choices.at(0).values.at(1)}),
        ElementsAre("v:l:n:1", "v:l:b:1", "fast", "32", "32", "4294967296", "16", "4096", "f", "64",
                    "syn top verilog", "cfg: the file set 'gone' is not there", "v:l:d:2",
                    "the view 'parts' is made of other components", "W", "64", "32"));
    EXPECT_EQ(findPort(component, "all")->direction, Direction::InOut);
    EXPECT_EQ(component.parameters[0].type, ParameterType::Integer);
    EXPECT_THAT(
        (std::vector<int>{slave.line.number, master.line.number, view.line.number, view.moduleLine.number}),
        ElementsAre(2, 3, 4, 5));
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
        {"", "1: no element found"},
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

}  // namespace
