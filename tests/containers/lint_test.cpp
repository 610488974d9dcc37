#include "containers/lint/Lint.h"

#include "containers/lint/KernelFacts.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"
#include "tests/support/Findings.h"

#include <set>

#include <gmock/gmock.h>

namespace {

using namespace kfab::lint;
using namespace testing;

Texts piecesOf(const std::string& example) {
    Texts pieces;
    const std::string gap = " ... ";
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + gap.size()) {
        end = example.find(gap, begin);
        pieces.push_back(example.substr(begin, end - begin));
    }
    return pieces;
}

/// The document with a mistake in place of what is right; a gap " ... " is any text, which the mistake keeps.
std::string withMistake(std::string text, const std::string& right, const std::string& wrong) {
    const Texts rights = piecesOf(right), wrongs = piecesOf(wrong);
    const std::size_t begin = text.find(rights.front());
    std::string changed = wrongs.front();
    std::size_t at = begin + rights.front().size();
    for (std::size_t piece = 1; piece < rights.size(); ++piece) {
        const std::size_t next = text.find(rights[piece], at);
        if (piece < wrongs.size()) changed += text.substr(at, next - at) + wrongs[piece];
        EXPECT_NE(next, std::string::npos) << right;
        at = next + rights[piece].size();
    }
    EXPECT_NE(begin, std::string::npos) << right;
    return text.replace(begin, at - begin, changed);
}

/// The example with a mistake in one of its files.
Outcome lintMistaken(const std::string& file, const std::string& right, const std::string& wrong) {
    const ExampleDirectory directory;
    directory.file(file, withMistake(TemporaryDirectory::read(directory / file), right, wrong));
    return lintKernel({directory / "kernel.xml", directory / "ip", directory / "design.xml"});
}

/// The line of an example, as linesOf has it.
std::string lineOf(const std::string& code, const Example& mistake) {
    const std::string place = mistake.place;
    return place.substr(place.rfind('/') + 1) + (place.find(':') == std::string::npos ? ":0: " : ": ") +
           mistake.finding + " [" + code + "]";
}

constexpr const char* lengthRegister = "<ipxact:name>length< ... >32< ... write-only</ipxact:access>";

/// The register of an argument with more bits than that has, of which so many are its field.
std::string wideRegister(int fieldWidth) {
    return "<ipxact:name>length< ... >64< ... write-only</ipxact:access><ipxact:field><ipxact:name>value"
           "</ipxact:name><ipxact:bitOffset>0</ipxact:bitOffset><ipxact:bitWidth>" +
           std::to_string(fieldWidth) + "</ipxact:bitWidth></ipxact:field>";
}

/// Nor of the example customized, with the report of the original or of another of the IP's modules.
TEST(Lint, HasNothingToSayOfTheExample) {
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"kernel.xml", "", ""},
        {"kernel.xml", R"(<kernel name="vadd")", R"(<kernel name="vadd_deep")"},
        {"design.xml", "<ModuleName>vadd< ... <Name>vadd<", "<ModuleName>vadd_tb< ... <Name>vadd_tb<"},
        {"ip/component.xml", lengthRegister, wideRegister(32)}};
    for (const auto& [file, piece, other] : rows) {
        const Outcome outcome = lintMistaken(file, piece, other);
        EXPECT_THAT(linesOf(outcome), IsEmpty());
        EXPECT_THAT(outcome.unchecked, IsEmpty());
    }
}

/// One mistake may break several rules.
void expectFinding(const char* code, const Example& mistake) {
    const Outcome outcome = lintMistaken(mistake.document, mistake.right, mistake.wrong);
    EXPECT_THAT(linesOf(outcome), Contains(lineOf(code, mistake)));
}

TEST(Lint, NamesTheMistakeOfEachRuleAtItsLine) {
    for (const Rule& rule : rules())
        if (*rule.example.document != '\0')  // otherwise tried with a package
            expectFinding(rule.code, rule.example);
}

TEST(Lint, NamesOtherMistakesOfTheRules) {
    const std::string length = R"(<arg name="length" ... offset="0x34")",
                      type = R"(<arg name="length" ... type="uint")", narrowField = wideRegister(16);
    const std::pair<Example, const char*> mistakes[] = {
        // clang-format off
        {{"kernel.xml", R"(<arg name="length" ... offset="0xFFFFFFFFFFFFFFFF")", length.c_str(),
          "kernel.xml:13", "argument 'length' ends at 0xFFFFFFFFFFFFFFFF, beyond the 0x1000 bytes of its port 's_control'"}, "beyond-range"},
        {{"kernel.xml", R"(<arg name="out" ... offset="0x1000")", R"(<arg name="out" ... offset="0x28")",
          "kernel.xml:12", "argument 'out' ends at 0x1008, beyond the 0x1000 bytes of the control port 's_control'"}, "beyond-range"},
        {{"kernel.xml", R"(range="0x1000" dataWidth="32" ... base="0x1000")", R"(range="0x1000" dataWidth="32" ... base="0x0")",
          "kernel.xml:5", "the base 0x1000 of port 's_control' lies beyond its range of 0x1000"}, "port-range"},
        {{"kernel.xml", R"(<port name="2nd")", R"(<port name="m_read")",
          "kernel.xml:6", "the name '2nd' of a port is no C identifier"}, "name"},
        {{"kernel.xml", R"(<arg name="b" ... size="0x4" offset="0x14" ... <arg name="out" ... offset="0x17")",
          R"(<arg name="b" ... size="0x8" offset="0x1C" ... <arg name="out" ... offset="0x28")",
          "kernel.xml:12", "argument 'out' begins at 0x17, before argument 'a' ends at 0x18"}, "overlap"},
        {{"kernel.xml", R"(<arg name="length" ... type="unsigned long")", type.c_str(),
          "kernel.xml:13", "argument 'length' has 0x4 bytes, but its type 'unsigned long' has 0x8"}, "type-size"},
        {{"kernel.xml", R"(<arg name="length" ... type="float4")", type.c_str(),
          "kernel.xml:13", "argument 'length' has 0x4 bytes, but its type 'float4' has 0x10"}, "type-size"},
        {{"kernel.xml", R"(<root versionMajor="1" versionMinor="11" new="x")", R"(<root versionMajor="1" versionMinor="10")",
          "kernel.xml:2", "the document is of version 1.11, but nothing later than 1.10 is known"}, "later-version"},
        {{"ip/component.xml", "</ipxact:vendorExtensions>", "</ipxact:vendorExtensions> ... </ipxact:component>",
          "component.xml:293", "no element found"}, "ip-unreadable"},
        {{"ip/component.xml", "hdl/../../vadd_fifo.v", "hdl/vadd_fifo.v",
          "component.xml:269", "the file 'hdl/../../vadd_fifo.v' of the file set 'synthesis' lies outside the IP"}, "ip-file-outside"},
        {{"ip/component.xml", "<ipxact:baseAddress>0x10<", "<ipxact:baseAddress>0x0<",
          "kernel.xml:13", "argument 'length' takes 0x4 bytes at 0x34, where the IP describes no such register; that of its name lies at 0x44"}, "ip-register"},
        {{"ip/component.xml", narrowField.c_str(), lengthRegister,
          "kernel.xml:13", "argument 'length' takes 0x4 bytes at 0x34, where the IP describes no such register; that of its name has another size"}, "ip-register"},
        {{"ip/component.xml", "<ipxact:name>control</ipxact:name> ... <ipxact:range>0x800<", "<ipxact:name>control</ipxact:name> ... <ipxact:range>0x1000<",
          "kernel.xml:5", "port 's_control' has a range of 0x1000, but the IP's address block 'control' ends at 0x800"}, "ip-range"},
        // clang-format on
    };
    for (const auto& [mistake, code] : mistakes)
        expectFinding(code, mistake);
}

Outcome lintXml(const std::string& attributes, const std::string& children, bool isComplete = true) {
    const TemporaryDirectory directory;
    return lintKernel({.kernelXml = directory.file("kernel.xml", kernelXml(attributes, children)),
                       .isComplete = isComplete});
}

TEST(Lint, FindsNothingInGoodKernelsOfOtherKinds) {
    const std::string slave =
        "mode='slave' range='0x1000' dataWidth='32' portType='addressable' base='0x0'/>";
    const std::string value = "addressQualifier='0' size='4' offset='16' hostSize='4' type='int'/>";
    for (const bool isComplete : {false, true})
        EXPECT_THAT(linesOf(lintXml("name='emulated' language='c'", "<ports/><args/>", isComplete)),
                    IsEmpty());
    EXPECT_THAT(linesOf(lintXml("name='bare' language='ip'", "<ports/><args/>", false)),
                ElementsAre("kernel.xml:2: the kernel has no VLNV [vlnv]"));
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

/// The lines of rules whose examples are no mistakes of a document.
Texts linesOfRules(const std::set<std::string>& codes) {
    Texts lines;
    for (const Rule& rule : rules())
        if (codes.contains(rule.code)) lines.push_back(lineOf(rule.code, rule.example));
    return lines;
}

KernelAddition exampleIn(const ExampleDirectory& directory, const std::string& package) {
    return {directory / package, "vadd", directory / "kernel.xml", directory / "ip"};
}

TEST(Lint, LooksAtThePackageAsWellAndAtWhatIsToBeAdded) {
    const ExampleDirectory directory;
    KernelAddition vmul = exampleIn(directory, "p.kp"), vadd = vmul, bare = exampleIn(directory, "bare.kp");
    const auto expectSame = [](const KernelAddition& addition, const Texts& lines) {
        add(addition);
        EXPECT_THAT(linesOf(lintPackage(addition.kpPath)), ElementsAreArray(lines));
    };
    bare.ipDir = directory / "ip/hdl";
    EXPECT_THAT(linesOf(lintAddition(bare)),
                ElementsAre("kernel.xml:3: the kernel's IP is not there: " +
                            HUTPathUtils::quoted(directory / "ip/hdl/component.xml", 80) +
                            " is missing [ip-missing]"));
    expectSame(bare, linesOfRules({"ip-missing"}));

    KernelAddition top = exampleIn(directory, "top.kp");
    top.topIpDir = "top";
    expectSame(top, linesOfRules({"top-ip"}));

    vmul.kernelName = "vmul";
    vmul.kernelXmlPath =
        directory.file("vmul.xml", withMistake(TemporaryDirectory::read(directory / "kernel.xml"),
                                               "<kernel name=\"vadd\"", "<kernel name=\"vmul\""));
    EXPECT_THAT(linesOf(lintAddition(vmul)), IsEmpty());
    expectSame(vmul, {});

    directory.file("ip/hdl/vadd.v~", "old");
    vadd.topIpDir = "top";
    vadd.cpuFiles = {directory / "src/vadd.cpp"};
    vadd.hlsDir = directory / "hls";
    directory.file("hls/.git/config", "");
    EXPECT_THAT(linesOf(lintAddition(vadd)),
                ElementsAre("p.kp:0: the top IP directory 'top' is not in the package [top-ip]",
                            "kernel.xml:3: the VLNV 'example:kernels:vadd:1.0', and so the IP, is that of "
                            "kernel 'vmul' as well [ip-shared]",
                            "vadd.v~:0: the file is a left-over and no part of the kernel [stray-file]",
                            "config:0: the file is a left-over and no part of the kernel [stray-file]"));
    add(vadd);
    EXPECT_THAT(linesOf(lintPackage(vadd.kpPath, "VMUL")),
                ElementsAreArray(linesOfRules({"ip-shared", "stray-file"})));
    EXPECT_EQ(lintPackage(vadd.kpPath).findings.size(), 6U);
    EXPECT_THROW(lintPackage(vadd.kpPath, "third"), HEXAlgException);
}

TEST(Lint, KnowsLeftOversByTheirNames) {
    for (const char* path :
         {".git/a", "a/.git/b", "a/.DS_Store", "Thumbs.db", "a/b~", ".a.swp", "a/.b.c.swo"})
        EXPECT_TRUE(isStray(path)) << path;
    for (const char* path : {"", "a/~", "a.swp", "a/.swpx", ".gitignore", "git/a", "Thumbs.db2"})
        EXPECT_FALSE(isStray(path)) << path;
}

}  // namespace
