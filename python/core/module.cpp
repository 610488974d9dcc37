// The compiled half of the Python module `kernelpackage`: the library's operations and records, without the
// ways of the language, which the other half adds. Paths and names come as bytes.

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/params/UsableCores.h"

#include "python/core/Operation.h"
#include "python/core/Parts.h"

void kp_python::requireThere(const std::string& path) {
    if (!HUTFile::exists(path)) throw HEXFileNotFoundException(path);
}

std::size_t kp_python::jobsOf(std::size_t given) {
    return given == 0 ? usableCores() : given;
}

PYBIND11_MODULE(_core, module) {
    using namespace kp_python;
    translateErrors();
    defineReading(module);
    defineChanges(module);
    defineDescriptions(module);
    defineCustomization(module);
    Operation::takeMessages();
    module.def("end_all", Operation::endAll);
}
