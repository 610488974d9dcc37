#include "containers/lint/Lint.h"

#include "platform/base/Exceptions.h"
#include "tests/support/Packages.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kfab::lint::Outcome;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string example = KP_EXAMPLES_DIR "/vadd";

/// As "kernel.xml:13: argument ... [code]", the document by its last component.
Texts linesOf(const Outcome& outcome) {
    Texts lines;
    for (const auto& finding : outcome.findings)
        lines.push_back(std::filesystem::path(finding.document).filename().string() + ":" +
                        std::to_string(finding.line) + ": " + finding.text + " [" + finding.rule->code + "]");
    return lines;
}

/// The example with one piece of one of its files in another way.
Outcome lintChanged(const std::string& file, const std::string& piece, const std::string& other) {
    const TemporaryDirectory directory;
    std::filesystem::copy(example, directory.path(), std::filesystem::copy_options::recursive);
    std::string text = TemporaryDirectory::read(directory / file);
    const std::size_t at = text.find(piece);
    EXPECT_NE(at, std::string::npos) << piece;
    directory.file(file, text.replace(at, piece.size(), other));
    return kfab::lint::lintKernel({.kernelXml = directory / "kernel.xml",
                                   .ipDir = directory / "ip",
                                   .report = directory / "design.xml"});
}

struct Mistake {
    std::string piece, other, line;
};

/// Each mistake's line is among the findings; one mistake may break several rules.
void expectLines(const std::string& file, const std::vector<Mistake>& mistakes) {
    for (const auto& [piece, other, line] : mistakes)
        EXPECT_THAT(linesOf(lintChanged(file, piece, other)), testing::Contains(line)) << other;
}

TEST(Lint, HasNothingToSayOfTheExample) {
    EXPECT_THAT(linesOf(lintChanged("kernel.xml", "vadd", "vadd")), IsEmpty());
    EXPECT_THAT(lintChanged("kernel.xml", "vadd", "vadd").unchecked, IsEmpty());
}

TEST(Lint, NamesEachMistakeOfADescriptionAtItsLine) {
    const std::string length = R"(size="0x4" offset="0x34" hostOffset="0x0" hostSize="0x4" type="uint")";
    const auto lengthAs = [](const std::string& size, const std::string& offset, const std::string& type) {
        return "size=\"" + size + "\" offset=\"" + offset + R"(" hostOffset="0x0" hostSize="0x4" type=")" +
               type + '"';
    };
    // clang-format off
    expectLines("kernel.xml", {
        {length, lengthAs("0x4", "034", "uint"), "kernel.xml:13: the offset '034' of argument 'length' is no unsigned number of 64 bits, decimal or beginning with 0x [number]"},
        {"name=\"length\"", "name=\"2nd\"", "kernel.xml:13: the name '2nd' of an argument is no C identifier [name]"},
        {":1.0\"", "\"", "kernel.xml:3: the VLNV 'example:kernels:vadd' is not vendor:library:name:version [vlnv]"},
        {"name=\"m_write\"", "name=\"m_read\"", "kernel.xml:7: there is another port 'm_read' on line 6 [duplicate-port]"},
        {"name=\"b\"", "name=\"a\"", "kernel.xml:11: there is another argument 'a' on line 10 [duplicate-arg]"},
        {"id=\"1\"", "id=\"0\"", "kernel.xml:11: argument 'b' has the id 0 of argument 'a' [duplicate-id]"},
        {"id=\"3\"", "id=\"4\"", "kernel.xml:13: argument 'length' has the id 4; the ids of 4 arguments are 0 to 3 [id-gap]"},
        {"port=\"m_write\"", "", "kernel.xml:12: argument 'out' has no port [no-port]"},
        {"port=\"m_write\"", "port=\"m_wrte\"", "kernel.xml:12: the port 'm_wrte' of argument 'out' is not there; did you mean 'm_write'? [unknown-port]"},
        {"port=\"m_write\"", "port=\"s_control\"", "kernel.xml:12: argument 'out' is a pointer, but its port 's_control' is a slave [pointer-port]"},
        {"size=\"0x8\"", "size=\"0x4\"", "kernel.xml:10: argument 'a' is a pointer of 0x4 bytes instead of 0x8 [pointer-size]"},
        {"hostSize=\"0x4\"", "hostSize=\"0x8\"", "kernel.xml:13: argument 'length' has 0x4 bytes, but 0x8 on the host [host-size]"},
        {"offset=\"0x1C\"", "offset=\"0x14\"", "kernel.xml:11: argument 'b' begins at 0x14, before argument 'a' ends at 0x18 [overlap]"},
        {length, lengthAs("0x4", "0xFFE", "uint"), "kernel.xml:13: argument 'length' ends at 0x1002, beyond the 0x1000 bytes of its port 's_control' [beyond-range]"},
        {length, lengthAs("0x4", "0xFFFFFFFFFFFFFFFF", "uint"), "kernel.xml:13: argument 'length' ends at 0xFFFFFFFFFFFFFFFF, beyond the 0x1000 bytes of its port 's_control' [beyond-range]"},
        {"offset=\"0x28\"", "offset=\"0x1000\"", "kernel.xml:12: argument 'out' ends at 0x1008, beyond the 0x1000 bytes of the control port 's_control' [beyond-range]"},
        {length, lengthAs("0x4", "0xC", "uint"), "kernel.xml:13: argument 'length' begins at 0xC, within the control registers below 0x10 [in-control-block]"},
        {"mode=\"slave\"", "mode=\"master\"", "kernel.xml:3: the kernel has values or pointers, but no addressable slave to set them [control-port]"},
        {"mode=\"slave\"", "mode=\"both\"", "kernel.xml:5: the mode 'both' of port 's_control' is neither 'master' nor 'slave' [port-mode]"},
        {"portType=\"addressable\"", "portType=\"memory\"", "kernel.xml:5: the type 'memory' of port 's_control' is neither 'addressable' nor 'stream' [port-type]"},
        {"dataWidth=\"32\"", "dataWidth=\"33\"", "kernel.xml:5: port 's_control' is '33' bits wide instead of a power of two from 8 to 4096 [data-width]"},
        {"base=\"0x0\"", "base=\"0x1000\"", "kernel.xml:5: the base 0x1000 of port 's_control' lies beyond its range of 0x1000 [port-range]"},
        {length, lengthAs("0x4", "0x36", "uint"), "kernel.xml:13: argument 'length' begins at 0x36, which is no multiple of 4 [misaligned]"},
        {length, lengthAs("0x4", "0x34", "unsigned long"), "kernel.xml:13: argument 'length' has 0x4 bytes, but its type 'unsigned long' has 0x8 [type-size]"},
        {length, lengthAs("0x4", "0x34", "float4"), "kernel.xml:13: argument 'length' has 0x4 bytes, but its type 'float4' has 0x10 [type-size]"},
        {"type=\"uint*\"", "type=\"uint\"", "kernel.xml:10: argument 'a' is passed as a pointer, but its type 'uint' is none [pointer-type]"},
        {"interrupt=\"false\"", "interrupt=\"no\"", "kernel.xml:3: the interrupt 'no' is neither 'true' nor 'false' [interrupt]"},
        {"language=\"ip\"", "", "kernel.xml:3: the kernel has no language [language]"},
        {"versionMinor=\"10\"", "versionMinor=\"11\" new=\"x\"", "kernel.xml:2: the document is of version 1.11, but nothing later than 1.10 is known [later-version]"},
        {"name=\"s_control\" mode", "name=\"s_contrl\" mode", "kernel.xml:5: port 's_contrl' is no bus interface of the IP; did you mean 's_control'? [ip-port]"},
        {"name=\"m_read\"", "name=\"M_Read\"", "kernel.xml:6: port 'M_Read' is spelled 'm_read' in the IP [ip-port-case]"},
        {":vadd:1.0", ":vadd:1.1", "kernel.xml:3: the VLNV 'example:kernels:vadd:1.1' is not that of the IP, 'example:kernels:vadd:1.0' [ip-vlnv]"},
        {"mode=\"master\"", "mode=\"slave\"", "kernel.xml:6: port 'm_read' is a slave, but a master in the IP [ip-mode]"},
        {"portType=\"addressable\"", "portType=\"stream\"", "kernel.xml:5: port 's_control' is a stream, but memory-mapped in the IP [ip-kind]"},
        {"dataWidth=\"32\"", "dataWidth=\"512\"", "kernel.xml:5: port 's_control' is 512 bits wide, but 32 in the IP [ip-width]"},
        {"range=\"0x1000\"", "range=\"0x2000\"", "kernel.xml:5: port 's_control' has a range of 0x2000, but the IP's 12 address bits reach 0x1000 bytes [ip-address-width]"},
        {"range=\"0x1000\"", "range=\"0x2000\"", "kernel.xml:5: port 's_control' has a range of 0x2000, but the IP's address block 'control' has 0x1000 [ip-range]"},
        {length, lengthAs("0x4", "0x38", "uint"), "kernel.xml:13: argument 'length' takes 0x4 bytes at 0x38, where the IP describes no such register [ip-register]"},
        {"name=\"m_write\"", "name=\"m_out\"", "kernel.xml:7: no port of the report's top module 'vadd' begins with the name of port 'm_out' [report-port]"},
    });
    // clang-format on
}

TEST(Lint, NamesEachMistakeOfAnIpAndAReport) {
    // clang-format off
    expectLines("ip/component.xml", {
        {"<ipxact:name>m_read<", "<ipxact:name>m_in<", "component.xml:37: the interface 'm_in' is memory-mapped, but no port of the description [ip-unused]"},
        {"</ipxact:component>", "", "component.xml:294: no element found [ip-unreadable]"},
        {"hdl/vadd_fifo.v", "hdl/fifo.v", "component.xml:269: the file 'hdl/fifo.v' of the file set 'synthesis' is not there [ip-file]"},
        {"hdl/vadd_fifo.v", "hdl/../../vadd_fifo.v", "component.xml:269: the file 'hdl/../../vadd_fifo.v' of the file set 'synthesis' lies outside the IP [ip-file-outside]"},
        {"XMLSchema/IPXACT/1685-2014", "other", "component.xml:2: the document element is 'component' in the namespace 'http://www.accellera.org/other', not a component of IEEE 1685; nothing of it was checked [ip-format]"},
    });
    expectLines("design.xml", {
        {"<ModuleName>vadd<", "<ModuleName>vmul<", "design.xml:5: the report is of the module 'vmul', not of the kernel 'vadd' or its IP [report-top]"},
        {"<ModuleName>vadd_control<", "<ModuleName>control<", "design.xml:9: the instance 'control_u' is of the module 'control', which the report says nothing of [report-module]"},
        {">2.920<", ">3.506<", "design.xml:56: the module 'vadd' needs a clock period of 3.506, more than the target 4.00 less the uncertainty 0.50 [report-timing]"},
    });
    // clang-format on
}

Outcome lintXml(const std::string& attributes, const std::string& children) {
    const TemporaryDirectory directory;
    return kfab::lint::lintKernel({.kernelXml = directory.file("kernel.xml", kernelXml(attributes, children)),
                                   .ipDir = "",
                                   .report = "",
                                   .isComplete = true});
}

TEST(Lint, FindsNothingInGoodKernelsOfOtherKinds) {
    const std::string slave =
        "mode='slave' range='0x1000' dataWidth='32' portType='addressable' base='0x0'/>";
    const std::string value = "addressQualifier='0' size='4' offset='16' hostSize='4' type='int'/>";
    EXPECT_THAT(linesOf(lintXml("name='emulated' language='c'", "<ports/><args/>")), IsEmpty());
    EXPECT_THAT(
        linesOf(lintXml("name='filter' language='ip' vlnv='v:l:n:1'",
                        "<ports><port name='in' mode='read_only' dataWidth='24' portType='stream'/>"
                        "</ports><args><arg name='x' addressQualifier='4' id='0' port='in'/></args>")),
        IsEmpty());
    const Outcome two = lintXml("name='two' language='ip' vlnv='v:l:n:1' hwControlProtocol='start_done'",
                                "<ports><port name='s' " + slave + "<port name='t' " + slave +
                                    "</ports><args><arg name='x' port='s' " + value +
                                    "<arg name='y' port='t' " + value + "</args>");
    EXPECT_THAT(linesOf(two), IsEmpty());
    Texts reasons;
    for (const auto& each : two.unchecked)
        reasons.push_back(each.code + (": " + each.reason));
    EXPECT_THAT(reasons, ElementsAre("id-gap: not all arguments have an id",
                                     "overlap: it has several addressable slaves",
                                     "in-control-block: it has several addressable slaves",
                                     "misaligned: it has several addressable slaves"));
    EXPECT_THAT(
        linesOf(lintXml("name='s' language='ip'", "<ports><port name='s' " + slave + "</ports><args/>")),
        ElementsAre("kernel.xml:2: the kernel has the slave 's', but no argument [no-args]"));
}

TEST(Lint, LooksAtThePackageAsWell) {
    const TemporaryDirectory directory;
    KernelAddition first = ipKernel(directory, "first", "language='ip' vlnv='v:l:shared:1.0'");
    directory.file("first/ip/hdl/top.v~", "old");
    add(first);
    KernelAddition second = ipKernel(directory, "second", "language='ip' vlnv='v:l:shared:1.0'");
    directory.file("second/ip/hdl/top.v~", "old");
    second.topIpDir = ".";
    add(second);
    const Texts lines = linesOf(kfab::lint::lintPackage(first.kpPath, "FIRST"));
    EXPECT_THAT(lines,
                ElementsAre("component.xml:1: no port and no interface of the IP is a clock [ip-clock]",
                            "kp.xml:4: the top IP directory 'top' is not in the package [top-ip]",
                            "kernel.xml:3: the VLNV 'v:l:shared:1.0', and so the IP, is that of kernel "
                            "'second' as well [ip-shared]",
                            "top.v~:0: the file is a left-over and no part of the kernel [stray-file]"));
    EXPECT_EQ(kfab::lint::lintPackage(first.kpPath).findings.size(), 7U);
    EXPECT_THROW(kfab::lint::lintPackage(first.kpPath, "third"), HEXAlgException);
}

TEST(Lint, SaysThatAnIpIsMissingOrNotGiven) {
    const TemporaryDirectory directory;
    const std::string xml = example + "/kernel.xml";
    EXPECT_THAT(linesOf(kfab::lint::lintKernel({.kernelXml = xml, .ipDir = directory.path(), .report = ""})),
                ElementsAre(HasSubstr("component.xml' is missing [ip-missing]")));
    const Outcome alone = kfab::lint::lintKernel({.kernelXml = xml, .ipDir = "", .report = ""});
    EXPECT_THAT(alone.findings, IsEmpty());
    ASSERT_EQ(alone.unchecked.size(), 1U);
    EXPECT_EQ(alone.unchecked.front().reason, "no IP is given; nothing was held against it");
}

}  // namespace
