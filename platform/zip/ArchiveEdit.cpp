#include "platform/zip/ArchiveEdit.h"

#include "platform/base/HUTInterrupt.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/DirectoryTree.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/files/PendingFile.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveComparison.h"
#include "platform/zip/ArchiveLock.h"
#include "platform/zip/ArchiveReader.h"
#include "platform/zip/ArchiveWriter.h"
#include "platform/zip/DigestBeside.h"
#include "platform/zip/EntryAttributes.h"
#include "platform/zip/EntryCopier.h"
#include "platform/zip/ExtractionPlan.h"
#include "platform/zip/Packer.h"

#include <algorithm>

#include <climits>

namespace {

/// The path of an archive that is there or could be.
std::string requireFilePath(const std::string& path) {
    if (path.empty() || path.ends_with('/'))
        throw HEXAlgException(HUTPathUtils::quoted(path) + " cannot be the path of an archive");
    return disk::followLinks(path);
}

/// A folder's name without "/" at its end.
std::string folderName(const std::string& folder) {
    return std::string(HUTPathUtils::withoutTrailingSeparators(folder));
}

bool hasLongComponent(std::string_view name) {
    const std::vector<std::string_view> components = HUTPathUtils::components(name);
    return std::any_of(components.begin(), components.end(),
                       [](std::string_view component) { return component.size() > NAME_MAX; });
}

/// What could not be extracted is not stored.
void requireStorable(const std::string& name) {
    std::string_view reason = unextractableNameReason(name);
    if (reason.empty() && hasLongComponent(name)) reason = "a component of it is longer than 255 bytes";
    if (name.find("//") != std::string::npos) reason = "a component of it is empty";
    if (("/" + name + "/").find("/./") != std::string::npos) reason = "a component of it is '.'";
    if (!reason.empty())
        throw HEXAlgException(HUTPathUtils::quoted(name) +
                              " cannot be the name of an archive member: " + std::string(reason));
}

}  // namespace

ArchiveCreatedMeanwhile::~ArchiveCreatedMeanwhile() = default;

ArchiveEdit::ArchiveEdit(const std::string& path)
    : target_(requireFilePath(path)), lock_(std::make_unique<ArchiveLock>(target_)) {
    if (!lock_->isHeld()) return;
    snapshot_ = ArchiveSnapshot::open(target_);
    isDeleted_.resize(snapshot_->entries().size());
}

ArchiveEdit::~ArchiveEdit() = default;

void ArchiveEdit::run(const std::string& path, const std::function<void(ArchiveEdit&)>& operation) {
    for (;;) {
        try {
            ArchiveEdit edit(path);
            operation(edit);
            return edit.commit();
        } catch (const ArchiveCreatedMeanwhile&) {
            // Now that the archive is there, the edit can wait for its lock.
        }
    }
}

void ArchiveEdit::addBytes(const std::string& name, std::string bytes) {
    add({Addition::Kind::Bytes, name, std::move(bytes), false});
}

void ArchiveEdit::addLast(const std::string& name, std::string bytes) {
    add({Addition::Kind::Bytes, name, std::move(bytes), true});
}

void ArchiveEdit::addFile(const std::string& name, const std::string& path) {
    if (!HUTFile::isFile(path)) throw HEXAlgException(HUTPathUtils::quoted(path) + " is not a file");
    add({Addition::Kind::File, name, path, false});
}

void ArchiveEdit::addFiles(const std::string& folder, const std::vector<std::string>& paths) {
    const std::string inside = folderName(folder);
    for (const std::string& path : paths)
        addFile(HUTPathUtils::join(inside, HUTPathUtils::lastComponent(path)), path);
}

void ArchiveEdit::addTree(const std::string& folder, const std::string& directory) {
    requireOutside(directory);
    const std::string inside = folderName(folder);
    const std::vector<TreeItem> items = DirectoryTree::walk(directory, [](const std::string& link) {
        ComMsgMgr::post("@17-2001@%s", {HUTPathUtils::shown(link)});
    });
    if (items.empty() && !inside.empty()) add({Addition::Kind::Directory, inside + "/", directory, false});
    for (const TreeItem& item : items) {
        const std::string name = HUTPathUtils::join(inside, item.name);
        const std::string path = HUTPathUtils::join(directory, item.name);
        if (!item.isDirectory) add({Addition::Kind::File, name, path, false});
        if (item.isEmpty) add({Addition::Kind::Directory, name + "/", path, false});
    }
}

void ArchiveEdit::addMember(const std::shared_ptr<const ArchiveSnapshot>& archive,
                            const ArchiveEntry& member) {
    const std::string_view reason = ExtractionPlan::unfitKind(member);
    if (!reason.empty())
        throw HEXAlgException(HUTPathUtils::quoted(member.name) + " of the archive " +
                              HUTPathUtils::quoted(archive->path()) +
                              " cannot be copied: " + std::string(reason));
    archive->requireReadable(member);
    add({.kind = Addition::Kind::Member,
         .name = std::string(member.name),
         .source = archive->path(),
         .archive = archive,
         .member = &member});
}

/// An archive in a tree that is packed into it would take in its former self each time.
void ArchiveEdit::requireOutside(const std::string& directory) const {
    const std::string tree = HUTPathUtils::join(HUTFile::getCanonicalName(directory), "/");
    if (HUTFile::getCanonicalName(target_).starts_with(tree))
        throw HEXAlgException(HUTPathUtils::quoted(directory) + " cannot be packed into " +
                              HUTPathUtils::quoted(target_) + ": the archive lies in that directory");
}

void ArchiveEdit::add(Addition addition) {
    requireStorable(addition.name);
    requireNoClash(addition.name);
    const auto [first, isNew] = added_.try_emplace(addition.name, additions_.size());
    const auto origin = [](const Addition& added) {
        if (added.kind == Addition::Kind::Bytes) return std::string("generated content");
        return (added.kind == Addition::Kind::Member ? "that of " : "") + HUTPathUtils::quoted(added.source);
    };
    if (!isNew)
        throw HEXAlgException("Two files are given for " + HUTPathUtils::quoted(addition.name) + " in " +
                              HUTPathUtils::quoted(target_) + ": " + origin(additions_[first->second]) +
                              " and " + origin(addition));
    if (snapshot_)
        for (const std::uint32_t position : snapshot_->positionsNamed(addition.name))
            isDeleted_[position] = true;
    additions_.push_back(std::move(addition));
}

/// A name cannot be a file and a folder at once.
void ArchiveEdit::requireNoClash(const std::string& name) {
    const auto isKept = [&](std::span<const std::uint32_t> positions) {
        return std::any_of(positions.begin(), positions.end(), [&](auto at) { return !isDeleted_[at]; });
    };
    const auto refuse = [&](const std::string& clashing, const char* what) {
        throw HEXAlgException(HUTPathUtils::quoted(name) + " cannot be added to " +
                              HUTPathUtils::quoted(target_) + ": " + HUTPathUtils::quoted(clashing) +
                              " is a " + what + " there");
    };
    for (auto slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1)) {
        const std::string folder = name.substr(0, slash);
        if (added_.contains(folder) || (snapshot_ && isKept(snapshot_->positionsNamed(folder))))
            refuse(folder, "file");
    }
    if (name.ends_with('/')) return;  // a folder itself, whatever lies in it
    const auto below = added_.lower_bound(name + "/");
    const bool isAddedFolder = below != added_.end() && below->first.starts_with(name + "/");
    if (isAddedFolder || (snapshot_ && isKept(snapshot_->positionsInFolder(name)))) refuse(name, "folder");
}

void ArchiveEdit::deleteFile(const std::string& name) {
    if (snapshot_)
        for (const std::uint32_t position : snapshot_->positionsNamed(name))
            isDeleted_[position] = true;
    const auto [begin, end] = added_.equal_range(name);
    deleteAdded(begin, end);
}

void ArchiveEdit::deleteFolder(const std::string& folder) {
    const std::string inside = folderName(folder);
    if (inside.empty())
        throw HEXAlgException("No folder of " + HUTPathUtils::quoted(target_) + " to delete is named");
    if (snapshot_)
        for (const std::uint32_t position : snapshot_->positionsInFolder(inside))
            isDeleted_[position] = true;
    const std::string prefix = inside + "/";
    auto end = added_.lower_bound(prefix);
    while (end != added_.end() && end->first.starts_with(prefix))
        ++end;
    deleteAdded(added_.lower_bound(prefix), end);
}

void ArchiveEdit::deleteAdded(Positions::iterator begin, Positions::iterator end) {
    for (auto added = begin; added != end; ++added)
        additions_[added->second].isDeleted = true;
    added_.erase(begin, end);
}

/// What is left of the additions, those that are to be last behind the others.
std::vector<const ArchiveEdit::Addition*> ArchiveEdit::additionsInOrder() const {
    std::vector<const Addition*> ordered;
    for (const bool isLast : {false, true})
        for (const Addition& addition : additions_)
            if (!addition.isDeleted && addition.isLast == isLast) ordered.push_back(&addition);
    return ordered;
}

bool ArchiveEdit::changesAnything() const {
    return seal_ || !added_.empty() ||
           std::find(isDeleted_.begin(), isDeleted_.end(), true) != isDeleted_.end();
}

/// Whether all entries of the addition's name are one that holds the same already. One that cannot be read
/// does not.
bool ArchiveEdit::isThere(const Addition& addition, std::span<const std::uint32_t> positions) const {
    if (addition.kind == Addition::Kind::File) Packer::requireFile(addition.source);
    if (positions.size() != 1) return false;
    const ArchiveEntry& entry = snapshot_->entries()[positions.front()];
    try {
        if (addition.kind == Addition::Kind::File) return isCopy(addition.source, *snapshot_, entry);
        if (addition.kind == Addition::Kind::Member)
            return isCopy(*addition.archive, *addition.member, *snapshot_, entry);
        return addition.kind == Addition::Kind::Directory ||
               (addition.source.size() == entry.size && snapshot_->read(entry) == addition.source);
    } catch (const HEXAlgException&) {
        return false;
    }
}

ArchiveChanges ArchiveEdit::rehearse() const {
    if (changesAnything()) {
        disk::requireWritable(HUTPathUtils::parent(target_));
        if (exists()) EntryCopier::requireCopyable(*snapshot_, keptPositions());
        requireMembersCopyable();
    }
    ArchiveChanges changes;
    for (const Addition* addition : additionsInOrder()) {
        const auto positions =
            snapshot_ ? snapshot_->positionsNamed(addition->name) : std::span<const std::uint32_t>();
        if (isThere(*addition, positions)) continue;
        (positions.empty() ? changes.added : changes.replaced).push_back(addition->name);
    }
    for (std::size_t position = 0; position < isDeleted_.size(); ++position) {
        const ArchiveEntry& entry = snapshot_->entries()[position];
        if (isDeleted_[position] && !added_.contains(std::string(entry.name)))
            changes.removed.emplace_back(entry.name);
    }
    for (auto* names : {&changes.added, &changes.replaced, &changes.removed})
        std::sort(names->begin(), names->end());
    return changes;
}

std::map<const ArchiveSnapshot*, std::vector<std::uint32_t>> ArchiveEdit::membersAdded() const {
    std::map<const ArchiveSnapshot*, std::vector<std::uint32_t>> added;
    for (const Addition* addition : additionsInOrder())
        if (addition->kind == Addition::Kind::Member)
            added[addition->archive.get()].push_back(
                static_cast<std::uint32_t>(addition->member - addition->archive->entries().data()));
    return added;
}

/// Entries that share bytes could become any number of times as large.
void ArchiveEdit::requireMembersCopyable() const {
    for (const auto& [archive, positions] : membersAdded())
        EntryCopier::requireCopyable(*archive, positions);
}

void ArchiveEdit::requireMembersUntouched() const {
    for (const auto& [archive, positions] : membersAdded())
        archive->requireUntouched();
}

void ArchiveEdit::commit() {
    if (changesAnything()) {
        PendingFile pending(target_, exists() ? std::optional(lock_->status()) : std::nullopt);
        const std::uint64_t size = write(pending.file());
        requireReadableArchive(pending.file(), size, target_);
        disk::sync(pending.file());
        HUTInterrupt::check();
        putInPlace(pending);
    }
    lock_.reset();
}

/// Returns the size of the new archive.
std::uint64_t ArchiveEdit::write(const disk::FileDescriptor& file) {
    const HUTProgress progress([this] { return contentSize() * (seal_ ? 2 : 1); });  // packed, and hashed
    requireMembersCopyable();
    ArchiveWriter writer(file);
    const std::uint64_t keptPrefix = exists() ? EntryCopier(*snapshot_, writer).copy(keptPositions()) : 0;
    if (!seal_) {
        pack(writer);
        writer.finish();
        writer.putComment(exists() ? snapshot_->comment() : std::string_view());
        return writer.position();
    }
    DigestBeside digest = digestOf(file, keptPrefix);
    if (jobs_ > 1) writer.tellSettled([&](std::uint64_t end) { digest.reach(end); });
    pack(writer);
    const std::uint64_t end = writer.finish();
    writer.tellSettled({});
    progress.remains(digest.untold(end));
    writer.putComment(digest.finish(end).comment());
    return writer.position();
}

/// The digest of the new archive, with what is known of the bytes that both begin with.
DigestBeside ArchiveEdit::digestOf(const disk::FileDescriptor& file, std::uint64_t keptPrefix) const {
    const auto& known = exists() ? snapshot_->hashedPrefix() : std::nullopt;
    if (known && known->digest.label() == *seal_ && known->position <= keptPrefix)
        return {file, known->digest, known->position};
    return {file, ArchiveDigest(*seal_), 0};
}

/// The bytes to copy and those to pack. A file that is gone counts for nothing: packing it will fail.
std::uint64_t ArchiveEdit::contentSize() const {
    std::uint64_t size = 0;
    for (std::size_t position = 0; position < isDeleted_.size(); ++position)
        if (!isDeleted_[position]) size += snapshot_->entries()[position].storedSize;
    for (const Addition* addition : additionsInOrder()) {
        if (addition->kind == Addition::Kind::Bytes) {
            size += addition->source.size();
        } else if (addition->kind == Addition::Kind::Member) {
            size += addition->member->storedSize;
        } else if (addition->kind == Addition::Kind::File) {
            const auto status = disk::statusIfThere(addition->source);
            size += status ? static_cast<std::uint64_t>(status->st_size) : 0;
        }
    }
    return size;
}

std::vector<std::uint32_t> ArchiveEdit::keptPositions() const {
    std::vector<std::uint32_t> positions;
    for (std::uint32_t position = 0; position < isDeleted_.size(); ++position)
        if (!isDeleted_[position]) positions.push_back(position);
    return positions;
}

std::time_t ArchiveEdit::timeOfBytes() const {
    if (!datesBytesByMembers_) return std::time(nullptr);
    std::uint32_t youngest = 0;
    for (const Addition* addition : additionsInOrder())
        if (addition->kind == Addition::Kind::Member)
            youngest = std::max(youngest, addition->member->dosTime);
    return modifiedTime(youngest);
}

void ArchiveEdit::pack(ArchiveWriter& writer) {
    Packer packer(writer, jobs_);
    const std::time_t now = timeOfBytes();
    packer.run([&] {
        for (const Addition* addition : additionsInOrder())
            pack(*addition, packer, now);
    });
    requireMembersUntouched();
}

void ArchiveEdit::pack(const Addition& addition, Packer& packer, std::time_t now) {
    switch (addition.kind) {
        case Addition::Kind::Bytes:
            return packer.addBytes(addition.name, addition.source, now);
        case Addition::Kind::File:
            return packer.addFile(addition.name, addition.source);
        case Addition::Kind::Directory:
            return packer.addDirectory(addition.name, addition.source);
        case Addition::Kind::Member:
            return packer.addMember(*addition.archive, *addition.member);
    }
}

void ArchiveEdit::putInPlace(PendingFile& pending) {
    if (!exists()) {
        if (!pending.place())
            throw ArchiveCreatedMeanwhile("Somebody else created " + HUTPathUtils::quoted(target_) +
                                          " meanwhile");
        return;
    }
    if (!lock_->isInPlace() || !snapshot_->isCurrent())
        throw HEXAlgException(HUTPathUtils::quoted(target_) +
                              " was changed by another program while it was edited");
    pending.replace();
}
