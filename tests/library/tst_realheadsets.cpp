// SPDX-License-Identifier: BSD-3-Clause
// Headsets made of real devices' report descriptors (tests/data), bound through the standard
// fallback configuration, each playing a whole call: which gestures and lamps work on each.
// docs/real-headsets.md states the same table for people. Built twice: against virtual
// headsets, and against emulated hidraw devices below the system's hidapi (see testheadset.h).

#include "applicationmanager.h"
#include "bindingevents.h"
#include "capturinglogger.h"
#include "managerrelease.h"
#include "realheadsets.h"
#include "testheadset.h"
#include "timingscale.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QtTest>

using qv::hid::HidDeviceManager;

namespace {

// What a real headset does with the standard configuration: whether it is bound, which of its
// buttons give their gesture, which lamps follow the call.
struct Outcome
{
    bool bound = false;
    QStringList gestures; // of "answer", "hangup", "mute", "reject"
    QStringList lamps;    // of "Off-Hook", "Ring", "Mute", "Hold", "On-Line"
};

const QStringList AllGestures = {"answer", "hangup", "mute", "reject"};
const QStringList LampsOfTheStandardConfiguration = {"Off-Hook", "Ring", "Mute", "Hold", "On-Line"};

QMap<QString, Outcome> expectedOutcomes()
{
    const QStringList everyLamp = LampsOfTheStandardConfiguration;
    return {
        {"blackwire-3220", {true, {"answer", "hangup", "mute"}, everyLamp}},
        {"blackwire-3220-rebuilt", {true, {"answer", "hangup", "mute"}, everyLamp}},
        {"link-380c", {true, AllGestures, everyLamp}},
        {"powerconf", {true, AllGestures, {"Off-Hook", "Ring", "Mute", "Hold"}}},
        {"sp325", {true, AllGestures, everyLamp}},
        {"mx-brio", {true, {"answer", "hangup", "mute"}, {"Mute"}}},
        // Bound through its Telephony Phone collection; its one lamp sits in a collection nested
        // in it, which the reset before each command does not reach: lit, it stays lit.
        {"cx300", {true, AllGestures, {}}},
        {"razer-microphone", {true, {"answer", "hangup"}, {}}},
        {"kraken-kitty-v2", {true, {}, {}}},
        {"game-voice", {true, {}, {}}},
        {"voip-adapter", {true, {}, {}}},
        {"unidentified-headset", {true, AllGestures, {"Off-Hook", "Ring", "Mute", "Hold"}}},
        {"h540", {false, {}, {}}},
    };
}

// The lamps lit in each state of the standard configuration.
const QMap<QString, QStringList> LampsOfEachState = {
    {"Incoming call", {"Ring", "On-Line"}},
    {"Talk", {"Off-Hook", "On-Line"}},
    {"Talk muted", {"Off-Hook", "Mute", "On-Line"}},
    {"Hold", {"Off-Hook", "Hold", "On-Line"}},
    {"Hold muted", {"Off-Hook", "Mute", "Hold", "On-Line"}},
    {"Initial", {}},
};

QStringList sorted(QStringList list)
{
    std::sort(list.begin(), list.end());
    return list;
}

} // namespace

class TestRealHeadsets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void everyDescriptorHasAnExpectedOutcome();
    void wholeCallWithTheStandardFallback_data();
    void wholeCallWithTheStandardFallback();
    void unboundHeadsetsSayWhy_data();
    void unboundHeadsetsSayWhy();
    void deskPhoneIsBoundThroughItsPhoneCollection();

private:
    // Binds the headset through `dictionary`; false when it is not bound.
    bool bind(const RealHeadset &headset, const QString &dictionary);
    // The lamps the headset shows now, by the last report of each lamp's report id it received.
    QStringList litLamps(const RealHeadset &headset) const;
    // Presses and releases `button`; the gesture it gave, or an empty string for none.
    QString gestureOf(const std::string &button);
    void enterState(void (HidDeviceManager::*report)(), const QString &state);

    TestHeadset m_headset;
    BindingEvents m_events;
};

void TestRealHeadsets::initTestCase()
{
    QVHID_REQUIRE_TEST_HEADSETS();
    m_events.watch(&manager());
}

void TestRealHeadsets::cleanup()
{
    releaseManager(m_headset);
    m_events.clear();
}

bool TestRealHeadsets::bind(const RealHeadset &headset, const QString &dictionary)
{
    m_headset = TestHeadset::add(headset.description);
    manager().InitHidDevices(dictionary);
    m_events.clear();
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (%1)").arg(headset.product()));
    if (m_events.entries() == QStringList{"hide"})
        return false;
    [&] { QTRY_COMPARE(m_events.entries(), (QStringList{"hide", "show:" + headset.product(), "state:Initial"})); }();
    return m_events.size() == 3;
}

QStringList TestRealHeadsets::litLamps(const RealHeadset &headset) const
{
    const QStringList written = m_headset.written();
    QStringList lit;
    for (auto lamp = headset.lamps.begin(); lamp != headset.lamps.end(); ++lamp) {
        for (auto report = written.crbegin(); report != written.crend(); ++report) {
            const QByteArray bytes = QByteArray::fromHex(report->toLatin1());
            if (bytes.isEmpty() || static_cast<unsigned char>(bytes.at(0)) != lamp->reportId)
                continue;
            const int byte = 1 + int(lamp->bit / 8);
            if (byte < bytes.size() && (static_cast<unsigned char>(bytes.at(byte)) >> (lamp->bit % 8)) & 1)
                lit << lamp.key();
            break;
        }
    }
    return lit;
}

QString TestRealHeadsets::gestureOf(const std::string &button)
{
    if (!m_headset.waitForListeningReader())
        return QStringLiteral("(no reader listens)");
    const int before = m_events.size();
    m_headset.press(button);
    m_headset.release(button);
    // A gesture comes within milliseconds; none within a wide margin is none.
    if (QTest::qWaitFor([&] { return m_events.size() > before; }, 1000 * timingScale()))
        QTest::qWait(20); // and nothing more follows
    const QStringList after = m_events.since(before);
    return after.size() == 1 ? after.first() : after.join(QLatin1Char(','));
}

void TestRealHeadsets::enterState(void (HidDeviceManager::*report)(), const QString &state)
{
    const int before = m_events.size();
    (manager().*report)();
    QTRY_COMPARE(m_events.since(before), QStringList{"state:" + state});
}

void TestRealHeadsets::everyDescriptorHasAnExpectedOutcome()
{
    QStringList models;
    for (const RealHeadset &headset : realHeadsets()) {
        models << headset.model;
        QVERIFY2(!headset.description.descriptor.empty(), qPrintable(headset.model));
    }
    QCOMPARE(models.size(), 13);
    const QStringList expected = expectedOutcomes().keys();
    QCOMPARE(QSet<QString>(models.begin(), models.end()), QSet<QString>(expected.begin(), expected.end()));
}

void TestRealHeadsets::wholeCallWithTheStandardFallback_data()
{
    QTest::addColumn<QString>("model");
    for (const RealHeadset &headset : realHeadsets()) {
        if (expectedOutcomes().value(headset.model).bound)
            QTest::newRow(qPrintable(headset.model)) << headset.model;
    }
}

void TestRealHeadsets::wholeCallWithTheStandardFallback()
{
    QFETCH(QString, model);
    const RealHeadset headset = realHeadset(model);
    const Outcome expected = expectedOutcomes().value(model);
    QVERIFY(bind(headset, StandardFallback));
    QStringList gestures;
    QStringList lamps = headset.lamps.keys();

    // Enters each state of the call, and looks at the lamps it lights that the headset has.
    const auto enterAndCheckLamps = [&](void (HidDeviceManager::*report)(), const QString &state) {
        enterState(report, state);
        const QStringList wanted = LampsOfEachState.value(state);
        QStringList wantedHere;
        for (const QString &lamp : headset.lamps.keys()) {
            if (wanted.contains(lamp))
                wantedHere << lamp;
        }
        // The reports of the way into Initial follow its state; the others come before theirs.
        (void)QTest::qWaitFor([&] { return litLamps(headset) == wantedHere; }, 2000 * timingScale());
        const QStringList shown = litLamps(headset);
        for (const QString &lamp : headset.lamps.keys()) {
            // A lamp works when it is lit exactly in the states that light it.
            if (wanted.contains(lamp) != shown.contains(lamp))
                lamps.removeAll(lamp);
        }
    };
    // Presses the button, if the headset has it; it works when it gives its gesture.
    const auto tryButton = [&](const char *button, const char *gesture) {
        if (headset.hasButton(button) && gestureOf(button) == QLatin1String(gesture))
            gestures << QString::fromLatin1(button);
    };

    enterAndCheckLamps(&HidDeviceManager::onCallIncome, QStringLiteral("Incoming call"));
    tryButton("reject", "reject");
    tryButton("answer", "click");
    enterAndCheckLamps(&HidDeviceManager::onCallUnmuted, QStringLiteral("Talk"));
    tryButton("mute", "mute");
    enterAndCheckLamps(&HidDeviceManager::onCallMuted, QStringLiteral("Talk muted"));
    enterAndCheckLamps(&HidDeviceManager::onCallHold, QStringLiteral("Hold"));
    enterAndCheckLamps(&HidDeviceManager::onCallHoldMuted, QStringLiteral("Hold muted"));
    enterAndCheckLamps(&HidDeviceManager::onCallUnmuted, QStringLiteral("Talk"));
    tryButton("hangup", "click");
    enterAndCheckLamps(&HidDeviceManager::onCallEnd, QStringLiteral("Initial"));
    // Buttons that are no call control give nothing.
    for (const hid::virt::Button &button : headset.description.buttons) {
        if (!AllGestures.contains(QString::fromStdString(button.name)) && button.name != "flash")
            QCOMPARE(gestureOf(button.name), QString());
    }

    qInfo("%s: gestures %s; lamps %s", qPrintable(model), qPrintable(gestures.join(QLatin1String(", "))),
          qPrintable(lamps.join(QLatin1String(", "))));
    QCOMPARE(sorted(gestures), sorted(expected.gestures));
    lamps.removeAll(QStringLiteral("Microphone")); // the standard configuration never lights it
    QCOMPARE(sorted(lamps), sorted(expected.lamps));
}

void TestRealHeadsets::unboundHeadsetsSayWhy_data()
{
    QTest::addColumn<QString>("model");
    for (const RealHeadset &headset : realHeadsets()) {
        if (!expectedOutcomes().value(headset.model).bound)
            QTest::newRow(qPrintable(headset.model)) << headset.model;
    }
}

void TestRealHeadsets::unboundHeadsetsSayWhy()
{
    QFETCH(QString, model);
    const RealHeadset headset = realHeadset(model);
    CapturingLogger logger;
    QVERIFY(!bind(headset, StandardFallback));
    const QStringList refusals = logger.texts().filter(QStringLiteral("does not bind it"));
    QCOMPARE(refusals.size(), 1);
    QVERIFY2(refusals.first().contains(QLatin1String("its report descriptor has no collection 0x000B/0x0005")),
             qPrintable(refusals.first()));
    QCOMPARE(m_headset.opens(), m_headset.path().rfind("/dev/", 0) == 0 ? 0ul : 1ul);
}

void TestRealHeadsets::deskPhoneIsBoundThroughItsPhoneCollection()
{
    // The desk phone's call control is a Telephony Phone collection (0x0B/0x01), not a Headset:
    // the standard fallback binds it through that collection.
    const RealHeadset phone = realHeadset(QStringLiteral("cx300"));
    CapturingLogger logger;
    QVERIFY(bind(phone, StandardFallback));
    QVERIFY2(logger.texts().contains(QStringLiteral("HID DEVICE %1 (0x095D:0x9201) has no row of its own; its report "
                                                    "descriptor has the collection 0x000B/0x0001: bound through the "
                                                    "fallback configuration Standart")
                                         .arg(QString::fromStdString(m_headset.path()))),
             qPrintable(logger.texts().join(QLatin1Char('\n'))));
    enterState(&HidDeviceManager::onCallIncome, QStringLiteral("Incoming call"));
    QCOMPARE(gestureOf("reject"), QStringLiteral("reject"));
    QCOMPARE(gestureOf("answer"), QStringLiteral("click"));
    enterState(&HidDeviceManager::onCallUnmuted, QStringLiteral("Talk"));
    QCOMPARE(litLamps(phone), QStringList{"Off-Hook"});
    QCOMPARE(gestureOf("mute"), QStringLiteral("mute"));
    QCOMPARE(gestureOf("hangup"), QStringLiteral("click"));
    enterState(&HidDeviceManager::onCallEnd, QStringLiteral("Initial"));
    // One report per command: the init command's, the ring's, the talk's, the end's. The lamp
    // sits in a collection nested in the Phone collection, and only lamps listed directly in a
    // top-level collection are switched off before a command: it stays lit.
    QTRY_COMPARE(m_headset.written().size(), 4);
    QCOMPARE(m_headset.written().constLast(), QStringLiteral("0201"));
    QCOMPARE(litLamps(phone), QStringList{"Off-Hook"});
}

QVHID_TEST_HEADSET_MAIN(TestRealHeadsets)
#include "tst_realheadsets.moc"
