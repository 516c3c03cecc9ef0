// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_EMULATION_KERNELINPUT_H
#define QVHID_TESTS_EMULATION_KERNELINPUT_H

// What the kernel's generic HID driver (hid-generic with hid-input) makes of a HID interface's
// report descriptor: its input devices (/dev/input/eventN) with their keys, and its LEDs.
//
// hid-input makes input devices only for an interface that has at least one application
// collection it knows as an input application (Generic Desktop pointer to multi-axis
// controller, System Control, Wireless Radio Controls, Consumer Control, digitizers). It then
// makes one input device per application collection (hid-generic asks for one per
// application) whose fields map to an event code, the telephony collection included, named
// after the HID device with the application's suffix ("... Consumer Control"). Of the usage
// tables it maps this subset, which is what the emulated devices declare:
//
//   Telephony 0x0B:  Phone Mute 0x2F -> KEY_MICMUTE, the keypad 0xB0-0xBB -> KEY_NUMERIC_*;
//                    nothing else (Hook Switch, Flash, Drop... are not mapped)
//   Consumer 0x0C:   Mute, Volume Increment/Decrement, Play/Pause, Scan Next/Previous, Stop
//   Keyboard 0x07:   letters, digits, Enter, Escape, Backspace, Tab, Space, the modifiers
//   Button 0x09:     BTN_MISC + n (BTN_MOUSE + n in a mouse)
//   LEDs 0x08:       Num/Caps/Scroll Lock, Compose, Kana, Sleep, Suspend, Mute, Mail, Misc,
//                    Charging (outputs); each becomes an LED class device "inputN::<name>"

#include <virtualhid.h>

#include <set>
#include <string>
#include <vector>

namespace emulation {

struct KernelInputDevice
{
    std::string nameSuffix; // "Consumer Control", "Keyboard"...; empty for the telephony application
    std::set<int> keys;     // KEY_* and BTN_* codes
    std::set<int> leds;     // LED_* codes
    std::set<int> relativeAxes;
    std::set<int> absoluteAxes;
    // The HID usages (page << 16 | usage) mapped to keys, as their scan codes ("b002f").
    std::set<unsigned int> scanCodes;
};

// The input devices of an interface with this descriptor, in the order of its application
// collections; none for a descriptor that does not parse or has no input application.
std::vector<KernelInputDevice> kernelInputDevices(const hid::virt::Bytes &descriptor);

// The name the input LED handler gives an LED ("mute" for LED_MUTE); empty for an unknown one.
std::string ledName(int led);

// A capabilities bitmap as sysfs writes it: hexadecimal words of the kernel's long, most
// significant first, without the leading zero words ("1000000000000 0 0 0").
std::string capabilityBitmap(const std::set<int> &bits);

} // namespace emulation

#endif // QVHID_TESTS_EMULATION_KERNELINPUT_H
