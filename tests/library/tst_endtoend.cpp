// SPDX-License-Identifier: BSD-3-Clause
// The library as an application uses it: only the manager's one instance, audio-device names
// and call-state reports in, gestures, states and show/hide out, against headsets of several
// dictionary models. Built twice: against virtual headsets, and against emulated hidraw devices
// below the system's hidapi (see testheadset.h).

#include "applicationmanager.h"
#include "bindingevents.h"
#include "reportstream.h"
#include "capturinglogger.h"
#include "testheadset.h"
#include "timingscale.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QtTest>

using qv::hid::HidDeviceManager;

namespace {

// A whole call as the application reports it: incoming, answered, muted, unmuted, held, held
// muted, ended.
void reportWholeCall()
{
    manager().onCallIncome();
    manager().onCallUnmuted();
    manager().onCallMuted();
    manager().onCallUnmuted();
    manager().onCallHold();
    manager().onCallHoldMuted();
    manager().onCallEnd();
}

const QStringList WholeCallStates = {"state:Incoming call", "state:Talk", "state:Talk muted",
                                     "state:Talk",          "state:Hold", "state:Hold muted"};

QStringList entriesWithout(const QStringList &entries, const QString &prefix)
{
    QStringList result;
    for (const QString &entry : entries) {
        if (!entry.startsWith(prefix))
            result << entry;
    }
    return result;
}

} // namespace

class TestEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void bindsTheHeadsetOfTheAudioDevice_data();
    void bindsTheHeadsetOfTheAudioDevice();
    void wholeCallReachesTheHeadset_data();
    void wholeCallReachesTheHeadset();
    void callStatesQueuedTogetherComeOutInOrderOnALongDelayModel();
    void headsetPressesArriveAsGestures();
    void modelThatAnswersEmptyReportsWithAClick();
    void switchingAudioDeviceRebinds();
    void unplugMidCallAndReplugResumesTheCall_data();
    void unplugMidCallAndReplugResumesTheCall();
    void headsetPluggedInAfterTheApplicationChoseIt();
    void headsetWithUnlistedIdsIsNeverBound();
    void unlistedHeadsetIsBoundThroughTheFallback();
    void headsetIsBoundOnItsCallControlInterface();
    void streamingHeadsetFollowsTheCall_data();
    void streamingHeadsetFollowsTheCall();
    void streamingModelThatClicksOnEmptyReportsIsQuietAtRest_data();
    void streamingModelThatClicksOnEmptyReportsIsQuietAtRest();
    void firstHookLiftAfterPlugInAnswersWhateverTheArraysRestAt();

private:
    void addEveryModel();
    TestHeadset deviceOf(const char *model) const;

    QList<QPair<QString, TestHeadset>> m_devices;
};

void TestEndToEnd::initTestCase()
{
    QVHID_REQUIRE_TEST_HEADSETS();
}

void TestEndToEnd::init()
{
    TestHeadset::removeAll();
    m_devices.clear();
}

void TestEndToEnd::cleanup()
{
    // Leave the one manager unbound, with every reader gone and no call, for the next test.
    CapturingLogger logger;
    manager().onActiveAudioDeviceChanged(QString());
    manager().onCallEnd();
    for (const auto &device : qAsConst(m_devices))
        QTRY_COMPARE(device.second.openHandles(), 0);
    hid::HidDeviceDict::init();
}

void TestEndToEnd::addEveryModel()
{
    for (const char *model :
         {"telephony-headset", "telephony-headset-no-ids", "vendor-page-headset", "echoing-headset"})
        m_devices.append({QString::fromLatin1(model), TestHeadset::add(modelDescription(model))});
}

TestHeadset TestEndToEnd::deviceOf(const char *model) const
{
    for (const auto &device : m_devices) {
        if (device.first == QLatin1String(model))
            return device.second;
    }
    return TestHeadset();
}

void TestEndToEnd::bindsTheHeadsetOfTheAudioDevice_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("audioDevice");
    QTest::addColumn<QString>("product");
    QTest::addColumn<QStringList>("initReports");
    QTest::newRow("telephony headset") << "telephony-headset"
                                       << "Headset Microphone (2- Office Headset 20)"
                                       << "Office Headset 20" << QStringList{"0200"};
    QTest::newRow("without report ids") << "telephony-headset-no-ids"
                                        << "Speakers (Office Headset 30)"
                                        << "Office Headset 30" << QStringList{"00"};
    QTest::newRow("vendor pages") << "vendor-page-headset"
                                  << "Headset Earphone (3- Link Adapter 360)"
                                  << "Link Adapter 360" << QStringList{"0520", "0500"};
    QTest::newRow("answers every write") << "echoing-headset"
                                         << "Microphone (Desk Headset 310)"
                                         << "Desk Headset 310" << QStringList{"00"};
}

void TestEndToEnd::bindsTheHeadsetOfTheAudioDevice()
{
    QFETCH(QString, model);
    QFETCH(QString, audioDevice);
    QFETCH(QString, product);
    QFETCH(QStringList, initReports);
    addEveryModel();
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(audioDevice);
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:" + product, "state:Initial"}));
    const TestHeadset bound = deviceOf(model.toLatin1().constData());
    QCOMPARE(bound.openHandles(), TestHeadset::filesPerBinding());
    QCOMPARE(bound.written(), initReports);
    for (const auto &device : qAsConst(m_devices)) {
        if (device.first != model)
            QCOMPARE(device.second.opens(), 0ul);
    }
}

void TestEndToEnd::wholeCallReachesTheHeadset_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("audioDevice");
    QTest::addColumn<QStringList>("callReports");
    // Standard lamps: Off-Hook 01, Ring 02, Mute 04, Hold 08, Microphone 10, On-Line 20.
    QTest::newRow("telephony headset") << "telephony-headset"
                                       << "Headset Microphone (2- Office Headset 20)"
                                       << QStringList{"0222", "0221", "0225", "0221", "0229", "022d", "0200"};
    QTest::newRow("without report ids") << "telephony-headset-no-ids"
                                        << "Speakers (Office Headset 30)"
                                        << QStringList{"22", "21", "25", "21", "29", "2d", "00"};
    QTest::newRow("answers every write") << "echoing-headset"
                                         << "Microphone (Desk Headset 310)"
                                         << QStringList{"22", "21", "25", "21", "29", "2d", "00"};
    const QStringList talk = {"0523", "0523", "0521", "0529", "0528", "0523", "0523", "0521"};
    QTest::newRow("vendor pages, commands of several steps")
        << "vendor-page-headset"
        << "Headset Earphone (3- Link Adapter 360)"
        << (QStringList{"0502", "0522"} + talk + QStringList{"0531"} + talk
            + QStringList{"0529", "0528", "0538", "0520", "0500"});
}

void TestEndToEnd::wholeCallReachesTheHeadset()
{
    QFETCH(QString, model);
    QFETCH(QString, audioDevice);
    QFETCH(QStringList, callReports);
    addEveryModel();
    TestHeadset headset = deviceOf(model.toLatin1().constData());
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(audioDevice);
    QTRY_COMPARE(events.size(), 3);
    headset.clearWritten();

    reportWholeCall();
    QTRY_COMPARE(headset.written(), callReports);
    QTRY_COMPARE(events.since(3), WholeCallStates);
    QTest::qWait(50);
    QCOMPARE(events.since(3), WholeCallStates); // ended on hold and muted: the state is kept
}

void TestEndToEnd::callStatesQueuedTogetherComeOutInOrderOnALongDelayModel()
{
    // A model that drains what the headset sends after each command (up to 700 ms) and holds in
    // three steps: each state's reports come whole and in order, though all are queued at once.
    addEveryModel();
    TestHeadset headset = deviceOf("telephony-headset");
    manager().InitHidDevices(QStringLiteral(R"({
        "configurations": { "Slow": { "longDelay": true, "cmdHold": [ [], ["HOOK", "HOLD"], ["HOLD"] ] } },
        "devices": [ { "vid": "0x0B0E", "pid": "0x030D", "configuration": "Slow" } ] })"));
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.size(), 3);
    QTRY_COMPARE(headset.written(), QStringList{"0200"});

    reportWholeCall();
    QTRY_COMPARE_WITH_TIMEOUT(
        headset.written(),
        (QStringList{"0200", "0222", "0221", "0225", "0221", "0200", "0209", "0208", "022d", "0200"}),
        15000 * timingScale());
    QTRY_COMPARE(events.since(3), WholeCallStates);
}

void TestEndToEnd::headsetPressesArriveAsGestures()
{
    addEveryModel();
    TestHeadset headset = deviceOf("telephony-headset");
    BindingEvents events;
    events.watch(&manager());
    // The application answers, mutes and rejects as its user asks through the headset.
    QObject softphone;
    connect(&manager(), &HidDeviceManager::click, &softphone, [] { manager().onCallUnmuted(); });
    connect(&manager(), &HidDeviceManager::clickMute, &softphone, [] { manager().onCallMuted(); });
    connect(&manager(), &HidDeviceManager::clickReject, &softphone, [] { manager().onCallEnd(); });
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.size(), 3);

    manager().onCallIncome();
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    QVERIFY(headset.waitForListeningReader());
    headset.press("answer");
    QTRY_COMPARE(events.since(4), (QStringList{"click", "state:Talk"}));
    QVERIFY(headset.waitForListeningReader());
    headset.press("mute");
    headset.release("mute");
    QTRY_COMPARE(events.since(6), (QStringList{"mute", "state:Talk muted"}));
    QVERIFY(headset.waitForListeningReader());
    headset.press("drop");
    headset.release("drop");
    QTRY_COMPARE(events.since(8), (QStringList{"reject", "state:Initial"}));
    QCOMPARE(headset.written(), (QStringList{"0200", "0222", "0221", "0225", "0200"}));
    // Every entry arrived on the application's thread (none is marked off-thread).
    QCOMPARE(entriesWithout(events.entries(), QStringLiteral("off-thread:")), events.entries());
}

void TestEndToEnd::modelThatAnswersEmptyReportsWithAClick()
{
    addEveryModel();
    TestHeadset headset = deviceOf("echoing-headset");
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Microphone (Desk Headset 310)"));
    QTRY_COMPARE(events.size(), 3);
    // Its answers to the lamp writes are read back and give no gesture; a report in which
    // nothing changed is a click on this model.
    manager().onCallIncome();
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    QVERIFY(headset.waitForListeningReader());
    // The same bytes as its answer: a press only once the headset was quiet for a while (a
    // repeat within RepeatedReports::Window would be the headset repeating itself).
    QTest::qWait(150);
    headset.inject({0x00, 0x00});
    QTRY_COMPARE(events.since(3), (QStringList{"state:Incoming call", "click"}));
}

void TestEndToEnd::switchingAudioDeviceRebinds()
{
    addEveryModel();
    TestHeadset first = deviceOf("telephony-headset");
    TestHeadset second = deviceOf("echoing-headset");
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.size(), 3);
    manager().onCallIncome();
    QTRY_COMPARE(first.written(), (QStringList{"0200", "0222"}));
    // The state comes after the ring's read-back; a rebind before it would withdraw it.
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});

    manager().onActiveAudioDeviceChanged(QStringLiteral("Microphone (Desk Headset 310)"));
    QCOMPARE(events.since(4), (QStringList{"hide", "show:Desk Headset 310"}));
    QTRY_COMPARE(events.since(4), (QStringList{"hide", "show:Desk Headset 310", "state:Initial"}));
    QTRY_COMPARE(first.openHandles(), 0);
    QCOMPARE(second.openHandles(), TestHeadset::filesPerBinding());

    // The new binding starts from the initial state; the old headset hears nothing more.
    manager().onCallIncome();
    first.press("answer");
    QTRY_COMPARE(second.written(), (QStringList{"00", "22"}));
    QTRY_COMPARE(events.since(7), QStringList{"state:Incoming call"});
    QTest::qWait(50);
    QCOMPARE(first.written(), (QStringList{"0200", "0222"}));
    QCOMPARE(events.since(7), QStringList{"state:Incoming call"});
}

void TestEndToEnd::unplugMidCallAndReplugResumesTheCall_data()
{
    QTest::addColumn<bool>("newPath");
    QTest::newRow("same path") << false;
    QTest::newRow("new path") << true;
}

void TestEndToEnd::unplugMidCallAndReplugResumesTheCall()
{
    QFETCH(bool, newPath);
    addEveryModel();
    TestHeadset headset = deviceOf("telephony-headset");
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    manager().onCallIncome();
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    QVERIFY(headset.waitForListeningReader());
    headset.press("answer");
    QTRY_COMPARE(events.since(4), QStringList{"click"});
    manager().onCallUnmuted();
    QTRY_COMPARE(events.since(5), QStringList{"state:Talk"});

    headset.unplug();
    QTRY_COMPARE(events.since(6), QStringList{"hide"});
    // The call goes on in the application while the headset is away.
    manager().onCallMuted();
    manager().onCallHold();
    QTRY_COMPARE(headset.openHandles(), 0);

    headset.clearWritten();
    const TestHeadset replugged = newPath ? headset.replugUnderANewPath() : (headset.replug(), headset);
    if (newPath)
        m_devices.append({QStringLiteral("replugged"), replugged});
    QTRY_COMPARE(events.since(7), (QStringList{"show:Office Headset 20", "state:Initial", "state:Hold"}));
    // Lamps all off, then Off-Hook, Hold and On-Line: the call as the application left it.
    QTRY_COMPARE(replugged.written(), (QStringList{"0200", "0229"}));
    QCOMPARE(replugged.openHandles(), TestHeadset::filesPerBinding());
    QVERIFY(replugged.waitForListeningReader());
    replugged.press("mute");
    replugged.release("mute");
    QTRY_COMPARE(events.since(10), QStringList{"mute"});
    manager().onCallUnmuted();
    QTRY_COMPARE(events.since(10), (QStringList{"mute", "state:Talk"}));
    QCOMPARE(replugged.written().last(), QStringLiteral("0221"));
}

void TestEndToEnd::headsetPluggedInAfterTheApplicationChoseIt()
{
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QCOMPARE(events.entries(), QStringList{"hide"});
    manager().onCallIncome();
    QTest::qWait(1000);
    QElapsedTimer sincePlugIn;
    sincePlugIn.start();
    const TestHeadset headset = TestHeadset::add(modelDescription("telephony-headset"));
    m_devices.append({QStringLiteral("telephony-headset"), headset});
    // Bound and ringing within 2 s of the plug-in.
    QTRY_COMPARE_WITH_TIMEOUT(events.entries(),
                              (QStringList{"hide", "show:Office Headset 20", "state:Initial", "state:Incoming call"}),
                              2000 * timingScale());
    QTRY_COMPARE(headset.written(), (QStringList{"0200", "0222"}));
    qInfo("bound and ringing %lld ms after the plug-in", static_cast<long long>(sincePlugIn.elapsed()));
    QVERIFY(headset.waitForListeningReader());
    headset.press("answer");
    QTRY_COMPARE(events.since(4), QStringList{"click"});
}

void TestEndToEnd::headsetWithUnlistedIdsIsNeverBound()
{
    hid::virt::DeviceDescription unlisted = modelDescription("telephony-headset");
    unlisted.productId = 0x9999; // same vendor, same product string, a product the dictionary lacks
    TestHeadset headset = TestHeadset::add(unlisted);
    m_devices.append({QStringLiteral("unlisted"), headset});
    BindingEvents events;
    events.watch(&manager());
    const QString audioDevice = QStringLiteral("Headset Microphone (2- Office Headset 20)");
    manager().onActiveAudioDeviceChanged(audioDevice);
    QCOMPARE(events.entries(), QStringList{"hide"});

    // Not even a row for the whole vendor binds it.
    manager().InitHidDevices(QStringLiteral(R"({
        "configurations": { "Standart": {} },
        "devices": [ { "name": "Every product", "vid": "0x0B0E", "configuration": "Standart" } ]
    })"));
    manager().onActiveAudioDeviceChanged(audioDevice);
    QTest::qWait(50);
    QCOMPARE(events.entries(), (QStringList{"hide", "hide"}));
    QCOMPARE(headset.opens(), 0ul);
}

void TestEndToEnd::unlistedHeadsetIsBoundThroughTheFallback()
{
    hid::virt::DeviceDescription unlisted = modelDescription("telephony-headset");
    unlisted.vendorId = 0x1209;
    unlisted.productId = 0x9999;
    TestHeadset headset = TestHeadset::add(unlisted);
    m_devices.append({QStringLiteral("unlisted"), headset});
    manager().InitHidDevices(StandardFallback);
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    QCOMPARE(headset.openHandles(), TestHeadset::filesPerBinding());

    // The whole call, byte for byte as on a listed headset of the standard configuration.
    reportWholeCall();
    QTRY_COMPARE(headset.written(), (QStringList{"0200", "0222", "0221", "0225", "0221", "0229", "022d", "0200"}));
    QTRY_COMPARE(events.since(3), WholeCallStates);

    // And its buttons: answer, mute, reject.
    manager().onCallIncome();
    QTRY_COMPARE(events.since(9), QStringList{"state:Incoming call"});
    QVERIFY(headset.waitForListeningReader());
    headset.press("answer");
    QTRY_COMPARE(events.since(10), QStringList{"click"});
    manager().onCallUnmuted();
    QTRY_COMPARE(events.since(11), QStringList{"state:Talk"});
    QVERIFY(headset.waitForListeningReader());
    headset.press("mute");
    headset.release("mute");
    QTRY_COMPARE(events.since(12), QStringList{"mute"});
    QVERIFY(headset.waitForListeningReader());
    headset.press("drop");
    headset.release("drop");
    QTRY_COMPARE(events.since(12), (QStringList{"mute", "reject"}));
}

void TestEndToEnd::headsetIsBoundOnItsCallControlInterface()
{
    // Both interfaces show the product string and the listed ids; the consumer-control one
    // comes first, but only the telephony one is the configuration's call-control collection.
    TestHeadset consumer = TestHeadset::add(modelDescription("consumer-first-headset", 0));
    TestHeadset telephony = TestHeadset::add(modelDescription("consumer-first-headset", 1));
    m_devices.append({QStringLiteral("consumer"), consumer});
    m_devices.append({QStringLiteral("telephony"), telephony});
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (Office Headset 40)"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 40", "state:Initial"}));
    QCOMPARE(telephony.openHandles(), TestHeadset::filesPerBinding());
    QCOMPARE(consumer.opens(), 0ul);
    manager().onCallIncome();
    QTRY_COMPARE(telephony.written(), (QStringList{"0200", "0222"}));
    // The state comes once the ring is written; a press before the read-back after it is over
    // would be read back as the headset's answer to the write.
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    QVERIFY(telephony.waitForListeningReader());
    telephony.press("answer");
    QTRY_COMPARE(events.since(3), (QStringList{"state:Incoming call", "click"}));
    QVERIFY(consumer.written().isEmpty());
}

void TestEndToEnd::streamingHeadsetFollowsTheCall_data()
{
    QTest::addColumn<int>("periodMs");
    QTest::newRow("every 1 ms") << 1;
    QTest::newRow("every 4 ms") << 4;
    QTest::newRow("every 8 ms") << 8;
}

void TestEndToEnd::streamingHeadsetFollowsTheCall()
{
    // A headset that sends its whole input state again and again never lets a read that waits
    // for a quiet gap end by itself: the reader must still start, follow the call and read
    // each button once.
    QFETCH(int, periodMs);
    addEveryModel();
    TestHeadset headset = deviceOf("telephony-headset");
    const hid::virt::Bytes resting = {0x01, 0x00, 0x00};
    const hid::virt::Bytes hookLifted = {0x01, 0x01, 0x00};
    const hid::virt::Bytes mutePressed = {0x01, 0x05, 0x00};
    ReportStream stream(headset, resting, std::chrono::milliseconds(periodMs));
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE_WITH_TIMEOUT(events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}),
                              1000 * timingScale());

    // Each ring reaches the headset within 50 ms of the call state.
    for (int call = 0; call < 20; ++call) {
        QVERIFY(headset.waitForInputWait());
        headset.clearWritten();
        QElapsedTimer sinceCall;
        sinceCall.start();
        manager().onCallIncome();
        while (headset.written().isEmpty() && sinceCall.elapsed() < 2000 * timingScale())
            QThread::usleep(200);
        const qint64 ringMs = sinceCall.elapsed();
        QVERIFY2(ringMs <= 50 * timingScale(), qPrintable(QStringLiteral("ring %1: %2 ms").arg(call).arg(ringMs)));
        QCOMPARE(headset.written().value(0), QStringLiteral("0222"));
        QTRY_COMPARE(events.entries().constLast(), QStringLiteral("state:Incoming call"));
        manager().onCallEnd();
        QTRY_COMPARE(events.entries().constLast(), QStringLiteral("state:Initial"));
    }
    QCOMPARE(entriesWithout(events.entries(), QStringLiteral("state:")),
             (QStringList{"hide", "show:Office Headset 20"}));

    // One hook lift is one click, one mute press one clickMute, the hang-up one click, however
    // often the headset repeats each state.
    manager().onCallIncome();
    QTRY_COMPARE(events.entries().constLast(), QStringLiteral("state:Incoming call"));
    QVERIFY(headset.waitForInputWait());
    const int beforeGestures = events.size();
    stream.setReport(hookLifted);
    QTRY_COMPARE(events.since(beforeGestures), QStringList{"click"});
    stream.setReport(mutePressed);
    QTRY_COMPARE(events.since(beforeGestures), (QStringList{"click", "mute"}));
    QTest::qWait(200);
    stream.setReport(hookLifted); // the mute button released
    QTest::qWait(200);
    stream.setReport(resting);
    QTRY_COMPARE(events.since(beforeGestures), (QStringList{"click", "mute", "click"}));
    QTest::qWait(200);
    QCOMPARE(events.since(beforeGestures), (QStringList{"click", "mute", "click"}));

    // Quiet again: the reports of a whole call are the usual ones.
    stream.stop();
    manager().onCallEnd();
    QTRY_COMPARE(events.entries().constLast(), QStringLiteral("state:Initial"));
    QVERIFY(headset.waitForListeningReader());
    headset.clearWritten();
    reportWholeCall();
    QTRY_COMPARE(headset.written(), (QStringList{"0222", "0221", "0225", "0221", "0229", "022d", "0200"}));
}

void TestEndToEnd::streamingModelThatClicksOnEmptyReportsIsQuietAtRest_data()
{
    streamingHeadsetFollowsTheCall_data();
}

void TestEndToEnd::streamingModelThatClicksOnEmptyReportsIsQuietAtRest()
{
    // This model's press is a report in which nothing changes. Streamed, its resting report
    // repeats the one before and is no press; its hook lift is one click, its hang-up another.
    QFETCH(int, periodMs);
    addEveryModel();
    TestHeadset headset = deviceOf("echoing-headset");
    const hid::virt::Bytes resting = {0x00, 0x00};
    ReportStream stream(headset, resting, std::chrono::milliseconds(periodMs));
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Microphone (Desk Headset 310)"));
    QTRY_COMPARE_WITH_TIMEOUT(events.entries(), (QStringList{"hide", "show:Desk Headset 310", "state:Initial"}),
                              1000 * timingScale());
    manager().onCallIncome();
    QTRY_COMPARE(events.entries().constLast(), QStringLiteral("state:Incoming call"));
    QTest::qWait(500);
    QCOMPARE(events.since(3), QStringList{"state:Incoming call"});
    stream.setReport({0x01, 0x00});
    QTRY_COMPARE(events.since(4), QStringList{"click"});
    QTest::qWait(200);
    stream.setReport(resting);
    QTRY_COMPARE(events.since(4), (QStringList{"click", "click"}));
    QTest::qWait(300);
    QCOMPARE(events.since(4), (QStringList{"click", "click"}));
}

void TestEndToEnd::firstHookLiftAfterPlugInAnswersWhateverTheArraysRestAt()
{
    // This headset's array rests inside its logical range, where it selects Programmable Button,
    // a reject usage: the first hook lift after plug-in answers all the same, the hang-up ends.
    addEveryModel();
    const TestHeadset resting = TestHeadset::add(modelDescription("resting-array-headset"));
    m_devices.append({QStringLiteral("resting-array-headset"), resting});
    manager().InitHidDevices(StandardFallback);
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (Wireless Headset 51)"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Wireless Headset 51", "state:Initial"}));
    manager().onCallIncome();
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    QVERIFY(resting.waitForListeningReader());
    resting.press("answer");
    QTRY_COMPARE(events.since(4), QStringList{"click"});
    QVERIFY(resting.waitForListeningReader());
    resting.press("hangup");
    QTRY_COMPARE(events.since(4), (QStringList{"click", "click"}));

    // An array resting outside its range (0 is no usage of it) selects nothing at rest: its
    // first usage in the first report after plug-in is pressed, as before.
    TestHeadset telephony = deviceOf("telephony-headset");
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (2- Office Headset 20)"));
    QTRY_COMPARE(events.since(6), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    QVERIFY(telephony.waitForListeningReader());
    telephony.press("programmable");
    QTRY_COMPARE(events.since(9), QStringList{"reject"});
}

QVHID_TEST_HEADSET_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
