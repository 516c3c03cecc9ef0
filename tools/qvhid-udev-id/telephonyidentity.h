// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_UDEV_ID_TELEPHONYIDENTITY_H
#define QVHID_UDEV_ID_TELEPHONYIDENTITY_H

#include <cstddef>
#include <optional>
#include <string>

/// The report-parser library's parsed descriptor, as its header declares it.
struct hid_descriptor;

namespace udevid {

// A HID device's USB vendor and product id.
struct DeviceIds
{
    unsigned short vendorId = 0;
    unsigned short productId = 0;
};

// Why a HID interface is one the library binds by what the device is.
enum class Identity {
    None,             // nothing the library would bind: a keyboard, a mouse, a headset's other interfaces
    TelephonyHeadset, // a Telephony Headset application collection (HID Usage Tables: page 0x0B, usage 0x05)
    TelephonyDevice,  // a Telephony Handset (0x04) or Phone (0x01) application collection: a handset, a
                      // desk phone, a phone adapter
    TelephonyButtons, // no Telephony collection, but the Telephony page's Hook Switch or Phone Mute among
                      // the inputs of another application collection (a Consumer Control): a headset on a
                      // common USB audio chip, if its USB device has an audio interface (a keyboard with a
                      // microphone mute key does not)
    ListedModel,      // a model that the built-in dictionary lists, on its configuration's collection
};

// What the interface with this report descriptor (as sysfs gives it) and these ids is. The
// descriptor is parsed by the report-parser library; one that is empty, longer than it takes or
// not valid is None.
Identity identify(const unsigned char *descriptor, std::size_t length, const std::optional<DeviceIds> &ids);
// The same for a descriptor parsed already; null is None.
Identity identify(const hid_descriptor *descriptor, const std::optional<DeviceIds> &ids);

// Whether one of the descriptor's application collections is on the Telephony page and declares
// Phone Mute (0x0B:0x2F) as an input: the button that the kernel's HID input driver turns into
// the microphone mute key (KEY_MICMUTE, scan code 0xb002f). With `orInOtherCollections`, also
// when it has no Telephony collection and declares Phone Mute in another (TelephonyButtons).
// Null is false.
bool hasTelephonyPhoneMute(const hid_descriptor *descriptor, bool orInOtherCollections = false);

// The vendor and product id from the text of a HID device's uevent file ("HID_ID=0003:00000B0E:
// 0000030D"), or nothing when it has none that fits.
std::optional<DeviceIds> idsFromUevent(const std::string &uevent);

} // namespace udevid

#endif // QVHID_UDEV_ID_TELEPHONYIDENTITY_H
