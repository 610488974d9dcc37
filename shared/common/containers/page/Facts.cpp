#include "containers/page/Facts.h"

#include "containers/page/Table.h"

namespace kfab::page {

void Facts::add(Literal name, const overview::Statement& statement) {
    if (statement.text.empty()) return;
    const auto pair = out_.open("div");
    out_.add("dt", name.text());
    out_.add("dd", {{"class", classOf(statement.tone)}}, statement.text);
}

}  // namespace kfab::page
