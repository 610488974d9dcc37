#include "containers/kp/SoftwareVersion.h"

#include "platform/params/HUTEnv.h"

#include <charconv>
#include <stdexcept>

namespace {

std::uint32_t decimal(const std::string& text) {
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range)
        throw std::out_of_range("The software version number '" + text + "' is out of range");
    if (error != std::errc() || stopped != end)
        throw std::invalid_argument("The software version number '" + text + "' is not a number");
    return number;
}

}  // namespace

SoftwareVersion SoftwareVersion::running() {
    return {HUTEnv::getMajor(), HUTEnv::getMinor()};
}

std::uint32_t SoftwareVersion::major() const {
    return decimal(majorText);
}

std::uint32_t SoftwareVersion::minor() const {
    return decimal(minorText);
}
