// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_UDEV_ID_NODEPROPERTIES_H
#define QVHID_UDEV_ID_NODEPROPERTIES_H

// What the rules learn of one device of a HID interface, read from sysfs (nothing is opened):
//
//   hidrawN        ID_QVHID_TELEPHONY=1 for a telephony device's call-control interface (a
//                  Telephony Headset, Handset or Phone collection, a listed model's, or the
//                  telephony buttons of a headset on a USB audio chip)
//   eventN         ID_QVHID_PHONE_MUTE_KEY=1 for the event node that sends a telephony
//                  device's Phone Mute button as the microphone mute key (KEY_MICMUTE)
//   inputN::NAME   ID_QVHID_TELEPHONY_LED=1 for an LED of a telephony device's input device
//
// Anything else, or a device that cannot be read, has none.

#include <string>
#include <vector>

namespace udevid {

extern const char *const TelephonyProperty;    // "ID_QVHID_TELEPHONY"
extern const char *const PhoneMuteKeyProperty; // "ID_QVHID_PHONE_MUTE_KEY"
extern const char *const TelephonyLedProperty; // "ID_QVHID_TELEPHONY_LED"

// The properties of the device `name` (its kernel name: "hidraw3", "event5", "input7::mute")
// in the sysfs at `sysfs`, each as "KEY=1".
std::vector<std::string> propertiesOf(const std::string &sysfs, const std::string &name);

} // namespace udevid

#endif // QVHID_UDEV_ID_NODEPROPERTIES_H
