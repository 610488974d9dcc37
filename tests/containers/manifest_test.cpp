#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/Failure.h"
#include "tests/support/Packages.h"

#include <algorithm>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

namespace {

using Flow = HKPKernel::SupportedFlowType;

TEST(HKPContainer, AddingMergesOrReplaces) {
    HKPContainer container;
    EXPECT_EQ(shown(HKPKernel()), "|||.||");
    const auto addOld = [&](const std::string& name, bool replace) {
        return container.addKPKernel(name, "d2", "i2", "t2", "p2", {HKPKernel::SYSTEM}, false, true, true,
                                     false, false, true, true, replace);
    };
    container.addKPKernel("Old", "d", "i", "t", "p", {HKPKernel::HW_EMU, HKPKernel::HW_EMU}, true, false,
                          false, true, true, false, false, false);
    const HKPKernel* other = addEntry(container, "a-name-too-long-for-a-short-string-to-hold");
    addEntry(container, other->getName());  // an argument may be the entry's own
    const std::string kept = "Old|d|i|t|p|hw_emu,hw_emu,|debug|debugDir";
    const std::string both = shown(container)[1];
    EXPECT_EQ(shown(container), (Texts{kept + "|shimDir", both}));
    const HKPKernel* merged = addOld("oLD", false);
    EXPECT_EQ(shown(container), (Texts{both, kept + "|pdiDir|shimDir"}));
    EXPECT_EQ(container.getKPKernelByName("OLD"), merged);
    addOld("oLD", true);
    EXPECT_EQ(shown(container), (Texts{both, "oLD|d2|i2|t2|p2|hw,|rtl|hlsDir|pdiDir|swEmuDir"}));
    container.getKPKernelByName("old")->setSupportedFlows({HKPKernel::SYSTEM, static_cast<Flow>(17)});
    EXPECT_EQ(shown(container)[1], "oLD|d2|i2|t2|p2|hw,hw,,|rtl|hlsDir|pdiDir|swEmuDir") << "flows add up";

    HKPKernel stranger;
    EXPECT_EQ(container.removeKPKernel(&stranger), nullptr);
    EXPECT_EQ(container.removeKPKernel(nullptr), nullptr);
    const auto removed = container.removeKPKernel(container.getKPKernelByName("Old"));
    EXPECT_EQ(removed->getName(), "oLD");
    EXPECT_EQ(container.removeKPKernel(removed.get()), nullptr);
    EXPECT_EQ(shown(container), Texts{both});
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
            const HKPKernel* added = container.addKPKernel(anyName(), "", "", "", "", {}, false, false, false,
                                                           false, false, false, false, random() % 2 == 0);
            ASSERT_EQ(added, std::prev(container.getKPKernelRange().second)->get());
        } else if (choice == 1) {
            any->setName(anyName());  // may meet the name of another
        } else if (choice == 2 && size > 6) {
            ASSERT_EQ(container.removeKPKernel(any).get(), any);
        }
        const std::string name = anyName();
        const auto [begin, end] = container.getKPKernelRange();
        const auto found = std::find_if(begin, end, [&](const auto& kernel) {
            return HSTStringUtils::equalsIgnoreCase(kernel->getName(), name);
        });
        ASSERT_EQ(container.getKPKernelByName(name), found == end ? nullptr : found->get())
            << "step " << step;
    }
}

class Manifest : public testing::Test {
protected:
    std::string member(const std::string& name) const { return ArchiveSnapshot::open(path_)->read(name); }
    void read(HKPContainer& container) const { HKPContainerXMLReader(path_, container).parseKPContainer(); }
    Texts read() const {
        HKPContainer container;
        read(container);
        return shown(container);
    }

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
    container.addKPKernel("k2", "", "", "", "", {}, false, false, false, false, false, false, false, false);
    const std::string kernels = R"(  <Kernels>
    <Kernel Name="k&lt;1&gt;" Dir="d" IP="ip_repo" TopIpDir="." ProjectID="pü" Debug="yes")"
                                R"( Hls="no" Pdi="yes" ShimSoln="no" SwEmu="yes">
      <SupportedFlows>
        <SupportedFlow>SYSTEM</SupportedFlow>
        <SupportedFlow>HW_EMU</SupportedFlow>
      </SupportedFlows>
    </Kernel>
    <Kernel Name="k2" Dir="" IP="" TopIpDir="" ProjectID="" Debug="no")"
                                R"( Hls="no" Pdi="no" ShimSoln="no" SwEmu="no">
      <SupportedFlows/>
    </Kernel>
  </Kernels>
</Root>
)";
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
    pack(path_, {{"a/kernel.xml", kernelXml("language='IP' debug='TRUE'")},
                 {"b/kernel.xml", kernelXml("language='c' debug='1'")},
                 {"caf\xE9/kernel.xml", kernelXml("")}});
    HKPContainer written;
    written.addKPKernel("a", "dir", "repo", "top", "p",
                        {HKPKernel::SYSTEM, HKPKernel::HW_EMU, HKPKernel::CPU_EMU}, true, false, true, false,
                        true, true, true, false);
    written.addKPKernel("b", "", "", ".", "", {}, false, true, false, true, false, false, false, false);
    written.addIpCacheIfUnique("c1");
    HKPContainerXMLWriter(written, path_).writeKPContainer(true);
    HKPContainer back;
    read(back);
    EXPECT_EQ(shown(back), shown(written));
    EXPECT_EQ(back.getVersionMajor(), 6U);
    EXPECT_EQ(back.getSoftwareVersionMajor(), 2020U);
    EXPECT_TRUE(back.getIsIpCacheDir());
    EXPECT_EQ(member("b/kernel.xml"), kernelXml("language='c' debug='1'"));

    addEntry(written, "caf\xE9");  // a name that is no UTF-8 has no place in a manifest
    EXPECT_EQ(failureOf<HEXAll>([&] { HKPContainerXMLWriter(written, path_).writeKPContainer(true); }),
              "[17-1377] Failed to write XML: 'Name' holds a character that XML cannot carry: " + path_);
    written.removeKPKernel(written.getKPKernelByName("caf\xE9"));
    written.getKPKernelByName("b")->setSupportedFlows({static_cast<Flow>(3), HKPKernel::CPU_EMU});
    HKPContainerXMLWriter(written, path_).writeKPContainer(false);
    EXPECT_EQ(messages_.texts(),
              Texts{"17-1313: Unknown flow number 3 is left out of the manifest of '" + path_ + "'"});
    EXPECT_EQ(read().back(), "b|||.||sw_emu,|hlsDir|shimDir");
}

TEST_F(Manifest, IsReadLeniently) {
    pack(path_,
         {{"kp.xml",
           "<Root VersionMajor='9' VersionMinor='3' IpCache='YES' Origin='x'>\n<Signature><By/></Signature>\n"
           "<Kernels><Kernel Name='K' Hls='yes'><SupportedFlows><SupportedFlow>SYSTEM</SupportedFlow>"
           "</SupportedFlows></Kernel>\n<Kernel Name='b' Debug='true' Pdi='Yes' Color='red'/>\n"
           "<Kernel Name='k' Debug='YES' TopIpDir='t'><SupportedFlows><SupportedFlow>HW_EMU</SupportedFlow>"
           "<SupportedFlow>QUANTUM</SupportedFlow><SupportedFlow> CPU_EMU </SupportedFlow><SupportedFlow/>"
           "</SupportedFlows></Kernel></Kernels></Root>"},
          {"K/kernel.xml", kernelXml("language='ip'")},
          {"k/kernel.xml", kernelXml("debug='True'")},
          {"b/kernel.xml", kernelXml("debug='yes'")}});
    HKPContainer container;
    container.setSoftwareVersionMajor(5);
    read(container);
    EXPECT_EQ(shown(container), (Texts{"b||||||pdiDir", "k|||t||hw_emu,sw_emu,|debug|debugDir"}));
    EXPECT_EQ(container.getVersionMajor(), 9U);
    EXPECT_EQ(container.getVersionMinor(), 3U);
    EXPECT_EQ(container.getSoftwareVersionMajor(), 0U);
    EXPECT_TRUE(container.getIsIpCacheDir());
    const std::string known = "' is not known; it is ignored", at = "17-1314: " + path_;
    const std::string flow = "17-1312: Unknown flow number 0 in the manifest of '" + path_ + "' is ignored";
    EXPECT_EQ(messages_.texts(),
              (Texts{at + ":1: attribute 'Origin' of element 'Root" + known,
                     at + ":2: element 'Signature' is not known in 'Root'; it is ignored",
                     at + ":4: attribute 'Color' of element 'Kernel" + known, flow, flow}));
}

TEST_F(Manifest, CachesAreUniqueByTheirVeryTextAndTheFlagFollowsItsAttributeAlone) {
    for (const auto& [attribute, flag] :
         {std::pair<std::string, bool>{"", false}, {"IpCache='no'", false}, {"IpCache='yEs'", true}}) {
        pack(path_, {{"kp.xml", "<Root VersionMajor='6' VersionMinor='0' " + attribute +
                                    "><IpCaches><Cache CacheDir='a'/><Cache CacheDir='a'/><Cache/>"
                                    "<Cache CacheDir='A'/></IpCaches><Kernels/></Root>"}});
        HKPContainer container;
        read(container);
        EXPECT_EQ(container.getIsIpCacheDir(), flag) << attribute;
        EXPECT_FALSE(container.addIpCacheIfUnique("a") || container.getIsIpCacheDir() != flag);
        EXPECT_TRUE(container.addIpCacheIfUnique("a/") && container.getIsIpCacheDir());
        const auto [first, last] = container.getIpCachesRange();
        EXPECT_EQ(Texts(first, last), (Texts{"a", "", "A", "a/"}));
    }
}

TEST_F(Manifest, WhatCannotBeReadIsRefused) {
    const std::string root = "<Root VersionMajor='6' VersionMinor='0'>";
    const std::string kernels = root + "<Kernels><Kernel Name='k'/></Kernels></Root>";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"<Root VersionMajor='6'><Kernels/></Root>", "",
         "1: element 'Root' lacks its required attribute 'VersionMinor'"},
        {root + "<Kernels/><IpCaches/></Root>", "",
         "1: element 'IpCaches' of 'Root' must stand before 'Kernels'"},
        {"<root/>", "", "1: the document element is 'root', not 'Root'"},
        {"", "", "1: no element found"},
        {kernels, "<root>", "1: element 'root' lacks its required attribute 'versionMajor'"},
    };
    for (const auto& [manifest, kernel, error] : cases) {
        pack(path_, {{"kp.xml", manifest}, {"k/kernel.xml", kernel}});
        EXPECT_EQ(failureOf<HEXAll>([&] { read(); }), "[17-132] " + path_ + ":" + error);
    }
    pack(path_, {{"kp.xml", kernels}});
    EXPECT_THROW(read(), std::ios_base::failure);
    pack(path_, {{"k/kernel.xml", kernelXml("")}});
    EXPECT_THROW(read(), std::ios_base::failure);
    directory_.file("k.kp", "no archive");
    EXPECT_THROW(read(), HEXAlgException);
    std::filesystem::remove(path_);
    EXPECT_THROW(read(), HEXAlgException);
}

TEST_F(Manifest, CannotBeWrittenWhereThereIsNoPackage) {
    const auto write = [](const std::string& path) {
        HKPContainerXMLWriter(HKPContainer(), path).writeKPContainer(true);
    };
    for (const std::string& path : {directory_ / "no/k.kp", directory_.file("text.kp", "no archive")})
        EXPECT_EQ(failureOf<HXMLException>([&] { write(path); }),
                  "Failed to open '" + path + "' for writing\n");
    EXPECT_EQ(TemporaryDirectory::read(directory_ / "text.kp"), "no archive");
    for (const char* version : {"x.1", "2020", "-1.0", "2020.1b"}) {
        const Environment unusable("KP_SOFTWARE_VERSION", version);
        EXPECT_THROW(write(path_), std::invalid_argument) << version;
    }
    const Environment unusable("KP_SOFTWARE_VERSION", "4294967296.0");
    EXPECT_THROW(write(path_), std::out_of_range);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(Manifest, DescriptionsAreReadStraightFromThePackage) {
    pack(path_, {{"a/kernel.xml", kernelXml("name='n' language='c' debug='tRUE'")},
                 {"b/kernel.xml", kernelXml("")}});
    HCOContainerKernelXMLReader a(path_, "a"), b(path_, "b"), c(path_, "c");
    EXPECT_EQ(a.getKernelDef().name + a.getKernelLanguage() + b.getKernelLanguage(), "nc");
    EXPECT_TRUE(a.getDebug() && !b.getDebug());
    EXPECT_THROW(c.getDebug(), std::ios_base::failure);
    for (const std::string& missing : {std::string(), directory_ / "x.kp"})
        EXPECT_THROW(HCOContainerKernelXMLReader(missing, "a").parse(), HEXFileNotFoundException);
}

}  // namespace
