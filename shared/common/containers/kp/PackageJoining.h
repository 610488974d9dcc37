#pragma once

#include "containers/kp/HKPContainer.h"
#include "containers/kp/KernelPlaces.h"
#include "containers/kp/PackageJoin.h"
#include "containers/kp/SharedFolders.h"
#include "platform/zip/ArchiveEdit.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <sys/types.h>

/// Stages the joining of packages into an edit of the new one. Nothing is on disk until that is committed.
///
/// The order of the members follows from their names and the order of the kernels alone: first the kernels'
/// descriptions, for readers take the first one that they find; then each kernel's other files, then what
/// kernels share, each by name; last the manifest, as old as the youngest other member.
class PackageJoining {
public:
    /// The request and the edit must outlive this.
    PackageJoining(const PackageJoin& request, ArchiveEdit& edit) : request_(request), edit_(edit) {}

    void stage();
    /// The kernels as they were staged; once.
    std::vector<std::unique_ptr<HKPKernel>> takeKernels();

private:
    /// One version of a package that is joined.
    struct Input {
        explicit Input(const std::string& path) : path(path), archive(ArchiveSnapshot::open(path)) {}

        std::string path;
        std::shared_ptr<const ArchiveSnapshot> archive;
        HKPContainer container;
        std::vector<bool> isTaken;  ///< by position in the archive
    };
    struct Kernel {
        std::unique_ptr<HKPKernel> entry;
        const Input* input;
        std::vector<std::uint32_t> members = {};  ///< by name
    };

    void open(const std::string& path);
    void requireFitting(const Input& input);
    void collectShared(Input& input, SharedFolders& shared);
    void collectKernels(Input& input);
    void requireNewName(const Kernel& kernel);
    void takeFolders(Kernel& kernel, Input& input);
    void takeFolder(Kernel& kernel, Input& input, const std::string& folder);
    void tellWhatIsLeft(const Input& input) const;
    void stageKernels();

    const PackageJoin& request_;
    ArchiveEdit& edit_;
    std::vector<std::unique_ptr<Input>> inputs_;
    std::map<std::pair<dev_t, ino_t>, const Input*> inputOfFile_;
    bool isSealed_ = true;
    std::vector<Kernel> kernels_;
    std::unordered_map<std::string, const Input*> inputOfName_;  ///< by the name of a kernel in lower case
    TakenFolders folders_;
    std::vector<std::string> ipCaches_;
    HKPContainer container_;
};
