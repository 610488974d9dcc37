#include "containers/compare/FileComparison.h"

#include "containers/compare/WholeItem.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveComparison.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace kfab::compare {
namespace {

std::string checksumText(std::uint32_t crc) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), crc, 16).ptr;
    return "0x" + std::string(digits.begin(), end);
}

std::string pathOf(const ArchiveEntry& entry) {
    return "file " + HUTPathUtils::quoted(entry.name);
}

void requireDistinct(const ArchiveSnapshot& archive, const std::vector<Member>& sorted) {
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end(), [](const Member& a, const Member& b) {
        return a.entry->name == b.entry->name;
    });
    if (twice != sorted.end()) archive.find(twice->entry->name);  // throws
}

}  // namespace

std::vector<Member> Members::take(std::string_view folder) {
    return take(folder, false);
}

std::vector<Member> Members::takeAgain(std::string_view folder) {
    return take(folder, true);
}

std::vector<Member> Members::take(std::string_view folder, bool again) {
    std::vector<Member> taken;
    for (const std::uint32_t position : archive_->positionsInFolder(folder)) {
        const ArchiveEntry& entry = archive_->entries()[position];
        if (entry.isDirectory() || (isTaken_[position] && !again)) continue;
        isTaken_[position] = true;
        taken.push_back({entry.name.substr(folder.size() + 1), &entry});
    }
    requireDistinct(*archive_, taken);
    return taken;
}

std::vector<Member> Members::takeRest() {
    std::vector<Member> taken;
    for (std::size_t position = 0; position < isTaken_.size(); ++position) {
        const ArchiveEntry& entry = archive_->entries()[position];
        if (!entry.isDirectory() && !isTaken_[position]) taken.push_back({entry.name, &entry});
    }
    isTaken_.assign(isTaken_.size(), true);
    std::sort(taken.begin(), taken.end(), [](const Member& a, const Member& b) { return a.name < b.name; });
    requireDistinct(*archive_, taken);
    return taken;
}

const ArchiveEntry* Members::takeFile(std::string_view name) {
    const ArchiveEntry* entry = archive_->find(name);
    if (entry != nullptr) isTaken_[static_cast<std::size_t>(entry - archive_->entries().data())] = true;
    return entry;
}

bool FileComparison::isSame(const ArchiveEntry& before, const ArchiveEntry& now) const {
    const bool isSame = isCopy(before_, before, now_, now);
    HUTProgress::advance(before.storedSize);
    return isSame;
}

void FileComparison::compare(const std::string& kernel, const std::vector<Member>& before,
                             const std::vector<Member>& now) {
    auto old = before.begin();
    auto current = now.begin();
    while (old != before.end() || current != now.end()) {
        if (current == now.end() || (old != before.end() && old->name < current->name)) {
            tell(kernel, Change::Removed, *old++->entry);
        } else if (old == before.end() || current->name < old->name) {
            tell(kernel, Change::Added, *current++->entry);
        } else {
            if (!isSame(*old->entry, *current->entry)) tellChanged(kernel, *old->entry, *current->entry);
            ++old;
            ++current;
        }
    }
}

void FileComparison::tellChanged(const std::string& kernel, const ArchiveEntry& before,
                                 const ArchiveEntry& now) {
    Difference told{.kernel = kernel, .path = pathOf(now), .field = "bytes"};
    if (before.size != now.size) {
        told.field = "size";
        told.oldText = std::to_string(before.size);
        told.newText = std::to_string(now.size);
        told.isNumber = true;
    } else if (before.crc != now.crc) {
        told.field = "checksum";
        told.oldText = checksumText(before.crc);
        told.newText = checksumText(now.crc);
    }
    differences_.push_back(std::move(told));
}

void FileComparison::tell(const std::string& kernel, Change change, const ArchiveEntry& entry) {
    differences_.push_back(wholeItem(kernel, Kind::Inside, change, pathOf(entry), std::string(entry.name)));
}

}  // namespace kfab::compare
