// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"
#include "descriptors.h"
#include "parsing.h"

#include <hidparserbase.h>

#include <QtTest>

using namespace hid;

namespace {

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

const QString parserFile = QStringLiteral("src/libs/qvhid/src/hidparserbase");

// An item's dump line: 41 blanks up to a depth of 20, then the bytes shown.
QString dump(const char *bytes, int blanks = 41)
{
    return QStringLiteral("parseReportData ") + QString(blanks, QLatin1Char(' ')) + QLatin1String(bytes);
}

QString tag(const char *text)
{
    return QStringLiteral("parseReportData") + QLatin1String(text);
}

QList<uint16_t> usages(const HIDReportInfo &info)
{
    QList<uint16_t> result;
    for (const HIDReportItem *item : info.items)
        result.append(item->usage);
    return result;
}

QList<uint16_t> offsets(const HIDReportInfo &info)
{
    QList<uint16_t> result;
    for (const HIDReportItem *item : info.items)
        result.append(item->bitOffset);
    return result;
}

QStringList linesContaining(const CapturingLogger &logger, const QString &part)
{
    QStringList result;
    for (const QString &text : logger.texts()) {
        if (text.contains(part))
            result.append(text);
    }
    return result;
}

} // namespace

class TestHidParser : public QObject
{
    Q_OBJECT

private slots:
    void theTraceOfEveryTag()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(descriptors::everyTag(), info), HIDParserBase::ParseOk);

        const QStringList expected = {
            tag(" USAGE_PAGE 11"),
            dump("05 0b "),
            tag(" USAGE 5"),
            dump("09 05 "),
            tag(" COLLECTION 1"),
            dump("a1 01 "),
            tag(" LOGICAL_MINIMUM -1"),
            dump("15 ff "),
            tag(" LOGICAL_MAXIMUM 1"),
            dump("25 01 "),
            tag(" PHYSICAL_MINIMUM -127"),
            dump("35 81 "),
            tag(" LOGICAL_MINIMUM 127"),
            dump("45 7f "),
            tag(" UNIT_EXPONENT 14"),
            dump("55 0e "),
            tag(" UNIT 1"),
            dump("65 01 "),
            tag(" REPORT_SIZE 1"),
            dump("75 01 "),
            tag(" REPORT_ID 2"),
            dump("85 02 "),
            tag(" REPORT_COUNT 2"),
            dump("95 02 "),
            tag(" PUSH"),
            dump("a4 "),
            tag(" POP"),
            dump("b4 "),
            tag(" USAGE 32"),
            dump("09 20 "),
            tag(" USAGE_MINIMUM 1"),
            dump("19 01 "),
            tag(" USAGE_MAXIMUM 2"),
            dump("29 02 "),
            tag(" DESIGNATOR_INDEX 3"),
            dump("39 03 "),
            tag(" DESIGNATOR_MINIMUM 1"),
            dump("49 01 "),
            tag(" DESIGNATOR_MAXIMUM 2"),
            dump("59 02 "),
            tag(" STRING_INDEX 4"),
            dump("79 04 "),
            tag(" STRING_MINIMUM 1"),
            dump("89 01 "),
            tag(" STRING_MAXIMUM 5"),
            dump("99 05 "),
            tag(" DELIMITER 1"),
            dump("a9 01 "),
            tag(" COLLECTION 2"),
            dump("a1 02 "),
            tag(" INPUT 2"),
            tag(" INPUT 2"),
            dump("81 02 "),
            tag(" OUTPUT 3"),
            tag(" OUTPUT 3"),
            dump("91 03 "),
            tag(" FEATURE 2"),
            tag(" FEATURE 2"),
            dump("b1 02 "),
            tag(" END_COLLECTION"),
            dump("c0 "),
            tag(" END_COLLECTION"),
            dump("c0 "),
            tag(" 0: ReportId: 2  Type:In Offset:0 Bits:1\n"),
            tag(" 1: ReportId: 2  Type:In Offset:1 Bits:1\n"),
            tag(" 2: ReportId: 2  Type:Out Offset:0 Bits:1\n"),
            tag(" 3: ReportId: 2  Type:Out Offset:1 Bits:1\n"),
            tag(" 4: ReportId: 2  Type:Feature Offset:0 Bits:1\n"),
            tag(" 5: ReportId: 2  Type:Feature Offset:1 Bits:1\n"),
        };
        const QStringList actual = logger.texts();
        for (int i = 0; i < std::min(actual.size(), expected.size()); ++i)
            QCOMPARE(actual[i], expected[i]);
        QCOMPARE(actual.size(), expected.size());
        for (const CapturedLine &line : logger.lines()) {
            QCOMPARE(line.level, 7);
            QCOMPARE(line.category, QStringLiteral("hid"));
            QCOMPARE(line.file, parserFile);
            QCOMPARE(line.function, QStringLiteral("parseReportData"));
        }
    }

    void theModelOfEveryTag()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(descriptors::everyTag(), info), HIDParserBase::ParseOk);
        QCOMPARE(info.collections.size(), size_t(2));
        const HIDCollection *outer = info.collections[0];
        const HIDCollection *inner = info.collections[1];
        QCOMPARE(outer->type, 1);
        QCOMPARE(outer->usagePage, 11);
        QCOMPARE(outer->usage, 5);
        QCOMPARE(outer->stringIndex, 0);
        QCOMPARE(outer->parent, nullptr);
        QVERIFY(outer->items.empty());
        QCOMPARE(inner->type, 2);
        QCOMPARE(inner->usage, 32); // USAGE 32 was still queued
        QCOMPARE(inner->stringIndex, 4);
        QCOMPARE(inner->parent, outer);
        QCOMPARE(inner->items.size(), size_t(6));

        QCOMPARE(info.items.size(), size_t(6));
        const HIDReportItemTypes types[] = {Input, Input, Output, Output, Feature, Feature};
        const uint16_t flags[] = {2, 2, 3, 3, 2, 2};
        for (size_t i = 0; i < info.items.size(); ++i) {
            const HIDReportItem *item = info.items[i];
            QCOMPARE(item->type, types[i]);
            QCOMPARE(item->flags, flags[i]);
            QCOMPARE(item->bitOffset, uint16_t(i % 2));
            QCOMPARE(item->reportSize, 1);
            QCOMPARE(item->reportId, 2);
            QCOMPARE(item->usagePage, 11);
            QCOMPARE(item->usage, uint16_t(1 + i % 2)); // the usage range
            QCOMPARE(item->unitExponent, 14);
            QCOMPARE(item->unit, 1);
            QCOMPARE(item->logicalMinimum, -1);
            QCOMPARE(item->logicalMaximum, 1);
            QCOMPARE(item->physicalMinimum, -127);
            QCOMPARE(item->physicalMaximum, 127);
            QCOMPARE(item->stringIndex, uint8_t(1 + i % 2));     // the string range
            QCOMPARE(item->designatorIndex, uint8_t(1 + i % 2)); // the designator range
            QCOMPARE(item->value, 0);
            QCOMPARE(item->collection, inner);
        }
        QCOMPARE(info.reportDetails.size(), size_t(1));
        const HIDReportDetails &details = info.reportDetails.at(2);
        QCOMPARE(details.reportId, 2);
        QCOMPARE(details.usagePage, 11);
        QCOMPARE(details.inputSize, 1);
        QCOMPARE(details.outputSize, 1);
        QCOMPARE(details.featureSize, 1);
    }

    void lengthZeroParsesNothing()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        const unsigned char byte = 0x05;
        QCOMPARE(HIDParserBase::parseReportData(&byte, 0, info), HIDParserBase::ParseOk);
        QVERIFY(info.items.empty());
        QVERIFY(info.collections.empty());
        QVERIFY(info.reportDetails.empty());
        QVERIFY(logger.lines().isEmpty());
    }

    void aUsageRangeRepeatsItsMaximum()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("7501 9503 1901 2902 8102"), info), 0);
        QCOMPARE(usages(info), (QList<uint16_t>{1, 2, 2}));
        QCOMPARE(offsets(info), (QList<uint16_t>{0, 1, 2}));
        QCOMPARE(info.reportDetails.at(0).inputSize, 1);
        QCOMPARE(info.reportDetails.at(0).outputSize, 0);
    }

    void theLastListedUsageRepeatsAndAMainItemForgetsIt()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0901 0902 7501 9504 9102 9102"), info), 0);
        QCOMPARE(usages(info), (QList<uint16_t>{1, 2, 2, 2, 0, 0, 0, 0}));
        QCOMPARE(offsets(info), (QList<uint16_t>{0, 1, 2, 3, 4, 5, 6, 7}));
        QCOMPARE(info.items[0]->type, Output);
    }

    void eachReportIdCountsItsOwnBits()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0501 7508 9501 0901 8102 8502 050c 0902 8102 0501 9102 8102"), info), 0);
        QCOMPARE(offsets(info), (QList<uint16_t>{0, 0, 0, 8}));
        QCOMPARE(info.items[1]->reportId, 2);
        QCOMPARE(info.items[2]->type, Output);
        QCOMPARE(info.items[3]->usagePage, 1);
        QCOMPARE(info.reportDetails.size(), size_t(2));
        const HIDReportDetails &first = info.reportDetails.at(0);
        QCOMPARE(first.usagePage, 1);
        QCOMPARE(first.inputSize, 1);
        const HIDReportDetails &second = info.reportDetails.at(2);
        QCOMPARE(second.reportId, 2);
        QCOMPARE(second.usagePage, 0x0C); // the page in force at its first field
        QCOMPARE(second.inputSize, 2);
        QCOMPARE(second.outputSize, 1);
        QCOMPARE(info.findReportId(0x0C), 2);
    }

    void anExtendedUsageLosesItsPage()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0b20000b00 7501 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->usage, 0x20);
        QCOMPARE(info.items[0]->usagePage, 0);
        QCOMPARE(logger.texts().mid(0, 2), (QStringList{tag(" USAGE 720928"), dump("0b 20 00 0b ")}));
    }

    void valuesAreSignExtendedOrCut()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("15ff 2680ff 7501 95ff 8102"), info), 0);
        QCOMPARE(info.items.size(), size_t(255));
        QCOMPARE(info.items[0]->logicalMinimum, -1);
        QCOMPARE(info.items[0]->logicalMaximum, -128);
        QVERIFY(logger.texts().contains(tag(" LOGICAL_MINIMUM -1")));
        QVERIFY(logger.texts().contains(tag(" LOGICAL_MAXIMUM -128")));
        QVERIFY(logger.texts().contains(tag(" REPORT_COUNT 255")));

        HIDReportInfo wide;
        QCOMPARE(parseExactly(hex("962c01 7501 8102"), wide), 0);
        QCOMPARE(wide.items.size(), size_t(44)); // 300 cut to 8 bits
    }

    // The rules that differ from HID 1.11, as the README's table gives them.
    void aOneByteLogicalMaximumOf255ReadsMinusOne()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("1500 25ff 7508 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->logicalMinimum, 0);
        QCOMPARE(info.items[0]->logicalMaximum, -1);
    }

    void aUsageRangeOutlivesItsMainItem()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("7501 9502 1901 2902 8102 8102"), info), 0);
        // HID 1.11 would leave the second item without usages.
        QCOMPARE(usages(info), (QList<uint16_t>{1, 2, 1, 2}));
    }

    void unitsAndReportSizesAreCutToEightBits()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("6712345678 761001 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->unit, 0x12);
        QCOMPARE(info.items[0]->reportSize, 0x10); // 272 bits declared
    }

    void thirtyTwoBitValuesAreReadWhole()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("1700000080 27ffffff7f 0701000c00 7501 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->logicalMinimum, std::numeric_limits<int32_t>::min());
        QCOMPARE(info.items[0]->logicalMaximum, std::numeric_limits<int32_t>::max());
        QCOMPARE(info.items[0]->usagePage, 1); // a 32-bit usage page keeps its low 16 bits
        QCOMPARE(
            logger.texts().mid(0, 6),
            (QStringList{tag(" LOGICAL_MINIMUM -2147483648"), dump("17 00 00 00 "), tag(" LOGICAL_MAXIMUM 2147483647"),
                         dump("27 ff ff ff "), tag(" USAGE_PAGE 786433"), dump("07 01 00 0c ")}));
    }

    void physicalMaximumWritesTheLogicalMinimumText()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("4564"), info), 0);
        QCOMPARE(logger.texts(), (QStringList{tag(" LOGICAL_MINIMUM 100"), dump("45 64 ")}));
    }

    void popDoesNotRestore()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0501 a4 0509 b4 7501 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->usagePage, 9);
    }

    void pushWhileASnapshotIsSavedResetsToIt()
    {
        HIDReportInfo info;
        // The first PUSH saves page 1; the second copies that snapshot over page 9.
        QCOMPARE(parseExactly(hex("0501 a4 0509 a4 7501 9501 8102"), info), 0);
        QCOMPARE(info.items[0]->usagePage, 1);
    }

    void endCollectionAtTopLevelFails()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("7501 9501 8102 c0 8102"), info), HIDParserBase::ParseNoOpenCollection);
        QCOMPARE(info.items.size(), size_t(1)); // what was made stays
        QVERIFY(info.reportDetails.empty());
        QVERIFY(linesContaining(logger, QStringLiteral("ReportId:")).isEmpty());
        QVERIFY(linesContaining(logger, QStringLiteral("END_COLLECTION")).isEmpty());
    }

    void aPopTooManyFailsAtTheSecond()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("b4 b4"), info), HIDParserBase::ParseStackEmptyOnPop);
        QCOMPARE(linesContaining(logger, QStringLiteral("POP")), QStringList{tag(" POP")});
        QVERIFY(info.reportDetails.empty());
    }

    void theStateKeepsWorkingAfterItsElementWasPopped()
    {
        HIDReportInfo info;
        // The extra POP removes the current state's element; USAGE_PAGE still lands, and a PUSH
        // starts the stack again from the current state, so one more POP is allowed.
        QCOMPARE(parseExactly(hex("0501 b4 0507 7501 9501 8102 a4 0509 8102 b4"), info), 0);
        QCOMPARE(info.items[0]->usagePage, 7);
        QCOMPARE(info.items[1]->usagePage, 9);
        HIDReportInfo again;
        QCOMPARE(parseExactly(hex("b4 a4 b4 b4"), again), HIDParserBase::ParseStackEmptyOnPop);
    }

    void aCollectionTakesTheFirstQueuedUsageOnly()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0901 0902 a101 7501 9501 8102 c0"), info), 0);
        QCOMPARE(info.collections[0]->usage, 1);
        // The queue was emptied, so usage 2 never reaches a field; the collection's usage is
        // the last one taken.
        QCOMPARE(info.items[0]->usage, 1);
        QCOMPARE(info.collections[0]->items.size(), size_t(1));
    }

    void aMainItemWithoutFieldsStillEmptiesTheQueue()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("0905 7501 9500 8102 9501 8102"), info), 0);
        QCOMPARE(info.items.size(), size_t(1));
        QCOMPARE(info.items[0]->usage, 0);
        QCOMPARE(linesContaining(logger, QStringLiteral(" INPUT ")), QStringList{tag(" INPUT 2")});
    }

    void aZeroSizeItemTakesTheNextByte()
    {
        HIDReportInfo info;
        // INPUT with no data takes the next prefix (0x75) as its flags; REPORT_COUNT with no data
        // takes 0x81 as its count.
        QCOMPARE(parseExactly(hex("7501 9501 80 7502 94 8100"), info), 0);
        QCOMPARE(info.items[0]->flags, 0x75);
        QCOMPARE(info.items.size(), size_t(1 + 0x81));
        QCOMPARE(info.items[1]->reportSize, 2);
    }

    void aZeroSizeItemAtTheEndReadsZero()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("7501 9501 80"), info), 0);
        QCOMPARE(info.items.size(), size_t(1));
        QCOMPARE(info.items[0]->flags, 0);
    }

    void aCutShortLastItemIsIgnored()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("7501 9501 8102 0509 270000"), info), 0);
        QCOMPARE(info.items.size(), size_t(1));
        QCOMPARE(info.reportDetails.at(0).inputSize, 1);
        QVERIFY(linesContaining(logger, QStringLiteral("LOGICAL_MAXIMUM")).isEmpty());
        QCOMPARE(logger.texts().last(), tag(" 0: ReportId: 0  Type:In Offset:0 Bits:1\n"));
    }

    void longAndReservedItemsAreSteppedOver()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        // A long item (0xFE) is stepped over as three bytes; its data then parses as items.
        QCOMPARE(parseExactly(hex("fe0200 0509 f501 0c 7501 9501 8102"), info), 0);
        QCOMPARE(info.items.size(), size_t(1));
        QCOMPARE(info.items[0]->usagePage, 9);
        QCOMPARE(logger.texts().mid(0, 5),
                 (QStringList{dump("fe 02 00 "), tag(" USAGE_PAGE 9"), dump("05 09 "), dump("f5 01 "), dump("0c ")}));
    }

    void deepNestingWidensTheDumpLine()
    {
        CapturingLogger logger;
        HIDReportInfo info;
        QByteArray descriptor;
        for (int i = 0; i < 22; ++i)
            descriptor += hex("a100");
        QCOMPARE(parseExactly(descriptor, info), 0);
        const QStringList dumps = linesContaining(logger, QStringLiteral("a1 00"));
        QCOMPARE(dumps.size(), 22);
        QCOMPARE(dumps[19], dump("a1 00 ", 41)); // depth 20
        QCOMPARE(dumps[20], dump("a1 00 ", 45)); // depth 21: 42 + 1 + 2
        QCOMPARE(dumps[21], dump("a1 00 ", 49));
        QCOMPARE(info.collections[21]->parent, info.collections[20]);
    }

    void parsingAppendsToWhatIsThere()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(descriptors::telephonyHeadset(), info), 0);
        const size_t items = info.items.size();
        CapturingLogger logger;
        QCOMPARE(parseExactly(hex("8503 7501 9501 8102"), info), 0);
        QCOMPARE(info.items.size(), items + 1);
        QCOMPARE(info.collections.size(), size_t(1));
        QCOMPARE(info.reportDetails.size(), size_t(2));
        // The summary counts over the whole vector.
        const QStringList summary = linesContaining(logger, QStringLiteral("ReportId:"));
        QCOMPARE(summary.size(), int(items + 1));
        QCOMPARE(summary.first(), tag(" 0: ReportId: 0  Type:In Offset:0 Bits:1\n"));
        QCOMPARE(summary.last(),
                 tag(QStringLiteral("%1: ReportId: 3  Type:In Offset:0 Bits:1\n").arg(items).toLatin1().constData()));
    }

    void offsetsWrapAtSixteenBits()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(hex("75ff 95ff 8102 8102"), info), 0);
        QCOMPARE(info.items.size(), size_t(510));
        QCOMPARE(info.items[257]->bitOffset, uint16_t(257 * 255));
        QCOMPARE(info.items[258]->bitOffset, uint16_t((258 * 255) & 0xFFFF)); // wrapped
        QCOMPARE(info.reportDetails.at(0).inputSize, ((510 * 255) & 0xFFFF) / 8 + 1);
    }

    void withoutALoggerNothingIsFormattedButTheModelIsTheSame()
    {
        HIDReportInfo traced;
        {
            CapturingLogger logger;
            QCOMPARE(parseExactly(descriptors::everyTag(), traced), 0);
        }
        HIDReportInfo quiet;
        QCOMPARE(parseExactly(descriptors::everyTag(), quiet), 0);
        QCOMPARE(quiet.items.size(), traced.items.size());
        QCOMPARE(usages(quiet), usages(traced));
    }

    void aTelephonyHeadset()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(descriptors::telephonyHeadset(), info), 0);
        QCOMPARE(info.collections.size(), size_t(1));
        HIDCollection *headset = info.collections[0];
        QCOMPARE(headset->type, 1);
        QCOMPARE(headset->usagePage, 0x0B);
        QCOMPARE(headset->usage, 0x05);
        QCOMPARE(info.findCollection(0x0B, 0x05), headset);
        QCOMPARE(info.items.size(), size_t(15));
        QCOMPARE(headset->items.size(), size_t(15));

        struct Expected
        {
            HIDReportItemTypes type;
            uint16_t page, usage, offset;
            uint8_t size;
            uint16_t flags;
        };
        const Expected expected[] = {
            {Input, 0x0B, 0x20, 0, 1, 0x22},  {Input, 0x0B, 0x2F, 1, 1, 0x06},  {Input, 0x0B, 0x21, 2, 1, 0x06},
            {Input, 0x09, 1, 3, 2, 0x00},     {Input, 0x09, 1, 5, 1, 0x03},     {Input, 0x09, 2, 6, 1, 0x03},
            {Input, 0x09, 3, 7, 1, 0x03},     {Output, 0x08, 0x17, 0, 1, 0x22}, {Output, 0x08, 0x09, 1, 1, 0x22},
            {Output, 0x08, 0x18, 2, 1, 0x22}, {Output, 0x08, 0x20, 3, 1, 0x22}, {Output, 0x08, 0x21, 4, 1, 0x22},
            {Output, 0x08, 0x2A, 5, 1, 0x22}, {Output, 0x08, 0, 6, 1, 0x03},    {Output, 0x08, 0, 7, 1, 0x03},
        };
        for (size_t i = 0; i < std::size(expected); ++i) {
            const HIDReportItem *item = info.items[i];
            QCOMPARE(item->type, expected[i].type);
            QCOMPARE(item->usagePage, expected[i].page);
            QCOMPARE(item->usage, expected[i].usage);
            QCOMPARE(item->bitOffset, expected[i].offset);
            QCOMPARE(item->reportSize, expected[i].size);
            QCOMPARE(item->flags, expected[i].flags);
            QCOMPARE(item->reportId, 0);
            QCOMPARE(item->collection, headset);
        }
        QCOMPARE(info.items[3]->logicalMaximum, 3);

        QCOMPARE(info.reportDetails.size(), size_t(1));
        const HIDReportDetails &details = info.reportDetails.at(0);
        QCOMPARE(details.usagePage, 0x0B);
        QCOMPARE(details.inputSize, 1);
        QCOMPARE(details.outputSize, 1);
        QCOMPARE(details.featureSize, 0);

        // Hook switch down, flash pressed, button 2 of the array: 0b000'10'1'0'1.
        std::vector<HIDReportItem *> inputs;
        info.findReportItems(headset, 0, Input, inputs);
        unsigned char report[] = {0x15};
        QVERIFY(HIDParserBase::decodeReport(report, 1, inputs, 0, Input));
        QList<int> values;
        for (const HIDReportItem *item : inputs)
            values.append(item->value);
        QCOMPARE(values, (QList<int>{1, 0, 1, 2, 0, 0, 0}));
        QCOMPARE(info.findReportItem(headset, Input, 0x0B, 0x05, 0x0B, 0x20)->value, 1);

        // Off-Hook, Hold and On-Line lamps on.
        std::vector<HIDReportItem *> outputs;
        info.findReportItems(headset, 0, Output, outputs);
        QCOMPARE(outputs.size(), size_t(8));
        const int lamps[] = {1, 0, 0, 1, 0, 1, 0, 0};
        for (size_t i = 0; i < outputs.size(); ++i)
            outputs[i]->value = lamps[i];
        unsigned char out[] = {0xEE};
        QVERIFY(HIDParserBase::makeOutputReport(out, 1, outputs, 0));
        QCOMPARE(out[0], 0x29);

        info.reset();
        QVERIFY(info.isEmptyValue(headset, Output, 0x0B, 0x05, 0));
        QVERIFY(HIDParserBase::decodeReport(out, 1, outputs, 0, Output));
        for (size_t i = 0; i < outputs.size(); ++i)
            QCOMPARE(outputs[i]->value, lamps[i]);
        QVERIFY(!info.isEmptyValue(headset, Output, 0x0B, 0x05, 0));
    }

    void aTelephonyHeadsetWithReportIds()
    {
        HIDReportInfo info;
        QCOMPARE(parseExactly(descriptors::telephonyHeadsetWithReportIds(), info), 0);
        QCOMPARE(info.items.size(), size_t(15));
        for (size_t i = 0; i < info.items.size(); ++i) {
            QCOMPARE(info.items[i]->reportId, uint8_t(i < 7 ? 1 : 2));
            QCOMPARE(info.items[i]->bitOffset, uint16_t(i < 7 ? (i < 4 ? i : i + 1) : i - 7));
        }
        QCOMPARE(info.reportDetails.size(), size_t(2));
        QCOMPARE(info.reportDetails.at(1).usagePage, 0x0B);
        QCOMPARE(info.reportDetails.at(1).inputSize, 1);
        QCOMPARE(info.reportDetails.at(1).outputSize, 0);
        QCOMPARE(info.reportDetails.at(2).usagePage, 0x08);
        QCOMPARE(info.reportDetails.at(2).inputSize, 0);
        QCOMPARE(info.reportDetails.at(2).outputSize, 1);
        QCOMPARE(info.findReportId(0x08), 2);
        QCOMPARE(info.findReportId(0x0B), 1);

        HIDCollection *headset = info.collections[0];
        // A report as hidraw delivers it: the report-id byte, then the body.
        unsigned char report[] = {0x01, 0x0A};
        std::vector<HIDReportItem *> inputs;
        info.findReportItems(headset, report[0], Input, inputs);
        QCOMPARE(inputs.size(), size_t(7));
        QVERIFY(HIDParserBase::decodeReport(report + 1, 1, inputs, report[0], Input));
        QCOMPARE(inputs[0]->value, 0); // hook switch up
        QCOMPARE(inputs[1]->value, 1); // phone mute
        QCOMPARE(inputs[3]->value, 1); // button 1 of the array

        std::vector<HIDReportItem *> outputs;
        info.findReportItems(headset, 2, Output, outputs);
        outputs[2]->value = 1; // Ring
        outputs[5]->value = 1; // On-Line
        unsigned char out[2] = {0x02, 0xFF};
        QVERIFY(HIDParserBase::makeOutputReport(out + 1, 1, outputs, 2));
        QCOMPARE(out[1], 0x24);
        // Items of report id 1 are not written into report 2.
        unsigned char none[1] = {0xFF};
        QVERIFY(HIDParserBase::makeOutputReport(none, 1, outputs, 1));
        QCOMPARE(none[0], 0x00);
    }
};

QTEST_GUILESS_MAIN(TestHidParser)
#include "tst_hidparser.moc"
