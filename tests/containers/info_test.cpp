// Reports of what packages hold, as lines and as JSON.

#include "containers/kp/HKPContainerUtils.h"
#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEdit.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kfab::kernel::KernelDef;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Texts = std::vector<std::string>;
using Entries = std::vector<std::pair<std::string, std::string>>;

std::string manifest(const Texts& kernels, const std::string& major = "6") {
    std::string text = "<Root VersionMajor=\"" + major + "\" VersionMinor=\"0\"><Kernels>";
    for (const std::string& kernel : kernels)
        text += "<Kernel Name=\"" + kernel + "\"/>";
    return text + "</Kernels></Root>";
}

std::string description(const std::string& attributes, const std::string& args = "",
                        const std::string& ports = "") {
    return "<root versionMajor=\"1\" versionMinor=\"0\"><kernel " + attributes + "><ports>" + ports +
           "</ports><args>" + args + "</args></kernel></root>";
}

class InfoTest : public testing::Test {
protected:
    void pack(const Entries& entries) const {
        std::filesystem::remove(package_);
        ArchiveEdit edit(package_);
        for (const auto& [name, bytes] : entries)
            edit.addBytes(name, bytes);
        edit.commit();
    }

    std::string lines() const {
        std::ostringstream out;
        HKPContainerUtils::getInfoAsStreamTxt(package_, out);
        return out.str();
    }

    std::string json() const {
        std::ostringstream out;
        HKPContainerUtils::getInfoAsStreamJson(package_, out);
        return out.str();
    }

    /// One text for each kernel, put in the order of the reports.
    std::string inOrder(const std::map<std::string, std::string>& texts, const std::string& separator) const {
        std::vector<KernelDef> kernels;
        HKPContainerUtils::getInfo(package_)->getKernelDefs(kernels);
        std::string joined;
        for (const KernelDef& kernel : kernels)
            joined += (joined.empty() ? "" : separator) + texts.at(kernel.name);
        return joined;
    }

    TemporaryDirectory directory_;
    std::string package_ = directory_ / "p.kp";
};

const char* const fullLines = R"(=== Kernel Definition ===
name: full
language: ip
vlnv: v:l:full:1.0
attributes: all of them
hash: 17
preferredWorkGroupSizeMultiple: 2
workGroupSize: 4
debug: true
containsDebugDir: 1
containsHlsDir: 1
sourceFile: full/cpu_sources/a.cpp
sourceFile: full/cpu_sources/b.cpp
swEmuFile: full/sw_emu/e.so
PdiFile: full/pdi/x.pdi
ShimSolnFile: full/shim_soln/s.bin
=== Arg ===
name: a
addressQualifier: 1
id: 0
port: m
size: 0x8
offset: 0x10
hostOffset: 0x0
hostSize: 0x9
type: int*
memSize: 64
origName: alpha
origUse: in
=== Arg ===
name: b
addressQualifier: 0
=== Port ===
name: m
mode: master
range: 0xFF
dataWidth: 512
portType: addressable
base: 0x0
=== Port ===
name: s
dataWidth: 0
)";

const char* const bareLines = R"(=== Kernel Definition ===
name: bare
vlnv: 
preferredWorkGroupSizeMultiple: 
workGroupSize: 
)";

const char* const fullJson = R"(        {
            "name": "full",
            "language": "ip",
            "vlnv": "v:l:full:1.0",
            "attributes": "all of them",
            "hash": "17",
            "preferredWorkGroupSizeMultiple": "2",
            "workGroupSize": "4",
            "debug": "true",
            "containsDebugDir": "true",
            "containsHlsDir": "true",
            "sourceFiles": [
                {
                    "path": "full\/cpu_sources\/a.cpp"
                },
                {
                    "path": "full\/cpu_sources\/b.cpp"
                }
            ],
            "swEmuFiles": [
                {
                    "path": "full\/sw_emu\/e.so"
                }
            ],
            "pdiFiles": [
                {
                    "path": "full\/pdi\/x.pdi"
                }
            ],
            "shimSolnFile": "full\/shim_soln\/s.bin",
            "args": [
                {
                    "name": "a",
                    "addressQualifier": "1",
                    "id": "0",
                    "port": "m",
                    "size": "0x8",
                    "offset": "0x10",
                    "hostOffset": "0x0",
                    "hostSize": "0x9",
                    "type": "int*",
                    "memSize": "64",
                    "origName": "alpha",
                    "origUse": "in"
                },
                {
                    "name": "b",
                    "addressQualifier": "0"
                }
            ],
            "ports": [
                {
                    "name": "m",
                    "mode": "master",
                    "range": "0xFF",
                    "dataWidth": "512",
                    "portType": "addressable",
                    "base": "0x0"
                },
                {
                    "name": "s",
                    "dataWidth": "0"
                }
            ]
        })";

const char* const bareJson = R"(        {
            "name": "bare",
            "vlnv": "",
            "preferredWorkGroupSizeMultiple": "",
            "workGroupSize": "",
            "sourceFiles": "",
            "swEmuFiles": "",
            "pdiFiles": "",
            "args": "",
            "ports": ""
        })";

/// A kernel that has everything and one that has nothing.
Entries fullAndBare() {
    return {
        {"full/kernel.xml",
         description("name=\"full\" language=\"ip\" vlnv=\"v:l:full:1.0\" attributes=\"all of them\" "
                     "hash=\"17\" preferredWorkGroupSizeMultiple=\"2\" workGroupSize=\"4\" debug=\"true\"",
                     "<arg name=\"a\" addressQualifier=\"1\" id=\"0\" port=\"m\" size=\"0x8\" "
                     "offset=\"0x10\" hostOffset=\"0x0\" hostSize=\"0x9\" type=\"int*\" memSize=\"64\" "
                     "origName=\"alpha\" origUse=\"in\"/><arg name=\"b\"/>",
                     "<port name=\"m\" mode=\"master\" range=\"0xFF\" dataWidth=\"512\" "
                     "portType=\"addressable\" base=\"0x0\"/><port name=\"s\"/>")},
        {"full/cpu_sources/a.cpp", ""},
        {"full/cpu_sources/b.cpp", ""},
        {"full/sw_emu/e.so", ""},
        {"full/pdi/x.pdi", ""},
        {"full/shim_soln/s.bin", ""},
        {"full/debug/deep/trace.txt", ""},
        {"full/hls/log.txt", ""},
        {"bare/kernel.xml", description("name=\"bare\"")},
        {"debug/of_no_kernel", ""},
        {"kp.xml", manifest({"full", "bare"})}};
}

TEST_F(InfoTest, ReportsWhatIsThereAndOnlyThat) {
    pack(fullAndBare());
    EXPECT_EQ(lines(), inOrder({{"full", fullLines}, {"bare", bareLines}}, ""));
    EXPECT_EQ(json(), "{\n    \"kernelDefs\": [\n" +
                          inOrder({{"full", fullJson}, {"bare", bareJson}}, ",\n") + "\n    ]\n}\n");
    Texts out = {"kept"};
    Texts errors;
    EXPECT_TRUE(HKPContainerUtils::getInfoAsTxt(package_, out, errors));
    EXPECT_TRUE(HKPContainerUtils::getInfoAsJson(package_, out, errors));
    EXPECT_THAT(out, ElementsAre("kept", lines(), json()));
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(InfoTest, APackageWithoutKernels) {
    pack({{"kp.xml", manifest({})}});
    EXPECT_EQ(lines(), "");
    EXPECT_EQ(json(), "{\n    \"kernelDefs\": \"\"\n}\n");
}

TEST_F(InfoTest, TheExplorerKnowsEveryKernelAndWhetherThereCanBeIpCaches) {
    const Entries kernels = {{"k1/kernel.xml", description("name=\"k1\" vlnv=\"first\"")},
                             {"K1/kernel.xml", description("name=\"K1\" vlnv=\"second\"")},
                             {"dir/kernel.xml", description("name=\"other\"")},
                             {"debug/x", ""}};
    for (const auto& [major, caches] : {std::pair{"2", false}, {"3", true}, {"6", true}}) {
        Entries entries = kernels;
        entries.emplace_back("kp.xml", manifest({"k1", "dir", "K1"}, major));
        pack(entries);
        const auto explorer = HKPContainerUtils::getInfo(package_);
        std::set<std::string> names;
        explorer->getKernelDefNames(names);
        EXPECT_THAT(names, ElementsAre("K1", "other")) << "the later of two names that differ in case";
        EXPECT_EQ(explorer->getVLNV("K1"), "second");
        EXPECT_EQ(explorer->supportsIPCache(), caches) << major;
        EXPECT_THAT(lines(), testing::Not(HasSubstr("containsDebugDir"))) << "no kernel's own";
    }
}

/// Whether Python, which takes JSON at its word, gets the hash of the only kernel as it was.
bool pythonReadsHash(const std::string& file, const std::string& hash) {
    ::setenv("KP_TEST_HASH", hash.c_str(), 1);
    const std::string script = "import json, os; hash = json.load(open('" + file +
                               "', encoding='utf-8', newline=''))['kernelDefs'][0]['hash']; "
                               "assert hash.encode() == os.environb[b'KP_TEST_HASH'], hash";
    return std::system(("python3 -c \"" + script + "\"").c_str()) == 0;
}

TEST_F(InfoTest, JsonCarriesEveryTextThatADescriptionCanHold) {
    const std::pair<const char*, std::string> texts[] = {
        {"&#9;tab&#10;feed&#13;return", "\ttab\nfeed\rreturn"},
        {"&quot;quoted&quot; \\n \\ / &lt;&amp;&gt;", "\"quoted\" \\n \\ / <&>"},
        {"gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2 \xF0\x9F\x98\x80 &#127;&#133;&#8232;",
         "gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2 \xF0\x9F\x98\x80 \x7F\xC2\x85\xE2\x80\xA8"}};
    for (const auto& [written, meant] : texts) {
        pack({{"k/kernel.xml", description("name=\"k\" hash=\"" + std::string(written) + "\"",
                                           "<arg name=\"&#10;        {\"/>")},
              {"k/pdi/odd \x01\x1f\"name", ""},
              {"kp.xml", manifest({"k"})}});
        const std::string report = json();
        EXPECT_TRUE(pythonReadsHash(directory_.file("report.json", report), meant)) << report;
        EXPECT_THAT(lines(), HasSubstr("\nhash: " + meant + "\n"));

        std::istringstream in(report);
        boost::property_tree::ptree tree;
        boost::property_tree::read_json(in, tree);
        std::ostringstream again;
        boost::property_tree::write_json(again, tree);
        EXPECT_EQ(report, again.str()) << "laid out as the tree of all kernels";
    }
}

TEST_F(InfoTest, AFileNameThatIsNotUtf8IsRefusedAsJson) {
    pack({{"k/kernel.xml", description("name=\"k\"")}, {"k/pdi/\xFF.pdi", ""}, {"kp.xml", manifest({"k"})}});
    EXPECT_THAT(lines(), HasSubstr("PdiFile: k/pdi/\xFF.pdi\n"));
    Texts out = {"dropped"};
    Texts errors = {"kept"};
    EXPECT_FALSE(HKPContainerUtils::getInfoAsJson(package_, out, errors));
    EXPECT_THAT(out, IsEmpty());
    EXPECT_THAT(errors, ElementsAre("kept", "Kernel 'k' of KP container '" + package_ +
                                                "' cannot be reported as JSON because \"path\" is not UTF-8: "
                                                "'k/pdi/\\xff.pdi'\n"));
    std::ostringstream stream;
    EXPECT_THROW(HKPContainerUtils::getInfoAsStreamJson(package_, stream), HEXAlgException);
    EXPECT_EQ(stream.str(), "");
}

TEST_F(InfoTest, FailuresComeAsOneErrorAndNoReport) {
    const std::string xml = description("name=\"k\"");
    const std::string noFile = "The specified KP container does not exist: '" + package_ + "'\n";
    const struct {
        std::function<void()> prepare;
        std::string error;
    } cases[] = {
        {[] {}, noFile},
        {[&] { std::filesystem::create_directory(package_); }, noFile},
        {[&] { directory_.file("p.kp", "no archive"); }, package_},
        {[&] {
             pack({{"k/kernel.xml", xml}});
         },
         "kp.xml"},
        {[&] {
             pack({{"kp.xml", manifest({"k"})}});
         },
         "k/kernel.xml"},
        {[&] {
             pack({{"k/kernel.xml", xml + "<"}, {"kp.xml", manifest({"k"})}});
         },
         package_ + ":1: "},
    };
    for (const auto& [prepare, error] : cases) {
        std::filesystem::remove(package_);
        prepare();
        for (const auto report : {HKPContainerUtils::getInfoAsTxt, HKPContainerUtils::getInfoAsJson}) {
            Texts out = {"dropped"};
            Texts errors;
            EXPECT_FALSE(report(package_, out, errors)) << error;
            EXPECT_THAT(out, IsEmpty());
            EXPECT_THAT(errors, ElementsAre(HasSubstr(error)));
        }
    }
    pack(fullAndBare());
    const disk::DiskFaults faults(
        [&](std::string_view call, const std::string&) { return call == "read" ? EIO : 0; });
    Texts out;
    Texts errors;
    EXPECT_FALSE(HKPContainerUtils::getInfoAsJson(package_, out, errors));
    EXPECT_THAT(errors, ElementsAre(HasSubstr(package_)));
}

/// Keeps what had arrived at each flush.
class FlushLog : public std::stringbuf {
public:
    Texts flushed;

protected:
    int sync() override {
        flushed.push_back(str());
        str("");
        return 0;
    }
};

TEST_F(InfoTest, EachLineIsFlushedAndAFullDiskIsAnError) {
    pack(fullAndBare());
    FlushLog log;
    std::ostream out(&log);
    HKPContainerUtils::getInfoAsStreamTxt(package_, out);
    const std::string expected = lines();
    EXPECT_EQ(static_cast<std::ptrdiff_t>(log.flushed.size()),
              std::count(expected.begin(), expected.end(), '\n'));
    std::string all;
    for (const std::string& line : log.flushed) {
        EXPECT_EQ(line.find('\n') + 1, line.size()) << line;
        all += line;
    }
    EXPECT_EQ(all, expected);
    for (const auto report :
         {HKPContainerUtils::getInfoAsStreamTxt, HKPContainerUtils::getInfoAsStreamJson}) {
        std::ofstream full("/dev/full");
        EXPECT_THROW(report(package_, full), HEXAlgException);
    }
}

TEST_F(InfoTest, TheTimeGrowsWithTheNumberOfKernels) {
    const auto secondsFor = [&](int kernels) {
        Entries entries;
        Texts names;
        for (int i = 0; i < kernels; ++i) {
            const std::string name = names.emplace_back("k" + std::to_string(i));
            entries.emplace_back(name + "/kernel.xml", description("name=\"" + name + "\""));
            for (const char* file :
                 {"/cpu_sources/a.cpp", "/pdi/x.pdi", "/sw_emu/e.so", "/debug/t", "/hls/l"})
                entries.emplace_back(name + file, "");
        }
        entries.emplace_back("kp.xml", manifest(names));
        pack(entries);
        const std::clock_t start = std::clock();
        EXPECT_GT(json().size(), static_cast<std::size_t>(kernels) * 100);
        return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    };
    const double few = secondsFor(400);
    EXPECT_LT(secondsFor(4000), few * 30) << "ten times the kernels; few took " << few << " s";
}

}  // namespace
