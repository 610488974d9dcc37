#include "containers/kp/SharedFolders.h"

#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveComparison.h"

#include <algorithm>
#include <optional>

namespace {

/// The files of a folder by their names behind the folder's.
std::map<std::string_view, const ArchiveEntry*> filesOf(const PackageFolder& folder) {
    std::map<std::string_view, const ArchiveEntry*> files;
    for (const std::uint32_t position : folder.members) {
        const ArchiveEntry& entry = folder.archive->entries()[position];
        if (!entry.isDirectory()) files.emplace(entry.name.substr(folder.name.size()), &entry);
    }
    return files;
}

/// The first file that only one of two folders has, or that differs; none when they hold the same.
std::optional<std::string> firstDifference(const PackageFolder& a, const PackageFolder& b) {
    const auto files = filesOf(a), others = filesOf(b);
    auto file = files.begin();
    auto other = others.begin();
    for (; file != files.end() && other != others.end(); ++file, ++other) {
        HUTInterrupt::check();
        if (file->first != other->first) return std::string(std::min(file->first, other->first));
        if (!isCopy(*a.archive, *file->second, *b.archive, *other->second)) return std::string(file->first);
    }
    if (file != files.end()) return std::string(file->first);
    if (other != others.end()) return std::string(other->first);
    return {};
}

}  // namespace

std::vector<PackageFolder> SharedFolders::foldersOf(
    const std::shared_ptr<const ArchiveSnapshot>& archive) const {
    std::map<std::string, PackageFolder> folders;
    for (const char* top : {layout::ipRepo, layout::ipCache}) {
        for (const std::uint32_t position : archive->positionsInFolder(top)) {
            const std::string name = folderOf(archive->entries()[position].name);
            const auto at = folders.try_emplace(name, PackageFolder{archive, name, {}}).first;
            at->second.members.push_back(position);
        }
    }
    std::vector<PackageFolder> all;
    all.reserve(folders.size());
    for (auto& [name, folder] : folders)
        all.push_back(std::move(folder));
    return all;
}

/// The IP or cache that a member of the repository or of the caches is part of. The entry of the repository
/// itself is one of its own.
std::string SharedFolders::folderOf(std::string_view member) const {
    const std::size_t top = member.find('/');
    if (isRepositoryOneIp_ && member.substr(0, top) == layout::ipRepo) return layout::ipRepo;
    return std::string(member.substr(0, member.find('/', top + 1)));
}

const std::string& SharedFolders::add(const PackageFolder& folder) {
    const bool isIp = layout::isInRepository(folder.name);
    const auto [first, isNew] =
        folders_.try_emplace(isIp ? HSTStringUtils::foldCase(folder.name) : folder.name, folder);
    const PackageFolder& present = first->second;
    if (isNew) return present.name;
    if (const auto difference = firstDifference(present, folder))
        throw HKPRefused(HUTPathUtils::quoted(folder.name) + " of '" + folder.archive->path() +
                         "' is not that of '" + present.archive->path() + "': they differ in " +
                         HUTPathUtils::quoted(difference->substr(difference->starts_with('/'))) +
                         (isIp ? "; give each IP a VLNV of its own" : "") + "\n");
    return present.name;
}
