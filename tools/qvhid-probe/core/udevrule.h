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

// Why the user may not open a device with these ids, and what to do: the udev rule that is
// missing from `directories` and how to install it, or what to do when the rule is there.
QString deniedAccess(const QStringList &directories, unsigned short vid, unsigned short pid);

} // namespace probe

#endif // QVHID_PROBE_UDEVRULE_H
