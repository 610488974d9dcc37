#include "containers/kp/ExtractionPlace.h"

#include "containers/explorer/KernelLayout.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveComparison.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/ExtractionPlan.h"

#include <string>
#include <string_view>

namespace {

/// Whether something of the name is there. A name that would lead elsewhere is the extraction's to refuse.
bool isTaken(const KernelExtraction& request, std::string_view name) {
    return ExtractionPlan::unfitForDirectory(name).empty() &&
           HUTFile::exists(HUTPathUtils::join(request.destination, name));
}

void requireSame(const KernelExtraction& request, const ArchiveSnapshot& archive, const std::string& folder) {
    if (!isTaken(request, folder)) return;
    for (const std::uint32_t position : archive.positionsInFolder(folder)) {
        HUTInterrupt::check();
        const ArchiveEntry& entry = archive.entries()[position];
        const std::string path = HUTPathUtils::join(request.destination, entry.name);
        if (!entry.isDirectory() && isTaken(request, entry.name) && !isCopy(path, archive, entry))
            throw HKPFilesThere("'" + path + "' exists already and is not what the package holds");
    }
}

}  // namespace

void requireFreePlace(const KernelExtraction& request, const std::vector<const HKPKernel*>& kernels,
                      bool hasRepository, const ArchiveSnapshot* version) {
    if (request.replacesFiles) return;
    std::string ipFolder = layout::ipRepo;
    for (const HKPKernel* kernel : kernels) {
        const std::string& root = kernel->getDirectory();
        if (isTaken(request, root))
            throw HKPFilesThere("'" + HUTPathUtils::join(request.destination, root) + "' exists already");
        if (request.ownIp) ipFolder = HUTPathUtils::withoutTrailingSeparators(kernel->getIpDir());
    }
    if (version != nullptr && hasRepository) requireSame(request, *version, ipFolder);
}
