// SPDX-License-Identifier: BSD-3-Clause
#include "virtualheadsetsforqml.h"

#include "timingscale.h"

#include <virtualmodels.h>

#include <QByteArray>

int VirtualHeadsetsForQml::add(const QString &model)
{
    const hid::virt::Model *found = hid::virt::findModel(model.toStdString());
    if (!found)
        return 0;
    hid::virt::DeviceDescription description = found->interfaces.front();
    description.path.clear();
    const hid::virt::VirtualDevice device = hid::virt::VirtualDevice::add(description);
    m_devices[device.id()] = device;
    return device.id();
}

hid::virt::VirtualDevice VirtualHeadsetsForQml::device(int id) const
{
    const auto found = m_devices.find(id);
    return found == m_devices.end() ? hid::virt::VirtualDevice() : found->second;
}

bool VirtualHeadsetsForQml::press(int id, const QString &button)
{
    return device(id).press(button.toStdString());
}

bool VirtualHeadsetsForQml::release(int id, const QString &button)
{
    return device(id).release(button.toStdString());
}

void VirtualHeadsetsForQml::unplug(int id)
{
    device(id).unplug();
}

void VirtualHeadsetsForQml::replug(int id, const QString &newPath)
{
    device(id).replug(newPath.toStdString());
}

QStringList VirtualHeadsetsForQml::written(int id) const
{
    QStringList result;
    for (const hid::virt::WrittenReport &report : device(id).writtenReports())
        result << QString::fromLatin1(
            QByteArray(reinterpret_cast<const char *>(report.bytes.data()), int(report.bytes.size())).toHex());
    return result;
}

void VirtualHeadsetsForQml::clearWritten(int id)
{
    device(id).clearWrittenReports();
}

bool VirtualHeadsetsForQml::waitForListeningReader(int id) const
{
    return device(id).waitForListeningReader(std::chrono::milliseconds(5000 * timingScale()));
}

int VirtualHeadsetsForQml::openHandles(int id) const
{
    return device(id).openHandles();
}

void VirtualHeadsetsForQml::removeAll()
{
    hid::virt::removeAllDevices();
    m_devices.clear();
}
