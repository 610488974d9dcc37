#include "platform/files/UniqueNames.h"

#include <boost/filesystem/operations.hpp>

std::string UniqueNames::next() const {
    const boost::filesystem::path random = std::string(randomSize, '%');  // each becomes a digit
    return prefix + boost::filesystem::unique_path(random).string() + suffix;
}

bool UniqueNames::contain(std::string_view name) const {
    return name.size() == prefix.size() + randomSize + suffix.size() && name.starts_with(prefix) &&
           name.ends_with(suffix) &&
           name.substr(prefix.size(), randomSize).find_first_not_of("0123456789abcdef") ==
               std::string_view::npos;
}
