// SPDX-License-Identifier: BSD-3-Clause
// The reader on its own QThread against virtual headsets: start-up, the call-state machine and
// its writes, the read cycle and its gestures, drains, and failures.

#include "capturinglogger.h"
#include "virtualheadsets.h"

#include <hidreaderbase.h>
#include <platform/hiddecoder.h>
#include <platform/hidreader.h>
#include <virtualmodels.h>

#include <hidapi.h>

#include <QThread>
#include <QtTest>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

using hid::HidCode;
using hid::virt::Bytes;
using hid::virt::VirtualDevice;
using namespace std::chrono_literals;

namespace {

constexpr unsigned short MUTE = 0x09, HOOK = 0x17, RING = 0x18, HOLD = 0x20, ONLINE = 0x2A;

// What the reader did, in the order it did it: reports the headset received ("write:0222"),
// states entered ("state:Talk") and gestures ("click", "mute", "reject", "finished").
// Entries are kept as standard strings: Qt's implicitly shared lists and strings would share
// one buffer between the threads, in code that ThreadSanitizer cannot see into.
class Timeline
{
public:
    void add(const QString &entry)
    {
        const std::string text = entry.toStdString();
        std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.push_back(text);
    }
    QStringList entries() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        QStringList result;
        for (const std::string &entry : m_entries)
            result << QString::fromStdString(entry);
        return result;
    }
    // The entries after the first `from`.
    QStringList since(int from) const { return entries().mid(from); }
    int size() const { return entries().size(); }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_entries;
};

// A virtual headset and a reader for it running on its own thread, as the library runs one.
class ReaderRig
{
public:
    using Answer = std::function<std::vector<Bytes>(const Bytes &written)>;

    ReaderRig(const hid::virt::DeviceDescription &description, const HidCode &code, const QString &path = QString(),
              Answer answer = nullptr, hid::CallState resumed = hid::CallState::Idle)
        : device(VirtualDevice::add(description))
    {
        const Bytes echo = description.answerToWrite;
        device.setResponder([this, answer, echo](const Bytes &written) {
            timeline.add(QStringLiteral("write:") + hexOf(written));
            if (answer)
                return answer(written);
            return echo.empty() ? std::vector<Bytes>() : std::vector<Bytes>{echo};
        });
        hid::HidDeviceInfo info;
        info.vendorId = description.vendorId;
        info.productId = description.productId;
        info.name = QString::fromStdWString(description.product);
        info.path = path.isEmpty() ? QString::fromStdString(device.path()) : path;
        info.code = code;
        reader = hid::getReader(info);
        reader->resumeCall(resumed);
        reader->moveToThread(&thread);
        QObject::connect(reader, &hid::HidReaderBase::stateChanged,
                         [this](const QString &state) { timeline.add(QStringLiteral("state:") + state); });
        QObject::connect(reader, &hid::HidReaderBase::click, [this] { timeline.add(QStringLiteral("click")); });
        QObject::connect(reader, &hid::HidReaderBase::clickMute, [this] { timeline.add(QStringLiteral("mute")); });
        QObject::connect(reader, &hid::HidReaderBase::clickReject, [this] { timeline.add(QStringLiteral("reject")); });
        QObject::connect(reader, &hid::HidReaderBase::finished, [this] { timeline.add(QStringLiteral("finished")); });
        QObject::connect(&thread, &QThread::started, reader, &hid::HidReaderBase::start);
        thread.start();
    }

    ~ReaderRig()
    {
        hid::HidReaderBase *doomed = reader;
        onReaderThread([doomed] { delete doomed; });
        thread.quit();
        thread.wait();
        device.remove();
    }

    // A call-state slot, invoked as the binding invokes it from the application's thread: the
    // reader told of it, the slot queued, the reader's wait for input cut short.
    void call(const char *slot)
    {
        reader->callStateComing();
        QMetaObject::invokeMethod(reader, slot, Qt::QueuedConnection);
        reader->wakeUp();
    }

    // Runs `work` on the reader's thread and waits for it. The hand-back goes through a
    // standard mutex rather than Qt's blocking connection, whose semaphore ThreadSanitizer
    // cannot see into.
    template<typename Work> void onReaderThread(Work work)
    {
        std::mutex mutex;
        std::condition_variable doneChanged;
        bool done = false;
        QMetaObject::invokeMethod(
            reader,
            [&] {
                work();
                std::lock_guard<std::mutex> lock(mutex);
                done = true;
                doneChanged.notify_one();
            },
            Qt::QueuedConnection);
        std::unique_lock<std::mutex> lock(mutex);
        doneChanged.wait(lock, [&] { return done; });
    }

    VirtualDevice device;
    Timeline timeline;
    QThread thread;
    hid::HidReaderBase *reader = nullptr;
};

QStringList textsFrom(const CapturingLogger &logger, int level)
{
    QStringList texts;
    for (const CapturedLine &line : logger.lines()) {
        if (line.level == level)
            texts << line.text;
    }
    return texts;
}

// Lines other than the decoder's and the reader's own life-cycle lines.
QStringList readerTexts(const CapturingLogger &logger)
{
    QStringList texts = logger.texts();
    texts.removeAll(QStringLiteral("HidDecoderBase"));
    texts.removeAll(QStringLiteral("HidReaderBase"));
    return texts;
}

const QStringList startUp = {"write:0200", "state:Initial"};

// A decoder that fails to build the second step it is given.
class SecondStepFails : public hid::HidDecoderBase
{
public:
    using HidDecoderBase::HidDecoderBase;
    bool makeOutputReport(unsigned short page, const std::vector<unsigned short> &usages,
                          std::vector<std::vector<unsigned char>> &reports) override
    {
        if (++m_calls == 2)
            return false;
        return HidDecoderBase::makeOutputReport(page, usages, reports);
    }

private:
    int m_calls = 0;
};

// A reader used directly, without a thread, to reach the writing operations with a chosen
// decoder.
class WritingReader : public hid::HidReaderBase
{
public:
    WritingReader(const hid::HidDeviceInfo &info, hid_device *handle, hid::HidDecoderBase *decoder)
        : HidReaderBase(info)
    {
        m_deviceHandle = handle;
        m_decoder.reset(decoder);
    }
};

} // namespace

class TestHidReader : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void binaryToString();
    void startWritesInitThenEntersInitial();
    void wholeCallThroughTheReader();
    void callEndInInitialReentersIt();
    void callEndInHoldMutedStaysThere();
    void signalsWithoutTransitionsDoNothing();
    void ringFromTalkUsesItsOwnCommand();
    void emptyHoldCommandsFallBack();
    void vendorPageModelWritesEveryStep();
    void stateIsAnnouncedOnceItsLastReportIsWritten();
    void readsOfAHeadsetThatKeepsSendingEndAtTheirCaps();
    void longDelayDrainEndsAtItsCap();
    void burstOfPressAndReleaseIsOneGesture();
    void firstRecognisedGestureWins();
    void emptyReportGivesTheModelsGesture();
    void quietTickLogsNothingAndStopKeepsReading();
    void longDelayDrainDiscardsFollowingReports();
    void longDelayModelWritesEveryHoldStep();
    void answersToWritesAreReadBackAndGiveNoGesture();
    void hangUpAfterAnsweringFromTheApplication();
    void failedStartEmitsFinishedAndBuildsNoMachine();
    void commandStopsAtTheStepThatCannotBeBuilt();
    void reportListWithOneEmptyReportWritesNothing();
    void unpluggedDeviceEndsTheReader();
    void interruptedReadIsNotAnUnplug();
    void resumedCallGoesFromInitialToItsState_data();
    void resumedCallGoesFromInitialToItsState();
};

void TestHidReader::binaryToString()
{
    QCOMPARE(hid::BinaryToString({0x02, 0xAB, 0x00}, 2), QStringLiteral("02 ab "));
    QCOMPARE(hid::BinaryToString({0x02, 0xAB, 0x00}, 99), QStringLiteral("02 ab 00 "));
    QCOMPARE(hid::BinaryToString({0x02}, 0), QString());
    QCOMPARE(hid::BinaryToString({}, 5), QString());
}

void TestHidReader::startWritesInitThenEntersInitial()
{
    CapturingLogger logger;
    {
        ReaderRig rig(modelDescription("telephony-headset"), HidCode());
        QTRY_COMPARE(rig.timeline.entries(), startUp);
        QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));
    }
    const QStringList expected = {
        "HidReaderBase",
        "HidDecoderBase",
        "HID READER onInit WRITED: [02 00 ]  result is 2",
        "HID READER read cycle started",
        "State: Initial headset state entered",
        "~HidReaderBase",
        "~HidDecoderBase",
    };
    QCOMPARE(logger.texts(), expected);
    for (const CapturedLine &line : logger.lines()) {
        QCOMPARE(line.level, 7);
        if (line.text.startsWith(QLatin1String("HID READER")) || line.text.contains(QLatin1String("HidReaderBase")))
            QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hidreaderbase"));
    }
    QCOMPARE(logger.linesFrom(QStringLiteral("writeBinaryData")).size(), 1);
    QCOMPARE(logger.linesFrom(QStringLiteral("start")).size(), 1);
}

void TestHidReader::wholeCallThroughTheReader()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), dictionaryCode(0x0B0E, 0x030D));
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    for (const char *slot : {"onCallIncome", "onCallUnmuted", "onCallMuted", "onCallUnmuted", "onCallHold",
                             "onCallHoldMuted", "onCallEnd"})
        rig.call(slot);
    const QStringList expected = startUp
        + QStringList{
            "write:0222", "state:Incoming call",                             // Ring, On-Line
            "write:0221", "state:Talk",                                      // Off-Hook, On-Line
            "write:0225", "state:Talk muted",                                // Off-Hook, Mute, On-Line
            "write:0221", "state:Talk",          "write:0229", "state:Hold", // Off-Hook, Hold, On-Line
            "write:022d", "state:Hold muted",                                // Off-Hook, Mute, Hold, On-Line
            "write:0200", // ended in Hold muted: lamps off, state kept
        };
    QTRY_COMPARE(rig.timeline.entries(), expected);
    QStringList entries;
    for (const CapturedLine &line : logger.lines()) {
        if (line.text.startsWith(QLatin1String("State: "))) {
            entries << line.text;
            QCOMPARE(line.level, 7);
            QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hidreaderbase"));
        }
    }
    const QStringList stateLines = {
        "State: Initial headset state entered",
        "State: Incoming call headset state entered",
        "State: Talk headset state entered",
        "State: Talk muted headset state entered",
        "State: Talk headset state entered",
        "State: Call on hold headset state entered",
        "State: Call on hold muted headset state entered",
    };
    QCOMPARE(entries, stateLines);
}

void TestHidReader::callEndInInitialReentersIt()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    rig.call("onCallEnd");
    // The machine takes a transition as its signal is emitted, so here Initial is re-entered
    // before the init command is written.
    QTRY_COMPARE(rig.timeline.entries(), startUp + QStringList({"state:Initial", "write:0200"}));
    QCOMPARE(logger.texts().count(QStringLiteral("State: Initial headset state entered")), 2);
    QVERIFY(logger.texts().contains(QStringLiteral("HID READER onCallEnd WRITED: [02 00 ]  result is 2")));
}

void TestHidReader::callEndInHoldMutedStaysThere()
{
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    rig.call("onCallIncome");
    rig.call("onCallHoldMuted");
    QTRY_COMPARE(rig.timeline.size(), 6);
    rig.call("onCallEnd");
    rig.call("onCallHold"); // still answered from Hold muted
    QTRY_COMPARE(rig.timeline.since(6), (QStringList{"write:0200", "write:0229", "state:Hold"}));
}

void TestHidReader::signalsWithoutTransitionsDoNothing()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    for (const char *slot : {"onCallUnmuted", "onCallMuted", "onCallHold", "onCallHoldMuted"})
        rig.call(slot);
    rig.call("onCallIncome");
    rig.call("onCallUnmuted");
    rig.call("onCallHold");
    rig.call("onCallHold"); // the current state's own signal
    rig.call("onCallIncome");
    QTRY_COMPARE(rig.timeline.since(2),
                 (QStringList{"write:0222", "state:Incoming call", "write:0221", "state:Talk", "write:0229",
                              "state:Hold", "write:0222", "state:Incoming call"}));
    QTest::qWait(100);
    QCOMPARE(rig.timeline.size(), 10);
}

void TestHidReader::ringFromTalkUsesItsOwnCommand()
{
    {
        ReaderRig rig(modelDescription("telephony-headset"), dictionaryCode(0x0B0E, 0x030D));
        QTRY_COMPARE(rig.timeline.entries(), startUp);
        for (const char *slot : {"onCallIncome", "onCallUnmuted", "onCallIncome", "onCallMuted", "onCallIncome",
                                 "onCallHold", "onCallIncome"})
            rig.call(slot);
        QTRY_COMPARE(
            rig.timeline.since(2),
            (QStringList{"write:0222", "state:Incoming call", "write:0221", "state:Talk", "write:0223",
                         "state:Incoming call", // from Talk: Off-Hook, Ring, On-Line
                         "write:0225", "state:Talk muted", "write:0223", "state:Incoming call", // from Talk muted
                         "write:0229", "state:Hold", "write:0222", "state:Incoming call"}));    // from Hold: cmdRing
    }
    HidCode noFromTalk = dictionaryCode(0x0B0E, 0x030D);
    noFromTalk.cmdFromTalkToRing.clear();
    ReaderRig rig(modelDescription("telephony-headset"), noFromTalk);
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    for (const char *slot : {"onCallIncome", "onCallUnmuted", "onCallIncome"})
        rig.call(slot);
    QTRY_COMPARE(rig.timeline.since(2),
                 (QStringList{"write:0222", "state:Incoming call", "write:0221", "state:Talk", "write:0222",
                              "state:Incoming call"}));
}

void TestHidReader::emptyHoldCommandsFallBack()
{
    HidCode code;
    code.cmdHold.clear();
    code.cmdHoldMuted.clear();
    ReaderRig rig(modelDescription("telephony-headset"), code);
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    for (const char *slot : {"onCallIncome", "onCallHold", "onCallHoldMuted"})
        rig.call(slot);
    QTRY_COMPARE(rig.timeline.since(2),
                 (QStringList{"write:0222", "state:Incoming call", "write:0221", "state:Hold", // cmdTalk
                              "write:0225", "state:Hold muted"}));                             // cmdMute
}

void TestHidReader::stateIsAnnouncedOnceItsLastReportIsWritten()
{
    // The ring is two reports, each answered by the headset. The first report's answer is read
    // back before the second is written; the state is announced once the second is written,
    // and its answer is read back after that, before anything else runs. No answer is a press.
    CapturingLogger logger;
    const ReaderRig::Answer answered = [](const Bytes &) { return std::vector<Bytes>{{0x05, 0x00}}; };
    ReaderRig rig(modelDescription("vendor-page-headset"), dictionaryCode(0x0B0E, 0xA346), QString(), answered);
    QTRY_COMPARE(rig.timeline.size(), 3);
    logger.clear();
    rig.call("onCallIncome");
    QTRY_COMPARE(rig.timeline.since(3), (QStringList{"write:0502", "write:0522", "state:Incoming call"}));
    QVERIFY(listening(rig.device));
    const QStringList texts =
        logger.texts().filter(QRegularExpression(QStringLiteral("^(HID READER onCallIncome|State:)")));
    QCOMPARE(texts,
             (QStringList{"HID READER onCallIncome WRITED: [05 02 ]  result is 2",
                          "HID READER onCallIncome READED: [05 00 ]",
                          "HID READER onCallIncome WRITED: [05 22 ]  result is 2",
                          "State: Incoming call headset state entered", "HID READER onCallIncome READED: [05 00 ]"}));
    QCOMPARE(rig.timeline.since(3), (QStringList{"write:0502", "write:0522", "state:Incoming call"}));
}

void TestHidReader::readsOfAHeadsetThatKeepsSendingEndAtTheirCaps()
{
    // The headset sends its resting report every 2 ms around each write: the read-back ends at
    // its cap, what follows is read as input (in bursts that end at theirs), and each cap is
    // logged once for the binding, however often it is hit.
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    hid::virt::Faults chatty;
    chatty.unendingReport = {0x01, 0x00, 0x00};
    const auto count = [&logger](const QString &start) {
        return logger.texts().filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(start))).size();
    };
    const QString readBackCap =
        QStringLiteral("HID READER Office Headset 20 keeps sending reports: answers to a write are read back for "
                       "50 ms at most, and what follows is taken as input");
    const QString burstCap = QStringLiteral(
        "HID READER Office Headset 20 keeps sending reports: a gesture is decided after 30 ms of reports at most");
    int readBackWarnings = 0;
    int burstWarnings = 0;
    for (const char *slot : {"onCallIncome", "onCallEnd"}) {
        logger.clear();
        rig.device.setFaults(chatty);
        rig.call(slot);
        const QString answer = QStringLiteral("HID READER ") + QLatin1String(slot) + QStringLiteral(" READED");
        // Once the read-back is cut, the rest is input.
        const auto inputAfterTheAnswers = [&logger, &answer] {
            const QStringList texts = logger.texts();
            const auto firstAnswer = std::find_if(texts.begin(), texts.end(),
                                                  [&answer](const QString &text) { return text.startsWith(answer); });
            return std::find(firstAnswer, texts.end(), QStringLiteral("HID READER event readed")) != texts.end();
        };
        QTRY_VERIFY(inputAfterTheAnswers());
        rig.device.setFaults(hid::virt::Faults());
        QVERIFY(listening(rig.device));
        // A report every 2 ms for at most 50 ms.
        const int answers = count(answer);
        QVERIFY2(answers > 1 && answers <= 26, qPrintable(QString::number(answers)));
        for (const CapturedLine &line : logger.lines()) {
            readBackWarnings += line.text == readBackCap ? 1 : 0;
            burstWarnings += line.text == burstCap ? 1 : 0;
            if (line.text.contains(QLatin1String("keeps sending reports")))
                QCOMPARE(line.level, 4); // a warning
        }
    }
    QCOMPARE(readBackWarnings, 1);
    QCOMPARE(burstWarnings, 1);
    QCOMPARE(
        rig.timeline.since(2),
        (QStringList{"write:0222", "state:Incoming call", "state:Initial", "write:0200"})); // as without the reports
}

void TestHidReader::vendorPageModelWritesEveryStep()
{
    ReaderRig rig(modelDescription("vendor-page-headset"), dictionaryCode(0x0B0E, 0xA346));
    const QStringList init = {"write:0520", "write:0500", "state:Initial"}; // [On-Line], []
    QTRY_COMPARE(rig.timeline.entries(), init);
    rig.call("onCallIncome");
    rig.call("onCallUnmuted");
    QTRY_COMPARE(
        rig.timeline.since(3),
        (QStringList{"write:0502", "write:0522", "state:Incoming call", "write:0523", "write:0523", "write:0521",
                     "write:0529", "write:0528", "write:0523", "write:0523", "write:0521", "state:Talk"}));
}

void TestHidReader::burstOfPressAndReleaseIsOneGesture()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    rig.device.press("answer");
    QTRY_COMPARE(rig.timeline.since(2), QStringList{"click"});
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER Click emitted")));
    // The click is emitted at the burst's first report; the next press is another burst once the
    // reader has read the rest of this one and listens again.
    QVERIFY(listening(rig.device));
    logger.clear();
    rig.device.press("mute");
    rig.device.release("mute");
    QTRY_COMPARE(rig.timeline.since(2), (QStringList{"click", "mute"}));
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER Mute emitted ")));
    // The gesture is emitted as soon as the first report decides it; the release is read after
    // it, as part of the same burst, and makes no second one.
    const QStringList expected = {
        "HID READER event readed",
        "HID READER first click type is 0 [01 05 00 ] : 3",
        "HID READER Mute emitted ",
        "HID READER next click type is 0 [01 01 00 ] : 3",
    };
    QTRY_COMPARE(logger.texts(), expected);
    for (const CapturedLine &line : logger.lines())
        QCOMPARE(line.level, 7);
    QTest::qWait(100);
    QCOMPARE(rig.timeline.size(), 4);
}

void TestHidReader::firstRecognisedGestureWins()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    rig.device.inject({0x01, 0x01, 0x00}); // Hook Switch: CLICK
    rig.device.inject({0x01, 0x05, 0x00}); // Phone Mute: MUTE
    QTRY_COMPARE(rig.timeline.since(2), QStringList{"click"});
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER next click type is 1 [01 05 00 ] : 3")));
    QVERIFY(listening(rig.device));
    rig.device.press("drop");
    rig.device.release("drop");
    QTRY_COMPARE(rig.timeline.since(2), (QStringList{"click", "reject"}));
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER Reject emitted")));
}

void TestHidReader::emptyReportGivesTheModelsGesture()
{
    CapturingLogger logger;
    {
        // Nothing changes in this report: an empty one.
        ReaderRig rig(modelDescription("telephony-headset-no-ids"), dictionaryCode(0x047F, 0xC038)); // CLICK
        QTRY_COMPARE(rig.timeline.entries(), (QStringList{"write:00", "state:Initial"}));
        rig.device.inject({0x00, 0x00});
        QTRY_COMPARE(rig.timeline.since(2), QStringList{"click"});
    }
    logger.clear();
    ReaderRig rig(modelDescription("telephony-headset-no-ids"), HidCode());
    QTRY_COMPARE(rig.timeline.size(), 2);
    rig.device.inject({0x00, 0x00});
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER no signal to emit")));
    QCOMPARE(rig.timeline.size(), 2);
}

void TestHidReader::quietTickLogsNothingAndStopKeepsReading()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));
    logger.clear();
    const unsigned long readsBefore = rig.device.counters().reads;
    QTest::qWait(600);
    QVERIFY(rig.device.counters().reads > readsBefore); // ticks ran
    QCOMPARE(logger.texts(), QStringList());

    rig.call("stop");
    QTRY_COMPARE(logger.texts(), QStringList{"stop"});
    rig.device.press("answer");
    QTRY_COMPARE(rig.timeline.since(2), QStringList{"click"});
}

void TestHidReader::longDelayDrainEndsAtItsCap()
{
    // After a gesture on a longDelay model the headset keeps sending its resting report: the
    // drain ends at its cap and says so once, and the reader listens for input again. The
    // device finds the reader a report every 2 ms however late the reader runs, so that the
    // drain cannot end on a quiet gap even under valgrind.
    CapturingLogger logger;
    const HidCode evolve = dictionaryCode(0x0B0E, 0x0301); // longDelay
    ReaderRig rig(modelDescription("telephony-headset"), evolve);
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));
    QVERIFY(rig.device.waitForListeningReader(std::chrono::seconds(5)));
    logger.clear();
    hid::virt::Faults chatty;
    chatty.unendingReport = {0x01, 0x00, 0x00};
    rig.device.setFaults(chatty);
    rig.device.press("mute");
    const QString drainEnded = QStringLiteral("HID READER long delay READ ended");
    QTRY_VERIFY_WITH_TIMEOUT(readerTexts(logger).contains(drainEnded), 10000);
    rig.device.setFaults(hid::virt::Faults());
    QVERIFY(rig.device.waitForListeningReader(std::chrono::seconds(5)));
    const QStringList texts = readerTexts(logger);
    const int drained = texts.indexOf(drainEnded);
    const QString warning = QStringLiteral(
        "HID READER Office Headset 20 keeps sending reports: the long delay drain ends after 1000 ms at most");
    QCOMPARE(texts.at(drained - 1), warning);
    QVERIFY(texts.at(drained - 2).startsWith(QLatin1String("HID READER read after long delay READED: [01 00 00 ]")));
    QCOMPARE(rig.timeline.since(2), QStringList{"mute"});

    // Each report read as input is followed by a drain of its own: it is cut the same way, and
    // the warning is not given again.
    rig.device.setFaults(chatty);
    QTRY_VERIFY_WITH_TIMEOUT(readerTexts(logger).count(drainEnded) >= 3, 10000);
    rig.device.setFaults(hid::virt::Faults());
    QCOMPARE(readerTexts(logger).count(warning), 1);
    QCOMPARE(rig.timeline.since(2), QStringList{"mute"});
}

void TestHidReader::longDelayDrainDiscardsFollowingReports()
{
    CapturingLogger logger;
    const HidCode evolve = dictionaryCode(0x0B0E, 0x0301); // longDelay
    QVERIFY(evolve.longDelay);
    ReaderRig rig(modelDescription("telephony-headset"), evolve);
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));
    // The init command itself was followed by a drain that found nothing.
    QCOMPARE(logger.texts().count(QStringLiteral("HID READER long delay READ ended")), 1);
    logger.clear();

    rig.device.press("mute");
    // After the burst's 5 ms, within the drain's 700 ms: read and thrown away.
    rig.device.release("mute", 100ms);
    rig.device.press("drop", 100ms);
    QTRY_VERIFY_WITH_TIMEOUT(logger.texts().contains(QStringLiteral("HID READER long delay READ ended")), 5000);
    QCOMPARE(rig.timeline.since(2), QStringList{"mute"});
    const QStringList texts = readerTexts(logger);
    QCOMPARE(texts.mid(texts.indexOf(QStringLiteral("HID READER Mute emitted "))),
             (QStringList{"HID READER Mute emitted ", "HID READER read after long delay READED: [01 01 00 ]",
                          "HID READER read after long delay READED: [01 10 00 ]", "HID READER long delay READ ended"}));
    // After the drain, a press is a gesture again.
    rig.device.press("mute");
    QTRY_COMPARE_WITH_TIMEOUT(rig.timeline.since(2), (QStringList{"mute", "mute"}), 5000);
}

void TestHidReader::longDelayModelWritesEveryHoldStep()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), dictionaryCode(0x0B0E, 0x0301)); // [], [HOOK, HOLD], [HOLD]
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    for (const char *slot : {"onCallIncome", "onCallUnmuted", "onCallHold"})
        rig.call(slot);
    QTRY_COMPARE_WITH_TIMEOUT(rig.timeline.since(2),
                              (QStringList{"write:0222", "state:Incoming call", "write:0221", "state:Talk",
                                           "write:0200", "write:0209", "write:0208", "state:Hold"}),
                              10000);
    // One drain after each command, the init command's included.
    QTRY_COMPARE(logger.texts().count(QStringLiteral("HID READER long delay READ ended")), 4);
}

void TestHidReader::answersToWritesAreReadBackAndGiveNoGesture()
{
    CapturingLogger logger;
    // The echoing headset answers each write; its configuration makes empty reports CLICK.
    ReaderRig rig(modelDescription("echoing-headset"), dictionaryCode(0x047F, 0xC038));
    QTRY_COMPARE(rig.timeline.entries(), (QStringList{"write:00", "state:Initial"}));
    rig.call("onCallIncome");
    QTRY_COMPARE(rig.timeline.since(2), (QStringList{"write:22", "state:Incoming call"}));
    QTest::qWait(300);
    QCOMPARE(rig.timeline.size(), 4);
    const QStringList texts = logger.texts();
    QVERIFY(texts.contains(QStringLiteral("HID READER onInit READED: [00 00 ]")));
    QVERIFY(texts.contains(QStringLiteral("HID READER onCallIncome WRITED: [00 22 ]  result is 2")));
    QVERIFY(texts.contains(QStringLiteral("HID READER onCallIncome READED: [00 00 ]")));
}

void TestHidReader::hangUpAfterAnsweringFromTheApplication()
{
    // A headset that answers each lamp write with its hook state: Hook Switch on while the
    // Off-Hook lamp is written on.
    const ReaderRig::Answer hookFollowsLamp = [](const Bytes &written) {
        const unsigned char offHook = written.at(0) & 0x01;
        return std::vector<Bytes>{{offHook, 0x00}};
    };
    ReaderRig rig(modelDescription("telephony-headset-no-ids"), HidCode(), QString(), hookFollowsLamp);
    QTRY_COMPARE(rig.timeline.size(), 2);
    rig.call("onCallIncome");
    rig.call("onCallUnmuted"); // answered in the application: Off-Hook written, hook answers on
    QTRY_COMPARE(rig.timeline.since(2), (QStringList{"write:22", "state:Incoming call", "write:21", "state:Talk"}));
    QVERIFY(listening(rig.device));
    rig.device.press("hangup");
    QTRY_COMPARE(rig.timeline.since(6), QStringList{"click"});
}

void TestHidReader::failedStartEmitsFinishedAndBuildsNoMachine()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode(), QStringLiteral("virtual-hid/nowhere"));
    QTRY_COMPARE(rig.timeline.entries(), QStringList{"finished"});
    QCOMPARE(textsFrom(logger, 3), QStringList{"HID READER Failed to open device virtual-hid/nowhere"});
    logger.clear();
    rig.call("onCallIncome");
    rig.call("onCallUnmuted");
    rig.call("onCallEnd");
    rig.call("onInit");
    QTRY_COMPARE(logger.texts().size(), 2);
    QCOMPARE(logger.texts(), (QStringList{"HID READER there is no decoder", "HID READER there is no decoder"}));
    QCOMPARE(textsFrom(logger, 3).size(), 2);
    QCOMPARE(rig.timeline.entries(), QStringList{"finished"});
    QCOMPARE(rig.device.counters().writes, 0ul);
    int result = 0;
    rig.onReaderThread([&] { result = rig.reader->writeCommand({{RING}}, QStringLiteral("x")); });
    QCOMPARE(result, -1);
    // A report handed to a reader without a decoder is dropped with an error.
    logger.clear();
    rig.onReaderThread([&] {
        hid::InputBuf report = {0x01, 0x01, 0x00};
        rig.reader->onHIDDataRead(report, 3);
    });
    QCOMPARE(textsFrom(logger, 3), QStringList{"HID onHIDDataRead: there is no decoder"});
    QCOMPARE(logger.texts().size(), 1);
    QCOMPARE(rig.timeline.entries(), QStringList{"finished"});
}

void TestHidReader::commandStopsAtTheStepThatCannotBeBuilt()
{
    CapturingLogger logger;
    VirtualDevice device = VirtualDevice::add(modelDescription("telephony-headset"));
    hid_device *handle = hid_open_path(device.path().c_str());
    hid::HidDeviceInfo info;
    info.code.longDelay = true; // a drain would log; none may follow a failed command
    {
        WritingReader reader(info, handle, new SecondStepFails(info, handle));
        QCOMPARE(reader.writeCommand({{RING}, {HOOK}, {HOLD}}, QStringLiteral("onCallHold")), -1);
    }
    QCOMPARE(device.writtenReports().size(), std::size_t(1));
    QCOMPARE(device.writtenReports().front().bytes, (Bytes{0x02, 0x02}));
    QCOMPARE(textsFrom(logger, 3), QStringList{"HID READER onCallHold: command build failed"});
    QVERIFY(!logger.texts().contains(QStringLiteral("HID READER long delay READ ended")));
}

void TestHidReader::reportListWithOneEmptyReportWritesNothing()
{
    CapturingLogger logger;
    VirtualDevice device = VirtualDevice::add(modelDescription("telephony-headset"));
    hid_device *handle = hid_open_path(device.path().c_str());
    const hid::HidDeviceInfo info;
    WritingReader reader(info, handle, new hid::HidDecoder(info, handle));
    logger.clear();
    QCOMPARE(reader.writeBinaryData({{}}, QStringLiteral("x")), 0);
    QCOMPARE(device.counters().writes, 0ul);
    QCOMPARE(logger.texts(), QStringList());
    QCOMPARE(reader.writeBinaryData({}, QStringLiteral("x")), -1);
    QCOMPARE(logger.texts(), QStringList{"HID READER x: no data for device"});
    QCOMPARE(logger.lines().front().level, 7);
    // Two reports: the sum of the writes; a failed write adds -1 and is still logged.
    QCOMPARE(reader.writeBinaryData({{0x02, 0x01}, {0x02, 0x00}}, QStringLiteral("y")), 4);
    // Without a device handle nothing is written, and that is an error.
    logger.clear();
    WritingReader unopened(info, nullptr, nullptr);
    QCOMPARE(unopened.writeBinaryData({{0x02, 0x01}}, QStringLiteral("w")), -1);
    QCOMPARE(textsFrom(logger, 3), QStringList{"HID READER w: no device handle"});
    device.unplug();
    QCOMPARE(reader.writeBinaryData({{0x02, 0x01}, {0x02, 0x00}}, QStringLiteral("z")), -2);
    QVERIFY(logger.texts().contains(QStringLiteral("HID READER z WRITED: [02 01 ]  result is -1")));
}

void TestHidReader::unpluggedDeviceEndsTheReader()
{
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));
    rig.device.unplug();
    QTRY_COMPARE(rig.timeline.since(2), QStringList{"finished"});
    const QList<CapturedLine> gone = logger.linesFrom(QStringLiteral("onHIDEventTimeout"));
    QCOMPARE(gone.size(), 1);
    QCOMPARE(gone[0].text, QStringLiteral("HID READER Device gone: device disconnected"));
    QCOMPARE(gone[0].level, 3);
    // Reading has stopped: no tick reads the dead handle any more.
    rig.onReaderThread([] {});
    const unsigned long reads = rig.device.counters().reads;
    QTest::qWait(300);
    QCOMPARE(rig.device.counters().reads, reads);
}

void TestHidReader::interruptedReadIsNotAnUnplug()
{
    // One failed read alone (a signal interrupting the wait) does not end the reader: the
    // read that confirms it succeeds, and its report is taken as usual.
    ReaderRig rig(modelDescription("telephony-headset"), HidCode());
    QTRY_COMPARE(rig.timeline.entries(), startUp);
    hid::virt::Faults faults;
    faults.nextReadFails = true;
    rig.device.setFaults(faults);
    QTRY_COMPARE(rig.device.counters().interruptedReads, 1ul);
    rig.device.press("answer");
    QTRY_COMPARE(rig.timeline.since(2), QStringList{"click"});
    QVERIFY(!rig.timeline.entries().contains(QStringLiteral("finished")));
}

void TestHidReader::resumedCallGoesFromInitialToItsState_data()
{
    QTest::addColumn<int>("call");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("ringing") << int(hid::CallState::Ringing)
                             << QStringList{"write:0200", "state:Initial", "write:0222", "state:Incoming call"};
    QTest::newRow("talking") << int(hid::CallState::Talking)
                             << QStringList{"write:0200", "state:Initial", "write:0221", "state:Talk"};
    QTest::newRow("muted") << int(hid::CallState::TalkMuted)
                           << QStringList{"write:0200", "state:Initial", "write:0225", "state:Talk muted"};
    QTest::newRow("held") << int(hid::CallState::Held)
                          << QStringList{"write:0200", "state:Initial", "write:0229", "state:Hold"};
    QTest::newRow("held muted") << int(hid::CallState::HeldMuted)
                                << QStringList{"write:0200", "state:Initial", "write:022d", "state:Hold muted"};
    QTest::newRow("idle") << int(hid::CallState::Idle) << startUp;
}

void TestHidReader::resumedCallGoesFromInitialToItsState()
{
    QFETCH(int, call);
    QFETCH(QStringList, expected);
    CapturingLogger logger;
    ReaderRig rig(modelDescription("telephony-headset"), HidCode(), QString(), nullptr, hid::CallState(call));
    QTRY_COMPARE(rig.timeline.entries(), expected);
    const QList<CapturedLine> resuming = logger.linesFrom(QStringLiteral("resumeCallState"));
    QCOMPARE(resuming.size(), call == int(hid::CallState::Idle) ? 0 : 1);
    for (const CapturedLine &line : resuming) {
        QCOMPARE(line.text, QStringLiteral("HID READER Resuming the call"));
        QCOMPARE(line.level, 7);
        QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hidreaderbase"));
    }
    // From there the call goes on by the usual transitions: ended (on hold and muted, the state
    // stays), then ringing again.
    rig.call("onCallEnd");
    const QStringList ended =
        call == int(hid::CallState::HeldMuted) ? QStringList{"write:0200"} : QStringList{"state:Initial", "write:0200"};
    QTRY_COMPARE(rig.timeline.entries(), expected + ended);
    rig.call("onCallIncome");
    QTRY_COMPARE(rig.timeline.since(expected.size() + ended.size()),
                 (QStringList{"write:0222", "state:Incoming call"}));
}

QTEST_GUILESS_MAIN(TestHidReader)
#include "tst_hidreader.moc"
