// SPDX-License-Identifier: BSD-3-Clause
#include <hidparserbase.h>

#include <QtTest>

#include <algorithm>

using namespace hid;

namespace {

// Builds a model by hand, so that every query can be given exactly the shape it needs.
class ModelBuilder
{
public:
    explicit ModelBuilder(HIDReportInfo &info)
        : m_info(info)
    {
    }

    HIDCollection *collection(uint16_t page, uint16_t usage, HIDCollection *parent = nullptr)
    {
        auto *collection = new HIDCollection;
        collection->usagePage = page;
        collection->usage = usage;
        collection->parent = parent;
        m_info.collections.push_back(collection);
        return collection;
    }

    HIDReportItem *item(HIDCollection *in, HIDReportItemTypes type, uint8_t reportId, uint16_t page, uint16_t usage,
                        uint16_t bitOffset = 0, int32_t value = 0)
    {
        auto *item = new HIDReportItem;
        item->type = type;
        item->reportId = reportId;
        item->usagePage = page;
        item->usage = usage;
        item->bitOffset = bitOffset;
        item->value = value;
        item->collection = in;
        m_info.items.push_back(item);
        if (in)
            in->items.push_back(item);
        return item;
    }

private:
    HIDReportInfo &m_info;
};

} // namespace

class TestHidReportInfo : public QObject
{
    Q_OBJECT

private slots:
    void reportDetailsConstructors()
    {
        const HIDReportDetails empty;
        QCOMPARE(empty.reportId, 0);
        QCOMPARE(empty.usagePage, 0);
        QCOMPARE(empty.inputSize, 0);
        QCOMPARE(empty.outputSize, 0);
        QCOMPARE(empty.featureSize, 0);
        const HIDReportDetails details(3, 4, 5, 6, 0x0B);
        QCOMPARE(details.reportId, 3);
        QCOMPARE(details.inputSize, 4);
        QCOMPARE(details.outputSize, 5);
        QCOMPARE(details.featureSize, 6);
        QCOMPARE(details.usagePage, 0x0B);
    }

    void findCollectionOnAnEmptyModelIsNull()
    {
        const HIDReportInfo info;
        QCOMPARE(info.findCollection(0x0B, 0x05), nullptr);
    }

    void findCollectionTakesTheEarlierOfTwo()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *other = build.collection(0x01, 0x02);
        HIDCollection *first = build.collection(0x0B, 0x05, other);
        build.collection(0x0B, 0x05);
        QCOMPARE(info.findCollection(0x0B, 0x05), first);
        QCOMPARE(info.findCollection(0x0B, 0x06), nullptr);
    }

    void findReportItemInAList()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        build.item(c, Input, 1, 0x0B, 0x21);
        HIDReportItem *hook = build.item(c, Output, 2, 0x0B, 0x20);
        build.item(c, Input, 1, 0x0B, 0x20);
        QCOMPARE(info.findReportItem(c->items, 0x0B, 0x20), hook); // any type and report id
        QCOMPARE(info.findReportItem(std::vector<HIDReportItem *>(), 0x0B, 0x20), nullptr);
        QCOMPARE(info.findReportItem(c->items, 0x08, 0x20), nullptr);
    }

    void findReportItemSearchesMatchingCollectionsOnly()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *top = build.collection(0x01, 0x01);
        HIDCollection *child = build.collection(0x0B, 0x05, top);
        HIDCollection *grandChild = build.collection(0x0B, 0x05, child);
        HIDCollection *unrelated = build.collection(0x0B, 0x05);
        build.item(top, Input, 0, 0x0B, 0x20);    // top's usage differs: not searched
        build.item(child, Output, 0, 0x0B, 0x20); // wrong type
        HIDReportItem *wanted = build.item(grandChild, Input, 0, 0x0B, 0x20);
        build.item(unrelated, Input, 0, 0x0B, 0x20); // not a descendant

        QCOMPARE(info.findReportItem(top, Input, 0x0B, 0x05, 0x0B, 0x20), wanted);
        QCOMPARE(info.findReportItem(child, Output, 0x0B, 0x05, 0x0B, 0x20), child->items[0]);
        QCOMPARE(info.findReportItem(top, Input, 0x01, 0x01, 0x0B, 0x20), top->items[0]);
        QCOMPARE(info.findReportItem(grandChild, Input, 0x0B, 0x05, 0x0B, 0x2F), nullptr);
    }

    void findReportItemsSortsByBitOffsetIncludingWhatWasThere()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        HIDCollection *sub = build.collection(0x08, 0x00, c);
        HIDReportItem *at5 = build.item(c, Input, 1, 0x0B, 0x20, 5);
        HIDReportItem *at1 = build.item(sub, Input, 1, 0x08, 0x17, 1);
        HIDReportItem *at3 = build.item(c, Input, 1, 0x0B, 0x21, 3);
        build.item(c, Input, 2, 0x0B, 0x22, 0);  // other report id
        build.item(c, Output, 1, 0x0B, 0x22, 0); // other type
        HIDReportItem previous;
        previous.bitOffset = 2;

        std::vector<HIDReportItem *> out{&previous};
        info.findReportItems(c, 1, Input, out);
        QCOMPARE(out, (std::vector<HIDReportItem *>{at1, &previous, at3, at5}));
    }

    void findReportItemsByReportIdRepeatsDirectItems()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        HIDReportItem *a = build.item(c, Input, 1, 0x0B, 0x20);
        HIDReportItem *b = build.item(c, Output, 1, 0x08, 0x17); // does not match, appended anyway
        HIDReportItem *d = build.item(c, Input, 1, 0x0B, 0x21);
        HIDCollection *child = build.collection(0x0B, 0x05, c);
        HIDReportItem *childOutput = build.item(child, Output, 9, 0x08, 0x18);

        std::vector<HIDReportItem *> out;
        info.findReportItemsByReportID(c, Input, 0x0B, 0x05, 1, out);
        QCOMPARE(out, (std::vector<HIDReportItem *>{a, a, b, b, d, d, childOutput}));
    }

    void findReportItemsByReportIdWithNoMatchAppendsNoDirectItem()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        build.item(c, Input, 1, 0x0B, 0x20);
        std::vector<HIDReportItem *> out;
        info.findReportItemsByReportID(c, Feature, 0x0B, 0x05, 1, out);
        QVERIFY(out.empty());
    }

    void descendantInputsAreNeverTakenBySecondPass()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x01, 0x01); // usage differs: first pass skipped
        build.item(c, Input, 4, 0x0B, 0x20);
        build.item(c, Input, 4, 0x0B, 0x21);
        HIDCollection *child = build.collection(0x0B, 0x05, c);
        HIDReportItem *childInput = build.item(child, Input, 4, 0x0B, 0x20, 0, 1);
        HIDReportItem *childFeature = build.item(child, Feature, 7, 0x0B, 0x21, 0, 0);
        HIDReportItem *childOutput = build.item(child, Output, 7, 0x08, 0x17, 0, 0);

        std::vector<HIDReportItem *> out;
        info.findReportItemsByReportID(c, Input, 0x0B, 0x05, 4, out);
        // Item j of the descendant is taken when item j of `c` has the report id, whatever the
        // descendant's own report id; index 2 is past `c`'s items and does not match.
        QCOMPARE(out, (std::vector<HIDReportItem *>{childFeature}));
        QVERIFY(std::find(out.begin(), out.end(), childInput) == out.end());
        QVERIFY(std::find(out.begin(), out.end(), childOutput) == out.end());

        // A non-zero Input value in the descendant does not count, even for type Input.
        QVERIFY(info.isEmptyValue(c, Input, 0x0B, 0x05, 4));
        childOutput->value = 5; // index 2: past c's items, not counted
        QVERIFY(info.isEmptyValue(c, Input, 0x0B, 0x05, 4));
        childFeature->value = 1;
        QVERIFY(!info.isEmptyValue(c, Input, 0x0B, 0x05, 4));
    }

    void isEmptyValueFirstPass()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x08, 0x00);
        HIDReportItem *lamp = build.item(c, Output, 2, 0x08, 0x17);
        build.item(c, Output, 3, 0x08, 0x18, 0, 1); // other report id
        QVERIFY(info.isEmptyValue(c, Output, 0x08, 0x00, 2));
        lamp->value = -1;
        QVERIFY(!info.isEmptyValue(c, Output, 0x08, 0x00, 2));
        QVERIFY(info.isEmptyValue(c, Input, 0x08, 0x00, 2));
    }

    void isEmptyValueWithNothingMatchingIsTrue()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x01, 0x01);
        build.item(c, Output, 0, 0x08, 0x17, 0, 1);
        HIDCollection *child = build.collection(0x01, 0x02, c);
        build.item(child, Output, 0, 0x08, 0x17, 0, 1);
        QVERIFY(info.isEmptyValue(c, Output, 0x0B, 0x05, 0));
    }

    void aNullCollectionMatchesNothing()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        build.item(c, Output, 0, 0x08, 0x17, 0, 1)->value = 1;
        HIDCollection *missing = info.findCollection(0x0C, 0x01);
        QVERIFY(!missing);
        QVERIFY(!info.findReportItem(missing, Output, 0x0B, 0x05, 0x08, 0x17));
        std::vector<HIDReportItem *> out;
        info.findReportItems(missing, 0, Output, out);
        info.findReportItemsByReportID(missing, Output, 0x0B, 0x05, 0, out);
        QVERIFY(out.empty());
        QVERIFY(info.isEmptyValue(missing, Output, 0x0B, 0x05, 0));
    }

    void afterResetEveryValueIsEmpty()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        build.item(c, Output, 0, 0x08, 0x17, 0, 1);
        HIDCollection *child = build.collection(0x0B, 0x05, c);
        build.item(child, Feature, 0, 0x08, 0x18, 0, 7);
        QVERIFY(!info.isEmptyValue(c, Output, 0x0B, 0x05, 0));
        info.reset();
        for (HIDReportItem *item : info.items)
            QCOMPARE(item->value, 0);
        QVERIFY(info.isEmptyValue(c, Output, 0x0B, 0x05, 0));
        QVERIFY(info.isEmptyValue(c, Feature, 0x0B, 0x05, 0));
        QCOMPARE(info.items.size(), size_t(2)); // nothing else changed
    }

    void findReportIdTakesTheLowestIdOfAPage()
    {
        HIDReportInfo info;
        info.reportDetails[7] = HIDReportDetails(7, 1, 0, 0, 0x0B);
        info.reportDetails[3] = HIDReportDetails(3, 1, 0, 0, 0x0B);
        info.reportDetails[5] = HIDReportDetails(5, 0, 1, 0, 0x08);
        QCOMPARE(info.findReportId(0x0B), 3);
        QCOMPARE(info.findReportId(0x08), 5);
        QCOMPARE(info.findReportId(0x0C), 0);
    }

    void clearForgetsButDoesNotDelete()
    {
        auto *info = new HIDReportInfo;
        ModelBuilder build(*info);
        HIDCollection *c = build.collection(0x0B, 0x05);
        HIDReportItem *item = build.item(c, Input, 0, 0x0B, 0x20, 0, 1);
        info->reportDetails[0] = HIDReportDetails(0, 1, 0, 0, 0x0B);
        info->clear();
        QVERIFY(info->items.empty());
        QVERIFY(info->collections.empty());
        QVERIFY(info->reportDetails.empty());
        QCOMPARE(info->findCollection(0x0B, 0x05), nullptr);
        QCOMPARE(info->findReportId(0x0B), 0);
        std::vector<HIDReportItem *> out;
        info->findReportItems(c, 0, Input, out);
        QCOMPARE(out, std::vector<HIDReportItem *>{item}); // only c's own list, which c still has
        delete info;
        // The model no longer owned them: they are still alive and the caller frees them.
        QCOMPARE(item->value, 1);
        QCOMPARE(c->items.front(), item);
        delete item;
        delete c;
    }

    void descendantsAreFoundInAListInAnyOrder()
    {
        // The parser lists a parent before its children; a client may list them otherwise.
        for (const bool childrenFirst : {false, true}) {
            HIDReportInfo info;
            ModelBuilder build(info);
            HIDCollection *top = build.collection(0x0B, 0x05);
            HIDCollection *middle = build.collection(0x0B, 0x20, top);
            HIDCollection *inner = build.collection(0x0B, 0x21, middle);
            HIDCollection *other = build.collection(0x01, 0x01);
            build.item(inner, Input, 0, 0x0B, 0x2F, 2);
            build.item(middle, Input, 0, 0x0B, 0x20, 1);
            build.item(other, Input, 0, 0x01, 0x30, 0);
            if (childrenFirst)
                std::reverse(info.collections.begin(), info.collections.end());
            std::vector<HIDReportItem *> out;
            info.findReportItems(top, 0, Input, out);
            QCOMPARE(out.size(), size_t(2));
            QCOMPARE(out[0]->usage, 0x20);
            QCOMPARE(out[1]->usage, 0x2F);
        }
    }

    void aLoopOfParentsDoesNotHang()
    {
        HIDReportInfo info;
        ModelBuilder build(info);
        HIDCollection *a = build.collection(0x0B, 0x05);
        HIDCollection *b = build.collection(0x0B, 0x05, a);
        a->parent = b; // not something the parser makes; a client could
        HIDCollection *start = build.collection(0x01, 0x01);
        std::vector<HIDReportItem *> out;
        info.findReportItems(start, 0, Input, out);
        QVERIFY(out.empty());
        QVERIFY(info.isEmptyValue(start, Output, 0x0B, 0x05, 0));
    }
};

QTEST_GUILESS_MAIN(TestHidReportInfo)
#include "tst_hidreportinfo.moc"
