#pragma once

#include "containers/design/ProfileCopy.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "platform/base/Export.h"

#include <string>

/// Writes the profile of a kernel description as a report of its own. Its add operations append parts of the
/// description's profile to those of the report.
class KP_EXPORT HCODesignXMLWriter : public ProfileCopy<HCOKernelXMLReader> {
public:
    /// Writes nothing when the description has no profile. Throws what HCOKernelXMLReader::parse throws, and
    /// HEXAll when the report cannot be written; a report that was there is then as before.
    void writeFromKernelXML(const std::string& kernelXmlPath, const std::string& outPath) const;
};
