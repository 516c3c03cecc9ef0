// SPDX-License-Identifier: BSD-3-Clause
#include "fallbackcollection.h"

#include "hiddecoderbase.h"
#include "hidlog.h"

#include <hidapi_parser.h>

#include <QStringList>

#include <algorithm>
#include <vector>

namespace hid {

namespace {

constexpr unsigned short TelephonyPage = 0x0B;
constexpr unsigned short HookSwitch = 0x20;
constexpr unsigned short PhoneMute = 0x2F;
constexpr unsigned int ApplicationCollection = 1;

// The Telephony page's device collections, in the order a fallback prefers them.
const std::vector<unsigned short> &telephonyDevices()
{
    static const std::vector<unsigned short> usages{0x05 /* Headset */, 0x04 /* Handset */, 0x01 /* Phone */};
    return usages;
}

} // namespace

QString FallbackCollection::describe() const
{
    const QString collection = log::hexWord(usagePage) + QLatin1Char('/') + log::hexWord(usage);
    return telephonyButtonsOnly ? QStringLiteral("the telephony buttons in collection %1").arg(collection) : collection;
}

FallbackCollection FindFallbackCollection(const hid_descriptor *descriptor, unsigned short usagePage,
                                          unsigned short usage)
{
    FallbackCollection found;
    if (!descriptor)
        return found;
    const std::vector<unsigned short> usages =
        usagePage == TelephonyPage ? telephonyDevices() : std::vector<unsigned short>{usage};
    for (const unsigned short candidate : usages) {
        if (HidDecoderBase::findCallControlCollection(descriptor, usagePage, candidate)) {
            found.usagePage = usagePage;
            found.usage = candidate;
            return found;
        }
    }
    if (usagePage != TelephonyPage)
        return found;
    for (const hid_collection *c = descriptor->device_collection->first_child; c; c = c->next_sibling) {
        if (c->type == ApplicationCollection && c->usage_page != TelephonyPage
            && DeclaresTelephonyInput(*c, {HookSwitch, PhoneMute})) {
            found.usagePage = c->usage_page;
            found.usage = c->usage;
            found.telephonyButtonsOnly = true;
            return found;
        }
    }
    return found;
}

bool DeclaresTelephonyInput(const hid_collection &collection, std::initializer_list<unsigned short> usages)
{
    for (const hid_element *element = collection.first_element; element; element = element->next) {
        if (element->direction == HID_ELEMENT_INPUT && element->usage_page == TelephonyPage
            && std::find(usages.begin(), usages.end(), element->usage) != usages.end())
            return true;
    }
    for (const hid_collection *child = collection.first_child; child; child = child->next_sibling) {
        if (DeclaresTelephonyInput(*child, usages))
            return true;
    }
    return false;
}

QString DescribeFallbackSearch(unsigned short usagePage, unsigned short usage)
{
    if (usagePage != TelephonyPage)
        return log::hexWord(usagePage) + QLatin1Char('/') + log::hexWord(usage);
    QStringList collections;
    for (const unsigned short device : telephonyDevices())
        collections << log::hexWord(TelephonyPage) + QLatin1Char('/') + log::hexWord(device);
    const QString last = collections.takeLast();
    return collections.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last
        + QStringLiteral(", nor a Hook Switch or Phone Mute in another");
}

} // namespace hid
