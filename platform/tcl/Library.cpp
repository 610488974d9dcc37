#include "platform/tcl/Library.h"

#include <tcl.h>

namespace tkq::tcltasks {
namespace {

/// A call of Tcl that recodes from one text to another, between UTF-8 and Tcl's own form.
template <class Recode>
std::string recoded(Recode recode, std::string_view text) {
    ready_tcl();
    const Tcl_Encoding utf8 = Tcl_GetEncoding(nullptr, "utf-8");
    Tcl_DString buffer;
    recode(utf8, text.data(), static_cast<int>(text.size()), &buffer);
    std::string result(Tcl_DStringValue(&buffer), static_cast<std::size_t>(Tcl_DStringLength(&buffer)));
    Tcl_DStringFree(&buffer);
    Tcl_FreeEncoding(utf8);
    return result;
}

}  // namespace

void ready_tcl() {
    [[maybe_unused]] static const bool ready = [] {
        Tcl_FindExecutable(nullptr);
        // File names are UTF-8 here, whatever the locale says.
        return Tcl_SetSystemEncoding(nullptr, "utf-8") == TCL_OK;
    }();
}

std::string to_tcl(std::string_view utf8) {
    return recoded(Tcl_ExternalToUtfDString, utf8);
}

std::string from_tcl(std::string_view own) {
    return recoded(Tcl_UtfToExternalDString, own);
}

std::string text_of(Tcl_Obj* object) {
    int length = 0;
    const char* text = Tcl_GetStringFromObj(object, &length);
    return from_tcl({text, static_cast<std::size_t>(length)});
}

}  // namespace tkq::tcltasks
