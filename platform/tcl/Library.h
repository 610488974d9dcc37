#pragma once

#include <string>
#include <string_view>

struct Tcl_Obj;

namespace tkq::tcltasks {

/// Loads Tcl into this process, where that has not been done, and readies it; to be called before anything
/// else of Tcl. Throws HEXError when it cannot be loaded. Finalizing it is the host's to do: other code of
/// the process may use Tcl to the end.
void ready_tcl();

/// UTF-8 in Tcl's own form, which differs for NUL and beyond the 16-bit characters, and back.
std::string to_tcl(std::string_view utf8);
std::string from_tcl(std::string_view own);

/// A value's text in UTF-8.
std::string text_of(Tcl_Obj* object);

}  // namespace tkq::tcltasks
