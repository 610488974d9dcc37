#include "containers/page/Table.h"

#include "containers/page/Bars.h"
#include "platform/files/DisplayText.h"

#include <array>

namespace kfab::page {
namespace {

std::string classOf(const Column& column) {
    constexpr std::array classes = {"long", "", "word", "number"};
    return classes.at(static_cast<std::size_t>(column.kind));
}

/// What takes more columns of text loses its middle.
std::size_t room(const Column& column) {
    return column.kind == Column::Kind::Text ? 160 : 24;
}

}  // namespace

Column numbers(std::string title) {
    return {std::move(title), Column::Kind::Number};
}

Column names(std::string title) {
    return {std::move(title), Column::Kind::Name};
}

Column words(std::string title) {
    return {std::move(title), Column::Kind::Word};
}

Table::Table(Markup& out, std::string_view caption, std::vector<Column> columns, std::size_t most)
    : out_(out),
      columns_(std::move(columns)),
      frame_(out.open("div", {{"class", "scroll"}})),
      table_(out.open("table")),
      body_(openBody(caption)),
      most_(most) {}

Markup::Element Table::openBody(std::string_view caption) {
    out_.add("caption", caption);
    {
        const auto head = out_.open("thead");
        const auto row = out_.open("tr");
        for (const Column& column : columns_)
            out_.add("th", {{"scope", "col"}, {"class", classOf(column)}}, column.title);
    }
    return out_.open("tbody");
}

Table::~Table() {
    if (count_ > most_) {
        const auto row = out_.open("tr");
        out_.add("td", {{"colspan", static_cast<double>(columns_.size())}, {"class", "quiet"}},
                 restText(count_ - most_));
    }
}

void Table::row(const std::vector<Cell>& cells) {
    if (++count_ > most_) return;
    const auto row = out_.open("tr");
    for (std::size_t at = 0; at < cells.size(); ++at)
        cell(cells[at], at);
}

void Table::cell(const Cell& cell, std::size_t column) {
    std::string classes = classOf(columns_[column]);
    if (const std::string tone = classOf(cell.tone); !tone.empty())
        classes += (classes.empty() ? "" : " ") + tone;
    const Literal name = column == 0 ? Literal("th") : Literal("td");
    const std::string whole = display::displayed(cell.text);
    const std::string text = display::shortened(whole, room(columns_[column]), "…");
    const auto element = out_.open(
        name,
        {{"scope", column == 0 ? "row" : ""}, {"class", classes}, {"title", text == whole ? "" : whole}});
    if (cell.share) addShare(out_, *cell.share);
    if (cell.link.empty())
        out_.text(text);
    else
        out_.add("a", {{"href", "#" + cell.link}}, text);
}

std::string classOf(overview::Tone tone) {
    constexpr std::array classes = {"", "good", "doubtful", "bad"};
    return classes.at(static_cast<std::size_t>(tone));
}

std::string restText(std::size_t count) {
    return count == 0 ? "" : "and " + std::to_string(count) + " more";
}

}  // namespace kfab::page
