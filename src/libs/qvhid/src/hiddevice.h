// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDDEVICE_H
#define QVHID_HIDDEVICE_H

#include "desktopmute.h"
#include "hiddeviceinfo.h"
#include "hidreaderbase.h"
#include "qvhid_export.h"

#include <QObject>
#include <QString>
#include <QThread>

#include <functional>
#include <memory>
#include <vector>

/// hidapi's enumeration record, as its header declares it.
struct hid_device_info;

namespace hid {

/// How the last choice of an interface went, for diagnostics: which rule led from the
/// audio-device name to the interface, or why none was chosen, and what the chosen interface is.
struct QVHID_EXPORT HidDeviceChoice
{
    QString rule;       ///< empty until something was chosen or refused
    int soundCard = -1; ///< the card the name stands for, or -1
    int interfaceNumber = -1;
    unsigned short usagePage = 0;
    unsigned short usage = 0;
};

/// The thread of one headset binding: a plain event loop that says when it is destroyed.
class QVHID_EXPORT ReaderThread : public QThread
{
public:
    ~ReaderThread() override;
};

/// Binds one audio-device name to the HID interface of the same headset, and runs that
/// headset's reader on a thread of its own.
///
/// reset() rebinds: it withdraws the current binding (hide), finds the headset's interface for
/// the audio-device name (chooseAudioDevice) and starts a new reader for it (show). The reader's
/// gestures and call states come up through this object's signals on this object's thread; the
/// call-state slots go down to the reader as queued calls.
///
/// While the audio-device name is bound to nothing (no headset was found for it, or the bound one
/// was unplugged and its reader gave up), this object watches for hidraw nodes being plugged in
/// and binds the headset the name stands for as soon as it is there and may be opened: show, the
/// reader enters "Initial", then the state of the call the application last reported.
///
/// Lives on the application's main thread; call everything there.
class QVHID_EXPORT HidDevice : public QObject
{
    Q_OBJECT

public:
    explicit HidDevice(QObject *parent);
    /// Emits hide() and lets the reader thread quit. Threads that are still finishing are waited
    /// for (a bounded time), because the event loop that would delete them may never run again:
    /// the manager is usually destroyed at process exit.
    ~HidDevice() override;

    /// Replaces the headset dictionary with the rows of `json`, the text of a headset dictionary.
    void initDevices(const QString &json);

    /// Rebinds to the audio device `name`; true when a reader was started. Always emits hide()
    /// first, also when `name` is the name already bound.
    bool reset(const QString &name);
    /// The audio-device name of the binding, as the application gave it; empty when none was
    /// found. A binding whose reader gave up keeps its name.
    QString getName() const;

    /// Starts a reader for the chosen interface; false, with nothing started, when none is chosen.
    bool startHidReadTrhead();
    /// Asks the reader thread to quit, without waiting, and forgets reader and thread. The thread
    /// deletes itself and the reader once its loop has ended.
    void stopHidReadThread();

    /// The hardware name inside an audio-device name: the text of a final parenthesised group,
    /// without an index prefix such as "2-"; the whole name when there is no such group. The
    /// alias "Wave mapper" stands for the system's default device.
    QString getParentDeviceName(const QString &name) const;
    /// Chooses the interface for an audio-device name; true when one was chosen. First the name
    /// is taken to a sound card of this machine (hw:N, CARD=id, the sound servers' names,
    /// descriptions; see audiodevicename.h): then only an interface of that card's USB device
    /// can be chosen, or none. A name that stands for no sound card is matched by product
    /// string instead (getParentDeviceName, chooseDevice). Either way only an interface whose
    /// ids the dictionary lists explicitly is chosen, and among several, one whose usage page and
    /// usage are its configuration's call-control collection comes first. Only when none is
    /// listed, and the dictionary names a fallback configuration, an interface whose report
    /// descriptor has that configuration's call-control collection is chosen, on that
    /// collection. The previous choice is forgotten whatever the outcome.
    bool chooseAudioDevice(const QString &name);
    /// Enumerates the HID devices and chooses the one for `parentName`; true when one was chosen.
    /// The previous choice is forgotten whatever the outcome.
    bool chooseDevice(const QString &parentName);
    /// Walks an enumeration list (null is an empty one) and takes a record whose product string
    /// is `name` and whose ids the dictionary lists explicitly: the first that is its
    /// configuration's call-control collection, else the first; failing both, one that the
    /// dictionary's fallback configuration binds.
    bool findDevice(hid_device_info *devices, const QString &name);

    /// True when `name` is the system's default-device alias "Wave mapper", in any letter case.
    static bool IsOSDefault(const QString &name);

    /// The chosen interface; its path is empty when none is chosen.
    const HidDeviceInfo &getInfo() const;
    /// How the interface was chosen, or why none was.
    const HidDeviceChoice &getChoice() const;
    /// Whether the desktop also acts on the bound headset's mute button (the microphone mute
    /// key of its input device); looked at when the headset is bound, before show().
    DesktopMute getDesktopMute() const;
    /// The thread of the running binding, or null.
    ReaderThread *getReaderThread() const;

    /// The library's own state of a binding, defined in its source and used by it alone.
    struct Private;

signals:
    void click();
    void clickMute();
    void clickReject();
    void show(const QString &name);
    void hide();
    void stateChanged(const QString &state);
    void callMuted();
    void callUnmuted();
    void callIncome();
    void callHold();
    void callHoldMuted();
    void callEnd();

public slots:
    void onCallMuted();
    void onCallUnmuted();
    void onCallIncome();
    void onCallHold();
    void onCallHoldMuted();
    void onCallEnd();

private slots:
    void onReaderFinished();

private:
    // The library's own helpers: not exported, so that they are free to change.
    /// Starts a reader for the chosen interface that resumes `call` once it has entered Initial.
    QVHID_NO_EXPORT bool startReader(CallState call);
    /// Whether `binding` is still the running binding: anything a withdrawn one sends is dropped.
    QVHID_NO_EXPORT bool isCurrent(quint64 binding) const;
    // Tells the running reader of a call state about to be queued to it.
    QVHID_NO_EXPORT void announceCallState();
    // Cuts the running reader's wait for input short, for a call state just queued to it.
    QVHID_NO_EXPORT void wakeReader();
    /// Watches for headsets being plugged in while the application's name is bound to nothing.
    QVHID_NO_EXPORT void waitForHeadset();
    QVHID_NO_EXPORT void stopWaiting();
    QVHID_NO_EXPORT void onHidNodesChanged();
    QVHID_NO_EXPORT void bindPluggedHeadset();
    /// The walk shared by both steps: of the records that `belongs` accepts and whose ids the
    /// dictionary lists explicitly, the first that is the configuration's call-control
    /// collection, else the first, else the fallback's choice; fills m_info and the choice.
    QVHID_NO_EXPORT bool chooseAmong(hid_device_info *devices,
                                     const std::function<bool(const hid_device_info *)> &belongs);
    /// Of interfaces whose ids have no row of their own, the first whose report descriptor has a
    /// collection that the dictionary's fallback configuration binds (fallbackcollection.h),
    /// with `code` set to bind through it; null when the dictionary names no fallback or no
    /// interface has such a collection (the fallback refusal then says why).
    QVHID_NO_EXPORT const hid_device_info *chooseByFallback(const std::vector<const hid_device_info *> &unlisted,
                                                            HidCode &code, QString &configuration, QString &collection);
    QVHID_NO_EXPORT void waitForStoppingThreads();
    /// Run by the application object's destructor while it still exists: once it is gone, a
    /// reader thread can no longer deliver the events that delete its reader and close the
    /// headset, so every binding is ended here.
    QVHID_NO_EXPORT static void endBindingsBeforeApplicationEnds();
    /// Looks at what the desktop gets of the chosen headset and at whether it may be opened,
    /// and logs what stands in the way of a call.
    QVHID_NO_EXPORT void checkDesktopAndAccess();

    HidDeviceInfo m_info;
    HidReaderBase *m_reader = nullptr;
    ReaderThread *m_thread = nullptr;
    QString m_name;
    /// Everything else a binding keeps: behind a pointer, so that it may grow without changing
    /// this class's size.
    std::unique_ptr<Private> d;
};

} // namespace hid

#endif // QVHID_HIDDEVICE_H
