#pragma once

#include "containers/overview/Records.h"
#include "containers/page/Markup.h"

namespace kfab::page {

/// What lies on a slave, to scale: all that it has, and beside it the part that is used. Nothing when nothing
/// lies on it.
void addAddressPicture(Markup& out, const overview::AddressMap& map);

}  // namespace kfab::page
