// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_SOUNDCARDS_H
#define QVHID_PLATFORM_SOUNDCARDS_H

// The sound cards of this machine and the USB devices behind them, read from sysfs and from
// udev's database. On Linux an audio device and the HID interfaces of the same headset meet
// only here: the card's sysfs device is a USB interface, and the headset's hidraw nodes hang
// below another interface of the same USB device.

#include "qvhid_export.h"
#include "systemview.h"

#include <QString>
#include <QVector>

namespace hid {

/// One ALSA sound card, /sys/class/sound/cardN.
struct QVHID_EXPORT SoundCard
{
    int number = -1; ///< N, as in hw:N
    QString id;      ///< ALSA's card id, as in `CARD=<id>`
    /// udev's ID_ID of the card, the name the sound servers give it (`usb-<serial>-<interface>`).
    QString udevId;
    bool udevIdDerived = false; ///< udev had none; made from the USB strings as udev makes it
    /// The card's USB device and interface, as sysfs directories; empty for a card on another bus.
    QString usbDevice;
    QString usbInterface;
    unsigned short vendorId = 0;
    unsigned short productId = 0;
    QString manufacturer; ///< the USB device's strings, trimmed; empty when it has none
    QString product;
    QString serial;

    bool isUsb() const { return !usbDevice.isEmpty(); }
    /// The name the kernel gives the card: the USB product string, or, for a device without
    /// one, "USB Device 0x0b0e:0x030d".
    QString displayName() const;
};

/// Every sound card, in the order of their numbers.
QVHID_EXPORT QVector<SoundCard> ListSoundCards(const SystemView &system);

/// The sysfs directory of the USB device that the HID interface at `hidPath` (as hidapi's hidraw
/// backend names it, "/dev/hidraw3") belongs to; empty for any other path or device.
QVHID_EXPORT QString UsbDeviceOfHidPath(const SystemView &system, const QString &hidPath);

/// udev's ID_ID of a USB sound card, made as udev makes it: "usb-" ID_SERIAL "-" the interface
/// number (two hex digits, as sysfs gives it). ID_SERIAL is vendor "_" model, then "_" serial when
/// the device has a usable one; vendor and model are the manufacturer and product strings, or
/// the ids in hex when a string is missing.
QVHID_EXPORT QString DeriveUdevUsbId(const QString &manufacturer, const QString &product, const QString &serial,
                                     unsigned short vendorId, unsigned short productId, const QString &interfaceNumber);

} // namespace hid

#endif // QVHID_PLATFORM_SOUNDCARDS_H
