// SPDX-License-Identifier: BSD-3-Clause
#include "virtualmodels.h"

#include <algorithm>

namespace hid::virt {

namespace {

// What a model shows on the bus and in the enumeration: its ids, strings and interface, and the
// usage of its first top-level collection. Every model is ours, released as version 1.00 unless
// it says otherwise.
DeviceDescription identified(unsigned short vendorId, unsigned short productId, const wchar_t *product,
                             const wchar_t *serialNumber, int interfaceNumber, unsigned short usagePage,
                             unsigned short usage)
{
    DeviceDescription description;
    description.vendorId = vendorId;
    description.productId = productId;
    description.releaseNumber = 0x0100;
    description.product = product;
    description.manufacturer = L"Virtual Audio";
    description.serialNumber = serialNumber;
    description.interfaceNumber = interfaceNumber;
    description.usagePage = usagePage;
    description.usage = usage;
    return description;
}

// Telephony page (0x0B) Headset collection: Hook Switch and Line Busy Tone absolute, Phone
// Mute and Flash relative one-shots, Drop, and a programmable-button array; LED page outputs
// Off-Hook, Ring, Mute, Hold, Microphone and On-Line. With report ids, inputs are report 1 and
// outputs report 2.
//   input:  [id] [bit 0 Hook Switch, 1 Line Busy Tone, 2 Phone Mute, 3 Flash, 4 Drop]
//                [array: 0 none, 1 Programmable Button, 2 Redial, 3 Transfer]
//   output: [id] [bit 0 Off-Hook, 1 Ring, 2 Mute, 3 Hold, 4 Microphone, 5 On-Line]
Bytes telephonyDescriptor(bool withReportIds)
{
    Bytes d = {
        0x05, 0x0B, //   Usage Page (Telephony)
        0x09, 0x05, //   Usage (Headset)
        0xA1, 0x01, //   Collection (Application)
    };
    if (withReportIds)
        d.insert(d.end(), {0x85, 0x01}); // Report ID (1)
    d.insert(d.end(),
             {
                 0x15, 0x00, //     Logical Minimum (0)
                 0x25, 0x01, //     Logical Maximum (1)
                 0x75, 0x01, //     Report Size (1)
                 0x09, 0x20, //     Usage (Hook Switch)
                 0x09, 0x97, //     Usage (Line Busy Tone)
                 0x95, 0x02, //     Report Count (2)
                 0x81, 0x22, //     Input (Data, Variable, Absolute, No Preferred)
                 0x09, 0x2F, //     Usage (Phone Mute)
                 0x09, 0x21, //     Usage (Flash)
                 0x95, 0x02, //     Report Count (2)
                 0x81, 0x06, //     Input (Data, Variable, Relative)
                 0x09, 0x26, //     Usage (Drop)
                 0x95, 0x01, //     Report Count (1)
                 0x81, 0x02, //     Input (Data, Variable, Absolute)
                 0x95, 0x03, //     Report Count (3)
                 0x81, 0x03, //     Input (Constant, Variable, Absolute): padding
                 0x15, 0x01, //     Logical Minimum (1)
                 0x25, 0x03, //     Logical Maximum (3)
                 0x75, 0x08, //     Report Size (8)
                 0x95, 0x01, //     Report Count (1)
                 0x09, 0x07, //     Usage (Programmable Button)
                 0x09, 0x24, //     Usage (Redial)
                 0x09, 0x25, //     Usage (Transfer)
                 0x81, 0x00, //     Input (Data, Array, Absolute)
             });
    if (withReportIds)
        d.insert(d.end(), {0x85, 0x02}); // Report ID (2)
    d.insert(d.end(),
             {
                 0x05, 0x08, //     Usage Page (LEDs)
                 0x15, 0x00, //     Logical Minimum (0)
                 0x25, 0x01, //     Logical Maximum (1)
                 0x75, 0x01, //     Report Size (1)
                 0x95, 0x06, //     Report Count (6)
                 0x09, 0x17, //     Usage (Off-Hook)
                 0x09, 0x18, //     Usage (Ring)
                 0x09, 0x09, //     Usage (Mute)
                 0x09, 0x20, //     Usage (Hold)
                 0x09, 0x21, //     Usage (Microphone)
                 0x09, 0x2A, //     Usage (On-Line)
                 0x91, 0x22, //     Output (Data, Variable, Absolute, No Preferred)
                 0x95, 0x02, //     Report Count (2)
                 0x91, 0x03, //     Output (Constant, Variable, Absolute): padding
                 0xC0,       //   End Collection
             });
    return d;
}

// Buttons of the telephony descriptor. Reports carry the whole input state, so the buttons
// used during a call (mute, flash) keep Hook Switch on, and the answer and hang-up buttons
// leave it where they put it.
std::vector<Button> telephonyButtons(bool withReportIds)
{
    auto report = [withReportIds](unsigned char bits, unsigned char array) {
        return withReportIds ? Bytes{0x01, bits, array} : Bytes{bits, array};
    };
    return {
        {"answer", report(0x01, 0), {}},
        {"hangup", report(0x00, 0), {}},
        {"mute", report(0x05, 0), report(0x01, 0)},
        {"flash", report(0x09, 0), report(0x01, 0)},
        {"drop", report(0x10, 0), report(0x00, 0)},
        {"programmable", report(0x00, 1), report(0x00, 0)},
        {"redial", report(0x00, 2), report(0x00, 0)},
    };
}

DeviceDescription telephonyHeadset(bool withReportIds)
{
    DeviceDescription description =
        identified(0x0B0E, withReportIds ? 0x030D : 0xA345, withReportIds ? L"Office Headset 20" : L"Office Headset 30",
                   withReportIds ? L"VH-0020" : L"VH-0030", 3, 0x0B, 0x05);
    description.descriptor = telephonyDescriptor(withReportIds);
    description.buttons = telephonyButtons(withReportIds);
    return description;
}

// Vendor-defined collection 0xFF00/0x05 with its inputs on page 0xFF30 and its lamps on page
// 0xFF40, using the Telephony and LED usage numbers. Its inputs are momentary buttons that
// read 1 while held.
//   input:  [4] [bit 0 hook, 1 line busy, 2 mute, 3 flash, 4 drop]
//   output: [5] [bit 0 off-hook, 1 ring, 2 mute, 3 hold, 4 microphone, 5 on-line]
DeviceDescription vendorPageHeadset()
{
    DeviceDescription description = identified(0x0B0E, 0xA346, L"Link Adapter 360", L"VL-0360", 3, 0xFF00, 0x05);
    description.releaseNumber = 0x0210;
    description.descriptor = {
        0x06, 0x00, 0xFF, // Usage Page (vendor 0xFF00)
        0x09, 0x05,       // Usage (0x05)
        0xA1, 0x01,       // Collection (Application)
        0x85, 0x04,       //   Report ID (4)
        0x06, 0x30, 0xFF, //   Usage Page (vendor 0xFF30)
        0x15, 0x00,       //   Logical Minimum (0)
        0x25, 0x01,       //   Logical Maximum (1)
        0x75, 0x01,       //   Report Size (1)
        0x09, 0x20,       //   Usage (0x20: hook)
        0x09, 0x97,       //   Usage (0x97: line busy)
        0x09, 0x2F,       //   Usage (0x2F: mute)
        0x09, 0x21,       //   Usage (0x21: flash)
        0x09, 0x26,       //   Usage (0x26: drop)
        0x95, 0x05,       //   Report Count (5)
        0x81, 0x02,       //   Input (Data, Variable, Absolute)
        0x95, 0x03,       //   Report Count (3)
        0x81, 0x03,       //   Input (Constant): padding
        0x85, 0x05,       //   Report ID (5)
        0x06, 0x40, 0xFF, //   Usage Page (vendor 0xFF40)
        0x09, 0x17,       //   Usage (0x17: off-hook)
        0x09, 0x18,       //   Usage (0x18: ring)
        0x09, 0x09,       //   Usage (0x09: mute)
        0x09, 0x20,       //   Usage (0x20: hold)
        0x09, 0x21,       //   Usage (0x21: microphone)
        0x09, 0x2A,       //   Usage (0x2A: on-line)
        0x95, 0x06,       //   Report Count (6)
        0x91, 0x02,       //   Output (Data, Variable, Absolute)
        0x95, 0x02,       //   Report Count (2)
        0x91, 0x03,       //   Output (Constant): padding
        0xC0,             // End Collection
    };
    description.buttons = {
        {"answer", {0x04, 0x01}, {0x04, 0x00}},
        {"mute", {0x04, 0x04}, {0x04, 0x00}},
        {"flash", {0x04, 0x08}, {0x04, 0x00}},
        {"drop", {0x04, 0x10}, {0x04, 0x00}},
    };
    return description;
}

// Consumer Control collection with Volume Increment, Volume Decrement and Mute, as headsets
// show on an interface of their own for the volume keys.
//   input: [bit 0 Volume Increment, 1 Volume Decrement, 2 Mute]
DeviceDescription consumerControlInterface()
{
    DeviceDescription description = identified(0x0B0E, 0x245E, L"Office Headset 40", L"VH-0040", 2, 0x0C, 0x01);
    description.descriptor = {
        0x05, 0x0C, // Usage Page (Consumer)
        0x09, 0x01, // Usage (Consumer Control)
        0xA1, 0x01, // Collection (Application)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x95, 0x03, //   Report Count (3)
        0x09, 0xE9, //   Usage (Volume Increment)
        0x09, 0xEA, //   Usage (Volume Decrement)
        0x09, 0xE2, //   Usage (Mute)
        0x81, 0x02, //   Input (Data, Variable, Absolute)
        0x95, 0x05, //   Report Count (5)
        0x81, 0x03, //   Input (Constant): padding
        0xC0,       // End Collection
    };
    description.buttons = {
        {"volume-up", {0x01}, {0x00}},
        {"volume-down", {0x02}, {0x00}},
        {"speaker-mute", {0x04}, {0x00}},
    };
    return description;
}

DeviceDescription telephonyInterfaceBehindConsumerControl()
{
    DeviceDescription description = telephonyHeadset(true);
    const DeviceDescription consumer = consumerControlInterface();
    description.productId = consumer.productId;
    description.product = consumer.product;
    description.serialNumber = consumer.serialNumber;
    description.interfaceNumber = consumer.interfaceNumber + 1;
    return description;
}

// The telephony headset with its volume keys on the same interface: a Consumer Control
// collection (report 3) after the Telephony Headset collection, as most headsets have it. The
// kernel's HID input driver makes input devices of such an interface, its Phone Mute included.
//   input 3: [bit 0 Volume Increment, 1 Volume Decrement, 2 Mute]
DeviceDescription volumeKeysHeadset()
{
    DeviceDescription description = telephonyHeadset(true);
    description.productId = 0x0422;
    description.product = L"Office Headset 60";
    description.serialNumber = L"VH-0060";
    description.descriptor.insert(description.descriptor.end(),
                                  {
                                      0x05, 0x0C, // Usage Page (Consumer)
                                      0x09, 0x01, // Usage (Consumer Control)
                                      0xA1, 0x01, // Collection (Application)
                                      0x85, 0x03, //   Report ID (3)
                                      0x15, 0x00, //   Logical Minimum (0)
                                      0x25, 0x01, //   Logical Maximum (1)
                                      0x75, 0x01, //   Report Size (1)
                                      0x95, 0x03, //   Report Count (3)
                                      0x09, 0xE9, //   Usage (Volume Increment)
                                      0x09, 0xEA, //   Usage (Volume Decrement)
                                      0x09, 0xE2, //   Usage (Mute)
                                      0x81, 0x02, //   Input (Data, Variable, Absolute)
                                      0x95, 0x05, //   Report Count (5)
                                      0x81, 0x03, //   Input (Constant): padding
                                      0xC0,       // End Collection
                                  });
    description.buttons.push_back({"volume-up", {0x03, 0x01}, {0x03, 0x00}});
    description.buttons.push_back({"volume-down", {0x03, 0x02}, {0x03, 0x00}});
    return description;
}

// A telephony headset without report ids that answers each write with its unchanged input
// state (on-hook, nothing pressed).
DeviceDescription echoingHeadset()
{
    DeviceDescription description = telephonyHeadset(false);
    description.vendorId = 0x047F;
    description.productId = 0xC038;
    description.product = L"Desk Headset 310";
    description.serialNumber = L"VD-0310";
    description.interfaceNumber = 3;
    description.answerToWrite = {0x00, 0x00};
    return description;
}

// The standard telephony headset under ids that no dictionary row lists (the test vendor
// 0x1209): only a dictionary's fallback configuration binds it.
DeviceDescription unlistedHeadset()
{
    DeviceDescription description = telephonyHeadset(true);
    description.vendorId = 0x1209;
    description.productId = 0x0050;
    description.product = L"Office Headset 50";
    description.serialNumber = L"UH-0050";
    return description;
}

// A telephony headset whose input has an array with Null State resting inside its logical
// range, as two current wireless headsets declare it: its resting 0 selects the array's first
// usage. No report ids; ids that no dictionary row lists.
//   input:  [bit 0 Hook Switch, 1 Phone Mute, 2 array: 0 Programmable Button, 1 Button 1]
//   output: [bit 0 Off-Hook, 1 Ring, 2 Mute]
DeviceDescription restingArrayHeadset()
{
    // The telephony headset's identity and collection, with a descriptor and buttons of its own.
    DeviceDescription description = telephonyHeadset(false);
    description.vendorId = 0x1209;
    description.productId = 0x0051;
    description.product = L"Wireless Headset 51";
    description.serialNumber = L"WH-0051";
    description.descriptor = {
        0x05, 0x0B, // Usage Page (Telephony)
        0x09, 0x05, // Usage (Headset)
        0xA1, 0x01, // Collection (Application)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x09, 0x20, //   Usage (Hook Switch)
        0x95, 0x01, //   Report Count (1)
        0x81, 0x22, //   Input (Data, Variable, Absolute, No Preferred)
        0x09, 0x2F, //   Usage (Phone Mute)
        0x81, 0x06, //   Input (Data, Variable, Relative)
        0x09, 0x07, //   Usage (Programmable Button)
        0x05, 0x09, //   Usage Page (Button)
        0x09, 0x01, //   Usage (Button 1)
        0x81, 0x40, //   Input (Data, Array, Absolute, Null State)
        0x95, 0x05, //   Report Count (5)
        0x81, 0x03, //   Input (Constant, Variable, Absolute): padding
        0x05, 0x08, //   Usage Page (LEDs)
        0x09, 0x17, //   Usage (Off-Hook)
        0x09, 0x18, //   Usage (Ring)
        0x09, 0x09, //   Usage (Mute)
        0x95, 0x03, //   Report Count (3)
        0x91, 0x22, //   Output (Data, Variable, Absolute, No Preferred)
        0x95, 0x05, //   Report Count (5)
        0x91, 0x03, //   Output (Constant, Variable, Absolute): padding
        0xC0,       // End Collection
    };
    description.buttons = {
        {"answer", {0x01}, {}},
        {"hangup", {0x00}, {}},
        {"mute", {0x03}, {0x01}},
    };
    return description;
}

// The telephony headset with its Phone Mute declared absolute (an on/off control), as some
// headsets declare it; no array. With report ids: inputs report 1, outputs report 2.
//   input:  [1] [bit 0 Hook Switch, 1 Line Busy Tone, 2 Phone Mute (absolute), 3 Flash, 4 Drop]
//   output: [2] [bit 0 Off-Hook, 1 Ring, 2 Mute, 3 Hold, 4 Microphone, 5 On-Line]
Bytes absoluteMuteDescriptor()
{
    Bytes d = {
        0x05, 0x0B, // Usage Page (Telephony)
        0x09, 0x05, // Usage (Headset)
        0xA1, 0x01, // Collection (Application)
        0x85, 0x01, //   Report ID (1)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x09, 0x20, //   Usage (Hook Switch)
        0x09, 0x97, //   Usage (Line Busy Tone)
        0x09, 0x2F, //   Usage (Phone Mute)
        0x95, 0x03, //   Report Count (3)
        0x81, 0x22, //   Input (Data, Variable, Absolute, No Preferred)
        0x09, 0x21, //   Usage (Flash)
        0x95, 0x01, //   Report Count (1)
        0x81, 0x06, //   Input (Data, Variable, Relative)
        0x09, 0x26, //   Usage (Drop)
        0x81, 0x02, //   Input (Data, Variable, Absolute)
        0x95, 0x03, //   Report Count (3)
        0x81, 0x03, //   Input (Constant): padding
    };
    const Bytes outputs = telephonyDescriptor(true);
    // The telephony headset's output report, from its Report ID (2) to the end.
    const Bytes reportTwo = {0x85, 0x02};
    const auto from = std::search(outputs.begin(), outputs.end(), reportTwo.begin(), reportTwo.end());
    d.insert(d.end(), from, outputs.end());
    return d;
}

// A headset whose absolute Phone Mute is a button: 1 while held, 0 when let go.
DeviceDescription pulsedMuteHeadset()
{
    DeviceDescription description = telephonyHeadset(true);
    description.vendorId = 0x1209;
    description.productId = 0x0057;
    description.product = L"Office Headset 57";
    description.serialNumber = L"VH-0057";
    description.descriptor = absoluteMuteDescriptor();
    description.buttons = {
        {"answer", {0x01, 0x01}, {}},
        {"hangup", {0x01, 0x00}, {}},
        {"mute", {0x01, 0x05}, {0x01, 0x01}},
        {"drop", {0x01, 0x10}, {0x01, 0x00}},
    };
    return description;
}

// A headset whose absolute Phone Mute is a switch: 1 from one press (muted) until the next. Its
// button has two names here, for the press that turns it on and the one that turns it off.
DeviceDescription switchedMuteHeadset()
{
    DeviceDescription description = pulsedMuteHeadset();
    description.productId = 0x0058;
    description.product = L"Office Headset 58";
    description.serialNumber = L"VH-0058";
    description.buttons = {
        {"answer", {0x01, 0x01}, {}},
        {"hangup", {0x01, 0x00}, {}},
        {"mute", {0x01, 0x05}, {}},
        {"unmute", {0x01, 0x01}, {}},
    };
    return description;
}

// A USB desk phone: a Telephony Phone collection (not a Headset one) with its handset's hook,
// Phone Mute, Flash and Drop, a keypad, and its lamps. Report ids: inputs 1, outputs 2.
//   input:  [1] [bit 0 Hook Switch, 1 Phone Mute (relative), 2 Flash (relative), 3 Drop]
//               [keypad array: 0 none, 1..12 Phone Key 0..9, Phone Key Star, Phone Key Pound]
//   output: [2] [bit 0 Off-Hook, 1 Ring, 2 Mute, 3 Hold]
DeviceDescription deskPhone()
{
    DeviceDescription description = identified(0x1209, 0x0053, L"Desk Phone 70", L"DP-0070", 3, 0x0B, 0x01);
    description.descriptor = {
        0x05, 0x0B, // Usage Page (Telephony)
        0x09, 0x01, // Usage (Phone)
        0xA1, 0x01, // Collection (Application)
        0x85, 0x01, //   Report ID (1)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x09, 0x20, //   Usage (Hook Switch)
        0x95, 0x01, //   Report Count (1)
        0x81, 0x22, //   Input (Data, Variable, Absolute, No Preferred)
        0x09, 0x2F, //   Usage (Phone Mute)
        0x09, 0x21, //   Usage (Flash)
        0x95, 0x02, //   Report Count (2)
        0x81, 0x06, //   Input (Data, Variable, Relative)
        0x09, 0x26, //   Usage (Drop)
        0x95, 0x01, //   Report Count (1)
        0x81, 0x02, //   Input (Data, Variable, Absolute)
        0x95, 0x04, //   Report Count (4)
        0x81, 0x03, //   Input (Constant): padding
        0x09, 0x06, //   Usage (Telephony Key Pad)
        0xA1, 0x02, //   Collection (Logical)
        0x19, 0xB0, //     Usage Minimum (Phone Key 0)
        0x29, 0xBB, //     Usage Maximum (Phone Key Pound)
        0x15, 0x01, //     Logical Minimum (1)
        0x25, 0x0C, //     Logical Maximum (12)
        0x75, 0x08, //     Report Size (8)
        0x95, 0x01, //     Report Count (1)
        0x81, 0x40, //     Input (Data, Array, Absolute, Null State)
        0xC0,       //   End Collection
        0x85, 0x02, //   Report ID (2)
        0x05, 0x08, //   Usage Page (LEDs)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x09, 0x17, //   Usage (Off-Hook)
        0x09, 0x18, //   Usage (Ring)
        0x09, 0x09, //   Usage (Mute)
        0x09, 0x20, //   Usage (Hold)
        0x95, 0x04, //   Report Count (4)
        0x91, 0x22, //   Output (Data, Variable, Absolute, No Preferred)
        0x95, 0x04, //   Report Count (4)
        0x91, 0x03, //   Output (Constant): padding
        0xC0,       // End Collection
    };
    description.buttons = {
        {"lift", {0x01, 0x01, 0x00}, {}},
        {"hangup", {0x01, 0x00, 0x00}, {}},
        {"mute", {0x01, 0x03, 0x00}, {0x01, 0x01, 0x00}},
        {"flash", {0x01, 0x05, 0x00}, {0x01, 0x01, 0x00}},
        {"drop", {0x01, 0x09, 0x00}, {0x01, 0x01, 0x00}},
        {"key-5", {0x01, 0x01, 0x06}, {0x01, 0x01, 0x00}},
    };
    return description;
}

// A USB phone adapter for an analog phone: a Telephony Phone collection whose inputs and lamps
// are arrays. No report ids.
//   input:  [array: 0 none, 1 Hook Switch, 2 Phone Mute, 3 Flash, 4 Drop]
//   output: [four array slots: 0 none, 1 Off-Hook, 2 Ring, 3 Mute, 4 Hold]
DeviceDescription phoneAdapter()
{
    DeviceDescription description = identified(0x1209, 0x0054, L"Phone Adapter 80", L"PA-0080", 3, 0x0B, 0x01);
    description.descriptor = {
        0x05, 0x0B, // Usage Page (Telephony)
        0x09, 0x01, // Usage (Phone)
        0xA1, 0x01, // Collection (Application)
        0x15, 0x01, //   Logical Minimum (1)
        0x25, 0x04, //   Logical Maximum (4)
        0x75, 0x08, //   Report Size (8)
        0x95, 0x01, //   Report Count (1)
        0x09, 0x20, //   Usage (Hook Switch)
        0x09, 0x2F, //   Usage (Phone Mute)
        0x09, 0x21, //   Usage (Flash)
        0x09, 0x26, //   Usage (Drop)
        0x81, 0x40, //   Input (Data, Array, Absolute, Null State)
        0x05, 0x08, //   Usage Page (LEDs)
        0x95, 0x04, //   Report Count (4)
        0x09, 0x17, //   Usage (Off-Hook)
        0x09, 0x18, //   Usage (Ring)
        0x09, 0x09, //   Usage (Mute)
        0x09, 0x20, //   Usage (Hold)
        0x91, 0x40, //   Output (Data, Array, Absolute, Null State)
        0xC0,       // End Collection
    };
    // Its hook is a key: pressed to answer, pressed again to hang up.
    description.buttons = {
        {"hook", {0x01}, {0x00}},
        {"mute", {0x02}, {0x00}},
        {"flash", {0x03}, {0x00}},
        {"drop", {0x04}, {0x00}},
    };
    return description;
}

// A USB telephone handset: a Telephony Handset collection. No report ids.
//   input:  [bit 0 Hook Switch, 1 Phone Mute (relative), 2 Flash (relative)]
//   output: [bit 0 Off-Hook, 1 Ring, 2 Mute]
DeviceDescription handset()
{
    DeviceDescription description = identified(0x1209, 0x0055, L"USB Handset 90", L"HS-0090", 3, 0x0B, 0x04);
    description.descriptor = {
        0x05, 0x0B, // Usage Page (Telephony)
        0x09, 0x04, // Usage (Handset)
        0xA1, 0x01, // Collection (Application)
        0x15, 0x00, //   Logical Minimum (0)
        0x25, 0x01, //   Logical Maximum (1)
        0x75, 0x01, //   Report Size (1)
        0x09, 0x20, //   Usage (Hook Switch)
        0x95, 0x01, //   Report Count (1)
        0x81, 0x22, //   Input (Data, Variable, Absolute, No Preferred)
        0x09, 0x2F, //   Usage (Phone Mute)
        0x09, 0x21, //   Usage (Flash)
        0x95, 0x02, //   Report Count (2)
        0x81, 0x06, //   Input (Data, Variable, Relative)
        0x95, 0x05, //   Report Count (5)
        0x81, 0x03, //   Input (Constant): padding
        0x05, 0x08, //   Usage Page (LEDs)
        0x09, 0x17, //   Usage (Off-Hook)
        0x09, 0x18, //   Usage (Ring)
        0x09, 0x09, //   Usage (Mute)
        0x95, 0x03, //   Report Count (3)
        0x91, 0x22, //   Output (Data, Variable, Absolute, No Preferred)
        0x95, 0x05, //   Report Count (5)
        0x91, 0x03, //   Output (Constant): padding
        0xC0,       // End Collection
    };
    description.buttons = {
        {"lift", {0x01}, {}},
        {"hangup", {0x00}, {}},
        {"mute", {0x03}, {0x01}},
        {"flash", {0x05}, {0x01}},
    };
    return description;
}

// A headset on a common USB audio chip: no Telephony collection at all. Its Consumer Control
// collection carries the volume keys and, as extended usages of the Telephony page, Hook
// Switch and Phone Mute (both absolute: 1 while held) and Redial, as the kernel's own fixed-up
// descriptor for one such chip has them. No report ids, no lamps.
//   input: [bit 0 Volume Increment, 1 Volume Decrement, 2 Mute, 3 Hook Switch, 4 Phone Mute,
//           5 Redial]
DeviceDescription consumerTelephonyHeadset()
{
    DeviceDescription description = identified(0x1209, 0x0056, L"USB Headset 10", L"UH-0010", 3, 0x0C, 0x01);
    description.descriptor = {
        0x05, 0x0C,                   // Usage Page (Consumer)
        0x09, 0x01,                   // Usage (Consumer Control)
        0xA1, 0x01,                   // Collection (Application)
        0x15, 0x00,                   //   Logical Minimum (0)
        0x25, 0x01,                   //   Logical Maximum (1)
        0x75, 0x01,                   //   Report Size (1)
        0x09, 0xE9,                   //   Usage (Volume Increment)
        0x09, 0xEA,                   //   Usage (Volume Decrement)
        0x09, 0xE2,                   //   Usage (Mute)
        0x0B, 0x20, 0x00, 0x0B, 0x00, //   Usage (Telephony: Hook Switch)
        0x0B, 0x2F, 0x00, 0x0B, 0x00, //   Usage (Telephony: Phone Mute)
        0x0B, 0x24, 0x00, 0x0B, 0x00, //   Usage (Telephony: Redial)
        0x95, 0x06,                   //   Report Count (6)
        0x81, 0x02,                   //   Input (Data, Variable, Absolute)
        0x95, 0x02,                   //   Report Count (2)
        0x81, 0x03,                   //   Input (Constant): padding
        0xC0,                         // End Collection
    };
    // Its reports carry its whole state: Hook Switch stays on while a call is up.
    description.buttons = {
        {"answer", {0x08}, {}},
        {"hangup", {0x00}, {}},
        {"mute", {0x18}, {0x08}},
        {"volume-up", {0x09}, {0x08}},
    };
    return description;
}

std::vector<Model> makeModels()
{
    return {
        {"telephony-headset",
         "Telephony headset, numbered reports (input 1, output 2)",
         {telephonyHeadset(true)},
         {{0, "Headset20"}}},
        {"telephony-headset-no-ids",
         "Telephony headset without report ids",
         {telephonyHeadset(false)},
         {{0, "Headset30"}}},
        {"vendor-page-headset",
         "Vendor-page call control: collection 0xFF00/0x05, inputs 0xFF30, lamps 0xFF40",
         {vendorPageHeadset()},
         {{0, "Adapter360"}}},
        {"consumer-first-headset",
         "Headset whose first interface is consumer control, the telephony one second",
         {consumerControlInterface(), telephonyInterfaceBehindConsumerControl()},
         {{0, "Headset40"}}},
        {"echoing-headset",
         "Telephony headset without report ids that answers every write with an input report",
         {echoingHeadset()},
         {{0, "Headset310"}}},
        {"unlisted-headset",
         "Telephony headset whose ids no dictionary row lists: bound through a fallback configuration",
         {unlistedHeadset()},
         {{0, "Headset50"}}},
        {"volume-keys-headset",
         "Telephony headset with its volume keys' Consumer Control on the same interface",
         {volumeKeysHeadset()},
         {{0, "Headset60"}}},
        {"pulsed-mute-headset",
         "Telephony headset whose absolute Phone Mute is a button (1 while held; ids no row lists)",
         {pulsedMuteHeadset()},
         {{0, "Headset57"}}},
        {"switched-mute-headset",
         "Telephony headset whose absolute Phone Mute is a switch (1 until the next press; ids no row lists)",
         {switchedMuteHeadset()},
         {{0, "Headset58"}}},
        {"desk-phone",
         "Desk phone: Telephony Phone collection with hook, mute, flash, drop, keypad and lamps (ids no row lists)",
         {deskPhone()},
         {{0, "DeskPhone70"}}},
        {"phone-adapter",
         "Phone adapter: Telephony Phone collection with array inputs and lamps (ids no row lists)",
         {phoneAdapter()},
         {{0, "Adapter80"}}},
        {"handset",
         "Telephone handset: Telephony Handset collection (ids no row lists)",
         {handset()},
         {{0, "Handset90"}}},
        {"consumer-telephony-headset",
         "Headset on a USB audio chip: Hook Switch and Phone Mute inside Consumer Control, no Telephony collection",
         {consumerTelephonyHeadset()},
         {{0, "Headset10"}}},
        {"resting-array-headset",
         "Telephony headset whose Null-State array rests inside its range (0 selects its first usage)",
         {restingArrayHeadset()},
         {{0, "Headset51"}}},
    };
}

} // namespace

const std::vector<Model> &models()
{
    static const std::vector<Model> all = makeModels();
    return all;
}

const Model *findModel(const std::string &name)
{
    for (const Model &model : models()) {
        if (model.name == name)
            return &model;
    }
    return nullptr;
}

} // namespace hid::virt
