#include "cli/LintOutput.h"
#include "cli/Output.h"
#include "cli/ShowOutput.h"
#include "containers/explorer/KernelLayout.h"
#include "containers/kp/PackageLayout.h"
#include "containers/kp/PackageVerification.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <nlohmann/json.hpp>

namespace cli {
namespace {

using namespace kfab::overview;
using Json = nlohmann::ordered_json;

template <class Items, class Describe>
Json list(const Items& items, const Describe& describe) {
    Json all = Json::array();
    for (const auto& item : items)
        all.push_back(describe(item));
    return all;
}

template <class T>
Json orNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(jsonText(text));
}

/// A number; the text that is none; nothing where none is given.
Json describe(const NumberText& number) {
    return number.value ? Json(*number.value) : textOrNull(number.text);
}

/// A text of a report as the number that it is.
Json figure(const std::string& text) {
    std::uint64_t number{};
    const char* const whole = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), whole, number);
    if (error == std::errc() && end == whole) return number;
    return textOrNull(text);
}

Json describe(const Package& package) {
    return {{"path", jsonText(package.path)},
            {"size", package.size},
            {"files", package.fileCount},
            {"contentSize", package.contentSize},
            {"formatVersion", versionText(package.formatMajor, package.formatMinor)},
            {"layout", layout::name(layout::hasRepository(package.formatMajor))},
            {"softwareVersion", versionText(package.softwareMajor, package.softwareMinor)},
            {"written", timeText(package.written, "%Y-%m-%dT%H:%M:%SZ")},
            {"digest", PackageVerification::digestText(package.digest)},
            {"seal", textOrNull(package.seal)},
            {"ipCaches", list(package.ipCaches, jsonText)}};
}

Json describe(const Entry& entry) {
    return {{"directory", jsonText(entry.folder)},
            {"ip", textOrNull(entry.ip)},
            {"topIpDir", textOrNull(entry.topIp)},
            {"projectId", textOrNull(entry.project)},
            {"flows", entry.flows}};
}

Json describe(const kfab::lint::PortFacts& port) {
    return {{"name", jsonText(port.name)},
            {"mode", jsonText(port.mode)},
            {"portType", jsonText(port.type)},
            {"dataWidth", describe(port.dataWidth)},
            {"range", describe(port.range)},
            {"base", describe(port.base)},
            {"line", port.line}};
}

const char* word(Passing passing) {
    constexpr std::array words = {"value", "pointer", "stream", "unknown"};
    return words.at(static_cast<std::size_t>(passing));
}

Json describe(const Argument& argument) {
    return {{"id", describe(argument.id)},
            {"name", jsonText(argument.name)},
            {"type", textOrNull(argument.type)},
            {"passing", word(argument.passing)},
            {"port", textOrNull(argument.port)},
            {"offset", describe(argument.offset)},
            {"size", describe(argument.size)},
            {"hostOffset", describe(argument.hostOffset)},
            {"hostSize", describe(argument.hostSize)}};
}

Json describe(const Stretch& stretch) {
    constexpr std::array uses = {"control", "value", "pointer", "gap"};
    return {{"use", uses.at(static_cast<std::size_t>(stretch.use))},
            {"offset", stretch.offset},
            {"size", stretch.size},
            {"argument", textOrNull(stretch.argument)},
            {"through", textOrNull(stretch.through)},
            {"shared", stretch.shared},
            {"isBeyond", stretch.isBeyond}};
}

Json describe(const AddressMap& map) {
    return {{"port", jsonText(map.port)},
            {"range", orNull(map.range)},
            {"stretches", list(map.stretches, [](const Stretch& stretch) { return describe(stretch); })}};
}

Json describe(const Timing& timing) {
    return {{"target", orNull(timing.target)},
            {"uncertainty", orNull(timing.uncertainty)},
            {"estimated", orNull(timing.estimated)},
            {"isMet", orNull(timing.isMet())}};
}

Json describe(const Latency& latency) {
    const auto describeCase = [](const Latency::Case& which) {
        return Json{{"cycles", figure(which.cycles)}, {"time", textOrNull(which.time)}};
    };
    return {{"best", describeCase(latency.best)},
            {"average", describeCase(latency.average)},
            {"worst", describeCase(latency.worst)},
            {"interval", figure(latency.interval)},
            {"pipeline", textOrNull(latency.pipeline)}};
}

Json describe(const Module& module) {
    Json resources = Json::object();
    for (const ResourceKind& kind : resourceKinds)
        resources[kind.element] = orNull(module.resources.*kind.count);
    return {{"name", jsonText(module.name)},
            {"timing", describe(module.timing)},
            {"latency", module.latency ? describe(*module.latency) : Json()},
            {"resources", std::move(resources)}};
}

Json describe(const Instance& instance) {
    return {{"level", instance.level},
            {"name", textOrNull(instance.name)},
            {"module", jsonText(instance.moduleName)},
            {"id", textOrNull(instance.id)}};
}

Json describe(const Fifo& fifo) {
    return {{"name", jsonText(fifo.name)},
            {"parent", textOrNull(fifo.parent)},
            {"staticDepth", figure(fifo.staticDepth)},
            {"runtimeDepth", figure(fifo.runtimeDepth)},
            {"ends", list(fifo.ends, jsonText)}};
}

Json describe(const Report& report) {
    const auto any = [](const auto& item) { return describe(item); };
    return {{"top", report.top() == nullptr ? Json() : Json(jsonText(report.top()->name))},
            {"modules", list(report.modules, any)},
            {"instances", list(report.instances, any)},
            {"fifos", list(report.fifos, any)}};
}

Json describe(const File& file) {
    return {{"part", file.part},
            {"name", jsonText(file.name)},
            {"size", file.size},
            {"storedSize", file.storedSize}};
}

Json describeDescription(const Kernel& kernel) {
    const auto any = [](const auto& item) { return describe(item); };
    return {{"version", versionText(kernel.versionMajor, kernel.versionMinor)},
            {"vlnv", textOrNull(kernel.vlnv)},
            {"language", textOrNull(kernel.language)},
            {"controlProtocol", textOrNull(kernel.protocol)},
            {"interrupt", textOrNull(kernel.interrupt)},
            {"debug", textOrNull(kernel.debug)},
            {"ports", list(kernel.ports, any)},
            {"addressMaps", list(kernel.maps, any)},
            {"arguments", list(kernel.arguments, any)},
            {"report", kernel.report ? describe(*kernel.report) : Json()},
            {"lint", lintJson(kernel.findings)}};
}

Json describe(const Kernel& kernel) {
    return {{"name", jsonText(kernel.name)},
            {"document", jsonText(kernel.document)},
            {"entry", kernel.entry ? describe(*kernel.entry) : Json()},
            {"problem", textOrNull(kernel.problem)},
            {"description", kernel.problem.empty() ? describeDescription(kernel) : Json()},
            {"files", list(kernel.files, [](const File& file) { return describe(file); })}};
}

}  // namespace

void printOverviewJson(const Overview& overview) {
    print({{"package", overview.package ? describe(*overview.package) : Json()},
           {"kernels", list(overview.kernels, [](const Kernel& kernel) { return describe(kernel); })}});
}

}  // namespace cli
