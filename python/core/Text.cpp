#include "python/core/Text.h"

#include <charconv>

namespace kp_python {

py::str text(std::string_view bytes) {
    PyObject* decoded =
        PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
    if (decoded == nullptr) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(decoded);
}

py::object textOrNone(const std::string& bytes) {
    return bytes.empty() ? py::object(py::none()) : text(bytes);
}

py::object numberIn(const std::string& bytes) {
    std::uint64_t number = 0;
    const char* last = bytes.data() + bytes.size();
    const auto [end, error] = std::from_chars(bytes.data(), last, number);
    if (error != std::errc() || end != last || bytes.empty()) return py::none();
    return py::int_(number);
}

}  // namespace kp_python
