// SPDX-License-Identifier: BSD-3-Clause
// The system's hidapi and libudev over emulated hidraw devices: what the library relies on from
// them, checked below the library. Enumeration through libudev and a private sysfs, the report
// descriptor through sysfs (the route the library takes on hidapi 0.13), hidraw's report-id
// byte on writes, poll-then-read time-outs, and what an unplug looks like.

#include "descriptors.h"
#include "listedusages.h"
#include "testheadset.h"
#include "virtualheadsets.h"

#include <hidapi.h>
#include <hidapi_parser.h>

#include <QElapsedTimer>
#include <QtTest>

#include <cstdlib>
#include <thread>

namespace {

// The first enumeration entry of `path`, copied out, or an entry with no path.
hid::virt::DeviceDescription listed(const std::string &path)
{
    hid::virt::DeviceDescription result;
    hid_device_info *all = hid_enumerate(0, 0);
    for (const hid_device_info *info = all; info; info = info->next) {
        if (!info->path || path != info->path)
            continue;
        result.path = info->path;
        result.vendorId = info->vendor_id;
        result.productId = info->product_id;
        result.releaseNumber = info->release_number;
        result.manufacturer = info->manufacturer_string ? info->manufacturer_string : L"";
        result.product = info->product_string ? info->product_string : L"";
        result.serialNumber = info->serial_number ? info->serial_number : L"";
        result.interfaceNumber = info->interface_number;
        result.usagePage = info->usage_page;
        result.usage = info->usage;
        break;
    }
    hid_free_enumeration(all);
    return result;
}

int elementCount(const hid_collection *collection)
{
    int count = 0;
    for (const hid_element *element = collection->first_element; element; element = element->next)
        ++count;
    for (const hid_collection *child = collection->first_child; child; child = child->next_sibling)
        count += elementCount(child);
    return count;
}

} // namespace

class TestHidrawEmulation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void enumeratesThroughLibudev();
    void listsEveryNamedCollection();
    void descriptorComesThroughSysfs();
    void writesFollowHidrawReportIdRules();
    void readTimeOutIsHonoured();
    void unplugFailsReadsAndWritesAndReplugReturns();
};

void TestHidrawEmulation::initTestCase()
{
    QVHID_REQUIRE_TEST_HEADSETS();
    QCOMPARE(hid_init(), 0);
}

void TestHidrawEmulation::init()
{
    TestHeadset::removeAll();
}

void TestHidrawEmulation::enumeratesThroughLibudev()
{
    const hid::virt::DeviceDescription model = modelDescription("telephony-headset");
    const TestHeadset headset = TestHeadset::add(model);
    const hid::virt::DeviceDescription entry = listed(headset.path());
    QCOMPARE(entry.path, headset.path());
    QCOMPARE(entry.vendorId, model.vendorId);
    QCOMPARE(entry.productId, model.productId);
    QCOMPARE(entry.releaseNumber, model.releaseNumber);
    QVERIFY(entry.manufacturer == model.manufacturer);
    QVERIFY(entry.product == model.product);
    QVERIFY(entry.serialNumber == model.serialNumber);
    QCOMPARE(entry.interfaceNumber, model.interfaceNumber);
    // hidapi 0.13 reads the usage from the descriptor in sysfs.
    QCOMPARE(entry.usagePage, model.usagePage);
    QCOMPARE(entry.usage, model.usage);
}

void TestHidrawEmulation::listsEveryNamedCollection()
{
    // What the virtual headset's enumeration was made to match (tst_virtualhid checks it there).
    hid::virt::DeviceDescription description = modelDescription("telephony-headset");
    const QByteArray nested = descriptors::nestedCollections();
    description.descriptor.assign(nested.begin(), nested.end());
    const TestHeadset headset = TestHeadset::add(description);
    QCOMPARE(listedUsagesOf(headset.path()), (QStringList{"000b/0005", "000b/0020", "000c/0030", "000c/0001"}));

    description.descriptor = {0x06, 0x00, 0xFF, 0x09, 0x01, 0x75, 0x08, 0x95, 0x01, 0x81, 0x02}; // no collection
    const TestHeadset uncollected = TestHeadset::add(description);
    QCOMPARE(listedUsagesOf(uncollected.path()), QStringList{"0000/0000"});
}

void TestHidrawEmulation::descriptorComesThroughSysfs()
{
    const hid::virt::DeviceDescription model = modelDescription("vendor-page-headset");
    const TestHeadset headset = TestHeadset::add(model);
    hid_device *device = hid_open_path(headset.path().c_str());
    QVERIFY(device);
    // hidapi 0.13 has no hid_get_report_descriptor(); the device's path leads to sysfs.
    const hid_device_info *info = hid_get_device_info(device);
    QVERIFY(info);
    QCOMPARE(std::string(info->path), headset.path());
    unsigned char bytes[HID_PARSER_MAX_DESCRIPTOR_SIZE];
    const int length = hid_read_sysfs_descriptor("/sys", info->path, bytes, sizeof bytes);
    QCOMPARE(hid::virt::Bytes(bytes, bytes + std::max(length, 0)), model.descriptor);
    hid_descriptor *read = hid_read_descriptor(device);
    hid_descriptor *expected = hid_parse_descriptor(model.descriptor.data(), model.descriptor.size());
    QVERIFY(read && expected);
    QCOMPARE(elementCount(read->device_collection), elementCount(expected->device_collection));
    std::free(read);
    std::free(expected);
    hid_close(device);
}

void TestHidrawEmulation::writesFollowHidrawReportIdRules()
{
    const TestHeadset numbered = TestHeadset::add(modelDescription("telephony-headset"));
    const TestHeadset unnumbered = TestHeadset::add(modelDescription("telephony-headset-no-ids"));
    hid_device *first = hid_open_path(numbered.path().c_str());
    hid_device *second = hid_open_path(unnumbered.path().c_str());
    QVERIFY(first && second);
    const unsigned char withId[] = {0x02, 0x22};
    const unsigned char withoutId[] = {0x00, 0x22};
    QCOMPARE(hid_write(first, withId, sizeof withId), 2);
    QCOMPARE(hid_write(second, withoutId, sizeof withoutId), 2);
    // The report id goes on the wire; a leading 0 (no report ids) does not.
    QCOMPARE(numbered.written(), QStringList{"0222"});
    QCOMPARE(unnumbered.written(), QStringList{"22"});
    hid_close(first);
    hid_close(second);
}

void TestHidrawEmulation::readTimeOutIsHonoured()
{
    const TestHeadset headset = TestHeadset::add(modelDescription("telephony-headset"));
    hid_device *device = hid_open_path(headset.path().c_str());
    QVERIFY(device);
    unsigned char buffer[256];
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(hid_read_timeout(device, buffer, sizeof buffer, 250), 0);
    QVERIFY2(clock.elapsed() >= 240 && clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));

    // A report that arrives during the wait ends it: poll is told.
    std::thread sender([headset] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        headset.press("mute");
    });
    clock.restart();
    const int length = hid_read_timeout(device, buffer, sizeof buffer, 2000);
    const qint64 waited = clock.elapsed();
    sender.join();
    QCOMPARE(hid::virt::Bytes(buffer, buffer + std::max(length, 0)), (hid::virt::Bytes{0x01, 0x05, 0x00}));
    QVERIFY2(waited < 1000, qPrintable(QString::number(waited)));
    // Nothing more: a non-blocking read returns at once with nothing.
    QCOMPARE(hid_read_timeout(device, buffer, sizeof buffer, 0), 0);
    hid_close(device);
}

void TestHidrawEmulation::unplugFailsReadsAndWritesAndReplugReturns()
{
    const TestHeadset headset = TestHeadset::add(modelDescription("telephony-headset"));
    hid_device *device = hid_open_path(headset.path().c_str());
    QVERIFY(device);
    headset.unplug();
    unsigned char buffer[256];
    QCOMPARE(hid_read_timeout(device, buffer, sizeof buffer, 250), -1);
    const unsigned char report[] = {0x02, 0x22};
    QCOMPARE(hid_write(device, report, sizeof report), -1);
    QCOMPARE(listed(headset.path()).path, std::string());
    QVERIFY(!hid_open_path(headset.path().c_str()));
    hid_close(device);
    QTRY_COMPARE(headset.openHandles(), 0);

    headset.replug();
    QCOMPARE(listed(headset.path()).path, headset.path());
    device = hid_open_path(headset.path().c_str());
    QVERIFY(device);
    QCOMPARE(hid_write(device, report, sizeof report), 2);
    hid_close(device);
}

QVHID_TEST_HEADSET_MAIN(TestHidrawEmulation)
#include "tst_hidrawemulation.moc"
