#pragma once

#include "containers/design/HCODesignXMLReader.h"
#include "containers/design/ProfileCopy.h"
#include "containers/kernel/KernelRecords.h"
#include "platform/base/Export.h"

#include <string>

/// Edits a kernel description in place and writes it as a file. Its add operations on parts of a profile
/// append those of a report to those of the description.
class KP_EXPORT HCOKernelXMLWriter
    : public ProfileCopy<HCODesignXMLReader, DesignXML::Records, KernelXML::Records> {
public:
    /// The document stays the caller's and must outlive the writer. With none, every addition does nothing.
    explicit HCOKernelXMLWriter(KernelXML::Root* root) : root_(root) {}

    /// Appends to the options that are there, after one blank. Empty options leave that blank at the end.
    void addCompileOptions(const std::string& options);
    /// Replaces the debug flag.
    void addDebug(const std::string& value);
    /// Replaces the kind of profiling instrumentation.
    void addProfileType(const std::string& value);

    /// Appends the profile of a report to the document's. Throws what HCODesignXMLReader::parse throws.
    void addDesignXML(const std::string& designXmlPath);

    /// Writes `directory`/kernel.xml, as a whole or not at all, and creates the directory where missing; an
    /// empty one stands for the working directory. Throws HEXAll when the file cannot be written, with the
    /// system's reason, and as text() does, then before a directory is made; HEXAlgException when the
    /// directory cannot be created.
    void write(const std::string& directory) const;

    /// The document as a text. Throws HEXAll when it is not valid, when it is larger or deeper than can be
    /// read, and when it came from a document of a later version that held more than is known. The name
    /// stands for it in the message.
    std::string text(const std::string& name = "kernel.xml") const;

private:
    KernelXML::Root* root_;
};
