#include "containers/lint/Text.h"

#include "platform/files/HUTPathUtils.h"

#include <cstddef>

namespace kfab::lint {

std::string quote(std::string_view text) {
    constexpr std::size_t longest = 80;
    return HUTPathUtils::quoted(text, longest);
}

}  // namespace kfab::lint
