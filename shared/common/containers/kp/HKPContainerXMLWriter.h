#pragma once

#include "containers/kp/HKPContainer.h"
#include "containers/kp/ManifestRecords.h"
#include "platform/base/Export.h"

#include <string>

class ArchiveEdit;

/// Writes a container as the manifest of a package.
class KP_EXPORT HKPContainerXMLWriter {
public:
    /// The container must outlive the writer.
    HKPContainerXMLWriter(const HKPContainer& container, const std::string& path)
        : container_(container), path_(path) {}

    /// Replaces the manifest of the package, in one edit of it. The format version becomes 6.0, or 2.0 when
    /// `ipRepoLayout` is false, whatever the container holds; the software version is the running one's.
    ///
    /// Throws HXMLException when the package cannot be opened for writing, HEXAll when it cannot be replaced
    /// (17-1310) or when the container makes no document that can be read (17-1377), std::invalid_argument or
    /// std::out_of_range for an unusable software version.
    void writeKPContainer(bool ipRepoLayout) const;
    /// The major number of the format that a layout gets.
    static std::uint32_t formatMajor(bool ipRepoLayout);
    /// Stages the manifest as a part of a larger edit of the package.
    void writeKPContainer(bool ipRepoLayout, ArchiveEdit& edit) const;

private:
    std::string document_(bool ipRepoLayout) const;
    void writeRoot_(KPContainer::Root& root) const;
    void writeSupportedFlows_(const HKPKernel& kernel, KPContainer::SupportedFlows& flows) const;

    const HKPContainer& container_;
    std::string path_;
};
