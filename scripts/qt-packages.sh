# SPDX-License-Identifier: BSD-3-Clause
# Sourced by the scripts: qt_packages VERSION prints the Debian packages that a build against
# that Qt major version (5 or 6) needs; it fails for any other version.
qt_packages() {
    case "$1" in
        5) echo qtbase5-dev ;;
        # Qt 6 keeps QStateMachine and QRegExp in modules of their own.
        6) echo qt6-base-dev qt6-scxml-dev qt6-5compat-dev ;;
        *) echo "--qt takes 5 or 6, not '$1'" >&2; return 2 ;;
    esac
}
