// Descriptions of kernels that are not in a package.

#include "containers/author/KernelAuthor.h"
#include "containers/ip/ComponentReader.h"
#include "containers/kernel/HCOKernelXMLReader.h"
#include "containers/lint/Lint.h"
#include "containers/overview/Overview.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/Writer.h"

#include <cstdint>
#include <map>
#include <string>

#include "python/core/Operation.h"
#include "python/core/Parts.h"
#include "python/core/Records.h"

namespace kp_python {
namespace {

using kfab::author::KernelRequest;

py::object kernelIn(const std::string& name, const std::string& document) {
    return record(run([&] { return kfab::overview::ofDocument(name, document); }).kernels.front());
}

/// The name of the kernel that a description is of.
py::bytes nameIn(const std::string& kernelXml) {
    return py::bytes(run([&] { return HCOKernelXMLReader(kernelXml).getKernelName(); }));
}

/// The document, and the kernel that it describes.
py::tuple loadDescription(const std::string& path) {
    const auto document = run([&] {
        requireThere(path);
        return HUTFile::readFile(path);
    });
    return py::make_tuple(py::bytes(document), kernelIn(path, document));
}

/// As loadDescription, and which offsets were assumed.
py::tuple newDescription(const std::string& ip, const KernelRequest& request) {
    const auto made = run([&] {
        const bool isDirectory = HUTFile::isDir(ip);
        return kfab::author::describeKernel(
            kfab::ip::readComponent(isDirectory ? HUTPathUtils::join(ip, "component.xml") : ip), request);
    });
    const std::string document = lmx60::toString(made.description);
    py::dict assumed;
    for (const auto& [argument, offset] : made.assumed)
        assumed[text(argument)] = offset;
    return py::make_tuple(py::bytes(document), kernelIn("kernel.xml", document), assumed);
}

void saveDescription(const std::string& path, const std::string& document, bool overwrite) {
    run([&] {
        if (!overwrite && HUTFile::exists(path))
            throw kfab::author::KernelRefused("'" + path + "' is there already; overwrite=True replaces it");
        HUTFile::writeFile(path, document);
    });
}

py::object lintDescription(const std::string& kernelXml, const std::string& ip, const std::string& report) {
    return record(run([&] { return kfab::lint::lintKernel({kernelXml, ip, report}); }));
}

}  // namespace

void defineDescriptions(py::module_& module) {
    py::class_<KernelRequest>(module, "KernelRequest")
        .def(py::init<>())
        .def_readwrite("prototype", &KernelRequest::prototype)
        .def_readwrite("name", &KernelRequest::name)
        .def_readwrite("ports", &KernelRequest::ports)
        .def_readwrite("offsets", &KernelRequest::offsets)
        .def_readwrite("sizes", &KernelRequest::sizes)
        .def_readwrite("language", &KernelRequest::language)
        .def_readwrite("protocol", &KernelRequest::protocol)
        .def_readwrite("interrupt", &KernelRequest::interrupt);
    module.def("name_in", nameIn);
    module.def("load_description", loadDescription);
    module.def("new_description", newDescription);
    module.def("save_description", saveDescription);
    module.def("lint_description", lintDescription);
}

}  // namespace kp_python
