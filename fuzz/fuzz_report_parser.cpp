// SPDX-License-Identifier: BSD-3-Clause
// The report-parser library: a descriptor, then input reports decoded through it and every
// output report it declares built from set values.

#include "fuzzinput.h"

#include <hidapi_parser.h>

#include <cstdlib>

namespace {

void countElement(const hid_element *, void *count)
{
    ++*static_cast<int *>(count);
}

void setOutputs(hid_collection *collection, int64_t value)
{
    for (hid_element *element = collection->first_element; element; element = element->next)
        element->output_value = element->direction == HID_ELEMENT_OUTPUT ? value : element->output_value;
    for (hid_collection *child = collection->first_child; child; child = child->next_sibling)
        setOutputs(child, value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const std::vector<uint8_t> bytes = input.descriptor();
    hid_descriptor *descriptor = hid_parse_descriptor(bytes.data(), bytes.size());
    if (!descriptor)
        return 0;
    int count = 0;
    hid_set_element_callback(descriptor, countElement, &count);
    while (!input.empty()) {
        const std::vector<uint8_t> report = input.report();
        hid_parse_input_report(report.data(), report.size(), descriptor);
        setOutputs(descriptor->device_collection, report.empty() ? 1 : int8_t(report[0]));
        for (unsigned id = 0; id < 256; id += report.empty() ? 1 : report.back() | 1) {
            size_t length = 0;
            std::free(hid_get_output_report(descriptor, static_cast<unsigned char>(id), &length));
        }
    }
    std::free(descriptor);
    return 0;
}
