// Whole operations on real packages: adding, replacing, updating, opening, validating, verifying.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageVerification.h"
#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <filesystem>
#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string kernelXml(const std::string& name, const std::string& vlnv, const std::string& more = "") {
    return "<root versionMajor=\"1\" versionMinor=\"10\"><kernel name=\"" + name + "\" vlnv=\"" + vlnv +
           "\" " + more + "><ports/><args/></kernel></root>";
}

/// The arguments of one addition, with what most tests want.
struct Kernel {
    std::string package, name, xml, ip;
    std::vector<std::string> cpu{}, pdi{}, swEmu{};
    std::string shim{}, report{}, instance{}, project = "p7", topIp = "top", debug{}, hls{};
    bool repo = true, replace = false, update = false, checkVersion = false;

    void add() const {
        HKPContainerUtils::addKernelToKPContainer(package, name, xml, ip, cpu, pdi, swEmu, shim, report,
                                                  instance, project, topIp, debug, hls, repo, replace, update,
                                                  checkVersion);
    }
};

std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "(no failure)";
}

class PackageTest : public testing::Test {
protected:
    /// A kernel with IP, every input file of its own below a folder of its name.
    Kernel kernel(const std::string& name, const std::string& package = "p.kp") const {
        directory_.file(name + "/ip/component.xml", "<component>" + name + "</component>");
        directory_.file(name + "/ip/hdl/top.v", "module " + name + "; endmodule");
        return {.package = directory_ / package,
                .name = name,
                .xml = directory_.file(name + "/kernel.xml",
                                       kernelXml(name, "v:l:" + name + ":1.0", "language=\"ip\"")),
                .ip = directory_ / (name + "/ip")};
    }

    std::string file(const std::string& name) const { return directory_.file(name, "bytes of " + name); }

    std::vector<std::string> members() const { return isl::iostreams::zip::get_files(directory_ / "p.kp"); }
    std::string member(const std::string& name) const {
        return ArchiveSnapshot::open(directory_ / "p.kp")->read(name);
    }

    /// One line a kernel: name, directory, IP, top IP, project, flows, and the flags that are set.
    std::vector<std::string> listed() const {
        HKPContainer container;
        HKPContainerUtils::parseKPContainerIntoObject_(directory_ / "p.kp", container);
        std::vector<std::string> lines;
        const auto [first, last] = container.getKPKernelRange();
        for (auto entry = first; entry != last; ++entry) {
            const HKPKernel& kernel = **entry;
            std::string line = kernel.getName() + "|" + kernel.getDirectory() + "|" + kernel.getIpDir() +
                               "|" + kernel.getTopIpDir() + "|" + kernel.getProjectID() + "|";
            const auto [firstFlow, lastFlow] = kernel.getSupportedFlowRange();
            for (auto flow = firstFlow; flow != lastFlow; ++flow)
                line += HKPKernel::getFlowAsStr(*flow) + " ";
            line += "|";
            if (kernel.isRtlKernel()) line += "rtl ";
            if (kernel.isDebug()) line += "debug ";
            if (kernel.getIsDebugDir()) line += "debugdir ";
            if (kernel.getIsHlsDir()) line += "hls ";
            if (kernel.getIsPdiDir()) line += "pdi ";
            if (kernel.getIsShimSolnDir()) line += "shim ";
            if (kernel.getIsSwEmuDir()) line += "swemu ";
            lines.push_back(line);
        }
        return lines;
    }

    void verifyClean() const {
        const PackageVerification verification = PackageVerification::of(directory_ / "p.kp");
        EXPECT_EQ(PackageVerification::digestText(verification.digest), "valid");
        for (const PackageFinding& finding : verification.findings)
            ADD_FAILURE() << finding.code << ": " << finding.text;
        EXPECT_EQ(std::system(("unzip -tqq '" + (directory_ / "p.kp") + "' >/dev/null").c_str()), 0);
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
};

TEST_F(PackageTest, AddsEverythingInTheRepositoryLayout) {
    Kernel full = kernel("k1");
    full.cpu = {file("a.cpp"), file("b.cpp")};
    full.pdi = {file("x.pdi")};
    full.swEmu = {file("emu.so")};
    full.shim = file("shim.bin");
    full.instance = file("custom.qmr");
    full.debug = directory_ / "debug_in";
    file("debug_in/trace.txt");
    full.hls = directory_ / "hls_in";
    file("hls_in/deep/solution.log");
    full.report =
        directory_.file("design.xml",
                        "<profile><ModuleInformation><Module><Name>m</Name></Module></ModuleInformation>"
                        "</profile>");
    full.add();

    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/ip.qmr", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/pdi/x.pdi", "k1/shim_soln/shim.bin", "k1/debug/trace.txt",
                            "k1/hls/deep/solution.log", "ip_repo/v_l_k1_1_0/component.xml",
                            "ip_repo/v_l_k1_1_0/hdl/top.v", "kp.xml"));
    EXPECT_THAT(listed(),
                ElementsAre("k1|k1|ip_repo/v_l_k1_1_0|top|p7|sw_emu hw_emu hw |rtl debugdir hls pdi shim "
                            "swemu "));
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1651@%s[" + full.debug + "]", "@17-1667@%s[" + full.hls + "]"));
    EXPECT_EQ(member("k1/ip.qmr"), "bytes of custom.qmr");
    EXPECT_THAT(member("k1/kernel.xml"), HasSubstr("<Name>m</Name>"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(full.package), 6U);
    verifyClean();
}

TEST_F(PackageTest, TheKernelLayoutLeavesOutWhatItDoesNotCarryButKeepsTheFlags) {
    Kernel plain = kernel("k1");
    plain.repo = false;
    plain.cpu = {file("a.cpp")};
    plain.pdi = {file("x.pdi")};
    plain.shim = file("shim.bin");
    plain.instance = file("custom.qmr");
    plain.debug = directory_ / "k1";
    plain.hls = directory_ / "k1";
    plain.add();

    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k1/cpu_sources/a.cpp", "k1/ip/component.xml",
                                       "k1/ip/hdl/top.v", "kp.xml"));
    EXPECT_THAT(listed(), ElementsAre("k1|k1|k1/ip|top|p7|sw_emu hw_emu hw |rtl pdi shim "));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(plain.package), 2U);
    EXPECT_THAT(messages_.calls(), IsEmpty());
}

TEST_F(PackageTest, ReplacesAKernelAndMovesItToTheEnd) {
    kernel("k1").add();
    kernel("k2").add();
    Kernel again = kernel("k1");
    again.ip = "";
    again.cpu = {file("a.cpp")};
    EXPECT_EQ(failureOf([&] { again.add(); }),
              "Kernel 'k1' already exists inside KP container '" + again.package + "'\n");
    again.replace = again.update = true;
    again.add();
    EXPECT_THAT(listed(),
                ElementsAre("k2|k2|ip_repo/v_l_k2_1_0|top|p7|hw_emu hw |rtl ", "k1|k1||top|p7|sw_emu |rtl "));
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1864@", "@17-1868@"));
    EXPECT_TRUE(HUTZip::containsFile(again.package, "k1/cpu_sources/a.cpp"));
    verifyClean();
}

TEST_F(PackageTest, UpdatesOnlyDeviceImagesAndShimUnderTheFolderThatTheKernelHas) {
    Kernel first = kernel("k1");
    first.pdi = {file("old.pdi"), file("same.pdi")};
    first.shim = file("old.shim");
    first.add();
    const auto update = [&](std::vector<std::string> pdi, const std::string& shim) {
        Kernel change{.package = first.package, .name = "K1", .xml = "/nowhere", .ip = ""};
        change.pdi = std::move(pdi);
        change.shim = shim;
        change.project = "other";
        change.update = true;
        change.add();
    };
    directory_.file("same.pdi", "newer");
    update({directory_ / "same.pdi"}, "");
    EXPECT_EQ(member("k1/pdi/same.pdi"), "newer");
    EXPECT_TRUE(HUTZip::containsFile(first.package, "k1/shim_soln/old.shim"));
    update({}, file("new.shim"));

    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k1/pdi/old.pdi", "ip_repo/v_l_k1_1_0/component.xml",
                                       "ip_repo/v_l_k1_1_0/hdl/top.v", "k1/pdi/same.pdi",
                                       "k1/shim_soln/new.shim", "kp.xml"));
    EXPECT_THAT(listed(), ElementsAre("k1|k1|ip_repo/v_l_k1_1_0|top|p7|hw_emu hw |rtl pdi shim "));
    EXPECT_EQ(failureOf([&] { update({directory_ / "gone"}, ""); }),
              "Specified PDI File is not a file: '" + (directory_ / "gone") + "'");
    EXPECT_EQ(failureOf([&] { update({}, directory_ / "k1"); }),
              "Specified shim solution file is not a file: '" + (directory_ / "k1") + "'");
    verifyClean();
}

TEST_F(PackageTest, UpdateOfAKernelThatIsNotThereAddsIt) {
    Kernel absent = kernel("k1");
    absent.update = true;
    absent.add();
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1868@", "@17-1867@"));
    EXPECT_EQ(listed().size(), 1U);
}

TEST_F(PackageTest, KernelsOfOneVlnvShareOneIpDirectory) {
    kernel("k1").add();
    Kernel sharing = kernel("k2");
    sharing.xml = directory_.file("k2/kernel.xml", kernelXml("k2", "V:L:k1:1.0"));
    sharing.add();
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1525@"));
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k2/kernel.xml", "ip_repo/V_L_k1_1_0/component.xml",
                                       "ip_repo/V_L_k1_1_0/hdl/top.v", "kp.xml"));
    EXPECT_EQ(member("ip_repo/V_L_k1_1_0/component.xml"), "<component>k2</component>");
    EXPECT_THAT(listed(), ElementsAre("k1|k1|ip_repo/V_L_k1_1_0|top|p7|hw_emu hw |rtl ",
                                      "k2|k2|ip_repo/V_L_k1_1_0|top|p7|hw_emu hw |"));
}

TEST_F(PackageTest, PostsAndSkipsWhatIsNotThere) {
    Kernel sparse = kernel("k1");
    sparse.cpu = {file("a.cpp")};
    sparse.debug = directory_ / "nowhere";
    sparse.hls = file("plain_file");
    sparse.ip = directory_ / "empty_ip";
    std::filesystem::create_directories(sparse.ip + "/only/folders");
    sparse.add();
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1650@%s[" + sparse.debug + "]", "@17-1666@%s[" + sparse.hls + "]",
                            "@17-1406@%s[" + sparse.ip + "]"));
    EXPECT_THAT(listed(), ElementsAre("k1|k1||top|p7|sw_emu |rtl "));
}

// Each row spoils one addition. Both a new and an existing package must stay what they were.
TEST_F(PackageTest, WhateverFailsChangesNothing) {
    struct Row {
        const char* what;
        std::function<void(Kernel&)> spoil;
        std::string error;
    };
    const std::string gone = directory_ / "gone";
    const std::string package = directory_ / "p.kp";
    const auto xml = [&](const std::string& text) { return directory_.file("bad/kernel.xml", text); };
    const std::vector<Row> rows = {
        {"another name", [&](Kernel& k) { k.xml = xml(kernelXml("other", "")); },
         "Failed to add kernel 'kx' to KP container because the kernel name 'other' defined in kernel.xml "
         "does not "
         "match.\n"},
        {"no kernel.xml", [&](Kernel& k) { k.xml = gone; }, "File not found: '" + gone + "'"},
        {"malformed kernel.xml",
         [&](Kernel& k) { k.xml = xml("<root versionMajor=\"1\"\nversionMinor=\"2\">\n</rot>"); },
         "[17-132] " + (directory_ / "bad/kernel.xml") + ":3: mismatched tag"},
        {"malformed report",
         [&](Kernel& k) { k.report = directory_.file("bad/d.xml", "<profile>\n<Bits/></profile>"); },
         "[17-132] " + (directory_ / "bad/d.xml") + ":2: element 'Bits' is not known in 'profile'"},
        {"CPU file", [&](Kernel& k) { k.cpu = {gone}; }, "Specified CPU File is not a file: '" + gone + "'"},
        {"sw_emu file", [&](Kernel& k) { k.swEmu = {gone}; },
         "Specified sw_emu File is not a file: '" + gone + "'"},
        {"PDI file", [&](Kernel& k) { k.pdi = {gone}; }, "Specified PDI File is not a file: '" + gone + "'"},
        {"shim", [&](Kernel& k) { k.shim = gone; },
         "Specified shim solution file is not a file: '" + gone + "'"},
        {"no flow", [&](Kernel& k) { k.ip = ""; },
         "Failed to add kernel 'kx' to KP container because the kernel is empty.\n"},
        {"VLNV", [&](Kernel& k) { k.xml = xml(kernelXml("kx", "a:../../b:c:d")); },
         "The VLNV 'a:../../b:c:d' of kernel 'kx' cannot be a directory: it holds a separator.\n"},
        {"empty name", [&](Kernel& k) { k.name = ""; },
         "Kernel '' cannot be added to KP container '" + package + "': it is empty.\n"},
        {"name with a separator", [&](Kernel& k) { k.name = "../kx"; },
         "Kernel '../kx' cannot be added to KP container '" + package + "': it is not one path component.\n"},
        {"name of the package's own", [&](Kernel& k) { k.name = "ip_repo"; },
         "Kernel 'ip_repo' cannot be added to KP container '" + package +
             "': the name is taken by the package itself.\n"},
        {"name too long", [&](Kernel& k) { k.name = std::string(256, 'k'); },
         "Kernel '" + std::string(256, 'k') + "' cannot be added to KP container '" + package +
             "': it is longer than 255 bytes.\n"},
        {"path that is no file's", [&](Kernel& k) { k.package += "/"; },
         "'" + package + "/' cannot be the path of an archive"},
        {"text that XML cannot carry", [&](Kernel& k) { k.project = "a\x01"; },
         "[17-1377] Failed to write XML: 'ProjectID' holds a character that XML cannot carry: " + package},
    };
    const auto snapshot = [&] {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory_.path()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    };
    TemporaryDirectory temporary;
    setenv("TMPDIR", temporary.path().c_str(), 1);
    for (const bool exists : {false, true}) {
        if (exists) kernel("k1").add();
        const std::string before = exists ? HUTFile::readFile(package) : "";
        for (const Row& row : rows) {
            Kernel spoilt = kernel("kx");
            file("bad/x");
            row.spoil(spoilt);
            const auto names = snapshot();
            EXPECT_EQ(failureOf([&] { spoilt.add(); }), row.error) << row.what;
            EXPECT_EQ(snapshot(), names) << row.what;
            EXPECT_TRUE(std::filesystem::is_empty(temporary.path())) << row.what;
            if (exists) {
                EXPECT_EQ(HUTFile::readFile(package), before) << row.what;
            }
        }
    }
    unsetenv("TMPDIR");
}

TEST_F(PackageTest, EveryFailingDiskCallOfAReplacementLeavesTheOldPackage) {
    kernel("k1").add();
    kernel("k2").add();
    Kernel again = kernel("k1");
    again.replace = again.update = true;
    again.cpu = {file("a.cpp")};
    const std::string before = HUTFile::readFile(again.package);
    const auto filesNow = [&] {
        return std::distance(std::filesystem::directory_iterator(directory_.path()), {});
    };
    const auto filesBefore = filesNow();
    int calls = 0;
    for (int failing = 1;; ++failing) {
        calls = 0;
        std::string failedCall;
        const auto failNth = [&](std::string_view call, const std::string&) {
            if (++calls != failing) return 0;
            failedCall = call;
            return ENOSPC;
        };
        bool failed = false;
        {
            const disk::DiskFaults faults(failNth);
            failed = failureOf([&] { again.add(); }) != "(no failure)";
        }
        EXPECT_EQ(filesNow(), filesBefore) << failedCall;
        if (calls < failing) break;
        const bool isOld = HUTFile::readFile(again.package) == before;
        EXPECT_EQ(isOld, failed) << "call " << failing << ", " << failedCall;
        if (!isOld) verifyClean();
        HUTFile::writeFile(again.package, before);
    }
    EXPECT_GT(calls, 20);
    verifyClean();
}

TEST_F(PackageTest, IpWithoutVlnvTakesTheRepositoryOnlyWhileItIsAlone) {
    const auto bare = [&](const std::string& name) {
        Kernel made = kernel(name);
        made.xml = directory_.file(name + "/kernel.xml", kernelXml(name, ""));
        return made;
    };
    const auto refusal = [&](const char* kernel, const char* place, const char* other, const char* at) {
        return std::string("The IP of kernel '") + kernel + "' cannot be placed in '" + place +
               "' of KP container '" + (directory_ / "p.kp") + "' because the IP of kernel '" + other +
               "' is in '" + at + "'; give each kernel a VLNV.\n";
    };
    bare("k1").add();
    EXPECT_THAT(listed(), ElementsAre("k1|k1|ip_repo|top|p7|hw_emu hw |"));
    EXPECT_EQ(failureOf([&] { kernel("k2").add(); }), refusal("k2", "ip_repo/v_l_k2_1_0", "k1", "ip_repo"));
    std::filesystem::remove(directory_ / "p.kp");
    kernel("k2").add();
    EXPECT_EQ(failureOf([&] { bare("k1").add(); }), refusal("k1", "ip_repo", "k2", "ip_repo/v_l_k2_1_0"));
}

TEST_F(PackageTest, WhatNoKernelUsesAnyMoreGoes) {
    kernel("k1").add();
    HUTZip::compress(directory_ / "p.kp", {file("stale.cpp")}, "k2/cpu_sources");
    kernel("k2").add();
    Kernel renewed = kernel("k1");
    renewed.xml = directory_.file("k1/kernel.xml", kernelXml("k1", "v:l:k1:2.0"));
    renewed.replace = renewed.update = true;
    renewed.add();
    EXPECT_THAT(members(),
                ElementsAre("k2/kernel.xml", "ip_repo/v_l_k2_1_0/component.xml",
                            "ip_repo/v_l_k2_1_0/hdl/top.v", "k1/kernel.xml",
                            "ip_repo/v_l_k1_2_0/component.xml", "ip_repo/v_l_k1_2_0/hdl/top.v", "kp.xml"));
}

TEST_F(PackageTest, TheFilesOfAnotherKernelAreNotTouched) {
    kernel("k1").add();
    kernel("k3").add();
    const std::string package = directory_ / "p.kp";
    const auto pretend = [&](const std::string& directory) {
        HKPContainer container;
        HKPContainerUtils::parseKPContainerIntoObject_(package, container);
        container.getKPKernelByName("k1")->setDirectory(directory);
        HKPContainerXMLWriter(container, package).writeKPContainer(true);
    };
    const auto refusal = [&](const std::string& name, const std::string& other) {
        return "Kernel '" + name + "' cannot be added to KP container '" + package + "' because kernel '" +
               other + "' uses its directory.\n";
    };
    pretend("K2");
    EXPECT_EQ(failureOf([&] { kernel("k2").add(); }), refusal("k2", "k1"));
    pretend("k3");
    Kernel again = kernel("k1");
    again.replace = again.update = true;
    EXPECT_EQ(failureOf([&] { again.add(); }), refusal("k1", "k3"));
    pretend("..");
    EXPECT_EQ(failureOf([&] { again.add(); }), "The directory '..' of kernel 'k1' in '" + package +
                                                   "' cannot be changed: it is not one path component\n");
}

TEST_F(PackageTest, ValidatesForATarget) {
    Kernel software = kernel("k1");
    software.cpu = {file("a.cpp")};
    software.hls = directory_ / "k1";
    software.xml = directory_.file("k1/kernel.xml", kernelXml("k1", "v:l:k1:1", "debug=\"TRUE\""));
    software.add();
    kernel("k2").add();
    const std::string package = software.package;
    messages_.clear();

    struct Row {
        HKPKernel::SupportedFlowType flow;
        std::string error;
        std::vector<std::string> names, messages;
    };
    const std::vector<Row> rows = {
        {HKPKernel::SYSTEM, "(no failure)", {"k1", "k2"}, {}},
        {HKPKernel::HW_EMU, "(no failure)", {"k1", "k2"}, {"@17-1682@%s[k1]"}},
        {HKPKernel::CPU_EMU,
         "The RTL kernel 'k2' in '" + package + "' is not supported for CPU emulation target\n",
         {"k1"},
         {"@17-1682@%s[k1]"}},
    };
    for (const Row& row : rows) {
        messages_.clear();
        std::vector<std::string> names;
        EXPECT_EQ(
            failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(package, row.flow, names); }),
            row.error);
        EXPECT_EQ(names, row.names);
        EXPECT_EQ(messages_.calls(), row.messages);
    }

    HKPContainer container;
    HKPContainerUtils::parseKPContainerIntoObject_(package, container);
    container.addKPKernel("k1", "k1", "", "", "", {HKPKernel::SYSTEM, HKPKernel::CPU_EMU}, false, false,
                          false, false, false, false, false, true);
    HKPContainerXMLWriter(container, package).writeKPContainer(true);
    std::vector<std::string> names;
    EXPECT_EQ(
        failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(package, HKPKernel::HW_EMU, names); }),
        "The kernel 'k1' in '" + package +
            "' is not valid for the specified target 'hw_emu'. The valid target: hw, "
            "sw_emu\n");
    container.addKPKernel("k2", "k2", "", "", "", {}, false, false, false, false, false, false, false, true);
    HKPContainerXMLWriter(container, package).writeKPContainer(true);
    EXPECT_EQ(
        failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(package, HKPKernel::SYSTEM, names); }),
        "The kernel 'k2' in '" + package +
            "' is empty. Both the ip directory and the cpu sources directory cannot "
            "be empty for the kernel\n");
}

TEST_F(PackageTest, ChecksTheSoftwareVersion) {
    struct Row {
        const char* running;
        std::uint32_t major, minor;
        std::string error;
    };
    const auto later = [](const std::string& written, const std::string& running) {
        return "The KP file 'p' was created in version " + written +
               ", which is later than the software version you are currently running: " + running +
               ". Forward compatibility is not supported\n";
    };
    const std::vector<Row> rows = {
        {"2020.1", 0, 0, "(no failure)"},
        {"2020.1", 2020, 1, "(no failure)"},
        {"2020.1", 2019, 9, "(no failure)"},
        {"2020.1", 2020, 2, later("2020.2", "2020.1")},
        {"2020.1", 2021, 0, later("2021.0", "2020.1")},
        {"2020", 2021, 0, "(no failure)"},
        {".1", 2021, 0, "(no failure)"},
        {"2020.x", 2019, 0, "The software version number 'x' is not a number"},
        {"99999999999.1", 2019, 0, "The software version number '99999999999' is out of range"},
    };
    for (const Row& row : rows) {
        setenv("KP_SOFTWARE_VERSION", row.running, 1);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::checkKPVersion_("p", row.major, row.minor); }),
                  row.error);
    }
    Kernel later2021 = kernel("k1");
    setenv("KP_SOFTWARE_VERSION", "2021.3", 1);
    later2021.add();
    unsetenv("KP_SOFTWARE_VERSION");
    Kernel refused = kernel("k2");
    refused.checkVersion = true;
    EXPECT_THAT(failureOf([&] { refused.add(); }),
                HasSubstr("was created in version 2021.3, which is later"));
    refused.checkVersion = false;
    refused.add();
    EXPECT_EQ(listed().size(), 2U);
}

TEST_F(PackageTest, ChecksTheDigestOncePerPathByFormat) {
    struct Row {
        std::uint32_t major, minor;
        std::function<void(const std::string&)> prepare;
        bool posts;
    };
    const auto nothing = [](const std::string&) {};
    const std::vector<Row> rows = {
        {0, 9, HUTZip::attachDigestEn, true},  {1, 0, HUTZip::attachDigest, true},
        {1, 1, HUTZip::attachDigest, false},   {1, 1, HUTZip::attachDigestEn, true},
        {2, 0, HUTZip::attachDigestEn, false}, {6, 0, HUTZip::attachDigestEn, false},
        {2, 0, HUTZip::attachDigest, true},    {6, 0, nothing, true},
    };
    int number = 0;
    for (const Row& row : rows) {
        const std::string path = directory_ / (std::to_string(number++) + ".kp");
        ArchiveEdit edit(path);
        edit.addBytes("a", "b");
        edit.commit();
        row.prepare(path);
        for (int repetition = 0; repetition < 2; ++repetition) {
            messages_.clear();
            HKPContainerUtils::checkKPIntegrity_(path, row.major, row.minor);
            const bool posted = messages_.calls() == std::vector<std::string>{"@17-1396@%s[" + path + "]"};
            EXPECT_EQ(posted, row.posts && repetition == 0) << path;
        }
    }
}

TEST_F(PackageTest, OpeningNamesWhatIsMissing) {
    const std::string gone = directory_ / "gone.kp";
    std::vector<std::string> names;
    const std::string missing = "The specified KP container does not exist: '" + gone + "'\n";
    EXPECT_EQ(failureOf([&] { HKPContainerUtils::getKernelNamesInKPContainer(gone, names); }), missing);
    EXPECT_EQ(
        failureOf([&] { HKPContainerUtils::validateKPAndGetKernelNames(gone, HKPKernel::SYSTEM, names); }),
        missing);
    EXPECT_EQ(failureOf([&] { HKPContainerUtils::getKPContainerMajorVersion(gone); }),
              "Failed to parse KP container '" + gone + "'\n");
    HKPContainerUtils::mergeKPs({gone}, gone);
    EXPECT_FALSE(HUTFile::exists(gone));
}

TEST_F(PackageTest, VerificationTellsOfAnyLaterChange) {
    kernel("k1").add();
    const std::string package = directory_ / "p.kp";
    verifyClean();
    ASSERT_EQ(std::system(("cd '" + directory_.path() + "' && zip -q p.kp k1/kernel.xml").c_str()), 0);
    EXPECT_EQ(PackageVerification::digestText(PackageVerification::of(package).digest), "mismatch");
    ASSERT_EQ(std::system(("cd '" + directory_.path() + "' && printf '' | zip -qz p.kp >/dev/null").c_str()),
              0);
    EXPECT_EQ(PackageVerification::digestText(PackageVerification::of(package).digest), "missing");
    HUTZip::deleteFilesFromZip(package, {"kp.xml"});
    const PackageVerification headless = PackageVerification::of(package);
    ASSERT_EQ(headless.findings.size(), 1U);
    EXPECT_EQ(headless.findings[0].code, "manifest");
    directory_.file("p.kp", "no archive");
    EXPECT_EQ(PackageVerification::of(package).findings.at(0).code, "unreadable");
}

}  // namespace
