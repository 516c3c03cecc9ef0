// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_MICMUTEKEY_H
#define QVHID_PLATFORM_MICMUTEKEY_H

// Whether the kernel passes a headset's Phone Mute button on to the desktop, read from sysfs and
// udev's database without opening anything: the input devices that the kernel's HID input
// driver made below the headset's HID device, their key capabilities, and the remap of the
// button's scan code that the library's udev rules put on their event nodes.

#include "desktopmute.h"
#include "platform/systemview.h"
#include "qvhid_export.h"

#include <QString>

namespace hid {

/// The udev property that remaps the Telephony page's Phone Mute (scan code 0xb002f) on an
/// event node, and the value that takes the key away.
extern const char *const PhoneMuteRemapProperty; // "KEYBOARD_KEY_b002f"
extern const char *const PhoneMuteRemapValue;    // "reserved"

struct QVHID_EXPORT MicMuteKey
{
    DesktopMute desktop = DesktopMute::Unknown;
    /// When the desktop acts: the event node that sends the key ("/dev/input/event7").
    QString eventNode;
};

/// Whether the desktop also acts on the mute button of the HID interface at `hidPath`
/// ("/dev/hidraw4"). Unknown for a path that is no hidraw node of this sysfs.
QVHID_EXPORT MicMuteKey CheckMicMuteKey(const SystemView &system, const QString &hidPath);

/// Whether a capabilities bitmap as sysfs writes it ("1000000000000 0 0 0": hexadecimal words
/// of the kernel's long, most significant first) has the bit `code`.
QVHID_EXPORT bool HasCapability(const QString &bitmap, int code);

} // namespace hid

#endif // QVHID_PLATFORM_MICMUTEKEY_H
