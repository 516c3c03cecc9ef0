// SPDX-License-Identifier: BSD-3-Clause
// Binding by the names Linux sound layers give, end to end on the system's own hidapi and
// libudev: the desk's USB devices (see desk.h) are plugged into the emulated kernel with their
// sound cards in /sys/class/sound and udev's database in /run/udev/data, and the application
// names its audio device as ALSA, PulseAudio, PipeWire or a browser name it.

#include "applicationmanager.h"
#include "bindingevents.h"
#include "desk.h"
#include "emulatedsystem.h"
#include "proberun.h"
#include "timingscale.h"

#include <hiddevice.h>
#include <hiddevicemanager.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <map>

using qv::hid::HidDeviceManager;

namespace {

std::string &unavailable()
{
    static std::string why;
    return why;
}

// A running binding holds two files of its hidraw node: hidapi's, and the reader's own, on
// which it waits for input.
constexpr int FilesPerBinding = 2;

const QString SinkA = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo");
const QString SourceB = QStringLiteral("alsa_input.usb-Virtual_Audio_Office_Headset_20_D4E5F6-00.mono-fallback");
const QString SinkWithoutSerial = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_30-00.analog-stereo");

} // namespace

class TestAudioDeviceBinding : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void eachOfTwoIdenticalHeadsetsByItsOwnNames_data();
    void eachOfTwoIdenticalHeadsetsByItsOwnNames();
    void telephonyInterfaceBesideConsumerControl();
    void dockNamesBindNothing_data();
    void dockNamesBindNothing();
    void soundServerNameWithAndWithoutUdevData();
    void unlistedHeadsetIsBoundThroughTheFallback();
    void probeMatchesEveryNameForm();
    void probeListsTheSoundCardsOfEachInterface();

private:
    // The hidraw number of a desk device's HID interface.
    int numberOf(const std::string &device, std::size_t interface = 0) const
    {
        return m_numbers.at(device).at(interface);
    }
    QString pathOf(const std::string &device, std::size_t interface = 0) const
    {
        return QStringLiteral("/dev/hidraw%1").arg(numberOf(device, interface));
    }
    int openFilesOnTheDesk();
    bool press(const std::string &device, const char *button);

    emulation::EmulatedSystem m_system;
    std::map<std::string, DeskDevice> m_devices;
    std::map<std::string, std::vector<int>> m_numbers;
    std::map<std::string, std::vector<int>> m_cards;
};

void TestAudioDeviceBinding::initTestCase()
{
    std::string why = unavailable().empty() ? m_system.start() : unavailable();
    if (!why.empty()) {
        const QString message = QStringLiteral("kernel emulation unavailable: %1").arg(QString::fromStdString(why));
        if (qEnvironmentVariableIsSet("QVHID_REQUIRE_KERNEL_EMULATION"))
            QFAIL(qPrintable(message));
        QSKIP(qPrintable(message));
    }
    QCOMPARE(m_system.plugBuiltInSoundCard(BuiltInCardId), 0);
    int number = 0;
    for (const DeskDevice &device : deskDevices()) {
        emulation::EmulatedSystem::UsbDevice usb{device.identity, {}, device.soundCards};
        for (const hid::virt::DeviceDescription &interface : device.interfaces) {
            m_numbers[device.name].push_back(number);
            usb.hidInterfaces[number++] = interface;
        }
        m_cards[device.name] = m_system.plug(usb);
        m_devices[device.name] = device;
    }
    // And a headset of the plain kind, a USB device with one HID interface and no sound card.
    m_numbers["no-sound-card"] = {number};
    m_system.plug(number, modelDescription("echoing-headset"));
    QCOMPARE(m_cards.at("headset-a"), std::vector<int>{1});
    QCOMPARE(m_cards.at("headset-b"), std::vector<int>{2});
    QCOMPARE(m_cards.at("dock"), std::vector<int>{4});
    QCOMPARE(m_cards.at("stringless"), std::vector<int>{7});
}

void TestAudioDeviceBinding::cleanup()
{
    manager().onActiveAudioDeviceChanged(QString());
    QTRY_COMPARE(openFilesOnTheDesk(), 0);
}

int TestAudioDeviceBinding::openFilesOnTheDesk()
{
    int open = 0;
    for (const auto &device : m_numbers) {
        for (const int number : device.second)
            open += m_system.server().openFiles(number);
    }
    return open;
}

// Presses as the headset's user does: once the bound reader listens for input (the lamps of
// the state just entered written, the headset's answers read back). False if none listens.
bool TestAudioDeviceBinding::press(const std::string &device, const char *button)
{
    const unsigned long before = m_system.server().inputWaits(numberOf(device));
    if (!QTest::qWaitFor([&] { return m_system.server().inputWaits(numberOf(device)) != before; },
                         5000 * timingScale()))
        return false;
    for (const hid::virt::Button &candidate : m_devices.at(device).interfaces.front().buttons) {
        if (candidate.name == button)
            m_system.server().inject(numberOf(device), candidate.press);
    }
    return true;
}

void TestAudioDeviceBinding::eachOfTwoIdenticalHeadsetsByItsOwnNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("other");
    QTest::newRow("first by its sink") << SinkA << "headset-a"
                                       << "headset-b";
    QTest::newRow("first by hw") << "hw:1"
                                 << "headset-a"
                                 << "headset-b";
    QTest::newRow("second by its source") << SourceB << "headset-b"
                                          << "headset-a";
    QTest::newRow("second by hw") << "hw:2"
                                  << "headset-b"
                                  << "headset-a";
    QTest::newRow("second by card id") << "sysdefault:CARD=Headset20_1"
                                       << "headset-b"
                                       << "headset-a";
}

void TestAudioDeviceBinding::eachOfTwoIdenticalHeadsetsByItsOwnNames()
{
    QFETCH(QString, name);
    QFETCH(QString, device);
    QFETCH(QString, other);
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(name);
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    QCOMPARE(m_system.server().openFiles(numberOf(device.toStdString())), FilesPerBinding);
    QCOMPARE(m_system.server().openFiles(numberOf(other.toStdString())), 0);
    QVERIFY(press(device.toStdString(), "answer"));
    QTRY_COMPARE(events.since(3), QStringList{"click"});
    QVERIFY(press(device.toStdString(), "hangup"));
    QTRY_COMPARE(events.since(3), (QStringList{"click", "click"}));
}

void TestAudioDeviceBinding::telephonyInterfaceBesideConsumerControl()
{
    BindingEvents events;
    events.watch(&manager());
    m_system.server().clearWritten(numberOf("consumer-first", 1));
    manager().onActiveAudioDeviceChanged(QStringLiteral("front:CARD=Headset40,DEV=0"));
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 40", "state:Initial"}));
    QCOMPARE(m_system.server().openFiles(numberOf("consumer-first", 0)), 0);
    QCOMPARE(m_system.server().openFiles(numberOf("consumer-first", 1)), FilesPerBinding);
    manager().onCallIncome();
    QTRY_COMPARE(events.since(3), QStringList{"state:Incoming call"});
    // The init command's report, then the ring's: Ring and On-Line on report 2.
    QTRY_VERIFY(m_system.server().written(numberOf("consumer-first", 1)).size() >= 2);
    QCOMPARE(m_system.server().written(numberOf("consumer-first", 1)).back(), (hid::virt::Bytes{0x02, 0x22}));
}

void TestAudioDeviceBinding::dockNamesBindNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("sink") << "alsa_output.usb-Virtual_Docks_Desk_Dock_5_DK-0005-00.analog-stereo";
    QTest::newRow("description") << "Desk Dock 5 Analog Stereo";
    QTest::newRow("hw") << "hw:4";
    QTest::newRow("card id") << "sysdefault:CARD=Dock";
    QTest::newRow("built-in audio") << "hw:0";
    QTest::newRow("Bluetooth") << "bluez_output.00_1B_66_AA_BB_CC.1";
}

void TestAudioDeviceBinding::dockNamesBindNothing()
{
    QFETCH(QString, name);
    BindingEvents events;
    events.watch(&manager());
    // Binding decides at once: a headset found would be shown before this returns.
    manager().onActiveAudioDeviceChanged(name);
    QCOMPARE(events.entries(), QStringList{"hide"});
    QCOMPARE(openFilesOnTheDesk(), 0);
}

void TestAudioDeviceBinding::soundServerNameWithAndWithoutUdevData()
{
    hid::HidDevice withUdev(nullptr);
    QVERIFY(withUdev.chooseAudioDevice(SinkWithoutSerial));
    QCOMPARE(withUdev.getInfo().path, pathOf("no-serial"));
    QCOMPARE(
        withUdev.getChoice().rule,
        QStringLiteral(
            "sound card 6 (Headset30) by sound-server name of udev ID_ID \"usb-Virtual_Audio_Office_Headset_30-00\", "
            "interface 3, the configuration's call-control collection"));

    m_system.removeUdevData(m_cards.at("no-serial").front());
    hid::HidDevice withoutUdev(nullptr);
    QVERIFY(withoutUdev.chooseAudioDevice(SinkWithoutSerial));
    QCOMPARE(withoutUdev.getInfo().path, pathOf("no-serial"));
    QVERIFY2(withoutUdev.getChoice().rule.contains(
                 QLatin1String("\"usb-Virtual_Audio_Office_Headset_30-00\" (made from sysfs)")),
             qPrintable(withoutUdev.getChoice().rule));

    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(SinkWithoutSerial);
    QTRY_COMPARE(events.entries(), (QStringList{"hide", "show:Office Headset 30", "state:Initial"}));
    QCOMPARE(m_system.server().openFiles(numberOf("no-serial")), FilesPerBinding);
}

void TestAudioDeviceBinding::unlistedHeadsetIsBoundThroughTheFallback()
{
    const QString sink = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_50_UH-0050-00.analog-stereo");
    BindingEvents events;
    events.watch(&manager());
    manager().onActiveAudioDeviceChanged(sink);
    QCOMPARE(events.entries(), QStringList{"hide"});

    manager().InitHidDevices(StandardFallback);
    const unsigned long opensBefore = m_system.server().opens(numberOf("unlisted"));
    m_system.server().clearWritten(numberOf("unlisted"));
    manager().onActiveAudioDeviceChanged(sink);
    QTRY_COMPARE(events.since(1), (QStringList{"hide", "show:Office Headset 50", "state:Initial"}));
    // The descriptor was read from sysfs; the only opens are the reader's.
    QCOMPARE(m_system.server().opens(numberOf("unlisted")), opensBefore + FilesPerBinding);

    manager().onCallIncome();
    QTRY_COMPARE(events.since(4), QStringList{"state:Incoming call"});
    QVERIFY(press("unlisted", "answer"));
    QTRY_COMPARE(events.since(5), QStringList{"click"});
    manager().onCallUnmuted();
    QTRY_COMPARE(events.since(6), QStringList{"state:Talk"});
    QVERIFY(press("unlisted", "hangup"));
    QTRY_COMPARE(events.since(7), QStringList{"click"});
    manager().onCallEnd();
    QTRY_COMPARE(events.since(8), QStringList{"state:Initial"});
    // Lamps off; Ring and On-Line; Off-Hook and On-Line; all off.
    QTRY_COMPARE(m_system.server().written(numberOf("unlisted")),
                 (std::vector<hid::virt::Bytes>{{0x02, 0x00}, {0x02, 0x22}, {0x02, 0x21}, {0x02, 0x00}}));
    hid::HidDeviceDict::init();
}

void TestAudioDeviceBinding::probeMatchesEveryNameForm()
{
    const QString a = pathOf("headset-a");
    const QString b = pathOf("headset-b");
    const QString dongle = pathOf("dongle");
    // Each name of the forms Linux programs give, and what it must bind (empty: nothing).
    const QList<QPair<QString, QString>> names = {
        {SinkA, a},
        {QStringLiteral("alsa_input.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.mono-fallback"), a},
        {QStringLiteral("alsa_card.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00"), a},
        {SourceB, b},
        {QStringLiteral("Office Headset 20 Analog Stereo"), a},
        {QStringLiteral("Office Headset 20 Mono"), a},
        {QStringLiteral("sysdefault:CARD=Headset20"), a},
        {QStringLiteral("front:CARD=Headset20_1,DEV=0"), b},
        {QStringLiteral("hw:2"), b},
        {QStringLiteral("plughw:2,0"), b},
        {QStringLiteral("hw:CARD=Headset20,DEV=0"), a},
        {QStringLiteral("Office Headset 20, USB Audio"), a},
        {QStringLiteral("Office Headset 20: USB Audio (hw:2,0)"), b},
        {QStringLiteral("Office Headset 20 (0b0e:030d)"), a},
        {QStringLiteral("bluez_output.00_1B_66_AA_BB_CC.1"), QString()},
        {QStringLiteral("alsa_output.usb-Virtual_Audio_Link_Adapter_360_VL-0360-00.analog-stereo"), dongle},
        {QStringLiteral("Link Adapter 360 Analog Stereo"), dongle},
        {QStringLiteral("alsa_output.usb-Virtual_Docks_Desk_Dock_5_DK-0005-00.analog-stereo"), QString()},
        {QStringLiteral("hw:4"), QString()},
        {QStringLiteral("Headset Microphone (2- Office Headset 20)"), a},
    };
    QStringList arguments = {QStringLiteral("match"), QStringLiteral("--json")};
    for (const auto &name : names)
        arguments << name.first;
    const ProbeRun run = runProbe(arguments);
    QCOMPARE(run.exitCode, 1);
    const QJsonArray choices = QJsonDocument::fromJson(run.out.toUtf8()).array();
    QCOMPARE(choices.size(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        const QJsonObject choice = choices.at(i).toObject();
        QCOMPARE(choice.value(QStringLiteral("audioDevice")).toString(), names[i].first);
        const QJsonValue path = choice.value(QStringLiteral("path"));
        if (names[i].second.isEmpty())
            QVERIFY2(path.isNull(), qPrintable(names[i].first));
        else
            QCOMPARE(path.toString(), names[i].second);
        QVERIFY(!choice.value(QStringLiteral("rule")).toString().isEmpty());
    }
    const QJsonObject first = choices.at(0).toObject();
    QCOMPARE(first.value(QStringLiteral("vendorId")).toInt(), 0x0B0E);
    QCOMPARE(first.value(QStringLiteral("productId")).toInt(), 0x030D);
    QCOMPARE(first.value(QStringLiteral("product")).toString(), QStringLiteral("Office Headset 20"));
    QCOMPARE(first.value(QStringLiteral("interfaceNumber")).toInt(), 3);
    QCOMPARE(first.value(QStringLiteral("usagePage")).toInt(), 0x0B);
    QCOMPARE(first.value(QStringLiteral("usage")).toInt(), 0x05);
    QCOMPARE(first.value(QStringLiteral("soundCard")).toInt(), 1);

    // Every name binds: exit 0. The text form says the same.
    const ProbeRun bound =
        runProbe({QStringLiteral("match"), QStringLiteral("hw:1"), QStringLiteral("Link Adapter 360")});
    QCOMPARE(bound.exitCode, 0);
    QVERIFY2(bound.out.contains(
                 QStringLiteral("\"hw:1\"\n    binds %1: 0x0B0E:0x030D \"Office Headset 20\", interface 3, usage page "
                                "0x000B, usage 0x0005\n    rule: sound card 1 (Headset20) by ALSA card index hw:1")
                     .arg(a)),
             qPrintable(bound.out));
    QCOMPARE(runProbe({QStringLiteral("match")}).exitCode, 2);

    // The headset no row lists binds through the fallback, and only with it.
    const QString sink = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_50_UH-0050-00.analog-stereo");
    const ProbeRun unlisted = runProbe({QStringLiteral("match"), sink});
    QCOMPARE(unlisted.exitCode, 1);
    QVERIFY2(unlisted.out.contains(QLatin1String("binds nothing: sound card 8 (Headset50) by sound-server name")),
             qPrintable(unlisted.out));
    const ProbeRun fallback =
        runProbe({QStringLiteral("match"), QStringLiteral("--fallback"), QStringLiteral("Standart"), sink});
    QCOMPARE(fallback.exitCode, 0);
    QVERIFY2(
        fallback.out.contains(
            QStringLiteral("    binds %1: 0x1209:0x0050 \"Office Headset 50\", interface 3").arg(pathOf("unlisted"))),
        qPrintable(fallback.out));
    QVERIFY(
        fallback.out.contains(QLatin1String("the call-control collection 0x000B/0x0005 of the fallback configuration "
                                            "\"Standart\" (its ids have no row of their own)\n")));
}

void TestAudioDeviceBinding::probeListsTheSoundCardsOfEachInterface()
{
    const ProbeRun run = runProbe({QStringLiteral("list")});
    // The block of each interface runs from its path line to the next blank line.
    const auto blockOf = [&run](const QString &path) {
        const int start = run.out.indexOf(QStringLiteral("path: ") + path + QLatin1Char('\n'));
        return start < 0 ? QString() : run.out.mid(start, run.out.indexOf(QStringLiteral("\n\n"), start) - start);
    };
    const QString second = blockOf(pathOf("headset-b"));
    QVERIFY2(second.contains(QLatin1String("sound card 2 (id Headset20_1, \"Office Headset 20\")\n"
                                           "        binds this interface: hw:2, sysdefault:CARD=Headset20_1, "
                                           "alsa_card.usb-Virtual_Audio_Office_Headset_20_D4E5F6-00")),
             qPrintable(run.out));
    const QString consumer = blockOf(pathOf("consumer-first", 0));
    QVERIFY2(
        consumer.contains(QStringLiteral("sound card 5 (id Headset40, \"Office Headset 40\")\n        binds %1 instead")
                              .arg(pathOf("consumer-first", 1))),
        qPrintable(consumer));
    QVERIFY2(blockOf(pathOf("no-sound-card")).contains(QLatin1String("    sound card: none on its USB device\n")),
             qPrintable(blockOf(pathOf("no-sound-card"))));
    const QString stringless = blockOf(pathOf("stringless"));
    QVERIFY2(stringless.contains(QLatin1String("sound card 7 (id Device, \"USB Device 0x047f:0xc038\")")),
             qPrintable(stringless));
}

int main(int argc, char *argv[])
{
    unavailable() = emulation::EmulatedSystem::enterNamespace();
    QCoreApplication application(argc, argv);
    TestAudioDeviceBinding test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "tst_audiodevicebinding.moc"
