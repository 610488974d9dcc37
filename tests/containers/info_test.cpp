// Reports of what packages hold, as lines and as JSON.

#include "tests/containers/PackageTest.h"
#include "tests/support/Faults.h"

#include <sstream>

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <nlohmann/json.hpp>

namespace {

using namespace testing;
using namespace std::string_literals;

std::string manifest(const Texts& kernels, const std::string& major = "6") {
    std::string text = "<Root VersionMajor=\"" + major + "\" VersionMinor=\"0\"><Kernels>";
    for (const std::string& kernel : kernels)
        text += "<Kernel Name=\"" + kernel + "\"/>";
    return text + "</Kernels></Root>";
}

/// Counts the flushes of what it takes.
struct FlushCount : std::stringbuf {
    std::ptrdiff_t flushes = 0;
    int sync() override {
        ++flushes;
        return 0;
    }
};

class InfoTest : public PackageTest {
protected:
    std::string report(void (*write)(const std::string&, std::ostream&)) const {
        std::ostringstream out;
        write(package_, out);
        return out.str();
    }
    std::string lines() const { return report(HKPContainerUtils::getInfoAsStreamTxt); }
    std::string json() const { return report(HKPContainerUtils::getInfoAsStreamJson); }

    void packKernel(const std::string& attributes, const std::string& pdi = "x") const {
        pack(package_, {{"k/kernel.xml",
                         kernelXml("name='k' " + attributes, "<ports/><args><arg name='&#10;  {'/></args>")},
                        {"k/pdi/" + pdi, ""},
                        {"kp.xml", manifest({"k"})}});
    }
};

void expectUsualLayout(const std::string& json) {
    std::istringstream in(json);
    boost::property_tree::ptree tree;
    boost::property_tree::read_json(in, tree);
    std::ostringstream usual;
    boost::property_tree::write_json(usual, tree);
    EXPECT_EQ(json, usual.str());
}

TEST_F(InfoTest, ReportsWhatIsThereAndOnlyThat) {
    pack(package_, {{"kp.xml", manifest({})}});
    EXPECT_EQ(lines() + json(), "{\n    \"kernelDefs\": \"\"\n}\n");
    const char* const children =
        "<ports><port name='m' mode='master' range='0xFF' dataWidth='512' portType='addressable' base='0x0'/>"
        "<port name='s'/></ports><args><arg name='a' addressQualifier='1' id='0' port='m' size='0x8' "
        "offset='0x10' hostOffset='0x0' hostSize='0x9' type='int*' memSize='64' origName='alpha' "
        "origUse='in'/><arg name='b'/></args>";
    Members members = {
        {"bare/kernel.xml", kernelXml("name='bare'")},
        {"full/kernel.xml",
         kernelXml("name='full' language='ip' vlnv='v:l:full:1.0' attributes='all of them' "
                   "hash='17' preferredWorkGroupSizeMultiple='2' workGroupSize='4' debug='true'",
                   children)}};
    for (const char* file : {"full/cpu_sources/a.cpp", "full/cpu_sources/b.cpp", "full/sw_emu/e.so",
                             "full/pdi/x.pdi", "full/shim_soln/s.bin", "full/debug/deep/trace.txt",
                             "full/hls/log.txt", "debug/of_no_kernel", "kp.xml"})
        members.emplace_back(file, "");
    std::vector<nlohmann::ordered_json> kernels;
    for (const std::string& kernel : {"full"s, "bare"s}) {
        members.back().second = manifest({kernel});
        pack(package_, members);
        EXPECT_EQ(lines(), expected("info-" + kernel + ".txt"));
        EXPECT_EQ(json(), expected("info-" + kernel + ".json"));
        kernels.push_back(nlohmann::ordered_json::parse(json())["kernelDefs"][0]);
    }
    members.back().second = manifest({"full", "bare"});
    pack(package_, members);
    EXPECT_THAT(lines(), AnyOf(expected("info-full.txt") + expected("info-bare.txt"),
                               expected("info-bare.txt") + expected("info-full.txt")));
    EXPECT_THAT(nlohmann::ordered_json::parse(json())["kernelDefs"], UnorderedElementsAreArray(kernels));
    EXPECT_TRUE(HKPContainerUtils::getInfo(package_)->supportsIPCache());
    Texts out = {"kept"}, errors;
    EXPECT_TRUE(HKPContainerUtils::getInfoAsTxt(package_, out, errors));
    EXPECT_TRUE(HKPContainerUtils::getInfoAsJson(package_, out, errors));
    EXPECT_THAT(out, ElementsAre("kept", lines(), json()));
    EXPECT_THAT(errors, IsEmpty());
    FlushCount count;
    std::ostream stream(&count);
    HKPContainerUtils::getInfoAsStreamTxt(package_, stream);
    EXPECT_EQ(count.flushes, std::count(out[1].begin(), out[1].end(), '\n')) << "each line at once";
    HKPContainerUtils::getInfoAsStreamTxt(package_, stream, [&](const std::string& value) {
        std::filesystem::remove(package_);  // after which all is told of the version that was opened
        return value;
    });
    EXPECT_EQ(count.str(), out[1] + out[1]);
}

TEST_F(InfoTest, OfNamesThatDifferInCaseTheLaterIsKnown) {
    pack(package_, {{"k1/kernel.xml", kernelXml("name='k1' vlnv='first'")},
                    {"K1/kernel.xml", kernelXml("name='K1' vlnv='second'")},
                    {"dir/kernel.xml", kernelXml("name='other'")},
                    {"kp.xml", manifest({"k1", "dir", "K1"}, "2")}});
    const auto explorer = HKPContainerUtils::getInfo(package_);
    std::set<std::string> names;
    explorer->getKernelDefNames(names);
    EXPECT_THAT(names, ElementsAre("K1", "other"));
    EXPECT_EQ(explorer->getVLNV("K1"), "second");
    EXPECT_FALSE(explorer->supportsIPCache()) << "before format 3";
}

TEST_F(InfoTest, JsonCarriesEveryTextThatADescriptionCanHold) {
    const std::pair<const char*, std::string> texts[] = {
        {"&#9;tab&#10;feed&#13;return", "\ttab\nfeed\rreturn"},
        {"&quot;quoted&quot; \\n \\ / &lt;&amp;&gt;", "\"quoted\" \\n \\ / <&>"},
        {"gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2 \xF0\x9F\x98\x80 &#127;&#133;&#8232;",
         "gr\xC3\xBC\xC3\x9F \xE6\xBC\xA2 \xF0\x9F\x98\x80 \x7F\xC2\x85\xE2\x80\xA8"}};
    for (const auto& [written, meant] : texts) {
        packKernel("hash=\"" + std::string(written) + "\"", "odd \x01\x1f\"name");
        const std::string report = json();
        EXPECT_EQ(nlohmann::json::parse(report)["kernelDefs"][0]["hash"], meant);
        EXPECT_THAT(lines(), HasSubstr("\nhash: " + meant + "\n"));
        expectUsualLayout(report);
    }
    packKernel("", "\xFF.pdi");
    EXPECT_THAT(lines(), HasSubstr("PdiFile: k/pdi/\xFF.pdi\n"));
    std::ostringstream stream;
    EXPECT_EQ(failureOf<HEXAlgException>([&] { HKPContainerUtils::getInfoAsStreamJson(package_, stream); }),
              "Kernel 'k' of KP container '" + package_ +
                  "' cannot be reported as JSON because \"path\" is not UTF-8: 'k/pdi/\\xff.pdi'\n");
    EXPECT_EQ(stream.str(), "");
}

TEST_F(InfoTest, FailuresComeAsOneErrorAndNoReport) {
    const auto expect = [&](const std::string& error) {
        for (const auto report : {HKPContainerUtils::getInfoAsTxt, HKPContainerUtils::getInfoAsJson}) {
            Texts out = {"dropped"}, errors = {"kept"};
            EXPECT_FALSE(report(package_, out, errors)) << error;
            EXPECT_THAT(out, IsEmpty());
            EXPECT_THAT(errors, ElementsAre("kept", HasSubstr(error)));
        }
    };
    expect("The specified KP container does not exist: '" + package_ + "'\n");
    pack(package_, {{"k/kernel.xml", kernelXml("name='k'") + "<"}, {"kp.xml", manifest({"k"})}});
    expect(package_ + ":2: ");
    packKernel("");
    const disk::DiskFaults faults(always("read", EIO));
    expect(package_);
}

}  // namespace
