# Finds the Python that the module `kernelpackage` is made for: the system's, which has the packages that its tests
# take, whatever comes first in the path, unless Python3_EXECUTABLE names another one.

option(KP_PYTHON "Build the Python module" ON)
if(KP_SANITIZE)
    set(KP_PYTHON OFF)  # no interpreter that is not sanitized itself can load it
endif()
if(NOT DEFINED Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python3_EXECUTABLE /usr/bin/python3)
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
if(KP_PYTHON)
    find_package(Python3 3.11 QUIET COMPONENTS Interpreter Development.Module)
    find_package(pybind11 2.10 QUIET)
    if(NOT Python3_Development.Module_FOUND OR NOT pybind11_FOUND)
        message(STATUS "No pybind11 or no headers of Python found: the Python module is not built")
        set(KP_PYTHON OFF)
    endif()
endif()

# Where below the prefix Python looks for modules.
if(NOT DEFINED KP_PYTHON_DIR)
    if(NOT EXISTS /etc/debian_version)
        set(KP_PYTHON_DIR lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/site-packages)
    elseif(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        set(KP_PYTHON_DIR lib/python3/dist-packages)
    else()
        set(KP_PYTHON_DIR lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/dist-packages)
    endif()
endif()
