#pragma once

#include "containers/ip/IpComponent.h"
#include "platform/base/Export.h"

#include <optional>
#include <string>

namespace kfab::ip {

/// What is wrong with giving a parameter of the component a value, as one sentence without a full stop: the
/// component has none of the name, or the value is none of its choices, no number, or outside its bounds.
/// Nothing where it can be given, or where that cannot be told.
KP_EXPORT std::optional<std::string> checkParameter(const IpComponent& component, const std::string& name,
                                                    const std::string& value);

}  // namespace kfab::ip
