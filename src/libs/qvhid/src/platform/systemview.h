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
    /// udev's property `key` of the sound card `cardName` ("card2"); empty when udev has none.
    std::function<QString(const QString &cardName, const QString &key)> udevCardProperty;
};

/// sysfs at /sys, device nodes in /dev, and udev's own database, through libudev.
QVHID_EXPORT SystemView LiveSystemView();

} // namespace hid

#endif // QVHID_PLATFORM_SYSTEMVIEW_H
