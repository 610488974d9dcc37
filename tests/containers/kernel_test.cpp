#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/RandomRecord.h"
#include "tests/support/TemporaryDirectory.h"

#include <functional>
#include <tuple>

#include <gtest/gtest.h>

namespace {

using KernelXML::Root;
using kfab::kernel::ArgDesc;
using kfab::kernel::KernelDef;
using kfab::kernel::PortDesc;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/// A description whose kernel has the attributes, then the children.
std::string kernelXml(const std::string& attributes, const std::string& children = "<ports/><args/>") {
    return "<root versionMajor='1' versionMinor='10'>\n<kernel " + attributes + ">" + children +
           "</kernel></root>";
}

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
    EXPECT_EQ(root.versionMajor.get(), 1U);
    EXPECT_EQ(root.versionMinor.get(), 10U);
    ASSERT_TRUE(root.kernel.has_value());
    const auto failure = [&]() -> std::string {
        try {
            return lmx60::toString(root);
        } catch (const lmx60::WriteError& error) {
            return error.what();
        }
    };
    EXPECT_FALSE(root.IsOccursOk());
    EXPECT_EQ(failure(), "element 'root' lacks its required attribute 'versionMajor'");
    root.SetVersionMajor(1);
    EXPECT_EQ(failure(), "element 'root' lacks its required attribute 'versionMinor'");
    root.SetVersionMinor(10);
    EXPECT_TRUE(root.IsOccursOk());
    EXPECT_EQ(failure(), declaration +
                             "<root versionMajor=\"1\" versionMinor=\"10\">\n  <kernel>\n    <ports/>\n"
                             "    <args/>\n  </kernel>\n</root>\n");
    root.kernel.reset();
    EXPECT_FALSE(root.IsOccursOk());
    EXPECT_EQ(failure(), "element 'root' lacks its required element 'kernel'");
}

TEST(KernelRecords, ElementsAndAttributesOfEveryRecordInTheirOrder) {
    const std::string text =
        declaration +
        "<root versionMajor=\"2\" versionMinor=\"0\">\n"
        "  <kernel name=\"k\" language=\"ip\" vlnv=\"v:l:k:1.0\" attributes=\"a &quot;b&quot;\" hash=\"h\""
        " preferredWorkGroupSizeMultiple=\"0\" workGroupSize=\"1\" debug=\"true\" compileOptions=\"-g -O3\""
        " profileType=\"none\" interrupt=\"true\" hwControlProtocol=\"start_done\">\n"
        "    <ports>\n"
        "      <port name=\"p\" mode=\"slave\" range=\"0x1000\" dataWidth=\"4294967295\" "
        "portType=\"addressable\""
        " base=\"0x0\"/>\n"
        "      <port/>\n"
        "    </ports>\n"
        "    <args>\n"
        "      <arg name=\"a\" addressQualifier=\"1\" id=\"0\" port=\"p\" size=\"0x8\" offset=\"0x10\""
        " hostOffset=\"0x0\" hostSize=\"0x8\" type=\"map&lt;int&gt;*&#10;\" memSize=\"4\" origName=\"b\""
        " origUse=\"var\"/>\n"
        "    </args>\n"
        "    <compileWorkGroupSize x=\"1\" y=\"2\" z=\"3\"/>\n"
        "    <compileWorkGroupSize x=\"4\"/>\n"
        "    <maxWorkGroupSize x=\"5\" y=\"6\" z=\"7\"/>\n"
        "    <string_table>\n"
        "      <format_string id=\"1\" value=\"%d\\n\"/>\n"
        "    </string_table>\n"
        "  </kernel>\n"
        "  <memory name=\"m\" size=\"16\" linkage=\"internal\"/>\n"
        "  <pipe name=\"q\" width=\"4\" depth=\"8\" linkage=\"external\"/>\n"
        "  <connection srcInst=\"a\" srcPort=\"b\" dstInst=\"c\" dstPort=\"d\" srcType=\"core\" "
        "dstType=\"kernel\"/>\n"
        "  <profile>\n"
        "    <FIFOInformation/>\n"
        "  </profile>\n"
        "</root>\n";
    const auto root = lmx60::parse<Root>(text);
    EXPECT_EQ(lmx60::toString(root), text);
    EXPECT_EQ(root.kernel->ports.port.get(0).dataWidth.get(), 4294967295U);
    EXPECT_EQ(root.kernel->args.arg.get(0).type.get(), "map<int>*\n");
    EXPECT_EQ(root.kernel->compileWorkGroupSize.get(1).x.get(), 4U);
    EXPECT_EQ(root.profile->FIFOInformation.size(), 1U);
}

TEST(HCOKernelXMLReader, RefusesWhatIsNoDescription) {
    const TemporaryDirectory directory;
    const std::pair<std::string, std::string> cases[] = {
        {"<profile/>", "1: the document element is 'profile', not 'root'"},
        {"<root versionMinor='1'>", "1: element 'root' lacks its required attribute 'versionMajor'"},
        {"\n<root versionMajor='1'>", "2: element 'root' lacks its required attribute 'versionMinor'"},
        {"<root versionMajor='-1' versionMinor='0'/>",
         "1: value '-1' is below the minimum in attribute 'versionMajor' of element 'root'"},
        {"<root versionMajor='1' versionMinor='10'>\n</root>",
         "2: element 'root' lacks its required element 'kernel'"},
        {"<root versionMajor='1' versionMinor='10'><memory/>",
         "1: element 'root' lacks its required element 'kernel'"},
        {kernelXml("", "<args/>"), "2: element 'kernel' lacks its required element 'ports'"},
        {kernelXml("", "<ports/>"), "2: element 'kernel' lacks its required element 'args'"},
        {kernelXml("nam='k'"), "2: attribute 'nam' of element 'kernel' is not known"},
        {kernelXml("", "<ports><port dataWidth='4294967296'/>"),
         "2: value '4294967296' is above the maximum in attribute 'dataWidth' of element 'port'"},
        {kernelXml("", "<ports/><args>\n<arg addressQualifier='x'/>"),
         "3: value 'x' is not a valid literal in attribute 'addressQualifier' of element 'arg'"},
        {kernelXml("", "<ports/><args/><maxWorkGroupSize/>\n<maxWorkGroupSize/>"),
         "3: element 'maxWorkGroupSize' occurs more than once in 'kernel'"},
        {kernelXml("", "<ports/><args/><maxWorkGroupSize/>\n<compileWorkGroupSize/>"),
         "3: element 'compileWorkGroupSize' of 'kernel' must stand before 'maxWorkGroupSize'"},
        {kernelXml("", "<ports/><args/><string_table><format_string id=''/>"),
         "2: value '' is not a valid literal in attribute 'id' of element 'format_string'"},
        {kernelXml("") + "x", "2: junk after document element"},
    };
    for (const auto& [document, error] : cases) {
        const std::string path = directory.file("kernel.xml", document);
        HCOKernelXMLReader reader(path);
        for (int attempt = 0; attempt < 2; ++attempt)
            EXPECT_EQ(failureOf([&] { reader.getKernelName(); }), "[17-132] " + path + ":" + error);
        EXPECT_EQ(reader.getRoot(), nullptr);
        directory.file("kernel.xml", kernelXml("name='late'"));
        EXPECT_EQ(reader.getKernelName(), "late");
    }
    EXPECT_EQ(failureOf([] { HCOKernelXMLReader("").getDebug(); }), "not found ''");
    EXPECT_EQ(failureOf([&] { HCOKernelXMLReader(directory / "no").parse(); }),
              "not found '" + (directory / "no") + "'");
}

TEST(HCOKernelXMLReader, IsReadOnceAtTheFirstQuestion) {
    const TemporaryDirectory directory;
    HCOKernelXMLReader reader(directory.file("k.xml", kernelXml("name='a' debug='yes'")));
    EXPECT_EQ(reader.getRoot(), nullptr);
    EXPECT_EQ(reader.getKernelName(), "a");
    directory.file("k.xml", kernelXml("name='b' debug='no'"));
    EXPECT_EQ(reader.getDebug(), "yes");
    EXPECT_EQ(reader.getProfileType() + reader.getCompileOptions() + reader.getKernelLanguage(), "");
    EXPECT_EQ(reader.getProfile(), nullptr);
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

/// Every text attribute of a random kernel's definition, found by its name in the document.
TEST(HCOKernelXMLReader, DefinitionHoldsWhatTheDocumentHolds) {
    const TemporaryDirectory directory;
    HCOKernelXMLReader reader(directory.file(
        "k.xml",
        kernelXml(
            "name='n' language='l' vlnv='v' attributes='a' hash='h' preferredWorkGroupSizeMultiple='p'"
            " workGroupSize='w' debug='d' compileOptions=' c ' profileType='t' interrupt='i'"
            " hwControlProtocol='x'",
            "<ports><port/><port name='n' mode='m' range='r' dataWidth='4294967295' portType='t' base='b'/>"
            "</ports><args><arg/><arg name='n' addressQualifier='4294967295' id='i' port='p' size='s'"
            " offset='0x10' hostOffset='ho' hostSize='hs' type='t' memSize='ms' origName='on' origUse='ou'/>"
            "</args>")));
    const KernelDef def = reader.getKernelDef();
    const auto texts = [](const auto&... each) { return std::vector<std::string>{each...}; };
    EXPECT_EQ(
        texts(def.name, def.language, def.vlnv, def.attributes, def.hash, def.preferredWorkGroupSizeMultiple,
              def.workGroupSize, def.debug, def.compileOptions, def.profileType),
        texts("n", "l", "v", "a", "h", "p", "w", "d", " c ", "t"));
    ASSERT_EQ(def.args.size(), 2U);
    const ArgDesc& arg = def.args[1];
    EXPECT_EQ(texts(arg.name, arg.id, arg.port, arg.size, arg.offset, arg.hostOffset, arg.hostSize, arg.type,
                    arg.memSize, arg.origName, arg.origUse),
              texts("n", "i", "p", "s", "0x10", "ho", "hs", "t", "ms", "on", "ou"));
    EXPECT_EQ(def.args[0].addressQualifier, 0U);
    EXPECT_EQ(arg.addressQualifier, 4294967295U);
    ASSERT_EQ(def.ports.size(), 2U);
    const PortDesc& port = def.ports[1];
    EXPECT_EQ(texts(port.name, port.mode, port.range, port.portType, port.base),
              texts("n", "m", "r", "t", "b"));
    EXPECT_EQ(def.ports[0].dataWidth, 0U);
    EXPECT_EQ(port.dataWidth, 4294967295U);
    EXPECT_TRUE(HCOKernelXMLReader::convertToKernelDef(nullptr).args.empty());
}

TEST(HCOKernelXMLReader, PartsOfADocument) {
    const auto root = RandomRecord(7).make<Root>();
    KernelXML::Kernel kernel;
    HCOKernelXMLReader::getKernel(root, kernel);
    EXPECT_EQ(kernel, *root.kernel);
    KernelXML::MaxWorkGroupSize kept;
    kept.x.set(3);
    KernelXML::MaxWorkGroupSize size = kept;
    HCOKernelXMLReader::getMaxWorkGroupSize(KernelXML::Kernel{}, size);
    EXPECT_EQ(size, kept);
    std::vector<KernelXML::Arg> args(1);
    HCOKernelXMLReader::getArg(kernel.args, args);
    EXPECT_EQ(args.size(), kernel.args.arg.size() + 1);
}

TEST(KernelDef, AssignmentAppendsLists) {
    const auto make = [](std::vector<std::string> args, std::vector<std::string> ports) {
        KernelDef def;
        for (const std::string& name : args) {
            ArgDesc arg;
            arg.name = name;
            def.addArgDesc(arg);
        }
        for (const std::string& name : ports) {
            PortDesc port;
            port.name = name;
            def.addPortDesc(port);
        }
        return def;
    };
    const auto names = [](const KernelDef& def) {
        std::string joined = def.name + ":";
        for (const ArgDesc& arg : def.args)
            joined += arg.name;
        joined += ":";
        for (const PortDesc& port : def.ports)
            joined += port.name;
        return joined;
    };
    KernelDef target = make({"a", "b", "c"}, {"p"});
    KernelDef source = make({"d", "e"}, {"q"});
    target.name = "old";
    source.name = "new";
    target = source;
    EXPECT_EQ(names(target), "new:abcde:pq");
    const KernelDef& same = target;
    target = same;
    EXPECT_EQ(names(target), "new:abcde:pq");
    target = KernelDef();
    EXPECT_EQ(names(target), ":abcde:pq");
    EXPECT_EQ(names(KernelDef(source)), "new:de:q");
}

TEST(HCOKernelXMLWriter, Additions) {
    const std::tuple<std::vector<std::string>, std::string> cases[] = {{{"-g", "-O3"}, "-g -O3"},
                                                                       {{"-g", ""}, "-g "},
                                                                       {{""}, ""},
                                                                       {{"", "-g"}, "-g"},
                                                                       {{"-g", "", "-g"}, "-g  -g"}};
    for (const auto& [added, expected] : cases) {
        Root root;
        HCOKernelXMLWriter writer(&root);
        for (const std::string& options : added)
            writer.addCompileOptions(options);
        EXPECT_TRUE(root.kernel->compileOptions.isPresent());
        EXPECT_EQ(root.kernel->compileOptions.get(), expected);
    }
    Root root;
    root.kernel.reset();
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
    EXPECT_EQ(failureOf([&] { none.write("."); }),
              "[17-1377] Failed to write XML: ./kernel.xml: there is no document");
}

TEST(HCOKernelXMLWriter, WritesIntoADirectory) {
    const TemporaryDirectory directory;
    Root root;
    HCOKernelXMLWriter writer(&root);
    const auto failure = [&](const std::string& where) { return failureOf([&] { writer.write(where); }); };
    EXPECT_EQ(failure(directory.path()), "[17-1377] Failed to write XML: " + (directory / "kernel.xml") +
                                             ": element 'root' lacks its required attribute 'versionMajor'");
    EXPECT_FALSE(std::filesystem::exists(directory / "kernel.xml"));
    root.SetVersionMajor(1);
    root.SetVersionMinor(10);
    EXPECT_EQ(failure(directory / "out/a/"), "nothing thrown");
    EXPECT_EQ(TemporaryDirectory::read(directory / "out/a/kernel.xml"), lmx60::toString(root));
    writer.addDebug("true");
    EXPECT_EQ(failure(directory / "out/a"), "nothing thrown");
    EXPECT_EQ(TemporaryDirectory::read(directory / "out/a/kernel.xml"), lmx60::toString(root));

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
