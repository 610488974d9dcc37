#pragma once

#include <utility>

#include "python/core/Text.h"
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace kp_python {

using namespace pybind11::literals;

/// A record of `kernelpackage._records`, which refuses other fields than its own.
template <class... Fields>
py::object make(const char* type, Fields&&... fields) {
    return py::module_::import("kernelpackage._records").attr(type)(std::forward<Fields>(fields)...);
}

}  // namespace kp_python
