#include "cli/pages/Handbook.h"

#include "platform/base/Exceptions.h"
#include "platform/files/HUTFile.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include <boost/algorithm/string/trim.hpp>

namespace cli {
namespace {

constexpr std::string_view sectionMark = "## ";
constexpr std::string_view blockMark = "    ";

/// Takes the block that is the synopsis off the text's front. Lines that are indented further go on with a
/// form.
void takeSynopsis(Handbook::Section& section) {
    boost::algorithm::trim_left_if(section.text, [](char c) { return c == '\n'; });
    while (section.text.starts_with(blockMark)) {
        section.text.erase(0, blockMark.size());
        const std::size_t end = section.text.find('\n');
        const std::string line = boost::algorithm::trim_copy(section.text.substr(0, end));
        if (section.text.starts_with(' ') && !section.synopses.empty())
            section.synopses.back() += " " + line;
        else
            section.synopses.push_back(line);
        section.text.erase(0, end + 1);
    }
}

}  // namespace

Handbook::Handbook(const std::string& path) {
    std::istringstream lines(HUTFile::readFile(path));
    std::getline(lines, introduction_.title);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(sectionMark)) {
            sections_.push_back({line.substr(sectionMark.size()), {}, {}});
        } else {
            (sections_.empty() ? introduction_ : sections_.back()).text += line + "\n";
        }
    }
    takeSynopsis(introduction_);
    std::for_each(sections_.begin(), sections_.end(), takeSynopsis);
}

const Handbook::Section& Handbook::section(const std::string& title) const {
    const auto found = std::find_if(sections_.begin(), sections_.end(),
                                    [&](const Section& section) { return section.title == title; });
    if (found == sections_.end()) throw HEXAlgException("The handbook has no section '" + title + "'");
    return *found;
}

}  // namespace cli
