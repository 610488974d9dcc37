#include "platform/params/HUTEnv.h"

#include <cstdlib>

namespace {

std::string environmentOr(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

std::string softwareVersion() {
    return environmentOr("KP_SOFTWARE_VERSION", "2020.1");
}

}  // namespace

std::string HUTEnv::getMajor() {
    const std::string version = softwareVersion();
    return version.substr(0, version.find('.'));
}

std::string HUTEnv::getMinor() {
    const std::string version = softwareVersion();
    const auto dot = version.find('.');
    return dot == std::string::npos ? std::string() : version.substr(dot + 1);
}

std::string HUTEnv::getTKQTmpDir() {
    return environmentOr("TMPDIR", "/tmp");
}
