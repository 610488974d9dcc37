// Customizing kernels in a host's shell.

#include "containers/customizer/KernelCustomization.h"
#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>

#include "python/core/Operation.h"
#include "python/core/Parts.h"
#include <pybind11/stl.h>

namespace kp_python {
namespace {

using kfab::kernel::CustomizationRun;
using kfab::kernel::KernelCustomization;

/// For as long as it lives no other customization runs: Tcl serves one thread at a time.
std::unique_lock<std::timed_mutex> turn() {
    static std::timed_mutex running;
    std::unique_lock lock(running, std::defer_lock);
    while (!lock.try_lock_for(std::chrono::milliseconds(20)))
        HUTInterrupt::check();
    return lock;
}

void customize(const KernelCustomization& request, const py::object& progress) {
    run(progress, [&] {
        const auto lock = turn();
        requireThere(request.package);
        const std::string failure = CustomizationRun(request).run();
        if (!failure.empty()) throw HEXAlgException(failure);
    });
}

void setParams(KernelCustomization& request, const std::map<std::string, std::string>& params) {
    for (const auto& [name, value] : params)
        request.params[name] = {value, "params"};
}

}  // namespace

void defineCustomization(py::module_& module) {
    py::class_<KernelCustomization>(module, "KernelCustomization")
        .def(py::init<>())
        .def_readwrite("package", &KernelCustomization::package)
        .def_readwrite("kernel", &KernelCustomization::kernel)
        .def_readwrite("name", &KernelCustomization::name)
        .def_readwrite("output", &KernelCustomization::output)
        .def_readwrite("board", &KernelCustomization::board)
        .def_readwrite("host_scripts", &KernelCustomization::hostScripts)
        .def_readwrite("tcl_shell", &KernelCustomization::tclShell)
        .def_readwrite("replace_ip", &KernelCustomization::replacesIp)
        .def_readwrite("reseal", &KernelCustomization::renewsSeals)
        .def_property("jobs", nullptr,
                      [](KernelCustomization& request, std::size_t jobs) { request.jobs = jobsOf(jobs); })
        .def_property("params", nullptr, setParams);
    module.def("customize", customize);
}

}  // namespace kp_python
