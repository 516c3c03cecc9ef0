// SPDX-License-Identifier: BSD-3-Clause
// Input reports into element values and events; element output values into output reports.
// Values lie in a report as HID 1.11, 8.4 and 5.8 describe: little-endian, bit 0 of a field
// at the bit of the report that its offset names, fields one after another without gaps.

#include "descriptorlayout.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace hidparser {

namespace {

constexpr unsigned short TelephonyPage = 0x0B;

// Telephony usages of type On/Off Control (HID Usage Tables, Telephony Device Page): their
// state is the value, so each change is news.
bool isOnOffControl(unsigned short page, unsigned short usage)
{
    if (page != TelephonyPage)
        return false;
    switch (usage) {
    case 0x20: // Hook Switch
    case 0x23: // Hold
    case 0x27: // Park
    case 0x28: // Forward Calls
    case 0x2B: // Speaker Phone
    case 0x2C: // Conference
    case 0x2D: // Ring Enable
    case 0x2F: // Phone Mute
    case 0x31: // Send
    case 0x97: // Line Busy Tone
        return true;
    default: return false;
    }
}

// The low 64 bits of the value; a wider field (only a field without usages may be one) keeps
// those, as writeBits() writes them.
std::uint64_t readBits(const unsigned char *payload, unsigned int bitOffset, unsigned int bitSize)
{
    std::uint64_t value = 0;
    for (unsigned int i = 0; i < bitSize && i < 64; ++i) {
        const unsigned int bit = bitOffset + i;
        if (payload[bit / 8] & (1u << (bit % 8)))
            value |= std::uint64_t{1} << i;
    }
    return value;
}

void writeBits(unsigned char *payload, unsigned int bitOffset, unsigned int bitSize, std::uint64_t value)
{
    for (unsigned int i = 0; i < bitSize && i < 64; ++i) {
        const unsigned int bit = bitOffset + i;
        const unsigned char mask = static_cast<unsigned char>(1u << (bit % 8));
        if ((value >> i) & 1)
            payload[bit / 8] |= mask;
        else
            payload[bit / 8] &= static_cast<unsigned char>(~mask);
    }
}

// A field whose logical minimum is negative holds two's complement values.
std::int64_t readValue(const hid_field &field, const unsigned char *payload, unsigned int bitOffset)
{
    const std::uint64_t raw = readBits(payload, bitOffset, field.bit_size);
    if (field.logical_minimum < 0 && field.bit_size > 0 && field.bit_size < 64 && (raw >> (field.bit_size - 1)) & 1)
        return static_cast<std::int64_t>(raw | (~std::uint64_t{0} << field.bit_size));
    return static_cast<std::int64_t>(raw);
}

bool isEvent(const hid_element &element, std::int64_t before, std::int64_t now)
{
    if (element.flags & HID_ELEMENT_RELATIVE)
        return now != 0;
    if (isOnOffControl(element.usage_page, element.usage))
        return now != before;
    return before == 0 && now != 0;
}

// Stores the array's selections: 1 for each usage its slots now hold, 0 for the others.
void decodeArray(const hid_field &field, const unsigned char *payload, std::vector<hid_element *> &events)
{
    std::vector<bool> present(field.num_elements, false);
    for (unsigned int slot = 0; slot < field.report_count; ++slot) {
        const std::int64_t value = readValue(field, payload, field.bit_offset + slot * field.bit_size);
        if (value < field.logical_minimum)
            continue;
        // The distance from the minimum, in unsigned arithmetic: a 64-bit value far from a
        // negative minimum does not fit a signed difference.
        const std::uint64_t index =
            static_cast<std::uint64_t>(value) - static_cast<std::uint64_t>(field.logical_minimum);
        // Usage 0 is Undefined on every page: a slot that selects it selects nothing, as
        // the empty slots of keyboard and consumer arrays (Usage Minimum 0) do.
        if (index < field.num_elements && field.first_element[index].usage != 0)
            present[static_cast<std::size_t>(index)] = true;
    }
    for (unsigned int e = 0; e < field.num_elements; ++e) {
        hid_element &element = field.first_element[e];
        const std::int64_t now = present[e] ? 1 : 0;
        if (element.value == 0 && now != 0)
            events.push_back(&element);
        element.value = now;
    }
}

void decodeVariables(const hid_field &field, const unsigned char *payload, std::vector<hid_element *> &events)
{
    for (unsigned int e = 0; e < field.num_elements; ++e) {
        hid_element &element = field.first_element[e];
        const std::int64_t now = readValue(field, payload, element.bit_offset);
        if (isEvent(element, element.value, now))
            events.push_back(&element);
        element.value = now;
    }
}

void encodeArray(const hid_field &field, unsigned char *payload)
{
    unsigned int slot = 0;
    for (unsigned int e = 0; e < field.num_elements && slot < field.report_count; ++e) {
        const hid_element &element = field.first_element[e];
        if (element.output_value == 0)
            continue;
        writeBits(payload, field.bit_offset + slot * field.bit_size, field.bit_size,
                  static_cast<std::uint64_t>(field.logical_minimum + e));
        ++slot;
    }
}

} // namespace

} // namespace hidparser

using namespace hidparser;

extern "C" void hid_set_element_callback(hid_descriptor *descriptor, hid_element_callback callback, void *user_data)
{
    if (!descriptor)
        return;
    descriptor->element_callback = callback;
    descriptor->callback_data = user_data;
}

extern "C" int hid_parse_input_report(const unsigned char *buffer, size_t length, hid_descriptor *descriptor)
{
    if (!buffer || !descriptor)
        return -1;
    unsigned char reportId = 0;
    if (descriptor->uses_report_ids) {
        if (length < 1)
            return -1;
        reportId = buffer[0];
        ++buffer;
        --length;
    }
    const hid_report_span *report = findReport(descriptor, HID_ELEMENT_INPUT, reportId);
    if (!report || length < report->byte_length)
        return -1;

    // Every value is stored before the first callback, so that a callback sees the whole
    // report's state.
    std::vector<hid_element *> events;
    for (unsigned int f = 0; f < report->num_fields; ++f) {
        const hid_field &field = report->first_field[f];
        if (isArray(field))
            decodeArray(field, buffer, events);
        else
            decodeVariables(field, buffer, events);
    }
    if (descriptor->element_callback) {
        for (const hid_element *element : events)
            descriptor->element_callback(element, descriptor->callback_data);
    }
    return static_cast<int>(events.size());
}

extern "C" unsigned char *hid_get_output_report(const hid_descriptor *descriptor, unsigned char report_id,
                                                size_t *length)
{
    if (!descriptor)
        return nullptr;
    const hid_report_span *report = findReport(descriptor, HID_ELEMENT_OUTPUT, report_id);
    if (!report)
        return nullptr;
    const std::size_t size = 1 + static_cast<std::size_t>(report->byte_length);
    auto *buffer = static_cast<unsigned char *>(std::calloc(1, size));
    if (!buffer)
        return nullptr;
    buffer[0] = report_id;
    unsigned char *payload = buffer + 1;
    for (unsigned int f = 0; f < report->num_fields; ++f) {
        const hid_field &field = report->first_field[f];
        if (isArray(field)) {
            encodeArray(field, payload);
            continue;
        }
        for (unsigned int e = 0; e < field.num_elements; ++e) {
            const hid_element &element = field.first_element[e];
            writeBits(payload, element.bit_offset, element.bit_size, static_cast<std::uint64_t>(element.output_value));
        }
    }
    if (length)
        *length = size;
    return buffer;
}
