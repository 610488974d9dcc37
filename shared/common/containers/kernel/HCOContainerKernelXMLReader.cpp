#include "containers/kernel/HCOContainerKernelXMLReader.h"

#include "containers/design/Documents.h"
#include "containers/kernel/KernelDefConversion.h"
#include "containers/kernel/PackageDocument.h"
#include "platform/files/HUTFile.h"

void HCOContainerKernelXMLReader::parse() {
    if (packagePath_.empty() || !HUTFile::exists(packagePath_)) throw HEXFileNotFoundException(packagePath_);
    std::string document =
        readPackageDocument(packagePath_, kernelName_ + HUTFile::getDirSeparator() + "kernel.xml");
    try {
        root_ = std::make_unique<KernelXML::Root>(parsePackageDocument<KernelXML::Root>(std::move(document)));
    } catch (const lmx60::ReadError& error) {
        documents::raiseUnreadable(error, packagePath_);
    }
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
