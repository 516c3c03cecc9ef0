// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_EXAMPLE_VIRTUALHEADSET_H
#define QVHID_EXAMPLE_VIRTUALHEADSET_H

// A virtual headset plugged in for the softphone (--virtual MODEL): its buttons, to press from
// the screen, and its lamps as the library last lit them, read from the output reports the
// headset received.

#include <virtualhid.h>

#include <QObject>
#include <QStringList>

class VirtualHeadset : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString product READ product CONSTANT)
    Q_PROPERTY(QStringList buttons READ buttons CONSTANT)
    Q_PROPERTY(QStringList lamps READ lamps NOTIFY lampsChanged)

public:
    /// Plugs in the first interface of the ready model `model` (see qvhid-probe demo
    /// --list-models); isValid() is false when there is no such model.
    explicit VirtualHeadset(const QString &model, QObject *parent = nullptr);
    ~VirtualHeadset() override;

    bool isValid() const { return m_device.isValid(); }
    QString product() const;
    QStringList buttons() const;
    /// The LED-page lamps on, by their names in the HID Usage Tables ("Off-Hook", "Ring"...).
    QStringList lamps() const { return m_lamps; }

    /// Presses the button and lets it go, as a finger does.
    Q_INVOKABLE void press(const QString &button);

    /// The virtual device itself, for a test of the call screen.
    const hid::virt::VirtualDevice &device() const { return m_device; }

signals:
    void lampsChanged();

private:
    void readLamps();

    hid::virt::VirtualDevice m_device;
    QStringList m_lamps;
};

#endif // QVHID_EXAMPLE_VIRTUALHEADSET_H
