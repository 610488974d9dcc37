#include "platform/files/DirectoryTree.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryDirectory.h"

#include <boost/filesystem.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = boost::filesystem;
using testing::ElementsAre;

namespace {

class Files : public testing::Test {
protected:
    std::string at(const std::string& name) const { return directory / name; }
    void write(const std::string& name) const { directory.file(name, "x"); }
    std::vector<std::string> walked() {
        std::vector<std::string> names;
        for (const TreeItem& item :
             DirectoryTree::walk(at("tree"), [&](const std::string& link) { loops.push_back(link); }))
            names.push_back(item.name + (item.isDirectory ? "/" : "") + (item.isEmpty ? " empty" : ""));
        return names;
    }
    std::string failureOfWalk() {
        return failureOf([&] { walked(); });
    }

    TemporaryDirectory directory;
    std::vector<std::string> loops;
};

TEST_F(Files, WalkIsInByteOrderFollowsLinksAndLeavesLoopsOut) {
    for (const char* name : {"a/b", "a-b", "a.c", "B", "a/\xff", "a/\xc3\xa4", "a0/z", "a/b0", "../target/f"})
        write(std::string("tree/") + name);
    fs::create_directories(at("tree/c/d"));
    fs::create_symlink(at("target"), at("tree/link"));
    fs::create_symlink(at("target/f"), at("tree/file"));
    fs::create_symlink("..", at("tree/a0/up"));
    fs::create_symlink(".", at("tree/a0/self"));
    EXPECT_THAT(walked(), ElementsAre("B", "a-b", "a.c", "a/", "a/b", "a/b0", "a/\xc3\xa4", "a/\xff", "a0/",
                                      "a0/z", "c/", "c/d/ empty", "file", "link/", "link/f"));
    EXPECT_THAT(loops, ElementsAre(at("tree/a0/self"), at("tree/a0/up")));
    EXPECT_EQ(HUTFile::fileCount(at("tree")), 10U);
}

TEST_F(Files, WalkRefusesWhatCannotBePacked) {
    fs::create_directories(at("tree"));
    fs::create_symlink("nowhere", at("tree/dangling"));
    EXPECT_EQ(failureOfWalk(), "'" + at("tree/dangling") + "' leads nowhere");
    fs::remove(at("tree/dangling"));
    ASSERT_EQ(mkfifo(at("tree/pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOfWalk(), "'" + at("tree/pipe") + "' is neither a file nor a directory");
    fs::remove(at("tree/pipe"));
    for (int i = 0; i < 1000; ++i) {
        write("many/" + std::to_string(i));
        fs::create_symlink(at("many"), at("tree/link") + std::to_string(i));
    }
    EXPECT_EQ(failureOfWalk(), "'" + at("tree") + "' holds more than 1000000 files and directories");
}

TEST_F(Files, UniqueNamesPassOverDanglingLinksAndScratchDirectoriesGo) {
    write(".kernelxml");
    fs::create_symlink("nowhere", at("1_.kernelxml"));
    EXPECT_EQ(HUTFileUtils::uniquifyFilenameInDir(directory.path(), ".kernelxml"), "2_.kernelxml");
    std::string path;
    {
        const ScratchDirectory scratch(at("new/parents"), ".tmp");
        path = scratch.path();
        EXPECT_EQ(fs::status(path).permissions(), fs::perms(0700));
        HUTFile::writeFile(path + "/f", "x");
    }
    EXPECT_TRUE(path.ends_with(".tmp") && fs::is_empty(at("new/parents")));
}

}  // namespace
