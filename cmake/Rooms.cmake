# A room is one folder of sources with the rooms it may include. Its objects go into one of the two shared
# libraries; tests link the objects of a room and of all rooms below it directly.

# kp_room(NAME [USES rooms...] [LIBRARIES targets...] [SOURCES files...] [OWN headers...] [INTERNAL headers...]);
# without SOURCES, all of the folder. A room's headers are doors: other rooms may include them, and they are installed
# with the shared library. Not so its OWN headers, which nobody else includes, and those that are INTERNAL to this
# project, which are doors but not installed. tools/doors.py holds every include against that.
function(kp_room name)
    cmake_parse_arguments(PARSE_ARGV 1 room "" "" "USES;LIBRARIES;SOURCES;OWN;INTERNAL")
    if(room_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kp_room(${name}) does not know ${room_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT room_SOURCES)
        file(GLOB room_SOURCES CONFIGURE_DEPENDS *.cpp *.h)
    endif()
    set(sources "")
    foreach(source IN LISTS room_SOURCES)
        cmake_path(ABSOLUTE_PATH source)
        list(APPEND sources ${source})
    endforeach()
    add_library(${name} OBJECT ${sources})
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PUBLIC kp_settings ${room_USES} ${room_LIBRARIES})

    set(closure ${name})
    foreach(used IN LISTS room_USES)
        get_target_property(below ${used} KP_CLOSURE)
        list(APPEND closure ${below})
    endforeach()
    list(REMOVE_DUPLICATES closure)
    list(TRANSFORM room_OWN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    list(TRANSFORM room_INTERNAL PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set(installed ${sources})
    list(FILTER installed INCLUDE REGEX "\\.h$")
    list(REMOVE_ITEM installed ${room_OWN} ${room_INTERNAL} "")
    set_target_properties(${name} PROPERTIES KP_CLOSURE "${closure}" KP_PUBLIC_HEADERS "${installed}")
    set_property(GLOBAL APPEND_STRING PROPERTY KP_ROOMS
        "${name}|${closure}|${sources}|${room_OWN}|${room_INTERNAL}\n")
endfunction()

# kp_shared_library(NAME INCLUDE_ROOT directory ROOMS rooms... [LIBRARIES targets...]): a library with the public headers
# of its rooms, which are included by their paths from the root.
function(kp_shared_library name)
    cmake_parse_arguments(PARSE_ARGV 1 library "" "INCLUDE_ROOT" "ROOMS;LIBRARIES")
    add_library(${name} SHARED)
    add_library(${PROJECT_NAME}::${name} ALIAS ${name})
    # The libraries find each other, also from the directory beside them where a JVM finds one of them. One path for the
    # build and for what is installed: where they differ, CMake fills the shorter one up with empty elements, for which
    # the loader takes the current directory.
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        INSTALL_RPATH "$ORIGIN;$ORIGIN/.." BUILD_WITH_INSTALL_RPATH ON)
    if(NOT KP_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
    target_link_libraries(${name} PRIVATE ${library_ROOMS} PUBLIC ${library_LIBRARIES})
    target_compile_features(${name} INTERFACE cxx_std_20)
    foreach(room IN LISTS library_ROOMS)
        get_target_property(headers ${room} KP_PUBLIC_HEADERS)
        target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${library_INCLUDE_ROOT} FILES ${headers})
    endforeach()
endfunction()

# The objects of rooms and of all rooms below them.
function(kp_objects variable)
    set(objects "")
    foreach(room IN LISTS ARGN)
        get_target_property(closure ${room} KP_CLOSURE)
        list(APPEND objects ${closure})
    endforeach()
    list(REMOVE_DUPLICATES objects)
    set(${variable} ${objects} PARENT_SCOPE)
endfunction()

# kp_test(NAME ROOMS rooms... SOURCES files...): a GoogleTest program over the objects of rooms.
function(kp_test name)
    cmake_parse_arguments(PARSE_ARGV 1 test "" "" "ROOMS;SOURCES")
    kp_objects(objects ${test_ROOMS})
    add_executable(${name} ${test_SOURCES})
    target_link_libraries(${name} PRIVATE ${objects} GTest::gtest_main GTest::gmock)
    target_compile_definitions(${name} PRIVATE KP_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples"
        KP_TESTS_DIR="${PROJECT_SOURCE_DIR}/tests")
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 1800)
endfunction()

# kp_fuzzer(NAME ROOMS rooms...): the fuzzing program NAME_fuzzer, part of the target fuzzers.
function(kp_fuzzer name)
    cmake_parse_arguments(PARSE_ARGV 1 fuzzer "" "" "ROOMS")
    kp_objects(objects ${fuzzer_ROOMS})
    add_executable(${name}_fuzzer ${name}_fuzzer.cpp)
    target_link_libraries(${name}_fuzzer PRIVATE ${objects})
    target_link_options(${name}_fuzzer PRIVATE -fsanitize=fuzzer)
    add_dependencies(fuzzers ${name}_fuzzer)
endfunction()
