// Where the parts of kernels lie: in an extracted tree, and inside a package.

#include "containers/explorer/ArchiveExplorer.h"
#include "containers/explorer/FileExplorer.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/Members.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <random>

#include <gmock/gmock.h>

namespace {

using namespace kfab::kernel;
using testing::ElementsAre;

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A place of a kernel whose files are listed, named by its folder in a package.
const struct {
    const char* folder;
    bool (FileExplorer::*add)(const std::string&, const std::string&);
    bool (ExplorerIface::*list)(const std::string&, Names&) const;
} listed[] = {{"cpu_sources", &FileExplorer::addCpuSourcesDir, &ExplorerIface::getCpuSources},
              {"sw_emu", &FileExplorer::addSwEmuFilesDir, &ExplorerIface::getSwEmuFiles},
              {"pdi", &FileExplorer::addPdiFilesDir, &ExplorerIface::getPdiFiles}};

/// The only kernel that an explorer knows; what the lists held before must go.
KernelDef onlyKernelOf(const ExplorerIface& explorer) {
    std::set<std::string> names = {"old"};
    std::vector<KernelDef> definitions(3);
    explorer.getKernelDefNames(names);
    explorer.getKernelDefs(definitions);
    EXPECT_EQ(definitions.size(), 1U);
    EXPECT_THAT(names, ElementsAre(definitions.at(0).name));
    return definitions.at(0);
}

/// A kernel below a directory.
class FileExplorerTest : public testing::Test {
protected:
    FileExplorerTest() { addK1("top/ip", "a"); }
    void addK1(const std::string& topIp, const std::string& arg) {
        container_->addKPKernel("k1", "", "", topIp, "", {}, false, false, false, false, false, false, false,
                                true);
        directory_.file("k1/kernel.xml",
                        kernelXml("name='k1' vlnv='vlnv'", "<ports/><args><arg name='" + arg + "'/></args>"));
        EXPECT_TRUE(explorer_.addKernelRootDir("k1", directory_ / "k1"));
    }

    TemporaryDirectory directory_;
    std::shared_ptr<HKPContainer> container_ = std::make_shared<HKPContainer>();
    FileExplorer explorer_{directory_.path(), container_, true};
};

TEST_F(FileExplorerTest, AnswersFromTheKernelsAsRegisteredLast) {
    EXPECT_FALSE(explorer_.addIPCacheDir("k3", "dir"));
    EXPECT_TRUE(explorer_.addIPCacheDir("k1", "first") && explorer_.addIPCacheDir("k1", "cache"));
    EXPECT_EQ(explorer_.getHierTopIPPath("k1"), "top/ip");
    addK1("other", "b");
    EXPECT_EQ(explorer_.getHierTopIPPath("k1"), "other");
    EXPECT_EQ(explorer_.getHierTopIPPath("K1"), ".");
    EXPECT_EQ(explorer_.getVLNV("k1") + explorer_.getVLNV("K1"), "vlnv");
    EXPECT_EQ(explorer_.getIPCacheRoot("k1") + explorer_.getIPCacheRoot("k3"), "cache");
    EXPECT_THAT(onlyKernelOf(explorer_).args, ElementsAre(testing::Field(&ArgDesc::name, "b")));
    EXPECT_TRUE(explorer_.addKernelRootDir("unlisted", directory_ / "k1"));
    EXPECT_EQ(explorer_.getHierTopIPPath("unlisted"), ".");
    EXPECT_TRUE(explorer_.existsDir(directory_ / "k1"));
    EXPECT_FALSE(explorer_.existsDir(directory_ / "k1/kernel.xml") || explorer_.existsDir(""));

    FileExplorer plain(directory_.path(), container_, false);
    EXPECT_TRUE(plain.addKernelRootDir("k1", directory_ / "k1"));
    EXPECT_FALSE(plain.supportsIPCache() || plain.addIPCacheDir("k1", "cache"));
}

TEST_F(FileExplorerTest, AKernelThatCannotBeReadIsReportedAndLeftOut) {
    directory_.file("bad/kernel.xml", "<root>");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(explorer_.addKernelRootDir("none", directory_ / "none"));
    EXPECT_FALSE(explorer_.addKernelRootDir("k1", directory_ / "bad"));
    const std::string start = "Failed to parse RTL kernel file. Exception: ";
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              start + "File not found: '" + (directory_ / "none/kernel.xml") + "'\n" + start + "[17-132] " +
                  (directory_ / "bad/kernel.xml") +
                  ":1: element 'root' lacks its required attribute 'versionMajor'\n");
    EXPECT_EQ(explorer_.getKernelDefRoot("none") + explorer_.getKernelDefRoot("k1"), directory_ / "k1");
}

TEST_F(FileExplorerTest, FindsFilesAndDirectoriesBelowTheKernelRoot) {
    directory_.file("k1/a/b/deep.txt", "");
    directory_.file("elsewhere/hidden.txt", "");
    fs::create_directory_symlink(directory_ / "elsewhere", directory_ / "k1/link");
    for (const char* found : {"a/b/deep.txt", "a/b", "link"})
        EXPECT_EQ(explorer_.getPath("k1", fs::path(found).filename()), directory_ / "k1/" + found);
    for (const char* absent : {"hidden.txt", "Deep.txt", "b/deep.txt"})
        EXPECT_EQ(explorer_.getPath("k1", absent), "") << absent;
    EXPECT_EQ(explorer_.getPath("k3", "kernel.xml"), "");
    HUTInterrupt::request();
    EXPECT_THROW(explorer_.getPath("k1", "deep.txt"), HEXInterrupted);
    HUTInterrupt::clear();

    const std::string unreadable = directory_ / "k1/a/b";
    const disk::DiskFaults faults(always("list", EACCES, unreadable));
    EXPECT_EQ(explorer_.getPath("k1", ""), "") << "without a look at the disk";
    EXPECT_THAT(failureOf<HEXAlgException>([&] { explorer_.getPath("k1", "deep.txt"); }),
                testing::AllOf(testing::HasSubstr("filesystem::recursive_directory_iterator directory error"),
                               testing::HasSubstr(unreadable)));
}

TEST_F(FileExplorerTest, ListsTheFilesOfRegisteredDirectories) {
    const std::string b = directory_.file("d/b.bin", ""), a = directory_.file("d/a.bin", "");
    directory_.file("d/sub/c.bin", "");
    for (const auto& place : listed) {
        Names names = {"kept"};
        EXPECT_FALSE((explorer_.*place.list)("k1", names) || (explorer_.*place.list)("k3", names));
        (explorer_.*place.add)("k1", directory_ / "gone");
        EXPECT_FALSE((explorer_.*place.list)("k1", names));
        (explorer_.*place.add)("k1", directory_ / "d");
        EXPECT_TRUE((explorer_.*place.list)("k1", names));
        EXPECT_THAT(names, ElementsAre("kept", a, b)) << place.folder;
    }
    std::string shim;
    EXPECT_FALSE(explorer_.getShimSolnFile("k1", shim));
    for (const char* directory : {"d", "d/sub/none"}) {
        fs::create_directories(directory_ / directory);
        explorer_.addShimSolnFileDir("k1", directory_ / directory);
        EXPECT_TRUE(explorer_.getShimSolnFile("k1", shim));
        EXPECT_EQ(shim, a) << "kept where there is none";
    }
}

struct MovedFileExplorer : FileExplorer {
    using FileExplorer::FileExplorer;
    std::string getCpuSourcesRoot(const std::string&) const override { return getRoot() + "/else"; }
};

TEST_F(FileExplorerTest, LooksForFilesInADerivedExplorersRoot) {
    const std::string source = directory_.file("else/a.cpp", "");
    Names names;
    EXPECT_TRUE(MovedFileExplorer(directory_.path(), nullptr, true).getCpuSources("any", names));
    EXPECT_EQ(names, Names{source});
}

/// Puts what lies in a package elsewhere.
struct MovedExplorer : ArchiveExplorer {
    using ArchiveExplorer::ArchiveExplorer;
    std::string getRoot() const override { return "/else"; }
};

TEST(MovedExplorer, WhatLiesBelowTheRootMovesWithIt) {
    const TemporaryDirectory directory;
    pack(directory / "p.kp", {{"k1/ip/component.xml", ""}, {"k1/kernel.xml", ""}});
    const MovedExplorer archive(directory / "p.kp", nullptr, true);
    EXPECT_EQ(archive.getDebugRoot("k1") + archive.getIPCacheRoot("k1"), "/else/k1/debug/else/ip_cache");
    EXPECT_EQ(archive.getPath("k1", "kernel.xml"), "/else/k1");
    EXPECT_EQ(archive.getIPDefinitionRoot("k1"), "/else/else/k1") << "the root twice";
    EXPECT_TRUE(archive.existsDir("/else/k1/ip"));
}

class ArchiveExplorerTest : public testing::Test {
protected:
    TemporaryDirectory directory_;
    std::string package_ = directory_ / "p.kp";
    ArchiveExplorer explorer_{package_, nullptr, true};
};

TEST_F(ArchiveExplorerTest, AnswersFromThePackageAsItIsNow) {
    EXPECT_THROW(explorer_.getKernelDefRoot("k1"), HEXAlgException) << "there is no package";
    pack(package_, {{"k1/kernel.xml", ""}});
    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), directory_ / "k1");
    pack(package_, {{"deep/er/k2/x/kernel.xml", ""}, {"ip_repo/v_l_k2_1_0/component.xml", ""}});
    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), "");
    using Root = std::string (ExplorerIface::*)(const std::string&) const;
    const std::pair<const char*, Root> roots[] = {{"cpu_sources", &ExplorerIface::getCpuSourcesRoot},
                                                  {"sw_emu", &ExplorerIface::getSwEmuFilesRoot},
                                                  {"pdi", &ExplorerIface::getPdiFilesRoot},
                                                  {"shim_soln", &ExplorerIface::getShimSolnFileRoot},
                                                  {"debug", &ExplorerIface::getDebugRoot},
                                                  {"hls", &ExplorerIface::getHlsRoot}};
    for (const auto& [folder, root] : roots)
        EXPECT_EQ((explorer_.*root)("k2") + (explorer_.*root)("unknown"),
                  directory_ / "deep/er/k2/x/" + folder)
            << "not checked";
    EXPECT_EQ(explorer_.getIPDefinitionRoot("k2"), directory_ / "ip_repo");
    EXPECT_EQ(ArchiveExplorer(package_, nullptr, false).getIPCacheRoot("any"), "");
    EXPECT_EQ(explorer_.getHierTopIPPath("k2"), ".");
    directory_.file("p.kp", "no archive");
    EXPECT_THROW(explorer_.getKernelDefRoot("k1"), HEXAlgException);

    KernelDef definition;
    for (const char* vlnv : {"first", "second"}) {
        definition.vlnv = vlnv;
        EXPECT_EQ(explorer_.addKernelDef(definition), definition.vlnv == "first");
        EXPECT_EQ(explorer_.getVLNV("") + onlyKernelOf(explorer_).vlnv, "firstfirst");
    }
}

TEST_F(ArchiveExplorerTest, TheRootIsTheDirectoryOfThePackage) {
    pack(package_, {{"k1/debug/x", ""}, {"made/", ""}});
    fs::create_directory(directory_ / "empty");
    const fs::path before = fs::current_path();
    fs::current_path(directory_.path());
    const std::string working = fs::current_path().string();
    for (const auto& [package, root] : {std::pair<std::string, std::string>{"p.kp", working},
                                        {"nowhere/p.kp", working},
                                        {"./p.kp", "."},
                                        {"empty/../p.kp", "empty/.."},
                                        {"/p.kp", "/"},
                                        {package_, directory_.path()}}) {
        const ArchiveExplorer explorer(package, nullptr, true);
        EXPECT_EQ(explorer.getRoot(), root) << package;
        if (!fs::exists(package)) continue;
        for (const char* there : {"/k1", "/k1/debug", "/k1/debug/", "/made", ""})
            EXPECT_TRUE(explorer.existsDir(root + there)) << package << " " << there;
        for (const char* absent : {"/k1/debug/x", "/k1/hls", "/K1", "/k1/deb", "/.."})
            EXPECT_FALSE(explorer.existsDir(root + absent)) << package << " " << absent;
        EXPECT_FALSE(explorer.existsDir("")) << "the root of an unknown kernel";
    }
    fs::current_path(before);
    EXPECT_FALSE(explorer_.existsDir("k1")) << "not below the root";
    const disk::DiskFaults faults(always("inspect", EACCES, directory_.path()));
    EXPECT_EQ(explorer_.getRoot(), before) << "its own cannot be seen";
}

TEST_F(ArchiveExplorerTest, AgreesWithAWalkOverTheFilesOfAnyPackage) {
    const Names words = {"k1",  "K1",  "k10",     "hls",         "HLS",    "kernel.xml", "component.xml",
                         "pdi", "PDI", "pdi_old", "cpu_sources", "sw_emu", "shim_soln",  "x.bin"};
    for (unsigned seed = 0; seed < 25 && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        Members members;
        for (unsigned count = random() % 200; count > 0; --count) {
            std::string name = words[random() % words.size()];
            for (unsigned depth = random() % 4; depth > 0; --depth)
                name += "/" + words[random() % words.size()];
            // A name cannot be a file and a folder at once.
            const auto clashes = [&](const auto& other) {
                return (other.first + "/").starts_with(name + "/") || name.starts_with(other.first + "/");
            };
            if (std::none_of(members.begin(), members.end(), clashes)) members.emplace_back(name, "");
        }
        pack(package_, members);
        const Names files = isl::iostreams::zip::get_files(package_);
        const auto pathOf = [&](const std::string& kernel, const std::string& file) {
            const auto found = std::find_if(files.begin(), files.end(), [&](const fs::path& path) {
                return path.filename() == file && std::find(path.begin(), path.end(), kernel) != path.end();
            });
            if (found == files.end()) return std::string();
            return fs::path(directory_ / *found).parent_path().string();
        };
        for (const std::string& kernel : words) {
            for (const std::string& file : words)
                EXPECT_EQ(explorer_.getPath(kernel, file), pathOf(kernel, file)) << kernel << ", " << file;
            const auto below = [&](const std::string& folder) {
                Names found;
                for (const std::string& name : files)
                    if (HSTStringUtils::startsWithIgnoreCase(name, kernel + folder)) found.push_back(name);
                return found;
            };
            for (const auto& place : listed) {
                Names found;
                EXPECT_TRUE((explorer_.*place.list)(kernel, found));
                EXPECT_EQ(found, below(std::string("/") + place.folder)) << "seed " << seed << ": " << kernel;
            }
            Names shims = below("/shim_soln"), shim(1);
            shims.resize(1);
            EXPECT_TRUE(explorer_.getShimSolnFile(kernel, shim[0]));
            EXPECT_EQ(shim, shims);
        }
    }
}

}  // namespace
