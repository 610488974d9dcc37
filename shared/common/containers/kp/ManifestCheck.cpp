#include "containers/kp/ManifestCheck.h"

#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/KernelParts.h"
#include "containers/kp/PackageLayout.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HI18N.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/zip/ExtractionPlan.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace {

using KPContainer::isYes;

class Check {
public:
    Check(const KPContainer::Root& manifest, std::shared_ptr<const ArchiveSnapshot> archive)
        : manifest_(manifest), archive_(std::move(archive)) {}

    std::vector<PackageFinding> run() {
        for (const KPContainer::Kernel& kernel : manifest_.Kernels.Kernel)
            lastOfName_[foldedName(kernel)] = &kernel;
        for (const KPContainer::Kernel& kernel : manifest_.Kernels.Kernel)
            checkKernel(kernel);
        checkUnclaimed();
        if (manifest_.IpCaches)
            for (const KPContainer::Cache& cache : manifest_.IpCaches->Cache)
                checkIpCache(HI18N::convert(cache.CacheDir.get()));
        return std::move(findings_);
    }

private:
    /// The name that a description has, or why it cannot be read.
    struct Description {
        std::string name;
        std::string error;
    };

    void report(const char* code, const std::string& member, const std::string& text) {
        findings_.push_back({code, member, text});
    }

    /// Whether a text of the manifest can become a path; otherwise it is reported.
    bool isPath(const std::string& what, const std::string& text) {
        const std::string_view reason = ExtractionPlan::unfitForDirectory(text);
        if (!reason.empty())
            report("unsafe-path", layout::manifest,
                   what + " '" + text + "' cannot be a directory: " + std::string(reason));
        return reason.empty();
    }

    /// Whether the package has the directory; otherwise it is reported.
    bool isThere(const char* code, const std::string& what, const std::string& directory) {
        const bool isThere = archive_->isDirectory(directory);
        if (!isThere) report(code, directory, what + " '" + directory + "' is not in the package");
        return isThere;
    }

    static std::string foldedName(const KPContainer::Kernel& kernel) {
        return HSTStringUtils::foldCase(HI18N::convert(kernel.Name.get()));
    }

    void checkKernel(const KPContainer::Kernel& kernel) {
        HUTInterrupt::check();
        const std::string name = HI18N::convert(kernel.Name.get());
        const std::string directory(
            HUTPathUtils::withoutTrailingSeparators(HI18N::convert(kernel.Dir.get())));
        const std::string ip = HI18N::convert(kernel.IP.get());
        const std::string owner = "Kernel '" + name + "': its ";
        claimed_.insert({name, directory});
        if (lastOfName_.at(foldedName(kernel)) != &kernel)
            report("duplicate-kernel", layout::manifest,
                   "Kernel '" + name + "': a later one has its name, in any case of letters");
        if (isPath(owner + "directory", directory) &&
            isThere("missing-directory", owner + "directory", directory)) {
            checkDescription(name, directory);
            checkFolders(kernel, owner, directory);
        }
        // A package is read by the names of its kernels, whatever their directories.
        if (name != directory && isPath(owner + "name", name)) checkDescription(name, name);
        const std::uint32_t format = manifest_.VersionMajor.get();
        if (!ip.empty() && isPath(owner + "IP directory", ip) &&
            isThere("missing-ip", owner + "IP directory", ip) && !layout::findsIp(format, name, ip))
            report("misplaced-ip", ip,
                   owner + "IP directory '" + ip + "' is not where the layout '" +
                       layout::name(layout::hasRepository(format)) + "' has it");
    }

    void checkDescription(const std::string& name, const std::string& directory) {
        const std::string member = HUTPathUtils::join(directory, layout::kernelXml);
        if (archive_->positionsNamed(member).empty())
            return report("missing-kernel-xml", member,
                          "Kernel '" + name + "': its description '" + member + "' is not in the package");
        const auto [known, isNew] = descriptions_.try_emplace(directory);
        if (isNew) known->second = read(directory);
        const auto& [described, error] = known->second;
        if (!error.empty())
            report("kernel-xml", member, "Kernel '" + name + "': '" + member + "': " + error);
        else if (described != name)
            report("kernel-name", member,
                   "Kernel '" + name + "': '" + member + "' names the kernel '" + described + "'");
    }

    Description read(const std::string& directory) const {
        try {
            return {HCOContainerKernelXMLReader(archive_->path(), directory, archive_).getKernelDef().name,
                    {}};
        } catch (const HEXInterrupted&) {
            throw;
        } catch (const std::exception& unreadable) {
            return {{}, unreadable.what()};
        }
    }

    /// Deeper descriptions are part of an IP or of sources.
    void checkUnclaimed() {
        for (const ArchiveEntry* entry : archive_->filesWithLastComponent(layout::kernelXml)) {
            const std::string folder = HUTPathUtils::parent(entry->name);
            if (layout::unfitForKernelFolder(folder).empty() && !claimed_.contains(folder))
                report("unclaimed-kernel", std::string(entry->name),
                       "The folder '" + folder + "' has a description, but the manifest has no such kernel");
        }
    }

    void checkFolders(const KPContainer::Kernel& kernel, const std::string& owner,
                      const std::string& directory) {
        const bool isRepositoryLayout = layout::hasRepository(manifest_.VersionMajor.get());
        for (const KernelPart& part : kernelParts) {
            if (part.flag == nullptr) continue;
            const std::string folder = HUTPathUtils::join(directory, part.folder);
            const bool isFlagged = isYes(kernel.*part.flag);
            const bool isThere = archive_->isDirectory(folder);
            const std::string flag = owner + "flag '" + part.attribute + "' is ";
            if (isThere && !isFlagged)
                report("folder-without-flag", folder,
                       flag + "not set, but '" + folder + "' is in the package");
            const bool mayBeLeftOut = part.byUpdate && !isRepositoryLayout;
            if (!isThere && isFlagged && !mayBeLeftOut)
                report("flag-without-folder", folder,
                       flag + "set, but '" + folder + "' is not in the package");
        }
    }

    void checkIpCache(const std::string& name) {
        if (isPath("The IP cache", name))
            isThere("missing-cache", "The IP cache", HUTPathUtils::join(layout::ipCache, name));
    }

    const KPContainer::Root& manifest_;
    std::shared_ptr<const ArchiveSnapshot> archive_;
    std::unordered_map<std::string, const KPContainer::Kernel*> lastOfName_;  // by the name in lower case
    std::unordered_map<std::string, Description> descriptions_;               // by directory
    std::unordered_set<std::string> claimed_;  // names and directories of the manifest
    std::vector<PackageFinding> findings_;
};

}  // namespace

std::vector<PackageFinding> checkManifest(const KPContainer::Root& manifest,
                                          const std::shared_ptr<const ArchiveSnapshot>& archive) {
    return Check(manifest, archive).run();
}
