#include "platform/zip/ArchiveExtraction.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HUTProgress.h"
#include "platform/base/OrderedWork.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/EntryAttributes.h"
#include "platform/zip/StagingDirectory.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using disk::FileDescriptor;

constexpr mode_t permissionBits = 0777;
constexpr mode_t ownerBits = 0700;
constexpr mode_t usualFileBits = 0644;
constexpr mode_t usualDirectoryBits = 0755;

std::uint64_t sizeOf(const PlannedDirectory& planned) {
    std::uint64_t size = 0;
    for (const auto& [name, entry] : planned.files)
        size += entry->size;
    for (const auto& [name, below] : planned.directories)
        size += sizeOf(*below);
    return size;
}

/// The way down a plan and, beside it, down a directory of the disk.
struct Place {
    const PlannedDirectory& planned;
    const FileDescriptor& directory;
    std::string prefix;  ///< of names in the archive: empty, or ends in "/"
};

/// Makes all files and directories of a plan in a staging directory.
class Making {
public:
    Making(const ExtractionPlan& plan, const StagingDirectory& staging, std::size_t jobs)
        : plan_(plan), staging_(staging), buffers_(jobs), work_(jobs) {}

    void run() {
        const Directory top(std::shared_ptr<void>(), &staging_.top());
        work_.run([&] { make(plan_.top(), top, ""); });
    }

private:
    /// Open for as long as anything is to be made in it, also when the rest cannot be planned.
    using Directory = std::shared_ptr<const FileDescriptor>;

    void make(const PlannedDirectory& planned, const Directory& directory, const std::string& prefix);
    void makeFile(const ArchiveEntry& entry, const std::string& name, const FileDescriptor& directory,
                  MemberBuffers& buffers) const;
    void makeDirectory(const PlannedDirectory& planned, const std::string& name, const Directory& parent,
                       const std::string& path);
    void restoreMode(const FileDescriptor& file, mode_t wanted) const;

    const ExtractionPlan& plan_;
    const StagingDirectory& staging_;
    std::vector<MemberBuffers> buffers_;  ///< by worker
    OrderedWork work_;                    ///< ends before the rest
};

class Extraction {
public:
    Extraction(const ExtractionPlan& plan, const std::string& destination)
        : plan_(plan), destination_(disk::openDirectory(destination)) {}

    void run(std::size_t jobs) {
        requireWays({plan_.top(), destination_, ""});
        requireRoom();
        const StagingDirectory staging(destination_.path());
        Making(plan_, staging, jobs).run();
        place(plan_.top(), staging.top(), destination_);
    }

private:
    void requireRoom() const;
    void requireWays(const Place& place) const;
    void requireWayInto(const PlannedDirectory& planned, const std::string& name, const Place& place) const;
    [[noreturn]] void refuse(const Place& place, const std::string& name, const char* obstacle) const;
    void place(const PlannedDirectory& planned, const FileDescriptor& from, const FileDescriptor& to);

    const ExtractionPlan& plan_;
    FileDescriptor destination_;
};

/// A small archive may hold far more than it takes itself: that must not fill a disk on which it cannot end.
void Extraction::requireRoom() const {
    const std::uint64_t size = sizeOf(plan_.top());
    const std::uint64_t room = disk::room(destination_);
    if (size > room)
        throw HEXAlgException(HUTPathUtils::quoted(destination_.path()) + " has room for " +
                              std::to_string(room) + " bytes, but the files to extract from " +
                              HUTPathUtils::quoted(plan_.archive().path()) + " take " + std::to_string(size));
}

/// Refuses what the destination already has in the way, before anything is written.
void Extraction::requireWays(const Place& place) const {
    if (!disk::isWritable({place.directory, "."}))
        plan_.refuse(place.prefix, HUTPathUtils::quoted(place.directory.path()) + " is not writable");
    for (const auto& [name, entry] : place.planned.files) {
        const auto present = disk::statusIfThere({place.directory, name});
        if (present && S_ISDIR(present->st_mode)) refuse(place, name, "a directory");
    }
    for (const auto& [name, below] : place.planned.directories)
        requireWayInto(*below, name, place);
}

void Extraction::requireWayInto(const PlannedDirectory& planned, const std::string& name,
                                const Place& place) const {
    const auto present = disk::statusIfThere({place.directory, name});
    if (!present) return;
    if (S_ISLNK(present->st_mode)) refuse(place, name, "a symbolic link");
    if (!S_ISDIR(present->st_mode)) refuse(place, name, "not a directory");
    requireWays({planned, disk::openDirectory({place.directory, name}), place.prefix + name + "/"});
}

void Extraction::refuse(const Place& place, const std::string& name, const char* obstacle) const {
    plan_.refuse(place.prefix + name, HUTPathUtils::quoted(place.directory.path() + "/" + name) +
                                          " is in the way: it is " + obstacle);
}

void Making::make(const PlannedDirectory& planned, const Directory& directory, const std::string& prefix) {
    for (const auto& [name, entry] : planned.files)
        work_.add(OrderedWork::keepingNone(entry->size),
                  [this, &entry = *entry, &name = name, directory](std::size_t worker) {
                      makeFile(entry, name, *directory, buffers_[worker]);
                  },
                  {});
    for (const auto& [name, below] : planned.directories)
        makeDirectory(*below, name, directory, prefix + name);
}

void Making::makeFile(const ArchiveEntry& entry, const std::string& name, const FileDescriptor& directory,
                      MemberBuffers& buffers) const {
    const bool hasMode = entry.mode() != 0;
    const mode_t mode = hasMode ? entry.mode() & permissionBits : usualFileBits;
    const FileDescriptor file = disk::createIfAbsent({directory, name}, O_WRONLY, mode);
    // All that lies here was made from this plan, in which every name is there once.
    if (!file.isOpen()) plan_.refuse(entry.name, "its name meets another entry's on this file system");
    std::uint64_t written = 0;
    plan_.archive().pass(entry, plan_.recordOf(entry, &buffers.stored), buffers, [&](std::string_view piece) {
        disk::writeAt(file, written, piece);
        written += piece.size();
        HUTProgress::advance(piece.size());
    });
    if (hasMode) restoreMode(file, mode);
    disk::setModified(file, modifiedTime(entry.dosTime));
}

void Making::makeDirectory(const PlannedDirectory& planned, const std::string& name, const Directory& parent,
                           const std::string& path) {
    const bool hasMode = planned.entry != nullptr && planned.entry->mode() != 0;
    const mode_t mode = hasMode ? (planned.entry->mode() & permissionBits) | ownerBits : usualDirectoryBits;
    if (!disk::makeDirectory({*parent, name}, mode))
        plan_.refuse(path, "its name meets another entry's on this file system");
    const auto made = std::make_shared<const FileDescriptor>(disk::openDirectory({*parent, name}));
    make(planned, made, path + "/");
    // What is made in a directory changes its time.
    work_.add(0, {}, [this, made, mode, hasMode, entry = planned.entry] {
        if (hasMode) restoreMode(*made, mode);
        if (entry != nullptr) disk::setModified(*made, modifiedTime(entry->dosTime));
    });
}

void Making::restoreMode(const FileDescriptor& file, mode_t wanted) const {
    if ((wanted & ~staging_.creatableBits()) != 0) disk::setMode(file, wanted);
}

/// Moves what is complete to the destination.
void Extraction::place(const PlannedDirectory& planned, const FileDescriptor& from,
                       const FileDescriptor& to) {
    for (const auto& [name, entry] : planned.files)
        disk::rename({from, name}, {to, name});
    for (const auto& [name, below] : planned.directories)
        if (!disk::moveDirectory({from, name}, {to, name}))
            place(*below, disk::openDirectory({from, name}), disk::openDirectory({to, name}));
}

}  // namespace

void extractArchive(const ExtractionPlan& plan, const std::string& destination, std::size_t jobs) {
    if (plan.top().isEmpty()) return;
    const HUTProgress progress([&] { return sizeOf(plan.top()); });
    HUTFile::ensureWritableDir(destination);
    Extraction(plan, destination).run(jobs);
}
