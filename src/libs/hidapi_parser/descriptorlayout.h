// SPDX-License-Identifier: BSD-3-Clause
// The internal part of a parsed descriptor: its fields and the reports they make up. Both
// live in the descriptor's one heap block, after the collections and elements.
#ifndef HIDAPI_PARSER_DESCRIPTORLAYOUT_H
#define HIDAPI_PARSER_DESCRIPTORLAYOUT_H

#include "hidapi_parser.h"

// One main item with its values: `num_elements` consecutive elements from `first_element`.
struct hid_field
{
    int direction;
    unsigned int flags;
    unsigned char report_id;
    unsigned int bit_offset;
    unsigned int bit_size;
    unsigned int report_count;
    int64_t logical_minimum;
    int64_t logical_maximum;
    struct hid_element *first_element;
    unsigned int num_elements;
};

// The fields of one report, in the order they occupy it.
struct hid_report_span
{
    int direction;
    unsigned char report_id;
    unsigned int byte_length; // without the report id byte
    const struct hid_field *first_field;
    unsigned int num_fields;
};

struct hid_descriptor_layout
{
    const struct hid_field *fields;
    unsigned int num_fields;
    const struct hid_report_span *reports;
    unsigned int num_reports;
};

namespace hidparser {

// The report of that direction and id, or null.
const hid_report_span *findReport(const hid_descriptor *descriptor, int direction, unsigned char reportId);

inline bool isArray(const hid_field &field)
{
    return (field.flags & HID_ELEMENT_VARIABLE) == 0;
}

} // namespace hidparser

#endif // HIDAPI_PARSER_DESCRIPTORLAYOUT_H
