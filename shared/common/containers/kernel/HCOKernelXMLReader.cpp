#include "containers/kernel/HCOKernelXMLReader.h"

#include "containers/design/Documents.h"
#include "containers/kernel/DescriptionReader.h"
#include "containers/kernel/KernelDefConversion.h"
#include "platform/base/HSTStringUtils.h"

#include <algorithm>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

void HCOKernelXMLReader::parse() {
    if (root_) return;
    documents::requireFile(file_);
    root_ =
        readDescription(file_, file_, [&](KernelXML::Root& root, const lmx60::UnknownListener& onUnknown) {
            lmx60::readFileInto(&root, root.table, root.element, file_, onUnknown);
        });
}

const KernelXML::Root& HCOKernelXMLReader::parsedRoot_() {
    if (!root_) parse();
    return *root_;
}

kfab::kernel::KernelDef HCOKernelXMLReader::getKernelDef() {
    return convertToKernelDef(&parsedRoot_());
}

kfab::kernel::KernelDef HCOKernelXMLReader::convertToKernelDef(const KernelXML::Root* root) {
    if (root == nullptr) return {};
    return kfab::kernel::convertToKernelDef(*root);
}

std::string HCOKernelXMLReader::getKernelNameFromVlnv() {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, getKernelVlnv(), boost::algorithm::is_any_of(":"));
    return fields.size() == 4 ? fields[2] : std::string();
}

std::string HCOKernelXMLReader::getKernelVlnvReplaced_() {
    std::string replaced = getKernelVlnv();
    std::replace_if(
        replaced.begin(), replaced.end(), [](char c) { return c == '.' || c == ':'; }, '_');
    return replaced;
}

void HCOKernelXMLReader::doGetPorts(const std::string& mode, std::vector<std::string>& out) {
    const bool all = HSTStringUtils::equalsIgnoreCase(mode, "all");
    for (const KernelXML::Port& port : kernel_().ports.port) {
        if (all || HSTStringUtils::equalsIgnoreCase(port.mode.get(), mode)) out.push_back(port.name.get());
    }
}

const KernelXML::Profile* HCOKernelXMLReader::getProfile() {
    const KernelXML::Root& root = parsedRoot_();
    return root.profile ? &*root.profile : nullptr;
}
