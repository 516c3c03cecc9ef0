// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_MUTEBUTTON_H
#define QVHID_PROBE_MUTEBUTTON_H

#include <platform/micmutekey.h>

#include <QString>
#include <QStringList>

namespace probe {

// The first rules file in `directories` that takes the microphone mute key away from telephony
// devices' mute buttons; empty when there is none.
QString findPhoneMuteRules(const QStringList &directories);

// What the desktop does with a headset's mute button, for a user: whether one press mutes the
// call alone, or the system microphone too, and then what to install or run (rules looked for in
// `directories`). Empty when the library cannot tell.
QString describeMuteButton(const hid::MicMuteKey &key, const QStringList &directories);

} // namespace probe

#endif // QVHID_PROBE_MUTEBUTTON_H
