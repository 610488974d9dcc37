#include "containers/kernel/HCOKernelDefProxy.h"
#include "platform/tcl/InProcessInterpreter.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Failure.h"

#include <iostream>

#include <gtest/gtest.h>
#include <tcl.h>

using kfab::kernel::KernelDef;
using tkq::tcltasks::in_process_interpreter;
using Cache = tkq::tcltasks::native_cache<HCOKernelDefProxy*>;

namespace {

std::unique_ptr<HCOKernelDefProxy> proxyNamed(const std::string& name) {
    auto definition = std::make_shared<KernelDef>();
    definition->name = name;
    return std::make_unique<HCOKernelDefProxy>(definition);
}

/// A command as a tool would write it: the name of the kernel that its argument is, or why there is none.
int kernelName(void*, Tcl_Interp* interpreter, int count, Tcl_Obj* const arguments[]) {
    std::string name;
    const std::string failure =
        failureOf<HEXError>([&] { name = Cache::find_native(arguments[count - 1])->definition()->name; });
    Tcl_SetObjResult(interpreter, Tcl_NewStringObj((name.empty() ? failure : name).c_str(), -1));
    return TCL_OK;
}

class KernelInterpreter : public in_process_interpreter {
public:
    KernelInterpreter() { Tcl_CreateObjCommand(handle(), "kernel_name", &kernelName, nullptr, nullptr); }

    /// A variable that holds a new value for the proxy.
    Tcl_Obj* setVariable(const char* name, HCOKernelDefProxy& proxy) {
        Tcl_Obj* object = Cache::make_tcl_object(&proxy, std::string("kernel_") + name);
        Tcl_SetVar2Ex(handle(), name, nullptr, object, TCL_GLOBAL_ONLY);
        return object;
    }
};

TEST(KernelDefProxy, InvalidatesEveryValueThatStandsForIt) {
    KernelInterpreter tcl;
    auto vadd = proxyNamed("vadd");
    const auto other = proxyNamed("other");
    Tcl_Obj* a = tcl.setVariable("a", *vadd);
    tcl.setVariable("b", *vadd);
    tcl.setVariable("c", *other);
    EXPECT_EQ(tcl.evaluate("llength $a; dict size {}; string length $a; kernel_name $a"), "vadd");
    EXPECT_EQ(tcl.evaluate("set same $b; set list [list $same]; kernel_name [lindex $list 0]"), "vadd");
    EXPECT_EQ(tcl.evaluate("append copy $a x; kernel_name $copy"), "'kernel_ax' is not such an object");
    EXPECT_EQ(Cache::get_n2t_cache().count(vadd.get()), 2U);
    EXPECT_EQ(Cache::get_t2n_cache().size(), 3U);

    const int references = a->refCount;
    vadd.reset();
    EXPECT_EQ(a->refCount, references - 1);
    EXPECT_EQ(Cache::get_n2t_cache().size(), 1U);
    EXPECT_EQ(Cache::get_t2n_cache().size(), 1U);
    EXPECT_EQ(tcl.evaluate("kernel_name $a"), "The object 'kernel_a' no longer exists");
    EXPECT_EQ(tcl.evaluate("kernel_name $same"), "The object 'kernel_b' no longer exists");
    EXPECT_EQ(tcl.evaluate("kernel_name $c"), "other");
}

TEST(KernelDefProxy, ReportsCachesThatDisagree) {
    KernelInterpreter tcl;
    auto proxy = proxyNamed("vadd");
    Tcl_Obj* lost = tcl.setVariable("lost", *proxy);
    tcl.setVariable("kept", *proxy);
    Cache::get_t2n_cache().erase(lost);

    const CapturedMessages messages;
    proxy.reset();
    EXPECT_EQ(messages.texts(), std::vector<std::string>{"17-2010: native_cache<> corrupt"});
    EXPECT_TRUE(Cache::get_n2t_cache().empty());
    EXPECT_TRUE(Cache::get_t2n_cache().empty());
    EXPECT_EQ(tcl.evaluate("kernel_name $kept"), "The object 'kernel_kept' no longer exists");
    Cache::decr_refcount(lost);  // what the caches could not do
}

// Each of these ends a process of its own; the leak checker looks on where there is one.

[[noreturn]] void dieAfterTcl() {
    KernelInterpreter tcl;
    auto proxy = proxyNamed("vadd");
    tcl.setVariable("a", *proxy);
    std::cerr << "observed " << Cache::observers();
    { const KernelInterpreter ended; }
    Tcl_Finalize();
    std::cerr << failureOf<HEXError>([&] { tcl.evaluate(""); });
    const CapturedMessages messages;
    Cache::get_n2t_cache().emplace(proxy.get(), nullptr);  // would be found corrupt
    proxy.reset();
    std::cerr << Cache::observers() << " messages " << messages.texts().size();
    std::exit(0);
}

[[noreturn]] void dieAfterTheCaches(void (*exit)(int)) {
    static const auto proxy = proxyNamed("vadd");
    static KernelInterpreter tcl;
    tcl.setVariable("a", *proxy);
    std::cerr << tcl.evaluate("kernel_name $a");
    exit(0);
    std::abort();
}

TEST(KernelDefProxy, DiesQuietlyWhenThereAreNoCaches) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto done = testing::ExitedWithCode(0);
    EXPECT_EXIT((proxyNamed("vadd").reset(), std::exit(Cache::observers())), done, "^$");
    EXPECT_EXIT((Cache::get_t2n_cache(), std::exit(Cache::observers() ? 0 : 1)), done, "^$");
    EXPECT_EXIT(dieAfterTcl(), done, "^observed 1The Tcl interpreter has ended0 messages 0$");
    EXPECT_EXIT(dieAfterTheCaches(&std::exit), done, "^vadd$");
    EXPECT_EXIT(dieAfterTheCaches([](int status) { Tcl_Exit(status); }), done, "^vadd$");
}

}  // namespace
