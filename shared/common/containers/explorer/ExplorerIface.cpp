#include "containers/explorer/ExplorerIface.h"

namespace kfab::kernel {

ExplorerIface::~ExplorerIface() = default;

}  // namespace kfab::kernel
