#include "platform/base/HSTStringUtils.h"
#include "platform/zip/ZipFormat.h"
#include "tests/platform/ZipTest.h"

#include <set>

#include <libdeflate.h>
#include <sys/stat.h>

using testing::IsEmpty;

namespace {

/// What lies below a directory: files as their content, directories as "/", links as "-> " and their ends.
using Tree = Contents;

Tree treeOf(const std::string& directory) {
    Tree tree;
    for (const auto& item : fs::recursive_directory_iterator(directory)) {
        std::string& content = tree[item.path().string().substr(directory.size() + 1)];
        if (fs::is_symlink(item.symlink_status()))
            content = "-> " + fs::read_symlink(item.path()).string();
        else
            content = fs::is_directory(item.path()) ? "/" : HUTFile::readFile(item.path().string());
    }
    return tree;
}

/// A member as an archive states it, true or not.
struct Member {
    std::string name;
    std::string content{};
    std::uint32_t mode = S_IFREG | 0644;
    std::uint64_t size = content.size();
    std::optional<std::uint64_t> offset{};
    std::uint16_t method = ArchiveEntry::Stored;
};

std::string forged(const std::vector<Member>& members) {
    std::string bytes;
    std::string directory;
    for (const Member& member : members) {
        ArchiveEntry entry;
        entry.name = member.name;
        entry.madeBy = 3 << 8 | 30;
        entry.method = member.method;
        entry.crc = libdeflate_crc32(0, member.content.data(), member.content.size());
        entry.storedSize = member.content.size();
        entry.size = member.size;
        entry.externalAttributes = member.mode << 16;
        entry.offset = member.offset.value_or(bytes.size());
        bytes += zip_format::localHeader(entry) + member.content;
        directory += zip_format::directoryRecord(entry);
    }
    return bytes + directory + zip_format::endRecords(members.size(), bytes.size(), directory.size()) +
           std::string(2, '\0');
}

class ZipExtract : public ZipTest {
protected:
    void extract(const std::string& folder = "") const { HUTZip::uncompressDir(archive, folder, to, 1); }
    fs::perms modeOf(const std::string& name) const { return fs::status(to + "/" + name).permissions(); }
    void makeTree(const Tree& tree) const {
        fs::remove_all(to);
        fs::create_directory(to);
        for (const auto& [name, content] : tree) {
            if (content == "/")
                fs::create_directory(to + "/" + name);
            else if (content.starts_with("-> "))
                fs::create_symlink(content.substr(3), to + "/" + name);
            else
                write("to/" + name, content);
        }
    }
    const std::string to = at("to");
};

TEST_F(ZipExtract, WhatIsPackedComesBack) {
    write("tree/run.sh", "#!/bin/sh\n");
    write("tree/a/b/large", std::string(std::size_t{17} << 20, 'l'));
    write("tree/a/empty_file", "");
    fs::create_directories(at("tree/empty/deeper"));
    const std::pair<std::string, mode_t> modes[] = {
        {"run.sh", 06755}, {"a/empty_file", 0462}, {"empty/deeper", 0077}};
    for (const auto& [name, mode] : modes) {
        ASSERT_EQ(::chmod(at("tree/" + name).c_str(), mode), 0);
        fs::last_write_time(at("tree/" + name), 1'600'000'000);
    }
    HUTZip::compressDir(archive, at("tree"), "k");
    edit([](ArchiveEdit& edit) { edit.addBytes("k10/other", "o"); });

    for (const mode_t mask : {022, 077}) {
        fs::remove_all(to);
        fs::create_directories(to + "/of_mine.kp-incomplete");
        const mode_t before = ::umask(mask);
        const Environment zone("TZ", "Asia/Kolkata");
        extract("k/");
        ::umask(before);
        EXPECT_FALSE(fs::exists(to + "/k10"));
        EXPECT_TRUE(fs::exists(to + "/of_mine.kp-incomplete"));
        EXPECT_EQ(treeOf(to + "/k"), treeOf(at("tree")));
        EXPECT_EQ(modeOf("k/run.sh"), fs::perms(0755));
        EXPECT_EQ(modeOf("k/a/empty_file"), fs::perms(0462));
        EXPECT_EQ(modeOf("k/empty/deeper"), fs::perms(0777));
        EXPECT_EQ(modeOf("k/a"), fs::perms(0755 & ~mask));
        for (const auto& [name, mode] : modes)
            EXPECT_EQ(fs::last_write_time(to + "/k/" + name), 1'600'000'000) << name;
    }
}

TEST_F(ZipExtract, OddNamesAndModesDoNoHarm) {
    HUTFile::writeFile(
        archive,
        forged(
            {{"./", "", S_IFDIR | 0700}, {".//k/./a", "a", 0}, {"x", "x", S_IFREG | 04711}, {"\xff", "y"}}));
    extract();
    EXPECT_EQ(treeOf(to), (Tree{{"k", "/"}, {"k/a", "a"}, {"x", "x"}, {"\xff", "y"}}));
    EXPECT_EQ(modeOf("k/a"), fs::perms(0644));
    EXPECT_EQ(modeOf("x"), fs::perms(0711));
}

// Each begins with a sound member. None may leave anything of itself anywhere, or get into another archive.
TEST_F(ZipExtract, HostileArchivesAreRefusedAndTouchNothing) {
    const std::string longName = "k/" + std::string(4094, 'n');
    std::string deepName = "k";
    for (int components = 1; components < 257; ++components)
        deepName += "/d";
    const std::string absolute = at("outside/absolute");
    const std::string twice = "two entries have this name";
    const auto inTheWay = [&](const std::string& name, const std::string& what) {
        return "'" + to + "/" + name + "' is in the way: it is " + what;
    };
    const struct {
        std::string name, reason;
        std::vector<Member> members;
        Tree there{};
    } rows[] = {
        {absolute, "it is an absolute path", {{absolute}}},
        {"k/../../outside/x", "it contains '..'", {{"k/../../outside/x"}}},
        {"k\\..\\x", "it contains a backslash", {{"k\\..\\x"}}},
        {"k/x\\x00.v", "it contains a NUL character", {{std::string("k/x\0.v", 6)}}},
        {".", "it names no file", {{"."}}},
        {longName, "its name is longer than a path can be", {{longName}}},
        {deepName, "its name has more than 256 components", {{deepName}}},
        {"k/link", "it is a symbolic link", {{"k/link", "../outside", S_IFLNK | 0777}}},
        {"k/pipe", "its type is not that of a file", {{"k/pipe", "", S_IFIFO | 0644}}},
        {"k/dev/", "its type is not that of a directory", {{"k/dev/", "", S_IFBLK | 0644}}},
        {"k/data/", "it is a directory with data", {{"k/data/", "x", S_IFDIR | 0755}}},
        {"k/a", twice, {{"k/a", "1"}, {"k/a", "2"}}},
        {"k/.//a", twice, {{"k/a", "1"}, {"k/.//a", "2"}}},
        {"k/a/", twice, {{"k/a/", "", S_IFDIR}, {"k/a/", "", S_IFDIR}}},
        {"k/a/b", "'k/a' is a file and a folder", {{"k/a", "1"}, {"k/a/b", "2"}}},
        {"k/a", "it is a file and a folder", {{"k/a/b", "1"}, {"k/a", "2"}}},
        {"k/good", "it overlaps another entry", {{"k/a", "1"}, {"k/z", "2", S_IFREG, 1, 0}}},
        {"k", inTheWay("k", "a symbolic link"), {{"k/x"}}, {{"k", "-> " + at("outside")}}},
        {"k/d", inTheWay("k/d", "a symbolic link"), {{"k/d/x"}}, {{"k", "/"}, {"k/d", "-> ../../outside"}}},
        {"k/d", inTheWay("k/d", "not a directory"), {{"k/d/x"}}, {{"k/d", "file"}}},
        {"k/d", inTheWay("k/d", "a directory"), {{"k/d"}}, {{"k", "/"}, {"k/d", "/"}}},
    };
    write("outside/canary", "alive");
    for (auto [name, reason, members, there] : rows) {
        makeTree(there);
        members.insert(members.begin(), {"k/good", "good"});
        HUTFile::writeFile(archive, forged(members));
        const Tree before = treeOf(directory.path());
        EXPECT_EQ(failureOf([&] { extract(); }),
                  "Failed to extract '" + name + "' of the archive '" + archive + "': " + reason);
        EXPECT_EQ(treeOf(directory.path()), before) << name << ": " << reason;
        EXPECT_EQ(ArchiveSnapshot::open(archive)->check().empty(), !there.empty()) << name << ": " << reason;
        EXPECT_EQ(failureOf([&] { copyTo(at("copy")); }) == "nothing thrown", !there.empty()) << name;
        EXPECT_EQ(fs::remove(at("copy")), !there.empty()) << name;
    }
}

TEST_F(ZipExtract, NamesThatMeetOnTheFileSystemAreRefused) {
    HUTFile::writeFile(archive, forged({{"k/A", "1"}, {"k/a", "2"}}));
    extract();
    EXPECT_EQ(treeOf(to), (Tree{{"k", "/"}, {"k/A", "1"}, {"k/a", "2"}}));
    makeTree({});
    std::set<std::string> taken;  // as a file system that ignores case sees it
    const disk::DiskFaults faults([&](std::string_view call, const std::string& path) {
        const bool isNew = call != "open" || !HSTStringUtils::foldCase(path).ends_with("/k/a") ||
                           taken.insert(HSTStringUtils::foldCase(path)).second;
        return isNew ? 0 : EEXIST;
    });
    EXPECT_THAT(failureOf([&] { extract(); }),
                testing::EndsWith("its name meets another entry's on this file system"));
    EXPECT_THAT(treeOf(to), IsEmpty());
}

TEST_F(ZipExtract, AMemberThatProvesBadAtItsEndLeavesNothing) {
    std::string deep = "deep";  // longer than a path with the staging directory before it
    while (deep.size() < 4000)
        deep += "/" + std::string(90, 'd');
    makeTree({});
    for (const std::size_t size : {std::size_t{100}, (std::size_t{16} << 20) + 1}) {
        edit([&](ArchiveEdit& edit) { edit.addBytes("m", std::string(size, 'l')); });
        const auto snapshot = ArchiveSnapshot::open(archive);
        const LocalRecord record = snapshot->localRecord(*snapshot->find("m"));
        const std::string deflated = bytesOfArchive().substr(record.data, record.end - record.data);
        const std::string wrongSize = "its data do not have the size that the directory states";
        const std::tuple<std::string, std::size_t, std::uint16_t, std::string> rows[] = {
            {std::string(size, 'l'), size, ArchiveEntry::Stored, "its checksum differs"},
            {deflated, size, ArchiveEntry::Deflated, "its checksum differs"},
            {deflated, size - 1, ArchiveEntry::Deflated, wrongSize},
            {deflated, size + 1, ArchiveEntry::Deflated, wrongSize},
            {deflated, size << 30, ArchiveEntry::Deflated, "it states a size that its data cannot have"},
            {deflated + "x", size, ArchiveEntry::Deflated, wrongSize},
            {deflated.substr(0, deflated.size() - 1), size, ArchiveEntry::Deflated, "its data are damaged"},
        };
        for (const auto& [stored, stated, method, reason] : rows) {
            std::string bytes = forged({{deep, ""}, {"k/m", stored, 0, stated, {}, method}});
            if (method == ArchiveEntry::Stored) bytes[bytes.rfind("lPK")] = 'L';
            HUTFile::writeFile(archive, bytes);
            EXPECT_EQ(failureOf([&] { extract(); }),
                      "Failed to read 'k/m' of the archive '" + archive + "': " + reason);
            EXPECT_THAT(treeOf(to), IsEmpty());
        }
    }
}

TEST_F(ZipExtract, MissingAbilitiesAndCompetitorsDoNotMatter) {
    const Tree whole = {
        {"k", "/"}, {"k/a", std::string(5000, 'a')}, {"k/d", "/"}, {"k/d/b", "b"}, {"k/d/e", "/"}};
    HUTFile::writeFile(archive,
                       forged({{"k/a", whole.at("k/a")}, {"k/d/b", "b"}, {"k/d/e/", "", S_IFDIR | 0755}}));
    const disk::DiskFaults::Decide environments[] = {
        interruptions(), always("lock", EBADF), once("rename", [] { return EINVAL; }),
        once("rename", [this] { return write("to/k/d/b", "of another"), 0; }),
        once("rename", [this] { return write("to/k/d/b", "of another"), EINVAL; })};
    for (const auto& environment : environments) {
        makeTree({});
        const disk::DiskFaults faults(environment);
        extract();
        EXPECT_EQ(treeOf(to), whole);
    }
}

}  // namespace
