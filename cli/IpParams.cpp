#include "cli/IpParams.h"

#include "containers/explorer/KernelLayout.h"
#include "containers/ip/ComponentReader.h"
#include "containers/ip/ParameterCheck.h"
#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/messages/ComMsgMgr.h"
#include "platform/xml/Errors.h"
#include "platform/xml/Limits.h"
#include "platform/zip/ArchiveSnapshot.h"

#include <algorithm>
#include <optional>
#include <sstream>

#include <boost/algorithm/string/trim.hpp>

namespace cli {
namespace {

/// Takes "NAME=VALUE" apart; blanks around the name do not count, those of the value do.
void take(const std::string& text, const std::string& place, GivenParams& params) {
    const auto equals = text.find('=');
    const std::string name = boost::algorithm::trim_copy(text.substr(0, equals));
    if (equals == std::string::npos || name.empty())
        throw HEXAlgException(place + ": expected NAME=VALUE, found '" + text + "'");
    params[name] = {text.substr(equals + 1), place};
}

/// The description of the IP; none where the package has none that is understood.
std::optional<kfab::ip::IpComponent> componentOf(const ArchiveSnapshot& package, const HKPKernel& kernel) {
    const std::string member = HUTPathUtils::join(kernel.getIpDir(), layout::ipDefinition);
    const ArchiveEntry* entry = package.find(member);
    if (entry == nullptr || entry->size > lmx60::maximumDocument) return {};
    try {
        return kfab::ip::parseComponent(package.read(*entry));
    } catch (const lmx60::ReadError& error) {
        if (error.error().kind != lmx60::ErrorKind::OtherFormat)
            ComMsgMgr::post("@17-2009@%s%s%d", {error.what(), member, std::to_string(error.error().line)});
        return {};
    }
}

/// Whether it is one of an interface, such as "s_control.ID_WIDTH": tools know more of those than the IP
/// tells.
bool isOfInterface(const kfab::ip::IpComponent& component, const std::string& param) {
    return std::any_of(component.busInterfaces.begin(), component.busInterfaces.end(),
                       [&](const auto& interface) { return param.starts_with(interface.name + "."); });
}

}  // namespace

GivenParams collectParams(const std::string& file, const std::vector<std::string>& options) {
    GivenParams params;
    std::istringstream lines(file.empty() ? "" : HUTFile::readFile(file));
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        boost::algorithm::trim(line);
        if (line.empty() || line.front() == '#') continue;
        take(line, file + ":" + std::to_string(number), params);
    }
    for (auto& [name, param] : params)
        boost::algorithm::trim(param.value);
    for (const std::string& option : options)
        take(option, "--param", params);
    return params;
}

void requireParams(const GivenParams& params, const ArchiveSnapshot& package, const HKPKernel& kernel) {
    if (params.empty()) return;
    const auto component = componentOf(package, kernel);
    if (!component) return;
    for (const auto& [name, param] : params) {
        if (isOfInterface(*component, name)) continue;
        if (const auto problem = kfab::ip::checkParameter(*component, name, param.value))
            throw HEXAlgException(param.place + ": " + *problem);
    }
}

}  // namespace cli
