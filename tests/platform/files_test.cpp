#include "platform/base/Exceptions.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <functional>

#include <boost/filesystem.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = boost::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string failureOf(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const HEXAlgException& failure) {
        return failure.what();
    }
    return "none";
}

class Files : public testing::Test {
protected:
    std::string at(const std::string& name) const { return directory / name; }
    void write(const std::string& name, const std::string& bytes = "x") const { directory.file(name, bytes); }
    std::vector<std::string> walked(const std::string& name = ".") {
        std::vector<std::string> names;
        for (const TreeItem& item :
             DirectoryTree::walk(at(name), [&](const std::string& link) { loops.push_back(link); }))
            names.push_back(item.name + (item.isDirectory ? "/" : "") + (item.isEmpty ? " empty" : ""));
        return names;
    }
    std::string failureOfWalk() {
        return failureOf([&] { walked("tree"); });
    }

    TemporaryDirectory directory;
    std::vector<std::string> loops;
};

TEST_F(Files, WalkComesInByteOrderOfFullNames) {
    for (const char* name : {"a/b", "a-b", "a.c", "B", "a/\xff", "a/\xc3\xa4", "a0/z", "a/b0"})
        write(name);
    fs::create_directories(at("c/d"));
    EXPECT_THAT(walked(), ElementsAre("B", "a-b", "a.c", "a/", "a/b", "a/b0", "a/\xc3\xa4", "a/\xff", "a0/",
                                      "a0/z", "c/", "c/d/ empty"));
}

TEST_F(Files, WalkFollowsLinksAndLeavesLoopsOut) {
    write("target/f");
    write("tree/real/g");
    fs::create_symlink(at("target"), at("tree/link"));
    fs::create_symlink(at("target/f"), at("tree/file"));
    fs::create_symlink("..", at("tree/real/up"));
    fs::create_symlink(".", at("tree/real/self"));
    EXPECT_THAT(walked("tree"), ElementsAre("file", "link/", "link/f", "real/", "real/g"));
    EXPECT_THAT(loops, ElementsAre(at("tree/real/self"), at("tree/real/up")));
    EXPECT_EQ(HUTFile::fileCount(at("tree")), 3U);
}

TEST_F(Files, WalkRefusesWhatCannotBePacked) {
    fs::create_directories(at("tree"));
    fs::create_symlink("nowhere", at("tree/dangling"));
    EXPECT_EQ(failureOfWalk(), "'" + at("tree/dangling") + "' leads nowhere");
    fs::remove(at("tree/dangling"));
    ASSERT_EQ(mkfifo(at("tree/pipe").c_str(), 0600), 0);
    EXPECT_EQ(failureOfWalk(), "'" + at("tree/pipe") + "' is neither a file nor a directory");
    fs::remove_all(at("tree"));
    write("tree");
    EXPECT_EQ(failureOfWalk(), "Failed to list '" + at("tree") + "': Not a directory");
}

TEST_F(Files, WalkIsBoundedWhereLinksMultiply) {
    for (int i = 0; i < 1000; ++i)
        write("many/" + std::to_string(i), "");
    fs::create_directories(at("tree"));
    for (int i = 0; i < 1000; ++i)
        fs::create_symlink(at("many"), at("tree/link") + std::to_string(i));
    EXPECT_EQ(failureOfWalk(), "'" + at("tree") + "' holds more than 1000000 files and directories");
}

TEST_F(Files, IteratorYieldsTheDirectorysOwnFilesSorted) {
    for (const char* name : {"b", "a", "d/inner"})
        write(name);
    fs::create_symlink("a", at("c"));
    fs::create_symlink("nowhere", at("e"));
    std::vector<std::string> paths;
    for (HUTFileIter files = HUTFile::createFileIter(directory.path()); files.hasNext();)
        paths.push_back(files.next());
    EXPECT_THAT(paths, ElementsAre(at("a"), at("b"), at("c")));
}

TEST_F(Files, InterruptedCallsAreCarriedOn) {
    const disk::DiskFaults interrupts(
        [n = 0](std::string_view, const std::string&) mutable { return ++n % 2 == 1 ? EINTR : 0; });
    for (const std::string& bytes : {std::string(), std::string(4096, 'p'), std::string("a\0b", 3)}) {
        HUTFile::writeFile(at("f"), bytes);
        EXPECT_EQ(HUTFile::readFile(at("f")), bytes);
    }
}

TEST_F(Files, FailuresNamePathAndReason) {
    write("file");
    const std::string inside = at("file/inside");
    EXPECT_EQ(failureOf([&] { HUTFile::readFile(inside); }),
              "Failed to open '" + inside + "': Not a directory");
    EXPECT_THAT(failureOf([&] { HUTFile::readFile(directory.path()); }), HasSubstr(directory.path()));
    EXPECT_THAT(failureOf([&] { HUTFile::ensureWritableDir(inside); }),
                HasSubstr(inside + "': Not a directory"));
    EXPECT_THAT(failureOf([&] { HUTFile::ensureWritableDir(at("file")); }), HasSubstr(at("file")));
    const disk::DiskFaults full(
        [](std::string_view call, const std::string&) { return call == "write" ? ENOSPC : 0; });
    EXPECT_EQ(failureOf([&] { HUTFile::writeFile(at("full"), "x"); }),
              "Failed to write '" + at("full") + "': No space left on device");
}

TEST_F(Files, CopyGoesThroughMemoryWhereTheSystemCannot) {
    const std::string bytes(3'000'000, 'c');
    write("from", bytes);
    for (const int unsupported : {0, EXDEV, EOPNOTSUPP}) {
        const auto from = disk::open(at("from"), O_RDONLY);
        const auto to = disk::open(at("to"), O_RDWR | O_CREAT | O_TRUNC);
        int pending = unsupported;
        const disk::DiskFaults faults([&](std::string_view call, const std::string&) {
            return call == "write" ? std::exchange(pending, 0) : 0;
        });
        disk::copy(from, 10, to, 5, bytes.size() - 10);
        EXPECT_EQ(HUTFile::readFile(at("to")), std::string(5, '\0') + bytes.substr(10));
        EXPECT_THROW(disk::copy(from, 10, to, 0, bytes.size()), HEXAlgException);
    }
}

TEST_F(Files, UniqueNamesAndScratchDirectories) {
    EXPECT_EQ(HUTFileUtils::uniquifyFilenameInDir(directory.path(), ".kernelxml"), ".kernelxml");
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
    EXPECT_TRUE(path.ends_with(".tmp") && !fs::exists(path));
    EXPECT_TRUE(fs::exists(at("new/parents")));
}

TEST_F(Files, CanonicalNames) {
    write("d/f");
    fs::create_symlink("d", at("link"));
    EXPECT_EQ(HUTFile::getCanonicalName(at("link/missing/.././f")), fs::canonical(at("d/f")).string());
}

TEST(PathUtils, PathsAsText) {
    const std::string joined[][3] = {{"a", "b", "a/b"}, {"a/", "/b", "a/b"}, {"", "b", "b"},
                                     {"a", "", "a"},    {"/", "b", "/b"},    {"a", "b/", "a/b/"}};
    for (const auto& [first, second, whole] : joined)
        EXPECT_EQ(HUTPathUtils::join(first, second), whole);
    const std::string split[][3] = {{"a/b", "a", "b"}, {"a/b//", "a", "b"}, {"b", ".", "b"},
                                    {"/b", "/", "b"},  {"a//b", "a", "b"},  {"/", "/", "/"}};
    for (const auto& [path, parent, last] : split) {
        EXPECT_EQ(HUTPathUtils::parent(path), parent) << path;
        EXPECT_EQ(HUTPathUtils::lastComponent(path), last) << path;
    }
    EXPECT_EQ(HUTPathUtils::shown("\xc3\xa4\n"), "\xc3\xa4\\x0a");
    EXPECT_EQ(HUTPathUtils::shown("\xc3\xa4\xff"), "\\xc3\\xa4\\xff");
}

}  // namespace
