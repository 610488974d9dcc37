// Whole operations on real packages: adding, replacing, updating, opening, validating, verifying.

#include "containers/kp/PackageVerification.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/Failure.h"
#include "tests/support/Packages.h"

#include <cstdlib>
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PackageTest : public testing::Test {
protected:
    Addition kernel(const std::string& name, const std::string& attributes = "") const {
        return ipKernel(directory_, name, attributes);
    }
    /// The addition that puts the kernel in the place of the one of its name.
    static Addition again(Addition addition) {
        addition.replace = addition.update = true;
        return addition;
    }
    std::string file(const std::string& name) const { return inputFile(directory_, name); }

    Texts members() const { return isl::iostreams::zip::get_files(package_); }
    std::string member(const std::string& name) const { return ArchiveSnapshot::open(package_)->read(name); }

    void verifyClean() const {
        EXPECT_TRUE(PackageVerification::of(package_).isClean());
        EXPECT_EQ(std::system(("unzip -tqq '" + package_ + "' >/dev/null").c_str()), 0);
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    const std::string package_ = directory_ / "p.kp";
};

TEST_F(PackageTest, AddsEverythingThatTheLayoutCarries) {
    Addition full = fullKernel(directory_, "k1");
    full.report = directory_.file("design.xml", "<profile><FIFOInformation/></profile>");
    full.add();
    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/ip.qmr", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/pdi/x.pdi", "k1/shim_soln/shim.bin", "k1/debug/trace.txt",
                            "k1/hls/deep/solution.log", "ip_repo/v_l_k1_1_0/component.xml",
                            "ip_repo/v_l_k1_1_0/hdl/top.v", "kp.xml"));
    const std::string flows = "|top|p7|sw_emu,hw_emu,hw,|rtl", flags = "|pdiDir|shimDir|swEmuDir";
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|ip_repo/v_l_k1_1_0" + flows + "|debugDir|hlsDir" + flags));
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1651@%s[" + full.debug + "]", "@17-1667@%s[" + full.hls + "]"));
    EXPECT_EQ(member("k1/ip.qmr"), "bytes of custom.qmr");
    EXPECT_THAT(member("k1/kernel.xml"), HasSubstr("<FIFOInformation/>"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    verifyClean();

    const auto before = directory_.files();
    HKPContainerUtils::mergeKPs({package_, package_}, directory_ / "merged.kp");
    EXPECT_EQ(directory_.files(), before) << "merging is deliberately nothing";

    std::filesystem::remove(package_);
    messages_.clear();
    full.repo = false;
    full.add();
    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/ip/component.xml", "k1/ip/hdl/top.v", "kp.xml"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|k1/ip" + flows + flags));
    EXPECT_THAT(messages_.calls(), IsEmpty());
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 2U);
    verifyClean();
}

TEST_F(PackageTest, ReplacesAKernelAndLeavesNothingOfIt) {
    again(kernel("k1")).add();
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1864@", "@17-1868@", "@17-1867@"));
    HUTZip::compress(package_, {file("stale.cpp")}, "k2/cpu_sources");
    kernel("k2").add();
    messages_.clear();
    Addition renewed = kernel("k1", "vlnv='v:l:k1:2.0'");
    renewed.cpu = {file("a.cpp")};
    EXPECT_EQ(failureOf([&] { renewed.add(); }),
              "Kernel 'k1' already exists inside KP container '" + package_ + "'\n");
    again(renewed).add();
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1864@", "@17-1868@"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k2|k2|ip_repo/v_l_k2_1_0|top|p7|hw_emu,hw,|rtl",
                                                 "k1|k1|ip_repo/v_l_k1_2_0|top|p7|sw_emu,hw_emu,hw,"));
    EXPECT_THAT(members(),
                ElementsAre("k2/kernel.xml", "ip_repo/v_l_k2_1_0/component.xml",
                            "ip_repo/v_l_k2_1_0/hdl/top.v", "k1/kernel.xml", "k1/cpu_sources/a.cpp",
                            "ip_repo/v_l_k1_2_0/component.xml", "ip_repo/v_l_k1_2_0/hdl/top.v", "kp.xml"));
    verifyClean();
}

TEST_F(PackageTest, UpdatesOnlyDeviceImagesAndShimUnderTheFolderThatTheKernelHas) {
    Addition first = kernel("k1");
    first.pdi = {file("old.pdi"), file("same.pdi")};
    first.add();
    Addition change{.package = package_, .name = "K1", .xml = "/nowhere", .ip = "", .project = "other"};
    change.update = true;
    const auto update = [&](const Texts& pdi, const std::string& shim) {
        change.pdi = pdi;
        change.shim = shim;
        change.add();
    };
    update({}, file("old.shim"));
    update({directory_.file("same.pdi", "newer")}, "");
    EXPECT_EQ(member("k1/pdi/same.pdi"), "newer");
    EXPECT_EQ(member("k1/shim_soln/old.shim"), "bytes of old.shim");
    update({}, file("new.shim"));
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k1/pdi/old.pdi", "ip_repo/v_l_k1_1_0/component.xml",
                                       "ip_repo/v_l_k1_1_0/hdl/top.v", "k1/pdi/same.pdi",
                                       "k1/shim_soln/new.shim", "kp.xml"));
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|ip_repo/v_l_k1_1_0|top|p7|hw_emu,hw,|rtl|pdiDir|shimDir"));
    verifyClean();
}

TEST_F(PackageTest, KernelsOfOneVlnvShareOneIpDirectoryAndOneWithoutIsAlone) {
    kernel("k1").add();
    kernel("k2", "vlnv='V:L:k1:1.0'").add();
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1525@"));
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k2/kernel.xml", "ip_repo/V_L_k1_1_0/component.xml",
                                       "ip_repo/V_L_k1_1_0/hdl/top.v", "kp.xml"));
    EXPECT_EQ(member("ip_repo/V_L_k1_1_0/component.xml"), "bytes of k2/ip/component.xml");
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|ip_repo/V_L_k1_1_0|top|p7|hw_emu,hw,|rtl",
                                                 "k2|k2|ip_repo/V_L_k1_1_0|top|p7|hw_emu,hw,"));
    const auto refusal = [&](const std::string& name, const std::string& place, const std::string& taken) {
        return "The IP of kernel '" + name + "' cannot be placed in '" + place + "' of KP container '" +
               package_ + "' because the IP of kernel 'k1' is in '" + taken + "'; give each kernel a VLNV.\n";
    };
    const Addition bare = kernel("k3", "language='c'");
    EXPECT_EQ(failureOf([&] { bare.add(); }), refusal("k3", "ip_repo", "ip_repo/V_L_k1_1_0"));
    std::filesystem::remove(package_);
    kernel("k1", "language='c'").add();
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|ip_repo|top|p7|hw_emu,hw,"));
    EXPECT_EQ(failureOf([&] { kernel("k2").add(); }), refusal("k2", "ip_repo/v_l_k2_1_0", "ip_repo"));
}

TEST_F(PackageTest, PostsAndSkipsWhatIsNotThere) {
    Addition sparse = kernel("k1");
    sparse.cpu = {file("a.cpp")};
    sparse.debug = directory_ / "nowhere";
    sparse.hls = file("plain_file");
    sparse.ip = directory_ / "empty_ip";
    std::filesystem::create_directories(sparse.ip + "/only/folders");
    sparse.add();
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1650@%s[" + sparse.debug + "]", "@17-1666@%s[" + sparse.hls + "]",
                            "@17-1406@%s[" + sparse.ip + "]"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1||top|p7|sw_emu,|rtl"));
}

// Each row spoils one addition. Both a new and an existing package must stay what they were.
TEST_F(PackageTest, WhateverFailsChangesNothing) {
    const std::string gone = directory_ / "gone", xml = directory_ / "bad.xml";
    const auto described = [&](const std::string& text) {
        return [this, text](Addition& k) { k.xml = directory_.file("bad.xml", text); };
    };
    const auto noFile = [&](const std::string& what) {
        return "Specified " + what + " is not a file: '" + gone + "'";
    };
    const std::string failed = "Failed to add kernel 'kx' to KP container because the kernel ";
    std::vector<std::pair<std::function<void(Addition&)>, std::string>> rows = {
        {described(kernelXml("name='other'")),
         failed + "name 'other' defined in kernel.xml does not match.\n"},
        {[&](Addition& k) { k.xml = gone; }, "File not found: '" + gone + "'"},
        {described("<root versionMajor='1'\nversionMinor='2'>\n</rot>"),
         "[17-132] " + xml + ":3: mismatched tag"},
        {[&](Addition& k) { k.report = directory_.file("bad.xml", "<profile>\n<Bits/></profile>"); },
         "[17-132] " + xml + ":2: element 'Bits' is not known in 'profile'"},
        {[&](Addition& k) { k.cpu = {gone}; }, noFile("CPU File")},
        {[&](Addition& k) { k.swEmu = {gone}; }, noFile("sw_emu File")},
        {[&](Addition& k) { k.pdi = {gone}; }, noFile("PDI File")},
        {[&](Addition& k) { k.shim = gone; }, noFile("shim solution file")},
        {[&](Addition& k) { k.ip = ""; }, failed + "is empty.\n"},
        {described(kernelXml("name='kx' vlnv='a:../../b:c:d'")),
         "The VLNV 'a:../../b:c:d' of kernel 'kx' cannot be a directory: it holds a separator.\n"},
        {[&](Addition& k) { k.package += "/"; }, "'" + package_ + "/' cannot be the path of an archive"},
        {[&](Addition& k) { k.project = "a\x01"; },
         "[17-1377] Failed to write XML: 'ProjectID' holds a character that XML cannot carry: " + package_},
    };
    for (const auto& [name, reason] : {std::pair<std::string, const char*>{"", "it is empty"},
                                       {"../kx", "it is not one path component"},
                                       {"ip_repo", "the name is taken by the package itself"},
                                       {std::string(256, 'k'), "it is longer than 255 bytes"}})
        rows.emplace_back(
            [name = name](Addition& k) { k.name = name; },
            "Kernel '" + name + "' cannot be added to KP container '" + package_ + "': " + reason + ".\n");
    const TemporaryDirectory temporary;
    const Environment elsewhere("TMPDIR", temporary.path());
    file("bad.xml");
    for (const bool exists : {false, true}) {
        if (exists) kernel("k1").add();
        for (const auto& [spoil, error] : rows) {
            Addition spoilt = kernel("kx");
            spoil(spoilt);
            const auto before = directory_.files();
            EXPECT_EQ(failureOf([&] { spoilt.add(); }), error);
            EXPECT_EQ(directory_.files(), before) << error;
            EXPECT_TRUE(std::filesystem::is_empty(temporary.path())) << error;
        }
    }
}

TEST_F(PackageTest, TheFilesOfAnotherKernelAreNotTouched) {
    kernel("k1").add();
    kernel("k3").add();
    const auto failureWhere = [&](const char* directory, const Addition& addition, const char* ip = "") {
        changeManifest(package_, [&](HKPContainer& all) {
            all.getKPKernelByName("k1")->setDirectory(directory);
            all.getKPKernelByName("k1")->setIpDir(ip);
        });
        return failureOf([&] { addition.add(); });
    };
    const std::string because = "' cannot be added to KP container '" + package_ + "' because kernel '";
    EXPECT_EQ(failureWhere("K2", kernel("k2")), "Kernel 'k2" + because + "k1' uses its directory.\n");
    EXPECT_EQ(failureWhere("k1", again(kernel("k3")), "K3/ip/"),
              "Kernel 'k3" + because + "k1' uses its directory.\n");
    EXPECT_EQ(failureWhere("k3", again(kernel("k1"))), "Kernel 'k1" + because + "k3' uses its directory.\n");
    EXPECT_EQ(failureWhere("..", again(kernel("k1"))),
              "The directory '..' of kernel 'k1' in '" + package_ +
                  "' cannot be changed: it is not one path component\n");
}

TEST_F(PackageTest, ValidatesForATarget) {
    Addition software = kernel("k1", "vlnv='v:l:k1:1' debug='TRUE'");
    software.cpu = {file("a.cpp")};
    software.hls = directory_ / "k1";
    software.add();
    kernel("k2").add();
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

TEST_F(PackageTest, ChecksTheSoftwareVersion) {
    kernel("k1").add();
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
    Addition checked = kernel("k1");
    checked.checkVersion = true;
    const Environment version("KP_SOFTWARE_VERSION", "2019.12");
    EXPECT_EQ(failureOf([&] { checked.add(); }), later + "2019.12" + end);
    Texts errors;
    EXPECT_FALSE(HKPContainerUtils::extractKernelFromKP(package_, "k1", directory_ / "out", errors));
    EXPECT_THAT(errors, ElementsAre(later + "2019.12" + end));
    EXPECT_FALSE(std::filesystem::exists(directory_ / "out"));
    kernel("k2").add();
}

TEST_F(PackageTest, ADigestThatDoesNotFitTheFormatIsPostedOncePerPath) {
    kernel("k1").add();
    EXPECT_EQ(checkPackageDigest(package_, 2, 0), PackageDigest::Valid);
    EXPECT_EQ(checkPackageDigest(package_, 1, 1), PackageDigest::Missing);
    HUTZip::attachDigest(package_);
    EXPECT_EQ(checkPackageDigest(package_, 1, 1), PackageDigest::Valid);
    EXPECT_EQ(checkPackageDigest(package_, 1, 0), PackageDigest::Missing);
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1396@%s[" + package_ + "]"));
}

}  // namespace
