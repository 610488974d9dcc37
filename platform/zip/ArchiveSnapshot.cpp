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

std::shared_ptr<const ArchiveSnapshot> ArchiveSnapshot::open(const std::string& path) {
    return std::shared_ptr<const ArchiveSnapshot>(new ArchiveSnapshot(path));
}

ArchiveSnapshot::ArchiveSnapshot(const std::string& path) {
    // A reader who meets another's change half-way looks once more; who changes an archive in place for
    // longer than that leaves none to read.
    for (int attempts = 3; attempts > 0; --attempts) {
        file_ = disk::open(path, O_RDONLY | O_NONBLOCK);
        listing_ = listingOf(file_);
        if (isSame(listing_->version, disk::status(file_))) return;
    }
    throw HEXAlgException(HUTPathUtils::quoted(path) + " keeps changing while it is read");
}

/// The one that is kept of this very version, else a new one, which is kept then.
std::shared_ptr<ArchiveSnapshot::Listing> ArchiveSnapshot::listingOf(const disk::FileDescriptor& file) {
    thread_local std::array<std::shared_ptr<Listing>, 4> recent;  // the latest first
    const struct stat version = disk::status(file);
    if (!S_ISREG(version.st_mode))
        throw HEXAlgException(HUTPathUtils::quoted(file.path()) +
                              " is not a readable archive: it is not a file");
    auto at = std::find_if(recent.begin(), recent.end(), [&](const std::shared_ptr<Listing>& kept) {
        return kept && kept->isSettled && isSame(kept->version, version);
    });
    if (at == recent.end()) {
        const auto size = static_cast<std::uint64_t>(version.st_size);
        recent.back() = std::make_shared<Listing>(
            Listing{version, isSettled(version), readArchiveDirectory(file, size), {}, {}, {}, {}});
        at = recent.end() - 1;
    }
    std::rotate(recent.begin(), at, at + 1);
    return recent.front();
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
    return now && isSame(listing_->version, *now);
}

void ArchiveSnapshot::requireUntouched() const {
    const struct stat now = disk::status(file_);
    const struct stat& then = listing_->version;
    if (now.st_size != then.st_size || count(now.st_mtim) != count(then.st_mtim))
        throw HEXAlgException(HUTPathUtils::quoted(path()) + " changed while it was copied");
}

const std::vector<std::uint32_t>& ArchiveSnapshot::byName() const {
    std::vector<std::uint32_t>& sorted = listing_->byName;
    if (sorted.size() != entries().size()) {
        sorted.resize(entries().size());
        std::iota(sorted.begin(), sorted.end(), 0U);
        std::sort(sorted.begin(), sorted.end(), [&](std::uint32_t a, std::uint32_t b) {
            const int order = entries()[a].name.compare(entries()[b].name);
            return order != 0 ? order < 0 : a < b;
        });
    }
    return sorted;
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
    return positionsStartingWith(std::string(HUTPathUtils::withoutTrailingSeparators(folder)) + "/");
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
    auto& files = listing_->byLastComponent;
    if (files.empty())
        for (const ArchiveEntry& entry : entries())
            if (!entry.isDirectory()) files[HUTPathUtils::lastComponent(entry.name)].push_back(&entry);
    static const std::vector<const ArchiveEntry*> none;
    const auto found = files.find(name);
    return found == files.end() ? none : found->second;
}

const ArchiveEntry* ArchiveSnapshot::firstFileWith(std::string_view lastComponent,
                                                   std::string_view component) const {
    const auto [at, isNew] = listing_->byComponent.try_emplace(std::string(lastComponent));
    FirstByComponent& first = at->second;
    if (isNew)
        for (const ArchiveEntry* entry : filesWithLastComponent(lastComponent))
            for (const std::string_view part : HUTPathUtils::components(entry->name))
                first.try_emplace(part, entry);
    const auto found = first.find(component);
    return found == first.end() ? nullptr : found->second;
}

std::vector<const ArchiveEntry*> ArchiveSnapshot::filesWithPrefix(std::string_view prefix) const {
    std::vector<Folded>& sorted = listing_->byFoldedName;
    if (sorted.empty()) {
        for (std::uint32_t position = 0; position < entries().size(); ++position)
            if (!entries()[position].isDirectory())
                sorted.push_back({HSTStringUtils::foldCase(entries()[position].name), position});
        std::sort(sorted.begin(), sorted.end(),
                  [](const Folded& a, const Folded& b) { return a.name < b.name; });
    }
    const std::string wanted = HSTStringUtils::foldCase(prefix);
    const auto begin = std::partition_point(sorted.begin(), sorted.end(),
                                            [&](const Folded& folded) { return folded.name < wanted; });
    const auto end = std::partition_point(
        begin, sorted.end(), [&](const Folded& folded) { return folded.name.starts_with(wanted); });
    std::vector<const ArchiveEntry*> files;
    for (auto at = begin; at != end; ++at)
        files.push_back(&entries()[at->position]);
    std::sort(files.begin(), files.end());  // entries lie in memory in archive order
    return files;
}
