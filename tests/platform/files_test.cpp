#include "platform/files/DirectoryTree.h"
#include "platform/files/DisplayText.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTFileUtils.h"
#include "platform/files/HUTPathUtils.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/TemporaryDirectory.h"

#include <utility>

#include <boost/filesystem.hpp>
#include <dirent.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = boost::filesystem;
using namespace testing;

namespace {

bool listsKinds = true;
int wrongCloses = 0;

class Files : public testing::Test {
protected:
    ~Files() override { EXPECT_EQ(wrongCloses, 0); }

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

}  // namespace

// In the place of the system's: on file systems that do not tell a listing what it lists, and counting what
// is closed twice, which may be another thread's by then.
extern "C" dirent* readdir(DIR* directory) {
    static const auto next = reinterpret_cast<dirent* (*)(DIR*)>(::dlsym(RTLD_NEXT, "readdir64"));
    dirent* const item = next(directory);
    if (item != nullptr && !listsKinds) item->d_type = DT_UNKNOWN;
    return item;
}
extern "C" int close(int descriptor) {
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (result < 0 && errno == EBADF) ++wrongCloses;
    return result;
}

namespace {

TEST_F(Files, WalkIsInByteOrderFollowsLinksAndLeavesLoopsOut) {
    for (const char* name : {"a/b", "a-b", "a.c", "B", "a/\xff", "a/\xc3\xa4", "a0/z", "a/b0", "../target/f"})
        write(std::string("tree/") + name);
    fs::create_directories(at("tree/c/d"));
    fs::create_symlink(at("target"), at("tree/link"));
    fs::create_symlink(at("target/f"), at("tree/file"));
    fs::create_symlink("..", at("tree/a0/up"));
    fs::create_symlink(".", at("tree/a0/self"));
    for (const bool are : {true, false}) {
        listsKinds = are;
        EXPECT_THAT(walked(), ElementsAre("B", "a-b", "a.c", "a/", "a/b", "a/b0", "a/\xc3\xa4", "a/\xff",
                                          "a0/", "a0/z", "c/", "c/d/ empty", "file", "link/", "link/f"));
        EXPECT_THAT(std::exchange(loops, {}), ElementsAre(at("tree/a0/self"), at("tree/a0/up")));
    }
    listsKinds = true;
    EXPECT_EQ(HUTFile::fileCount(at("tree")), 10U);
}

TEST_F(Files, WalkRefusesWhatCannotBePacked) {
    fs::create_directories(at("tree"));
    fs::create_symlink("nowhere", at("tree/dangling"));
    EXPECT_EQ(failureOfWalk(), "'" + at("tree/dangling") + "' is a symbolic link that leads nowhere");
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

TEST_F(Files, APathThatNoFileCanHaveIsNotThere) {
    write("file");
    write("list/b");
    fs::create_symlink("loop", at("list/loop"));
    fs::create_symlink("b", at("list/a"));
    std::string deep = at("d");
    while (deep.size() < 5000)
        deep += "/directory";
    for (const std::string& path :
         {at(std::string(256, 'n')), deep, at("list/loop"), at("list/loop/below"), at("file/below"),
          at("missing"), at(std::string("file\0", 5)), std::string()}) {
        EXPECT_FALSE(HUTFile::exists(path) || HUTFile::isFile(path) || HUTFile::isDir(path)) << path;
        EXPECT_EQ(HUTFile::fileCount(path), 0U) << path;
        EXPECT_TRUE(HUTFile::getCanonicalName(path).ends_with(path)) << path;
    }
    EXPECT_EQ(HUTFile::fileCount(at("file")), 0U);
    EXPECT_EQ(HUTFile::getCanonicalName(at("list/../missing/./x/../y/")), at("missing/y"));
    const HUTFileIter listed = HUTFile::createFileIter(at("list"));
    EXPECT_THAT(std::vector(listed.begin(), listed.end()), ElementsAre(at("list/a"), at("list/b")));
}

TEST_F(Files, WithoutACurrentDirectoryAbsolutePathsWork) {
    const fs::path before = fs::current_path();
    fs::create_directory(at("gone"));
    fs::current_path(at("gone"));
    fs::remove(at("gone"));
    HUTFile::writeFile(at("out"), "written");
    EXPECT_EQ(HUTFile::getCanonicalName(at("./out")), at("out"));
    EXPECT_TRUE(HUTFile::exists(ScratchDirectory(directory.path(), ".tmp").path()));
    EXPECT_EQ(failureOf([] { HUTFile::getCanonicalName("out"); }),
              "Failed to resolve 'out': the current directory is gone");
    EXPECT_THAT(failureOf([] { HUTFile::writeFile("out", ""); }),
                MatchesRegex("Failed to open '\\./\\.out\\.kp-.*': the current directory is gone"));
    fs::current_path(before);
    EXPECT_EQ(HUTFile::readFile(at("out")), "written");
}

TEST_F(Files, WhatCannotBeWrittenHasItsReason) {
    write("file");
    const std::pair<std::string, std::string> cases[] = {
        {"/dev/full", "Failed to write '/dev/full': No space left on device"},
        {at("no/x"), "Failed to write to '" + at("no") + "': No such file or directory"},
        {at("file/x"), "Failed to write to '" + at("file") + "': Not a directory"},
        {directory.path(), "Failed to open '" + directory.path() + "': Is a directory"},
        {at("a\x1b"), "nothing thrown"},
        {at("a\x1b/x"), "Failed to write to '" + at("a\\x1b") + "': Not a directory"},
        {"", "Failed to write '': no file can have this path"},
        {at("x/"), "Failed to write '" + at("x/") + "': no file can have this path"},
    };
    for (const auto& [path, failure] : cases)
        EXPECT_EQ(failureOf([&, &path = path] { HUTFile::writeFile(path, "x"); }), failure);
    EXPECT_EQ(failureOf([&] { HUTFile::ensureWritableDir(at("file")); }),
              "Failed to create directory '" + at("file") + "': File exists");
    EXPECT_EQ(failureOf([&] { HUTFile::ensureWritableDir(at("file/x/y")); }),
              "Failed to create directory '" + at("file/x/y") + "': Not a directory");
}

TEST_F(Files, ADirectoryReplacesAnEmptyOneWhereNothingElseIsPossible) {
    for (const char* name : {"from", "to"})
        fs::create_directory(at(name));
    EXPECT_FALSE(disk::moveDirectory(at("from"), at("to")));
    const disk::DiskFaults faults(once("rename", [] { return EINVAL; }));
    EXPECT_TRUE(disk::moveDirectory(at("from"), at("to")));
}

TEST_F(Files, ADocumentIsReplacedAsAWholeOrNotAtAllWhateverFails) {
    write("real/old");
    const mode_t mask = ::umask(026);
    fs::permissions(at("real/old"), fs::perms(0642));
    const bool isRoot = ::chown(at("real/old").c_str(), 11, 22) == 0;
    const auto rightsOf = [&](const std::string& name) {
        struct stat status {};
        EXPECT_EQ(::stat(at(name).c_str(), &status), 0);
        return std::tuple(status.st_mode & 0777, status.st_uid, status.st_gid);
    };
    const auto rights = rightsOf("real/old");
    fs::create_symlink("real/old", at("old"));
    fs::create_symlink("real/new", at("new"));
    const CapturedMessages messages;
    int failures = 0;
    for (const std::string name : {"old", "new"}) {
        const std::string left = "." + name + ".kp-0123456789ab";  // by a process that was killed
        std::string failed;
        const auto fail = [&](std::string_view call) { return failed = call, EIO; };
        atEachCall(fail, [&](const auto& disaster) {
            HUTFile::writeFile(at("real/old"), "old");
            fs::remove(at("real/new"));
            write("real/" + left);
            std::optional<disk::DiskFaults> faults(disaster);
            const bool isDone = failureOf([&] { HUTFile::writeFile(at(name), "new"); }) == "nothing thrown";
            faults.reset();
            failures += !isDone;
            const std::string held = isDone ? "new" : name == "old" ? "old" : "";
            EXPECT_EQ(fs::exists(at(name)) ? TemporaryDirectory::read(at(name)) : "", held) << failed;
            for (const auto& [file, bytes] : directory.files("real"))
                EXPECT_TRUE(file == "old" || file == "new" || file == left) << file << " after " << failed;
            HUTFile::writeFile(at(name), "next");
            EXPECT_EQ(directory.files("real").size(), name == "old" ? 1U : 2U) << failed;
        });
    }
    EXPECT_GT(failures, 15);
    EXPECT_EQ(rightsOf("real/old"), rights);
    EXPECT_EQ(rightsOf("real/new"), std::tuple(0640U, ::geteuid(), ::getegid()));
    const disk::DiskFaults faults(once("change the owner of", [] { return EPERM; }));
    HUTFile::writeFile(at("old"), "by another");
    EXPECT_EQ(rightsOf("real/old"), std::tuple(0642U, ::geteuid(), isRoot ? 22 : ::getegid()));
    ::umask(mask);
    EXPECT_EQ(messages.calls().size(), 4U);  // of those that are in place and could not be synced there
}

TEST_F(Files, TreesGoAsFarAsTheyCanAlsoWhenWorkIsCalledOff) {
    write("kept/f");
    std::string upper = at("tree"), lower = at("lower");
    for (std::string* path : {&upper, &lower})
        for (int level = 0; level < 300; ++level, *path += "/directory")
            fs::create_directory(*path);
    fs::rename(at("lower"), upper);  // whose ends no path can reach
    fs::create_symlink(at("kept"), at("tree/link"));
    fs::create_symlink("nowhere", at("tree/dangling"));
    HUTInterrupt::request();
    {
        const disk::DiskFaults faults(
            [&](std::string_view, const std::string& path) { return path.ends_with("link") ? EIO : 0; });
        HUTFileUtils::removeTree(at("tree"));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(at("tree")), {}), 1);
    HUTFileUtils::removeTree(at("tree"));
    HUTInterrupt::clear();
    EXPECT_FALSE(fs::exists(at("tree")));
    EXPECT_TRUE(fs::exists(at("kept/f")));
}

TEST(Paths, AreShownSoThatTheyUpsetNoTerminal) {
    const std::tuple<std::string, std::size_t, std::string> cases[] = {
        {"a\n\x7f\x1b", 99, "'a\\x0a\\x7f\\x1b'"},
        {"\xc2\x9b\xc2\xa0\xc3\xa4", 99, "'\\xc2\\x9b\xc2\xa0\xc3\xa4'"},
        {"\xc3\xa4\xff", 99, "'\\xc3\\xa4\\xff'"},
        {"a\xc3\xa4z", 3, "'a\xc3\xa4...'"},
        {"a\xc3\xa4z", 2, "'a...'"},
        {"a\xf0\x9f\x98\x80", 4, "'a...'"},
        {"abc", 0, "'...'"},
        {"\x80\x80\x80\x80\x80", 4, "'\\x80...'"},
    };
    for (const auto& [text, longest, shown] : cases)
        EXPECT_EQ(HUTPathUtils::quoted(text, longest), shown);
}

TEST(Paths, AreTakenApartAtTheirSeparators) {
    const std::tuple<std::string, std::string, std::string, std::vector<std::string_view>> cases[] = {
        {"a/b", "a", "b", {"a", "b"}},
        {"a//b//", "a", "b", {"a", "b"}},
        {"b", ".", "b", {"b"}},
        {"/b/", "/", "b", {"b"}},
        {"//b/.", "//b", ".", {"b", "."}},
        {"/", "/", "/", {}},
        {"", ".", "", {}},
        {"a/../", "a", "..", {"a", ".."}},
    };
    for (const auto& [path, parent, last, components] : cases) {
        EXPECT_EQ(HUTPathUtils::parent(path), parent) << path;
        EXPECT_EQ(HUTPathUtils::lastComponent(path), last) << path;
        EXPECT_EQ(HUTPathUtils::components(path), components) << path;
    }
    EXPECT_EQ(HUTPathUtils::join("a/", "///b"), "a/b");
    EXPECT_EQ(HUTPathUtils::join("", "/b") + HUTPathUtils::join("a", ""), "/ba");
}

TEST(DisplayText, IsSeenAsItIsAndFits) {
    std::string marks;
    for (int i = 0; i < 8; ++i)
        marks += "\u0301";
    const std::pair<std::string, std::string> seen[] = {
        {"a\u202az\n", "a\\u202az\\x0a"},
        {"\u200a\u200b\u200f\u2010", "\u200a\\u200b\\u200f\u2010"},
        {"\U000e0fff\U000e1000", "\\U000e0fff\U000e1000"},
        {"e" + marks + "\u0301a" + marks, "e" + marks + "\\u0301a" + marks},
    };
    for (const auto& [text, shown] : seen)
        EXPECT_EQ(display::displayed(text), shown);
    EXPECT_EQ(display::displayWidth("a\u6f22e\u0301"), 4U);

    const std::tuple<std::string, std::size_t, std::string> shortened[] = {
        {"abcdefghij", 10, "abcdefghij"},
        {"abcdefghij", 9, "abcd..hij"},
        {"abcdefghij", 3, "a.."},
        {"abcdefghij", 2, "ab"},
        {"\u6f22\u5b57\u6f22\u5b57", 7, "\u6f22..\u5b57"},
        {"abcde\u0301f", 5, "ab..f"},
        {"abcdefe\u0301", 5, "ab..e\u0301"}};
    for (const auto& [text, width, shown] : shortened)
        EXPECT_EQ(display::shortened(text, width, ".."), shown);

    using Lines = std::vector<std::string>;
    const std::tuple<std::string, std::size_t, Lines> wrapped[] = {
        {"one two  three", 7, {"one two", "three"}},
        {"one two three", 6, {"one", "two", "three"}},
        {"abcdef", 4, {"abcd", "ef"}},
        {"", 4, {""}},
        {" abcdef", 4, {" abc", "def"}},
        {"\u6f22\u5b57", 1, {"\u6f22", "\u5b57"}}};
    for (const auto& [text, width, lines] : wrapped)
        EXPECT_EQ(display::wrapped(text, width), lines) << text;
}

}  // namespace
