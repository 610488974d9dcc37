#include "containers/author/KernelAuthor.h"
#include "containers/ip/ComponentReader.h"
#include "containers/lint/Lint.h"
#include "platform/xml/Writer.h"
#include "tests/support/Findings.h"

#include <random>

#include <gmock/gmock.h>

namespace {

using namespace kfab::lint;
using testing::IsEmpty;

struct Type {
    std::string name;
    unsigned size;
};

// clang-format off
const std::vector<Type> types = {
    {"char", 1}, {"unsigned char", 1}, {"bool", 1}, {"uint8_t", 1}, {"short", 2}, {"half", 2}, {"int16_t", 2},
    {"int", 4}, {"unsigned", 4}, {"uint", 4}, {"float", 4}, {"int32_t", 4}, {"char4", 4}, {"long", 8}, {"size_t", 8},
    {"double", 8}, {"uint2", 8}, {"float4", 16}, {"unsigned long int", 8}, {"int3", 16}, {"ulong8", 64}};
// clang-format on

/// A random prototype, and the registers of 4 bytes that fit its arguments.
struct Prototype {
    std::string text, registers;
};

Prototype randomPrototype(std::mt19937& random) {
    const auto below = [&](std::size_t end) { return random() % end; };
    Prototype made{"void k(", ""};
    unsigned offset = 0x10;
    const std::size_t count = 1 + below(6);
    for (std::size_t at = 0; at < count; ++at) {
        const Type& type = types[below(types.size())];
        const bool isPointer = below(2) == 0;
        const std::string name = "x" + std::to_string(at);
        made.text += (at > 0 ? ", " : "") + type.name + (isPointer ? " *" : " ") + name;
        const unsigned words = isPointer ? 2 : (type.size + 3) / 4;
        for (unsigned word = 0; word < words; ++word)
            made.registers +=
                named("register", words == 1 ? name : name + "_" + std::to_string(word),
                      tag("addressOffset", std::to_string(offset + 4 * word)), tag("size", "32"));
        offset += 4 * words + 4 * static_cast<unsigned>(below(3));
    }
    made.text += ")";
    return made;
}

std::string busOf(const std::string& name, const std::string& mode, const std::string& extra) {
    std::string maps;
    for (const char* signal : {"AWADDR", "WDATA", "ARADDR", "RDATA"})
        maps += portMap(
            signal, signal == std::string("AWADDR") || signal == std::string("ARADDR") ? "address" : "data");
    return named("busInterface", name, busType,
                 tag("abstractionTypes", tag("abstractionType", tag("portMaps", maps + extra))), mode);
}

std::string wire(const std::string& name, const std::string& left) {
    return named("port", name,
                 tag("wire", tag("direction", "in"), tag("vectors", tag("vector", range(left, "0")))));
}

std::string componentWith(const std::string& registers) {
    const std::string block = named("addressBlock", "block", tag("baseAddress", "0"), tag("range", "4096"),
                                    tag("width", "32"), registers);
    return componentXml(
        "v:l:n:1.0",
        tag("busInterfaces", busOf("s", "<slave><memoryMapRef memoryMapRef='map'/></slave>", ""),
            busOf("m", "<master/>", portMap("AWLEN", "data"))) +
            tag("memoryMaps", named("memoryMap", "map", block)) +
            tag("model", tag("ports", wire("address", "11"), wire("data", "31"), wire("clk", "0"))));
}

TEST(LintProperties, WhatIsMadeOfAnIpHasNoErrorAndWithItsRegistersNoFinding) {
    std::mt19937 random(5);
    const TemporaryDirectory directory;
    for (int round = 0; round < 200; ++round) {
        const Prototype prototype = randomPrototype(random);
        for (const bool hasRegisters : {false, true}) {
            directory.file("ip/component.xml", componentWith(hasRegisters ? prototype.registers : ""));
            kfab::author::KernelRequest request;
            request.prototype = prototype.text;
            request.protocol = "start_done";
            const auto made =
                describeKernel(kfab::ip::readComponent(directory / "ip/component.xml"), request);
            EXPECT_EQ(made.assumed.empty(), hasRegisters) << prototype.text;
            const Outcome outcome = lintKernel(
                {directory.file("kernel.xml", lmx60::toString(made.description)), directory / "ip"});
            EXPECT_THAT(linesOf(outcome), IsEmpty()) << prototype.text;
        }
    }
}

TEST(LintProperties, RegistersThatFillAllAddressesHaveAnEnd) {
    const TemporaryDirectory directory;
    const std::string fills = named("register", "r", tag("dim", "16"), tag("addressOffset", "0"),
                                    tag("size", "'h8000000000000000"));
    directory.file("ip/component.xml", componentWith(fills));
    const std::string xml = kernelXml("name='k' language='ip' vlnv='v:l:n:1.0'",
                                      "<ports><port name='s' mode='slave' range='0x1000' dataWidth='32' "
                                      "portType='addressable'/></ports><args><arg name='x' id='0' port='s' "
                                      "addressQualifier='0' offset='0' size='0xFFFFFFFFFFFFFFFF'/></args>");
    const Outcome outcome = lintKernel({directory.file("kernel.xml", xml), directory / "ip"});
    EXPECT_THAT(linesOf(outcome), testing::Contains(testing::EndsWith("[ip-register]")));
}

TEST(LintProperties, EveryOtherNumberInACleanKernelIsFound) {
    const ExampleDirectory directory;
    const std::string clean = TemporaryDirectory::read(directory / "kernel.xml");
    const std::string pointers = "<arg name=\"(?:a|b|out)\"", value = "<arg name=\"length\"", args = "<arg",
                      ports = "<port";
    const std::tuple<std::string, std::string, std::string> numbers[] = {
        {pointers, "size", "pointer-size"},
        {pointers, "hostSize", "host-size"},
        {pointers, "addressQualifier", "pointer-port"},
        {value, "size", "host-size"},
        {value, "hostSize", "host-size"},
        {value, "addressQualifier", "pointer-port"},
        {args, "offset", "ip-register|in-control-block"},
        {args, "id", "duplicate-id|id-gap"},
        {ports, "dataWidth", "data-width|ip-width"},
        {"<port name=\"s_control\"", "range", "ip-range|beyond-range|port-range"}};
    for (const auto& [line, attribute, codes] : numbers) {
        const std::regex number("(" + line + "[^\n]* " + attribute + "=\")([0-9a-fA-Fx]+)");
        for (std::sregex_iterator at(clean.begin(), clean.end(), number), end; at != end; ++at) {
            const unsigned long found = std::stoul((*at)[2], nullptr, 0);
            for (const unsigned long other : {0UL, 1UL, found + 1, found * 2, found + 4, 0xFFFFUL}) {
                const bool isNoMistake = attribute == "addressQualifier"  // not decided above 2, and told so
                                             ? other > 2 || (other > 0) == (found > 0)
                                             : attribute == "range" && other > 0x38 && other < found;
                if (other == found || isNoMistake) continue;
                const auto begin = static_cast<std::size_t>(at->position(2));
                const std::string text = std::string(clean).replace(
                    begin, static_cast<std::size_t>(at->length(2)), std::to_string(other));
                const Outcome outcome = lintKernel({directory.file("kernel.xml", text), directory / "ip"});
                EXPECT_THAT(linesOf(outcome),
                            testing::Contains(testing::ContainsRegex("\\[(" + codes + ")\\]")))
                    << attribute << " " << found << " " << other;
            }
        }
    }
}

}  // namespace
