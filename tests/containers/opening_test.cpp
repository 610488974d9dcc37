// Whole operations on real packages: opening, judging and closing them.

#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/PackageSeal.h"
#include "platform/zip/HUTZip.h"
#include "tests/containers/PackageTest.h"
#include "tests/support/Faults.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using OpeningTest = PackageTest;

TEST_F(OpeningTest, WhoHoldsAVersionHasItOpenAndReadsIt) {
    add(kernel("k1"));
    HKPContainer container;
    const auto explorer = HKPContainerUtils::getInfo(package_);
    EXPECT_NE(explorer->getKernelDefRoot("k1"), "");
    HCOContainerKernelXMLReader(package_, "k1").parse();
    HKPContainerUtils::requirePlaceForKernel(kernel("k2"));
    EXPECT_THAT(openFiles(), IsEmpty());
    const auto version = HKPContainerUtils::openKPContainer_(package_, container);
    const std::string before = member("k1/kernel.xml");
    std::filesystem::remove(package_);
    EXPECT_FALSE(HKPContainerUtils::parseKPContainerIntoObject_(package_, container));
    EXPECT_THAT(openFiles(), ElementsAre(package_ + " (deleted)"));
    EXPECT_EQ(version->read("k1/kernel.xml"), before);
}

// What is no package is told by its own fault, whoever reads it.
TEST_F(OpeningTest, WhatIsNoPackageIsToldAsWhatItIs) {
    const std::string root = "<Root VersionMajor='6' VersionMinor='0'><Kernels>", end = "</Kernels></Root>";
    const std::string noArchive = "'" + package_ + "' is not a readable archive: ";
    const std::string noEnd = noArchive + "it has no end of directory record";
    const auto write = [&](const std::string& bytes) {
        return [=, this] { directory_.file("p.kp", bytes); };
    };
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[] {}, "Failed to open '" + package_ + "': No such file or directory"},
        {[&] { std::filesystem::create_directory(package_); }, noArchive + "it is not a file"},
        {write(""), noEnd},
        {write(" " + root + end), noEnd},
        {write("<"), "[17-132] " + package_ + ":1: unclosed token"},
        {write(root + end), "nothing thrown"},
        {write(root + "<Kernel Name='k'/>" + end),
         "'k/kernel.xml' of the archive '" + package_ + "' is not open: " + noEnd},
        {[&] {
             pack(package_, {{"x", ""}});
         },
         "'" + package_ + "' has no kp.xml, so it is no kernel package"},
    };
    for (const auto& [make, error] : rows) {
        std::filesystem::remove_all(package_);
        make();
        HKPContainer container;
        EXPECT_EQ(failureOf([&] { HKPContainerXMLReader(package_, container).parseKPContainer(); }), error);
    }
}

TEST_F(OpeningTest, AVerificationThatIsCalledOffFindsNothing) {
    add(kernel("k1"));
    int calledOff = 0;
    atEachCall(callOff, [&](const auto& disaster) {
        const disk::DiskFaults faults(disaster);
        try {
            EXPECT_TRUE(PackageVerification::of(package_).isClean()) << calledOff;
        } catch (const HEXInterrupted&) {
            ++calledOff;
        }
        HUTInterrupt::clear();
    });
    EXPECT_GT(calledOff, 5);
}

// Whoever seals a package vouches for all that is in it.
TEST_F(OpeningTest, ABrokenSealIsRenewedOnlyWhereThatIsAsked) {
    const std::string manifest =
        "<Root VersionMajor='6' VersionMinor='0'><Kernels><Kernel Name='k1' Dir='k1'/></Kernels></Root>";
    const auto leaveUnsealed = [&] {
        pack(package_, {{"k1/kernel.xml", kernelXml("name='k1'")}, {"kp.xml", manifest}});
    };
    const auto change = [&] {
        std::filesystem::remove(package_);
        add(kernel("k1"));
        ArchiveEdit::run(package_, [](ArchiveEdit& edit) { edit.addBytes("k1/foreign", "x"); });
    };
    const std::pair<std::function<void()>, std::string> rows[] = {
        {leaveUnsealed, "is missing"},
        {change, "does not hold: the package was changed since it was sealed"}};
    file("caches/c/one.qmr");
    const std::string caches = directory_ / "caches", joined = directory_ / "joined.kp";
    const std::function<void(BrokenSeal)> operations[] = {
        [&](BrokenSeal brokenSeal) {
            KernelAddition second = kernel("k2");
            second.brokenSeal = brokenSeal;
            add(second);
        },
        [&](BrokenSeal brokenSeal) {
            HKPContainerUtils::appendIPCacheDir(
                {.kpPath = package_, .directory = caches, .brokenSeal = brokenSeal});
        },
        [&](BrokenSeal brokenSeal) {
            HKPContainerUtils::removeKernels({package_, {"k1"}, brokenSeal});
        },
        [&](BrokenSeal brokenSeal) {
            HKPContainerUtils::joinPackages(
                {.kpPath = joined, .inputs = {package_}, .brokenSeal = brokenSeal});
            std::filesystem::rename(joined, package_);
        }};
    for (const auto& [breakSeal, reason] : rows) {
        for (const auto& operation : operations) {
            const auto failureWith = [&, &spoil = breakSeal](BrokenSeal brokenSeal) {
                spoil();
                return failureOf([&] { operation(brokenSeal); });
            };
            const auto isValid = [&] { return HUTZip::checkIntegrityEn(package_) == 0; };
            EXPECT_EQ(failureWith(BrokenSeal::Refuse), "The digest of '" + package_ + "' " + reason + "\n");
            EXPECT_EQ(failureWith(BrokenSeal::Leave), "nothing thrown");
            EXPECT_FALSE(isValid()) << reason << &operation - operations;
            EXPECT_EQ(failureWith(BrokenSeal::Renew), "nothing thrown");
            EXPECT_TRUE(isValid()) << reason << &operation - operations;
        }
    }
    change();
    HKPContainerUtils::appendIPCacheDir(package_, directory_ / "caches");
    EXPECT_EQ(HUTZip::checkIntegrityEn(package_), 2);
}

TEST_F(OpeningTest, ValidatesForATarget) {
    KernelAddition software = kernel("k1", "vlnv='v:l:k1:1' debug='TRUE'");
    software.cpuFiles = {file("a.cpp")};
    software.hlsDir = directory_ / "k1";
    add(software);
    add(kernel("k2"));
    Texts names;
    const auto failureFor = [&](HKPKernel::SupportedFlowType flow) {
        names.clear();
        messages_.clear();
        return failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(package_, flow, names); });
    };
    const std::string in = "' in '" + package_ + "' is ";
    EXPECT_EQ(failureFor(HKPKernel::HW_EMU), "nothing thrown");
    EXPECT_THAT(names, ElementsAre("k1", "k2"));
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1682@%s[k1]"));
    EXPECT_EQ(failureFor(HKPKernel::CPU_EMU),
              "The RTL kernel 'k2" + in + "not supported for CPU emulation target\n");
    EXPECT_THAT(names, ElementsAre("k1"));
    changeManifest(package_, [](HKPContainer& container) {
        addEntry(container, "k1")->setSupportedFlows({HKPKernel::SYSTEM, HKPKernel::CPU_EMU});
        addEntry(container, "k2");
    });
    EXPECT_EQ(failureFor(HKPKernel::HW_EMU),
              "The kernel 'k1" + in +
                  "not valid for the specified target 'hw_emu'. The valid target: hw, sw_emu\n");
    EXPECT_EQ(failureFor(HKPKernel::SYSTEM),
              "The kernel 'k2" + in +
                  "empty. Both the ip directory and the cpu sources directory cannot be empty for the "
                  "kernel\n");
}

TEST_F(OpeningTest, ChecksTheSoftwareVersion) {
    add(kernel("k1"));
    const std::string later = "The KP file '" + package_ +
                              "' was created in version 2020.1, which is later than the software version you "
                              "are currently running: ",
                      end = ". Forward compatibility is not supported\n";
    const std::pair<const char*, std::string> rows[] = {
        {"2020.0", later + "2020.0" + end},
        {"2019.12", later + "2019.12" + end},
        {"2021.0", "nothing thrown"},
        {"2020.1", "nothing thrown"},
        {"2019", "nothing thrown"},
        {".1", "nothing thrown"},
        {"2020.x", "The software version number 'x' is not a number"},
        {"9999999999.1", "The software version number '9999999999' is out of range"}};
    for (const auto& [running, error] : rows) {
        const Environment version("KP_SOFTWARE_VERSION", running);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::checkKPVersion_(package_, 2020, 1); }), error);
    }
    KernelAddition checked = kernel("k1");
    checked.checkVersion = true;
    const Environment version("KP_SOFTWARE_VERSION", "2019.12");
    EXPECT_EQ(failureOf([&] { add(checked); }), later + "2019.12" + end);
    Texts errors;
    EXPECT_FALSE(HKPContainerUtils::extractKernelFromKP(package_, "k1", directory_ / "out", errors));
    EXPECT_THAT(errors, ElementsAre(later + "2019.12" + end));
    EXPECT_FALSE(std::filesystem::exists(directory_ / "out"));
    add(kernel("k2"));
}

TEST_F(OpeningTest, ADigestThatDoesNotFitTheFormatIsPostedOncePerPath) {
    add(kernel("k1"));
    const auto digestOf = [&](std::uint32_t major, std::uint32_t minor) {
        return PackageSeal{package_, nullptr, major, minor}.verify();
    };
    EXPECT_EQ(digestOf(2, 0), DigestVerdict::Valid);
    EXPECT_EQ(digestOf(1, 1), DigestVerdict::Missing);
    HUTZip::attachDigest(package_);
    EXPECT_EQ(digestOf(1, 1), DigestVerdict::Valid);
    EXPECT_EQ(digestOf(1, 0), DigestVerdict::Missing);
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1396@%s[" + package_ + "]"));
}

}  // namespace
