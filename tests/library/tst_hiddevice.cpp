// SPDX-License-Identifier: BSD-3-Clause
// The headset binding: the hardware name inside an audio-device name, the choice of the HID
// interface, and the life of the reader thread, against hand-made enumeration lists and
// virtual headsets.

#include "bindingevents.h"
#include "capturinglogger.h"
#include "declaredmethods.h"
#include "liveobjects.h"
#include "signalrecorder.h"
#include "stresscount.h"
#include "virtualheadsets.h"

#include <bindingsystem.h>
#include <hiddevice.h>
#include <platform/hiddevicelookup.h>

#include <hidapi.h>

#include <QTemporaryDir>
#include <QtTest>

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

using hid::HidDevice;
using hid::virt::VirtualDevice;

namespace {

const QString OfficeHeadset20 = QStringLiteral("Office Headset 20");
const QString EndpointOfHeadset20 = QStringLiteral("Headset Microphone (2- Office Headset 20)");

// One record of an enumeration list, with the strings it points to.
struct Record
{
    std::string path;
    unsigned short vendorId = 0;
    unsigned short productId = 0;
    unsigned short releaseNumber = 0;
    std::wstring product;
    bool hasProduct = true;
    unsigned short usagePage = 0;
    unsigned short usage = 0;
};

// A list as hid_enumerate() returns one, built from records.
class Enumeration
{
public:
    explicit Enumeration(std::vector<Record> records)
        : m_records(std::move(records))
        , m_infos(m_records.size())
    {
        for (std::size_t i = 0; i < m_records.size(); ++i) {
            hid_device_info &info = m_infos[i];
            info.path = const_cast<char *>(m_records[i].path.c_str());
            info.vendor_id = m_records[i].vendorId;
            info.product_id = m_records[i].productId;
            info.release_number = m_records[i].releaseNumber;
            info.product_string =
                m_records[i].hasProduct ? const_cast<wchar_t *>(m_records[i].product.c_str()) : nullptr;
            info.usage_page = m_records[i].usagePage;
            info.usage = m_records[i].usage;
            info.next = i + 1 < m_records.size() ? &m_infos[i + 1] : nullptr;
        }
    }

    hid_device_info *head() { return m_infos.empty() ? nullptr : m_infos.data(); }

private:
    std::vector<Record> m_records;
    std::vector<hid_device_info> m_infos;
};

void compareCodes(const hid::HidCode &actual, const hid::HidCode &expected)
{
    QCOMPARE(actual.devUsagePage, expected.devUsagePage);
    QCOMPARE(actual.devUsageID, expected.devUsageID);
    QCOMPARE(actual.inputPage, expected.inputPage);
    QCOMPARE(actual.outputPage, expected.outputPage);
    QCOMPARE(actual.clickTypeOnEmptyCode, expected.clickTypeOnEmptyCode);
    QCOMPARE(actual.longDelay, expected.longDelay);
    QCOMPARE(actual.cmdInit, expected.cmdInit);
    QCOMPARE(actual.cmdRing, expected.cmdRing);
    QCOMPARE(actual.cmdTalk, expected.cmdTalk);
    QCOMPARE(actual.cmdHold, expected.cmdHold);
    QCOMPARE(actual.cmdHoldMuted, expected.cmdHoldMuted);
    QCOMPARE(actual.cmdMute, expected.cmdMute);
    QCOMPARE(actual.cmdFromTalkToRing, expected.cmdFromTalkToRing);
}

void verifyUnchosen(const hid::HidDeviceInfo &info)
{
    QCOMPARE(info.vendorId, 0);
    QCOMPARE(info.productId, 0);
    QCOMPARE(info.releaseNumber, 0);
    QVERIFY(info.name.isEmpty());
    QVERIFY(info.path.isEmpty());
    compareCodes(info.code, hid::HidCode());
}

QString pathOf(const VirtualDevice &device)
{
    return QString::fromStdString(device.path());
}

int countOf(const CapturingLogger &logger, const QString &text)
{
    return logger.texts().count(text);
}

// A virtual headset of the standard model with the given faults, a binding watched by a
// recorder, and a logger that outlives the binding.
struct BindingRig
{
    explicit BindingRig(const hid::virt::Faults &faults = {})
        : headset(VirtualDevice::add(modelDescription("telephony-headset")))
    {
        headset.setFaults(faults);
        events.watch(&device);
    }

    VirtualDevice headset;
    CapturingLogger logger;
    HidDevice device{nullptr};
    BindingEvents events;
};

// A binding, with the standard headset plugged in first (unless told otherwise), a recorder and
// a logger. The binding learns of virtual headsets being plugged in and out as an application's
// does, through the virtual library.
struct PluggingRig
{
    explicit PluggingRig(bool plugged = true)
    {
        if (plugged)
            headset = VirtualDevice::add(modelDescription("telephony-headset"));
        events.watch(&device);
    }
    ~PluggingRig() { hid::virt::removeAllDevices(); }

    VirtualDevice headset;
    CapturingLogger logger;
    HidDevice device{nullptr};
    BindingEvents events;
};

// A dictionary with one configuration, a row for the bench headset and a vendor-wide row for
// the vendor of the office headsets.
const QString BenchDictionary = QStringLiteral(R"({
    "configurations": { "Bench": { "clickTypeOnEmptyCode": "CLICK", "cmdRing": [["RING"]] } },
    "devices": [
        { "name": "Bench", "vid": "0x1209", "pid": "0x0001", "configuration": "Bench" },
        { "name": "Everything else", "vid": "0x0B0E", "configuration": "Bench" }
    ]
})");

} // namespace

class TestHidDevice : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void cleanup() { hid::HidDeviceDict::init(); }

    void parentNameOfAudioDeviceNames_data();
    void parentNameOfAudioDeviceNames();
    void parentNameIsLogged();
    void defaultDeviceAliasInAnyCase();
    void defaultDeviceAliasChoosesNothingWithoutEnumerating();
    void platformFunctions();
    void findDeviceTakesTheFirstExplicitlyListedRecord();
    void findDeviceComparesProductStringsCaseSensitively();
    void vendorWideRowNeverChooses();
    void nullListLogsTheHeaderAndZero();
    void missingProductStringIsWrittenEmpty();
    void wideProductStringsAndUtf8Paths();
    void chooseDeviceOverTheEnumeration();
    void failedChoiceForgetsThePreviousOne();
    void emptyParentNameChoosesNothingSilently();
    void callControlInterfaceWinsOverEnumerationOrder();
    void enumerationOrderDecidesAmongEquals();

    void declaredSignalsAndSlots();
    void callStateSlotsRelayTheirSignal();
    void initDevicesReplacesTheDictionary();
    void resetStartsAReaderAndShowsTheProductString();
    void resetToTheBoundNameRebindsAfresh();
    void resetToANameWithoutDeviceOnlyHides();
    void resetAwayFromABindingEndsItsReader();
    void startWithoutAPathCreatesNoThread();
    void stopWithoutAThreadOnlyForgets();
    void readerThatCannotOpenLeavesTheBindingDetached();
    void lateNoticeOfAReplacedReaderIsIgnored();
    void destroyingAnUnboundDeviceHidesOnce();
    void destroyingABoundDeviceEndsItsReader();
    void readerThreadSaysWhenItIsDestroyed();

    void withdrawnBindingSendsNothingMore();
    void unpluggedHeadsetHidesOnceAndIsBoundAgainWhenPluggedIn();
    void pluggedInHeadsetTakesTheCallBeforeItWaitsForInput();
    void headsetPluggedInAfterItsNameWasReported();
    void headsetThatCannotBeOpenedIsTriedAgainOnlyOnAPlugEvent();
    void noWaitingWithoutAName();
    void headsetWhoseNodeIsNotThereYetIsLeftForTheNextEvent();
    void directoryThatCannotBeWatchedIsLogged();
};

// --- The hardware name --------------------------------------------------------------------------

void TestHidDevice::parentNameOfAudioDeviceNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("parent");
    QTest::newRow("indexed endpoint") << EndpointOfHeadset20 << OfficeHeadset20;
    QTest::newRow("plain group") << "Headset Microphone (Office Headset 20)" << OfficeHeadset20;
    QTest::newRow("no group: whole name") << "Office Headset 20" << OfficeHeadset20;
    QTest::newRow("no group: untrimmed") << "  Office Headset 20 "
                                         << "  Office Headset 20 ";
    QTest::newRow("index without name") << "Line (3-)"
                                        << "3-";
    QTest::newRow("long index, no blank") << "Speakers (12-Office Headset 20 )" << OfficeHeadset20;
    QTest::newRow("hyphen without index") << "Speakers (-Office Headset 20)" << OfficeHeadset20;
    QTest::newRow("hyphen inside the name") << "Speakers (Office-Headset)"
                                            << "Office-Headset";
    QTest::newRow("last group counts") << "Mic (Array) (2- Office Headset 20)" << OfficeHeadset20;
    QTest::newRow("group not at the end") << "Mic (Office Headset 20) rear"
                                          << "Mic (Office Headset 20) rear";
    QTest::newRow("empty group") << "Mic ()"
                                 << "Mic ()";
    QTest::newRow("empty") << ""
                           << "";
}

void TestHidDevice::parentNameOfAudioDeviceNames()
{
    QFETCH(QString, name);
    QFETCH(QString, parent);
    HidDevice device(nullptr);
    QCOMPARE(device.getParentDeviceName(name), parent);
}

void TestHidDevice::parentNameIsLogged()
{
    CapturingLogger logger;
    HidDevice device(nullptr);
    device.getParentDeviceName(EndpointOfHeadset20);
    const QList<CapturedLine> lines = logger.lines();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].text, QStringLiteral("HID DEVICE Parent device is Office Headset 20"));
    QCOMPARE(lines[0].level, 7);
    QCOMPARE(lines[0].category, QStringLiteral("hid"));
    QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
    QCOMPARE(lines[0].function, QStringLiteral("getParentDeviceName"));
}

void TestHidDevice::defaultDeviceAliasInAnyCase()
{
    HidDevice device(nullptr);
    for (const char *alias : {"Wave mapper", "WAVE MAPPER", "wave Mapper"}) {
        QVERIFY2(HidDevice::IsOSDefault(QString::fromLatin1(alias)), alias);
        QCOMPARE(device.getParentDeviceName(QString::fromLatin1(alias)), QString());
    }
    for (const char *other : {"Wave mapper 2", "Wave", "", "(Wave mapper)"})
        QVERIFY2(!HidDevice::IsOSDefault(QString::fromLatin1(other)), other);
    // An alias inside parentheses is an ordinary hardware name.
    QCOMPARE(device.getParentDeviceName(QStringLiteral("Out (Wave mapper)")), QStringLiteral("Wave mapper"));
}

void TestHidDevice::defaultDeviceAliasChoosesNothingWithoutEnumerating()
{
    BindingRig rig;
    QVERIFY(!rig.device.reset(QStringLiteral("wAVE mAPPER")));
    QCOMPARE(rig.events.entries(), QStringList{"hide"});
    QCOMPARE(rig.logger.texts(), QStringList{"HID DEVICE Parent device is "});
    QCOMPARE(rig.headset.counters().opens, 0ul);
}

void TestHidDevice::platformFunctions()
{
    QCOMPARE(hid::GetDefaultDeviceName(), std::wstring());
    QCOMPARE(hid::GetDefaultDevicePath(), std::wstring());

    std::wstring container = L"left over";
    QVERIFY(hid::findDeviceBaseContainerId(L"USB\\VID_0B0E&PID_030D", container));
    QVERIFY(container == L"USB\\VID_0B0E&PID_030D");

    std::list<std::string> devices;
    QVERIFY(hid::findHidDevicesByBaseContainerId(std::wstring(), devices));
    QCOMPARE(devices.size(), std::size_t(1));
    QCOMPARE(devices.front(), std::string());

    devices = {"first", "second"};
    QVERIFY(hid::findHidDevicesByBaseContainerId(L"/dev/hidraw3", devices));
    QCOMPARE(devices, (std::list<std::string>{"first", "second", "/dev/hidraw3"}));

    // Narrowed, not converted: only the low 8 bits of each character are kept.
    devices.clear();
    QVERIFY(hid::findHidDevicesByBaseContainerId(std::wstring{wchar_t(0x0141), wchar_t(0x00E9), wchar_t(0x1F3A7)},
                                                 devices));
    QCOMPARE(devices.front(), (std::string{char(0x41), char(0xE9), char(0xA7)}));
}

// --- Choosing the interface ---------------------------------------------------------------------

void TestHidDevice::findDeviceTakesTheFirstExplicitlyListedRecord()
{
    Enumeration list({
        {"/dev/hidraw0", 0x0B0E, 0x9999, 0x0100, L"Office Headset 20", true, 0x0B, 0x05}, // ids unknown
        {"/dev/hidraw1", 0x046D, 0xC52B, 0x1203, L"Receiver", true, 0x01, 0x02},
        {"/dev/hidraw2", 0x0B0E, 0x030D, 0x0123, L"Office Headset 20", true, 0x0B, 0x05},
        {"/dev/hidraw3", 0x0B0E, 0x030D, 0x0123, L"Office Headset 20", true, 0x0C, 0x01},
    });
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.findDevice(list.head(), OfficeHeadset20));

    const QStringList expected = {
        "HID DEVICE Devices list: ",
        "HID DEVICE Device [Office Headset 20] (vid, pid, hid page, hid usage): (2830, 39321, 11, 5)",
        "HID DEVICE Device [Receiver] (vid, pid, hid page, hid usage): (1133, 50475, 1, 2)",
        "HID DEVICE Device [Office Headset 20] (vid, pid, hid page, hid usage): (2830, 781, 11, 5)",
        "HID DEVICE Device [Office Headset 20] (vid, pid, hid page, hid usage): (2830, 781, 12, 1)",
        "HID DEVICE Get codes for device (2830, 39321): 11 5 11 8 explicit: 0",
        "HID DEVICE Get codes for device (2830, 781): 11 5 11 8 explicit: 1",
        "HID DEVICE Device found vid, pid, hid page, hid usage: 2830, 781, 11, 5",
        "HID DEVICE findDevice 1",
    };
    QCOMPARE(logger.texts(), expected);
    for (const CapturedLine &line : logger.lines()) {
        QCOMPARE(line.level, 7);
        QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
        QCOMPARE(line.function, QStringLiteral("findDevice"));
    }

    const hid::HidDeviceInfo &info = device.getInfo();
    QCOMPARE(info.vendorId, 0x0B0E);
    QCOMPARE(info.productId, 0x030D);
    QCOMPARE(info.releaseNumber, 0x0123);
    QCOMPARE(info.name, OfficeHeadset20);
    QCOMPARE(info.path, QStringLiteral("/dev/hidraw2"));
    compareCodes(info.code, dictionaryCode(0x0B0E, 0x030D));
}

void TestHidDevice::findDeviceComparesProductStringsCaseSensitively()
{
    Enumeration list({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"office headset 20", true, 0x0B, 0x05},
                      {"/dev/hidraw1", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20 ", true, 0x0B, 0x05}});
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.findDevice(list.head(), OfficeHeadset20));
    QCOMPARE(logger.texts().last(), QStringLiteral("HID DEVICE findDevice 0"));
    for (const QString &text : logger.texts())
        QVERIFY2(!text.startsWith(QLatin1String("HID DEVICE Get codes")), qPrintable(text));
    verifyUnchosen(device.getInfo());
}

void TestHidDevice::vendorWideRowNeverChooses()
{
    HidDevice device(nullptr);
    device.initDevices(BenchDictionary);
    Enumeration list({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0x0B, 0x05},
                      {"/dev/hidraw1", 0x1209, 0x0001, 0x0100, L"Bench Headset", true, 0x0B, 0x05}});
    CapturingLogger logger;
    QVERIFY(!device.findDevice(list.head(), OfficeHeadset20));
    QVERIFY(
        logger.texts().contains(QStringLiteral("HID DEVICE Get codes for device (2830, 781): 11 5 11 8 explicit: 0")));
    verifyUnchosen(device.getInfo());

    QVERIFY(device.findDevice(list.head(), QStringLiteral("Bench Headset")));
    QCOMPARE(device.getInfo().path, QStringLiteral("/dev/hidraw1"));
    QCOMPARE(device.getInfo().code.clickTypeOnEmptyCode, hid::CLICK);
    QCOMPARE(device.getInfo().code.cmdRing, (hid::HidCommand{{0x18}}));
}

void TestHidDevice::nullListLogsTheHeaderAndZero()
{
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.findDevice(nullptr, OfficeHeadset20));
    QCOMPARE(logger.texts(), (QStringList{"HID DEVICE Devices list: ", "HID DEVICE findDevice 0"}));
}

void TestHidDevice::missingProductStringIsWrittenEmpty()
{
    Enumeration list({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"", false, 0x0B, 0x05}});
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(!device.findDevice(list.head(), OfficeHeadset20));
    QCOMPARE(logger.texts().at(1),
             QStringLiteral("HID DEVICE Device [] (vid, pid, hid page, hid usage): (2830, 781, 11, 5)"));
}

void TestHidDevice::wideProductStringsAndUtf8Paths()
{
    // Characters outside the Basic Multilingual Plane arrive as one UCS-4 unit each.
    const std::wstring product = L"Casque d\u2019\u00e9coute \U0001F3A7";
    const QString productText = QString::fromUtf8("Casque d\xe2\x80\x99\xc3\xa9"
                                                  "coute \xf0\x9f\x8e\xa7");
    Enumeration list({{"/dev/hid-\xc3\xa9", 0x0B0E, 0x030D, 0x0100, product, true, 0x0B, 0x05}});
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.findDevice(list.head(), productText));
    QCOMPARE(device.getInfo().name, productText);
    QCOMPARE(device.getInfo().path, QString::fromUtf8("/dev/hid-\xc3\xa9"));
    QCOMPARE(logger.texts().at(1),
             QStringLiteral("HID DEVICE Device [") + productText
                 + QStringLiteral("] (vid, pid, hid page, hid usage): (2830, 781, 11, 5)"));
}

void TestHidDevice::chooseDeviceOverTheEnumeration()
{
    VirtualDevice other = VirtualDevice::add(modelDescription("echoing-headset"));
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.chooseDevice(OfficeHeadset20));
    QCOMPARE(logger.texts().first(), QStringLiteral("HID DEVICE Devices list: "));
    const CapturedLine last = logger.lines().last();
    QCOMPARE(last.text, QStringLiteral("HID DEVICE Choose device:true Office Headset 20"));
    QCOMPARE(last.function, QStringLiteral("chooseDevice"));
    QCOMPARE(last.level, 7);

    const hid::HidDeviceInfo &info = device.getInfo();
    QCOMPARE(info.path, pathOf(headset));
    QCOMPARE(info.vendorId, 0x0B0E);
    QCOMPARE(info.productId, 0x030D);
    QCOMPARE(info.releaseNumber, 0x0100);
    QCOMPARE(info.name, OfficeHeadset20);
    compareCodes(info.code, dictionaryCode(0x0B0E, 0x030D));
    // Choosing opens nothing: that is the reader's work.
    QCOMPARE(headset.counters().opens, 0ul);
    QCOMPARE(other.counters().opens, 0ul);
}

void TestHidDevice::failedChoiceForgetsThePreviousOne()
{
    VirtualDevice::add(modelDescription("telephony-headset"));
    HidDevice device(nullptr);
    QVERIFY(device.chooseDevice(OfficeHeadset20));
    CapturingLogger logger;
    QVERIFY(!device.chooseDevice(QStringLiteral("Office Headset 99")));
    QCOMPARE(logger.texts().last(), QStringLiteral("HID DEVICE Choose device:false "));
    verifyUnchosen(device.getInfo());
}

void TestHidDevice::emptyParentNameChoosesNothingSilently()
{
    VirtualDevice::add(modelDescription("telephony-headset"));
    HidDevice device(nullptr);
    QVERIFY(device.chooseDevice(OfficeHeadset20));
    CapturingLogger logger;
    QVERIFY(!device.chooseDevice(QString()));
    QVERIFY(logger.lines().isEmpty());
    verifyUnchosen(device.getInfo());
}

void TestHidDevice::callControlInterfaceWinsOverEnumerationOrder()
{
    // Both interfaces carry the product string and the listed ids; the one that is the
    // configuration's call-control collection wins, though it comes second.
    VirtualDevice consumer = VirtualDevice::add(modelDescription("consumer-first-headset", 0));
    VirtualDevice telephony = VirtualDevice::add(modelDescription("consumer-first-headset", 1));
    CapturingLogger logger;
    HidDevice device(nullptr);
    QVERIFY(device.chooseDevice(QStringLiteral("Office Headset 40")));
    QCOMPARE(device.getInfo().path, pathOf(telephony));
    QVERIFY(device.getInfo().path != pathOf(consumer));
    QCOMPARE(device.getChoice().interfaceNumber, 3);
    QCOMPARE(device.getChoice().usagePage, 0x0B);
    QCOMPARE(device.getChoice().usage, 0x05);
    QVERIFY(logger.texts().contains(
        QStringLiteral("HID DEVICE Device found vid, pid, hid page, hid usage: 2830, 9310, 11, 5")));
}

void TestHidDevice::enumerationOrderDecidesAmongEquals()
{
    // Neither is the call-control collection (11, 5): the first listed wins.
    Enumeration neither({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0x0C, 0x01},
                         {"/dev/hidraw1", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0xFF00, 0x01}});
    HidDevice device(nullptr);
    QVERIFY(device.findDevice(neither.head(), OfficeHeadset20));
    QCOMPARE(device.getInfo().path, QStringLiteral("/dev/hidraw0"));
    QVERIFY(device.getChoice().rule.contains(QLatin1String("the first listed")));

    // Both are: the first listed wins, and the walk stops there.
    Enumeration both({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0x0B, 0x05},
                      {"/dev/hidraw1", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0x0B, 0x05}});
    CapturingLogger logger;
    QVERIFY(device.findDevice(both.head(), OfficeHeadset20));
    QCOMPARE(device.getInfo().path, QStringLiteral("/dev/hidraw0"));
    QCOMPARE(logger.texts().filter(QStringLiteral("Get codes")).size(), 1);

    // A call-control interface of unlisted ids does not count.
    Enumeration unlisted({{"/dev/hidraw0", 0x0B0E, 0x030D, 0x0100, L"Office Headset 20", true, 0x0C, 0x01},
                          {"/dev/hidraw1", 0x0B0E, 0x9999, 0x0100, L"Office Headset 20", true, 0x0B, 0x05}});
    QVERIFY(device.findDevice(unlisted.head(), OfficeHeadset20));
    QCOMPARE(device.getInfo().path, QStringLiteral("/dev/hidraw0"));
}

// --- The binding --------------------------------------------------------------------------------

void TestHidDevice::declaredSignalsAndSlots()
{
    const QMetaObject &meta = HidDevice::staticMetaObject;
    QCOMPARE(
        declaredMethods(meta, QMetaMethod::Signal),
        (QStringList{"click()", "clickMute()", "clickReject()", "show(QString)", "hide()", "stateChanged(QString)",
                     "callMuted()", "callUnmuted()", "callIncome()", "callHold()", "callHoldMuted()", "callEnd()"}));
    QCOMPARE(declaredMethods(meta, QMetaMethod::Slot),
             (QStringList{"onCallMuted()", "onCallUnmuted()", "onCallIncome()", "onCallHold()", "onCallHoldMuted()",
                          "onCallEnd()", "onReaderFinished()", "(not public)"}));
}

void TestHidDevice::callStateSlotsRelayTheirSignal()
{
    const QList<QPair<const char *, QString>> relays = {
        {"onCallMuted", "callMuted() x1"},         {"onCallUnmuted", "callUnmuted() x1"},
        {"onCallIncome", "callIncome() x1"},       {"onCallHold", "callHold() x1"},
        {"onCallHoldMuted", "callHoldMuted() x1"}, {"onCallEnd", "callEnd() x1"},
    };
    for (const auto &relay : relays) {
        HidDevice device(nullptr);
        SignalRecorder recorder(&device);
        QVERIFY(QMetaObject::invokeMethod(&device, relay.first));
        QCOMPARE(recorder.emitted(), QStringList{relay.second});
    }
}

void TestHidDevice::initDevicesReplacesTheDictionary()
{
    HidDevice device(nullptr);
    bool isExplicit = true;
    hid::HidDeviceDict::getHidCode(0x1209, 0x0001, isExplicit);
    QVERIFY(!isExplicit);
    device.initDevices(BenchDictionary);
    hid::HidDeviceDict::getHidCode(0x1209, 0x0001, isExplicit);
    QVERIFY(isExplicit);
    // The built-in rows are gone.
    hid::HidDeviceDict::getHidCode(0x0B0E, 0x030D, isExplicit);
    QVERIFY(!isExplicit);
}

void TestHidDevice::resetStartsAReaderAndShowsTheProductString()
{
    BindingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QCOMPARE(rig.device.getName(), EndpointOfHeadset20);
    QVERIFY(rig.device.getReaderThread());
    QCOMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20"}));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    QCOMPARE(writtenHex(rig.headset), QStringList{"0200"});

    const QList<CapturedLine> started = rig.logger.linesFrom(QStringLiteral("startHidReadTrhead"));
    QCOMPARE(started.size(), 1);
    QCOMPARE(started[0].text, QStringLiteral("HID DEVICE Hid reader thread started"));
    QCOMPARE(started[0].level, 7);
    QCOMPARE(started[0].file, QStringLiteral("src/libs/qvhid/src/hiddevice"));

    // The device's gestures and call-state reports travel through the binding.
    rig.headset.press("answer");
    QTRY_COMPARE(rig.events.since(3), QStringList{"click"});
    rig.device.onCallIncome();
    QTRY_COMPARE(rig.events.since(4), QStringList{"state:Incoming call"});
    QCOMPARE(writtenHex(rig.headset), (QStringList{"0200", "0222"}));
}

void TestHidDevice::resetToTheBoundNameRebindsAfresh()
{
    BindingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.size(), 3);
    const hid::ReaderThread *first = rig.device.getReaderThread();

    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QVERIFY(rig.device.getReaderThread());
    QVERIFY(rig.device.getReaderThread() != first);
    QCOMPARE(rig.events.since(3), (QStringList{"hide", "show:Office Headset 20"}));
    QTRY_COMPARE(rig.events.since(3), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    // The old reader closed its handle and went with its thread; the new one opened its own.
    QTRY_COMPARE(countOf(rig.logger, QStringLiteral("~ReaderThread")), 1);
    QCOMPARE(countOf(rig.logger, QStringLiteral("~HidReaderBase")), 1);
    QCOMPARE(rig.headset.counters().opens, 2ul);
    QCOMPARE(rig.headset.openHandles(), 1);
    QCOMPARE(writtenHex(rig.headset), (QStringList{"0200", "0200"}));
}

void TestHidDevice::resetToANameWithoutDeviceOnlyHides()
{
    VirtualDevice::add(modelDescription("telephony-headset"));
    HidDevice device(nullptr);
    BindingEvents events;
    events.watch(&device);
    QVERIFY(!device.reset(QStringLiteral("Headset Microphone (2- Office Headset 99)")));
    QCOMPARE(events.entries(), QStringList{"hide"});
    QCOMPARE(device.getName(), QString());
    QVERIFY(!device.getReaderThread());
    QTest::qWait(50);
    QCOMPARE(events.entries(), QStringList{"hide"});
}

void TestHidDevice::resetAwayFromABindingEndsItsReader()
{
    BindingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.headset.openHandles(), 1);
    QVERIFY(!rig.device.reset(QString()));
    QCOMPARE(rig.device.getName(), QString());
    QVERIFY(!rig.device.getReaderThread());
    verifyUnchosen(rig.device.getInfo());
    QTRY_COMPARE(countOf(rig.logger, QStringLiteral("~ReaderThread")), 1);
    QCOMPARE(rig.headset.openHandles(), 0);
}

void TestHidDevice::startWithoutAPathCreatesNoThread()
{
    const int threadsBefore = runningThreadCount();
    CapturingLogger logger;
    HidDevice device(nullptr);
    SignalRecorder recorder(&device);
    QVERIFY(!device.startHidReadTrhead());
    QVERIFY(!device.getReaderThread());
    QVERIFY(recorder.emitted().isEmpty());
    QVERIFY(logger.lines().isEmpty());
    QCOMPARE(runningThreadCount(), threadsBefore);

    // Nor after a choice that failed.
    QVERIFY(!device.chooseDevice(QStringLiteral("Office Headset 99")));
    QVERIFY(!device.startHidReadTrhead());
    QVERIFY(!device.getReaderThread());
    QCOMPARE(runningThreadCount(), threadsBefore);
}

void TestHidDevice::stopWithoutAThreadOnlyForgets()
{
    CapturingLogger logger;
    HidDevice device(nullptr);
    SignalRecorder recorder(&device);
    device.stopHidReadThread();
    QVERIFY(!device.getReaderThread());
    QVERIFY(recorder.emitted().isEmpty());
    QVERIFY(logger.lines().isEmpty());
}

void TestHidDevice::readerThatCannotOpenLeavesTheBindingDetached()
{
    BindingRig rig(openFailing());
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "hide"}));
    QCOMPARE(rig.device.getName(), EndpointOfHeadset20);
    QVERIFY(!rig.device.getReaderThread());
    QCOMPARE(rig.device.getInfo().path, pathOf(rig.headset));
    QVERIFY(rig.logger.texts().contains(QStringLiteral("HID READER Failed to open device ") + pathOf(rig.headset)));
    QTRY_COMPARE(countOf(rig.logger, QStringLiteral("~ReaderThread")), 1);
    QCOMPARE(countOf(rig.logger, QStringLiteral("~HidReaderBase")), 1);
    // Nothing reconnects by itself.
    rig.headset.setFaults({});
    QTest::qWait(50);
    QCOMPARE(rig.events.size(), 3);
    QCOMPARE(rig.headset.counters().opens, 0ul);
}

void TestHidDevice::lateNoticeOfAReplacedReaderIsIgnored()
{
    VirtualDevice broken = VirtualDevice::add(modelDescription("telephony-headset"));
    broken.setFaults(openFailing());
    VirtualDevice working = VirtualDevice::add(modelDescription("echoing-headset"));
    CapturingLogger logger;
    HidDevice device(nullptr);
    BindingEvents events;
    events.watch(&device);
    QVERIFY(device.reset(OfficeHeadset20));
    // Let the first reader fail and queue its notice, without delivering it.
    const QString failure = QStringLiteral("HID READER Failed to open device ") + pathOf(broken);
    for (int i = 0; i < 500 && !logger.texts().contains(failure); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    QVERIFY(logger.texts().contains(failure));

    QVERIFY(device.reset(QStringLiteral("Desk Headset 310")));
    QTRY_COMPARE(events.entries(),
                 (QStringList{"hide", "show:Office Headset 20", "hide", "show:Desk Headset 310", "state:Initial"}));
    QTest::qWait(50);
    QCOMPARE(events.size(), 5);
    QVERIFY(device.getReaderThread());
    QCOMPARE(working.openHandles(), 1);
}

void TestHidDevice::destroyingAnUnboundDeviceHidesOnce()
{
    auto device = std::make_unique<HidDevice>(nullptr);
    SignalRecorder recorder(device.get());
    device.reset();
    QCOMPARE(recorder.emitted(), QStringList{"hide() x1"});
}

void TestHidDevice::destroyingABoundDeviceEndsItsReader()
{
    VirtualDevice headset = VirtualDevice::add(modelDescription("telephony-headset"));
    CapturingLogger logger;
    auto device = std::make_unique<HidDevice>(nullptr);
    BindingEvents events;
    events.watch(device.get());
    QVERIFY(device->reset(EndpointOfHeadset20));
    QTRY_COMPARE(events.size(), 3);
    SignalRecorder recorder(device.get());
    device.reset();
    QCOMPARE(recorder.emitted(), QStringList{"hide() x1"});
    // The thread has ended, and the reader with it: the device is closed.
    QCOMPARE(countOf(logger, QStringLiteral("~HidReaderBase")), 1);
    QCOMPARE(countOf(logger, QStringLiteral("~ReaderThread")), 1);
    QCOMPARE(headset.openHandles(), 0);
}

void TestHidDevice::readerThreadSaysWhenItIsDestroyed()
{
    CapturingLogger logger;
    {
        hid::ReaderThread thread;
        thread.start();
        thread.quit();
        QVERIFY(thread.wait(5000));
    }
    const QList<CapturedLine> lines = logger.lines();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].text, QStringLiteral("~ReaderThread"));
    QCOMPARE(lines[0].function, QStringLiteral("~ReaderThread"));
    QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/hiddevice"));
    QCOMPARE(lines[0].level, 7);
    // A plain thread: no meta-object of its own.
    QCOMPARE(hid::ReaderThread::staticMetaObject.className(), "QThread");
}

// --- Withdrawn bindings, unplugging and plugging in -------------------------------------------------

void TestHidDevice::withdrawnBindingSendsNothingMore()
{
    // Each binding is withdrawn right after a call state and a press were given to it, and after
    // its reader has had the time to act on both: what the reader sent back is still queued for
    // this thread when the next binding replaces it, and must never arrive.
    VirtualDevice office = VirtualDevice::add(modelDescription("telephony-headset"));
    VirtualDevice desk = VirtualDevice::add(modelDescription("echoing-headset"));
    HidDevice device(nullptr);
    BindingEvents events;
    events.watch(&device);
    const int Rebinds = stressCount("QVHID_STALE_REBINDS", 60);
    QStringList expected;
    for (int i = 0; i < Rebinds; ++i) {
        const bool toOffice = i % 2 == 0;
        VirtualDevice &headset = toOffice ? office : desk;
        device.reset(toOffice ? EndpointOfHeadset20 : QStringLiteral("Microphone (Desk Headset 310)"));
        expected << QStringLiteral("hide")
                 << QStringLiteral("show:") + QString::fromStdWString(headset.description().product)
                 << QStringLiteral("state:Initial");
        QTRY_COMPARE(events.entries(), expected);
        device.onCallIncome();
        headset.press("answer");
        headset.release("answer");
        // No event loop runs here: whatever the reader sends meanwhile stays queued.
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    device.reset(QString());
    expected << QStringLiteral("hide");
    // Every reader has ended, so all it ever sent has been queued by now; deliver it.
    QTRY_VERIFY(office.openHandles() == 0 && desk.openHandles() == 0);
    QCoreApplication::processEvents();
    QCOMPARE(events.entries(), expected);
}

void TestHidDevice::unpluggedHeadsetHidesOnceAndIsBoundAgainWhenPluggedIn()
{
    PluggingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    rig.device.onCallUnmuted(); // not taken from Initial: the call is reported, the headset stays
    rig.device.onCallIncome();
    QTRY_COMPARE(rig.events.since(3), QStringList{"state:Incoming call"});

    rig.headset.unplug();
    QTRY_COMPARE(rig.events.since(4), QStringList{"hide"});
    QVERIFY(!rig.device.getReaderThread());
    QCOMPARE(rig.device.getName(), EndpointOfHeadset20);
    QVERIFY(rig.logger.texts().contains(QStringLiteral("HID READER Device gone: device disconnected")));
    QVERIFY(rig.logger.texts().contains(QStringLiteral("HID DEVICE Waiting for a headset for ") + EndpointOfHeadset20));
    QTRY_COMPARE(rig.headset.openHandles(), 0);
    rig.device.onCallUnmuted(); // answered while the headset is away

    rig.headset.clearWrittenReports();
    rig.headset.replug();
    QTRY_COMPARE(rig.events.since(5), (QStringList{"show:Office Headset 20", "state:Initial", "state:Talk"}));
    QCOMPARE(writtenHex(rig.headset), (QStringList{"0200", "0221"}));
    QVERIFY(rig.logger.texts().contains(QStringLiteral("HID DEVICE Headset plugged in for ") + EndpointOfHeadset20));
    QCOMPARE(rig.headset.openHandles(), 1);
    QVERIFY(listening(rig.headset));
    rig.headset.press("mute");
    rig.headset.release("mute");
    QTRY_COMPARE(rig.events.since(8), QStringList{"mute"});
    QCOMPARE(rig.events.entries().count(QStringLiteral("hide")), 2);
}

void TestHidDevice::pluggedInHeadsetTakesTheCallBeforeItWaitsForInput()
{
    // A new reader starts its state machine and resumes the call from its event loop; a wait
    // for input begun before them would hold them back for a whole read (250 ms). So every wait
    // the new reader begins before the call's lamp report is written is one that was cut short.
    PluggingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    rig.headset.unplug();
    QTRY_COMPARE(rig.events.since(3), QStringList{"hide"});
    QTRY_COMPARE(rig.headset.openHandles(), 0);
    rig.device.onCallIncome();
    rig.device.onCallUnmuted();

    struct Write
    {
        QString hex;
        unsigned long waitsBegun = 0;
        unsigned long waitsCutShort = 0;
    };
    std::mutex mutex;
    std::vector<Write> writes;
    const hid::virt::Counters before = rig.headset.counters();
    const hid::virt::Bytes answer = rig.headset.description().answerToWrite;
    VirtualDevice &headset = rig.headset;
    headset.setResponder([&](const hid::virt::Bytes &written) {
        const hid::virt::Counters now = headset.counters();
        const QByteArray bytes(reinterpret_cast<const char *>(written.data()), int(written.size()));
        std::lock_guard<std::mutex> lock(mutex);
        writes.push_back({QString::fromLatin1(bytes.toHex()), now.inputWaits - before.inputWaits,
                          now.interruptedWaits - before.interruptedWaits});
        return answer.empty() ? std::vector<hid::virt::Bytes>{} : std::vector<hid::virt::Bytes>{answer};
    });
    headset.replug();
    QTRY_COMPARE(rig.events.since(4), (QStringList{"show:Office Headset 20", "state:Initial", "state:Talk"}));
    headset.setResponder({});
    std::lock_guard<std::mutex> lock(mutex);
    QCOMPARE(writes.size(), std::size_t(2));
    QCOMPARE(writes[0].hex, QStringLiteral("0200"));
    QCOMPARE(writes[0].waitsBegun, 0ul); // cmdInit is written as the reader starts
    QCOMPARE(writes[1].hex, QStringLiteral("0221"));
    QCOMPARE(writes[1].waitsCutShort, writes[1].waitsBegun);
}

void TestHidDevice::headsetPluggedInAfterItsNameWasReported()
{
    PluggingRig rig(false);
    QVERIFY(!rig.device.reset(EndpointOfHeadset20));
    QCOMPARE(rig.events.entries(), QStringList{"hide"});
    rig.device.onCallIncome();
    rig.headset = VirtualDevice::add(modelDescription("telephony-headset"));
    QTRY_COMPARE(rig.events.entries(),
                 (QStringList{"hide", "show:Office Headset 20", "state:Initial", "state:Incoming call"}));
    QCOMPARE(writtenHex(rig.headset), (QStringList{"0200", "0222"}));
    QCOMPARE(rig.device.getName(), EndpointOfHeadset20);
    // Another headset plugged in now changes nothing: the binding has its headset.
    VirtualDevice other = VirtualDevice::add(modelDescription("telephony-headset"));
    QTest::qWait(200);
    QCOMPARE(other.counters().opens, 0ul);
    QCOMPARE(rig.events.size(), 4);
}

void TestHidDevice::headsetThatCannotBeOpenedIsTriedAgainOnlyOnAPlugEvent()
{
    PluggingRig rig;
    hid::virt::Faults faults;
    faults.openFails = true;
    rig.headset.setFaults(faults);
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "hide"}));
    QVERIFY(rig.logger.texts().contains(QStringLiteral("HID READER Failed to open device ") + pathOf(rig.headset)));
    rig.headset.setFaults({});
    QTest::qWait(300);
    QCOMPARE(rig.events.size(), 3); // no retry by itself
    // Any hidraw node that comes or goes is a plug event.
    VirtualDevice::add(modelDescription("echoing-headset"));
    QTRY_COMPARE(rig.events.since(3), (QStringList{"show:Office Headset 20", "state:Initial"}));
    QCOMPARE(rig.headset.openHandles(), 1);
}

void TestHidDevice::noWaitingWithoutAName()
{
    PluggingRig rig;
    QVERIFY(rig.device.reset(EndpointOfHeadset20));
    QTRY_COMPARE(rig.events.size(), 3);
    rig.device.reset(QString());
    rig.headset.unplug();
    rig.headset.replug();
    QTest::qWait(200);
    QCOMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial", "hide"}));
    QVERIFY(rig.logger.texts().filter(QStringLiteral("HID DEVICE Waiting for a headset")).isEmpty());
}

void TestHidDevice::headsetWhoseNodeIsNotThereYetIsLeftForTheNextEvent()
{
    // The binding watches a device directory of the test's own, where a headset's node is a file.
    PluggingRig rig(false);
    QTemporaryDir nodes;
    const QString directory = nodes.path();
    hid::SystemView system = hid::LiveSystemView();
    system.deviceDirectory = directory;
    SetSystemView(rig.device, system);
    QVERIFY(!rig.device.reset(EndpointOfHeadset20));
    // hidapi lists the headset, but its node cannot be opened yet (here: it is not there).
    hid::virt::DeviceDescription description = modelDescription("telephony-headset");
    description.path = (directory + QStringLiteral("/hidraw900")).toStdString();
    VirtualDevice headset = VirtualDevice::add(description);
    QFile other(directory + QStringLiteral("/hidraw901"));
    QVERIFY(other.open(QIODevice::WriteOnly)); // another node: a plug event
    const QString waiting =
        QStringLiteral("HID DEVICE ") + pathOf(headset) + QStringLiteral(" cannot be opened yet; waiting");
    QTRY_VERIFY(rig.logger.texts().contains(waiting));
    QCOMPARE(rig.events.entries(), QStringList{"hide"});
    QCOMPARE(headset.counters().opens, 0ul);
    // Its node appears: bound.
    QFile node(pathOf(headset));
    QVERIFY(node.open(QIODevice::WriteOnly));
    QTRY_COMPARE(rig.events.entries(), (QStringList{"hide", "show:Office Headset 20", "state:Initial"}));
    for (const CapturedLine &line : rig.logger.lines()) {
        if (line.text == waiting)
            QCOMPARE(line.level, 7);
    }
}

void TestHidDevice::directoryThatCannotBeWatchedIsLogged()
{
    CapturingLogger logger;
    HidDevice device(nullptr);
    hid::SystemView system = hid::LiveSystemView();
    system.deviceDirectory = QStringLiteral("/nonexistent-qvhid-devices");
    SetSystemView(device, system);
    QVERIFY(!device.reset(EndpointOfHeadset20));
    const QList<CapturedLine> lines = logger.linesFrom(QStringLiteral("HidNodeWatcher"));
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].text,
             QStringLiteral("HID DEVICE Cannot watch /nonexistent-qvhid-devices for headsets being plugged "
                            "in: No such file or directory"));
    QCOMPARE(lines[0].level, 3);
    QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/platform/hidnodewatcher"));
    QVERIFY(logger.texts().contains(QStringLiteral("HID DEVICE Waiting for a headset for ") + EndpointOfHeadset20));
}

QTEST_GUILESS_MAIN(TestHidDevice)
#include "tst_hiddevice.moc"
