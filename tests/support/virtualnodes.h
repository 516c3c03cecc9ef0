// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_VIRTUALNODES_H
#define QVHID_TESTS_VIRTUALNODES_H

// Device nodes for virtual headsets, in a directory of their own as /dev holds hidraw nodes: a
// file hidraw<N> is there while its headset is plugged in. A binding whose system view names
// this directory (systemView()) sees virtual headsets come and go as it sees real ones.

#include <platform/systemview.h>
#include <virtualhid.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <string>

class VirtualNodes
{
public:
    // The one directory of the test process.
    static VirtualNodes &instance()
    {
        static VirtualNodes nodes;
        return nodes;
    }

    // Sysfs as it is, device nodes in this directory.
    hid::SystemView systemView() const
    {
        hid::SystemView system = hid::LiveSystemView();
        system.deviceDirectory = m_directory.path();
        return system;
    }

    // Adds the headset, plugged in under the next free node.
    hid::virt::VirtualDevice add(hid::virt::DeviceDescription description)
    {
        description.path = nextNode();
        hid::virt::VirtualDevice device = hid::virt::VirtualDevice::add(description);
        createNode(device.path());
        return device;
    }

    void unplug(hid::virt::VirtualDevice &device) const
    {
        device.unplug();
        QFile::remove(QString::fromStdString(device.path()));
    }

    // Removes every virtual device and its node.
    void removeAll()
    {
        hid::virt::removeAllDevices();
        const QStringList nodes = QDir(m_directory.path()).entryList({QStringLiteral("hidraw*")}, QDir::Files);
        for (const QString &node : nodes)
            QFile::remove(m_directory.path() + QLatin1Char('/') + node);
    }

    // Plugs it in again, under its old node or, with `newNode`, under the next free one.
    void replug(hid::virt::VirtualDevice &device, bool newNode = false)
    {
        device.replug(newNode ? nextNode() : std::string());
        createNode(device.path());
    }

private:
    std::string nextNode() { return m_directory.path().toStdString() + "/hidraw" + std::to_string(m_next++); }
    static void createNode(const std::string &path)
    {
        QFile node(QString::fromStdString(path));
        node.open(QIODevice::WriteOnly);
    }

    QTemporaryDir m_directory;
    int m_next = 0;
};

#endif // QVHID_TESTS_VIRTUALNODES_H
