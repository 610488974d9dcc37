// The native half of StringList.java: how Java uses an iterator over a list of strings.

#include "containers/bindings/HSTFwdSTLIter.h"

#include <jni.h>

namespace {

HSTFwdSTLIter& iteratorOf(jlong handle) {
    return *reinterpret_cast<HSTFwdSTLIter*>(handle);
}

}  // namespace

extern "C" {

JNIEXPORT jboolean JNICALL Java_StringList_isValid(JNIEnv*, jclass, jlong iterator) {
    return iteratorOf(iterator).isValid();
}

JNIEXPORT void JNICALL Java_StringList_advance(JNIEnv*, jclass, jlong iterator) {
    iteratorOf(iterator).advance();
}

JNIEXPORT jbyteArray JNICALL Java_StringList_getValue(JNIEnv* environment, jclass, jlong iterator) {
    const std::string& value = iteratorOf(iterator).getValue();
    const auto size = static_cast<jsize>(value.size());
    const jbyteArray bytes = environment->NewByteArray(size);
    if (bytes != nullptr)
        environment->SetByteArrayRegion(bytes, 0, size, reinterpret_cast<const jbyte*>(value.data()));
    return bytes;
}

JNIEXPORT void JNICALL Java_StringList_delete(JNIEnv*, jclass, jlong iterator) {
    delete &iteratorOf(iterator);
}

}  // extern "C"
