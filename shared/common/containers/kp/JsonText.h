#pragma once

#include <string>
#include <string_view>

/// The text of a JSON document in the layout of Boost's property trees, built without a tree, which takes ten
/// times the memory of its text and most of the time: all values are texts, "/" is escaped, and an array or
/// object without members is an empty text.
class JsonText {
public:
    JsonText() { text_ = '{'; }

    void addValue(std::string_view key, std::string_view value);
    void beginArray(std::string_view key);
    void endArray() { end(']'); }
    /// An element of the array at hand.
    void beginObject();
    void endObject() { end('}'); }

    /// The whole document; nothing can be added after.
    std::string_view finish();

private:
    void beginMember();
    void begin(char bracket);
    void end(char bracket);
    void startLine();
    void addQuoted(std::string_view value);
    void addEscaped(char c);

    std::string text_;
    std::size_t depth_ = 1;
    bool isEmpty_ = true;  ///< the array or object at hand
};
