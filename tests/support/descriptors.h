// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_DESCRIPTORS_H
#define QVHID_TESTS_DESCRIPTORS_H

// Report descriptors shared by the parser tests, written out item by item.

#include <QByteArray>

namespace descriptors {

// A telephony headset: Hook Switch, Phone Mute and Flash, a 2-bit button array and padding in
// one input byte; Off-Hook, Mute, Ring, Hold, Microphone and On-Line lamps and padding in one
// output byte. Without report ids.
inline QByteArray telephonyHeadset()
{
    return QByteArray::fromHex("050b" // USAGE_PAGE (Telephony)
                               "0905" // USAGE (Headset)
                               "a101" // COLLECTION (Application)
                               "1500" //   LOGICAL_MINIMUM (0)
                               "2501" //   LOGICAL_MAXIMUM (1)
                               "7501" //   REPORT_SIZE (1)
                               "0920" //   USAGE (Hook Switch)
                               "9501" //   REPORT_COUNT (1)
                               "8122" //   INPUT (Data,Var,Abs,NoPref)
                               "092f" //   USAGE (Phone Mute)
                               "0921" //   USAGE (Flash)
                               "9502" //   REPORT_COUNT (2)
                               "8106" //   INPUT (Data,Var,Rel)
                               "0509" //   USAGE_PAGE (Button)
                               "1901" //   USAGE_MINIMUM (1)
                               "2903" //   USAGE_MAXIMUM (3)
                               "2503" //   LOGICAL_MAXIMUM (3)
                               "7502" //   REPORT_SIZE (2)
                               "9501" //   REPORT_COUNT (1)
                               "8100" //   INPUT (Data,Array,Abs)
                               "7501" //   REPORT_SIZE (1)
                               "9503" //   REPORT_COUNT (3)
                               "8103" //   INPUT (Cnst,Var,Abs)
                               "0508" //   USAGE_PAGE (LEDs)
                               "2501" //   LOGICAL_MAXIMUM (1)
                               "0917" //   USAGE (Off-Hook)
                               "0909" //   USAGE (Mute)
                               "0918" //   USAGE (Ring)
                               "0920" //   USAGE (Hold)
                               "0921" //   USAGE (Microphone)
                               "092a" //   USAGE (On-Line)
                               "9506" //   REPORT_COUNT (6)
                               "9122" //   OUTPUT (Data,Var,Abs,NoPref)
                               "9502" //   REPORT_COUNT (2)
                               "9103" //   OUTPUT (Cnst,Var,Abs)
                               "c0"); // END_COLLECTION
}

// The same headset with report id 1 for its buttons and report id 2 for its lamps.
inline QByteArray telephonyHeadsetWithReportIds()
{
    QByteArray descriptor = telephonyHeadset();
    descriptor.insert(6, QByteArray::fromHex("8501")); // after COLLECTION
    descriptor.insert(descriptor.indexOf(QByteArray::fromHex("0508")), QByteArray::fromHex("8502"));
    return descriptor;
}

// Every item tag the parser handles, inside two nested collections.
inline QByteArray everyTag()
{
    return QByteArray::fromHex("050b" // USAGE_PAGE 11
                               "0905" // USAGE 5
                               "a101" // COLLECTION 1
                               "15ff" //   LOGICAL_MINIMUM -1
                               "2501" //   LOGICAL_MAXIMUM 1
                               "3581" //   PHYSICAL_MINIMUM -127
                               "457f" //   PHYSICAL_MAXIMUM 127
                               "550e" //   UNIT_EXPONENT 14
                               "6501" //   UNIT 1
                               "7501" //   REPORT_SIZE 1
                               "8502" //   REPORT_ID 2
                               "9502" //   REPORT_COUNT 2
                               "a4"   //   PUSH
                               "b4"   //   POP
                               "0920" //   USAGE 32
                               "1901" //   USAGE_MINIMUM 1
                               "2902" //   USAGE_MAXIMUM 2
                               "3903" //   DESIGNATOR_INDEX 3
                               "4901" //   DESIGNATOR_MINIMUM 1
                               "5902" //   DESIGNATOR_MAXIMUM 2
                               "7904" //   STRING_INDEX 4
                               "8901" //   STRING_MINIMUM 1
                               "9905" //   STRING_MAXIMUM 5
                               "a901" //   DELIMITER 1
                               "a102" //   COLLECTION 2
                               "8102" //     INPUT 2
                               "9103" //     OUTPUT 3
                               "b102" //     FEATURE 2
                               "c0"   //   END_COLLECTION
                               "c0"); // END_COLLECTION
}

// Collections named by a usage at several depths: a telephony Headset with a logical Hook
// Switch collection and a physical consumer collection inside, then a top-level Consumer Control.
// hidapi's hidraw backend lists such an interface once per named collection, in this order:
// 0x0B/0x05, 0x0B/0x20, 0x0C/0x30, 0x0C/0x01.
inline QByteArray nestedCollections()
{
    return QByteArray::fromHex("050b" // USAGE_PAGE (Telephony)
                               "0905" // USAGE (Headset)
                               "a101" // COLLECTION (Application)
                               "0920" //   USAGE (Hook Switch)
                               "a102" //   COLLECTION (Logical)
                               "7508" //     REPORT_SIZE (8)
                               "9501" //     REPORT_COUNT (1)
                               "8102" //     INPUT (Data,Var,Abs)
                               "c0"   //   END_COLLECTION
                               "050c" //   USAGE_PAGE (Consumer)
                               "0930" //   USAGE (Power)
                               "a100" //   COLLECTION (Physical)
                               "8102" //     INPUT (Data,Var,Abs)
                               "c0"   //   END_COLLECTION
                               "c0"   // END_COLLECTION
                               "0901" // USAGE (Consumer Control)
                               "a101" // COLLECTION (Application)
                               "8102" //   INPUT (Data,Var,Abs)
                               "c0"); // END_COLLECTION
}

} // namespace descriptors

#endif // QVHID_TESTS_DESCRIPTORS_H
