// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_NODEACCESS_H
#define QVHID_PLATFORM_NODEACCESS_H

#include "platform/systemview.h"
#include "qvhid_export.h"

#include <QString>

namespace hid {

/// Why this process cannot open the hidraw node at `path` for reading and writing, in words
/// that name the cause and its remedy; empty when it can, and for a path that is no device
/// node. A node that sysfs shows but the device directory lacks is what a Flatpak sandbox
/// without `--device=all` looks like; a node that may not be opened is one that udev's rules
/// did not give the user.
QVHID_EXPORT QString DescribeNodeAccess(const SystemView &system, const QString &path);

} // namespace hid

#endif // QVHID_PLATFORM_NODEACCESS_H
