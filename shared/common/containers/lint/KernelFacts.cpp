#include "containers/lint/KernelFacts.h"

#include "containers/ip/ComponentReader.h"
#include "containers/kernel/KernelRecords.h"
#include "platform/xml/Reader.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

namespace kfab::lint {
namespace {

std::string textOf(lmx60::Element element, std::string_view attribute) {
    return element ? std::string(element.attribute(attribute).value_or("")) : std::string();
}

PortFacts portOf(lmx60::Element port) {
    return {.name = textOf(port, "name"),
            .mode = textOf(port, "mode"),
            .type = textOf(port, "portType"),
            .range = numberText(port.attribute("range")),
            .base = numberText(port.attribute("base")),
            .dataWidth = numberText(port.attribute("dataWidth")),
            .line = port.line()};
}

Passing passingOf(const ArgFacts& arg) {
    if (arg.port != nullptr && arg.port->isStream()) return Passing::Stream;
    if (arg.qualifier == 0) return Passing::Value;
    return arg.qualifier <= 2 ? Passing::Pointer : Passing::Unknown;
}

/// The first port of each name.
using PortsByName = std::unordered_map<std::string_view, const PortFacts*>;

ArgFacts argOf(lmx60::Element arg, const PortsByName& ports) {
    ArgFacts facts{.name = textOf(arg, "name"),
                   .portName = textOf(arg, "port"),
                   .type = textOf(arg, "type"),
                   .qualifier = numberText(arg.attribute("addressQualifier")).value.value_or(0),
                   .id = numberText(arg.attribute("id")),
                   .size = numberText(arg.attribute("size")),
                   .offset = numberText(arg.attribute("offset")),
                   .hostOffset = numberText(arg.attribute("hostOffset")),
                   .hostSize = numberText(arg.attribute("hostSize")),
                   .line = arg.line()};
    if (facts.id.text.empty()) facts.id = {};
    if (const auto port = ports.find(facts.portName); port != ports.end()) facts.port = port->second;
    facts.passing = passingOf(facts);
    return facts;
}

/// The slave that an argument takes bytes of; none where it takes none or that cannot be told.
const PortFacts* slaveOf(const ArgFacts& arg, const KernelFacts& facts) {
    if (arg.passing == Passing::Pointer) return facts.controlPort();
    const bool isOnSlave = arg.port != nullptr && arg.port->isAddressable() && arg.port->isSlave();
    return arg.passing == Passing::Value && isOnSlave ? arg.port : nullptr;
}

}  // namespace

std::uint64_t sumOf(std::uint64_t a, std::uint64_t b) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    return b > most - a ? most : a + b;
}

bool KernelFacts::hasRegisters() const {
    return std::any_of(args.begin(), args.end(), [](const ArgFacts& arg) {
        return arg.passing == Passing::Value || arg.passing == Passing::Pointer;
    });
}

bool KernelFacts::isLater() const {
    return std::pair(versionMajor, versionMinor) > std::pair<std::uint64_t, std::uint64_t>(1, 10);
}

std::vector<std::string> KernelFacts::vlnvFields() const {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, vlnv, boost::algorithm::is_any_of(":"));
    return fields;
}

void takeDescription(KernelFacts& facts, std::string document) {
    auto tree = std::make_shared<lmx60::ElementTree>();
    KernelXML::Root record;
    const auto takeVersion = [&] {
        facts.versionMajor = record.versionMajor.get();
        facts.versionMinor = record.versionMinor.get();
    };
    const auto passOver = [&](const lmx60::Error& unknown) {
        takeVersion();
        if (!facts.isLater()) throw lmx60::ReadError(unknown);
    };
    lmx60::readInto(&record, record.table, record.element, std::move(document), passOver, tree.get());
    takeVersion();
    const lmx60::Element root = tree->root();
    const lmx60::Element kernel = root.child("kernel");
    facts.rootLine = root.line();
    facts.line = kernel ? kernel.line() : 0;
    facts.name = textOf(kernel, "name");
    facts.language = textOf(kernel, "language");
    facts.vlnv = textOf(kernel, "vlnv");
    facts.interrupt = textOf(kernel, "interrupt");
    facts.protocol = textOf(kernel, "hwControlProtocol");
    facts.debug = textOf(kernel, "debug");
    if (facts.kernel.empty()) facts.kernel = facts.name;

    for (const lmx60::Element port : kernel.child("ports").children())
        facts.ports.push_back(portOf(port));
    PortsByName ports;
    for (const PortFacts& port : facts.ports)
        ports.emplace(port.name, &port);
    for (const lmx60::Element arg : kernel.child("args").children())
        facts.args.push_back(argOf(arg, ports));
    for (const PortFacts& port : facts.ports)
        if (port.isAddressable() && port.isSlave()) facts.slaves.push_back(&port);
    for (const ArgFacts& arg : facts.args)
        if (const PortFacts* slave = slaveOf(arg, facts);
            slave != nullptr && arg.offset.value && arg.size.value)
            facts.places.push_back({&arg, slave, *arg.offset.value, *arg.size.value});

    if (const lmx60::Element profile = root.child("profile")) {
        facts.report = profile;
        facts.reportDocument = facts.document;
    }
    facts.trees.push_back(std::move(tree));
}

void takeComponent(IpFacts& ip, std::string document, IpFiles files) {
    ip.files = std::move(files);
    try {
        ip.component = ip::parseComponent(std::move(document));
        ip.top = findTopModule(ip.component, ip.files);
        ip.state = IpState::Read;
    } catch (const lmx60::ReadError& error) {
        ip.state =
            error.error().kind == lmx60::ErrorKind::OtherFormat ? IpState::OtherFormat : IpState::Unreadable;
        ip.problem = error.what();
        ip.line = error.error().line;
    }
}

bool isStray(std::string_view path) {
    std::size_t begin = 0;
    while (begin <= path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string_view part = path.substr(begin, end - begin);
        const bool isSwap =
            part.size() > 5 && part.front() == '.' && part.substr(part.size() - 4, 3) == ".sw";
        if (part == ".git" || part == ".DS_Store" || part == "Thumbs.db" || isSwap ||
            (part.size() > 1 && part.back() == '~'))
            return true;
        begin = end + 1;
    }
    return false;
}

}  // namespace kfab::lint
