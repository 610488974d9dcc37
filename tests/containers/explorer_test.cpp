// Where the parts of kernels lie: in an extracted tree, and inside a package.

#include "containers/explorer/ArchiveExplorer.h"
#include "containers/explorer/FileExplorer.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/Disk.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/TemporaryDirectory.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kfab::kernel::ArchiveExplorer;
using kfab::kernel::ExplorerIface;
using kfab::kernel::FileExplorer;
using kfab::kernel::KernelDef;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Root = std::string (ExplorerIface::*)(const std::string&) const;
using List = bool (ExplorerIface::*)(const std::string&, Names&) const;

/// Where a virtual operation stands in its class's table, as the C++ ABI of the platform has it.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    struct Representation {
        std::ptrdiff_t offsetPlusOne, adjustment;
    };
    return (std::bit_cast<Representation>(operation).offsetPlusOne - 1) /
           static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(ExplorerIface, OperationsStandInTheirSlots) {
    using E = ExplorerIface;
    const std::vector<std::ptrdiff_t> slots = {slotOf(&E::getVLNV),           slotOf(&E::getKernelDefs),
                                               slotOf(&E::getRoot),           slotOf(&E::getPath),
                                               slotOf(&E::getKernelDefRoot),  slotOf(&E::getCpuSourcesRoot),
                                               slotOf(&E::getCpuSources),     slotOf(&E::getPdiFilesRoot),
                                               slotOf(&E::getPdiFiles),       slotOf(&E::getSwEmuFilesRoot),
                                               slotOf(&E::getSwEmuFiles),     slotOf(&E::getShimSolnFileRoot),
                                               slotOf(&E::getShimSolnFile),   slotOf(&E::getDebugRoot),
                                               slotOf(&E::getHlsRoot),        slotOf(&E::getIPDefinitionRoot),
                                               slotOf(&E::getHierTopIPPath),  slotOf(&E::getIPCacheRoot),
                                               slotOf(&E::getKernelDefNames), slotOf(&E::supportsIPCache),
                                               slotOf(&E::existsDir)};
    for (std::size_t i = 0; i < slots.size(); ++i)  // the destructor before them takes two places
        EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i + 2)) << "operation " << i;
}

std::string description(const std::string& name, const std::string& vlnv, const std::string& args = "") {
    return "<root versionMajor=\"1\" versionMinor=\"0\"><kernel name=\"" + name + "\" vlnv=\"" + vlnv +
           "\"><ports/><args>" + args + "</args></kernel></root>";
}

/// Two kernels below a directory; the container lists only k1.
class FileExplorerTest : public testing::Test {
protected:
    FileExplorerTest() {
        container_->addKPKernel("k1", "k1", "", "top/ip", "", {}, false, false, false, false, false, false,
                                false, true);
        directory_.file("k1/kernel.xml", description("k1", "v:l:k1:1.0", "<arg name=\"a\"/>"));
        directory_.file("k2/kernel.xml", description("k2", "v:l:k2:1.0"));
        EXPECT_TRUE(explorer_.addKernelRootDir("k1", directory_ / "k1"));
        EXPECT_TRUE(explorer_.addKernelRootDir("k2", directory_ / "k2"));
    }

    TemporaryDirectory directory_;
    std::shared_ptr<HKPContainer> container_ = std::make_shared<HKPContainer>();
    FileExplorer explorer_{directory_.path(), container_, true};
};

TEST_F(FileExplorerTest, AnswersFromTheRegisteredKernels) {
    EXPECT_EQ(explorer_.getRoot(), directory_.path());
    EXPECT_EQ(explorer_.getVLNV("k1"), "v:l:k1:1.0");
    EXPECT_EQ(explorer_.getVLNV("K1"), "");
    EXPECT_EQ(explorer_.getKernelDefRoot("k2"), directory_ / "k2");
    EXPECT_EQ(explorer_.getHierTopIPPath("k1"), "top/ip");
    EXPECT_EQ(explorer_.getHierTopIPPath("k2"), ".") << "the container lacks it";
    EXPECT_EQ(explorer_.getHierTopIPPath("k3"), ".");
    std::set<std::string> names = {"old"};
    explorer_.getKernelDefNames(names);
    EXPECT_THAT(names, ElementsAre("k1", "k2"));
    std::vector<KernelDef> definitions(3);
    explorer_.getKernelDefs(definitions);
    EXPECT_THAT(definitions, UnorderedElementsAre(testing::Field(&KernelDef::vlnv, "v:l:k1:1.0"),
                                                  testing::Field(&KernelDef::vlnv, "v:l:k2:1.0")));
    EXPECT_TRUE(explorer_.existsDir(directory_ / "k1"));
    EXPECT_FALSE(explorer_.existsDir(directory_ / "k1/kernel.xml"));
    EXPECT_FALSE(explorer_.existsDir(""));
}

TEST_F(FileExplorerTest, AKernelThatCannotBeReadIsReportedAndLeftOut) {
    directory_.file("bad/kernel.xml", "<root>");
    fs::create_directory(directory_ / "none");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(explorer_.addKernelRootDir("none", directory_ / "none"));
    EXPECT_FALSE(explorer_.addKernelRootDir("k2", directory_ / "bad"));
    const std::string printed = testing::internal::GetCapturedStdout();

    const std::string start = "Failed to parse RTL kernel file. Exception: ";
    const std::string missing = HEXFileNotFoundException(directory_ / "none/kernel.xml").what();
    EXPECT_THAT(printed, testing::StartsWith(start + missing + "\n" + start));
    EXPECT_THAT(printed, testing::EndsWith("\n"));
    EXPECT_THAT(printed, HasSubstr(directory_ / "bad/kernel.xml"));
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 2) << printed;
    EXPECT_EQ(explorer_.getKernelDefRoot("none"), "");
    EXPECT_EQ(explorer_.getKernelDefRoot("k2"), directory_ / "k2");
}

struct Companion {
    const char* directory;
    bool (FileExplorer::*add)(const std::string&, const std::string&);
    Root get;
};

const Companion companions[] = {
    {"cpu", &FileExplorer::addCpuSourcesDir, &ExplorerIface::getCpuSourcesRoot},
    {"emu", &FileExplorer::addSwEmuFilesDir, &ExplorerIface::getSwEmuFilesRoot},
    {"pdi", &FileExplorer::addPdiFilesDir, &ExplorerIface::getPdiFilesRoot},
    {"shim", &FileExplorer::addShimSolnFileDir, &ExplorerIface::getShimSolnFileRoot},
    {"debug", &FileExplorer::addDebugDir, &ExplorerIface::getDebugRoot},
    {"hls", &FileExplorer::addHlsDir, &ExplorerIface::getHlsRoot},
    {"ip", &FileExplorer::addIPDefinitionDir, &ExplorerIface::getIPDefinitionRoot},
    {"cache", &FileExplorer::addIPCacheDir, &ExplorerIface::getIPCacheRoot},
};

TEST_F(FileExplorerTest, CompanionDirectoriesStayWhenAKernelIsRegisteredAgain) {
    for (const auto& [directory, add, get] : companions) {
        EXPECT_FALSE((explorer_.*add)("k3", "dir")) << directory;
        EXPECT_EQ((explorer_.*get)("k3"), "") << directory;
        EXPECT_EQ((explorer_.*get)("k1"), "") << directory;
        EXPECT_TRUE((explorer_.*add)("k1", "first")) << directory;
        EXPECT_TRUE((explorer_.*add)("k1", directory));
    }
    directory_.file("moved/kernel.xml", description("k1", "v:l:k1:2.0", "<arg name=\"b\"/>"));
    container_->addKPKernel("k1", "", "", "other", "", {}, false, false, false, false, false, false, false,
                            true);
    EXPECT_TRUE(explorer_.addKernelRootDir("k1", directory_ / "moved"));

    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), directory_ / "moved");
    EXPECT_EQ(explorer_.getVLNV("k1"), "v:l:k1:2.0");
    EXPECT_EQ(explorer_.getHierTopIPPath("k1"), "other");
    for (const auto& [directory, add, get] : companions)
        EXPECT_EQ((explorer_.*get)("k1"), directory);
    std::vector<KernelDef> definitions;
    explorer_.getKernelDefs(definitions);
    const auto isK1 = [](const KernelDef& definition) { return definition.name == "k1"; };
    const auto k1 = std::find_if(definitions.begin(), definitions.end(), isK1);
    ASSERT_NE(k1, definitions.end());
    EXPECT_THAT(k1->args, ElementsAre(testing::Field(&kfab::kernel::ArgDesc::name, "b")));
}

TEST_F(FileExplorerTest, WithoutSupportThereAreNoIpCaches) {
    FileExplorer explorer(directory_.path(), container_, false);
    ASSERT_TRUE(explorer.addKernelRootDir("k1", directory_ / "k1"));
    EXPECT_FALSE(explorer.supportsIPCache());
    EXPECT_FALSE(explorer.addIPCacheDir("k1", "cache"));
    EXPECT_EQ(explorer.getIPCacheRoot("k1"), "");
}

TEST_F(FileExplorerTest, FindsFilesAndDirectoriesBelowTheKernelRoot) {
    directory_.file("k1/a/b/deep.txt", "");
    directory_.file("elsewhere/hidden.txt", "");
    fs::create_directory_symlink(directory_ / "elsewhere", directory_ / "k1/link");
    EXPECT_EQ(explorer_.getPath("k1", "deep.txt"), directory_ / "k1/a/b/deep.txt");
    EXPECT_EQ(explorer_.getPath("k1", "b"), directory_ / "k1/a/b");
    EXPECT_EQ(explorer_.getPath("k1", "link"), directory_ / "k1/link");
    EXPECT_EQ(explorer_.getPath("k1", "hidden.txt"), "") << "links are not followed";
    EXPECT_EQ(explorer_.getPath("k1", "Deep.txt"), "");
    EXPECT_EQ(explorer_.getPath("k1", "b/deep.txt"), "") << "a name is one component";
    EXPECT_EQ(explorer_.getPath("k3", "kernel.xml"), "");

    const std::string unreadable = directory_ / "k1/a/b";
    const disk::DiskFaults faults([&](std::string_view call, const std::string& path) {
        return call == "list" && path == unreadable ? EACCES : 0;
    });
    EXPECT_EQ(explorer_.getPath("k1", ""), "") << "without a look at the disk";
    try {
        explorer_.getPath("k1", "deep.txt");
        ADD_FAILURE() << "an unreadable directory passed unnoticed";
    } catch (const HEXAlgException& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("filesystem::recursive_directory_iterator directory error"));
        EXPECT_THAT(failure.what(), HasSubstr(unreadable));
    }
}

TEST_F(FileExplorerTest, ListsTheFilesOfRegisteredDirectories) {
    directory_.file("k1/d/b.bin", "");
    directory_.file("k1/d/a.bin", "");
    directory_.file("k1/d/sub/c.bin", "");
    const auto [a, b] = std::pair(directory_ / "k1/d/a.bin", directory_ / "k1/d/b.bin");
    const std::pair<std::size_t, List> lists[] = {{0, &ExplorerIface::getCpuSources},
                                                  {1, &ExplorerIface::getSwEmuFiles},
                                                  {2, &ExplorerIface::getPdiFiles}};
    for (const auto& [companion, list] : lists) {
        Names names = {"kept"};
        EXPECT_FALSE((explorer_.*list)("k1", names));
        EXPECT_FALSE((explorer_.*list)("k3", names));
        (explorer_.*companions[companion].add)("k1", directory_ / "gone");
        EXPECT_FALSE((explorer_.*list)("k1", names));
        EXPECT_THAT(names, ElementsAre("kept"));
        (explorer_.*companions[companion].add)("k1", directory_ / "k1/d");
        EXPECT_TRUE((explorer_.*list)("k1", names));
        EXPECT_THAT(names, ElementsAre("kept", a, b));
    }
    std::string shim = "kept";
    EXPECT_FALSE(explorer_.getShimSolnFile("k1", shim));
    fs::create_directory(directory_ / "empty");
    explorer_.addShimSolnFileDir("k1", directory_ / "empty");
    EXPECT_TRUE(explorer_.getShimSolnFile("k1", shim));
    EXPECT_EQ(shim, "kept");
    explorer_.addShimSolnFileDir("k1", directory_ / "k1/d");
    EXPECT_TRUE(explorer_.getShimSolnFile("k1", shim));
    EXPECT_EQ(shim, a);
}

/// An explorer whose roots are all the same directory.
template <class Explorer>
class Moved : public Explorer {
public:
    using Explorer::Explorer;
    std::string to;

    std::string getRoot() const override { return to; }
    std::string getKernelDefRoot(const std::string&) const override { return to; }
    std::string getCpuSourcesRoot(const std::string&) const override { return to; }
    std::string getPdiFilesRoot(const std::string&) const override { return to; }
    std::string getSwEmuFilesRoot(const std::string&) const override { return to; }
    std::string getShimSolnFileRoot(const std::string&) const override { return to; }
};

TEST_F(FileExplorerTest, ADerivedExplorerThatMovesARootMovesTheFiles) {
    Moved<FileExplorer> moved(directory_.path(), container_, true);
    moved.to = directory_ / "k1";
    const std::string file = directory_ / "k1/kernel.xml";
    Names names;
    std::string shim;
    EXPECT_EQ(moved.getPath("any", "kernel.xml"), file);
    EXPECT_TRUE(moved.getCpuSources("any", names) && moved.getPdiFiles("any", names) &&
                moved.getSwEmuFiles("any", names) && moved.getShimSolnFile("any", shim));
    EXPECT_THAT(names, ElementsAre(file, file, file));
    EXPECT_EQ(shim, file);
}

class ArchiveExplorerTest : public testing::Test {
protected:
    /// Makes the package anew. A name that ends in "/" gives a directory entry.
    void pack(const Names& names) const {
        std::error_code ignored;
        fs::remove(package_, ignored);
        fs::create_directories(directory_ / "empty");
        ArchiveEdit edit(package_);
        for (const std::string& name : names) {
            if (name.ends_with('/')) {
                edit.addTree(name.substr(0, name.size() - 1), directory_ / "empty");
            } else {
                edit.addBytes(name, "bytes");
            }
        }
        edit.commit();
    }

    Names listed(List list, const std::string& kernel) const {
        Names names;
        EXPECT_TRUE((explorer_.*list)(kernel, names));
        return names;
    }

    std::string shim(const std::string& kernel) const {
        std::string file;
        EXPECT_TRUE(explorer_.getShimSolnFile(kernel, file));
        return file;
    }

    TemporaryDirectory directory_;
    std::string package_ = directory_ / "p.kp";
    ArchiveExplorer explorer_{package_, std::make_shared<HKPContainer>(), true};
};

TEST_F(ArchiveExplorerTest, KernelsAreFoundByAWholeComponent) {
    pack({"k10/kernel.xml", "k10/pdi/z.pdi", "vadd/hls/kernel.xml", "k1/kernel.xml", "hls/kernel.xml",
          "k1/pdi/a.pdi", "K1/PDI/b.pdi", "k1/pdi_old/c.pdi", "k1/cpu_sources/x.cpp", "k1/sw_emu/x.so",
          "k1/shim_soln/2.bin", "k1/shim_soln/1.bin", "deep/er/k2/x/kernel.xml"});
    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), directory_ / "k1");
    EXPECT_EQ(explorer_.getPath("k1", "kernel.xml"), directory_ / "k1");
    EXPECT_EQ(explorer_.getPath("k1", "a.pdi"), directory_ / "k1/pdi");
    EXPECT_EQ(explorer_.getPath("a.pdi", "a.pdi"), directory_ / "k1/pdi");
    EXPECT_EQ(explorer_.getKernelDefRoot("hls"), directory_ / "vadd/hls") << "the first in the package";
    EXPECT_EQ(explorer_.getKernelDefRoot("k2"), directory_ / "deep/er/k2/x");
    EXPECT_EQ(explorer_.getKernelDefRoot("K1"), "");

    EXPECT_THAT(listed(&ExplorerIface::getPdiFiles, "k1"),
                ElementsAre("k1/pdi/a.pdi", "K1/PDI/b.pdi", "k1/pdi_old/c.pdi"));
    EXPECT_THAT(listed(&ExplorerIface::getCpuSources, "K1"), ElementsAre("k1/cpu_sources/x.cpp"));
    EXPECT_THAT(listed(&ExplorerIface::getSwEmuFiles, "k1"), ElementsAre("k1/sw_emu/x.so"));
    EXPECT_THAT(listed(&ExplorerIface::getSwEmuFiles, "k10"), IsEmpty());
    EXPECT_EQ(shim("k1"), "k1/shim_soln/2.bin");
    EXPECT_EQ(shim("k10"), "");

    const std::pair<Root, const char*> folders[] = {
        {&ExplorerIface::getCpuSourcesRoot, "cpu_sources"}, {&ExplorerIface::getPdiFilesRoot, "pdi"},
        {&ExplorerIface::getSwEmuFilesRoot, "sw_emu"},      {&ExplorerIface::getDebugRoot, "debug"},
        {&ExplorerIface::getShimSolnFileRoot, "shim_soln"}, {&ExplorerIface::getHlsRoot, "hls"},
    };
    for (const auto& [root, folder] : folders) {
        EXPECT_EQ((explorer_.*root)("k2"), directory_ / "deep/er/k2/x/" + folder) << "not checked";
        EXPECT_EQ((explorer_.*root)("unknown"), "");
    }
}

TEST_F(ArchiveExplorerTest, IpLiesBesideTheKernelsOrBelowTheRootTwice) {
    pack({"k1/ip/component.xml", "ip_repo/v_l_k2_1_0/component.xml"});
    EXPECT_EQ(explorer_.getIPDefinitionRoot("k1"), directory_.path() + (directory_ / "k1"));
    EXPECT_EQ(explorer_.getIPDefinitionRoot("k2"), directory_ / "ip_repo");
    EXPECT_EQ(explorer_.getIPCacheRoot("any"), directory_ / "ip_cache");
    EXPECT_EQ(explorer_.getHierTopIPPath("k1"), ".");
    const ArchiveExplorer plain(package_, nullptr, false);
    EXPECT_FALSE(plain.supportsIPCache());
    EXPECT_EQ(plain.getIPCacheRoot("any"), "");
}

TEST_F(ArchiveExplorerTest, TheRootIsTheDirectoryOfThePackage) {
    pack({"k1/debug/x", "made/"});
    const fs::path before = fs::current_path();
    fs::current_path(directory_.path());
    const std::string working = fs::current_path().string();
    struct Case {
        std::string package, root;
    };
    for (const Case& c :
         {Case{"p.kp", working}, Case{"nowhere/p.kp", working}, Case{"./p.kp", "."},
          Case{"empty/../p.kp", "empty/.."}, Case{"/p.kp", "/"}, Case{package_, directory_.path()}}) {
        const ArchiveExplorer explorer(c.package, nullptr, true);
        EXPECT_EQ(explorer.getRoot(), c.root) << c.package;
        if (!fs::exists(c.package)) continue;
        const std::string below = c.root + "/";
        for (const char* there : {"k1", "k1/debug", "k1/debug/", "made"})
            EXPECT_TRUE(explorer.existsDir(below + there)) << c.package << " " << there;
        for (const char* absent : {"k1/debug/x", "k1/hls", "K1", "k1/deb", ".."})
            EXPECT_FALSE(explorer.existsDir(below + absent)) << c.package << " " << absent;
        EXPECT_TRUE(explorer.existsDir(c.root)) << "the top";
        EXPECT_FALSE(explorer.existsDir("")) << "the root of an unknown kernel";
    }
    fs::current_path(before);
    EXPECT_FALSE(explorer_.existsDir("k1")) << "not below the root";
}

TEST_F(ArchiveExplorerTest, KeepsTheFirstDefinitionOfAName) {
    KernelDef definition;
    definition.name = "k1";
    definition.vlnv = "first";
    EXPECT_EQ(explorer_.getVLNV("k1"), "");
    EXPECT_TRUE(explorer_.addKernelDef(definition));
    definition.vlnv = "second";
    EXPECT_FALSE(explorer_.addKernelDef(definition));
    EXPECT_EQ(explorer_.getVLNV("k1"), "first");
    std::vector<KernelDef> definitions(2);
    explorer_.getKernelDefs(definitions);
    EXPECT_THAT(definitions, ElementsAre(testing::Field(&KernelDef::vlnv, "first")));
    std::set<std::string> names = {"old"};
    explorer_.getKernelDefNames(names);
    EXPECT_THAT(names, ElementsAre("k1"));
}

TEST_F(ArchiveExplorerTest, AnswersFromThePackageAsItIsNow) {
    EXPECT_THROW(explorer_.getKernelDefRoot("k1"), HEXAlgException) << "there is no package";
    pack({"k1/kernel.xml"});
    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), directory_ / "k1");
    pack({"k2/kernel.xml"});
    EXPECT_EQ(explorer_.getKernelDefRoot("k1"), "");
    EXPECT_EQ(explorer_.getKernelDefRoot("k2"), directory_ / "k2");
    directory_.file("p.kp", "no archive");
    EXPECT_THROW(explorer_.getKernelDefRoot("k1"), HEXAlgException);
    Names names;
    EXPECT_THROW(explorer_.getPdiFiles("k1", names), HEXAlgException);
}

TEST_F(ArchiveExplorerTest, ADerivedExplorerThatMovesARootMovesWhatLiesBelow) {
    pack({"k1/ip/component.xml", "k1/kernel.xml"});
    Moved<ArchiveExplorer> moved(package_, nullptr, true);
    moved.to = "/else";
    EXPECT_EQ(moved.getDebugRoot("k1"), "/else/debug");
    EXPECT_EQ(moved.getHlsRoot("unknown"), "/else/hls");
    EXPECT_EQ(moved.getPath("k1", "kernel.xml"), "/else/k1");
    EXPECT_EQ(moved.getIPDefinitionRoot("k1"), "/else/else/k1");
    EXPECT_EQ(moved.getIPCacheRoot("k1"), "/else/ip_cache");
    EXPECT_TRUE(moved.existsDir("/else/k1/ip"));

    struct Finder : ArchiveExplorer {
        using ArchiveExplorer::ArchiveExplorer;
        std::string getPath(const std::string&, const std::string& file) const override {
            return "/found/" + file;
        }
    };
    EXPECT_EQ(Finder(package_, nullptr, true).getIPDefinitionRoot("k1"), directory_.path() + "/found");
}

/// The searches as walks over the list of a package's files.
struct Walk {
    fs::path root;
    Names files;

    std::string path(const std::string& kernel, const std::string& file) const {
        for (const fs::path path : files) {
            if (path.filename() != file || std::find(path.begin(), path.end(), kernel) == path.end())
                continue;
            return path.has_parent_path() ? root / path.parent_path() : root;
        }
        return {};
    }

    Names startingWith(const std::string& prefix) const {
        Names found;
        std::copy_if(files.begin(), files.end(), std::back_inserter(found),
                     [&](const auto& name) { return HSTStringUtils::startsWithIgnoreCase(name, prefix); });
        return found;
    }
};

TEST_F(ArchiveExplorerTest, AgreesWithAWalkOverTheFilesOfAnyPackage) {
    const Names words = {"k1",   "K1",  "k10",     "hls",         "HLS",    "kernel.xml", "component.xml",
                         "pdi",  "PDI", "pdi_old", "cpu_sources", "sw_emu", "shim_soln",  "ip",
                         "x.bin"};
    for (unsigned seed = 0; seed < 25; ++seed) {
        std::mt19937 random(seed);
        const auto word = [&] { return words[random() % words.size()]; };
        std::set<std::string> unique;
        Names names;
        for (unsigned count = random() % 200; count > 0; --count) {
            std::string name = word();
            for (unsigned depth = random() % 4; depth > 0; --depth)
                name += "/" + word();
            if (random() % 8 == 0) name += "/";
            // A name cannot be a file and a folder at once.
            const bool clashes = std::any_of(names.begin(), names.end(), [&](const std::string& other) {
                return other.starts_with(name + "/") ||
                       (!other.ends_with('/') && name.starts_with(other + "/"));
            });
            if (!clashes && unique.insert(name).second) names.push_back(name);
        }
        pack(names);
        const Walk walk{directory_.path(), isl::iostreams::zip::get_files(package_)};
        for (const std::string& kernel : words) {
            for (const std::string& file : words)
                EXPECT_EQ(explorer_.getPath(kernel, file), walk.path(kernel, file))
                    << "seed " << seed << ": " << kernel << ", " << file;
            EXPECT_EQ(explorer_.getKernelDefRoot(kernel), walk.path(kernel, "kernel.xml"));
            EXPECT_EQ(listed(&ExplorerIface::getPdiFiles, kernel), walk.startingWith(kernel + "/pdi"));
            EXPECT_EQ(listed(&ExplorerIface::getCpuSources, kernel),
                      walk.startingWith(kernel + "/cpu_sources"));
            EXPECT_EQ(listed(&ExplorerIface::getSwEmuFiles, kernel), walk.startingWith(kernel + "/sw_emu"));
            const Names shims = walk.startingWith(kernel + "/shim_soln");
            EXPECT_EQ(shim(kernel), shims.empty() ? "" : shims.front());
        }
        if (HasFailure()) break;
    }
}

}  // namespace
