#pragma once

#include <string>
#include <utility>
#include <vector>

namespace cli {

/// A handbook in Markdown: what stands before its first section, and the sections of the second level.
class Handbook {
public:
    /// Throws when the file cannot be read.
    explicit Handbook(const std::string& path);

    struct Section {
        std::string title;
        std::vector<std::string> synopses;  ///< the indented block that it begins with, a form each
        std::string text;                   ///< what follows that, in Markdown
    };

    const Section& introduction() const { return introduction_; }
    const std::vector<Section>& sections() const { return sections_; }
    /// Throws when there is no section of the title.
    const Section& section(const std::string& title) const;

private:
    Section introduction_;
    std::vector<Section> sections_;
};

}  // namespace cli
