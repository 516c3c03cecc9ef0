// SPDX-License-Identifier: BSD-3-Clause
#include "telephonyidentity.h"

#include <fallbackcollection.h>
#include <hiddecoderbase.h>
#include <hiddeviceinfo.h>
#include <platform/reportdescriptor.h>

#include <hidapi_parser.h>

#include <cstdio>
#include <sstream>

namespace udevid {

namespace {

constexpr unsigned short TelephonyPage = 0x0B;
constexpr unsigned short HeadsetUsage = 0x05;
constexpr unsigned short PhoneMuteUsage = 0x2F;
constexpr unsigned int ApplicationCollection = 1;

} // namespace

Identity identify(const unsigned char *descriptor, std::size_t length, const std::optional<DeviceIds> &ids)
{
    if (!descriptor || length == 0 || length > HID_PARSER_MAX_DESCRIPTOR_SIZE)
        return Identity::None;
    const hid::ReportDescriptor parsed(hid_parse_descriptor(descriptor, length));
    return identify(parsed.get(), ids);
}

Identity identify(const hid_descriptor *descriptor, const std::optional<DeviceIds> &ids)
{
    if (!descriptor)
        return Identity::None;
    // What the standard fallback configuration binds: a Telephony Headset, Handset or Phone
    // collection, else telephony buttons in another.
    const hid::FallbackCollection telephony = hid::FindFallbackCollection(descriptor, TelephonyPage, HeadsetUsage);
    if (telephony.isValid() && !telephony.telephonyButtonsOnly)
        return telephony.usage == HeadsetUsage ? Identity::TelephonyHeadset : Identity::TelephonyDevice;
    if (ids) {
        // Only a row of the model's own: a vendor-wide row would take in the vendor's mice too.
        bool isExplicit = false;
        const hid::HidCode code = hid::HidDeviceDict::getHidCode(ids->vendorId, ids->productId, isExplicit);
        if (isExplicit
            && hid::HidDecoderBase::findCallControlCollection(descriptor, code.devUsagePage, code.devUsageID))
            return Identity::ListedModel;
    }
    return telephony.isValid() ? Identity::TelephonyButtons : Identity::None;
}

bool hasTelephonyPhoneMute(const hid_descriptor *descriptor, bool orInOtherCollections)
{
    if (!descriptor)
        return false;
    bool telephonyCollection = false;
    bool muteElsewhere = false;
    for (const hid_collection *application = descriptor->device_collection->first_child; application;
         application = application->next_sibling) {
        if (application->type != ApplicationCollection)
            continue;
        if (application->usage_page == TelephonyPage) {
            telephonyCollection = true;
            if (hid::DeclaresTelephonyInput(*application, {PhoneMuteUsage}))
                return true;
        } else if (hid::DeclaresTelephonyInput(*application, {PhoneMuteUsage})) {
            muteElsewhere = true;
        }
    }
    return orInOtherCollections && !telephonyCollection && muteElsewhere;
}

std::optional<DeviceIds> idsFromUevent(const std::string &uevent)
{
    std::istringstream lines(uevent);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.rfind("HID_ID=", 0) != 0)
            continue;
        unsigned int bus = 0;
        unsigned int vendor = 0;
        unsigned int product = 0;
        char end = 0;
        // Three hexadecimal fields and nothing after them.
        if (std::sscanf(line.c_str() + 7, "%8x:%8x:%8x%c", &bus, &vendor, &product, &end) != 3)
            return std::nullopt;
        if (vendor > 0xFFFF || product > 0xFFFF)
            return std::nullopt;
        return DeviceIds{static_cast<unsigned short>(vendor), static_cast<unsigned short>(product)};
    }
    return std::nullopt;
}

} // namespace udevid
