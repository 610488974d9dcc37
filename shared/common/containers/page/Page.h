#pragma once

#include "containers/overview/Records.h"
#include "platform/base/Export.h"

#include <string>

namespace kfab::page {

/// All that there is to show, as one HTML document in UTF-8: a package, an index of its kernels when there
/// are several, and each of them in full. It stands by itself, without a script and without an address
/// outside, and its content security policy allows none. Whatever texts the documents have, they appear as
/// texts; what could mislead in them is escaped. The same records give the same bytes. Of long lists the
/// first thousand are shown and how many more there are.
KP_EXPORT std::string pageOf(const overview::Overview& overview);

}  // namespace kfab::page
