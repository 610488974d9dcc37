#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

struct Tcl_Obj;

namespace tkq::tcltasks {

/// What all caches between native objects and Tcl values need of Tcl.
class KP_EXPORT native_cache_base {
public:
    /// True from the moment that Tcl runs its exit handlers.
    static bool tcl_exiting();

    /// A script that still holds the value then gets an error for it that says so.
    static void mark_invalid(Tcl_Obj* object);
    static void decr_refcount(Tcl_Obj* object);

    /// Posts what is wrong with the caches themselves. Never throws.
    static void error(const std::string& text) noexcept;

    /// The pointer, plus the pointer shifted right by three bits.
    struct pointer_hash {
        std::size_t operator()(const void* pointer) const {
            const auto bits = reinterpret_cast<std::uintptr_t>(pointer);
            return bits + (bits >> 3);
        }
    };

protected:
    /// Has a function called when Tcl runs its exit handlers, after tcl_exiting has become true.
    static void at_tcl_exit(void (*function)());
    /// A new value that scripts see as `text`, with one reference: the caller's.
    static Tcl_Obj* make_object(const std::string& text);
    /// Throws HEXError that says why the value stands for no native object.
    [[noreturn]] static void refuse(Tcl_Obj* object);
};

template <class Pointer>
class native_cache;

/// Which Tcl values stand for which objects of one native type. To be used from the interpreter's thread.
/// The caches are made at first use; they are emptied when Tcl exits, or else the process.
template <class Native>
class native_cache<Native*> : public native_cache_base {
public:
    using n2t_cache = std::unordered_multimap<const Native*, Tcl_Obj*, pointer_hash>;
    using t2n_cache = std::unordered_map<Tcl_Obj*, Native*, pointer_hash>;

    static n2t_cache& get_n2t_cache();
    static t2n_cache& get_t2n_cache();

    /// True while the caches exist and may be consulted.
    static bool observers();

    /// A new Tcl value, shown to scripts as `text`, that stands for the object until forget. The caches own
    /// one reference to it; the interpreter adds its own. Throws HEXError when Tcl is exiting.
    static Tcl_Obj* make_tcl_object(Native* native, const std::string& text);

    /// The object that a value stands for. A value that a script built anew from the text stands for none.
    /// Throws HEXError when there is no object, or no longer.
    static Native* find_native(Tcl_Obj* object);

    /// To be called when the object dies: makes every value that stands for it invalid.
    static void forget(const Native* native) noexcept;

private:
    struct caches {
        n2t_cache n2t;
        t2n_cache t2n;

        caches();
        ~caches();
    };

    static caches& all();
    static void clear();

    static bool& exist();
};

template <class Native>
native_cache<Native*>::caches::caches() {
    at_tcl_exit(&clear);
    exist() = true;
}

template <class Native>
native_cache<Native*>::caches::~caches() {
    clear();
    exist() = false;
}

template <class Native>
bool& native_cache<Native*>::exist() {
    static bool flag = false;
    return flag;
}

template <class Native>
auto native_cache<Native*>::all() -> caches& {
    static caches both;
    return both;
}

template <class Native>
auto native_cache<Native*>::get_n2t_cache() -> n2t_cache& {
    return all().n2t;
}

template <class Native>
auto native_cache<Native*>::get_t2n_cache() -> t2n_cache& {
    return all().t2n;
}

template <class Native>
bool native_cache<Native*>::observers() {
    return exist() && !tcl_exiting();
}

template <class Native>
Tcl_Obj* native_cache<Native*>::make_tcl_object(Native* native, const std::string& text) {
    if (tcl_exiting()) throw HEXError("No value for '" + text + "': the Tcl interpreter is exiting");
    caches& both = all();
    Tcl_Obj* object = make_object(text);
    try {
        both.t2n.emplace(object, native);
        both.n2t.emplace(native, object);
    } catch (...) {
        both.t2n.erase(object);
        decr_refcount(object);
        throw;
    }
    return object;
}

template <class Native>
Native* native_cache<Native*>::find_native(Tcl_Obj* object) {
    if (!observers()) refuse(object);
    const auto found = get_t2n_cache().find(object);
    if (found == get_t2n_cache().end()) refuse(object);
    return found->second;
}

template <class Native>
void native_cache<Native*>::forget(const Native* native) noexcept {
    if (!observers()) return;
    auto& [n2t, t2n] = all();
    const auto [begin, end] = n2t.equal_range(native);
    for (auto entry = begin; entry != end; ++entry) {
        Tcl_Obj* const object = entry->second;
        if (t2n.erase(object) == 0) {
            error("native_cache<> corrupt");
            continue;
        }
        mark_invalid(object);
        decr_refcount(object);
    }
    n2t.erase(begin, end);
}

template <class Native>
void native_cache<Native*>::clear() {
    // When the process ends without Tcl, the caches may be gone before Tcl's exit handlers run.
    if (!exist()) return;
    auto& [n2t, t2n] = all();
    n2t.clear();
    for (const auto& [object, native] : std::exchange(t2n, {})) {
        mark_invalid(object);
        decr_refcount(object);
    }
}

}  // namespace tkq::tcltasks
