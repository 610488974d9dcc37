#include "containers/design/HCODesignXMLReader.h"
#include "containers/design/HCODesignXMLWriter.h"
#include "containers/kernel/HCOKernelXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/Failure.h"
#include "tests/support/Members.h"
#include "tests/support/RandomRecord.h"
#include "tests/support/TemporaryDirectory.h"

#include <regex>
#include <type_traits>

#include <gtest/gtest.h>

namespace {

using DesignXML::Profile;

// What belongs to one document is no part of the other.
static_assert(!std::is_same_v<KernelXML::Profile, Profile>);
template <class Writer, class From, class To>
constexpr bool takes = std::is_invocable_v<decltype(Writer::addInstances), const typename From::InstListType&,
                                           typename To::InstListType&>;
static_assert(takes<HCODesignXMLWriter, KernelXML::Records, DesignXML::Records>);
static_assert(!takes<HCODesignXMLWriter, DesignXML::Records, KernelXML::Records>);
static_assert(!takes<HCODesignXMLWriter, DesignXML::Records, DesignXML::Records>);
static_assert(takes<HCOKernelXMLWriter, DesignXML::Records, KernelXML::Records>);
static_assert(!takes<HCOKernelXMLWriter, KernelXML::Records, KernelXML::Records>);

/// The same profile in the other document.
KernelXML::Profile described(const Profile& profile) {
    return lmx60::parse<KernelXML::Profile>(lmx60::toString(profile));
}

/// The profile as a conversion leaves it: without loop entries.
Profile withoutLoops(const Profile& profile) {
    return lmx60::parse<Profile>(std::regex_replace(lmx60::toString(profile), std::regex("<Loop\\*/>"), ""));
}

/// One profile with the parts of another behind its own.
Profile joined(const Profile& first, const Profile& second) {
    Profile both = first;
    for (const auto& part : second.RTLDesignHierarchy)
        both.RTLDesignHierarchy.append(part);
    for (const auto& part : second.ModuleInformation)
        both.ModuleInformation.append(part);
    for (const auto& part : second.FIFOInformation)
        both.FIFOInformation.append(part);
    return both;
}

template <class R>
class Document : public testing::Test {};
using Records = testing::Types<Profile, KernelXML::Root, KernelXML::Kernel, KernelXML::Profile,
                               KernelXML::StringTable, DesignXML::Module, DesignXML::InstListType>;
TYPED_TEST_SUITE(Document, Records);

TYPED_TEST(Document, WhatIsWrittenReadsBackEqual) {
    const TemporaryDirectory directory;
    const std::string path = directory / "record.xml";
    for (unsigned seed = 0; seed < 40; ++seed) {
        const auto record = RandomRecord(seed).make<TypeParam>();
        const std::string text = lmx60::toString(record);
        ASSERT_EQ(lmx60::parse<TypeParam>(text), record) << text;
        ASSERT_EQ(lmx60::parse<TypeParam>((text + "x").data(), text.size()), record);
        lmx60::writeFile(record, path);
        ASSERT_EQ(lmx60::parseFile<TypeParam>(path), record);
    }
}

TEST(Profile, ExactTextOfTheExample) {
    const std::string text = TemporaryDirectory::read(KP_EXAMPLES_DIR "/vadd/design.xml");
    const std::regex lastZeros("(\\.[0-9]*[1-9])0+<|\\.0+<");
    EXPECT_EQ(lmx60::toString(lmx60::parse<Profile>(text)), std::regex_replace(text, lastZeros, "$1<"));
}

TEST(HCODesignXMLReader, ReadsAReportOnceAndRefusesWhatIsNone) {
    const TemporaryDirectory directory;
    const std::string path = directory / "design.xml";
    HCODesignXMLReader reader(path);
    EXPECT_EQ(failureOf<HEXFileNotFoundException>([&] { reader.parse(); }), "File not found: '" + path + "'");
    directory.file("design.xml", "<profile>\n<FIFOInformation><FIFOInst><Name/><ParentInst/></FIFOInst>");
    EXPECT_EQ(failureOf<HEXAll>([&] { reader.parse(); }),
              "[17-132] " + path + ":2: element 'FIFOInst' lacks its required element 'StaticDepth'");
    EXPECT_EQ(reader.getProfile(), nullptr);
    directory.file("design.xml", "<profile/>");
    reader.parse();
    const Profile* const profile = reader.getProfile();
    directory.file("design.xml", "");
    reader.parse();
    EXPECT_EQ(reader.getProfile(), profile);
}

TEST(Conversion, ReportToKernelAndBack) {
    const TemporaryDirectory directory;
    for (unsigned seed = 0; seed < 20; ++seed) {
        SCOPED_TRACE(seed);
        const auto profile = RandomRecord(seed).make<Profile>();
        const Profile converted = withoutLoops(profile);
        const std::string design = directory.file("design.xml", lmx60::toString(profile));
        auto root = lmx60::parse<KernelXML::Root>(kernelXml(""));
        root.kernel.reset();
        HCOKernelXMLWriter writer(&root);
        writer.addDesignXML(design);
        ASSERT_EQ(*root.profile, described(converted));
        for (const Profile& held : {converted, profile}) {
            root.profile = described(held);
            writer.write(directory.path());
            HCODesignXMLWriter().writeFromKernelXML(directory / "kernel.xml", directory / "back.xml");
            ASSERT_EQ(TemporaryDirectory::read(directory / "back.xml"), lmx60::toString(converted));
        }
        writer.addDesignXML(design);
        const KernelXML::Profile both = described(joined(profile, converted));
        ASSERT_EQ(*root.profile, both) << "what was there keeps its loops";
        directory.file("bad.xml", "<profile><ModuleInformation/><x/></profile>");
        EXPECT_THROW(writer.addDesignXML(directory / "bad.xml"), HEXAll);
        EXPECT_THROW(writer.addDesignXML(directory / "none"), HEXFileNotFoundException);
        ASSERT_EQ(*root.profile, both);
    }
    HCOKernelXMLWriter(nullptr).addDesignXML(directory / "none");
}

}  // namespace
