#include "containers/kernel/HCOKernelXMLWriter.h"

#include "containers/design/Documents.h"

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
    if (root_ == nullptr) ComMsgMgr::raise("@17-1377@%s%s", {path, "there is no document"});
    HUTFile::ensureWritableDir(target);
    documents::writeFile(*root_, path);
}
