#pragma once

#include <jni.h>

/// The kinds of failure that native code can raise in Java.
enum class JavaError {
    outOfMemory,
    inputOutput,
    runTime,
    indexOutOfBounds,
    arithmetic,
    illegalArgument,
    nullPointer,
    pureVirtualCall,
    unknown,
};

/// Makes a new exception the pending one, in place of any other. It is thrown when the native call returns.
void raiseInJava(JNIEnv* environment, JavaError kind, const char* text);

/// As above, with a class such as "java/io/IOException". Nothing is pending when there is no such class.
void raiseInJava(JNIEnv* environment, const char* className, const char* text);
