// SPDX-License-Identifier: BSD-3-Clause
#include "micmutekey.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <linux/input-event-codes.h>

namespace hid {

const char *const PhoneMuteRemapProperty = "KEYBOARD_KEY_b002f";
const char *const PhoneMuteRemapValue = "reserved";

namespace {

QString readAttribute(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    // A capabilities bitmap is a few hundred characters at most.
    return QString::fromLatin1(file.read(4096)).trimmed();
}

// "/dev/hidraw4" -> "hidraw4"; empty for any other path.
QString hidrawNodeName(const QString &path)
{
    const QString prefix = QStringLiteral("/dev/hidraw");
    if (!path.startsWith(prefix) || path.size() == prefix.size())
        return QString();
    for (int i = prefix.size(); i < path.size(); ++i) {
        if (path.at(i) < QLatin1Char('0') || path.at(i) > QLatin1Char('9'))
            return QString();
    }
    return path.mid(5);
}

QStringList entriesStartingWith(const QString &directory, const QString &prefix)
{
    return QDir(directory).entryList({prefix + QLatin1Char('*')}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::System,
                                     QDir::Name);
}

} // namespace

bool HasCapability(const QString &bitmap, int code)
{
    if (code < 0)
        return false;
    constexpr int WordBits = static_cast<int>(sizeof(unsigned long) * 8);
    const QStringList words = bitmap.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const int index = words.size() - 1 - code / WordBits;
    if (index < 0)
        return false;
    bool ok = false;
    const unsigned long long word = words.at(index).toULongLong(&ok, 16);
    return ok && (word >> (code % WordBits) & 1) != 0;
}

MicMuteKey CheckMicMuteKey(const SystemView &system, const QString &hidPath)
{
    MicMuteKey result;
    const QString node = hidrawNodeName(hidPath);
    if (node.isEmpty())
        return result;
    const QString hidDevice =
        QFileInfo(system.sysfsRoot + QStringLiteral("/class/hidraw/") + node + QStringLiteral("/device"))
            .canonicalFilePath();
    if (hidDevice.isEmpty())
        return result;
    result.desktop = DesktopMute::Ignores;
    const QString inputs = hidDevice + QStringLiteral("/input");
    for (const QString &input : entriesStartingWith(inputs, QStringLiteral("input"))) {
        const QString directory = inputs + QLatin1Char('/') + input;
        if (!HasCapability(readAttribute(directory + QStringLiteral("/capabilities/key")), KEY_MICMUTE))
            continue;
        for (const QString &event : entriesStartingWith(directory, QStringLiteral("event"))) {
            const QString remap = system.udevProperty
                ? system.udevProperty(QStringLiteral("input"), event, QLatin1String(PhoneMuteRemapProperty))
                : QString();
            if (remap == QLatin1String(PhoneMuteRemapValue))
                continue;
            result.desktop = DesktopMute::Acts;
            result.eventNode = QStringLiteral("/dev/input/") + event;
            return result;
        }
    }
    return result;
}

} // namespace hid
