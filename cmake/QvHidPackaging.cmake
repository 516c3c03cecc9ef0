# SPDX-License-Identifier: BSD-3-Clause
# Debian packages of one Qt build, made by CPack: configure with -DQVHID_DEBIAN_PACKAGES=ON and
# -DCMAKE_INSTALL_PREFIX=/usr, build, then `cpack -G DEB` in the build directory.
#
#   libqvhid1 / libqvhid-qt6-1       the libraries, the udev program and rules (postinst reloads udev)
#   libqvhid-dev / libqvhid-qt6-dev  headers, CMake package, pkg-config file
#   qvhid-probe / qvhid-probe-qt6    the probe
#   qml-module-qvhid / qml6-module-qvhid
#                                    the QML module QvHid, in Qt's QML directory
#   qvhid-softphone / qvhid-softphone-qt6
#                                    the example softphone, with its sources
#   libhidapi-parser1, libqvhid-virtual1, libqvhid-common-dev
#                                    the Qt-free libraries and their headers; both Qt builds make
#                                    the same three, so either build's serve both
#
# Each runtime package is named after its library's SONAME, as Debian names library packages.
# Its dependencies come from the binaries (dpkg-shlibdeps), and it ships a shlibs file for the
# packages built against it.

set(QVHID_DEBIAN_MAINTAINER "libqvhid developers <libqvhid@example.org>"
    CACHE STRING "The Maintainer field of the Debian packages")

# The runtime package of the Qt 6 build ends in a digit, so its SONAME version follows a hyphen.
if(QVHID_NAME_SUFFIX)
    set(runtime_package libqvhid${QVHID_NAME_SUFFIX}-${PROJECT_VERSION_MAJOR})
else()
    set(runtime_package libqvhid${PROJECT_VERSION_MAJOR})
endif()
set(dev_package libqvhid${QVHID_NAME_SUFFIX}-dev)
set(tools_package qvhid-probe${QVHID_NAME_SUFFIX})
set(parser_package libhidapi-parser${PROJECT_VERSION_MAJOR})
set(virtual_package libqvhid-virtual${PROJECT_VERSION_MAJOR})
set(commondev_package libqvhid-common-dev)
set(examples_package qvhid-softphone${QVHID_NAME_SUFFIX})
# Debian names QML modules qml-module-* (Qt 5) and qml6-module-*; what a module's QML needs at
# run time is no library, so dpkg-shlibdeps cannot find it.
if(QVHID_QT_VERSION STREQUAL "5")
    set(qt_dev_packages "qtbase5-dev")
    set(qml_package qml-module-qvhid)
    set(qt_quick_controls "qml-module-qtquick2, qml-module-qtquick-window2, qml-module-qtquick-controls2, qml-module-qtquick-layouts")
else()
    set(qt_dev_packages "qt6-base-dev, qt6-scxml-dev")
    set(qml_package qml6-module-qvhid)
    set(qt_quick_controls "qml6-module-qtquick, qml6-module-qtquick-window, qml6-module-qtquick-controls, qml6-module-qtquick-templates, qml6-module-qtquick-layouts, qml6-module-qtqml-workerscript")
endif()
set(exact "(= ${PROJECT_VERSION})")

# What Debian wants in every package's documentation directory: the licence as copyright and
# a changelog, compressed as dpkg installs it.
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog)
string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component parser virtual commondev runtime dev tools qml examples)
    string(MAKE_C_IDENTIFIER ${component} key)
    set(package ${${key}_package})
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/changelog
        "${package} (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
        "  * Built from the libqvhid sources by CPack.\n\n"
        " -- ${QVHID_DEBIAN_MAINTAINER}  ${changelog_date}\n")
    add_custom_command(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/changelog.gz
        COMMAND gzip -9nf -k changelog
        WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}
        DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/changelog)
    list(APPEND changelogs ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/changelog.gz)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
        RENAME copyright COMPONENT ${component})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian/${package}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    string(TOUPPER ${component} upper)
    string(MAKE_C_IDENTIFIER ${upper} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
endforeach()
add_custom_target(qvhid-debian-changelogs ALL DEPENDS ${changelogs})


set(CPACK_PACKAGE_NAME libqvhid${QVHID_NAME_SUFFIX})
set(CPACK_PACKAGE_VENDOR "the libqvhid developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${QVHID_DEBIAN_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL parser virtual commondev runtime dev tools qml examples)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QVHID_DEBIAN_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# Our own libraries, which the packages of one set depend on among themselves.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/src/libs/hidapi_parser
    ${CMAKE_CURRENT_BINARY_DIR}/src/libs/qvhid_virtual ${CMAKE_CURRENT_BINARY_DIR}/src/libs/qvcommon
    ${CMAKE_CURRENT_BINARY_DIR}/src/libs/qvhid)

# Each description: its first line is the package's synopsis, an empty line ends a paragraph.
set(summary "call control for USB telephony headsets")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${summary}, for Qt ${QVHID_QT_VERSION} applications
libqvhid gives a Qt softphone call control through USB telephony headsets:
it finds the HID interface of the headset behind the audio device in use,
lights its lamps and ringer to match the call, and turns its buttons into
answer, hang-up, mute and reject signals.

The package also carries udev rules that give the user at the seat access
to any telephony headset, told by its HID report descriptor.")
# It reloads udev's rules after installing and removing, when udev runs (not in a chroot, say).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/postinst
    ${PROJECT_SOURCE_DIR}/cmake/debian/postrm ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${parser_package} ${exact}")

set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${runtime_package} ${exact}, ${commondev_package} ${exact}, ${qt_dev_packages}")
set(CPACK_DEBIAN_DEV_DESCRIPTION "${summary}, for Qt ${QVHID_QT_VERSION} (development files)
Headers, CMake package (${QVHID_PACKAGE}) and pkg-config file
(qvhid${QVHID_NAME_SUFFIX}) of libqvhid built against Qt ${QVHID_QT_VERSION}.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime_package} ${exact}, ${virtual_package} ${exact}")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "${summary}: the probe (Qt ${QVHID_QT_VERSION} build)
qvhid-probe${QVHID_NAME_SUFFIX} lists the HID interfaces of the machine as
libqvhid sees them, shows which one an audio-device name binds, watches a
headset's buttons and lights its lamps, checks headset dictionaries, and
plays a demonstration call on a virtual headset.")

set(CPACK_DEBIAN_QML_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_QML_PACKAGE_DEPENDS "${runtime_package} ${exact}")
set(CPACK_DEBIAN_QML_DESCRIPTION "${summary}: the QML module QvHid (Qt ${QVHID_QT_VERSION})
The singleton Headset of the QML module QvHid puts libqvhid's one manager
in Qt's property style, for a softphone's call screen written in QML: the
audio device in use and the call's state go in, the headset's buttons,
its presence and the state it entered come out.")

set(CPACK_DEBIAN_EXAMPLES_PACKAGE_SECTION comm)
set(CPACK_DEBIAN_EXAMPLES_PACKAGE_DEPENDS
    "${runtime_package} ${exact}, ${virtual_package} ${exact}, ${qml_package} ${exact}, ${qt_quick_controls}")
set(CPACK_DEBIAN_EXAMPLES_DESCRIPTION "${summary}: an example softphone (Qt ${QVHID_QT_VERSION})
qvhid-softphone${QVHID_NAME_SUFFIX} is a small call screen in Qt Quick Controls
that drives a headset through the QML module QvHid; with --virtual MODEL it
plugs in a virtual headset first. Its sources are installed beside it.")

# The Qt-free libraries: the triggers file has dpkg run ldconfig once for all of them.
set(CPACK_DEBIAN_PARSER_DESCRIPTION "HID report-descriptor parser of libqvhid
Parses HID report descriptors and reports (HID 1.11) of hidapi devices,
behind a C API. It needs no Qt.")
set(CPACK_DEBIAN_PARSER_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_VIRTUAL_DESCRIPTION "virtual USB telephony headsets behind hidapi's API
Virtual HID devices behind hidapi's C API, with ready telephony headset
models, for tests and demonstrations without a headset. It needs no Qt.")
set(CPACK_DEBIAN_VIRTUAL_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_COMMONDEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_COMMONDEV_PACKAGE_DEPENDS "${parser_package} ${exact}, ${virtual_package} ${exact}")
set(CPACK_DEBIAN_COMMONDEV_DESCRIPTION "HID report-descriptor parser and virtual headsets (development files)
Headers and pkg-config files of libhidapi_parser and libqvhid_virtual,
the Qt-free libraries of libqvhid, for both of its Qt builds.")

include(CPack)
