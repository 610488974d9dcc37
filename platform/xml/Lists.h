#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// The types that fields of bound records have. All are values: copies are deep.
namespace lmx60 {

/// Equality of what fields hold; two numbers that are not a number are equal.
template <class T>
bool sameValue(const T& a, const T& b) {
    if constexpr (std::is_floating_point_v<T>) {
        return a == b || (std::isnan(a) && std::isnan(b));
    } else {
        return a == b;
    }
}

/// An attribute, or a leaf element that occurs exactly once: a value and whether it is present. A value that
/// is not present is the default of the schema.
template <class T>
class Value {
public:
    Value() = default;
    explicit Value(T schemaDefault) : value_(std::move(schemaDefault)) {}

    const T& get() const { return value_; }
    bool isPresent() const { return present_; }
    void set(T value) {
        value_ = std::move(value);
        present_ = true;
    }

    friend bool operator==(const Value& a, const Value& b) {
        return a.present_ == b.present_ && sameValue(a.value_, b.value_);
    }

private:
    T value_{};
    bool present_ = false;
};

/// A child record that occurs at most once.
template <class R>
class Optional : public std::optional<R> {
public:
    using std::optional<R>::optional;

    R& getOrCreate() {
        if (!this->has_value()) this->emplace();
        return **this;
    }

    friend bool operator==(const Optional& a, const Optional& b) {
        return a.has_value() == b.has_value() && (!a || *a == *b);
    }
};

/// What lists of records and lists of leaves have in common. An index at or past the size (for insert: past
/// the size) throws std::out_of_range unless said otherwise. A value may be one of the list's own; where none
/// is given it is a default.
template <class T>
class Sequence {
public:
    Sequence() = default;
    Sequence(std::initializer_list<T> values) : values_(values) {}

    std::size_t size() const { return values_.size(); }
    const T& get(std::size_t index) const { return values_.at(index); }
    T& append() { return values_.emplace_back(); }
    void append(T value) { values_.push_back(std::move(value)); }
    void insert(std::size_t index, T value = T()) {
        if (index > size()) throw std::out_of_range("insert past the end of a list");
        values_.insert(place(index), std::move(value));
    }
    void assign(std::size_t index, T value = T()) { values_.at(index) = std::move(value); }
    void remove(std::size_t index) {
        static_cast<void>(get(index));
        values_.erase(place(index));
    }
    void clear() { values_.clear(); }

    auto begin() const { return values_.begin(); }
    auto end() const { return values_.end(); }

    friend bool operator==(const Sequence& a, const Sequence& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameValue<T>);
    }

protected:
    /// The value at an index, which becomes one of the list, with copies of `filler` where there is none yet.
    T& reach(std::size_t index, const T& filler) {
        if (index >= values_.max_size()) throw std::length_error("a list cannot be that long");
        if (index >= size()) values_.resize(index + 1, filler);
        return values_[index];
    }

private:
    auto place(std::size_t index) { return values_.begin() + static_cast<std::ptrdiff_t>(index); }

    std::vector<T> values_;
};

/// Child records that may occur any number of times.
template <class R>
class List : public Sequence<R> {
public:
    using Sequence<R>::Sequence;
    using Sequence<R>::get;

    /// The entry at an index; the list first grows with default entries until there is one.
    R& get(std::size_t index) { return this->reach(index, R()); }
};

/// Leaf elements that may occur any number of times.
template <class T>
class Leaves : public Sequence<T> {
public:
    using Sequence<T>::Sequence;

    /// Sets the value at an index; a list that is too short first grows with copies of that very value.
    void set(std::size_t index, T value = T()) {
        T& reached = this->reach(index, value);
        reached = std::move(value);
    }
};

/// What an element without content holds.
struct Marker {
    bool operator==(const Marker&) const = default;
};

/// Elements without content that may occur any number of times: only their number is known.
using Markers = Leaves<Marker>;

}  // namespace lmx60
