// A call from a JVM that runs out of memory, which a real one cannot be made to do.

#include "containers/bindings/JavaCall.h"

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

}  // namespace
