#pragma once

#include "containers/kp/KernelAddition.h"
#include "containers/kp/ManifestRecords.h"
#include "containers/lint/KernelFacts.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace kfab::lint {

/// One version of a package, and the facts of its kernels. It stays where it is while facts are used.
class PackageFacts {
public:
    /// Throws HEXAlgException and HEXAll for what is no package.
    explicit PackageFacts(const std::string& path);

    const std::shared_ptr<const ArchiveSnapshot>& archive() const { return archive_; }
    const KPContainer::Root& manifest() const { return manifest_; }

    std::size_t kernelCount() const { return entries_.size(); }
    /// The place in the manifest of the kernel of a name without regard to case. Throws HEXAlgException when
    /// there is none.
    std::size_t require(const std::string& name) const;

    /// Of the kernel of a place in the manifest. Throws HEXAll when its description is not valid,
    /// std::ios_base::failure when it is not there.
    KernelFacts factsOf(std::size_t kernel) const;
    /// As factsOf, but of the description alone, in less time.
    KernelFacts describedFactsOf(std::size_t kernel) const;

    /// Adds what the package means for a kernel that is to be added.
    void takeNeighbours(KernelFacts& facts, const KernelAddition& addition) const;

private:
    /// What the manifest says of a kernel; folders without "/" at their end.
    struct Entry {
        std::string name, folder, ipFolder, topIp;
        bool needsIp = false;
        int line = 0;
    };

    Entry entryOf(const KPContainer::Kernel& kernel) const;
    void takeIp(KernelFacts& facts, const Entry& entry) const;
    void takeSharing(KernelFacts& facts, const std::string& ipFolder, const std::string& ownName) const;
    void takeStrays(KernelFacts& facts, const std::string& folder) const;
    bool hasFile(const std::string& name) const { return !archive_->positionsNamed(name).empty(); }
    std::string read(const std::string& member) const;
    IpFiles filesIn(const std::string& folder) const;

    std::shared_ptr<const ArchiveSnapshot> archive_;
    KPContainer::Root manifest_;
    std::vector<Entry> entries_;
    std::unordered_map<std::string, std::vector<std::size_t>> usersOf_;  // entries, by the folded ipFolder
};

}  // namespace kfab::lint
