// Extracting from real packages, reading members, packing IP caches, verifying what manifests state.

#include "containers/explorer/FileExplorer.h"
#include "platform/zip/HUTZip.h"
#include "tests/containers/PackageTest.h"

#include <boost/algorithm/string/replace.hpp>
#include <sys/resource.h>

namespace {

namespace fs = std::filesystem;
using kfab::kernel::ExplorerIface;
using testing::ElementsAre;
using Explorer = std::shared_ptr<ExplorerIface>;
using Files = std::map<std::string, std::string>;

class ExtractTest : public PackageTest {
protected:
    std::string at(const std::string& name) const { return directory_ / name; }

    /// A new package of a kernel that has everything.
    void packK1(bool repo = true) const {
        fs::remove(package_);
        KernelAddition k1 = fullKernel(directory_, "k1");
        k1.ipRepoLayout = repo;
        add(k1);
    }
    /// Changes the entry of k1 when it is called.
    std::function<void()> k1With(const std::function<void(HKPKernel&)>& change) const {
        return [=, this] {
            changeManifest(package_, [&](HKPContainer& all) { change(*all.getKPKernelByName("k1")); });
        };
    }
    std::function<void()> cacheOf(const std::string& name) const {
        return
            [=, this] { changeManifest(package_, [&](HKPContainer& all) { all.addIpCacheIfUnique(name); }); };
    }

    Explorer one(const std::string& name) const {
        return HKPContainerUtils::extractKernelFromKPContainer(package_, name, out_, false);
    }
    Explorer all() const {
        return HKPContainerUtils::extractAllKernelsFromKPContainer(package_, out_, false);
    }

    /// What another program extracts, but for the members of these patterns.
    Files unzipped(const std::string& without) const {
        fs::remove_all(at("unzipped"));
        fs::create_directory(at("unzipped"));
        const std::string command = "cd '" + directory_.path() + "' && unzip -q p.kp -d unzipped -x ";
        EXPECT_EQ(std::system((command + without).c_str()), 0);
        return directory_.files("unzipped");
    }
    Texts findings() const {
        Texts lines;
        for (const PackageFinding& finding : PackageVerification::of(package_).findings)
            lines.push_back(finding.code + " [" + finding.member + "] " + finding.text);
        return lines;
    }

    const std::string out_ = at("out");
};

/// What the explorer tells of a kernel, relative to its root; "-" where it tells nothing.
std::string rootsOf(const Explorer& explorer, const std::string& kernel) {
    std::string roots;
    for (const auto root :
         {&ExplorerIface::getKernelDefRoot, &ExplorerIface::getCpuSourcesRoot,
          &ExplorerIface::getSwEmuFilesRoot, &ExplorerIface::getDebugRoot, &ExplorerIface::getHlsRoot,
          &ExplorerIface::getPdiFilesRoot, &ExplorerIface::getShimSolnFileRoot,
          &ExplorerIface::getIPDefinitionRoot, &ExplorerIface::getIPCacheRoot}) {
        const std::string path = ((*explorer).*root)(kernel);
        roots += path.empty() ? "- " : fs::path(path).lexically_relative(explorer->getRoot()).string() + " ";
    }
    return roots;
}

TEST_F(ExtractTest, GivesWhatUnzipGivesAndTellsWhereItLies) {
    const std::string sources = "k1 k1/cpu_sources k1/sw_emu ", none = "- - - - ";
    const std::string solutions = sources + "k1/debug k1/hls k1/pdi k1/shim_soln ";
    const std::tuple<bool, std::string, std::string, std::string> rows[] = {
        {true, solutions + "ip_repo ip_cache ", solutions + "ip_repo - ", "k2 - - " + none + "ip_repo - "},
        {false, sources + none + "k1/ip - ", sources + none + "- - ", "k2 - - " + none + "- - "},
    };
    for (const auto& [repo, alone, amongAll, other] : rows) {
        fs::remove_all(out_);
        fs::remove_all(at("repo"));
        packK1(repo);
        KernelAddition k2 = ipKernel(directory_, "k2");
        k2.ipRepoLayout = repo;
        add(k2);
        const Explorer single = one("K1");
        EXPECT_EQ(rootsOf(single, "k1"), alone);
        EXPECT_EQ(rootsOf(single, "k2"), "- - - " + none + "- - ");
        EXPECT_EQ(single->getHierTopIPPath("k1") + single->getVLNV("k1"), "topv:l:k1:1.0");
        EXPECT_EQ(single->supportsIPCache(), repo);
        EXPECT_EQ(directory_.files("out"), unzipped("kp.xml 'k2/*'"));

        const Explorer every = all();
        EXPECT_EQ(rootsOf(every, "k1"), amongAll);
        EXPECT_EQ(rootsOf(every, "k2"), other);
        EXPECT_FALSE(every->supportsIPCache());
        EXPECT_EQ(directory_.files("out"), unzipped("kp.xml"));

        EXPECT_EQ(HKPContainerUtils::extractIpRepoFromKPContainer(package_, at("repo")), at("repo/ip_repo"));
        EXPECT_EQ(directory_.files("repo/ip_repo").size(), repo ? 4U : 0U);
    }
}

TEST_F(ExtractTest, IpCachesArePackedOnceAndExtractedWhileTheyAreNotThere) {
    packK1();
    for (const char* name : {"own.qmr", "a/one.QMR", "a/deep/none.txt", "b/a/two.qmr", "b/a/three.qmr"})
        file(std::string("caches/") + name);
    fs::create_directories(at("caches/c.qmr"));
    ArchiveEdit::run(package_, [](ArchiveEdit& edit) {
        edit.addBytes("ip_cache/a/left.over", "");
        edit.seal();
    });
    messages_.clear();
    HKPContainerUtils::appendIPCacheDir(package_, at("caches/"));
    EXPECT_THAT(messages_.texts(), ElementsAre("17-2002: The IP cache '" + at("caches/b/a") +
                                               "' is not packaged: another one is named 'a' as well"));
    EXPECT_TRUE(PackageVerification::of(package_).isClean());

    const Texts packed = members();
    const Files caches = directory_.files("caches"), a = directory_.files("caches/a");
    file("caches/a/late.txt");
    const fs::path before = fs::current_path();
    fs::current_path(at("caches/b"));
    for (const std::string& again : {at("caches"), std::string("."), std::string("a/../a/.")})
        HKPContainerUtils::appendIPCacheDir(package_, again);
    fs::current_path(before);
    fs::create_symlink("nowhere", at("caches/dangling"));
    EXPECT_EQ(failureOf([&] { HKPContainerUtils::appendIPCacheDir(package_, at("caches")); }),
              "filesystem::recursive_directory_iterator directory error: '" + at("caches/dangling") +
                  "' is a symbolic link that leads nowhere");
    EXPECT_EQ(members(), packed);

    EXPECT_EQ(one("k1")->getIPCacheRoot("k1"), out_ + "/ip_cache");
    EXPECT_EQ(directory_.files("out/ip_cache/caches"), caches);
    EXPECT_EQ(directory_.files("out/ip_cache/a"), a);
    EXPECT_EQ(directory_.files("out/ip_cache").size(), caches.size() + a.size());
    directory_.file("out/ip_cache/a/one.QMR", "mine");
    fs::remove_all(at("out/ip_cache/caches"));
    EXPECT_EQ(all()->getIPCacheRoot("k1"), out_ + "/ip_cache");
    EXPECT_EQ(directory_.files("out/ip_cache/caches"), caches);
    EXPECT_EQ(directory_.files("out/ip_cache/a").at("one.QMR"), "mine");

    packK1(false);
    const Texts kernels = kernelsOf(package_);
    HKPContainerUtils::appendIPCacheDir(package_, at("caches/a"));
    EXPECT_EQ(HKPContainerUtils::getKPContainerMajorVersion(package_), 6U);
    EXPECT_EQ(kernelsOf(package_), kernels);
}

TEST_F(ExtractTest, DirectoriesOfTheManifestAreFollowedWhereTheyDifferFromNames) {
    packK1();
    ArchiveEdit::run(package_, [&](ArchiveEdit& edit) {
        edit.addFile("sub/dir/kernel.xml", at("k1/kernel.xml"));
        edit.addTree("sub/dir/hls", at("hls_in"));
    });
    k1With([](HKPKernel& k1) { k1.setDirectory("sub/dir"); })();
    EXPECT_EQ(rootsOf(one("k1"), "k1"), "sub/dir - - - sub/dir/hls - - ip_repo ip_cache ");
    EXPECT_FALSE(fs::exists(out_ + "/k1"));
    EXPECT_EQ(rootsOf(all(), "k1"), "sub/dir - - - sub/dir/hls - - ip_repo - ");
    EXPECT_TRUE(fs::is_empty(out_ + "/k1"));
}

TEST_F(ExtractTest, WhatCannotBeExtractedIsToldAndNothingIsWritten) {
    const auto inDirectory = [&](const char* name) {
        return k1With([=](HKPKernel& k1) { k1.setDirectory(name); });
    };
    const auto hostileName = [&] {
        HUTZip::compress(package_, {at("k1/kernel.xml")}, "__/k1");
        k1With([](HKPKernel& k1) { k1.setName("../k1"); })();
        std::string bytes = TemporaryDirectory::read(package_);
        boost::replace_all(bytes, "__/", "../");
        directory_.file("p.kp", bytes);
    };
    const auto refused = [this](const std::string& name, const std::string& reason) {
        return "Failed to extract '" + name + "' of the archive '" + package_ + "': " + reason;
    };
    const auto unfit = [this](const std::string& what, const std::string& attribute,
                              const std::string& reason) {
        return "Failed to extract " + what + " of KP container '" + package_ + "': " + attribute +
               " in the manifest, " + reason + "\n";
    };
    const std::string k1 = "kernel 'k1'", dir = "its Dir", no = "', cannot be a directory: it ";
    const std::tuple<std::string, std::function<void()>, std::string> rows[] = {
        {"k1", inDirectory("../k1"), unfit(k1, dir, "'../k1" + no + "contains '..'")},
        {"k1", inDirectory("/etc"), unfit(k1, dir, "'/etc" + no + "is an absolute path")},
        {"k1", inDirectory(""), unfit(k1, dir, "'" + no + "is empty")},
        {"k1", inDirectory("./"), unfit(k1, dir, "'./" + no + "names no directory")},
        {"../k1", hostileName, unfit("kernel '../k1'", "its Name", "'../k1" + no + "contains '..'")},
        {"k1", cacheOf("../../cache"),
         unfit("the IP caches", "a CacheDir", "'../../cache" + no + "contains '..'")},
        {"k1", [&] { fs::create_directory_symlink(at("k1"), out_ + "/ip_repo"); },
         refused("ip_repo", "'" + out_ + "/ip_repo' is in the way: it is a symbolic link")},
        {"k1", [&] { fs::remove(package_); }, "Failed to parse KP container '" + package_ + "'\n"},
    };
    for (const auto& [kernel, prepare, error] : rows) {
        packK1();
        fs::remove_all(out_);
        fs::create_directory(out_);
        prepare();
        const Files before = directory_.files();
        Texts errors = {"before"};
        EXPECT_FALSE(HKPContainerUtils::extractKernelFromKP(package_, kernel, out_, errors));
        EXPECT_THAT(errors, ElementsAre("before", error));
        EXPECT_EQ(failureOf([&] { all(); }), error);
        EXPECT_EQ(directory_.files(), before) << error;
    }
    packK1();
    EXPECT_EQ(failureOf([&] { one("k"); }),
              "Kernel 'k' was not found inside KP container '" + package_ + "'\n");
}

TEST_F(ExtractTest, TheOwnIpAloneAndASealAreWhatOnlyTheNamedExtractionAsksFor) {
    packK1();
    add(ipKernel(directory_, "k2"));
    KernelExtraction request{
        .kpPath = package_, .kernelName = "K1", .destination = out_, .jobs = jobsOfTests()};
    request.requireSeal = request.ownIp = true;
    const ExtractedKernel k1 = HKPContainerUtils::extractKernel(request);
    EXPECT_EQ(k1.name + "|" + k1.projectID + "|" + k1.topIpDir, "k1|p7|top");
    EXPECT_EQ(k1.explorer->getIPDefinitionRoot("k1"), out_ + "/ip_repo");
    EXPECT_EQ(directory_.files("out"), unzipped("kp.xml 'k2/*' '*k2_1_0/*'"));

    const std::string misplaced =
        " of kernel 'k1' is not in the IP repository of KP container '" + package_ + "'\n";
    const std::tuple<std::string, std::size_t, std::string> rows[] = {
        {"ip_repo/v_l_k2_1_0/", 2, "nothing thrown"},
        {"ip_repo", 4, "nothing thrown"},
        {"", 0, "nothing thrown"},
        {"ip_repo/gone", 0, "The IP 'ip_repo/gone'" + misplaced},
        {"k1/hls", 0, "The IP 'k1/hls'" + misplaced},
        {"ip_repo/../k2", 0,
         "Failed to extract kernel 'k1' of KP container '" + package_ +
             "': its IP in the manifest, 'ip_repo/../k2', cannot be a directory: it contains '..'\n"},
    };
    request.requireSeal = false;
    for (const auto& [ip, files, error] : rows) {
        fs::remove_all(out_);
        k1With([ip = ip](HKPKernel& entry) { entry.setIpDir(ip); })();
        EXPECT_EQ(failureOf([&] { HKPContainerUtils::extractKernel(request); }), error);
        EXPECT_EQ(fs::exists(out_) ? directory_.files("out/ip_repo").size() : 0, files) << ip;
    }
    request.requireSeal = true;
    EXPECT_EQ(
        failureOf<HKPSealBroken>([&] { HKPContainerUtils::extractKernel(request); }),
        "The digest of '" + package_ + "' does not hold: the package was changed since it was sealed\n");
    EXPECT_FALSE(fs::exists(out_));
    packK1(false);
    HKPContainerUtils::extractKernel(request);
    EXPECT_EQ(directory_.files("out"), unzipped("kp.xml"));
}

TEST_F(ExtractTest, ReadsTheLinesOfAMember) {
    pack(package_, {{"lines", "one\r\n\n  three"}, {"ended", "one\n"}, {"empty", ""}, {"d/", ""}});
    Texts lines = {"before"}, errors = {"before"};
    for (const char* member : {"lines", "ended", "empty"})
        EXPECT_TRUE(HKPContainerUtils::readFileInKP(package_, member, lines, errors)) << member;
    const std::string failed = "Failed to read file ", from = " from " + package_;
    for (const char* member : {"Lines", "d/"})
        EXPECT_FALSE(HKPContainerUtils::readFileInKP(package_, member, lines, errors)) << member;
    EXPECT_THAT(lines, ElementsAre("before", "one\r", "", "  three", "one"));
    EXPECT_THAT(errors, ElementsAre("before", failed + "Lines" + from, failed + "d/" + from));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which take much themselves
TEST_F(ExtractTest, ALineTooLongForTheMemoryIsToldOnce) {
    constexpr std::size_t line = 128U << 20;
    pack(package_, {{"line", std::string(line, 'x')}});
    const auto readWithLittleMemory = [&] {
        const rlimit little{line + line / 2, RLIM_INFINITY};
        setrlimit(RLIMIT_AS, &little);
        Texts lines, errors;
        HKPContainerUtils::readFileInKP(package_, "line", lines, errors);
        std::exit(errors == Texts{"Failed to read file line from " + package_} && lines.empty() ? 0 : 1);
    };
    EXPECT_EXIT(readWithLittleMemory(), testing::ExitedWithCode(0), "");
}
#endif

TEST_F(ExtractTest, VerificationComparesTheManifestWithTheContents) {
    const auto without = [this](const std::string& folder) {
        return [=, this] { HUTZip::deleteFolderFromZip(package_, folder); };
    };
    const auto holding = [this](const std::string& member, const std::string& text) {
        return [=, this] {
            ArchiveEdit::run(package_, [&](ArchiveEdit& edit) { edit.addBytes(member, text); });
        };
    };
    const auto hidden = [&] {
        std::string manifest = ArchiveSnapshot::open(package_)->read("kp.xml");
        const std::size_t first = manifest.find("<Kernel "), end = manifest.find("</Kernels>");
        std::string kernel = manifest.substr(first, end - first);
        boost::replace_first(kernel, "\"k1\"", "\"K1\"");
        holding("kp.xml", manifest.insert(first, kernel))();
    };
    const auto missing = [](const std::string& code, const std::string& what, const std::string& member) {
        return "missing-" + code + " [" + member + "] " + what + " '" + member + "' is not in the package";
    };
    const auto unsafe = [](const std::string& what, const std::string& reason) {
        return "unsafe-path [kp.xml] " + what + " cannot be a directory: it contains " + reason;
    };
    const std::string misnamed = "kernel-name [k1/kernel.xml] Kernel '", its = "Kernel 'k1': its ";
    const std::pair<std::function<void()>, Texts> rows[] = {
        {[] {}, {}},
        {[&] { packK1(false); }, {}},
        {k1With([](HKPKernel& k1) { k1.setIsHlsDir(false); }),
         {"folder-without-flag [k1/hls] Kernel 'k1': its flag 'Hls' is not set, but 'k1/hls' is in the "
          "package"}},
        {without("k1"), {missing("directory", its + "directory", "k1")}},
        {[&] {
             changeManifest(
                 package_, [](HKPContainer&) {}, false);
         },
         {"misplaced-ip [ip_repo/v_l_k1_1_0] Kernel 'k1': its IP directory 'ip_repo/v_l_k1_1_0' is not where "
          "the layout 'kernel' has it"}},
        {without("ip_repo"), {missing("ip", its + "IP directory", "ip_repo/v_l_k1_1_0")}},
        {cacheOf("c/d"), {missing("cache", "The IP cache", "ip_cache/c/d")}},
        {cacheOf(".."), {unsafe("The IP cache '..'", "'..'")}},
        {[&] { HUTZip::deleteFilesFromZip(package_, {"k1/kernel.xml"}); },
         {missing("kernel-xml", its + "description", "k1/kernel.xml")}},
        {[&] { HUTZip::deleteFilesFromZip(package_, {"kp.xml"}); },
         {"manifest [kp.xml] '" + package_ + "' has no kp.xml, so it is no kernel package"}},
        {hidden,
         {"duplicate-kernel [kp.xml] Kernel 'K1': a later one has its name, in any case of letters",
          misnamed + "K1': 'k1/kernel.xml' names the kernel 'k1'",
          missing("kernel-xml", "Kernel 'K1': its description", "K1/kernel.xml")}},
        {holding("k1/cpu_sources/kernel.xml", ""), {}},
        {holding("k9/kernel.xml", ""),
         {"unclaimed-kernel [k9/kernel.xml] The folder 'k9' has a description, but the manifest has no such "
          "kernel"}},
        {holding("k1/kernel.xml", kernelXml("name='k9'")),
         {misnamed + "k1': 'k1/kernel.xml' names the kernel 'k9'"}},
        {holding("k1/kernel.xml", "<root versionMajor='1' versionMinor='10'>\n</rot>"),
         {"kernel-xml [k1/kernel.xml] Kernel 'k1': 'k1/kernel.xml': [17-132] " + package_ +
          ":2: mismatched tag"}},
        {k1With([](HKPKernel& k1) { k1.setDirectory("../k1"); }),
         {unsafe(its + "directory '../k1'", "'..'")}},
        {k1With([](HKPKernel& k1) { k1.setIpDir("k1\\ip"); }),
         {unsafe(its + "IP directory 'k1\\ip'", "a backslash")}},
        {k1With([](HKPKernel& k1) { k1.setName("../k2"); }),
         {misnamed + "../k2': 'k1/kernel.xml' names the kernel 'k1'",
          unsafe("Kernel '../k2': its name '../k2'", "'..'")}},
    };
    for (const auto& [spoil, expected] : rows) {
        packK1();
        spoil();
        EXPECT_EQ(findings(), expected);
    }
}

}  // namespace
