#pragma once

#include "containers/explorer/ArchiveExplorer.h"
#include "containers/explorer/ExplorerIface.h"
#include "containers/kp/HKPContainer.h"
#include "containers/kp/KernelAddition.h"
#include "containers/kp/KernelExtraction.h"
#include "containers/kp/KernelRemoval.h"
#include "containers/kp/PackageJoin.h"
#include "containers/kp/PackageRefusals.h"
#include "containers/kp/PlannedChange.h"
#include "platform/base/Export.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class ArchiveSnapshot;

/// The operations on package files. Each opens the package anew, unless it is handed a version of it, and has
/// closed it when it returns. What fails throws HEXAlgException with a complete sentence, or what the
/// manifest reader throws (see HKPContainerXMLReader); lesser conditions are posted through ComMsgMgr.
class KP_EXPORT HKPContainerUtils {
public:
    /// Reads the manifest; false, and nothing done, when there is no file.
    static bool parseKPContainerIntoObject_(const std::string& path, HKPContainer& container);

    /// Throws when the path is not that of a file.
    static void requireKPContainer_(const std::string& path);

    /// Reads the manifest and returns the version of the package that was read, for questions about the same
    /// one; none when the path is that of a manifest alone. Throws when it is not that of a file.
    static std::shared_ptr<const ArchiveSnapshot> openKPContainer_(const std::string& path,
                                                                   HKPContainer& container);

    /// The major number of the package's format. Runs the integrity check.
    static std::uint32_t getKPContainerMajorVersion(const std::string& path);

    /// Appends the names of all kernels, in the package's order.
    static void getKernelNamesInKPContainer(const std::string& path, std::vector<std::string>& names);

    /// As getKernelNamesInKPContainer, but throws HKPKernelRefused at the first kernel that lacks the flow;
    /// the names of those before it are appended then.
    static void validateKPAndGetKernelNames(const std::string& path, HKPKernel::SupportedFlowType flow,
                                            std::vector<std::string>& names);

    /// Deliberately does nothing; joinPackages makes one package of several.
    static void mergeKPs(const std::vector<std::string>& paths, const std::string& outputPath);

    /// Verifies the digest of a package of this format version, once for each path and process. Posts 17-1396
    /// when it does not hold, is missing, or the format has none; throws nothing of its own.
    static void checkKPIntegrity_(const std::string& path, std::uint32_t versionMajor,
                                  std::uint32_t versionMinor);

    /// Throws when the package was written by a later version of the software than the running one. A package
    /// without a software version passes.
    static void checkKPVersion_(const std::string& path, std::uint32_t softwareVersionMajor,
                                std::uint32_t softwareVersionMinor);

    /// Adds a kernel to a package, which is created where missing; replaces a kernel; or adds device images
    /// and a shim solution to one. It is all done, the manifest written and the package sealed, or nothing
    /// is.
    ///
    /// Throws as well what the readers of kernel descriptions and reports throw, and std::invalid_argument
    /// for an unusable version of the running software.
    static void addKernel(const KernelAddition& addition);

    /// What addKernel would do; nothing is changed. Throws and posts what that would, but for what only
    /// writing can tell, such as a disk that is full.
    static PlannedAddition planKernelAddition(const KernelAddition& addition);

    /// Throws what addKernel would of the package, its digest and layout, and the name of the kernel, whose
    /// files need not be there yet. Nothing is changed.
    static void requirePlaceForKernel(const KernelAddition& addition);

    /// As addKernel, of an addition with these members.
    static void addKernelToKPContainer(
        const std::string& kpPath, const std::string& kernelName, const std::string& kernelXmlPath,
        const std::string& ipDir, const std::vector<std::string>& cpuFiles,
        const std::vector<std::string>& pdiFiles, const std::vector<std::string>& swEmuFiles,
        const std::string& shimSolnFile, const std::string& designXmlPath, const std::string& ipInstanceFile,
        const std::string& projectID, const std::string& topIpDir, const std::string& debugDir,
        const std::string& hlsDir, bool ipRepoLayout, bool replace, bool update, bool checkVersion);

    /// Removes kernels from a package with all that is theirs alone: their folders, and each one's IP unless
    /// another kernel uses it. All are removed and the manifest written, or none is. Throws where other
    /// kernels have files among theirs, and HKPSealBroken as the request wants it.
    static void removeKernels(const KernelRemoval& removal);
    /// What removeKernels would do; nothing is changed. Throws and posts what that would, but for what only
    /// writing can tell.
    static PlannedChange planKernelRemoval(const KernelRemoval& removal);

    /// Makes a package of all kernels, IPs and IP caches of others, whose stored bytes are copied. The bytes
    /// that result follow from what the inputs hold, from the order of the kernels and from nothing else.
    ///
    /// Throws where kernels of one name meet, or IPs or IP caches of one place that differ; those that do not
    /// are packaged once. Throws as well for inputs of different layouts, where something is at the path,
    /// even when it appears meanwhile, and HKPSealBroken as the request wants it. Then nothing is made. Posts
    /// which files are left out because they belong to no kernel.
    static void joinPackages(const PackageJoin& join);
    /// What joinPackages would do; nothing is made. Throws and posts as planKernelRemoval does.
    static PlannedChange planPackageJoin(const PackageJoin& join);

    /// @name Extracting
    /// To a directory that is created where missing. Names from inside the package are checked
    /// before the first file is written, and the files appear there only once all are complete: what fails or
    /// is killed leaves none that is cut short, and can be repeated. Files that are there are replaced.
    /// @{

    /// Extracts one kernel, with the IP repository and the IP caches from format 3 on.
    static ExtractedKernel extractKernel(const KernelExtraction& request);

    /// As extractKernel, for all kernels: the name of one is not looked at. An explorer of the extracted.
    static std::shared_ptr<kfab::kernel::ExplorerIface> extractAllKernels(const KernelExtraction& request);

    /// The explorer, a FileExplorer, of an extraction with these members.
    static std::shared_ptr<kfab::kernel::ExplorerIface> extractKernelFromKPContainer(
        const std::string& path, const std::string& kernelName, const std::string& destination,
        bool checkVersion);

    /// As extractKernelFromKPContainer, for all kernels.
    static std::shared_ptr<kfab::kernel::ExplorerIface> extractAllKernelsFromKPContainer(
        const std::string& path, const std::string& destination, bool checkVersion);

    /// As extractKernelFromKPContainer with the version check; false, and what() appended to `errors`, when
    /// that throws an exception of the standard family.
    static bool extractKernelFromKP(const std::string& path, const std::string& kernelName,
                                    const std::string& destination, std::vector<std::string>& errors);

    /// Extracts the IP repository alone. Returns its directory below the destination, which exists even when
    /// the package has no IP.
    static std::string extractIpRepoFromKPContainer(const std::string& path, const std::string& destination);
    /// @}

    /// Appends the lines of a member, without their line feeds. When the member is missing or damaged: false,
    /// no line, and one text appended to `errors`.
    static bool readFileInKP(const std::string& path, const std::string& file,
                             std::vector<std::string>& lines, std::vector<std::string>& errors);

    /// Packs IP caches: every directory, `directory` included, that itself holds a ".qmr" file becomes the
    /// cache of its own name. A cache that the manifest lists is left alone; of two of one name the first is
    /// taken and the other posted. The manifest becomes one of format 6.0, and the package is sealed anew if
    /// its digest held. Throws what the manifest reader throws.
    static void appendIPCacheDir(const std::string& path, const std::string& directory);
    static void appendIPCacheDir(const IpCacheAddition& addition);

    /// An explorer of the package that has the definitions of all its kernels.
    static std::shared_ptr<kfab::kernel::ArchiveExplorer> getInfo(const std::string& packagePath);

    /// What the package holds, in the order in which the explorer of getInfo gives the definitions: for every
    /// kernel its definition, the files that it brings, its arguments and its ports. As lines "key: value"
    /// below headers, or as a JSON document whose values are all texts, and whose empty lists are empty
    /// texts.
    ///
    /// These throw what getInfo throws, and HEXAlgException when writing fails or, for JSON, before anything
    /// is written, when the name of a file is not UTF-8.
    /// @{
    static void getInfoAsStreamTxt(const std::string& packagePath, std::ostream& out);
    /// With each value as `shown` has it: one with a line feed in it could pass for two lines.
    static void getInfoAsStreamTxt(const std::string& packagePath, std::ostream& out,
                                   const std::function<std::string(const std::string& value)>& shown);
    static void getInfoAsStreamJson(const std::string& packagePath, std::ostream& out);
    /// @}

    /// The same reports, appended to `out` as one text. On failure false: `out` is empty then, and what() of
    /// the exception is appended to `errors`.
    /// @{
    static bool getInfoAsTxt(const std::string& packagePath, std::vector<std::string>& out,
                             std::vector<std::string>& errors);
    static bool getInfoAsJson(const std::string& packagePath, std::vector<std::string>& out,
                              std::vector<std::string>& errors);
    /// @}
};
