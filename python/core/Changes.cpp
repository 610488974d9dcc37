// Changes of packages, and extraction. As the command does, these lose nothing of a package unless they are
// told to.

#include "containers/explorer/ExplorerIface.h"
#include "containers/kp/HKPContainerUtils.h"
#include "containers/lint/Lint.h"
#include "platform/base/Exceptions.h"

#include <optional>
#include <string>
#include <vector>

#include "python/core/Operation.h"
#include "python/core/Parts.h"
#include "python/core/Records.h"

namespace kp_python {
namespace {

using kfab::kernel::ExplorerIface;

BrokenSeal brokenSeal(bool reseal) {
    return reseal ? BrokenSeal::Renew : BrokenSeal::Refuse;
}

void defineAddition(py::module_& module) {
    py::class_<KernelAddition>(module, "KernelAddition")
        .def(py::init<>())
        .def_readwrite("package", &KernelAddition::kpPath)
        .def_readwrite("kernel", &KernelAddition::kernelName)
        .def_readwrite("kernel_xml", &KernelAddition::kernelXmlPath)
        .def_readwrite("ip", &KernelAddition::ipDir)
        .def_readwrite("cpu_sources", &KernelAddition::cpuFiles)
        .def_readwrite("sw_emu", &KernelAddition::swEmuFiles)
        .def_readwrite("pdi", &KernelAddition::pdiFiles)
        .def_readwrite("shim", &KernelAddition::shimSolnFile)
        .def_readwrite("report", &KernelAddition::designXmlPath)
        .def_readwrite("ip_instance", &KernelAddition::ipInstanceFile)
        .def_readwrite("debug_dir", &KernelAddition::debugDir)
        .def_readwrite("hls_dir", &KernelAddition::hlsDir)
        .def_readwrite("project", &KernelAddition::projectID)
        .def_readwrite("top_ip", &KernelAddition::topIpDir)
        .def_readwrite("replace", &KernelAddition::replace)
        .def_readwrite("update", &KernelAddition::update)
        .def_property("jobs", nullptr,
                      [](KernelAddition& addition, std::size_t jobs) { addition.jobs = jobsOf(jobs); })
        .def_readwrite("check_version", &KernelAddition::checkVersion)
        .def_readwrite("replace_ip", &KernelAddition::changesOtherIps)
        .def_property("layout", nullptr,
                      [](KernelAddition& addition, const std::string& name) {
                          addition.ipRepoLayout = name != "kernel";
                          addition.otherLayout = name.empty() ? OtherLayout::Follow : OtherLayout::Refuse;
                      })
        .def_property("reseal", nullptr, [](KernelAddition& addition, bool reseal) {
            addition.brokenSeal = brokenSeal(reseal);
        });
}

bool saysMoreThanThatItReplaces(const ComMsg& message) {
    return !tellsOnlyOfReplacement(message);
}

void add(const KernelAddition& addition, const py::object& progress) {
    run(
        progress, [&] { HKPContainerUtils::addKernel(addition); },
        addition.replace ? saysMoreThanThatItReplaces : everything);
}

/// The addition itself posts what there is to say of its documents.
py::object lintAddition(const KernelAddition& addition) {
    return record(run(
        py::none(), [&] { return kfab::lint::lintAddition(addition); }, nothing));
}

void remove(const std::string& package, const std::vector<std::string>& kernels, bool reseal,
            const py::object& progress) {
    const KernelRemoval removal{package, kernels, brokenSeal(reseal)};
    run(progress, [&] {
        requireThere(package);
        HKPContainerUtils::removeKernels(removal);
    });
}

void merge(const std::string& package, const std::vector<std::string>& inputs, bool sort, bool checkVersion,
           bool reseal, std::size_t jobs, const py::object& progress) {
    const PackageJoin join{package, inputs, sort, checkVersion, brokenSeal(reseal), jobsOf(jobs)};
    run(progress, [&] {
        for (const std::string& input : inputs)
            requireThere(input);
        HKPContainerUtils::joinPackages(join);
    });
}

void addCaches(const std::string& package, const std::string& directory, bool reseal, std::size_t jobs,
               const py::object& progress) {
    const IpCacheAddition addition{package, directory, OtherLayout::Refuse, brokenSeal(reseal), jobsOf(jobs)};
    run(progress, [&] {
        requireThere(package);
        requireThere(directory);
        HKPContainerUtils::appendIPCacheDir(addition);
    });
}

struct Extracted {
    std::string name;
    ExtractedPlaces places;
};

Extracted extractedOf(const std::string& name, const ExplorerIface& explorer) {
    const ExtractedPlaces places = placesOf(name, explorer);
    if (places.root.empty())
        throw HEXAlgException("Kernel '" + name + "' was extracted, but its description in '" +
                              explorer.getRoot() + "' cannot be read");
    return {name, places};
}

std::vector<Extracted> extractKernels(KernelExtraction request, bool all) {
    requireThere(request.kpPath);
    if (!all) {
        const ExtractedKernel kernel = HKPContainerUtils::extractKernel(request);
        return {extractedOf(kernel.name, *kernel.explorer)};
    }
    HKPContainer container;
    request.version = HKPContainerUtils::openKPContainer_(request.kpPath, container);
    const auto explorer = HKPContainerUtils::extractAllKernels(request);
    std::vector<Extracted> extracted;
    const auto [first, last] = container.getKPKernelRange();
    for (auto kernel = first; kernel != last; ++kernel)
        extracted.push_back(extractedOf((*kernel)->getName(), *explorer));
    return extracted;
}

py::tuple extract(const std::string& package, const std::optional<std::string>& kernel,
                  const std::string& directory, bool ownIp, bool checkVersion, bool overwrite,
                  std::size_t jobs, const py::object& progress) {
    const KernelExtraction request{.kpPath = package,
                                   .kernelName = kernel.value_or(""),
                                   .destination = directory,
                                   .checkVersion = checkVersion,
                                   .replacesFiles = overwrite,
                                   .ownIp = ownIp,
                                   .jobs = jobsOf(jobs)};
    return tuple(run(progress, [&] { return extractKernels(request, !kernel); }),
                 [](const Extracted& extracted) {
                     return make("Extracted", "name"_a = text(extracted.name),
                                 "directory"_a = text(extracted.places.root),
                                 "ip_dir"_a = textOrNone(extracted.places.ip),
                                 "ip_cache_dir"_a = textOrNone(extracted.places.ipCache));
                 });
}

}  // namespace

void defineChanges(py::module_& module) {
    defineAddition(module);
    module.def("add", add);
    module.def("lint_addition", lintAddition);
    module.def("remove", remove);
    module.def("merge", merge);
    module.def("add_caches", addCaches);
    module.def("extract", extract);
}

}  // namespace kp_python
