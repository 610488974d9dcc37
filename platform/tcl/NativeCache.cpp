#include "platform/tcl/NativeCache.h"

#include "platform/messages/ComMsgMgr.h"
#include "platform/tcl/Library.h"

#include <tcl.h>

namespace tkq::tcltasks {
namespace {

bool is_exiting = false;

void leave_copy_plain(Tcl_Obj*, Tcl_Obj*) {}

/// Values are found by identity, so that neither type keeps anything but its name. A copy is plain text.
const Tcl_ObjType native_type{"native object", nullptr, &leave_copy_plain, nullptr, nullptr};
const Tcl_ObjType invalid_type{"invalid native object", nullptr, &leave_copy_plain, nullptr, nullptr};

void set_type(Tcl_Obj* object, const Tcl_ObjType& type) {
    Tcl_GetString(object);  // the text must not be lost with what a script's use made of the value
    if (object->typePtr != nullptr && object->typePtr->freeIntRepProc != nullptr)
        object->typePtr->freeIntRepProc(object);
    object->typePtr = &type;
}

}  // namespace

bool native_cache_base::tcl_exiting() {
    return is_exiting;
}

void native_cache_base::at_tcl_exit(void (*function)()) {
    ready_tcl();
    const auto run = [](void* given) {
        is_exiting = true;
        reinterpret_cast<void (*)()>(given)();
    };
    Tcl_CreateExitHandler(run, reinterpret_cast<void*>(function));
}

Tcl_Obj* native_cache_base::make_object(const std::string& text) {
    const std::string own = to_tcl(text);
    Tcl_Obj* object = Tcl_NewStringObj(own.data(), static_cast<int>(own.size()));
    Tcl_IncrRefCount(object);
    set_type(object, native_type);
    return object;
}

void native_cache_base::mark_invalid(Tcl_Obj* object) {
    set_type(object, invalid_type);
}

void native_cache_base::decr_refcount(Tcl_Obj* object) {
    Tcl_DecrRefCount(object);
}

void native_cache_base::refuse(Tcl_Obj* object) {
    const std::string quoted = "'" + text_of(object) + "'";
    if (object->typePtr == &invalid_type) throw HEXError("The object " + quoted + " no longer exists");
    throw HEXError(quoted + " is not such an object");
}

void native_cache_base::error(const std::string& text) noexcept {
    try {
        ComMsgMgr::post("@17-2010@%s", {text});
    } catch (...) {
        // Whoever tells of a fault while an object dies has nobody else to tell.
    }
}

}  // namespace tkq::tcltasks
