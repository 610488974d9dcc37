#pragma once

#include "containers/compare/Comparison.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kfab::compare {

/// A file of a package, by its name below a folder.
struct Member {
    std::string_view name;
    const ArchiveEntry* entry;
};

/// The files of a package, each of which is told of once.
class Members {
public:
    explicit Members(std::shared_ptr<const ArchiveSnapshot> archive)
        : archive_(std::move(archive)), isTaken_(archive_->entries().size()) {}

    const std::shared_ptr<const ArchiveSnapshot>& archive() const { return archive_; }

    /// The files below a folder, or of the whole package, that were not taken before, by name. Throws
    /// HEXAlgException where two have one name.
    /// @{
    std::vector<Member> take(std::string_view folder);
    std::vector<Member> takeRest();
    /// @}
    /// As take, but also those that were.
    std::vector<Member> takeAgain(std::string_view folder);
    /// The file of a name, whether it was taken before or not; none where there is none. Throws as take does.
    const ArchiveEntry* takeFile(std::string_view name);

private:
    std::vector<Member> take(std::string_view folder, bool again);

    std::shared_ptr<const ArchiveSnapshot> archive_;
    std::vector<bool> isTaken_;
};

/// Tells files apart by their bytes.
class FileComparison {
public:
    FileComparison(const ArchiveSnapshot& before, const ArchiveSnapshot& now,
                   std::vector<Difference>& differences)
        : before_(before), now_(now), differences_(differences) {}

    bool isSame(const ArchiveEntry& before, const ArchiveEntry& now) const;
    /// Both are sorted by name. What is the same is not told.
    void compare(const std::string& kernel, const std::vector<Member>& before,
                 const std::vector<Member>& now);
    /// Tells of files that are not the same.
    void tellChanged(const std::string& kernel, const ArchiveEntry& before, const ArchiveEntry& now);

private:
    void tell(const std::string& kernel, Change change, const ArchiveEntry& entry);

    const ArchiveSnapshot& before_;
    const ArchiveSnapshot& now_;
    std::vector<Difference>& differences_;
};

}  // namespace kfab::compare
