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
/// the size) throws std::out_of_range unless said otherwise.
template <class T>
class Sequence {
public:
    Sequence() = default;
    Sequence(std::initializer_list<T> values) : values_(values) {}

    std::size_t size() const { return values_.size(); }
    const T& get(std::size_t index) const { return values_.at(index); }
    void append(T value) { values_.push_back(std::move(value)); }
    void insert(std::size_t index, T value) {
        if (index > size()) throw std::out_of_range("insert past the end of a list");
        values_.insert(place(index), std::move(value));
    }
    void assign(std::size_t index, T value) { values_.at(index) = std::move(value); }
    void remove(std::size_t index) {
        values_.at(index);
        values_.erase(place(index));
    }
    void clear() { values_.clear(); }

    auto begin() const { return values_.begin(); }
    auto end() const { return values_.end(); }

    friend bool operator==(const Sequence& a, const Sequence& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), sameValue<T>);
    }

protected:
    /// Makes the index one of the list, with copies of the value where there is none yet.
    void reach(std::size_t index, const T& filler) {
        if (index >= values_.max_size()) throw std::length_error("a list cannot be that long");
        if (index >= size()) values_.resize(index + 1, filler);
    }
    auto place(std::size_t index) { return values_.begin() + static_cast<std::ptrdiff_t>(index); }

    std::vector<T> values_;
};

/// Child records that may occur any number of times.
template <class R>
class List : public Sequence<R> {
public:
    using Sequence<R>::Sequence;
    using Sequence<R>::get;
    using Sequence<R>::append;

    /// The entry at an index; the list first grows with default entries until there is one.
    R& get(std::size_t index) {
        this->reach(index, R());
        return this->values_[index];
    }
    R& append() { return this->values_.emplace_back(); }
};

/// Leaf elements that may occur any number of times.
template <class T>
class Leaves : public Sequence<T> {
public:
    using Sequence<T>::Sequence;

    /// Sets the value at an index; a list that is too short first grows with copies of that very value.
    void set(std::size_t index, const T& value) {
        this->reach(index, value);
        this->values_[index] = value;
    }
};

/// Elements without content that may occur any number of times: only their number is known.
class Markers {
public:
    std::size_t size() const { return size_; }
    void append() { ++size_; }
    void insert(std::size_t index) {
        if (index > size_) throw std::out_of_range("insert past the end of a list");
        ++size_;
    }
    void set(std::size_t index) { size_ = std::max(size_, index + 1); }
    void remove(std::size_t index) {
        if (index >= size_) throw std::out_of_range("no such entry in a list");
        --size_;
    }
    void clear() { size_ = 0; }

    bool operator==(const Markers&) const = default;

private:
    std::size_t size_ = 0;
};

}  // namespace lmx60
