#pragma once

#include "containers/ip/Binding.h"
#include "containers/ip/IpComponent.h"

#include <string_view>

/// How the parts of a component are read that are more than a table. Each takes the element that holds all
/// parts of its kind.
namespace kfab::ip {

/// The rows of parameters, which may stand in many places.
extern const Row<Parameter> parameterRows[6];

/// The component must have its ports already.
void takeBusInterfaces(IpComponent& component, lmx60::Element busInterfaces, Values& values);
void takeMemoryMaps(IpComponent& component, lmx60::Element memoryMaps, Values& values);
/// Views and what they are instances of, below "model".
void takeViews(IpComponent& component, lmx60::Element model, Values& values);

Port readPort(lmx60::Element port, Values& values);
Vlnv readReference(lmx60::Element reference);

/// How buses call the signal that is their clock.
constexpr std::string_view clockSignals[] = {"CLK", "CLOCK", "ACLK", "CLK_P", "CLK_N"};

/// How many a range from left to right holds.
Number extentOf(lmx60::Element range, Values& values);

}  // namespace kfab::ip
