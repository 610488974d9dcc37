#pragma once

#include "platform/messages/ComMsg.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

/// All messages that there are.
namespace messages {

struct CatalogEntry {
    std::string_view id;
    ComMsg::Severity severity;
    std::string_view sentence;  ///< %1, %2 ... stand for the arguments

    /// Whether the number is one of this system, which begin at 2001, and none of the host's.
    constexpr bool isOwn() const {
        const std::string_view number = id.substr(4, id.find('@', 4) - 4);
        return number.size() >= 4 && number > "2000";
    }
};

using enum ComMsg::Severity;

inline constexpr CatalogEntry catalog[] = {
    {"@17-132@%s%s%d", Error, "%2:%3: %1"},
    {"@17-1310@", Error, "The package manifest could not be written"},
    {"@17-1312@%d%s", Warning, "Unknown flow number %1 in the manifest of '%2' is ignored"},
    {"@17-1313@%d%s", Warning, "Unknown flow number %1 is left out of the manifest of '%2'"},
    {"@17-1376@%s", Error, "Failed to write '%1'"},
    {"@17-1377@%s%s", Warning, "Failed to write XML: %1 - %2"},
    {"@17-1396@%s", Warning, "The integrity of the package '%1' could not be verified"},
    {"@17-1406@%s", Warning, "The IP directory '%1' holds no files; no IP is packaged"},
    {"@17-1525@", Warning, "The package already holds an IP of the same identifier; that IP is replaced"},
    {"@17-1650@%s", Warning, "The debug directory '%1' is not a directory; it is not packaged"},
    {"@17-1651@%s", Info, "Packaging the debug directory '%1'"},
    {"@17-1666@%s", Warning, "The HLS directory '%1' is not a directory; it is not packaged"},
    {"@17-1667@%s", Info, "Packaging the HLS directory '%1'"},
    {"@17-1682@%s", Warning,
     "The kernel '%1' carries an HLS directory, which emulation does not need; emulation uses its sources"},
    {"@17-1864@", Info, "Both replace and update are given: a kernel of the same name is replaced"},
    {"@17-1867@", Warning, "The kernel to update is not in the package; it is added"},
    {"@17-1868@", Warning, "Neither a device image nor a shim solution is given to update the kernel"},
    {"@17-2001@%s", Warning, "The link '%1' leads back to a directory above it; it is not packaged"},
    {"@17-2002@%s%s", Warning, "The IP cache '%1' is not packaged: another one is named '%2' as well"},
    {"@17-2003@%s%s", Warning, "'%1' is in place and whole, but may not outlast a power failure: %2"},
    {"@17-2004@%s", Warning, "The directory '%1' holds no IP cache"},
    {"@17-2005@%s%s%d", Warning, "%2:%3: %1; it is ignored"},
    {"@17-2006@%d%s", Warning, "... and %1 more about '%2'"},
    {"@17-2007@%s%s", Warning, "The IP in '%1' is replaced by another one, which is now that of %2 too"},
    {"@17-2008@%s%s%s", Warning,
     "'%1' gets the format of the layout '%2', in which the IP of %3 is not found"},
    {"@17-2009@%s%s%d", Warning, "%2:%3: %1; no parameter is checked"},
    {"@17-2010@%s", Error, "%1"},
    {"@17-2011@%s%s", Warning, "'%1' in '%2' belongs to no kernel and is left out"},
};

consteval const CatalogEntry& find(std::string_view id) {
    for (const CatalogEntry& entry : catalog)
        if (entry.id == id) return entry;
    throw "the catalog lacks the message";
}

/// The id of a message with `count` argument markers. One that the catalog lacks does not compile, nor does
/// one with another number of markers.
template <std::size_t count>
class Id {
public:
    consteval Id(const char* id) : entry_(find(id)) {
        if (std::count(entry_.id.begin(), entry_.id.end(), '%') != count)
            throw "the message takes another number of arguments";
    }

    const CatalogEntry& entry() const { return entry_; }

private:
    const CatalogEntry& entry_;
};

}  // namespace messages
