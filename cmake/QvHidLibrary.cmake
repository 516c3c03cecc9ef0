# SPDX-License-Identifier: BSD-3-Clause
include(GenerateExportHeader)

# Every install() names the component it belongs to, so that each Debian package (see
# QvHidPackaging.cmake) takes its own files: a library's CMakeLists sets
# QVHID_RUNTIME_COMPONENT (what a program needs at run time) and QVHID_DEV_COMPONENT (what
# building against it needs) before it calls the functions below.

# qvhid_export_header(TARGET INCLUDE_DIR): TARGET_export.h, which defines TARGET_EXPORT (in
# capitals) for what leaves the shared library, made by CMake in the build directory and
# installed beside the library's headers in INCLUDE_DIR. Every library marks its API so.
function(qvhid_export_header target include_dir)
    string(TOUPPER ${target} upper)
    set(header ${CMAKE_CURRENT_BINARY_DIR}/${target}_export.h)
    generate_export_header(${target} EXPORT_MACRO_NAME ${upper}_EXPORT EXPORT_FILE_NAME ${header})
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}>)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${include_dir} COMPONENT ${QVHID_DEV_COMPONENT})
endfunction()

# qvhid_package_library(TARGET [LINKS_QT]): what each shared library of the package has in
# common.
# - a versioned SONAME, and an export name for the package's imported target;
# - LINKS_QT: the library links Qt, so its file and pkg-config names carry the Qt 6 suffix;
# - a run path to its sibling libraries (QVHID_LIBRARY_RPATH);
# - no undefined symbols left for the loader, and, where there is one, an export list,
#   <dir>/TARGET.map, so that only the library's own API leaves it (not the standard-library
#   code it instantiates);
# - installation into the package's export set, with a relocatable pkg-config file made from
#   cmake/TARGET.pc.in where there is one.
function(qvhid_package_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "LINKS_QT" "" "")
    set(name ${target})
    if(arg_LINKS_QT)
        set(name ${target}${QVHID_NAME_SUFFIX})
    endif()
    set_target_properties(${target} PROPERTIES
        OUTPUT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${target}
        INSTALL_RPATH "${QVHID_LIBRARY_RPATH}")
    set(map ${CMAKE_CURRENT_SOURCE_DIR}/${target}.map)
    if(EXISTS ${map})
        target_link_options(${target} PRIVATE "LINKER:--version-script=${map}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
    endif()
    # clang links its sanitizer runtimes into programs only, so a fuzz build leaves them undefined.
    if(NOT QVHID_FUZZ)
        target_link_options(${target} PRIVATE "LINKER:--no-undefined")
    endif()

    install(TARGETS ${target} EXPORT ${QVHID_PACKAGE}Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT ${QVHID_RUNTIME_COMPONENT} NAMELINK_COMPONENT ${QVHID_DEV_COMPONENT})
    set(pc ${PROJECT_SOURCE_DIR}/cmake/${target}.pc.in)
    if(EXISTS ${pc})
        configure_file(${pc} ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc @ONLY)
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${QVHID_DEV_COMPONENT})
    endif()
endfunction()
