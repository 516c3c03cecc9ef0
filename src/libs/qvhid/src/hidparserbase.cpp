// SPDX-License-Identifier: BSD-3-Clause
#include "hidparserbase.h"

#include "hidlog.h"

#include <QString>

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace hid {

// --- Report model --------------------------------------------------------------------------------

// reportId and usagePage carry no meaning until set; they start at 0 rather than indeterminate.
HIDReportDetails::HIDReportDetails()
    : reportId(0)
    , usagePage(0)
    , inputSize(0)
    , outputSize(0)
    , featureSize(0)
{
}

HIDReportDetails::HIDReportDetails(unsigned char reportId, int inputSize, int outputSize, int featureSize,
                                   unsigned short usagePage)
    : reportId(reportId)
    , usagePage(usagePage)
    , inputSize(inputSize)
    , outputSize(outputSize)
    , featureSize(featureSize)
{
}

HIDReportInfo::~HIDReportInfo()
{
    for (HIDReportItem *item : items)
        delete item;
    for (HIDCollection *collection : collections)
        delete collection;
}

namespace {

bool hasUsage(const HIDCollection *collection, unsigned short usagePage, unsigned short usage)
{
    return collection->usagePage == usagePage && collection->usage == usage;
}

// The collections below `ancestor` (at any depth, itself excluded unless a client-made loop of
// parents leads back to it), in the order of `collections`, for any list: each parent chain is
// walked once and its answer remembered, so that the queries stay linear in the number of
// collections however deep the nesting; a walk stops after as many steps as there are
// collections, so that a loop of parents cannot hang it.
std::vector<const HIDCollection *> descendantsOfAnyList(const std::vector<HIDCollection *> &collections,
                                                        const HIDCollection *ancestor)
{
    std::unordered_map<const HIDCollection *, bool> below; // known answers
    below.reserve(collections.size());
    std::vector<const HIDCollection *> result;
    std::vector<const HIDCollection *> path;
    for (const HIDCollection *candidate : collections) {
        path.assign(1, candidate);
        bool isBelow = false;
        size_t steps = 0;
        for (const HIDCollection *up = candidate->parent; up && steps <= collections.size(); up = up->parent, ++steps) {
            if (up == ancestor) {
                isBelow = true;
                break;
            }
            const auto known = below.find(up);
            if (known != below.end()) {
                isBelow = known->second;
                break;
            }
            path.push_back(up);
        }
        for (const HIDCollection *walked : path)
            below.emplace(walked, isBelow);
        if (isBelow)
            result.push_back(candidate);
    }
    return result;
}

// The same, in one pass without a map, for a list in which every collection comes after its
// parent and after the collections listed between its parent and it that are not its
// ancestors' (the tree in preorder, as parseReportData makes it): going down the list, the
// collections still open are then exactly the parent chain of the next one. False, with
// `result` undefined, for a list that is not so.
bool descendantsOfTreeInOrder(const std::vector<HIDCollection *> &collections, const HIDCollection *ancestor,
                              std::vector<const HIDCollection *> &result)
{
    std::vector<const HIDCollection *> open; // the parent chain, outermost first
    size_t ancestorsOpen = 0;                // how often `ancestor` is in it
    for (const HIDCollection *candidate : collections) {
        while (!open.empty() && open.back() != candidate->parent) {
            ancestorsOpen -= open.back() == ancestor ? 1 : 0;
            open.pop_back();
        }
        if (open.empty() && candidate->parent)
            return false; // its parent is not open: listed after it, or not listed
        if (ancestorsOpen > 0)
            result.push_back(candidate);
        open.push_back(candidate);
        ancestorsOpen += candidate == ancestor ? 1 : 0;
    }
    return true;
}

// The collections below `ancestor`: the queries walk a model's collections with it once per
// call, so it must not cost more than a walk. A map with a node per collection made every
// query spend most of its time allocating; it is needed only for lists that clients built
// themselves in another order.
std::vector<const HIDCollection *> descendantsOf(const std::vector<HIDCollection *> &collections,
                                                 const HIDCollection *ancestor)
{
    std::vector<const HIDCollection *> result;
    if (descendantsOfTreeInOrder(collections, ancestor, result))
        return result;
    return descendantsOfAnyList(collections, ancestor);
}

} // namespace

HIDCollection *HIDReportInfo::findCollection(unsigned short usagePage, unsigned short usage) const
{
    for (HIDCollection *collection : collections) {
        if (hasUsage(collection, usagePage, usage))
            return collection;
    }
    return nullptr;
}

HIDReportItem *HIDReportInfo::findReportItem(std::vector<HIDReportItem *> const &items, unsigned short usagePage,
                                             unsigned short usage) const
{
    for (HIDReportItem *item : items) {
        if (item->usagePage == usagePage && item->usage == usage)
            return item;
    }
    return nullptr;
}

HIDReportItem *HIDReportInfo::findReportItem(HIDCollection *collection, HIDReportItemTypes type,
                                             unsigned short collectionUsagePage, unsigned short collectionUsage,
                                             unsigned short usagePage, unsigned short usage) const
{
    if (!collection)
        return nullptr;
    auto firstMatch = [&](const HIDCollection *in) -> HIDReportItem * {
        for (HIDReportItem *item : in->items) {
            if (item->type == type && item->usagePage == usagePage && item->usage == usage)
                return item;
        }
        return nullptr;
    };
    if (hasUsage(collection, collectionUsagePage, collectionUsage)) {
        if (HIDReportItem *item = firstMatch(collection))
            return item;
    }
    for (const HIDCollection *candidate : descendantsOf(collections, collection)) {
        if (hasUsage(candidate, collectionUsagePage, collectionUsage)) {
            if (HIDReportItem *item = firstMatch(candidate))
                return item;
        }
    }
    return nullptr;
}

void HIDReportInfo::findReportItems(HIDCollection *collection, unsigned char reportId, HIDReportItemTypes type,
                                    std::vector<HIDReportItem *> &out) const
{
    if (!collection)
        return;
    auto appendMatching = [&](const HIDCollection *in) {
        for (HIDReportItem *item : in->items) {
            if (item->type == type && item->reportId == reportId)
                out.push_back(item);
        }
    };
    appendMatching(collection);
    for (const HIDCollection *candidate : descendantsOf(collections, collection))
        appendMatching(candidate);
    std::sort(out.begin(), out.end(),
              [](const HIDReportItem *a, const HIDReportItem *b) { return a->bitOffset < b->bitOffset; });
}

namespace {

// Whether item j of the starting collection has this report id; an index past its items does not.
bool startHasReportIdAt(const HIDCollection *start, size_t j, unsigned char reportId)
{
    return j < start->items.size() && start->items[j]->reportId == reportId;
}

} // namespace

void HIDReportInfo::findReportItemsByReportID(HIDCollection *collection, HIDReportItemTypes type,
                                              unsigned short collectionUsagePage, unsigned short collectionUsage,
                                              unsigned char reportId, std::vector<HIDReportItem *> &out) const
{
    if (!collection)
        return;
    if (hasUsage(collection, collectionUsagePage, collectionUsage)) {
        const auto matching =
            std::count_if(collection->items.begin(), collection->items.end(),
                          [&](const HIDReportItem *item) { return item->type == type && item->reportId == reportId; });
        for (HIDReportItem *item : collection->items)
            out.insert(out.end(), size_t(matching), item);
    }
    for (const HIDCollection *candidate : descendantsOf(collections, collection)) {
        if (!hasUsage(candidate, collectionUsagePage, collectionUsage))
            continue;
        for (size_t j = 0; j < candidate->items.size(); ++j) {
            if (candidate->items[j]->type != Input && startHasReportIdAt(collection, j, reportId))
                out.push_back(candidate->items[j]);
        }
    }
}

bool HIDReportInfo::isEmptyValue(HIDCollection *collection, HIDReportItemTypes type, unsigned short collectionUsagePage,
                                 unsigned short collectionUsage, unsigned char reportId) const
{
    if (!collection)
        return true;
    if (hasUsage(collection, collectionUsagePage, collectionUsage)) {
        for (const HIDReportItem *item : collection->items) {
            if (item->type == type && item->reportId == reportId && item->value != 0)
                return false;
        }
    }
    for (const HIDCollection *candidate : descendantsOf(collections, collection)) {
        if (!hasUsage(candidate, collectionUsagePage, collectionUsage))
            continue;
        for (size_t j = 0; j < candidate->items.size(); ++j) {
            const HIDReportItem *item = candidate->items[j];
            if (item->type != Input && startHasReportIdAt(collection, j, reportId) && item->value != 0)
                return false;
        }
    }
    return true;
}

unsigned char HIDReportInfo::findReportId(unsigned short usagePage) const
{
    for (const auto &[reportId, details] : reportDetails) {
        if (details.usagePage == usagePage)
            return reportId;
    }
    return 0;
}

void HIDReportInfo::clear()
{
    items.clear();
    reportDetails.clear();
    collections.clear();
}

void HIDReportInfo::reset()
{
    for (HIDReportItem *item : items)
        item->value = 0;
}

// --- Descriptor parser ---------------------------------------------------------------------------

HIDParserBase::HIDParserBase() = default;
HIDParserBase::~HIDParserBase() = default;

namespace {

#define PARSE_TRACE HID_LOG_AS(log::Trace, "parseReportData") << "parseReportData"

enum Prefix : uint8_t {
    // Main items
    InputItem = 0x80,
    OutputItem = 0x90,
    FeatureItem = 0xB0,
    CollectionItem = 0xA0,
    EndCollectionItem = 0xC0,
    // Global items
    UsagePage = 0x04,
    LogicalMinimum = 0x14,
    LogicalMaximum = 0x24,
    PhysicalMinimum = 0x34,
    PhysicalMaximum = 0x44,
    UnitExponent = 0x54,
    Unit = 0x64,
    ReportSize = 0x74,
    ReportId = 0x84,
    ReportCount = 0x94,
    Push = 0xA4,
    Pop = 0xB4,
    // Local items
    Usage = 0x08,
    UsageMinimum = 0x18,
    UsageMaximum = 0x28,
    DesignatorIndex = 0x38,
    DesignatorMinimum = 0x48,
    DesignatorMaximum = 0x58,
    StringIndex = 0x78,
    StringMinimum = 0x88,
    StringMaximum = 0x98,
    Delimiter = 0xA8,
};

int dataLength(uint8_t prefix)
{
    static const int lengths[] = {0, 1, 2, 4};
    return lengths[prefix & 3];
}

// Parses one descriptor into one HIDReportInfo; lives for one call of parseReportData().
class DescriptorParser
{
public:
    explicit DescriptorParser(HIDReportInfo &info)
        : m_info(info)
        , m_stack(1)
    {
    }

    int parse(const unsigned char *data, unsigned short length)
    {
        size_t position = 0;
        while (position < length) {
            const uint8_t prefix = data[position];
            const size_t itemSize = 1 + size_t(dataLength(prefix));
            if (itemSize > length - position)
                break; // a cut-short last item is ignored
            const uint32_t value = readValue(data, length, position);
            const int result = handle(prefix, value);
            if (result != HIDParserBase::ParseOk)
                return result;
            if ((prefix & 0x0C) == 0) // any main item, handled or not
                m_usages.clear();
            traceItem(data + position, prefix);
            position += itemSize;
        }
        complete();
        return HIDParserBase::ParseOk;
    }

private:
    // The data value: little-endian; size codes 0 and 1 both read the byte after the prefix
    // (for size 0 that is the next item's prefix, or 0 at the end of the data).
    static uint32_t readValue(const unsigned char *data, size_t length, size_t position)
    {
        const uint8_t prefix = data[position];
        const size_t first = position + 1;
        switch (prefix & 3) {
        case 2: return uint32_t(data[first]) | uint32_t(data[first + 1]) << 8;
        case 3:
            return uint32_t(data[first]) | uint32_t(data[first + 1]) << 8 | uint32_t(data[first + 2]) << 16
                | uint32_t(data[first + 3]) << 24;
        default: return first < length ? data[first] : 0;
        }
    }

    static int32_t signedValue(uint8_t prefix, uint32_t value)
    {
        switch (prefix & 3) {
        case 2: return int16_t(uint16_t(value));
        case 3: return int32_t(value);
        default: return int8_t(uint8_t(value));
        }
    }

    HID_StateTable &state() { return m_stack.empty() ? m_orphanState : m_stack.front(); }

    int handle(uint8_t prefix, uint32_t value)
    {
        HID_StateTable &s = state();
        const uint8_t tag = prefix & 0xFC;
        switch (tag) {
        case UsagePage:
            s.usagePage = uint16_t(value);
            PARSE_TRACE << " USAGE_PAGE " << value;
            break;
        case LogicalMinimum:
            s.logicalMinimum = signedValue(prefix, value);
            PARSE_TRACE << " LOGICAL_MINIMUM " << s.logicalMinimum;
            break;
        case LogicalMaximum:
            s.logicalMaximum = signedValue(prefix, value);
            PARSE_TRACE << " LOGICAL_MAXIMUM " << s.logicalMaximum;
            break;
        case PhysicalMinimum:
            s.physicalMinimum = signedValue(prefix, value);
            PARSE_TRACE << " PHYSICAL_MINIMUM " << s.physicalMinimum;
            break;
        case PhysicalMaximum:
            s.physicalMaximum = signedValue(prefix, value);
            // This tag's line has always read LOGICAL_MINIMUM; log readers rely on it.
            PARSE_TRACE << " LOGICAL_MINIMUM " << s.physicalMaximum;
            break;
        case UnitExponent:
            s.unitExponent = uint8_t(value);
            PARSE_TRACE << " UNIT_EXPONENT " << value;
            break;
        case Unit:
            s.unit = uint8_t(value);
            PARSE_TRACE << " UNIT " << value;
            break;
        case ReportSize:
            s.reportSize = uint8_t(value);
            PARSE_TRACE << " REPORT_SIZE " << value;
            break;
        case ReportId:
            s.reportId = uint8_t(value);
            PARSE_TRACE << " REPORT_ID " << value;
            break;
        case ReportCount:
            s.reportCount = uint8_t(value);
            PARSE_TRACE << " REPORT_COUNT " << value;
            break;
        case Push:
            push();
            PARSE_TRACE << " PUSH";
            break;
        case Pop:
            if (m_stack.empty())
                return HIDParserBase::ParseStackEmptyOnPop;
            pop();
            PARSE_TRACE << " POP";
            break;
        case Usage:
            m_usages.push_back(uint16_t(value));
            s.usageRange = false;
            PARSE_TRACE << " USAGE " << value;
            break;
        case UsageMinimum:
            s.usageMinimum = uint16_t(value);
            s.usageRange = true;
            PARSE_TRACE << " USAGE_MINIMUM " << value;
            break;
        case UsageMaximum:
            s.usageMaximum = uint16_t(value);
            s.usageRange = true;
            PARSE_TRACE << " USAGE_MAXIMUM " << value;
            break;
        case DesignatorIndex:
            s.designatorIndex = uint8_t(value);
            s.designatorRange = false;
            PARSE_TRACE << " DESIGNATOR_INDEX " << value;
            break;
        case DesignatorMinimum:
            s.designatorMinimum = uint8_t(value);
            s.designatorRange = true;
            PARSE_TRACE << " DESIGNATOR_MINIMUM " << value;
            break;
        case DesignatorMaximum:
            s.designatorMaximum = uint8_t(value);
            s.designatorRange = true;
            PARSE_TRACE << " DESIGNATOR_MAXIMUM " << value;
            break;
        case StringIndex:
            s.stringIndex = uint8_t(value);
            s.stringRange = false;
            PARSE_TRACE << " STRING_INDEX " << value;
            break;
        case StringMinimum:
            s.stringMinimum = uint8_t(value);
            s.stringRange = true;
            PARSE_TRACE << " STRING_MINIMUM " << value;
            break;
        case StringMaximum:
            s.stringMaximum = uint8_t(value);
            s.stringRange = true;
            PARSE_TRACE << " STRING_MAXIMUM " << value;
            break;
        case Delimiter: PARSE_TRACE << " DELIMITER " << value; break;
        case InputItem: makeFields(Input, value); break;
        case OutputItem: makeFields(Output, value); break;
        case FeatureItem: makeFields(Feature, value); break;
        case CollectionItem:
            openCollection(value);
            PARSE_TRACE << " COLLECTION " << value;
            break;
        case EndCollectionItem:
            if (!m_collection)
                return HIDParserBase::ParseNoOpenCollection;
            --m_depth;
            m_collection = m_collection->parent;
            PARSE_TRACE << " END_COLLECTION";
            break;
        default: break; // reserved and unknown items are ignored
        }
        return HIDParserBase::ParseOk;
    }

    // The front of the deque is the current state, the back the newest snapshot. PUSH copies
    // the newest element and makes the current state equal to it; POP drops the newest element.
    void push()
    {
        if (m_stack.empty()) {
            // An extra POP removed the current state's own element; start again from it.
            m_stack.push_back(m_orphanState);
            return;
        }
        m_stack.push_back(m_stack.back());
        m_stack.front() = m_stack.back();
    }

    void pop()
    {
        if (m_stack.size() == 1)
            m_orphanState = m_stack.front(); // the current state keeps working without its element
        m_stack.pop_back();
    }

    uint16_t nextUsage(const HID_StateTable &s, uint8_t index)
    {
        if (s.usageRange) {
            const uint16_t usage = uint16_t(s.usageMinimum + index);
            return std::min(usage, s.usageMaximum);
        }
        if (!m_usages.empty()) {
            m_lastUsage = m_usages.front();
            m_usages.pop_front();
        }
        return m_lastUsage;
    }

    static uint8_t indexFromRange(bool range, uint8_t &index, uint8_t minimum, uint8_t maximum, uint8_t field)
    {
        if (!range) {
            const uint8_t taken = index;
            index = 0;
            return taken;
        }
        return std::min(uint8_t(minimum + field), maximum);
    }

    void makeFields(HIDReportItemTypes type, uint32_t value)
    {
        HID_StateTable &s = state();
        for (uint8_t i = 0; i < s.reportCount; ++i) {
            auto *item = new HIDReportItem;
            m_info.items.push_back(item);
            item->flags = uint16_t(value & 0xFF);
            item->reportId = s.reportId;
            item->reportSize = s.reportSize;
            item->logicalMinimum = s.logicalMinimum;
            item->logicalMaximum = s.logicalMaximum;
            item->physicalMinimum = s.physicalMinimum;
            item->physicalMaximum = s.physicalMaximum;
            item->unitExponent = s.unitExponent;
            item->unit = s.unit;
            item->usagePage = s.usagePage;
            item->collection = m_collection;
            item->value = 0;
            if (m_collection)
                m_collection->items.push_back(item);
            item->usage = nextUsage(s, i);
            item->stringIndex = indexFromRange(s.stringRange, s.stringIndex, s.stringMinimum, s.stringMaximum, i);
            item->designatorIndex =
                indexFromRange(s.designatorRange, s.designatorIndex, s.designatorMinimum, s.designatorMaximum, i);

            auto offsets = m_offsets.find(item->reportId);
            if (offsets == m_offsets.end()) {
                HID_OffsetTable fresh;
                fresh.usagePage = s.usagePage;
                offsets = m_offsets.emplace(item->reportId, fresh).first;
            }
            item->type = type;
            uint16_t HID_OffsetTable::*counter = type == Input ? &HID_OffsetTable::inputOffset
                : type == Output                               ? &HID_OffsetTable::outputOffset
                                                               : &HID_OffsetTable::featureOffset;
            item->bitOffset = offsets->second.*counter;
            offsets->second.*counter = uint16_t(item->bitOffset + item->reportSize);
            PARSE_TRACE << mainItemText(type) << value;
        }
        m_usages.clear();
        m_lastUsage = 0;
    }

    static const char *mainItemText(HIDReportItemTypes type)
    {
        return type == Input ? " INPUT " : type == Output ? " OUTPUT " : " FEATURE ";
    }

    void openCollection(uint32_t value)
    {
        HID_StateTable &s = state();
        auto *collection = new HIDCollection;
        collection->type = uint8_t(value);
        collection->usagePage = s.usagePage;
        collection->stringIndex = s.stringIndex;
        s.stringIndex = 0;
        collection->parent = m_collection;
        m_info.collections.push_back(collection);
        ++m_depth;
        if (!m_usages.empty()) {
            m_lastUsage = m_usages.front();
            m_usages.pop_front();
        }
        collection->usage = m_lastUsage;
        m_collection = collection;
    }

    // "<indent> <padding>" then the item's first (size code + 1) bytes in hex: 41 characters
    // before the bytes up to a depth of 20.
    void traceItem(const unsigned char *item, uint8_t prefix) const
    {
        if (!common::logger::IsDelivered(log::Trace))
            return;
        QString text =
            QStringLiteral("%1 %2").arg(QString(2 * m_depth, QLatin1Char(' '))).arg(QString(), 2 * m_depth - 40);
        const int shown = (prefix & 3) + 1;
        for (int i = 0; i < shown; ++i)
            text += QStringLiteral("%1 ").arg(item[i], 2, 16, QLatin1Char('0'));
        PARSE_TRACE << " " << text;
    }

    static int bytes(uint16_t bits) { return bits / 8 + (bits % 8 ? 1 : 0); }

    void complete()
    {
        for (const auto &[reportId, offsets] : m_offsets) {
            m_info.reportDetails[reportId] =
                HIDReportDetails(reportId, bytes(offsets.inputOffset), bytes(offsets.outputOffset),
                                 bytes(offsets.featureOffset), offsets.usagePage);
        }
        if (!common::logger::IsDelivered(log::Trace))
            return;
        for (size_t i = 0; i < m_info.items.size(); ++i) {
            const HIDReportItem *item = m_info.items[i];
            const QString type = item->type == Input ? QStringLiteral("In")
                : item->type == Output               ? QStringLiteral("Out")
                                                     : QStringLiteral("Feature");
            PARSE_TRACE << QStringLiteral("%1: ReportId:%2  Type:%3 Offset:%4 Bits:%5\n")
                               .arg(qulonglong(i), 2)
                               .arg(item->reportId, 2)
                               .arg(type)
                               .arg(item->bitOffset)
                               .arg(item->reportSize);
        }
    }

    HIDReportInfo &m_info;
    std::deque<HID_StateTable> m_stack;
    HID_StateTable m_orphanState; // the current state once an extra POP removed its element
    std::deque<uint16_t> m_usages;
    uint16_t m_lastUsage = 0;
    std::map<uint8_t, HID_OffsetTable> m_offsets;
    HIDCollection *m_collection = nullptr;
    int m_depth = 0;
};

} // namespace

int HIDParserBase::parseReportData(unsigned char const *data, unsigned short length, HIDReportInfo &info)
{
    if (!data)
        return ParseOk;
    return DescriptorParser(info).parse(data, length);
}

// --- Field codec ---------------------------------------------------------------------------------

bool HIDParserBase::decodeReport(unsigned char *buffer, unsigned char length, std::vector<HIDReportItem *> &items,
                                 unsigned char reportId, HIDReportItemTypes type)
{
    // The values are written out only for a logger that takes the trace line.
    const bool traced = common::logger::IsDelivered(log::Trace);
    QString trace;
    if (!items.empty()) {
        // The stream starts at bit 0 of byte 0; with no bytes at all there is nothing to read.
        int position = 0;
        uint32_t current = length > 0 ? buffer[0] : 0;
        unsigned bitsLeft = length > 0 ? 8 : 0;
        for (HIDReportItem *item : items) {
            if (item->reportId != reportId || item->type != type)
                continue;
            unsigned size = item->reportSize;
            uint32_t value = 0;
            unsigned shift = 0; // bits beyond the 32nd are consumed but not kept
            while (size > bitsLeft) {
                if (position + 1 >= length)
                    return false;
                if (shift < 32)
                    value |= current << shift;
                shift += bitsLeft;
                size -= bitsLeft;
                current = buffer[++position];
                bitsLeft = 8;
            }
            if (shift < 32)
                value |= (current & ((1u << size) - 1)) << shift;
            current >>= size;
            bitsLeft -= size;

            const unsigned width = std::min<unsigned>(item->reportSize, 32);
            if (item->logicalMinimum < 0 && width > 0 && width < 32 && (value >> (width - 1)) & 1)
                value |= ~0u << width;
            item->value = int32_t(value);
            if (traced)
                trace += QString::number(item->value) + QLatin1Char(' ');
        }
    }
    HID_LOG(log::Trace) << "decodeReport " << trace;
    return true;
}

bool HIDParserBase::makeOutputReport(unsigned char *buffer, unsigned char length, std::vector<HIDReportItem *> &items,
                                     unsigned char reportId)
{
    // The mask keeps one bit more than it is given, as existing clients expect.
    auto mask = [](unsigned bits) { return int32_t((2u << bits) - 1); };
    int position = 0;
    unsigned freeBits = 0;
    if (length > 0) {
        buffer[0] = 0;
        freeBits = 8;
    }
    for (const HIDReportItem *item : items) {
        if (item->reportId != reportId || item->type != Output || item->reportSize == 0)
            continue;
        unsigned size = item->reportSize;
        int32_t value = item->value;
        while (size > freeBits) {
            if (length > 0)
                buffer[position] = uint8_t(buffer[position] | ((value & mask(freeBits)) << (8 - freeBits)));
            if (++position >= length)
                return false;
            value >>= freeBits;
            buffer[position] = 0;
            size -= freeBits;
            freeBits = 8;
        }
        buffer[position] = uint8_t(buffer[position] | ((value & mask(size)) << (8 - freeBits)));
        freeBits -= size;
    }
    return true;
}

} // namespace hid
