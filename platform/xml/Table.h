#pragma once

#include "platform/xml/Errors.h"
#include "platform/xml/LeafText.h"
#include "platform/xml/Lists.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace lmx60 {

class Table;

enum class FieldKind { Attribute, Leaf, Marker, Record };
enum class Occurs { Optional, Required, Any };
/// The order in which children are read. They are written in that of the table.
enum class Order { OfTable, Any };

/// One attribute or child element of a record: its name in the document, and how the reader, the writer and
/// the comparison reach the member behind it. `record` is always the record that holds the member.
struct Field {
    FieldKind kind = FieldKind::Attribute;
    Occurs occurs = Occurs::Optional;
    std::string_view name;

    /// How many values the member holds.
    std::size_t (*count)(const void* record) = nullptr;
    bool (*equal)(const void* a, const void* b) = nullptr;

    /// Attributes and leaves: takes in one more value; writes out the one at an index.
    ErrorKind (*parse)(void* record, std::string_view text) = nullptr;
    void (*format)(const void* record, std::size_t index, std::string& out) = nullptr;

    /// Records and markers: makes one more child (none for a marker); reaches the one at an index.
    void* (*append)(void* record) = nullptr;
    const void* (*at)(const void* record, std::size_t index) = nullptr;
    const Table& (*childTable)() = nullptr;
};

/// The fields of one type of record: attributes, then children in document order. Reading, writing, equality
/// and validity of every record come from its table alone.
class Table {
public:
    constexpr Table(std::initializer_list<Field> fields, Order order = Order::OfTable) : order_(order) {
        const auto isAttribute = [](const Field& field) { return field.kind == FieldKind::Attribute; };
        Field* const firstChild = std::copy_if(fields.begin(), fields.end(), fields_.data(), isAttribute);
        Field* const end = std::remove_copy_if(fields.begin(), fields.end(), firstChild, isAttribute);
        attributeCount_ = static_cast<std::size_t>(firstChild - fields_.data());
        size_ = static_cast<std::size_t>(end - fields_.data());
    }

    constexpr const Field* begin() const { return fields_.data(); }
    constexpr const Field* end() const { return fields_.data() + size_; }
    constexpr const Field* firstChild() const { return begin() + attributeCount_; }
    constexpr std::span<const Field> attributes() const { return {begin(), firstChild()}; }
    constexpr std::span<const Field> children() const { return {firstChild(), end()}; }
    constexpr Order order() const { return order_; }

    bool equal(const void* a, const void* b) const {
        return std::all_of(begin(), end(), [&](const Field& field) { return field.equal(a, b); });
    }

    /// The first required field that a record lacks, or none.
    const Field* firstMissing(const void* record) const {
        const Field* missing = std::find_if(begin(), end(), [&](const Field& field) {
            return field.occurs == Occurs::Required && field.count(record) == 0;
        });
        return missing == end() ? nullptr : missing;
    }

    static constexpr std::size_t maximumFields = 20;

private:
    std::array<Field, maximumFields> fields_{};
    std::size_t attributeCount_ = 0;
    std::size_t size_ = 0;
    Order order_;
};

/// A name as an argument of a template.
template <std::size_t size>
struct Name {
    consteval Name(const char (&name)[size]) { std::copy_n(name, size, text); }
    char text[size] = {};
};

/// Base of every bound record, which names its element. The record declares `static const lmx60::Table
/// table`.
template <class Derived, Name name>
struct Record {
    static constexpr std::string_view element = name.text;

    /// Whether everything that the schema requires of this record itself is present.
    bool IsOccursOk() const {
        return Derived::table.firstMissing(static_cast<const Derived*>(this)) == nullptr;
    }

    friend bool operator==(const Derived& a, const Derived& b) { return Derived::table.equal(&a, &b); }
};

namespace detail {

/// How a member of one of the field types is reached. The primary template serves a record that is always
/// there.
template <class Member>
struct Access {
    using Child = Member;
    static std::size_t count(const Member&) { return 1; }
    static void* append(Member& member) { return &member; }
    static const Child& at(const Member& member, std::size_t) { return member; }
};

template <class R>
struct Access<Optional<R>> {
    using Child = R;
    static std::size_t count(const Optional<R>& member) { return member ? 1 : 0; }
    static void* append(Optional<R>& member) { return &member.emplace(); }
    static const Child& at(const Optional<R>& member, std::size_t) { return *member; }
};

template <class R>
struct Access<List<R>> {
    using Child = R;
    static std::size_t count(const List<R>& member) { return member.size(); }
    static void* append(List<R>& member) { return &member.append(); }
    static const Child& at(const List<R>& member, std::size_t index) { return member.get(index); }
};

template <class T>
struct Access<Value<T>> {
    using Leaf = T;
    static std::size_t count(const Value<T>& member) { return member.isPresent() ? 1 : 0; }
    static void append(Value<T>& member, T value) { member.set(std::move(value)); }
    static const T& at(const Value<T>& member, std::size_t) { return member.get(); }
};

template <class T>
struct Access<Leaves<T>> {
    using Leaf = T;
    static std::size_t count(const Leaves<T>& member) { return member.size(); }
    static void append(Leaves<T>& member, T value) { member.append(std::move(value)); }
    static const T& at(const Leaves<T>& member, std::size_t index) { return member.get(index); }
};

template <>
struct Access<Markers> {
    static std::size_t count(const Markers& member) { return member.size(); }
    static void* append(Markers& member) {
        member.append();
        return nullptr;
    }
};

template <class Owner, class Member>
struct MemberPointer {
    using OwnerType = Owner;
    using Type = Member;
};
template <class Owner, class Member>
MemberPointer<Owner, Member> describe(Member Owner::*);

/// The functions of a Field for one member of one record type.
template <auto member>
struct Bound {
    using Owner = typename decltype(describe(member))::OwnerType;
    using Type = typename decltype(describe(member))::Type;
    using Reach = Access<Type>;

    static const Type& of(const void* record) { return static_cast<const Owner*>(record)->*member; }
    static Type& of(void* record) { return static_cast<Owner*>(record)->*member; }

    static std::size_t count(const void* record) { return Reach::count(of(record)); }
    static bool equal(const void* a, const void* b) { return of(a) == of(b); }
    static void* append(void* record) { return Reach::append(of(record)); }
    static const void* at(const void* record, std::size_t index) { return &Reach::at(of(record), index); }
    static const Table& childTable() { return Reach::Child::table; }

    static ErrorKind parse(void* record, std::string_view text) {
        typename Reach::Leaf value{};
        const ErrorKind error = LeafText<typename Reach::Leaf>::parse(text, value);
        if (error == ErrorKind::None) Reach::append(of(record), std::move(value));
        return error;
    }
    static void format(const void* record, std::size_t index, std::string& out) {
        LeafText<typename Reach::Leaf>::append(Reach::at(of(record), index), out);
    }
};

template <auto member>
constexpr Field field(FieldKind kind, Occurs occurs, std::string_view name) {
    using B = Bound<member>;
    Field made{.kind = kind, .occurs = occurs, .name = name, .count = B::count, .equal = B::equal};
    if constexpr (requires { typename B::Reach::Leaf; }) {
        made.parse = B::parse;
        made.format = B::format;
    } else {
        made.append = B::append;
    }
    if constexpr (requires { typename B::Reach::Child; }) {
        made.at = B::at;
        made.childTable = B::childTable;
    }
    return made;
}

template <class Member>
struct Shape {
    static constexpr FieldKind kind = FieldKind::Record;
    static constexpr Occurs occurs = Occurs::Required;
};
template <class R>
struct Shape<Optional<R>> {
    static constexpr FieldKind kind = FieldKind::Record;
    static constexpr Occurs occurs = Occurs::Optional;
};
template <class R>
struct Shape<List<R>> {
    static constexpr FieldKind kind = FieldKind::Record;
    static constexpr Occurs occurs = Occurs::Any;
};
template <class T>
struct Shape<Value<T>> {
    static constexpr FieldKind kind = FieldKind::Leaf;
    static constexpr Occurs occurs = Occurs::Required;
};
template <class T>
struct Shape<Leaves<T>> {
    static constexpr FieldKind kind = FieldKind::Leaf;
    static constexpr Occurs occurs = Occurs::Any;
};

template <>
struct Shape<Markers> {
    static constexpr FieldKind kind = FieldKind::Marker;
    static constexpr Occurs occurs = Occurs::Any;
};
template <auto member>
constexpr Field child(std::string_view name) {
    using S = Shape<typename Bound<member>::Type>;
    return field<member>(S::kind, S::occurs, name);
}

}  // namespace detail

/// An attribute; the member is a Value.
template <auto member, std::size_t size>
constexpr Field attribute(const char (&name)[size], Occurs occurs = Occurs::Optional) {
    return detail::field<member>(FieldKind::Attribute, occurs, {name, size - 1});
}

/// A child element; its kind and how often it may occur follow from the member's type: List and Leaves any
/// number of times, Optional at most once, a Value or a plain record exactly once.
template <auto member, std::size_t size>
constexpr Field child(const char (&name)[size]) {
    return detail::child<member>({name, size - 1});
}

/// A child record, which has a name of its own.
template <auto member>
constexpr Field child() {
    return detail::child<member>(detail::Bound<member>::Reach::Child::element);
}

/// A child record that a valid document has although a record in memory may lack it.
template <auto member>
constexpr Field requiredChild() {
    Field field = child<member>();
    field.occurs = Occurs::Required;
    return field;
}

}  // namespace lmx60
