#pragma once

#include "containers/design/ProfileCopy.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "platform/base/Export.h"

#include <string>

/// Writes the profile of a kernel description as a report of its own. Its add operations append parts of the
/// description's profile to those of the report.
class KP_EXPORT HCODesignXMLWriter
    : public ProfileCopy<HCOKernelXMLReader, KernelXML::Records, DesignXML::Records> {
public:
    /// Writes nothing when the description has no profile. Throws what HCOKernelXMLReader::parse throws, and
    /// HEXAll when the report cannot be written; a report that was there is then as before.
    /// @{
    void writeFromKernelXML(const std::string& kernelXmlPath, const std::string& outPath) const;
    void writeFromKernelXML(HCOKernelXMLReader& description, const std::string& outPath) const;
    /// @}

    /// The report as a text, empty when the description has no profile. The name stands for it in the message
    /// of a failure.
    std::string textFromKernelXML(HCOKernelXMLReader& description,
                                  const std::string& name = "design.xml") const;
};
