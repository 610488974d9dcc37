#include "containers/author/KernelRefused.h"
#include "containers/kp/PackageRefusals.h"
#include "platform/base/Exceptions.h"
#include "platform/messages/ComMsg.h"

#include <exception>
#include <string>
#include <utility>

#include "python/core/Parts.h"
#include "python/core/Text.h"

namespace kp_python {
namespace {

using namespace pybind11::literals;

void raise(const char* type, const std::exception& failure, const py::dict& attributes = {}) {
    std::string words = failure.what();
    while (words.ends_with('\n'))
        words.pop_back();
    const py::object error = py::module_::import("kernelpackage._errors").attr(type);
    PyErr_SetObject(error.ptr(), error(text(words), **attributes).ptr());
}

void raise(const HEXAll& failure) {
    const ComMsg& message = failure.message();
    const bool isDocument = message.id == "@17-132@%s%s%d";  // the error, the path and the line
    if (!isDocument) return raise("KernelPackageError", failure, py::dict("number"_a = message.number()));
    const py::object line = numberIn(message.arguments.at(2));
    raise("InvalidDocumentError", failure,
          py::dict("number"_a = message.number(), "path"_a = text(message.arguments.at(1)),
                   "line"_a = line.equal(py::int_(0)) ? py::none() : line));
}

/// The more special ones first.
void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const HEXInterrupted& failure) {
        PyErr_SetString(PyExc_KeyboardInterrupt, failure.what());
    } catch (const HEXAll& failure) {
        raise(failure);
    } catch (const HEXFileNotFoundException& failure) {
        raise("NotFoundError", failure, py::dict("path"_a = text(failure.getPath())));
    } catch (const HKPKernelNotFound& failure) {
        raise("KernelNotFoundError", failure);
    } catch (const HKPSealBroken& failure) {
        raise("SealBrokenError", failure);
    } catch (const HKPRefused& failure) {
        raise("RefusedError", failure);
    } catch (const kfab::author::KernelRefused& failure) {
        raise("RefusedError", failure);
    } catch (const std::runtime_error& failure) {
        // Python's own, and those that pybind11 knows, are of this family as well.
        if (dynamic_cast<const py::builtin_exception*>(&failure) != nullptr) throw;
        raise("KernelPackageError", failure);
    }
}

}  // namespace

void translateErrors() {
    py::register_exception_translator([](std::exception_ptr thrown) {
        if (thrown) translate(std::move(thrown));
    });
}

}  // namespace kp_python
