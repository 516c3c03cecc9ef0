// SPDX-License-Identifier: BSD-3-Clause
// Rebinding many times between two headsets, and unplugging and plugging a headset in again many
// times, while presses and call-state reports flow: every reader, reader thread and decoder made
// on the way must be gone at the end, and no withdrawn binding may be heard from.

#include "capturinglogger.h"
#include "liveobjects.h"
#include "stresscount.h"
#include "virtualheadsets.h"
#include "bindingevents.h"

#include <hiddecoderbase.h>
#include <hiddevice.h>
#include <hiddevicemanager.h>
#include <hidreaderbase.h>

#include <QtTest>

#include <memory>

using hid::virt::VirtualDevice;
using qv::hid::HidDeviceManager;

class TestRebindStress : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void rebindsLeaveNothingBehind();
    void replugsLeaveOneOpenHandleAndNoStaleSignal();
};

void TestRebindStress::rebindsLeaveNothingBehind()
{
    const int Rebinds = stressCount("QVHID_REBINDS", 10000);
    LiveObjects census;
    const int threadsBefore = runningThreadCount();
    CapturingLogger logger;
    VirtualDevice office = VirtualDevice::add(modelDescription("telephony-headset"));
    VirtualDevice desk = VirtualDevice::add(modelDescription("echoing-headset"));
    const QString officeEndpoint = QStringLiteral("Headset Microphone (2- Office Headset 20)");
    const QString deskEndpoint = QStringLiteral("Microphone (Desk Headset 310)");

    auto manager = std::make_unique<HidDeviceManager>();
    int gestures = 0;
    int states = 0;
    connect(manager.get(), &HidDeviceManager::click, this, [&] { ++gestures; });
    connect(manager.get(), &HidDeviceManager::clickMute, this, [&] { ++gestures; });
    connect(manager.get(), &HidDeviceManager::clickReject, this, [&] { ++gestures; });
    QString lastState;
    connect(manager.get(), &HidDeviceManager::deviceStateEntered, this, [&](const QString &state) {
        ++states;
        lastState = state;
    });

    const auto reportCall = [&manager] {
        manager->onCallIncome();
        manager->onCallUnmuted();
        manager->onCallMuted();
        manager->onCallHold();
    };
    for (int i = 0; i < Rebinds; ++i) {
        const bool toOffice = i % 2 == 0;
        VirtualDevice &bound = toOffice ? office : desk;
        const char *button = toOffice ? "answer" : "mute";
        manager->onActiveAudioDeviceChanged(toOffice ? officeEndpoint : deskEndpoint);
        lastState.clear();
        if (i % 50 == 49) {
            // Now and then a binding runs a whole call and reads a press: its reader must have
            // entered Initial before it takes call states, and listen for input again (the
            // lamps written, the answers read back) before a press is read as one.
            QTRY_COMPARE_WITH_TIMEOUT(lastState, QStringLiteral("Initial"), 10000);
            reportCall();
            QTRY_COMPARE_WITH_TIMEOUT(lastState, QStringLiteral("Hold"), 10000);
            QVERIFY(listening(bound));
            const int gesturesBefore = gestures;
            bound.press(button);
            bound.release(button);
            QTRY_VERIFY_WITH_TIMEOUT(gestures > gesturesBefore, 10000);
            continue;
        }
        // The others are torn down at whatever point they have reached.
        reportCall();
        bound.press(button);
        bound.release(button);
        if (i % 10 == 9)
            QTest::qWait(20);
        else
            QCoreApplication::processEvents();
    }
    manager->onActiveAudioDeviceChanged(QString());

    const auto count = [&logger](const char *text) { return logger.texts().count(QString::fromLatin1(text)); };
    QTRY_COMPARE_WITH_TIMEOUT(count("~ReaderThread"), Rebinds, 120000);
    QTRY_COMPARE_WITH_TIMEOUT(runningThreadCount(), threadsBefore, 10000);
    QCOMPARE(count("HID DEVICE Hid reader thread started"), Rebinds);
    QCOMPARE(count("HidReaderBase"), Rebinds);
    QCOMPARE(count("~HidReaderBase"), Rebinds);
    QCOMPARE(count("HidDecoderBase"), Rebinds);
    QCOMPARE(count("~HidDecoderBase"), Rebinds);
    QCOMPARE(office.counters().opens + desk.counters().opens, static_cast<unsigned long>(Rebinds));
    QCOMPARE(office.openHandles(), 0);
    QCOMPARE(desk.openHandles(), 0);
    QVERIFY(gestures > 0);
    QVERIFY(states > 0);

    // Every reader thread has ended: nothing else makes or destroys objects now.
    QCOMPARE(census.count<hid::HidReaderBase>(), 0);
    QCOMPARE(census.count<hid::ReaderThread>(), 0);
    QCOMPARE(census.count<hid::HidDecoderBase>(), 0);
    QCOMPARE(census.count<QThread>(), 0);
    manager.reset();
    QCOMPARE(census.total(), 0);
    qInfo("%d gestures and %d states reached the application", gestures, states);
}

void TestRebindStress::replugsLeaveOneOpenHandleAndNoStaleSignal()
{
    const int Replugs = stressCount("QVHID_REPLUGS", 1000);
    BindingEvents events; // made before the census, which counts only the library's objects
    LiveObjects census;
    const int threadsBefore = runningThreadCount();
    CapturingLogger logger;
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    auto manager = std::make_unique<HidDeviceManager>();
    events.watch(manager.get());

    // Waits for the binding just shown to enter Initial.
    const auto waitForTheNewBinding = [&events](int from) {
        QTRY_VERIFY_WITH_TIMEOUT(events.since(from).contains(QStringLiteral("state:Initial")), 10000);
    };
    manager->onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    waitForTheNewBinding(0);
    for (int i = 0; i < Replugs; ++i) {
        // A call state and a press in flight as the plug is pulled.
        if (i % 2 == 0)
            manager->onCallIncome();
        else
            manager->onCallUnmuted();
        headset.press("mute");
        headset.release("mute");
        headset.unplug();
        QTRY_VERIFY_WITH_TIMEOUT(events.entries().endsWith(QStringLiteral("hide")), 10000);
        const int withdrawn = events.size();
        headset.replug(i % 3 == 0 ? "virtual-hid/replugged-" + std::to_string(i) : std::string());
        QTRY_VERIFY_WITH_TIMEOUT(events.size() > withdrawn, 10000);
        waitForTheNewBinding(withdrawn);
    }
    QCOMPARE(headset.openHandles(), 1);

    // After every hide comes the show of the next binding, and nothing else.
    const QStringList entries = events.entries();
    int hides = 0;
    for (int k = 0; k < entries.size(); ++k) {
        if (entries[k] != QLatin1String("hide"))
            continue;
        ++hides;
        if (k + 1 < entries.size())
            QVERIFY2(entries[k + 1].startsWith(QLatin1String("show:")),
                     qPrintable(QStringLiteral("%1: %2").arg(k).arg(entries[k + 1])));
    }
    QCOMPARE(hides, Replugs + 1);
    QCOMPARE(entries.count(QStringLiteral("show:Office Headset 20")), Replugs + 1);
    QCOMPARE(logger.texts().count(QStringLiteral("HID READER Device gone: device disconnected")), Replugs);

    manager->onActiveAudioDeviceChanged(QString());
    // Each thread deletes itself from the application's event loop once its own loop has ended.
    QTRY_COMPARE_WITH_TIMEOUT(logger.texts().count(QStringLiteral("~ReaderThread")), Replugs + 1, 60000);
    QTRY_COMPARE_WITH_TIMEOUT(runningThreadCount(), threadsBefore, 10000);
    QCOMPARE(headset.openHandles(), 0);
    QCOMPARE(headset.counters().opens, static_cast<unsigned long>(Replugs + 1));
    QCOMPARE(census.count<hid::HidReaderBase>(), 0);
    QCOMPARE(census.count<hid::ReaderThread>(), 0);
    QCOMPARE(census.count<hid::HidDecoderBase>(), 0);
    manager.reset();
    QCOMPARE(census.total(), 0);
    hid::virt::removeAllDevices();
}

QTEST_GUILESS_MAIN(TestRebindStress)
#include "tst_rebindstress.moc"
