// SPDX-License-Identifier: BSD-3-Clause
// A softphone shipped as a Flatpak with --device=all, end to end on the system's own hidapi and
// libudev: the process sees the emulated system as Flatpak lays it out (no /run/udev, of /sys
// only block, bus, class, dev and devices, read-only, and the host's /dev). Binding by the
// sound servers' and ALSA's names, a ringing call's lamps, unplug and replug, the desktop's
// microphone mute key, and a node that the host's udev rules did not give the user.

#include "applicationmanager.h"
#include "capturinglogger.h"
#include "desk.h"
#include "emulatedsystem.h"
#include "proberun.h"
#include "timingscale.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using qv::hid::HidDeviceManager;

namespace {

std::string &unavailable()
{
    static std::string why;
    return why;
}

// The desk: a built-in sound card, then the standard headset (card 1, /dev/hidraw0) and one
// with its volume keys on its telephony interface (card 2, /dev/hidraw1).
constexpr int Headset = 0;
constexpr int VolumeKeysHeadset = 1;
const QString HeadsetSink = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo");
const QString VolumeKeysSource =
    QStringLiteral("alsa_input.usb-Virtual_Audio_Office_Headset_60_VH-0060-00.mono-fallback");

// The ring lamps of the standard headset: report 2, Ring and On-Line.
const QString RingLamps = QStringLiteral("0222");

QStringList writtenHex(emulation::EmulatedSystem &system, int number)
{
    QStringList result;
    for (const hid::virt::Bytes &report : system.server().written(number))
        result << hexOf(report);
    return result;
}

} // namespace

class TestFlatpak : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void sandboxIsLaidOutAsFlatpakLaysItOut();
    void bindsBySoundServerNameWithoutUdevsDatabase();
    void bindsByAlsaCardIndex();
    void ringingCallLightsTheLampsAndComesBackAfterAReplug();
    void desktopMuteIsToldFromTheKernelsCapabilities();
    void probeWatchSaysTheDesktopMutesToo();
    void nodeTheHostGaveNoAccessToNamesTheHostsRules();

private:
    // Binds `name` and waits for the headset's reader to enter Initial; true when it did.
    bool bind(const QString &name);
    int openFiles() const;

    emulation::EmulatedSystem m_system;
};

void TestFlatpak::initTestCase()
{
    std::string why =
        unavailable().empty() ? m_system.start(emulation::EmulatedSystem::Layout::FlatpakSandbox) : unavailable();
    if (!why.empty()) {
        const QString message = QStringLiteral("kernel emulation unavailable: %1").arg(QString::fromStdString(why));
        if (qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))
            QFAIL(qPrintable(message));
        QSKIP(qPrintable(message));
    }
    QCOMPARE(m_system.plugBuiltInSoundCard(BuiltInCardId), 0);
    const DeskDevice headset = deskDeviceOf("headset", "telephony-headset", L"A1B2C3");
    QCOMPARE(m_system.plug({headset.identity, {{Headset, headset.interfaces.front()}}, headset.soundCards}),
             std::vector<int>{1});
    const DeskDevice volumeKeys = deskDeviceOf("volume-keys", "volume-keys-headset", L"VH-0060");
    QCOMPARE(m_system.plug(
                 {volumeKeys.identity, {{VolumeKeysHeadset, volumeKeys.interfaces.front()}}, volumeKeys.soundCards}),
             std::vector<int>{2});
}

void TestFlatpak::cleanup()
{
    manager().onActiveAudioDeviceChanged(QString());
    manager().onCallEnd();
    QTRY_COMPARE(openFiles(), 0);
    m_system.server().setDenied(Headset, false);
}

int TestFlatpak::openFiles() const
{
    emulation::HidrawServer &server = const_cast<emulation::EmulatedSystem &>(m_system).server();
    return server.openFiles(Headset) + server.openFiles(VolumeKeysHeadset);
}

bool TestFlatpak::bind(const QString &name)
{
    QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
    manager().onActiveAudioDeviceChanged(name);
    return QTest::qWaitFor([&] { return states.count() > 0; }, 5000 * timingScale())
        && states.first().first().toString() == QLatin1String("Initial");
}

void TestFlatpak::sandboxIsLaidOutAsFlatpakLaysItOut()
{
    QVERIFY(!QFileInfo::exists(QStringLiteral("/run/udev")));
    QCOMPARE(QDir(QStringLiteral("/sys")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System),
             QStringList({"block", "bus", "class", "dev", "devices"}));
    for (const char *path : {"/sys/class/scratch", "/sys/scratch"}) {
        QVERIFY2(::mkdir(path, 0755) != 0 && errno == EROFS, path);
    }
    QVERIFY(QFileInfo::exists(QStringLiteral("/sys/class/hidraw/hidraw0")));
    QVERIFY(QFileInfo::exists(QStringLiteral("/dev/hidraw0")));
    QVERIFY(QFileInfo::exists(QStringLiteral("/sys/class/sound/card1")));
}

void TestFlatpak::bindsBySoundServerNameWithoutUdevsDatabase()
{
    CapturingLogger logger;
    QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
    QVERIFY(bind(HeadsetSink));
    QCOMPARE(shown.count(), 1);
    QCOMPARE(shown.first().first().toString(), QStringLiteral("Office Headset 20"));
    // Without udev's database the sound servers' name is made from sysfs, as udev makes it.
    const QString chose =
        QStringLiteral("HID DEVICE Chose /dev/hidraw0 for %1: sound card 1 (Headset20) by ").arg(HeadsetSink);
    bool found = false;
    for (const QString &text : logger.texts())
        found = found || (text.startsWith(chose) && text.contains(QLatin1String("(made from sysfs)")));
    QVERIFY2(found, qPrintable(logger.texts().join(QLatin1Char('\n'))));
}

void TestFlatpak::bindsByAlsaCardIndex()
{
    QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
    QVERIFY(bind(QStringLiteral("hw:1,0")));
    QCOMPARE(shown.count(), 1);
    QCOMPARE(shown.first().first().toString(), QStringLiteral("Office Headset 20"));
}

void TestFlatpak::ringingCallLightsTheLampsAndComesBackAfterAReplug()
{
    QVERIFY(bind(HeadsetSink));
    QSignalSpy states(&manager(), &HidDeviceManager::deviceStateEntered);
    QSignalSpy shown(&manager(), &HidDeviceManager::deviceShow);
    QSignalSpy hidden(&manager(), &HidDeviceManager::deviceHide);
    m_system.server().clearWritten(Headset);
    manager().onCallIncome();
    QTRY_COMPARE(states.count(), 1);
    QCOMPARE(states.first().first().toString(), QStringLiteral("Incoming call"));
    QCOMPARE(writtenHex(m_system, Headset), QStringList{RingLamps});

    m_system.unplug(Headset);
    QTRY_COMPARE(hidden.count(), 1);
    m_system.replug(Headset);
    // Seen through the host's /dev, which the sandbox shares: bound again, and ringing again.
    QTRY_COMPARE_WITH_TIMEOUT(shown.count(), 1, 5000 * timingScale());
    QTRY_COMPARE(states.count(), 3);
    QCOMPARE(states.at(1).first().toString(), QStringLiteral("Initial"));
    QCOMPARE(states.at(2).first().toString(), QStringLiteral("Incoming call"));
    QVERIFY(writtenHex(m_system, Headset).endsWith(RingLamps));
}

void TestFlatpak::desktopMuteIsToldFromTheKernelsCapabilities()
{
    // No udev database to hold a remap: the kernel's own capabilities say that the input
    // device still sends the microphone mute key (a remap, once applied, takes it away).
    CapturingLogger logger;
    QVERIFY(bind(VolumeKeysSource));
    QCOMPARE(manager().GetDesktopMute(), hid::DesktopMute::Acts);
    bool warned = false;
    for (const CapturedLine &line : logger.lines())
        warned =
            warned || (line.level == 4 && line.text.contains(QLatin1String("gives its mute button to the desktop")));
    QVERIFY(warned);
}

void TestFlatpak::probeWatchSaysTheDesktopMutesToo()
{
    QProcess watch;
    watch.start(QStringLiteral(PROBE), {QStringLiteral("watch"), VolumeKeysSource});
    QVERIFY(watch.waitForStarted());
    QByteArray printed;
    QTRY_VERIFY_WITH_TIMEOUT((printed += watch.readAllStandardOutput()).contains("device shown"),
                             10000 * timingScale());
    watch.write("quit\n");
    QVERIFY(watch.waitForFinished(10000 * timingScale()));
    const QString output = QString::fromUtf8(printed + watch.readAllStandardOutput());
    QVERIFY2(output.contains(QRegularExpression(QStringLiteral(
                 "mute button +the desktop mutes the system microphone too, on every press: 'qvhid-probe list' tells "
                 "how to stop it"))),
             qPrintable(output));
}

void TestFlatpak::nodeTheHostGaveNoAccessToNamesTheHostsRules()
{
    m_system.server().setDenied(Headset, true);
    CapturingLogger logger;
    QSignalSpy hidden(&manager(), &HidDeviceManager::deviceHide);
    manager().onActiveAudioDeviceChanged(HeadsetSink);
    QTRY_COMPARE(hidden.count(), 2); // the rebind's, and the reader's that could not open it
    const QString expected = QStringLiteral(
        "HID DEVICE Cannot open Office Headset 20 at /dev/hidraw0: permission denied: the user at the seat may open "
        "a telephony headset once this library's udev rules are installed on the system (its runtime package; for "
        "a Flatpak, on the host) and the headset is plugged in again");
    bool found = false;
    for (const CapturedLine &line : logger.lines()) {
        if (line.text == expected) {
            found = true;
            QCOMPARE(line.level, 3);
            QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
        }
    }
    QVERIFY2(found, qPrintable(logger.texts().join(QLatin1Char('\n'))));
    QVERIFY(logger.texts().contains(QStringLiteral("HID READER Failed to open device /dev/hidraw0")));

    // The probe says so too, and where the rules belong.
    const ProbeRun run = runProbe({QStringLiteral("list")});
    QVERIFY2(run.out.contains(QStringLiteral("access: denied; the library's udev rules for telephony headsets are "
                                             "not installed.")),
             qPrintable(run.out));
    QVERIFY2(run.out.contains(QStringLiteral("in a Flatpak cannot bring them: they must be installed on the host")),
             qPrintable(run.out));
}

int main(int argc, char *argv[])
{
    unavailable() = emulation::EmulatedSystem::enterNamespace();
    QCoreApplication application(argc, argv);
    TestFlatpak test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_flatpak.moc"
