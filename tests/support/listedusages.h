// SPDX-License-Identifier: BSD-3-Clause
#ifndef QVHID_TESTS_LISTEDUSAGES_H
#define QVHID_TESTS_LISTEDUSAGES_H

#include <hidapi.h>

#include <QString>
#include <QStringList>

#include <string>

// The usage pairs under which hidapi's enumeration lists the interface at `path`, in order, as
// "page/usage" in hex: "000b/0005".
inline QStringList listedUsagesOf(const std::string &path)
{
    QStringList usages;
    hid_device_info *all = hid_enumerate(0, 0);
    for (const hid_device_info *info = all; info; info = info->next) {
        if (info->path && path == info->path)
            usages << QStringLiteral("%1/%2")
                          .arg(info->usage_page, 4, 16, QLatin1Char('0'))
                          .arg(info->usage, 4, 16, QLatin1Char('0'));
    }
    hid_free_enumeration(all);
    return usages;
}

#endif // QVHID_TESTS_LISTEDUSAGES_H
