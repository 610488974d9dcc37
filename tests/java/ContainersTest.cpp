// The native half of ContainersTest.java.

#include "containers/bindings/JavaError.h"

extern "C" {

JNIEXPORT void JNICALL Java_ContainersTest_raiseOverPending(JNIEnv* environment, jclass, jint kind) {
    environment->ThrowNew(environment->FindClass("java/lang/IllegalStateException"), "pending before");
    raiseInJava(environment, static_cast<JavaError>(kind), "raised");
}

JNIEXPORT void JNICALL Java_ContainersTest_raiseOfNoClass(JNIEnv* environment, jclass) {
    raiseInJava(environment, "no/such/Failure", "never seen");
}

}  // extern "C"
