// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_VIRTUALHEADSETSFORQML_H
#define QVHID_TESTS_VIRTUALHEADSETSFORQML_H

// Virtual headsets as a QML test handles them (the context property virtualHeadsets): plug in a
// ready model, press its buttons, pull its plug, read what the library wrote to its lamps.

#include <virtualhid.h>

#include <QObject>
#include <QStringList>

#include <map>

class VirtualHeadsetsForQml : public QObject
{
    Q_OBJECT

public:
    /// Plugs in the first interface of the ready model `model`; its id, or 0 for no such model.
    Q_INVOKABLE int add(const QString &model);
    Q_INVOKABLE bool press(int id, const QString &button);
    Q_INVOKABLE bool release(int id, const QString &button);
    Q_INVOKABLE void unplug(int id);
    /// Plugs it in again, under `newPath` when it is not empty.
    Q_INVOKABLE void replug(int id, const QString &newPath = QString());
    /// Every report the headset received, in order, as lowercase hex ("0222").
    Q_INVOKABLE QStringList written(int id) const;
    Q_INVOKABLE void clearWritten(int id);
    /// Waits (up to 5 s) until a binding's reader next listens for input on the headset: the
    /// lamps of the state just entered written and their answers read, so that a press now is
    /// taken as a press.
    Q_INVOKABLE bool waitForListeningReader(int id) const;
    Q_INVOKABLE int openHandles(int id) const;
    Q_INVOKABLE void removeAll();

private:
    hid::virt::VirtualDevice device(int id) const;

    std::map<int, hid::virt::VirtualDevice> m_devices;
};

#endif // QVHID_TESTS_VIRTUALHEADSETSFORQML_H
