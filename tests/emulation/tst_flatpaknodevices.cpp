// SPDX-License-Identifier: BSD-3-Clause
// A softphone shipped as a Flatpak without --device=all: sysfs shows the headset (hidapi lists
// it), but the sandbox's /dev has no node for it. The binding and the probe name that cause and
// the permission, not a bare open failure.

#include "applicationmanager.h"
#include "capturinglogger.h"
#include "desk.h"
#include "emulatedsystem.h"
#include "proberun.h"
#include "timingscale.h"

#include <hiddevicemanager.h>

#include <hidapi.h>

#include <QSignalSpy>
#include <QtTest>

using qv::hid::HidDeviceManager;

namespace {

std::string &unavailable()
{
    static std::string why;
    return why;
}

const QString HeadsetSink = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo");
const QString Missing = QStringLiteral(
    "sysfs shows the device, but there is no /dev/hidraw0: inside a Flatpak sandbox, hidraw nodes are there only "
    "with the permission --device=all (finish-args)");

} // namespace

class TestFlatpakWithoutDevices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void sysfsShowsTheHeadsetButDevHasNoNode();
    void bindingNamesThePermission();
    void probeNamesThePermission();

private:
    emulation::EmulatedSystem m_system;
};

void TestFlatpakWithoutDevices::initTestCase()
{
    std::string why = unavailable().empty()
        ? m_system.start(emulation::EmulatedSystem::Layout::FlatpakSandboxWithoutDevices)
        : unavailable();
    if (!why.empty()) {
        const QString message = QStringLiteral("kernel emulation unavailable: %1").arg(QString::fromStdString(why));
        if (qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))
            QFAIL(qPrintable(message));
        QSKIP(qPrintable(message));
    }
    QCOMPARE(m_system.plugBuiltInSoundCard(BuiltInCardId), 0);
    const DeskDevice headset = deskDeviceOf("headset", "telephony-headset", L"A1B2C3");
    QCOMPARE(m_system.plug({headset.identity, {{0, headset.interfaces.front()}}, headset.soundCards}),
             std::vector<int>{1});
}

void TestFlatpakWithoutDevices::sysfsShowsTheHeadsetButDevHasNoNode()
{
    QVERIFY(QFileInfo::exists(QStringLiteral("/sys/class/hidraw/hidraw0")));
    QVERIFY(!QFileInfo::exists(QStringLiteral("/dev/hidraw0")));
    QVERIFY(!QFileInfo::exists(QStringLiteral("/dev/input")));
    // hidapi lists it from sysfs all the same.
    hid_device_info *devices = hid_enumerate(0x0B0E, 0x030D);
    QVERIFY(devices);
    QCOMPARE(QString::fromUtf8(devices->path), QStringLiteral("/dev/hidraw0"));
    hid_free_enumeration(devices);
}

void TestFlatpakWithoutDevices::bindingNamesThePermission()
{
    CapturingLogger logger;
    QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
    QSignalSpy hidden(&manager(), &HidDeviceManager::deviceHide);
    manager().onActiveAudioDeviceChanged(HeadsetSink);
    QCOMPARE(shown.count(), 1);
    // The reader cannot open what is not there, and gives up.
    QTRY_COMPARE(hidden.count(), 2);
    const QString expected = QStringLiteral("HID DEVICE Cannot open Office Headset 20 at /dev/hidraw0: ") + Missing;
    bool found = false;
    for (const CapturedLine &line : logger.lines()) {
        if (line.text == expected) {
            found = true;
            QCOMPARE(line.level, 3);
            QCOMPARE(line.function, QStringLiteral("checkDesktopAndAccess"));
        }
    }
    QVERIFY2(found, qPrintable(logger.texts().join(QLatin1Char('\n'))));
    manager().onActiveAudioDeviceChanged(QString());
}

void TestFlatpakWithoutDevices::probeNamesThePermission()
{
    const ProbeRun run = runProbe({QStringLiteral("list")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.out.contains(QStringLiteral("access: cannot open it: ") + Missing), qPrintable(run.out));
}

int main(int argc, char *argv[])
{
    unavailable() = emulation::EmulatedSystem::enterNamespace();
    QCoreApplication application(argc, argv);
    TestFlatpakWithoutDevices test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_flatpaknodevices.moc"
