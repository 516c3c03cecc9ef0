// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_FALLBACKCOLLECTION_H
#define QVHID_FALLBACKCOLLECTION_H

#include "qvhid_export.h"

#include <QString>

#include <initializer_list>

/// The report-parser library's parsed descriptor and its collections, as its header declares
/// them.
struct hid_descriptor;
struct hid_collection;

namespace hid {

/// The top-level collection through which a fallback configuration binds a device that no
/// dictionary row lists.
struct QVHID_EXPORT FallbackCollection
{
    unsigned short usagePage = 0;
    unsigned short usage = 0;
    /// Not a telephony collection: one that holds the Telephony page's Hook Switch or Phone Mute
    /// among its inputs (a Consumer Control collection, as headsets on common USB audio chips
    /// declare them).
    bool telephonyButtonsOnly = false;

    bool isValid() const { return usagePage != 0 || usage != 0; }
    /// "0x000B/0x0001", or, for telephonyButtonsOnly, "the telephony buttons in collection
    /// 0x000C/0x0001".
    QString describe() const;
};

/// The collection of `descriptor` that a fallback configuration whose call-control collection
/// is `usagePage`/`usage` binds, or an invalid one. For a configuration of the Telephony page
/// (0x0B), whatever its usage: a Telephony Headset (0x05), Handset (0x04) or Phone (0x01)
/// application collection, the telephony devices the HID Usage Tables name, in this order;
/// failing those, an application collection of another page with a Telephony Hook Switch or
/// Phone Mute input. For a configuration of another page: that collection alone.
QVHID_EXPORT FallbackCollection FindFallbackCollection(const hid_descriptor *descriptor, unsigned short usagePage,
                                                       unsigned short usage);

/// What FindFallbackCollection looks for, for log lines: "0xFF00/0x0005" for another page;
/// "0x000B/0x0005, 0x000B/0x0004 or 0x000B/0x0001, nor a Hook Switch or Phone Mute in another"
/// for the Telephony page.
QVHID_EXPORT QString DescribeFallbackSearch(unsigned short usagePage, unsigned short usage);

/// Whether `collection`, or a collection inside it, has an input of the Telephony page (0x0B)
/// with one of `usages` (Hook Switch 0x20, Phone Mute 0x2F, ...).
QVHID_EXPORT bool DeclaresTelephonyInput(const hid_collection &collection,
                                         std::initializer_list<unsigned short> usages);

} // namespace hid

#endif // QVHID_FALLBACKCOLLECTION_H
