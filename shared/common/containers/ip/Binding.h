#pragma once

#include "containers/ip/Values.h"
#include "platform/xml/ElementTree.h"
#include "platform/xml/Quoted.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

/// Records are read from elements by tables, a row for each fact. What no row names is passed over, and the
/// order of elements does not matter.
namespace kfab::ip {

enum class Needed { No, Yes };

template <class R>
struct Row {
    std::string_view path;  // from the record's element down, "a/b"; empty for the element itself
    Needed needed = Needed::No;
    void (*take)(R& record, lmx60::Element found, Values& values) = nullptr;
};

/// Throws lmx60::ReadError for an element that breaks what its edition requires.
[[noreturn]] void refuse(lmx60::Element element, const std::string& reason);
[[noreturn]] void refuseLacking(lmx60::Element element, std::string_view path);

/// Whether a later edition may say elsewhere what this element lacks.
bool isDefinedElsewhere(lmx60::Element element);

/// Passes on each element at a path; tells how many.
template <class Use>
std::size_t forEach(lmx60::Element element, std::string_view path, const Use& use) {
    if (path.empty()) {
        use(element);
        return 1;
    }
    const std::string_view step = path.substr(0, path.find('/'));
    const std::string_view rest = path.substr(std::min(step.size() + 1, path.size()));
    std::size_t count = 0;
    for (const lmx60::Element child : element.children())
        if (child.name() == step) count += forEach(child, rest, use);
    return count;
}

template <class R>
void read(R& record, lmx60::Element element, std::span<const Row<R>> table, Values& values) {
    for (const Row<R>& row : table) {
        const std::size_t count =
            forEach(element, row.path, [&](lmx60::Element found) { row.take(record, found, values); });
        if (count == 0 && row.needed == Needed::Yes && !isDefinedElsewhere(element))
            refuseLacking(element, row.path);
    }
}

template <class R>
R readNew(lmx60::Element element, std::span<const Row<R>> table, Values& values) {
    R record;
    record.line = {element.line()};
    read(record, element, table, values);
    return record;
}

namespace detail {

template <class Owner, class Member>
Owner ownerOf(Member Owner::*);
template <auto member>
using OwnerOf = decltype(ownerOf(member));

}  // namespace detail

/// A text that may be empty; the first one stands.
template <auto member>
constexpr Row<detail::OwnerOf<member>> text(std::string_view path, Needed needed = Needed::No) {
    return {path, needed, [](auto& record, lmx60::Element found, Values&) {
                if ((record.*member).empty()) record.*member = found.text();
            }};
}

/// A name that must be there.
template <auto member>
constexpr Row<detail::OwnerOf<member>> name(std::string_view path) {
    return {path, Needed::Yes, [](auto& record, lmx60::Element found, Values&) {
                if (found.text().empty())
                    refuse(found, "element " + lmx60::quoted(found.name()) + " is empty");
                record.*member = found.text();
            }};
}

template <auto member>
constexpr Row<detail::OwnerOf<member>> texts(std::string_view path) {
    return {path, Needed::No,
            [](auto& record, lmx60::Element found, Values&) { (record.*member).emplace_back(found.text()); }};
}

template <auto member>
constexpr Row<detail::OwnerOf<member>> number(std::string_view path, Needed needed = Needed::No) {
    return {path, needed, [](auto& record, lmx60::Element found, Values& values) {
                record.*member = values.numberOf(found);
            }};
}

/// Records that are read by a table or a function of their own. What is known not to be present is left out.
template <auto member, const auto& source>
constexpr Row<detail::OwnerOf<member>> records(std::string_view path) {
    return {path, Needed::No, [](auto& record, lmx60::Element found, Values& values) {
                if (!values.isPresent(found)) return;
                auto& list = record.*member;
                if constexpr (requires { source(found, values); }) {
                    list.push_back(source(found, values));
                } else {
                    using Child = typename std::remove_reference_t<decltype(list)>::value_type;
                    list.push_back(readNew<Child>(found, source, values));
                }
            }};
}

}  // namespace kfab::ip
