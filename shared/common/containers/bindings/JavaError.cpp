#include "containers/bindings/JavaError.h"

namespace {

const char* classOf(JavaError kind) {
    switch (kind) {
        case JavaError::outOfMemory:
            return "java/lang/OutOfMemoryError";
        case JavaError::inputOutput:
            return "java/io/IOException";
        case JavaError::runTime:
            return "java/lang/RuntimeException";
        case JavaError::indexOutOfBounds:
            return "java/lang/IndexOutOfBoundsException";
        case JavaError::arithmetic:
            return "java/lang/ArithmeticException";
        case JavaError::illegalArgument:
            return "java/lang/IllegalArgumentException";
        case JavaError::nullPointer:
            return "java/lang/NullPointerException";
        case JavaError::pureVirtualCall:
            return "java/lang/RuntimeException";
        case JavaError::unknown:
            break;
    }
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
        environment->DeleteLocalRef(type);
    } else {
        environment->ExceptionClear();  // the failed search has left its own
    }
}
