# SPDX-License-Identifier: BSD-3-Clause
# Sourced by the scripts: qt_packages VERSION prints the Debian packages that a build against
# that Qt major version (5 or 6) needs; it fails for any other version.
qt_packages() {
    case "$1" in
        # Qt Quick and its Controls for the QML module and the example softphone, Qt Multimedia
        # for the example's list of audio devices, qmlscene to load the module by hand.
        5) echo qtbase5-dev qtdeclarative5-dev qml-module-qtquick2 qml-module-qtquick-window2 \
                qml-module-qtquick-controls2 qml-module-qtquick-layouts qml-module-qttest qmlscene \
                qtmultimedia5-dev ;;
        # Qt 6 keeps QStateMachine and QRegExp in modules of their own; qt_add_qml_module needs
        # the declarative tools, and qml-qt6 is the qml tool.
        6) echo qt6-base-dev qt6-scxml-dev qt6-5compat-dev qt6-declarative-dev qt6-declarative-dev-tools \
                qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtquick-controls \
                qml6-module-qtquick-templates qml6-module-qtquick-layouts qml6-module-qtqml-workerscript \
                qml6-module-qttest qt6-multimedia-dev qml-qt6 ;;
        *) echo "--qt takes 5 or 6, not '$1'" >&2; return 2 ;;
    esac
}
