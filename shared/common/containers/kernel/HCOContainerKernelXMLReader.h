#pragma once

#include "containers/kernel/KernelDef.h"
#include "containers/kernel/KernelRecords.h"
#include "platform/base/Export.h"

#include <memory>
#include <string>
#include <utility>

class ArchiveSnapshot;

/// Reads the description of one kernel straight out of a package. It is read once, at the first question.
class KP_EXPORT HCOContainerKernelXMLReader {
public:
    /// @param version of the package; none for the one that is there when the description is read
    HCOContainerKernelXMLReader(const std::string& packagePath, const std::string& kernelName,
                                std::shared_ptr<const ArchiveSnapshot> version = nullptr)
        : packagePath_(packagePath), kernelName_(kernelName), version_(std::move(version)) {}

    /// Reads the description, unless that is done. Throws HEXFileNotFoundException when there is no package,
    /// std::ios_base::failure when it holds no readable member "<kernel name>/kernel.xml", HEXAll (with the
    /// error, the package's path and the line) when that is no valid description. What is not known is
    /// treated as by HCOKernelXMLReader.
    void parse();

    /// The parsed document, owned by the reader; none before a successful parse.
    const KernelXML::Root* getRoot() const { return root_.get(); }
    static void getKernel(const KernelXML::Root& root, KernelXML::Kernel& out) { out = root.kernel.value(); }

    kfab::kernel::KernelDef getKernelDef();
    /// Empty where the description has none.
    std::string getKernelLanguage();
    /// Whether the kernel was built for debugging: its "debug" is "true" in any case of letters.
    bool getDebug();
    /// Whether the kernel is packaged IP: its language is "ip" in any case of letters.
    bool isRtl();

private:
    const KernelXML::Root& parsedRoot_();

    std::string packagePath_;
    std::string kernelName_;
    std::shared_ptr<const ArchiveSnapshot> version_;
    std::unique_ptr<KernelXML::Root> root_;
};
