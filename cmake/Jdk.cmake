# Finds a JDK, whose headers the Java exports need; of its libraries they need none. It is the one of JAVA_HOME, else
# that of the javac in the path.

find_package(Java QUIET COMPONENTS Runtime Development)
if(NOT DEFINED JAVA_HOME AND Java_JAVAC_EXECUTABLE)
    file(REAL_PATH ${Java_JAVAC_EXECUTABLE} JAVA_HOME)
    cmake_path(GET JAVA_HOME PARENT_PATH JAVA_HOME)
    cmake_path(GET JAVA_HOME PARENT_PATH JAVA_HOME)
endif()
find_package(JNI QUIET OPTIONAL_COMPONENTS JVM)
if(NOT JNI_FOUND)
    message(STATUS "No JDK found: the library is built without its Java exports")
endif()
