// SPDX-License-Identifier: BSD-3-Clause
// The headset decoder, over virtual headsets and the real report-parser library.

#include "capturinglogger.h"
#include "virtualheadsets.h"

#include <hiddecoderbase.h>
#include <platform/hiddecoder.h>
#include <virtualmodels.h>

#include <hidapi.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <memory>
#include <thread>

using hid::ClickType;
using hid::HidCode;
using hid::virt::Bytes;
using hid::virt::VirtualDevice;
using Reports = std::vector<std::vector<unsigned char>>;

namespace {

constexpr unsigned short LedPage = 0x08;
constexpr unsigned short MUTE = 0x09, HOOK = 0x17, RING = 0x18, HOLD = 0x20, MIC = 0x21, ONLINE = 0x2A;

hid::virt::DeviceDescription handWritten(const char *hex)
{
    hid::virt::DeviceDescription description = modelDescription("telephony-headset");
    const QByteArray bytes = QByteArray::fromHex(hex);
    description.descriptor.assign(bytes.begin(), bytes.end());
    description.buttons.clear();
    return description;
}

// Telephony Headset collection whose inputs are Phone and the vendor reject usage 0xFFFD.
const char *const rejectUsagesDescriptor = "050b0905a101 150025017501 0901 0afdff 9502 8102 95068103 c0";

// Telephony Headset collection: Hook Switch in report 1; lamps Ring, Ring again and Off-Hook in
// report 2 and On-Line in report 3; then a second top-level collection with its own lamp.
const char *const twoOutputReportsDescriptor = "050b0905a101"
                                               "8501 0920 150025017501 9501 8122 95078103"
                                               "8502 0508 0918 0918 0917 9503 9102 95059103"
                                               "8503 092a 9501 9102 95079103"
                                               "c0"
                                               "050b0906a101" // Telephony Handset
                                               "8504 0508 0917 9501 9102 95079103"
                                               "c0";

// Telephony Headset with Hook Switch and Phone Mute inputs, the Mute lamp listed directly in
// it, and Off-Hook and Ring lamps in a nested collection; no report ids.
const char *const nestedLampsDescriptor = "050b0905a101"
                                          "0920 150025017501 9501 8122 092f 8106 95068103"
                                          "0907 a102 0508 0917 0918 9502 9102 95069103 c0"
                                          "0909 9501 9102 95079103"
                                          "c0";

// Telephony Headset, no report ids: Hook Switch, then an array with Null State whose logical
// range 0..1 includes its resting value 0, as two current wireless headsets declare it: its
// usages are Programmable Button (a reject usage) and Button 1. Bit 0 hook, bit 1 the array.
const char *const restingArrayDescriptor = "050b0905a101"
                                           "150025017501 0920 9501 8122"
                                           "0907 0509 0901 7501 9501 8140"
                                           "95068103"
                                           "c0";

// Telephony Headset, no report ids: Hook Switch and Phone Mute absolute (bits 0 and 1).
const char *const absoluteMuteDescriptor = "050b0905a101 150025017501 0920 092f 9502 8122 95068103 c0";

// A Telephony Headset collection whose Hook Switch is report 1, and a Telephony Phone collection
// after it whose Phone Mute is report 2: the Headset collection is the call-control collection.
const char *const headsetBesidePhoneDescriptor = "050b0905a101 8501 0920 150025017501 9501 8122 95078103 c0"
                                                 "050b0901a101 8502 092f 150025017501 9501 8106 95078103 c0";

HidCode codeWithEmptyReportGesture(ClickType gesture)
{
    HidCode code;
    code.clickTypeOnEmptyCode = gesture;
    return code;
}

// A virtual device opened as the reader opens it, with a decoder made by the factory.
class DecoderOn
{
public:
    DecoderOn(const hid::virt::DeviceDescription &description, const HidCode &code,
              const hid::virt::Faults &faults = {})
        : device(VirtualDevice::add(description))
    {
        device.setFaults(faults);
        handle = hid_open_path(device.path().c_str());
        hid::HidDeviceInfo info;
        info.vendorId = description.vendorId;
        info.productId = description.productId;
        info.releaseNumber = description.releaseNumber;
        info.name = QString::fromStdWString(description.product);
        info.path = QString::fromStdString(device.path());
        info.code = code;
        decoder.reset(hid::CreateHidDecoder(info, handle));
    }
    ~DecoderOn()
    {
        decoder.reset();
        hid_close(handle);
        device.remove();
    }

    ClickType gesture(const QByteArray &hex)
    {
        const QByteArray bytes = QByteArray::fromHex(hex);
        const std::vector<unsigned char> data(bytes.begin(), bytes.end());
        std::vector<unsigned short> unused;
        return decoder->getClickTypeFromData(data, static_cast<unsigned short>(data.size()), unused);
    }

    QByteArrayList output(unsigned short page, const std::vector<unsigned short> &usages, bool *ok = nullptr)
    {
        Reports reports;
        const bool result = decoder->makeOutputReport(page, usages, reports);
        if (ok)
            *ok = result;
        QByteArrayList hex;
        for (const auto &report : reports)
            hex << QByteArray(reinterpret_cast<const char *>(report.data()), int(report.size())).toHex();
        return hex;
    }

    VirtualDevice device;
    hid_device *handle = nullptr;
    std::unique_ptr<hid::HidDecoderBase> decoder;
};

// Lamp bits of the ready models' output byte, as their descriptors declare them.
unsigned char lampBits(const std::vector<unsigned short> &usages)
{
    unsigned char bits = 0;
    for (unsigned short usage : usages) {
        switch (usage) {
        case HOOK: bits |= 0x01; break;
        case RING: bits |= 0x02; break;
        case MUTE: bits |= 0x04; break;
        case HOLD: bits |= 0x08; break;
        case MIC: bits |= 0x10; break;
        case ONLINE: bits |= 0x20; break;
        default: break;
        }
    }
    return bits;
}

} // namespace

Q_DECLARE_METATYPE(ClickType)

class TestHidDecoder : public QObject
{
    Q_OBJECT

private slots:
    void init() { hid::virt::removeAllDevices(); }
    void factoryMakesTheConcreteDecoderAndLogsItsLife();
    void reportWithNothingReportedGivesTheModelsEmptyGesture();
    void reportOfOtherPagesOnlyGivesNone();
    void gestureRules_data();
    void gestureRules();
    void arrayAtRestInItsRangeIsNoPress();
    void rejectUsagesWithoutTheirOwnButtons();
    void absolutePhoneMuteIsAPressWhenItGoesOn();
    void absolutePhoneMuteAtRestInTheFirstReportIsNoPress();
    void onlyTheCallControlCollectionsButtonsCount();
    void usageListArgumentIsLeftUntouched();
    void lengthNeverReadsPastTheData();
    void withoutDescriptorEverythingAnswersNothing();
    void emptyStepSwitchesEveryOutputOfThePageOff();
    void onlyTheFirstOfTwoEqualOutputsIsSet();
    void reportsAreAppendedNotCleared();
    void noMatchingCollectionGivesFalse();
    void nestedOutputsAreMarkedButNotReset();
    void commandStepsOfEveryDictionaryModel();
    void isSetAndIsKindOf();
    void decodersOnTwoThreadsDoNotMeet();
};

void TestHidDecoder::factoryMakesTheConcreteDecoderAndLogsItsLife()
{
    CapturingLogger logger;
    {
        DecoderOn on(modelDescription("telephony-headset"), HidCode());
        QVERIFY(dynamic_cast<hid::HidDecoder *>(on.decoder.get()));
    }
    const QList<CapturedLine> lines = logger.lines();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0].text, QStringLiteral("HidDecoderBase"));
    QCOMPARE(lines[0].function, QStringLiteral("HidDecoderBase"));
    QCOMPARE(lines[1].text, QStringLiteral("~HidDecoderBase"));
    QCOMPARE(lines[1].function, QStringLiteral("~HidDecoderBase"));
    for (const CapturedLine &line : lines) {
        QCOMPARE(line.level, 7);
        QCOMPARE(line.category, QStringLiteral("hid"));
        QCOMPARE(line.file, QStringLiteral("src/libs/qvhid/src/hiddecoderbase"));
    }
}

void TestHidDecoder::reportWithNothingReportedGivesTheModelsEmptyGesture()
{
    // The echoing headset is on a row of the Plantronics configuration, whose empty gesture
    // is CLICK: its unchanged answer reports no element.
    const HidCode plantronics = dictionaryCode(0x047F, 0xC038);
    QCOMPARE(plantronics.clickTypeOnEmptyCode, hid::CLICK);
    DecoderOn click(modelDescription("echoing-headset"), plantronics);
    QCOMPARE(click.gesture("0000"), hid::CLICK);
    QCOMPARE(click.gesture("0100"), hid::CLICK); // Hook Switch: reported, decided by the rules
    QCOMPARE(click.gesture("0100"), hid::CLICK); // nothing changed: empty again

    const HidCode sennheiser = dictionaryCode(0x1395, 0x0035);
    QCOMPARE(sennheiser.clickTypeOnEmptyCode, hid::CLICK);
    DecoderOn byDefault(modelDescription("telephony-headset"), HidCode());
    QCOMPARE(byDefault.gesture("010000"), hid::NONE);
    // A report the library rejects (unknown id) reports nothing either.
    DecoderOn unknownId(modelDescription("telephony-headset"), sennheiser);
    QCOMPARE(unknownId.gesture("070100"), hid::CLICK);
}

void TestHidDecoder::reportOfOtherPagesOnlyGivesNone()
{
    DecoderOn consumer(modelDescription("consumer-first-headset", 0), codeWithEmptyReportGesture(hid::CLICK));
    QCOMPARE(consumer.gesture("01"), hid::NONE);  // Volume Increment: Consumer page, not Telephony
    QCOMPARE(consumer.gesture("01"), hid::CLICK); // held: nothing reported
}

void TestHidDecoder::gestureRules_data()
{
    QTest::addColumn<QByteArray>("report");
    QTest::addColumn<ClickType>("gesture");
    // Each report is the first a fresh decoder sees, so each set bit is reported.
    QTest::newRow("Hook Switch and Phone Mute") << QByteArray("010500") << hid::MUTE;
    QTest::newRow("Hook Switch") << QByteArray("010100") << hid::CLICK;
    QTest::newRow("Hook Switch and Line Busy Tone") << QByteArray("010300") << hid::NONE;
    QTest::newRow("Hook Switch, Line Busy Tone and Flash") << QByteArray("010b00") << hid::CLICK;
    QTest::newRow("Line Busy Tone") << QByteArray("010200") << hid::CLICK;
    QTest::newRow("Redial") << QByteArray("010002") << hid::NONE;
    QTest::newRow("Flash") << QByteArray("010800") << hid::CLICK;
    QTest::newRow("Drop") << QByteArray("011000") << hid::REJECT;
    QTest::newRow("Programmable Button") << QByteArray("010001") << hid::REJECT;
    QTest::newRow("Phone Mute beats Drop") << QByteArray("011400") << hid::MUTE;
    QTest::newRow("Drop beats Hook Switch") << QByteArray("011100") << hid::REJECT;
}

void TestHidDecoder::gestureRules()
{
    QFETCH(QByteArray, report);
    QFETCH(ClickType, gesture);
    DecoderOn on(modelDescription("telephony-headset"), HidCode());
    QCOMPARE(on.gesture(report), gesture);
}

void TestHidDecoder::arrayAtRestInItsRangeIsNoPress()
{
    // Its resting 0 selects Programmable Button. The first report shows the device at rest:
    // the hook lifted in it is an answer, not a reject; later reports are judged as before.
    DecoderOn first(handWritten(restingArrayDescriptor), HidCode());
    QCOMPARE(first.gesture("01"), hid::CLICK);
    QCOMPARE(first.gesture("00"), hid::CLICK);  // hung up
    QCOMPARE(first.gesture("02"), hid::NONE);   // Button 1 selected: no telephony usage
    QCOMPARE(first.gesture("00"), hid::REJECT); // Programmable Button selected again: pressed
    // At rest in its first report, the array gives nothing.
    DecoderOn resting(handWritten(restingArrayDescriptor), HidCode());
    QCOMPARE(resting.gesture("00"), hid::NONE);
}

void TestHidDecoder::absolutePhoneMuteIsAPressWhenItGoesOn()
{
    // Pressed and let go at once: the press mutes, the release gives nothing; so from then on,
    // the device being known to send a button.
    DecoderOn on(handWritten(absoluteMuteDescriptor), HidCode());
    QCOMPARE(on.gesture("01"), hid::CLICK); // hook lifted
    QCOMPARE(on.gesture("03"), hid::MUTE);
    QCOMPARE(on.gesture("01"), hid::NONE);
    QCOMPARE(on.gesture("03"), hid::MUTE);
    QTest::qWait(1100); // held longer than a tap: still a button's release
    QCOMPARE(on.gesture("01"), hid::NONE);
    // A device that holds it on for longer than a tap, before anything showed it sends a button:
    // a switch, whose going off is the next press.
    DecoderOn held(handWritten(absoluteMuteDescriptor), HidCode());
    QCOMPARE(held.gesture("01"), hid::CLICK);
    QCOMPARE(held.gesture("03"), hid::MUTE);
    QTest::qWait(1100);
    QCOMPARE(held.gesture("01"), hid::MUTE);
    QCOMPARE(held.gesture("03"), hid::MUTE);
}

void TestHidDecoder::absolutePhoneMuteAtRestInTheFirstReportIsNoPress()
{
    // A switch already on when the headset is bound: its state, not a press; its going off,
    // much later, is a press.
    DecoderOn on(handWritten(absoluteMuteDescriptor), HidCode());
    QCOMPARE(on.gesture("03"), hid::CLICK); // the hook in the same first report still counts
    QTest::qWait(1100);
    QCOMPARE(on.gesture("01"), hid::MUTE);
}

void TestHidDecoder::onlyTheCallControlCollectionsButtonsCount()
{
    // Bound through the Headset collection, the Phone collection's Phone Mute is no gesture...
    DecoderOn headset(handWritten(headsetBesidePhoneDescriptor), HidCode());
    QCOMPARE(headset.gesture("0201"), hid::NONE);
    QCOMPARE(headset.gesture("0101"), hid::CLICK);
    // ...and bound through the Phone collection, the Headset collection's Hook Switch is none.
    HidCode phone;
    phone.devUsageID = 0x01;
    DecoderOn desk(handWritten(headsetBesidePhoneDescriptor), phone);
    QCOMPARE(desk.gesture("0101"), hid::NONE);
    QCOMPARE(desk.gesture("0201"), hid::MUTE);
    // A configuration whose collection the descriptor lacks reads every collection, as before.
    HidCode vendor(0xFF00, 0x05, 0x0B, 0x08);
    DecoderOn anywhere(handWritten(headsetBesidePhoneDescriptor), vendor);
    QCOMPARE(anywhere.gesture("0101"), hid::CLICK);
    QCOMPARE(anywhere.gesture("0201"), hid::MUTE);
}

void TestHidDecoder::rejectUsagesWithoutTheirOwnButtons()
{
    DecoderOn on(handWritten(rejectUsagesDescriptor), HidCode());
    QCOMPARE(on.gesture("01"), hid::REJECT); // Phone
    QCOMPARE(on.gesture("00"), hid::NONE);   // released: reported nothing, empty gesture NONE
    QCOMPARE(on.gesture("02"), hid::REJECT); // 0xFFFD
}

void TestHidDecoder::usageListArgumentIsLeftUntouched()
{
    DecoderOn on(modelDescription("telephony-headset"), HidCode());
    std::vector<unsigned short> usages = {0x1234};
    const std::vector<unsigned char> data = {0x01, 0x05, 0x00};
    QCOMPARE(on.decoder->getClickTypeFromData(data, 3, usages), hid::MUTE);
    QCOMPARE(usages, std::vector<unsigned short>{0x1234});
}

void TestHidDecoder::lengthNeverReadsPastTheData()
{
    DecoderOn on(modelDescription("telephony-headset"), codeWithEmptyReportGesture(hid::REJECT));
    std::vector<unsigned short> usages;
    const std::vector<unsigned char> data = {0x01, 0x01};
    // Claimed 64 bytes, holds 2: too short for report 1, so nothing is reported.
    QCOMPARE(on.decoder->getClickTypeFromData(data, 64, usages), hid::REJECT);
    const std::vector<unsigned char> full = {0x01, 0x01, 0x00, 0xEE};
    QCOMPARE(on.decoder->getClickTypeFromData(full, 3, usages), hid::CLICK);
}

void TestHidDecoder::withoutDescriptorEverythingAnswersNothing()
{
    CapturingLogger logger;
    hid::virt::Faults faults;
    faults.descriptorUnreadable = true;
    DecoderOn on(modelDescription("telephony-headset"), codeWithEmptyReportGesture(hid::CLICK), faults);
    QVERIFY(on.handle);
    QCOMPARE(on.gesture("010100"), hid::NONE);
    bool ok = true;
    QCOMPARE(on.output(LedPage, {RING}, &ok), QByteArrayList());
    QVERIFY(!ok);
    QCOMPARE(logger.texts(), QStringList{"HidDecoderBase"});
}

void TestHidDecoder::emptyStepSwitchesEveryOutputOfThePageOff()
{
    DecoderOn on(handWritten(twoOutputReportsDescriptor), HidCode());
    bool ok = false;
    QCOMPARE(on.output(LedPage, {HOOK, ONLINE}, &ok), (QByteArrayList{"0204", "0301"}));
    QVERIFY(ok);
    QCOMPARE(on.output(LedPage, {}, &ok), (QByteArrayList{"0200", "0300"}));
    QVERIFY(ok);
    // A page without outputs in the collection: true, and no report.
    QCOMPARE(on.output(0xFF40, {HOOK}, &ok), QByteArrayList());
    QVERIFY(ok);
}

void TestHidDecoder::onlyTheFirstOfTwoEqualOutputsIsSet()
{
    DecoderOn on(handWritten(twoOutputReportsDescriptor), HidCode());
    QCOMPARE(on.output(LedPage, {RING}), (QByteArrayList{"0201", "0300"}));
    QCOMPARE(on.output(LedPage, {RING, RING}), (QByteArrayList{"0201", "0300"}));
    QCOMPARE(on.output(LedPage, {0x4B, RING}), (QByteArrayList{"0201", "0300"})); // unknown: ignored
}

void TestHidDecoder::reportsAreAppendedNotCleared()
{
    DecoderOn on(modelDescription("telephony-headset"), HidCode());
    Reports reports = {{0xAA}};
    QVERIFY(on.decoder->makeOutputReport(LedPage, {RING, ONLINE}, reports));
    QCOMPARE(reports, (Reports{{0xAA}, {0x02, 0x22}}));
}

void TestHidDecoder::noMatchingCollectionGivesFalse()
{
    DecoderOn on(modelDescription("telephony-headset"), HidCode(0xFF00, 0x05, 0xFF30, 0xFF40));
    Reports reports;
    QVERIFY(!on.decoder->makeOutputReport(LedPage, {RING}, reports));
    QVERIFY(reports.empty());
}

void TestHidDecoder::nestedOutputsAreMarkedButNotReset()
{
    DecoderOn on(handWritten(nestedLampsDescriptor), HidCode());
    // One report, no ids: [0][Off-Hook, Ring of the nested collection][Mute].
    QCOMPARE(on.output(LedPage, {RING, MUTE}), QByteArrayList{"000201"});
    // The reset pass clears only outputs listed directly in top-level collections: the nested
    // Ring stays on. Kept as the decoder has always behaved.
    QCOMPARE(on.output(LedPage, {}), QByteArrayList{"000200"});
    QCOMPARE(on.output(LedPage, {HOOK}), QByteArrayList{"000300"});
}

void TestHidDecoder::commandStepsOfEveryDictionaryModel()
{
    QFile file(QStringLiteral(":/headsets.json"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QJsonArray rows = QJsonDocument::fromJson(file.readAll()).object().value(QStringLiteral("devices")).toArray();
    QCOMPARE(rows.size(), 23);
    int steps = 0;
    for (const QJsonValue &row : rows) {
        const auto vid = static_cast<unsigned short>(hid::valToUint(row.toObject().value(QStringLiteral("vid")), 0));
        const auto pid = static_cast<unsigned short>(hid::valToUint(row.toObject().value(QStringLiteral("pid")), 0));
        const HidCode code = dictionaryCode(vid, pid);
        const bool vendor = code.outputPage == 0xFF40;
        DecoderOn on(modelDescription(vendor ? "vendor-page-headset" : "telephony-headset"), code);
        const unsigned char reportId = vendor ? 0x05 : 0x02;
        for (const hid::HidCommand *command : {&code.cmdInit, &code.cmdRing, &code.cmdTalk, &code.cmdHold,
                                               &code.cmdHoldMuted, &code.cmdMute, &code.cmdFromTalkToRing}) {
            for (const std::vector<unsigned short> &step : *command) {
                Reports reports;
                QVERIFY(on.decoder->makeOutputReport(code.outputPage, step, reports));
                QCOMPARE(reports, (Reports{{reportId, lampBits(step)}}));
                ++steps;
            }
        }
    }
    QVERIFY(steps > 23 * 7);

    // Two written out in full.
    DecoderOn standard(modelDescription("telephony-headset"), dictionaryCode(0x0B0E, 0x030D));
    QCOMPARE(standard.output(LedPage, {RING, ONLINE}), QByteArrayList{"0222"});
    DecoderOn link(modelDescription("vendor-page-headset"), dictionaryCode(0x0B0E, 0xA346));
    QCOMPARE(link.output(0xFF40, {HOLD, MIC, ONLINE}), QByteArrayList{"0538"});
}

void TestHidDecoder::isSetAndIsKindOf()
{
    using Base = hid::HidDecoderBase;
    QVERIFY(Base::isSet({0x20, 0x2F}, 0x2F));
    QVERIFY(!Base::isSet({0x20, 0x2F}, 0x21));
    QVERIFY(!Base::isSet({}, 0x20));

    const std::vector<unsigned char> data = {0x01, 0x02, 0x03};
    QVERIFY(Base::isKindOf(data.begin(), data.end(), {{0x01, 0x02}}));
    QVERIFY(Base::isKindOf(data.begin(), data.end(), {{0x01, 0x02, 0x03, 0x04}}));
    QVERIFY(!Base::isKindOf(data.begin(), data.end(), {{0x02}}));
    QVERIFY(!Base::isKindOf(data.begin(), data.end(), {}));
    QVERIFY(Base::isKindOf(data.begin(), data.end(), {{0x02}, {0x01}}));
    QVERIFY(Base::isKindOf(data.begin(), data.end(), {{}}));
    QVERIFY(Base::isKindOf(data.end(), data.end(), {{0x05}}));
}

void TestHidDecoder::decodersOnTwoThreadsDoNotMeet()
{
    // Each thread alternates a Hook Switch press (CLICK) and release on its own headset; the
    // other decodes Phone Mute presses (MUTE). A shared callback slot would mix their lists.
    DecoderOn hook(modelDescription("telephony-headset"), HidCode());
    DecoderOn mute(modelDescription("telephony-headset-no-ids"), HidCode());
    int hookWrong = 0;
    int muteWrong = 0;
    std::thread first([&] {
        for (int i = 0; i < 3000; ++i)
            hookWrong += hook.gesture(i % 2 ? "010000" : "010100") == hid::CLICK ? 0 : 1;
    });
    std::thread second([&] {
        for (int i = 0; i < 3000; ++i)
            muteWrong += mute.gesture("0400") == hid::MUTE ? 0 : 1;
    });
    first.join();
    second.join();
    QCOMPARE(hookWrong, 0);
    QCOMPARE(muteWrong, 0);
}

QTEST_GUILESS_MAIN(TestHidDecoder)
#include "tst_hiddecoder.moc"
