#pragma once

#include "containers/compare/Comparison.h"
#include "containers/kp/PackageVerification.h"
#include "containers/lint/Outcome.h"
#include "containers/overview/Records.h"

#include <cstddef>
#include <string>

#include <pybind11/pybind11.h>

/// What the module is made of.
namespace kp_python {

namespace py = pybind11;

/// Records of the library as those of Python, which `kernelpackage._records` defines.
/// @{
py::object record(const kfab::overview::Package& package);
py::object record(const kfab::overview::Kernel& kernel);
py::object record(const kfab::lint::Outcome& outcome);
py::object record(const kfab::compare::Comparison& comparison);
py::tuple records(const PackageVerification& verification);
/// @}

/// Throws HEXFileNotFoundException where nothing is at the path.
void requireThere(const std::string& path);

/// As many threads as are given, for 0 all usable cores.
std::size_t jobsOf(std::size_t given);

/// What the library throws becomes the exceptions of `kernelpackage._errors`.
void translateErrors();

void defineReading(py::module_& module);
void defineChanges(py::module_& module);
void defineDescriptions(py::module_& module);
void defineCustomization(py::module_& module);

}  // namespace kp_python
