#include "containers/bindings/JavaError.h"

namespace {

constexpr struct {
    JavaError kind;
    const char* className;
} classes[] = {
    {JavaError::outOfMemory, "java/lang/OutOfMemoryError"},
    {JavaError::inputOutput, "java/io/IOException"},
    {JavaError::runTime, "java/lang/RuntimeException"},
    {JavaError::indexOutOfBounds, "java/lang/IndexOutOfBoundsException"},
    {JavaError::arithmetic, "java/lang/ArithmeticException"},
    {JavaError::illegalArgument, "java/lang/IllegalArgumentException"},
    {JavaError::nullPointer, "java/lang/NullPointerException"},
    {JavaError::pureVirtualCall, "java/lang/RuntimeException"},
};

const char* classOf(JavaError kind) {
    for (const auto& row : classes)
        if (row.kind == kind) return row.className;
    return "java/lang/UnknownError";
}

}  // namespace

void raiseInJava(JNIEnv* environment, JavaError kind, const char* text) {
    raiseInJava(environment, classOf(kind), text);
}

void raiseInJava(JNIEnv* environment, const char* className, const char* text) {
    environment->ExceptionClear();
    if (const jclass type = environment->FindClass(className)) {
        environment->ThrowNew(type, text);
    } else {
        environment->ExceptionClear();  // the failed search has left its own
    }
}
