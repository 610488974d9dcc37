#include "platform/tcl/Library.h"

#include "platform/base/Exceptions.h"

#include <dlfcn.h>
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

[[noreturn]] void refuse(const std::string& reason) {
    throw HEXError("Tcl cannot be loaded: " + reason);
}

template <class Function>
Function* function_of(void* library, const char* name) {
    void* const address = dlsym(library, name);
    if (address == nullptr) refuse(dlerror());
    return reinterpret_cast<Function*>(address);
}

/// Only an interpreter has the table of Tcl's functions, and only two of them can be called before it is
/// known.
void load() {
    // Never unloaded: Tcl keeps threads and exit handlers. A process that has Tcl already gets its own.
    void* const library = dlopen("libtcl" TCL_VERSION ".so", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) refuse(dlerror());
    function_of<void(const char*)>(library, "Tcl_FindExecutable")(nullptr);
    Tcl_Interp* const interpreter = function_of<Tcl_Interp*()>(library, "Tcl_CreateInterp")();
    if (Tcl_InitStubs(interpreter, TCL_VERSION, 0) == nullptr) refuse("it is of another version");
    Tcl_DeleteInterp(interpreter);
}

}  // namespace

void ready_tcl() {
    [[maybe_unused]] static const bool ready = [] {
        load();
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
    ready_tcl();
    int length = 0;
    const char* text = Tcl_GetStringFromObj(object, &length);
    return from_tcl({text, static_cast<std::size_t>(length)});
}

}  // namespace tkq::tcltasks
