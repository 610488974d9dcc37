#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pybind11/pybind11.h>

/// Texts of the library as Python has them. Bytes that are no UTF-8 become lone surrogates, as in the names
/// of files, and are given back as these bytes.
namespace kp_python {

namespace py = pybind11;

py::str text(std::string_view bytes);
/// None for an empty text.
py::object textOrNone(const std::string& bytes);
/// The number that is the whole text; none for what is no number.
py::object numberIn(const std::string& bytes);

template <class T>
py::object orNone(const std::optional<T>& value) {
    return value ? py::cast(*value) : py::none();
}

template <class Items, class Convert>
py::tuple tuple(const Items& items, const Convert& convert) {
    py::list all;
    for (const auto& item : items)
        all.append(convert(item));
    return py::tuple(all);
}

inline py::tuple texts(const std::vector<std::string>& items) {
    return tuple(items, text);
}

}  // namespace kp_python
