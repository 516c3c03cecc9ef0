// Faults of the headset and of the application's input, through the manager as an application
// uses it: the library stays alive, answers as usual once the fault ends, and every call state
// reported while the headset is present reaches it in order (its write log shows it).

#include "bindingevents.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QElapsedTimer>
#include <QtTest>

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

namespace {

const QString AudioDevice = QStringLiteral("Headset Microphone (2- Office Headset 20)");

HidDeviceManager &manager()
{
    return HidDeviceManager::Instance();
}

// Binds the headset and waits for its reader's first state.
bool bind(BindingEvents &events, const QString &audioDevice = AudioDevice)
{
    const int before = events.size();
    manager().onActiveAudioDeviceChanged(audioDevice);
    QDeadlineTimer deadline(5000);
    while (!events.since(before).contains(QStringLiteral("state:Initial")) && !deadline.hasExpired())
        QTest::qWait(5);
    return events.since(before).contains(QStringLiteral("state:Initial"));
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

// The call states of a whole call, each a slot of the manager.
const QList<void (HidDeviceManager::*)()> WholeCall = {&HidDeviceManager::onCallIncome,   &HidDeviceManager::onCallUnmuted,
                                                       &HidDeviceManager::onCallMuted,    &HidDeviceManager::onCallUnmuted,
                                                       &HidDeviceManager::onCallHold,     &HidDeviceManager::onCallUnmuted,
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
    void floodThenQuietLosesNoCallState();
    void unknownReportIdsAndShortReportsAreIgnored();
    void headsetWithoutTelephonyCollection();
    void hugeNestedAndMistypedDictionaries();
    void hugeAndOddAudioDeviceNames();
};

void TestFaults::init()
{
    hid::virt::removeAllDevices();
    manager().InitHidDevices(QString()); // invalid: the next lookup loads the built-in table
}

void TestFaults::cleanup()
{
    manager().onActiveAudioDeviceChanged(QString());
    hid::virt::removeAllDevices();
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
    // A burst on its way, then the plug pulled between its reports.
    headset.press("mute");
    headset.release("mute", std::chrono::milliseconds(2));
    headset.press("answer", std::chrono::milliseconds(3));
    headset.unplug();
    manager().onCallIncome(); // the application goes on; the write fails
    QTRY_VERIFY(events.entries().contains(QStringLiteral("state:Incoming call")));
    manager().onCallEnd();
    QTRY_COMPARE(events.entries().count(QStringLiteral("state:Initial")), 2);

    headset.replug("virtual-hid/replugged");
    manager().onActiveAudioDeviceChanged(QString());
    QVERIFY(bind(events));
    QCOMPARE(headset.openHandles(), 1);
    headset.clearWrittenReports();
    const int rebound = events.size();
    manager().onCallIncome();
    QTRY_COMPARE(events.since(rebound), QStringList{"state:Incoming call"});
    QCOMPARE(writtenHex(headset).size(), 1);
    // The state is reported after the ring's write and its read-back, which discards what the
    // headset sends meanwhile; a press from now on is the user's.
    headset.press("mute");
    QTRY_COMPARE(events.since(rebound), (QStringList{"state:Incoming call", "mute"}));
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
    const hid::virt::Bytes idle = headset.description().buttons.front().release;
    for (int i = 0; i < 1000; ++i)
        headset.inject(idle, std::chrono::milliseconds(10 * i));
    for (int i = 0; i < WholeCall.size(); ++i) {
        QTest::qWait(1000);
        (manager().*WholeCall[i])();
    }
    QTRY_COMPARE_WITH_TIMEOUT(events.since(before), WholeCallStates, 10000);
    QTRY_COMPARE(writtenHex(headset), reference);

    // Once the flood ends, a press arrives in its usual time.
    QTest::qWait(3500);
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
    headset.inject({0x07, 0xFF});       // a report id the descriptor does not declare
    headset.inject({0x01});             // the input report, without its data
    headset.inject({});                 // nothing at all
    headset.inject(hid::virt::Bytes(300, 0xFF)); // longer than any report
    QTest::qWait(400);
    QCOMPARE(events.since(before), QStringList());
    headset.press("mute");
    QTRY_COMPARE(events.since(before), QStringList{"mute"});
}

void TestFaults::headsetWithoutTelephonyCollection()
{
    // The consumer-control interface comes first and is the one bound: it has no call control.
    std::vector<VirtualDevice> interfaces = hid::virt::addModel(*hid::virt::findModel("consumer-first-headset"));
    BindingEvents events;
    events.watch(&manager());
    QVERIFY(bind(events, QStringLiteral("Mic (Office Headset 40)")));
    for (auto slot : WholeCall)
        (manager().*slot)();
    QTRY_COMPARE(events.entries().count(QStringLiteral("state:Initial")), 2);
    QTest::qWait(200);
    QVERIFY(writtenHex(interfaces[0]).isEmpty());
    manager().onActiveAudioDeviceChanged(QString());
    QTRY_VERIFY(events.entries().endsWith(QStringLiteral("hide")));
}

void TestFaults::hugeNestedAndMistypedDictionaries()
{
    QElapsedTimer clock;
    clock.start();
    const QString huge = QStringLiteral("{\"devices\": [") + QStringLiteral("{\"vid\": \"0x1209\", \"pid\": \"0x0001\"},").repeated(100000)
                         + QStringLiteral("{}]}");
    const QString deep = QStringLiteral("[").repeated(100000) + QStringLiteral("]").repeated(100000);
    const QString mistyped = QStringLiteral(R"({"configurations": [1, 2], "devices": {"vid": 4617},
                                                "x": [{"configurations": {"C": {"cmdRing": {"a": [[[]]]}}}}]})");
    for (const QString &text : {huge, deep, mistyped, QString(QChar(0)), QStringLiteral("\"\\ud800\"")}) {
        manager().InitHidDevices(text);
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
    // Only the name that ends in the product string bound the headset; the library answers as usual.
    QCOMPARE(events.entries().count(QStringLiteral("show:Office Headset 20")), 1);
    QVERIFY(bind(events));
    headset.press("answer");
    QTRY_VERIFY(events.entries().contains(QStringLiteral("click")));
}

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
