#include "containers/compare/Comparison.h"
#include "tests/containers/PackageTest.h"

namespace {

using namespace kfab::compare;
using namespace testing;

Texts linesOf(const Comparison& comparison) {
    Texts lines;
    for (const Difference& difference : comparison.differences)
        lines.push_back(lineOf(difference));
    for (const std::string& note : comparison.notes)
        lines.push_back("note: " + note);
    return lines;
}

/// What is told of two packages; as much is told of them the other way round.
Texts between(const std::string& before, const std::string& now,
              const std::optional<std::string>& kernel = {}) {
    Texts lines = linesOf(comparePackages(before, now, kernel));
    EXPECT_EQ(linesOf(comparePackages(now, before, kernel)).size(), lines.size());
    return lines;
}

// The example as two packages

/// One piece of one of its inputs in another way.
struct Edit {
    std::string file, piece, other;
};

/// The example's inputs, with a description that has a bit of everything.
class Inputs : public ExampleDirectory {
public:
    Inputs() {
        file("debug/trace.txt", "old");
        edit("kernel.xml", "</ports>",
             "<port name='s_in' mode='slave' dataWidth='64' portType='stream'/></ports>");
        edit("kernel.xml", "</kernel>",
             "<string_table><format_string id='1' value='n: %d'/></string_table></kernel>"
             "<memory name='shared' size='4096' linkage='external'/>"
             "<pipe name='p' width='32' depth='16' linkage='external'/>"
             "<connection srcInst='vadd' srcPort='m_read' dstInst='mem' dstPort='s' srcType='kernel'/>");
    }

    KernelAddition addition(const std::string& package) const {
        return {.kpPath = *this / package,
                .kernelName = "vadd",
                .kernelXmlPath = *this / "kernel.xml",
                .ipDir = *this / "ip",
                .cpuFiles = {*this / "src/vadd.cpp"},
                .designXmlPath = *this / "design.xml",
                .projectID = "lab 7",
                .debugDir = *this / "debug"};
    }
};

using Compare = PackageTest;

/// The lines of the example before and after edits of its inputs and of what is added; then the verdict.
Texts changed(const std::vector<Edit>& edits, const std::function<void(KernelAddition&)>& change = {}) {
    Inputs inputs;
    const KernelAddition old = inputs.addition("old.kp");
    add(old);
    for (const auto& [file, piece, other] : edits)
        inputs.edit(file, piece, other);
    KernelAddition addition = inputs.addition("new.kp");
    if (change) change(addition);
    add(addition);
    Texts lines = between(old.kpPath, addition.kpPath);
    for (std::string& line : lines)
        line.erase(0, std::string_view("vadd: ").size());
    lines.emplace_back(textOf(comparePackages(old.kpPath, addition.kpPath).verdict()));
    return lines;
}

/// An edit of the description.
Edit xml(const std::string& piece, const std::string& other) {
    return {"kernel.xml", piece, other};
}

TEST_F(Compare, TellsEachKindOfDifference) {
    const std::string length = "id=\"3\" port=\"s_control\" size=\"0x4\"";
    const std::string b =
        R"(<arg name="b" addressQualifier="1" id="1" port="m_read" size="0x8" offset="0x1C" hostOffset="0x0" hostSize="0x8" type="uint*"/>)";
    const std::string source = "ip_repo/example_kernels_vadd_1_0/hdl/vadd.v";
    // clang-format off
    const std::pair<std::vector<Edit>, Texts> rows[] = {
        {{}, {"same"}},
        {{xml("offset=\"0x34\"", "offset=\"0x38\"")}, {"breaking: argument 'length': offset 0x34 -> 0x38", "major"}},
        {{xml("offset=\"0x34\"", "offset=\"52\"")}, {"inside: argument 'length': offset 0x34 -> 52", "patch"}},
        {{xml(length, "id=\"3\" port=\"s_control\" size=\"0x8\""), xml("type=\"uint\"", "type=\"unsigned int\"")},
         {"breaking: argument 'length': size 0x4 -> 0x8", "breaking: argument 'length': type uint -> 'unsigned int'", "major"}},
        {{xml("port=\"m_read\"", "port=\"m_write\"")}, {"breaking: argument 'a': port m_read -> m_write", "major"}},
        {{xml(" addressQualifier=\"0\"", "")}, {"inside: argument 'length': addressQualifier 0 -> none", "patch"}},
        {{xml("hostSize=\"0x4\"", "")}, {"breaking: argument 'length': hostSize 0x4 -> none", "major"}},
        {{xml("type=\"uint\"", "type=\"uint\" memSize=\"8\" origName=\"n\"")},
         {"breaking: argument 'length': memSize none -> 8", "inside: argument 'length': origName none -> n", "major"}},
        {{xml("name=\"length\"", "name=\"count\"")}, {"breaking: argument 'length': name length -> count", "major"}},
        {{xml("id=\"0\"", "id=\"1\""), xml("\"b\" addressQualifier=\"1\" id=\"1\"", "\"b\" addressQualifier=\"1\" id=\"0\"")},
         {"breaking: argument 'a': id 0 -> 1", "major"}},
        {{xml("id=\"0\"", "id=\"9\""), xml("id=\"1\"", "id=\"0\""), xml("id=\"2\"", "id=\"1\""), xml("id=\"3\"", "id=\"2\""), xml("id=\"9\"", "id=\"3\"")},
         {"breaking: argument 'a': id 0 -> 3", "major"}},
        {{xml("id=\"3\"", "id=\"7\"")}, {"breaking: argument 'length': id 3 -> 7", "major"}},
        {{xml("id=\"1\"", "id=\"0\"")}, {"breaking: argument 'b': id 1 -> 0", "major"}},
        {{xml(b, ""), xml("id=\"2\"", "id=\"1\""), xml("id=\"3\"", "id=\"2\"")}, {"breaking: argument 'b' removed", "major"}},
        {{xml("</args>", "<arg name='x' id='4'/></args>")}, {"breaking: argument 'x' added", "major"}},
        {{xml(b, ""), xml("<args>", "<args>" + b)}, {"inside: file 'vadd/kernel.xml': checksum", "patch"}},
        {{xml("dataWidth=\"32\"", "dataWidth=\"64\"")}, {"compatible: port 's_control': dataWidth 32 -> 64", "minor"}},
        {{xml("dataWidth=\"32\"", "dataWidth=\"16\"")}, {"breaking: port 's_control': dataWidth 32 -> 16", "major"}},
        {{xml("range=\"0x1000\"", "range=\"0x2000\"")}, {"compatible: port 's_control': range 0x1000 -> 0x2000", "minor"}},
        {{xml("range=\"0x1000\"", "range=\"0x800\"")}, {"breaking: port 's_control': range 0x1000 -> 0x800", "major"}},
        {{xml("mode=\"slave\"", "mode=\"Slave\"")}, {"inside: port 's_control': mode slave -> Slave", "patch"}},
        {{xml("mode=\"slave\"", "mode=\"master\""), xml("portType=\"addressable\" base=\"0x0\"", "portType=\"stream\" base=\"0x10\"")},
         {"breaking: port 's_control': mode slave -> master", "breaking: port 's_control': portType addressable -> stream",
          "breaking: port 's_control': base 0x0 -> 0x10", "major"}},
        {{xml("name='s_in'", "name='s_on'")}, {"breaking: port 's_in' removed", "breaking: port 's_on' added", "major"}},
        {{xml("</ports>", "<port name='m_more' mode='master' portType='addressable'/></ports>")}, {"compatible: port 'm_more' added", "minor"}},
        {{xml("start_done", "pipelined")}, {"breaking: hwControlProtocol start_done -> pipelined", "major"}},
        {{xml("interrupt=\"false\"", "interrupt=\"true\"")}, {"compatible: interrupt false -> true", "minor"}},
        {{xml("attributes=\"\"", "attributes=\"a &#10;\x7F b\" compileOptions=\"none\" hash=\"\" debug=\"true\"")},
         {"inside: attributes '' -> 'a \\x0a\\x7f b'", "inside: hash none -> ''", "inside: debug none -> true", "inside: compileOptions none -> 'none'", "patch"}},
        {{xml("<compileWorkGroupSize x=\"1\" y=\"1\" z=\"1\"/>", "")}, {"compatible: compileWorkGroupSize removed", "minor"}},
        {{xml("<compileWorkGroupSize x=\"1\"", "<compileWorkGroupSize x=\"2\"")}, {"breaking: compileWorkGroupSize: x 1 -> 2", "major"}},
        {{xml("<maxWorkGroupSize x=\"1\" y=\"1\"", "<maxWorkGroupSize x=\"2\" y=\"0\"")},
         {"compatible: maxWorkGroupSize: x 1 -> 2", "breaking: maxWorkGroupSize: y 1 -> 0", "major"}},
        {{xml("n: %d", "m: %d"), xml("</string_table>", "<format_string id='2'/></string_table>")},
         {"inside: format string '1': value 'n: %d' -> 'm: %d'", "inside: format string '2' added", "patch"}},
        {{xml("size='4096'", "size='8192'"), xml("depth='16'", "depth='8'")},
         {"compatible: memory 'shared': size 4096 -> 8192", "breaking: pipe 'p': depth 16 -> 8", "major"}},
        {{xml("srcType='kernel'", "srcType='core'")}, {"breaking: connection 'vadd m_read mem s': srcType kernel -> core", "major"}},
        {{xml(":vadd:1.0", ":vadd:1.1")},
         {"inside: IP ip_repo/example_kernels_vadd_1_0 -> ip_repo/example_kernels_vadd_1_1", "inside: vlnv example:kernels:vadd:1.0 -> example:kernels:vadd:1.1", "patch"}},
        {{{"design.xml", "<LUT>655", "<LUT>983"}}, {"inside: report: module 'vadd': LUT 655 -> 983 (+50.1%)", "patch"}},
        {{{"design.xml", "<EstimatedClockPeriod>2.920", "<EstimatedClockPeriod>1.46"}},
         {"inside: report: module 'vadd': EstimatedClockPeriod 2.92 -> 1.46 (-50%)", "patch"}},
        {{{"ip/hdl/vadd.v", "module vadd", "module vaxx"}}, {"inside: file '" + source + "': checksum", "patch"}},
        {{{"ip/hdl/vadd.v", "module vadd", "module vad"}}, {"inside: file '" + source + "': size 3825 -> 3824", "patch"}},
        {{{"debug/trace.txt", "old", "older"}}, {"inside: file 'vadd/debug/trace.txt': size 3 -> 5", "patch"}},
    };
    // clang-format on
    for (const auto& [edits, expected] : rows) {
        Texts lines = changed(edits);
        for (std::string& line : lines)  // of inputs that may change
            if (const std::size_t at = line.find(": checksum 0x"); at != std::string::npos)
                line.resize(at + std::string_view(": checksum").size());
        EXPECT_THAT(lines, ElementsAreArray(expected)) << (edits.empty() ? "" : edits.front().other);
    }
}

TEST_F(Compare, TellsWhatElseAKernelHasAndLacks) {
    const std::string image = file("x.pdi");
    // clang-format off
    const std::pair<std::function<void(KernelAddition&)>, Texts> rows[] = {
        {[](KernelAddition& kernel) { kernel.cpuFiles = {}; },
         {"breaking: flow 'sw_emu' removed", "inside: file 'vadd/cpu_sources/vadd.cpp' removed", "major"}},
        {[](KernelAddition& kernel) { kernel.projectID = "lab 8"; }, {"inside: ProjectID 'lab 7' -> 'lab 8'", "patch"}},
        {[](KernelAddition& kernel) { kernel.debugDir = ""; },
         {"inside: Debug yes -> no", "inside: file 'vadd/debug/trace.txt' removed", "patch"}},
        {[&](KernelAddition& kernel) { kernel.pdiFiles = {image}; },
         {"compatible: Pdi no -> yes", "inside: file 'vadd/pdi/x.pdi' added", "minor"}},
        {[](KernelAddition& kernel) { kernel.designXmlPath = ""; }, {"inside: report removed", "patch"}},
        {[](KernelAddition& kernel) { kernel.ipDir = ""; },
         {"inside: IP ip_repo/example_kernels_vadd_1_0 -> ''", "breaking: flow 'hw' removed", "breaking: flow 'hw_emu' removed",
          "inside: IP 'ip_repo/example_kernels_vadd_1_0' removed", "major"}},
    };
    // clang-format on
    for (const auto& [change, lines] : rows)
        EXPECT_THAT(changed({}, change), ElementsAreArray(lines));
}

// Whole packages

TEST_F(Compare, FindsKernelsByTheirNames) {
    const std::string shared = "language='ip' vlnv='v:l:shared:1.0'";
    const auto package = [&](const std::string& name, const Texts& kernels, bool repo = true) {
        for (const std::string& kernel : kernels) {
            KernelAddition addition = into(directory_ / name, ipKernel(directory_, kernel, shared));
            addition.ipDir = directory_ / "a/ip";
            addition.ipRepoLayout = repo;
            add(addition);
        }
        return directory_ / name;
    };
    const std::string old = package("old.kp", {"a", "b", "c"});
    const auto expect = [&](const std::string& now, const Texts& lines,
                            const std::optional<std::string>& kernel = {}) {
        EXPECT_EQ(between(old, now, kernel), lines) << now;
    };
    const std::string less = package("less.kp", {"c", "d"}), ip = ": inside: IP ip_repo/v_l_shared_1_0 -> ";
    const std::string format = "package: inside: VersionMajor 6 -> 2";
    expect(package("order.kp", {"c", "a", "b"}), {});
    expect(less,
           {"a: breaking: kernel removed", "b: breaking: kernel removed", "d: compatible: kernel added"});
    expect(less, {}, "C");
    expect(less, {"d: compatible: kernel added"}, "D");
    expect(package("case.kp", {"A", "b", "c"}),
           {"A: breaking: Name a -> A", "A: inside: Dir a -> A", "A: breaking: name a -> A"}, "a");
    EXPECT_THROW(comparePackages(old, less, "e"), HEXAlgException);
    expect(package("layout.kp", {"a", "b", "c"}, false),
           {"a" + ip + "a/ip", "b" + ip + "b/ip", "c" + ip + "c/ip", format});
    inputFile(directory_, "a/ip/hdl/more.v");
    const std::string sharedToo =
        ": inside: IP 'ip_repo/v_l_shared_1_0', that of kernel 'a' as well: files differ";
    expect(package("more.kp", {"b", "a", "c"}),
           {"a: inside: file 'ip_repo/v_l_shared_1_0/hdl/more.v' added", "b" + sharedToo, "c" + sharedToo});
    expect(package("grown.kp", {"a", "b"}, false),
           {"a" + ip + "a/ip", "a: inside: file 'a/ip/hdl/more.v' added", "b" + ip + "b/ip",
            "b: inside: IP 'b/ip': files differ", "c: breaking: kernel removed", format});
}

const std::string manifestHead = "<Root VersionMajor='6' VersionMinor='0'>";

/// A package as others may have made it: a manifest with these kernels, and these members.
std::string written(const TemporaryDirectory& directory, const std::string& name, const std::string& manifest,
                    Members members) {
    members.emplace_back("kp.xml", manifestHead + manifest + "</Root>");
    pack(directory / name, members);
    return directory / name;
}

TEST_F(Compare, LooksAtAllMembersAndTellsWhatIsNotSure) {
    const std::string kernels = "<Kernels><Kernel Name='k' Dir='k'/></Kernels>";
    const std::string later =
        "<root versionMajor='1' versionMinor='11' new=''><kernel name='k'><ports/><args/></kernel></root>";
    const std::string old = written(
        directory_, "old.kp", "<IpCaches><Cache CacheDir='x'/></IpCaches>" + kernels,
        {{"k/kernel.xml", kernelXml("name='k'")}, {"ip_cache/x/x.qmr", "x"}, {"lone", "1"}, {"k/e/", ""}});
    const std::string now = written(directory_, "new.kp", kernels, {{"k/kernel.xml", later}, {"lone", "2"}});
    EXPECT_THAT(between(old, now),
                ElementsAre("k: inside: versionMinor 10 -> 11", "package: inside: IP cache 'x' removed",
                            "package: inside: file 'lone': checksum 0x83dcefb7 -> 0x1ad5be0d",
                            "note: The digest of '" + old + "' is missing",
                            "note: The digest of '" + now + "' is missing",
                            "note: The description of kernel 'k' in '" + now +
                                "' holds what is not known; that was not compared"));
    const auto kernel = [](const std::string& name, const std::string& ip) {
        return "<Kernel Name='" + name + "' Dir='" + name + "' IP='ip_repo/" + ip + "'/>";
    };
    const auto crossed = [&](const std::string& name, const std::string& first, const std::string& second) {
        Members members{{"ip_repo/x/f", name}, {"ip_repo/y/f", "y"}};
        for (const std::string each : {"a", "b", "c"})
            members.emplace_back(each + "/kernel.xml", kernelXml("name='" + each + "'"));
        return written(
            directory_, name,
            "<Kernels>" + kernel("a", first) + kernel("b", second) + kernel("c", "x") + "</Kernels>",
            members);
    };
    EXPECT_THAT(between(crossed("1", "x", "y"), crossed("22", "y", "x"), "c"),
                Contains("c: inside: file 'ip_repo/x/f': size 1 -> 2"));
    EXPECT_THAT(between(directory_ / "1", directory_ / "22"),
                Contains("c: inside: file 'ip_repo/x/f': size 1 -> 2"));
    const Comparison none = comparePackages(written(directory_, "none.kp", "<Kernels/>", {}), now, "K");
    EXPECT_EQ(none.verdict(), Verdict::Minor);
}

TEST_F(Compare, NamesWhatCannotBeCompared) {
    const std::string kernels = "<Kernels><Kernel Name='k' Dir='k'/></Kernels>";
    const std::string good =
        written(directory_, "good.kp", kernels, {{"k/kernel.xml", kernelXml("name='k'")}});
    const auto expectReason = [&](const std::string& package, const std::string& expected) {
        EXPECT_THAT(failureOf([&] { comparePackages(good, package); }), HasSubstr(expected));
    };
    expectReason(written(directory_, "bare.kp", kernels, {}),
                 "bare.kp' has no description: 'k/kernel.xml' is not in the package");
    expectReason(written(directory_, "bad.kp", kernels, {{"k/kernel.xml", "<root/>"}}), "bad.kp");
    // The same name twice, as no writer here would.
    for (const std::string folder : {"k/", "no/"}) {
        const std::string first = folder + "e1", second = folder + "e2";
        std::string bytes = TemporaryDirectory::read(
            written(directory_, "x.kp", kernels,
                    {{"k/kernel.xml", kernelXml("name='k'")}, {first, "1"}, {second, "2"}}));
        for (std::size_t at = 0; (at = bytes.find(second, at)) != std::string::npos;)
            bytes.replace(at, first.size(), first);
        expectReason(directory_.file("twice.kp", bytes), "twice.kp' holds two entries named '" + first + "'");
    }
}

}  // namespace
