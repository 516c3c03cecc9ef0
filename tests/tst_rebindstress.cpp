// Rebinding many times between two headsets while presses and call-state reports flow: every
// reader, reader thread and decoder made on the way must be gone at the end.

#include "capturinglogger.h"
#include "liveobjects.h"
#include "virtualheadsets.h"

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
    void rebindsLeaveNothingBehind();
};

void TestRebindStress::rebindsLeaveNothingBehind()
{
    constexpr int Rebinds = 500;
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
    connect(manager.get(), &HidDeviceManager::deviceStateEntered, this, [&] { ++states; });

    for (int i = 0; i < Rebinds; ++i) {
        const bool toOffice = i % 2 == 0;
        manager->onActiveAudioDeviceChanged(toOffice ? officeEndpoint : deskEndpoint);
        VirtualDevice &bound = toOffice ? office : desk;
        manager->onCallIncome();
        bound.press(toOffice ? "answer" : "mute");
        manager->onCallUnmuted();
        bound.release(toOffice ? "answer" : "mute");
        manager->onCallMuted();
        manager->onCallHold();
        // Now and then let the readers get going, so that presses are read and commands written
        // while later rebinds tear them down.
        if (i % 10 == 9)
            QTest::qWait(30);
        else
            QCoreApplication::processEvents();
    }
    manager->onActiveAudioDeviceChanged(QString());

    const auto count = [&logger](const char *text) { return logger.texts().count(QString::fromLatin1(text)); };
    QTRY_COMPARE_WITH_TIMEOUT(count("~ReaderThread"), Rebinds, 60000);
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

QTEST_GUILESS_MAIN(TestRebindStress)
#include "tst_rebindstress.moc"
