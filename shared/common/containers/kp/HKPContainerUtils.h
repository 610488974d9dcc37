#pragma once

#include "containers/kp/HKPContainer.h"
#include "platform/base/Export.h"

#include <cstdint>
#include <string>
#include <vector>

/// The operations on package files. Each opens the package anew and keeps nothing of it. What fails throws
/// HEXAlgException with a complete sentence, or what the manifest reader throws (see HKPContainerXMLReader);
/// lesser conditions are posted through ComMsgMgr.
class KP_EXPORT HKPContainerUtils {
public:
    /// Reads the manifest; false, and nothing done, when there is no file.
    static bool parseKPContainerIntoObject_(const std::string& path, HKPContainer& container);

    /// The major number of the package's format. Runs the integrity check.
    static std::uint32_t getKPContainerMajorVersion(const std::string& path);

    /// Appends the names of all kernels, in the package's order.
    static void getKernelNamesInKPContainer(const std::string& path, std::vector<std::string>& names);

    /// As getKernelNamesInKPContainer, but throws at the first kernel that cannot be built for the flow; the
    /// names of those before it are appended then.
    static void validateKPAndGetKernelNames(const std::string& path, HKPKernel::SupportedFlowType flow,
                                            std::vector<std::string>& names);

    /// Deliberately does nothing.
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
    /// @param kpPath         the package
    /// @param kernelName     the kernel's name, equal to the one in its description; one path component
    /// @param kernelXmlPath  the kernel's description
    /// @param ipDir          directory of its packaged IP; empty for none
    /// @param cpuFiles       sources for CPU emulation
    /// @param pdiFiles       device images
    /// @param swEmuFiles     files for software emulation
    /// @param shimSolnFile   shim solution; empty for none
    /// @param designXmlPath  synthesis report to merge into the description's profile; empty for none
    /// @param ipInstanceFile customized IP instance (".qmr"); used in the repository layout only, and only if
    /// it
    ///                       exists
    /// @param projectID      recorded
    /// @param topIpDir       recorded
    /// @param debugDir       packaged as "debug"; empty for none
    /// @param hlsDir         packaged as "hls"; empty for none
    /// @param ipRepoLayout   true: IP below "ip_repo", format 6.0. false: IP below the kernel, format 2.0,
    /// and
    ///                       neither device images nor shim, debug and HLS directories are packaged for a new
    ///                       kernel
    /// @param replace        with `update`, a kernel of the name is replaced
    /// @param update         alone, only device images and the shim solution go to the kernel of the name
    /// @param checkVersion   refuse an existing package that later software wrote
    static void addKernelToKPContainer(
        const std::string& kpPath, const std::string& kernelName, const std::string& kernelXmlPath,
        const std::string& ipDir, const std::vector<std::string>& cpuFiles,
        const std::vector<std::string>& pdiFiles, const std::vector<std::string>& swEmuFiles,
        const std::string& shimSolnFile, const std::string& designXmlPath, const std::string& ipInstanceFile,
        const std::string& projectID, const std::string& topIpDir, const std::string& debugDir,
        const std::string& hlsDir, bool ipRepoLayout, bool replace, bool update, bool checkVersion);
};
