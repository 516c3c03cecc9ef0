// SPDX-License-Identifier: BSD-3-Clause
#include "capturinglogger.h"

#include <hidparserbase.h>

#include <QtTest>

#include <memory>

using namespace hid;

namespace {

// Owns a list of fields described by (size, value) pairs.
class Fields
{
public:
    Fields &add(uint8_t size, int32_t value, HIDReportItemTypes type = Output, uint8_t reportId = 0,
                int32_t logicalMinimum = 0)
    {
        auto item = std::make_unique<HIDReportItem>();
        item->reportSize = size;
        item->value = value;
        item->type = type;
        item->reportId = reportId;
        item->logicalMinimum = logicalMinimum;
        m_list.push_back(item.get());
        m_owned.push_back(std::move(item));
        return *this;
    }

    std::vector<HIDReportItem *> &list() { return m_list; }
    HIDReportItem *operator[](size_t i) { return m_list[i]; }

private:
    std::vector<std::unique_ptr<HIDReportItem>> m_owned;
    std::vector<HIDReportItem *> m_list;
};

// A heap block of exactly `size` bytes, so that AddressSanitizer sees any access past it.
struct ExactBuffer
{
    explicit ExactBuffer(size_t size, unsigned char fill = 0xEE)
        : bytes(new unsigned char[size])
        , size(size)
    {
        std::fill(bytes.get(), bytes.get() + size, fill);
    }
    QByteArray contents() const { return QByteArray(reinterpret_cast<const char *>(bytes.get()), int(size)); }
    std::unique_ptr<unsigned char[]> bytes;
    size_t size;
};

} // namespace

class TestHidCodec : public QObject
{
    Q_OBJECT

private slots:
    void oneBitFieldsAndConstantPadding()
    {
        Fields fields;
        fields.add(1, 1).add(1, 0).add(1, 1).add(5, 0);
        ExactBuffer buffer(1);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, fields.list(), 0));
        QCOMPARE(buffer.bytes[0], 0x05);
    }

    void fieldsCrossingAByteBoundary()
    {
        Fields fields;
        fields.add(4, 0xA).add(12, 0x123);
        ExactBuffer buffer(2);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 2, fields.list(), 0));
        QCOMPARE(buffer.contents(), QByteArray::fromHex("3a12"));

        fields[0]->value = 0;
        fields[1]->value = 0;
        CapturingLogger logger;
        QVERIFY(HIDParserBase::decodeReport(buffer.bytes.get(), 2, fields.list(), 0, Output));
        QCOMPARE(fields[0]->value, 10);
        QCOMPARE(fields[1]->value, 291);
        const QList<CapturedLine> lines = logger.lines();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].text, QStringLiteral("decodeReport 10 291 "));
        QCOMPARE(lines[0].level, 7);
        QCOMPARE(lines[0].category, QStringLiteral("hid"));
        QCOMPARE(lines[0].file, QStringLiteral("src/libs/qvhid/src/hidparserbase"));
        QCOMPARE(lines[0].function, QStringLiteral("decodeReport"));
    }

    void signIsExtendedOnlyForNegativeLogicalMinimum()
    {
        unsigned char byte = 0xFF;
        Fields unsignedField;
        unsignedField.add(8, 0, Input, 0, 0);
        QVERIFY(HIDParserBase::decodeReport(&byte, 1, unsignedField.list(), 0, Input));
        QCOMPARE(unsignedField[0]->value, 255);

        Fields signedField;
        signedField.add(8, 0, Input, 0, -127);
        CapturingLogger logger;
        QVERIFY(HIDParserBase::decodeReport(&byte, 1, signedField.list(), 0, Input));
        QCOMPARE(signedField[0]->value, -1);
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("decodeReport -1 ")});

        unsigned char twoFields = 0x1D; // bit 0: 1; bits 1 to 3: 0b110, which is -2 in three bits
        Fields pair;
        pair.add(1, 0, Input, 0, 0).add(3, 0, Input, 0, -4);
        logger.clear();
        QVERIFY(HIDParserBase::decodeReport(&twoFields, 1, pair.list(), 0, Input));
        QCOMPARE(pair[0]->value, 1);
        QCOMPARE(pair[1]->value, -2);
        QCOMPARE(logger.texts(), QStringList{QStringLiteral("decodeReport 1 -2 ")});
    }

    void decodingPastTheEndFailsAndKeepsTheUnfinishedValue()
    {
        Fields fields;
        fields.add(4, 77, Input).add(8, 88, Input);
        ExactBuffer buffer(1, 0xC3);
        CapturingLogger logger;
        QVERIFY(!HIDParserBase::decodeReport(buffer.bytes.get(), 1, fields.list(), 0, Input));
        QCOMPARE(fields[0]->value, 3);
        QCOMPARE(fields[1]->value, 88);
        QVERIFY(logger.lines().isEmpty());
    }

    void encodingPastTheEndFailsAfterWritingWhatFits()
    {
        Fields fields;
        fields.add(9, 0x1A5);
        ExactBuffer buffer(1);
        QVERIFY(!HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, fields.list(), 0));
        QCOMPARE(buffer.bytes[0], 0xA5);
    }

    void anOutOfRangeValueSpillsIntoTheNextBit()
    {
        Fields fields;
        fields.add(1, 2).add(1, 0);
        ExactBuffer buffer(1);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, fields.list(), 0));
        QCOMPARE(buffer.bytes[0], 0x02);

        Fields negative;
        negative.add(2, -1).add(6, 0);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, negative.list(), 0));
        QCOMPARE(buffer.bytes[0], 0x07); // three bits of -1
    }

    void otherReportIdsAndTypesAreSkippedWithoutGaps()
    {
        Fields fields;
        fields.add(1, 1, Output, 0)
            .add(4, 0xF, Output, 5)
            .add(4, 0xF, Input, 0)
            .add(4, 0xF, Feature, 0)
            .add(0, 1, Output, 0)
            .add(1, 1, Output, 0);
        ExactBuffer buffer(1);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, fields.list(), 0));
        QCOMPARE(buffer.bytes[0], 0x03);
    }

    void byteZeroIsClearedEvenWithNothingToWrite()
    {
        ExactBuffer buffer(3, 0xEE);
        std::vector<HIDReportItem *> none;
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 3, none, 0));
        QCOMPARE(buffer.contents(), QByteArray::fromHex("00eeee")); // later bytes left alone
    }

    void aFieldEndingOnTheBoundaryLeavesTheNextByteAlone()
    {
        Fields fields;
        fields.add(8, 0x5A);
        ExactBuffer buffer(2, 0xEE);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 2, fields.list(), 0));
        QCOMPARE(buffer.contents(), QByteArray::fromHex("5aee"));
        fields.add(1, 1);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 2, fields.list(), 0));
        QCOMPARE(buffer.contents(), QByteArray::fromHex("5a01"));
        // With no byte left for the second field, the encoding fails.
        QVERIFY(!HIDParserBase::makeOutputReport(buffer.bytes.get(), 1, fields.list(), 0));
    }

    void emptyAndNonMatchingListsStillLog()
    {
        CapturingLogger logger;
        unsigned char byte = 0;
        std::vector<HIDReportItem *> none;
        QVERIFY(HIDParserBase::decodeReport(&byte, 1, none, 0, Input));
        Fields fields;
        fields.add(8, 0, Output);
        QVERIFY(HIDParserBase::decodeReport(&byte, 1, fields.list(), 0, Input));
        QCOMPARE(logger.texts(), (QStringList{QStringLiteral("decodeReport "), QStringLiteral("decodeReport ")}));
    }

    void zeroLengthBuffersAreNeverTouched()
    {
        ExactBuffer empty(0);
        Fields fields;
        fields.add(0, 9, Input).add(3, 9, Input);
        QVERIFY(!HIDParserBase::decodeReport(empty.bytes.get(), 0, fields.list(), 0, Input));
        QCOMPARE(fields[0]->value, 0); // a zero-size field decodes as 0
        QCOMPARE(fields[1]->value, 9);

        Fields outputs;
        outputs.add(1, 1);
        QVERIFY(!HIDParserBase::makeOutputReport(empty.bytes.get(), 0, outputs.list(), 0));
        std::vector<HIDReportItem *> none;
        QVERIFY(HIDParserBase::makeOutputReport(empty.bytes.get(), 0, none, 0));
    }

    void wideFieldsKeepTheirLowThirtyTwoBitsAndTheCursorMovesOn()
    {
        ExactBuffer buffer(10);
        for (size_t i = 0; i < 10; ++i)
            buffer.bytes[i] = uint8_t(0x11 * (i + 1));
        Fields fields;
        fields.add(40, 0, Input, 0, -1).add(8, 0, Input).add(32, 0, Input, 0, -1);
        QVERIFY(HIDParserBase::decodeReport(buffer.bytes.get(), 10, fields.list(), 0, Input));
        QCOMPARE(uint32_t(fields[0]->value), 0x44332211u); // bits 32 to 39 dropped
        QCOMPARE(fields[1]->value, 0x66);                  // starts at bit 40
        QCOMPARE(uint32_t(fields[2]->value), 0xAA998877u);

        fields[0]->value = -1;
        fields[1]->value = 0x12;
        Fields outputs;
        outputs.add(40, -1).add(8, 0x12);
        QVERIFY(HIDParserBase::makeOutputReport(buffer.bytes.get(), 6, outputs.list(), 0));
        QCOMPARE(buffer.contents().left(6), QByteArray::fromHex("ffffffffff12"));
    }
};

QTEST_GUILESS_MAIN(TestHidCodec)
#include "tst_hidcodec.moc"
