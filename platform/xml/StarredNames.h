#pragma once

#include <span>
#include <string>
#include <string_view>

/// Element names that end in "*" are no XML names, yet documents of this system hold them. Before parsing,
/// the "*" is replaced by a character that a name may hold, in tags only and byte for byte, so that places in
/// the document stay what they are; the names that the parser reports are turned back.
namespace lmx60::starred_names {

/// Replaces every name in place and tells whether there was any. Throws ReadError when a document with such
/// names also holds a name that would be taken for a replaced one.
bool replaceIn(std::span<char> document);

/// Whether a name in a document in which names were replaced is one of those; the name as it stood before.
bool isReplaced(std::string_view name);
std::string original(std::string_view name);

}  // namespace lmx60::starred_names
