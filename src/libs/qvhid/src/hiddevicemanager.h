// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDDEVICEMANAGER_H
#define QVHID_HIDDEVICEMANAGER_H

#include "desktopmute.h"
#include "qvhid_export.h"

#include <singleton.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

namespace hid {
class HidDevice;
}

namespace qv {
namespace hid {

/// The library's entry object, one per process (HidDeviceManager::Instance()).
///
/// The application reports the audio device in use (onActiveAudioDeviceChanged) and the state
/// of the current call (the onCall... slots); the manager binds the headset behind that audio
/// device, mirrors the call state onto its lamps and ringer, and reports the headset's gestures
/// (click, clickMute, clickReject), every call state it enters (deviceStateEntered) and its
/// appearance and withdrawal (deviceShow, deviceHide). Its signals are emitted on its own thread.
///
/// It also keeps the application's audio-device names per device type. The type numbers are the
/// application's own; the first name of a type's list is that type's top device. The lists are
/// bookkeeping only: none of the list operations touches a headset or emits a signal.
///
/// Call every operation on the thread that owns the manager (the application's main thread).
class QVHID_EXPORT HidDeviceManager : public QObject, public common::CSingleton<HidDeviceManager>
{
    Q_OBJECT

public:
    /// Creates the headset binding; binds nothing yet.
    HidDeviceManager();
    /// Withdraws the binding (deviceHide) and lets its reader thread end.
    ~HidDeviceManager() override;

    /// Replaces the headset dictionary with the rows of `json`, the text of a headset dictionary
    /// (not a file name). Without it the built-in table is used.
    void InitHidDevices(const QString &json) const;

    /// Replaces the list of `type` by `list`, duplicates included.
    void SetDeviceList(int type, QList<QString> list);
    /// Moves `name` to the end of the list of `type`, or adds it there.
    void AddDevice(int type, const QString &name);
    /// Moves `name` to the front of the list of `type`, or adds it there.
    void SetTopDevice(int type, const QString &name);
    /// Removes the first occurrence of `name` from the list of `type`; true if one was removed.
    /// An unknown type gains an empty list.
    bool RemoveDevice(int type, const QString &name);
    /// Removes `name` from the lowest type whose list holds it and returns that type, or -1.
    int RemoveDevice(const QString &name);
    /// The first name of the list of `type`, or an empty string. Creates no entry.
    QString GetTopDevice(int type) const;

    /// Whether the desktop, too, acts on the bound headset's mute button: Acts when the kernel
    /// also sends it to the desktop as the microphone mute key, so that a press mutes the call
    /// and the system microphone (the library then logs a warning; its udev rules prevent it);
    /// Ignores when it does not; Unknown while no headset is shown, or when the library cannot
    /// tell. Known from deviceShow() on; tell your user when it Acts.
    ::hid::DesktopMute GetDesktopMute() const;

signals:
    void clickReject();
    void clickMute();
    void click();
    void deviceStateEntered(const QString &state);
    void deviceShow(const QString &name); ///< the headset's HID product string
    void deviceHide();
    void callMuted();
    void callUnmuted();
    void callIncome();
    void callHold();
    void callHoldMuted();
    void callEnd();

public slots:
    /// The audio device now in use, by the name the sound layer shows. A name other than the
    /// bound one rebinds: deviceHide, then deviceShow if a headset is found for it.
    void onActiveAudioDeviceChanged(const QString &name);
    /// The state of the current call. Each is passed to the bound headset, if any, and
    /// otherwise dropped.
    void onCallMuted();
    void onCallUnmuted();
    void onCallIncome();
    void onCallHold();
    void onCallHoldMuted();
    void onCallEnd();

private:
    ::hid::HidDevice *m_device;
    QMap<int, QList<QString>> m_deviceLists;
};

} // namespace hid
} // namespace qv

/// The one instance lives in this library, and every module that asks for it gets that one.
extern template class common::CSingleton<qv::hid::HidDeviceManager>;

#endif // QVHID_HIDDEVICEMANAGER_H
