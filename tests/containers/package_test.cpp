// Whole operations on real packages: adding, replacing, updating.

#include "platform/files/HUTPathUtils.h"
#include "platform/zip/HUTZip.h"
#include "tests/containers/PackageTest.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(PackageTest, AddsEverythingThatTheLayoutCarries) {
    KernelAddition full = fullKernel(directory_, "k1");
    full.designXmlPath = directory_.file("design.xml", "<profile><FIFOInformation/></profile>");
    HKPContainerUtils::addKernelToKPContainer(
        full.kpPath, full.kernelName, full.kernelXmlPath, full.ipDir, full.cpuFiles, full.pdiFiles,
        full.swEmuFiles, full.shimSolnFile, full.designXmlPath, full.ipInstanceFile, full.projectID,
        full.topIpDir, full.debugDir, full.hlsDir, full.ipRepoLayout, full.replace, full.update,
        full.checkVersion);
    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/ip.qmr", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/pdi/x.pdi", "k1/shim_soln/shim.bin", "k1/debug/trace.txt",
                            "k1/hls/deep/solution.log", "ip_repo/v_l_k1_1_0/component.xml",
                            "ip_repo/v_l_k1_1_0/hdl/top.v", "kp.xml"));
    const std::string flows = "|top|p7|sw_emu,hw_emu,hw,|rtl", flags = "|pdiDir|shimDir|swEmuDir";
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|ip_repo/v_l_k1_1_0" + flows + "|debugDir|hlsDir" + flags));
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1651@%s[" + full.debugDir + "]", "@17-1667@%s[" + full.hlsDir + "]"));
    EXPECT_EQ(member("k1/ip.qmr"), "bytes of custom.qmr");
    EXPECT_THAT(member("k1/kernel.xml"), HasSubstr("<FIFOInformation/>"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    verifyClean();

    const auto before = directory_.files();
    HKPContainerUtils::mergeKPs({package_, package_}, directory_ / "merged.kp");
    EXPECT_EQ(directory_.files(), before) << "merging is deliberately nothing";

    std::filesystem::remove(package_);
    messages_.clear();
    full.ipRepoLayout = false;
    add(full);
    EXPECT_THAT(members(),
                ElementsAre("k1/kernel.xml", "k1/cpu_sources/a.cpp", "k1/cpu_sources/b.cpp",
                            "k1/sw_emu/emu.so", "k1/ip/component.xml", "k1/ip/hdl/top.v", "kp.xml"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|k1/ip" + flows + flags));
    EXPECT_THAT(messages_.calls(), IsEmpty());
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 2U);
    verifyClean();
}

TEST_F(PackageTest, ReplacesAKernelAndLeavesNothingOfIt) {
    add(again(kernel("k1")));
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1864@", "@17-1868@", "@17-1867@"));
    HUTZip::compress(package_, {file("stale.cpp")}, "k2/cpu_sources");
    add(kernel("k2"));
    messages_.clear();
    KernelAddition renewed = kernel("k1", "vlnv='v:l:k1:2.0'");
    renewed.cpuFiles = {file("a.cpp")};
    EXPECT_EQ(failureOf([&] { add(renewed); }),
              "Kernel 'k1' already exists inside KP container '" + package_ + "'\n");
    add(again(renewed));
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
    KernelAddition first = kernel("k1");
    first.pdiFiles = {file("old.pdi"), file("same.pdi")};
    add(first);
    KernelAddition change{package_, "K1", "/nowhere", ""};
    change.projectID = "other";
    change.update = true;
    const auto update = [&](const Texts& pdi, const std::string& shim) {
        change.pdiFiles = pdi;
        change.shimSolnFile = shim;
        add(change);
    };
    update({}, file("old.shim"));
    directory_.file("same.pdi", "newer");
    std::filesystem::create_symlink("same.pdi", directory_ / "link.pdi");
    update({directory_ / "link.pdi"}, "");
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
    add(kernel("k1"));
    messages_.clear();
    add(kernel("k2", "vlnv='V:L:k1:1.0'"));
    EXPECT_THAT(
        messages_.texts(),
        ElementsAre("17-1525: The package already holds an IP of the same identifier; that IP is "
                    "replaced",
                    "17-2007: The IP in 'ip_repo/V_L_k1_1_0' is replaced by another one, which is now "
                    "that of kernel 'k1' too"));
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "k2/kernel.xml", "ip_repo/V_L_k1_1_0/component.xml",
                                       "ip_repo/V_L_k1_1_0/hdl/top.v", "kp.xml"));
    EXPECT_EQ(member("ip_repo/V_L_k1_1_0/component.xml"), componentXml("V:L:k1:1.0"));
    EXPECT_EQ(member("ip_repo/V_L_k1_1_0/hdl/top.v"), "bytes of k2/ip/hdl/top.v");
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|ip_repo/V_L_k1_1_0|top|p7|hw_emu,hw,|rtl",
                                                 "k2|k2|ip_repo/V_L_k1_1_0|top|p7|hw_emu,hw,"));
    messages_.clear();
    KernelAddition same = kernel("k3", "vlnv='v:l:k1:1_0'");
    same.ipDir = directory_ / "k2/ip";
    same.changesOtherIps = false;
    add(same);
    EXPECT_THAT(messages_.calls(), ElementsAre("@17-1525@")) << "the same files are no other IP";
    HUTZip::deleteFilesFromZip(package_, {"ip_repo/v_l_k1_1_0/hdl/top.v"});
    EXPECT_EQ(failureOf([&] { add(again(same)); }),
              "The IP of kernel 'k3' differs from the one in 'ip_repo/v_l_k1_1_0' of KP container '" +
                  package_ + "', the IP of kernels 'k1', 'k2'; give each IP a VLNV of its own.\n");
    const auto refusal = [&](const std::string& name, const std::string& place, const std::string& taken) {
        return "The IP of kernel '" + name + "' cannot be placed in '" + place + "' of KP container '" +
               package_ + "' because the IP of kernel " + taken + "'; give each kernel a VLNV.\n";
    };
    const KernelAddition bare = again(kernel("k1", "language='c'")), next = kernel("k2");
    EXPECT_EQ(failureOf([&] { add(bare); }), refusal("k1", "ip_repo", "'k2' is in 'ip_repo/v_l_k1_1_0"));
    std::filesystem::remove(package_);
    add(kernel("k1", "language='c'"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1|ip_repo|top|p7|hw_emu,hw,"));
    EXPECT_EQ(failureOf([&] { add(next); }), refusal("k2", "ip_repo/v_l_k2_1_0", "'k1' is in 'ip_repo"));
    KernelAddition own = again(kernel("k1"));
    own.changesOtherIps = false;
    add(own);
    EXPECT_THAT(members(), ElementsAre("k1/kernel.xml", "ip_repo/v_l_k1_1_0/component.xml",
                                       "ip_repo/v_l_k1_1_0/hdl/top.v", "kp.xml"));
}

TEST_F(PackageTest, PostsAndSkipsWhatIsNotThere) {
    KernelAddition sparse = kernel("k1");
    sparse.cpuFiles = {file("a.cpp")};
    sparse.debugDir = directory_ / "nowhere";
    sparse.hlsDir = file("plain_file");
    sparse.ipDir = directory_ / "empty_ip";
    std::filesystem::create_directories(sparse.ipDir + "/only/folders");
    add(sparse);
    EXPECT_THAT(messages_.calls(),
                ElementsAre("@17-1650@%s[" + sparse.debugDir + "]", "@17-1666@%s[" + sparse.hlsDir + "]",
                            "@17-1406@%s[" + sparse.ipDir + "]"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k1|k1||top|p7|sw_emu,|rtl"));
}

// Each row spoils one addition. Both a new and an existing package must stay what they were.
TEST_F(PackageTest, WhateverFailsChangesNothing) {
    const std::string gone = directory_ / "gone", xml = directory_ / "bad.xml";
    const auto described = [&](const std::string& text) {
        return [this, text](KernelAddition& k) { k.kernelXmlPath = directory_.file("bad.xml", text); };
    };
    const auto noFile = [&](const std::string& what) {
        return "Specified " + what + " is not a file: '" + gone + "'";
    };
    const std::string failed = "Failed to add kernel 'kx' to KP container because the kernel ";
    std::vector<std::pair<std::function<void(KernelAddition&)>, std::string>> rows = {
        {described(kernelXml("name='other'")),
         failed + "name 'other' defined in kernel.xml does not match.\n"},
        {[&](KernelAddition& k) { k.kernelXmlPath = gone; }, "File not found: '" + gone + "'"},
        {described("<root versionMajor='1'\nversionMinor='2'>\n</rot>"),
         "[17-132] " + xml + ":3: mismatched tag"},
        {[&](KernelAddition& k) {
             k.designXmlPath = directory_.file("bad.xml", "<profile>\n<Bits/></profile>");
         },
         "[17-132] " + xml + ":2: element 'Bits' is not known in 'profile'"},
        {[&](KernelAddition& k) { k.cpuFiles = {gone}; }, noFile("CPU File")},
        {[&](KernelAddition& k) { k.swEmuFiles = {gone}; }, noFile("sw_emu File")},
        {[&](KernelAddition& k) { k.pdiFiles = {gone}; }, noFile("PDI File")},
        {[&](KernelAddition& k) { k.shimSolnFile = gone; }, noFile("shim solution file")},
        {[&](KernelAddition& k) { k.ipDir = ""; }, failed + "is empty.\n"},
        {described(kernelXml("name='kx' vlnv='a:../../b:c:d'")),
         "The VLNV 'a:../../b:c:d' of kernel 'kx' cannot be a directory: it is not one path component.\n"},
        {described(kernelXml("name='kx' vlnv='a:b:" + std::string(300, 'c') + ":d'")),
         "The VLNV 'a:b:" + std::string(300, 'c') +
             ":d' of kernel 'kx' cannot be a directory: it is longer than 255 bytes.\n"},
        {[&](KernelAddition& k) { k.kpPath += "/"; }, "'" + package_ + "/' cannot be the path of an archive"},
        {[&](KernelAddition& k) { k.projectID = "a\x01"; },
         "[17-1377] Failed to write XML: 'ProjectID' holds a character that XML cannot carry - " + package_},
    };
    for (const auto& [name, reason] : {std::pair<std::string, const char*>{"", "it is empty"},
                                       {"../kx", "it is not one path component"},
                                       {"ip_repo", "the name is taken by the package itself"},
                                       {std::string(256, 'k'), "it is longer than 255 bytes"}})
        rows.emplace_back(
            [name = name](KernelAddition& k) { k.kernelName = name; },
            "Kernel '" + name + "' cannot be added to KP container '" + package_ + "': " + reason + ".\n");
    const TemporaryDirectory temporary;
    const Environment elsewhere("TMPDIR", temporary.path());
    file("bad.xml");
    for (const bool exists : {false, true}) {
        if (exists) add(kernel("k1"));
        for (const auto& [spoil, error] : rows) {
            KernelAddition spoilt = kernel("kx");
            spoil(spoilt);
            const auto before = directory_.files();
            EXPECT_EQ(failureOf([&] { add(spoilt); }), error);
            EXPECT_EQ(failureOf([&] { HKPContainerUtils::planKernelAddition(spoilt); }), error);
            EXPECT_EQ(directory_.files(), before) << error;
            EXPECT_TRUE(std::filesystem::is_empty(temporary.path())) << error;
        }
    }
}

TEST_F(PackageTest, TheFilesOfAnotherKernelAreNotTouched) {
    add(kernel("k1"));
    add(kernel("k3"));
    const auto failureWhere = [&](const char* directory, const KernelAddition& addition,
                                  const char* ip = "") {
        changeManifest(package_, [&](HKPContainer& all) {
            all.getKPKernelByName("k1")->setDirectory(directory);
            all.getKPKernelByName("k1")->setIpDir(ip);
        });
        return failureOf([&] { add(addition); });
    };
    const std::string because = "' cannot be added to KP container '" + package_ + "' because kernel '";
    const std::string uses = "' uses its directory.\n";
    EXPECT_EQ(failureWhere("K2", kernel("k2")), "Kernel 'k2" + because + "k1" + uses);
    EXPECT_EQ(failureWhere("k1", again(kernel("k3")), "K3/ip/"), "Kernel 'k3" + because + "k1" + uses);
    for (const char* directory : {"k3", "k3/hls"})
        EXPECT_EQ(failureWhere(directory, again(kernel("k1"))), "Kernel 'k1" + because + "k3" + uses);
    EXPECT_EQ(failureWhere("ip_cache/k1", again(kernel("k1"))),
              "The directory 'ip_cache/k1' of kernel 'k1' in '" + package_ +
                  "' cannot be changed: the name is taken by the package itself\n");
    const auto failureInside = [&](const std::string& place, const std::function<void()>& operation) {
        changeManifest(package_,
                       [&](HKPContainer& all) { all.getKPKernelByName("k3")->setDirectory(place); });
        return failureOf(operation);
    };
    EXPECT_EQ(failureInside("ip_repo/v_l_k2_1_0/k3", [&] { add(kernel("k2")); }),
              "The IP of kernel 'k2' cannot be placed in 'ip_repo/v_l_k2_1_0' of KP container '" + package_ +
                  "' because kernel 'k3' has its directory there.\n");
    file("caches/c/one.qmr");
    EXPECT_EQ(failureInside("ip_cache/c",
                            [&] { HKPContainerUtils::appendIPCacheDir(package_, directory_ / "caches"); }),
              "The IP cache '" + (directory_ / "caches/c") +
                  "' cannot be packed because kernel 'k3' has files in 'ip_cache/c'\n");
    failureInside("k3", [] {});
    for (const char* directory : {"k1/", "sub/k1"}) {
        KernelAddition image = kernel("k1");
        image.update = true;
        image.pdiFiles = {file("x.pdi")};
        EXPECT_EQ(failureWhere(directory, image), "nothing thrown") << directory;
        EXPECT_EQ(member(HUTPathUtils::join(directory, "pdi/x.pdi")), "bytes of x.pdi");
        EXPECT_EQ(failureWhere(directory, again(kernel("k1"))), "nothing thrown") << directory;
        EXPECT_THAT(members(), testing::Not(testing::Contains(HasSubstr("pdi")))) << directory;
    }
}

TEST_F(PackageTest, TheOtherLayoutStrandsNoIpUnheard) {
    KernelAddition own = kernel("k1");
    own.ipRepoLayout = false;
    add(own);
    KernelAddition second = kernel("k2");
    second.otherLayout = OtherLayout::Follow;
    add(second);
    EXPECT_THAT(kernelsOf(package_),
                ElementsAre("k1|k1|k1/ip|top|p7|hw_emu,hw,|rtl", "k2|k2|k2/ip|top|p7|hw_emu,hw,|rtl"));
    messages_.clear();
    add(kernel("k3"));
    EXPECT_THAT(messages_.texts(),
                ElementsAre("17-2008: '" + package_ +
                            "' gets the format of the layout 'repo', in which the IP of kernels "
                            "'k1', 'k2' is not found"));
    EXPECT_EQ(PackageVerification::of(package_).findings.size(), 2U);
}

}  // namespace
