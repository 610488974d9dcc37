#include "platform/zip/ArchiveSnapshot.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <numeric>
#include <utility>

namespace {

using SnapshotPointer = std::shared_ptr<const ArchiveSnapshot>;

/// The snapshots used last, the latest first.
std::array<SnapshotPointer, 4>& recent() {
    thread_local std::array<SnapshotPointer, 4> snapshots;
    return snapshots;
}

SnapshotPointer& held() {
    thread_local SnapshotPointer snapshot;
    return snapshot;
}

constexpr std::int64_t second = 1'000'000'000;

std::int64_t count(const timespec& time) {
    return time.tv_sec * second + time.tv_nsec;
}

/// Whether a change made from now on is sure to give the file another change time, which unlike the
/// modification time nobody can set.
bool isSettled(const struct stat& status) {
    const bool isCoarse = status.st_ctim.tv_nsec == 0;
    const std::int64_t grain = isCoarse ? 2 * second : second / 20;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return count(now) - count(status.st_ctim) > grain;
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           count(a.st_mtim) == count(b.st_mtim) && count(a.st_ctim) == count(b.st_ctim);
}

}  // namespace

ArchiveSnapshot::Hold::Hold(const std::string& path) : before_(held()) {
    try {
        held() = open(path);
    } catch (const HEXAlgException&) {
        // The work asks itself for what it needs.
    }
}

ArchiveSnapshot::Hold::~Hold() {
    held() = std::move(before_);
}

SnapshotPointer ArchiveSnapshot::open(const std::string& path) {
    if (held() && held()->path() == path) return held();
    auto& snapshots = recent();
    auto at = std::find_if(snapshots.begin(), snapshots.end(),
                           [&](const SnapshotPointer& kept) { return kept && kept->path() == path; });
    if (at == snapshots.end()) --at;
    const bool isUsable = *at && (*at)->path() == path && (*at)->isSettled_ && (*at)->isCurrent();
    if (!isUsable) {
        at->reset();
        at->reset(new ArchiveSnapshot(path));
    }
    std::rotate(snapshots.begin(), at, at + 1);
    return snapshots.front();
}

ArchiveSnapshot::ArchiveSnapshot(const std::string& path) {
    // A reader who meets another's change half-way looks once more; who changes an archive in place for
    // longer than that leaves none to read.
    for (int attempts = 3; attempts > 0; --attempts) {
        file_ = disk::open(path, O_RDONLY | O_NONBLOCK);
        version_ = disk::status(file_);
        if (!S_ISREG(version_.st_mode))
            throw HEXAlgException(HUTPathUtils::quoted(path) +
                                  " is not a readable archive: it is not a file");
        isSettled_ = isSettled(version_);
        directory_ = readArchiveDirectory(file_, static_cast<std::uint64_t>(version_.st_size));
        if (isSame(version_, disk::status(file_))) return;
    }
    throw HEXAlgException(HUTPathUtils::quoted(path) + " keeps changing while it is read");
}

ArchiveSnapshot::~ArchiveSnapshot() = default;

std::uint64_t ArchiveSnapshot::contentSize() const {
    std::uint64_t size = 0;
    for (const ArchiveEntry& entry : entries())
        size += entry.size;
    return size;
}

bool ArchiveSnapshot::isCurrent() const {
    const auto now = disk::statusIfThere(path());
    return now && isSame(version_, *now);
}

void ArchiveSnapshot::forget() const {
    for (SnapshotPointer& kept : recent())
        if (kept.get() == this) kept.reset();
}

const std::vector<std::uint32_t>& ArchiveSnapshot::byName() const {
    if (byName_.size() != entries().size()) {
        byName_.resize(entries().size());
        std::iota(byName_.begin(), byName_.end(), 0U);
        std::sort(byName_.begin(), byName_.end(), [&](std::uint32_t a, std::uint32_t b) {
            const int order = entries()[a].name.compare(entries()[b].name);
            return order != 0 ? order < 0 : a < b;
        });
    }
    return byName_;
}

std::span<const std::uint32_t> ArchiveSnapshot::positionsStartingWith(std::string_view prefix) const {
    const std::vector<std::uint32_t>& sorted = byName();
    const auto head = [&](std::uint32_t position) {
        return entries()[position].name.substr(0, prefix.size());
    };
    const auto begin = std::partition_point(sorted.begin(), sorted.end(),
                                            [&](std::uint32_t position) { return head(position) < prefix; });
    const auto end = std::partition_point(begin, sorted.end(),
                                          [&](std::uint32_t position) { return head(position) == prefix; });
    return {begin, end};
}

std::span<const std::uint32_t> ArchiveSnapshot::positionsNamed(std::string_view name) const {
    const std::span<const std::uint32_t> range = positionsStartingWith(name);
    const auto end = std::partition_point(range.begin(), range.end(), [&](std::uint32_t position) {
        return entries()[position].name.size() == name.size();
    });
    return {range.begin(), end};
}

std::span<const std::uint32_t> ArchiveSnapshot::positionsInFolder(std::string_view folder) const {
    while (folder.ends_with('/'))
        folder.remove_suffix(1);
    return positionsStartingWith(std::string(folder) + "/");
}

const ArchiveEntry* ArchiveSnapshot::find(std::string_view name) const {
    const std::span<const std::uint32_t> positions = positionsNamed(name);
    if (positions.size() > 1)
        throw HEXAlgException(HUTPathUtils::quoted(path()) + " holds two entries named " +
                              HUTPathUtils::quoted(name));
    return positions.empty() ? nullptr : &entries()[positions.front()];
}

bool ArchiveSnapshot::isDirectory(std::string_view name) const {
    name = HUTPathUtils::withoutTrailingSeparators(name);
    return name.empty() || name == "." || !positionsInFolder(name).empty();
}

const std::vector<const ArchiveEntry*>& ArchiveSnapshot::filesWithLastComponent(std::string_view name) const {
    if (byLastComponent_.empty())
        for (const ArchiveEntry& entry : entries())
            if (!entry.isDirectory())
                byLastComponent_[HUTPathUtils::lastComponent(entry.name)].push_back(&entry);
    static const std::vector<const ArchiveEntry*> none;
    const auto found = byLastComponent_.find(name);
    return found == byLastComponent_.end() ? none : found->second;
}

const ArchiveEntry* ArchiveSnapshot::firstFileWith(std::string_view lastComponent,
                                                   std::string_view component) const {
    const auto [at, isNew] = byComponent_.try_emplace(std::string(lastComponent));
    FirstByComponent& first = at->second;
    if (isNew)
        for (const ArchiveEntry* entry : filesWithLastComponent(lastComponent))
            for (const std::string_view part : HUTPathUtils::components(entry->name))
                first.try_emplace(part, entry);
    const auto found = first.find(component);
    return found == first.end() ? nullptr : found->second;
}

std::vector<const ArchiveEntry*> ArchiveSnapshot::filesWithPrefix(std::string_view prefix) const {
    if (byFoldedName_.empty()) {
        for (std::uint32_t position = 0; position < entries().size(); ++position)
            if (!entries()[position].isDirectory())
                byFoldedName_.push_back({HSTStringUtils::foldCase(entries()[position].name), position});
        std::sort(byFoldedName_.begin(), byFoldedName_.end(),
                  [](const Folded& a, const Folded& b) { return a.name < b.name; });
    }
    const std::string wanted = HSTStringUtils::foldCase(prefix);
    const auto begin = std::partition_point(byFoldedName_.begin(), byFoldedName_.end(),
                                            [&](const Folded& folded) { return folded.name < wanted; });
    const auto end = std::partition_point(
        begin, byFoldedName_.end(), [&](const Folded& folded) { return folded.name.starts_with(wanted); });
    std::vector<const ArchiveEntry*> files;
    for (auto at = begin; at != end; ++at)
        files.push_back(&entries()[at->position]);
    std::sort(files.begin(), files.end());  // entries lie in memory in archive order
    return files;
}
