// SPDX-License-Identifier: BSD-3-Clause
// Headsets whose ids have no row of their own, bound through the dictionary's fallback
// configuration when their report descriptor has its call-control collection; against virtual
// headsets.

#include "capturinglogger.h"
#include "virtualheadsets.h"

#include <hiddevice.h>
#include <hiddeviceinfo.h>

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

QTEST_GUILESS_MAIN(TestFallbackBinding)
#include "tst_fallbackbinding.moc"
