#include "platform/zip/Iostreams.h"
#include "tests/platform/ZipTest.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <thread>

#include <boost/iostreams/stream.hpp>

namespace io = isl::iostreams;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

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
            edit.addBytes("stored", "s");
            edit.addBytes("empty/", "");
            edit.seal();
        });
        return bytesOfArchive();
    }
    std::vector<ArchiveFinding::Code> codes() const {
        std::vector<ArchiveFinding::Code> found;
        for (const ArchiveFinding& finding : ArchiveSnapshot::open(archive)->check())
            found.push_back(finding.code);
        return found;
    }
};

std::vector<std::string> namesOf(const std::vector<const ArchiveEntry*>& entries) {
    std::vector<std::string> names;
    for (const ArchiveEntry* entry : entries)
        names.emplace_back(entry->name);
    return names;
}

TEST_F(ZipRead, Lookups) {
    add({"k10/kernel.xml", "k1/kernel.xml", "K1/pdi/b", "k1/pdi/a", "k1/pdi_old/c", "ip/k1/x/kernel.xml",
         "k1/hls/", "kernel.xml/", "top"});
    const auto snapshot = ArchiveSnapshot::open(archive);
    EXPECT_THAT(namesOf(snapshot->filesWithLastComponent("kernel.xml")),
                ElementsAre("k10/kernel.xml", "k1/kernel.xml", "ip/k1/x/kernel.xml"));
    EXPECT_THAT(snapshot->filesWithLastComponent("none"), IsEmpty());
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "k1")->name, "k1/kernel.xml");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "x")->name, "ip/k1/x/kernel.xml");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "kernel.xml")->name, "k10/kernel.xml");
    EXPECT_EQ(snapshot->firstFileWith("kernel.xml", "k"), nullptr);
    EXPECT_EQ(snapshot->firstFileWith("other.xml", "k1"), nullptr);
    EXPECT_THAT(namesOf(snapshot->filesWithPrefix("k1/PDI")),
                ElementsAre("K1/pdi/b", "k1/pdi/a", "k1/pdi_old/c"));
    EXPECT_THAT(namesOf(snapshot->filesWithPrefix("k1/hls")), IsEmpty());
    EXPECT_EQ(snapshot->find("k1/pdi"), nullptr);
    EXPECT_EQ(snapshot->read("k1/pdi/a"), "of k1/pdi/a");
    EXPECT_EQ(failureOf([&] { snapshot->read("k1/pdi"); }),
              "The archive '" + archive + "' holds no 'k1/pdi'");

    EXPECT_THAT(io::zip::get_files(archive),
                ElementsAre("k10/kernel.xml", "k1/kernel.xml", "K1/pdi/b", "k1/pdi/a", "k1/pdi_old/c",
                            "ip/k1/x/kernel.xml", "top"));
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
    for (int i = 0; i < 6; ++i)
        fs::copy_file(archive, archive + std::to_string(i));
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(ArchiveSnapshot::open(archive + std::to_string(i % 6))->entries().size(), 1U);
}

TEST_F(ZipRead, EveryTruncationIsRefused) {
    const std::string sound = makeSound();
    for (std::size_t size = 0; size < sound.size(); ++size) {
        HUTFile::writeFile(archive, sound.substr(0, size));
        EXPECT_EQ(failureOfOpen(),
                  "'" + archive + "' is not a readable archive: it has no end of directory record");
        EXPECT_EQ(HUTZip::checkIntegrityEn(archive), 3);
    }
}

TEST_F(ZipRead, EveryDamagedByteIsFoundOrHarmless) {
    const std::string sound = makeSound();
    const Contents right = contents();
    for (std::size_t i = 0; i < sound.size(); ++i) {
        for (const unsigned flip : {0x01U, 0x80U, 0xffU}) {
            std::string bytes = sound;
            bytes[i] = static_cast<char>(static_cast<unsigned char>(bytes[i]) ^ flip);
            HUTFile::writeFile(archive, bytes);
            EXPECT_NE(HUTZip::checkIntegrityEn(archive), 0) << i;
            if (failureOfOpen() != "none") continue;
            const bool isSound = codes().empty();
            if (isSound) {
                EXPECT_EQ(contents(), right) << i;
            }
            const bool isEdited = failureOf([&] { add({"more"}); }) == "none";
            if (!isEdited) {
                EXPECT_EQ(bytesOfArchive(), bytes) << i;
            }
            if (isEdited && isSound) {
                EXPECT_THAT(codes(), IsEmpty()) << i;
            }
        }
    }
}

TEST_F(ZipRead, MalformedDirectoriesAreRefused) {
    const std::string sound = makeSound();
    const std::size_t end = sound.rfind("PK\5\6");
    const std::size_t directory = sound.find("PK\1\2");
    const struct {
        const char* what;
        std::size_t offset;
        std::string bytes;
        const char* text;
    } cases[] = {
        {"disk", end + 4, "\1", "it is one part of several"},
        {"directory's disk", end + 6, "\1", "it is one part of several"},
        {"count here", end + 8, "\1", "its entry counts contradict each other"},
        {"fewer", end + 8, {"\2\0\2\0", 4}, "its central directory holds more than the entries it counts"},
        {"more", end + 8, {"\4\0\4\0", 4}, "its central directory is too small for the number of entries"},
        {"far more", end + 8, "\xfe\xff\xfe\xff",
         "its central directory is too small for the number of entries"},
        {"size", end + 12, "\xff\xff", "the central directory lies outside the file"},
        {"small size", end + 12, "\x20", "its central directory is too small for the number of entries"},
        {"offset", end + 16, "\xf0\xff\xff\xff", "the central directory lies outside the file"},
        {"offset into data", end + 16, {"\0\0\0\0", 4}, "its central directory is damaged"},
        {"record", directory, "X", "its central directory is damaged"},
        {"entry's disk", directory + 34, "\1", "it is one part of several"},
        {"entry's offset", directory + 42, "\xff\xff\xff\x7f", "'deflated' lies outside the file"},
        {"entry's stored size", directory + 20, "\xfe\xff\xff\xff", "'deflated' lies outside the file"},
        {"zip64 size missing", directory + 20, "\xff\xff\xff\xff", "'deflated' lacks its zip64 sizes"},
        {"name's length", directory + 28, "\xff\xff", "its central directory is damaged"},
        {"second end",
         end + 30,
         {"PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x35\0", 22},
         "it has two end of directory records"},
    };
    for (const auto& [what, offset, bytes, text] : cases) {
        std::string damaged = sound;
        damaged.replace(offset, bytes.size(), bytes);
        HUTFile::writeFile(archive, damaged);
        EXPECT_EQ(failureOfOpen(), "'" + archive + "' is not a readable archive: " + text) << what;
        EXPECT_EQ(failureOf([&] { add({"x"}); }), "'" + archive + "' is not a readable archive: " + text)
            << what;
        EXPECT_EQ(bytesOfArchive(), damaged) << what;
    }
    fs::remove(archive);
    fs::create_directory(archive);
    EXPECT_EQ(failureOfOpen(), "'" + archive + "' is not a readable archive: it is not a file");
}

TEST_F(ZipRead, MalformedZip64RecordsAreRefused) {
    constexpr std::size_t count = 65'536;
    edit([](ArchiveEdit& edit) {
        for (std::size_t i = 0; i < count; ++i)
            edit.addBytes(std::to_string(i), "");
    });
    const std::string sound = bytesOfArchive();
    const std::size_t record = sound.size() - 22 - 20 - 56;
    const std::size_t locator = sound.size() - 22 - 20;
    ASSERT_EQ(ArchiveSnapshot::open(archive)->entries().size(), count);
    const struct {
        std::size_t offset;
        std::string bytes;
        const char* text;
    } cases[] = {
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
    for (const auto& [offset, bytes, text] : cases) {
        std::string damaged = sound;
        damaged.replace(offset, bytes.size(), bytes);
        HUTFile::writeFile(archive, damaged);
        EXPECT_EQ(failureOfOpen(), "'" + archive + "' is not a readable archive: " + text) << offset - record;
    }
}

TEST_F(ZipRead, FlawsOfMembersAreNamed) {
    using enum ArchiveFinding::Code;
    const std::string sound = makeSound();
    const std::size_t directory = sound.find("PK\1\2");
    const std::size_t second = sound.find("PK\1\2", directory + 1);
    const std::size_t third = sound.find("PK\1\2", second + 1);
    const std::string start = "Failed to read 'deflated' of the archive '" + archive + "': ";
    struct Patch {
        std::size_t offset;
        std::string bytes;
    };
    const struct {
        std::vector<Patch> patches;
        ArchiveFinding::Code code;
        std::string text;     ///< of the finding
        std::string failure;  ///< of reading the member, if it fails
    } cases[] = {
        {{{directory + 8, "\1"}, {6, "\1"}}, Encrypted, "'deflated' is encrypted", start + "it is encrypted"},
        {{{directory + 10, "\x63"}, {8, "\x63"}},
         UnknownMethod,
         "'deflated' is compressed by the unknown method 99",
         start + "its compression method 99 is unknown"},
        {{{directory + 16, "X"}, {14, "X"}},
         BadData,
         start + "its checksum differs",
         start + "its checksum differs"},
        {{{directory + 24, "\xc9"}, {22, "\xc9"}},
         BadData,
         start + "its data do not have the size that the directory states",
         start + "its data do not have the size that the directory states"},
        {{{directory + 24, "\xc7"}, {22, "\xc7"}},
         BadData,
         start + "its data do not have the size that the directory states",
         start + "its data do not have the size that the directory states"},
        {{{directory + 27, "\x7f"}, {25, "\x7f"}},
         BadData,
         start + "it states a size that its data cannot have",
         start + "it states a size that its data cannot have"},
        {{{38, "\xff"}}, BadData, start + "its data are damaged", start + "its data are damaged"},
        {{{0, "X"}}, HeaderMismatch, start + "its header is damaged", start + "its header is damaged"},
        {{{30, "X"}},
         HeaderMismatch,
         start + "its header contradicts the directory",
         start + "its header contradicts the directory"},
        {{{18, "X"}},
         HeaderMismatch,
         start + "its header contradicts the directory",
         start + "its header contradicts the directory"},
        {{{28, "\xff\xff"}},
         HeaderMismatch,
         start + "its data lie outside the file",
         start + "its data lie outside the file"},
        {{{directory + 46, "../x\\/ab"}, {30, "../x\\/ab"}},
         UnsafeName,
         "'../x\\/ab' is an unsafe name: it contains a backslash",
         ""},
        {{{directory + 46, "../../ab"}, {30, "../../ab"}},
         UnsafeName,
         "'../../ab' is an unsafe name: it contains '..'",
         ""},
        {{{directory + 46, "/etc/abc"}, {30, "/etc/abc"}},
         UnsafeName,
         "'/etc/abc' is an unsafe name: it is an absolute path",
         ""},
    };
    for (const auto& [patches, code, text, failure] : cases) {
        std::string bytes = sound;
        for (const Patch& patch : patches)
            bytes.replace(patch.offset, patch.bytes.size(), patch.bytes);
        HUTFile::writeFile(archive, bytes);
        const auto findings = ArchiveSnapshot::open(archive)->check();
        ASSERT_EQ(findings.size(), 1U) << text;
        EXPECT_EQ(findings[0].code, code) << text;
        EXPECT_EQ(findings[0].text, text);
        if (failure.empty()) continue;
        EXPECT_EQ(failureOf([&] { ArchiveSnapshot::open(archive)->read("deflated"); }), failure);
    }

    // Two entries of one name, over the same bytes.
    std::string doubled = sound;
    doubled.replace(third, doubled.find("PK\5\6") - third, sound.substr(second, third - second) + "");
    const std::size_t end = doubled.find("PK\5\6");
    doubled[end + 12] = static_cast<char>(end - directory);
    HUTFile::writeFile(archive, doubled);
    EXPECT_THAT(codes(), ElementsAre(DuplicateName, OverlappingEntry, UnaccountedBytes));
    EXPECT_EQ(failureOf([&] { ArchiveSnapshot::open(archive)->find("stored"); }),
              "'" + archive + "' holds two entries named 'stored'");
    EXPECT_EQ(failureOf([&] { add({"more"}); }),
              "'stored' of the archive '" + archive + "' overlaps another entry");
    EXPECT_FALSE(io::device::file_source(archive, "stored").is_open());
    EXPECT_TRUE(io::device::file_source(archive, "deflated").is_open());
}

TEST_F(ZipRead, BytesThatBelongToNothingAreFoundAndDropOut) {
    ASSERT_EQ(run("python3 -c \"import zipfile; z = zipfile.ZipFile('" + archive +
                  "', 'w'); z.writestr('a', 'aaaa'); z.fp.seek(0, 2); z.fp.write(b'hidden'); z.start_dir = "
                  "z.fp.tell(); "
                  "z.writestr('b', 'bb'); z.close()\""),
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
    const auto streamed = [&]() -> std::string {
        boost::iostreams::stream<io::device::file_source> stream(archive, "large");
        EXPECT_TRUE(stream->is_open());
        std::string bytes((std::istreambuf_iterator<char>(stream)), {});
        return bytes;
    };
    EXPECT_EQ(streamed(), large);
    const std::size_t directory = sound.find("PK\1\2");
    for (const auto& [central, local, text] :
         {std::tuple(directory + 16, std::size_t{14}, "its checksum differs"),
          std::tuple(directory + 24, std::size_t{22},
                     "its data do not have the size that the directory states")}) {
        std::string damaged = sound;
        damaged[central] = damaged[local] = static_cast<char>(damaged[central] + 1);
        HUTFile::writeFile(archive, damaged);
        io::device::file_source source(archive, "large");
        ASSERT_TRUE(source.is_open());
        std::vector<char> buffer(1 << 20);
        std::string failure = "none";
        try {
            while (source.read(buffer.data(), 1 << 20) > 0) {
            }
        } catch (const std::ios_base::failure& thrown) {
            failure = thrown.what();
        }
        EXPECT_THAT(failure, HasSubstr("Failed to read 'large' of the archive '" + archive + "': " + text));
    }
}

TEST_F(ZipRead, SourcesAreOpenOnlyOverAReadableFile) {
    add({"lines", "d/"});
    boost::iostreams::stream<io::device::file_source> stream(archive, "lines");
    std::string line;
    EXPECT_TRUE(std::getline(stream, line));
    EXPECT_EQ(line, "of lines");
    EXPECT_FALSE(std::getline(stream, line));
    for (const auto& [path, member] :
         {std::pair(archive, "missing"), std::pair(archive, "d/"), std::pair(archive, "d"),
          std::pair(at("missing"), "lines"), std::pair(write("text", "text"), "lines")}) {
        io::device::file_source source(path, member);
        EXPECT_FALSE(source.is_open());
        char buffer = 0;
        EXPECT_THROW(source.read(&buffer, 1), std::ios_base::failure);
    }
    EXPECT_EQ(failureOf([&] { io::zip::get_files(at("missing")); }),
              "Failed to open '" + at("missing") + "': No such file or directory");
}

TEST_F(ZipRead, SinksChangeTheArchiveWhenTheyAreClosed) {
    using Stream = boost::iostreams::stream<io::device::file_sink>;
    {
        io::device::file_sink unclosed(archive, "a");
        ASSERT_TRUE(unclosed.is_open());
        unclosed.write("x", 1);
    }
    EXPECT_THAT(filesBeside(), IsEmpty());
    try {
        Stream stream(archive, "a");
        stream << "half";
        throw std::runtime_error("no more");
    } catch (const std::runtime_error&) {
    }
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
