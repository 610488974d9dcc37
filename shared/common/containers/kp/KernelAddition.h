#pragma once

#include "platform/base/Export.h"

#include <cstddef>
#include <string>
#include <vector>

struct ComMsg;

/// What adding to a package does when the package has the other layout than the one asked for.
enum class OtherLayout {
    Restamp,  ///< the package's format becomes that of the layout asked for; a message names the kernels
              ///< whose IP no reader of that format finds
    Refuse,   ///< once the package holds a kernel
    Follow,   ///< what is added takes the package's layout
};

/// What a change does of a package whose digest does not hold, or is missing although its format has one.
enum class BrokenSeal {
    Renew,   ///< goes on, and seals the package anew
    Leave,   ///< goes on, and seals nothing
    Refuse,  ///< throws HKPSealBroken
};

/// A kernel that is to be added to a package, and how. Empty texts and lists stand for what is not given.
struct KernelAddition {
    std::string kpPath;                        ///< the package; created where missing
    std::string kernelName;                    ///< equal to the name in the description; one path component
    std::string kernelXmlPath;                 ///< the kernel's description
    std::string ipDir;                         ///< directory of its packaged IP
    std::vector<std::string> cpuFiles = {};    ///< sources for CPU emulation
    std::vector<std::string> pdiFiles = {};    ///< device images
    std::vector<std::string> swEmuFiles = {};  ///< files for software emulation
    std::string shimSolnFile = {};
    std::string designXmlPath = {};   ///< synthesis report to merge into the description's profile
    std::string ipInstanceFile = {};  ///< customized IP instance (".qmr"); used where it exists, in the
                                      ///< repository layout only
    std::string projectID = {};       ///< recorded
    std::string topIpDir = ".";       ///< recorded
    std::string debugDir = {};        ///< packaged as "debug"
    std::string hlsDir = {};          ///< packaged as "hls"

    /// True: IP below "ip_repo", format 6.0. False: IP below the kernel, format 2.0; of a new kernel neither
    /// device images nor shim, debug and HLS directories are packaged then.
    bool ipRepoLayout = true;
    bool replace = false;  ///< with `update`, a kernel of the name is replaced
    bool update = false;   ///< alone, only device images and the shim solution go to the kernel of the name
    bool checkVersion = false;  ///< refuse an existing package that later software wrote

    OtherLayout otherLayout = OtherLayout::Restamp;
    bool changesOtherIps = true;  ///< false: HKPIpTaken where other kernels' IP would be replaced by one that
                                  ///< differs in its files
    BrokenSeal brokenSeal = BrokenSeal::Renew;
    std::size_t jobs = 1;  ///< so many threads, the calling one among them, may take part
};

/// Whether a message is one that is posted of every replacement: that it is one, and that it brings no device
/// image.
KP_EXPORT bool tellsOnlyOfReplacement(const ComMsg& message);

/// IP caches that are to be added to a package: every directory, `directory` included, that itself holds a
/// ".qmr" file becomes the cache of its own name.
struct IpCacheAddition {
    std::string kpPath;
    std::string directory;
    OtherLayout otherLayout = OtherLayout::Restamp;  ///< only the repository layout has caches
    BrokenSeal brokenSeal = BrokenSeal::Leave;
    std::size_t jobs = 1;  ///< so many threads, the calling one among them, may take part
};
