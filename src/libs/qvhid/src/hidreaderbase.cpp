// SPDX-License-Identifier: BSD-3-Clause
#include "hidreaderbase.h"

#include "hidlog.h"
#include "platform/hiddecoder.h"
#include "platform/inputwait.h"
#include "repeatedreports.h"

#include <hidapi.h>

#include <QAbstractTransition>
#include <QElapsedTimer>
#include <QSignalTransition>
#include <QStateMachine>
#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <utility>

namespace hid {

namespace {

// The read cycle's timing and buffer.
constexpr int PollIntervalMs = 0;                // from the end of one tick to the next
constexpr std::size_t ReadBufferSize = 256;      // every read
constexpr int FirstReadTimeoutMs = 250;          // first read of a tick
constexpr int BurstReadTimeoutMs = 5;            // each further report of a burst
constexpr int LongDelayFirstReadTimeoutMs = 700; // drain after a gesture or command (longDelay)
constexpr int LongDelayNextReadTimeoutMs = 10;   // each further report of that drain
constexpr int ReadBackTimeoutMs = 10;            // answers to a written report
// A headset that never stops sending would keep each of those loops reading for ever; each ends
// at its gap or at its cap, whichever comes first. The caps leave room for what real headsets
// send after a lamp report or a press (a few reports, well under the cap), and are short enough
// that a queued call state still reaches the lamps promptly.
constexpr int ReadBackCapMs = 50;    // answers to one written report
constexpr int BurstCapMs = 30;       // the reports of one gesture
constexpr int LongDelayCapMs = 1000; // a longDelay drain, its first 700 ms included
// How often a burst, a drain or a command's last read-back looks for a call state queued to the
// reader: a call state reaches the lamps within this much of a report being read.
constexpr int CallStateLookMs = 2;

const int stateMetaTypeId = qRegisterMetaType<QState *>("QState*");

// The one event that takes the machine from Initial to a resumed call state. It is not a signal
// of the reader, so nothing but resumeCallState() can take that transition.
const QEvent::Type ResumeEventType = static_cast<QEvent::Type>(QEvent::registerEventType());

class ResumeTransition : public QAbstractTransition
{
public:
    explicit ResumeTransition(QState *source)
        : QAbstractTransition(source)
    {
    }

protected:
    bool eventTest(QEvent *event) override { return event->type() == ResumeEventType; }
    void onTransition(QEvent *) override { }
};

} // namespace

struct HidReaderBase::Private
{
    InputWait input; // the wait for input between ticks
    CallState resumeState = CallState::Idle;
    bool inEntryAction = false;
    /// Counted up by callStateComing(), down by the call-state slots: call states queued to
    /// this reader whose slots have not run yet.
    std::atomic<int> pendingCallStates{0};
    std::array<bool, 3> capsWarned{};
    std::unique_ptr<RepeatedReports> repeats; // made at start(), once the descriptor is read
    // The read-back and drain of the command just written, held while its state is announced.
    struct HeldReadBack
    {
        bool readBack = false;
        bool drain = false;
        QString name;
    } held;
};

QString BinaryToString(const std::vector<uint8_t> &bytes, unsigned long count)
{
    QString text;
    char formatted[4];
    for (std::size_t i = 0; i < bytes.size() && i < count; ++i) {
        std::snprintf(formatted, sizeof(formatted), "%02hhx ", bytes[i]);
        text += QLatin1String(formatted);
    }
    return text;
}

HidReaderBase::HidReaderBase(const HidDeviceInfo &info)
    : QObject(nullptr)
    , m_info(info)
    , m_readTimer(new QTimer(this))
    , d(std::make_unique<Private>())
{
    Q_UNUSED(stateMetaTypeId);
    HID_LOG(log::Trace) << "HidReaderBase";
}

HidReaderBase::~HidReaderBase()
{
    m_readTimer->stop();
    d->input.detach();
    hid_close(m_deviceHandle);
    m_deviceHandle = nullptr;
    HID_LOG(log::Trace) << "~HidReaderBase";
    m_decoder.reset();
}

// --- Writing commands -------------------------------------------------------------------------

int HidReaderBase::writeCommand(const std::vector<std::vector<unsigned short>> &command, const QString &name)
{
    if (!m_decoder) {
        HID_LOG(log::Error) << "HID READER there is no decoder";
        return -1;
    }
    int total = 0;
    for (std::size_t step = 0; step < command.size(); ++step) {
        std::vector<std::vector<uint8_t>> reports;
        if (!m_decoder->makeOutputReport(m_info.code.outputPage, command[step], reports)) {
            HID_LOG(log::Error) << "HID READER " << name << ": command build failed";
            return -1;
        }
        const bool lastStep = step + 1 == command.size();
        total += writeReports(reports, name, d->inEntryAction && lastStep);
    }
    if (d->inEntryAction)
        d->held.drain = true;
    else
        longReadData();
    return total;
}

int HidReaderBase::writeBinaryData(const std::vector<std::vector<uint8_t>> &reports, const QString &name)
{
    return writeReports(reports, name, false);
}

int HidReaderBase::writeReports(const std::vector<std::vector<uint8_t>> &reports, const QString &name,
                                bool holdLastReadBack)
{
    if (!m_deviceHandle) {
        HID_LOG_AS(log::Error, "writeBinaryData") << "HID READER " << name << ": no device handle";
        return -1;
    }
    if (reports.empty()) {
        HID_LOG_AS(log::Trace, "writeBinaryData") << "HID READER " << name << ": no data for device";
        return -1;
    }
    const auto lastWritten = std::find_if(reports.rbegin(), reports.rend(), [](const auto &r) { return !r.empty(); });
    int total = 0;
    for (auto report = reports.begin(); report != reports.end(); ++report) {
        if (report->empty())
            continue;
        const int result = hid_write(m_deviceHandle, report->data(), report->size());
        HID_LOG_AS(log::Trace, "writeBinaryData")
            << "HID READER " << name << " WRITED: [" << BinaryToString(*report, report->size()) << "]  result is "
            << result;
        total += result;
        if (result == 0)
            continue;
        if (holdLastReadBack && &*report == &*lastWritten)
            d->held = {true, false, name};
        else
            readBack(name, &*report == &*lastWritten ? CallStates::Look : CallStates::Wait);
    }
    return total;
}

// Its lines carry the name of the write they belong to, wherever it runs from.
void HidReaderBase::readBack(const QString &name, CallStates callStates)
{
    // Headsets answer lamp writes with input reports; they are not button presses.
    std::vector<uint8_t> answer(ReadBufferSize, 0);
    const bool capped =
        readWhileReportsCome(answer, ReadBackTimeoutMs, ReadBackTimeoutMs, ReadBackCapMs, callStates, [&](int n) {
            trackDiscarded(answer, n);
            HID_LOG_AS(log::Trace, "writeBinaryData")
                << "HID READER " << name << " READED: [" << BinaryToString(answer, n) << "]";
        });
    if (capped)
        warnOfCap(CappedRead::ReadBack);
}

void HidReaderBase::longReadData()
{
    if (!m_info.code.longDelay)
        return;
    std::vector<uint8_t> buffer(ReadBufferSize, 0);
    const bool capped = readWhileReportsCome(
        buffer, LongDelayFirstReadTimeoutMs, LongDelayNextReadTimeoutMs, LongDelayCapMs, CallStates::Look, [&](int n) {
            trackDiscarded(buffer, n);
            HID_LOG_AS(log::Trace, "longReadData")
                << "HID READER read after long delay READED: [" << BinaryToString(buffer, n) << "]";
        });
    if (capped)
        warnOfCap(CappedRead::Drain);
    HID_LOG(log::Trace) << "HID READER long delay READ ended";
}

bool HidReaderBase::readWhileReportsCome(std::vector<uint8_t> &buffer, int firstTimeoutMs, int gapMs, int capMs,
                                         CallStates callStates, const std::function<void(int)> &onReport)
{
    QElapsedTimer clock;
    clock.start();
    QElapsedTimer quiet; // since the last report, or the start
    quiet.start();
    int timeout = firstTimeoutMs;
    for (;;) {
        const int left = capMs - static_cast<int>(clock.elapsed());
        if (left <= 0)
            return true;
        const int quietLeft = timeout - static_cast<int>(quiet.elapsed());
        if (quietLeft <= 0)
            return false;
        // A call state whose wake-up the tick's own wait took before this burst began has
        // nothing left to cut the burst's wait short: it is looked for before each wait.
        if (callStates == CallStates::Wake && d->pendingCallStates > 0)
            return false;
        // A burst waits as the tick does, through InputWait, which a call state cuts short. A
        // command's last read-back and a drain look for one every few milliseconds instead:
        // tests and tools tell a reader that takes a press as a press by InputWait's waits, and
        // a press during a read-back or a drain is not taken as one.
        int wait = std::min(quietLeft, left);
        if (callStates == CallStates::Look)
            wait = std::min(wait, CallStateLookMs);
        const int n = callStates == CallStates::Wake
            ? d->input.read(buffer.data(), buffer.size(), wait)
            : hid_read_timeout(m_deviceHandle, buffer.data(), buffer.size(), wait);
        if (n < 0)
            return false;
        if (n > 0) {
            onReport(n);
            quiet.restart();
            timeout = gapMs;
        }
        // The loop ends for a call state, which the event loop runs next.
        if (callStates != CallStates::Wait && d->pendingCallStates > 0)
            return false;
    }
}

void HidReaderBase::callStateTaken()
{
    int pending = d->pendingCallStates;
    while (pending > 0 && !d->pendingCallStates.compare_exchange_weak(pending, pending - 1)) { }
}

void HidReaderBase::warnOfCap(CappedRead read)
{
    const auto index = static_cast<std::size_t>(read);
    if (d->capsWarned[index])
        return;
    d->capsWarned[index] = true;
    switch (read) {
    case CappedRead::ReadBack:
        HID_LOG(log::Warning) << "HID READER " << m_info.name << " keeps sending reports: answers to a write are read "
                              << "back for " << ReadBackCapMs << " ms at most, and what follows is taken as input";
        break;
    case CappedRead::Burst:
        HID_LOG(log::Warning) << "HID READER " << m_info.name << " keeps sending reports: a gesture is decided after "
                              << BurstCapMs << " ms of reports at most";
        break;
    case CappedRead::Drain:
        HID_LOG(log::Warning) << "HID READER " << m_info.name << " keeps sending reports: the long delay drain ends "
                              << "after " << LongDelayCapMs << " ms at most";
        break;
    }
}

void HidReaderBase::trackDiscarded(const std::vector<uint8_t> &data, int length)
{
    if (!m_decoder || !d->repeats)
        return;
    d->repeats->note(data, length);
    std::vector<unsigned short> unused;
    m_decoder->getClickTypeFromData(data, static_cast<unsigned short>(length), unused);
}

// --- Call-state machine -----------------------------------------------------------------------

void HidReaderBase::initStates()
{
    m_stateMachine = new QStateMachine(this);
    const auto addState = [this](QState *&state, const char *logText, const char *stateName) {
        state = new QState();
        const QString text = QLatin1String(logText);
        const QString name = QLatin1String(stateName);
        connect(state, &QAbstractState::entered, this, [this, text, name] {
            HID_LOG_AS(log::Trace, "initStates") << text;
            emit stateChanged(name);
            finishCommand();
        });
    };
    addState(m_initState, "State: Initial headset state entered", "Initial");
    addState(m_ringState, "State: Incoming call headset state entered", "Incoming call");
    addState(m_talkState, "State: Talk headset state entered", "Talk");
    addState(m_talkMutedState, "State: Talk muted headset state entered", "Talk muted");
    addState(m_holdState, "State: Call on hold headset state entered", "Hold");
    addState(m_holdMutedState, "State: Call on hold muted headset state entered", "Hold muted");

    // The entry action runs while the transition is taken, before the target's `entered`:
    // the headset is written first, the state reported after.
    using Signal = void (HidReaderBase::*)();
    using Action = void (HidReaderBase::*)(QState *);
    const auto transition = [this](QState *source, Signal signal, QState *target, Action action) {
        QSignalTransition *t = source->addTransition(this, signal, target);
        if (!action)
            return;
        const bool passSource = action == &HidReaderBase::execToRing;
        connect(
            t, &QAbstractTransition::triggered, t,
            [this, action, source, passSource] { runEntryAction(action, passSource ? source : nullptr); },
            Qt::DirectConnection);
    };

    transition(m_initState, &HidReaderBase::toInit, m_initState, nullptr);
    transition(m_ringState, &HidReaderBase::toInit, m_initState, nullptr);
    transition(m_talkState, &HidReaderBase::toInit, m_initState, nullptr);
    transition(m_talkMutedState, &HidReaderBase::toInit, m_initState, nullptr);
    transition(m_holdState, &HidReaderBase::toInit, m_initState, nullptr);

    transition(m_initState, &HidReaderBase::toRing, m_ringState, &HidReaderBase::execToRing);
    transition(m_talkState, &HidReaderBase::toRing, m_ringState, &HidReaderBase::execToRing);
    transition(m_talkMutedState, &HidReaderBase::toRing, m_ringState, &HidReaderBase::execToRing);
    transition(m_holdState, &HidReaderBase::toRing, m_ringState, &HidReaderBase::execToRing);
    transition(m_holdMutedState, &HidReaderBase::toRing, m_ringState, &HidReaderBase::execToRing);

    transition(m_ringState, &HidReaderBase::toTalk, m_talkState, &HidReaderBase::execToTalk);
    transition(m_talkMutedState, &HidReaderBase::toTalk, m_talkState, &HidReaderBase::execToTalk);
    transition(m_holdState, &HidReaderBase::toTalk, m_talkState, &HidReaderBase::execToTalk);
    transition(m_holdMutedState, &HidReaderBase::toTalk, m_talkState, &HidReaderBase::execToTalk);

    transition(m_talkState, &HidReaderBase::toMuted, m_talkMutedState, &HidReaderBase::execToTalkMuted);
    transition(m_holdState, &HidReaderBase::toMuted, m_talkMutedState, &HidReaderBase::execToTalkMuted);
    transition(m_holdMutedState, &HidReaderBase::toMuted, m_talkMutedState, &HidReaderBase::execToTalkMuted);
    transition(m_ringState, &HidReaderBase::toMuted, m_talkMutedState, &HidReaderBase::execToTalkMuted);

    transition(m_talkState, &HidReaderBase::toHold, m_holdState, &HidReaderBase::execToHold);
    transition(m_talkMutedState, &HidReaderBase::toHold, m_holdState, &HidReaderBase::execToHold);
    transition(m_holdMutedState, &HidReaderBase::toHold, m_holdState, &HidReaderBase::execToHold);
    transition(m_ringState, &HidReaderBase::toHold, m_holdState, &HidReaderBase::execToHold);

    transition(m_holdState, &HidReaderBase::toHoldMuted, m_holdMutedState, &HidReaderBase::execToHoldMuted);
    transition(m_ringState, &HidReaderBase::toHoldMuted, m_holdMutedState, &HidReaderBase::execToHoldMuted);
    transition(m_talkMutedState, &HidReaderBase::toHoldMuted, m_holdMutedState, &HidReaderBase::execToHoldMuted);
    transition(m_talkState, &HidReaderBase::toHoldMuted, m_holdMutedState, &HidReaderBase::execToHoldMuted);

    for (QState *state : {m_initState, m_ringState, m_talkState, m_talkMutedState, m_holdState, m_holdMutedState})
        m_stateMachine->addState(state);
    m_stateMachine->setInitialState(m_initState);
    m_stateMachine->start();
}

void HidReaderBase::resumeCall(CallState state)
{
    d->resumeState = state;
}

void HidReaderBase::resumeCallState()
{
    using Action = void (HidReaderBase::*)(QState *);
    struct Resumed
    {
        QState *target;
        Action action;
    };
    const Resumed resumed = [this]() -> Resumed {
        switch (d->resumeState) {
        case CallState::Ringing: return {m_ringState, &HidReaderBase::execToRing};
        case CallState::Talking: return {m_talkState, &HidReaderBase::execToTalk};
        case CallState::TalkMuted: return {m_talkMutedState, &HidReaderBase::execToTalkMuted};
        case CallState::Held: return {m_holdState, &HidReaderBase::execToHold};
        case CallState::HeldMuted: return {m_holdMutedState, &HidReaderBase::execToHoldMuted};
        case CallState::Idle: break;
        }
        return {nullptr, nullptr};
    }();
    if (!resumed.target)
        return;
    HID_LOG(log::Trace) << "HID READER Resuming the call";
    auto *transition = new ResumeTransition(m_initState);
    transition->setTargetState(resumed.target);
    connect(
        transition, &QAbstractTransition::triggered, this,
        [this, action = resumed.action] { runEntryAction(action, nullptr); }, Qt::DirectConnection);
    m_stateMachine->postEvent(new QEvent(ResumeEventType));
    // The machine takes the event from the event loop, which the tick's wait would hold back.
    d->input.wake();
}

// A state is announced as soon as its command's last report is written, not 10 ms later when
// the read-back after it ends: the application then learns of the state as the headset's lamps
// change. The read-back and the longDelay drain still follow that report before anything else
// runs on this thread (no tick, no call state), so the headset's answers are absorbed exactly as
// before and the written reports keep their order.
void HidReaderBase::runEntryAction(void (HidReaderBase::*action)(QState *), QState *from)
{
    d->inEntryAction = true;
    (this->*action)(from);
    d->inEntryAction = false;
}

void HidReaderBase::finishCommand()
{
    const Private::HeldReadBack held = std::exchange(d->held, Private::HeldReadBack());
    if (held.readBack)
        readBack(held.name, CallStates::Look);
    if (held.drain)
        longReadData();
}

void HidReaderBase::onInit()
{
    emit toInit();
    writeCommand(m_info.code.cmdInit, QStringLiteral("onInit"));
}

void HidReaderBase::onCallMuted()
{
    callStateTaken();
    emit toMuted();
}

void HidReaderBase::onCallUnmuted()
{
    callStateTaken();
    emit toTalk();
}

void HidReaderBase::onCallIncome()
{
    callStateTaken();
    emit toRing();
}

void HidReaderBase::onCallHold()
{
    callStateTaken();
    emit toHold();
}

void HidReaderBase::onCallHoldMuted()
{
    callStateTaken();
    emit toHoldMuted();
}

void HidReaderBase::onCallEnd()
{
    callStateTaken();
    emit toInit();
    writeCommand(m_info.code.cmdInit, QStringLiteral("onCallEnd"));
}

void HidReaderBase::execToRing(QState *from)
{
    const bool fromTalk = from != nullptr && (from == m_talkState || from == m_talkMutedState);
    const HidCommand &command =
        fromTalk && !m_info.code.cmdFromTalkToRing.empty() ? m_info.code.cmdFromTalkToRing : m_info.code.cmdRing;
    writeCommand(command, QStringLiteral("onCallIncome"));
}

void HidReaderBase::execToTalk(QState *)
{
    writeCommand(m_info.code.cmdTalk, QStringLiteral("onCallUnmuted"));
}

void HidReaderBase::execToTalkMuted(QState *)
{
    writeCommand(m_info.code.cmdMute, QStringLiteral("onCallMuted"));
}

void HidReaderBase::execToHold(QState *)
{
    const HidCode &code = m_info.code;
    writeCommand(code.cmdHold.empty() ? code.cmdTalk : code.cmdHold, QStringLiteral("onCallHold"));
}

void HidReaderBase::execToHoldMuted(QState *)
{
    const HidCode &code = m_info.code;
    writeCommand(code.cmdHoldMuted.empty() ? code.cmdMute : code.cmdHoldMuted, QStringLiteral("onCallHoldMuted"));
}

// --- Read cycle -------------------------------------------------------------------------------

void HidReaderBase::start()
{
    const QByteArray path = m_info.path.toUtf8();
    m_deviceHandle = hid_open_path(path.constData());
    if (!m_deviceHandle) {
        HID_LOG(log::Error) << "HID READER Failed to open device " << m_info.path;
        emit finished();
        return;
    }
    d->input.attach(m_deviceHandle, m_info.path);
    m_decoder.reset(CreateHidDecoder(m_info, m_deviceHandle));
    if (!m_decoder) {
        HID_LOG(log::Error) << "HID READER Failed to create decoder";
        emit finished();
        return;
    }
    d->repeats = std::make_unique<RepeatedReports>(m_decoder->usesReportIds());
    hid_set_nonblocking(m_deviceHandle, 1);
    initStates();
    onInit();
    m_readTimer->setSingleShot(true);
    m_readTimer->setInterval(PollIntervalMs);
    connect(m_readTimer, &QTimer::timeout, this, &HidReaderBase::onHIDEventTimeout, Qt::UniqueConnection);
    m_readTimer->start();
    HID_LOG(log::Trace) << "HID READER read cycle started";
    // The machine enters Initial once control returns to the event loop; the resumed state
    // follows it, posted after the machine's own start. The first tick makes way for both: a
    // tick due at once may come before them, and its wait would hold them back.
    if (d->resumeState != CallState::Idle)
        QMetaObject::invokeMethod(this, &HidReaderBase::resumeCallState, Qt::QueuedConnection);
    d->input.wake();
}

void HidReaderBase::callStateComing()
{
    ++d->pendingCallStates;
}

void HidReaderBase::wakeUp()
{
    d->input.wake();
}

void HidReaderBase::stop()
{
    HID_LOG(log::Trace) << "stop";
}

void HidReaderBase::onHIDEventTimeout()
{
    InputBuf buffer(ReadBufferSize, 0);
    // A call state queued meanwhile cuts this wait short (wakeUp), and is handled as soon as
    // control is back in the event loop.
    int n = d->input.read(buffer.data(), buffer.size(), FirstReadTimeoutMs);
    // A call state that cut the wait short, or came while it ended, stays counted until its slot
    // runs: a burst that a report begins ends for it at once.
    if (n < 0) {
        // A signal that interrupts the wait fails one read too; a headset that is gone (its
        // node removed, its plug pulled) fails the next one as well, at once.
        n = hid_read_timeout(m_deviceHandle, buffer.data(), buffer.size(), 0);
        if (n < 0) {
            const wchar_t *error = hid_error(m_deviceHandle);
            HID_LOG(log::Error) << "HID READER Device gone: " << (error ? QString::fromWCharArray(error) : QString());
            // No more ticks: the owner withdraws the binding and waits for the headset.
            emit finished();
            return;
        }
    }
    if (n > 0) {
        HID_LOG(log::Trace) << "HID READER event readed";
        onHIDDataRead(buffer, n);
    }
    m_readTimer->start();
}

void HidReaderBase::onHIDDataRead(InputBuf &data, int length)
{
    if (!m_decoder) {
        HID_LOG(log::Error) << "HID onHIDDataRead: there is no decoder";
        return;
    }
    // The first report that yields a gesture decides the burst's: it is emitted at once, and the
    // rest of the burst is read and merged without making another.
    ClickType type = clickTypeOfInput(data, length, NONE);
    HID_LOG(log::Trace) << "HID READER first click type is " << int(type) << " ["
                        << BinaryToString(data, static_cast<unsigned long>(length)) << "] : " << length;
    bool emitted = emitGesture(type);
    const bool capped =
        readWhileReportsCome(data, BurstReadTimeoutMs, BurstReadTimeoutMs, BurstCapMs, CallStates::Wake, [&](int n) {
            type = clickTypeOfInput(data, n, type);
            HID_LOG_AS(log::Trace, "onHIDDataRead")
                << "HID READER next click type is " << int(type) << " ["
                << BinaryToString(data, static_cast<unsigned long>(n)) << "] : " << n;
            if (!emitted)
                emitted = emitGesture(type);
        });
    if (capped)
        warnOfCap(CappedRead::Burst);
    if (!emitted)
        HID_LOG(log::Trace) << "HID READER no signal to emit";
    longReadData();
}

bool HidReaderBase::emitGesture(ClickType type)
{
    switch (type) {
    case REJECT:
        emit clickReject();
        HID_LOG_AS(log::Trace, "onHIDDataRead") << "HID READER Reject emitted";
        return true;
    case CLICK:
        emit click();
        HID_LOG_AS(log::Trace, "onHIDDataRead") << "HID READER Click emitted";
        return true;
    case MUTE:
        emit clickMute();
        HID_LOG_AS(log::Trace, "onHIDDataRead") << "HID READER Mute emitted ";
        return true;
    default: return false;
    }
}

ClickType HidReaderBase::clickTypeOfInput(const std::vector<uint8_t> &data, int length, ClickType previous)
{
    // A repeat is decoded all the same, so that the decoder keeps following the device's state.
    const bool repeat = d->repeats && d->repeats->note(data, length);
    const ClickType type = getClickType(m_decoder.get(), data, static_cast<unsigned short>(length), previous);
    return repeat ? previous : type;
}

ClickType HidReaderBase::getClickType(HidDecoderBase *decoder, const std::vector<uint8_t> &data, unsigned short length,
                                      const ClickType &previous) const
{
    std::vector<unsigned short> usages;
    const ClickType found = decoder->getClickTypeFromData(data, length, usages);
    if (previous != NONE)
        return previous;
    return found != NONE ? found : m_info.code.clickTypeOnEmptyCode;
}

} // namespace hid

// The meta-object code of this file's classes, compiled with the rest of them: the ABI check
// (libabigail) takes a class's functions from the unit that holds its meta-object code.
#include "moc_hidreaderbase.cpp"
