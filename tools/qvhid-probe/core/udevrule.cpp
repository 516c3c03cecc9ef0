// SPDX-License-Identifier: BSD-3-Clause
#include "udevrule.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

namespace probe {

namespace {

QString udevHex(unsigned short id)
{
    return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0'));
}

// The value that a rule line matches for the attribute, lower-cased, or empty.
QString matchedValue(const QString &line, const QString &attribute)
{
    const QRegularExpression match(QStringLiteral("ATTRS\\{%1\\}==\"([0-9A-Fa-f]+)\"").arg(attribute));
    return match.match(line).captured(1).toLower();
}

} // namespace

QString udevRule(unsigned short vid, unsigned short pid)
{
    QString rule = QStringLiteral("SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"%1\"").arg(udevHex(vid));
    if (pid != 0)
        rule += QStringLiteral(", ATTRS{idProduct}==\"%1\"").arg(udevHex(pid));
    return rule + QStringLiteral(", TAG+=\"uaccess\"");
}

QStringList udevRuleDirectories()
{
    return {QStringLiteral("/etc/udev/rules.d"), QStringLiteral("/run/udev/rules.d"),
            QStringLiteral("/usr/local/lib/udev/rules.d"), QStringLiteral("/usr/lib/udev/rules.d"),
            QStringLiteral("/lib/udev/rules.d")};
}

QString findUdevRule(const QStringList &directories, unsigned short vid, unsigned short pid)
{
    for (const QString &directory : directories) {
        const QDir dir(directory);
        for (const QString &name :
             dir.entryList({QStringLiteral("*.rules")}, QDir::Files | QDir::Readable, QDir::Name)) {
            QFile file(dir.filePath(name));
            if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
                continue;
            while (!file.atEnd()) {
                const QString line = QString::fromUtf8(file.readLine()).trimmed();
                if (line.startsWith(QLatin1Char('#')) || matchedValue(line, QStringLiteral("idVendor")) != udevHex(vid))
                    continue;
                const QString product = matchedValue(line, QStringLiteral("idProduct"));
                if (product.isEmpty() || product == udevHex(pid))
                    return file.fileName();
            }
        }
    }
    return QString();
}

QString findTelephonyRules(const QStringList &directories)
{
    for (const QString &directory : directories) {
        const QDir dir(directory);
        for (const QString &name :
             dir.entryList({QStringLiteral("*.rules")}, QDir::Files | QDir::Readable, QDir::Name)) {
            QFile file(dir.filePath(name));
            if (file.open(QIODevice::ReadOnly | QIODevice::Text) && file.readAll().contains("ID_QVHID_TELEPHONY"))
                return file.fileName();
        }
    }
    return QString();
}

QString deniedAccess(const QStringList &directories, unsigned short vid, unsigned short pid, bool isTelephonyDevice)
{
    const QString replug = QStringLiteral(
        "udev applies rules when a device appears:\n"
        "        unplug the headset and plug it in again (or run 'udevadm trigger --subsystem-match=hidraw' as\n"
        "        root). The rule gives access to the user logged in at the seat, not to a login over ssh.");
    if (isTelephonyDevice) {
        const QString telephonyRules = findTelephonyRules(directories);
        if (!telephonyRules.isEmpty())
            return QStringLiteral("denied, although %1 gives the user at the seat every telephony headset. ")
                       .arg(telephonyRules)
                + replug;
        return QStringLiteral(
            "denied; the library's udev rules for telephony headsets are not installed. 'cmake --install'\n"
            "        puts 70-qvhid-telephony.rules into lib/udev/rules.d of its prefix (the libqvhid1 package into\n"
            "        /usr/lib/udev/rules.d); with another prefix than /usr, copy it to /etc/udev/rules.d. A softphone\n"
            "        in a Flatpak cannot bring them: they must be installed on the host. Then run\n"
            "        'udevadm control --reload && udevadm trigger --subsystem-match=hidraw'.");
    }
    const QString rulesFile = findUdevRule(directories, vid, pid);
    if (!rulesFile.isEmpty())
        return QStringLiteral("denied, although %1 has a rule for it. ").arg(rulesFile) + replug;
    return QStringLiteral(
               "denied; no udev rule gives the user access to it. The missing rule is\n"
               "        %1\n"
               "        As root, add it to /etc/udev/rules.d/70-qvhid-headsets.rules (or install the rules of your\n"
               "        dictionary: qvhid-probe udev-rules [--dictionary FILE] > "
               "/etc/udev/rules.d/70-qvhid-headsets.rules),\n"
               "        then run 'udevadm control --reload && udevadm trigger --subsystem-match=hidraw'.")
        .arg(udevRule(vid, pid));
}

} // namespace probe
