// SPDX-License-Identifier: BSD-3-Clause
#include "soundcards.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace hid {

namespace {

// A sysfs attribute without its line end; empty when the file is missing.
QString attribute(const QString &directory, const char *name)
{
    QFile file(directory + QLatin1Char('/') + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll()).trimmed();
}

unsigned short hexAttribute(const QString &directory, const char *name)
{
    bool ok = false;
    const uint value = attribute(directory, name).toUInt(&ok, 16);
    return ok && value <= 0xFFFF ? static_cast<unsigned short>(value) : 0;
}

bool exists(const QString &directory, const char *name)
{
    return QFileInfo::exists(directory + QLatin1Char('/') + QLatin1String(name));
}

// "card12" -> 12; -1 for anything else (controlC0, pcmC0D0p, seq, timer...).
int cardNumberOf(const QString &name)
{
    if (!name.startsWith(QLatin1String("card")) || name.size() == 4)
        return -1;
    bool ok = false;
    const int number = name.mid(4).toInt(&ok);
    return ok && name.mid(4) == QString::number(number) ? number : -1;
}

// The first directory from `directory` upwards that is a USB device (it has ids, and no
// interface number as its interfaces have), without leaving `root`.
QString usbDeviceAbove(const QString &root, QString directory)
{
    const QString canonicalRoot = QFileInfo(root).canonicalFilePath();
    if (canonicalRoot.isEmpty())
        return QString();
    while (directory.startsWith(canonicalRoot + QLatin1Char('/'))) {
        if (exists(directory, "idVendor") && exists(directory, "idProduct") && !exists(directory, "bInterfaceNumber"))
            return directory;
        directory = QFileInfo(directory).path();
    }
    return QString();
}

// As udev's usb_id makes each part of ID_SERIAL: white space cut at both ends and each run of
// it inside made one '_', then every character outside 0-9 A-Z a-z # + - . : = @ _ made '_'.
// Characters beyond ASCII are kept, as udev keeps valid UTF-8.
QString udevPart(const QString &text)
{
    const QString words = text.simplified().replace(QLatin1Char(' '), QLatin1Char('_'));
    QString result;
    result.reserve(words.size());
    for (const QChar c : words) {
        const bool allowed = c.unicode() > 0x7F || (c.unicode() < 0x80 && c.isLetterOrNumber())
            || QStringLiteral("#+-.:=@_").contains(c);
        result.append(allowed ? c : QLatin1Char('_'));
    }
    return result;
}

// udev leaves out a serial with control characters, characters beyond ASCII or commas.
bool isUsableSerial(const QString &serial)
{
    return !serial.isEmpty() && std::all_of(serial.begin(), serial.end(), [](QChar c) {
        return c.unicode() >= 0x20 && c.unicode() <= 0x7F && c != QLatin1Char(',');
    });
}

SoundCard readCard(const SystemView &system, const QString &cardDirectory, int number)
{
    SoundCard card;
    card.number = number;
    card.id = attribute(cardDirectory, "id");
    const QString interface = QFileInfo(cardDirectory + QStringLiteral("/device")).canonicalFilePath();
    const QString usbDevice = usbDeviceAbove(system.sysfsRoot, interface);
    if (!usbDevice.isEmpty() && exists(interface, "bInterfaceNumber")) {
        card.usbDevice = usbDevice;
        card.usbInterface = interface;
        card.vendorId = hexAttribute(usbDevice, "idVendor");
        card.productId = hexAttribute(usbDevice, "idProduct");
        card.manufacturer = attribute(usbDevice, "manufacturer");
        card.product = attribute(usbDevice, "product");
        card.serial = attribute(usbDevice, "serial");
    }
    const QString name = QStringLiteral("card%1").arg(number);
    if (system.udevProperty)
        card.udevId = system.udevProperty(QStringLiteral("sound"), name, QStringLiteral("ID_ID"));
    if (card.udevId.isEmpty() && card.isUsb()) {
        card.udevId = DeriveUdevUsbId(card.manufacturer, card.product, card.serial, card.vendorId, card.productId,
                                      attribute(interface, "bInterfaceNumber"));
        card.udevIdDerived = true;
    }
    return card;
}

} // namespace

QString SoundCard::displayName() const
{
    if (!product.isEmpty())
        return product;
    return QStringLiteral("USB Device 0x%1:0x%2")
        .arg(vendorId, 4, 16, QLatin1Char('0'))
        .arg(productId, 4, 16, QLatin1Char('0'));
}

QVector<SoundCard> ListSoundCards(const SystemView &system)
{
    QVector<SoundCard> cards;
    const QString classDirectory = system.sysfsRoot + QStringLiteral("/class/sound");
    const QStringList entries = QDir(classDirectory).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System);
    for (const QString &entry : entries) {
        const int number = cardNumberOf(entry);
        if (number < 0)
            continue;
        const QString directory = QFileInfo(classDirectory + QLatin1Char('/') + entry).canonicalFilePath();
        if (!directory.isEmpty())
            cards.append(readCard(system, directory, number));
    }
    std::sort(cards.begin(), cards.end(), [](const SoundCard &a, const SoundCard &b) { return a.number < b.number; });
    return cards;
}

QString UsbDeviceOfHidPath(const SystemView &system, const QString &hidPath)
{
    const QString prefix = QStringLiteral("/dev/hidraw");
    if (!hidPath.startsWith(prefix) || hidPath.size() == prefix.size())
        return QString();
    for (int i = prefix.size(); i < hidPath.size(); ++i) {
        if (!hidPath.at(i).isDigit() || hidPath.at(i).unicode() > 0x7F)
            return QString();
    }
    const QString node = system.sysfsRoot + QStringLiteral("/class/hidraw/") + hidPath.mid(5);
    const QString directory = QFileInfo(node).canonicalFilePath();
    return directory.isEmpty() ? QString() : usbDeviceAbove(system.sysfsRoot, directory);
}

QString DeriveUdevUsbId(const QString &manufacturer, const QString &product, const QString &serial,
                        unsigned short vendorId, unsigned short productId, const QString &interfaceNumber)
{
    QString vendor = udevPart(manufacturer);
    if (vendor.isEmpty())
        vendor = QStringLiteral("%1").arg(vendorId, 4, 16, QLatin1Char('0'));
    QString model = udevPart(product);
    if (model.isEmpty())
        model = QStringLiteral("%1").arg(productId, 4, 16, QLatin1Char('0'));
    QString udevSerial = vendor + QLatin1Char('_') + model;
    if (isUsableSerial(serial)) {
        const QString part = udevPart(serial);
        if (!part.isEmpty())
            udevSerial += QLatin1Char('_') + part;
    }
    return QStringLiteral("usb-") + udevSerial + QLatin1Char('-') + interfaceNumber;
}

} // namespace hid
