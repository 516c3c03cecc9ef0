#include "hiddevicemanager.h"

#include "hidlog.h"

template class common::CSingleton<qv::hid::HidDeviceManager>;

namespace qv {
namespace hid {

namespace log = ::hid::log;

HidDeviceManager::HidDeviceManager() = default;

HidDeviceManager::~HidDeviceManager() = default;

void HidDeviceManager::SetDeviceList(int type, QList<QString> list)
{
    // The list itself is not written, hence the two blanks.
    HID_LOG(log::Trace) << "HID MANAGER Set devices list " << " type is " << type;
    m_deviceLists[type] = std::move(list);
}

void HidDeviceManager::AddDevice(int type, const QString& name)
{
    HID_LOG(log::Trace) << "HID MANAGER Add device " << name << " type is " << type;
    QList<QString>& list = m_deviceLists[type];
    list.removeOne(name);
    list.append(name);
}

void HidDeviceManager::SetTopDevice(int type, const QString& name)
{
    HID_LOG(log::Trace) << "HID MANAGER Set top device " << name << " type is " << type;
    QList<QString>& list = m_deviceLists[type];
    list.removeOne(name);
    list.prepend(name);
}

bool HidDeviceManager::RemoveDevice(int type, const QString& name)
{
    HID_LOG(log::Trace) << "HID MANAGER Remove device " << name << " type is " << type;
    // The inserting lookup is deliberate: an unknown type gains an empty entry.
    return m_deviceLists[type].removeOne(name);
}

int HidDeviceManager::RemoveDevice(const QString& name)
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

} // namespace hid
} // namespace qv
