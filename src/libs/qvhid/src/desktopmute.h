// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_DESKTOPMUTE_H
#define QVHID_DESKTOPMUTE_H

namespace hid {

/// Whether the desktop, too, acts on the bound headset's mute button.
///
/// The kernel's HID input driver turns a headset's Phone Mute button into the microphone mute
/// key (KEY_MICMUTE) on the headset's input device whenever the same HID interface also has a
/// collection it makes an input device for (the Consumer Control of its volume keys). Desktops
/// (GNOME, KDE Plasma) mute the system microphone on that key, so that one press mutes the call
/// and the microphone. The library's udev rules take the key away from that one button
/// (README: "One press, one mute").
enum class DesktopMute {
    Unknown, ///< no headset is bound, or the library cannot tell (a headset that is no hidraw node)
    Ignores, ///< the desktop does not get the button: no input device sends the key, or udev remapped it
    Acts,    ///< the kernel sends the microphone mute key for the button: the desktop mutes too
};

} // namespace hid

#endif // QVHID_DESKTOPMUTE_H
