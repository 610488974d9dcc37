#pragma once

#include "platform/zip/ArchiveSnapshot.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What is to lie below a directory of the disk. Names are single path components, so nothing in here can
/// lead out of that directory.
struct PlannedDirectory {
    const ArchiveEntry* entry = nullptr;  ///< none for a directory that other names imply
    std::map<std::string, const ArchiveEntry*, std::less<>> files;
    std::map<std::string, std::unique_ptr<PlannedDirectory>, std::less<>> directories;

    bool isEmpty() const { return files.empty() && directories.empty(); }
};

/// Folders of an archive as the tree of directories and files that they are to become. What an archive must
/// not ask for is refused as it is added: names that lead elsewhere, links and special files, two entries for
/// one place, and data that cannot be read or be as large as stated. Failures are HEXAlgException. Nothing
/// here looks at the destination, and recordOf alone reads the archive.
class KP_EXPORT ExtractionPlan {
public:
    explicit ExtractionPlan(std::shared_ptr<const ArchiveSnapshot> archive);

    /// A folder with all that lies below it, under the names that they have in the archive. The empty folder
    /// is all of the archive; one that the archive lacks adds nothing. What is there already is not added
    /// twice.
    void addFolder(std::string_view folder);
    /// One entry of the archive.
    void add(const ArchiveEntry& entry);
    /// A directory that is to be there whatever the archive holds.
    void addDirectory(std::string_view name);
    /// Why the name cannot be that of a directory below the destination (such as "it contains '..'"); empty
    /// when it can.
    static std::string_view unfitForDirectory(std::string_view name);
    /// Why no entry of this type is extracted (such as "it is a symbolic link"); empty for files and
    /// directories.
    static std::string_view unfitKind(const ArchiveEntry& entry);

    const PlannedDirectory& top() const { return top_; }
    const ArchiveSnapshot& archive() const { return *archive_; }

    /// Where the entry's bytes lie. Throws when some of them belong to another entry as well.
    LocalRecord recordOf(const ArchiveEntry& entry, Buffer* along) const;
    [[noreturn]] void refuse(std::string_view name, const std::string& reason) const;

private:
    void addFile(const ArchiveEntry& entry, PlannedDirectory& directory, std::string_view name);
    PlannedDirectory& enter(std::string_view name, const std::vector<std::string_view>& components);

    std::shared_ptr<const ArchiveSnapshot> archive_;
    std::vector<std::uint64_t> offsets_;  ///< of all entries of the archive, ascending
    PlannedDirectory top_;
};
