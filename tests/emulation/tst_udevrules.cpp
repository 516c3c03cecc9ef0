// SPDX-License-Identifier: BSD-3-Clause
// The installed udev rules through systemd's own rule engine (udevadm test), on emulated HID
// devices with the input devices and LEDs the kernel makes of them: the seat's user gets access
// to a telephony headset's call-control interface of any maker, and to nothing else; the
// microphone mute key is taken from a telephony device's Phone Mute button alone; the kernel
// triggers no telephony headset's LED. udevadm test records what the rules gave each device in
// udev's database, as udev does: the probe then tells what the desktop gets.

#include "emulatedsystem.h"
#include "proberun.h"
#include "realheadsets.h"
#include "virtualheadsets.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/mount.h>

#include <fstream>
#include <set>

namespace {

std::string &unavailable()
{
    static std::string why;
    return why;
}

hid::virt::DeviceDescription withDescriptorFile(hid::virt::DeviceDescription description, const QString &file)
{
    description.descriptor = descriptorOfTestData(file);
    description.buttons.clear();
    return description;
}

const QString RulesDirectory = QStringLiteral("/etc/udev/rules.d");

// What the desk's devices are, by hidraw number.
enum Device {
    // Anker PowerConf: Consumer Control, a Telephony Headset with a keypad and LEDs; it declares
    // its telephony buttons constant, so the kernel maps its keypad but not its Phone Mute.
    Speakerphone = 0,
    ConsumerInterface = 1, // a headset whose consumer control and telephony collection are two interfaces
    TelephonyInterface = 2,
    VendorPageModel = 3, // listed in the dictionary; call control on a vendor page
    Keyboard = 4,
    Mouse = 5,
    GamePad = 6,
    BrokenDescriptor = 7,
    Dongle = 8,              // Jabra Link 380c: Telephony Headset (Phone Mute constant too), vendor, Consumer Control
    TelephonyOnly = 9,       // Blackwire 3220's telephony collection alone: the kernel makes no input device
    HeadsetWithoutMute = 10, // a Razer microphone: Consumer Control and a telephony hook switch, no Phone Mute
    MicMuteKeyboard = 11,    // a keyboard with its own microphone mute key
    ConsumerOnly = 12,       // Logitech H540: Consumer Control alone
    SecondSpeakerphone = 13, // Dell SP325: Consumer Control, Telephony Headset with Phone Mute and LEDs
    VolumeKeysHeadset = 14,  // the virtual telephony headset with its volume keys on the same interface
    DeskPhone = 15,          // a Telephony Phone collection
    Handset = 16,            // a Telephony Handset collection
    PhoneAdapter = 17,       // a Telephony Phone collection of arrays
    ChipHeadset = 18,        // Hook Switch and Phone Mute inside Consumer Control, its sound card beside it
};

// The devices whose Phone Mute the kernel sends as the microphone mute key, from a telephony
// collection: the rules take the key away on exactly one event node of each.
const std::set<int> PhoneMuteKeyDevices{SecondSpeakerphone, VolumeKeysHeadset, ChipHeadset};
// The telephony headsets whose input devices have LEDs.
const std::set<int> TelephonyLedDevices{Speakerphone, Dongle, SecondSpeakerphone, VolumeKeysHeadset};
// Telephony devices whose mute button stays the call's before any rule: the kernel makes no
// input device of their interface, or maps no Phone Mute of theirs.
const std::set<int> CallOnlyMuteDevices{Speakerphone, TelephonyInterface, Dongle, TelephonyOnly, HeadsetWithoutMute};

QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QStringLiteral("<none>");
}

} // namespace

class TestUdevRules : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void probeSaysTheDesktopActsBeforeTheRules();
    void seatUserGetsExactlyTheHeadsets_data();
    void seatUserGetsExactlyTheHeadsets();
    void micMuteKeyIsTakenFromTelephonyPhoneMuteAlone_data();
    void micMuteKeyIsTakenFromTelephonyPhoneMuteAlone();
    void noTriggerOnATelephonyHeadsetsLeds_data();
    void noTriggerOnATelephonyHeadsetsLeds();
    void probeSaysTheDesktopIgnoresTheButtonAfterTheRules();

private:
    // What udevadm test prints for the device at `syspath` being added.
    QString udevTest(const QString &syspath);
    void addDeviceRows();

    emulation::EmulatedSystem m_system;
    QTemporaryDir m_rules;
    bool m_mounted = false;
};

void TestUdevRules::initTestCase()
{
    std::string why = unavailable().empty() ? m_system.start() : unavailable();
    if (why.empty() && QStandardPaths::findExecutable(QStringLiteral("udevadm")).isEmpty())
        why = "no udevadm (Debian's udev package)";
    if (why.empty() && !QDir(RulesDirectory).exists())
        why = RulesDirectory.toStdString() + " does not exist";
    if (why.empty()) {
        // The project's rules alone in /etc/udev/rules.d, seen by this namespace only; the
        // system's packaged rules stay, as on a desk.
        QVERIFY(m_rules.isValid());
        const QDir built(QStringLiteral(RULES_DIRECTORY));
        const QStringList files = built.entryList({QStringLiteral("*.rules")}, QDir::Files);
        QCOMPARE(files.size(), 2);
        for (const QString &file : files)
            QVERIFY(QFile::copy(built.filePath(file), m_rules.filePath(file)));
        if (mount(QFile::encodeName(m_rules.path()).constData(), QFile::encodeName(RulesDirectory).constData(), nullptr,
                  MS_BIND, nullptr)
            != 0)
            why = "cannot bind a directory over " + RulesDirectory.toStdString();
        m_mounted = why.empty();
    }
    if (!why.empty()) {
        const QString message = QStringLiteral("udev rules test unavailable: %1").arg(QString::fromStdString(why));
        if (qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))
            QFAIL(qPrintable(message));
        QSKIP(qPrintable(message));
    }

    m_system.plug(Speakerphone, realHeadset(QStringLiteral("powerconf")).description);
    const hid::virt::Model &consumerFirst = *hid::virt::findModel("consumer-first-headset");
    m_system.plug(
        {consumerFirst.interfaces.at(0),
         {{ConsumerInterface, consumerFirst.interfaces.at(0)}, {TelephonyInterface, consumerFirst.interfaces.at(1)}},
         {}});
    m_system.plug(VendorPageModel, modelDescription("vendor-page-headset"));
    // Input devices that are not headsets, under a headset maker's ids.
    const hid::virt::DeviceDescription maker = modelDescription("telephony-headset");
    m_system.plug(Keyboard, withDescriptorFile(maker, QStringLiteral("standard_boot_keyboard.hex")));
    m_system.plug(Mouse, withDescriptorFile(maker, QStringLiteral("standard_boot_mouse.hex")));
    m_system.plug(GamePad, withDescriptorFile(maker, QStringLiteral("standard_gamepad.hex")));
    hid::virt::DeviceDescription broken = maker;
    broken.descriptor = {0x05, 0x0B, 0x09, 0x05, 0xA1};
    m_system.plug(BrokenDescriptor, broken);
    m_system.plug(Dongle, realHeadset(QStringLiteral("link-380c")).description);
    m_system.plug(TelephonyOnly, realHeadset(QStringLiteral("blackwire-3220")).description);
    m_system.plug(HeadsetWithoutMute, realHeadset(QStringLiteral("razer-microphone")).description);
    hid::virt::DeviceDescription keyboard = withDescriptorFile(maker, QStringLiteral("keyboard_with_mic_mute.hex"));
    keyboard.vendorId = 0x1209;
    keyboard.productId = 0x4B44;
    keyboard.product = L"Desk Keyboard";
    m_system.plug(MicMuteKeyboard, keyboard);
    m_system.plug(ConsumerOnly, realHeadset(QStringLiteral("h540")).description);
    m_system.plug(SecondSpeakerphone, realHeadset(QStringLiteral("sp325")).description);
    m_system.plug(VolumeKeysHeadset, modelDescription("volume-keys-headset"));
    m_system.plug(DeskPhone, modelDescription("desk-phone"));
    m_system.plug(Handset, modelDescription("handset"));
    m_system.plug(PhoneAdapter, modelDescription("phone-adapter"));
    const hid::virt::Model &chip = *hid::virt::findModel("consumer-telephony-headset");
    m_system.plug({chip.interfaces.front(), {{ChipHeadset, chip.interfaces.front()}}, chip.soundCards});

    // The emulated kernel made input devices where the kernel makes them.
    QCOMPARE(m_system.sysfs().eventNumbers(VolumeKeysHeadset).size(), std::size_t(2));
    QCOMPARE(m_system.sysfs().eventNumbers(Speakerphone).size(), std::size_t(2));
    QVERIFY(m_system.sysfs().eventNumbers(TelephonyOnly).empty());
    QVERIFY(m_system.sysfs().eventNumbers(TelephonyInterface).empty());
    QCOMPARE(m_system.sysfs().leds(VolumeKeysHeadset).size(), std::size_t(1));
}

void TestUdevRules::cleanupTestCase()
{
    if (m_mounted)
        umount2(QFile::encodeName(RulesDirectory).constData(), MNT_DETACH);
}

QString TestUdevRules::udevTest(const QString &syspath)
{
    QProcess process;
    process.start(QStringLiteral("udevadm"), {QStringLiteral("test"), QStringLiteral("--action=add"), syspath});
    if (!process.waitForFinished(60000))
        return QStringLiteral("udevadm test did not finish");
    return QString::fromUtf8(process.readAllStandardOutput()) + QString::fromUtf8(process.readAllStandardError());
}

void TestUdevRules::addDeviceRows()
{
    QTest::addColumn<int>("number");
    QTest::newRow("speakerphone") << int(Speakerphone);
    QTest::newRow("a headset's consumer control interface") << int(ConsumerInterface);
    QTest::newRow("the same headset's telephony interface") << int(TelephonyInterface);
    QTest::newRow("listed vendor-page model") << int(VendorPageModel);
    QTest::newRow("keyboard") << int(Keyboard);
    QTest::newRow("mouse") << int(Mouse);
    QTest::newRow("game pad") << int(GamePad);
    QTest::newRow("broken descriptor") << int(BrokenDescriptor);
    QTest::newRow("dongle with consumer control") << int(Dongle);
    QTest::newRow("headset without consumer control") << int(TelephonyOnly);
    QTest::newRow("headset without Phone Mute") << int(HeadsetWithoutMute);
    QTest::newRow("keyboard with its own mic-mute key") << int(MicMuteKeyboard);
    QTest::newRow("consumer-only headset") << int(ConsumerOnly);
    QTest::newRow("second speakerphone") << int(SecondSpeakerphone);
    QTest::newRow("headset with its volume keys") << int(VolumeKeysHeadset);
    QTest::newRow("desk phone") << int(DeskPhone);
    QTest::newRow("handset") << int(Handset);
    QTest::newRow("phone adapter") << int(PhoneAdapter);
    QTest::newRow("headset on a USB audio chip") << int(ChipHeadset);
}

void TestUdevRules::probeSaysTheDesktopActsBeforeTheRules()
{
    const ProbeRun run = runProbe({QStringLiteral("list")});
    QVERIFY2(run.exitCode >= 0, qPrintable(run.err));
    // Each telephony device whose mute button reaches the desktop is named, with the fix.
    for (const int number : PhoneMuteKeyDevices) {
        const int at = run.out.indexOf(QStringLiteral("path: /dev/hidraw%1\n").arg(number));
        QVERIFY2(at >= 0, qPrintable(run.out));
        const QString section = run.out.mid(at, run.out.indexOf(QStringLiteral("\n\n"), at) - at);
        QVERIFY2(section.contains(QStringLiteral("mute button: the desktop mutes the system microphone too")),
                 qPrintable(section));
        QVERIFY2(section.contains(QStringLiteral("udevadm trigger --subsystem-match=input")), qPrintable(section));
    }
    for (const int number : CallOnlyMuteDevices) {
        const int at = run.out.indexOf(QStringLiteral("path: /dev/hidraw%1\n").arg(number));
        QVERIFY2(at >= 0, qPrintable(run.out));
        const QString section = run.out.mid(at, run.out.indexOf(QStringLiteral("\n\n"), at) - at);
        QVERIFY2(section.contains(QStringLiteral("mute button: the call's alone")), qPrintable(section));
    }
}

void TestUdevRules::seatUserGetsExactlyTheHeadsets_data()
{
    addDeviceRows();
}

void TestUdevRules::seatUserGetsExactlyTheHeadsets()
{
    QFETCH(int, number);
    static const std::set<int> headsets{
        Speakerphone,       TelephonyInterface, VendorPageModel, Dongle,  TelephonyOnly, HeadsetWithoutMute,
        SecondSpeakerphone, VolumeKeysHeadset,  DeskPhone,       Handset, PhoneAdapter,  ChipHeadset};
    const bool seatAccess = headsets.count(number) != 0;
    const QString output = udevTest(QStringLiteral("/sys/class/hidraw/hidraw%1").arg(number));
    // The rule engine read our rules files from /etc/udev/rules.d and ran on this very node.
    QVERIFY2(output.contains(QStringLiteral("Reading rules file: ") + RulesDirectory), qPrintable(output));
    QVERIFY2(output.contains(QStringLiteral("DEVNAME=/dev/hidraw%1").arg(number)), qPrintable(output));
    const QStringList lines = output.split(QLatin1Char('\n'));
    QCOMPARE(lines.contains(QStringLiteral("ID_QVHID_TELEPHONY=1")), seatAccess);
    bool tagged = false;
    for (const QString &line : lines) {
        if (line.startsWith(QLatin1String("TAGS=")) && line.contains(QLatin1String(":uaccess:")))
            tagged = true;
    }
    QVERIFY2(tagged == seatAccess, qPrintable(output));
    // systemd's 73-seat-late.rules, read after ours, turns the tag into the seat user's ACL.
    QCOMPARE(lines.contains(QStringLiteral("run: 'uaccess'")), seatAccess);
}

void TestUdevRules::micMuteKeyIsTakenFromTelephonyPhoneMuteAlone_data()
{
    addDeviceRows();
}

void TestUdevRules::micMuteKeyIsTakenFromTelephonyPhoneMuteAlone()
{
    QFETCH(int, number);
    int remapped = 0;
    for (const int event : m_system.sysfs().eventNumbers(number)) {
        const QString syspath = QStringLiteral("/sys/class/input/event%1").arg(event);
        const QString output = udevTest(syspath);
        QVERIFY2(output.contains(QStringLiteral("DEVNAME=/dev/input/event%1").arg(event)), qPrintable(output));
        const QStringList lines = output.split(QLatin1Char('\n'));
        const bool remap = lines.contains(QStringLiteral("KEYBOARD_KEY_b002f=reserved"));
        remapped += remap ? 1 : 0;
        if (!remap)
            continue;
        // Our rule set it and ran systemd's keyboard builtin on the node, and only on the input
        // device of the telephony collection: the one named after the device alone, without
        // the "Consumer Control" of the volume keys' own.
        QVERIFY2(lines.contains(QStringLiteral("ID_QVHID_PHONE_MUTE_KEY=1")), qPrintable(output));
        QVERIFY2(output.contains(QRegularExpression(
                     QStringLiteral("71-qvhid-phone-mute[-a-z0-9]*\\.rules:\\d+ Importing properties from results "
                                    "of builtin command 'keyboard'"))),
                 qPrintable(output));
        // (A headset on a USB audio chip has its Phone Mute in its Consumer Control: there it is.)
        const QString name = readText(syspath + QStringLiteral("/device/name"));
        QVERIFY2(number == ChipHeadset || !name.endsWith(QLatin1String("Consumer Control")), qPrintable(name));
    }
    QCOMPARE(remapped, PhoneMuteKeyDevices.count(number) ? 1 : 0);
}

void TestUdevRules::noTriggerOnATelephonyHeadsetsLeds_data()
{
    addDeviceRows();
}

void TestUdevRules::noTriggerOnATelephonyHeadsetsLeds()
{
    QFETCH(int, number);
    const bool telephony = TelephonyLedDevices.count(number) != 0;
    for (const std::string &led : m_system.sysfs().leds(number)) {
        const QString name = QString::fromStdString(led);
        const QString trigger = QString::fromStdString(m_system.sysfs().ledAttribute(led, "trigger").string());
        QCOMPARE(readText(trigger), QString());
        const QString output = udevTest(QStringLiteral("/sys/class/leds/") + name);
        QVERIFY2(output.contains(QStringLiteral("DEVPATH=")), qPrintable(output));
        QCOMPARE(output.split(QLatin1Char('\n')).contains(QStringLiteral("ID_QVHID_TELEPHONY_LED=1")), telephony);
        // udev writes the attribute as it would to sysfs; the emulated attribute keeps it.
        QCOMPARE(readText(trigger), telephony ? QStringLiteral("none") : QString());
    }
    if (telephony)
        QVERIFY(!m_system.sysfs().leds(number).empty());
}

void TestUdevRules::probeSaysTheDesktopIgnoresTheButtonAfterTheRules()
{
    // udevadm test wrote each event node's properties into udev's database, as udev does.
    for (const int number : PhoneMuteKeyDevices) {
        for (const int event : m_system.sysfs().eventNumbers(number))
            udevTest(QStringLiteral("/sys/class/input/event%1").arg(event));
    }
    const ProbeRun run = runProbe({QStringLiteral("list")});
    QVERIFY2(run.exitCode >= 0, qPrintable(run.err));
    QVERIFY2(!run.out.contains(QStringLiteral("the desktop mutes the system microphone too")), qPrintable(run.out));
    for (const int number : PhoneMuteKeyDevices) {
        const int at = run.out.indexOf(QStringLiteral("path: /dev/hidraw%1\n").arg(number));
        QVERIFY2(at >= 0, qPrintable(run.out));
        const QString section = run.out.mid(at, run.out.indexOf(QStringLiteral("\n\n"), at) - at);
        QVERIFY2(section.contains(QStringLiteral("mute button: the call's alone")), qPrintable(section));
    }
}

int main(int argc, char *argv[])
{
    unavailable() = emulation::EmulatedSystem::enterNamespace();
    QCoreApplication application(argc, argv);
    TestUdevRules test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_udevrules.moc"
