#include "containers/design/HCODesignXMLWriter.h"

#include "containers/design/Documents.h"

void HCODesignXMLWriter::writeFromKernelXML(const std::string& kernelXmlPath,
                                            const std::string& outPath) const {
    HCOKernelXMLReader description(kernelXmlPath);
    writeFromKernelXML(description, outPath);
}

void HCODesignXMLWriter::writeFromKernelXML(HCOKernelXMLReader& description,
                                            const std::string& outPath) const {
    const std::string report = textFromKernelXML(description, outPath);
    if (!report.empty()) documents::writeFile(outPath, report);
}

std::string HCODesignXMLWriter::textFromKernelXML(HCOKernelXMLReader& description,
                                                  const std::string& name) const {
    const KernelXML::Profile* profile = description.getProfile();
    if (profile == nullptr) return {};
    DesignXML::Profile report;
    addProfile(description, *profile, report);
    return documents::textOf(report, name);
}
