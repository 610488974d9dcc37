#include "containers/kernel/KernelRecords.h"
#include "containers/lint/Rule.h"
#include "platform/xml/Bytes.h"

#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include <gmock/gmock.h>

namespace {

using namespace lmx60;

std::string document(const std::string& name) {
    return readBytes(KP_EXAMPLES_DIR "/../docs/" + name);
}

std::string kindOf(const Field& field, void* record) {
    const auto takes = [&](const char* text) { return field.parse(record, text) == ErrorKind::None; };
    if (field.kind == FieldKind::Marker) return "empty";
    return takes("words") ? "text" : takes("1.5") ? "decimal" : "number";
}

const char* markOf(Occurs occurs) {
    if (occurs == Occurs::Required) return "";
    return occurs == Occurs::Any ? "*" : "?";
}

/// A kind of document as a guide shows it: a tree of its elements, and of each a heading and a row a field.
struct Guide {
    std::string tree, sections;

    void add(std::string_view element, const std::string& occurs, void* record, const Table& table,
             const std::string& indent = "") {
        tree += indent + std::string(element) + occurs + "\n";
        if (!met.insert(element).second) return;
        sections += "### `" + std::string(element) + "`\n";
        if (element == stop) return;
        for (const Field& field : table)
            if (field.kind != FieldKind::Record)
                sections += "| `" + std::string(field.name) + "` | " + kindOf(field, record) +
                            (field.occurs == Occurs::Required ? ", required" : "") + " |\n";
        for (const Field& field : table.children()) {
            if (field.kind != FieldKind::Record) continue;
            add(field.name, markOf(field.occurs), field.append(record), field.childTable(), indent + "  ");
        }
    }

    std::string_view stop;  ///< an element that has a guide of its own
    std::set<std::string_view> met;
};

std::string sectionsOf(const std::string& guide) {
    const std::regex wanted("(### `.*`)|(\\| `[^|]*` \\| (text|number|decimal|empty)(, required)? \\|).*");
    std::istringstream lines(guide);
    std::string sections;
    std::smatch match;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, match, wanted)) sections += match[1].str() + match[2].str() + "\n";
    return sections;
}

template <class Root>
void expectAll(const std::string& name, std::string_view stop) {
    Root root;
    Guide expected;
    expected.stop = stop;
    expected.add(Root::element, "", &root, Root::table);
    const std::string guide = document(name);
    EXPECT_THAT(guide, testing::HasSubstr("```\n" + expected.tree + "```\n"));
    EXPECT_EQ(sectionsOf(guide), expected.sections);
}

TEST(Guides, NameEveryElementAndAttributeAndNoOther) {
    expectAll<KernelXML::Root>("kernel-xml.md", "profile");
    expectAll<DesignXML::Profile>("profile-report.md", "");
}

TEST(Guides, NameEveryRuleOfLintAndNoOther) {
    std::set<std::string> rules, named;
    for (const kfab::lint::Rule& rule : kfab::lint::rules())
        rules.emplace(rule.code);
    const std::regex code("`\\[([a-z-]+)\\]`");
    for (const char* name : {"kernel-xml.md", "profile-report.md"}) {
        const std::string guide = document(name);
        for (std::sregex_iterator at(guide.begin(), guide.end(), code), end; at != end; ++at)
            named.insert((*at)[1]);
    }
    EXPECT_EQ(named, rules);
}

}  // namespace
