#include "platform/zip/ExtractionPlan.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>

#include <sys/stat.h>

namespace {

/// The components of a path that tell something.
std::vector<std::string_view> componentsOf(std::string_view path) {
    std::vector<std::string_view> components = HUTPathUtils::components(path);
    std::erase(components, ".");
    return components;
}

}  // namespace

ExtractionPlan::ExtractionPlan(std::shared_ptr<const ArchiveSnapshot> archive)
    : archive_(std::move(archive)) {
    for (const ArchiveEntry& entry : archive_->entries())
        offsets_.push_back(entry.offset);
    std::sort(offsets_.begin(), offsets_.end());
}

void ExtractionPlan::refuse(std::string_view name, const std::string& reason) const {
    throw HEXAlgException("Failed to extract " + HUTPathUtils::quoted(name) + " of the archive " +
                          HUTPathUtils::quoted(archive_->path()) + ": " + reason);
}

void ExtractionPlan::addFolder(std::string_view folder) {
    folder = HUTPathUtils::withoutTrailingSeparators(folder);
    if (folder.empty()) {
        for (const ArchiveEntry& entry : archive_->entries())
            add(entry);
    } else {
        for (const std::uint32_t position : archive_->positionsInFolder(folder))
            add(archive_->entries()[position]);
    }
}

void ExtractionPlan::addDirectory(std::string_view name) {
    const std::string_view reason = unfitForDirectory(name);
    if (!reason.empty()) refuse(name, std::string(reason));
    enter(name, componentsOf(name));
}

std::string_view ExtractionPlan::unfitForDirectory(std::string_view name) {
    const std::string_view reason = unextractableNameReason(name);
    return reason.empty() && componentsOf(name).empty() ? "it names no directory" : reason;
}

void ExtractionPlan::add(const ArchiveEntry& entry) {
    for (const std::string_view reason : {unextractableNameReason(entry.name), unfitKind(entry)})
        if (!reason.empty()) refuse(entry.name, std::string(reason));
    std::vector<std::string_view> components = componentsOf(entry.name);
    if (entry.isDirectory()) {
        PlannedDirectory& directory = enter(entry.name, components);
        if (directory.entry != nullptr && directory.entry != &entry)
            refuse(entry.name, "two entries have this name");
        directory.entry = &entry;
    } else if (components.empty()) {
        refuse(entry.name, "it names no file");
    } else {
        const std::string_view name = components.back();
        components.pop_back();
        addFile(entry, enter(entry.name, components), name);
    }
}

void ExtractionPlan::addFile(const ArchiveEntry& entry, PlannedDirectory& directory, std::string_view name) {
    if (directory.directories.contains(name)) refuse(entry.name, "it is a file and a folder");
    archive_->requireReadable(entry);
    const auto [present, isNew] = directory.files.try_emplace(std::string(name), &entry);
    if (present->second != &entry) refuse(entry.name, "two entries have this name");
}

PlannedDirectory& ExtractionPlan::enter(std::string_view name,
                                        const std::vector<std::string_view>& components) {
    PlannedDirectory* directory = &top_;
    for (const std::string_view component : components) {
        if (const auto file = directory->files.find(component); file != directory->files.end())
            refuse(name, HUTPathUtils::quoted(file->second->name) + " is a file and a folder");
        auto below = directory->directories.find(component);
        if (below == directory->directories.end())
            below = directory->directories.emplace(component, std::make_unique<PlannedDirectory>()).first;
        directory = below->second.get();
    }
    return *directory;
}

std::string_view ExtractionPlan::unfitKind(const ArchiveEntry& entry) {
    const std::uint32_t type = entry.mode() & S_IFMT;
    if (type == S_IFLNK) return "it is a symbolic link";
    if (type != 0 && type != (entry.isDirectory() ? S_IFDIR : S_IFREG))
        return entry.isDirectory() ? "its type is not that of a directory" : "its type is not that of a file";
    if (entry.isDirectory() && entry.size > 0) return "it is a directory with data";
    return {};
}

LocalRecord ExtractionPlan::recordOf(const ArchiveEntry& entry, Buffer* along) const {
    const LocalRecord record = archive_->localRecord(entry, along);
    const auto [same, next] = std::equal_range(offsets_.begin(), offsets_.end(), record.begin);
    if (next - same > 1 || (next != offsets_.end() && *next < record.end))
        refuse(entry.name, "it overlaps another entry");
    return record;
}
