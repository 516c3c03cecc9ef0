// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_QML_QMLREGISTRATION_QT6_H
#define QVHID_QML_QMLREGISTRATION_QT6_H

// The module QvHid for Qt 6: QmlHeadset as the singleton Headset, registered by the module
// that qt_add_qml_module makes. (The Qt 5 build registers it in its plugin, qmlplugin_qt5.cpp.)

#include "qmlheadset.h"

#include <QtQml/qqml.h>

struct QmlHeadsetRegistration
{
    Q_GADGET
    QML_FOREIGN(qv::hid::QmlHeadset)
    QML_NAMED_ELEMENT(Headset)
    QML_SINGLETON
};

#endif // QVHID_QML_QMLREGISTRATION_QT6_H
