// SPDX-License-Identifier: BSD-3-Clause
#include "systemview.h"

#include <libudev.h>

namespace hid {

namespace {

QString udevCardPropertyFromDatabase(const QString &cardName, const QString &key)
{
    udev *context = udev_new();
    if (!context)
        return QString();
    QString value;
    if (udev_device *card = udev_device_new_from_subsystem_sysname(context, "sound", cardName.toUtf8().constData())) {
        value = QString::fromUtf8(udev_device_get_property_value(card, key.toUtf8().constData()));
        udev_device_unref(card);
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
    system.udevCardProperty = udevCardPropertyFromDatabase;
    return system;
}

} // namespace hid
