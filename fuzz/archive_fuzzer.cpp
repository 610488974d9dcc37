// Damaged and hostile archives: whatever they hold, reading, checking, extracting and editing agree on it.

#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/ArchiveExtraction.h"
#include "platform/zip/HUTZip.h"

#include <optional>
#include <vector>

#include "fuzz/Fuzz.h"

namespace {

namespace fs = std::filesystem;
using fuzz::require;

/// The bytes of one member, or none where it cannot be read.
using Content = std::optional<std::string>;

Content readWhole(const ArchiveSnapshot& archive, const ArchiveEntry& entry) {
    std::string bytes;
    if (!fuzz::succeeds([&] { bytes = archive.read(entry); })) return {};
    return bytes;
}

Content readStream(const ArchiveSnapshot& archive, const ArchiveEntry& entry) {
    std::string bytes;
    const auto read = [&] {
        char piece[4096];
        const auto stream = archive.stream(entry);
        while (const std::size_t got = stream->read(piece, sizeof piece))
            bytes.append(piece, got);
    };
    if (!fuzz::succeeds(read)) return {};
    return bytes;
}

/// Each member, by its position. Those behind the first 64 MiB count as not readable, for a small archive can
/// have any number of members that inflate from the same bytes.
std::vector<Content> contentsOf(const ArchiveSnapshot& archive) {
    std::uint64_t room = std::uint64_t{64} << 20;
    std::vector<Content> contents;
    for (const ArchiveEntry& entry : archive.entries()) {
        contents.emplace_back();
        if (entry.size > room) continue;
        contents.back() = readWhole(archive, entry);
        if (!contents.back()) continue;
        require(readStream(archive, entry) == contents.back(), "a member is the same in pieces");
        room -= entry.size;
    }
    return contents;
}

/// The codes of flaws, which a member that cannot be read must have.
void check(const ArchiveSnapshot& archive, const std::vector<Content>& contents) {
    if (archive.contentSize() > std::uint64_t{64} << 20) return;
    const std::vector<ArchiveFinding> findings = archive.check();
    const bool allRead = std::find(contents.begin(), contents.end(), std::nullopt) == contents.end();
    require(allRead || !findings.empty(), "an archive without a flaw can be read");
}

void extract(const fuzz::Scratch& scratch, const std::shared_ptr<const ArchiveSnapshot>& archive,
             const std::vector<Content>& contents) {
    const std::string destination = scratch / "out/a/b/c";
    fs::create_directories(destination);
    const bool isDone = fuzz::succeeds([&] {
        ExtractionPlan plan(archive);
        plan.addFolder("");
        extractArchive(plan, destination);
    });
    for (std::size_t i = 0; isDone && i < contents.size(); ++i) {
        const ArchiveEntry& entry = archive->entries()[i];
        const fs::path path = destination + "/" + std::string(entry.name);
        require(fs::is_directory(path) == entry.isDirectory(), "directories are extracted as such");
        if (entry.isDirectory() || !contents[i]) continue;
        fs::permissions(path, fs::perms::owner_read, fs::perm_options::add);
        require(fuzz::Scratch::read(path) == contents[i], "what is extracted is what is read");
    }
    require(isDone || fs::is_empty(destination), "a refused extraction leaves nothing");
    for (const char* above : {"out", "out/a", "out/a/b"})
        require(std::distance(fs::directory_iterator(scratch / above), {}) == 1, "nothing lies elsewhere");
    fs::remove_all(scratch / "out");
}

void edit(const std::string& path, std::string_view before, const ArchiveSnapshot& archive,
          const std::vector<Content>& contents) {
    const std::string added = "kp.xml";
    const bool isDone = fuzz::succeeds([&] {
        ArchiveEdit::run(path, [&](ArchiveEdit& edit) {
            edit.addLast(added, "added");
            edit.seal();
        });
    });
    if (!isDone) return require(fuzz::Scratch::read(path) == before, "a refused edit changes nothing");

    const auto edited = ArchiveSnapshot::open(path);
    std::size_t position = 0;
    for (std::size_t i = 0; i < contents.size(); ++i) {
        if (archive.entries()[i].name == added) continue;
        const ArchiveEntry& kept = edited->entries().at(position++);
        require(kept.name == archive.entries()[i].name, "what is kept keeps its name and place");
        require(!contents[i] || readWhole(*edited, kept) == contents[i], "what is kept reads as before");
    }
    require(edited->entries().size() == position + 1 && edited->read(added) == "added",
            "the addition is last");
    require(HUTZip::checkIntegrityEn(path) == 0, "the digest of an edit holds");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::Scratch scratch;
    const std::string_view bytes = fuzz::text(data, size);
    const std::string path = scratch.file("archive.kp", bytes);
    std::shared_ptr<const ArchiveSnapshot> archive;
    const bool isArchive = fuzz::succeeds([&] { archive = ArchiveSnapshot::open(path); });
    for (const int state : {HUTZip::checkIntegrity(path), HUTZip::checkIntegrityEn(path)})
        require((state != 3) == isArchive, "a digest is looked for in every archive");
    if (!isArchive) return 0;

    const std::vector<Content> contents = contentsOf(*archive);
    check(*archive, contents);
    if (archive->contentSize() <= std::uint64_t{64} << 20) extract(scratch, archive, contents);
    edit(path, bytes, *archive, contents);
    return 0;
}
