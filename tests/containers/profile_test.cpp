#include "containers/design/HCODesignXMLReader.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/Failure.h"
#include "tests/support/Members.h"
#include "tests/support/RandomRecord.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TemporaryDirectory.h"

#include <regex>

#include <gtest/gtest.h>

namespace {

using DesignXML::Profile;

/// The profile as a conversion leaves it: without loop entries.
Profile withoutLoops(const Profile& profile) {
    return lmx60::parse<Profile>(std::regex_replace(lmx60::toString(profile), std::regex("<Loop\\*/>"), ""));
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
        "<profile><RTLDesignHierarchy><TopModule><ModuleName>top</ModuleName><InstancesList><Instance>"
        "<InstName>i</InstName><ModuleName>m</ModuleName><ID>1</ID><InstancesList/></Instance></"
        "InstancesList>"
        "</TopModule></RTLDesignHierarchy><ModuleInformation><Module><Name>m</Name><Name>alias</Name>"
        "<PerformanceEstimates><SummaryOfTimingAnalysis><TargetClockPeriod>3.33</TargetClockPeriod>"
        "<ClockUncertainty>0.9</ClockUncertainty><EstimatedClockPeriod>2.433</EstimatedClockPeriod>"
        "</SummaryOfTimingAnalysis><SummaryOfOverallLatency><Best-caseLatency> 1 </Best-caseLatency>"
        "<Average-caseLatency>2</Average-caseLatency><Worst-caseLatency>undef</Worst-caseLatency>"
        "<Best-caseRealTimeLatency>3 ns</Best-caseRealTimeLatency>"
        "<Average-caseRealTimeLatency>4 ns</Average-caseRealTimeLatency>"
        "<Worst-caseRealTimeLatency>5 ns</Worst-caseRealTimeLatency>"
        "<PipelineInitiationInterval>1</PipelineInitiationInterval><PipelineType>none</PipelineType>"
        "</SummaryOfOverallLatency><SummaryOfLoopLatency><Loop*/><Loop*/></SummaryOfLoopLatency>"
        "</PerformanceEstimates><AreaEstimates><Resources><BRAM_18K>1</BRAM_18K><DSP48E>2</DSP48E><FF>3</FF>"
        "<LUT>4</LUT><SLICE>5</SLICE><URAM>4294967295</URAM></Resources></AreaEstimates><InterfaceSummary>"
        "<RtlPorts><name>clk</name><Object>o</Object><Type>t</Type><Scope>s</Scope><IOProtocol>p</IOProtocol>"
        "<IOConfig>c</IOConfig><Dir>in</Dir><Bits>1</Bits><Attribute>a</Attribute><CType>ct</CType>"
        "</RtlPorts></InterfaceSummary></Module></ModuleInformation><FIFOInformation><FIFOInst>"
        "<Name>f</Name><ParentInst>p</ParentInst><StaticDepth>2</StaticDepth><RuntimeDepth>deep</"
        "RuntimeDepth>"
        "<InterfaceList><Interface>a</Interface><Interface>b</Interface></InterfaceList></FIFOInst>"
        "</FIFOInformation></profile>";
    const auto profile = lmx60::parse<Profile>(text);
    const std::string written = std::regex_replace(lmx60::toString(profile), std::regex(">\\s+<"), "><");
    EXPECT_EQ(written, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" + text + "\n");
    const DesignXML::Module& module = profile.ModuleInformation.get(0).Module.get(0);
    EXPECT_EQ(module.PerformanceEstimates.get(0).SummaryOfOverallLatency.get(0).BestCaseLatency.get(0),
              " 1 ");
    EXPECT_EQ(module.PerformanceEstimates.get(0).SummaryOfTimingAnalysis.get(0).EstimatedClockPeriod.get(0),
              2.433F);
    EXPECT_EQ(module.AreaEstimates.get(0).Resources.get(0).BRAM18K.get(0), 1U);
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
    const std::string module = "<profile>\n<ModuleInformation><Module>",
                      fifo = "<profile>\n<FIFOInformation>";
    const std::pair<std::string, std::string> cases[] = {
        {"", "1: no element found"},
        {"<root/>", "1: the document element is 'root', not 'profile'"},
        {fifo + "<FIFOInst><Name/><ParentInst/><RuntimeDepth/></FIFOInst>",
         "2: element 'FIFOInst' lacks its required element 'StaticDepth'"},
        {fifo + "<FIFOInst><Name/><Name/>", "2: element 'Name' occurs more than once in 'FIFOInst'"},
        {fifo + "</FIFOInformation><ModuleInformation/>",
         "2: element 'ModuleInformation' of 'profile' must stand before 'FIFOInformation'"},
        {module +
             "<PerformanceEstimates><SummaryOfTimingAnalysis><TargetClockPeriod>fast</TargetClockPeriod>",
         "2: value 'fast' is not a valid literal in element 'TargetClockPeriod'"},
        {module + "<InterfaceSummary><RtlPorts><Bits>-1</Bits>",
         "2: value '-1' is below the minimum in element 'Bits'"},
        {module + "<InterfaceSummary><RtlPorts><Name/>", "2: element 'Name' is not known in 'RtlPorts'"},
        {nestedInstances(999), "1: elements are nested deeper than 2000"},
    };
    const std::string path = directory / "design.xml";
    HCODesignXMLReader reader(path);
    for (const auto& [document, error] : cases) {
        directory.file("design.xml", "<profile/>");
        reader.parse();
        EXPECT_NE(reader.getProfile(), nullptr);
        directory.file("design.xml", document);
        EXPECT_EQ(failureOf<HEXAll>([&] { reader.parse(); }), "[17-132] " + path + ":" + error);
        EXPECT_EQ(reader.getProfile(), nullptr);
    }
    std::filesystem::remove(path);
    EXPECT_EQ(failureOf<HEXFileNotFoundException>([&] { reader.parse(); }), "File not found: '" + path + "'");
    EXPECT_THROW(HCODesignXMLReader("").parse(), HEXFileNotFoundException);
}

/// A description with a profile.
std::string kernelWith(const std::string& profile) {
    return kernelXml("", "<ports/><args/>", profile);
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
        const std::string text = lmx60::toString(profile);
        const std::string withLoops = directory.file("k.xml", kernelWith(text.substr(text.find("<profile"))));
        for (const std::string& kernel : {directory / "out/kernel.xml", withLoops}) {
            HCODesignXMLWriter().writeFromKernelXML(kernel, directory / "back.xml");
            ASSERT_EQ(TemporaryDirectory::read(directory / "back.xml"), lmx60::toString(*root.profile));
        }
        writer.addDesignXML(design);
        ASSERT_EQ(*root.profile, doubled(withoutLoops(profile))) << "seed " << seed;
    }
}

TEST(Conversion, TheProfileThatWasThereStaysInFrontWithItsLoops) {
    const TemporaryDirectory directory;
    auto root = lmx60::parse<KernelXML::Root>(
        kernelWith("<profile><ModuleInformation><Module><PerformanceEstimates><SummaryOfLoopLatency><Loop*/>"
                   "</SummaryOfLoopLatency></PerformanceEstimates></Module></ModuleInformation></profile>"));
    const Profile before = *root.profile;
    const std::string added = "<ModuleInformation><Module><Name>m</Name></Module></ModuleInformation>";
    HCOKernelXMLWriter writer(&root);
    writer.addDesignXML(directory.file("d.xml", "<profile>" + added + "</profile>"));
    Profile expected = before;
    expected.ModuleInformation.append(
        lmx60::parse<Profile>("<profile>" + added + "</profile>").ModuleInformation.get(0));
    EXPECT_EQ(*root.profile, expected);

    EXPECT_THROW(writer.addDesignXML(directory / "none"), HEXFileNotFoundException);
    EXPECT_EQ(
        failureOf<HEXAll>([&] { writer.addDesignXML(directory.file("bad", "<profile><x/></profile>")); }),
        "[17-132] " + (directory / "bad") + ":1: element 'x' is not known in 'profile'");
    EXPECT_EQ(*root.profile, expected);
    HCOKernelXMLWriter(nullptr).addDesignXML(directory / "none");
}

TEST(HCODesignXMLWriter, WritesNothingWithoutAProfileOrOnFailure) {
    const TemporaryDirectory directory;
    const std::string out = directory / "out.xml", nowhere = directory / "no/out.xml";
    const auto failure = [&](const std::string& kernel, const std::string& to) {
        return failureOf(
            [&] { HCODesignXMLWriter().writeFromKernelXML(directory.file("k.xml", kernel), to); });
    };
    EXPECT_EQ(failure(kernelWith(""), out), "nothing thrown");
    EXPECT_EQ(failure(kernelWith("<profile><Module/></profile>"), out),
              "[17-132] " + (directory / "k.xml") + ":2: element 'Module' is not known in 'profile'");
    EXPECT_THROW(HCODesignXMLWriter().writeFromKernelXML(nowhere, out), HEXFileNotFoundException);
    EXPECT_FALSE(std::filesystem::exists(out));
    const std::string good = kernelWith("<profile/>");
    EXPECT_EQ(failure(good, nowhere), "[17-1376] Failed to write '" + nowhere + "'");
    EXPECT_EQ(failure(good, out), "nothing thrown");
    EXPECT_EQ(TemporaryDirectory::read(out), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<profile/>\n");
}

}  // namespace
