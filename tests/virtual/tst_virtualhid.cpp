// SPDX-License-Identifier: BSD-3-Clause
// The virtual headset library: hidapi's functions over virtual devices, with hidraw's rules.

#include "descriptors.h"
#include "listedusages.h"

#include <virtualmodels.h>

#include <hidapi.h>

#include <QElapsedTimer>
#include <QtTest>

#include <dlfcn.h>

#include <atomic>
#include <thread>

// hidapi 0.14's function, which the virtual library provides; 0.13's header lacks it.
extern "C" int hid_get_report_descriptor(hid_device *dev, unsigned char *buf, size_t buf_size);

using namespace std::chrono_literals;
using hid::virt::Bytes;
using hid::virt::VirtualDevice;

namespace {

VirtualDevice addModel(const char *name, int index = 0)
{
    return hid::virt::addModel(*hid::virt::findModel(name)).at(static_cast<std::size_t>(index));
}

// Reads one report with a time-out; the bytes read, or "-1" / "timeout".
QByteArray readReport(hid_device *handle, int milliseconds, std::size_t size = 64)
{
    std::vector<unsigned char> buffer(size);
    const int n = hid_read_timeout(handle, buffer.data(), buffer.size(), milliseconds);
    if (n < 0)
        return "-1";
    if (n == 0)
        return "timeout";
    return QByteArray(reinterpret_cast<const char *>(buffer.data()), n).toHex();
}

QByteArrayList writtenHex(const VirtualDevice &device)
{
    QByteArrayList result;
    for (const hid::virt::WrittenReport &report : device.writtenReports())
        result << QByteArray(reinterpret_cast<const char *>(report.bytes.data()), int(report.bytes.size())).toHex();
    return result;
}

int write(hid_device *handle, const Bytes &bytes)
{
    return hid_write(handle, bytes.data(), bytes.size());
}

// The system's hidapi, as the virtual library sees it: loaded on its own.
hid_device_info *systemEnumeration()
{
    void *library = dlopen("libhidapi-hidraw.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return nullptr;
    using Enumerate = decltype(&hid_enumerate);
    auto enumerate = reinterpret_cast<Enumerate>(dlsym(library, "hid_enumerate"));
    return enumerate ? enumerate(0, 0) : nullptr;
}

} // namespace

class TestVirtualHid : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void enumerationListsVirtualDevicesAfterTheSystemsOwn();
    void enumerationFiltersByIds();
    void enumerationListsEveryNamedCollectionAsHidapiDoes();
    void openByPathAndByIds();
    void stringsAndDeviceInfo();
    void timedReadsBlockForTheirTimeOut();
    void blockingReadWaitsForADelayedReport();
    void nonBlockingModeFollowsTheHandle();
    void writesFollowHidrawsReportIdRule();
    void readsCutReportsLongerThanTheBuffer();
    void everyOpenHandleHasItsOwnQueue();
    void queueHoldsAtMost64Reports();
    void unplugFailsReadsAndWritesAndWakesAReader();
    void replugUnderANewPath();
    void pluggingIsToldToItsWatchers();
    void unwatchWaitsForTheCallbackInProgress();
    void responderAnswersWrites();
    void echoingModelAnswersEveryWrite();
    void injectedFaults();
    void unendingReportComesEvery2msAfterWhatIsQueued();
    void namedButtons();
    void countersCountCalls();
    void realDevicesPassThrough();
    void concurrentUse();
};

void TestVirtualHid::enumerationListsVirtualDevicesAfterTheSystemsOwn()
{
    int systemCount = 0;
    hid_device_info *system = systemEnumeration();
    for (hid_device_info *i = system; i; i = i->next)
        ++systemCount;
    hid_free_enumeration(system);

    const VirtualDevice first = addModel("telephony-headset");
    const VirtualDevice second = addModel("vendor-page-headset");
    hid_device_info *devices = hid_enumerate(0, 0);
    QStringList virtualPaths;
    int count = 0;
    for (hid_device_info *i = devices; i; i = i->next, ++count) {
        if (count >= systemCount)
            virtualPaths << QString::fromStdString(i->path);
    }
    QCOMPARE(count, systemCount + 2);
    QCOMPARE(virtualPaths, (QStringList{QString::fromStdString(first.path()), QString::fromStdString(second.path())}));
    hid_free_enumeration(devices);
}

void TestVirtualHid::enumerationFiltersByIds()
{
    addModel("telephony-headset");        // 0x0B0E:0x030D
    addModel("telephony-headset-no-ids"); // 0x0B0E:0xA345
    addModel("echoing-headset");          // 0x047F:0xC038
    const auto count = [](unsigned short vid, unsigned short pid) {
        int n = 0;
        hid_device_info *devices = hid_enumerate(vid, pid);
        for (hid_device_info *i = devices; i; i = i->next)
            n += i->path && QByteArray(i->path).startsWith("virtual-hid/") ? 1 : 0;
        hid_free_enumeration(devices);
        return n;
    };
    QCOMPARE(count(0, 0), 3);
    QCOMPARE(count(0x0B0E, 0), 2);
    QCOMPARE(count(0x0B0E, 0xA345), 1);
    QCOMPARE(count(0, 0xC038), 1);
    QCOMPARE(count(0x1234, 0), 0);
}

void TestVirtualHid::openByPathAndByIds()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *byPath = hid_open_path(device.path().c_str());
    QVERIFY(byPath);
    hid_device *byIds = hid_open(0x0B0E, 0x030D, nullptr);
    QVERIFY(byIds);
    QVERIFY(byIds != byPath);
    hid_device *bySerial = hid_open(0x0B0E, 0x030D, L"VH-0020");
    QVERIFY(bySerial);
    QCOMPARE(hid_open(0x0B0E, 0x030D, L"other"), nullptr);
    QCOMPARE(device.openHandles(), 3);
    hid_close(byPath);
    hid_close(byIds);
    hid_close(bySerial);
    QCOMPARE(device.openHandles(), 0);
    QCOMPARE(hid_open_path("virtual-hid/does-not-exist"), nullptr);
}

void TestVirtualHid::enumerationListsEveryNamedCollectionAsHidapiDoes()
{
    // As the system's hidapi lists it over hidraw (tst_hidrawemulation checks that side).
    hid::virt::DeviceDescription description = hid::virt::findModel("telephony-headset")->interfaces.at(0);
    description.path.clear();
    const QByteArray nested = descriptors::nestedCollections();
    description.descriptor.assign(nested.begin(), nested.end());
    const VirtualDevice device = VirtualDevice::add(description);
    QCOMPARE(listedUsagesOf(device.path()), (QStringList{"000b/0005", "000b/0020", "000c/0030", "000c/0001"}));
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    QCOMPARE(hid_get_device_info(handle)->usage, 0x05); // the first of them
    hid_close(handle);

    description.descriptor = {0x06, 0x00, 0xFF, 0x09, 0x01, 0x75, 0x08, 0x95, 0x01, 0x81, 0x02}; // no collection
    QCOMPARE(listedUsagesOf(VirtualDevice::add(description).path()), QStringList{"0000/0000"});
    description.descriptor.clear(); // no descriptor: the description's own usage
    QCOMPARE(listedUsagesOf(VirtualDevice::add(description).path()), QStringList{"000b/0005"});
}

void TestVirtualHid::stringsAndDeviceInfo()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    wchar_t text[64];
    QCOMPARE(hid_get_product_string(handle, text, 64), 0);
    QCOMPARE(QString::fromWCharArray(text), QStringLiteral("Office Headset 20"));
    QCOMPARE(hid_get_manufacturer_string(handle, text, 64), 0);
    QCOMPARE(QString::fromWCharArray(text), QStringLiteral("Virtual Audio"));
    QCOMPARE(hid_get_serial_number_string(handle, text, 4), 0);
    QCOMPARE(QString::fromWCharArray(text), QStringLiteral("VH-")); // cut to the buffer
    QCOMPARE(hid_get_indexed_string(handle, 1, text, 64), -1);
    QVERIFY(QString::fromWCharArray(hid_error(handle)).contains(QStringLiteral("indexed")));

    const hid_device_info *info = hid_get_device_info(handle);
    QVERIFY(info);
    QCOMPARE(QByteArray(info->path), QByteArray::fromStdString(device.path()));
    QCOMPARE(info->vendor_id, 0x0B0E);
    QCOMPARE(info->product_id, 0x030D);
    QCOMPARE(info->release_number, 0x0100);
    QCOMPARE(info->usage_page, 0x0B);
    QCOMPARE(info->usage, 0x05);
    QCOMPARE(info->interface_number, 3);
    QCOMPARE(info->bus_type, HID_API_BUS_USB);

    unsigned char descriptor[4096];
    const int length = hid_get_report_descriptor(handle, descriptor, sizeof(descriptor));
    QCOMPARE(length, int(device.description().descriptor.size()));
    QVERIFY(std::equal(descriptor, descriptor + length, device.description().descriptor.begin()));
    QCOMPARE(hid_get_report_descriptor(handle, descriptor, 4), 4);
    hid_close(handle);

    // A device may declare no descriptor at all: it reads as zero bytes.
    hid::virt::DeviceDescription bare = device.description();
    bare.path.clear();
    bare.descriptor.clear();
    VirtualDevice withoutDescriptor = VirtualDevice::add(bare);
    handle = hid_open_path(withoutDescriptor.path().c_str());
    QVERIFY(handle);
    QCOMPARE(hid_get_report_descriptor(handle, descriptor, sizeof(descriptor)), 0);
    hid_close(handle);
}

void TestVirtualHid::timedReadsBlockForTheirTimeOut()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(readReport(handle, 120), QByteArray("timeout"));
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed >= 119 && elapsed < 2000, QByteArray::number(elapsed));

    timer.restart();
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    QVERIFY(timer.elapsed() < 100);

    // A report that becomes readable during the wait ends it at once.
    device.inject({0x01, 0x01, 0x00}, 60ms);
    timer.restart();
    QCOMPARE(readReport(handle, 1000), QByteArray("010100"));
    QVERIFY2(timer.elapsed() >= 55 && timer.elapsed() < 900, QByteArray::number(timer.elapsed()));
    hid_close(handle);
}

void TestVirtualHid::blockingReadWaitsForADelayedReport()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    VirtualDevice(device).inject({0x01, 0x00, 0x02}, 150ms);
    VirtualDevice(device).inject({0x01, 0x00, 0x01}, 100ms);
    QElapsedTimer timer;
    timer.start();
    unsigned char buffer[8];
    // Reports become readable in the order of their times, not of their injection.
    QCOMPARE(hid_read(handle, buffer, sizeof(buffer)), 3);
    QCOMPARE(buffer[2], 0x01);
    QVERIFY2(timer.elapsed() >= 95, QByteArray::number(timer.elapsed()));
    QCOMPARE(hid_read_timeout(handle, buffer, sizeof(buffer), -1), 3);
    QCOMPARE(buffer[2], 0x02);
    QVERIFY2(timer.elapsed() >= 145, QByteArray::number(timer.elapsed()));
    hid_close(handle);
}

void TestVirtualHid::nonBlockingModeFollowsTheHandle()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QCOMPARE(hid_set_nonblocking(handle, 1), 0);
    unsigned char buffer[8];
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(hid_read(handle, buffer, sizeof(buffer)), 0);
    QVERIFY(timer.elapsed() < 100);
    VirtualDevice(device).inject({0x01, 0x01, 0x00});
    QCOMPARE(hid_read(handle, buffer, sizeof(buffer)), 3);
    // hid_read_timeout keeps its own time-out whatever the mode.
    timer.restart();
    QCOMPARE(hid_read_timeout(handle, buffer, sizeof(buffer), 50), 0);
    QVERIFY(timer.elapsed() >= 49);
    hid_close(handle);
}

void TestVirtualHid::writesFollowHidrawsReportIdRule()
{
    const VirtualDevice numbered = addModel("telephony-headset");
    const VirtualDevice unnumbered = addModel("telephony-headset-no-ids");
    hid_device *a = hid_open_path(numbered.path().c_str());
    hid_device *b = hid_open_path(unnumbered.path().c_str());
    // The report id is sent with the report; a leading 0 (no report ids) is not.
    QCOMPARE(write(a, {0x02, 0x22}), 2);
    QCOMPARE(write(b, {0x00, 0x21}), 2);
    QCOMPARE(write(b, {0x00, 0x21, 0x00}), 3);
    QCOMPARE(writtenHex(numbered), QByteArrayList{"0222"});
    QCOMPARE(writtenHex(unnumbered), (QByteArrayList{"21", "2100"}));
    // hidraw refuses a write of less than two bytes.
    QCOMPARE(write(b, {0x00}), -1);
    QCOMPARE(hid_write(b, nullptr, 4), -1);
    QCOMPARE(writtenHex(unnumbered).size(), 2);
    const auto before = numbered.writtenReports().front().time;
    QVERIFY(before <= std::chrono::steady_clock::now());
    hid_close(a);
    hid_close(b);
}

void TestVirtualHid::readsCutReportsLongerThanTheBuffer()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    VirtualDevice(device).inject({0x01, 0x01, 0x02});
    QCOMPARE(readReport(handle, 0, 2), QByteArray("0101"));
    QCOMPARE(readReport(handle, 0), QByteArray("timeout")); // the rest is gone

    // An empty report reads as nothing, and the next one as itself.
    VirtualDevice(device).inject({});
    VirtualDevice(device).inject({0x01, 0x01, 0x00});
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    QCOMPARE(readReport(handle, 0), QByteArray("010100"));
    hid_close(handle);
}

void TestVirtualHid::everyOpenHandleHasItsOwnQueue()
{
    VirtualDevice device = addModel("telephony-headset");
    device.inject({0x01, 0x01, 0x00}); // nobody has it open: lost
    hid_device *a = hid_open_path(device.path().c_str());
    hid_device *b = hid_open_path(device.path().c_str());
    device.inject({0x01, 0x00, 0x01});
    QCOMPARE(readReport(a, 0), QByteArray("010001"));
    QCOMPARE(readReport(a, 0), QByteArray("timeout"));
    QCOMPARE(readReport(b, 0), QByteArray("010001"));
    hid_close(a);
    hid_close(b);
}

void TestVirtualHid::queueHoldsAtMost64Reports()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    for (int i = 0; i < 70; ++i)
        device.inject({0x01, 0x00, static_cast<unsigned char>(i)});
    int read = 0;
    unsigned char last = 0;
    unsigned char buffer[3];
    while (hid_read_timeout(handle, buffer, 3, 0) == 3) {
        ++read;
        last = buffer[2];
    }
    QCOMPARE(read, 64);
    QCOMPARE(int(last), 63); // the newest were dropped
    hid_close(handle);
}

void TestVirtualHid::unplugFailsReadsAndWritesAndWakesAReader()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    std::atomic<int> result{1};
    std::thread reader([&] {
        unsigned char buffer[8];
        result = hid_read_timeout(handle, buffer, sizeof(buffer), 5000);
    });
    std::this_thread::sleep_for(50ms);
    QElapsedTimer timer;
    timer.start();
    device.unplug();
    reader.join();
    QCOMPARE(result.load(), -1);
    QVERIFY(timer.elapsed() < 2000);
    QVERIFY(!device.isPlugged());
    QCOMPARE(write(handle, {0x02, 0x01}), -1);
    QVERIFY(QString::fromWCharArray(hid_error(handle)).contains(QStringLiteral("disconnected")));
    QCOMPARE(readReport(handle, 0), QByteArray("-1"));
    unsigned char descriptor[16];
    QCOMPARE(hid_get_report_descriptor(handle, descriptor, sizeof(descriptor)), -1);
    QCOMPARE(hid_open_path(device.path().c_str()), nullptr);
    hid_device_info *devices = hid_enumerate(0x0B0E, 0x030D);
    for (hid_device_info *i = devices; i; i = i->next)
        QVERIFY(QByteArray(i->path) != QByteArray::fromStdString(device.path()));
    hid_free_enumeration(devices);
    hid_close(handle);
}

void TestVirtualHid::replugUnderANewPath()
{
    VirtualDevice device = addModel("telephony-headset");
    const std::string oldPath = device.path();
    hid_device *old = hid_open_path(oldPath.c_str());
    device.unplug();
    device.replug("virtual-hid/replugged");
    QVERIFY(device.isPlugged());
    QCOMPARE(device.path(), std::string("virtual-hid/replugged"));
    QCOMPARE(hid_open_path(oldPath.c_str()), nullptr);
    hid_device *fresh = hid_open_path("virtual-hid/replugged");
    QVERIFY(fresh);
    device.inject({0x01, 0x01, 0x00});
    QCOMPARE(readReport(fresh, 0), QByteArray("010100"));
    QCOMPARE(readReport(old, 0), QByteArray("-1")); // the old handle stays dead
    hid_close(old);
    hid_close(fresh);

    // Replugged under the same path, it opens there again.
    device.unplug();
    device.replug();
    hid_device *same = hid_open_path("virtual-hid/replugged");
    QVERIFY(same);
    hid_close(same);
}

void TestVirtualHid::pluggingIsToldToItsWatchers()
{
    struct Watch
    {
        std::atomic<int> calls{0};
        std::atomic<bool> pluggedWhenCalled{false};
        VirtualDevice device;
    };
    Watch watch;
    const auto count = [](void *context) {
        auto *w = static_cast<Watch *>(context);
        // Told after the change: the enumeration already shows it.
        hid_device_info *listed = hid_enumerate(0x0B0E, 0x030D);
        w->pluggedWhenCalled = listed != nullptr;
        hid_free_enumeration(listed);
        ++w->calls;
    };
    QCOMPARE(hid_watch_plugging(nullptr, nullptr), 0);
    const int handle = hid_watch_plugging(count, &watch);
    QVERIFY(handle > 0);
    watch.device = addModel("telephony-headset");
    QCOMPARE(watch.calls.load(), 1);
    QVERIFY(watch.pluggedWhenCalled);
    watch.device.unplug();
    QCOMPARE(watch.calls.load(), 2);
    QVERIFY(!watch.pluggedWhenCalled);
    watch.device.replug("virtual-hid/watched");
    QCOMPARE(watch.calls.load(), 3);
    QVERIFY(watch.pluggedWhenCalled);
    watch.device.remove();
    QCOMPARE(watch.calls.load(), 4);
    addModel("telephony-headset");
    hid::virt::removeAllDevices();
    QCOMPARE(watch.calls.load(), 6);
    // Injected reports, writes and presses are no plugging.
    VirtualDevice other = addModel("telephony-headset");
    other.press("answer");
    QCOMPARE(watch.calls.load(), 7);

    // A second watcher is told too; one that ended is not.
    Watch second;
    const int secondHandle = hid_watch_plugging(count, &second);
    QVERIFY(secondHandle > 0 && secondHandle != handle);
    hid_unwatch_plugging(handle);
    other.unplug();
    QCOMPARE(watch.calls.load(), 7);
    QCOMPARE(second.calls.load(), 1);
    hid_unwatch_plugging(secondHandle);
    hid_unwatch_plugging(secondHandle); // twice, or an unknown handle: nothing happens
    hid_unwatch_plugging(12345);
    other.replug();
    QCOMPARE(second.calls.load(), 1);
}

void TestVirtualHid::unwatchWaitsForTheCallbackInProgress()
{
    // The callback runs on the thread that plugs; unwatching from another waits for it.
    struct Slow
    {
        std::atomic<bool> entered{false};
        std::atomic<bool> finished{false};
    };
    Slow slow;
    const int handle = hid_watch_plugging(
        [](void *context) {
            auto *s = static_cast<Slow *>(context);
            s->entered = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            s->finished = true;
        },
        &slow);
    std::thread plugger([] { addModel("telephony-headset"); });
    QTRY_VERIFY(slow.entered);
    hid_unwatch_plugging(handle);
    QVERIFY(slow.finished);
    plugger.join();
}

void TestVirtualHid::responderAnswersWrites()
{
    VirtualDevice device = addModel("telephony-headset");
    Bytes seen;
    device.setResponder([&seen](const Bytes &written) {
        seen = written;
        const unsigned char hook = written[1] & 0x01;
        return std::vector<Bytes>{{0x01, hook, 0x00}, {0x01, 0x00, 0x03}};
    });
    hid_device *handle = hid_open_path(device.path().c_str());
    QCOMPARE(write(handle, {0x02, 0x21}), 2);
    QCOMPARE(seen, (Bytes{0x02, 0x21}));
    QCOMPARE(readReport(handle, 0), QByteArray("010100"));
    QCOMPARE(readReport(handle, 0), QByteArray("010003"));
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    device.setResponder(nullptr);
    QCOMPARE(write(handle, {0x02, 0x00}), 2);
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    hid_close(handle);
}

void TestVirtualHid::echoingModelAnswersEveryWrite()
{
    const VirtualDevice device = addModel("echoing-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QCOMPARE(write(handle, {0x00, 0x22}), 2);
    QCOMPARE(write(handle, {0x00, 0x21}), 2);
    QCOMPARE(readReport(handle, 0), QByteArray("0000"));
    QCOMPARE(readReport(handle, 0), QByteArray("0000"));
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    hid_close(handle);
}

void TestVirtualHid::injectedFaults()
{
    VirtualDevice device = addModel("telephony-headset");
    hid::virt::Faults faults;
    faults.openFails = true;
    device.setFaults(faults);
    QCOMPARE(hid_open_path(device.path().c_str()), nullptr);
    QVERIFY(QString::fromWCharArray(hid_error(nullptr)).contains(QStringLiteral("virtual")));
    QCOMPARE(device.counters().opens, 0ul);

    faults = hid::virt::Faults();
    faults.writesFail = true;
    faults.descriptorUnreadable = true;
    device.setFaults(faults);
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    QCOMPARE(write(handle, {0x02, 0x01}), -1);
    QVERIFY(device.writtenReports().empty());
    unsigned char descriptor[64];
    QCOMPARE(hid_get_report_descriptor(handle, descriptor, sizeof(descriptor)), -1);
    device.setFaults(hid::virt::Faults());
    QCOMPARE(write(handle, {0x02, 0x01}), 2);
    QVERIFY(hid_get_report_descriptor(handle, descriptor, sizeof(descriptor)) > 0);
    hid_close(handle);
}

void TestVirtualHid::unendingReportComesEvery2msAfterWhatIsQueued()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(handle);
    hid::virt::Faults chatty;
    chatty.unendingReport = {0x01, 0x00, 0x00};
    device.setFaults(chatty);
    device.inject({0x01, 0x01, 0x00});
    // What was queued comes first; then the unending report, at once the first time.
    QCOMPARE(readReport(handle, 0), QByteArray("010100"));
    QCOMPARE(readReport(handle, 0), QByteArray("010000"));
    // The next one is 2 ms away.
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(readReport(handle, 1000), QByteArray("010000"));
    QVERIFY(clock.nsecsElapsed() >= 1'000'000);
    // A reader that comes late finds one report, not all those it missed.
    QTest::qSleep(50);
    clock.restart();
    int found = 0;
    while (readReport(handle, 0) != "timeout")
        ++found;
    QVERIFY(found >= 1);
    QVERIFY2(found <= 1 + clock.elapsed() / 2 + 1, qPrintable(QString::number(found)));
    // A read that waits without a time-out is woken for it.
    device.setFaults(hid::virt::Faults());
    QTest::qSleep(5);
    std::thread later([device]() mutable {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hid::virt::Faults faults;
        faults.unendingReport = {0x01, 0x00, 0x00};
        device.setFaults(faults);
    });
    QCOMPARE(readReport(handle, -1), QByteArray("010000"));
    later.join();
    device.setFaults(hid::virt::Faults());
    QTest::qSleep(5);
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    hid_close(handle);
}

void TestVirtualHid::namedButtons()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    QVERIFY(device.press("mute"));
    QVERIFY(device.release("mute"));
    QVERIFY(device.press("answer"));
    QVERIFY(device.release("answer")); // known, and sends nothing
    QVERIFY(!device.press("no-such-button"));
    QCOMPARE(readReport(handle, 0), QByteArray("010500"));
    QCOMPARE(readReport(handle, 0), QByteArray("010100"));
    QCOMPARE(readReport(handle, 0), QByteArray("010100"));
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    QVERIFY(device.press("drop", 30ms));
    QCOMPARE(readReport(handle, 0), QByteArray("timeout"));
    QCOMPARE(readReport(handle, 1000), QByteArray("011000"));
    hid_close(handle);
}

void TestVirtualHid::countersCountCalls()
{
    const VirtualDevice device = addModel("telephony-headset");
    hid_device *a = hid_open_path(device.path().c_str());
    hid_device *b = hid_open_path(device.path().c_str());
    unsigned char buffer[4];
    hid_read_timeout(a, buffer, sizeof(buffer), 0);
    hid_read_timeout(b, buffer, sizeof(buffer), 0);
    hid_read_timeout(b, buffer, sizeof(buffer), 0);
    write(a, {0x02, 0x01});
    write(a, {0x02});
    const hid::virt::Counters counters = device.counters();
    QCOMPARE(counters.opens, 2ul);
    QCOMPARE(counters.reads, 3ul);
    QCOMPARE(counters.writes, 2ul);
    hid_close(a);
    hid_close(b);
    QVERIFY(device.isValid());
    VirtualDevice(device).remove();
    QVERIFY(!device.isValid());
    QCOMPARE(device.counters().opens, 0ul);
}

void TestVirtualHid::realDevicesPassThrough()
{
    // The system's hidapi was loaded for everything that is not virtual: its version answers.
    const hid_api_version *version = hid_version();
    QVERIFY(version);
    QCOMPARE(version->major, HID_API_VERSION_MAJOR);
    QCOMPARE(version->minor, HID_API_VERSION_MINOR);
    QCOMPARE(QByteArray(hid_version_str()), QByteArray(HID_API_VERSION_STR));
    QCOMPARE(hid_init(), 0);
    // A path that is not virtual goes to the system's hidapi, which finds no such node.
    QCOMPARE(hid_open_path("/dev/hidraw-that-does-not-exist"), nullptr);
    QCOMPARE(hid_exit(), 0);
}

void TestVirtualHid::concurrentUse()
{
    VirtualDevice device = addModel("telephony-headset");
    hid_device *handle = hid_open_path(device.path().c_str());
    std::atomic<bool> stop{false};
    std::atomic<int> received{0};
    std::thread reader([&] {
        unsigned char buffer[8];
        while (!stop) {
            if (hid_read_timeout(handle, buffer, sizeof(buffer), 5) > 0)
                ++received;
        }
    });
    std::thread writer([&] {
        for (int i = 0; i < 500; ++i)
            write(handle, {0x02, static_cast<unsigned char>(i)});
    });
    std::thread enumerator([&] {
        for (int i = 0; i < 50; ++i)
            hid_free_enumeration(hid_enumerate(0, 0));
    });
    // In batches smaller than a queue, each read before the next, so that none is dropped.
    for (int batch = 1; batch <= 10; ++batch) {
        for (int i = 0; i < 50; ++i)
            device.inject({0x01, 0x00, 0x00});
        QTRY_COMPARE_WITH_TIMEOUT(received.load(), batch * 50, 10000);
    }
    writer.join();
    enumerator.join();
    stop = true;
    reader.join();
    QCOMPARE(device.writtenReports().size(), std::size_t(500));
    hid_close(handle);
}

QTEST_GUILESS_MAIN(TestVirtualHid)
#include "tst_virtualhid.moc"
