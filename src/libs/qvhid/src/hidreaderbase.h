// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDREADERBASE_H
#define QVHID_HIDREADERBASE_H

#include "hiddecoderbase.h"
#include "hiddeviceinfo.h"
#include "qvhid_export.h"

#include <QObject>
#include <QState>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class QStateMachine;
class QTimer;

namespace hid {

/// The reader's input buffer.
using InputBuf = std::vector<uint8_t>;

/// The state of the application's call, as its last report left it: what a headset bound in the
/// middle of a call resumes (HidReaderBase::resumeCall).
enum class CallState {
    Idle,      ///< no call, or the call ended
    Ringing,   ///< onCallIncome
    Talking,   ///< onCallUnmuted
    TalkMuted, ///< onCallMuted
    Held,      ///< onCallHold
    HeldMuted, ///< onCallHoldMuted
};

/// The first `count` bytes as "%02hhx " each: two lowercase hex digits and a blank, the last
/// byte included.
QVHID_EXPORT QString BinaryToString(const std::vector<uint8_t> &bytes, unsigned long count);

/// Owns the opened headset on the reader thread: keeps the call state in a state machine and
/// writes each state's lamp command, and polls the headset, turning each burst of input
/// reports into one gesture signal.
///
/// Made in the owner's thread, moved to its own thread, started there with start(), and
/// destroyed (which closes the device) to stop.
class QVHID_EXPORT HidReaderBase : public QObject
{
    Q_OBJECT

public:
    explicit HidReaderBase(const HidDeviceInfo &info);
    ~HidReaderBase() override;

    /// Writes each step of `command` as the decoder builds it; the sum of the bytes written,
    /// or -1. `name` only labels the log lines.
    int writeCommand(const std::vector<std::vector<unsigned short>> &command, const QString &name);
    /// Writes ready reports, reading back and discarding the headset's answers after each;
    /// the sum of the write results, or -1.
    int writeBinaryData(const std::vector<std::vector<uint8_t>> &reports, const QString &name);
    /// On a longDelay model, reads and discards what the headset sends after a gesture or a
    /// command (700 ms for the first report, 10 ms for each further one).
    void longReadData();
    /// Makes the reader, once it has entered Initial, go straight on to `state` and write that
    /// state's command: for a headset plugged in again during a call. Call before start().
    void resumeCall(CallState state);
    /// Tells the reader that a call state is about to be queued to it: a burst, a drain or the
    /// last read-back of a command it is reading then makes way for it. Call it before the
    /// call-state signal, then wakeUp(); from any thread.
    void callStateComing();
    /// Cuts the reader's wait for input short, so that a call state queued to it is handled at
    /// once; from any thread.
    void wakeUp();

signals:
    void click();
    void clickMute();
    void clickReject();
    void startHIDDataRead(); ///< declared for compatibility; never emitted
    void stateChanged(const QString &state);
    void finished(); ///< the reader could not start, or its headset is gone
    void toInit();
    void toRing();
    void toTalk();
    void toMuted();
    void toHold();
    void toHoldMuted();

public slots:
    virtual void start();
    virtual void stop();
    void onInit();
    void onCallMuted();
    void onCallUnmuted();
    void onCallIncome();
    void onCallHold();
    void onCallHoldMuted();
    void onCallEnd();
    void onHIDEventTimeout();
    void onHIDDataRead(hid::InputBuf &data, int length);
    void execToRing(QState *from = nullptr);
    void execToTalk(QState *from = nullptr);
    void execToTalkMuted(QState *from = nullptr);
    void execToHold(QState *from = nullptr);
    void execToHoldMuted(QState *from = nullptr);

public:
    /// Merges one report into the gesture of its burst: the first report that yields a gesture
    /// decides it; an empty report counts as the model's clickTypeOnEmptyCode until then.
    virtual ClickType getClickType(HidDecoderBase *decoder, const std::vector<uint8_t> &data, unsigned short length,
                                   const ClickType &previous) const;

protected:
    void initStates();

    HidDeviceInfo m_info;
    hid_device *m_deviceHandle = nullptr;
    QTimer *m_readTimer = nullptr;
    std::unique_ptr<HidDecoderBase> m_decoder;
    QStateMachine *m_stateMachine = nullptr;
    QState *m_initState = nullptr;
    QState *m_ringState = nullptr;
    QState *m_talkState = nullptr;
    QState *m_talkMutedState = nullptr;
    QState *m_holdState = nullptr;
    QState *m_holdMutedState = nullptr;

private:
    // The library's own helpers: not exported, so that they are free to change.
    /// Takes the machine from Initial to the state the call was in (resumeCall).
    QVHID_NO_EXPORT void resumeCallState();
    /// Runs a transition's entry action so that its command's last read-back and drain wait
    /// until the target state has been announced (finishCommand).
    QVHID_NO_EXPORT void runEntryAction(void (HidReaderBase::*action)(QState *), QState *from);
    /// Reads back what the entry action's command left for after the announcement.
    QVHID_NO_EXPORT void finishCommand();
    /// What a read loop does with a call state that arrives while it reads.
    enum class CallStates {
        Wait, ///< it waits for the loop's end: the read-backs between the reports of a command
        Look, ///< the loop looks for one every few milliseconds and ends, so that it is taken
              ///< next: a command's last read-back, a drain
        Wake, ///< the call state cuts the loop's wait short and ends it: a burst
    };
    QVHID_NO_EXPORT int writeReports(const std::vector<std::vector<uint8_t>> &reports, const QString &name,
                                     bool holdLastReadBack);
    QVHID_NO_EXPORT void readBack(const QString &name, CallStates callStates = CallStates::Wait);
    enum class CappedRead { ReadBack, Burst, Drain };
    /// Reads reports while each comes within `gapMs` of the last (the first within
    /// `firstTimeoutMs`), for `capMs` at most in all; true when the cap ended the reading.
    QVHID_NO_EXPORT bool readWhileReportsCome(std::vector<uint8_t> &buffer, int firstTimeoutMs, int gapMs, int capMs,
                                              CallStates callStates, const std::function<void(int)> &onReport);
    /// Emits the signal of `type`, with its log line; false for NONE.
    QVHID_NO_EXPORT bool emitGesture(ClickType type);
    /// Logs, once per binding and kind of read, that a headset kept reporting past the cap.
    QVHID_NO_EXPORT void warnOfCap(CappedRead read);
    /// The gesture of an input report merged into `previous`; none from a repeated report.
    QVHID_NO_EXPORT ClickType clickTypeOfInput(const std::vector<uint8_t> &data, int length, ClickType previous);
    /// A report read only to be thrown away still updates the decoder's view of the device's
    /// state, so that the next press is judged against what the device really reports.
    QVHID_NO_EXPORT void trackDiscarded(const std::vector<uint8_t> &data, int length);
    /// Counts down a call state whose slot now runs.
    QVHID_NO_EXPORT void callStateTaken();

    /// Everything else the reader keeps (hidreaderbase.cpp): behind a pointer, so that it may
    /// grow without changing this class's size.
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace hid

Q_DECLARE_METATYPE(QState *)

#endif // QVHID_HIDREADERBASE_H
