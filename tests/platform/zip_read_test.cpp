#include "platform/zip/Iostreams.h"
#include "tests/platform/ZipTest.h"

#include <chrono>
#include <fstream>
#include <thread>

#include <boost/iostreams/stream.hpp>

namespace io = isl::iostreams;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ZipRead : public ZipTest {
protected:
    void add(const std::vector<std::string>& members) {
        edit([&](ArchiveEdit& edit) {
            for (const std::string& name : members)
                edit.addBytes(name, name.ends_with('/') ? "" : "of " + name);
        });
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
    struct Damage {
        std::size_t offset;
        std::string bytes, text;
    };
    /// Expects that each damage to a sound archive keeps it from being read and from being changed.
    void expectRefused(const std::string& sound, const std::vector<Damage>& damages) {
        for (const auto& [offset, bytes, text] : damages) {
            const std::string damaged = std::string(sound).replace(offset, bytes.size(), bytes);
            HUTFile::writeFile(archive, damaged);
            const std::string expected = "'" + archive + "' is not a readable archive: " + text;
            EXPECT_EQ(failureOfOpen(), expected) << offset;
            EXPECT_EQ(failureOf([&] { add({"x"}); }), expected) << offset;
            EXPECT_EQ(bytesOfArchive(), damaged) << offset;
        }
    }
    std::vector<ArchiveFinding::Code> codes() const {
        std::vector<ArchiveFinding::Code> found;
        for (const ArchiveFinding& finding : ArchiveSnapshot::open(archive)->check())
            found.push_back(finding.code);
        return found;
    }
};

TEST_F(ZipRead, Lookups) {
    add({"k10/kernel.xml", "k1/kernel.xml", "K1/pdi/b", "k1/pdi/a", "k1/pdi_old/c", "ip/k1/x/kernel.xml",
         "k1/hls/", "kernel.xml/", "top"});
    const auto snapshot = ArchiveSnapshot::open(archive);
    const auto namesOf = [](const std::vector<const ArchiveEntry*>& entries) {
        std::string names;
        for (const ArchiveEntry* entry : entries)
            names.append(entry->name) += ' ';
        return names;
    };
    EXPECT_EQ(namesOf(snapshot->filesWithLastComponent("kernel.xml")),
              "k10/kernel.xml k1/kernel.xml ip/k1/x/kernel.xml ");
    EXPECT_EQ(namesOf(snapshot->filesWithPrefix("k1/PDI")), "K1/pdi/b k1/pdi/a k1/pdi_old/c ");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "k1")->name, "k1/kernel.xml");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "kernel.xml")->name, "k10/kernel.xml");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "k"), nullptr);
    EXPECT_EQ(failureOf([&] { snapshot->read("k1/pdi"); }),
              "The archive '" + archive + "' holds no 'k1/pdi'");
    EXPECT_EQ(io::zip::get_files(archive).size(), 7U);
    for (const char* name : {"k1", "k1/", "k1/hls", "ip/k1", "ip", "", "."})
        EXPECT_TRUE(io::zip::is_dir(archive, name)) << name;
    for (const char* name : {"k", "top", "k1/pdi/a", "..", "k1/PDI"})
        EXPECT_FALSE(io::zip::is_dir(archive, name)) << name;
}

TEST_F(ZipRead, SnapshotsAreKeptWhileTheFileIsUnchanged) {
    add({"a"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto first = ArchiveSnapshot::open(archive);
    EXPECT_EQ(ArchiveSnapshot::open(archive), first);
    const std::string before = bytesOfArchive();
    add({"b"});
    EXPECT_THAT(names(), ElementsAre("a", "b"));
    EXPECT_EQ(first->read("a"), "of a");  // an old version stays readable
    // Changed in place, to the same size, many times within one tick of the clock.
    for (char c = 'c'; c <= 'z'; ++c) {
        std::string bytes = before;
        std::replace(bytes.begin(), bytes.end(), 'a', c);
        std::ofstream(archive, std::ios::binary) << bytes;
        EXPECT_THAT(names(), ElementsAre(std::string(1, c)));
    }
}

TEST_F(ZipRead, EveryTruncationAndDamagedByteIsFoundOrHarmless) {
    const std::string sound = makeSound();
    const Contents right = contents();
    for (std::size_t i = 0; i < sound.size(); ++i) {
        SCOPED_TRACE(i);
        HUTFile::writeFile(archive, sound.substr(0, i));
        EXPECT_THAT(failureOfOpen(), HasSubstr("it has no end of directory record"));
        for (const int flip : {0x01, 0x80, 0xff}) {
            std::string bytes = sound;
            bytes[i] = static_cast<char>(bytes[i] ^ flip);
            HUTFile::writeFile(archive, bytes);
            EXPECT_NE(HUTZip::checkIntegrityEn(archive), 0);
            if (failureOfOpen() != "none") continue;
            const bool isSound = codes().empty();
            EXPECT_TRUE(!isSound || contents() == right);
            const bool isEdited = failureOf([&] { add({"more"}); }) == "none";
            EXPECT_TRUE(isEdited ? !isSound || codes().empty() : bytesOfArchive() == bytes);
        }
    }
}

TEST_F(ZipRead, MalformedDirectoriesAreRefused) {
    const std::string sound = makeSound();
    const std::size_t end = sound.rfind("PK\5\6");
    const std::size_t directory = sound.find("PK\1\2");
    const std::string parts = "it is one part of several";
    const std::string outside = "the central directory lies outside the file";
    const std::string broken = "its central directory is damaged";
    const std::string tooSmall = "its central directory is too small for the number of entries";
    const std::vector<Damage> damages = {
        {end + 4, "\1", parts},
        {end + 6, "\1", parts},
        {end + 8, "\1", "its entry counts contradict each other"},
        {end + 8, {"\2\0\2\0", 4}, "its central directory holds more than the entries it counts"},
        {end + 8, "\xfe\xff\xfe\xff", tooSmall},
        {end + 12, "\xff\xff", outside},
        {end + 12, "\x20", tooSmall},
        {end + 16, "\xf0\xff\xff\xff", outside},
        {end + 16, {"\0\0\0\0", 4}, broken},
        {directory, "X", broken},
        {directory + 20, "\xfe\xff\xff\xff", "'deflated' lies outside the file"},
        {directory + 20, "\xff\xff\xff\xff", "'deflated' lacks its zip64 sizes"},
        {directory + 28, "\xff\xff", broken},
        {directory + 34, "\1", parts},
        {directory + 42, "\xff\xff\xff\x7f", "'deflated' lies outside the file"},
        {end + 30, "PK\5\6" + std::string(16, '\0') + "5" + '\0', "it has two end of directory records"},
    };
    expectRefused(sound, damages);
    fs::remove(archive);
    fs::create_directory(archive);
    EXPECT_EQ(failureOfOpen(), "'" + archive + "' is not a readable archive: it is not a file");
}

TEST_F(ZipRead, MalformedZip64RecordsAreRefused) {
    edit([](ArchiveEdit& edit) {
        for (int i = 0; i < 65'536; ++i)
            edit.addBytes(std::to_string(i), "");
    });
    const std::string sound = bytesOfArchive();
    const std::size_t locator = sound.size() - 22 - 20;
    const std::size_t record = locator - 56;
    const std::vector<Damage> damages = {
        {locator, "X", "its central directory holds more than the entries it counts"},
        {locator + 8, std::string(8, '\xff'), "its zip64 record lies outside the file"},
        {locator + 16, "\2", "it is one part of several"},
        {record, "X", "its zip64 record is damaged"},
        {record + 4, "\xff", "its zip64 record is damaged"},
        {record + 16, "\1", "it is one part of several"},
        {record + 24, "\1", "its entry counts contradict each other"},
        {record + 24, std::string(16, '\xff'),
         "its central directory is too small for the number of entries"},
        {record + 40, "\1", "its end of directory records contradict each other"},
    };
    expectRefused(sound, damages);
}

TEST_F(ZipRead, FlawsOfMembersAreNamed) {
    using enum ArchiveFinding::Code;
    const std::string sound = makeSound();
    const std::size_t directory = sound.find("PK\1\2");
    const std::string start = "Failed to read 'deflated' of the archive '" + archive + "': ";
    const std::string wrongSize = "its data do not have the size that the directory states";
    const std::string contradiction = "its header contradicts the directory";
    const struct {
        std::size_t offset;
        std::string bytes;
        bool isInBoth;  ///< in the central directory as well as in the member's own header
        ArchiveFinding::Code code;
        std::string failure;       ///< of reading the member, if it fails
        std::string finding = "";  ///< where it is another
    } cases[] = {
        {6, "\1", true, Encrypted, "it is encrypted", "'deflated' is encrypted"},
        {8, "c", true, UnknownMethod, "its compression method 99 is unknown",
         "'deflated' is compressed by the unknown method 99"},
        {14, "X", true, BadData, "its checksum differs"},
        {22, "\xc9", true, BadData, wrongSize},
        {22, "\xc7", true, BadData, wrongSize},
        {25, "\x7f", true, BadData, "it states a size that its data cannot have"},
        {38, "\xff", false, BadData, "its data are damaged"},
        {0, "X", false, HeaderMismatch, "its header is damaged"},
        {30, "X", false, HeaderMismatch, contradiction},
        {18, "X", false, HeaderMismatch, contradiction},
        {28, "\xff\xff", false, HeaderMismatch, "its data lie outside the file"},
        {30, "../x\\/ab", true, UnsafeName, "", "'../x\\/ab' is an unsafe name: it contains a backslash"},
    };
    for (const auto& [offset, patch, isInBoth, code, failure, finding] : cases) {
        std::string bytes = std::string(sound).replace(offset, patch.size(), patch);
        if (isInBoth) bytes.replace(directory + offset + (offset < 30 ? 2 : 16), patch.size(), patch);
        HUTFile::writeFile(archive, bytes);
        const auto findings = ArchiveSnapshot::open(archive)->check();
        ASSERT_EQ(findings.size(), 1U) << failure << finding;
        EXPECT_EQ(findings[0].code, code) << findings[0].text;
        EXPECT_EQ(findings[0].text, finding.empty() ? start + failure : finding);
        if (failure.empty()) continue;
        EXPECT_EQ(failureOf([&] { ArchiveSnapshot::open(archive)->read("deflated"); }), start + failure);
    }
}

TEST_F(ZipRead, TwoEntriesOfOneNameAreTakenForNeither) {
    using enum ArchiveFinding::Code;
    edit([](ArchiveEdit& edit) { edit.addBytes("one", "1"), edit.addBytes("two", "2"); });
    std::string bytes = bytesOfArchive();
    const std::size_t first = bytes.find("PK\1\2");
    const std::size_t size = bytes.find("PK\1\2", first + 1) - first;
    HUTFile::writeFile(archive, bytes.replace(first + size, size, bytes.substr(first, size)));
    EXPECT_THAT(codes(), ElementsAre(DuplicateName, OverlappingEntry, UnaccountedBytes));
    EXPECT_EQ(failureOf([&] { ArchiveSnapshot::open(archive)->find("one"); }),
              "'" + archive + "' holds two entries named 'one'");
    EXPECT_EQ(failureOf([&] { add({"more"}); }),
              "'one' of the archive '" + archive + "' overlaps another entry");
    EXPECT_FALSE(io::device::file_source(archive, "one").is_open());
}

TEST_F(ZipRead, BytesThatBelongToNothingAreFoundAndDropOut) {
    ASSERT_EQ(run("python3 -c \"import zipfile; z = zipfile.ZipFile('" + archive +
                  "', 'w'); z.writestr('a', 'aaaa'); z.fp.seek(0, 2); z.fp.write(b'hidden'); "
                  "z.start_dir = z.fp.tell(); z.writestr('b', 'bb'); z.close()\""),
              0);
    const auto findings = ArchiveSnapshot::open(archive)->check();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].text, "6 bytes at offset 35 belong to no entry");
    add({"c"});
    expectSound({{"a", "aaaa"}, {"b", "bb"}, {"c", "of c"}});
}

TEST_F(ZipRead, LargeMembersStreamAndAreCheckedAtTheEnd) {
    const std::string large(std::size_t{20} << 20, 'l');
    edit([&](ArchiveEdit& edit) { edit.addBytes("large", large), edit.addBytes("after", "x"); });
    const std::string sound = bytesOfArchive();
    const std::size_t directory = sound.find("PK\1\2");
    const auto streamed = [&]() -> std::string {
        io::device::file_source source(archive, "large");
        std::string bytes, piece(1 << 20, '\0');
        try {
            for (std::streamsize size; (size = source.read(piece.data(), 1 << 20)) > 0;)
                bytes.append(piece, 0, static_cast<std::size_t>(size));
        } catch (const std::ios_base::failure& failure) {
            return failure.what();
        }
        return bytes;
    };
    EXPECT_TRUE(streamed() == large);
    for (const auto& [offset, text] :
         {std::pair(14, "its checksum differs"),
          std::pair(22, "its data do not have the size that the directory states")}) {
        std::string damaged = sound;
        damaged[directory + offset + 2] = ++damaged[offset];
        HUTFile::writeFile(archive, damaged);
        EXPECT_THAT(streamed(),
                    HasSubstr("Failed to read 'large' of the archive '" + archive + "': " + text));
    }
}

TEST_F(ZipRead, SourcesAreOpenOnlyOverAReadableFile) {
    add({"lines", "d/"});
    boost::iostreams::stream<io::device::file_source> stream(archive, "lines");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "of lines");
    for (const auto& [path, member] :
         {std::pair(archive, "missing"), std::pair(archive, "d/"), std::pair(archive, "d"),
          std::pair(at("missing"), "lines"), std::pair(write("text", "text"), "lines")}) {
        io::device::file_source source(path, member);
        EXPECT_FALSE(source.is_open());
        char buffer = 0;
        EXPECT_THROW(source.read(&buffer, 1), std::ios_base::failure);
    }
}

TEST_F(ZipRead, SinksChangeTheArchiveWhenTheyAreClosed) {
    using Stream = boost::iostreams::stream<io::device::file_sink>;
    io::device::file_sink(archive, "a").write("unclosed", 8);
    EXPECT_THAT(failureOf([&] {
                    Stream stream(archive, "a");
                    stream << "half";
                    throw HEXAlgException("no more");
                }),
                "no more");
    EXPECT_THAT(filesBeside(), IsEmpty());
    for (const char* text : {"first", "second"}) {
        Stream stream(archive, "a");
        stream << text;
        stream.close();
        expectSound({{"a", text}});
    }
    for (const auto& [path, member] :
         {std::pair(archive, "../a"), std::pair(archive, "d/"), std::pair(at("no/a.kp"), "a"),
          std::pair(write("text", "text"), "a")}) {
        io::device::file_sink sink(path, member);
        EXPECT_FALSE(sink.is_open());
        EXPECT_THROW(sink.write("x", 1), std::ios_base::failure);
    }
    Stream stream(archive, "a");
    stream << "third";
    const disk::DiskFaults faults(
        [](std::string_view call, const std::string&) { return call == "sync" ? ENOSPC : 0; });
    EXPECT_THAT(failureOf([&] { stream.close(); }), HasSubstr("No space left on device"));
    expectSound({{"a", "second"}});
}

}  // namespace
