// Calls from a stand-in for the JVM, which can run out of memory and counts what it lends.

#include "containers/bindings/JavaCall.h"
#include "tests/support/Failure.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

/// A JVM whose strings are u16strings.
struct FakeJvm {
    FakeJvm() {
        functions.GetStringLength = [](JNIEnv*, jstring text) {
            return static_cast<jsize>(unitsOf(text).size());
        };
        functions.GetStringChars = [](JNIEnv*, jstring text, jboolean*) -> const jchar* {
            if (--stringsLeft < 0) return nullptr;
            ++lent;
            return reinterpret_cast<const jchar*>(unitsOf(text).data());
        };
        functions.ReleaseStringChars = [](JNIEnv*, jstring, const jchar*) { --lent; };
        environment.functions = &functions;
    }
    static const std::u16string& unitsOf(jstring text) { return *reinterpret_cast<std::u16string*>(text); }

    static inline int stringsLeft = 0;  // how many more can be lent
    static inline int lent = 0;
    JNINativeInterface_ functions{};
    JNIEnv environment{};
};

TEST(JavaCall, ConvertsFromLeftToRightUntilMemoryIsOut) {
    FakeJvm jvm;
    std::u16string first = u"\u00e9\U0001D49C", last = u"z";
    JavaCall::StringList list;
    const auto append = [](const std::string& text, JavaCall::StringList& strings, const std::string& end) {
        strings.push_back(text + end);
        if (text.empty()) throw std::runtime_error("nothing to append");
        return 7;
    };
    const auto call = [&](int stringsLeft) {
        FakeJvm::stringsLeft = stringsLeft;
        return JavaCall(&jvm.environment)
            .run(append, reinterpret_cast<jstring>(&first), reinterpret_cast<jlong>(&list),
                 reinterpret_cast<jstring>(&last));
    };
    for (const auto& [stringsLeft, left] : {std::pair{0, -1}, {1, -1}, {2, 0}}) {
        EXPECT_TRUE(list.empty());
        EXPECT_EQ(call(stringsLeft), left == 0 ? 7 : 0);
        EXPECT_EQ(FakeJvm::stringsLeft, left) << "none is asked for after a failure";
        EXPECT_EQ(FakeJvm::lent, 0);
    }
    EXPECT_EQ(list, JavaCall::StringList{"\xC3\xA9\xF0\x9D\x92\x9Cz"});
    first.clear();
    EXPECT_EQ(failureOf<std::runtime_error>([&] { call(2); }), "nothing to append");
    EXPECT_EQ(FakeJvm::lent, 0);
}

}  // namespace
