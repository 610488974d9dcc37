// Questions about packages.

#include "containers/compare/Comparison.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/lint/Lint.h"
#include "containers/overview/Overview.h"
#include "containers/page/Page.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <optional>
#include <string>
#include <vector>

#include "python/core/Operation.h"
#include "python/core/Parts.h"
#include "python/core/Text.h"
#include <pybind11/stl.h>

namespace kp_python {
namespace {

using kfab::overview::ofPackage;
using KernelName = std::optional<std::string>;

py::tuple names(const std::string& package) {
    return texts(run([&] {
        requireThere(package);
        std::vector<std::string> found;
        HKPContainerUtils::getKernelNamesInKPContainer(package, found);
        return found;
    }));
}

py::object info(const std::string& package) {
    return record(
        run([&] { return ofPackage(package, {}, kfab::overview::Depth::Package); }).package.value());
}

/// All kernels, or the one that is named.
py::tuple kernels(const std::string& package, const KernelName& name) {
    const auto found = run([&] { return ofPackage(package, name, kfab::overview::Depth::Descriptions); });
    return tuple(found.kernels, [](const auto& each) { return record(each); });
}

py::tuple validate(const std::string& package, int flow) {
    return texts(run([&] {
        requireThere(package);
        std::vector<std::string> found;
        HKPContainerUtils::validateKPAndGetKernelNames(
            package, static_cast<HKPKernel::SupportedFlowType>(flow), found);
        return found;
    }));
}

py::tuple verify(const std::string& package, std::size_t jobs, const py::object& progress) {
    const auto found = run(progress, [&] { return PackageVerification::of(package, jobsOf(jobs)); });
    return py::make_tuple(text(PackageVerification::digestText(found.digest)), records(found));
}

py::object lint(const std::string& package, const KernelName& kernel) {
    return record(run([&] { return kfab::lint::lintPackage(package, kernel); }));
}

py::object compare(const std::string& old, const std::string& current, const KernelName& kernel) {
    return record(run([&] { return kfab::compare::comparePackages(old, current, kernel); }));
}

py::str page(const std::string& package, const KernelName& kernel) {
    return text(run([&] { return kfab::page::pageOf(ofPackage(package, kernel)); }));
}

/// None where the package has no such file.
py::object read(const std::string& package, const std::string& member) {
    const auto bytes = run([&]() -> std::optional<std::string> {
        requireThere(package);
        const auto archive = ArchiveSnapshot::open(package);
        const ArchiveEntry* entry = archive->find(member);
        if (entry == nullptr || entry->isDirectory()) return {};
        return archive->read(*entry);
    });
    return bytes ? py::object(py::bytes(*bytes)) : py::none();
}

}  // namespace

void defineReading(py::module_& module) {
    module.def("names", names);
    module.def("info", info);
    module.def("kernels", kernels);
    module.def("validate", validate);
    module.def("verify", verify);
    module.def("lint", lint);
    module.def("compare", compare);
    module.def("page", page);
    module.def("read", read);
}

}  // namespace kp_python
