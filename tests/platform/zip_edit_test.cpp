#include "platform/files/HUTPathUtils.h"
#include "tests/platform/ZipTest.h"
#include "tests/support/CapturedMessages.h"

#include <chrono>
#include <random>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string noise(std::size_t size) {
    std::mt19937_64 random(size);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

/// The entry's time as year, month, day, hour, minute, second.
std::string dateTime(const ArchiveEntry& entry) {
    const std::uint32_t time = entry.dosTime;
    return testing::PrintToString(std::tuple(1980 + (time >> 25), time >> 21 & 15, time >> 16 & 31,
                                             time >> 11 & 31, time >> 5 & 63, (time & 31) * 2));
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
    fs::create_symlink(".", at("tree/loop"));
    const CapturedMessages messages;
    edit([&](ArchiveEdit& edit) {
        edit.addLast("kp.xml", "<kp/>");
        edit.addTree("k/ip/", at("tree"));
        edit.addFile("k/renamed", at("tree/src/a.v"));
        edit.addFiles("", {at("tree/b.bin")});
    });
    EXPECT_THAT(messages.calls(), ElementsAre("@17-2001@%s[" + at("tree/loop") + "]"));
    expectSound({{"k/ip/src/a.v", text},
                 {"k/ip/b.bin", random},
                 {"k/ip/\xc3\xa4", "utf-8"},
                 {"k/ip/\xff", "no utf-8"},
                 {"k/ip/none", ""},
                 {"k/ip/empty/deep/", ""},
                 {"k/renamed", text},
                 {"b.bin", random},
                 {"kp.xml", "<kp/>"}});
    EXPECT_THAT(names(), ElementsAre("k/ip/b.bin", "k/ip/empty/deep/", "k/ip/none", "k/ip/src/a.v",
                                     "k/ip/\xc3\xa4", "k/ip/\xff", "k/renamed", "b.bin", "kp.xml"));
    EXPECT_EQ(entry("b.bin").method, ArchiveEntry::Stored);
    EXPECT_EQ(entry("k/renamed").method, ArchiveEntry::Deflated);
    EXPECT_EQ(entry("k/ip/\xc3\xa4").flags, ArchiveEntry::IsUtf8);
    EXPECT_EQ(entry("k/ip/\xff").flags, 0);
}

TEST_F(ZipEdit, EditsKeepTheRestInItsOrder) {
    edit([](ArchiveEdit& edit) {
        for (const char* name : {"a/1", "a/2", "A/1", "ab", "b", "a/", "kp.xml"})
            edit.addBytes(name, name);
    });
    fs::permissions(archive, fs::perms(0640));
    edit([](ArchiveEdit& edit) {
        edit.deleteFolder("a");
        edit.deleteFile("missing"), edit.deleteFolder("missing/");
        edit.addBytes("a/3", "new"), edit.addLast("kp.xml", "replaced");
        edit.addBytes("gone", "x"), edit.deleteFile("gone");
        edit.addBytes("folder/gone", "x"), edit.deleteFolder("folder");
    });
    expectSound({{"A/1", "A/1"}, {"ab", "ab"}, {"b", "b"}, {"a/3", "new"}, {"kp.xml", "replaced"}});
    EXPECT_THAT(names(), ElementsAre("A/1", "ab", "b", "a/3", "kp.xml"));
    EXPECT_EQ(fs::status(archive).permissions(), fs::perms(0640));
}

TEST_F(ZipEdit, LeavingWithoutCommitOrChangeLeavesTheFileAlone) {
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    fs::create_hard_link(archive, at("out/same"));
    { ArchiveEdit(archive).addBytes("b", "b"); }
    edit([](ArchiveEdit& edit) { edit.deleteFile("missing"); });
    EXPECT_TRUE(fs::equivalent(archive, at("out/same")));
    expectSound({{"a", "a"}});
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp", "same"));
}

TEST_F(ZipEdit, RefusalsNameTheMemberAndChangeNothing) {
    const std::string one = write("one/f", "1");
    const std::string two = write("two/f", "2");
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    const std::string before = bytesOfArchive();
    const std::string twice = "Two files are given for 'k/f' in '" + archive + "': ";
    const std::pair<std::function<void(ArchiveEdit&)>, std::string> refused[] = {
        {[&](ArchiveEdit& edit) {
             edit.addFiles("k", {one, two});
         },
         twice + "'" + one + "' and '" + two + "'"},
        {[&](ArchiveEdit& edit) { edit.addBytes("k/f", ""), edit.addFile("k/f", one); },
         twice + "generated content and '" + one + "'"},
        {[&](ArchiveEdit& edit) { edit.addFile("k", at("one")); }, "'" + at("one") + "' is not a file"},
        {[&](ArchiveEdit& edit) { edit.deleteFolder("/"); },
         "No folder of '" + archive + "' to delete is named"},
        {[&](ArchiveEdit&) { ArchiveEdit again(archive); }, "'" + archive + "' is being edited already"},
    };
    for (const auto& [operation, text] : refused)
        EXPECT_EQ(failureOf([&] { edit(operation); }), text);
    const std::pair<std::string, std::string> unfit[] = {
        {"a\\b", "it contains a backslash"},
        {"/etc/x", "it is an absolute path"},
        {"a/../x", "it contains '..'"},
        {"", "it is empty"},
        {std::string("a\0b", 3), "it contains a NUL character"},
        {std::string(65536, 'n'), "it is longer than 65535 bytes"},
    };
    for (const auto& unfitting : unfit)
        EXPECT_EQ(failureOf([&] { edit([&](ArchiveEdit& edit) { edit.addBytes(unfitting.first, ""); }); }),
                  "'" + HUTPathUtils::shown(unfitting.first) +
                      "' cannot be the name of an archive member: " + unfitting.second);
    EXPECT_EQ(bytesOfArchive(), before);
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
    const std::string missing = "The archive '" + at("no") + "' does not exist";
    EXPECT_EQ(failureOf([&] { HUTZip::deleteFolderFromZip(at("no"), "k"); }), missing);
    EXPECT_EQ(failureOf([&] { HUTZip::attachDigestEn(at("no")); }), missing);
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
}

TEST_F(ZipEdit, SealingAfterACheckHashesOnlyWhatChanged) {
    edit([](ArchiveEdit& edit) {
        edit.addBytes("large", noise(5'000'000)), edit.addLast("kp.xml", "old"), edit.seal();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // until its times tell it from a later one
    ASSERT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    int reads = 0;
    {
        const disk::DiskFaults counting([&](std::string_view call, const std::string& path) {
            reads += call == "read" && path != archive;
            return 0;
        });
        edit([](ArchiveEdit& edit) {
            edit.addBytes("small", "s"), edit.addLast("kp.xml", "new"), edit.seal();
        });
    }
    EXPECT_EQ(reads, 1);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    edit([](ArchiveEdit& edit) { edit.deleteFile("large"), edit.seal(); });
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    expectSound({{"small", "s"}, {"kp.xml", "new"}});
}

TEST_F(ZipEdit, TimesAndModesComeFromTheFilesInUtc) {
    const Environment zone("TZ", "Asia/Tokyo");
    const std::tuple<const char*, std::time_t, mode_t, std::string> files[] = {
        {"plain", 1'600'000'001, 06711, "(2020, 9, 13, 12, 26, 40)"},
        {"old", 0, 0755, "(1980, 1, 1, 0, 0, 0)"},
        {"far", 5'000'000'000, 0400, "(2107, 12, 31, 23, 59, 58)"},
    };
    for (const auto& [name, modified, mode, stamp] : files) {
        const std::string path = write(std::string("tree/") + name, "x");
        fs::permissions(path, fs::perms(mode));
        fs::last_write_time(path, modified);
    }
    edit([&](ArchiveEdit& edit) { edit.addTree("", at("tree")), edit.addBytes("generated", "x"); });
    for (const auto& [name, modified, mode, stamp] : files) {
        EXPECT_EQ(dateTime(entry(name)), stamp) << name;
        EXPECT_EQ(entry(name).mode(), S_IFREG | (mode & 0777)) << name;
    }
    EXPECT_EQ(entry("generated").mode(), S_IFREG | 0644U);

    const Environment epoch("SOURCE_DATE_EPOCH", "1600000000");
    edit([](ArchiveEdit& edit) { edit.addBytes("generated", "y"); });
    EXPECT_EQ(dateTime(entry("generated")), "(2020, 9, 13, 12, 26, 40)");
    const Environment wrong("SOURCE_DATE_EPOCH", "today");
    EXPECT_EQ(failureOf([&] { edit([](ArchiveEdit& edit) { edit.addBytes("generated", "z"); }); }),
              "SOURCE_DATE_EPOCH is no number of seconds: 'today'");
}

TEST_F(ZipEdit, EqualInputsGiveEqualBytes) {
    const Environment epoch("SOURCE_DATE_EPOCH", "1700000000");
    std::string results[2];
    for (const bool isSecond : {false, true}) {
        const std::string tree = isSecond ? "second/" : "first/";
        for (int i = 0; i < 200; ++i) {
            const std::string n = std::to_string(isSecond ? 199 - i : i);
            fs::permissions(write(tree + "d" + n.back() + "/f" + n, n), fs::perms(0640));
        }
        const mode_t mask = umask(isSecond ? 077 : 022);
        const Environment zone("TZ", isSecond ? "America/New_York" : "UTC");
        fs::remove(archive);
        edit([&](ArchiveEdit& edit) {
            edit.addTree("t", at(tree)), edit.addLast("kp.xml", "x"), edit.seal();
        });
        umask(mask);
        results[isSecond] = bytesOfArchive();
    }
    EXPECT_EQ(results[0], results[1]);
}

TEST_F(ZipEdit, LinksLeadToTheArchive) {
    fs::create_symlink("a.kp", at("out/link"));
    fs::create_symlink(at("out/link"), at("far"));
    for (const char* bytes : {"1", "2"}) {
        ArchiveEdit::run(at("far"), [&](ArchiveEdit& edit) { edit.addBytes("a", bytes); });
        expectSound({{"a", bytes}});
        EXPECT_THAT(filesBeside(), ElementsAre("a.kp", "link"));
    }
    EXPECT_TRUE(fs::is_symlink(at("far")));
    fs::create_symlink("round", at("round"));
    EXPECT_THAT(failureOf([&] { ArchiveEdit edit(at("round")); }), HasSubstr("symbolic link"));
}

TEST_F(ZipEdit, LargeFilesAreStreamed) {
    constexpr std::size_t size = (std::size_t{64} << 20) + 3;
    const std::string piece = noise(1 << 20);
    std::string random;
    while (random.size() < size)
        random += piece;
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
    for (const char* name : {"65535th", "65536th"}) {
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
    const std::string piped = at("piped");
    ASSERT_EQ(run("cd '" + at("tree") + "' && zip -qrD - a c | cat > '" + piped + "' && mv '" + piped +
                  "' '" + archive + "'"),
              0);
    ASSERT_NE(entry("c").flags & ArchiveEntry::HasDescriptor, 0);
    EXPECT_TRUE(kept->check().empty());
    edit([](ArchiveEdit& edit) { edit.addBytes("new", "n"); });
    expectSound(expected);
}

TEST_F(ZipEdit, WritersOfOneArchiveWaitForEachOther) {
    std::vector<pid_t> children;
    for (const std::string writer : {"1/", "2/", "3/", "4/"}) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        for (int i = 0; i < 8; ++i)
            edit([&](ArchiveEdit& edit) { edit.addBytes(writer + std::to_string(i), "x"), edit.seal(); });
        _exit(0);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(names().size(), 32U);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

}  // namespace
