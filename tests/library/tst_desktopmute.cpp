// SPDX-License-Identifier: BSD-3-Clause
// Whether the desktop also acts on a bound headset's mute button, as the manager tells the
// application and the binding logs it. Built twice: against virtual headsets, which are no
// hidraw nodes and have no input devices (the library cannot tell), and against emulated
// hidraw devices with the input devices the kernel makes of them (see testheadset.h).

#include "applicationmanager.h"
#include "capturinglogger.h"
#include "testheadset.h"
#include "timingscale.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QSignalSpy>
#include <QtTest>

using hid::DesktopMute;
using qv::hid::HidDeviceManager;

Q_DECLARE_METATYPE(DesktopMute)

namespace {

const QString WarningStart = QStringLiteral("HID DEVICE Office Headset 60 (");

QList<CapturedLine> warningsOf(const CapturingLogger &logger)
{
    QList<CapturedLine> warnings;
    for (const CapturedLine &line : logger.lines()) {
        if (line.text.contains(QLatin1String("mute button")))
            warnings << line;
    }
    return warnings;
}

} // namespace

class TestDesktopMute : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void unknownWhileNothingIsShown();
    void headsetWhoseMuteButtonReachesTheDesktopIsWarnedOf();
    void headsetWhoseKeyIsRemappedIsNotWarnedOf();
    void headsetWithoutInputDeviceIsNotWarnedOf();

private:
    TestHeadset add(const char *model);
    // Binds the audio device and waits until the headset's reader runs; the query's answer as
    // deviceShow left it.
    DesktopMute bind(const QString &audioDevice);

    QList<TestHeadset> m_headsets;
};

void TestDesktopMute::initTestCase()
{
    QVHID_REQUIRE_TEST_HEADSETS();
}

void TestDesktopMute::cleanup()
{
    // Every reader gone before its headset is.
    manager().onActiveAudioDeviceChanged(QString());
    for (const TestHeadset &headset : qAsConst(m_headsets))
        QTRY_COMPARE(headset.openHandles(), 0);
    m_headsets.clear();
    TestHeadset::removeAll();
}

TestHeadset TestDesktopMute::add(const char *model)
{
    m_headsets << TestHeadset::add(modelDescription(model));
    return m_headsets.back();
}

DesktopMute TestDesktopMute::bind(const QString &audioDevice)
{
    QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
    QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
    manager().onActiveAudioDeviceChanged(audioDevice);
    // deviceShow comes from within onActiveAudioDeviceChanged, the answer with it.
    const DesktopMute desktop = manager().GetDesktopMute();
    if (shown.count() == 1 && !QTest::qWaitFor([&] { return states.count() > 0; }, 5000 * timingScale()))
        qWarning("the headset of %s never entered Initial", qPrintable(audioDevice));
    return shown.count() == 1 ? desktop : DesktopMute(-1);
}

void TestDesktopMute::unknownWhileNothingIsShown()
{
    QCOMPARE(manager().GetDesktopMute(), DesktopMute::Unknown);
    add("volume-keys-headset");
    manager().onActiveAudioDeviceChanged(QStringLiteral("Headset Microphone (No Such Headset)"));
    QCOMPARE(manager().GetDesktopMute(), DesktopMute::Unknown);
}

void TestDesktopMute::headsetWhoseMuteButtonReachesTheDesktopIsWarnedOf()
{
    const TestHeadset headset = add("volume-keys-headset");
    CapturingLogger logger;
    const DesktopMute desktop = bind(QStringLiteral("Headset Microphone (Office Headset 60)"));
    const QList<CapturedLine> warnings = warningsOf(logger);
    if (!TestHeadset::hasKernelInputDevices()) {
        QCOMPARE(desktop, DesktopMute::Unknown);
        QVERIFY(warnings.isEmpty());
    } else {
        // The kernel made an input device of the telephony collection that sends the
        // microphone mute key, and udev's database has no remap for its event node.
        QCOMPARE(desktop, DesktopMute::Acts);
        QCOMPARE(warnings.size(), 1);
        const CapturedLine &warning = warnings.front();
        QCOMPARE(warning.level, 4);
        QCOMPARE(warning.category, QStringLiteral("hid"));
        QCOMPARE(warning.file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
        QVERIFY2(warning.text.startsWith(WarningStart + QString::fromStdString(headset.path())
                                         + QStringLiteral("): the kernel also gives its mute button to the desktop, "
                                                          "as the microphone mute key of /dev/input/event")),
                 qPrintable(warning.text));
        QVERIFY2(warning.text.endsWith(QStringLiteral(
                     ", so that one press mutes the call and the system microphone; install this library's udev "
                     "rules (its runtime package, with 71-qvhid-phone-mute.rules) and plug the headset in again")),
                 qPrintable(warning.text));
    }
    // Withdrawn, the binding knows nothing of a headset.
    manager().onActiveAudioDeviceChanged(QString());
    QCOMPARE(manager().GetDesktopMute(), DesktopMute::Unknown);
}

void TestDesktopMute::headsetWhoseKeyIsRemappedIsNotWarnedOf()
{
    const TestHeadset headset = add("volume-keys-headset");
    headset.remapPhoneMuteInUdevDatabase();
    CapturingLogger logger;
    const DesktopMute desktop = bind(QStringLiteral("Headset Microphone (Office Headset 60)"));
    QCOMPARE(desktop, TestHeadset::hasKernelInputDevices() ? DesktopMute::Ignores : DesktopMute::Unknown);
    QVERIFY(warningsOf(logger).isEmpty());
}

void TestDesktopMute::headsetWithoutInputDeviceIsNotWarnedOf()
{
    // Telephony alone on its interface: the kernel makes no input device of it.
    add("telephony-headset");
    CapturingLogger logger;
    const DesktopMute desktop = bind(QStringLiteral("Headset Microphone (Office Headset 20)"));
    QCOMPARE(desktop, TestHeadset::hasKernelInputDevices() ? DesktopMute::Ignores : DesktopMute::Unknown);
    QVERIFY(warningsOf(logger).isEmpty());
}

QVHID_TEST_HEADSET_MAIN(TestDesktopMute)
#include "tst_desktopmute.moc"
