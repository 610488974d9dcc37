#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryDirectory.h"

#include <functional>
#include <random>

#include <boost/iostreams/copy.hpp>
#include <boost/iostreams/device/back_inserter.hpp>
#include <gtest/gtest.h>

namespace {

using Flow = HKPKernel::SupportedFlowType;
using Flows = std::vector<Flow>;
using Texts = std::vector<std::string>;

HKPKernel* add(HKPContainer& container, const std::string& name, bool replace = false) {
    return container.addKPKernel(name, "", "", "", "", {}, false, false, false, false, false, false, false,
                                 replace);
}

/// All that a kernel entry holds.
std::string shown(const HKPKernel& kernel) {
    std::string text = kernel.getName() + "|" + kernel.getDirectory() + "|" + kernel.getIpDir() + "|" +
                       kernel.getTopIpDir() + "|" + kernel.getProjectID() + "|";
    const auto [first, last] = kernel.getSupportedFlowRange();
    for (auto flow = first; flow != last; ++flow)
        text += HKPKernel::getFlowAsStr(*flow) + ",";
    const std::pair<bool, const char*> flags[] = {
        {kernel.isRtlKernel(), "rtl"},        {kernel.isDebug(), "debug"},
        {kernel.getIsDebugDir(), "debugDir"}, {kernel.getIsHlsDir(), "hlsDir"},
        {kernel.getIsPdiDir(), "pdiDir"},     {kernel.getIsShimSolnDir(), "shimDir"},
        {kernel.getIsSwEmuDir(), "swEmuDir"}};
    for (const auto& [flag, name] : flags)
        text += flag ? std::string("|") + name : "";
    return text;
}

Texts shown(const HKPContainer& container) {
    Texts texts;
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        texts.push_back(shown(**kernel));
    return texts;
}

TEST(HKPContainer, AddingMergesOrReplaces) {
    HKPContainer container;
    EXPECT_EQ(shown(HKPKernel()), "|||.||");
    EXPECT_TRUE(HKPKernel().isEmpty());
    container.addKPKernel("Old", "d", "i", "t", "p", {HKPKernel::HW_EMU, HKPKernel::HW_EMU}, true, false,
                          false, true, true, false, false, false);
    add(container, "other");
    EXPECT_EQ(shown(container), (Texts{"Old|d|i|t|p|hw_emu,hw_emu,|debug|debugDir|shimDir", "other|||||"}));

    const HKPKernel* merged = container.addKPKernel("oLD", "d2", "i2", "t2", "p2", {HKPKernel::SYSTEM}, false,
                                                    true, true, false, false, true, true, false);
    EXPECT_EQ(shown(container),
              (Texts{"other|||||", "Old|d|i|t|p|hw_emu,hw_emu,|debug|debugDir|pdiDir|shimDir"}));
    EXPECT_EQ(container.getKPKernelByName("OLD"), merged);

    container.addKPKernel("oLD", "d2", "i2", "t2", "p2", {HKPKernel::SYSTEM}, false, true, true, false, false,
                          true, true, true);
    EXPECT_EQ(shown(container), (Texts{"other|||||", "oLD|d2|i2|t2|p2|hw,|rtl|hlsDir|pdiDir|swEmuDir"}));

    HKPKernel stranger;
    EXPECT_EQ(container.removeKPKernel(&stranger), nullptr);
    EXPECT_EQ(container.removeKPKernel(nullptr), nullptr);
    const auto removed = container.removeKPKernel(container.getKPKernelByName("OTHER"));
    EXPECT_EQ(removed->getName(), "other");
    EXPECT_EQ(container.removeKPKernel(removed.get()), nullptr);
    EXPECT_EQ(container.getKPKernelByName("other"), nullptr);
    EXPECT_EQ(shown(container).size(), 1U);
}

TEST(HKPContainer, AnArgumentMayBeTheEntrysOwn) {
    HKPContainer container;
    const HKPKernel* first = add(container, "a-name-too-long-for-a-short-string-to-hold");
    add(container, first->getName(), true);
    EXPECT_EQ(shown(container), Texts{"a-name-too-long-for-a-short-string-to-hold|||||"});
}

TEST(HKPContainer, FlowsAccumulateAndCachesDoNot) {
    HKPKernel kernel;
    kernel.setSupportedFlows({HKPKernel::HW_EMU});
    kernel.setSupportedFlows({HKPKernel::HW_EMU, HKPKernel::SYSTEM});
    EXPECT_EQ(shown(kernel), "|||.||hw_emu,hw_emu,hw,");
    EXPECT_TRUE(kernel.isSupportedFlow(HKPKernel::SYSTEM));
    EXPECT_FALSE(kernel.isSupportedFlow(HKPKernel::CPU_EMU));
    EXPECT_EQ(HKPKernel::getFlowAsStr(HKPKernel::CPU_EMU), "sw_emu");
    EXPECT_EQ(HKPKernel::getFlowAsStr(static_cast<Flow>(17)), "");

    HKPContainer container;
    EXPECT_TRUE(container.addIpCacheIfUnique("a"));
    container.setIsIpCacheDir(false);
    EXPECT_FALSE(container.addIpCacheIfUnique("a"));
    EXPECT_FALSE(container.getIsIpCacheDir());
    EXPECT_TRUE(container.addIpCacheIfUnique("A"));
    EXPECT_TRUE(container.addIpCacheIfUnique("a/"));
    EXPECT_TRUE(container.getIsIpCacheDir());
    const auto [first, last] = container.getIpCachesRange();
    EXPECT_EQ(Texts(first, last), (Texts{"a", "A", "a/"}));
}

/// The entry of a name, found by looking at each in turn.
HKPKernel* findByWalking(const HKPContainer& container, const std::string& name) {
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel) {
        if (HSTStringUtils::equalsIgnoreCase((*kernel)->getName(), name)) return kernel->get();
    }
    return nullptr;
}

TEST(HKPContainer, NamesAreFoundAfterAnyChanges) {
    std::mt19937 random(5);
    const auto anyName = [&] {
        return std::string(1, static_cast<char>((random() % 2 == 0 ? 'a' : 'A') + random() % 8));
    };
    HKPContainer container;
    for (int step = 0; step < 20000; ++step) {
        const auto [first, last] = container.getKPKernelRange();
        const auto size = std::distance(first, last);
        HKPKernel* any = size == 0 ? nullptr : std::next(first, static_cast<long>(random()) % size)->get();
        const unsigned choice = random() % 4;
        if (choice == 0 || any == nullptr) {
            const HKPKernel* added = add(container, anyName(), random() % 2 == 0);
            ASSERT_EQ(added, std::prev(container.getKPKernelRange().second)->get());
        } else if (choice == 1) {
            any->setName(anyName());  // may meet the name of another
        } else if (choice == 2 && size > 6) {
            ASSERT_EQ(container.removeKPKernel(any).get(), any);
        }
        const std::string name = anyName();
        ASSERT_EQ(container.getKPKernelByName(name), findByWalking(container, name)) << "step " << step;
    }
}

class Manifest : public testing::Test {
protected:
    static std::string description(const std::string& attributes) {
        return "<root versionMajor='1' versionMinor='10'><kernel " + attributes +
               "><ports/><args/></kernel></root>";
    }

    /// Makes a package of members, each a name and its bytes.
    void package(const std::vector<std::pair<std::string, std::string>>& members) const {
        std::filesystem::remove(path_);
        ArchiveEdit edit(path_);
        for (const auto& [name, bytes] : members)
            edit.addBytes(name, bytes);
        edit.commit();
    }

    std::string member(const std::string& name) const {
        std::string bytes;
        boost::iostreams::copy(isl::iostreams::device::file_source(path_, name),
                               boost::iostreams::back_inserter(bytes));
        return bytes;
    }

    std::string failureOf(const std::function<void()>& operation) const {
        try {
            operation();
        } catch (const HEXFileNotFoundException& failure) {
            return "not found '" + failure.getPath() + "'";
        } catch (const HEXAll& failure) {
            return failure.what();
        } catch (const HXMLException& failure) {
            return std::string("HXMLException ") + failure.what();
        } catch (const HEXAlgException&) {
            return "HEXAlgException";
        } catch (const std::ios_base::failure&) {
            return "stream failure";
        }
        return "nothing thrown";
    }

    void read(HKPContainer& container) const { HKPContainerXMLReader(path_, container).parseKPContainer(); }

    const Environment version_{"KP_SOFTWARE_VERSION", "2020.1"};
    TemporaryDirectory directory_;
    std::string path_ = directory_ / "k.kp";
    CapturedMessages messages_;
};

TEST_F(Manifest, ExactTextOfBothLayouts) {
    HKPContainer container;
    container.setVersionMajor(77);
    container.setSoftwareVersionMajor(88);
    container.addKPKernel("k<1>", "d", "ip_repo", ".", "p\xC3\xBC", {HKPKernel::SYSTEM, HKPKernel::HW_EMU},
                          true, false, true, false, true, true, true, false);
    add(container, "k2");
    const std::string kernels =
        "  <Kernels>\n"
        "    <Kernel Name=\"k&lt;1&gt;\" Dir=\"d\" IP=\"ip_repo\" TopIpDir=\".\" ProjectID=\"p\xC3\xBC\" "
        "Debug=\"yes\""
        " Hls=\"no\" Pdi=\"yes\" ShimSoln=\"no\" SwEmu=\"yes\">\n"
        "      <SupportedFlows>\n"
        "        <SupportedFlow>SYSTEM</SupportedFlow>\n"
        "        <SupportedFlow>HW_EMU</SupportedFlow>\n"
        "      </SupportedFlows>\n"
        "    </Kernel>\n"
        "    <Kernel Name=\"k2\" Dir=\"\" IP=\"\" TopIpDir=\"\" ProjectID=\"\" Debug=\"no\" Hls=\"no\" "
        "Pdi=\"no\""
        " ShimSoln=\"no\" SwEmu=\"no\">\n"
        "      <SupportedFlows/>\n"
        "    </Kernel>\n"
        "  </Kernels>\n"
        "</Root>\n";
    const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const HKPContainerXMLWriter writer(container, path_);
    writer.writeKPContainer(false);
    EXPECT_EQ(member("kp.xml"),
              declaration +
                  "<Root VersionMajor=\"2\" VersionMinor=\"0\" SoftwareVersionMajor=\"2020\""
                  " SoftwareVersionMinor=\"1\" IpCache=\"no\">\n" +
                  kernels);
    container.addIpCacheIfUnique("ip_cache/a");
    container.addIpCacheIfUnique("b");
    const Environment later("KP_SOFTWARE_VERSION", "2031.12");
    writer.writeKPContainer(true);
    EXPECT_EQ(member("kp.xml"),
              declaration +
                  "<Root VersionMajor=\"6\" VersionMinor=\"0\" SoftwareVersionMajor=\"2031\""
                  " SoftwareVersionMinor=\"12\" IpCache=\"yes\">\n"
                  "  <IpCaches>\n    <Cache CacheDir=\"ip_cache/a\"/>\n    <Cache CacheDir=\"b\"/>\n"
                  "  </IpCaches>\n" +
                  kernels);
    EXPECT_EQ(messages_.texts(), Texts{});
}

TEST_F(Manifest, WhatIsWrittenReadsBack) {
    package({{"a/kernel.xml", description("language='IP' debug='TRUE'")},
             {"b/kernel.xml", description("language='c' debug='1'")},
             {"caf\xE9/kernel.xml", description("")}});
    HKPContainer written;
    written.addKPKernel("a", "dir", "repo", "top", "p",
                        {HKPKernel::SYSTEM, HKPKernel::HW_EMU, HKPKernel::CPU_EMU}, true, false, true, false,
                        true, true, true, false);
    written.addKPKernel("b", "", "", ".", "", {}, false, true, false, true, false, false, false, false);
    written.addIpCacheIfUnique("c1");
    HKPContainerXMLWriter(written, path_).writeKPContainer(true);
    HKPContainer read;
    this->read(read);
    EXPECT_EQ(shown(read), shown(written));
    EXPECT_EQ(read.getVersionMajor(), 6U);
    EXPECT_EQ(read.getSoftwareVersionMajor(), 2020U);
    EXPECT_TRUE(read.getIsIpCacheDir());
    EXPECT_EQ(member("b/kernel.xml"), description("language='c' debug='1'"));

    add(written, "caf\xE9");  // a name that is no UTF-8 has no place in a manifest
    EXPECT_EQ(failureOf([&] { HKPContainerXMLWriter(written, path_).writeKPContainer(true); }),
              "[17-1377] Failed to write XML: 'Name' holds a character that XML cannot carry: " + path_);
    add(written, "a")->setSupportedFlows({static_cast<Flow>(3), HKPKernel::CPU_EMU, static_cast<Flow>(-1)});
    written.removeKPKernel(written.getKPKernelByName("caf\xE9"));
    HKPContainerXMLWriter(written, path_).writeKPContainer(false);
    EXPECT_EQ(messages_.texts(),
              (Texts{"17-1313: Unknown flow number 3 is left out of the manifest of '" + path_ + "'",
                     "17-1313: Unknown flow number -1 is left out of the manifest of '" + path_ + "'"}));
    HKPContainer again;
    this->read(again);
    EXPECT_EQ(shown(again).back(),
              "a|dir|repo|top|p|hw,hw_emu,sw_emu,sw_emu,|rtl|debug|debugDir|pdiDir|swEmuDir");
}

TEST_F(Manifest, IsReadLeniently) {
    package(
        {{"kp.xml",
          "<Root VersionMajor='9' VersionMinor='3' IpCache='YES' Origin='x'>\n<Signature><By/></Signature>\n"
          "<Kernels><Kernel Name='K' Hls='yes'><SupportedFlows><SupportedFlow>SYSTEM</SupportedFlow>"
          "</SupportedFlows></Kernel>\n<Kernel Name='b' Debug='true' Pdi='Yes' Color='red'/>\n"
          "<Kernel Name='k' Debug='YES' TopIpDir='t'><SupportedFlows><SupportedFlow>HW_EMU</SupportedFlow>"
          "<SupportedFlow>QUANTUM</SupportedFlow><SupportedFlow> CPU_EMU </SupportedFlow><SupportedFlow/>"
          "</SupportedFlows></Kernel></Kernels></Root>"},
         {"K/kernel.xml", description("language='ip'")},
         {"k/kernel.xml", description("debug='True'")},
         {"b/kernel.xml", description("debug='yes'")}});
    HKPContainer container;
    container.setSoftwareVersionMajor(5);
    read(container);
    EXPECT_EQ(shown(container), (Texts{"b||||||pdiDir", "k|||t||hw_emu,sw_emu,|debug|debugDir"}));
    EXPECT_EQ(container.getVersionMajor(), 9U);
    EXPECT_EQ(container.getVersionMinor(), 3U);
    EXPECT_EQ(container.getSoftwareVersionMajor(), 0U);
    EXPECT_TRUE(container.getIsIpCacheDir());
    const std::string flow = "17-1312: Unknown flow number 0 in the manifest of '" + path_ + "' is ignored";
    EXPECT_EQ(
        messages_.texts(),
        (Texts{"17-1314: " + path_ + ":1: attribute 'Origin' of element 'Root' is not known; it is ignored",
               "17-1314: " + path_ + ":2: element 'Signature' is not known in 'Root'; it is ignored",
               "17-1314: " + path_ + ":4: attribute 'Color' of element 'Kernel' is not known; it is ignored",
               flow, flow}));
    EXPECT_EQ(messages_.all()[0].arguments,
              (Texts{"attribute 'Origin' of element 'Root' is not known", path_, "1"}));
    EXPECT_EQ(messages_.all()[3].arguments, (Texts{"0", path_}));
}

TEST_F(Manifest, TheCacheFlagFollowsItsAttributeAlone) {
    for (const auto& [attribute, flag] :
         {std::pair<std::string, bool>{"", false}, {"IpCache='no'", false}, {"IpCache='yEs'", true}}) {
        package({{"kp.xml", "<Root VersionMajor='6' VersionMinor='0' " + attribute +
                                "><IpCaches><Cache CacheDir='a'/><Cache "
                                "CacheDir='a'/><Cache/></IpCaches><Kernels/></Root>"}});
        HKPContainer container;
        read(container);
        EXPECT_EQ(container.getIsIpCacheDir(), flag) << attribute;
        const auto [first, last] = container.getIpCachesRange();
        EXPECT_EQ(Texts(first, last), (Texts{"a", ""}));
    }
}

TEST_F(Manifest, WhatCannotBeReadIsRefused) {
    const std::string root = "<Root VersionMajor='6' VersionMinor='0'>";
    const std::string kernels = root + "<Kernels><Kernel Name='k'/></Kernels></Root>";
    const struct {
        std::string manifest;
        std::string description;
        std::string error;
    } cases[] = {
        {"<Root VersionMajor='6'><Kernels/></Root>", "",
         "[17-132] %:1: element 'Root' lacks its required attribute 'VersionMinor'"},
        {"<Root VersionMinor='6'><Kernels/></Root>", "",
         "[17-132] %:1: element 'Root' lacks its required attribute 'VersionMajor'"},
        {root + "\n</Root>", "", "[17-132] %:2: element 'Root' lacks its required element 'Kernels'"},
        {root + "<Kernels/><IpCaches/></Root>", "",
         "[17-132] %:1: element 'IpCaches' of 'Root' must stand before 'Kernels'"},
        {"<root/>", "", "[17-132] %:1: the document element is 'root', not 'Root'"},
        {"", "", "[17-132] %:1: no element found"},
        {kernels, "<root>", "[17-132] %:1: element 'root' lacks its required attribute 'versionMajor'"},
        {kernels, "none", "stream failure"},
        {"none", "", "stream failure"},
    };
    for (const auto& [manifest, kernel, error] : cases) {
        std::vector<std::pair<std::string, std::string>> members = {{"other", "x"}};
        if (manifest != "none") members.emplace_back("kp.xml", manifest);
        if (kernel != "none") members.emplace_back("k/kernel.xml", kernel);
        package(members);
        HKPContainer container;
        std::string expected = error;
        if (const auto mark = expected.find('%'); mark != std::string::npos) expected.replace(mark, 1, path_);
        EXPECT_EQ(failureOf([&] { read(container); }), expected) << manifest;
    }
    HKPContainer container;
    directory_.file("k.kp", "no archive");
    EXPECT_EQ(failureOf([&] { read(container); }), "HEXAlgException");
    std::filesystem::remove(path_);
    EXPECT_EQ(failureOf([&] { read(container); }), "HEXAlgException");
}

TEST_F(Manifest, CannotBeWrittenWhereThereIsNoPackage) {
    const HKPContainer container;
    const std::string nowhere = directory_ / "no/k.kp";
    EXPECT_EQ(failureOf([&] { HKPContainerXMLWriter(container, nowhere).writeKPContainer(true); }),
              "HXMLException Failed to open '" + nowhere + "' for writing\n");
    const std::string text = directory_.file("text.kp", "no archive");
    EXPECT_EQ(failureOf([&] { HKPContainerXMLWriter(container, text).writeKPContainer(true); }),
              "HXMLException Failed to open '" + text + "' for writing\n");
    EXPECT_EQ(TemporaryDirectory::read(text), "no archive");
    for (const char* version : {"x.1", "2020", "-1.0", "4294967296.0", "2020.1b"}) {
        const Environment unusable("KP_SOFTWARE_VERSION", version);
        const auto write = [&] { HKPContainerXMLWriter(container, path_).writeKPContainer(true); };
        if (std::string_view(version).starts_with("4")) {
            EXPECT_THROW(write(), std::out_of_range) << version;
        } else {
            EXPECT_THROW(write(), std::invalid_argument) << version;
        }
        EXPECT_FALSE(std::filesystem::exists(path_));
    }
}

TEST_F(Manifest, DescriptionsAreReadStraightFromThePackage) {
    package({{"a/kernel.xml", description("name='n' language='c' debug='tRUE'")},
             {"b/kernel.xml", description("")}});
    HCOContainerKernelXMLReader a(path_, "a");
    HCOContainerKernelXMLReader b(path_, "b");
    HCOContainerKernelXMLReader c(path_, "c");
    EXPECT_EQ(a.getRoot(), nullptr);
    EXPECT_EQ(a.getKernelDef().name + a.getKernelLanguage(), "nc");
    EXPECT_TRUE(a.getDebug());
    EXPECT_FALSE(b.getDebug());
    EXPECT_EQ(b.getKernelLanguage(), "");
    EXPECT_EQ(failureOf([&] { c.getDebug(); }), "stream failure");
    EXPECT_EQ(failureOf([] { HCOContainerKernelXMLReader("", "a").parse(); }), "not found ''");
    EXPECT_EQ(failureOf([&] { HCOContainerKernelXMLReader(directory_ / "x.kp", "a").parse(); }),
              "not found '" + (directory_ / "x.kp") + "'");
}

}  // namespace
