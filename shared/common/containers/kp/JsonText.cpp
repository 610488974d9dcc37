#include "containers/kp/JsonText.h"

void JsonText::addValue(std::string_view key, std::string_view value) {
    beginMember();
    addQuoted(key);
    text_ += ": ";
    addQuoted(value);
}

void JsonText::beginArray(std::string_view key) {
    beginMember();
    addQuoted(key);
    text_ += ": ";
    begin('[');
}

void JsonText::beginObject() {
    beginMember();
    begin('{');
}

std::string_view JsonText::finish() {
    end('}');
    text_ += '\n';
    return text_;
}

void JsonText::beginMember() {
    if (!isEmpty_) text_ += ',';
    isEmpty_ = false;
    startLine();
}

void JsonText::begin(char bracket) {
    text_ += bracket;
    isEmpty_ = true;
    ++depth_;
}

void JsonText::end(char bracket) {
    --depth_;
    if (isEmpty_) {
        text_.back() = '"';
        text_ += '"';
    } else {
        startLine();
        text_ += bracket;
    }
    isEmpty_ = false;
}

void JsonText::startLine() {
    constexpr std::size_t indentation = 4;
    text_ += '\n';
    text_.append(depth_ * indentation, ' ');
}

void JsonText::addQuoted(std::string_view value) {
    text_ += '"';
    for (const char c : value) {
        const bool isPlain = static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\' && c != '/';
        isPlain ? text_.push_back(c) : addEscaped(c);
    }
    text_ += '"';
}

void JsonText::addEscaped(char c) {
    constexpr std::string_view named = "\b\f\n\r\t/\"\\";
    constexpr std::string_view names = "bfnrt/\"\\";
    constexpr std::string_view digits = "0123456789ABCDEF";
    if (const std::size_t at = named.find(c); at != std::string_view::npos) {
        text_ += '\\';
        text_ += names[at];
    } else {
        text_ += "\\u00";
        text_ += digits[static_cast<unsigned char>(c) >> 4];
        text_ += digits[c & 0xf];
    }
}
