// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_CALLCONTROL_H
#define QVHID_PROBE_CALLCONTROL_H

#include <QString>
#include <QStringList>

struct hid_descriptor;

namespace probe {

// The call-control function that a report descriptor declares, as the library's fallback finds
// it: a Telephony Headset, Handset or Phone collection (HID Usage Tables, page 0x0B), else the
// Telephony page's buttons in another collection (a Consumer Control); with the pages its
// buttons and lamps use.
struct CallControl
{
    bool found = false;
    bool telephonyButtonsOnly = false; // no Telephony collection: the buttons of another
    unsigned short collectionPage = 0;
    unsigned short collectionUsage = 0;
    unsigned short inputPage = 0x0B;  // Telephony buttons when it has any
    unsigned short outputPage = 0x08; // LEDs when it has any
    bool hasInputs = false;
    bool hasOutputs = false;
    QStringList lamps; // the LED usages it can switch, by name

    // True when the library's built-in codes (the "Standart" configuration) fit it.
    bool fitsBuiltInCodes() const;
};

CallControl findCallControl(const hid_descriptor *descriptor);

// One line for people: "Telephony Headset collection (0x000B/0x0005), buttons on 0x000B, ...".
QString describe(const CallControl &control);

// The dictionary text that makes the library bind a headset with these ids and this call
// control: a row, and a configuration unless the built-in one fits.
QString dictionaryEntry(const CallControl &control, const QString &product, unsigned short vid, unsigned short pid);

} // namespace probe

#endif // QVHID_PROBE_CALLCONTROL_H
