// Whole operations on real packages: adding, replacing, updating, opening, validating, verifying.

#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageVerification.h"
#include "platform/files/Disk.h"
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

    void changeManifest(const std::function<void(HKPContainer&)>& change) const {
        HKPContainer container;
        HKPContainerUtils::parseKPContainerIntoObject_(package_, container);
        change(container);
        HKPContainerXMLWriter(container, package_).writeKPContainer(true);
    }

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
    const std::string start = "k1|k1|ip_repo/v_l_k1_1_0|top|p7|sw_emu,hw_emu,hw,|rtl";
    EXPECT_THAT(kernelsOf(package_), ElementsAre(start + "|debugDir|hlsDir|pdiDir|shimDir|swEmuDir"));
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1651@%s[" + full.debug + "]", "@17-1667@%s[" + full.hls + "]"));
    EXPECT_EQ(member("k1/ip.qmr"), "bytes of custom.qmr");
    EXPECT_THAT(member("k1/kernel.xml"), HasSubstr("<FIFOInformation/>"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    verifyClean();

    std::filesystem::remove(package_);
    messages_.clear();
    full.repo = false;
    full.add();
    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/ip/component.xml", "k1/ip/hdl/top.v", "kp.xml"));
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|k1/ip|top|p7|sw_emu,hw_emu,hw,|rtl|pdiDir|shimDir|swEmuDir"));
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
    const auto update = [&](Texts pdi, const std::string& shim) {
        Addition change{.package = package_, .name = "K1", .xml = "/nowhere", .ip = ""};
        change.pdi = std::move(pdi);
        change.shim = shim;
        change.project = "other";
        change.update = true;
        change.add();
    };
    update({}, file("old.shim"));
    update({directory_.file("same.pdi", "newer")}, "");
    EXPECT_EQ(member("k1/pdi/same.pdi"), "newer");
    EXPECT_TRUE(HUTZip::containsFile(package_, "k1/shim_soln/old.shim"));
    update({}, file("new.shim"));
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k1/pdi/old.pdi", "ip_repo/v_l_k1_1_0/component.xml",
                                       "ip_repo/v_l_k1_1_0/hdl/top.v", "k1/pdi/same.pdi",
                                       "k1/shim_soln/new.shim", "kp.xml"));
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|ip_repo/v_l_k1_1_0|top|p7|hw_emu,hw,|rtl|pdiDir|shimDir"));
    EXPECT_EQ(failureOf([&] { update({directory_ / "gone"}, ""); }),
              "Specified PDI File is not a file: '" + (directory_ / "gone") + "'");
    EXPECT_EQ(failureOf([&] { update({}, directory_ / "k1"); }),
              "Specified shim solution file is not a file: '" + (directory_ / "k1") + "'");
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

TEST_F(PackageTest, EveryFailingDiskCallOfAReplacementLeavesTheOldPackage) {
    kernel("k1").add();
    kernel("k2").add();
    Addition replacement = again(kernel("k1"));
    replacement.cpu = {file("a.cpp")};
    const auto before = directory_.files();
    int failing = 0;
    for (int calls = 1; calls >= failing;) {
        ++failing;
        calls = 0;
        directory_.file("p.kp", before.at("p.kp"));
        const std::string failure = failureOf([&] {
            const disk::DiskFaults faults(
                [&](std::string_view, const std::string&) { return ++calls == failing ? ENOSPC : 0; });
            replacement.add();
        });
        const auto after = directory_.files();
        EXPECT_EQ(after == before, failure != "nothing thrown") << "call " << failing << ": " << failure;
        EXPECT_EQ(after.size(), before.size()) << "call " << failing;
        if (after != before) verifyClean();
    }
    EXPECT_GT(failing, 20);
    EXPECT_TRUE(HUTZip::containsFile(package_, "k1/cpu_sources/a.cpp"));
}

TEST_F(PackageTest, TheFilesOfAnotherKernelAreNotTouched) {
    kernel("k1").add();
    kernel("k3").add();
    const auto refusal = [&](const std::string& name, const std::string& other) {
        return "Kernel '" + name + "' cannot be added to KP container '" + package_ + "' because kernel '" +
               other + "' uses its directory.\n";
    };
    const Addition replacement = again(kernel("k1"));
    const struct {
        const char* directory;
        Addition addition;
        std::string error;
    } rows[] = {{"K2", kernel("k2"), refusal("k2", "k1")},
                {"k3", replacement, refusal("k1", "k3")},
                {"..", replacement,
                 "The directory '..' of kernel 'k1' in '" + package_ +
                     "' cannot be changed: it is not one path component\n"}};
    for (const auto& row : rows) {
        changeManifest([&](HKPContainer& c) { c.getKPKernelByName("k1")->setDirectory(row.directory); });
        EXPECT_EQ(failureOf([&] { row.addition.add(); }), row.error);
    }
}

TEST_F(PackageTest, ValidatesForATarget) {
    Addition software = kernel("k1", "vlnv='v:l:k1:1' debug='TRUE'");
    software.cpu = {file("a.cpp")};
    software.hls = directory_ / "k1";
    software.add();
    kernel("k2").add();
    // The names, what is posted, and the failure.
    const auto validate = [&](HKPKernel::SupportedFlowType flow) {
        messages_.clear();
        Texts told;
        const std::string failure =
            failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(package_, flow, told); });
        for (const std::string& call : messages_.calls())
            told.push_back(call);
        told.push_back(failure);
        return told;
    };
    const std::string in = "' in '" + package_ + "' is ", posted = "@17-1682@%s[k1]";
    EXPECT_THAT(validate(HKPKernel::SYSTEM), ElementsAre("k1", "k2", "nothing thrown"));
    EXPECT_THAT(validate(HKPKernel::HW_EMU), ElementsAre("k1", "k2", posted, "nothing thrown"));
    EXPECT_THAT(
        validate(HKPKernel::CPU_EMU),
        ElementsAre("k1", posted, "The RTL kernel 'k2" + in + "not supported for CPU emulation target\n"));
    changeManifest([](HKPContainer& container) {
        addEntry(container, "k1")->setSupportedFlows({HKPKernel::SYSTEM, HKPKernel::CPU_EMU});
    });
    EXPECT_THAT(validate(HKPKernel::HW_EMU),
                ElementsAre("k2", "The kernel 'k1" + in +
                                      "not valid for the specified target 'hw_emu'. The valid target: hw, "
                                      "sw_emu\n"));
    changeManifest([](HKPContainer& container) { addEntry(container, "k2"); });
    EXPECT_THAT(validate(HKPKernel::SYSTEM),
                ElementsAre("k1", "The kernel 'k2" + in +
                                      "empty. Both the ip directory and the cpu sources directory cannot be "
                                      "empty for the kernel\n"));
}

TEST_F(PackageTest, ChecksTheSoftwareVersion) {
    const auto later = [](const std::string& path, const std::string& written, const std::string& running) {
        return "The KP file '" + path + "' was created in version " + written +
               ", which is later than the software version you are currently running: " + running +
               ". Forward compatibility is not supported\n";
    };
    const auto check = [](const char* running, std::uint32_t major, std::uint32_t minor) {
        const Environment version("KP_SOFTWARE_VERSION", running);
        return failureOf([&] { HKPContainerUtils::checkKPVersion_("p", major, minor); });
    };
    EXPECT_EQ(check("2020.1", 2020, 1), "nothing thrown");
    EXPECT_EQ(check("2020.1", 2019, 9), "nothing thrown");
    EXPECT_EQ(check("2020.1", 2020, 2), later("p", "2020.2", "2020.1"));
    EXPECT_EQ(check("2020.1", 2021, 0), later("p", "2021.0", "2020.1"));
    EXPECT_EQ(check("2020", 2021, 0), "nothing thrown");
    EXPECT_EQ(check(".1", 2021, 0), "nothing thrown");
    EXPECT_EQ(check("2020.x", 2019, 0), "The software version number 'x' is not a number");
    EXPECT_EQ(check("9999999999.1", 2019, 0), "The software version number '9999999999' is out of range");

    {
        const Environment version("KP_SOFTWARE_VERSION", "2021.3");
        kernel("k1").add();
    }
    Addition checked = kernel("k2");
    checked.checkVersion = true;
    EXPECT_EQ(failureOf([&] { checked.add(); }), later(package_, "2021.3", "2020.1"));
    kernel("k2").add();
}

TEST_F(PackageTest, ChecksTheDigestOncePerPathByFormat) {
    const struct {
        std::uint32_t major, minor;
        void (*attach)(const std::string&);
        bool posts;
    } rows[] = {
        {0, 9, HUTZip::attachDigestEn, true},  {1, 0, HUTZip::attachDigest, true},
        {1, 1, HUTZip::attachDigest, false},   {1, 1, HUTZip::attachDigestEn, true},
        {2, 0, HUTZip::attachDigestEn, false}, {6, 0, HUTZip::attachDigestEn, false},
        {2, 0, HUTZip::attachDigest, true},    {6, 0, [](const std::string&) {}, true},
    };
    for (const auto& row : rows) {
        const std::string path = directory_ / (std::to_string(&row - rows) + ".kp");
        pack(path, {{"a", "b"}});
        row.attach(path);
        for (const bool posts : {row.posts, false}) {
            messages_.clear();
            HKPContainerUtils::checkKPIntegrity_(path, row.major, row.minor);
            EXPECT_EQ(messages_.calls(), posts ? Texts{"@17-1396@%s[" + path + "]"} : Texts{});
        }
    }
}

TEST_F(PackageTest, VerificationTellsOfAnyLaterChange) {
    kernel("k1").add();
    const auto digestAfter = [&](const std::string& command) {
        EXPECT_EQ(std::system(("cd '" + directory_.path() + "' && " + command + " >/dev/null").c_str()), 0);
        return PackageVerification::digestText(PackageVerification::of(package_).digest);
    };
    EXPECT_EQ(digestAfter("zip -q p.kp k1/kernel.xml"), "mismatch");
    EXPECT_EQ(digestAfter("printf '' | zip -qz p.kp"), "missing");
    HUTZip::deleteFilesFromZip(package_, {"kp.xml"});
    EXPECT_EQ(PackageVerification::of(package_).findings.at(0).code, "manifest");
}

}  // namespace
