// SPDX-License-Identifier: BSD-3-Clause
#include "systemview.h"

#include <libudev.h>

namespace hid {

namespace {

QString udevPropertyFromDatabase(const QString &subsystem, const QString &sysname, const QString &key)
{
    udev *context = udev_new();
    if (!context)
        return QString();
    QString value;
    if (udev_device *device = udev_device_new_from_subsystem_sysname(context, subsystem.toUtf8().constData(),
                                                                     sysname.toUtf8().constData())) {
        value = QString::fromUtf8(udev_device_get_property_value(device, key.toUtf8().constData()));
        udev_device_unref(device);
    }
    udev_unref(context);
    return value;
}

} // namespace

SystemView::SystemView()
    : sysfsRoot(QStringLiteral("/sys"))
    , deviceDirectory(QStringLiteral("/dev"))
{
}

SystemView LiveSystemView()
{
    SystemView system;
    system.udevProperty = udevPropertyFromDatabase;
    return system;
}

} // namespace hid
