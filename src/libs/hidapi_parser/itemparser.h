// SPDX-License-Identifier: BSD-3-Clause
// Stage one of parsing: walks the items of a report descriptor (HID 1.11, 6.2.2) and collects
// its collections and fields into growable containers, enforcing the parser's limits.
#ifndef HIDAPI_PARSER_ITEMPARSER_H
#define HIDAPI_PARSER_ITEMPARSER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace hidparser {

// A usage with its page: the page in the upper 16 bits, as an extended usage is written.
using ExtendedUsage = std::uint32_t;

struct ParsedCollection
{
    int parent = -1; // index into ParsedDescriptor::collections; -1: the device collection
    unsigned int type = 0;
    ExtendedUsage usage = 0;
};

struct ParsedField
{
    int direction = 0;
    unsigned int flags = 0;
    unsigned char reportId = 0;
    unsigned int bitOffset = 0;
    unsigned int bitSize = 0;
    unsigned int reportCount = 0;
    std::int64_t logicalMinimum = 0;
    std::int64_t logicalMaximum = 0;
    int collection = -1;
    // A variable field: the usage of each value (empty for padding). An array field: the
    // usages its slots select, in order of their index.
    std::vector<ExtendedUsage> usages;
};

struct ParsedReport
{
    int direction = 0;
    unsigned char reportId = 0;
    unsigned int bitLength = 0;
};

struct ParsedDescriptor
{
    bool usesReportIds = false;
    std::vector<ParsedCollection> collections;
    std::vector<ParsedField> fields;
    std::vector<ParsedReport> reports; // in order of first appearance
    std::size_t elementCount = 0;
};

// Null when the bytes are not a valid descriptor or exceed a limit of hidapi_parser.h.
std::optional<ParsedDescriptor> parseItems(const unsigned char *bytes, std::size_t length);

} // namespace hidparser

#endif // HIDAPI_PARSER_ITEMPARSER_H
