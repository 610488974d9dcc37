// Words of Tcl: what the checks call one word is one to a real interpreter, and the other way around.

#include "platform/base/HI18N.h"
#include "platform/tcl/InProcessInterpreter.h"
#include "platform/tcl/Library.h"
#include "platform/tcl/Words.h"

#include <vector>

#include "fuzz/Fuzz.h"
#include <tcl.h>

namespace {

using namespace tkq::tcltasks;
using fuzz::require;

/// An interpreter whose only commands are these two, so that no value can make it do anything.
class Interpreter {
public:
    Interpreter() {
        const std::string commands = tcl_.evaluate("info commands");
        tcl_.evaluate("namespace delete {*}[namespace children ::]");
        for (const std::string& command : split(commands))
            Tcl_DeleteCommand(tcl_.handle(), command.c_str());
        Tcl_CreateObjCommand(tcl_.handle(), "take", &take, this, nullptr);
        Tcl_CreateObjCommand(tcl_.handle(), "run", &run, nullptr, nullptr);
    }

    /// Whether what is written is one word of this value at top level, within brackets and in a braced body.
    bool staysOneWord(const std::string& written, const std::string& value) {
        const std::string command = "take first " + written + " last";
        for (const std::string& script : {command, "run [" + command + "]", "run {\n  " + command + "\n}"}) {
            taken_.clear();
            fuzz::succeeds<tcl_error>([&] { tcl_.evaluate(script); });
            if (taken_ != std::vector<std::string>{"first", value, "last"}) return false;
        }
        return true;
    }

private:
    std::vector<std::string> split(const std::string& list) {
        std::vector<std::string> parts;
        int count = 0;
        const char** elements = nullptr;
        Tcl_SplitList(tcl_.handle(), list.c_str(), &count, &elements);
        parts.assign(elements, elements + count);
        Tcl_Free(reinterpret_cast<char*>(elements));
        return parts;
    }

    static int take(void* self, Tcl_Interp*, int count, Tcl_Obj* const words[]) {
        auto& taken = static_cast<Interpreter*>(self)->taken_;
        taken.clear();
        for (int i = 1; i < count; ++i)
            taken.push_back(text_of(words[i]));
        return TCL_OK;
    }
    static int run(void*, Tcl_Interp* interpreter, int count, Tcl_Obj* const words[]) {
        return count == 2 ? Tcl_EvalObjEx(interpreter, words[1], 0) : TCL_ERROR;
    }

    in_process_interpreter tcl_;
    std::vector<std::string> taken_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Interpreter tcl;
    const std::string value(fuzz::text(data, size));
    const bool isText = HI18N::isUtf8(value) && value.find('\0') == std::string::npos;
    const bool isBare = isText && tcl.staysOneWord(value, value);
    // A "$" that names no variable stands for itself, but is not relied on.
    const bool isOpen = isBare && value.find('$') != std::string::npos;
    require(isOpen || is_bare_word(value) == isBare, "a bare word is what Tcl takes as one");
    const bool isBraced = isText && tcl.staysOneWord("{" + value + "}", value);
    require(is_braced_word(value) == isBraced, "a braced word is what Tcl takes as one");
    return 0;
}
