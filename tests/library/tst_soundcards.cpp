// SPDX-License-Identifier: BSD-3-Clause
// From an audio-device name to a sound card, and from the card to the HID interface of the same
// USB device: the name forms Linux programs use, the cards read from a sysfs tree of the test's
// own (laid out as the kernel lays it out) and udev's database, and the binding over virtual
// headsets whose paths are the tree's hidraw nodes.

#include "capturinglogger.h"
#include "desk.h"
#include "sysfstree.h"

#include <bindingsystem.h>
#include <hiddevice.h>
#include <platform/audiodevicename.h>
#include <platform/soundcards.h>

#include <QtTest>

#include <fstream>

using hid::SoundCard;
using hid::SoundCardMatch;

namespace {

// The desk below a temporary directory: sysfs and udev's database in files, the HID interfaces
// as virtual headsets at the paths of the tree's hidraw nodes.
class FakeDesk
{
public:
    FakeDesk()
        : m_tree(sysfsRoot().toStdString(), udevData().toStdString())
    {
        m_tree.createSkeleton();
        m_tree.addBuiltInSoundCard(BuiltInCardId);
        int usbNumber = 1;
        int hidraw = 0;
        for (const DeskDevice &device : deskDevices()) {
            const std::string usbName = "2-" + std::to_string(usbNumber++);
            m_tree.addUsbDevice(usbName, device.identity);
            m_usbDevices[device.name] = usbName;
            for (hid::virt::DeviceDescription interface : device.interfaces) {
                m_tree.addHidInterface(usbName, hidraw, interface);
                interface.path = "/dev/hidraw" + std::to_string(hidraw++);
                m_headsets[device.name].push_back(hid::virt::VirtualDevice::add(interface));
            }
            for (const hid::virt::SoundCard &card : device.soundCards)
                m_tree.addSoundCard(usbName, device.identity, card);
        }
    }

    ~FakeDesk() { hid::virt::removeAllDevices(); }

    hid::SystemView view() const
    {
        hid::SystemView system;
        system.sysfsRoot = sysfsRoot();
        const QString database = udevData();
        system.udevProperty = [database](const QString &subsystem, const QString &card, const QString &key) {
            QFile file(database + QStringLiteral("/+%1:%2").arg(subsystem, card));
            if (!file.open(QIODevice::ReadOnly))
                return QString();
            const QString prefix = QStringLiteral("E:") + key + QLatin1Char('=');
            for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
                if (line.startsWith(prefix))
                    return line.mid(prefix.size());
            }
            return QString();
        };
        return system;
    }

    void removeUdevData(int card) const { QFile::remove(udevData() + QStringLiteral("/+sound:card%1").arg(card)); }

    QString usbDevice(const std::string &name) const
    {
        return QFileInfo(sysfsRoot() + QStringLiteral("/bus/usb/devices/")
                         + QString::fromStdString(m_usbDevices.at(name)))
            .canonicalFilePath();
    }
    QString path(const std::string &name, std::size_t interface = 0) const
    {
        return QString::fromStdString(m_headsets.at(name).at(interface).path());
    }
    hid::virt::VirtualDevice headset(const std::string &name, std::size_t interface = 0) const
    {
        return m_headsets.at(name).at(interface);
    }

private:
    QString sysfsRoot() const { return m_directory.path() + QStringLiteral("/sys"); }
    QString udevData() const { return m_directory.path() + QStringLiteral("/udev"); }

    QTemporaryDir m_directory;
    emulation::SysfsTree m_tree;
    std::map<std::string, std::string> m_usbDevices;
    std::map<std::string, std::vector<hid::virt::VirtualDevice>> m_headsets;
};

const char *const NoCard = "no card";
const char *const Bluetooth = "Bluetooth";

} // namespace

class TestSoundCards : public QObject
{
    Q_OBJECT

private slots:
    void listsEveryCardWithItsUsbDevice();
    void udevIdIsMadeFromSysfsWhenUdevHasNone();
    void derivesUdevIdsAsUdevDoes_data();
    void derivesUdevIdsAsUdevDoes();
    void findsTheUsbDeviceOfAHidrawNode();
    void resolvesEveryNameForm_data();
    void resolvesEveryNameForm();
    void soundServerNamesMatchTheLongestUdevId();

    void bindsTheInterfaceOfTheNamedCardOnly_data();
    void bindsTheInterfaceOfTheNamedCardOnly();
    void logsWhichRuleFoundTheCardAndTheInterface();
    void logsWhyNothingWasBound_data();
    void logsWhyNothingWasBound();
    void unlistedHeadsetOfTheCardIsBoundThroughTheFallback();
    void nameOfNoCardFallsBackToTheProductString();
};

void TestSoundCards::listsEveryCardWithItsUsbDevice()
{
    FakeDesk desk;
    const QVector<SoundCard> cards = hid::ListSoundCards(desk.view());
    QCOMPARE(cards.size(), 9);
    QStringList ids;
    for (int i = 0; i < cards.size(); ++i) {
        QCOMPARE(cards[i].number, i);
        ids << cards[i].id;
    }
    QCOMPARE(ids,
             (QStringList{"PCH", "Headset20", "Headset20_1", "Adapter360", "Dock", "Headset40", "Headset30", "Device",
                          "Headset50"}));

    QVERIFY(!cards[0].isUsb());
    QVERIFY(cards[0].udevId.isEmpty());

    const SoundCard &second = cards[2];
    QVERIFY(second.isUsb());
    QCOMPARE(second.usbDevice, desk.usbDevice("headset-b"));
    QVERIFY(second.usbInterface.endsWith(QLatin1String(":1.0")));
    QCOMPARE(second.vendorId, 0x0B0E);
    QCOMPARE(second.productId, 0x030D);
    QCOMPARE(second.manufacturer, QStringLiteral("Virtual Audio"));
    QCOMPARE(second.product, QStringLiteral("Office Headset 20"));
    QCOMPARE(second.serial, QStringLiteral("D4E5F6"));
    QCOMPARE(second.udevId, QStringLiteral("usb-Virtual_Audio_Office_Headset_20_D4E5F6-00"));
    QVERIFY(!second.udevIdDerived);
    QCOMPARE(second.displayName(), QStringLiteral("Office Headset 20"));

    const SoundCard &stringless = cards[7];
    QVERIFY(stringless.product.isEmpty());
    QCOMPARE(stringless.displayName(), QStringLiteral("USB Device 0x047f:0xc038"));
    QCOMPARE(stringless.udevId, QStringLiteral("usb-047f_c038-00"));
}

void TestSoundCards::udevIdIsMadeFromSysfsWhenUdevHasNone()
{
    FakeDesk desk;
    for (int card = 0; card < 9; ++card)
        desk.removeUdevData(card);
    const QVector<SoundCard> cards = hid::ListSoundCards(desk.view());
    QCOMPARE(cards.size(), 9);
    QVERIFY(cards[0].udevId.isEmpty());
    const QStringList expected = {"usb-Virtual_Audio_Office_Headset_20_A1B2C3-00",
                                  "usb-Virtual_Audio_Office_Headset_20_D4E5F6-00",
                                  "usb-Virtual_Audio_Link_Adapter_360_VL-0360-00",
                                  "usb-Virtual_Docks_Desk_Dock_5_DK-0005-00",
                                  "usb-Virtual_Audio_Office_Headset_40_VH-0040-00",
                                  "usb-Virtual_Audio_Office_Headset_30-00",
                                  "usb-047f_c038-00",
                                  "usb-Virtual_Audio_Office_Headset_50_UH-0050-00"};
    for (int i = 1; i < cards.size(); ++i) {
        QCOMPARE(cards[i].udevId, expected[i - 1]);
        QVERIFY(cards[i].udevIdDerived);
    }
    // Without a udev lookup at all, the same.
    hid::SystemView withoutUdev = desk.view();
    withoutUdev.udevProperty = nullptr;
    QCOMPARE(hid::ListSoundCards(withoutUdev).at(1).udevId, expected[0]);
}

void TestSoundCards::derivesUdevIdsAsUdevDoes_data()
{
    QTest::addColumn<QString>("manufacturer");
    QTest::addColumn<QString>("product");
    QTest::addColumn<QString>("serial");
    QTest::addColumn<QString>("interfaceNumber");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << "Virtual Audio"
                           << "Office Headset 20"
                           << "A1B2C3"
                           << "00"
                           << "usb-Virtual_Audio_Office_Headset_20_A1B2C3-00";
    QTest::newRow("white space runs and ends") << "  Virtual \t Audio "
                                               << "Office  Headset 20\n"
                                               << " A1 B2 "
                                               << "03"
                                               << "usb-Virtual_Audio_Office_Headset_20_A1_B2-03";
    QTest::newRow("characters outside the set") << "Acme/Co (R)"
                                                << "Talk*Pro!"
                                                << "X#1+2"
                                                << "00"
                                                << "usb-Acme_Co__R__Talk_Pro__X#1+2-00";
    QTest::newRow("allowed punctuation") << "A.B-C"
                                         << "m:n=o@p_q"
                                         << ""
                                         << "00"
                                         << "usb-A.B-C_m:n=o@p_q-00";
    QTest::newRow("no strings at all") << ""
                                       << ""
                                       << ""
                                       << "00"
                                       << "usb-0b0e_030d-00";
    QTest::newRow("white space only") << "   "
                                      << "Office Headset 20"
                                      << ""
                                      << "00"
                                      << "usb-0b0e_Office_Headset_20-00";
    QTest::newRow("serial with a comma is left out") << "Virtual Audio"
                                                     << "H20"
                                                     << "A1,B2"
                                                     << "00"
                                                     << "usb-Virtual_Audio_H20-00";
    QTest::newRow("serial beyond ASCII is left out") << "Virtual Audio"
                                                     << "H20" << QString::fromUtf8("\xc3\xa9t\xc3\xa9") << "00"
                                                     << "usb-Virtual_Audio_H20-00";
    QTest::newRow("letters beyond ASCII are kept") << QString::fromUtf8("M\xc3\xbcller") << "H20"
                                                   << ""
                                                   << "0a" << QString::fromUtf8("usb-M\xc3\xbcller_H20-0a");
}

void TestSoundCards::derivesUdevIdsAsUdevDoes()
{
    QFETCH(QString, manufacturer);
    QFETCH(QString, product);
    QFETCH(QString, serial);
    QFETCH(QString, interfaceNumber);
    QFETCH(QString, expected);
    QCOMPARE(hid::DeriveUdevUsbId(manufacturer, product, serial, 0x0B0E, 0x030D, interfaceNumber), expected);
}

void TestSoundCards::findsTheUsbDeviceOfAHidrawNode()
{
    FakeDesk desk;
    const hid::SystemView view = desk.view();
    QCOMPARE(hid::UsbDeviceOfHidPath(view, desk.path("headset-a")), desk.usbDevice("headset-a"));
    QCOMPARE(hid::UsbDeviceOfHidPath(view, desk.path("headset-b")), desk.usbDevice("headset-b"));
    QCOMPARE(hid::UsbDeviceOfHidPath(view, desk.path("consumer-first", 0)), desk.usbDevice("consumer-first"));
    QCOMPARE(hid::UsbDeviceOfHidPath(view, desk.path("consumer-first", 1)), desk.usbDevice("consumer-first"));
    for (const char *path :
         {"/dev/hidraw99", "virtual-hid/3", "/dev/hidraw", "/dev/hidraw1/../hidraw2", "/dev/hidraw-1", "/dev/sda", ""})
        QVERIFY2(hid::UsbDeviceOfHidPath(view, QString::fromLatin1(path)).isEmpty(), path);
}

void TestSoundCards::resolvesEveryNameForm_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected"); // a card id, NoCard or Bluetooth
    QTest::addColumn<QString>("rule");     // how the rule text begins
    const QString a = QStringLiteral("usb-Virtual_Audio_Office_Headset_20_A1B2C3-00");
    const QString b = QStringLiteral("usb-Virtual_Audio_Office_Headset_20_D4E5F6-00");
    QTest::newRow("sink") << "alsa_output." + a + ".analog-stereo"
                          << "Headset20"
                          << "sound-server name";
    QTest::newRow("source") << "alsa_input." + b + ".mono-fallback"
                            << "Headset20_1"
                            << "sound-server name";
    QTest::newRow("card") << "alsa_card." + b << "Headset20_1"
                          << "sound-server name";
    QTest::newRow("pro-audio sink") << "alsa_output." + a + ".pro-output-0"
                                    << "Headset20"
                                    << "sound-server name";
    QTest::newRow("sink without serial") << "alsa_output.usb-Virtual_Audio_Office_Headset_30-00.analog-stereo"
                                         << "Headset30"
                                         << "sound-server name";
    QTest::newRow("sink without strings") << "alsa_output.usb-047f_c038-00.analog-stereo"
                                          << "Device"
                                          << "sound-server name";
    QTest::newRow("sink of another system") << "alsa_output.usb-Other_Headset_99-00.analog-stereo" << NoCard << "";
    QTest::newRow("built-in sink") << "alsa_output.pci-0000_00_1f.3.analog-stereo" << NoCard << "";
    QTest::newRow("sysdefault") << "sysdefault:CARD=Headset20"
                                << "Headset20"
                                << "ALSA card id CARD=Headset20";
    QTest::newRow("front") << "front:CARD=Headset20_1,DEV=0"
                           << "Headset20_1"
                           << "ALSA card id CARD=Headset20_1";
    QTest::newRow("hw by id") << "hw:CARD=Dock,DEV=0"
                              << "Dock"
                              << "ALSA card id CARD=Dock";
    QTest::newRow("card id by index") << "dmix:CARD=2,DEV=0"
                                      << "Headset20_1"
                                      << "ALSA card index CARD=2";
    QTest::newRow("unknown card id") << "sysdefault:CARD=Nothing" << NoCard << "";
    QTest::newRow("card id inside a word") << "fooCARD=Headset20" << NoCard << "";
    QTest::newRow("card id after a word") << "fooCARD=x, CARD=Headset20"
                                          << "Headset20"
                                          << "ALSA card id CARD=Headset20";
    QTest::newRow("hw") << "hw:2"
                        << "Headset20_1"
                        << "ALSA card index hw:2";
    QTest::newRow("hw with device") << "hw:1,0"
                                    << "Headset20"
                                    << "ALSA card index hw:1,0";
    QTest::newRow("plughw") << "plughw:3"
                            << "Adapter360"
                            << "ALSA card index plughw:3";
    QTest::newRow("plughw with device") << "plughw:5,0"
                                        << "Headset40"
                                        << "ALSA card index plughw:5,0";
    QTest::newRow("built-in hw") << "hw:0"
                                 << "PCH"
                                 << "ALSA card index hw:0";
    QTest::newRow("hw of no card") << "hw:12" << NoCard << "";
    QTest::newRow("hw inside a word") << "xhw:1" << NoCard << "";
    QTest::newRow("hw without a number") << "hw:x" << NoCard << "";
    QTest::newRow("PortAudio") << "Office Headset 20: USB Audio (hw:2,0)"
                               << "Headset20_1"
                               << "ALSA card index hw:2,0";
    QTest::newRow("ALSA description") << "Office Headset 20, USB Audio"
                                      << "Headset20"
                                      << "description";
    QTest::newRow("description") << "Office Headset 20 Analog Stereo"
                                 << "Headset20"
                                 << "description";
    QTest::newRow("mono description") << "Office Headset 30 Mono"
                                      << "Headset30"
                                      << "description";
    QTest::newRow("translated suffix") << QString::fromUtf8("Office Headset 40 St\xc3\xa9r\xc3\xa9o analogique")
                                       << "Headset40"
                                       << "description";
    QTest::newRow("odd white space") << "  Office   Headset\t30   Analog Stereo "
                                     << "Headset30"
                                     << "description";
    QTest::newRow("product alone") << "Link Adapter 360"
                                   << "Adapter360"
                                   << "description";
    QTest::newRow("product followed by more of a word") << "Office Headset 300 Analog Stereo" << NoCard << "";
    QTest::newRow("dock") << "Desk Dock 5 Analog Stereo"
                          << "Dock"
                          << "description";
    QTest::newRow("device without strings") << "USB Device 0x047f:0xc038 Analog Stereo"
                                            << "Device"
                                            << "description";
    QTest::newRow("browser") << "Office Headset 20 (0b0e:030d)"
                             << "Headset20"
                             << "USB ids 0b0e:030d";
    QTest::newRow("browser, upper case") << "Speakerphone (047F:C038)"
                                         << "Device"
                                         << "USB ids 047f:c038";
    QTest::newRow("browser, unknown ids") << "Office Headset 99 (0b0e:9999)" << NoCard << "";
    QTest::newRow("Bluetooth sink") << "bluez_output.00_1B_66_AA_BB_CC.1" << Bluetooth << "Bluetooth";
    QTest::newRow("Bluetooth source") << "bluez_input.00:1B:66:AA:BB:CC" << Bluetooth << "Bluetooth";
    QTest::newRow("Bluetooth card") << "bluez_card.00_1B_66_AA_BB_CC" << Bluetooth << "Bluetooth";
    QTest::newRow("Windows endpoint") << "Headset Microphone (2- Office Headset 20)" << NoCard << "";
    QTest::newRow("empty") << "" << NoCard << "";
    QTest::newRow("blanks") << "   " << NoCard << "";
}

void TestSoundCards::resolvesEveryNameForm()
{
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QFETCH(QString, rule);
    FakeDesk desk;
    const QVector<SoundCard> cards = hid::ListSoundCards(desk.view());
    const SoundCardMatch match = hid::ResolveAudioDeviceName(name, cards);
    if (expected == QLatin1String(NoCard)) {
        QCOMPARE(match.kind, SoundCardMatch::NoCard);
        QCOMPARE(match.card, -1);
        return;
    }
    if (expected == QLatin1String(Bluetooth)) {
        QCOMPARE(match.kind, SoundCardMatch::Bluetooth);
        QVERIFY(match.rule.startsWith(rule));
        return;
    }
    QCOMPARE(match.kind, SoundCardMatch::Card);
    QCOMPARE(cards.at(match.card).id, expected);
    QVERIFY2(match.rule.startsWith(rule), qPrintable(match.rule));
}

void TestSoundCards::soundServerNamesMatchTheLongestUdevId()
{
    // One card's udev id is the beginning of the other's; PulseAudio writes '+' as '_'.
    SoundCard shorter;
    shorter.number = 0;
    shorter.udevId = QStringLiteral("usb-Virtual_Audio_H20-00");
    shorter.usbDevice = QStringLiteral("/sys/devices/a");
    SoundCard longer = shorter;
    longer.number = 1;
    longer.udevId = QStringLiteral("usb-Virtual_Audio_H20-00.1+x-00");
    longer.usbDevice = QStringLiteral("/sys/devices/b");
    const QVector<SoundCard> cards = {shorter, longer};
    QCOMPARE(
        hid::ResolveAudioDeviceName(QStringLiteral("alsa_output.usb-Virtual_Audio_H20-00.1_x-00.analog-stereo"), cards)
            .card,
        1);
    QCOMPARE(
        hid::ResolveAudioDeviceName(QStringLiteral("alsa_output.usb-Virtual_Audio_H20-00.1+x-00.analog-stereo"), cards)
            .card,
        1);
    QCOMPARE(
        hid::ResolveAudioDeviceName(QStringLiteral("alsa_output.usb-Virtual_Audio_H20-00.analog-stereo"), cards).card,
        0);
    QCOMPARE(hid::ResolveAudioDeviceName(QStringLiteral("alsa_card.usb-Virtual_Audio_H20-00"), cards).card, 0);
    QCOMPARE(hid::ResolveAudioDeviceName(QStringLiteral("alsa_card.usb-Virtual_Audio_H20-0"), cards).kind,
             SoundCardMatch::NoCard);
}

void TestSoundCards::bindsTheInterfaceOfTheNamedCardOnly_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("device"); // the desk device bound
    QTest::addColumn<int>("interface");  // which of its HID interfaces
    QTest::addColumn<int>("usagePage");
    QTest::newRow("first headset by its sink")
        << "alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo"
        << "headset-a" << 0 << 0x0B;
    QTest::newRow("second headset by its source")
        << "alsa_input.usb-Virtual_Audio_Office_Headset_20_D4E5F6-00.mono-fallback"
        << "headset-b" << 0 << 0x0B;
    QTest::newRow("second headset by hw") << "hw:2"
                                          << "headset-b" << 0 << 0x0B;
    QTest::newRow("second headset by card id") << "sysdefault:CARD=Headset20_1"
                                               << "headset-b" << 0 << 0x0B;
    QTest::newRow("dongle") << "Link Adapter 360 Analog Stereo"
                            << "dongle" << 0 << 0xFF00;
    QTest::newRow("telephony behind consumer control") << "front:CARD=Headset40,DEV=0"
                                                       << "consumer-first" << 1 << 0x0B;
    QTest::newRow("headset without strings") << "hw:7"
                                             << "stringless" << 0 << 0x0B;
}

void TestSoundCards::bindsTheInterfaceOfTheNamedCardOnly()
{
    QFETCH(QString, name);
    QFETCH(QString, device);
    QFETCH(int, interface);
    QFETCH(int, usagePage);
    FakeDesk desk;
    hid::HidDevice binding(nullptr);
    SetSystemView(binding, desk.view());
    QVERIFY(binding.chooseAudioDevice(name));
    const std::string owner = device.toStdString();
    QCOMPARE(binding.getInfo().path, desk.path(owner, std::size_t(interface)));
    QVERIFY(binding.getChoice().soundCard >= 1);
    QCOMPARE(int(binding.getChoice().usagePage), usagePage);
    QCOMPARE(int(binding.getChoice().usage), 0x05);
    // Choosing opens nothing.
    QCOMPARE(desk.headset(owner, std::size_t(interface)).counters().opens, 0ul);
}

void TestSoundCards::logsWhichRuleFoundTheCardAndTheInterface()
{
    FakeDesk desk;
    hid::HidDevice binding(nullptr);
    SetSystemView(binding, desk.view());
    CapturingLogger logger;
    QVERIFY(binding.chooseAudioDevice(QStringLiteral("plughw:5,0")));
    const QString path = desk.path("consumer-first", 1);
    QCOMPARE(binding.getInfo().path, path);
    const QString rule = QStringLiteral("sound card 5 (Headset40) by ALSA card index plughw:5,0, interface 3, "
                                        "the configuration's call-control collection");
    QCOMPARE(binding.getChoice().rule, rule);
    QCOMPARE(binding.getChoice().interfaceNumber, 3);
    const QStringList texts = logger.texts();
    QCOMPARE(texts.first(),
             QStringLiteral("HID DEVICE Audio device plughw:5,0 is sound card 5 (Headset40) by ALSA card "
                            "index plughw:5,0, USB device %1")
                 .arg(desk.usbDevice("consumer-first")));
    QVERIFY(texts.contains(QStringLiteral("HID DEVICE Get codes for device (2830, 9310): 11 5 11 8 explicit: 1")));
    QVERIFY(texts.contains(QStringLiteral("HID DEVICE Device found vid, pid, hid page, hid usage: 2830, 9310, 11, 5")));
    QCOMPARE(texts.last(), QStringLiteral("HID DEVICE Chose %1 for plughw:5,0: %2").arg(path, rule));
    // Only the card's own USB device's interfaces are asked of the dictionary.
    QCOMPARE(texts.filter(QStringLiteral("Get codes")).size(), 2);
    for (const CapturedLine &line : logger.lines()) {
        QCOMPARE(line.level, 7);
        QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
    }
}

void TestSoundCards::logsWhyNothingWasBound_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("why");
    QTest::newRow("dock")
        << "Desk Dock 5 Analog Stereo"
        << "sound card 4 (Dock) by description beginning with the card's name \"Desk Dock 5\": its USB "
           "device has no HID interface";
    QTest::newRow("dock by hw") << "hw:4"
                                << "sound card 4 (Dock) by ALSA card index hw:4: its USB device has no HID interface";
    QTest::newRow("built-in audio") << "hw:0"
                                    << "sound card 0 (PCH) by ALSA card index hw:0: the card is not a USB device";
    QTest::newRow("Bluetooth") << "bluez_output.00_1B_66_AA_BB_CC.1"
                               << "Bluetooth device name: a Bluetooth device has no USB HID interface";
    QTest::newRow("unlisted headset")
        << "hw:8"
        << "sound card 8 (Headset50) by ALSA card index hw:8: no HID interface of its USB "
           "device is listed in the dictionary";
    QTest::newRow("unknown product")
        << "Speakers (Office Headset 99)"
        << "no sound card; product string \"Office Headset 99\": no HID interface with it is "
           "listed in the dictionary";
}

void TestSoundCards::logsWhyNothingWasBound()
{
    QFETCH(QString, name);
    QFETCH(QString, why);
    FakeDesk desk;
    hid::HidDevice binding(nullptr);
    SetSystemView(binding, desk.view());
    CapturingLogger logger;
    QVERIFY(!binding.chooseAudioDevice(name));
    QVERIFY(binding.getInfo().path.isEmpty());
    QCOMPARE(binding.getChoice().rule, why);
    QCOMPARE(logger.texts().last(), QStringLiteral("HID DEVICE Nothing bound for %1: %2").arg(name, why));
}

void TestSoundCards::unlistedHeadsetOfTheCardIsBoundThroughTheFallback()
{
    FakeDesk desk;
    hid::HidDevice binding(nullptr);
    SetSystemView(binding, desk.view());
    hid::HidDeviceDict::init(QStringLiteral(R"({"fallbackConfiguration": "Standart"})"));
    const QString name = QStringLiteral("alsa_output.usb-Virtual_Audio_Office_Headset_50_UH-0050-00.analog-stereo");
    QVERIFY(binding.chooseAudioDevice(name));
    QCOMPARE(binding.getInfo().path, desk.path("unlisted"));
    QCOMPARE(binding.getChoice().soundCard, 8);
    QVERIFY2(
        binding.getChoice().rule.endsWith(QLatin1String(", interface 3, the call-control collection 0x000B/0x0005 "
                                                        "of the fallback configuration \"Standart\" (its ids have no "
                                                        "row of their own)")),
        qPrintable(binding.getChoice().rule));
    // Its descriptor came from sysfs: nothing was opened.
    QCOMPARE(desk.headset("unlisted").counters().opens, 0ul);

    // The other cards are as before: a listed headset is still bound by its row, the dock still has no HID.
    QVERIFY(binding.chooseAudioDevice(QStringLiteral("hw:1")));
    QVERIFY(binding.getChoice().rule.endsWith(QLatin1String("the configuration's call-control collection")));
    QVERIFY(!binding.chooseAudioDevice(QStringLiteral("hw:4")));
    hid::HidDeviceDict::init();
}

void TestSoundCards::nameOfNoCardFallsBackToTheProductString()
{
    // A Windows-style endpoint names no card: the product string decides, as it always has,
    // and of two identical headsets the first listed wins.
    FakeDesk desk;
    hid::HidDevice binding(nullptr);
    SetSystemView(binding, desk.view());
    CapturingLogger logger;
    const QString name = QStringLiteral("Headset Microphone (2- Office Headset 20)");
    QVERIFY(binding.chooseAudioDevice(name));
    QCOMPARE(binding.getInfo().path, desk.path("headset-a"));
    QCOMPARE(binding.getChoice().soundCard, -1);
    const QStringList texts = logger.texts();
    QCOMPARE(texts.first(),
             QStringLiteral("HID DEVICE Audio device %1 names none of the 9 sound cards of this machine: "
                            "choosing by product string")
                 .arg(name));
    QCOMPARE(texts.at(1), QStringLiteral("HID DEVICE Parent device is Office Headset 20"));
    QVERIFY(texts.contains(QStringLiteral("HID DEVICE Choose device:true Office Headset 20")));
    QCOMPARE(texts.last(),
             QStringLiteral("HID DEVICE Chose %1 for %2: no sound card; product string \"Office Headset 20\", "
                            "interface 3, the configuration's call-control collection")
                 .arg(desk.path("headset-a"), name));
}

QTEST_GUILESS_MAIN(TestSoundCards)
#include "tst_soundcards.moc"
