// SPDX-License-Identifier: BSD-3-Clause
// Headsets whose ids have no row of their own, bound through the dictionary's fallback
// configuration when their report descriptor has its call-control collection; against virtual
// headsets.

#include "capturinglogger.h"
#include "virtualheadsets.h"

#include <fallbackcollection.h>
#include <hiddevice.h>
#include <hiddeviceinfo.h>
#include <platform/reportdescriptor.h>

#include <hidapi_parser.h>

#include <QtTest>

using hid::HidDevice;
using hid::virt::VirtualDevice;

namespace {

// What the standard fallback configuration looks for in a descriptor, as its refusals name it.
const QString TelephonySearch =
    QStringLiteral("0x000B/0x0005, 0x000B/0x0004 or 0x000B/0x0001, nor a Hook Switch or Phone Mute in another");

const QString OptIn = QStringLiteral(R"({"fallbackConfiguration": "Standart"})");

// A ready model's interface under ids that no row lists.
hid::virt::DeviceDescription unlisted(const char *model, int index = 0, unsigned short productId = 0x9999)
{
    hid::virt::DeviceDescription description = modelDescription(model, index);
    description.vendorId = 0x1209;
    description.productId = productId;
    return description;
}

QString pathOf(const VirtualDevice &device)
{
    return QString::fromStdString(device.path());
}

// The lines of the walk over the interfaces that speak of the fallback.
QStringList fallbackLines(const CapturingLogger &logger)
{
    QStringList lines;
    for (const CapturedLine &line : logger.linesFrom(QStringLiteral("findDevice"))) {
        if (line.text.contains(QLatin1String("fallback")))
            lines << line.text;
    }
    return lines;
}

// A top-level application collection `page`/`usage` with report id `id` and one input bit,
// `inputPage`/`inputUsage`, padded to a byte.
hid::virt::Bytes application(unsigned char page, unsigned char usage, unsigned char id, unsigned char inputPage,
                             unsigned char inputUsage)
{
    return {
        0x05, page,       // Usage Page
        0x09, usage,      // Usage
        0xA1, 0x01,       // Collection (Application)
        0x85, id,         //   Report ID
        0x05, inputPage,  //   Usage Page
        0x09, inputUsage, //   Usage
        0x15, 0x00,       //   Logical Minimum (0)
        0x25, 0x01,       //   Logical Maximum (1)
        0x75, 0x01,       //   Report Size (1)
        0x95, 0x01,       //   Report Count (1)
        0x81, 0x02,       //   Input (Data, Variable, Absolute)
        0x95, 0x07,       //   Report Count (7)
        0x81, 0x03,       //   Input (Constant): padding
        0xC0,             // End Collection
    };
}

// The collections, one after the other in one descriptor.
hid::virt::Bytes descriptorOf(const std::vector<hid::virt::Bytes> &collections)
{
    hid::virt::Bytes descriptor;
    for (const hid::virt::Bytes &collection : collections)
        descriptor.insert(descriptor.end(), collection.begin(), collection.end());
    return descriptor;
}

// "0x000B/0x0005", or "buttons 0x000C/0x0001" for a collection taken for its telephony buttons,
// or "none".
QString fallbackOf(const hid::virt::Bytes &descriptor, unsigned short usagePage = 0x0B, unsigned short usage = 0x05)
{
    const hid::ReportDescriptor parsed(hid_parse_descriptor(descriptor.data(), descriptor.size()));
    if (!parsed)
        return QStringLiteral("unparsed");
    const hid::FallbackCollection found = hid::FindFallbackCollection(parsed.get(), usagePage, usage);
    if (!found.isValid())
        return QStringLiteral("none");
    const QString collection = QStringLiteral("0x%1/0x%2")
                                   .arg(found.usagePage, 4, 16, QLatin1Char('0'))
                                   .arg(found.usage, 4, 16, QLatin1Char('0'));
    return found.telephonyButtonsOnly ? QStringLiteral("buttons ") + collection : collection;
}

} // namespace

class TestFallbackBinding : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void cleanup() { hid::HidDeviceDict::init(); }

    void withoutTheKeyAnUnlistedHeadsetIsNotBound();
    void standardTelephonyHeadsetIsBoundWithTheFallback();
    void theFallbackConfigurationsCodeIsTheOneBound();
    void vendorPageHeadsetIsNotBound();
    void consumerOnlyDeviceWithTheSameProductStringIsNotBound();
    void unreadableDescriptorIsNotBoundAndLogged();
    void boundOnTheCallControlInterfaceOfSeveral();
    void anExplicitRowWinsOverTheFallback();
    void aVendorWideRowBindsNothingByItself();
    void theFallbackBindsOnlyWhatTheNameSelects();
    void telephonyCollectionsAreTakenHeadsetHandsetPhone_data();
    void telephonyCollectionsAreTakenHeadsetHandsetPhone();
    void eachKindOfCollectionIsNamedWhenBound_data();
    void eachKindOfCollectionIsNamedWhenBound();
};

void TestFallbackBinding::withoutTheKeyAnUnlistedHeadsetIsNotBound()
{
    VirtualDevice headset = VirtualDevice::add(unlisted("telephony-headset"));
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Headset Microphone (Office Headset 20)")));
    QVERIFY(device.getInfo().path.isEmpty());
    QCOMPARE(device.getChoice().rule,
             QStringLiteral("no sound card; product string \"Office Headset 20\": no HID "
                            "interface with it is listed in the dictionary"));
    QCOMPARE(fallbackLines(logger), QStringList());
    QCOMPARE(headset.counters().opens, 0ul);
}

void TestFallbackBinding::standardTelephonyHeadsetIsBoundWithTheFallback()
{
    VirtualDevice headset = VirtualDevice::add(unlisted("telephony-headset"));
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.chooseAudioDevice(QStringLiteral("Headset Microphone (Office Headset 20)")));
    QCOMPARE(device.getInfo().path, pathOf(headset));
    QCOMPARE(device.getInfo().vendorId, 0x1209);
    QCOMPARE(device.getInfo().productId, 0x9999);
    QCOMPARE(device.getChoice().rule,
             QStringLiteral("no sound card; product string \"Office Headset 20\", interface 3, the call-control "
                            "collection 0x000B/0x0005 of the fallback configuration \"Standart\" (its ids have no row "
                            "of their own)"));
    QCOMPARE(
        fallbackLines(logger),
        QStringList{QStringLiteral("HID DEVICE %1 (0x1209:0x9999) has no row of its own; its report descriptor has "
                                   "the collection 0x000B/0x0005: bound through the fallback configuration Standart")
                        .arg(pathOf(headset))});
    const CapturedLine line = logger.linesFrom(QStringLiteral("findDevice")).at(0);
    QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
    QCOMPARE(line.level, 7);
    // Its descriptor was read through a short open; nothing is left open.
    QCOMPARE(headset.openHandles(), 0);
}

void TestFallbackBinding::theFallbackConfigurationsCodeIsTheOneBound()
{
    VirtualDevice::add(unlisted("telephony-headset"));
    hid::HidDeviceDict::init(QStringLiteral(R"({"fallbackConfiguration": "Mine",
        "configurations": {"Mine": {"longDelay": true, "clickTypeOnEmptyCode": "CLICK", "cmdRing": [["RING"]]}}})"));
    HidDevice device(nullptr);
    QVERIFY(device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    const hid::HidCode &code = device.getInfo().code;
    QVERIFY(code.longDelay);
    QCOMPARE(code.clickTypeOnEmptyCode, hid::CLICK);
    QCOMPARE(code.cmdRing, (hid::HidCommand{{hid::usage::Ring}}));
    QCOMPARE(code.cmdTalk, hid::HidCode().cmdTalk);
}

void TestFallbackBinding::vendorPageHeadsetIsNotBound()
{
    VirtualDevice headset = VirtualDevice::add(unlisted("vendor-page-headset"));
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Link Adapter 360")));
    const QString refusal = QStringLiteral("%1 (0x1209:0x9999) has no row of its own and its report descriptor has no "
                                           "collection %2")
                                .arg(pathOf(headset), TelephonySearch);
    QCOMPARE(fallbackLines(logger),
             QStringList{"HID DEVICE " + refusal + ": the fallback configuration Standart does not bind it"});
    QCOMPARE(device.getChoice().rule,
             QStringLiteral("no sound card; product string \"Link Adapter 360\": no HID interface with it is listed in "
                            "the dictionary; the fallback configuration \"Standart\" does not bind %1: its report "
                            "descriptor has no collection %2")
                 .arg(pathOf(headset), TelephonySearch));
}

void TestFallbackBinding::consumerOnlyDeviceWithTheSameProductStringIsNotBound()
{
    // Only the consumer-control interface is plugged in: no telephony collection anywhere.
    hid::virt::DeviceDescription consumer = unlisted("consumer-first-headset", 0);
    consumer.product = L"Office Headset 20";
    VirtualDevice::add(consumer);
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    QCOMPARE(fallbackLines(logger).size(), 1);
    QVERIFY(fallbackLines(logger).at(0).contains(QLatin1String("has no collection 0x000B/0x0005")));
}

void TestFallbackBinding::unreadableDescriptorIsNotBoundAndLogged()
{
    VirtualDevice headset = VirtualDevice::add(unlisted("telephony-headset"));
    hid::virt::Faults faults;
    faults.descriptorUnreadable = true;
    headset.setFaults(faults);
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    QCOMPARE(fallbackLines(logger),
             QStringList{QStringLiteral("HID DEVICE %1 (0x1209:0x9999) has no row of its own and its report descriptor "
                                        "cannot be read: the fallback configuration Standart does not bind it")
                             .arg(pathOf(headset))});
    QVERIFY(device.getChoice().rule.endsWith(QLatin1String("its report descriptor cannot be read")));

    // A device that cannot be opened at all cannot show its descriptor either.
    faults.descriptorUnreadable = false;
    faults.openFails = true;
    headset.setFaults(faults);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    QVERIFY(device.getChoice().rule.endsWith(QLatin1String("its report descriptor cannot be read")));
}

void TestFallbackBinding::boundOnTheCallControlInterfaceOfSeveral()
{
    // Both interfaces show the product string; the consumer-control one comes first.
    VirtualDevice consumer = VirtualDevice::add(unlisted("consumer-first-headset", 0));
    VirtualDevice telephony = VirtualDevice::add(unlisted("consumer-first-headset", 1));
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.chooseAudioDevice(QStringLiteral("Office Headset 40")));
    QCOMPARE(device.getInfo().path, pathOf(telephony));
    QCOMPARE(device.getChoice().interfaceNumber, 3);
    QCOMPARE(device.getChoice().usagePage, 0x0B);
    QCOMPARE(device.getChoice().usage, 0x05);
    QCOMPARE(fallbackLines(logger).size(), 2);
    QVERIFY(fallbackLines(logger).at(0).startsWith("HID DEVICE " + pathOf(consumer) + " "));
    QVERIFY(fallbackLines(logger).at(0).endsWith(QLatin1String("does not bind it")));
    QVERIFY(fallbackLines(logger).at(1).endsWith(QLatin1String("bound through the fallback configuration Standart")));
}

void TestFallbackBinding::anExplicitRowWinsOverTheFallback()
{
    // An unlisted headset first, a listed one with the same product string after it.
    VirtualDevice first = VirtualDevice::add(unlisted("telephony-headset"));
    VirtualDevice listed = VirtualDevice::add(modelDescription("telephony-headset"));
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    QCOMPARE(device.getInfo().path, pathOf(listed));
    QCOMPARE(device.getChoice().rule,
             QStringLiteral("no sound card; product string \"Office Headset 20\", interface 3, "
                            "the configuration's call-control collection"));
    // The unlisted one was not even looked into.
    QCOMPARE(fallbackLines(logger), QStringList());
    QCOMPARE(first.counters().opens, 0ul);
}

void TestFallbackBinding::aVendorWideRowBindsNothingByItself()
{
    VirtualDevice headset = VirtualDevice::add(unlisted("telephony-headset"));
    const QString vendorWide = QStringLiteral(R"(
        "configurations": {"Vendor": {"longDelay": true}},
        "devices": [{"vid": "0x1209", "configuration": "Vendor"}])");
    hid::HidDeviceDict::init(QLatin1Char('{') + vendorWide + QLatin1Char('}'));
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Office Headset 20")));

    // With the fallback it is bound, with the fallback's configuration, not the vendor's.
    hid::HidDeviceDict::init(QStringLiteral(R"({"fallbackConfiguration": "Standart",)") + vendorWide
                             + QLatin1Char('}'));
    QVERIFY(device.chooseAudioDevice(QStringLiteral("Office Headset 20")));
    QCOMPARE(device.getInfo().path, pathOf(headset));
    QVERIFY(!device.getInfo().code.longDelay);
}

void TestFallbackBinding::theFallbackBindsOnlyWhatTheNameSelects()
{
    VirtualDevice::add(unlisted("telephony-headset"));
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Office Headset 30")));
    QVERIFY(!device.chooseAudioDevice(QStringLiteral("Built-in Audio Analog Stereo")));
    QCOMPARE(fallbackLines(logger), QStringList());
}

void TestFallbackBinding::telephonyCollectionsAreTakenHeadsetHandsetPhone_data()
{
    // Telephony (0x0B): Phone 0x01, Handset 0x04, Headset 0x05, Hook Switch 0x20, Phone Mute
    // 0x2F; Consumer (0x0C): Consumer Control 0x01, Volume Increment 0xE9.
    const hid::virt::Bytes phone = application(0x0B, 0x01, 1, 0x0B, 0x20);
    const hid::virt::Bytes handset = application(0x0B, 0x04, 2, 0x0B, 0x20);
    const hid::virt::Bytes headset = application(0x0B, 0x05, 3, 0x0B, 0x20);
    const hid::virt::Bytes consumerWithMute = application(0x0C, 0x01, 4, 0x0B, 0x2F);
    const hid::virt::Bytes consumerWithHook = application(0x0C, 0x01, 4, 0x0B, 0x20);
    const hid::virt::Bytes volumeKeys = application(0x0C, 0x01, 4, 0x0C, 0xE9);
    QTest::addColumn<hid::virt::Bytes>("descriptor");
    QTest::addColumn<QString>("bound");
    QTest::newRow("phone, handset, headset") << descriptorOf({phone, handset, headset}) << "0x000b/0x0005";
    QTest::newRow("headset, handset, phone") << descriptorOf({headset, handset, phone}) << "0x000b/0x0005";
    QTest::newRow("phone, handset") << descriptorOf({phone, handset}) << "0x000b/0x0004";
    QTest::newRow("handset, phone") << descriptorOf({handset, phone}) << "0x000b/0x0004";
    QTest::newRow("phone alone") << descriptorOf({phone}) << "0x000b/0x0001";
    QTest::newRow("Phone Mute in Consumer Control, then a phone")
        << descriptorOf({consumerWithMute, phone}) << "0x000b/0x0001";
    QTest::newRow("Phone Mute in Consumer Control") << descriptorOf({consumerWithMute}) << "buttons 0x000c/0x0001";
    QTest::newRow("Hook Switch in Consumer Control") << descriptorOf({consumerWithHook}) << "buttons 0x000c/0x0001";
    QTest::newRow("volume keys only") << descriptorOf({volumeKeys}) << "none";
}

void TestFallbackBinding::telephonyCollectionsAreTakenHeadsetHandsetPhone()
{
    QFETCH(hid::virt::Bytes, descriptor);
    QFETCH(QString, bound);
    QCOMPARE(fallbackOf(descriptor), bound);
    // Whatever usage a configuration of the Telephony page names, the order is the same.
    QCOMPARE(fallbackOf(descriptor, 0x0B, 0x01), bound);
    // A configuration of another page takes its own collection alone.
    QCOMPARE(fallbackOf(descriptor, 0xFF00, 0x05), QStringLiteral("none"));
}

void TestFallbackBinding::eachKindOfCollectionIsNamedWhenBound_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("collection"); // as the log line names it
    QTest::addColumn<QString>("rule");       // as the choice's rule names it
    QTest::newRow("desk phone") << "desk-phone"
                                << "the collection 0x000B/0x0001"
                                << "the call-control collection 0x000B/0x0001";
    QTest::newRow("handset") << "handset"
                             << "the collection 0x000B/0x0004"
                             << "the call-control collection 0x000B/0x0004";
    QTest::newRow("telephony buttons in Consumer Control") << "consumer-telephony-headset"
                                                           << "the telephony buttons in collection 0x000C/0x0001"
                                                           << "the telephony buttons in collection 0x000C/0x0001";
}

void TestFallbackBinding::eachKindOfCollectionIsNamedWhenBound()
{
    QFETCH(QString, model);
    QFETCH(QString, collection);
    QFETCH(QString, rule);
    const hid::virt::DeviceDescription description = unlisted(model.toLatin1().constData());
    const QString product = QString::fromStdWString(description.product);
    VirtualDevice device = VirtualDevice::add(description);
    hid::HidDeviceDict::init(OptIn);
    CapturingLogger logger;
    HidDevice binding(nullptr);
    QVERIFY(binding.chooseAudioDevice(QStringLiteral("Headset Microphone (%1)").arg(product)));
    QCOMPARE(binding.getInfo().path, pathOf(device));
    QCOMPARE(binding.getChoice().rule,
             QStringLiteral("no sound card; product string \"%1\", interface %2, %3 of the fallback configuration "
                            "\"Standart\" (its ids have no row of their own)")
                 .arg(product)
                 .arg(description.interfaceNumber)
                 .arg(rule));
    QCOMPARE(
        fallbackLines(logger),
        QStringList{QStringLiteral("HID DEVICE %1 (0x1209:0x9999) has no row of its own; its report descriptor has "
                                   "%2: bound through the fallback configuration Standart")
                        .arg(pathOf(device), collection)});
}

QTEST_GUILESS_MAIN(TestFallbackBinding)
#include "tst_fallbackbinding.moc"
