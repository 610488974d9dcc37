#include "tests/platform/ZipTest.h"
#include "tests/support/CapturedMessages.h"

using testing::ElementsAre;

namespace {

class ZipEdit : public ZipTest {
protected:
    ArchiveEntry entry(const std::string& name) const { return *ArchiveSnapshot::open(archive)->find(name); }
    /// The entry's time as year, month, day, hour, minute, second.
    std::string timeOf(const std::string& name) const {
        const std::uint32_t time = entry(name).dosTime;
        return testing::PrintToString(std::tuple(1980 + (time >> 25), time >> 21 & 15, time >> 16 & 31,
                                                 time >> 11 & 31, time >> 5 & 63, (time & 31) * 2));
    }
};

TEST_F(ZipEdit, WhatIsAddedReadsBackEqual) {
    constexpr std::size_t inPieces = (std::size_t{8} << 20) + 3;
    const Contents large = {{"random", noise(inPieces)}, {"zeros", std::string(inPieces, '\0')}};
    const Contents tree = {
        {"src/a.v", std::string(100'000, 't')}, {"\xc3\xa4", "utf-8"}, {"\xff", "no utf-8"}, {"none", ""}};
    const std::string document = large.at("zeros") + large.at("random");
    Contents expected = {{"k/ip/empty/deep/", ""}, {"k/renamed", tree.at("src/a.v")}, {"kp.xml", document}};
    for (const auto& [name, bytes] : tree)
        write("tree/" + name, expected["k/ip/" + name] = bytes);
    for (const auto& [name, bytes] : large)
        write(name, expected[name] = bytes);
    fs::create_directories(at("tree/empty/deep"));
    fs::create_symlink(".", at("tree/loop"));
    const CapturedMessages messages;
    edit([&](ArchiveEdit& edit) {
        edit.addLast("kp.xml", document);
        edit.addTree("k/ip/", at("tree"));
        edit.addFile("k/renamed", at("tree/src/a.v"));
        edit.addFiles("", {at("zeros"), at("random")});
        edit.seal();
    });
    EXPECT_THAT(messages.calls(), ElementsAre("@17-2001@%s[" + at("tree/loop") + "]"));
    expectSound(expected);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_THAT(names(), ElementsAre("k/ip/empty/deep/", "k/ip/none", "k/ip/src/a.v", "k/ip/\xc3\xa4",
                                     "k/ip/\xff", "k/renamed", "zeros", "random", "kp.xml"));
    EXPECT_EQ(entry("random").method, ArchiveEntry::Stored);
    EXPECT_EQ(entry("k/ip/\xc3\xa4").flags, ArchiveEntry::IsUtf8);
    EXPECT_EQ(entry("k/ip/\xff").flags, 0);
}

TEST_F(ZipEdit, EditsKeepTheRestInItsOrderWhereLinksLead) {
    edit([](ArchiveEdit& edit) {
        for (const char* name : {"a/1", "a/2", "A/1", "ab", "b", "a/", "e/", "kp.xml"})
            edit.addBytes(name, name);
    });
    fs::permissions(archive, fs::perms(0640));
    fs::create_symlink("a.kp", at("out/link"));
    fs::create_symlink(at("out/link"), at("far"));
    fs::create_directory(at("empty"));
    ArchiveEdit::run(at("far"), [this](ArchiveEdit& edit) {
        edit.deleteFolder("a");
        edit.deleteFile("missing"), edit.deleteFolder("missing/");
        edit.addBytes("a/3", "new"), edit.addLast("kp.xml", "replaced");
        edit.addTree("e", at("empty")), edit.addTree("A", at("empty"));
        edit.addBytes("gone/x", "x"), edit.deleteFile("gone/x");
        edit.addBytes("gone", "x"), edit.deleteFile("gone");
        edit.addBytes("folder/gone", "x"), edit.deleteFolder("folder");
    });
    expectSound({{"A/1", "A/1"},
                 {"ab", "ab"},
                 {"b", "b"},
                 {"a/3", "new"},
                 {"e/", ""},
                 {"A/", ""},
                 {"kp.xml", "replaced"}});
    EXPECT_THAT(names(), ElementsAre("A/1", "ab", "b", "a/3", "e/", "A/", "kp.xml"));
    EXPECT_EQ(fs::status(archive).permissions(), fs::perms(0640));
    EXPECT_TRUE(fs::is_symlink(at("far")) && fs::is_symlink(at("out/link")));
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp", "link"));
}

TEST_F(ZipEdit, RefusalsNameTheMemberAndChangeNothing) {
    const std::string one = write("one/f", "1");
    const std::string two = write("two/f", "2");
    fs::create_directory(at("empty"));
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    fs::create_hard_link(archive, at("out/same"));
    { ArchiveEdit(archive).addBytes("b", "b"); }
    edit([](ArchiveEdit& edit) { edit.deleteFile("missing"); });
    const std::string twice = "Two files are given for 'k/f' in '" + archive + "': ";
    const std::pair<std::function<void(ArchiveEdit&)>, std::string> refused[] = {
        {[&](ArchiveEdit& edit) { edit.addFiles("k", {one}), edit.addFiles("k", {two}); },
         twice + "'" + one + "' and '" + two + "'"},
        {[&](ArchiveEdit& edit) { edit.addBytes("k/f", ""), edit.addFile("k/f", one); },
         twice + "generated content and '" + one + "'"},
        {[&](ArchiveEdit& edit) { edit.addTree("a", at("empty")); },
         "'a/' cannot be added to '" + archive + "': 'a' is a file there"},
        {[&](ArchiveEdit& edit) { edit.addTree("k", at("empty/../out")); },
         "'" + at("empty/../out") + "' cannot be packed into '" + archive +
             "': the archive lies in that directory"},
        {[](ArchiveEdit& edit) { edit.deleteFolder("/"); },
         "No folder of '" + archive + "' to delete is named"},
        {[&](ArchiveEdit&) { ArchiveEdit again(archive); }, "'" + archive + "' is being edited already"},
    };
    for (const auto& [operation, text] : refused)
        EXPECT_EQ(failureOf([&, &operation = operation] { edit(operation); }), text);
    const std::pair<std::string, std::string> unfit[] = {
        {"", "it is empty"},
        {"a//b", "a component of it is empty"},
        {"./a", "a component of it is '.'"},
        {"a/.", "a component of it is '.'"},
        {"k/" + std::string(256, 'n'), "a component of it is longer than 255 bytes"},
        {"k/" + std::string(4094, 'n'), "its name is longer than a path can be"},
    };
    for (const auto& [name, reason] : unfit)
        EXPECT_EQ(failureOf([&, &name = name] { ArchiveEdit(archive).addBytes(name, ""); }),
                  "'" + name + "' cannot be the name of an archive member: " + reason);
    EXPECT_EQ(failureOf([&] { HUTZip::deleteFolderFromZip(at("no"), "k"); }),
              "The archive '" + at("no") + "' does not exist");
    EXPECT_TRUE(fs::equivalent(archive, at("out/same")));
    expectSound({{"a", "a"}});
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp", "same"));
}

TEST_F(ZipEdit, WhatLooksLikeTheEndOfAnArchiveIsRefused) {
    edit([](ArchiveEdit& edit) { edit.addBytes("a", "a"); });
    const std::string before = bytesOfArchive(), end = "PK\5\6" + std::string(16, 'x'),
                      two = "it has two end of directory records";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"f", end + std::string("\x74\0", 2), two},  // behind it 2 records of 47 bytes, and the end
        {end + "\1\1/" + std::string(234, 'n'), "", two},
        {"PK\6\7" + std::string(16, 'x'), "", "it is one part of several"},
    };
    for (const auto& [name, bytes, reason] : rows) {
        EXPECT_EQ(failureOf([&, &name = name, &bytes = bytes] {
                      edit([&](ArchiveEdit& edit) { edit.addBytes(name, bytes); });
                  }),
                  "'" + archive + "' would not be readable afterwards: " + reason);
        EXPECT_EQ(bytesOfArchive(), before) << name;
    }
    EXPECT_THAT(filesBeside(), ElementsAre("a.kp"));
}

TEST_F(ZipEdit, DigestsTellOfEveryChange) {
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 3);
    HUTZip::compress(archive, {write("f", "f")}, "");
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 1);
    HUTZip::attachDigestEn(archive);
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 0);
    EXPECT_EQ(HUTZip::checkIntegrity(archive), 1);
    EXPECT_EQ(run("test \"$(head -c -85 '" + archive + "' | sha256sum | head -c 64)\" = \"$(tail -c 64 '" +
                  archive + "')\""),
              0);
    HUTZip::compress(archive, {at("f")}, "k");
    EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 2);
    HUTZip::attachDigest(archive);
    EXPECT_EQ(HUTZip::checkIntegrity(archive), 0);
}

TEST_F(ZipEdit, TimesAndModesComeFromTheFilesInUtc) {
    const Environment zone("TZ", "Asia/Tokyo");
    const std::tuple<const char*, std::time_t, mode_t, std::string> files[] = {
        {"plain", 1'600'000'001, 06711, "(2020, 9, 13, 12, 26, 40)"},
        {"old", 0, 0755, "(1980, 1, 1, 0, 0, 0)"},
        {"far", 5'000'000'000, 0400, "(2107, 12, 31, 23, 59, 58)"},
    };
    for (const auto& [name, modified, mode, stamp] : files) {
        const std::string path = write(name, "x");
        fs::permissions(path, fs::perms(mode));
        fs::last_write_time(path, modified);
        edit([&, &name = name](ArchiveEdit& edit) { edit.addFile(name, path); });
        EXPECT_EQ(timeOf(name), stamp) << name;
        EXPECT_EQ(entry(name).mode(), S_IFREG | (mode & 0777)) << name;
    }
    const auto generate = [](ArchiveEdit& edit) { edit.addBytes("generated", "x"); };
    const Environment epoch("SOURCE_DATE_EPOCH", "1600000000");
    edit(generate);
    EXPECT_EQ(timeOf("generated"), "(2020, 9, 13, 12, 26, 40)");
    EXPECT_EQ(entry("generated").mode(), S_IFREG | 0644U);
    const Environment wrong("SOURCE_DATE_EPOCH", "today");
    EXPECT_EQ(failureOf([&] { edit(generate); }), "SOURCE_DATE_EPOCH is no number of seconds: 'today'");
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
        edit([&](ArchiveEdit& edit) { edit.addBytes(name, expected[name] = "more"); });
        expectSound(expected);
    }
}

TEST_F(ZipEdit, ArchivesOfOtherProgramsAreEdited) {
    write("tree/a/b", "content of b, content of b");
    write("tree/c", "content of c");
    // The second is written to a pipe: its sizes stand behind the data. The third has sizes of 64 bits that
    // it does not need, a field of some program before them, and behind them one that ends too early.
    const std::string commands[] = {"zip -qr '" + archive + "' . && zip -qz '" + archive + "' < c",
                                    "zip -qr - . | tee '" + archive + "'",
                                    "python3 -c \"import zipfile\n"
                                    "with zipfile.ZipFile('" +
                                        archive + R"x(', 'w') as z:
    for name in ('a/b', 'c'):
        i = zipfile.ZipInfo(name)
        i.extra = bytes((0xfe, 0xca, 1, 0, 7))
        with z.open(i, 'w', force_zip64=True) as f: f.write(open(name, 'rb').read())
        i.extra += bytes((1, 0, 8, 0)) + bytes(8) + bytes((2, 0, 99, 0)) + bytes(8)")x"};
    for (const std::string& command : commands) {
        fs::remove(archive);
        ASSERT_EQ(run("cd '" + at("tree") + "' && " + command), 0);
        const auto before = ArchiveSnapshot::open(archive);
        EXPECT_TRUE(before->check().empty());
        edit([](ArchiveEdit& edit) { edit.addBytes("new", "n"), edit.deleteFile("a/"); });
        expectSound({{"a/b", "content of b, content of b"}, {"c", "content of c"}, {"new", "n"}});
        const auto after = ArchiveSnapshot::open(archive);
        EXPECT_EQ(after->comment(), before->comment());
        const std::string_view extra = before->find("c")->extra;
        EXPECT_FALSE(extra.empty());
        EXPECT_EQ(after->find("c")->extra, extra.substr(0, extra.find(std::string_view("\1\0\10\0", 4))));
    }
}

}  // namespace
