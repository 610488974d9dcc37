// Making one package of several.

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageJoining.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTProgress.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTPathUtils.h"

namespace {

[[noreturn]] void refuseTaken(const std::string& path) {
    throw HKPRefused("'" + path + "' is there already; a merge replaces no file\n");
}

/// Tells before all inputs are read. A link that leads nowhere is something as well: the package would be
/// made somewhere else.
void requireFree(const std::string& path) {
    if (disk::statusIfThere(path) || !disk::linkTarget(path).empty()) refuseTaken(path);
    disk::requireWritable(HUTPathUtils::parent(path));
}

/// The bytes whose digests are looked at, that are copied, and that are hashed.
std::uint64_t workOf(const PackageJoin& join) {
    std::uint64_t size = 0;
    for (const std::string& path : join.inputs)
        if (const auto status = disk::statusIfThere(path))
            size += static_cast<std::uint64_t>(status->st_size);
    return 3 * size;
}

}  // namespace

void HKPContainerUtils::joinPackages(const PackageJoin& join) {
    requireFree(join.kpPath);
    const HUTProgress progress([&] { return workOf(join); });
    ArchiveEdit edit(join.kpPath);
    if (edit.exists()) refuseTaken(join.kpPath);
    edit.useJobs(join.jobs);
    PackageJoining(join, edit).stage();
    try {
        edit.commit();
    } catch (const ArchiveCreatedMeanwhile&) {
        refuseTaken(join.kpPath);
    }
}

PlannedChange HKPContainerUtils::planPackageJoin(const PackageJoin& join) {
    requireFree(join.kpPath);
    ArchiveEdit edit(join.kpPath);
    PackageJoining joining(join, edit);
    joining.stage();
    ArchiveChanges changes = edit.rehearse();
    return {joining.takeKernels(), std::move(changes)};
}
