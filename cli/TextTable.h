#pragma once

#include "cli/Style.h"

#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string>
#include <vector>

namespace cli {

struct TableColumn {
    std::string title;
    bool isNumber = false;   ///< aligned to the right
    std::size_t least = 18;  ///< to which longer texts are shortened before columns are left out
    int rank = 0;            ///< where room is lacking, those of the highest rank are left out; 0: never
};

/// Texts are displayed ones.
struct TableCell {
    std::string text;
    Colour colour = Colour::None;
    std::string lead = {};  ///< before the text; it is not shortened
};

/// A table that fits a width: what is long is shortened in the middle, what says least is left out.
class TextTable {
public:
    static constexpr std::size_t all = std::numeric_limits<std::size_t>::max();

    explicit TextTable(std::vector<TableColumn> columns) : columns_(std::move(columns)) {}

    /// As many cells as there are columns.
    void add(std::vector<TableCell> row) { rows_.push_back(std::move(row)); }
    bool empty() const { return rows_.empty(); }

    /// Of more rows than `most`, so many, and then how many more there are.
    void print(std::ostream& out, const Style& style, std::size_t width, std::size_t indent,
               std::size_t most = all) const;

private:
    /// Of each column; 0 for one that is left out.
    std::vector<std::size_t> widths(std::size_t room, std::size_t rows) const;

    std::vector<TableColumn> columns_;
    std::vector<std::vector<TableCell>> rows_;
};

}  // namespace cli
