#pragma once

#include "containers/explorer/ExplorerIface.h"
#include "platform/base/Export.h"

#include <cstddef>
#include <memory>
#include <string>

class ArchiveSnapshot;

/// A kernel that is to be extracted from a package, and how.
struct KernelExtraction {
    std::string kpPath;         ///< the package
    std::string kernelName;     ///< in any case of letters
    std::string destination;    ///< a directory; created where missing
    bool checkVersion = false;  ///< refuse a package that later software wrote
    bool requireSeal = false;   ///< HKPSealBroken where the package's digest does not hold, or is missing
                                ///< although its format has one
    bool replacesFiles = true;  ///< false: HKPFilesThere where the destination holds the kernel, or a file of
                                ///< the IP repository whose bytes are not those in the package
    bool ownIp = false;         ///< true: of the IP repository only the IP that the kernel's entry names
    std::shared_ptr<const ArchiveSnapshot> version = nullptr;  ///< of the package; none for the present one
    std::size_t jobs = 1;  ///< so many threads, the calling one among them, may take part
};

/// A kernel that was extracted, as its entry in the manifest states it, and where it lies now.
struct ExtractedKernel {
    std::string name;
    std::string projectID;
    std::string topIpDir = ".";
    std::shared_ptr<kfab::kernel::ExplorerIface> explorer;  ///< has the kernel under this name
};

/// The directories of an extracted kernel; empty where it has none.
struct ExtractedPlaces {
    std::string root;  ///< of its description; empty as well when that cannot be read
    std::string ip;
    std::string ipCache;
};

/// @param name as the explorer of the extraction knows it
KP_EXPORT ExtractedPlaces placesOf(const std::string& name, const kfab::kernel::ExplorerIface& explorer);
