# SPDX-License-Identifier: BSD-3-Clause
include(GenerateExportHeader)

# qvhid_export_header(TARGET INCLUDE_DIR): TARGET_export.h, which defines TARGET_EXPORT (in
# capitals) for what leaves the shared library, made by CMake in the build directory and
# installed beside the library's headers in INCLUDE_DIR. Every library marks its API so.
function(qvhid_export_header target include_dir)
    string(TOUPPER ${target} upper)
    set(header ${CMAKE_CURRENT_BINARY_DIR}/${target}_export.h)
    generate_export_header(${target} EXPORT_MACRO_NAME ${upper}_EXPORT EXPORT_FILE_NAME ${header})
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}>)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${include_dir})
endfunction()

# qvhid_package_library(TARGET): what each shared library of the package has in common.
# - a versioned SONAME, and an export name for the QvHid:: imported target;
# - no undefined symbols left for the loader, and an export list, <dir>/TARGET.map, so that
#   only the library's own API leaves it (not the standard-library code it instantiates);
# - installation into the QvHid export set, with a relocatable pkg-config file made from
#   cmake/TARGET.pc.in.
function(qvhid_package_library target)
    set(map ${CMAKE_CURRENT_SOURCE_DIR}/${target}.map)
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${target})
    target_link_options(${target} PRIVATE "LINKER:--version-script=${map}")
    # clang links its sanitizer runtimes into programs only, so a fuzz build leaves them undefined.
    if(NOT QVHID_FUZZ)
        target_link_options(${target} PRIVATE "LINKER:--no-undefined")
    endif()
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})

    install(TARGETS ${target} EXPORT QvHidTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${target}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
