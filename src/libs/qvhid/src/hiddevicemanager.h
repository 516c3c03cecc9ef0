#ifndef QVHID_HIDDEVICEMANAGER_H
#define QVHID_HIDDEVICEMANAGER_H

#include "qvhid_global.h"

#include <singleton.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

namespace qv {
namespace hid {

// The library's entry object, one per process (HidDeviceManager::Instance()).
//
// It keeps the application's audio-device names per device type. The type numbers are the
// application's own; the first name of a type's list is that type's top device. The lists
// are bookkeeping only: none of these operations touches a headset or emits a signal.
// Call every operation on the thread that owns the manager.
class QVHID_EXPORT HidDeviceManager : public QObject, public common::CSingleton<HidDeviceManager>
{
    Q_OBJECT

public:
    HidDeviceManager();
    ~HidDeviceManager() override;

    // Replaces the list of `type` by `list`, duplicates included.
    void SetDeviceList(int type, QList<QString> list);
    // Moves `name` to the end of the list of `type`, or adds it there.
    void AddDevice(int type, const QString& name);
    // Moves `name` to the front of the list of `type`, or adds it there.
    void SetTopDevice(int type, const QString& name);
    // Removes the first occurrence of `name` from the list of `type`; true if one was removed.
    // An unknown type gains an empty list.
    bool RemoveDevice(int type, const QString& name);
    // Removes `name` from the lowest type whose list holds it and returns that type, or -1.
    int RemoveDevice(const QString& name);
    // The first name of the list of `type`, or an empty string. Creates no entry.
    QString GetTopDevice(int type) const;

private:
    QMap<int, QList<QString>> m_deviceLists;
};

} // namespace hid
} // namespace qv

// The one instance lives in this library, and every module that asks for it gets that one.
extern template class common::CSingleton<qv::hid::HidDeviceManager>;

#endif // QVHID_HIDDEVICEMANAGER_H
