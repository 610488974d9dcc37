// The native methods of the Java class ui.data.containers.containersi. A list or an iterator is a handle
// there: the address of an object that Java owns.

#include "containers/bindings/HSTFwdSTLIter.h"
#include "containers/bindings/JavaCall.h"
#include "containers/kp/HKPContainerUtils.h"

namespace {

using StringList = JavaCall::StringList;

jlong handleOf(const void* object) {
    return reinterpret_cast<jlong>(object);
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_ui_data_containers_containersi_new_1StringVector(JNIEnv*, jclass) {
    return handleOf(new StringList);
}

JNIEXPORT void JNICALL Java_ui_data_containers_containersi_delete_1StringVector(JNIEnv* environment, jclass,
                                                                                jlong list) {
    JavaCall(environment).run([](StringList& strings) { delete &strings; }, list);
}

JNIEXPORT jlong JNICALL Java_ui_data_containers_containersi_StringVector_1size(JNIEnv* environment, jclass,
                                                                               jlong list) {
    return JavaCall(environment)
        .run([](StringList& strings) { return static_cast<jlong>(strings.size()); }, list);
}

JNIEXPORT void JNICALL Java_ui_data_containers_containersi_StringVector_1clear(JNIEnv* environment, jclass,
                                                                               jlong list) {
    JavaCall(environment).run([](StringList& strings) { strings.clear(); }, list);
}

JNIEXPORT void JNICALL Java_ui_data_containers_containersi_StringVector_1push_1back(JNIEnv* environment,
                                                                                    jclass, jlong list,
                                                                                    jstring text) {
    JavaCall(environment)
        .run([](StringList& strings, std::string& added) { strings.push_back(std::move(added)); }, list,
             text);
}

JNIEXPORT jlong JNICALL Java_ui_data_containers_containersi_StringVector_1createIter(JNIEnv* environment,
                                                                                     jclass, jlong list) {
    return JavaCall(environment)
        .run([](StringList& strings) { return handleOf(new HSTFwdSTLIter(strings)); }, list);
}

JNIEXPORT jint JNICALL Java_ui_data_containers_containersi_getInfoAsJson(JNIEnv* environment, jclass,
                                                                         jstring path, jlong out,
                                                                         jlong errors) {
    return JavaCall(environment).run(HKPContainerUtils::getInfoAsJson, path, out, errors);
}

JNIEXPORT jint JNICALL Java_ui_data_containers_containersi_getInfoAsTxt(JNIEnv* environment, jclass,
                                                                        jstring path, jlong out,
                                                                        jlong errors) {
    return JavaCall(environment).run(HKPContainerUtils::getInfoAsTxt, path, out, errors);
}

JNIEXPORT jint JNICALL Java_ui_data_containers_containersi_readFileInKP(JNIEnv* environment, jclass,
                                                                        jstring path, jstring file,
                                                                        jlong lines, jlong errors) {
    return JavaCall(environment).run(HKPContainerUtils::readFileInKP, path, file, lines, errors);
}

JNIEXPORT jint JNICALL Java_ui_data_containers_containersi_extractKernelFromKP(JNIEnv* environment, jclass,
                                                                               jstring path, jstring kernel,
                                                                               jstring destination,
                                                                               jlong errors) {
    return JavaCall(environment)
        .run(HKPContainerUtils::extractKernelFromKP, path, kernel, destination, errors);
}

}  // extern "C"
