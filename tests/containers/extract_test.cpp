// Extracting from real packages in both layouts, reading members, packing IP caches, and verifying what the
// manifest states.

#include "containers/explorer/FileExplorer.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageVerification.h"
#include "platform/base/Exceptions.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/HUTZip.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using kfab::kernel::ExplorerIface;
using testing::ElementsAre;
using testing::IsEmpty;

using Explorer = std::shared_ptr<ExplorerIface>;
using Strings = std::vector<std::string>;

std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return "(no failure)";
}

/// All files below a directory with their content.
std::map<std::string, std::string> filesBelow(const std::string& directory) {
    std::map<std::string, std::string> files;
    if (fs::exists(directory))
        for (const auto& item : fs::recursive_directory_iterator(directory))
            if (item.is_regular_file())
                files[item.path().string().substr(directory.size() + 1)] =
                    TemporaryDirectory::read(item.path().string());
    return files;
}

class ExtractTest : public testing::Test {
protected:
    std::string at(const std::string& name) const { return directory_ / name; }
    std::string file(const std::string& name) const { return directory_.file(name, "bytes of " + name); }
    std::string kernelXml(const std::string& name) const {
        return directory_.file(name + "/kernel.xml",
                               "<root versionMajor=\"1\" versionMinor=\"10\"><kernel name=\"" + name +
                                   "\" vlnv=\"v:l:" + name +
                                   ":1.0\" language=\"ip\"><ports/><args/></kernel></root>");
    }

    /// Adds a kernel with an IP; a full one with all else that there is.
    void add(const std::string& name, bool repo, bool full = false) const {
        file(name + "/ip/component.xml");
        file(name + "/ip/hdl/top.v");
        Strings cpu, pdi, swEmu;
        std::string shim, debug, hls;
        if (full) {
            cpu = {file("a.cpp"), file("b.cpp")};
            pdi = {file("x.pdi")};
            swEmu = {file("emu.so")};
            shim = file("shim.bin");
            file("debug_in/deep/trace.txt");
            file("hls_in/solution.log");
            debug = at("debug_in");
            hls = at("hls_in");
        }
        HKPContainerUtils::addKernelToKPContainer(package, name, kernelXml(name), at(name + "/ip"), cpu, pdi,
                                                  swEmu, shim, "", "", "p7", "top", debug, hls, repo, false,
                                                  false, false);
    }

    void edit(const std::function<void(ArchiveEdit&)>& operation) const {
        ArchiveEdit::run(package, operation);
    }

    /// Replaces the manifest by one of these kernels, whose only flow is SYSTEM, and caches.
    void writeManifest(const std::vector<std::pair<std::string, std::string>>& namesAndDirectories,
                       bool repo = true, const Strings& caches = {}) const {
        HKPContainer container;
        for (const auto& [name, folder] : namesAndDirectories)
            container.addKPKernel(name, folder, "", ".", "", {HKPKernel::SYSTEM}, false, false, false, false,
                                  false, false, false, true);
        for (const std::string& cache : caches)
            container.addIpCacheIfUnique(cache);
        HKPContainerXMLWriter(container, package).writeKPContainer(repo);
    }

    Explorer one(const std::string& name) const {
        return HKPContainerUtils::extractKernelFromKPContainer(package, name, out, false);
    }
    Explorer all() const { return HKPContainerUtils::extractAllKernelsFromKPContainer(package, out, false); }

    /// What the explorer tells of a kernel, relative to the destination.
    Strings rootsOf(const Explorer& explorer, const std::string& kernel) const {
        Strings roots = {explorer->getKernelDefRoot(kernel),    explorer->getCpuSourcesRoot(kernel),
                         explorer->getSwEmuFilesRoot(kernel),   explorer->getDebugRoot(kernel),
                         explorer->getHlsRoot(kernel),          explorer->getPdiFilesRoot(kernel),
                         explorer->getShimSolnFileRoot(kernel), explorer->getIPDefinitionRoot(kernel),
                         explorer->getIPCacheRoot(kernel)};
        for (std::string& root : roots)
            if (root.starts_with(out + "/")) root.erase(0, out.size() + 1);
        return roots;
    }
    Strings findings() const {
        Strings lines;
        for (const PackageFinding& finding : PackageVerification::of(package).findings)
            lines.push_back(finding.code + " [" + finding.member + "] " + finding.text);
        return lines;
    }
    /// The members of the package below a prefix.
    Strings members(const std::string& prefix) const {
        Strings names;
        for (const std::string& name : isl::iostreams::zip::get_files(package))
            if (name.starts_with(prefix)) names.push_back(name);
        return names;
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    std::string package = at("p.kp");
    std::string out = at("out");
};

TEST_F(ExtractTest, AKernelOfTheRepositoryLayoutComesWithTheRepository) {
    add("k1", true, true);
    add("k2", true);
    const Explorer explorer = one("K1");
    EXPECT_THAT(rootsOf(explorer, "k1"),
                ElementsAre("k1", "k1/cpu_sources", "k1/sw_emu", "k1/debug", "k1/hls", "k1/pdi",
                            "k1/shim_soln", "ip_repo", "ip_cache"));
    EXPECT_THAT(rootsOf(explorer, "k2"), testing::Each(""));
    EXPECT_TRUE(explorer->supportsIPCache());
    EXPECT_EQ(explorer->getRoot(), out);
    EXPECT_EQ(explorer->getVLNV("k1"), "v:l:k1:1.0");
    EXPECT_EQ(explorer->getHierTopIPPath("k1"), "top");
    Strings sources;
    EXPECT_TRUE(explorer->getCpuSources("k1", sources));
    EXPECT_THAT(sources, ElementsAre(out + "/k1/cpu_sources/a.cpp", out + "/k1/cpu_sources/b.cpp"));

    EXPECT_EQ(filesBelow(out + "/ip_repo/v_l_k1_1_0"), filesBelow(at("k1/ip")));
    EXPECT_EQ(filesBelow(out + "/ip_repo/v_l_k2_1_0"), filesBelow(at("k2/ip")));
    EXPECT_EQ(filesBelow(out + "/k1/debug"), filesBelow(at("debug_in")));
    EXPECT_EQ(filesBelow(out + "/k1/hls"), filesBelow(at("hls_in")));
    EXPECT_FALSE(fs::exists(out + "/k2"));
    EXPECT_THAT(rootsOf(one("k2"), "k2"), ElementsAre("k2", "", "", "", "", "", "", "ip_repo", "ip_cache"));

    EXPECT_EQ(HKPContainerUtils::extractIpRepoFromKPContainer(package, at("repo")), at("repo/ip_repo"));
    EXPECT_EQ(filesBelow(at("repo/ip_repo")), filesBelow(out + "/ip_repo"));
    EXPECT_EQ(filesBelow(at("repo")).size(), 4U);
}

TEST_F(ExtractTest, AKernelOfTheKernelLayoutComesWithItsOwnIp) {
    add("k1", false, true);
    add("k2", false);
    const Explorer single = one("k1");
    EXPECT_THAT(rootsOf(single, "k1"),
                ElementsAre("k1", "k1/cpu_sources", "k1/sw_emu", "", "", "", "", "k1/ip", ""));
    EXPECT_FALSE(single->supportsIPCache());
    EXPECT_EQ(filesBelow(out + "/k1/ip"), filesBelow(at("k1/ip")));
    EXPECT_FALSE(fs::exists(out + "/k2") || fs::exists(out + "/ip_repo"));

    const Explorer every = all();
    EXPECT_THAT(rootsOf(every, "k2"), ElementsAre("k2", "", "", "", "", "", "", "", ""));
    EXPECT_EQ(filesBelow(out + "/k2/ip"), filesBelow(at("k2/ip")));

    EXPECT_EQ(HKPContainerUtils::extractIpRepoFromKPContainer(package, at("repo")), at("repo/ip_repo"));
    EXPECT_TRUE(fs::is_empty(at("repo/ip_repo")));
}

TEST_F(ExtractTest, IpCachesArePackedOnceAndExtractedWhileTheyAreNotThere) {
    add("k1", true);
    file("caches/own.qmr");
    file("caches/a/one.QMR");
    file("caches/a/netlist.dcp");
    file("caches/a/deep/none.txt");
    file("caches/b/a/two.qmr");
    file("caches/b/a/three.qmr");
    fs::create_directories(at("caches/c.qmr"));
    edit([](ArchiveEdit& edit) { edit.addBytes("ip_cache/a/left.over", ""); });
    const auto append = [&](const std::string& directory) {
        messages_.clear();
        HKPContainerUtils::appendIPCacheDir(package, directory);
    };
    append(at("caches/"));
    const Strings packed = {
        "ip_cache/caches/a/deep/none.txt", "ip_cache/caches/a/netlist.dcp", "ip_cache/caches/a/one.QMR",
        "ip_cache/caches/b/a/three.qmr",   "ip_cache/caches/b/a/two.qmr",   "ip_cache/caches/own.qmr",
        "ip_cache/a/deep/none.txt",        "ip_cache/a/netlist.dcp",        "ip_cache/a/one.QMR"};
    EXPECT_EQ(members("ip_cache/"), packed);
    EXPECT_THAT(messages_.texts(), ElementsAre("17-2002: The IP cache '" + at("caches/b/a") +
                                               "' is not packaged: another one is named 'a' as well"));
    EXPECT_EQ(HUTZip::checkIntegrityEn(package), 0);
    EXPECT_THAT(findings(), IsEmpty());

    file("caches/a/late.txt");
    append(at("caches"));
    EXPECT_EQ(members("ip_cache/"), packed);
    EXPECT_THAT(messages_.calls(), IsEmpty());
    fs::current_path(at("caches/b"));
    append(".");
    append("a/../a/.");
    fs::current_path("/");
    EXPECT_EQ(members("ip_cache/"), packed);

    for (const bool every : {false, true}) {
        fs::remove_all(out);
        directory_.file("out/ip_cache/a/mine", "kept");
        const Explorer explorer = every ? all() : one("k1");
        EXPECT_EQ(explorer->getIPCacheRoot("k1"), out + "/ip_cache");
        EXPECT_EQ(filesBelow(out + "/ip_cache/a"), (std::map<std::string, std::string>{{"mine", "kept"}}));
        auto whole = filesBelow(at("caches"));
        whole.erase("a/late.txt");
        EXPECT_EQ(filesBelow(out + "/ip_cache/caches"), whole);
    }

    // Of format 2.0 before: the operation stamps 6.0, with the flow of all else.
    fs::remove(package);
    add("k2", false);
    append(at("caches/a"));
    HKPContainer container;
    HKPContainerUtils::parseKPContainerIntoObject_(package, container);
    EXPECT_EQ(container.getVersionMajor(), 6U);
    EXPECT_TRUE(container.getIsIpCacheDir());
    EXPECT_EQ(container.getKPKernelByName("k2")->getIpDir(), "k2/ip");
}

TEST_F(ExtractTest, APackageWithoutIpCachesHasNoneInItsExplorer) {
    add("k1", true);
    const Explorer explorer = all();
    EXPECT_FALSE(explorer->supportsIPCache());
    EXPECT_THAT(rootsOf(explorer, "k1"), ElementsAre("k1", "", "", "", "", "", "", "ip_repo", ""));
    EXPECT_FALSE(fs::exists(out + "/ip_cache"));
}

TEST_F(ExtractTest, DirectoriesOfTheManifestAreFollowedWhereTheyDifferFromNames) {
    add("k1", true, true);
    edit([&](ArchiveEdit& edit) {
        edit.addFile("sub/dir/kernel.xml", at("k1/kernel.xml"));
        edit.addTree("sub/dir/hls", at("hls_in"));
    });
    writeManifest({{"k1", "sub/dir"}});
    EXPECT_THAT(rootsOf(one("k1"), "k1"),
                ElementsAre("sub/dir", "", "", "", "sub/dir/hls", "", "", "ip_repo", "ip_cache"));
    EXPECT_FALSE(fs::exists(out + "/k1"));
    EXPECT_THAT(rootsOf(all(), "k1"),
                ElementsAre("sub/dir", "", "", "", "sub/dir/hls", "", "", "ip_repo", ""));
    EXPECT_TRUE(fs::is_empty(out + "/k1"));
}

TEST_F(ExtractTest, WhatCannotBeExtractedIsToldAndNothingIsWritten) {
    add("k1", true);
    const std::string sound = HUTFile::readFile(package);
    const std::string evil = "Failed to extract '";
    const auto smuggle = [&](const std::string& member) {
        const std::string script =
            "import sys, zipfile; package, file, member = sys.argv[1:]; "
            "zipfile.ZipFile(package, 'a').write(file, member)";
        ASSERT_EQ(std::system(("python3 -c \"" + script + "\" '" + package + "' '" + at("k1/kernel.xml") +
                               "' '" + member + "'")
                                  .c_str()),
                  0);
    };
    const struct {
        std::string kernel;
        std::function<void()> prepare;
        std::string error;
    } rows[] = {
        {"k", [] {}, "Kernel 'k' was not found inside KP container '" + package + "'\n"},
        {"k1",
         [&] {
             writeManifest({{"k1", "../k1"}});
         },
         evil + "../k1' of the archive '" + package + "': it contains '..'"},
        {"k1",
         [&] {
             writeManifest({{"k1", "/etc"}});
         },
         evil + "/etc' of the archive '" + package + "': it is an absolute path"},
        {"k1",
         [&] {
             writeManifest({{"k1", ""}});
         },
         evil + "' of the archive '" + package + "': it is empty"},
        {"k1",
         [&] {
             writeManifest({{"k1", "./"}});
         },
         evil + "./' of the archive '" + package + "': it names no directory"},
        {"../k1",
         [&] {
             writeManifest({{"../k1", "k1"}}, false), smuggle("../k1/kernel.xml");
         },
         evil + "../k1' of the archive '" + package + "': it contains '..'"},
        {"k1",
         [&] {
             writeManifest({{"k1", "k1"}}, true, {"../../cache"});
         },
         evil + "../../cache' of the archive '" + package + "': it contains '..'"},
        {"k1", [&] { fs::create_directory_symlink(at("k1"), (fs::create_directory(out), out + "/ip_repo")); },
         evil + "ip_repo' of the archive '" + package + "': '" + out +
             "/ip_repo' is in the way: it is a symbolic link"},
        {"k1", [&] { fs::remove(package); }, "Failed to parse KP container '" + package + "'\n"},
    };
    for (const auto& row : rows) {
        fs::remove_all(out);
        HUTFile::writeFile(package, sound);
        row.prepare();
        EXPECT_EQ(failureOf([&] { one(row.kernel); }), row.error);
        if (row.kernel != "k") {
            EXPECT_EQ(failureOf([&] { all(); }), row.error);
        }
        Strings errors = {"before"};
        EXPECT_FALSE(HKPContainerUtils::extractKernelFromKP(package, row.kernel, out, errors));
        EXPECT_THAT(errors, ElementsAre("before", row.error));
        EXPECT_THAT(filesBelow(out), IsEmpty()) << row.error;
    }
    EXPECT_EQ(filesBelow(at("k1")).size(), 3U);
}

TEST_F(ExtractTest, OnlyExceptionsOfTheStandardFamilyBecomeErrors) {
    add("k1", true);
    Strings errors;
    EXPECT_TRUE(HKPContainerUtils::extractKernelFromKP(package, "k1", out, errors));
    EXPECT_THAT(errors, IsEmpty());
    const disk::DiskFaults faults([](std::string_view, const std::string&) -> int { throw 7; });
    EXPECT_THROW(HKPContainerUtils::extractKernelFromKP(package, "k1", out, errors), int);
    EXPECT_THAT(errors, IsEmpty());
}

TEST_F(ExtractTest, TheVersionIsCheckedWhenAsked) {
    {
        const Environment later("KP_SOFTWARE_VERSION", "2021.3");
        add("k1", true);
    }
    const std::string refusal =
        "The KP file '" + package +
        "' was created in version 2021.3, which is later than the software version you "
        "are currently running: 2020.1. Forward compatibility is not supported\n";
    one("k1");
    all();
    const auto before = filesBelow(out);
    EXPECT_EQ(failureOf([&] { HKPContainerUtils::extractKernelFromKPContainer(package, "k1", out, true); }),
              refusal);
    EXPECT_EQ(failureOf([&] { HKPContainerUtils::extractAllKernelsFromKPContainer(package, out, true); }),
              refusal);
    Strings errors;
    EXPECT_FALSE(HKPContainerUtils::extractKernelFromKP(package, "k1", out, errors));
    EXPECT_THAT(errors, ElementsAre(refusal));
    EXPECT_EQ(filesBelow(out), before);
}

TEST_F(ExtractTest, ReadsTheLinesOfAMember) {
    const std::string large = std::string(std::size_t{16} << 20, 'l') + "\nend";
    edit([&](ArchiveEdit& edit) {
        edit.addBytes("lines", "one\r\n\n  three");
        edit.addBytes("ended", "one\n");
        edit.addBytes("empty", "");
        edit.addBytes("d/", "");
        edit.addBytes("large", large);
    });
    const struct {
        const char* member;
        bool result;
        Strings lines, errors;
    } rows[] = {
        {"lines", true, {"before", "one\r", "", "  three"}, {"before"}},
        {"ended", true, {"before", "one"}, {"before"}},
        {"empty", true, {"before"}, {"before"}},
        {"large", true, {"before", large.substr(0, large.size() - 4), "end"}, {"before"}},
        {"Lines", false, {"before"}, {"before", "Failed to read file Lines from " + package}},
        {"d/", false, {"before"}, {"before", "Failed to read file d/ from " + package}},
    };
    for (const auto& [member, result, expectedLines, expectedErrors] : rows) {
        Strings lines = {"before"};
        Strings errors = {"before"};
        EXPECT_EQ(HKPContainerUtils::readFileInKP(package, member, lines, errors), result) << member;
        EXPECT_EQ(lines, expectedLines) << member;
        EXPECT_EQ(errors, expectedErrors) << member;
    }
    // Damage that shows only once all has been read.
    std::string damaged = HUTFile::readFile(package);
    const std::size_t local = damaged.find("large") - 30;
    const std::size_t central = damaged.rfind("large") - 46;
    damaged[local + 14] = damaged[central + 16] = static_cast<char>(damaged[local + 14] + 1);
    HUTFile::writeFile(package, damaged);
    Strings lines;
    Strings errors;
    EXPECT_FALSE(HKPContainerUtils::readFileInKP(package, "large", lines, errors));
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(errors, ElementsAre("Failed to read file large from " + package));
}

TEST_F(ExtractTest, PackingIpCachesNamesWhatIsWrongAndChangesNothing) {
    add("k1", true);
    file("cache/a.qmr");
    fs::create_symlink("nowhere", at("dangling"));
    const std::string before = HUTFile::readFile(package);
    const auto append = [&](const std::string& path, const std::string& directory) {
        return failureOf([&] { HKPContainerUtils::appendIPCacheDir(path, directory); });
    };
    EXPECT_EQ(append(at("gone.kp"), at("k1/kernel.xml")),
              "The specified IP Cache directory '" + at("k1/kernel.xml") + "' is not a directory.");
    EXPECT_EQ(append(at("gone.kp"), at("cache")),
              "The specified KP file '" + at("gone.kp") + "' does not exist.");
    EXPECT_FALSE(fs::exists(at("gone.kp")));
    EXPECT_EQ(
        append(package, directory_.path()),
        "filesystem::recursive_directory_iterator directory error: '" + at("dangling") + "' leads nowhere");
    {
        const disk::DiskFaults faults([](std::string_view call, const std::string& path) {
            return call == "rename" && path.find(".kp-") != std::string::npos ? ENOSPC : 0;
        });
        EXPECT_THAT(append(package, at("cache")), testing::EndsWith("No space left on device"));
    }
    EXPECT_EQ(HUTFile::readFile(package), before);
}

TEST_F(ExtractTest, VerificationComparesTheManifestWithTheContents) {
    const auto flagged = [&](const std::string& ip, bool repo) {
        HKPContainer container;
        container.addKPKernel("k1", "k1", ip, ".", "", {HKPKernel::SYSTEM}, true, true, true, true, false,
                              false, true, true);
        HKPContainerXMLWriter(container, package).writeKPContainer(repo);
    };
    const auto remove = [&](const std::string& folder) { HUTZip::deleteFolderFromZip(package, folder); };
    const auto unset = [](const std::string& flag, const std::string& folder) {
        return "folder-without-flag [k1/" + folder + "] Kernel 'k1': its flag '" + flag +
               "' is not set, but 'k1/" + folder + "' is in the package";
    };
    const auto absent = [](const std::string& flag, const std::string& folder) {
        return "flag-without-folder [k1/" + folder + "] Kernel 'k1': its flag '" + flag +
               "' is set, but 'k1/" + folder + "' is not in the package";
    };
    const struct {
        const char* what;
        bool repo, full;
        std::function<void()> spoil;
        Strings expected;
    } rows[] = {
        {"sound", true, true, [] {}, {}},
        {"sound, with flags of what this layout leaves out", false, true, [] {}, {}},
        {"no directory",
         true,
         false,
         [&] { remove("k1"); },
         {"missing-directory [k1] Kernel 'k1': its directory 'k1' is not in the package"}},
        {"no description",
         true,
         true,
         [&] { HUTZip::deleteFilesFromZip(package, {"k1/kernel.xml"}); },
         {"missing-kernel-xml [k1/kernel.xml] Kernel 'k1': its description 'k1/kernel.xml' is not in the "
          "package"}},
        {"no IP",
         true,
         false,
         [&] { remove("ip_repo"); },
         {"missing-ip [ip_repo/v_l_k1_1_0] Kernel 'k1': its IP directory 'ip_repo/v_l_k1_1_0' is not in the "
          "package"}},
        {"folders without flags",
         true,
         true,
         [&] {
             writeManifest({{"k1", "k1"}});
         },
         {unset("Debug", "debug"), unset("Hls", "hls"), unset("Pdi", "pdi"), unset("ShimSoln", "shim_soln"),
          unset("SwEmu", "sw_emu")}},
        {"flags without folders",
         true,
         false,
         [&] { flagged("", true); },
         {absent("Debug", "debug"), absent("Hls", "hls"), absent("Pdi", "pdi"),
          absent("ShimSoln", "shim_soln"), absent("SwEmu", "sw_emu")}},
        {"flags without folders before format 3",
         false,
         false,
         [&] { flagged("k1/ip", false); },
         {absent("Debug", "debug"), absent("Hls", "hls"), absent("SwEmu", "sw_emu")}},
        {"another name",
         true,
         false,
         [&] { edit([&](ArchiveEdit& edit) { edit.addFile("k1/kernel.xml", kernelXml("k9")); }); },
         {"kernel-name [k1/kernel.xml] Kernel 'k1': 'k1/kernel.xml' names the kernel 'k9'"}},
        {"bad description",
         true,
         false,
         [&] {
             edit([&](ArchiveEdit& edit) {
                 edit.addBytes("k1/kernel.xml", "<root versionMajor=\"1\" versionMinor=\"10\">\n</rot>");
             });
         },
         {"kernel-xml [k1/kernel.xml] [17-132] " + package + ":2: mismatched tag"}},
        {"no cache",
         true,
         false,
         [&] {
             writeManifest({{"k1", "k1"}}, true, {"c", "c/d"});
         },
         {"missing-cache [ip_cache/c] The IP cache 'ip_cache/c' is not in the package",
          "missing-cache [ip_cache/c/d] The IP cache 'ip_cache/c/d' is not in the package"}},
        {"unsafe paths",
         true,
         false,
         [&] {
             flagged("/ip", true);
             writeManifest({{"k1", "../k1"}, {"../k2", "k1"}}, true, {".."});
         },
         {"unsafe-path [kp.xml] Kernel 'k1': its directory '../k1' cannot be a directory: it contains '..'",
          "kernel-name [k1/kernel.xml] Kernel '../k2': 'k1/kernel.xml' names the kernel 'k1'",
          "unsafe-path [kp.xml] Kernel '../k2': its name '../k2' cannot be a directory: it contains '..'",
          "unsafe-path [kp.xml] The IP cache '..' cannot be a directory: it contains '..'"}},
        {"an unsafe IP",
         true,
         false,
         [&] { flagged("k1\\ip", true), remove("none"); },
         {"unsafe-path [kp.xml] Kernel 'k1': its IP directory 'k1\\ip' cannot be a directory: it contains a "
          "backslash",
          absent("Debug", "debug"), absent("Hls", "hls"), absent("Pdi", "pdi"),
          absent("ShimSoln", "shim_soln"), absent("SwEmu", "sw_emu")}},
    };
    for (const auto& [what, repo, full, spoil, expected] : rows) {
        fs::remove(package);
        add("k1", repo, full);
        spoil();
        EXPECT_THAT(findings(), testing::UnorderedElementsAreArray(expected)) << what;
    }
}

// The reader gives up at the first kernel without a description; the verification names them all, in time.
TEST_F(ExtractTest, VerificationNamesEveryKernelOfALargePackage) {
    constexpr int count = 3000;
    edit([&](ArchiveEdit& edit) {
        HKPContainer container;
        for (int i = 0; i < count; ++i) {
            const std::string name = "k" + std::to_string(i);
            container.addKPKernel(name, name, "", ".", "", {}, false, false, false, false, false, false,
                                  false, true);
            edit.addBytes(name + "/cpu_sources/a.cpp", "");
        }
        HKPContainerXMLWriter(container, package).writeKPContainer(true, edit);
    });
    EXPECT_THAT(failureOf([&] { all(); }), testing::HasSubstr("'k0/kernel.xml'"));
    const Strings found = findings();
    ASSERT_EQ(found.size(), std::size_t{count});
    EXPECT_EQ(found.back(),
              "missing-kernel-xml [k2999/kernel.xml] Kernel 'k2999': its description "
              "'k2999/kernel.xml' is not in the package");
}

}  // namespace
