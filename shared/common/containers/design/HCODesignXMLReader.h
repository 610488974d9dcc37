#pragma once

#include "containers/design/ProfileParts.h"
#include "platform/base/Export.h"

#include <memory>
#include <string>

/// Reads a synthesis report from a file and hands out its parts.
class KP_EXPORT HCODesignXMLReader : public ProfileParts<DesignXML::Records> {
public:
    explicit HCODesignXMLReader(const std::string& path) : path_(path) {}

    /// Loads the report, unless that is done. Throws HEXFileNotFoundException when the path is empty or
    /// nothing is there, HEXAll (with the error, the path and the line) when it is no valid report.
    void parse();

    /// The parsed report, owned by the reader; none before a successful parse.
    const DesignXML::Profile* getProfile() const { return profile_.get(); }

private:
    std::string path_;
    std::unique_ptr<DesignXML::Profile> profile_;
};
