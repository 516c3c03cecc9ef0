// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_PLATFORM_SYSTEMVIEW_H
#define QVHID_PLATFORM_SYSTEMVIEW_H

#include "qvhid_export.h"

#include <QString>

#include <functional>

namespace hid {

/// Where the system is read from. Tests point it at a tree of their own.
struct QVHID_EXPORT SystemView
{
    SystemView(); ///< sysfs at /sys, device nodes in /dev, no udev lookup

    QString sysfsRoot;
    /// Where hidraw nodes appear as headsets are plugged in.
    QString deviceDirectory;
    /// udev's property `key` of the device `sysname` ("card2", "event5") of `subsystem`
    /// ("sound", "input"); empty when udev's database has none, or when there is no database
    /// (a system without udev, a Flatpak sandbox).
    std::function<QString(const QString &subsystem, const QString &sysname, const QString &key)> udevProperty;
};

/// sysfs at /sys, device nodes in /dev, and udev's own database, through libudev.
QVHID_EXPORT SystemView LiveSystemView();

} // namespace hid

#endif // QVHID_PLATFORM_SYSTEMVIEW_H
