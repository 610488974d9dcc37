// Extracting archives: what arrives on disk, and what hostile archives and failing disks leave there.

#include "platform/base/HSTStringUtils.h"
#include "platform/zip/ArchiveExtraction.h"
#include "platform/zip/ZipFormat.h"
#include "tests/platform/ZipTest.h"

#include <cerrno>
#include <set>

#include <dirent.h>
#include <fcntl.h>
#include <libdeflate.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Tree = std::map<std::string, std::string>;

/// What lies below a directory: files as their content, directories as "/", links as "-> " and where they
/// lead.
Tree treeOf(const std::string& directory) {
    Tree tree;
    for (const auto& item : fs::recursive_directory_iterator(directory)) {
        const std::string name = item.path().string().substr(directory.size() + 1);
        if (fs::is_symlink(item.symlink_status())) {
            tree[name] = "-> " + fs::read_symlink(item.path()).string();
        } else {
            tree[name] = fs::is_directory(item.path()) ? "/" : HUTFile::readFile(item.path().string());
        }
    }
    return tree;
}

/// A member as an archive states it, true or not.
struct Member {
    std::string name;
    std::string content{};
    std::uint32_t mode = S_IFREG | 0644;
    std::optional<std::uint64_t> size{};
    std::optional<std::uint64_t> offset{};
    std::uint16_t method = ArchiveEntry::Stored;

    ArchiveEntry entry() const {
        ArchiveEntry entry;
        entry.name = name;
        entry.madeBy = 3 << 8 | 30;
        entry.method = method;
        entry.crc = libdeflate_crc32(0, content.data(), content.size());
        entry.storedSize = content.size();
        entry.size = size.value_or(content.size());
        entry.externalAttributes = mode << 16;
        return entry;
    }
    std::string record() const { return zip_format::localHeader(entry()) + content; }
};

std::string forged(const std::vector<Member>& members) {
    std::string bytes;
    std::string directory;
    for (const Member& member : members) {
        ArchiveEntry entry = member.entry();
        entry.offset = member.offset.value_or(bytes.size());
        bytes += member.record();
        directory += zip_format::directoryRecord(entry);
    }
    return bytes + directory + zip_format::endRecords(members.size(), bytes.size(), directory.size()) +
           std::string(2, '\0');
}

class ZipExtract : public ZipTest {
protected:
    void extract(const std::string& folder = "") const { HUTZip::uncompressDir(archive, folder, to, 1); }
    struct stat statusOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(::lstat((to + "/" + name).c_str(), &status), 0) << name;
        return status;
    }

    std::string to = at("to");
};

TEST_F(ZipExtract, WhatIsPackedComesBack) {
    const std::string large(std::size_t{17} << 20, 'l');
    write("tree/run.sh", "#!/bin/sh\n");
    write("tree/a/b/large", large);
    write("tree/a/empty_file", "");
    write("tree/secret", "s");
    fs::create_directories(at("tree/empty/deeper"));
    ASSERT_EQ(::chmod(at("tree/run.sh").c_str(), 06755), 0);
    ASSERT_EQ(::chmod(at("tree/secret").c_str(), 0462), 0);
    ASSERT_EQ(::chmod(at("tree/empty/deeper").c_str(), 0077), 0);
    const timespec times[] = {{0, 0}, {1'600'000'001, 0}};
    for (const char* name : {"tree/run.sh", "tree/empty/deeper"})
        ASSERT_EQ(::utimensat(AT_FDCWD, at(name).c_str(), times, 0), 0);
    HUTZip::compressDir(archive, at("tree"), "k");
    edit([](ArchiveEdit& edit) { edit.addBytes("k10/other", "o"); });

    for (const mode_t mask : {022, 077}) {
        fs::remove_all(to);
        const mode_t before = ::umask(mask);
        const Environment zone("TZ", "Asia/Kolkata");
        extract("k/");
        ::umask(before);
        EXPECT_THAT(treeOf(to), testing::SizeIs(treeOf(at("tree")).size() + 1));
        EXPECT_EQ(treeOf(to + "/k"), treeOf(at("tree")));
        EXPECT_EQ(statusOf("k/run.sh").st_mode, S_IFREG | 0755U);
        EXPECT_EQ(statusOf("k/secret").st_mode, S_IFREG | 0462U);
        EXPECT_EQ(statusOf("k/empty/deeper").st_mode, S_IFDIR | 0777U);
        EXPECT_EQ(statusOf("k/a").st_mode, S_IFDIR | (0755U & ~mask));
        for (const char* name : {"k/run.sh", "k/empty/deeper"})
            EXPECT_EQ(statusOf(name).st_mtim.tv_sec, 1'600'000'000) << name;
    }
    extract();
    EXPECT_EQ(HUTFile::readFile(to + "/k10/other"), "o");

    to = at("nothing");
    extract("lacking");
    EXPECT_FALSE(fs::exists(to));
    EXPECT_EQ(failureOf([&] { HUTZip::uncompressDir(archive, "k", to, 2); }),
              "There is no option 2 of extracting an archive");
}

TEST_F(ZipExtract, OddButHarmlessArchives) {
    HUTFile::writeFile(archive, forged({{"./", "", S_IFDIR | 0700},
                                        {".//k/./file", "f", 0},
                                        {"k/d/", "", 0},
                                        {"k/d/x", "x", S_IFREG | 04711}}));
    extract();
    EXPECT_EQ(treeOf(to), (Tree{{"k", "/"}, {"k/d", "/"}, {"k/d/x", "x"}, {"k/file", "f"}}));
    EXPECT_EQ(statusOf("k/file").st_mode, S_IFREG | 0644U);
    EXPECT_EQ(statusOf("k/d").st_mode, S_IFDIR | 0755U);
    EXPECT_EQ(statusOf("k/d/x").st_mode, S_IFREG | 0711U);
}

TEST_F(ZipExtract, FilesThatAreThereAreReplacedAndOthersStay) {
    directory.file("to/k/kept", "kept");
    directory.file("to/k/d/x", "old and longer");
    directory.file("to/outside", "outside");
    fs::create_symlink("../outside", at("to/k/link"));
    HUTFile::writeFile(archive, forged({{"k/d/x", "new"}, {"k/link", "file now"}, {"k/new/y", "y"}}));
    extract();
    EXPECT_EQ(treeOf(to), (Tree{{"k", "/"},
                                {"k/d", "/"},
                                {"k/d/x", "new"},
                                {"k/kept", "kept"},
                                {"k/link", "file now"},
                                {"k/new", "/"},
                                {"k/new/y", "y"},
                                {"outside", "outside"}}));
}

// Every archive begins with a sound member. None may leave anything of itself anywhere.
TEST_F(ZipExtract, HostileArchivesAreRefusedAndTouchNothing) {
    const std::string deflatedEmpty("\x03\x00", 2);
    const Member good{"k/good", "good"};
    const Member inner{"k/inner", "i"};
    const std::size_t innerOffset = good.record().size() + Member{"k/a", "<"}.record().size();
    const std::string longName = "k/" + std::string(4096, 'n');
    const std::string sound(1'050'000, 's');
    struct Row {
        std::vector<Member> members;
        std::string name, reason;
        std::function<void()> prepare = [] {};
        const char* verb = "extract";
    };
    const Row rows[] = {
        {{{"/etc/kp_test"}}, "/etc/kp_test", "it is an absolute path"},
        {{{"k/../../outside/canary"}}, "k/../../outside/canary", "it contains '..'"},
        {{{".."}}, "..", "it contains '..'"},
        {{{"k\\..\\x"}}, "k\\..\\x", "it contains a backslash"},
        {{{std::string("k/x\0.v", 6)}}, "k/x\\x00.v", "it contains a NUL character"},
        {{{""}}, "", "it is empty"},
        {{{"."}}, ".", "it names no file"},
        {{{longName}}, longName, "its name is longer than a path can be"},
        {{{"k/link", "../outside", S_IFLNK | 0777}}, "k/link", "it is a symbolic link"},
        {{{"k/link/", "", S_IFLNK | 0777}}, "k/link/", "it is a symbolic link"},
        {{{"k/pipe", "", S_IFIFO | 0644}}, "k/pipe", "its type is not that of a file"},
        {{{"k/dev/", "", S_IFBLK | 0644}}, "k/dev/", "its type is not that of a directory"},
        {{{"k/file", "", S_IFDIR | 0755}}, "k/file", "its type is not that of a file"},
        {{{"k/data/", "x", S_IFDIR | 0755}}, "k/data/", "it is a directory with data"},
        {{{"k/a", "1"}, {"k/a", "2"}}, "k/a", "two entries have this name"},
        {{{"k/a", "1"}, {"k/.//a", "2"}}, "k/.//a", "two entries have this name"},
        {{{"k/a/", "", S_IFDIR}, {"k/a/", "", S_IFDIR}}, "k/a/", "two entries have this name"},
        {{{"k/a", "1"}, {"k/a/b", "2"}}, "k/a/b", "'k/a' is a file and a folder"},
        {{{"k/a/b", "1"}, {"k/a", "2"}}, "k/a", "it is a file and a folder"},
        {{{"k/a", "1"}, {"k/z", "2", S_IFREG, {}, 0}}, "k/good", "it overlaps another entry"},
        {{{"k/a", "<" + inner.record() + ">"}, {"k/inner", "i", S_IFREG, {}, innerOffset}},
         "k/a",
         "it overlaps another entry"},
        {{{"k/lie", deflatedEmpty, S_IFREG, 7, {}, ArchiveEntry::Deflated}},
         "k/lie",
         "its data do not have the size that the directory states",
         [] {},
         "read"},
        {{{"k/lie", "stored", S_IFREG, 5}},
         "k/lie",
         "it states a size that its data cannot have",
         [] {},
         "read"},
        {{{"k/bomb", sound, S_IFREG, std::uint64_t{1'080'000'000}, {}, ArchiveEntry::Deflated}},
         "k/bomb",
         "the data inflate to more than 1 GiB and 1000 times their stored size"},
        {{{"k/1", sound, S_IFREG, std::uint64_t{1'060'000'000}, {}, ArchiveEntry::Deflated},
          {"k/2", sound, S_IFREG, std::uint64_t{1'060'000'000}, {}, ArchiveEntry::Deflated}},
         "k/2",
         "the data inflate to more than 1 GiB and 1000 times their stored size"},
        {{{"k/sub/x", "x"}},
         "k",
         "'" + to + "/k' is in the way: it is a symbolic link",
         [&] { fs::create_directory_symlink(at("outside"), at("to/k")); }},
        {{{"k/sub/x", "x"}},
         "k/sub",
         "'" + to + "/k/sub' is in the way: it is a symbolic link",
         [&] { fs::create_directory_symlink("../../outside", at("to/k/sub")); }},
        {{{"k/sub/x", "x"}},
         "k/sub",
         "'" + to + "/k/sub' is in the way: it is not a directory",
         [&] { directory.file("to/k/sub", "in the way"); }},
        {{{"k/sub", "x"}},
         "k/sub",
         "'" + to + "/k/sub' is in the way: it is a directory",
         [&] { fs::create_directory(at("to/k/sub")); }},
    };
    for (const Row& row : rows) {
        fs::remove_all(to);
        directory.file("outside/canary", "alive");
        const bool isPrepared = row.reason.find("in the way") != std::string::npos;
        if (isPrepared) fs::create_directories(row.name == "k" ? to : to + "/k");
        row.prepare();
        std::vector<Member> members = row.members;
        members.insert(members.begin(), good);
        HUTFile::writeFile(archive, forged(members));
        const Tree before = treeOf(directory.path());

        EXPECT_EQ(failureOf([&] { extract(); }), std::string("Failed to ") + row.verb + " '" + row.name +
                                                     "' of the archive '" + archive + "': " + row.reason);
        Tree after = treeOf(directory.path());
        if (!isPrepared) after.erase("to");  // an empty destination may have been created
        EXPECT_EQ(after, before) << row.name << ": " << row.reason;
    }
    EXPECT_FALSE(fs::exists("/etc/kp_test"));
}

TEST_F(ZipExtract, NamesThatMeetOnTheFileSystemAreRefused) {
    for (const auto& [first, second] : {std::pair("k/Case", "k/case"), std::pair("k/DIR/a", "k/dir/b")}) {
        HUTFile::writeFile(archive, forged({{first, "1"}, {second, "2"}}));
        extract();
        EXPECT_EQ(HUTFile::readFile(to + "/" + first) + HUTFile::readFile(to + "/" + second), "12");
        fs::remove_all(to);

        // A file system that ignores case says that the second name is taken.
        std::set<std::string> taken;
        std::string failure;
        {
            const disk::DiskFaults faults([&](std::string_view call, const std::string& path) {
                const bool creates = call == "create directory" || (call == "open" && path.ends_with("ase"));
                return creates && !taken.insert(HSTStringUtils::foldCase(path)).second ? EEXIST : 0;
            });
            failure = failureOf([&] { extract(); });
        }
        const std::string refused = std::string(second).substr(0, std::string(second).find("/b"));
        EXPECT_EQ(failure, "Failed to extract '" + refused + "' of the archive '" + archive +
                               "': its name meets another entry's on this file system");
        EXPECT_THAT(treeOf(to), IsEmpty());
    }
}

class ZipExtractFault : public ZipExtract {
protected:
    void SetUp() override {
        fs::create_directory(at("empty"));
        edit([this](ArchiveEdit& edit) {
            edit.addBytes("k/a", std::string(5000, 'a'));
            edit.addBytes("k/d/b", "new b");
            edit.addTree("k/d/e", at("empty"));
            edit.addBytes("r/c", "c");
        });
        extract();
        whole = treeOf(to);
        fs::remove_all(to);
    }

    Tree whole;
};

TEST_F(ZipExtractFault, ACallThatFailsLeavesNoFileCutShort) {
    const Tree old = {{"k", "/"}, {"k/a", "old a"}, {"k/d", "/"}, {"k/d/b", "old b"}, {"k/own", "own"}};
    for (const bool exists : {false, true}) {
        std::set<std::string, std::less<>> failed;
        for (int n = 1;; ++n) {
            fs::remove_all(to);
            for (const auto& [name, content] : exists ? old : Tree())
                if (content != "/") directory.file("to/" + name, content);
            int calls = 0;
            std::string text;
            {
                const disk::DiskFaults faults([&](std::string_view call, const std::string&) {
                    if (++calls != n) return 0;
                    failed.emplace(call);
                    return EIO;
                });
                text = failureOf([&] { extract(); });
            }
            const Tree now = fs::exists(to) ? treeOf(to) : Tree();
            for (const auto& [name, content] : now) {
                const bool isOld = exists && old.contains(name) && old.at(name) == content;
                EXPECT_TRUE(isOld || (whole.contains(name) && whole.at(name) == content)) << n << " " << name;
            }
            if (calls < n) break;
            if (text != "none") extract();
            Tree complete = whole;
            if (exists) complete["k/own"] = "own";
            EXPECT_EQ(treeOf(to), complete) << n;
        }
        EXPECT_THAT(failed, testing::IsSupersetOf({"open", "create directory", "read", "write", "rename",
                                                   "inspect", "list", "lock", "change the time of"}));
    }
}

TEST_F(ZipExtractFault, ALargeMemberThatProvesBadOrDoesNotFitLeavesNothing) {
    const std::string content((std::size_t{16} << 20) + 1, 'l');
    const Member large{"k/large", content};
    HUTFile::writeFile(archive, forged({large}));
    {
        const disk::DiskFaults faults([n = 0](std::string_view call, const std::string&) mutable {
            return call == "write" && ++n == 9 ? ENOSPC : 0;
        });
        EXPECT_THAT(failureOf([&] { extract(); }), testing::HasSubstr("k/large': No space left on device"));
    }
    EXPECT_THAT(treeOf(to), IsEmpty());
    std::string damaged = forged({large});
    damaged[damaged.rfind("lPK")] = 'L';
    HUTFile::writeFile(archive, damaged);
    EXPECT_EQ(failureOf([&] { extract(); }),
              "Failed to read 'k/large' of the archive '" + archive + "': its checksum differs");
    EXPECT_THAT(treeOf(to), IsEmpty());
}

TEST_F(ZipExtractFault, MissingAbilitiesAndCompetitorsDoNotMatter) {
    const disk::DiskFaults::Decide environments[] = {
        [n = 0](std::string_view, const std::string&) mutable { return ++n % 2 == 1 ? EINTR : 0; },
        [](std::string_view call, const std::string&) { return call == "lock" ? EBADF : 0; },
        [isFirst = true](std::string_view call, const std::string&) mutable {
            return call == "rename" && std::exchange(isFirst, false) ? EINVAL : 0;
        },
        [this, isFirst = true](std::string_view call, const std::string&) mutable {
            if (call == "rename" && std::exchange(isFirst, false)) directory.file("to/k/d/b", "of another");
            return 0;
        },
    };
    for (const auto& environment : environments) {
        fs::remove_all(to);
        const disk::DiskFaults faults(environment);
        extract();
        EXPECT_EQ(treeOf(to), whole);
    }
}

TEST_F(ZipExtractFault, WhatAKilledExtractionLeftIsRemoved) {
    directory.file("to/0123456789ab.kp-incomplete/files/k/a", "half");
    directory.file("to/ba9876543210.kp-incomplete/files/k/a", "in the making");
    fs::create_directory_symlink(at("out"), at("to/link.kp-incomplete"));
    const disk::FileDescriptor living =
        disk::open(at("to/ba9876543210.kp-incomplete"), O_RDONLY | O_DIRECTORY);
    disk::lock(living);
    extract("r");
    EXPECT_EQ(treeOf(to), (Tree{{"ba9876543210.kp-incomplete", "/"},
                                {"ba9876543210.kp-incomplete/files", "/"},
                                {"ba9876543210.kp-incomplete/files/k", "/"},
                                {"ba9876543210.kp-incomplete/files/k/a", "in the making"},
                                {"link.kp-incomplete", "-> " + at("out")},
                                {"r", "/"},
                                {"r/c", "c"}}));
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

}  // namespace
