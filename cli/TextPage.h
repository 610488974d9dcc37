#pragma once

#include "cli/Style.h"
#include "cli/TextTable.h"

#include <algorithm>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace cli {

/// Headings, labelled texts and tables for eyes, on standard output and as wide as that. Texts are displayed
/// ones.
class TextPage {
public:
    TextPage();

    const Style& style() const { return style_; }

    /// What the page, or a part of it, is about.
    void title(std::string_view kind, const std::string& name);
    void heading(const std::string& text);
    /// A label, and a text of as many lines as it takes; nothing for no text.
    void field(std::string_view label, const std::string& text, Colour colour = Colour::None);
    /// A label, and a name or path in one line.
    void name(std::string_view label, const std::string& text);
    void paragraph(const std::string& text, Colour colour = Colour::None);
    void table(const TextTable& table, std::size_t most = longestList);

    /// Shows each, of many only the first ones, and then how many more there are.
    template <class Items, class Show>
    void each(const Items& items, const Show& show) {
        const std::size_t shown = std::min(items.size(), longestList);
        std::for_each_n(items.begin(), shown, show);
        if (shown < items.size()) paragraph(style_.rest(items.size() - shown), Colour::Quiet);
    }

private:
    static constexpr std::size_t longestList = 100;

    void lines(const std::string& lead, const std::string& text, Colour colour);

    std::ostream& out_;
    Style style_;
    std::size_t width_;
    bool isFirst_ = true;
};

}  // namespace cli
