#include "cli/IpParams.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"

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

}  // namespace cli
