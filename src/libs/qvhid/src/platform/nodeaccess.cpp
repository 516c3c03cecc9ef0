// SPDX-License-Identifier: BSD-3-Clause
#include "nodeaccess.h"

#include <QFileInfo>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace hid {

QString DescribeNodeAccess(const SystemView &system, const QString &path)
{
    if (!path.startsWith(QLatin1Char('/')))
        return QString();
    if (::access(QFile::encodeName(path).constData(), R_OK | W_OK) == 0)
        return QString();
    const int error = errno;
    const QString name = QFileInfo(path).fileName();
    if (error == ENOENT) {
        if (QFileInfo::exists(system.sysfsRoot + QStringLiteral("/class/hidraw/") + name))
            return QStringLiteral("sysfs shows the device, but there is no %1: inside a Flatpak sandbox, hidraw "
                                  "nodes are there only with the permission --device=all (finish-args)")
                .arg(path);
        return QStringLiteral("there is no %1 (the headset was unplugged)").arg(path);
    }
    if (error == EACCES || error == EPERM)
        return QStringLiteral("permission denied: the user at the seat may open a telephony headset once this "
                              "library's udev rules are installed on the system (its runtime package; for a "
                              "Flatpak, on the host) and the headset is plugged in again");
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace hid
