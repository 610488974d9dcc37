#pragma once

#include "platform/base/Export.h"
#include "platform/xml/Errors.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace lmx60 {

/// How a type of leaf or attribute value is read from text and written as text. A type without a
/// specialization cannot be bound. `parse` answers None, Lexical, BelowMinimum or AboveMaximum and sets the
/// value only for None.
template <class T>
struct LeafText;

/// Any text, kept as it is.
template <>
struct KP_EXPORT LeafText<std::string> {
    static ErrorKind parse(std::string_view text, std::string& value);
    static void append(const std::string& value, std::string& out);
};

template <>
struct KP_EXPORT LeafText<std::wstring> {
    static ErrorKind parse(std::string_view text, std::wstring& value);
    static void append(const std::wstring& value, std::string& out);
};

/// A decimal integer of 0 to 4294967295, blanks around it allowed.
template <>
struct KP_EXPORT LeafText<std::uint32_t> {
    static ErrorKind parse(std::string_view text, std::uint32_t& value);
    static void append(std::uint32_t value, std::string& out);
};

/// A floating-point literal, "NaN", "INF" or "-INF", blanks around it allowed. What is too large for the type
/// becomes infinity, what is too small zero. Written as the shortest text that reads back equal.
template <>
struct KP_EXPORT LeafText<float> {
    static ErrorKind parse(std::string_view text, float& value);
    static void append(float value, std::string& out);
};

/// Whether a character is XML white space.
constexpr bool isBlankCharacter(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// The text without XML white space at both ends.
KP_EXPORT std::string_view collapsed(std::string_view text);

}  // namespace lmx60
