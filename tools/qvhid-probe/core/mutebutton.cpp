// SPDX-License-Identifier: BSD-3-Clause
#include "mutebutton.h"

#include <QDir>
#include <QFile>

namespace probe {

namespace {

const QString Trigger = QStringLiteral("udevadm control --reload && udevadm trigger --subsystem-match=input "
                                       "--action=change");

} // namespace

QString findPhoneMuteRules(const QStringList &directories)
{
    for (const QString &directory : directories) {
        const QDir dir(directory);
        for (const QString &name :
             dir.entryList({QStringLiteral("*.rules")}, QDir::Files | QDir::Readable, QDir::Name)) {
            QFile file(dir.filePath(name));
            if (file.open(QIODevice::ReadOnly | QIODevice::Text) && file.readAll().contains("ID_QVHID_PHONE_MUTE_KEY"))
                return file.fileName();
        }
    }
    return QString();
}

QString describeMuteButton(const hid::MicMuteKey &key, const QStringList &directories)
{
    switch (key.desktop) {
    case hid::DesktopMute::Unknown: return QString();
    case hid::DesktopMute::Ignores: return QStringLiteral("the call's alone; the desktop does not get it");
    case hid::DesktopMute::Acts: break;
    }
    const QString acts =
        QStringLiteral("the desktop mutes the system microphone too: the kernel also sends the button as the\n"
                       "        microphone mute key (%1), so one press mutes the call and the microphone, and\n"
                       "        unmuting the call leaves the microphone muted. ")
            .arg(key.eventNode);
    const QString rules = findPhoneMuteRules(directories);
    if (!rules.isEmpty())
        return acts
            + QStringLiteral("%1 takes the key away; udev applies it when the headset\n"
                             "        appears: plug it in again, or run '%2' as root.")
                  .arg(rules, Trigger);
    return acts
        + QStringLiteral("The library's 71-qvhid-phone-mute.rules takes the key away from this button\n"
                         "        alone: 'cmake --install' puts it into lib/udev/rules.d of its prefix (the libqvhid1 "
                         "package\n"
                         "        into /usr/lib/udev/rules.d; in a Flatpak, the host needs it); then run '%1'\n"
                         "        as root.")
              .arg(Trigger);
}

} // namespace probe
