// What there is to show of packages and kernels, as Python's records.

#include "containers/explorer/KernelLayout.h"
#include "containers/kp/PackageLayout.h"

#include <array>

#include "python/core/Parts.h"
#include "python/core/Records.h"

namespace kp_python {
namespace {

using namespace kfab::overview;

py::object convert(const kfab::lint::PortFacts& port);
py::object convert(const Argument& argument);
py::object convert(const AddressMap& map);
py::object convert(const Stretch& stretch);
py::object convert(const Module& module);
py::object convert(const Instance& instance);
py::object convert(const Fifo& fifo);
py::object convert(const File& file);

template <class Items>
py::tuple all(const Items& items) {
    return tuple(items, [](const auto& item) { return convert(item); });
}

std::string versionText(std::uint64_t major, std::uint64_t minor) {
    return std::to_string(major) + "." + std::to_string(minor);
}

py::object utc(std::time_t time) {
    const py::module_ datetime = py::module_::import("datetime");
    return datetime.attr("datetime").attr("fromtimestamp")(time, datetime.attr("timezone").attr("utc"));
}

/// None as well for what is no number, which lint finds.
py::object number(const NumberText& number) {
    return orNone(number.value);
}

py::object convert(const kfab::lint::PortFacts& port) {
    return make("Port", "name"_a = text(port.name), "mode"_a = text(port.mode),
                "port_type"_a = text(port.type), "data_width"_a = number(port.dataWidth),
                "range"_a = number(port.range), "base"_a = number(port.base), "line"_a = port.line);
}

py::object convert(const Argument& argument) {
    constexpr std::array words = {"value", "pointer", "stream", "unknown"};
    return make("Argument", "id"_a = number(argument.id), "name"_a = text(argument.name),
                "type"_a = textOrNone(argument.type),
                "passing"_a = words.at(static_cast<std::size_t>(argument.passing)),
                "port"_a = textOrNone(argument.port), "offset"_a = number(argument.offset),
                "size"_a = number(argument.size), "host_offset"_a = number(argument.hostOffset),
                "host_size"_a = number(argument.hostSize));
}

py::object convert(const AddressMap& map) {
    return make("AddressMap", "port"_a = text(map.port), "range"_a = orNone(map.range),
                "stretches"_a = all(map.stretches));
}

py::object convert(const Stretch& stretch) {
    constexpr std::array uses = {"control", "value", "pointer", "gap"};
    return make("Stretch", "use"_a = uses.at(static_cast<std::size_t>(stretch.use)),
                "offset"_a = stretch.offset, "size"_a = stretch.size,
                "argument"_a = textOrNone(stretch.argument), "through"_a = textOrNone(stretch.through),
                "shared"_a = stretch.shared, "is_beyond"_a = stretch.isBeyond);
}

py::object convert(const Timing& timing) {
    return make("Timing", "target"_a = orNone(timing.target), "uncertainty"_a = orNone(timing.uncertainty),
                "estimated"_a = orNone(timing.estimated), "is_met"_a = orNone(timing.isMet()));
}

py::object convert(const Latency::Case& latency) {
    return make("LatencyCase", "cycles"_a = numberIn(latency.cycles), "time"_a = textOrNone(latency.time));
}

py::object convert(const Latency& latency) {
    return make("Latency", "best"_a = convert(latency.best), "average"_a = convert(latency.average),
                "worst"_a = convert(latency.worst), "interval"_a = numberIn(latency.interval),
                "pipeline"_a = textOrNone(latency.pipeline));
}

py::object convert(const Resources& resources) {
    return make("Resources", "lut"_a = orNone(resources.lut), "ff"_a = orNone(resources.ff),
                "bram"_a = orNone(resources.bram), "dsp"_a = orNone(resources.dsp),
                "uram"_a = orNone(resources.uram), "slice"_a = orNone(resources.slice));
}

py::object convert(const Module& module) {
    return make("Module", "name"_a = text(module.name), "timing"_a = convert(module.timing),
                "latency"_a = module.latency ? convert(*module.latency) : py::none(),
                "resources"_a = convert(module.resources));
}

py::object convert(const Instance& instance) {
    return make("Instance", "level"_a = instance.level, "name"_a = textOrNone(instance.name),
                "module"_a = text(instance.moduleName), "id"_a = textOrNone(instance.id));
}

py::object convert(const Fifo& fifo) {
    return make("Fifo", "name"_a = text(fifo.name), "parent"_a = textOrNone(fifo.parent),
                "static_depth"_a = numberIn(fifo.staticDepth),
                "runtime_depth"_a = numberIn(fifo.runtimeDepth), "ends"_a = texts(fifo.ends));
}

py::object convert(const Report& report) {
    return make("Profile", "top"_a = report.top() == nullptr ? py::none() : convert(*report.top()),
                "modules"_a = all(report.modules), "instances"_a = all(report.instances),
                "fifos"_a = all(report.fifos));
}

py::object convert(const File& file) {
    return make("File", "part"_a = text(file.part), "name"_a = text(file.name), "size"_a = file.size,
                "stored_size"_a = file.storedSize);
}

py::object convert(const Entry& entry) {
    return make("Entry", "directory"_a = text(entry.folder), "ip"_a = textOrNone(entry.ip),
                "top_ip_dir"_a = textOrNone(entry.topIp), "project_id"_a = textOrNone(entry.project),
                "flows"_a = texts(entry.flows));
}

py::object descriptionOf(const Kernel& kernel) {
    return make("Description", "version"_a = versionText(kernel.versionMajor, kernel.versionMinor),
                "vlnv"_a = textOrNone(kernel.vlnv), "language"_a = textOrNone(kernel.language),
                "control_protocol"_a = textOrNone(kernel.protocol),
                "interrupt"_a = textOrNone(kernel.interrupt), "debug"_a = textOrNone(kernel.debug),
                "ports"_a = all(kernel.ports), "address_maps"_a = all(kernel.maps),
                "arguments"_a = all(kernel.arguments),
                "profile"_a = kernel.report ? convert(*kernel.report) : py::none());
}

}  // namespace

py::object record(const Package& package) {
    return make("PackageInfo", "path"_a = text(package.path), "size"_a = package.size,
                "files"_a = package.fileCount, "content_size"_a = package.contentSize,
                "format_version"_a = versionText(package.formatMajor, package.formatMinor),
                "layout"_a = layout::name(layout::hasRepository(package.formatMajor)),
                "software_version"_a = versionText(package.softwareMajor, package.softwareMinor),
                "written"_a = utc(package.written),
                "digest"_a = text(PackageVerification::digestText(package.digest)),
                "seal"_a = textOrNone(package.seal), "ip_caches"_a = texts(package.ipCaches));
}

py::object record(const Kernel& kernel) {
    const bool isReadable = kernel.problem.empty();
    return make("Kernel", "name"_a = text(kernel.name), "document"_a = text(kernel.document),
                "entry"_a = kernel.entry ? convert(*kernel.entry) : py::none(),
                "problem"_a = textOrNone(kernel.problem),
                "description"_a = isReadable ? descriptionOf(kernel) : py::none(),
                "files"_a = all(kernel.files));
}

}  // namespace kp_python
