// SPDX-License-Identifier: BSD-3-Clause
#include "parsedview.h"
#include "virtualheadsets.h"

#include <virtualmodels.h>

#include <QtTest>

#include <malloc.h>

#include <random>

using namespace parsedview;

namespace {

const hid_collection *topLevel(const hid_descriptor *descriptor)
{
    return descriptor->device_collection->first_child;
}

// Telephony headset with an extended usage, a Usage item read before a page change, and a
// nested collection with lamps; no report ids.
const QByteArray nestedDescriptor =
    QByteArray::fromHex("050b0905a101"          // Telephony, Headset, Collection (Application)
                        "09200508"              //   Usage (Hook Switch), then Usage Page (LEDs)
                        "150025017501950181 22" //   1 bit, Input (Data, Var, Abs, No Preferred)
                        "0b2f000b00"            //   Usage (extended 0x000B:0x002F Phone Mute)
                        "8106"                  //   Input (Data, Var, Rel)
                        "95068103"              //   6 bits padding
                        "0b07000b00a102"        //   Usage (extended Programmable Button), Collection (Logical)
                        "0917091895029102"      //     Off-Hook, Ring outputs
                        "95069103"              //     padding
                        "c0"                    //   End Collection
                        "0909950191029507 9103" //   Mute output, padding
                        "c0");

// A mouse whose pointer axes are declared between PUSH and POP.
const QByteArray pushPopDescriptor =
    QByteArray::fromHex("05010902a101"                      // Generic Desktop, Mouse, Collection (Application)
                        "050919012903150025017501950381 02" // Buttons 1..3
                        "a4"                                //   PUSH
                        "0501093009311581257f7508950281 06" // X, Y: 8-bit signed relative
                        "b4"                                //   POP: back to the buttons' page, size 1, count 3
                        "95058103"                          //   5 bits padding
                        "c0");

// Consumer control with a 2-slot array over usages 0..0x23C (report 1), and Mute declared
// before the page changes to Telephony (report 2).
const QByteArray arrayDescriptor =
    QByteArray::fromHex("050c0901a101"
                        "8501"
                        "19002a3c02"             //   Usage Minimum (0), Usage Maximum (0x23C)
                        "1500263c02751095028100" //   16-bit slots, 2 of them, Input (Data, Array, Abs)
                        "8502"
                        "09e2050b" //   Usage (Mute) under Consumer, then Usage Page (Telephony)
                        "15002501750195018106"
                        "95078103"
                        "c0");

// Hex digits, with blanks between items for legibility.
QByteArray fromHex(const char *hex)
{
    return QByteArray::fromHex(hex);
}

QByteArray validCollectionsOfDepth(int depth)
{
    QByteArray d = fromHex("050b0905");
    for (int i = 0; i < depth; ++i)
        d += fromHex("a100");
    d += fromHex("0920150025017501950181 02 95078103");
    for (int i = 0; i < depth; ++i)
        d += fromHex("c0");
    return d;
}

QByteArray pushes(int count)
{
    QByteArray d = fromHex("050b0905a101");
    for (int i = 0; i < count; ++i)
        d += fromHex("a4");
    for (int i = 0; i < count; ++i)
        d += fromHex("b4");
    d += fromHex("0920150025017501950881 02c0");
    return d;
}

// One variable field of `count` one-bit values with a usage, `fields` times, in one report.
QByteArray manyValues(int fields, int count)
{
    QByteArray d = fromHex("050b0905a101 1500 2501 7501");
    for (int i = 0; i < fields; ++i)
        d += fromHex("0920 96") + QByteArray(1, char(count & 0xFF)) + QByteArray(1, char(count >> 8)) + fromHex("8102");
    d += fromHex("c0");
    return d;
}

} // namespace

class TestHidapiParser : public QObject
{
    Q_OBJECT

private slots:
    void telephonyHeadsetRecords();
    void telephonyHeadsetWithoutReportIds();
    void vendorPageRecords();
    void buttonEventsOfTheTelephonyHeadset();
    void buttonEventsOfTheVendorHeadset();
    void onOffControlsReportEveryChange();
    void nestedCollectionsAndExtendedUsages();
    void pushAndPopRestoreGlobalState();
    void arraysReportNewlyAppearingUsages();
    void arrayUsageRangesAreCapped();
    void longItemsAreSkipped();
    void countBeyondUsagesRepeatsTheLastUsage();
    void outputReportsCarryTheirIdByte();
    void inputReportErrorsCallNothing();
    void parsedDescriptorIsOneBlock();
    void limits_data();
    void limits();
    void malformedAndRandomDescriptors();
};

void TestHidapiParser::telephonyHeadsetRecords()
{
    const DescriptorPtr d = parse(modelDescription("telephony-headset").descriptor);
    QVERIFY(d);
    QCOMPARE(d->uses_report_ids, 1);
    QCOMPARE(d->num_collections, 1);
    QCOMPARE(d->num_elements, 14);
    QCOMPARE(childrenOf(d->device_collection), QStringList{"000b:0005 type1"});
    QVERIFY(!d->device_collection->first_element);
    QCOMPARE(topLevel(d.get())->parent, d->device_collection);
    const QStringList expected = {
        "in 000b:0020 id1 @0+1 x1 f22",  "in 000b:0097 id1 @1+1 x1 f22",  "in 000b:002f id1 @2+1 x1 f6",
        "in 000b:0021 id1 @3+1 x1 f6",   "in 000b:0026 id1 @4+1 x1 f2",   "in 000b:0007 id1 @8+8 x1 f0",
        "in 000b:0024 id1 @8+8 x1 f0",   "in 000b:0025 id1 @8+8 x1 f0",   "out 0008:0017 id2 @0+1 x1 f22",
        "out 0008:0018 id2 @1+1 x1 f22", "out 0008:0009 id2 @2+1 x1 f22", "out 0008:0020 id2 @3+1 x1 f22",
        "out 0008:0021 id2 @4+1 x1 f22", "out 0008:002a id2 @5+1 x1 f22",
    };
    QCOMPARE(elementsOf(topLevel(d.get())), expected);
    QCOMPARE(topLevel(d.get())->num_elements, 14);
    QCOMPARE(topLevel(d.get())->first_element->collection, topLevel(d.get()));
    QCOMPARE(topLevel(d.get())->first_element->logical_maximum, int64_t(1));
}

void TestHidapiParser::telephonyHeadsetWithoutReportIds()
{
    const DescriptorPtr d = parse(modelDescription("telephony-headset-no-ids").descriptor);
    QVERIFY(d);
    QCOMPARE(d->uses_report_ids, 0);
    const QStringList elements = elementsOf(topLevel(d.get()));
    QCOMPARE(elements.size(), 14);
    QCOMPARE(elements.first(), QStringLiteral("in 000b:0020 id0 @0+1 x1 f22"));
    QCOMPARE(elements.last(), QStringLiteral("out 0008:002a id0 @5+1 x1 f22"));
    QCOMPARE(feed(d.get(), fromHex("0100")).elements, QStringList{"000b:0020=1"});
}

void TestHidapiParser::vendorPageRecords()
{
    const DescriptorPtr d = parse(modelDescription("vendor-page-headset").descriptor);
    QVERIFY(d);
    QCOMPARE(childrenOf(d->device_collection), QStringList{"ff00:0005 type1"});
    const QStringList expected = {
        "in ff30:0020 id4 @0+1 x1 f2",  "in ff30:0097 id4 @1+1 x1 f2",  "in ff30:002f id4 @2+1 x1 f2",
        "in ff30:0021 id4 @3+1 x1 f2",  "in ff30:0026 id4 @4+1 x1 f2",  "out ff40:0017 id5 @0+1 x1 f2",
        "out ff40:0018 id5 @1+1 x1 f2", "out ff40:0009 id5 @2+1 x1 f2", "out ff40:0020 id5 @3+1 x1 f2",
        "out ff40:0021 id5 @4+1 x1 f2", "out ff40:002a id5 @5+1 x1 f2",
    };
    QCOMPARE(elementsOf(topLevel(d.get())), expected);
}

void TestHidapiParser::buttonEventsOfTheTelephonyHeadset()
{
    const hid::virt::DeviceDescription description = modelDescription("telephony-headset");
    const DescriptorPtr d = parse(description.descriptor);
    QVERIFY(d);
    struct Step
    {
        const char *button;
        QStringList onPress;
        QStringList onRelease;
    };
    // In this order, so that the hook state carries from one to the next as in a call.
    const std::vector<Step> steps = {
        {"answer", {"000b:0020=1"}, {}}, {"mute", {"000b:002f=1"}, {}}, {"flash", {"000b:0021=1"}, {}},
        {"hangup", {"000b:0020=0"}, {}}, {"drop", {"000b:0026=1"}, {}}, {"programmable", {"000b:0007=1"}, {}},
        {"redial", {"000b:0024=1"}, {}},
    };
    for (const Step &step : steps) {
        const auto button = std::find_if(description.buttons.begin(), description.buttons.end(),
                                         [&](const hid::virt::Button &b) { return b.name == step.button; });
        QVERIFY2(button != description.buttons.end(), step.button);
        const Reported press = feed(d.get(), toQByteArray(button->press));
        QCOMPARE(press.elements, step.onPress);
        QCOMPARE(press.result, int(step.onPress.size()));
        if (!button->release.empty())
            QCOMPARE(feed(d.get(), toQByteArray(button->release)).elements, step.onRelease);
    }
}

void TestHidapiParser::buttonEventsOfTheVendorHeadset()
{
    const DescriptorPtr d = parse(modelDescription("vendor-page-headset").descriptor);
    QVERIFY(d);
    QCOMPARE(feed(d.get(), fromHex("0401")).elements, QStringList{"ff30:0020=1"});
    QCOMPARE(feed(d.get(), fromHex("0400")).elements, QStringList{});
    QCOMPARE(feed(d.get(), fromHex("0404")).elements, QStringList{"ff30:002f=1"});
    QCOMPARE(feed(d.get(), fromHex("0400")).elements, QStringList{});
}

void TestHidapiParser::onOffControlsReportEveryChange()
{
    // Hook Switch and Line Busy Tone are on/off controls: both edges are events. A relative
    // field reports every non-zero value, also the same one twice.
    const DescriptorPtr d = parse(modelDescription("telephony-headset").descriptor);
    QCOMPARE(feed(d.get(), fromHex("010300")).elements, (QStringList{"000b:0020=1", "000b:0097=1"}));
    QCOMPARE(feed(d.get(), fromHex("010300")).elements, QStringList{});
    QCOMPARE(feed(d.get(), fromHex("010100")).elements, QStringList{"000b:0097=0"});
    QCOMPARE(feed(d.get(), fromHex("010500")).elements, QStringList{"000b:002f=1"});
    QCOMPARE(feed(d.get(), fromHex("010500")).elements, QStringList{"000b:002f=1"});
    QCOMPARE(feed(d.get(), fromHex("010000")).elements, QStringList{"000b:0020=0"});
}

void TestHidapiParser::nestedCollectionsAndExtendedUsages()
{
    const DescriptorPtr d = parse(nestedDescriptor);
    QVERIFY(d);
    QCOMPARE(d->num_collections, 2);
    const hid_collection *top = topLevel(d.get());
    QCOMPARE(childrenOf(top), QStringList{"000b:0007 type2"});
    QCOMPARE(top->first_child->parent, top);
    // Hook Switch keeps the page in force when its Usage was read; Phone Mute carries its own.
    QCOMPARE(
        elementsOf(top),
        (QStringList{"in 000b:0020 id0 @0+1 x1 f22", "in 000b:002f id0 @1+1 x1 f6", "out 0008:0009 id0 @8+1 x1 f2"}));
    QCOMPARE(elementsOf(top->first_child),
             (QStringList{"out 0008:0017 id0 @0+1 x1 f2", "out 0008:0018 id0 @1+1 x1 f2"}));
    top->first_child->first_element->next->output_value = 1; // Ring
    for (hid_element *e = top->first_element; e; e = e->next) {
        if (e->usage == 0x09)
            e->output_value = 1; // Mute
    }
    QCOMPARE(outputReport(d.get(), 0), QByteArray("000201"));
}

void TestHidapiParser::pushAndPopRestoreGlobalState()
{
    const DescriptorPtr d = parse(pushPopDescriptor);
    QVERIFY(d);
    QCOMPARE(elementsOf(topLevel(d.get())),
             (QStringList{"in 0009:0001 id0 @0+1 x1 f2", "in 0009:0002 id0 @1+1 x1 f2", "in 0009:0003 id0 @2+1 x1 f2",
                          "in 0001:0030 id0 @3+8 x1 f6", "in 0001:0031 id0 @11+8 x1 f6"}));
    // The padding after POP is 5 one-bit values again: the report is 3 bytes, not 7.
    QCOMPARE(feed(d.get(), fromHex("f917")).result, -1);
    // Button 1, X = -1 (bits 3..10), Y = 2 (bits 11..18).
    QCOMPARE(feed(d.get(), fromHex("f91700")).elements, (QStringList{"0009:0001=1", "0001:0030=-1", "0001:0031=2"}));
    QCOMPARE(feed(d.get(), fromHex("000000")).elements, QStringList{});
}

void TestHidapiParser::arraysReportNewlyAppearingUsages()
{
    const DescriptorPtr d = parse(arrayDescriptor);
    QVERIFY(d);
    QCOMPARE(d->num_elements, 0x23D + 1);
    QCOMPARE(feed(d.get(), fromHex("01e9000000")).elements, QStringList{"000c:00e9=1"});
    QCOMPARE(feed(d.get(), fromHex("01e900ea00")).elements, QStringList{"000c:00ea=1"});
    QCOMPARE(feed(d.get(), fromHex("01ea00e900")).elements, QStringList{});
    QCOMPARE(feed(d.get(), fromHex("0100000000")).elements, QStringList{});
    QCOMPARE(feed(d.get(), fromHex("01e9000000")).elements, QStringList{"000c:00e9=1"});
    // Mute keeps the Consumer page although the page changed before its main item.
    QCOMPARE(feed(d.get(), fromHex("0201")).elements, QStringList{"000c:00e2=1"});
}

void TestHidapiParser::arrayUsageRangesAreCapped()
{
    const DescriptorPtr d = parse(fromHex("050c0901a101 19002affff 150027ffff000075109501 8100 c0"));
    QVERIFY(d);
    QCOMPARE(d->num_elements, HID_PARSER_MAX_ARRAY_USAGES);
    // A selector beyond the cap selects nothing.
    QCOMPARE(feed(d.get(), fromHex("ff0f")).elements, QStringList{"000c:0fff=1"});
    QCOMPARE(feed(d.get(), fromHex("0010")).elements, QStringList{});
}

void TestHidapiParser::longItemsAreSkipped()
{
    const DescriptorPtr d = parse(fromHex("fe0210aabb 050b0905a101 fe0011 0920150025017501950181 02 95078103 c0"));
    QVERIFY(d);
    QCOMPARE(elementsOf(topLevel(d.get())), QStringList{"in 000b:0020 id0 @0+1 x1 f2"});
}

void TestHidapiParser::countBeyondUsagesRepeatsTheLastUsage()
{
    const DescriptorPtr d = parse(fromHex("050b0905a101 0920092f 150025017501 9503 8102 95058103 c0"));
    QVERIFY(d);
    QCOMPARE(
        elementsOf(topLevel(d.get())),
        (QStringList{"in 000b:0020 id0 @0+1 x1 f2", "in 000b:002f id0 @1+1 x1 f2", "in 000b:002f id0 @2+1 x1 f2"}));
}

void TestHidapiParser::outputReportsCarryTheirIdByte()
{
    const DescriptorPtr withIds = parse(modelDescription("telephony-headset").descriptor);
    QCOMPARE(outputReport(withIds.get(), 2), QByteArray("0200"));
    QCOMPARE(outputReport(withIds.get(), 1), QByteArray()); // input only
    QCOMPARE(outputReport(withIds.get(), 0), QByteArray());
    for (hid_element *e = topLevel(withIds.get())->first_element; e; e = e->next) {
        if (e->direction == HID_ELEMENT_OUTPUT && (e->usage == 0x18 || e->usage == 0x2A))
            e->output_value = 1;
    }
    QCOMPARE(outputReport(withIds.get(), 2), QByteArray("0222"));

    const DescriptorPtr withoutIds = parse(modelDescription("telephony-headset-no-ids").descriptor);
    QCOMPARE(outputReport(withoutIds.get(), 0), QByteArray("0000"));
    QCOMPARE(outputReport(withoutIds.get(), 2), QByteArray());
    size_t length = 99;
    QCOMPARE(hid_get_output_report(nullptr, 0, &length), nullptr);
    QCOMPARE(length, size_t(99));

    // An output array takes the usages whose output value is set, in element order.
    const DescriptorPtr array = parse(fromHex("0508 0901 a101 1501 2503 7508 9502 094b 094c 094d 9100 c0"));
    QVERIFY(array);
    hid_element *third = topLevel(array.get())->first_element->next->next;
    third->output_value = 1;
    topLevel(array.get())->first_element->output_value = 1;
    QCOMPARE(outputReport(array.get(), 0), QByteArray("000103"));
}

void TestHidapiParser::inputReportErrorsCallNothing()
{
    const DescriptorPtr d = parse(modelDescription("telephony-headset").descriptor);
    QCOMPARE(feed(d.get(), fromHex("030100")).result, -1); // unknown report id
    const Reported shortReport = feed(d.get(), fromHex("0101"));
    QCOMPARE(shortReport.result, -1);
    QCOMPARE(shortReport.elements, QStringList{});
    QCOMPARE(feed(d.get(), QByteArray()).result, -1);
    QCOMPARE(hid_parse_input_report(nullptr, 3, d.get()), -1);
    const unsigned char report[] = {0x01, 0x01, 0x00};
    QCOMPARE(hid_parse_input_report(report, 3, nullptr), -1);
    // A longer buffer is fine: the rest is ignored. With no callback set nothing is called.
    hid_set_element_callback(d.get(), nullptr, nullptr);
    const unsigned char longer[] = {0x01, 0x01, 0x00, 0xFF, 0xFF};
    QCOMPARE(hid_parse_input_report(longer, sizeof(longer), d.get()), 1);
}

void TestHidapiParser::parsedDescriptorIsOneBlock()
{
    for (const hid::virt::Model &model : hid::virt::models()) {
        for (const hid::virt::DeviceDescription &description : model.interfaces) {
            const DescriptorPtr d = parse(description.descriptor);
            QVERIFY(d);
            const auto *begin = reinterpret_cast<const unsigned char *>(d.get());
            const auto *end = begin + malloc_usable_size(d.get());
            const auto inside = [&](const void *p) {
                const auto *byte = static_cast<const unsigned char *>(p);
                return p == nullptr || (byte >= begin && byte < end);
            };
            int elements = 0;
            std::vector<const hid_collection *> pending = {d->device_collection};
            while (!pending.empty()) {
                const hid_collection *c = pending.back();
                pending.pop_back();
                QVERIFY(inside(c));
                for (const hid_element *e = c->first_element; e; e = e->next, ++elements) {
                    QVERIFY(inside(e));
                    QVERIFY(inside(e->field));
                }
                for (const hid_collection *child = c->first_child; child; child = child->next_sibling)
                    pending.push_back(child);
            }
            QCOMPARE(elements, d->num_elements);
            QVERIFY(inside(d->layout));
        }
    }
}

void TestHidapiParser::limits_data()
{
    QTest::addColumn<QByteArray>("descriptor");
    QTest::addColumn<bool>("accepted");

    const QByteArray small = fromHex("050b0905a101 0920150025017501950181 02 95078103 c0");
    QTest::newRow("valid") << small << true;
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("4096 bytes") << small + QByteArray(4096 - small.size(), char(0)) << true;
    QTest::newRow("4097 bytes") << small + QByteArray(4097 - small.size(), char(0)) << false;
    QTest::newRow("truncated one-byte item") << fromHex("050b0905a101c005") << false;
    QTest::newRow("truncated four-byte item") << fromHex("050b0905a101c0 270000") << false;
    QTest::newRow("truncated long item") << fromHex("050b0905a101c0 fe0510aabb") << false;
    QTest::newRow("push depth 16") << pushes(16) << true;
    QTest::newRow("push depth 17") << pushes(17) << false;
    QTest::newRow("pop on an empty stack") << fromHex("b4") + small << false;
    QTest::newRow("collection depth 32") << validCollectionsOfDepth(32) << true;
    QTest::newRow("collection depth 33") << validCollectionsOfDepth(33) << false;
    QTest::newRow("end collection without a collection") << small + fromHex("c0") << false;
    QTest::newRow("collection left open") << fromHex("050b0905a101a100") + small.mid(6) << false;
    QTest::newRow("report size 32") << fromHex("050b0905a101 0920 7520 9501 8102 c0") << true;
    QTest::newRow("report size 33 with a usage") << fromHex("050b0905a101 0920 7521 9501 8102 c0") << false;
    QTest::newRow("report size 40 of padding")
        << fromHex("050b0905a101 7528 9501 8103 0920 7501 8102 9507 8103 c0") << true;
    QTest::newRow("report count 12288") << fromHex("050b0905a101 0920 7501 960030 8102 c0") << true;
    QTest::newRow("report count 12289") << fromHex("050b0905a101 0920 7501 960130 8102 c0") << false;
    QTest::newRow("report size times count overflows") << fromHex("050b0905a101 77ffffffff 960030 8103 c0") << false;
    QTest::newRow("report of 16384 bytes") << fromHex("050b0905a101 7520 960010 8103 c0") << true;
    QTest::newRow("report beyond 16384 bytes") << fromHex("050b0905a101 7520 960010 8103 7501 9501 8103 c0") << false;
    QTest::newRow("report id 0") << fromHex("050b0905a101 8500 0920 7501 9501 8102 c0") << false;
    QTest::newRow("report id 256") << fromHex("050b0905a101 860001 0920 7501 9501 8102 c0") << false;
    QTest::newRow("elements at the cap") << manyValues(5, 12288) << true;
    QTest::newRow("elements beyond the cap") << manyValues(6, 12288) << false;
    QTest::newRow("nothing described") << fromHex("050b 0905") << false;
}

void TestHidapiParser::limits()
{
    QFETCH(QByteArray, descriptor);
    QFETCH(bool, accepted);
    // An exact-size heap copy, so that a read past the end is caught by AddressSanitizer.
    const std::vector<unsigned char> bytes(descriptor.begin(), descriptor.end());
    hid_descriptor *parsed = hid_parse_descriptor(bytes.empty() ? nullptr : bytes.data(), bytes.size());
    QCOMPARE(parsed != nullptr, accepted);
    std::free(parsed);
    const unsigned char one = 0x05;
    QCOMPARE(hid_parse_descriptor(&one, 0), nullptr);
}

void TestHidapiParser::malformedAndRandomDescriptors()
{
    std::vector<std::vector<unsigned char>> seeds;
    for (const hid::virt::Model &model : hid::virt::models()) {
        for (const hid::virt::DeviceDescription &description : model.interfaces)
            seeds.push_back(description.descriptor);
    }
    for (const QByteArray &hex : {nestedDescriptor, pushPopDescriptor, arrayDescriptor}) {
        seeds.emplace_back(hex.begin(), hex.end());
    }

    std::mt19937 random(20261121);
    const auto exercise = [&random](const std::vector<unsigned char> &bytes) {
        hid_descriptor *d = hid_parse_descriptor(bytes.data(), bytes.size());
        if (!d)
            return false;
        hid_set_element_callback(
            d, [](const hid_element *, void *) {}, nullptr);
        for (int i = 0; i < 8; ++i) {
            std::vector<unsigned char> report(random() % 12);
            for (unsigned char &b : report)
                b = static_cast<unsigned char>(random());
            hid_parse_input_report(report.data(), report.size(), d);
        }
        for (int id = 0; id < 256; ++id) {
            size_t length = 0;
            std::free(hid_get_output_report(d, static_cast<unsigned char>(id), &length));
        }
        std::free(d);
        return true;
    };

    int accepted = 0;
    for (const std::vector<unsigned char> &seed : seeds) {
        for (std::size_t n = 1; n < seed.size(); ++n)
            exercise(std::vector<unsigned char>(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(n)));
        QVERIFY(exercise(seed));
    }
    for (int round = 0; round < 4000; ++round) {
        std::vector<unsigned char> bytes = seeds[random() % seeds.size()];
        const int edits = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < edits; ++e)
            bytes[random() % bytes.size()] = static_cast<unsigned char>(random());
        accepted += exercise(bytes) ? 1 : 0;
        std::vector<unsigned char> noise(1 + random() % 64);
        for (unsigned char &b : noise)
            b = static_cast<unsigned char>(random());
        exercise(noise);
    }
    // Mutations of valid descriptors are mostly still valid; the parser must not reject all.
    QVERIFY(accepted > 100);
}

QTEST_APPLESS_MAIN(TestHidapiParser)
#include "tst_hidapi_parser.moc"
