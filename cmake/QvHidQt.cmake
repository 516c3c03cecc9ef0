# SPDX-License-Identifier: BSD-3-Clause
# The Qt major version the whole project builds against, and every name that depends on it.
# This is the one place where Qt 5 and Qt 6 differ; the sources are the same for both.
#
#   QVHID_QT                Qt5 or Qt6: the prefix of the imported Qt targets (Qt5::Core, ...)
#   QVHID_QT_MIN_VERSION    the oldest Qt release of that major version it builds with
#   QVHID_QT_COMPONENTS     the Qt modules that libqvhid's installed headers need
#   QVHID_QT_PUBLIC         the same, as imported targets
#   QVHID_QT_PRIVATE        the Qt targets that only libqvhid's own sources need
#   QVHID_QT_PC_REQUIRES    QVHID_QT_COMPONENTS as pkg-config modules
#   QVHID_NAME_SUFFIX       appended to the name of everything that links Qt, so that the two
#                           builds can be installed side by side: "" for Qt 5, "-qt6" for Qt 6
#   QVHID_PACKAGE           the CMake package and its targets' namespace: QvHid, QvHidQt6
set(QVHID_QT_VERSION 5 CACHE STRING "The Qt major version to build against: 5 or 6")
set_property(CACHE QVHID_QT_VERSION PROPERTY STRINGS 5 6)

if(QVHID_QT_VERSION STREQUAL "5")
    set(QVHID_QT Qt5)
    set(QVHID_QT_MIN_VERSION 5.15)
    # QStateMachine and QRegExp are part of QtCore in Qt 5.
    set(QVHID_QT_COMPONENTS Core)
    set(QVHID_QT_PRIVATE_COMPONENTS "")
    set(QVHID_NAME_SUFFIX "")
    set(QVHID_PACKAGE QvHid)
elseif(QVHID_QT_VERSION STREQUAL "6")
    set(QVHID_QT Qt6)
    set(QVHID_QT_MIN_VERSION 6.4)
    # The reader's header declares its states as QState, which Qt 6 moved out of QtCore into
    # the StateMachine module. QRegExp is in Core5Compat: the audio-device name rules keep it,
    # so that a name matches exactly as it does with Qt 5 (QRegularExpression's "$" also
    # matches before a final newline, for one).
    set(QVHID_QT_COMPONENTS Core StateMachine)
    set(QVHID_QT_PRIVATE_COMPONENTS Core5Compat)
    set(QVHID_NAME_SUFFIX "-qt6")
    set(QVHID_PACKAGE QvHidQt6)
else()
    message(FATAL_ERROR "QVHID_QT_VERSION is '${QVHID_QT_VERSION}'; it must be 5 or 6")
endif()

find_package(${QVHID_QT} ${QVHID_QT_MIN_VERSION} REQUIRED
    COMPONENTS ${QVHID_QT_COMPONENTS} ${QVHID_QT_PRIVATE_COMPONENTS})
list(TRANSFORM QVHID_QT_COMPONENTS PREPEND "${QVHID_QT}::" OUTPUT_VARIABLE QVHID_QT_PUBLIC)
list(TRANSFORM QVHID_QT_PRIVATE_COMPONENTS PREPEND "${QVHID_QT}::" OUTPUT_VARIABLE QVHID_QT_PRIVATE)
list(TRANSFORM QVHID_QT_COMPONENTS PREPEND "${QVHID_QT}" OUTPUT_VARIABLE QVHID_QT_PC_REQUIRES)
list(JOIN QVHID_QT_PC_REQUIRES " " QVHID_QT_PC_REQUIRES)
