// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_EXAMPLE_SOFTPHONE_H
#define QVHID_EXAMPLE_SOFTPHONE_H

// What the call screen (Main.qml) gets from C++: the sound layer's audio devices, each with the
// name to hand to the headset library and a label for people, and the virtual headset when one
// was plugged in (--virtual MODEL).

#include <QObject>
#include <QString>
#include <QVariantList>

class QQmlApplicationEngine;
class VirtualHeadset;

class Softphone : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList audioDevices READ audioDevices CONSTANT)
    Q_PROPERTY(QObject *virtualHeadset READ virtualHeadset CONSTANT)

public:
    /// With `virtualModel` not empty, plugs in that virtual headset first.
    explicit Softphone(const QString &virtualModel = QString(), QObject *parent = nullptr);

    /// False when `virtualModel` names no ready model.
    bool isValid() const;
    /// Each as {name, label}: the name as the README tells softphones to pass it (Qt 6:
    /// QAudioDevice::id(); Qt 5: QAudioDeviceInfo::deviceName()), the virtual headset's first.
    QVariantList audioDevices() const { return m_audioDevices; }
    QObject *virtualHeadset() const;

    /// Makes the engine find the module QvHid, gives the screen this object as `softphone`, and
    /// loads the call screen; false when it did not load.
    bool load(QQmlApplicationEngine &engine);

private:
    VirtualHeadset *m_virtualHeadset = nullptr;
    QVariantList m_audioDevices;
};

#endif // QVHID_EXAMPLE_SOFTPHONE_H
