# What `cmake --install` puts where, and the Debian packages that `cpack` makes of it: one to run programs, one to build
# them, one for Python.

include(CMakePackageConfigHelpers)

set(runtime COMPONENT runtime)
set(development COMPONENT development)
set(documents ${CMAKE_INSTALL_DATADIR}/doc/kernelpackage)
set(packageDirectory ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})

install(TARGETS kpplatform kpcontainers EXPORT ${PROJECT_NAME}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ${runtime} NAMELINK_${development}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kernelpackage ${development})
install(TARGETS kp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${runtime})

install(EXPORT ${PROJECT_NAME}Targets NAMESPACE ${PROJECT_NAME}:: DESTINATION ${packageDirectory} ${development})
configure_package_config_file(cmake/Config.cmake.in ${PROJECT_NAME}Config.cmake INSTALL_DESTINATION ${packageDirectory}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_NAME}ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
    OUTPUT_VARIABLE pkgconfigToInclude)
configure_file(cmake/kernelpackage.pc.in kernelpackage.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${PROJECT_NAME}Config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/${PROJECT_NAME}ConfigVersion.cmake DESTINATION ${packageDirectory} ${development})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kernelpackage.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig ${development})

set(zshDirectory zsh/site-functions)
if(EXISTS /etc/debian_version AND CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(zshDirectory zsh/vendor-completions)  # where Debian's zsh looks for what packages bring
endif()
set(pages ${CMAKE_BINARY_DIR}/share)
install(DIRECTORY ${pages}/man/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} ${runtime})
install(DIRECTORY ${pages}/bash-completion ${pages}/fish DESTINATION ${CMAKE_INSTALL_DATADIR} ${runtime})
install(FILES ${pages}/zsh/site-functions/_kp DESTINATION ${CMAKE_INSTALL_DATADIR}/${zshDirectory} ${runtime})

# A JVM loads "libkpcontainers.so" without a version, which it looks for in the directory of such libraries.
if(JNI_FOUND)
    file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/jni)
    file(CREATE_LINK ../libkpcontainers.so.${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
        ${CMAKE_CURRENT_BINARY_DIR}/jni/libkpcontainers.so SYMBOLIC)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/jni/libkpcontainers.so DESTINATION ${CMAKE_INSTALL_LIBDIR}/jni ${runtime})
endif()

if(KP_PYTHON)
    install(TARGETS _core LIBRARY DESTINATION ${KP_PYTHON_DIR}/kernelpackage COMPONENT python)
    install(DIRECTORY python/kernelpackage DESTINATION ${KP_PYTHON_DIR} COMPONENT python
        PATTERN __pycache__ EXCLUDE)
endif()

install(FILES README.md CONTRIBUTING.md CHANGELOG.md DESTINATION ${documents} ${runtime})
install(DIRECTORY docs examples DESTINATION ${documents} ${runtime} USE_SOURCE_PERMISSIONS)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_PACKAGE_CONTACT "The maintainers <maintainers@users.noreply.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME kernelpackage)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS libtcl8.6)  # loaded at the first script
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The command kp and the shared libraries that it and other programs use.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkernelpackage-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "kernelpackage (= ${PROJECT_VERSION}), libboost-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "What is needed to build programs on the libraries of kernel packages.")
if(KP_PYTHON)
    list(APPEND CPACK_COMPONENTS_ALL python)
    math(EXPR nextPython "${Python3_VERSION_MINOR} + 1")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kernelpackage)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)  # all that it needs, the libraries need as well
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "kernelpackage (= ${PROJECT_VERSION}), python3 (>= ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}), python3 (<< ${Python3_VERSION_MAJOR}.${nextPython})")
    set(CPACK_COMPONENT_PYTHON_DESCRIPTION "The Python module for kernel packages.")
    # What is compiled when the package is installed goes with it.
    file(CONFIGURE OUTPUT debian/postinst CONTENT "#!/bin/sh\nset -e\npy3compile -p python3-kernelpackage\n")
    file(CONFIGURE OUTPUT debian/prerm CONTENT "#!/bin/sh\nset -e\npy3clean -p python3-kernelpackage\n")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
        ${CMAKE_CURRENT_BINARY_DIR}/debian/postinst ${CMAKE_CURRENT_BINARY_DIR}/debian/prerm)
endif()
include(CPack)
