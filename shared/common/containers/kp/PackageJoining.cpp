#include "containers/kp/PackageJoining.h"

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/HKPContainerXMLWriter.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/DocumentMessages.h"

#include <algorithm>

namespace {

bool hasRepository(const HKPContainer& container) {
    return layout::hasRepository(container.getVersionMajor());
}

/// Packages by the first name among those of their kernels, behind them those that have none.
bool isBefore(const HKPContainer& a, const HKPContainer& b) {
    const auto firstName = [](const HKPContainer& container) -> const std::string* {
        const auto [first, last] = container.getKPKernelRange();
        const auto least = std::min_element(
            first, last, [](const auto& x, const auto& y) { return x->getName() < y->getName(); });
        return least == last ? nullptr : &(*least)->getName();
    };
    const std::string *name = firstName(a), *other = firstName(b);
    return name != nullptr && (other == nullptr || *name < *other);
}

bool hasRepositoryAsIp(const HKPContainer& container) {
    const auto [first, last] = container.getKPKernelRange();
    return std::any_of(first, last, [](const auto& kernel) {
        return HSTStringUtils::equalsIgnoreCase(HUTPathUtils::withoutTrailingSeparators(kernel->getIpDir()),
                                                layout::ipRepo);
    });
}

/// The IP of an entry in another spelling of the folder that it is in.
void respellIp(HKPKernel& kernel, const std::string& folder, const std::string& spelling) {
    const std::string ip = kernel.getIpDir();
    if (ip == folder || ip.starts_with(folder + "/")) kernel.setIpDir(spelling + ip.substr(folder.size()));
}

}  // namespace

void PackageJoining::stage() {
    for (const std::string& path : request_.inputs)
        open(path);
    if (request_.sorts)
        std::stable_sort(inputs_.begin(), inputs_.end(),
                         [](const auto& a, const auto& b) { return isBefore(a->container, b->container); });
    SharedFolders shared(std::any_of(inputs_.begin(), inputs_.end(),
                                     [](const auto& input) { return hasRepositoryAsIp(input->container); }));
    for (const auto& input : inputs_) {
        collectShared(*input, shared);
        collectKernels(*input);
        tellWhatIsLeft(*input);
    }
    if (request_.sorts) {
        std::sort(ipCaches_.begin(), ipCaches_.end());
        std::sort(kernels_.begin(), kernels_.end(),
                  [](const Kernel& a, const Kernel& b) { return a.entry->getName() < b.entry->getName(); });
    }
    if (isSealed_) edit_.seal();
    for (const std::string& cache : ipCaches_)
        container_.addIpCacheIfUnique(cache);
    stageKernels();
    for (const auto& [name, folder] : shared.all())
        for (const std::uint32_t position : folder.members)
            edit_.addMember(folder.archive, folder.archive->entries()[position]);
    edit_.dateBytesByMembers();
    HKPContainerXMLWriter(container_, request_.kpPath)
        .writeKPContainer(inputs_.empty() || hasRepository(inputs_.front()->container), edit_);
}

std::vector<std::unique_ptr<HKPKernel>> PackageJoining::takeKernels() {
    std::vector<std::unique_ptr<HKPKernel>> kernels;
    while (container_.getKPKernelRange().first != container_.getKPKernelRange().second)
        kernels.push_back(container_.removeKPKernel(container_.getKPKernelRange().first->get()));
    return kernels;
}

void PackageJoining::open(const std::string& path) {
    HUTInterrupt::check();
    HKPContainerUtils::requireKPContainer_(path);
    auto input = std::make_unique<Input>(path);
    HKPContainer& container = input->container;
    HKPContainerXMLReader(path, container, input->archive).parseKPContainer();
    input->isTaken.resize(input->archive->entries().size());
    requireFitting(*input);
    const PackageSeal seal{path, input->archive, container.getVersionMajor(), container.getVersionMinor()};
    if (!seal.isRenewed(request_.brokenSeal)) isSealed_ = false;
    if (request_.checkVersion)
        HKPContainerUtils::checkKPVersion_(path, container.getSoftwareVersionMajor(),
                                           container.getSoftwareVersionMinor());
    inputs_.push_back(std::move(input));
}

/// The same file again, or one of the other layout, is no package to join with those before it.
void PackageJoining::requireFitting(const Input& input) {
    const struct stat status = disk::status(input.archive->file());
    const auto [first, isNew] = inputOfFile_.try_emplace({status.st_dev, status.st_ino}, &input);
    if (!isNew)
        throw HKPRefused("'" + first->second->path + "' is given twice" +
                         (input.path == first->second->path ? "" : ", also as '" + input.path + "'") + "\n");
    if (inputs_.empty()) return;
    const bool isRepository = hasRepository(input.container);
    if (hasRepository(inputs_.front()->container) != isRepository)
        throw HKPRefused("'" + inputs_.front()->path + "' has the layout '" + layout::name(!isRepository) +
                         "' and '" + input.path + "' the layout '" + layout::name(isRepository) +
                         "'; only packages of one layout can be merged\n");
}

void PackageJoining::collectShared(Input& input, SharedFolders& shared) {
    const auto [first, last] = input.container.getKPKernelRange();
    for (const PackageFolder& folder : shared.foldersOf(input.archive)) {
        const std::string& name = shared.add(folder);
        if (name != folder.name)
            for (auto kernel = first; kernel != last; ++kernel)
                respellIp(**kernel, folder.name, name);
        for (const std::uint32_t position : folder.members)
            input.isTaken[position] = true;
    }
    const auto [firstCache, lastCache] = input.container.getIpCachesRange();
    ipCaches_.insert(ipCaches_.end(), firstCache, lastCache);
    if (input.container.getIsIpCacheDir()) container_.setIsIpCacheDir(true);
}

void PackageJoining::collectKernels(Input& input) {
    while (input.container.getKPKernelRange().first != input.container.getKPKernelRange().second) {
        HKPKernel* const next = input.container.getKPKernelRange().first->get();
        Kernel kernel{input.container.removeKPKernel(next), &input};
        requireNewName(kernel);
        takeFolders(kernel, input);
        kernels_.push_back(std::move(kernel));
    }
}

void PackageJoining::requireNewName(const Kernel& kernel) {
    const std::string& name = kernel.entry->getName();
    const auto [first, isNew] = inputOfName_.try_emplace(HSTStringUtils::foldCase(name), kernel.input);
    if (!isNew)
        throw HKPRefused("Kernel '" + name + "' is in both '" + first->second->path + "' and '" +
                         kernel.input->path + "'\n");
}

void PackageJoining::takeFolders(Kernel& kernel, Input& input) {
    const HKPKernel& entry = *kernel.entry;
    for (const std::string& directory : {entry.getDirectory(), entry.getName()}) {
        const std::string folder(HUTPathUtils::withoutTrailingSeparators(directory));
        const std::string reason = layout::unfitToChange(folder);
        if (!reason.empty())
            throw HKPRefused("The directory '" + folder + "' of kernel '" + entry.getName() + "' in '" +
                             input.path + "' cannot be merged: " + reason + "\n");
        takeFolder(kernel, input, folder);
    }
    const std::string ip(HUTPathUtils::withoutTrailingSeparators(entry.getIpDir()));
    if (layout::unfitToChange(ip).empty()) takeFolder(kernel, input, ip);
}

void PackageJoining::takeFolder(Kernel& kernel, Input& input, const std::string& folder) {
    const std::string owner = "kernel '" + kernel.entry->getName() + "' of '" + input.path + "'";
    if (const std::string* other = folders_.ownerNear(folder, owner))
        throw HKPRefused("The folder '" + folder + "' of " + owner + " is not its own: " + *other +
                         " has files there as well\n");
    folders_.add(folder, owner);
    for (const std::uint32_t position : input.archive->positionsInFolder(folder))
        if (!input.isTaken[position]) {
            input.isTaken[position] = true;
            kernel.members.push_back(position);
        }
}

void PackageJoining::tellWhatIsLeft(const Input& input) const {
    DocumentMessages messages(input.path);
    for (std::uint32_t position = 0; position < input.isTaken.size(); ++position) {
        const ArchiveEntry& entry = input.archive->entries()[position];
        if (!input.isTaken[position] && !entry.isDirectory() && entry.name != layout::manifest)
            messages.post("@17-2011@%s%s", {HUTPathUtils::shown(entry.name), input.path});
    }
    messages.finish();
}

void PackageJoining::stageKernels() {
    for (const bool isDescription : {true, false})
        for (const Kernel& kernel : kernels_) {
            const std::string description = HUTPathUtils::join(kernel.entry->getName(), layout::kernelXml);
            for (const std::uint32_t position : kernel.members) {
                const ArchiveEntry& entry = kernel.input->archive->entries()[position];
                if ((entry.name == description) == isDescription)
                    edit_.addMember(kernel.input->archive, entry);
            }
        }
    for (Kernel& kernel : kernels_)
        container_.appendKPKernel(std::move(kernel.entry));
}
