#pragma once

#include "containers/kernel/HCOContainerKernelXMLReader.h"
#include "containers/kp/HKPContainer.h"
#include "containers/kp/ManifestRecords.h"
#include "platform/base/Export.h"
#include "platform/xml/ElementTree.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

class ArchiveSnapshot;

/// Reads the manifest of a package into a container. Its path is that of the package or of a manifest that is
/// a file of its own; descriptions of kernels are read from packages only.
class KP_EXPORT HKPContainerXMLReader {
public:
    /// The container must outlive the reader.
    /// @param version of the package; none for what is at the path when it is read
    HKPContainerXMLReader(const std::string& path, HKPContainer& container,
                          std::shared_ptr<const ArchiveSnapshot> version = nullptr)
        : path_(path), container_(container), version_(std::move(version)) {}

    /// Fills the container: versions, IP caches, and each kernel, with its language and debug flag from its
    /// own description inside the package. Of kernels whose names differ only in case the last one stays.
    ///
    /// Elements and attributes that are not known, and flows that are not, are posted and passed over. Throws
    /// HEXAlgException when the package is no readable archive or lacks the manifest, std::ios_base::failure
    /// when it lacks the description of a kernel, HEXAll (with the error, the package's path and the line)
    /// when one of them is not valid.
    void parseKPContainer();

    using OnDescription =
        std::function<void(const std::string& kernelName, HCOContainerKernelXMLReader& description)>;
    /// As parseKPContainer. Also hands over each description, which is read in any case: once for a name,
    /// however many entries have it, in the manifest's order.
    /// @return the version of the package that was read; none when the manifest is a file of its own
    std::shared_ptr<const ArchiveSnapshot> parsePackage(const OnDescription& onDescription = {});

    /// As parseKPContainer, but a description that is missing or cannot be read is as one that says nothing.
    void parseEntries();

    /// The manifest alone, as its document has it. Throws what parseKPContainer throws, but looks at no
    /// description.
    /// @param version of the package; none for what is at the path
    /// @param tree a new one, which takes the document in as well, with its lines; none unless given
    static KPContainer::Root readManifest(const std::string& path,
                                          const std::shared_ptr<const ArchiveSnapshot>& version = nullptr,
                                          lmx60::ElementTree* tree = nullptr);

private:
    /// What the container keeps of a kernel's description.
    struct Described {
        bool isDebug;
        bool isRtl;
    };
    using Package = std::shared_ptr<const ArchiveSnapshot>;
    using Describe = std::function<Described(const std::string& kernelName)>;

    Package parse_(const std::function<Described(const std::string& kernelName, const Package&)>& describe);
    Described describe_(const std::string& kernelName, const Package& package,
                        const OnDescription& onDescription = {}) const;
    void parseRoot_(const KPContainer::Root& root, const Describe& describe);
    void parseKPKernels_(const KPContainer::Kernels& kernels, const Describe& describe);
    std::vector<HKPKernel::SupportedFlowType> parseSupportedFlows_(const KPContainer::SupportedFlows& flows);
    void parseKPIpCaches_(const KPContainer::IpCaches& caches);

    std::string path_;
    HKPContainer& container_;
    std::shared_ptr<const ArchiveSnapshot> version_;
};
