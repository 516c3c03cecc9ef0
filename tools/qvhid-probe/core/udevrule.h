// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PROBE_UDEVRULE_H
#define QVHID_PROBE_UDEVRULE_H

#include <QString>
#include <QStringList>

namespace probe {

// The udev rule that lets the user at the seat open the hidraw nodes of a vendor's product
// (of every product of the vendor when `pid` is 0).
QString udevRule(unsigned short vid, unsigned short pid);

// The directories udev reads rules from, in its order of precedence.
QStringList udevRuleDirectories();

// The first rules file in `directories` with a rule that matches the vendor and product (or
// the whole vendor), or empty when there is none.
QString findUdevRule(const QStringList &directories, unsigned short vid, unsigned short pid);

// The first rules file in `directories` that runs the library's udev program, which gives the
// user at the seat access to every telephony headset; empty when there is none.
QString findTelephonyRules(const QStringList &directories);

// Why the user may not open a device with these ids, and what to do. A telephony headset
// (`isTelephonyDevice`: one the library's udev rules give the user by its descriptor) is covered by the
// library's telephony rules: how to install them, or what to do when they are there. Any other
// device needs a rule of its own: the one missing from `directories` and how to install it, or
// what to do when it is there.
QString deniedAccess(const QStringList &directories, unsigned short vid, unsigned short pid, bool isTelephonyDevice);

} // namespace probe

#endif // QVHID_PROBE_UDEVRULE_H
