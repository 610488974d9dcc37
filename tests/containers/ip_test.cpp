#include "containers/ip/ComponentFacts.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Errors.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Components.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryDirectory.h"

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

/// A component with all kinds of parts, in the words of an edition, and what only some tool knows between.
IpComponent everythingOf(const std::string& edition) {
    return readComponent(KP_TESTS_DIR "/containers/component-" + edition + ".xml");
}

TEST(IpComponent, IsTheSameInAllEditions) {
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
        ElementsAre(8, 42, 100, 114));
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
