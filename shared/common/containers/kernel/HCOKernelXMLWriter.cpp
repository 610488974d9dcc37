#include "containers/kernel/HCOKernelXMLWriter.h"

#include "containers/design/Documents.h"

namespace {

std::string shownVersion(std::uint32_t major, std::uint32_t minor) {
    return std::to_string(major) + "." + std::to_string(minor);
}

std::string reasonAgainstRewriting(const KernelXML::Root& root) {
    return "the document is of version " + shownVersion(root.versionMajor.get(), root.versionMinor.get()) +
           ", later than " + shownVersion(root.knownMajor, root.knownMinor) +
           ", and holds what this software does not know";
}

}  // namespace

void HCOKernelXMLWriter::addCompileOptions(const std::string& options) {
    if (root_ == nullptr) return;
    KernelXML::Text& present = root_->kernel.getOrCreate().compileOptions;
    present.set(present.get().empty() ? options : present.get() + " " + options);
}

void HCOKernelXMLWriter::addDebug(const std::string& value) {
    if (root_ != nullptr) root_->kernel.getOrCreate().debug.set(value);
}

void HCOKernelXMLWriter::addProfileType(const std::string& value) {
    if (root_ != nullptr) root_->kernel.getOrCreate().profileType.set(value);
}

void HCOKernelXMLWriter::addDesignXML(const std::string& designXmlPath) {
    if (root_ == nullptr) return;
    root_->kernel.getOrCreate();
    HCODesignXMLReader reader(designXmlPath);
    reader.parse();
    const DesignXML::Profile* profile = reader.getProfile();
    if (profile != nullptr) addProfile(reader, *profile, root_->profile.getOrCreate());
}

void HCOKernelXMLWriter::write(const std::string& directory) const {
    const std::string target = directory.empty() ? "." : directory;
    const std::string path = target + "/" + "kernel.xml";
    const std::string document = text(path);
    if (!HUTFile::isDir(target)) HUTFile::ensureWritableDir(target);
    documents::writeFile(path, document);
}

std::string HCOKernelXMLWriter::text(const std::string& name) const {
    if (root_ == nullptr) documents::raiseUnwritable(name, "there is no document");
    if (root_->isIncomplete) documents::raiseUnwritable(name, reasonAgainstRewriting(*root_));
    return documents::textOf(*root_, name);
}
