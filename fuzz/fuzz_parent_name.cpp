// SPDX-License-Identifier: BSD-3-Clause
// An audio-device name, for any text: the hardware name inside it, and the sound card it stands
// for among a desk of cards (identical headsets, one without strings, built-in audio).

#include <hiddevice.h>
#include <platform/audiodevicename.h>

#include <QString>
#include <QVector>

#include <cstdint>

namespace {

hid::SoundCard usbCard(int number, const char *id, const char *product, const char *serial)
{
    hid::SoundCard card;
    card.number = number;
    card.id = QString::fromLatin1(id);
    card.product = QString::fromLatin1(product);
    card.serial = QString::fromLatin1(serial);
    card.manufacturer = QStringLiteral("Virtual Audio");
    card.vendorId = 0x0B0E;
    card.productId = 0x030D;
    card.usbDevice = QStringLiteral("/sys/devices/usb1/1-%1").arg(number);
    card.usbInterface = card.usbDevice + QStringLiteral(":1.0");
    card.udevId = hid::DeriveUdevUsbId(card.manufacturer, card.product, card.serial, card.vendorId, card.productId,
                                       QStringLiteral("00"));
    return card;
}

const QVector<hid::SoundCard> &desk()
{
    static const QVector<hid::SoundCard> cards = [] {
        hid::SoundCard builtIn;
        builtIn.number = 0;
        builtIn.id = QStringLiteral("PCH");
        return QVector<hid::SoundCard>{builtIn, usbCard(1, "Headset20", "Office Headset 20", "A1B2C3"),
                                       usbCard(2, "Headset20_1", "Office Headset 20", "D4E5F6"),
                                       usbCard(3, "Device", "", "")};
    }();
    return cards;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static hid::HidDevice *const device = new hid::HidDevice(nullptr); // lives as long as the process
    const QString name = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString parent = device->getParentDeviceName(name);
    // The hardware name is taken out of the audio-device name, never made up.
    if (!name.contains(parent))
        __builtin_trap();
    // A card found is one of the desk's, and found by a rule that says how.
    const hid::SoundCardMatch match = hid::ResolveAudioDeviceName(name, desk());
    if (match.kind == hid::SoundCardMatch::Card
        && (match.card < 0 || match.card >= desk().size() || match.rule.isEmpty()))
        __builtin_trap();
    if (match.kind != hid::SoundCardMatch::Card && match.card != -1)
        __builtin_trap();
    return 0;
}
