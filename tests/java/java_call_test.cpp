// A call from a JVM that runs out of memory, which a real one cannot be made to do.

#include "containers/bindings/JavaCall.h"
#include "containers/bindings/JavaError.h"

#include <gtest/gtest.h>

namespace {

TEST(JavaCall, EndsAtAStringForWhichTheJvmHasNoMemory) {
    JNINativeInterface_ functions{};
    functions.GetStringChars = [](JNIEnv*, jstring, jboolean*) -> const jchar* { return nullptr; };
    JNIEnv environment{&functions};
    const auto operation = [](const std::string&, const std::string&) {
        ADD_FAILURE();
        return 7;
    };
    const auto text = reinterpret_cast<jstring>(&functions);
    EXPECT_EQ(JavaCall(&environment).run(operation, text, text), 0);
}

TEST(JavaError, TakesThePlaceOfAnotherEvenIfNobodyKnowsItsKind) {
    static std::string calls;
    JNINativeInterface_ functions{};
    functions.ExceptionClear = [](JNIEnv*) { calls += "clear"; };
    functions.FindClass = [](JNIEnv*, const char* name) {
        return calls.append(name).ends_with("no/Such") ? nullptr : reinterpret_cast<jclass>(&calls);
    };
    functions.ThrowNew = [](JNIEnv*, jclass, const char* text) { return jint(calls.append(text).empty()); };
    JNIEnv environment{&functions};
    raiseInJava(&environment, static_cast<JavaError>(99), "why");
    raiseInJava(&environment, "no/Such", "why");
    EXPECT_EQ(calls, "clearjava/lang/UnknownErrorwhyclearno/Suchclear");
}

}  // namespace
