#pragma once

#include "containers/overview/Wording.h"
#include "containers/page/Markup.h"

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kfab::page {

/// So many of a list are shown.
constexpr std::size_t longestList = 1000;

struct Column {
    enum class Kind {
        Text,  ///< a path or the like, on as many lines as it takes
        Name,
        Word,  ///< one of a few
        Number,
    };

    std::string title;
    Kind kind = Kind::Text;
};

struct Cell {
    std::string text;
    overview::Tone tone = overview::Tone::Plain;
    std::string link = {};             ///< the id of what it leads to
    std::optional<double> share = {};  ///< drawn as a bar
};

/// A table with a caption and a header of its columns. The first cell of a row is the row's header.
class Table {
public:
    static constexpr std::size_t all = std::numeric_limits<std::size_t>::max();

    /// Beyond `most` rows they are only counted.
    Table(Markup& out, std::string_view caption, std::vector<Column> columns, std::size_t most = longestList);
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    ~Table();

    /// As many cells as there are columns.
    void row(const std::vector<Cell>& cells);

private:
    void cell(const Cell& cell, std::size_t column);

    Markup::Element openBody(std::string_view caption);

    Markup& out_;
    std::vector<Column> columns_;
    Markup::Element frame_, table_, body_;
    std::size_t most_, count_ = 0;
};

Column names(std::string title);
Column words(std::string title);
Column numbers(std::string title);

/// The class of what has a tone; nothing for a plain one.
std::string classOf(overview::Tone tone);

/// Tells of so many things that were left out; nothing of none.
std::string restText(std::size_t count);

}  // namespace kfab::page
