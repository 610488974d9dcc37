#include "cli/TextTable.h"

#include "platform/files/DisplayText.h"

#include <algorithm>
#include <numeric>
#include <ostream>

namespace cli {
namespace {

using display::displayWidth;
using display::shortened;

constexpr std::size_t gap = 2;

using Widths = std::vector<std::size_t>;

std::size_t lineWidth(const Widths& widths) {
    std::size_t width = 0;
    for (const std::size_t each : widths)
        if (each > 0) width += each + (width > 0 ? gap : 0);
    return width;
}

/// Takes from the widest column that is wider than its least width, until the line fits or none is left.
void narrow(Widths& widths, const Widths& least, std::size_t room) {
    while (lineWidth(widths) > room) {
        std::size_t widest = widths.size();
        for (std::size_t at = 0; at < widths.size(); ++at)
            if (widths[at] > least[at] && (widest == widths.size() || widths[at] > widths[widest]))
                widest = at;
        if (widest == widths.size()) return;
        --widths[widest];
    }
}

std::string fitted(const TableCell& cell, const TableColumn& column, std::size_t width, const Style& style) {
    const std::size_t lead = displayWidth(cell.lead);
    const bool hasLead = lead < width;
    const std::string text = shortened(cell.text, hasLead ? width - lead : width, style.ellipsis());
    const std::string shown = (hasLead ? cell.lead : std::string()) + style.coloured(text, cell.colour);
    const std::string padding(width - displayWidth(text) - (hasLead ? lead : 0), ' ');
    return column.isNumber ? padding + shown : shown + padding;
}

}  // namespace

Widths TextTable::widths(std::size_t room, std::size_t rows) const {
    Widths natural;
    Widths least;
    for (std::size_t at = 0; at < columns_.size(); ++at) {
        std::size_t width = displayWidth(columns_[at].title);
        for (std::size_t row = 0; row < rows; ++row)
            width = std::max(width, displayWidth(rows_[row][at].lead) + displayWidth(rows_[row][at].text));
        natural.push_back(std::min(width, room));
        least.push_back(std::min(columns_[at].least, natural[at]));
    }
    while (lineWidth(least) > room) {
        const auto last = std::max_element(
            columns_.begin(), columns_.end(), [&](const TableColumn& a, const TableColumn& b) {
                const auto rankOf = [&](const TableColumn& column) {
                    return least[static_cast<std::size_t>(&column - columns_.data())] > 0 ? column.rank : 0;
                };
                return rankOf(a) < rankOf(b);
            });
        const auto at = static_cast<std::size_t>(last - columns_.begin());
        if (last->rank == 0 || least[at] == 0) break;
        natural[at] = least[at] = 0;
    }
    narrow(natural, least, room);
    Widths hardly(natural.size());
    std::transform(natural.begin(), natural.end(), hardly.begin(),
                   [](std::size_t width) { return std::min<std::size_t>(width, 1); });
    narrow(natural, hardly, room);
    return natural;
}

void TextTable::print(std::ostream& out, const Style& style, std::size_t width, std::size_t indent,
                      std::size_t most) const {
    const std::size_t shown = std::min(most, rows_.size());
    const Widths columnWidths = widths(width - indent, shown);
    const auto printRow = [&](const std::vector<TableCell>& row) {
        std::string line(indent, ' ');
        const char* separator = "";
        for (std::size_t at = 0; at < row.size(); ++at) {
            if (columnWidths[at] == 0) continue;
            line += separator + fitted(row[at], columns_[at], columnWidths[at], style);
            separator = "  ";
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    std::vector<TableCell> titles;
    for (const TableColumn& column : columns_)
        titles.push_back({column.title, Colour::Quiet});
    printRow(titles);
    std::for_each_n(rows_.begin(), shown, printRow);
    if (shown < rows_.size()) out << std::string(indent, ' ') << style.rest(rows_.size() - shown) << '\n';
}

}  // namespace cli
