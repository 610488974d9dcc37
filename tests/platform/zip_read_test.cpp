#include "platform/zip/Iostreams.h"
#include "platform/zip/ZipFormat.h"
#include "tests/platform/ZipTest.h"

#include <chrono>
#include <thread>

#include <boost/iostreams/stream.hpp>

namespace io = isl::iostreams;
using namespace testing;

namespace {

class ZipRead : public ZipTest {
protected:
    void add(const std::string& name) {
        edit([&](ArchiveEdit& edit) { edit.addBytes(name, "of " + name); });
    }
    std::string failureOfOpen() const {
        return failureOf([&] { ArchiveSnapshot::open(archive); });
    }
    /// A sound archive: one deflated member, one stored member, a directory, a comment.
    std::string makeSound() {
        edit([](ArchiveEdit& edit) {
            edit.addBytes("deflated", std::string(200, 'd'));
            edit.addBytes("stored", "s"), edit.addBytes("empty/", ""), edit.seal();
        });
        return bytesOfArchive();
    }
    std::vector<ArchiveFinding> findings() const { return ArchiveSnapshot::open(archive)->check(); }
};

TEST_F(ZipRead, DirectoriesAreReadOnceWhileTheFileIsUnchanged) {
    add("a");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto first = ArchiveSnapshot::open(archive);
    EXPECT_EQ(&ArchiveSnapshot::open(archive)->entries(), &first->entries());
    const std::string before = bytesOfArchive();
    add("b");
    EXPECT_THAT(names(), ElementsAre("a", "b"));
    EXPECT_EQ(first->read("a"), "of a");  // an old version stays readable
    // Changed in place, to the same size, many times within one tick of the clock.
    for (char c = 'c'; c <= 'z'; ++c) {
        std::string bytes = before;
        std::replace(bytes.begin(), bytes.end(), 'a', c);
        write("out/a.kp", bytes);
        EXPECT_THAT(names(), ElementsAre(std::string(1, c)));
    }
}

TEST_F(ZipRead, MalformedDirectoriesAreRefused) {
    const std::string sound = makeSound();
    const std::size_t end = sound.rfind("PK\5\6");
    const std::size_t directory = sound.find("PK\1\2");
    const std::string parts = "it is one part of several";
    const std::string broken = "its central directory is damaged";
    const std::string tooSmall = "its central directory is too small for the number of entries";
    const std::string shifted = "before" + sound;
    const std::string counts = "its entry counts contradict each other";
    const std::string end64 = "its zip64 record ";
    // The same archive with the end records of a large one, though it needs none.
    std::string large = sound.substr(0, end) + zip_format::endRecords(65535, directory, end - directory) +
                        std::string(2, '\0');
    for (const std::size_t count : {24, 32, 76 + 8, 76 + 10})
        large.replace(end + count, 2, {"\3\0", 2});
    HUTFile::writeFile(archive, large);
    EXPECT_THAT(names(), ElementsAre("deflated", "stored", "empty/"));
    const std::tuple<const std::string&, std::size_t, std::string, std::string> damages[] = {
        {sound, end + 4, "\1", parts},
        {sound, end + 8, "\1", counts},
        {sound, end + 8, {"\2\0\2\0", 4}, "its central directory holds more than the entries it counts"},
        {sound, end + 8, "\xfe\xff\xfe\xff", tooSmall},
        {sound, end + 12, "\x20", tooSmall},
        {sound, end + 16, "\xf0\xff\xff\xff", "the central directory lies outside the file"},
        {sound, end + 16, {"\0\0\0\0", 4}, broken},
        {sound, directory, "X", broken},
        {sound, directory + 20, "\xfe\xff\xff\xff", "'deflated' lies outside the file"},
        {sound, directory + 20, "\xff\xff\xff\xff", "'deflated' lacks its zip64 sizes"},
        {sound, directory + 34, "\1", parts},
        {sound, directory + 42, {static_cast<char>(directory)}, "'deflated' lies outside the file"},
        {sound, end + 30, "PK\5\6" + std::string(16, '\0') + "5" + '\0',
         "it has two end of directory records"},
        {sound, sound.size(), "behind", "it has no end of directory record"},
        {shifted, 0, "", broken},
        {large, end + 4, "\1", end64 + "is damaged"},
        {large, end + 16, "\1", parts},
        {large, end + 32, "\4", counts},
        {large, end + 40, "\1", "its end of directory records contradict each other"},
        {large, end + 76 + 8, {"\4\0\4\0", 4}, "its end of directory records contradict each other"},
        {large, end + 64, {static_cast<char>(end + 1)}, end64 + "lies outside the file"},
        {large, end + 64 + 3, "\1", end64 + "lies outside the file"},
        {large, end + 72, "\2", parts},
    };
    for (const auto& [archived, offset, bytes, text] : damages) {
        const std::string damaged = std::string(archived).replace(offset, bytes.size(), bytes);
        HUTFile::writeFile(archive, damaged);
        const std::string expected = "'" + archive + "' is not a readable archive: " + text;
        EXPECT_EQ(failureOfOpen(), expected) << offset;
        EXPECT_EQ(failureOf([&] { add("x"); }), expected) << offset;
        EXPECT_EQ(bytesOfArchive(), damaged) << offset;
    }
    constexpr std::uint64_t huge = (std::uint64_t{1} << 30) + 1;
    std::ofstream(archive).seekp(huge) << zip_format::endRecords(1, 0, huge) << std::string(2, '\0');
    EXPECT_EQ(failureOfOpen(),
              "'" + archive + "' is not a readable archive: its central directory is larger than 1 GiB");
}

TEST_F(ZipRead, FlawsOfMembersAreNamed) {
    using enum ArchiveFinding::Code;
    const std::string sound = makeSound();
    const std::size_t directory = sound.find("PK\1\2");
    const std::string start = "Failed to read 'deflated' of the archive '" + archive + "': ";
    // Where and what, in the central directory as well as in the member's own header if true.
    const std::tuple<std::size_t, std::string, bool, ArchiveFinding::Code, std::string> cases[] = {
        {6, "\1", true, Encrypted, "'deflated' is encrypted"},
        {8, "c", true, UnknownMethod, "'deflated' is compressed by the unknown method 99"},
        {14, "X", true, BadData, start + "its checksum differs"},
        {22, "\xc9", true, BadData, start + "its data do not have the size that the directory states"},
        {25, "\x7f", true, BadData, start + "it states a size that its data cannot have"},
        {38, "\xff", false, BadData, start + "its data are damaged"},
        {0, "X", false, HeaderMismatch, start + "its header is damaged"},
        {30, "X", false, HeaderMismatch, start + "its header contradicts the directory"},
        {18, "X", false, HeaderMismatch, start + "its header contradicts the directory"},
        {22, "\xff\xff\xff\xff", false, HeaderMismatch, start + "its header contradicts the directory"},
        {28, "\xff\xff", false, HeaderMismatch, start + "its data lie outside the file"},
        {30, "../x\\/ab", true, UnsafeName, "'../x\\/ab' is an unsafe name: it contains a backslash"},
    };
    for (const auto& [offset, patch, isInBoth, code, text] : cases) {
        std::string bytes = std::string(sound).replace(offset, patch.size(), patch);
        if (isInBoth) bytes.replace(directory + offset + (offset < 30 ? 2 : 16), patch.size(), patch);
        HUTFile::writeFile(archive, bytes);
        ASSERT_EQ(findings().size(), 1U) << text;
        EXPECT_EQ(findings()[0].code, code) << text;
        EXPECT_EQ(findings()[0].text, text);
        EXPECT_THAT(failureOf([&] { ArchiveSnapshot::open(archive)->read("deflated"); }),
                    StartsWith(code == UnsafeName ? "The archive" : start));
    }
}

TEST_F(ZipRead, WhatCannotBeTrustedIsFoundAndDropsOutOrIsRefused) {
    ASSERT_EQ(run("python3 -c \"import zipfile; f = open('" + archive +
                  "', 'wb'); f.write(b'before'); z = zipfile.ZipFile(f, 'w'); z.writestr('a', 'aaaa'); "
                  "z.fp.seek(0, 2); z.fp.write(b'hidden'); "
                  "z.start_dir = z.fp.tell(); z.writestr('b', 'bb'); z.close()\""),
              0);
    ASSERT_EQ(findings().size(), 2U);
    EXPECT_EQ(findings()[0].text, "6 bytes at offset 0 belong to no entry");
    EXPECT_EQ(findings()[1].text, "6 bytes at offset 41 belong to no entry");
    add("c");
    expectSound({{"a", "aaaa"}, {"b", "bb"}, {"c", "of c"}});

    std::string bytes = bytesOfArchive();
    const std::size_t first = bytes.find("PK\1\2"), size = bytes.find("PK\1\2", first + 1) - first;
    HUTFile::writeFile(archive, bytes.replace(first + size, size, bytes.substr(first, size)));
    ASSERT_EQ(findings().size(), 3U);
    EXPECT_EQ(findings()[0].code, ArchiveFinding::Code::DuplicateName);
    EXPECT_EQ(findings()[1].code, ArchiveFinding::Code::OverlappingEntry);
    EXPECT_EQ(failureOf([&] { ArchiveSnapshot::open(archive)->find("a"); }),
              "'" + archive + "' holds two entries named 'a'");
    EXPECT_EQ(failureOf([&] { add("more"); }), "'a' of the archive '" + archive + "' overlaps another entry");

    ASSERT_EQ(run("zip -qj - '" + write("f", "text") + "' | tee '" + archive + "'"), 0);  // sizes behind data
    EXPECT_THAT(findings(), IsEmpty());
    bytes = bytesOfArchive();
    ++bytes[bytes.find("PK\1\2") - 1];
    HUTFile::writeFile(archive, bytes);
    EXPECT_EQ(findings().at(0).text, "'f' lacks the sizes behind its data");
    EXPECT_THAT(findings().at(1).text, StartsWith("16 bytes at offset"));
}

TEST_F(ZipRead, SourcesStreamAndSinksChangeTheArchiveOnlyWhenTheyAreClosed) {
    const std::string large(std::size_t{20} << 20, 'l');
    boost::iostreams::stream<io::device::file_sink>(archive, "a") << large;
    io::device::file_sink(archive, "a").write("unclosed", 8);
    boost::iostreams::stream<io::device::file_sink> sink(archive, "a");
    sink << "second";
    {
        const disk::DiskFaults faults(always("sync", ENOSPC));
        EXPECT_THAT(failureOf([&] { sink.close(); }), HasSubstr("No space left on device"));
    }
    boost::iostreams::stream<io::device::file_source> source(archive, "a");
    EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(source), {}) == large);
    const auto fail = [&] {
        boost::iostreams::stream<io::device::file_sink> halfWay(archive, "half");
        halfWay << "of it";
        throw HEXAlgException("no more");
    };
    EXPECT_EQ(failureOf(fail), "no more");
    EXPECT_THAT(names(), ElementsAre("a"));
    for (const auto& [path, member] :
         {std::pair(archive, "../a"), {archive, "a/"}, {at("no/a.kp"), "a"}, {write("f", ""), "a"}}) {
        io::device::file_sink unfit(path, member);
        EXPECT_FALSE(unfit.is_open()) << member;
        EXPECT_THROW(unfit.write("x", 1), std::ios_base::failure);
        unfit.close();
    }
    io::device::file_source inSteps(archive, "a");
    std::string bytes(large.size() + 1, '\0');
    std::streamsize done = 0, got = 0;
    for (std::streamsize step = 1; (got = inSteps.read(bytes.data() + done, step)) > 0; done += got)
        step = static_cast<std::streamsize>(bytes.size()) - done - got;
    EXPECT_TRUE(bytes == large + '\0');
    EXPECT_EQ(inSteps.read(bytes.data(), 1), -1) << "at the end, again";
    std::string damaged = bytesOfArchive();
    damaged[damaged.find("PK\1\2") + 16] = ++damaged[14];
    HUTFile::writeFile(archive, damaged);
    io::device::file_source broken(archive, "a"), missing(archive, "b");
    std::string buffer(1 << 20, '\0');
    EXPECT_THROW(while (broken.read(buffer.data(), 1 << 20) > 0){}, std::ios_base::failure);
    EXPECT_THROW(missing.read(buffer.data(), 1), std::ios_base::failure);
}

}  // namespace
