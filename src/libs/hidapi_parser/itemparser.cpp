// SPDX-License-Identifier: BSD-3-Clause
#include "itemparser.h"

#include "hidapi_parser.h"

#include <algorithm>

namespace hidparser {

namespace {

// Item types and tags of HID 1.11, 6.2.2.
enum ItemType : unsigned { Main = 0, Global = 1, Local = 2 };

enum MainTag : unsigned {
    Input = 0x8,
    Output = 0x9,
    Collection = 0xA,
    Feature = 0xB,
    EndCollection = 0xC,
};

enum GlobalTag : unsigned {
    UsagePage = 0x0,
    LogicalMinimum = 0x1,
    LogicalMaximum = 0x2,
    ReportSize = 0x7,
    ReportId = 0x8,
    ReportCount = 0x9,
    Push = 0xA,
    Pop = 0xB,
};

enum LocalTag : unsigned {
    Usage = 0x0,
    UsageMinimum = 0x1,
    UsageMaximum = 0x2,
    Delimiter = 0xA,
};

constexpr unsigned char LongItemPrefix = 0xFE;

struct Item
{
    unsigned type = 0;
    unsigned tag = 0;
    unsigned size = 0; // data bytes: 0, 1, 2 or 4
    std::uint32_t data = 0;

    std::int64_t signedData() const
    {
        switch (size) {
        case 1: return static_cast<std::int8_t>(data);
        case 2: return static_cast<std::int16_t>(data);
        case 4: return static_cast<std::int32_t>(data);
        default: return 0;
        }
    }
};

struct GlobalState
{
    unsigned short usagePage = 0;
    std::int64_t logicalMinimum = 0;
    std::uint32_t logicalMaximumRaw = 0; // as written; resolved against the minimum
    unsigned logicalMaximumSize = 0;
    std::uint32_t reportSize = 0;
    std::uint32_t reportCount = 0;
    unsigned char reportId = 0;
};

// One Usage, or one Usage Minimum/Maximum pair, in the order they were declared.
struct UsageRun
{
    ExtendedUsage first = 0;
    std::uint32_t length = 1;
};

struct LocalState
{
    std::vector<UsageRun> usages;
    bool haveMinimum = false;
    bool haveMaximum = false;
    ExtendedUsage minimum = 0;
    ExtendedUsage maximum = 0;
    int delimiterDepth = 0;
    bool delimitedUsageTaken = false;
};

// A 1- or 2-byte usage takes the usage page in force when it is read; a 4-byte one carries
// its page in its upper half (an extended usage).
ExtendedUsage extendedUsage(const Item &item, unsigned short usagePage)
{
    if (item.size == 4)
        return item.data;
    return (static_cast<ExtendedUsage>(usagePage) << 16) | (item.data & 0xFFFF);
}

class ItemWalker
{
public:
    std::optional<ParsedDescriptor> run(const unsigned char *bytes, std::size_t length)
    {
        std::size_t pos = 0;
        while (pos < length) {
            if (bytes[pos] == LongItemPrefix) {
                // Long item: prefix, data size, tag, data. No long item tags are defined;
                // skip it, but only if it lies whole within the descriptor.
                if (length - pos < 3 || length - pos - 3 < bytes[pos + 1])
                    return std::nullopt;
                pos += 3 + bytes[pos + 1];
                continue;
            }
            Item item;
            const unsigned char prefix = bytes[pos];
            item.size = (prefix & 0x3) == 3 ? 4 : (prefix & 0x3);
            item.type = (prefix >> 2) & 0x3;
            item.tag = prefix >> 4;
            if (length - pos - 1 < item.size)
                return std::nullopt; // truncated item
            for (unsigned i = 0; i < item.size; ++i)
                item.data |= static_cast<std::uint32_t>(bytes[pos + 1 + i]) << (8 * i);
            pos += 1 + item.size;
            if (!handle(item))
                return std::nullopt;
        }
        if (!m_openCollections.empty())
            return std::nullopt; // unbalanced collections
        if (m_result.collections.empty() && m_result.fields.empty())
            return std::nullopt; // describes nothing
        return std::move(m_result);
    }

private:
    bool handle(const Item &item)
    {
        switch (item.type) {
        case Main: return handleMain(item);
        case Global: return handleGlobal(item);
        case Local: return handleLocal(item);
        default: return true; // reserved item type: ignored
        }
    }

    bool handleGlobal(const Item &item)
    {
        switch (item.tag) {
        case UsagePage: m_global.usagePage = static_cast<unsigned short>(item.data); break;
        case LogicalMinimum: m_global.logicalMinimum = item.signedData(); break;
        case LogicalMaximum:
            m_global.logicalMaximumRaw = item.data;
            m_global.logicalMaximumSize = item.size;
            break;
        case ReportSize: m_global.reportSize = item.data; break;
        case ReportCount:
            if (item.data > HID_PARSER_MAX_REPORT_COUNT)
                return false;
            m_global.reportCount = item.data;
            break;
        case ReportId:
            if (item.data == 0 || item.data > 0xFF)
                return false; // id 0 is reserved, and ids are one byte
            m_global.reportId = static_cast<unsigned char>(item.data);
            m_result.usesReportIds = true;
            break;
        case Push:
            if (m_stack.size() >= HID_PARSER_MAX_PUSH_DEPTH)
                return false;
            m_stack.push_back(m_global);
            break;
        case Pop:
            if (m_stack.empty())
                return false;
            m_global = m_stack.back();
            m_stack.pop_back();
            break;
        default: break; // physical extent, units: not needed to decode values
        }
        return true;
    }

    bool handleLocal(const Item &item)
    {
        LocalState &local = m_local;
        switch (item.tag) {
        case Usage:
            // Inside a delimiter set only the first (preferred) usage counts.
            if (local.delimiterDepth > 0) {
                if (local.delimitedUsageTaken)
                    break;
                local.delimitedUsageTaken = true;
            }
            local.usages.push_back({extendedUsage(item, m_global.usagePage), 1});
            break;
        case UsageMinimum:
            local.minimum = extendedUsage(item, m_global.usagePage);
            local.haveMinimum = true;
            addRangeIfComplete();
            break;
        case UsageMaximum:
            local.maximum = extendedUsage(item, m_global.usagePage);
            local.haveMaximum = true;
            addRangeIfComplete();
            break;
        case Delimiter:
            if (item.data == 1) {
                ++local.delimiterDepth;
                local.delimitedUsageTaken = false;
            } else if (item.data == 0 && local.delimiterDepth > 0) {
                --local.delimiterDepth;
            } else {
                return false;
            }
            break;
        default: break; // designators and strings: not needed to decode values
        }
        return true;
    }

    void addRangeIfComplete()
    {
        LocalState &local = m_local;
        if (!local.haveMinimum || !local.haveMaximum)
            return;
        local.haveMinimum = local.haveMaximum = false;
        // The range lies on the page of its minimum; a maximum below the minimum is empty.
        const std::uint32_t low = local.minimum & 0xFFFF;
        const std::uint32_t high = local.maximum & 0xFFFF;
        if (high < low)
            return;
        local.usages.push_back({local.minimum, high - low + 1});
    }

    // The first `limit` usages of the local state, ranges expanded.
    std::vector<ExtendedUsage> expandUsages(std::size_t limit) const
    {
        std::vector<ExtendedUsage> result;
        for (const UsageRun &run : m_local.usages) {
            for (std::uint32_t i = 0; i < run.length && result.size() < limit; ++i)
                result.push_back(run.first + i);
            if (result.size() >= limit)
                break;
        }
        return result;
    }

    std::int64_t resolvedLogicalMaximum() const
    {
        // Devices write an unsigned maximum (0xFF in one byte) where the minimum is not
        // negative; read it signed only when the minimum is.
        const GlobalState &g = m_global;
        Item maximum;
        maximum.size = g.logicalMaximumSize;
        maximum.data = g.logicalMaximumRaw;
        if (g.logicalMinimum < 0)
            return maximum.signedData();
        return maximum.data;
    }

    bool handleMain(const Item &item)
    {
        bool ok = true;
        switch (item.tag) {
        case Input: ok = addField(HID_ELEMENT_INPUT, item.data); break;
        case Output: ok = addField(HID_ELEMENT_OUTPUT, item.data); break;
        case Feature: ok = addField(HID_ELEMENT_FEATURE, item.data); break;
        case Collection: ok = openCollection(item.data); break;
        case EndCollection:
            if (m_openCollections.empty())
                return false;
            m_openCollections.pop_back();
            break;
        default: break; // reserved main item: ignored
        }
        m_local = LocalState(); // local items apply to the next main item only
        return ok;
    }

    bool openCollection(std::uint32_t type)
    {
        if (m_openCollections.size() >= HID_PARSER_MAX_COLLECTION_DEPTH)
            return false;
        ParsedCollection collection;
        collection.parent = m_openCollections.empty() ? -1 : m_openCollections.back();
        collection.type = type & 0xFF;
        const std::vector<ExtendedUsage> usage = expandUsages(1);
        collection.usage = usage.empty() ? 0 : usage.front();
        m_openCollections.push_back(static_cast<int>(m_result.collections.size()));
        m_result.collections.push_back(collection);
        return true;
    }

    bool addField(int direction, std::uint32_t data)
    {
        const GlobalState &g = m_global;
        ParsedField field;
        field.direction = direction;
        field.flags = data & 0x1FF;
        field.reportId = g.reportId;
        field.bitSize = g.reportSize;
        field.reportCount = g.reportCount;
        field.logicalMinimum = g.logicalMinimum;
        field.logicalMaximum = resolvedLogicalMaximum();
        field.collection = m_openCollections.empty() ? -1 : m_openCollections.back();

        const bool array = (field.flags & HID_ELEMENT_VARIABLE) == 0;
        field.usages = expandUsages(array ? HID_PARSER_MAX_ARRAY_USAGES : field.reportCount);
        if (!field.usages.empty() && field.bitSize > HID_PARSER_MAX_REPORT_SIZE)
            return false;

        // Sizes in 64 bits: a Report Size of 2^32-1 times a count of 12288 must not wrap.
        const std::uint64_t bits = static_cast<std::uint64_t>(field.bitSize) * field.reportCount;
        ParsedReport &report = reportFor(direction, g.reportId);
        const std::uint64_t end = static_cast<std::uint64_t>(report.bitLength) + bits;
        if (end > static_cast<std::uint64_t>(HID_PARSER_MAX_REPORT_BYTES) * 8)
            return false;
        field.bitOffset = report.bitLength;
        report.bitLength = static_cast<unsigned int>(end);

        if (bits == 0 || field.usages.empty()) {
            field.usages.clear(); // padding, or nothing at all: no elements
        } else {
            // A variable field whose count exceeds its usages repeats the last usage.
            if (!array) {
                while (field.usages.size() < field.reportCount)
                    field.usages.push_back(field.usages.back());
            }
            m_result.elementCount += field.usages.size();
            if (m_result.elementCount > HID_PARSER_MAX_ELEMENTS)
                return false;
        }
        m_result.fields.push_back(std::move(field));
        return true;
    }

    ParsedReport &reportFor(int direction, unsigned char reportId)
    {
        auto found = std::find_if(m_result.reports.begin(), m_result.reports.end(), [&](const ParsedReport &report) {
            return report.direction == direction && report.reportId == reportId;
        });
        if (found != m_result.reports.end())
            return *found;
        m_result.reports.push_back({direction, reportId, 0});
        return m_result.reports.back();
    }

    ParsedDescriptor m_result;
    GlobalState m_global;
    LocalState m_local;
    std::vector<GlobalState> m_stack;
    std::vector<int> m_openCollections;
};

} // namespace

std::optional<ParsedDescriptor> parseItems(const unsigned char *bytes, std::size_t length)
{
    if (bytes == nullptr || length == 0 || length > HID_PARSER_MAX_DESCRIPTOR_SIZE)
        return std::nullopt;
    return ItemWalker().run(bytes, length);
}

} // namespace hidparser
