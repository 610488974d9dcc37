#pragma once

#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/kp/HKPContainer.h"
#include "containers/kp/KernelAddition.h"
#include "containers/kp/KernelParts.h"
#include "platform/messages/Catalog.h"
#include "platform/zip/ArchiveEdit.h"

#include <memory>
#include <string>
#include <vector>

/// Stages one addition of a kernel into an edit of its package. Nothing is on disk until that is committed.
class KernelStaging {
public:
    /// What can be told before the package is looked at: throws, and posts.
    static void examine(const KernelAddition& request);

    /// The request and the edit must outlive this.
    KernelStaging(const KernelAddition& request, ArchiveEdit& edit) : request_(request), edit_(edit) {}

    void stage();
    /// Throws what stage() would before it looks at the kernel's files.
    void requirePlace();
    /// The kernel as it was staged; once.
    std::unique_ptr<HKPKernel> takeKernel();

private:
    using Files = std::vector<std::string>;
    using Flows = std::vector<HKPKernel::SupportedFlowType>;

    void openPackage();
    void chooseLayout();
    const HKPKernel* present_() const;
    void requireFreePlace() const;
    void requireChangeable(const HKPKernel& kernel) const;
    void requireOwnFolder(const std::string& folder) const;

    HKPKernel* stageUpdate(const HKPKernel& present);
    HKPKernel* stageWhole();
    void stageKernelXml(HCOKernelXMLReader& description);
    std::string stageIp(HCOKernelXMLReader& description);
    bool stagePart(const KernelPart& part);
    void stageFiles(const Files& files, const KernelPart& part);
    bool stageDirectory(const std::string& directory, const KernelPart& part);
    Flows flows(bool hasIp) const;

    const KernelAddition& request_;
    ArchiveEdit& edit_;
    HKPContainer container_;
    bool ipRepoLayout_ = true;
    std::string folder_;  ///< of the kernel, inside the package
};
