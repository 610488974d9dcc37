#pragma once

#include "platform/base/Export.h"

#include <string>

namespace tkq::tcltasks {

/// Whether a value that is put into a script as it stands, as an argument between blanks, is one word there
/// and reaches the command byte for byte: at top level, within brackets and within a braced body. Tcl's own
/// parser decides. What is empty, is not UTF-8 or holds a NUL never does.
KP_EXPORT bool is_bare_word(const std::string& value);

/// The same for a value that is put into a script between braces: {value}. An empty value is a word there.
KP_EXPORT bool is_braced_word(const std::string& value);

}  // namespace tkq::tcltasks
