// SPDX-License-Identifier: BSD-3-Clause
// The exported descriptor parser: parseReportData on any bytes, then decodeReport and
// makeOutputReport on every report id and collection it found.

#include "fuzzinput.h"

#include <hidparserbase.h>

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const std::vector<uint8_t> descriptor = input.descriptor();
    hid::HIDReportInfo info;
    hid::HIDParserBase::parseReportData(descriptor.data(), static_cast<unsigned short>(descriptor.size()), info);

    // Each query is linear in the number of collections; asking from at most 32 of them per
    // report keeps a deeply nested descriptor's input from costing the square of its size.
    std::vector<hid::HIDCollection *> collections(
        info.collections.begin(), info.collections.begin() + std::min<std::size_t>(info.collections.size(), 32));
    collections.push_back(info.findCollection(0x0B, 0x05)); // null when there is none
    while (!input.empty()) {
        std::vector<uint8_t> report = input.report();
        const unsigned char reportId = report.empty() ? 0 : report[0];
        for (hid::HIDCollection *collection : collections) {
            for (const hid::HIDReportItemTypes type : {hid::Input, hid::Output, hid::Feature}) {
                std::vector<hid::HIDReportItem *> items;
                info.findReportItems(collection, reportId, type, items);
                hid::HIDParserBase::decodeReport(report.data(), static_cast<unsigned char>(report.size()), items,
                                                 reportId, type);
                info.isEmptyValue(collection, type, collection ? collection->usagePage : 0,
                                  collection ? collection->usage : 0, reportId);
            }
            std::vector<hid::HIDReportItem *> outputs;
            info.findReportItems(collection, reportId, hid::Output, outputs);
            for (hid::HIDReportItem *item : outputs)
                item->value = -1;
            std::vector<unsigned char> out(report.size());
            hid::HIDParserBase::makeOutputReport(out.data(), static_cast<unsigned char>(out.size()), outputs, reportId);
        }
        info.findReportId(report.size() > 1 ? report[1] : 0);
    }
    return 0;
}
