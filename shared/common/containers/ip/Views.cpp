#include "containers/ip/Parts.h"
#include "platform/xml/Errors.h"
#include "platform/xml/Limits.h"

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace kfab::ip {
namespace {

void takeModule(View& view, lmx60::Element module, Values& /*values*/) {
    view.module = module.text();
    view.moduleLine = {module.line()};
}

void takeDesign(View& view, lmx60::Element design, Values& /*values*/) {
    view.design = readReference(design);
}

/// What older editions have in the view itself, later ones have in an instantiation that it refers to.
constexpr Row<View> instantiationRows[] = {
    text<&View::language>("language"),        {"modelName", Needed::No, takeModule},
    {"moduleName", Needed::No, takeModule},   texts<&View::fileSets>("fileSetRef/localName"),
    {"hierarchyRef", Needed::No, takeDesign}, {"designRef", Needed::No, takeDesign},
};

constexpr Row<View> viewRows[] = {
    name<&View::name>("name"),
    texts<&View::environments>("envIdentifier"),
    {"", Needed::No,
     [](View& view, lmx60::Element found, Values& values) {
         read<View>(view, found, instantiationRows, values);
     }},
};

constexpr std::string_view instantiationKinds[] = {"componentInstantiation", "designInstantiation"};

/// How much text of an instantiation each view that refers to it gets.
std::size_t sizeOf(const View& view) {
    std::size_t size = view.language.size() + view.module.size();
    for (const std::string& name : view.fileSets)
        size += sizeof(std::string) + name.size();
    return size + (view.design ? view.design->text().size() : 0);
}

/// The instantiations of one model, and the views that refer to them.
class Model {
public:
    Model(lmx60::Element model, Values& values) : values_(values) {
        for (const std::string_view kind : instantiationKinds)
            forEach(model, "instantiations/" + std::string(kind), [&](lmx60::Element instantiation) {
                const lmx60::Element name = instantiation.child("name");
                if (!name) refuseLacking(instantiation, "name");
                instantiations_[kind].emplace(name.text(), instantiation);
            });
    }

    View readView(lmx60::Element element);

private:
    Values& values_;
    std::map<std::string_view, std::map<std::string_view, lmx60::Element>> instantiations_;
    std::size_t copied_ = 0;
};

/// Small documents may have many views of one instantiation that is large.
constexpr std::size_t maximumCopied = std::size_t{64} << 20;

View Model::readView(lmx60::Element element) {
    auto view = readNew<View>(element, viewRows, values_);
    for (const std::string_view kind : instantiationKinds) {
        const lmx60::Element reference = element.child(std::string(kind) + "Ref");
        if (!reference) continue;
        const auto& ofKind = instantiations_[kind];
        if (const auto found = ofKind.find(reference.text()); found != ofKind.end())
            read<View>(view, found->second, instantiationRows, values_);
    }
    copied_ += sizeOf(view);
    if (copied_ > maximumCopied)
        throw lmx60::ReadError(
            {lmx60::ErrorKind::TooLarge, "the views refer to too many file sets", element.line()});
    return view;
}

}  // namespace

void takeViews(IpComponent& component, lmx60::Element model, Values& values) {
    Model reader(model, values);
    forEach(model, "views/view", [&](lmx60::Element view) {
        if (values.isPresent(view)) component.views.push_back(reader.readView(view));
    });
    std::set<std::string_view> met;
    for (const char* path : {"modelParameters/modelParameter",
                             "instantiations/componentInstantiation/moduleParameters/moduleParameter"})
        forEach(model, path, [&](lmx60::Element parameter) {
            const lmx60::Element name = parameter.child("name");
            const bool isNew = !name || met.insert(name.text()).second;
            if (isNew && values.isPresent(parameter))
                component.moduleParameters.push_back(readNew<Parameter>(parameter, parameterRows, values));
        });
}

}  // namespace kfab::ip
