// SPDX-License-Identifier: BSD-3-Clause
// qvhid-udev-id: which hidraw devices it names telephony headsets, from their report
// descriptors and ids, and the program as udev runs it, over a sysfs tree of the test's own.

#include "proberun.h"
#include "realheadsets.h"
#include "sysfstree.h"
#include "virtualheadsets.h"

#include <platform/reportdescriptor.h>
#include <telephonyidentity.h>

#include <hidapi_parser.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using udevid::DeviceIds;
using udevid::Identity;

Q_DECLARE_METATYPE(Identity)

namespace {

Identity identifyBytes(const hid::virt::Bytes &descriptor, const std::optional<DeviceIds> &ids)
{
    return udevid::identify(descriptor.data(), descriptor.size(), ids);
}

// Ids that the built-in dictionary lists, and ids that it does not.
const DeviceIds ListedHeadset{0x0B0E, 0x030D};
const DeviceIds ListedVendorPageModel{0x0B0E, 0xA346};
const DeviceIds UnlistedIds{0x1209, 0x7777};

ProbeRun runHelper(const QStringList &arguments)
{
    return runProgram(QStringLiteral(UDEV_ID), arguments);
}

const QString Tagged = QStringLiteral("ID_QVHID_TELEPHONY=1\n");

// A sysfs tree and a udev database of the test's own, in a temporary directory, with the
// directories every sysfs has.
struct TemporarySysfs
{
    TemporarySysfs()
    {
        if (directory.isValid())
            tree.createSkeleton();
    }

    QTemporaryDir directory;
    const QString sysfs = directory.filePath(QStringLiteral("sys"));
    emulation::SysfsTree tree{sysfs.toStdString(), directory.filePath(QStringLiteral("udev")).toStdString()};
};

} // namespace

class TestUdevId : public QObject
{
    Q_OBJECT

private slots:
    void realHeadsetDescriptors_data();
    void realHeadsetDescriptors();
    void virtualModels_data();
    void virtualModels();
    void devicesThatAreNotHeadsets_data();
    void devicesThatAreNotHeadsets();
    void listedModelNeedsItsOwnRowAndItsCollection();
    void badDescriptorsAreNothing_data();
    void badDescriptorsAreNothing();
    void idsAreReadFromTheUevent_data();
    void idsAreReadFromTheUevent();

    void phoneMuteIsTelephonyPhoneMuteInput_data();
    void phoneMuteIsTelephonyPhoneMuteInput();

    void programPrintsThePropertyOnlyForAHeadset();
    void programNamesThePhoneMuteKeyAndTheTelephonyLeds();
    void telephonyButtonsCountOnADeviceWithASoundCardAlone();
    void programExitsZeroOnEveryFailure();
};

void TestUdevId::realHeadsetDescriptors_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<Identity>("expected");
    // By what each descriptor declares (descriptors/README.md): a Telephony Headset collection,
    // a Telephony Phone collection (the desk phone, the adapter), or none. No real headset's ids
    // are in the dictionary.
    const QMap<QString, Identity> expected{
        {QStringLiteral("blackwire-3220"), Identity::TelephonyHeadset},
        {QStringLiteral("blackwire-3220-rebuilt"), Identity::TelephonyHeadset},
        {QStringLiteral("link-380c"), Identity::TelephonyHeadset},
        {QStringLiteral("powerconf"), Identity::TelephonyHeadset},
        {QStringLiteral("sp325"), Identity::TelephonyHeadset},
        {QStringLiteral("mx-brio"), Identity::TelephonyHeadset},
        {QStringLiteral("cx300"), Identity::TelephonyDevice},
        {QStringLiteral("razer-microphone"), Identity::TelephonyHeadset},
        {QStringLiteral("kraken-kitty-v2"), Identity::TelephonyHeadset},
        {QStringLiteral("game-voice"), Identity::TelephonyHeadset},
        {QStringLiteral("voip-adapter"), Identity::TelephonyDevice},
        {QStringLiteral("unidentified-headset"), Identity::TelephonyHeadset},
        {QStringLiteral("h540"), Identity::None},
    };
    const QVector<RealHeadset> headsets = realHeadsets();
    QCOMPARE(headsets.size(), expected.size());
    for (const RealHeadset &headset : headsets) {
        QVERIFY2(expected.contains(headset.model), qPrintable(headset.model));
        QTest::newRow(qPrintable(headset.model)) << headset.model << expected.value(headset.model);
    }
}

void TestUdevId::realHeadsetDescriptors()
{
    QFETCH(QString, model);
    QFETCH(Identity, expected);
    const hid::virt::DeviceDescription description = realHeadset(model).description;
    QCOMPARE(identifyBytes(description.descriptor, DeviceIds{description.vendorId, description.productId}), expected);
}

void TestUdevId::virtualModels_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<int>("interface");
    QTest::addColumn<Identity>("expected");
    QTest::newRow("telephony-headset") << "telephony-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("telephony-headset-no-ids") << "telephony-headset-no-ids" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("vendor-page-headset") << "vendor-page-headset" << 0 << Identity::ListedModel;
    QTest::newRow("consumer-first-headset, its consumer control") << "consumer-first-headset" << 0 << Identity::None;
    QTest::newRow("consumer-first-headset, its telephony interface")
        << "consumer-first-headset" << 1 << Identity::TelephonyHeadset;
    QTest::newRow("echoing-headset") << "echoing-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("unlisted-headset") << "unlisted-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("resting-array-headset") << "resting-array-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("volume-keys-headset") << "volume-keys-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("pulsed-mute-headset") << "pulsed-mute-headset" << 0 << Identity::TelephonyHeadset;
    QTest::newRow("desk-phone") << "desk-phone" << 0 << Identity::TelephonyDevice;
    QTest::newRow("phone-adapter") << "phone-adapter" << 0 << Identity::TelephonyDevice;
    QTest::newRow("handset") << "handset" << 0 << Identity::TelephonyDevice;
    QTest::newRow("consumer-telephony-headset") << "consumer-telephony-headset" << 0 << Identity::TelephonyButtons;
}

void TestUdevId::virtualModels()
{
    QFETCH(QString, model);
    QFETCH(int, interface);
    QFETCH(Identity, expected);
    const hid::virt::DeviceDescription description = modelDescription(qPrintable(model), interface);
    QCOMPARE(identifyBytes(description.descriptor, DeviceIds{description.vendorId, description.productId}), expected);
}

void TestUdevId::devicesThatAreNotHeadsets_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("keyboard") << "standard_boot_keyboard.hex";
    QTest::newRow("mouse") << "standard_boot_mouse.hex";
    QTest::newRow("consumer control") << "standard_consumer_control.hex";
    QTest::newRow("game pad") << "standard_gamepad.hex";
}

void TestUdevId::devicesThatAreNotHeadsets()
{
    QFETCH(QString, file);
    const hid::virt::Bytes descriptor = descriptorOfTestData(file);
    QVERIFY(!descriptor.empty());
    QVERIFY(hid::ReportDescriptor(hid_parse_descriptor(descriptor.data(), descriptor.size())));
    QCOMPARE(identifyBytes(descriptor, UnlistedIds), Identity::None);
    // Not even under the ids of a listed headset: its own interfaces other than call control
    // stay as they were.
    QCOMPARE(identifyBytes(descriptor, ListedHeadset), Identity::None);
    QCOMPARE(identifyBytes(descriptor, ListedVendorPageModel), Identity::None);
    QCOMPARE(identifyBytes(descriptor, std::nullopt), Identity::None);
}

void TestUdevId::listedModelNeedsItsOwnRowAndItsCollection()
{
    const hid::virt::Bytes vendorPage = modelDescription("vendor-page-headset").descriptor;
    QCOMPARE(identifyBytes(vendorPage, ListedVendorPageModel), Identity::ListedModel);
    // The same descriptor under ids that no row lists, or without ids, is nothing the library binds.
    QCOMPARE(identifyBytes(vendorPage, UnlistedIds), Identity::None);
    QCOMPARE(identifyBytes(vendorPage, std::nullopt), Identity::None);
    // A row of the vendor without one of the model: the vendor's other devices are not headsets.
    QCOMPARE(identifyBytes(vendorPage, DeviceIds{0x0B0E, 0x7777}), Identity::None);
    // A listed model whose configuration is the Telephony collection, on that collection.
    QCOMPARE(identifyBytes(modelDescription("telephony-headset").descriptor, ListedHeadset),
             Identity::TelephonyHeadset);
}

void TestUdevId::badDescriptorsAreNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const hid::virt::Bytes telephony = modelDescription("telephony-headset").descriptor;
    const QByteArray whole(reinterpret_cast<const char *>(telephony.data()), int(telephony.size()));
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut in the middle of an item") << whole.left(5);
    QTest::newRow("collection never closed") << whole.left(whole.size() - 1);
    QTest::newRow("noise") << QByteArray("\xff\xff\xff\xff\xfe\x00\x01", 7);
    QTest::newRow("one byte past the largest descriptor")
        << whole + QByteArray(HID_PARSER_MAX_DESCRIPTOR_SIZE + 1 - whole.size(), '\0');
    QTest::newRow("a megabyte") << whole + QByteArray(1 << 20, '\xc0');
}

void TestUdevId::badDescriptorsAreNothing()
{
    QFETCH(QByteArray, bytes);
    const auto *data = reinterpret_cast<const unsigned char *>(bytes.constData());
    QCOMPARE(udevid::identify(data, std::size_t(bytes.size()), ListedHeadset), Identity::None);
    QCOMPARE(udevid::identify(nullptr, std::size_t(bytes.size()), ListedHeadset), Identity::None);
}

void TestUdevId::idsAreReadFromTheUevent_data()
{
    QTest::addColumn<QString>("uevent");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("vendorId");
    QTest::addColumn<int>("productId");
    QTest::newRow("as the kernel writes it")
        << "DRIVER=hid-generic\nHID_ID=0003:00000B0E:0000A346\nHID_NAME=Office Adapter\n"
        << true << 0x0B0E << 0xA346;
    QTest::newRow("lower case") << "HID_ID=0003:0000047f:0000c056" << true << 0x047F << 0xC056;
    QTest::newRow("Bluetooth") << "HID_ID=0005:0000046D:0000B023\n" << true << 0x046D << 0xB023;
    QTest::newRow("no HID_ID") << "DRIVER=hid-generic\nHID_NAME=Keyboard\n" << false << 0 << 0;
    QTest::newRow("empty") << "" << false << 0 << 0;
    QTest::newRow("not hexadecimal") << "HID_ID=0003:ZZZZ:0000030D\n" << false << 0 << 0;
    QTest::newRow("field too short") << "HID_ID=0003:00000B0E\n" << false << 0 << 0;
    QTest::newRow("id past 16 bits") << "HID_ID=0003:00010B0E:0000030D\n" << false << 0 << 0;
    QTest::newRow("something after the ids") << "HID_ID=0003:00000B0E:0000030Dx\n" << false << 0 << 0;
}

void TestUdevId::idsAreReadFromTheUevent()
{
    QFETCH(QString, uevent);
    QFETCH(bool, found);
    QFETCH(int, vendorId);
    QFETCH(int, productId);
    const std::optional<DeviceIds> ids = udevid::idsFromUevent(uevent.toStdString());
    QCOMPARE(ids.has_value(), found);
    if (found) {
        QCOMPARE(int(ids->vendorId), vendorId);
        QCOMPARE(int(ids->productId), productId);
    }
}

void TestUdevId::phoneMuteIsTelephonyPhoneMuteInput_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("expected");
    // Models, real descriptors (R:) and files of tests/data/descriptors (F:).
    QTest::newRow("telephony headset") << "telephony-headset" << true;
    QTest::newRow("with its volume keys") << "volume-keys-headset" << true;
    QTest::newRow("vendor page: no telephony collection") << "vendor-page-headset" << false;
    QTest::newRow("consumer control alone") << "F:standard_consumer_control.hex" << false;
    QTest::newRow("keyboard with Phone Mute outside a telephony collection") << "F:keyboard_with_mic_mute.hex" << false;
    QTest::newRow("headset without Phone Mute") << "R:razer-microphone" << false;
    QTest::newRow("speakerphone") << "R:sp325" << true;
    QTest::newRow("desk phone: Telephony Phone collection") << "R:cx300" << true;
    QTest::newRow("headset on a USB audio chip: in Consumer Control only") << "consumer-telephony-headset" << false;
}

void TestUdevId::phoneMuteIsTelephonyPhoneMuteInput()
{
    QFETCH(QString, name);
    QFETCH(bool, expected);
    hid::virt::Bytes bytes;
    if (name.startsWith(QLatin1String("R:")))
        bytes = realHeadset(name.mid(2)).description.descriptor;
    else if (name.startsWith(QLatin1String("F:")))
        bytes = descriptorOfTestData(name.mid(2));
    else
        bytes = modelDescription(qPrintable(name)).descriptor;
    const hid::ReportDescriptor descriptor(hid_parse_descriptor(bytes.data(), bytes.size()));
    QVERIFY(descriptor);
    QCOMPARE(udevid::hasTelephonyPhoneMute(descriptor.get()), expected);
    QVERIFY(!udevid::hasTelephonyPhoneMute(nullptr));
    // Phone Mute outside any telephony collection counts when asked for, and only then.
    const bool elsewhere =
        name == QLatin1String("consumer-telephony-headset") || name == QLatin1String("F:keyboard_with_mic_mute.hex");
    QCOMPARE(udevid::hasTelephonyPhoneMute(descriptor.get(), true), expected || elsewhere);
}

void TestUdevId::programPrintsThePropertyOnlyForAHeadset()
{
    TemporarySysfs system;
    QVERIFY(system.directory.isValid());
    emulation::SysfsTree &tree = system.tree;
    const QString &sysfs = system.sysfs;

    hid::virt::DeviceDescription unlisted = realHeadset(QStringLiteral("powerconf")).description;
    tree.addUsbDevice("1-1", unlisted);
    tree.addHidInterface("1-1", 0, unlisted);
    const hid::virt::Model &consumerFirst = *hid::virt::findModel("consumer-first-headset");
    tree.addUsbDevice("1-2", consumerFirst.interfaces.at(0));
    tree.addHidInterface("1-2", 1, consumerFirst.interfaces.at(0));
    tree.addHidInterface("1-2", 2, consumerFirst.interfaces.at(1));
    tree.addUsbDevice("1-3", modelDescription("vendor-page-headset"));
    tree.addHidInterface("1-3", 3, modelDescription("vendor-page-headset"));
    hid::virt::DeviceDescription keyboard = modelDescription("telephony-headset");
    keyboard.descriptor = descriptorOfTestData(QStringLiteral("standard_boot_keyboard.hex"));
    tree.addUsbDevice("1-4", keyboard);
    tree.addHidInterface("1-4", 4, keyboard);

    const QStringList root{QStringLiteral("--sysfs"), sysfs};
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw0")}).out, Tagged);
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw1")}).out, QString());
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw2")}).out, Tagged);
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw3")}).out, Tagged);
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw4")}).out, QString());
    // The /dev path names the same node.
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("/dev/hidraw2")}).out, Tagged);
    const ProbeRun run = runHelper(root + QStringList{QStringLiteral("hidraw0")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.err, QString());
}

void TestUdevId::programNamesThePhoneMuteKeyAndTheTelephonyLeds()
{
    TemporarySysfs system;
    QVERIFY(system.directory.isValid());
    emulation::SysfsTree &tree = system.tree;
    const QString &sysfs = system.sysfs;
    // hidraw0: a headset with its volume keys: two input devices, the telephony one with the
    // microphone mute key and the Mute LED. hidraw1: a keyboard with its own microphone mute
    // key and its lock LEDs. hidraw2: a headset of telephony alone: no input device at all.
    const hid::virt::DeviceDescription headset = modelDescription("volume-keys-headset");
    tree.addUsbDevice("1-1", headset);
    const std::vector<int> headsetEvents = tree.addHidInterface("1-1", 0, headset);
    hid::virt::DeviceDescription keyboard = modelDescription("telephony-headset");
    keyboard.descriptor = descriptorOfTestData(QStringLiteral("keyboard_with_mic_mute.hex"));
    tree.addUsbDevice("1-2", keyboard);
    const std::vector<int> keyboardEvents = tree.addHidInterface("1-2", 1, keyboard);
    const hid::virt::DeviceDescription telephonyOnly = modelDescription("telephony-headset");
    tree.addUsbDevice("1-3", telephonyOnly);
    QVERIFY(tree.addHidInterface("1-3", 2, telephonyOnly).empty());
    QCOMPARE(headsetEvents.size(), std::size_t(2));
    QCOMPARE(keyboardEvents.size(), std::size_t(2));

    const QStringList root{QStringLiteral("--sysfs"), sysfs};
    const auto event = [](int number) { return QStringLiteral("event%1").arg(number); };
    // The telephony collection's input device comes first, the volume keys' second.
    QCOMPARE(runHelper(root + QStringList{event(headsetEvents.at(0))}).out,
             QStringLiteral("ID_QVHID_PHONE_MUTE_KEY=1\n"));
    QCOMPARE(runHelper(root + QStringList{event(headsetEvents.at(1))}).out, QString());
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("/dev/input/") + event(headsetEvents.at(0))}).out,
             QStringLiteral("ID_QVHID_PHONE_MUTE_KEY=1\n"));
    // The keyboard's own key sends KEY_MICMUTE too, but from no telephony collection.
    for (const int number : keyboardEvents)
        QCOMPARE(runHelper(root + QStringList{event(number)}).out, QString());

    const std::vector<std::string> headsetLeds = tree.leds(0);
    QCOMPARE(headsetLeds.size(), std::size_t(1));
    QVERIFY(QString::fromStdString(headsetLeds.front()).endsWith(QLatin1String("::mute")));
    QCOMPARE(runHelper(root + QStringList{QString::fromStdString(headsetLeds.front())}).out,
             QStringLiteral("ID_QVHID_TELEPHONY_LED=1\n"));
    const std::vector<std::string> keyboardLeds = tree.leds(1);
    QCOMPARE(keyboardLeds.size(), std::size_t(5)); // Num, Caps, Scroll Lock, Compose, Kana
    for (const std::string &led : keyboardLeds)
        QCOMPARE(runHelper(root + QStringList{QString::fromStdString(led)}).out, QString());
    // The hidraw nodes as before.
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw0")}).out, Tagged);
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw1")}).out, QString());
}

void TestUdevId::telephonyButtonsCountOnADeviceWithASoundCardAlone()
{
    TemporarySysfs system;
    QVERIFY(system.directory.isValid());
    emulation::SysfsTree &tree = system.tree;
    const QString &sysfs = system.sysfs;
    // hidraw0: a headset on a USB audio chip, its sound card on the same USB device; hidraw1:
    // the same interface on a USB device without one; hidraw2: a keyboard with its own
    // microphone mute key, Phone Mute in its Consumer Control collection as the headset's.
    const hid::virt::Model &chip = *hid::virt::findModel("consumer-telephony-headset");
    tree.addUsbDevice("1-1", chip.interfaces.front());
    const std::vector<int> headsetEvents = tree.addHidInterface("1-1", 0, chip.interfaces.front());
    tree.addSoundCard("1-1", chip.interfaces.front(), chip.soundCards.front());
    tree.addUsbDevice("1-2", chip.interfaces.front());
    const std::vector<int> soundlessEvents = tree.addHidInterface("1-2", 1, chip.interfaces.front());
    hid::virt::DeviceDescription keyboard = modelDescription("telephony-headset");
    keyboard.descriptor = descriptorOfTestData(QStringLiteral("keyboard_with_mic_mute.hex"));
    tree.addUsbDevice("1-3", keyboard);
    const std::vector<int> keyboardEvents = tree.addHidInterface("1-3", 2, keyboard);
    QCOMPARE(identifyBytes(keyboard.descriptor, UnlistedIds), Identity::TelephonyButtons);

    const QStringList root{QStringLiteral("--sysfs"), sysfs};
    const auto run = [&](const QString &name) { return runHelper(root + QStringList{name}).out; };
    QCOMPARE(run(QStringLiteral("hidraw0")), Tagged);
    QCOMPARE(run(QStringLiteral("hidraw1")), QString());
    QCOMPARE(run(QStringLiteral("hidraw2")), QString());
    // Its one input device, Consumer Control, sends the microphone mute key for its Phone Mute.
    QCOMPARE(headsetEvents.size(), std::size_t(1));
    QCOMPARE(run(QStringLiteral("event%1").arg(headsetEvents.front())), QStringLiteral("ID_QVHID_PHONE_MUTE_KEY=1\n"));
    QCOMPARE(run(QStringLiteral("event%1").arg(soundlessEvents.front())), QString());
    for (const int event : keyboardEvents)
        QCOMPARE(run(QStringLiteral("event%1").arg(event)), QString());
}

void TestUdevId::programExitsZeroOnEveryFailure()
{
    TemporarySysfs system;
    QVERIFY(system.directory.isValid());
    emulation::SysfsTree &tree = system.tree;
    const QString &sysfs = system.sysfs;
    hid::virt::DeviceDescription headset = modelDescription("telephony-headset");
    tree.addUsbDevice("1-1", headset);
    tree.addHidInterface("1-1", 0, headset);
    tree.addHidInterface("1-1", 1, headset);
    tree.addHidInterface("1-1", 2, headset);
    const QString descriptorOf = sysfs + QStringLiteral("/class/hidraw/hidraw%1/device/report_descriptor");
    // hidraw1: a descriptor longer than any the kernel hands out; hidraw2: an empty one.
    QFile huge(descriptorOf.arg(1));
    QVERIFY(huge.open(QIODevice::WriteOnly | QIODevice::Truncate));
    huge.write(QByteArray(reinterpret_cast<const char *>(headset.descriptor.data()), int(headset.descriptor.size())));
    huge.write(QByteArray(HID_PARSER_MAX_DESCRIPTOR_SIZE, '\0'));
    huge.close();
    QFile empty(descriptorOf.arg(2));
    QVERIFY(empty.open(QIODevice::WriteOnly | QIODevice::Truncate));
    empty.close();

    const QStringList root{QStringLiteral("--sysfs"), sysfs};
    const QList<QStringList> cases{
        root + QStringList{QStringLiteral("hidraw1")},
        root + QStringList{QStringLiteral("hidraw2")},
        root + QStringList{QStringLiteral("hidraw9")},
        root + QStringList{QStringLiteral("../hidraw0")},
        root + QStringList{QStringLiteral("event3")},
        root + QStringList{QStringLiteral("input3::mute")},
        root + QStringList{QStringLiteral("..")},
        root + QStringList{QStringLiteral("input0::../../hidraw0")},
        root,
        {},
        {QStringLiteral("--sysfs"), system.directory.filePath(QStringLiteral("nowhere")), QStringLiteral("hidraw0")},
    };
    for (const QStringList &arguments : cases) {
        const ProbeRun run = runHelper(arguments);
        QVERIFY2(run.exitCode == 0, qPrintable(arguments.join(QLatin1Char(' '))));
        QVERIFY2(run.out.isEmpty(), qPrintable(arguments.join(QLatin1Char(' ')) + QStringLiteral(": ") + run.out));
    }
    // The well-formed node beside them is still found.
    QCOMPARE(runHelper(root + QStringList{QStringLiteral("hidraw0")}).out, Tagged);
}

QTEST_GUILESS_MAIN(TestUdevId)
#include "tst_udevid.moc"
