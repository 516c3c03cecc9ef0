// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_HIDPARSERBASE_H
#define QVHID_HIDPARSERBASE_H

// A general USB HID report-descriptor parser (HID 1.11 short items), the model it fills, and a
// codec that moves field values in and out of report buffers. Offered to client code; the
// headset path does not use it.

#include "qvhid_export.h"

#include <cstdint>
#include <map>
#include <vector>

namespace hid {

enum HIDReportItemTypes : int32_t {
    Input = 0,
    Output = 1,
    Feature = 2,
};

struct HIDCollection;

/// One field of one report: one of the REPORT_COUNT fields that an INPUT, OUTPUT or FEATURE
/// main item declares.
struct HIDReportItem
{
    /// First bit of the field, counted from bit 0 of the first byte after the report-id byte,
    /// separately for every report id and report type.
    uint16_t bitOffset = 0;
    uint8_t reportSize = 0; ///< bits
    HIDReportItemTypes type = Input;
    uint16_t flags = 0; ///< the main item's data bits 0 to 7 (Data/Constant, Array/Variable, ...)
    uint8_t reportId = 0;
    uint16_t usagePage = 0;
    uint16_t usage = 0;
    uint8_t unitExponent = 0;
    uint8_t unit = 0;
    int32_t logicalMinimum = 0;
    int32_t logicalMaximum = 0;
    int32_t physicalMinimum = 0;
    int32_t physicalMaximum = 0;
    uint8_t stringIndex = 0;
    uint8_t designatorIndex = 0;
    int32_t value = 0;                   ///< last decoded, or to be encoded
    HIDCollection *collection = nullptr; ///< innermost open collection; not owned
};

/// One COLLECTION ... END_COLLECTION bracket. The tree is known through `parent` only.
struct HIDCollection
{
    uint8_t type = 0; ///< 0 Physical, 1 Application, 2 Logical, 3 Report, ...
    uint16_t usagePage = 0;
    uint16_t usage = 0;
    uint8_t stringIndex = 0;
    HIDCollection *parent = nullptr;    ///< null at top level; not owned
    std::vector<HIDReportItem *> items; ///< declared directly inside; not owned
};

/// Sizes in whole bytes, without the report-id byte, of the reports of one report id.
struct QVHID_EXPORT HIDReportDetails
{
    HIDReportDetails();
    HIDReportDetails(unsigned char reportId, int inputSize, int outputSize, int featureSize, unsigned short usagePage);

    uint8_t reportId;
    uint16_t usagePage; ///< in force at the first field of this report id
    int32_t inputSize;
    int32_t outputSize;
    int32_t featureSize;
};

/// A parsed report descriptor. It owns its items and collections: the destructor deletes them,
/// clear() does not (pointers a client kept stay valid, and the client then owns them).
class QVHID_EXPORT HIDReportInfo
{
public:
    HIDReportInfo() = default;
    ~HIDReportInfo();
    HIDReportInfo(const HIDReportInfo &) = delete;
    HIDReportInfo &operator=(const HIDReportInfo &) = delete;

    /// The first collection with this usage page and usage, or null.
    HIDCollection *findCollection(unsigned short usagePage, unsigned short usage) const;

    /// The first of `items` with this usage page and usage, of any type and report id, or null.
    HIDReportItem *findReportItem(std::vector<HIDReportItem *> const &items, unsigned short usagePage,
                                  unsigned short usage) const;

    // The queries below start from a collection. A null one (findCollection() finding nothing)
    // matches nothing: no item, nothing appended, an empty value.

    /// The first item of the given type, usage page and usage declared directly in `collection`
    /// (if it has the collection usage) or in a descendant that has the collection usage.
    HIDReportItem *findReportItem(HIDCollection *collection, HIDReportItemTypes type,
                                  unsigned short collectionUsagePage, unsigned short collectionUsage,
                                  unsigned short usagePage, unsigned short usage) const;

    /// Appends the items of this report id and type from `collection` and all its descendants,
    /// then sorts all of `out` by bitOffset (an unstable sort).
    void findReportItems(HIDCollection *collection, unsigned char reportId, HIDReportItemTypes type,
                         std::vector<HIDReportItem *> &out) const;

    /// Appends without sorting, by two passes that are kept exactly as existing clients expect:
    ///  1. If `collection` has the collection usage: with m its direct items of this type and
    ///     report id, every direct item (matching or not) is appended m times.
    ///  2. For each descendant D with the collection usage, its item j is appended when its type
    ///     is not Input and item j of `collection` has this report id (an index past the end of
    ///     `collection`'s items does not match).
    void findReportItemsByReportID(HIDCollection *collection, HIDReportItemTypes type,
                                   unsigned short collectionUsagePage, unsigned short collectionUsage,
                                   unsigned char reportId, std::vector<HIDReportItem *> &out) const;

    /// False as soon as a field with a non-zero value is found by the same two passes as
    /// findReportItemsByReportID(); true otherwise.
    bool isEmptyValue(HIDCollection *collection, HIDReportItemTypes type, unsigned short collectionUsagePage,
                      unsigned short collectionUsage, unsigned char reportId) const;

    /// The lowest report id whose first field was declared on this usage page; 0 when none.
    unsigned char findReportId(unsigned short usagePage) const;

    /// Empties the three containers without deleting anything.
    void clear();
    /// Sets every item's value to 0.
    void reset();

    std::vector<HIDReportItem *> items; ///< owned, in declaration order
    std::map<uint8_t, HIDReportDetails> reportDetails;
    std::vector<HIDCollection *> collections; ///< owned, parents before their descendants
};

/// The parser's item state: global and local items share it.
struct HID_StateTable
{
    uint8_t reportCount = 0;
    uint8_t reportId = 0;
    uint8_t reportSize = 0;
    bool usageRange = false;
    uint16_t usagePage = 0;
    uint16_t usageMinimum = 0;
    uint16_t usageMaximum = 0;
    uint8_t unit = 0;
    uint8_t unitExponent = 0;
    int32_t logicalMinimum = 0;
    int32_t logicalMaximum = 0;
    int32_t physicalMinimum = 0;
    int32_t physicalMaximum = 0;
    bool stringRange = false;
    uint8_t stringIndex = 0;
    uint8_t stringMinimum = 0;
    uint8_t stringMaximum = 0;
    bool designatorRange = false;
    uint8_t designatorIndex = 0;
    uint8_t designatorMinimum = 0;
    uint8_t designatorMaximum = 0;
};

/// Running bit counts of one report id.
struct HID_OffsetTable
{
    uint16_t usagePage = 0;
    uint16_t inputOffset = 0;
    uint16_t outputOffset = 0;
    uint16_t featureOffset = 0;
};

/// The library's general report-descriptor parser, into the model above.
///
/// Where HID 1.11 and the clients it was written for differ, it keeps the clients' rules; a client that reads arbitrary devices should use the report-parser library
/// (hidapi_parser.h, `hid_parse_descriptor()`), which follows HID 1.11 and rejects what it
/// cannot represent. The rules, and what each means for a client:
///
/// | Rule | HID 1.11 | What a client gets |
/// |---|---|---|
/// | REPORT_COUNT and REPORT_SIZE are cut to 8 bits | up to 32 bits | a count of 256 or more makes count % 256 fields (300 makes 44); the fields after it sit at wrong offsets and the report sizes are too small |
/// | LOGICAL_, PHYSICAL_MINIMUM and _MAXIMUM are signed, whatever the minimum | signed; most parsers read a maximum as unsigned when the minimum is not negative | a one-byte LOGICAL_MAXIMUM 0xFF (255) reads -1, so the field's range is empty and its values decode as unsigned |
/// | POP restores nothing; a PUSH while a state is saved resets the state to it | POP restores the state of the matching PUSH | global items set between PUSH and POP stay in force after the POP |
/// | local items (usage ranges, minima and maxima) are kept after a main item | local items end with each main item | a later main item without usages of its own takes the previous item's usage range |
/// | an extended (32-bit) usage keeps its low 16 bits | the high 16 bits are its usage page | such a usage is filed under the usage page in force |
/// | UNIT and UNIT_EXPONENT are cut to 8 bits | 32 bits | units beyond the low byte are lost |
/// | long items are stepped over as 3-byte short items; a zero-size item takes the next byte as its value | long items are skipped by their length; a zero-size item's value is 0 | the bytes of a long item are parsed as items, and a zero-size INPUT takes the next item's prefix as its flags |
/// | bit offsets are 16 bits; decodeReport() and makeOutputReport() take at most 255 bytes | reports of any length | fields of a report of 8 KiB or more wrap to wrong offsets, and bodies longer than 255 bytes cannot be decoded whole |
class QVHID_EXPORT HIDParserBase
{
public:
    /// Results of parseReportData().
    static constexpr int ParseOk = 0;
    static constexpr int ParseStackEmptyOnPop = 2;
    static constexpr int ParseNoOpenCollection = 4;

    HIDParserBase();
    virtual ~HIDParserBase();

    /// Parses `length` bytes of a report descriptor and appends its fields and collections to
    /// `info` (which is not emptied first); report details are set per report id. Writes a trace
    /// of every item at level 7.
    ///
    /// Returns ParseOk, ParseStackEmptyOnPop (a POP with no state left) or ParseNoOpenCollection
    /// (an END_COLLECTION at top level); on the two failures what was appended stays and report
    /// details are not updated. A last item that is cut short by the end of the data is ignored
    /// and the parse completes with ParseOk; a zero-size item that ends the data reads its value
    /// as 0. Nothing outside data[0, length) is ever read.
    /// The rules it keeps where they differ from HID 1.11 are in the table above.
    static int parseReportData(unsigned char const *data, unsigned short length, HIDReportInfo &info);

    /// Decodes the fields of `items` with this report id and type, in list order, from the
    /// report body at `buffer` (after any report-id byte) as one little-endian bit stream, into
    /// their `value`. Fields with a negative logicalMinimum are sign-extended. Fields wider than
    /// 32 bits keep their low 32 bits. False when the buffer ran out; the field being decoded
    /// then keeps its previous value.
    static bool decodeReport(unsigned char *buffer, unsigned char length, std::vector<HIDReportItem *> &items,
                             unsigned char reportId, HIDReportItemTypes type);

    /// Encodes the `value` of every non-empty Output field of `items` with this report id, in
    /// list order, into the report body at `buffer`. Each value is masked to one bit more than
    /// its field, as existing clients expect. False when the buffer ran out; what fitted stays.
    static bool makeOutputReport(unsigned char *buffer, unsigned char length, std::vector<HIDReportItem *> &items,
                                 unsigned char reportId);
};

} // namespace hid

#endif // QVHID_HIDPARSERBASE_H
