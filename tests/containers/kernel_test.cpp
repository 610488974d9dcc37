#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/Failure.h"
#include "tests/support/Members.h"
#include "tests/support/RandomRecord.h"
#include "tests/support/TemporaryDirectory.h"

#include <tuple>

#include <gtest/gtest.h>

namespace {

using KernelXML::Root;
using kfab::kernel::ArgDesc;
using kfab::kernel::KernelDef;
using kfab::kernel::PortDesc;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

TEST(KernelRecords, WhatIsWrittenReadsBackEqual) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        const auto root = RandomRecord(seed).make<Root>();
        const std::string text = lmx60::toString(root);
        ASSERT_EQ(lmx60::parse<Root>(text), root) << text;
        ASSERT_EQ(root == RandomRecord(seed + 1).make<Root>(),
                  text == lmx60::toString(RandomRecord(seed + 1).make<Root>()));
    }
}

TEST(KernelRecords, ANewRootIsAsTheSchemaHasItAndNotYetWritable) {
    Root root;
    const auto written = [&] { return lmx60::toString(root); };
    const auto failure = [&] { return failureOf<lmx60::WriteError>(written); };
    EXPECT_EQ(root.versionMajor.get() * 100 + root.versionMinor.get(), 110U);
    EXPECT_EQ(failure(), "element 'root' lacks its required attribute 'versionMajor'");
    root.SetVersionMajor(1);
    EXPECT_FALSE(root.IsOccursOk());
    EXPECT_EQ(failure(), "element 'root' lacks its required attribute 'versionMinor'");
    root.SetVersionMinor(10);
    EXPECT_TRUE(root.IsOccursOk());
    EXPECT_EQ(written(), declaration +
                             "<root versionMajor=\"1\" versionMinor=\"10\">\n  <kernel>\n    <ports/>\n"
                             "    <args/>\n  </kernel>\n</root>\n");
    root.kernel.reset();
    EXPECT_FALSE(root.IsOccursOk());
    EXPECT_EQ(failure(), "element 'root' lacks its required element 'kernel'");
}

TEST(KernelRecords, ElementsAndAttributesOfEveryRecordInTheirOrder) {
    const std::string text =
        declaration +
        R"(<root versionMajor="2" versionMinor="0">
  <kernel name="k" language="ip" vlnv="v:l:k:1.0" attributes="a &quot;b&quot;" hash="h")"
        R"( preferredWorkGroupSizeMultiple="0" workGroupSize="1" debug="true" compileOptions="-g -O3")"
        R"( profileType="none" interrupt="true" hwControlProtocol="start_done">
    <ports>
      <port name="p" mode="slave" range="0x1000" dataWidth="4294967295" portType="addressable" base="0x0"/>
      <port/>
    </ports>
    <args>
      <arg name="a" addressQualifier="1" id="0" port="p" size="0x8" offset="0x10" hostOffset="0x0")"
        R"( hostSize="0x8" type="map&lt;int&gt;*&#10;" memSize="4" origName="b" origUse="var"/>
    </args>
    <compileWorkGroupSize x="1" y="2" z="3"/>
    <compileWorkGroupSize x="4"/>
    <maxWorkGroupSize x="5" y="6" z="7"/>
    <string_table>
      <format_string id="1" value="%d\n"/>
    </string_table>
  </kernel>
  <memory name="m" size="16" linkage="internal"/>
  <pipe name="q" width="4" depth="8" linkage="external"/>
  <connection srcInst="a" srcPort="b" dstInst="c" dstPort="d" srcType="core" dstType="kernel"/>
  <profile>
    <FIFOInformation/>
  </profile>
</root>
)";
    const auto root = lmx60::parse<Root>(text);
    EXPECT_EQ(lmx60::toString(root), text);
    EXPECT_EQ(root.kernel->compileWorkGroupSize.get(1).x.get(), 4U);
    EXPECT_EQ(root.profile->FIFOInformation.size(), 1U);
}

TEST(HCOKernelXMLReader, RefusesWhatIsNoDescription) {
    const TemporaryDirectory directory;
    const std::pair<std::string, std::string> cases[] = {
        {"<profile/>", "1: the document element is 'profile', not 'root'"},
        {"<root versionMajor='1' versionMinor='10'>\n</root>",
         "2: element 'root' lacks its required element 'kernel'"},
        {"<root versionMajor='1' versionMinor='10'><memory/>",
         "1: element 'root' lacks its required element 'kernel'"},
        {kernelXml("nam='k'"), "2: attribute 'nam' of element 'kernel' is not known"},
        {kernelXml("", "<ports/><args>\n<arg addressQualifier='x'/>"),
         "3: value 'x' is not a valid literal in attribute 'addressQualifier' of element 'arg'"},
        {kernelXml("", "<ports/><args/><maxWorkGroupSize/>\n<compileWorkGroupSize/>"),
         "3: element 'compileWorkGroupSize' of 'kernel' must stand before 'maxWorkGroupSize'"},
        {kernelXml("", "<ports/><args/><string_table><format_string id=''/>"),
         "2: value '' is not a valid literal in attribute 'id' of element 'format_string'"},
        {kernelXml("") + "x", "2: junk after document element"},
    };
    for (const auto& [document, error] : cases) {
        const std::string path = directory.file("kernel.xml", document);
        HCOKernelXMLReader reader(path);
        EXPECT_EQ(failureOf<HEXAll>([&] { reader.getKernelName(); }), "[17-132] " + path + ":" + error);
        EXPECT_EQ(reader.getRoot(), nullptr);
        directory.file("kernel.xml", kernelXml("name='late'"));
        EXPECT_EQ(reader.getKernelName(), "late");
        directory.file("kernel.xml", kernelXml("name='later'"));
        EXPECT_EQ(reader.getKernelName(), "late") << "read once";
    }
    for (const std::string& path : {std::string(), directory / "no"}) {
        const auto failure = [&] { HCOKernelXMLReader(path).getDebug(); };
        EXPECT_EQ(failureOf<HEXFileNotFoundException>(failure), HEXFileNotFoundException(path).what());
    }
}

TEST(HCOKernelXMLReader, NamesFromTheIdentifier) {
    const TemporaryDirectory directory;
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"vendorx:hls:vadd:1.0", "vadd", "vendorx_hls_vadd_1_0"},
        {"a:b:c", "", "a_b_c"},
        {"a:b:c:d:e", "", "a_b_c_d_e"},
        {"a::c:d", "c", "a__c_d"},
        {"a:b::d", "", "a_b__d"},
        {":::", "", "___"},
        {"", "", ""},
    };
    for (const auto& [vlnv, name, replaced] : cases) {
        HCOKernelXMLReader reader(directory.file("k.xml", kernelXml("vlnv='" + vlnv + "'")));
        EXPECT_EQ(reader.getKernelNameFromVlnv(), name) << vlnv;
        EXPECT_EQ(reader.getKernelVlnvReplaced_(), replaced) << vlnv;
    }
}

TEST(HCOKernelXMLReader, PortsByTheirRole) {
    const TemporaryDirectory directory;
    HCOKernelXMLReader reader(directory.file(
        "k.xml",
        kernelXml("",
                  "<ports><port name='m1' mode='MASTER'/><port name='s' mode='Slave'/><port name='n'/>"
                  "<port name='all' mode='all'/><port mode='master'/></ports><args/>")));
    using Names = std::vector<std::string>;
    Names names = {"before"};
    reader.getMasterPorts(names);
    reader.getSlavePorts(names);
    EXPECT_EQ(names, (Names{"before", "m1", "", "s"}));
    Names all;
    reader.getAllPorts(all);
    EXPECT_EQ(all, (Names{"m1", "s", "n", "all", ""}));
}

TEST(HCOKernelXMLReader, DefinitionHoldsWhatTheDocumentHolds) {
    const TemporaryDirectory directory;
    HCOKernelXMLReader reader(directory.file(
        "k.xml",
        kernelXml("name='n' language='l' vlnv='v' attributes='a' hash='h' preferredWorkGroupSizeMultiple='p'"
                  " workGroupSize='w' debug='d' compileOptions=' c ' profileType='t'",
                  "<ports><port/><port name='n' mode='m' range='r' dataWidth='4294967295' portType='t'"
                  " base='b'/></ports><args><arg/><arg name='n' addressQualifier='4294967295' id='i' port='p'"
                  " size='s' offset='0x10' hostOffset='ho' hostSize='hs' type='t' memSize='ms' origName='on'"
                  " origUse='ou'/></args>")));
    const KernelDef def = reader.getKernelDef();
    const auto joined = [](const auto&... each) { return ((each + "|") + ...); };
    EXPECT_EQ(
        joined(def.name, def.language, def.vlnv, def.attributes, def.hash, def.preferredWorkGroupSizeMultiple,
               def.workGroupSize, def.debug, def.compileOptions, def.profileType),
        "n|l|v|a|h|p|w|d| c |t|");
    ASSERT_EQ(def.args.size(), 2U);
    const ArgDesc& arg = def.args[1];
    EXPECT_EQ(joined(arg.name, arg.id, arg.port, arg.size, arg.offset, arg.hostOffset, arg.hostSize, arg.type,
                     arg.memSize, arg.origName, arg.origUse),
              "n|i|p|s|0x10|ho|hs|t|ms|on|ou|");
    EXPECT_EQ(def.args[0].addressQualifier, 0U);
    EXPECT_EQ(arg.addressQualifier, 4294967295U);
    ASSERT_EQ(def.ports.size(), 2U);
    const PortDesc& port = def.ports[1];
    EXPECT_EQ(joined(port.name, port.mode, port.range, port.portType, port.base), "n|m|r|t|b|");
    EXPECT_EQ(def.ports[0].dataWidth, 0U);
    EXPECT_EQ(port.dataWidth, 4294967295U);
    EXPECT_TRUE(HCOKernelXMLReader::convertToKernelDef(nullptr).args.empty());
}

TEST(KernelDef, AssignmentAppendsLists) {
    const auto make = [](const std::string& name, int args, int ports) {
        KernelDef def;
        def.name = name;
        ArgDesc arg;
        arg.name = name;
        while (args-- > 0)
            def.addArgDesc(arg);
        PortDesc port;
        port.name = name;
        while (ports-- > 0)
            def.addPortDesc(port);
        return def;
    };
    const auto shown = [](const KernelDef& def) {
        std::string text = def.name + ":";
        for (const ArgDesc& arg : def.args)
            text += arg.name + ",";
        text += ":";
        for (const PortDesc& port : def.ports)
            text += port.name + ",";
        return text;
    };
    KernelDef target = make("a", 3, 1);
    const KernelDef source = make("b", 2, 2);
    EXPECT_EQ(shown(target = source), "b:a,a,a,b,b,:a,b,b,");
    const KernelDef& same = target;
    EXPECT_EQ(shown(target = same), "b:a,a,a,b,b,:a,b,b,");
    EXPECT_EQ(shown(target = KernelDef()), ":a,a,a,b,b,:a,b,b,");
    EXPECT_EQ(shown(KernelDef(source)), "b:b,b,:b,b,");
}

TEST(HCOKernelXMLWriter, Additions) {
    const std::tuple<std::vector<std::string>, std::string> cases[] = {
        {{"-g", ""}, "-g "}, {{""}, ""}, {{"", "-g"}, "-g"}, {{"-g", "", "-g"}, "-g  -g"}};
    for (const auto& [added, expected] : cases) {
        Root root;
        root.kernel.reset();
        HCOKernelXMLWriter writer(&root);
        for (const std::string& options : added)
            writer.addCompileOptions(options);
        EXPECT_TRUE(root.kernel->compileOptions.isPresent());
        EXPECT_EQ(root.kernel->compileOptions.get(), expected);
    }
    Root root;
    HCOKernelXMLWriter writer(&root);
    writer.addDebug("true");
    writer.addDebug("");
    writer.addProfileType("stall");
    EXPECT_TRUE(root.kernel->debug.isPresent());
    EXPECT_EQ(root.kernel->debug.get() + root.kernel->profileType.get(), "stall");

    HCOKernelXMLWriter none(nullptr);
    none.addDebug("true");
    none.addProfileType("x");
    none.addCompileOptions("-g");
    EXPECT_EQ(failureOf<HEXAll>([&] { none.write("."); }),
              "[17-1377] Failed to write XML: ./kernel.xml: there is no document");
}

TEST(HCOKernelXMLWriter, WritesIntoADirectory) {
    const TemporaryDirectory directory;
    Root root;
    HCOKernelXMLWriter writer(&root);
    const auto failure = [&](const std::string& where) {
        return failureOf<HEXAll>([&] { writer.write(where); });
    };
    EXPECT_EQ(failure(directory.path()), "[17-1377] Failed to write XML: " + (directory / "kernel.xml") +
                                             ": element 'root' lacks its required attribute 'versionMajor'");
    EXPECT_FALSE(std::filesystem::exists(directory / "kernel.xml"));
    root.SetVersionMajor(1);
    root.SetVersionMinor(10);
    for (const char* where : {"out/a/", "out/a"}) {
        writer.addDebug(where);
        EXPECT_EQ(failure(directory / where), "nothing thrown");
        EXPECT_EQ(TemporaryDirectory::read(directory / "out/a/kernel.xml"), lmx60::toString(root));
    }
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    EXPECT_EQ(failure(""), "nothing thrown");
    std::filesystem::current_path(here);
    EXPECT_TRUE(std::filesystem::exists(directory / "kernel.xml"));

    std::filesystem::create_directories(directory / "taken/kernel.xml");
    EXPECT_EQ(failure(directory / "taken"),
              "[17-1376] Failed to write '" + (directory / "taken/kernel.xml") + "'");
    EXPECT_THROW(writer.write(directory.file("file", "") + "/below"), HEXAlgException);
}

}  // namespace
