// SPDX-License-Identifier: BSD-3-Clause
// The parser and the codec given truncated and random input: nothing may read or write outside
// its buffer, loop forever or crash. Run under AddressSanitizer, any stray access fails the test.
#include "descriptors.h"
#include "parsing.h"

#include <hidparserbase.h>
#include <logger.h>

#include <QRandomGenerator>
#include <QtTest>

using namespace hid;

namespace {

// Receives and drops every line, so that the trace is formatted too.
class DiscardingLogger : public common::logger::ILogger
{
public:
    void Write(const common::logger::IMessage &message) override { characters += message.text().size(); }
    qint64 characters = 0;
};

QList<QByteArray> wellFormedDescriptors()
{
    return {
        descriptors::telephonyHeadset(),
        descriptors::telephonyHeadsetWithReportIds(),
        descriptors::everyTag(),
        // A descriptor with 32-bit items and a long item.
        QByteArray::fromHex(
            "0b05000b00 a101 1700000080 27ffffff7f 7520 9502 8102 fe0300aabbcc 0508 0917 7501 9501 9102 c0"),
    };
}

// The model's own consistency: what every query may rely on.
void checkModel(const HIDReportInfo &info)
{
    for (const HIDReportItem *item : info.items) {
        QVERIFY(item->type == Input || item->type == Output || item->type == Feature);
        if (item->collection) {
            const auto &siblings = item->collection->items;
            QVERIFY(std::find(siblings.begin(), siblings.end(), item) != siblings.end());
        }
    }
    for (size_t i = 0; i < info.collections.size(); ++i) {
        const HIDCollection *parent = info.collections[i]->parent;
        if (parent) {
            const auto begin = info.collections.begin();
            QVERIFY(std::find(begin, begin + long(i), parent) != begin + long(i)); // parents come first
        }
    }
}

// Decodes and encodes every report of the model through exact-size buffers of several lengths.
void exerciseCodec(HIDReportInfo &info, QRandomGenerator &random)
{
    for (const auto &[reportId, details] : info.reportDetails) {
        for (HIDReportItemTypes type : {Input, Output, Feature}) {
            std::vector<HIDReportItem *> fields;
            for (HIDReportItem *item : info.items) {
                if (item->reportId == reportId && item->type == type)
                    fields.push_back(item);
            }
            std::sort(fields.begin(), fields.end(),
                      [](const HIDReportItem *a, const HIDReportItem *b) { return a->bitOffset < b->bitOffset; });
            const int size = type == Input ? details.inputSize
                : type == Output           ? details.outputSize
                                           : details.featureSize;
            for (int length : {0, 1, size / 2, size, size + 1}) {
                length = std::clamp(length, 0, 255);
                std::unique_ptr<unsigned char[]> buffer(new unsigned char[size_t(length)]);
                for (int i = 0; i < length; ++i)
                    buffer[size_t(i)] = uint8_t(random.bounded(256));
                HIDParserBase::decodeReport(buffer.get(), uint8_t(length), fields, reportId, type);
                for (HIDReportItem *field : fields)
                    field->value = int32_t(random.generate());
                HIDParserBase::makeOutputReport(buffer.get(), uint8_t(length), fields, reportId);
            }
        }
    }
}

} // namespace

class TestHidParserRobustness : public QObject
{
    Q_OBJECT

private slots:
    void everyPrefixOfWellFormedDescriptors()
    {
        QRandomGenerator random(1);
        DiscardingLogger logger;
        common::logger::SetLogger(&logger);
        for (const QByteArray &descriptor : wellFormedDescriptors()) {
            for (int length = 0; length <= descriptor.size(); ++length) {
                HIDReportInfo info;
                const int result = parseExactly(descriptor.left(length), info);
                // A prefix has no stray POP or END_COLLECTION: it always parses.
                QCOMPARE(result, HIDParserBase::ParseOk);
                checkModel(info);
                exerciseCodec(info, random);
            }
        }
        common::logger::SetLogger(nullptr);
        QVERIFY(logger.characters > 0);
    }

    void randomBytes()
    {
        QRandomGenerator random(20261121);
        DiscardingLogger logger;
        int results[5] = {};
        for (int round = 0; round < 4000; ++round) {
            // Every other round with a logger, so the trace formatting is exercised as well.
            common::logger::SetLogger(round % 2 ? &logger : nullptr);
            QByteArray bytes(int(random.bounded(1, 80)), Qt::Uninitialized);
            for (char &byte : bytes)
                byte = char(random.bounded(256));
            HIDReportInfo info;
            const int result = parseExactly(bytes, info);
            QVERIFY(result == HIDParserBase::ParseOk || result == HIDParserBase::ParseStackEmptyOnPop
                    || result == HIDParserBase::ParseNoOpenCollection);
            ++results[result];
            checkModel(info);
            exerciseCodec(info, random);
        }
        common::logger::SetLogger(nullptr);
        // The random input reached every outcome, so the test covers the failure paths too.
        QVERIFY(results[HIDParserBase::ParseOk] > 0);
        QVERIFY(results[HIDParserBase::ParseStackEmptyOnPop] > 0);
        QVERIFY(results[HIDParserBase::ParseNoOpenCollection] > 0);
    }

    void randomBytesSpliceIntoARealDescriptor()
    {
        QRandomGenerator random(7);
        const QByteArray base = descriptors::telephonyHeadsetWithReportIds();
        for (int round = 0; round < 2000; ++round) {
            QByteArray bytes = base;
            const int flips = int(random.bounded(1, 6));
            for (int i = 0; i < flips; ++i)
                bytes[int(random.bounded(bytes.size()))] = char(random.bounded(256));
            HIDReportInfo info;
            parseExactly(bytes, info);
            checkModel(info);
            exerciseCodec(info, random);
        }
    }
};

QTEST_GUILESS_MAIN(TestHidParserRobustness)
#include "tst_hidparser_robustness.moc"
