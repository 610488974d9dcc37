// Whole operations on real packages: taking kernels out, and putting packages together.

#include "platform/files/HUTFile.h"
#include "platform/zip/HUTZip.h"
#include "tests/containers/PackageTest.h"
#include "tests/support/Faults.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

constexpr const char* nothing = "nothing thrown";

class MergeTest : public PackageTest {
protected:
    /// A package of kernels that have all there can be, and an IP cache.
    std::string packageOf(const std::string& name, const Texts& kernels, const std::string& cache) const {
        for (const std::string& kernel : kernels)
            add(into(directory_ / name, fullKernel(directory_, kernel)));
        file(cache + "/one.qmr");
        HKPContainerUtils::appendIPCacheDir(directory_ / name, directory_ / cache);
        return directory_ / name;
    }
    /// The bytes of p.kp, made of these.
    std::string merge(const Texts& inputs, bool sorts = false) const {
        fs::remove(package_);
        HKPContainerUtils::joinPackages(
            {.kpPath = package_, .inputs = inputs, .sorts = sorts, .jobs = jobsOfTests()});
        verifyClean();
        return HUTFile::readFile(package_);
    }
    void remove(const Texts& names) const {
        HKPContainerUtils::removeKernels({.kpPath = package_, .kernelNames = names});
        verifyClean();
    }
    /// What is left of p.kp without some kernels, as another package.
    std::string without(const Texts& names, const std::string& name) const {
        remove(names);
        return directory_.file(name, HUTFile::readFile(package_));
    }
    /// The kernel k2 as a package of its own, which later has another entry in the manifest.
    std::string forge(const std::string& path, const std::function<void(HKPKernel&)>& change) const {
        add(into(path, kernel("k2")));
        changeManifest(path, [&](HKPContainer& all) { change(*all.getKPKernelByName("k2")); });
        HUTZip::attachDigestEn(path);
        return path;
    }

    const Environment epoch_{"SOURCE_DATE_EPOCH", "1600000000"};
};

TEST_F(MergeTest, AKernelGoesWithAllThatIsItsAlone) {
    packageOf("p.kp", {"k1"}, "c1");
    KernelAddition twin = fullKernel(directory_, "k2", "language='ip' vlnv='v:l:k1:1.0'");
    twin.ipDir = directory_ / "k1/ip";
    add(twin);
    add(fullKernel(directory_, "k3"));
    const Texts listed = kernelsOf(package_);
    remove({"K1", "k3", "k1"});
    EXPECT_THAT(kernelsOf(package_), ElementsAre(listed[1]));
    EXPECT_THAT(members(), Not(testing::Contains(testing::AnyOf(HasSubstr("k3"), HasSubstr("k1/")))));
    EXPECT_THAT(members(), testing::Contains("ip_repo/v_l_k1_1_0/hdl/top.v"));
    add(fullKernel(directory_, "k1"));
    add(fullKernel(directory_, "k3"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre(listed[1], listed[0], listed[2]));
    remove({"k1", "k2", "k3"});
    EXPECT_THAT(members(), ElementsAre("ip_cache/c1/one.qmr", "kp.xml"));
    add(fullKernel(directory_, "k1"));
    EXPECT_THAT(kernelsOf(package_), ElementsAre(listed[0]));

    Texts plain;
    for (const char* name : {"k1", "k2"}) {
        plain.push_back(directory_ / (std::string(name) + ".kp"));
        KernelAddition addition = into(plain.back(), kernel(name));
        addition.ipRepoLayout = false;
        add(addition);
    }
    merge(plain);
    remove({"k1"});
    EXPECT_THAT(kernelsOf(package_), ElementsAre("k2|k2|k2/ip|top|p7|hw_emu,hw,|rtl"));
    EXPECT_THAT(members(), ElementsAre("k2/kernel.xml", "k2/ip/component.xml", "k2/ip/hdl/top.v", "kp.xml"));
}

// Each row changes the manifest's entry of k1 or k2; then k1 is to go.
TEST_F(MergeTest, WhatOthersHaveOrNobodyCanTellIsNotRemoved) {
    const std::string whole = HUTFile::readFile(packageOf("p.kp", {"k1", "k2"}, "c1"));
    const auto failureOfRemoving = [&](const Texts& names, BrokenSeal brokenSeal = BrokenSeal::Refuse) {
        const std::string before = HUTFile::readFile(package_);
        const KernelRemoval removal{package_, names, brokenSeal};
        const std::string planned = failureOf([&] { HKPContainerUtils::planKernelRemoval(removal); });
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::removeKernels(removal); }), planned);
        EXPECT_EQ(HUTFile::readFile(package_) == before, planned != nothing) << planned;
        return planned;
    };
    const auto kept = [&](const std::string& where) {
        return "Kernel 'k1' cannot be removed from KP container '" + package_ +
               "' because kernel 'k2' has files in its " + where + "\n";
    };
    const auto unfit = [&](const std::string& place, const std::string& reason) {
        return "The directory '" + place + "' of kernel 'k1' in '" + package_ +
               "' cannot be removed: " + reason + "\n";
    };
    const auto setDirectory = &HKPKernel::setDirectory, setIp = &HKPKernel::setIpDir;
    const std::tuple<const char*, void (HKPKernel::*)(const std::string&), std::string, std::string> rows[] =
        {
            {"k2", setDirectory, "K1/hls/", kept("directory 'k1'")},
            {"k1", setDirectory, "k2/hls", kept("directory 'k2/hls'")},
            {"k2", setIp, "k1/debug", kept("directory 'k1'")},
            {"k2", setDirectory, "ip_repo/v_l_k1_1_0/hdl", kept("IP 'ip_repo/v_l_k1_1_0'")},
            {"k1", setIp, "ip_repo", kept("IP 'ip_repo'")},
            {"k1", setDirectory, "", unfit("", "it is empty")},
            {"k1", setDirectory, "ip_repo/v_l_k2_1_0",
             unfit("ip_repo/v_l_k2_1_0", "the name is taken by the package itself")},
            {"k1", setIp, "kp.xml", nothing},
            {"k1", setIp, "../elsewhere", nothing},
            {"k2", setIp, "ip_repo/V_L_k1_1_0/", nothing},
            {"k1", setIp, "odd", nothing},
        };
    for (const auto& [kernel, set, place, error] : rows) {
        HUTFile::writeFile(package_, whole);
        ArchiveEdit::run(package_, [](ArchiveEdit& edit) { edit.addBytes("odd/top.v", "odd"); });
        changeManifest(package_, [&, &kernel = kernel, &set = set, &place = place](HKPContainer& all) {
            (all.getKPKernelByName(kernel)->*set)(place);
        });
        HUTZip::attachDigestEn(package_);
        EXPECT_EQ(failureOfRemoving({"k1"}), error);
        const auto archive = ArchiveSnapshot::open(package_);
        EXPECT_EQ(archive->isDirectory("odd"), place != "odd") << place;
        EXPECT_TRUE(archive->isDirectory("ip_repo/v_l_k1_1_0")) << place;
        EXPECT_EQ(archive->isDirectory("k1/pdi"), error != nothing) << place;
    }
    HUTFile::writeFile(package_, whole);
    EXPECT_EQ(failureOfRemoving({"k1", "kk2"}),
              "Kernel 'kk2' was not found inside KP container '" + package_ + "'; did you mean 'k2'?\n");
    ArchiveEdit::run(package_, [](ArchiveEdit& edit) { edit.addBytes("k1/foreign", "x"); });
    EXPECT_EQ(
        failureOfRemoving({"k1"}),
        "The digest of '" + package_ + "' does not hold: the package was changed since it was sealed\n");
    EXPECT_EQ(failureOfRemoving({"k1"}, BrokenSeal::Renew), nothing);
    verifyClean();
}

TEST_F(MergeTest, TheBytesFollowFromTheKernelsAndTheirOrderAlone) {
    const std::string a = packageOf("a.kp", {"k3", "k1"}, "c2"), c = directory_ / "c.kp";
    const std::string b = packageOf("b.kp", {"k2"}, "c1");
    KernelAddition last = into(c, kernel("k4"));
    last.cpuFiles = {file("a.cpp")};
    KernelAddition whole = last;
    whole.pdiFiles = {file("x.pdi")};
    add(whole);
    const std::string sorted = merge({a, b, c}, true);
    fs::remove(c);
    add(last);  // in another order
    whole.update = true;
    add(whole);
    EXPECT_TRUE(merge({c, b, a}, true) == sorted);

    const std::string all = merge({a, b, c});
    Texts kernels;
    std::map<std::string, std::string> files, merged;
    for (const std::string& part : {a, b, c}) {
        const Texts more = kernelsOf(part);
        kernels.insert(kernels.end(), more.begin(), more.end());
        for (const std::string& name : isl::iostreams::zip::get_files(part))
            files[name] = ArchiveSnapshot::open(part)->read(name);
    }
    for (const std::string& name : members())
        merged[name] = member(name);
    files["kp.xml"] = merged["kp.xml"];
    EXPECT_EQ(kernelsOf(package_), kernels);
    EXPECT_EQ(members().size(), files.size());
    EXPECT_EQ(merged, files);
    EXPECT_THAT(merged["kp.xml"], testing::ContainsRegex("CacheDir=\"c2\"(.|\n)*CacheDir=\"c1\""));
    EXPECT_EQ(members().front(), "k3/kernel.xml");

    const std::string first = without({"k2", "k4"}, "first.kp");
    HUTFile::writeFile(package_, all);
    const std::string second = without({"k3", "k1"}, "second.kp");
    EXPECT_TRUE(merge({first, second}) == all);
    EXPECT_TRUE(merge({second, first}, true) == sorted);

    const Environment later("SOURCE_DATE_EPOCH", "1700000000");
    EXPECT_FALSE(merge({a, b, c}, true) == sorted);
    unsetenv("SOURCE_DATE_EPOCH");
    EXPECT_TRUE(merge({a, b, c}, true) == sorted);
}

TEST_F(MergeTest, WhatIsSharedComesOnceHoweverItIsStored) {
    const std::string a = packageOf("a.kp", {"k1"}, "c1"), b = directory_ / "b.kp";
    KernelAddition twin = into(b, kernel("k2", "language='ip' vlnv='v:l:k1:1.0'"));
    twin.ipDir = directory_ / "k1/ip";
    add(twin);
    add(into(b, kernel("k4")));
    HKPContainerUtils::appendIPCacheDir(b, directory_ / "c1");
    const std::string anew = "cd '" + directory_.path() +
                             "' && mkdir x k3 && cd x && unzip -q ../b.kp && mv ip_repo/v_l_k1_1_0 "
                             "ip_repo/V_l_k1_1_0 && echo stray >ip_repo.txt && mkdir k3 && "
                             "echo stray >k3/kernel.xml && rm ../b.kp && zip -0qr ../b.kp .";
    ASSERT_EQ(std::system(anew.c_str()), 0);
    changeManifest(b,
                   [](HKPContainer& all) { all.getKPKernelByName("k2")->setIpDir("ip_repo/V_l_k1_1_0/"); });
    HUTZip::attachDigestEn(b);
    messages_.clear();
    merge({a, b});
    const auto left = [&](const std::string& name) {
        return "17-2011: '" + name + "' in '" + b + "' belongs to no kernel and is left out";
    };
    EXPECT_THAT(messages_.texts(), testing::UnorderedElementsAre(left("ip_repo.txt"), left("k3/kernel.xml")));
    EXPECT_THAT(kernelsOf(package_), ElementsAre(HasSubstr("k1|"), HasSubstr("k2|k2|ip_repo/v_l_k1_1_0/|"),
                                                 HasSubstr("k4|k4|ip_repo/v_l_k4_1_0|")));
    EXPECT_THAT(members(), Not(testing::Contains(HasSubstr("V_l"))));
}

// Each row makes b.kp, of a kernel k2 unless it says otherwise, unfit to go with a.kp.
TEST_F(MergeTest, ClashesAreRefusedWithBothPackagesAndNothingIsMade) {
    const std::string a = packageOf("a.kp", {"k1"}, "c1"), b = directory_ / "b.kp";
    const auto kernelWith = [&](const std::string& attributes, bool ipRepoLayout = true) {
        return [=, this] {
            KernelAddition addition = into(b, kernel("k2", attributes));
            addition.ipRepoLayout = ipRepoLayout;
            add(addition);
        };
    };
    const auto moved = [&](const std::string& directory) {
        return [=, this] { forge(b, [&](HKPKernel& k2) { k2.setDirectory(directory); }); };
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
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { add(into(b, kernel("K1", "vlnv='v:l:other:1'"))); },
         "Kernel 'K1' is in both '" + a + "' and '" + b + "'\n"},
        {kernelWith("vlnv='V:l:k1:1.0'"), differs("ip_repo/V_l_k1_1_0", "component.xml") + advice},
        {kernelWith("language='ip'"), differs("ip_repo", "component.xml") + advice},
        {[&] { packageOf("b.kp", {"k2"}, "other/c1"); }, differs("ip_cache/c1", "one.qmr") + "\n"},
        {kernelWith("", false), "'" + a + "' has the layout 'repo' and '" + b +
                                    "' the layout 'kernel'; only packages of one layout can be merged\n"},
        {moved("k1"), notOwn("k1")},
        {moved("K1/sub"), notOwn("K1/sub")},
        {[&] { forge(b, [](HKPKernel& k2) { k2.setIpDir("K1"); }); }, notOwn("K1")},
        {moved("."), unfit(".", "it names no directory")},
        {moved("../k2"), unfit("../k2", "it contains '..'")},
        {moved("ip_repo/k2"), unfit("ip_repo/k2", "the name is taken by the package itself")},
        {[&] {
             pack(b, {{"k2", ""}});
         },
         "'" + b + "' has no kp.xml, so it is no kernel package"},
        {[] {}, "The specified KP container does not exist: '" + b + "'\n"},
        {[&] { fs::create_hard_link(a, b); }, "'" + a + "' is given twice, also as '" + b + "'\n"},
    };
    for (const auto& [make, error] : rows) {
        fs::remove(b);
        make();
        const auto before = directory_.files();
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::planPackageJoin({package_, {a, b}}); }), error);
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::joinPackages({package_, {a, b}}); }), error);
        EXPECT_TRUE(directory_.files() == before) << error;
    }
    fs::remove(b);
    fs::create_symlink("nowhere.kp", b);
    for (const std::string& taken : {a, b, directory_.path()})
        EXPECT_EQ(failureOf([&] {
                      HKPContainerUtils::joinPackages({taken, {a}});
                  }),
                  "'" + taken + "' is there already; a merge replaces no file\n");
}

TEST_F(MergeTest, WhatHappensMeanwhileIsNeitherOverwrittenNorMixedIn) {
    const std::string a = packageOf("a.kp", {"k1"}, "c1"), b = packageOf("b.kp", {"k2"}, "c2");
    const std::string bytes = merge({a, b});
    const std::tuple<std::string, std::function<void()>, std::string> events[] = {
        {"lock", [&] { fs::remove(b); }, nothing},
        {"rename", [&] { HUTFile::writeFile(package_, "another's"); },
         "'" + package_ + "' is there already; a merge replaces no file\n"},
        {"lock", [&] { fs::resize_file(a, fs::file_size(a) + 1); },
         "'" + a + "' changed while it was copied"},
    };
    const std::string kept = HUTFile::readFile(b);
    for (const auto& [call, act, error] : events) {
        HUTFile::writeFile(b, kept);
        fs::remove(package_);
        const disk::DiskFaults faults(once(call, [&act = act] { return act(), 0; }));
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::joinPackages({package_, {a, b}}); }), error);
        EXPECT_EQ(fs::exists(package_), call == "rename" || error == nothing);
        EXPECT_EQ(fs::exists(package_) && HUTFile::readFile(package_) == bytes, error == nothing);
    }
}

}  // namespace
