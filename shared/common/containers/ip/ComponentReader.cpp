#include "containers/ip/ComponentReader.h"

#include "containers/ip/Parts.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/xml/Bytes.h"
#include "platform/xml/Quoted.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kfab::ip {
namespace {

using lmx60::quoted;

constexpr std::string_view namespaces[] = {
    "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1.4",
    "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1.5",
    "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009",
    "http://www.accellera.org/XMLSchema/IPXACT/1685-2014",
    "http://www.accellera.org/XMLSchema/IPXACT/1685-2022",
};

/// A parameter says its type in one of two places, in words that differ between the editions.
void takeType(Parameter& parameter, lmx60::Element typed, Values& /*values*/) {
    constexpr std::pair<std::string_view, ParameterType> types[] = {
        {"byte", ParameterType::Integer},   {"shortint", ParameterType::Integer},
        {"int", ParameterType::Integer},    {"longint", ParameterType::Integer},
        {"long", ParameterType::Integer},   {"shortreal", ParameterType::Real},
        {"real", ParameterType::Real},      {"float", ParameterType::Real},
        {"bit", ParameterType::Bits},       {"bool", ParameterType::Bits},
        {"bitString", ParameterType::Bits},
    };
    for (const char* attribute : {"type", "format"})
        for (const auto& [word, type] : types)
            if (typed.attribute(attribute) == word) parameter.type = type;
}

void takeLimits(Parameter& parameter, lmx60::Element typed, Values& /*values*/) {
    const std::pair<const char*, std::string Parameter::*> attributes[] = {{"minimum", &Parameter::minimum},
                                                                           {"maximum", &Parameter::maximum},
                                                                           {"choiceRef", &Parameter::choice}};
    for (const auto& [attribute, member] : attributes)
        if (const auto value = typed.attribute(attribute)) parameter.*member = *value;
}

constexpr Row<Choice> choiceRows[] = {
    name<&Choice::name>("name"),
    texts<&Choice::values>("enumeration"),
};

constexpr Row<AddressSpace> addressSpaceRows[] = {
    name<&AddressSpace::name>("name"),
    number<&AddressSpace::range>("range", Needed::Yes),
    number<&AddressSpace::width>("width", Needed::Yes),
};

constexpr Row<File> fileRows[] = {
    name<&File::name>("name"),
    {"fileType", Needed::No,
     [](File& file, lmx60::Element type, Values&) {
         file.types.emplace_back(type.attribute("user").value_or(type.text()));
     }},
    texts<&File::types>("userFileType"),
    {"isIncludeFile", Needed::No,
     [](File& file, lmx60::Element flag, Values&) { file.isInclude = flag.text() == "true"; }},
};

constexpr Row<FileSet> fileSetRows[] = {
    name<&FileSet::name>("name"),
    records<&FileSet::files, fileRows>("file"),
};

constexpr Row<Vlnv> identityRows[] = {
    name<&Vlnv::vendor>("vendor"),
    name<&Vlnv::library>("library"),
    name<&Vlnv::name>("name"),
    name<&Vlnv::version>("version"),
};

}  // namespace

constexpr Row<Parameter> parameterRows[6] = {
    name<&Parameter::name>("name"), text<&Parameter::value>("value", Needed::Yes),
    {"", Needed::No, takeType},     {"value", Needed::No, takeType},
    {"", Needed::No, takeLimits},   {"value", Needed::No, takeLimits},
};

namespace {

/// Ports stand first: bus interfaces ask for them.
constexpr Row<IpComponent> componentRows[] = {
    {"", Needed::Yes,
     [](IpComponent& component, lmx60::Element root, Values& values) {
         component.vlnv = readNew<Vlnv>(root, identityRows, values);
     }},
    records<&IpComponent::ports, readPort>("model/ports/port"),
    {"busInterfaces", Needed::No, takeBusInterfaces},
    {"memoryMaps", Needed::No, takeMemoryMaps},
    records<&IpComponent::addressSpaces, addressSpaceRows>("addressSpaces/addressSpace"),
    records<&IpComponent::parameters, parameterRows>("parameters/parameter"),
    records<&IpComponent::choices, choiceRows>("choices/choice"),
    records<&IpComponent::fileSets, fileSetRows>("fileSets/fileSet"),
    {"model", Needed::No, takeViews},
};

}  // namespace

Vlnv readReference(lmx60::Element reference) {
    Vlnv vlnv;
    vlnv.line = {reference.line()};
    const std::pair<const char*, std::string Vlnv::*> attributes[] = {{"vendor", &Vlnv::vendor},
                                                                      {"library", &Vlnv::library},
                                                                      {"name", &Vlnv::name},
                                                                      {"version", &Vlnv::version}};
    for (const auto& [attribute, member] : attributes) {
        const auto value = reference.attribute(attribute);
        if (!value)
            refuse(reference, "element " + quoted(reference.name()) + " lacks its required attribute " +
                                  quoted(attribute));
        vlnv.*member = *value;
    }
    return vlnv;
}

IpComponent parseComponent(std::string document) {
    const lmx60::ElementTree tree(std::move(document));
    const lmx60::Element root = tree.root();
    const bool isKnown =
        std::find(std::begin(namespaces), std::end(namespaces), tree.namespaceName()) != std::end(namespaces);
    if (root.name() != "component" || !isKnown)
        throw lmx60::ReadError({lmx60::ErrorKind::OtherFormat,
                                "the document element is " + quoted(root.name()) + " in the namespace " +
                                    quoted(tree.namespaceName()) + ", not a component of IEEE 1685",
                                root.line()});
    Values values(tree);
    IpComponent component;
    read<IpComponent>(component, root, componentRows, values);
    return component;
}

IpComponent readComponent(const std::string& path) {
    if (path.empty() || !HUTFile::exists(path)) throw HEXFileNotFoundException(path);
    try {
        return parseComponent(lmx60::readBytes(path));
    } catch (const lmx60::ReadError& error) {
        ComMsgMgr::raise("@17-132@%s%s%d", {error.what(), path, std::to_string(error.error().line)});
    }
}

}  // namespace kfab::ip
