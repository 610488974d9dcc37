#include "containers/kernel/CTypes.h"
#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/Members.h"
#include "tests/support/TemporaryDirectory.h"

#include <tuple>

#include <gmock/gmock.h>

namespace {

using KernelXML::Root;
using kfab::kernel::KernelDef;

/// A description that has all there is.
const std::string everything = TemporaryDirectory::read(KP_TESTS_DIR "/containers/kernel.xml");

TEST(KernelRecords, ExactTextAndDefinition) {
    const auto root = lmx60::parse<Root>(everything);
    EXPECT_EQ(lmx60::toString(root), everything);
    KernelDef def = HCOKernelXMLReader::convertToKernelDef(&root);
    const auto shown = [&](const KernelDef& assigned) {
        def = assigned;
        return def.name + std::to_string(def.args.size()) + std::to_string(def.ports.size());
    };
    EXPECT_EQ(shown(def), "k11");
    EXPECT_EQ(shown(KernelDef(def)), "k22");
    EXPECT_EQ(shown(HCOKernelXMLReader::convertToKernelDef(nullptr)), "22") << "assignment appends lists";
}

TEST(HCOKernelXMLReader, RefusesWhatIsNoDescription) {
    const TemporaryDirectory directory;
    const std::string path =
        directory.file("kernel.xml", "<root versionMajor='1' versionMinor='10'>\n</root>");
    HCOKernelXMLReader reader(path);
    EXPECT_EQ(failureOf<HEXAll>([&] { reader.getKernelName(); }),
              "[17-132] " + path + ":2: element 'root' lacks its required element 'kernel'");
    EXPECT_EQ(reader.getRoot(), nullptr);
    directory.file("kernel.xml", kernelXml("name='late'"));
    EXPECT_EQ(reader.getKernelName(), "late");
    HCOKernelXMLWriter(reader.getRoot()).addDebug("true");
    reader.parse();
    EXPECT_EQ(reader.getDebug(), "true") << "what is read is kept";
    for (const std::string& none : {std::string(), directory / "no"}) {
        const auto failure = [&] { HCOKernelXMLReader(none).getDebug(); };
        EXPECT_EQ(failureOf<HEXFileNotFoundException>(failure), HEXFileNotFoundException(none).what());
    }
}

TEST(CTypes, HaveTheirSizesInCAndInOpenCl) {
    const std::pair<std::uint32_t, std::vector<const char*>> cases[] = {
        {1, {"char", "signed char", "uchar", "bool", "_Bool", "int8_t"}},
        {2, {"short", "unsigned short int", "ushort", "half", "int_least16_t"}},
        {4, {"unsigned", "int signed", "int", "uint", "float", "uint_least32_t", "short2", "uchar4"}},
        {8, {"long", "ulong", "double", "long unsigned int", "long long", "uint64_t", "size_t", "foo*"}},
        {16, {"uchar16", "float3", "half8"}}};
    for (const auto& [size, types] : cases)
        for (const char* type : types)
            EXPECT_EQ(kfab::kernel::sizeOfCType(type), size) << type;
    for (const char* type :
         {"", "3", "8_t", "int5", "bool2", "int128_t", "int char", "signed unsigned", "int int"})
        EXPECT_FALSE(kfab::kernel::sizeOfCType(type)) << type;
}

TEST(HCOKernelXMLReader, NamesFromTheIdentifierAndPortsByTheirRole) {
    const TemporaryDirectory directory;
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"vendorx:hls:vadd:1.0", "vadd", "vendorx_hls_vadd_1_0"},
        {"a:b:c:d:e", "", "a_b_c_d_e"},
    };
    for (const auto& [vlnv, name, replaced] : cases) {
        HCOKernelXMLReader reader(directory.file("k.xml", kernelXml("vlnv='" + vlnv + "'")));
        EXPECT_EQ(reader.getKernelNameFromVlnv(), name) << vlnv;
        EXPECT_EQ(reader.getKernelVlnvReplaced_(), replaced) << vlnv;
    }
    const std::string ports =
        "<ports><port name='m1' mode='MASTER'/><port name='s' mode='Slave'/>"
        "<port name='all' mode='all'/><port mode='master'/></ports><args/>";
    HCOKernelXMLReader reader(directory.file("k.xml", kernelXml("", ports)));
    std::vector<std::string> names = {"before"};
    reader.getMasterPorts(names);
    reader.getSlavePorts(names);
    reader.getAllPorts(names);
    EXPECT_THAT(names, testing::ElementsAre("before", "m1", "", "s", "m1", "s", "all", ""));
}

TEST(HCOKernelXMLWriter, AddsToADocumentIfThereIsOne) {
    Root root;
    root.kernel.reset();
    HCOKernelXMLWriter writer(&root);
    for (const auto& [added, options] : {std::pair{"", ""}, {"-g", "-g"}, {"", "-g "}, {"-O3", "-g  -O3"}}) {
        writer.addCompileOptions(added);
        EXPECT_EQ(root.kernel->compileOptions.get(), options);
    }
    writer.addProfileType("stalls");
    EXPECT_EQ(root.kernel->profileType.get(), "stalls");
    HCOKernelXMLWriter none(nullptr);
    none.addCompileOptions("-g");
    none.addDebug("true");
    none.addProfileType("stalls");
    none.addDesignXML("");
    EXPECT_EQ(failureOf<HEXAll>([&] { none.write(""); }),
              "[17-1377] Failed to write XML: ./kernel.xml - there is no document");
}

TEST(HCOKernelXMLWriter, WritesIntoADirectory) {
    const TemporaryDirectory directory;
    const std::string path = directory / "out/a/kernel.xml";
    Root root;
    EXPECT_EQ(root.versionMajor.get() * 100 + root.versionMinor.get(), 110U) << "though not written";
    HCOKernelXMLWriter writer(&root);
    const auto failure = [&](const std::string& where) {
        return failureOf<HEXAll>([&] { writer.write(directory / where); });
    };
    EXPECT_EQ(failure("out/a"), "[17-1377] Failed to write XML: " + path +
                                    " - element 'root' lacks its required attribute 'versionMajor'");
    EXPECT_FALSE(std::filesystem::exists(directory / "out"));
    root = lmx60::parse<Root>(everything);
    for (const char* where : {"out/a/", "out/a"}) {
        writer.addDebug(where);
        EXPECT_EQ(failure(where), "nothing thrown");
        EXPECT_EQ(TemporaryDirectory::read(path), lmx60::toString(root));
    }
    std::filesystem::create_directories(directory / "taken/kernel.xml");
    EXPECT_THAT(failure("taken"), testing::StartsWith("[17-1376] Failed to write '" + (directory / "taken")));
    EXPECT_THROW(writer.write(path + "/below"), HEXAlgException);
    const disk::DiskFaults faults(always("write", ENOSPC));
    EXPECT_EQ(failure("out/a"), "[17-1376] Failed to write '" + path + "': No space left on device");
    EXPECT_EQ(TemporaryDirectory::read(path), lmx60::toString(root));
}

TEST(KernelReaders, PassOverWhatALaterVersionHoldsAndDoNotWriteItAnew) {
    const TemporaryDirectory directory;
    const std::string package = directory / "p.kp", file = directory / "kernel.xml";
    const std::pair<std::string, std::string> versions[] = {
        {"versionMajor='1' versionMinor='10'", ""},
        {"versionMajor='0' versionMinor='99'", ""},
        {"versionMajor='1' versionMinor='11'", "1.11"},
        {"versionMinor='0' versionMajor='2'", "2.0"},
    };
    const std::string unknown = ":1: attribute 'more' of element 'root' is not known";
    for (const auto& [version, later] : versions) {
        HCOKernelXMLReader plain(
            directory.file("plain.xml", "<root " + version + "><kernel><ports/><args/></kernel></root>"));
        plain.parse();
        EXPECT_EQ(lmx60::parse<Root>(HCOKernelXMLWriter(plain.getRoot()).text()), *plain.getRoot());
        const std::string document =
            "<root more='1' " + version + ">\n<kernel><ports/><args/>\n<more><x/></more></kernel></root>";
        directory.file("kernel.xml", document);
        pack(package, {{"k/kernel.xml", document}});
        HCOKernelXMLReader reader(file);
        HCOContainerKernelXMLReader packageReader(package, "k");
        const CapturedMessages messages;
        const std::string failure = failureOf<HEXAll>([&] { reader.parse(); });
        const std::string packageFailure = failureOf<HEXAll>([&] { packageReader.parse(); });
        if (later.empty()) {
            EXPECT_EQ(failure, "[17-132] " + file + unknown);
            EXPECT_EQ(packageFailure, "[17-132] " + package + unknown);
            continue;
        }
        EXPECT_EQ(failure + packageFailure, "nothing thrownnothing thrown");
        EXPECT_EQ(*reader.getRoot(), *packageReader.getRoot());
        std::vector<std::string> expected;
        for (const std::string& name : {"17-2005: " + file, "17-2005: " + package + "/k/kernel.xml"})
            for (const std::string& told :
                 {unknown, std::string(":3: element 'more' is not known in 'kernel'")})
                expected.push_back(name + told + "; it is ignored");
        EXPECT_EQ(messages.texts(), expected);
        EXPECT_EQ(failureOf<HEXAll>([&] { HCOKernelXMLWriter(reader.getRoot()).write(directory / "new"); }),
                  "[17-1377] Failed to write XML: " + (directory / "new/kernel.xml") +
                      " - the document is of version " + later +
                      ", later than 1.10, and holds what this software does not know");
        EXPECT_FALSE(std::filesystem::exists(directory / "new"));
    }
}

}  // namespace
