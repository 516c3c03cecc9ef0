// SPDX-License-Identifier: BSD-3-Clause
// Faults of the headset and of the application's input, through the manager as an application
// uses it: the library stays alive, answers as usual once the fault ends, and every call state
// reported while the headset is present reaches it in order (its write log shows it).

#include "applicationmanager.h"
#include "bindingevents.h"
#include "capturinglogger.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QElapsedTimer>
#include <QtTest>

#include <memory>
#include <thread>

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

namespace {

const QString AudioDevice = QStringLiteral("Headset Microphone (2- Office Headset 20)");

// Binds the headset and waits for this binding's reader to enter its first state: the binding
// is shown at once, and its Initial is the first state after that.
bool bind(BindingEvents &events, const QString &audioDevice = AudioDevice)
{
    const int before = events.size();
    manager().onActiveAudioDeviceChanged(audioDevice);
    int shown = events.size() - 1;
    while (shown >= before && !events.entries().at(shown).startsWith(QLatin1String("show:")))
        --shown;
    if (shown < before)
        return false;
    QDeadlineTimer deadline(10000);
    while (!events.since(shown).contains(QStringLiteral("state:Initial")) && !deadline.hasExpired())
        QTest::qWait(5);
    return events.since(shown).contains(QStringLiteral("state:Initial"));
}

// The standard telephony headset, plugged in with one fault.
VirtualDevice headsetWith(bool hid::virt::Faults::*fault)
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    hid::virt::Faults faults;
    faults.*fault = true;
    headset.setFaults(faults);
    return headset;
}

// Clears the headset's faults and binds it anew (the application reports another audio device
// and back, since the same one again changes nothing); true when a press then arrives.
bool worksOnceTheFaultEnds(VirtualDevice &headset, BindingEvents &events)
{
    headset.setFaults({});
    manager().onActiveAudioDeviceChanged(QString());
    if (!bind(events))
        return false;
    headset.press("answer");
    QDeadlineTimer deadline(5000);
    while (!events.entries().contains(QStringLiteral("click")) && !deadline.hasExpired())
        QTest::qWait(5);
    return events.entries().contains(QStringLiteral("click"));
}

constexpr int Error = 3;
constexpr int Debug = 7;
const QString ReaderFile = QStringLiteral("src/libs/qvhid/src/hidreaderbase");

// True when `log` holds a line with exactly these fields.
bool logged(const CapturingLogger &log, int level, const QString &file, const char *function, const QString &text)
{
    for (const CapturedLine &line : log.lines())
        if (line.level == level && line.file == file && line.function == QLatin1String(function) && line.text == text)
            return true;
    return false;
}

// The texts logged after the first line with text `after`; empty when there is none.
QStringList loggedAfter(const CapturingLogger &log, const QString &after)
{
    const QStringList texts = log.texts();
    const int at = texts.indexOf(after);
    return at < 0 ? QStringList() : texts.mid(at + 1);
}

// The call states of a whole call, each a slot of the manager.
const QList<void (HidDeviceManager::*)()> WholeCall = {
    &HidDeviceManager::onCallIncome,  &HidDeviceManager::onCallUnmuted, &HidDeviceManager::onCallMuted,
    &HidDeviceManager::onCallUnmuted, &HidDeviceManager::onCallHold,    &HidDeviceManager::onCallUnmuted,
    &HidDeviceManager::onCallEnd};
const QStringList WholeCallStates = {"state:Incoming call", "state:Talk", "state:Talk muted", "state:Talk",
                                     "state:Hold",          "state:Talk", "state:Initial"};

// The reports that a whole call writes to a fresh, fault-free headset of the model.
QStringList wholeCallReports(const char *model)
{
    VirtualDevice headset = VirtualDevice::add(modelDescription(model));
    BindingEvents events;
    events.watch(&manager());
    const QString name = QStringLiteral("Mic (%1)").arg(QString::fromStdWString(headset.description().product));
    if (!bind(events, name))
        return {};
    headset.clearWrittenReports();
    const int before = events.size();
    for (auto slot : WholeCall)
        (manager().*slot)();
    QDeadlineTimer deadline(10000);
    while (events.since(before) != WholeCallStates && !deadline.hasExpired())
        QTest::qWait(5);
    QTest::qWait(100);
    const QStringList reports = writtenHex(headset);
    manager().onActiveAudioDeviceChanged(QString());
    headset.remove();
    return reports;
}

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void openFailsThenSucceeds();
    void unreadableDescriptorDecodesNothing();
    void failingWritesLoseNoLaterState();
    void unplugDuringABurstAndReplugUnderANewPath();
    void unplugDuringAWriteAndReplugUnderTheSamePath();
    void unplugWhileAnswersKeepComing();
    void unplugDuringADrain();
    void floodThenQuietLosesNoCallState();
    void unknownReportIdsAndShortReportsAreIgnored();
    void headsetWithoutTelephonyCollection();
    void hugeNestedAndMistypedDictionaries();
    void hugeAndOddAudioDeviceNames();

private:
    std::unique_ptr<CapturingLogger> m_log;
};

void TestFaults::init()
{
    m_log = std::make_unique<CapturingLogger>();
    hid::virt::removeAllDevices();
    manager().InitHidDevices(QString()); // invalid: the next lookup loads the built-in table
}

void TestFaults::cleanup()
{
    manager().onActiveAudioDeviceChanged(QString());
    manager().onCallEnd();
    hid::virt::removeAllDevices();
    m_log.reset();
}

void TestFaults::openFailsThenSucceeds()
{
    VirtualDevice headset = headsetWith(&hid::virt::Faults::openFails);
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(AudioDevice);
    // Shown, then withdrawn once the reader finds it cannot open the headset.
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20", "hide"}));
    QCOMPARE(headset.openHandles(), 0);
    QVERIFY(logged(*m_log, Error, ReaderFile, "start",
                   QStringLiteral("HID READER Failed to open device ") + QString::fromStdString(headset.path())));
    QVERIFY(!m_log->texts().contains(QStringLiteral("HID READER read cycle started")));

    QVERIFY(worksOnceTheFaultEnds(headset, events));
}

void TestFaults::unreadableDescriptorDecodesNothing()
{
    VirtualDevice headset = headsetWith(&hid::virt::Faults::descriptorUnreadable);
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(AudioDevice);
    QTest::qWait(500);
    // Whatever the binding makes of it, presses give no gesture and nothing is written that the
    // headset could not have asked for.
    headset.press("answer");
    headset.press("mute");
    manager().onCallIncome();
    QTest::qWait(500);
    QVERIFY(!events.entries().contains(QStringLiteral("click")));
    QVERIFY(!events.entries().contains(QStringLiteral("mute")));
    QVERIFY(writtenHex(headset).isEmpty());
    // Without a descriptor no command can be built; the presses are read and mean nothing.
    QVERIFY(
        logged(*m_log, Error, ReaderFile, "writeCommand", QStringLiteral("HID READER onInit: command build failed")));
    QVERIFY(logged(*m_log, Error, ReaderFile, "writeCommand",
                   QStringLiteral("HID READER onCallIncome: command build failed")));
    QVERIFY(logged(*m_log, Debug, ReaderFile, "onHIDDataRead",
                   QStringLiteral("HID READER first click type is -1 [01 01 00 ] : 3")));
    QVERIFY(logged(*m_log, Debug, ReaderFile, "onHIDDataRead", QStringLiteral("HID READER no signal to emit")));

    QVERIFY(worksOnceTheFaultEnds(headset, events));
}

void TestFaults::failingWritesLoseNoLaterState()
{
    const QStringList reference = wholeCallReports("telephony-headset");
    QVERIFY(!reference.isEmpty());
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
    hid::virt::Faults faults;
    faults.writesFail = true;
    headset.setFaults(faults);
    manager().onCallIncome();
    QTRY_VERIFY(events.entries().contains(QStringLiteral("state:Incoming call")));
    QVERIFY(logged(*m_log, Debug, ReaderFile, "writeBinaryData",
                   QStringLiteral("HID READER onCallIncome WRITED: [02 22 ]  result is -1")));
    headset.setFaults({});
    headset.clearWrittenReports();
    const int before = events.size();
    for (auto slot : WholeCall.mid(1))
        (manager().*slot)();
    QTRY_COMPARE(events.since(before), WholeCallStates.mid(1));
    QTRY_COMPARE(writtenHex(headset), reference.mid(reference.size() - writtenHex(headset).size()));
    QTRY_COMPARE(writtenHex(headset).size(), reference.size() - 1); // all but the ring
}

void TestFaults::unplugDuringABurstAndReplugUnderANewPath()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
    const int bound = events.size();
    // A burst on its way, then the plug pulled between its reports.
    headset.press("mute");
    headset.release("mute", std::chrono::milliseconds(2));
    headset.press("answer", std::chrono::milliseconds(3));
    headset.unplug();
    // Whatever of the burst was read before the plug was pulled may have made a gesture; then
    // the binding is withdrawn, once.
    QTRY_VERIFY(events.since(bound).endsWith(QStringLiteral("hide")));
    QCOMPARE(events.since(bound).count(QStringLiteral("hide")), 1);
    QVERIFY(logged(*m_log, Error, ReaderFile, "onHIDEventTimeout",
                   QStringLiteral("HID READER Device gone: device disconnected")));
    const int withdrawn = events.size();
    manager().onCallIncome(); // the application goes on, and ends the call
    manager().onCallEnd();

    headset.replug("virtual-hid/replugged");
    QTRY_COMPARE(events.since(withdrawn), (QStringList{"show:Office Headset 20", "state:Initial"}));
    QCOMPARE(headset.openHandles(), 1);
    headset.clearWrittenReports();
    const int rebound = events.size();
    manager().onCallIncome();
    QTRY_COMPARE(events.since(rebound), QStringList{"state:Incoming call"});
    QCOMPARE(writtenHex(headset).size(), 1);
    // The state is reported once the ring is written; the read-back after it discards what the
    // headset sends meanwhile; a press once the reader listens again is the user's.
    QVERIFY(listening(headset));
    headset.press("mute");
    QTRY_COMPARE(events.since(rebound), (QStringList{"state:Incoming call", "mute"}));
}

void TestFaults::unplugDuringAWriteAndReplugUnderTheSamePath()
{
    // This headset's ring is two output reports: the plug is pulled as the first arrives.
    const QStringList reference = wholeCallReports("vendor-page-headset");
    QVERIFY(!reference.isEmpty());
    VirtualDevice headset = VirtualDevice::add(modelDescription("vendor-page-headset"));
    const QString audioDevice = QStringLiteral("Headset Earphone (3- Link Adapter 360)");
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events, audioDevice));
    m_log->clear();
    headset.clearWrittenReports();
    headset.setResponder([headset](const hid::virt::Bytes &) mutable {
        headset.unplug();
        return std::vector<hid::virt::Bytes>();
    });
    const int bound = events.size();
    manager().onCallIncome();
    // The first report went out; the second met the pulled plug, the state was still entered,
    // and then the reader found the headset gone.
    QTRY_COMPARE(events.since(bound), (QStringList{"state:Incoming call", "hide"}));
    QCOMPARE(writtenHex(headset), reference.mid(0, 1));
    QCOMPARE(loggedAfter(*m_log, QStringLiteral("HID READER onCallIncome WRITED: [05 02 ]  result is 2")).mid(0, 2),
             (QStringList{"HID READER onCallIncome WRITED: [05 22 ]  result is -1",
                          "State: Incoming call headset state entered"}));

    // Plugged in again while the call still rings: bound, and ringing again.
    headset.setResponder({});
    headset.clearWrittenReports();
    headset.replug();
    QTRY_COMPARE(events.since(bound + 2),
                 (QStringList{"show:Link Adapter 360", "state:Initial", "state:Incoming call"}));
    const QStringList initReports = {"0520", "0500"};
    QTRY_COMPARE(writtenHex(headset), initReports + reference.mid(0, 2));
    headset.clearWrittenReports();
    const int resumed = events.size();
    for (auto slot : WholeCall.mid(1))
        (manager().*slot)();
    QTRY_COMPARE(events.since(resumed), WholeCallStates.mid(1));
    QTRY_COMPARE(writtenHex(headset), reference.mid(2));
}

void TestFaults::unplugWhileAnswersKeepComing()
{
    // The headset answers a write with a report every 5 ms for a second. The read-back ends at
    // its cap, the answers after it are read as input (repeats of the same report: no gesture,
    // though this model clicks on an empty report), and the plug is pulled meanwhile.
    VirtualDevice headset = VirtualDevice::add(modelDescription("echoing-headset"));
    const QString audioDevice = QStringLiteral("Microphone (Desk Headset 310)");
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events, audioDevice));
    headset.setResponder([headset](const hid::virt::Bytes &) mutable {
        for (int i = 0; i < 200; ++i)
            headset.inject({0x00, 0x00}, std::chrono::milliseconds(5 * i));
        return std::vector<hid::virt::Bytes>();
    });
    headset.clearWrittenReports();
    const int bound = events.size();
    manager().onCallIncome();
    QTRY_COMPARE(writtenHex(headset).size(), 1);
    QTest::qWait(200);
    headset.unplug();
    QTRY_COMPARE(events.since(bound), (QStringList{"state:Incoming call", "hide"}));
    // The state was announced once its report was written; the answers of the next 50 ms were
    // logged and discarded; the cap was logged; the rest was input until the read that failed.
    const QStringList afterWrite =
        loggedAfter(*m_log, QStringLiteral("HID READER onCallIncome WRITED: [00 22 ]  result is 2"));
    QCOMPARE(afterWrite.value(0), QStringLiteral("State: Incoming call headset state entered"));
    const int answersRead = afterWrite.count(QStringLiteral("HID READER onCallIncome READED: [00 00 ]"));
    QVERIFY2(answersRead > 0 && answersRead < 40, qPrintable(QString::number(answersRead)));
    QCOMPARE(afterWrite.mid(1, answersRead + 1).filter(QStringLiteral(" READED: ")).size(), answersRead);
    QCOMPARE(afterWrite.value(answersRead + 1),
             QStringLiteral("HID READER Desk Headset 310 keeps sending reports: answers to a write are read back "
                            "for 50 ms at most, and what follows is taken as input"));
    QVERIFY(afterWrite.contains(QStringLiteral("HID READER event readed")));
    QVERIFY(!afterWrite.contains(QStringLiteral("HID READER Click emitted")));
    QVERIFY(afterWrite.contains(QStringLiteral("HID READER Device gone: device disconnected")));
}

void TestFaults::unplugDuringADrain()
{
    // A model that drains what the headset sends for 700 ms after each gesture.
    manager().InitHidDevices(QStringLiteral(R"({"configurations": {"Slow": {"longDelay": true}},
        "devices": [{"vid": "0x0B0E", "pid": "0x030D", "configuration": "Slow"}]})"));
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
    QTest::qWait(800);
    const int before = events.size();
    headset.press("mute");
    QTRY_COMPARE(events.since(before), QStringList{"mute"});
    QTest::qWait(100);
    QElapsedTimer sinceUnplug;
    sinceUnplug.start();
    // Queued while the reader drains: it is taken as soon as the drain ends.
    manager().onCallIncome();
    headset.unplug();
    QTRY_COMPARE(events.since(before), (QStringList{"mute", "state:Incoming call", "hide"}));
    // The drain ended at the failed read, not 700 ms after the gesture; so did the one after
    // the failed write, which followed the state's announcement; the next read found the
    // headset gone.
    QVERIFY2(sinceUnplug.elapsed() < 1000, qPrintable(QString::number(sinceUnplug.elapsed())));
    QCOMPARE(loggedAfter(*m_log, QStringLiteral("HID READER Mute emitted ")).mid(0, 5),
             (QStringList{"HID READER long delay READ ended", "HID READER onCallIncome WRITED: [02 22 ]  result is -1",
                          "State: Incoming call headset state entered", "HID READER long delay READ ended",
                          "HID READER Device gone: device disconnected"}));
}

void TestFaults::floodThenQuietLosesNoCallState()
{
    const QStringList reference = wholeCallReports("telephony-headset");
    QVERIFY(!reference.isEmpty());
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
    headset.clearWrittenReports();
    const int before = events.size();
    // 100 reports a second for 10 seconds that mean nothing (Hook Switch off, again and again),
    // while a whole call is reported.
    // The reports are sent as they come due: queued ahead, all but the first 64 would be lost,
    // as a hidraw queue loses them.
    std::thread flood([headset]() mutable {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::sleep_until(start + std::chrono::milliseconds(10 * i));
            headset.inject({0x01, 0x00, 0x00});
        }
    });
    for (int i = 0; i < WholeCall.size(); ++i) {
        QTest::qWait(1000);
        (manager().*WholeCall[i])();
    }
    QTRY_COMPARE_WITH_TIMEOUT(events.since(before), WholeCallStates, 10000);
    QTRY_COMPARE(writtenHex(headset), reference);

    // Once the flood ends, a press arrives in its usual time.
    flood.join();
    QTest::qWait(500);
    // Every flood report was read once, as the first or a later report of a burst or as an
    // answer read back after a write, and none made a gesture.
    const QStringList texts = m_log->texts();
    const auto countEnding = [&texts](const QString &suffix) {
        return int(std::count_if(texts.cbegin(), texts.cend(),
                                 [&suffix](const QString &text) { return text.endsWith(suffix); }));
    };
    QCOMPARE(texts.count(QStringLiteral("HID READER first click type is -1 [01 00 00 ] : 3"))
                 + texts.count(QStringLiteral("HID READER next click type is -1 [01 00 00 ] : 3"))
                 + countEnding(QStringLiteral(" READED: [01 00 00 ]")),
             1000);
    QCOMPARE(countEnding(QStringLiteral(" emitted")) + countEnding(QStringLiteral(" emitted ")), 0);
    const int pressed = events.size();
    QElapsedTimer clock;
    clock.start();
    headset.press("mute");
    QTRY_COMPARE(events.since(pressed), QStringList{"mute"});
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
}

void TestFaults::unknownReportIdsAndShortReportsAreIgnored()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
    const int before = events.size();
    headset.inject({0x07, 0xFF});                // a report id the descriptor does not declare
    headset.inject({0x01});                      // the input report, without its data
    headset.inject({});                          // nothing at all
    headset.inject(hid::virt::Bytes(300, 0xFF)); // longer than any report
    QTest::qWait(400);
    QCOMPARE(events.since(before), QStringList());
    // Each report with content was read (the long one cut at the reader's 256 bytes) and found
    // to mean nothing; the empty one reads as nothing at all.
    const QStringList texts = m_log->texts();
    const auto readAsNothing = [&texts](const QString &report) {
        return texts.contains(QStringLiteral("HID READER first click type is -1 ") + report)
            || texts.contains(QStringLiteral("HID READER next click type is -1 ") + report);
    };
    QVERIFY(readAsNothing(QStringLiteral("[07 ff ] : 2")));
    QVERIFY(readAsNothing(QStringLiteral("[01 ] : 1")));
    QVERIFY(readAsNothing(QLatin1Char('[') + QStringLiteral("ff ").repeated(256) + QStringLiteral("] : 256")));
    QVERIFY(logged(*m_log, Debug, ReaderFile, "onHIDDataRead", QStringLiteral("HID READER no signal to emit")));
    headset.press("mute");
    QTRY_COMPARE(events.since(before), QStringList{"mute"});
}

void TestFaults::headsetWithoutTelephonyCollection()
{
    // Only the consumer-control interface of the headset is there, and it is bound for its
    // product string and listed ids: it has no call control.
    std::vector<VirtualDevice> interfaces = {VirtualDevice::add(modelDescription("consumer-first-headset", 0))};
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events, QStringLiteral("Mic (Office Headset 40)")));
    for (auto slot : WholeCall)
        (manager().*slot)();
    QTRY_COMPARE(events.entries().count(QStringLiteral("state:Initial")), 2);
    QTest::qWait(200);
    QVERIFY(writtenHex(interfaces[0]).isEmpty());
    // Every call state is entered; each command fails to build on an interface without lamps.
    for (const char *command : {"onInit", "onCallIncome", "onCallUnmuted", "onCallMuted", "onCallHold", "onCallEnd"})
        QVERIFY2(logged(*m_log, Error, ReaderFile, "writeCommand",
                        QStringLiteral("HID READER %1: command build failed").arg(QLatin1String(command))),
                 command);
    manager().onActiveAudioDeviceChanged(QString());
    QTRY_VERIFY(events.entries().endsWith(QStringLiteral("hide")));
}

void TestFaults::hugeNestedAndMistypedDictionaries()
{
    QElapsedTimer clock;
    clock.start();
    const QString huge = QStringLiteral("{\"devices\": [")
        + QStringLiteral("{\"vid\": \"0x1209\", \"pid\": \"0x0001\"},").repeated(100000) + QStringLiteral("{}]}");
    const QString deep = QStringLiteral("[").repeated(100000) + QStringLiteral("]").repeated(100000);
    const QString mistyped = QStringLiteral(R"({"configurations": [1, 2], "devices": {"vid": 4617},
                                                "x": [{"configurations": {"C": {"cmdRing": {"a": [[[]]]}}}}]})");
    // Each text, and whether it is JSON that the loader reads (the others are logged whole).
    const QList<QPair<QString, bool>> texts = {{huge, true},
                                               {deep, false},
                                               {mistyped, true},
                                               {QString(QChar(0)), false},
                                               {QStringLiteral("\"\\ud800\""), false}};
    for (const auto &[text, parses] : texts) {
        m_log->clear();
        manager().InitHidDevices(text);
        QCOMPARE(logged(*m_log, Error, QStringLiteral("src/libs/qvhid/src/hiddeviceinfo"), "init",
                        QStringLiteral("HID HidDeviceDict failed to parse configuration: \n") + text),
                 !parses);
        bool isExplicit = true;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(0x0B0E, 0xA346, isExplicit);
        QVERIFY(code.devUsagePage == 0xFF00 || code.devUsagePage == 0x0B);
    }
    QVERIFY2(clock.elapsed() < 60000, qPrintable(QString::number(clock.elapsed())));
    // The built-in table comes back, and binds as usual.
    manager().InitHidDevices(QString());
    const VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    QVERIFY(headset.isValid());
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events));
}

void TestFaults::hugeAndOddAudioDeviceNames()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    BindingEvents events;
    events.watch(&manager());
    QElapsedTimer clock;
    clock.start();
    const int megabyte = 1 << 20;
    const QStringList names = {
        QString(megabyte, QLatin1Char('(')) + QLatin1Char(')'),
        QStringLiteral("(-").repeated(megabyte / 2) + QLatin1Char(')'),
        QStringLiteral("(2-x)").repeated(megabyte / 5),
        QStringLiteral("(").repeated(megabyte / 2) + QStringLiteral(")").repeated(megabyte / 2),
        QString(megabyte, QLatin1Char('a')) + QStringLiteral(" (Office Headset 20)"),
        QStringLiteral("Mic (\u0000Office Headset 20)"),
        QStringLiteral("\u202eMic (\U0001F3A7 Office Headset 20 \u00e9)"),
        QString(QChar(0xD800)) + QStringLiteral(" (Office Headset 20"),
    };
    for (const QString &name : names)
        manager().onActiveAudioDeviceChanged(name);
    QVERIFY2(clock.elapsed() < 30000, qPrintable(QString::number(clock.elapsed())));
    // Each name is logged whole.
    for (const QString &name : names)
        QVERIFY(logged(*m_log, Debug, QStringLiteral("src/libs/qvhid/src/hiddevicemanager"),
                       "onActiveAudioDeviceChanged",
                       QStringLiteral("HID MANAGER Active audio device changed to ") + name));
    // Only the name that ends in the product string bound the headset; the library answers as usual.
    QCOMPARE(events.entries().count(QStringLiteral("show:Office Headset 20")), 1);
    QVERIFY(bind(events));
    headset.press("answer");
    QTRY_VERIFY(events.entries().contains(QStringLiteral("click")));
}

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
