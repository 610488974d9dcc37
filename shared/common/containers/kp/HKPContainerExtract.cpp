// Extracting kernels from packages, and reading a member.

#include "containers/explorer/FileExplorer.h"
#include "containers/kp/ExtractionPlace.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/HKPContainerXMLReader.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageSeal.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ArchiveExtraction.h"
#include "platform/zip/Iostreams.h"

#include <iterator>

#include <boost/iostreams/stream.hpp>

namespace {

using kfab::kernel::ExplorerIface;
using kfab::kernel::FileExplorer;

/// Reads the manifest of the version that is asked for, and returns that version; none when the path is that
/// of a manifest alone.
std::shared_ptr<const ArchiveSnapshot> openForExtraction(const KernelExtraction& request,
                                                         HKPContainer& container) {
    const std::string& path = request.kpPath;
    if (!request.version && !HUTFile::exists(path))
        throw HEXAlgException("Failed to parse KP container '" + path + "'\n");
    auto version = HKPContainerXMLReader(path, container, request.version).parsePackage();
    const PackageSeal seal{path, version, container.getVersionMajor(), container.getVersionMinor()};
    request.requireSeal ? seal.require() : seal.check();
    if (request.checkVersion)
        HKPContainerUtils::checkKPVersion_(path, container.getSoftwareVersionMajor(),
                                           container.getSoftwareVersionMinor());
    return version;
}

bool hasRepository(const HKPContainer& container) {
    return layout::hasRepository(container.getVersionMajor());
}

/// One extraction. All is planned, and so checked, before the first file is written.
class PackageExtraction {
public:
    /// @param version of the package; none for the present one
    PackageExtraction(const std::string& path, const std::shared_ptr<const ArchiveSnapshot>& version,
                      const std::string& destination)
        : destination_(destination), plan_(version ? version : ArchiveSnapshot::open(path)) {}

    std::string below(std::string_view name) const { return HUTPathUtils::join(destination_, name); }

    void planKernel(const HKPKernel& kernel) {
        const std::string what = "kernel '" + HUTPathUtils::shown(kernel.getName()) + "'";
        requireDirectory(what, "its Name", kernel.getName());
        requireDirectory(what, "its Dir", kernel.getDirectory());
        planFolder(kernel.getDirectory());
    }
    void planDirectory(const std::string& name) { plan_.addDirectory(name); }
    void planFolder(const std::string& folder) {
        plan_.addDirectory(folder);
        plan_.addFolder(folder);
    }
    /// Of the repository only the kernel's own IP, if it has one.
    void planOwnIp(const HKPKernel& kernel) {
        plan_.addDirectory(layout::ipRepo);
        const std::string folder(HUTPathUtils::withoutTrailingSeparators(kernel.getIpDir()));
        if (folder.empty()) return;
        requireDirectory("kernel '" + kernel.getName() + "'", "its IP", folder);
        planFolder(folder);
        if (!layout::isInRepository(folder) || !plan_.archive().isDirectory(folder))
            throw HEXAlgException("The IP '" + folder + "' of kernel '" + kernel.getName() +
                                  "' is not in the IP repository of KP container '" + plan_.archive().path() +
                                  "'\n");
    }
    /// The caches that are not there yet.
    void planIpCaches(const HKPContainer& container) {
        const auto [first, last] = container.getIpCachesRange();
        for (auto cache = first; cache != last; ++cache) {
            requireDirectory("the IP caches", "a CacheDir", *cache);
            const std::string folder = HUTPathUtils::join(layout::ipCache, *cache);
            if (HUTFile::isDir(below(folder))) continue;
            plan_.addDirectory(layout::ipCache);
            plan_.addFolder(folder);
        }
    }
    void run(std::size_t jobs = 1) const { extractArchive(plan_, destination_, jobs); }

    /// Makes an extracted kernel known to the explorer, with the directories that it has.
    void enter(const HKPKernel& kernel, FileExplorer& explorer) const {
        const std::string root = below(kernel.getDirectory());
        explorer.addKernelRootDir(kernel.getName(), root);
        for (const KernelPart& part : kernelParts) {
            const std::string directory = HUTPathUtils::join(root, part.folder);
            if (HUTFile::isDir(directory)) (explorer.*part.enter)(kernel.getName(), directory);
        }
    }

private:
    /// The texts of a manifest are as good as whoever wrote it: each one that becomes a path is checked.
    void requireDirectory(const std::string& what, const std::string& attribute,
                          const std::string& text) const {
        const std::string_view reason = ExtractionPlan::unfitForDirectory(text);
        if (!reason.empty())
            throw HKPRefused("Failed to extract " + what + " of KP container '" + plan_.archive().path() +
                             "': " + attribute + " in the manifest, '" + HUTPathUtils::shown(text) +
                             "', cannot be a directory: " + std::string(reason) + "\n");
    }

    std::string destination_;
    ExtractionPlan plan_;
};

std::vector<std::string> linesOf(const std::string& path, const std::string& file) {
    boost::iostreams::stream<isl::iostreams::device::file_source> stream(path, file);
    stream.exceptions(std::ios_base::badbit);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

ExtractedKernel HKPContainerUtils::extractKernel(const KernelExtraction& request) {
    const std::string& path = request.kpPath;
    const auto container = std::make_shared<HKPContainer>();
    const auto version = openForExtraction(request, *container);
    const HKPKernel* kernel = container->getKPKernelByName(request.kernelName);
    if (kernel == nullptr)
        throw HKPKernelNotFound("Kernel '" + request.kernelName + "' was not found inside KP container '" +
                                path + "'\n");
    const bool isRepository = hasRepository(*container);
    requireFreePlace(request, {kernel}, isRepository, version.get());
    PackageExtraction extraction(path, version, request.destination);
    extraction.planKernel(*kernel);
    if (isRepository) {
        request.ownIp ? extraction.planOwnIp(*kernel) : extraction.planFolder(layout::ipRepo);
        extraction.planIpCaches(*container);
    }
    extraction.run(request.jobs);

    auto explorer = std::make_shared<FileExplorer>(request.destination, container, isRepository);
    extraction.enter(*kernel, *explorer);
    const std::string& name = kernel->getName();
    explorer->addIPDefinitionDir(
        name, extraction.below(isRepository ? layout::ipRepo : HUTPathUtils::join(name, layout::kernelIp)));
    if (isRepository) explorer->addIPCacheDir(name, extraction.below(layout::ipCache));
    return {name, kernel->getProjectID(), kernel->getTopIpDir(), explorer};
}

std::shared_ptr<ExplorerIface> HKPContainerUtils::extractKernelFromKPContainer(const std::string& path,
                                                                               const std::string& kernelName,
                                                                               const std::string& destination,
                                                                               bool checkVersion) {
    return extractKernel({path, kernelName, destination, checkVersion}).explorer;
}

std::shared_ptr<ExplorerIface> HKPContainerUtils::extractAllKernelsFromKPContainer(
    const std::string& path, const std::string& destination, bool checkVersion) {
    return extractAllKernels({path, {}, destination, checkVersion});
}

std::shared_ptr<ExplorerIface> HKPContainerUtils::extractAllKernels(const KernelExtraction& request) {
    const auto container = std::make_shared<HKPContainer>();
    const auto version = openForExtraction(request, *container);
    const bool isRepository = hasRepository(*container);
    const bool hasIpCaches = isRepository && container->getIsIpCacheDir();
    const auto [first, last] = container->getKPKernelRange();
    std::vector<const HKPKernel*> kernels;
    for (auto kernel = first; kernel != last; ++kernel)
        kernels.push_back(kernel->get());
    requireFreePlace(request, kernels, isRepository, version.get());
    PackageExtraction extraction(request.kpPath, version, request.destination);
    if (isRepository) extraction.planFolder(layout::ipRepo);
    if (hasIpCaches) extraction.planIpCaches(*container);
    for (auto kernel = first; kernel != last; ++kernel) {
        extraction.planKernel(**kernel);
        extraction.planDirectory((*kernel)->getName());
    }
    extraction.run(request.jobs);

    auto explorer = std::make_shared<FileExplorer>(request.destination, container, hasIpCaches);
    for (auto kernel = first; kernel != last; ++kernel) {
        const std::string& name = (*kernel)->getName();
        extraction.enter(**kernel, *explorer);
        if (isRepository) explorer->addIPDefinitionDir(name, extraction.below(layout::ipRepo));
        if (hasIpCaches) explorer->addIPCacheDir(name, extraction.below(layout::ipCache));
    }
    return explorer;
}

bool HKPContainerUtils::extractKernelFromKP(const std::string& path, const std::string& kernelName,
                                            const std::string& destination,
                                            std::vector<std::string>& errors) {
    try {
        extractKernelFromKPContainer(path, kernelName, destination, true);
        return true;
    } catch (const std::exception& failure) {
        errors.emplace_back(failure.what());
        return false;
    }
}

std::string HKPContainerUtils::extractIpRepoFromKPContainer(const std::string& path,
                                                            const std::string& destination) {
    PackageExtraction extraction(path, nullptr, destination);
    extraction.planFolder(layout::ipRepo);
    extraction.run();
    return extraction.below(layout::ipRepo);
}

bool HKPContainerUtils::readFileInKP(const std::string& path, const std::string& file,
                                     std::vector<std::string>& lines, std::vector<std::string>& errors) {
    try {
        std::vector<std::string> read = linesOf(path, file);
        std::move(read.begin(), read.end(), std::back_inserter(lines));
        return true;
    } catch (const std::exception&) {  // also that a line is too long for the memory
        errors.push_back("Failed to read file " + file + " from " + path);
        return false;
    }
}

ExtractedPlaces placesOf(const std::string& name, const ExplorerIface& explorer) {
    const auto ifThere = [&](const std::string& directory) {
        return !directory.empty() && explorer.existsDir(directory) ? directory : std::string();
    };
    const std::string root = explorer.getKernelDefRoot(name);
    if (root.empty()) return {};
    // An extraction of all kernels tells the explorer of no IP outside the repository.
    const std::string ip = explorer.getIPDefinitionRoot(name);
    return {root, ifThere(ip.empty() ? HUTPathUtils::join(root, layout::kernelIp) : ip),
            ifThere(explorer.getIPCacheRoot(name))};
}
