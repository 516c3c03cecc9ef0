// SPDX-License-Identifier: BSD-3-Clause
#include "hiddevicemanager.h"

#include "hiddevice.h"
#include "hidlog.h"

template class common::CSingleton<qv::hid::HidDeviceManager>;

namespace qv {
namespace hid {

namespace log = ::hid::log;

HidDeviceManager::HidDeviceManager()
    : QObject(nullptr)
    , m_device(new ::hid::HidDevice(this))
{
    using ::hid::HidDevice;
    connect(m_device, &HidDevice::click, this, &HidDeviceManager::click);
    connect(m_device, &HidDevice::clickMute, this, &HidDeviceManager::clickMute);
    connect(m_device, &HidDevice::clickReject, this, &HidDeviceManager::clickReject);
    connect(m_device, &HidDevice::show, this, &HidDeviceManager::deviceShow);
    connect(m_device, &HidDevice::hide, this, &HidDeviceManager::deviceHide);
    connect(m_device, &HidDevice::stateChanged, this, &HidDeviceManager::deviceStateEntered);
    connect(this, &HidDeviceManager::callMuted, m_device, &HidDevice::onCallMuted);
    connect(this, &HidDeviceManager::callUnmuted, m_device, &HidDevice::onCallUnmuted);
    connect(this, &HidDeviceManager::callIncome, m_device, &HidDevice::onCallIncome);
    connect(this, &HidDeviceManager::callHold, m_device, &HidDevice::onCallHold);
    connect(this, &HidDeviceManager::callHoldMuted, m_device, &HidDevice::onCallHoldMuted);
    connect(this, &HidDeviceManager::callEnd, m_device, &HidDevice::onCallEnd);
}

// The device is destroyed as a child, after this body: it withdraws the binding itself.
HidDeviceManager::~HidDeviceManager() = default;

void HidDeviceManager::InitHidDevices(const QString &json) const
{
    m_device->initDevices(json);
}

void HidDeviceManager::onActiveAudioDeviceChanged(const QString &name)
{
    if (m_device->getName() != name)
        m_device->reset(name);
    HID_LOG(log::Trace) << "HID MANAGER Active audio device changed to " << name;
}

void HidDeviceManager::onCallMuted()
{
    emit callMuted();
}

void HidDeviceManager::onCallUnmuted()
{
    emit callUnmuted();
}

void HidDeviceManager::onCallIncome()
{
    emit callIncome();
}

void HidDeviceManager::onCallHold()
{
    emit callHold();
}

void HidDeviceManager::onCallHoldMuted()
{
    emit callHoldMuted();
}

void HidDeviceManager::onCallEnd()
{
    emit callEnd();
}

void HidDeviceManager::SetDeviceList(int type, QList<QString> list)
{
    // The list itself is not written, hence the two blanks.
    HID_LOG(log::Trace) << "HID MANAGER Set devices list "
                        << " type is " << type;
    m_deviceLists[type] = std::move(list);
}

void HidDeviceManager::AddDevice(int type, const QString &name)
{
    HID_LOG(log::Trace) << "HID MANAGER Add device " << name << " type is " << type;
    QList<QString> &list = m_deviceLists[type];
    list.removeOne(name);
    list.append(name);
}

void HidDeviceManager::SetTopDevice(int type, const QString &name)
{
    HID_LOG(log::Trace) << "HID MANAGER Set top device " << name << " type is " << type;
    QList<QString> &list = m_deviceLists[type];
    list.removeOne(name);
    list.prepend(name);
}

bool HidDeviceManager::RemoveDevice(int type, const QString &name)
{
    HID_LOG(log::Trace) << "HID MANAGER Remove device " << name << " type is " << type;
    // The inserting lookup is deliberate: an unknown type gains an empty entry.
    return m_deviceLists[type].removeOne(name);
}

int HidDeviceManager::RemoveDevice(const QString &name)
{
    HID_LOG(log::Trace) << "HID MANAGER Remove device " << name;
    // Walk a shared copy, so that the removals below do not disturb the walk.
    const QMap<int, QList<QString>> snapshot = m_deviceLists;
    for (auto it = snapshot.keyBegin(); it != snapshot.keyEnd(); ++it) {
        if (RemoveDevice(*it, name))
            return *it;
    }
    return -1;
}

QString HidDeviceManager::GetTopDevice(int type) const
{
    const QList<QString> list = m_deviceLists.value(type);
    return list.isEmpty() ? QString() : list.first();
}

::hid::DesktopMute HidDeviceManager::GetDesktopMute() const
{
    return m_device->getDesktopMute();
}

} // namespace hid
} // namespace qv

// The meta-object code of this file's classes, compiled with the rest of them: the ABI check
// (libabigail) takes a class's functions from the unit that holds its meta-object code.
#include "moc_hiddevicemanager.cpp"
