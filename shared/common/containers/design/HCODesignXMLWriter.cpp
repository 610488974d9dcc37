#include "containers/design/HCODesignXMLWriter.h"

#include "containers/design/Documents.h"

void HCODesignXMLWriter::writeFromKernelXML(const std::string& kernelXmlPath,
                                            const std::string& outPath) const {
    HCOKernelXMLReader reader(kernelXmlPath);
    const KernelXML::Profile* profile = reader.getProfile();
    if (profile == nullptr) return;
    DesignXML::Profile report;
    addProfile(reader, *profile, report);
    documents::writeFile(report, outPath);
}
