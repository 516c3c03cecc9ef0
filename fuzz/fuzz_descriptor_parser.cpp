// SPDX-License-Identifier: BSD-3-Clause
// The exported descriptor parser: parseReportData on any bytes, then the model's queries, and
// decodeReport and makeOutputReport on the report ids and collections it found.

#include "fuzzinput.h"

#include <hidparserbase.h>

#include <algorithm>
#include <array>
#include <map>

namespace {

// Every query walks all collections (to find the descendants of one) and all fields below it.
// Asked for every report of an input from every collection, a descriptor of a few hundred
// collections followed by a thousand one-byte reports cost a quarter of a second, and the
// fuzzer ran a few inputs a second. So an input asks from a few collections, for each report
// id once, for a few reports: what the queries and the codec do does not depend on how often
// they are asked.
constexpr std::size_t MaxReports = 8;
constexpr std::size_t MaxCollections = 8; // besides the Telephony Headset collection

// The fields of one collection for one report id: its input, output and feature fields.
using FieldsByType = std::array<std::vector<hid::HIDReportItem *>, 3>;

FieldsByType askFor(const hid::HIDReportInfo &info, hid::HIDCollection *collection, unsigned char reportId)
{
    FieldsByType fields;
    for (const hid::HIDReportItemTypes type : {hid::Input, hid::Output, hid::Feature}) {
        info.findReportItems(collection, reportId, type, fields[type]);
        info.isEmptyValue(collection, type, collection ? collection->usagePage : 0, collection ? collection->usage : 0,
                          reportId);
    }
    return fields;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    fuzz::Input input(data, size);
    const std::vector<uint8_t> descriptor = input.descriptor();
    hid::HIDReportInfo info;
    hid::HIDParserBase::parseReportData(descriptor.data(), static_cast<unsigned short>(descriptor.size()), info);

    std::vector<hid::HIDCollection *> collections(info.collections.begin(),
                                                  info.collections.begin()
                                                      + std::min<std::size_t>(info.collections.size(), MaxCollections));
    collections.push_back(info.findCollection(0x0B, 0x05));   // null when there is none
    std::map<unsigned char, std::vector<FieldsByType>> asked; // by report id, per collection
    for (std::size_t reports = 0; reports < MaxReports && !input.empty(); ++reports) {
        std::vector<uint8_t> report = input.report();
        const unsigned char reportId = report.empty() ? 0 : report[0];
        auto known = asked.find(reportId);
        if (known == asked.end()) {
            std::vector<FieldsByType> fields;
            for (hid::HIDCollection *collection : collections)
                fields.push_back(askFor(info, collection, reportId));
            known = asked.emplace(reportId, std::move(fields)).first;
        }
        for (FieldsByType &fields : known->second) {
            for (const hid::HIDReportItemTypes type : {hid::Input, hid::Output, hid::Feature})
                hid::HIDParserBase::decodeReport(report.data(), static_cast<unsigned char>(report.size()), fields[type],
                                                 reportId, type);
            for (hid::HIDReportItem *item : fields[hid::Output])
                item->value = -1;
            std::vector<unsigned char> out(report.size());
            hid::HIDParserBase::makeOutputReport(out.data(), static_cast<unsigned char>(out.size()),
                                                 fields[hid::Output], reportId);
        }
        info.findReportId(report.size() > 1 ? report[1] : 0);
    }
    return 0;
}
