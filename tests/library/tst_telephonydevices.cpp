// SPDX-License-Identifier: BSD-3-Clause
// Telephony devices of every kind, and how their buttons become gestures: desk phones, phone
// adapters, handsets and headsets on USB audio chips bound through the standard fallback; an
// absolute Phone Mute pressed as a button and held as a switch; a gesture emitted as soon as a
// burst's report decides it; call states taken while a burst or a stream is being read. Built
// twice: against virtual headsets, and against emulated hidraw devices (see testheadset.h).

#include "applicationmanager.h"
#include "bindingevents.h"
#include "capturinglogger.h"
#include "managerrelease.h"
#include "reportstream.h"
#include "testheadset.h"
#include "timingscale.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QtTest>

#include <atomic>
#include <chrono>
#include <thread>

using qv::hid::HidDeviceManager;

namespace {

// A whole call as the application reports it.
const QList<void (HidDeviceManager::*)()> WholeCall = {
    &HidDeviceManager::onCallIncome,  &HidDeviceManager::onCallUnmuted, &HidDeviceManager::onCallMuted,
    &HidDeviceManager::onCallUnmuted, &HidDeviceManager::onCallHold,    &HidDeviceManager::onCallHoldMuted,
    &HidDeviceManager::onCallUnmuted, &HidDeviceManager::onCallEnd,
};
const QStringList WholeCallStates = {"state:Incoming call", "state:Talk",       "state:Talk muted", "state:Talk",
                                     "state:Hold",          "state:Hold muted", "state:Talk",       "state:Initial"};

// The lines of the reader's read cycle, from `from` on.
QStringList readCycleLines(const CapturingLogger &logger, int from = 0)
{
    QStringList lines;
    for (const CapturedLine &line : logger.lines().mid(from)) {
        if (line.function == QLatin1String("onHIDDataRead") || line.function == QLatin1String("onHIDEventTimeout"))
            lines << line.text;
    }
    return lines;
}

} // namespace

class TestTelephonyDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void telephonyDevicesDoAllTheyOffer_data();
    void telephonyDevicesDoAllTheyOffer();
    void absolutePhoneMutePressedAsAButtonMutesOncePerPress();
    void absolutePhoneMuteHeldAsASwitchMutesOncePerPressBothWays();
    void gestureComesAtTheFirstReportThatDecidesIt_data();
    void gestureComesAtTheFirstReportThatDecidesIt();
    void burstWhoseSecondReportDecidesGivesOneGesture();
    void modelThatClicksOnEmptyReportsClicksOncePerPress();
    void callStatesDuringALongBurstReachTheLampsInOrder();
    void wholeCallDuringAStreamReachesTheLampsInOrder();

private:
    // Plugs in the model and binds it by its product string, with `dictionary`.
    bool bind(const char *model, const QString &dictionary = QString());
    // Binds the model through the standard fallback and takes a call to "Talk", answered by the
    // headset's own button; false when a step does not come.
    bool talkingOn(const char *model);
    // Presses and releases `button` once the reader listens; the gestures it gave.
    QStringList gesturesOf(const std::string &button);
    // Waits until the reader has read the rest of the burst of a gesture and listens again.
    bool listening() { return m_headset.waitForListeningReader(); }

    TestHeadset m_headset;
    BindingEvents m_events;
};

void TestTelephonyDevices::initTestCase()
{
    QVHID_REQUIRE_TEST_HEADSETS();
    m_events.watch(&manager());
}

void TestTelephonyDevices::cleanup()
{
    releaseManager(m_headset);
    m_events.clear();
}

bool TestTelephonyDevices::bind(const char *model, const QString &dictionary)
{
    const hid::virt::DeviceDescription description = modelDescription(model);
    m_headset = TestHeadset::add(description);
    if (!dictionary.isEmpty())
        manager().InitHidDevices(dictionary);
    m_events.clear();
    const QString product = QString::fromStdWString(description.product);
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (%1)").arg(product));
    return QTest::qWaitFor([&] { return m_events.entries().contains(QStringLiteral("state:Initial")); },
                           5000 * timingScale())
        && m_events.entries() == (QStringList{"hide", "show:" + product, "state:Initial"});
}

QStringList TestTelephonyDevices::gesturesOf(const std::string &button)
{
    if (!listening())
        return {QStringLiteral("(no reader listens)")};
    const int before = m_events.size();
    m_headset.press(button);
    m_headset.release(button);
    // A gesture comes within milliseconds; none within a wide margin is none.
    if (QTest::qWaitFor([&] { return m_events.size() > before; }, 1000 * timingScale()))
        QTest::qWait(100); // and nothing more follows
    return m_events.since(before);
}

void TestTelephonyDevices::telephonyDevicesDoAllTheyOffer_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QStringList>("lamps"); // the reports of the whole call, after the init command's
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<QStringList>("gestures");
    // The Phone collection's lamps: Off-Hook, Ring, Mute, Hold (no On-Line).
    QTest::newRow("desk phone") << "desk-phone"
                                << QStringList{"0202", "0201", "0205", "0201", "0209", "020d", "0201", "0200"}
                                << QStringList{"lift", "mute", "flash", "drop", "key-5", "hangup"}
                                << QStringList{"click", "mute", "click", "reject", "", "click"};
    // Lamps as a four-slot array of Off-Hook (1), Ring (2), Mute (3), Hold (4); its hook is a key.
    QTest::newRow("phone adapter") << "phone-adapter" << QStringList{"02000000", "01000000", "01030000", "01000000",
                                                                     "01040000", "01030400", "01000000", "00000000"}
                                   << QStringList{"hook", "mute", "flash", "drop", "hook"}
                                   << QStringList{"click", "mute", "click", "reject", "click"};
    // No report ids; lamps Off-Hook, Ring, Mute (no Hold: held, it shows Off-Hook).
    QTest::newRow("handset") << "handset" << QStringList{"02", "01", "05", "01", "01", "05", "01", "00"}
                             << QStringList{"lift", "mute", "flash", "hangup"}
                             << QStringList{"click", "mute", "click", "click"};
    // No lamps at all; its buttons sit in its Consumer Control collection.
    QTest::newRow("headset on a USB audio chip")
        << "consumer-telephony-headset" << QStringList{} << QStringList{"answer", "mute", "volume-up", "hangup"}
        << QStringList{"click", "mute", "", "click"};
}

void TestTelephonyDevices::telephonyDevicesDoAllTheyOffer()
{
    QFETCH(QString, model);
    QFETCH(QStringList, lamps);
    QFETCH(QStringList, buttons);
    QFETCH(QStringList, gestures);
    QVERIFY(bind(qPrintable(model), StandardFallback));
    m_headset.clearWritten();
    for (auto report : WholeCall)
        (manager().*report)();
    QTRY_COMPARE(m_events.since(3), WholeCallStates);
    QTRY_COMPARE(m_headset.written(), lamps);
    for (int i = 0; i < buttons.size(); ++i) {
        const QStringList got = gesturesOf(buttons.at(i).toStdString());
        QCOMPARE(got.join(QLatin1Char(',')), gestures.at(i));
    }
}

bool TestTelephonyDevices::talkingOn(const char *model)
{
    if (!bind(model, StandardFallback))
        return false;
    manager().onCallIncome();
    if (gesturesOf("answer").isEmpty())
        return false;
    manager().onCallUnmuted();
    return QTest::qWaitFor(
        [this] {
            return !m_events.entries().isEmpty() && m_events.entries().constLast() == QLatin1String("state:Talk");
        },
        5000 * timingScale());
}

void TestTelephonyDevices::absolutePhoneMutePressedAsAButtonMutesOncePerPress()
{
    QVERIFY(talkingOn("pulsed-mute-headset"));
    // Pressed and held as a finger holds a button, then let go: one mute each time, the
    // release none.
    for (const int heldMs : {80, 190, 300}) {
        QVERIFY(listening());
        const int before = m_events.size();
        m_headset.press("mute");
        QTRY_COMPARE(m_events.since(before), QStringList{"mute"});
        QTest::qWait(heldMs);
        m_headset.release("mute");
        QTest::qWait(300);
        QCOMPARE(m_events.since(before), QStringList{"mute"});
    }
}

void TestTelephonyDevices::absolutePhoneMuteHeldAsASwitchMutesOncePerPressBothWays()
{
    QVERIFY(talkingOn("switched-mute-headset"));
    // On until the next press: each press is one mute, the one that turns it on and the one
    // that turns it off.
    for (const char *press : {"mute", "unmute", "mute", "unmute"}) {
        QVERIFY(listening());
        const int before = m_events.size();
        m_headset.press(press);
        QTRY_COMPARE(m_events.since(before), QStringList{"mute"});
        // A user leaves a call muted (or unmuted) for longer than a finger holds a button.
        QTest::qWait(1300);
        QCOMPARE(m_events.since(before), QStringList{"mute"});
    }
}

void TestTelephonyDevices::gestureComesAtTheFirstReportThatDecidesIt_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("gesture");
    QTest::addColumn<QString>("line");
    QTest::newRow("answer") << "answer"
                            << "click"
                            << "HID READER Click emitted";
    QTest::newRow("mute") << "mute"
                          << "mute"
                          << "HID READER Mute emitted ";
    QTest::newRow("reject") << "drop"
                            << "reject"
                            << "HID READER Reject emitted";
}

void TestTelephonyDevices::gestureComesAtTheFirstReportThatDecidesIt()
{
    QFETCH(QString, button);
    QFETCH(QString, gesture);
    QFETCH(QString, line);
    QVERIFY(bind("telephony-headset"));
    const hid::virt::DeviceDescription description = modelDescription("telephony-headset");
    hid::virt::Bytes press;
    for (const hid::virt::Button &candidate : description.buttons) {
        if (candidate.name == button.toStdString())
            press = candidate.press;
    }
    CapturingLogger logger;
    QVERIFY(listening());
    // The headset sends the press and keeps sending it (a held button, repeated) until the
    // application has its gesture: only then does it let go.
    const auto inject = m_headset.injector();
    std::atomic<bool> seen{false};
    std::thread holder([&] {
        inject(press);
        while (!seen) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            if (!seen)
                inject(press);
        }
    });
    const int before = m_events.size();
    const bool arrived = QTest::qWaitFor([&] { return m_events.size() > before; }, 5000 * timingScale());
    seen = true;
    holder.join();
    QVERIFY(arrived);
    QCOMPARE(m_events.since(before), QStringList{gesture});
    // Emitted right after the report that decided it, before any other report of the burst.
    QTRY_VERIFY(logger.texts().contains(line));
    const QStringList cycle = readCycleLines(logger);
    int first = 0;
    while (first < cycle.size() && !cycle.at(first).startsWith(QLatin1String("HID READER first click type is ")))
        ++first;
    QVERIFY2(first < cycle.size(), qPrintable(cycle.join(QLatin1Char('\n'))));
    QCOMPARE(cycle.value(first + 1), line);
    QTest::qWait(100);
    QCOMPARE(m_events.since(before), QStringList{gesture});
}

void TestTelephonyDevices::burstWhoseSecondReportDecidesGivesOneGesture()
{
    QVERIFY(bind("telephony-headset"));
    CapturingLogger logger;
    QVERIFY(listening());
    // A report in which nothing is pressed (the array's resting 0, Line Busy Tone together
    // with the hook's: no gesture), then within the burst the mute press, then its release.
    const int before = m_events.size();
    const auto inject = m_headset.injector();
    inject({0x01, 0x03, 0x00});
    inject({0x01, 0x07, 0x00});
    inject({0x01, 0x03, 0x00});
    QTRY_COMPARE(m_events.since(before), QStringList{"mute"});
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER next click type is 0 [01 03 00 ] : 3")));
    const QStringList cycle = readCycleLines(logger);
    QCOMPARE(cycle.value(cycle.indexOf(QStringLiteral("HID READER next click type is 0 [01 07 00 ] : 3")) + 1),
             QStringLiteral("HID READER Mute emitted "));
    QCOMPARE(cycle.count(QStringLiteral("HID READER Mute emitted ")), 1);
    QTest::qWait(100);
    QCOMPARE(m_events.since(before), QStringList{"mute"});
}

void TestTelephonyDevices::modelThatClicksOnEmptyReportsClicksOncePerPress()
{
    // A model whose press is a report in which nothing changes.
    QVERIFY(bind("echoing-headset"));
    for (int press = 0; press < 3; ++press) {
        QVERIFY(listening());
        // Out of the repeat window of the headset's last report.
        QTest::qWait(150);
        const int before = m_events.size();
        const auto inject = m_headset.injector();
        for (int i = 0; i < 3; ++i)
            inject({0x00, 0x00}); // the press, and its repeats within the burst
        QTRY_COMPARE(m_events.since(before), QStringList{"click"});
        QTest::qWait(100);
        QCOMPARE(m_events.since(before), QStringList{"click"});
    }
}

void TestTelephonyDevices::callStatesDuringALongBurstReachTheLampsInOrder()
{
    QVERIFY(bind("telephony-headset"));
    CapturingLogger logger;
    m_headset.clearWritten();
    QVERIFY(listening());
    // A held button repeated every 2 ms: one long burst, read up to its cap.
    const auto inject = m_headset.injector();
    std::atomic<bool> stop{false};
    std::thread holder([&] {
        while (!stop) {
            inject({0x01, 0x00, 0x01}); // the programmable button, held
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    QTRY_VERIFY(logger.texts().contains(QStringLiteral("HID READER Reject emitted")));
    manager().onCallIncome();
    manager().onCallUnmuted();
    manager().onCallMuted();
    QTRY_COMPARE(m_headset.written(), (QStringList{"0222", "0221", "0225"}));
    stop = true;
    holder.join();
    QTRY_COMPARE(m_events.since(3), (QStringList{"reject", "state:Incoming call", "state:Talk", "state:Talk muted"}));
}

void TestTelephonyDevices::wholeCallDuringAStreamReachesTheLampsInOrder()
{
    QVERIFY(bind("telephony-headset"));
    m_headset.clearWritten();
    for (const int everyMs : {1, 4, 8}) {
        // The headset sends its resting state again and again.
        ReportStream stream(m_headset, {0x01, 0x00, 0x00}, std::chrono::milliseconds(everyMs));
        const int before = m_events.size();
        for (auto report : WholeCall)
            (manager().*report)();
        QTRY_COMPARE_WITH_TIMEOUT(m_events.since(before), WholeCallStates, 10000 * timingScale());
        QTRY_COMPARE(m_headset.written(),
                     (QStringList{"0222", "0221", "0225", "0221", "0229", "022d", "0221", "0200"}));
        m_headset.clearWritten();
    }
}

QVHID_TEST_HEADSET_MAIN(TestTelephonyDevices)
#include "tst_telephonydevices.moc"
