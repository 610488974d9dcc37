#include "containers/kernel/HCOContainerKernelXMLReader.h"

#include "containers/design/Documents.h"
#include "containers/kernel/DescriptionReader.h"
#include "containers/kernel/KernelDefConversion.h"
#include "containers/kernel/PackageDocument.h"
#include "platform/files/HUTPathUtils.h"

void HCOContainerKernelXMLReader::parse() {
    if (root_) return;
    if (!version_) documents::requireFile(packagePath_);
    const std::string member = kernelName_ + HUTFile::getDirSeparator() + "kernel.xml";
    std::string document = readPackageDocument(packagePath_, member, version_);
    root_ =
        readDescription(packagePath_, HUTPathUtils::join(packagePath_, member),
                        [&](KernelXML::Root& root, const lmx60::UnknownListener& onUnknown) {
                            lmx60::readInto(&root, root.table, root.element, std::move(document), onUnknown);
                        });
}

const KernelXML::Root& HCOContainerKernelXMLReader::parsedRoot_() {
    if (!root_) parse();
    return *root_;
}

kfab::kernel::KernelDef HCOContainerKernelXMLReader::getKernelDef() {
    return kfab::kernel::convertToKernelDef(parsedRoot_());
}

std::string HCOContainerKernelXMLReader::getKernelLanguage() {
    return parsedRoot_().kernel.value().language.get();
}

bool HCOContainerKernelXMLReader::getDebug() {
    return kfab::kernel::isDebugKernel(parsedRoot_().kernel.value());
}

bool HCOContainerKernelXMLReader::isRtl() {
    return kfab::kernel::isRtlKernel(parsedRoot_().kernel.value());
}
