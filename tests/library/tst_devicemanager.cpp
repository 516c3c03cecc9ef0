// SPDX-License-Identifier: BSD-3-Clause
// The manager's wiring: its signals and slots, the call-state relays, when a reported audio
// device rebinds and when it does not, the dictionary hand-over, and its destruction.

#include "bindingevents.h"
#include "capturinglogger.h"
#include "declaredmethods.h"
#include "signalrecorder.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QtTest>

#include <memory>

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

namespace {

const QString Endpoint20 = QStringLiteral("Headset Microphone (2- Office Headset 20)");
const QString Endpoint310 = QStringLiteral("Microphone (Desk Headset 310)");

hid::HidDevice *deviceOf(HidDeviceManager &manager)
{
    return manager.findChild<hid::HidDevice *>(QString(), Qt::FindDirectChildrenOnly);
}

QStringList managerLines(const CapturingLogger &logger)
{
    QStringList result;
    for (const CapturedLine &line : logger.lines()) {
        if (line.text.startsWith(QLatin1String("HID MANAGER ")))
            result << line.text;
    }
    return result;
}

} // namespace

class TestDeviceManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void cleanup() { hid::HidDeviceDict::init(); }

    void declaredSignalsAndSlots();
    void constructionBindsNothing();
    void callStateReportsWithoutHeadsetEndAtTheDevice_data();
    void callStateReportsWithoutHeadsetEndAtTheDevice();
    void newAudioDeviceBindsItsHeadset();
    void sameNameTwiceLogsButDoesNotRebind();
    void topDeviceChangeDoesNotRebind();
    void emptyNameUnbinds();
    void sameNameAfterAFailedSearchSearchesAgain();
    void sameNameAfterTheReaderGaveUpDoesNotRetry();
    void initHidDevicesHandsTheTextToTheDictionary();
    void destroyingTheManagerEndsTheBinding();
    void everyCallStateCutsTheReadersWaitShort();
};

void TestDeviceManager::declaredSignalsAndSlots()
{
    const QMetaObject &meta = HidDeviceManager::staticMetaObject;
    QCOMPARE(declaredMethods(meta, QMetaMethod::Signal),
             (QStringList{"clickReject()", "clickMute()", "click()", "deviceStateEntered(QString)",
                          "deviceShow(QString)", "deviceHide()", "callMuted()", "callUnmuted()", "callIncome()",
                          "callHold()", "callHoldMuted()", "callEnd()"}));
    QCOMPARE(declaredMethods(meta, QMetaMethod::Slot),
             (QStringList{"onActiveAudioDeviceChanged(QString)", "onCallMuted()", "onCallUnmuted()", "onCallIncome()",
                          "onCallHold()", "onCallHoldMuted()", "onCallEnd()"}));
}

void TestDeviceManager::constructionBindsNothing()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    HidDeviceManager manager;
    QVERIFY(logger.lines().isEmpty());
    hid::HidDevice *device = deviceOf(manager);
    QVERIFY(device);
    QCOMPARE(device->parent(), &manager);
    QCOMPARE(device->getName(), QString());
    QVERIFY(!device->getReaderThread());
    QTest::qWait(20);
    QCOMPARE(headset.counters().opens, 0ul);
    QVERIFY(logger.lines().isEmpty());
}

void TestDeviceManager::callStateReportsWithoutHeadsetEndAtTheDevice_data()
{
    QTest::addColumn<QString>("slot");
    QTest::addColumn<QString>("signal");
    QTest::newRow("muted") << "onCallMuted"
                           << "callMuted() x1";
    QTest::newRow("unmuted") << "onCallUnmuted"
                             << "callUnmuted() x1";
    QTest::newRow("income") << "onCallIncome"
                            << "callIncome() x1";
    QTest::newRow("hold") << "onCallHold"
                          << "callHold() x1";
    QTest::newRow("hold muted") << "onCallHoldMuted"
                                << "callHoldMuted() x1";
    QTest::newRow("end") << "onCallEnd"
                         << "callEnd() x1";
}

void TestDeviceManager::callStateReportsWithoutHeadsetEndAtTheDevice()
{
    QFETCH(QString, slot);
    QFETCH(QString, signal);
    CapturingLogger logger;
    HidDeviceManager manager;
    SignalRecorder managerSignals(&manager);
    SignalRecorder deviceSignals(deviceOf(manager));
    QVERIFY(QMetaObject::invokeMethod(&manager, slot.toLatin1().constData()));
    QCOMPARE(managerSignals.emitted(), QStringList{signal});
    QCOMPARE(deviceSignals.emitted(), QStringList{signal});
    QTest::qWait(20);
    QCOMPARE(managerSignals.emitted(), QStringList{signal});
    QVERIFY(logger.lines().isEmpty());
}

void TestDeviceManager::newAudioDeviceBindsItsHeadset()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    HidDeviceManager manager;
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QCOMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20"}));
    QCOMPARE(deviceOf(manager)->getName(), Endpoint20);
    QTRY_COMPARE(events.since(2), QStringList{"state:Initial"});
    QCOMPARE(headset.openHandles(), 1);

    // The log line comes after the binding.
    const CapturedLine last = logger.linesFrom(QStringLiteral("onActiveAudioDeviceChanged")).last();
    QCOMPARE(last.text, QStringLiteral("HID MANAGER Active audio device changed to ") + Endpoint20);
    QCOMPARE(last.level, 7);
    QCOMPARE(last.file, QStringLiteral("src/libs/qvhid/src/hiddevicemanager"));
    const QStringList texts = logger.texts();
    QVERIFY(texts.indexOf(QStringLiteral("HID DEVICE Hid reader thread started")) < texts.indexOf(last.text));
}

void TestDeviceManager::sameNameTwiceLogsButDoesNotRebind()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    HidDeviceManager manager;
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(headset.openHandles(), 1);
    const hid::ReaderThread *thread = deviceOf(manager)->getReaderThread();
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("State: Initial headset state entered")));

    SignalRecorder recorder(&manager);
    logger.clear();
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QCOMPARE(logger.texts(), QStringList{QStringLiteral("HID MANAGER Active audio device changed to ") + Endpoint20});
    QTest::qWait(50);
    QVERIFY(recorder.emitted().isEmpty());
    QCOMPARE(deviceOf(manager)->getReaderThread(), thread);
    QCOMPARE(headset.counters().opens, 1ul);
    QCOMPARE(writtenHex(headset), QStringList{"0200"});
}

void TestDeviceManager::topDeviceChangeDoesNotRebind()
{
    VirtualDevice first = VirtualDevice::add(modelDescription("telephony-headset"));
    VirtualDevice second = VirtualDevice::add(modelDescription("echoing-headset"));
    HidDeviceManager manager;
    manager.SetDeviceList(1, {Endpoint20, Endpoint310});
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(events.size(), 3); // hide, show, Initial

    SignalRecorder recorder(&manager);
    manager.SetTopDevice(1, Endpoint310);
    manager.AddDevice(2, Endpoint310);
    manager.RemoveDevice(Endpoint20);
    QTest::qWait(50);
    QVERIFY(recorder.emitted().isEmpty());
    QCOMPARE(deviceOf(manager)->getName(), Endpoint20);
    QCOMPARE(first.openHandles(), 1);
    QCOMPARE(second.counters().opens, 0ul);
}

void TestDeviceManager::emptyNameUnbinds()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    HidDeviceManager manager;
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(headset.openHandles(), 1);
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(QString());
    QCOMPARE(events.entries(), QStringList{"hide"});
    QCOMPARE(deviceOf(manager)->getName(), QString());
    QTRY_COMPARE(headset.openHandles(), 0);
    QTRY_COMPARE(logger.texts().count(QStringLiteral("~ReaderThread")), 1);
    // Once unbound, an empty name is the bound name: nothing happens.
    manager.onActiveAudioDeviceChanged(QString());
    QCOMPARE(events.entries(), QStringList{"hide"});
    QCOMPARE(managerLines(logger).count(QStringLiteral("HID MANAGER Active audio device changed to ")), 2);
}

void TestDeviceManager::sameNameAfterAFailedSearchSearchesAgain()
{
    HidDeviceManager manager;
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QCOMPARE(events.entries(), QStringList{"hide"});
    // The headset is plugged in later; reporting the same audio device again finds it.
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QCOMPARE(events.entries(), (QStringList{"hide", "hide", "show:Office Headset 20"}));
    QTRY_COMPARE(headset.openHandles(), 1);
}

void TestDeviceManager::sameNameAfterTheReaderGaveUpDoesNotRetry()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    headset.setFaults(openFailing());
    HidDeviceManager manager;
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20", "hide"}));
    headset.setFaults({});
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTest::qWait(50);
    QCOMPARE(events.size(), 3);
    QCOMPARE(headset.counters().opens, 0ul);
    // Another name, then the first one again, binds afresh.
    manager.onActiveAudioDeviceChanged(QStringLiteral("Speakers (Built-in Audio)"));
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(events.since(3), (QStringList{"hide", "hide", "show:Office Headset 20", "state:Initial"}));
    QCOMPARE(headset.openHandles(), 1);
}

void TestDeviceManager::initHidDevicesHandsTheTextToTheDictionary()
{
    hid::virt::DeviceDescription bench = modelDescription("telephony-headset");
    bench.vendorId = 0x1209;
    bench.productId = 0x0001;
    bench.product = L"Bench Headset";
    VirtualDevice headset = VirtualDevice::add(bench);
    HidDeviceManager manager;
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(QStringLiteral("Headset (Bench Headset)"));
    QCOMPARE(events.entries(), QStringList{"hide"});

    manager.InitHidDevices(QStringLiteral(R"({
        "configurations": { "Ringer": { "cmdInit": [["RING"]] } },
        "devices": [ { "name": "Bench", "vid": "0x1209", "pid": "0x0001", "configuration": "Ringer" } ]
    })"));
    manager.onActiveAudioDeviceChanged(QStringLiteral("Headset (Bench Headset)"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "hide", "show:Bench Headset", "state:Initial"}));
    QCOMPARE(writtenHex(headset), QStringList{"0202"}); // the text's own init command: Ring
}

void TestDeviceManager::destroyingTheManagerEndsTheBinding()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    auto manager = std::make_unique<HidDeviceManager>();
    manager->onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(headset.openHandles(), 1);
    QSignalSpy deviceDestroyed(deviceOf(*manager), &QObject::destroyed);
    manager.reset();
    QCOMPARE(deviceDestroyed.count(), 1);
    QCOMPARE(logger.texts().count(QStringLiteral("~ReaderThread")), 1);
    QCOMPARE(logger.texts().count(QStringLiteral("~HidReaderBase")), 1);
    QCOMPARE(headset.openHandles(), 0);
}

void TestDeviceManager::everyCallStateCutsTheReadersWaitShort()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    HidDeviceManager manager;
    BindingEvents events;
    events.watch(&manager);
    manager.onActiveAudioDeviceChanged(Endpoint20);
    QTRY_COMPARE(events.since(2), QStringList{"state:Initial"});
    QTRY_COMPARE(writtenHex(headset), QStringList{"0200"});
    const unsigned long before = headset.counters().interruptedWaits;

    // Each report is queued to the reader, which then waits for input no longer: the wait in
    // progress, or the next one, is cut short once per report.
    const QList<QPair<void (HidDeviceManager::*)(), QString>> calls = {
        {&HidDeviceManager::onCallIncome, "Incoming call"}, {&HidDeviceManager::onCallUnmuted, "Talk"},
        {&HidDeviceManager::onCallMuted, "Talk muted"},     {&HidDeviceManager::onCallHold, "Hold"},
        {&HidDeviceManager::onCallEnd, "Initial"},
    };
    for (const auto &call : calls) {
        const int seen = events.size();
        (manager.*call.first)();
        QTRY_COMPARE(events.since(seen), QStringList{"state:" + call.second});
        // A report queued before the reader waits again would only cut that same wait short.
        QVERIFY(listening(headset));
    }
    QTRY_COMPARE(headset.counters().interruptedWaits, before + calls.size());
    QCOMPARE(writtenHex(headset), (QStringList{"0200", "0222", "0221", "0225", "0229", "0200"}));
}

QTEST_GUILESS_MAIN(TestDeviceManager)
#include "tst_devicemanager.moc"
