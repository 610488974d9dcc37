#include "containers/ip/Quoted.h"

#include "platform/files/HUTPathUtils.h"

std::string kfab::ip::quoted(std::string_view text) {
    constexpr std::size_t longest = 60;
    return "'" + HUTPathUtils::shown(text.substr(0, longest)) + (text.size() > longest ? "...'" : "'");
}
