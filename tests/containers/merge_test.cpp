// Whole operations on real packages: taking kernels out, and putting packages together.

#include "containers/kp/PackageVerification.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/HUTZip.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/Packages.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class MergeTest : public testing::Test {
protected:
    /// A package of kernels that have all there can be but a cache.
    std::string packageOf(const std::string& name, const Texts& kernels) const {
        for (const std::string& kernel : kernels) {
            KernelAddition addition = fullKernel(directory_, kernel);
            addition.kpPath = directory_ / name;
            add(addition);
        }
        return directory_ / name;
    }
    void addCache(const std::string& package, const std::string& cache) const {
        inputFile(directory_, cache + "/one.qmr");
        HKPContainerUtils::appendIPCacheDir(package, directory_ / cache);
    }
    std::string merge(const Texts& inputs, bool sorts = false) const {
        const std::string path = directory_ / "merged.kp";
        std::filesystem::remove(path);
        HKPContainerUtils::joinPackages({.kpPath = path, .inputs = inputs, .sorts = sorts});
        verifyClean(path);
        return path;
    }
    std::string bytesOfMerge(const Texts& inputs, bool sorts = false) const {
        return HUTFile::readFile(merge(inputs, sorts));
    }
    static std::string remove(const std::string& package, const Texts& names) {
        HKPContainerUtils::removeKernels({.kpPath = package, .kernelNames = names});
        verifyClean(package);
        return package;
    }
    std::string copyOf(const std::string& package, const std::string& name) const {
        return directory_.file(name, HUTFile::readFile(package));
    }

    static Texts members(const std::string& package) {
        Texts names;
        for (const ArchiveEntry& entry : ArchiveSnapshot::open(package)->entries())
            names.emplace_back(entry.name);
        return names;
    }
    static void verifyClean(const std::string& package) {
        const PackageVerification verification = PackageVerification::of(package);
        EXPECT_EQ(PackageVerification::digestText(verification.digest), "valid");
        for (const PackageFinding& finding : verification.findings)
            ADD_FAILURE() << finding.text;
        EXPECT_EQ(std::system(("unzip -tqq '" + package + "' >/dev/null").c_str()), 0);
    }
    Texts namesHere() const {
        Texts names;
        for (const auto& item : std::filesystem::directory_iterator(directory_.path()))
            names.push_back(item.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    const Environment epoch_{"SOURCE_DATE_EPOCH", "1600000000"};
};

TEST_F(MergeTest, AKernelGoesWithAllThatIsItsAlone) {
    const std::string package = packageOf("p.kp", {"k1"});
    KernelAddition twin = fullKernel(directory_, "k2", "language='ip' vlnv='v:l:k1:1.0'");
    inputFile(directory_, "k2/ip/hdl/top.v");
    twin.ipDir = directory_ / "k1/ip";
    add(twin);
    add(fullKernel(directory_, "k3"));
    addCache(package, "c1");
    const Texts listed = kernelsOf(package);

    remove(package, {"K1", "k3", "k1"});
    EXPECT_THAT(kernelsOf(package), ElementsAre(listed[1]));
    EXPECT_THAT(members(package), Not(testing::Contains(testing::AnyOf(HasSubstr("k3"), HasSubstr("k1/")))));
    EXPECT_THAT(members(package), testing::Contains("ip_repo/v_l_k1_1_0/hdl/top.v"));
    add(fullKernel(directory_, "k1"));
    add(fullKernel(directory_, "k3"));
    EXPECT_THAT(kernelsOf(package), ElementsAre(listed[1], listed[0], listed[2]));
    remove(package, {"k1", "k2", "k3"});
    EXPECT_THAT(members(package), ElementsAre("ip_cache/c1/one.qmr", "kp.xml"));
    add(fullKernel(directory_, "k1"));
    EXPECT_THAT(kernelsOf(package), ElementsAre(listed[0]));

    const std::string plain = directory_ / "plain.kp";
    for (const auto& [name, path] :
         {std::pair{"k1", plain}, {"k2", plain}, {"k3", directory_ / "other.kp"}}) {
        KernelAddition addition = ipKernel(directory_, name);
        addition.kpPath = path;
        addition.ipRepoLayout = false;
        add(addition);
    }
    EXPECT_THAT(kernelsOf(merge({plain, directory_ / "other.kp"})),
                ElementsAre("k1|k1|k1/ip|top|p7|hw_emu,hw,|rtl", "k2|k2|k2/ip|top|p7|hw_emu,hw,|rtl",
                            "k3|k3|k3/ip|top|p7|hw_emu,hw,|rtl"));
    remove(plain, {"k2"});
    EXPECT_THAT(members(plain),
                ElementsAre("k1/kernel.xml", "k1/ip/component.xml", "k1/ip/hdl/top.v", "kp.xml"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(plain), 2U);
}

// Each row spoils the manifest's entry of k1 or k2; then k1 is to go.
TEST_F(MergeTest, WhatOthersHaveOrNobodyCanTellIsNotRemoved) {
    const std::string whole = packageOf("whole.kp", {"k1", "k2"}), package = directory_ / "p.kp";
    struct Row {
        const char* kernel;
        void (HKPKernel::*set)(const std::string&);
        const char* place;
        std::string error;
    };
    const std::string kept = "Kernel 'k1' cannot be removed from KP container '" + package +
                             "' because kernel 'k2' has files in its ";
    const auto unfit = [&](const std::string& place, const std::string& reason) {
        return "The directory '" + place + "' of kernel 'k1' in '" + package +
               "' cannot be removed: " + reason + "\n";
    };
    const Row rows[] = {
        {"k2", &HKPKernel::setDirectory, "k1", kept + "directory 'k1'\n"},
        {"k2", &HKPKernel::setDirectory, "K1/hls/", kept + "directory 'k1'\n"},
        {"k1", &HKPKernel::setDirectory, "k2/hls", kept + "directory 'k2/hls'\n"},
        {"k2", &HKPKernel::setIpDir, "k1/debug", kept + "directory 'k1'\n"},
        {"k2", &HKPKernel::setDirectory, "ip_repo/v_l_k1_1_0/hdl", kept + "IP 'ip_repo/v_l_k1_1_0'\n"},
        {"k1", &HKPKernel::setIpDir, "ip_repo", kept + "IP 'ip_repo'\n"},
        {"k2", &HKPKernel::setIpDir, "IP_REPO/v_l_k1_1_0/hdl", kept + "IP 'ip_repo/v_l_k1_1_0'\n"},
        {"k1", &HKPKernel::setDirectory, "", unfit("", "it is empty")},
        {"k1", &HKPKernel::setDirectory, "ip_repo/v_l_k2_1_0",
         unfit("ip_repo/v_l_k2_1_0", "the name is taken by the package itself")},
        {"k1", &HKPKernel::setIpDir, "kp.xml", "nothing thrown"},
        {"k1", &HKPKernel::setIpDir, "../elsewhere", "nothing thrown"},
        {"k2", &HKPKernel::setIpDir, "ip_repo/V_L_k1_1_0/", "nothing thrown"},
        {"k1", &HKPKernel::setIpDir, "odd", "nothing thrown"},
    };
    for (const Row& row : rows) {
        copyOf(whole, "p.kp");
        ArchiveEdit::run(package, [](ArchiveEdit& edit) { edit.addBytes("odd/top.v", "odd"); });
        changeManifest(package,
                       [&](HKPContainer& all) { (all.getKPKernelByName(row.kernel)->*row.set)(row.place); });
        HUTZip::attachDigestEn(package);
        const std::string before = HUTFile::readFile(package);
        const Texts kept = kernelsOf(package);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::planKernelRemoval({package, {"k1"}}); }), row.error);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::removeKernels({package, {"k1"}}); }), row.error);
        EXPECT_EQ(HUTFile::readFile(package) == before, row.error != "nothing thrown") << row.place;
        if (row.error != "nothing thrown") continue;
        EXPECT_THAT(kernelsOf(package), ElementsAre(kept[1]));
        EXPECT_EQ(ArchiveSnapshot::open(package)->isDirectory("odd"), row.place != std::string("odd"));
        EXPECT_TRUE(ArchiveSnapshot::open(package)->isDirectory("ip_repo/v_l_k1_1_0")) << row.place;
    }

    copyOf(whole, "p.kp");
    const auto failureOfRemoving = [&](const Texts& names, BrokenSeal brokenSeal = BrokenSeal::Refuse) {
        const std::string before = HUTFile::readFile(package);
        const std::string text = failureOf([&] {
            HKPContainerUtils::removeKernels({package, names, brokenSeal});
        });
        EXPECT_EQ(HUTFile::readFile(package) == before, text != "nothing thrown") << text;
        return text;
    };
    EXPECT_EQ(failureOfRemoving({"k1", "kk2"}),
              "Kernel 'kk2' was not found inside KP container '" + package + "'; did you mean 'k2'?\n");
    ArchiveEdit::run(package, [](ArchiveEdit& edit) { edit.addBytes("k2/foreign", "x"); });
    EXPECT_EQ(failureOfRemoving({"k1"}),
              "The digest of '" + package + "' does not hold: the package was changed since it was sealed\n");
    EXPECT_EQ(failureOfRemoving({"k1"}, BrokenSeal::Renew), "nothing thrown");
    verifyClean(package);
    EXPECT_EQ(failureOf([&] {
                  HKPContainerUtils::removeKernels({directory_ / "no.kp", {"k1"}});
              }),
              "The specified KP container does not exist: '" + (directory_ / "no.kp") + "'\n");
}

TEST_F(MergeTest, TheBytesFollowFromTheKernelsAndTheirOrderAlone) {
    const std::string a = packageOf("a.kp", {"k3", "k1"}), b = packageOf("b.kp", {"k2"});
    addCache(a, "c1");
    addCache(b, "c2");
    KernelAddition late = ipKernel(directory_, "k4");
    late.cpuFiles = fullKernel(directory_, "k4").cpuFiles;
    late.kpPath = directory_ / "c.kp";
    KernelAddition whole = late;
    whole.pdiFiles = fullKernel(directory_, "k4").pdiFiles;
    add(whole);
    const std::string c = late.kpPath, once = bytesOfMerge({a, b, c}, true);
    std::filesystem::remove(c);
    add(late);  // in another order
    late.pdiFiles = whole.pdiFiles;
    late.update = true;
    add(late);
    EXPECT_TRUE(bytesOfMerge({c, b, a}, true) == once);

    const std::string merged = merge({a, b, c});
    HKPContainer container;
    HKPContainerUtils::parseKPContainerIntoObject_(merged, container);
    EXPECT_THAT(Texts(container.getIpCachesRange().first, container.getIpCachesRange().second),
                ElementsAre("c1", "c2"));
    Texts expected;
    std::map<std::string, std::string> files;
    for (const std::string& part : {a, b, c}) {
        for (const std::string& kernel : kernelsOf(part))
            expected.push_back(kernel);
        for (const std::string& name : members(part))
            files[name] = ArchiveSnapshot::open(part)->read(name);
    }
    EXPECT_EQ(kernelsOf(merged), expected);
    EXPECT_EQ(members(merged).size(), files.size());
    EXPECT_EQ(members(merged).front(), "k3/kernel.xml");
    EXPECT_EQ(members(merged).back(), "kp.xml");
    for (const std::string& name : members(merged))
        EXPECT_TRUE(name == "kp.xml" || ArchiveSnapshot::open(merged)->read(name) == files[name]) << name;

    const std::string all = HUTFile::readFile(merged);
    const std::string first = remove(copyOf(merged, "first.kp"), {"k2", "k4"});
    const std::string second = remove(copyOf(merged, "second.kp"), {"k3", "k1"});
    EXPECT_TRUE(bytesOfMerge({first, second}) == all);
    EXPECT_TRUE(bytesOfMerge({second, first}, true) == once);
    EXPECT_TRUE(bytesOfMerge({first, second}, true) == once);

    const Environment anyTime("SOURCE_DATE_EPOCH", "1700000000");
    EXPECT_FALSE(bytesOfMerge({a, b, c}, true) == once);
    unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_TRUE(bytesOfMerge({a, b, c}, true) == once);
}

TEST_F(MergeTest, WhatIsSharedComesOnceHoweverItIsStored) {
    const std::string a = packageOf("a.kp", {"k1"}), b = directory_ / "b.kp";
    addCache(a, "c1");
    KernelAddition twin = ipKernel(directory_, "k2", "language='ip' vlnv='v:l:k1:1.0'");
    twin.ipDir = directory_ / "k1/ip";
    twin.kpPath = b;
    add(twin);
    addCache(b, "c1");
    const auto change = [&](const std::string& command, const std::function<void(HKPContainer&)>& manifest) {
        EXPECT_EQ(std::system(("cd '" + directory_.path() + "' && " + command).c_str()), 0);
        changeManifest(b, manifest);
        HUTZip::attachDigestEn(b);
    };
    const std::string spelled = "V_l_k1_1_0";
    change("mkdir x && cd x && unzip -q ../b.kp && mv ip_repo/v_l_k1_1_0 ip_repo/" + spelled +
               " && echo stray > ip_repo.txt && mkdir -p k3 && echo stray > k3/kernel.xml && rm ../b.kp && "
               "zip -0qr ../b.kp .",
           [&](HKPContainer& all) { all.getKPKernelByName("k2")->setIpDir("ip_repo/" + spelled + "/"); });
    messages_.clear();
    const std::string merged = merge({a, b});
    EXPECT_THAT(messages_.texts(),
                testing::UnorderedElementsAre(
                    "17-2011: 'ip_repo.txt' in '" + b + "' belongs to no kernel and is left out",
                    "17-2011: 'k3/kernel.xml' in '" + b + "' belongs to no kernel and is left out"));
    EXPECT_THAT(kernelsOf(merged)[1], HasSubstr("k2|k2|ip_repo/v_l_k1_1_0/|"));
    EXPECT_THAT(members(merged), Not(testing::Contains(HasSubstr(spelled))));
}

// Each row makes b.kp, of a kernel k2 unless it says otherwise, unfit to go with a.kp.
TEST_F(MergeTest, ClashesAreRefusedWithBothPackagesAndNothingIsMade) {
    const std::string a = packageOf("a.kp", {"k1"}), b = directory_ / "b.kp",
                      merged = directory_ / "merged.kp";
    addCache(a, "c1");
    const auto kernel = [&](const std::string& name, const std::string& attributes = "") {
        KernelAddition addition = ipKernel(directory_, name, attributes);
        addition.kpPath = b;
        return addition;
    };
    const auto changed = [&](void (HKPKernel::*set)(const std::string&), const std::string& place) {
        return [=, this] {
            add(kernel("k2"));
            changeManifest(b, [&](HKPContainer& all) { (all.getKPKernelByName("k2")->*set)(place); });
            HUTZip::attachDigestEn(b);
        };
    };
    const auto notOwn = [&](const std::string& folder) {
        return "The folder '" + folder + "' of kernel 'k2' of '" + b + "' is not its own: kernel 'k1' of '" +
               a + "' has files there as well\n";
    };
    const auto unfit = [&](const std::string& folder, const std::string& reason) {
        return "The directory '" + folder + "' of kernel 'k2' in '" + b + "' cannot be merged: " + reason +
               "\n";
    };
    const auto differs = [&](const std::string& folder, const std::string& member) {
        return "'" + folder + "' of '" + b + "' is not that of '" + a + "': they differ in '" + member + "'";
    };
    const std::string advice = "; give each IP a VLNV of its own\n";
    const auto forge = [&](const Members& more) {
        return [=, this] {
            Members all = {{"k2/kernel.xml", kernelXml("name='k2'")}};
            all.insert(all.end(), more.begin(), more.end());
            all.emplace_back("kp.xml",
                             "<Root VersionMajor='6' VersionMinor='0'><Kernels><Kernel Name='k2' "
                             "Dir='k2'/></Kernels></Root>");
            pack(b, all);
            HUTZip::attachDigestEn(b);
        };
    };
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { add(kernel("K1", "vlnv='v:l:other:1'")); },
         "Kernel 'K1' is in both '" + a + "' and '" + b + "'\n"},
        {[&] { add(kernel("k2", "vlnv='V:l:k1:1.0'")); },
         differs("ip_repo/V_l_k1_1_0", "component.xml") + advice},
        {[&] {
             KernelAddition more = kernel("k2", "vlnv='v:l:k1:1.0'");
             more.ipDir = directory_ / "more";
             std::filesystem::copy(directory_ / "k1/ip", more.ipDir,
                                   std::filesystem::copy_options::recursive);
             directory_.file("more/hdl/more.v", "more");
             add(more);
         },
         differs("ip_repo/v_l_k1_1_0", "hdl/more.v") + advice},
        {[&] { add(kernel("k2", "language='ip'")); }, differs("ip_repo", "component.xml") + advice},
        {forge({{"ip_cache/c1/one.qmr", "another"}}), differs("ip_cache/c1", "one.qmr") + "\n"},
        {[&] {
             KernelAddition own = kernel("k2");
             own.ipRepoLayout = false;
             add(own);
         },
         "'" + a + "' has the layout 'repo' and '" + b +
             "' the layout 'kernel'; only packages of one layout can be merged\n"},
        {changed(&HKPKernel::setDirectory, "k1"), notOwn("k1")},
        {changed(&HKPKernel::setDirectory, "K1/sub"), notOwn("K1/sub")},
        {changed(&HKPKernel::setIpDir, "K1"), notOwn("K1")},
        {changed(&HKPKernel::setDirectory, "."), unfit(".", "it names no directory")},
        {changed(&HKPKernel::setDirectory, "../k2"), unfit("../k2", "it contains '..'")},
        {changed(&HKPKernel::setDirectory, "ip_repo/k2"),
         unfit("ip_repo/k2", "the name is taken by the package itself")},
        {[&] {
             add(kernel("k2"));
             ArchiveEdit::run(b, [](ArchiveEdit& edit) { edit.addBytes("k2/foreign", "x"); });
         },
         "The digest of '" + b + "' does not hold: the package was changed since it was sealed\n"},
        {[&] { directory_.file("b.kp", "PK"); },
         "'" + b + "' is not a readable archive: it has no end of directory record"},
        {[] {}, "The specified KP container does not exist: '" + b + "'\n"},
        {[&] { std::filesystem::create_hard_link(a, b); },
         "'" + a + "' is given twice, also as '" + b + "'\n"},
    };
    for (const auto& [make, error] : rows) {
        std::filesystem::remove(b);
        make();
        const auto before = directory_.files();
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::planPackageJoin({merged, {a, b}}); }), error);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::joinPackages({merged, {a, b}}); }), error);
        EXPECT_TRUE(directory_.files() == before) << error;
    }

    std::filesystem::remove(b);
    std::filesystem::create_symlink("nowhere.kp", b);
    for (const std::string& taken : {a, b, directory_.path()})
        EXPECT_EQ(failureOf([&] {
                      HKPContainerUtils::joinPackages({taken, {a}});
                  }),
                  "'" + taken + "' is there already; a merge replaces no file\n");
    const Environment later("KP_SOFTWARE_VERSION", "2019.2");
    EXPECT_THAT(failureOf([&] {
                    HKPContainerUtils::joinPackages({.kpPath = merged, .inputs = {a}, .checkVersion = true});
                }),
                HasSubstr("later than the software version"));
}

TEST_F(MergeTest, WhatFailsOrIsCalledOffLeavesAllAsItWas) {
    const std::string a = packageOf("a.kp", {"k1"}), b = packageOf("b.kp", {"k2", "k3"});
    const std::string merged = directory_ / "merged.kp", onceMerged = bytesOfMerge({a, b}),
                      old = HUTFile::readFile(b);
    const std::function<void()> operations[] = {
        [&] {
            HKPContainerUtils::joinPackages({merged, {a, b}});
        },
        [&] {
            HKPContainerUtils::removeKernels({b, {"k2"}});
        },
    };
    operations[1]();
    const std::string removed = HUTFile::readFile(b);
    std::map<std::string, int> failures;
    for (const auto& operation : operations) {
        for (const bool isCalledOff : {false, true}) {
            for (int n = 1, calls = 0; calls + 1 >= n; ++n) {
                std::filesystem::remove(merged);
                HUTFile::writeFile(b, old);
                const Texts before = namesHere();
                calls = 0;
                bool isDone = true;
                {
                    const disk::DiskFaults faults([&](std::string_view call, const std::string&) {
                        if (++calls != n || call == "remove") return 0;
                        if (isCalledOff) HUTInterrupt::request();
                        return isCalledOff ? 0 : ENOSPC;
                    });
                    try {
                        operation();
                    } catch (const std::exception& failure) {
                        isDone = false;
                        ++failures[dynamic_cast<const HEXInterrupted*>(&failure) ? "called off" : "failed"];
                    }
                    HUTInterrupt::clear();
                }
                if (std::filesystem::exists(merged)) {
                    EXPECT_TRUE(HUTFile::readFile(merged) == onceMerged) << n;
                    std::filesystem::remove(merged);
                } else if (&operation == operations) {
                    EXPECT_FALSE(isDone) << n;
                }
                EXPECT_TRUE(HUTFile::readFile(b) == (isDone && &operation != operations ? removed : old))
                    << n;
                EXPECT_EQ(namesHere(), before) << n;
            }
        }
    }
    EXPECT_GT(failures["failed"], 50);
    EXPECT_GT(failures["called off"], 50);

    struct Event {
        const char* call;
        std::function<void()> act;
        std::string error;
    };
    const Event events[] = {
        {"rename", [&] { HUTFile::writeFile(merged, "another's"); },
         "'" + merged + "' is there already; a merge replaces no file\n"},
        {"lock", [&] { std::filesystem::resize_file(a, std::filesystem::file_size(a) + 1); },
         "'" + a + "' changed while it was copied"},
        {"lock", [&] { std::filesystem::remove(b); }, "nothing thrown"},
    };
    const std::string kept = HUTFile::readFile(a);
    for (const auto& event : events) {
        std::filesystem::remove(merged);
        HUTFile::writeFile(a, kept);
        HUTFile::writeFile(b, old);
        const disk::DiskFaults faults(::once(event.call, [&] { return event.act(), 0; }));
        EXPECT_EQ(failureOf(operations[0]), event.error);
    }
    EXPECT_TRUE(HUTFile::readFile(merged) == onceMerged);
}

}  // namespace
