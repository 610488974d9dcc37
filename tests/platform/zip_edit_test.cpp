#include "tests/platform/ZipTest.h"
#include "tests/support/CapturedMessages.h"

#include <chrono>
#include <random>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utime.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string noise(std::size_t size) {
    std::mt19937_64 random(size);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

using ZipEdit = ZipTest;

TEST_F(ZipEdit, WhatIsAddedReadsBackEqual) {
    const std::string text(100'000, 't');
    const std::string random = noise(100'000);
    write("tree/src/a.v", text);
    write("tree/b.bin", random);
    write("tree/\xc3\xa4", "utf-8");
    write("tree/\xff", "no utf-8");
    write("tree/none", "");
    fs::create_directories(at("tree/empty/deep"));
    edit([&](ArchiveEdit& edit) {
        EXPECT_FALSE(edit.exists());
        edit.addLast("kp.xml", "<kp/>");
        edit.addTree("k/ip/", at("tree"));
        edit.addBytes("k/kernel.xml", "<root/>");
        edit.addFile("k/renamed", at("tree/src/a.v"));
        edit.addFiles("", {at("tree/b.bin")});
    });
    expectSound({{"k/ip/src/a.v", text},
                 {"k/ip/b.bin", random},
                 {"k/ip/\xc3\xa4", "utf-8"},
                 {"k/ip/\xff", "no utf-8"},
                 {"k/ip/none", ""},
                 {"k/ip/empty/deep/", ""},
                 {"k/kernel.xml", "<root/>"},
                 {"k/renamed", text},
                 {"b.bin", random},
                 {"kp.xml", "<kp/>"}});
    EXPECT_THAT(names(),
                ElementsAre("k/ip/b.bin", "k/ip/empty/deep/", "k/ip/none", "k/ip/src/a.v", "k/ip/\xc3\xa4",
                            "k/ip/\xff", "k/kernel.xml", "k/renamed", "b.bin", "kp.xml"));
    EXPECT_EQ(entry("k/ip/b.bin").method, ArchiveEntry::Stored);
    EXPECT_EQ(entry("k/ip/src/a.v").method, ArchiveEntry::Deflated);
    EXPECT_EQ(entry("k/ip/\xc3\xa4").flags, ArchiveEntry::IsUtf8);
    EXPECT_EQ(entry("k/ip/\xff").flags, 0);
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

TEST_F(ZipEdit, EditsKeepTheRestInItsOrder) {
    edit([](ArchiveEdit& edit) {
        for (const char* name : {"a/1", "a/2", "A/1", "ab", "b", "a/", "kp.xml"})
            edit.addBytes(name, name);
    });
    const std::string mode = "chmod 640 '" + archive + "'";
    ASSERT_EQ(run(mode), 0);
    edit([](ArchiveEdit& edit) {
        ASSERT_TRUE(edit.exists());
        edit.deleteFolder("a");
        edit.deleteFile("missing");
        edit.deleteFolder("missing/");
        edit.addBytes("a/3", "new");
        edit.addLast("kp.xml", "replaced");
        edit.addBytes("gone", "x");
        edit.deleteFile("gone");
        edit.addBytes("folder/gone", "x");
        edit.deleteFolder("folder");
    });
    expectSound({{"A/1", "A/1"}, {"ab", "ab"}, {"b", "b"}, {"a/3", "new"}, {"kp.xml", "replaced"}});
    EXPECT_THAT(names(), ElementsAre("A/1", "ab", "b", "a/3", "kp.xml"));
    struct stat status {};
    ASSERT_EQ(stat(archive.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(ZipEdit, LeavingWithoutCommitOrChangeLeavesTheFileAlone) {
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat(archive.c_str(), &before), 0);
    { ArchiveEdit(archive).addBytes("b", "b"); }
    edit([](ArchiveEdit& edit) { edit.deleteFile("missing"); });
    ASSERT_EQ(stat(archive.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    expectSound({{"a", "a"}});
    { ArchiveEdit(at("out/new.kp")).addBytes("b", "b"); }
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

TEST_F(ZipEdit, RefusalsNameTheMemberAndChangeNothing) {
    const std::string one = write("one/f", "1");
    const std::string two = write("two/f", "2");
    write("bad/a\\b", "x");
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    const std::string before = bytesOfArchive();
    const struct {
        std::function<void(ArchiveEdit&)> operation;
        std::string text;
    } refused[] = {
        {[&](ArchiveEdit& edit) {
             edit.addFiles("k", {one, two});
         },
         "Two files are given for 'k/f' in '" + archive + "': '" + one + "' and '" + two + "'"},
        {[&](ArchiveEdit& edit) { edit.addBytes("k/f", ""), edit.addFile("k/f", one); },
         "Two files are given for 'k/f' in '" + archive + "': generated content and '" + one + "'"},
        {[&](ArchiveEdit& edit) { edit.addFile("k", at("one")); }, "'" + at("one") + "' is not a file"},
        {[&](ArchiveEdit& edit) { edit.addFile("k", at("no")); }, "'" + at("no") + "' is not a file"},
        {[&](ArchiveEdit& edit) { edit.addTree("k", at("bad")); },
         "'k/a\\b' cannot be the name of an archive member: it contains a backslash"},
        {[](ArchiveEdit& edit) { edit.addBytes("/etc/x", ""); },
         "'/etc/x' cannot be the name of an archive member: it is an absolute path"},
        {[](ArchiveEdit& edit) { edit.addBytes("a/../x", ""); },
         "'a/../x' cannot be the name of an archive member: it contains '..'"},
        {[](ArchiveEdit& edit) { edit.addBytes("", ""); },
         "'' cannot be the name of an archive member: it is empty"},
        {[](ArchiveEdit& edit) { edit.addBytes(std::string("a\0b", 3), ""); },
         "'a\\x00b' cannot be the name of an archive member: it contains a NUL character"},
        {[](ArchiveEdit& edit) { edit.addBytes(std::string(65536, 'n'), ""); },
         "'" + std::string(65536, 'n') +
             "' cannot be the name of an archive member: it is longer than 65535 bytes"},
        {[&](ArchiveEdit& edit) { edit.deleteFolder("/"); },
         "No folder of '" + archive + "' to delete is named"},
        {[&](ArchiveEdit&) { ArchiveEdit again(archive); }, "'" + archive + "' is being edited already"},
    };
    for (const auto& [operation, text] : refused)
        EXPECT_EQ(failureOf([&] { edit(operation); }), text);
    EXPECT_EQ(bytesOfArchive(), before);
    EXPECT_EQ(failureOf([&] {
                  HUTZip::compress(at("out/new.kp"), {one, two}, "k");
              }),
              "Two files are given for 'k/f' in '" + at("out/new.kp") + "': '" + one + "' and '" + two + "'");
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

TEST_F(ZipEdit, OneStepOperations) {
    const std::string file = write("f", "file");
    write("tree/t", "tree");
    HUTZip::compress(archive, {file}, "k");
    HUTZip::compressDir(archive, at("tree"), "ip_repo/v");
    HUTZip::compress(archive, {file}, "");
    expectSound({{"k/f", "file"}, {"ip_repo/v/t", "tree"}, {"f", "file"}});
    EXPECT_TRUE(HUTZip::containsFile(archive, "k/f"));
    EXPECT_FALSE(HUTZip::containsFile(archive, "K/f"));
    HUTZip::deleteFilesFromZip(archive, {"f", "missing"});
    HUTZip::deleteFolderFromZip(archive, "ip_repo");
    expectSound({{"k/f", "file"}});
    HUTZip::deleteFolderFromZip(archive, "k");
    EXPECT_EQ(contents(), Contents());
    for (const auto& operation : {std::function<void()>([&] { HUTZip::deleteFolderFromZip(at("no"), "k"); }),
                                  std::function<void()>([&] { HUTZip::attachDigestEn(at("no")); })})
        EXPECT_EQ(failureOf(operation), "The archive '" + at("no") + "' does not exist");
    EXPECT_EQ(failureOf([&] { HUTZip::containsFile(at("no"), "k"); }),
              "Failed to open '" + at("no") + "': No such file or directory");
}

TEST_F(ZipEdit, DigestsTellOfEveryChange) {
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 1);
    HUTZip::attachDigestEn(archive);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_EQ(HUTZip::checkIntegrity(archive), 1);
    const std::string sum = "test \"$(head -c -85 '" + archive +
                            "' | sha256sum | head -c 64)\" = \"$(tail -c 64 '" + archive + "')\"";
    EXPECT_EQ(run(sum), 0);
    expectSound({{"a", "a"}});

    HUTZip::compress(archive, {write("f", "f")}, "");
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 2);
    HUTZip::attachDigest(archive);
    EXPECT_EQ(HUTZip::checkIntegrity(archive), 0);
    EXPECT_EQ(std::string(ArchiveSnapshot::open(archive)->comment()).substr(0, 17), "kp-digest-1:sha1:");

    EXPECT_EQ(HUTZip::checkIntegrityEn(at("missing")), 3);
    EXPECT_EQ(HUTZip::checkIntegrityEn(write("text", "no archive")), 3);
}

TEST_F(ZipEdit, SealingAfterACheckHashesOnlyWhatChanged) {
    edit([](ArchiveEdit& edit) {
        edit.addBytes("large", noise(5'000'000));
        edit.addLast("kp.xml", "old");
        edit.seal();
    });
    std::this_thread::sleep_for(
        std::chrono::milliseconds(100));  // until the file's times tell it from a later one
    ASSERT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    int reads = 0;
    {
        const disk::DiskFaults counting([&](std::string_view call, const std::string& path) {
            if (call == "read" && path != archive) ++reads;
            return 0;
        });
        edit([](ArchiveEdit& edit) {
            edit.addBytes("small", "s");
            edit.addLast("kp.xml", "new");
            edit.seal();
        });
    }
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    edit([](ArchiveEdit& edit) {
        edit.deleteFile("large");
        edit.seal();
    });
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    expectSound({{"small", "s"}, {"kp.xml", "new"}});
}

TEST_F(ZipEdit, TimesAndModesComeFromTheFilesInUtc) {
    const Environment zone("TZ", "Asia/Tokyo");
    constexpr auto stamp = [](int year, int month, int day, int hour, int minute, int second) {
        return static_cast<std::uint32_t>(((year - 1980) << 9 | month << 5 | day) << 16 |
                                          (hour << 11 | minute << 5 | second / 2));
    };
    const struct {
        const char* name;
        std::time_t modified;
        mode_t mode;
        std::uint32_t stamp;
    } files[] = {{"plain", 1'600'000'000, 0644, stamp(2020, 9, 13, 12, 26, 40)},
                 {"old", 0, 0755, stamp(1980, 1, 1, 0, 0, 0)},
                 {"far", 5'000'000'000, 0400, stamp(2107, 12, 31, 23, 59, 58)},
                 {"sticky", 1'600'000'001, 06711, stamp(2020, 9, 13, 12, 26, 40)}};
    for (const auto& file : files) {
        const std::string path = write(std::string("tree/") + file.name, "x");
        const utimbuf times{file.modified, file.modified};
        ASSERT_EQ(utime(path.c_str(), &times), 0);
        ASSERT_EQ(chmod(path.c_str(), file.mode), 0);
    }
    edit([&](ArchiveEdit& edit) { edit.addTree("", at("tree")), edit.addBytes("generated", "x"); });
    for (const auto& file : files) {
        EXPECT_EQ(entry(file.name).dosTime, file.stamp) << file.name;
        EXPECT_EQ(entry(file.name).mode(), S_IFREG | (file.mode & 0777)) << file.name;
    }
    EXPECT_EQ(entry("generated").mode(), S_IFREG | 0644U);

    const Environment epoch("SOURCE_DATE_EPOCH", "1600000000");
    edit([](ArchiveEdit& edit) { edit.addBytes("generated", "y"); });
    EXPECT_EQ(entry("generated").dosTime, files[0].stamp);
    const Environment wrong("SOURCE_DATE_EPOCH", "today");
    EXPECT_EQ(failureOf([&] { edit([](ArchiveEdit& edit) { edit.addBytes("generated", "z"); }); }),
              "SOURCE_DATE_EPOCH is no number of seconds: 'today'");
}

TEST_F(ZipEdit, EqualInputsGiveEqualBytes) {
    const Environment epoch("SOURCE_DATE_EPOCH", "1700000000");
    std::vector<std::string> results;
    for (const bool isReversed : {false, true}) {
        const std::string tree = isReversed ? "second" : "first";
        std::vector<std::string> members;
        for (int i = 0; i < 200; ++i)
            members.push_back("d" + std::to_string(i % 7) + "/f" + std::to_string(i));
        if (isReversed) std::reverse(members.begin(), members.end());
        for (const std::string& name : members)
            ASSERT_EQ(chmod(write(tree + "/" + name, name + name).c_str(), 0640), 0);
        const mode_t mask = umask(isReversed ? 077 : 022);
        const Environment zone("TZ", isReversed ? "America/New_York" : "UTC");
        fs::remove(archive);
        edit([&](ArchiveEdit& edit) {
            edit.addTree("t", at(tree)), edit.addLast("kp.xml", "x"), edit.seal();
        });
        umask(mask);
        results.push_back(bytesOfArchive());
    }
    EXPECT_EQ(results[0], results[1]);
}

TEST_F(ZipEdit, LinksLeadToTheArchive) {
    fs::create_symlink("a.kp", at("out/link"));
    fs::create_symlink(at("out/link"), at("far"));
    ArchiveEdit::run(at("far"), [](ArchiveEdit& edit) { edit.addBytes("a", "1"); });
    expectSound({{"a", "1"}});
    ArchiveEdit::run(at("far"), [](ArchiveEdit& edit) { edit.addBytes("a", "2"); });
    expectSound({{"a", "2"}});
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp", "link"));
    EXPECT_TRUE(fs::is_symlink(at("far")));
    fs::create_symlink("round", at("round"));
    EXPECT_THAT(failureOf([&] { ArchiveEdit edit(at("round")); }), HasSubstr("symbolic link"));
}

TEST_F(ZipEdit, LoopsInATreeArePostedAndLeftOut) {
    write("tree/f", "f");
    fs::create_symlink(".", at("tree/loop"));
    const CapturedMessages messages;
    HUTZip::compressDir(archive, at("tree"), "t");
    expectSound({{"t/f", "f"}});
    EXPECT_THAT(messages.calls(), ElementsAre("@17-2001@%s[" + at("tree/loop") + "]"));
}

TEST_F(ZipEdit, LargeFilesAreStreamed) {
    constexpr std::size_t size = (std::size_t{64} << 20) + 3;
    const std::string random = noise(size);
    const std::string zeros(size, '\0');
    const std::string incompressible = write("random", random);
    const std::string sparse = write("zeros", zeros);
    edit([&](ArchiveEdit& edit) {
        edit.addFiles("", {incompressible, sparse}), edit.addBytes("after", "x"), edit.seal();
    });
    expectSound({{"random", random}, {"zeros", zeros}, {"after", "x"}});
    EXPECT_EQ(entry("random").method, ArchiveEntry::Stored);
    EXPECT_EQ(entry("zeros").method, ArchiveEntry::Deflated);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
}

TEST_F(ZipEdit, MoreEntriesThanThePlainFormatCounts) {
    Contents expected;
    for (int i = 0; i < 65'534; ++i)
        expected["n" + std::to_string(i)] = "x";
    edit([&](ArchiveEdit& edit) {
        for (const auto& [name, bytes] : expected)
            edit.addBytes(name, bytes);
    });
    for (const char* name : {"65535th", "65536th", "65537th"}) {
        edit([&](ArchiveEdit& edit) { edit.addBytes(name, "more"); });
        expected[name] = "more";
        expectSound(expected);
    }
}

TEST_F(ZipEdit, ArchivesOfOtherProgramsAreEdited) {
    write("tree/a/b", "content of b, content of b");
    write("tree/c", "content of c");
    ASSERT_EQ(
        run("cd '" + at("tree") + "' && zip -qr '" + archive + "' . && zip -q '" + archive + "' -z < c"), 0);
    edit([](ArchiveEdit& edit) { edit.addBytes("new", "n"), edit.deleteFile("a/"); });
    const Contents expected{{"a/b", "content of b, content of b"}, {"c", "content of c"}, {"new", "n"}};
    expectSound(expected);
    EXPECT_EQ(ArchiveSnapshot::open(archive)->comment(), "content of c");

    // Written to a pipe, whose sizes stand behind the data.
    ASSERT_EQ(run("cd '" + at("tree") + "' && zip -qrD - a c | cat > '" + archive + ".tmp' && mv '" +
                  archive + ".tmp' '" + archive + "'"),
              0);
    ASSERT_NE(entry("c").flags & ArchiveEntry::HasDescriptor, 0);
    for (const ArchiveFinding& finding : kept->check())
        ADD_FAILURE() << finding.text;
    edit([](ArchiveEdit& edit) { edit.addBytes("new", "n"); });
    expectSound(expected);
}

TEST_F(ZipEdit, WritersOfOneArchiveWaitForEachOther) {
    constexpr int writers = 4;
    constexpr int edits = 8;
    std::vector<pid_t> children;
    for (int writer = 0; writer < writers; ++writer) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        for (int i = 0; i < edits; ++i)
            edit([&](ArchiveEdit& edit) {
                edit.addBytes(std::to_string(writer) + "/" + std::to_string(i), "x"), edit.seal();
            });
        _exit(0);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(names().size(), std::size_t{writers} * edits);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

}  // namespace
