// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_AUDIODEVICENAME_H
#define QVHID_PLATFORM_AUDIODEVICENAME_H

// Which sound card an audio-device name stands for, in the forms Linux programs name them:
//   ALSA:                     hw:2  hw:2,0  plughw:2,0  "... (hw:2,0)"  sysdefault:CARD=Headset20
//   PulseAudio and PipeWire:  alsa_output.usb-Virtual_Audio_Office_Headset_20_A1B2C3-00.analog-stereo
//                             alsa_input.<card>.mono-fallback  alsa_card.<card>
//   descriptions:             "Office Headset 20 Analog Stereo"  "Office Headset 20, USB Audio"
//   browsers:                 "Office Headset 20 (0b0e:030d)"
//   Bluetooth:                bluez_output.00_1B_66_AA_BB_CC.1 (never a USB headset)

#include "qvhid_export.h"
#include "soundcards.h"

#include <QString>
#include <QVector>

namespace hid {

struct QVHID_EXPORT SoundCardMatch
{
    enum Kind {
        NoCard,    ///< the name names no sound card of this machine
        Card,      ///< it names `card`
        Bluetooth, ///< it names a Bluetooth device, which has no USB HID interface
    };
    Kind kind = NoCard;
    int card = -1; ///< index into the list of cards, for Card
    QString rule;  ///< how the name was read: "ALSA card index hw:2", ...
};

/// The card of `cards` that `name` stands for. The forms are tried in this order, and the first
/// that finds a card decides: Bluetooth names, sound-server names, ALSA card ids (CARD=),
/// ALSA card indexes (hw:N), a browser's trailing "(vvvv:pppp)", descriptions that begin with
/// the card's product string.
QVHID_EXPORT SoundCardMatch ResolveAudioDeviceName(const QString &name, const QVector<SoundCard> &cards);

} // namespace hid

#endif // QVHID_PLATFORM_AUDIODEVICENAME_H
