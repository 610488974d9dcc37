#pragma once

#include "containers/explorer/FileExplorer.h"
#include "containers/explorer/KernelLayout.h"
#include "containers/kp/HKPKernel.h"
#include "containers/kp/KernelAddition.h"
#include "containers/kp/ManifestRecords.h"
#include "platform/messages/Catalog.h"

#include <optional>
#include <string>
#include <vector>

/// A directory that a kernel may have: all that adding, reading, writing, checking, extracting and showing
/// packages need to know of it. Whoever deals with kernels' directories walks `kernelParts`.
struct KernelPart {
    using Explorer = kfab::kernel::ExplorerIface;
    using Extracted = kfab::kernel::FileExplorer;
    using Entry = KPContainer::Kernel;

    enum class Kind {
        Files,      ///< files that an addition names
        File,       ///< a single one
        Directory,  ///< a tree that an addition names
    };

    const char* folder;  ///< its name
    Kind kind;
    bool inKernelLayout = false;  ///< whether a new kernel of that layout gets it as well
    bool byUpdate = false;        ///< whether an update adds to it

    /// What the command calls it: in lines, in `kp files --json` and in `kp list --json`.
    const char* word;
    const char* filesJson;
    const char* listJson = nullptr;
    /// What an information report calls it: in lines, and of files all of them in JSON.
    const char* lineKey;
    const char* arrayKey = nullptr;

    /// The manifest's flag for it; none for one that has no flag.
    const char* attribute = nullptr;
    KPContainer::Text Entry::*flag = nullptr;
    bool (HKPKernel::*isSet)() const = nullptr;
    void (HKPKernel::*set)(bool value) = nullptr;

    /// The explorers' questions after it; only Files are listed.
    std::string (Explorer::*root)(const std::string& kernelName) const;
    bool (Explorer::*list)(const std::string& kernelName, std::vector<std::string>& out) const = nullptr;
    bool (Extracted::*enter)(const std::string& kernelName, const std::string& directory);

    /// What an addition gives for it: a list of files, or the path of a file or directory.
    std::vector<std::string> KernelAddition::*files = nullptr;
    std::string KernelAddition::*path = nullptr;
    const char* noun = nullptr;                     ///< of one file, in the text that it is none
    std::optional<messages::Id<1>> missing = {};    ///< posted of what is no directory
    std::optional<messages::Id<1>> packaging = {};  ///< posted of a directory

    /// The files, or the directory, that an addition gives.
    std::vector<std::string> givenBy(const KernelAddition& addition) const {
        if (files != nullptr) return addition.*files;
        return (addition.*path).empty() ? std::vector<std::string>() : std::vector{addition.*path};
    }
};

// clang-format off
inline constexpr KernelPart kernelParts[] = {
    {.folder = layout::cpuSources, .kind = KernelPart::Kind::Files, .inKernelLayout = true,
     .word = "cpu-source", .filesJson = "cpuSources", .lineKey = "sourceFile", .arrayKey = "sourceFiles",
     .root = &KernelPart::Explorer::getCpuSourcesRoot, .list = &KernelPart::Explorer::getCpuSources,
     .enter = &KernelPart::Extracted::addCpuSourcesDir,
     .files = &KernelAddition::cpuFiles, .noun = "CPU File"},
    {.folder = layout::swEmu, .kind = KernelPart::Kind::Files, .inKernelLayout = true,
     .word = "sw-emu", .filesJson = "swEmuFiles", .listJson = "swEmuDir", .lineKey = "swEmuFile", .arrayKey = "swEmuFiles",
     .attribute = "SwEmu", .flag = &KernelPart::Entry::SwEmu, .isSet = &HKPKernel::getIsSwEmuDir, .set = &HKPKernel::setIsSwEmuDir,
     .root = &KernelPart::Explorer::getSwEmuFilesRoot, .list = &KernelPart::Explorer::getSwEmuFiles,
     .enter = &KernelPart::Extracted::addSwEmuFilesDir,
     .files = &KernelAddition::swEmuFiles, .noun = "sw_emu File"},
    {.folder = layout::pdi, .kind = KernelPart::Kind::Files, .byUpdate = true,
     .word = "pdi", .filesJson = "pdiFiles", .listJson = "pdiDir", .lineKey = "PdiFile", .arrayKey = "pdiFiles",
     .attribute = "Pdi", .flag = &KernelPart::Entry::Pdi, .isSet = &HKPKernel::getIsPdiDir, .set = &HKPKernel::setIsPdiDir,
     .root = &KernelPart::Explorer::getPdiFilesRoot, .list = &KernelPart::Explorer::getPdiFiles,
     .enter = &KernelPart::Extracted::addPdiFilesDir,
     .files = &KernelAddition::pdiFiles, .noun = "PDI File"},
    {.folder = layout::shimSoln, .kind = KernelPart::Kind::File, .byUpdate = true,
     .word = "shim", .filesJson = "shimSolnFile", .listJson = "shimSolnDir", .lineKey = "ShimSolnFile", .arrayKey = "shimSolnFile",
     .attribute = "ShimSoln", .flag = &KernelPart::Entry::ShimSoln, .isSet = &HKPKernel::getIsShimSolnDir, .set = &HKPKernel::setIsShimSolnDir,
     .root = &KernelPart::Explorer::getShimSolnFileRoot,
     .enter = &KernelPart::Extracted::addShimSolnFileDir,
     .path = &KernelAddition::shimSolnFile, .noun = "shim solution file"},
    {.folder = layout::debug, .kind = KernelPart::Kind::Directory,
     .word = "debug", .filesJson = "debugDir", .listJson = "debugDir", .lineKey = "containsDebugDir",
     .attribute = "Debug", .flag = &KernelPart::Entry::Debug, .isSet = &HKPKernel::getIsDebugDir, .set = &HKPKernel::setIsDebugDir,
     .root = &KernelPart::Explorer::getDebugRoot,
     .enter = &KernelPart::Extracted::addDebugDir,
     .path = &KernelAddition::debugDir, .missing = messages::Id<1>("@17-1650@%s"), .packaging = messages::Id<1>("@17-1651@%s")},
    {.folder = layout::hls, .kind = KernelPart::Kind::Directory,
     .word = "hls", .filesJson = "hlsDir", .listJson = "hlsDir", .lineKey = "containsHlsDir",
     .attribute = "Hls", .flag = &KernelPart::Entry::Hls, .isSet = &HKPKernel::getIsHlsDir, .set = &HKPKernel::setIsHlsDir,
     .root = &KernelPart::Explorer::getHlsRoot,
     .enter = &KernelPart::Extracted::addHlsDir,
     .path = &KernelAddition::hlsDir, .missing = messages::Id<1>("@17-1666@%s"), .packaging = messages::Id<1>("@17-1667@%s")},
};
// clang-format on
