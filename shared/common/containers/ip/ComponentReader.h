#pragma once

#include "containers/ip/IpComponent.h"
#include "platform/base/Export.h"

#include <string>

namespace kfab::ip {

/// The component that a document describes, of the editions 2009, 2014 or 2022 of IEEE 1685, or of SPIRIT 1.4
/// or 1.5. Elements that are not known, such as vendors' extensions, are passed over.
///
/// Throws lmx60::ReadError: of the kind OtherFormat for a well-formed document that is no such component; of
/// others for one that is not well-formed or breaks what its edition requires, with a line and a reason.
KP_EXPORT IpComponent parseComponent(std::string document);

/// The component in a file. Throws HEXFileNotFoundException when the path is empty or nothing is there,
/// HEXAll (with the reason, the path and the line) when it cannot be read or holds no component.
KP_EXPORT IpComponent readComponent(const std::string& path);

}  // namespace kfab::ip
