#include "cli/pages/Roff.h"

#include "platform/base/Exceptions.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>

namespace cli {
namespace {

/// Markdown within a line: code, and links.
std::string roffFromLine(std::string_view line) {
    std::string roff;
    while (!line.empty()) {
        const std::size_t mark = line.find_first_of("`[");
        roff += roffText(line.substr(0, mark));
        if (mark == std::string_view::npos) break;
        const bool isCode = line[mark] == '`';
        const std::string_view ending = isCode ? "`" : "](";
        const std::size_t end = line.find(ending, mark + 1);
        if (end == std::string_view::npos) {
            roff += roffText(line.substr(mark, 1));
            line.remove_prefix(mark + 1);
            continue;
        }
        const std::string words = roffText(line.substr(mark + 1, end - mark - 1));
        roff += isCode ? "\\fB" + words + "\\fR" : words;
        line.remove_prefix(isCode ? end + 1 : line.find(')', end) + 1);
    }
    return roff;
}

std::vector<std::string> cellsOf(const std::string& row) {
    std::vector<std::string> cells;
    std::istringstream texts(row.substr(1));
    for (std::string cell; std::getline(texts, cell, '|');)
        cells.push_back(boost::algorithm::trim_copy(cell));
    return cells;
}

/// A table is a list of terms: its first two rows are the titles and a rule.
std::string roffFromTable(const std::vector<std::string>& rows) {
    std::string roff;
    for (std::size_t i = 2; i < rows.size(); ++i) {
        const std::vector<std::string> cells = cellsOf(rows[i]);
        if (cells.size() != 2) throw HEXAlgException("Not two columns: '" + rows[i] + "'");
        roff += ".TP\n" + roffFromLine(cells[0]) + "\n" + roffFromLine(cells[1]) + "\n";
    }
    return roff;
}

std::string roffFromBlock(const std::vector<std::string>& lines) {
    std::string roff = ".PP\n.RS 4\n.EX\n";
    for (const std::string& line : lines)
        roff += roffText(std::string_view(line).substr(4)) + "\n";
    return roff + ".EE\n.RE\n";
}

/// A paragraph, or the items of a list.
std::string roffFromText(const std::vector<std::string>& lines) {
    std::string roff = lines.front().starts_with("- ") ? "" : ".PP\n";
    std::string text;
    const auto flush = [&] {
        if (!text.empty()) roff += roffFromLine(text) + "\n";
        text.clear();
    };
    for (std::string line : lines) {
        if (line.starts_with("- ")) {
            flush();
            roff += ".IP \\(bu 2\n";
            line.erase(0, 2);
        }
        // Code may go on over the end of a line.
        text += (text.empty() ? "" : " ") + boost::algorithm::trim_copy(line);
    }
    flush();
    return roff;
}

std::string roffFromParagraph(const std::vector<std::string>& lines) {
    if (lines.empty()) return {};
    if (lines.front().starts_with("|")) return roffFromTable(lines);
    if (lines.front().starts_with("    ")) return roffFromBlock(lines);
    return roffFromText(lines);
}

}  // namespace

std::string roffText(std::string_view text) {
    std::string roff(text);
    boost::algorithm::replace_all(roff, "\\", "\\e");
    boost::algorithm::replace_all(roff, "-", "\\-");
    if (roff.starts_with('.') || roff.starts_with('\'')) roff.insert(0, "\\&");
    return roff;
}

std::string roffFromMarkdown(const std::string& markdown) {
    std::string roff;
    std::vector<std::string> paragraph;
    std::istringstream lines(markdown);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) {
            paragraph.push_back(line);
            continue;
        }
        roff += roffFromParagraph(paragraph);
        paragraph.clear();
    }
    roff += roffFromParagraph(paragraph);
    const std::string_view needless = ".PP\n";  // right below a heading
    return roff.starts_with(needless) ? roff.substr(needless.size()) : roff;
}

}  // namespace cli
