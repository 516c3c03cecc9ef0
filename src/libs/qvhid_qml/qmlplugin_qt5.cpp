// SPDX-License-Identifier: BSD-3-Clause
// The module QvHid 1.0 for Qt 5: registers the singleton Headset. (The Qt 6 build registers it
// declaratively, qmlregistration_qt6.h.)

#include "qmlheadset.h"

#include <QQmlEngine>
#include <QQmlExtensionPlugin>

class QvHidQmlPlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char *uri) override
    {
        qmlRegisterSingletonType<qv::hid::QmlHeadset>(
            uri, 1, 0, "Headset", [](QQmlEngine *, QJSEngine *) -> QObject * { return new qv::hid::QmlHeadset; });
    }
};

#include "qmlplugin_qt5.moc"
