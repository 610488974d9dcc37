#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "tests/containers/PackageTest.h"
#include "tests/support/Faults.h"

#include <random>
#include <tuple>

namespace {

TEST(HKPContainer, AddingMergesOrReplaces) {
    HKPContainer container;
    const auto addOld = [&](const std::string& name, bool replace) {
        return container.addKPKernel(name, "d2", "i2", "t2", "p2", {HKPKernel::SYSTEM}, false, true, true,
                                     false, false, true, true, replace);
    };
    container.addKPKernel("Old", "d", "i", "t", "p", {HKPKernel::HW_EMU, HKPKernel::HW_EMU}, true, false,
                          false, true, true, false, false, false);
    const HKPKernel* other = addEntry(container, "a-name-too-long-for-a-short-string-to-hold");
    addEntry(container, other->getName());  // an argument may be the entry's own
    const std::string kept = "Old|d|i|t|p|hw_emu,hw_emu,|debug|debugDir", both = shown(container)[1];
    EXPECT_EQ(shown(container), (Texts{kept + "|shimDir", both}));
    addOld("oLD", false);
    EXPECT_EQ(shown(container), (Texts{both, kept + "|pdiDir|shimDir"}));
    addOld("oLD", true);
    EXPECT_EQ(shown(container), (Texts{both, "oLD|d2|i2|t2|p2|hw,|rtl|hlsDir|pdiDir|swEmuDir"}));
    HKPKernel* const removed = container.getKPKernelByName("Old");
    EXPECT_EQ(container.removeKPKernel(removed)->getName(), "oLD");  // and so ends its life
    EXPECT_EQ(container.removeKPKernel(removed), nullptr);
    EXPECT_EQ(shown(container), Texts{both});
}

TEST(HKPContainer, NamesAreFoundAfterAnyChanges) {
    std::mt19937 random(5);
    const auto anyName = [&] {
        return std::string(1, static_cast<char>((random() % 2 == 0 ? 'a' : 'A') + random() % 8));
    };
    HKPContainer container;
    for (int step = 0; step < 20000; ++step) {
        const std::string name = anyName();
        const auto [first, last] = container.getKPKernelRange();
        const auto found = std::find_if(first, last, [&](const auto& kernel) {
            return HSTStringUtils::equalsIgnoreCase(kernel->getName(), name);
        });
        HKPKernel* kernel = container.getKPKernelByName(name);
        ASSERT_EQ(kernel, found == last ? nullptr : found->get()) << "step " << step;
        const unsigned change = random() % 3;
        if (change == 0 || kernel == nullptr)
            addEntry(container, name);
        else if (change == 1)
            kernel->setName(anyName());  // may meet the name of another
        else
            ASSERT_EQ(container.removeKPKernel(kernel).get(), kernel);
    }
}

class Manifest : public PackageTest {
protected:
    Texts read() const {
        HKPContainer container;
        HKPContainerXMLReader(package_, container).parseKPContainer();
        return shown(container);
    }

    const Environment version_{"KP_SOFTWARE_VERSION", "2020.1"};
};

TEST_F(Manifest, ExactTextOfBothLayouts) {
    pack(package_, {{"k<1>/kernel.xml", kernelXml("language='IP' debug='TRUE'")}});
    HKPContainer container;
    container.setVersionMajor(77);  // is not what is written
    HKPKernel* kernel = container.addKPKernel("k<1>", "d", "ip_repo", ".", "p\xC3\xBC",
                                              {HKPKernel::SYSTEM, HKPKernel::CPU_EMU}, true, false, true,
                                              false, true, true, true, false);
    const HKPContainerXMLWriter writer(container, package_);
    writer.writeKPContainer(false);
    EXPECT_EQ(member("kp.xml"), expected("manifest-2.xml"));
    container.addIpCacheIfUnique("ip_cache/a");
    const Environment later("KP_SOFTWARE_VERSION", "2031.12");
    writer.writeKPContainer(true);
    EXPECT_EQ(member("kp.xml"), expected("manifest-6.xml"));
    EXPECT_EQ(read(), shown(container));
    EXPECT_EQ(messages_.texts(), Texts{});

    kernel->setSupportedFlows({static_cast<HKPKernel::SupportedFlowType>(3)});
    const std::string before = member("kp.xml");
    writer.writeKPContainer(true);
    EXPECT_EQ(member("kp.xml"), before);
    EXPECT_EQ(messages_.texts(),
              Texts{"17-1313: Unknown flow number 3 is left out of the manifest of '" + package_ + "'"});
}

TEST_F(Manifest, IsReadLeniently) {
    pack(package_,
         {{"kp.xml",
           "<Root VersionMajor='9' VersionMinor='3' IpCache='no' Origin='x'>\n<Signature>s<By/></Signature>\n"
           "<Kernels><Kernel Name='b'/><Kernel Name='Z' "
           "Hls='yes'><SupportedFlows><SupportedFlow>SYSTEM</SupportedFlow>"
           "</SupportedFlows></Kernel>\n<Kernel Name='b' Debug='true' Pdi='Yes' Color='red'/>\n"
           "<Kernel Name='z' Debug='YES' TopIpDir='t'><SupportedFlows><SupportedFlow>HW_EMU</SupportedFlow>"
           "<SupportedFlow>QUANTUM</SupportedFlow><SupportedFlow> CPU_EMU </SupportedFlow><SupportedFlow/>"
           "</SupportedFlows></Kernel></Kernels>"
           "<IpCaches><Cache CacheDir='a'/><Cache CacheDir='a'/><Cache/><Cache "
           "CacheDir='A'/></IpCaches></Root>"},
          {"Z/kernel.xml", kernelXml("language='ip'")},
          {"z/kernel.xml", kernelXml("debug='True'")},
          {"b/kernel.xml", kernelXml("debug='yes'")}});
    HKPContainer container;
    container.setSoftwareVersionMajor(5);
    Texts described;
    HKPContainerXMLReader(package_, container).parsePackage([&](const std::string& name, auto&) {
        described.push_back(name);
    });
    EXPECT_EQ(described, (Texts{"b", "Z", "z"})) << "each once";
    EXPECT_EQ(shown(container), (Texts{"b||||||pdiDir", "z|||t||hw_emu,sw_emu,|debug|debugDir"}));
    EXPECT_EQ(container.getVersionMajor() * 10 + container.getVersionMinor(), 93U);
    EXPECT_EQ(container.getSoftwareVersionMajor(), 0U);
    EXPECT_FALSE(container.addIpCacheIfUnique("a") || container.getIsIpCacheDir()) << "as the attribute says";
    EXPECT_TRUE(container.addIpCacheIfUnique("a/") && container.getIsIpCacheDir());
    const auto [first, last] = container.getIpCachesRange();
    EXPECT_EQ(Texts(first, last), (Texts{"a", "", "A", "a/"}));
    const std::string known = "' is not known; it is ignored", at = "17-2005: " + package_;
    const std::string flow =
        "17-1312: Unknown flow number 0 in the manifest of '" + package_ + "' is ignored";
    EXPECT_EQ(messages_.texts(),
              (Texts{at + ":1: attribute 'Origin' of element 'Root" + known,
                     at + ":2: element 'Signature' is not known in 'Root'; it is ignored",
                     at + ":4: attribute 'Color' of element 'Kernel" + known, flow, flow}));
}

TEST_F(Manifest, WhatCannotBeReadIsRefused) {
    const std::string root = "<Root VersionMajor='6' VersionMinor='0'>";
    const std::string kernels = root + "<Kernels><Kernel Name='k'/></Kernels></Root>";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {root + "<IpCaches/>\n<Kernels/><IpCaches/></Root>", "",
         "2: element 'IpCaches' occurs more than once in 'Root'"},
        {root + "<IpCaches/>\n</Root>", "", "2: element 'Root' lacks its required element 'Kernels'"},
        {kernels, "<root>", "1: element 'root' lacks its required attribute 'versionMajor'"},
    };
    for (const auto& [manifest, kernel, error] : cases) {
        pack(package_, {{"kp.xml", manifest}, {"k/kernel.xml", kernel}});
        EXPECT_EQ(failureOf<HEXAll>([&] { read(); }), "[17-132] " + package_ + ":" + error);
    }
    pack(package_, {{"kp.xml", kernels}});
    EXPECT_THROW(read(), std::ios_base::failure) << "a kernel without a description";
    std::filesystem::remove(package_);
    EXPECT_THROW(read(), HEXAlgException);
    EXPECT_THROW(HCOContainerKernelXMLReader(package_, "k").getDebug(), HEXFileNotFoundException);
}

TEST_F(Manifest, CannotBeWrittenWhereThereIsNoPackage) {
    const auto write = [](const std::string& path) {
        HKPContainerXMLWriter(HKPContainer(), path).writeKPContainer(true);
    };
    const std::string path = directory_.file("text.kp", "no archive");
    EXPECT_EQ(failureOf<HXMLException>([&] { write(path); }), "Failed to open '" + path + "' for writing\n");
    EXPECT_EQ(TemporaryDirectory::read(path), "no archive");
    for (const char* version : {"x.1", "2020", "-1.0", "2020.1b", "4294967296.0"}) {
        const Environment unusable("KP_SOFTWARE_VERSION", version);
        EXPECT_THROW(write(package_), std::logic_error) << version;
    }
    EXPECT_FALSE(std::filesystem::exists(package_));
    write(package_);
    const std::string before = TemporaryDirectory::read(package_);
    const disk::DiskFaults faults(always("rename", EROFS));
    EXPECT_THAT(failureOf<HEXAll>([&] { write(package_); }),
                testing::MatchesRegex("\\[17-1310\\] The package manifest could not be written: "
                                      "Failed to rename '.*': Read-only file system"));
    EXPECT_EQ(TemporaryDirectory::read(package_), before);
    EXPECT_EQ(messages_.texts(), Texts{"17-1310: The package manifest could not be written"});
}

}  // namespace
