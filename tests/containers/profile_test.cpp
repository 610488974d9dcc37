#include "containers/design/HCODesignXMLReader.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/RandomRecord.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TemporaryDirectory.h"

#include <functional>

#include <gtest/gtest.h>

namespace {

using DesignXML::Profile;

std::string report(const std::string& content) {
    return "<profile>\n" + content + "</profile>\n";
}

/// What an operation throws, with the type's name where it is not the general exception.
std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const HEXFileNotFoundException& failure) {
        return "not found '" + failure.getPath() + "'";
    } catch (const HEXAll& failure) {
        return failure.what();
    }
    return "nothing thrown";
}

/// The profile as a conversion leaves it: without loop entries.
Profile withoutLoops(const Profile& profile) {
    std::string text = lmx60::toString(profile);
    for (std::size_t at = text.find("<Loop*/>"); at != std::string::npos; at = text.find("<Loop*/>", at))
        text.erase(at, std::string_view("<Loop*/>").size());
    return lmx60::parse<Profile>(text);
}

Profile doubled(const Profile& profile) {
    Profile twice = profile;
    for (const auto& part : profile.RTLDesignHierarchy)
        twice.RTLDesignHierarchy.append(part);
    for (const auto& part : profile.ModuleInformation)
        twice.ModuleInformation.append(part);
    for (const auto& part : profile.FIFOInformation)
        twice.FIFOInformation.append(part);
    return twice;
}

TEST(Profile, WhatIsWrittenReadsBackEqual) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const auto profile = RandomRecord(seed).make<Profile>();
        const std::string text = lmx60::toString(profile);
        const auto back = lmx60::parse<Profile>(text);
        ASSERT_EQ(back, profile) << text;
        ASSERT_EQ(lmx60::toString(back), text);
        ASSERT_EQ(profile == RandomRecord(seed + 1).make<Profile>(),
                  text == lmx60::toString(RandomRecord(seed + 1).make<Profile>()));
    }
    EXPECT_EQ(lmx60::toString(Profile{}), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<profile/>\n");
    EXPECT_EQ(lmx60::parse<Profile>("<profile/>"), Profile{});
}

TEST(Profile, ElementsOfEveryRecordInTheirOrder) {
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<profile>\n"
        "  <RTLDesignHierarchy>\n    <TopModule>\n      <ModuleName>top</ModuleName>\n      <InstancesList>\n"
        "        <Instance>\n          <InstName>i</InstName>\n          <ModuleName>m</ModuleName>\n"
        "          <ID>1</ID>\n          <InstancesList/>\n        </Instance>\n      </InstancesList>\n"
        "    </TopModule>\n  </RTLDesignHierarchy>\n"
        "  <ModuleInformation>\n    <Module>\n      <Name>m</Name>\n      <Name>alias</Name>\n"
        "      <PerformanceEstimates>\n        <SummaryOfTimingAnalysis>\n"
        "          <TargetClockPeriod>3.33</TargetClockPeriod>\n"
        "          <ClockUncertainty>0.9</ClockUncertainty>\n"
        "          <EstimatedClockPeriod>2.433</EstimatedClockPeriod>\n        </SummaryOfTimingAnalysis>\n"
        "        <SummaryOfOverallLatency>\n          <Best-caseLatency> 1 </Best-caseLatency>\n"
        "          <Average-caseLatency>2</Average-caseLatency>\n"
        "          <Worst-caseLatency>undef</Worst-caseLatency>\n"
        "          <Best-caseRealTimeLatency>3 ns</Best-caseRealTimeLatency>\n"
        "          <Average-caseRealTimeLatency>4 ns</Average-caseRealTimeLatency>\n"
        "          <Worst-caseRealTimeLatency>5 ns</Worst-caseRealTimeLatency>\n"
        "          <PipelineInitiationInterval>1</PipelineInitiationInterval>\n"
        "          <PipelineType>none</PipelineType>\n        </SummaryOfOverallLatency>\n"
        "        <SummaryOfLoopLatency>\n          <Loop*/>\n          <Loop*/>\n          <Loop*/>\n"
        "        </SummaryOfLoopLatency>\n      </PerformanceEstimates>\n"
        "      <AreaEstimates>\n        <Resources>\n          <BRAM_18K>1</BRAM_18K>\n"
        "          <DSP48E>2</DSP48E>\n          <FF>3</FF>\n          <LUT>4</LUT>\n"
        "          <SLICE>5</SLICE>\n          <URAM>4294967295</URAM>\n        </Resources>\n"
        "      </AreaEstimates>\n"
        "      <InterfaceSummary>\n        <RtlPorts>\n          <name>clk</name>\n          "
        "<Object>o</Object>\n"
        "          <Type>t</Type>\n          <Scope>s</Scope>\n          <IOProtocol>p</IOProtocol>\n"
        "          <IOConfig>c</IOConfig>\n          <Dir>in</Dir>\n          <Bits>1</Bits>\n"
        "          <Attribute>a</Attribute>\n          <CType>ct</CType>\n        </RtlPorts>\n"
        "      </InterfaceSummary>\n    </Module>\n  </ModuleInformation>\n"
        "  <FIFOInformation>\n    <FIFOInst>\n      <Name>f</Name>\n      <ParentInst>p</ParentInst>\n"
        "      <StaticDepth>2</StaticDepth>\n      <RuntimeDepth>deep</RuntimeDepth>\n"
        "      <InterfaceList>\n        <Interface>a</Interface>\n        <Interface>b</Interface>\n"
        "      </InterfaceList>\n    </FIFOInst>\n  </FIFOInformation>\n</profile>\n";
    const auto profile = lmx60::parse<Profile>(text);
    EXPECT_EQ(lmx60::toString(profile), text);
    const DesignXML::Module& module = profile.ModuleInformation.get(0).Module.get(0);
    EXPECT_EQ(module.Name.get(1), "alias");
    EXPECT_EQ(module.PerformanceEstimates.get(0).SummaryOfOverallLatency.get(0).BestCaseLatency.get(0),
              " 1 ");
    EXPECT_EQ(module.PerformanceEstimates.get(0).SummaryOfTimingAnalysis.get(0).EstimatedClockPeriod.get(0),
              2.433F);
    EXPECT_EQ(module.PerformanceEstimates.get(0).SummaryOfLoopLatency.get(0).Loop.size(), 3U);
    EXPECT_EQ(module.AreaEstimates.get(0).Resources.get(0).BRAM18K.get(0), 1U);
    EXPECT_EQ(module.InterfaceSummary.get(0).RtlPorts.get(0).CType.get(0), "ct");
    EXPECT_EQ(profile.FIFOInformation.get(0).FIFOInst.get(0).RuntimeDepth.get(), "deep");
}

/// A report whose instances are nested to the given number of levels.
std::string nestedInstances(int levels) {
    std::string opened;
    std::string closed;
    for (int level = 0; level < levels; ++level) {
        opened += "<InstancesList><Instance><InstName>i</InstName><ModuleName>m</ModuleName><ID>" +
                  std::to_string(level) + "</ID>";
        closed += "</Instance></InstancesList>";
    }
    return "<profile><RTLDesignHierarchy><TopModule>" + opened + closed +
           "</TopModule></RTLDesignHierarchy></profile>";
}

#ifdef __OPTIMIZE__
constexpr std::size_t smallStack = 512 * 1024;
#else
constexpr std::size_t smallStack = 2048 * 1024;  // each call of the standard library has a frame of its own
#endif

#ifndef __SANITIZE_ADDRESS__  // the frames are then several times as large
TEST(Profile, TheDeepestReportFitsASmallStack) {
    runOnSmallStack(smallStack, [] {
        const auto profile = lmx60::parse<Profile>(nestedInstances(998));  // 2000 elements with the names
        Profile copy = profile;
        EXPECT_TRUE(copy == profile);
        EXPECT_TRUE(lmx60::parse<Profile>(lmx60::toString(copy)) == profile);
        KernelXML::Root root;
        HCOKernelXMLWriter::addRTLDesignHierarchy(HCODesignXMLReader(""), profile,
                                                  root.profile.getOrCreate());
        EXPECT_TRUE(*root.profile == profile);
    });
}
#endif

TEST(HCODesignXMLReader, RefusesWhatIsNoReport) {
    const TemporaryDirectory directory;
    const std::string deep = nestedInstances(999);
    const std::string timing = "<ModuleInformation><Module><PerformanceEstimates><SummaryOfTimingAnalysis>\n";
    const std::string ports = "<ModuleInformation><Module><InterfaceSummary><RtlPorts>\n";
    const struct {
        std::string document;
        std::string error;
    } cases[] = {
        {"", "1: no element found"},
        {"<root/>", "1: the document element is 'root', not 'profile'"},
        {report(
             "<RTLDesignHierarchy><TopModule><InstancesList>\n<Instance><InstName/><ModuleName/></Instance>"),
         "3: element 'Instance' lacks its required element 'ID'"},
        {report("<FIFOInformation>\n<FIFOInst><Name/><ParentInst/><RuntimeDepth/></FIFOInst>"),
         "3: element 'FIFOInst' lacks its required element 'StaticDepth'"},
        {report("<FIFOInformation>\n<FIFOInst><Name/>\n<Name/>"),
         "4: element 'Name' occurs more than once in 'FIFOInst'"},
        {report("<FIFOInformation/>\n<ModuleInformation/>"),
         "3: element 'ModuleInformation' of 'profile' must stand before 'FIFOInformation'"},
        {report(timing + "<TargetClockPeriod>fast</TargetClockPeriod>"),
         "3: value 'fast' is not a valid literal in element 'TargetClockPeriod'"},
        {report(ports + "<Bits>4294967296</Bits>"),
         "3: value '4294967296' is above the maximum in element 'Bits'"},
        {report(ports + "<Bits>-1</Bits>"), "3: value '-1' is below the minimum in element 'Bits'"},
        {report(ports + "<Name/>"), "3: element 'Name' is not known in 'RtlPorts'"},
        {report("<ModuleInformation id='1'/>"),
         "2: attribute 'id' of element 'ModuleInformation' is not known"},
        {deep, "1: elements are nested deeper than 2000"},
    };
    for (const auto& [document, error] : cases) {
        const std::string path = directory.file("design.xml", document);
        HCODesignXMLReader reader(path);
        EXPECT_EQ(failureOf([&] { reader.parse(); }), "[17-132] " + path + ":" + error);
        EXPECT_EQ(reader.getProfile(), nullptr);
    }
    HCODesignXMLReader nameless("");
    EXPECT_EQ(failureOf([&] { nameless.parse(); }), "not found ''");
    const std::string path = directory.file("changing.xml", "<profile/>");
    HCODesignXMLReader reader(path);
    reader.parse();
    EXPECT_NE(reader.getProfile(), nullptr);
    std::filesystem::remove(path);
    EXPECT_EQ(failureOf([&] { reader.parse(); }), "not found '" + path + "'");
    EXPECT_EQ(reader.getProfile(), nullptr);
}

TEST(HCODesignXMLReader, PartsAreAppendedAsCopies) {
    HCODesignXMLReader reader(KP_EXAMPLES_DIR "/vadd/design.xml");
    reader.parse();
    std::vector<DesignXML::ModuleInformation> information;
    reader.getModuleInformation(*reader.getProfile(), information);
    reader.getModuleInformation(*reader.getProfile(), information);
    ASSERT_EQ(information.size(), 2U);
    std::vector<DesignXML::Module> modules;
    reader.getModule(information[1], modules);
    ASSERT_EQ(modules.size(), information[0].Module.size());
    modules[0].Name.set(0, "changed");
    EXPECT_NE(reader.getProfile()->ModuleInformation.get(0).Module.get(0).Name.get(0), "changed");
}

std::string kernelXml(const std::string& profile) {
    return "<root versionMajor=\"1\" versionMinor=\"10\"><kernel><ports/><args/></kernel>" + profile +
           "</root>";
}

TEST(Conversion, ReportToKernelAndBack) {
    const TemporaryDirectory directory;
    for (unsigned seed = 0; seed < 20; ++seed) {
        const auto profile = RandomRecord(seed).make<Profile>();
        const std::string design = directory.file("design.xml", lmx60::toString(profile));
        KernelXML::Root root;
        root.SetVersionMajor(1);
        root.SetVersionMinor(10);
        HCOKernelXMLWriter writer(&root);
        writer.addDesignXML(design);
        ASSERT_EQ(*root.profile, withoutLoops(profile)) << "seed " << seed;

        writer.write(directory / "out");
        HCODesignXMLWriter().writeFromKernelXML(directory / "out/kernel.xml", directory / "back.xml");
        ASSERT_EQ(TemporaryDirectory::read(directory / "back.xml"), lmx60::toString(*root.profile));

        writer.addDesignXML(design);
        ASSERT_EQ(*root.profile, doubled(withoutLoops(profile))) << "seed " << seed;
    }
}

TEST(Conversion, KernelToReportDropsLoopEntriesOnly) {
    const TemporaryDirectory directory;
    for (unsigned seed = 100; seed < 120; ++seed) {
        const auto profile = RandomRecord(seed).make<Profile>();
        const std::string text = lmx60::toString(profile);
        const std::string kernel =
            directory.file("kernel.xml", kernelXml(text.substr(text.find("<profile"))));
        HCODesignXMLWriter().writeFromKernelXML(kernel, directory / "out.xml");
        HCODesignXMLReader reader(directory / "out.xml");
        reader.parse();
        ASSERT_EQ(*reader.getProfile(), withoutLoops(profile)) << text;
    }
}

TEST(Conversion, TheProfileThatWasThereStaysInFront) {
    const TemporaryDirectory directory;
    auto root = lmx60::parse<KernelXML::Root>(
        kernelXml("<profile><ModuleInformation><Module><PerformanceEstimates><SummaryOfLoopLatency><Loop*/>"
                  "</SummaryOfLoopLatency></PerformanceEstimates></Module></ModuleInformation></profile>"));
    const Profile before = *root.profile;
    HCOKernelXMLWriter(&root).addDesignXML(directory.file(
        "d.xml", report("<ModuleInformation><Module><Name>m</Name></Module></ModuleInformation>")));
    ASSERT_EQ(root.profile->ModuleInformation.size(), 2U);
    EXPECT_EQ(root.profile->ModuleInformation.get(0), before.ModuleInformation.get(0));
    EXPECT_EQ(root.profile->ModuleInformation.get(1).Module.get(0).Name.get(0), "m");
    EXPECT_EQ(root.profile->FIFOInformation.size(), 0U);

    const KernelXML::Root unchanged = root;
    HCOKernelXMLWriter writer(&root);
    EXPECT_EQ(failureOf([&] { writer.addDesignXML(directory / "none"); }),
              "not found '" + (directory / "none") + "'");
    EXPECT_EQ(failureOf([&] { writer.addDesignXML(directory.file("bad", "<profile><x/></profile>")); }),
              "[17-132] " + (directory / "bad") + ":1: element 'x' is not known in 'profile'");
    EXPECT_EQ(root, unchanged);
    EXPECT_EQ(failureOf([&] { HCOKernelXMLWriter(nullptr).addDesignXML(directory / "none"); }),
              "nothing thrown");
}

TEST(HCODesignXMLWriter, WritesNothingWithoutAProfileOrOnFailure) {
    const TemporaryDirectory directory;
    const std::string out = directory / "out.xml";
    HCODesignXMLWriter().writeFromKernelXML(directory.file("plain.xml", kernelXml("")), out);
    EXPECT_FALSE(std::filesystem::exists(out));
    const auto failure = [&](const std::string& from, const std::string& to) {
        return failureOf([&] { HCODesignXMLWriter().writeFromKernelXML(from, to); });
    };
    const std::string bad = directory.file("bad.xml", kernelXml("<profile><Module/></profile>"));
    EXPECT_EQ(failure(bad, out), "[17-132] " + bad + ":1: element 'Module' is not known in 'profile'");
    EXPECT_EQ(failure(directory / "no.xml", out), "not found '" + (directory / "no.xml") + "'");
    EXPECT_FALSE(std::filesystem::exists(out));
    const std::string good = directory.file("good.xml", kernelXml("<profile/>"));
    EXPECT_EQ(failure(good, directory / "no/out.xml"),
              "[17-1376] Failed to write '" + (directory / "no/out.xml") + "'");
    EXPECT_EQ(failure(good, out), "nothing thrown");
    EXPECT_EQ(TemporaryDirectory::read(out), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<profile/>\n");
}

}  // namespace
