// SPDX-License-Identifier: BSD-3-Clause
#include "sysfstree.h"

#include "hidrawmajor.h"
#include "textformat.h"

#include <QString>

#include <cctype>
#include <cstring>
#include <fstream>
#include <utility>

namespace emulation {

namespace fs = std::filesystem;

namespace {

std::string utf8(const std::wstring &text)
{
    return QString::fromStdWString(text).toUtf8().toStdString();
}

// Writes `bytes` exactly, binary descriptors included.
void writeFile(const fs::path &path, const std::string &bytes)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// A link at `path` to `target`, relative as sysfs's links are.
void link(const fs::path &target, const fs::path &path)
{
    std::error_code ignored;
    fs::remove(path, ignored);
    fs::create_symlink(target.lexically_relative(path.parent_path()), path);
}

std::string productAttribute(const hid::virt::DeviceDescription &description)
{
    return format("%x/%x/%x", description.vendorId, description.productId, description.releaseNumber);
}

std::string interfaceName(const std::string &usbName, int interfaceNumber)
{
    return format("%s:1.%d", usbName.c_str(), interfaceNumber);
}

std::string hidName(int number, const hid::virt::DeviceDescription &interface)
{
    return format("0003:%04X:%04X.%04X", interface.vendorId, interface.productId, number + 1);
}

// One part of ID_SERIAL as udev's usb_id makes it: white space cut at the ends and each run
// inside made '_', then whatever is not a letter, a digit or one of #+-.:=@_ made '_'.
std::string udevSerialPart(const std::string &text)
{
    std::string result;
    bool space = false;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            space = !result.empty();
            continue;
        }
        if (space)
            result += '_';
        space = false;
        const bool allowed = std::isalnum(static_cast<unsigned char>(c)) || std::strchr("#+-.:=@_", c);
        result += allowed ? c : '_';
    }
    return result;
}

} // namespace

SysfsTree::SysfsTree(fs::path sysfs, fs::path udevData)
    : m_sysfs(std::move(sysfs))
    , m_udevData(std::move(udevData))
{
}

void SysfsTree::createSkeleton() const
{
    for (const char *directory : {"devices/platform/qvhid-emulation/usb1", "devices/platform/qvhid-emulation/usb2",
                                  "devices/pci0000:00/0000:00:1f.3/sound", "class/hidraw", "class/sound",
                                  "bus/hid/devices", "bus/usb/devices", "dev/char"})
        fs::create_directories(m_sysfs / directory);
    fs::create_directories(m_udevData);
}

fs::path SysfsTree::usbDevicePath(const std::string &usbName) const
{
    return m_sysfs / "devices/platform/qvhid-emulation" / ("usb" + usbName.substr(0, usbName.find('-'))) / usbName;
}

void SysfsTree::addUsbDevice(const std::string &usbName, const hid::virt::DeviceDescription &identity) const
{
    const fs::path device = usbDevicePath(usbName);
    fs::create_directories(device);
    writeFile(device / "uevent",
              format("DEVTYPE=usb_device\nDRIVER=usb\nPRODUCT=%s\nTYPE=0/0/0\nBUSNUM=00%c\n",
                     productAttribute(identity).c_str(), usbName.front()));
    writeFile(device / "idVendor", format("%04x\n", identity.vendorId));
    writeFile(device / "idProduct", format("%04x\n", identity.productId));
    writeFile(device / "bcdDevice", format("%04x\n", identity.releaseNumber));
    const std::pair<const char *, const std::wstring &> strings[] = {
        {"manufacturer", identity.manufacturer}, {"product", identity.product}, {"serial", identity.serialNumber}};
    for (const auto &string : strings) {
        if (!string.second.empty())
            writeFile(device / string.first, utf8(string.second) + "\n");
    }
    link(m_sysfs / "bus/usb", device / "subsystem");
    link(device, m_sysfs / "bus/usb/devices" / usbName);
}

void SysfsTree::removeUsbDevice(const std::string &usbName) const
{
    std::error_code ignored;
    fs::remove(m_sysfs / "bus/usb/devices" / usbName, ignored);
    fs::remove_all(usbDevicePath(usbName), ignored);
}

void SysfsTree::addHidInterface(const std::string &usbName, int number,
                                const hid::virt::DeviceDescription &interface) const
{
    const fs::path usbInterface = usbDevicePath(usbName) / interfaceName(usbName, interface.interfaceNumber);
    const fs::path hidDevice = usbInterface / hidName(number, interface);
    const fs::path hidraw = hidDevice / "hidraw" / format("hidraw%d", number);
    fs::create_directories(hidraw);

    writeFile(usbInterface / "uevent",
              format("DEVTYPE=usb_interface\nDRIVER=usbhid\nPRODUCT=%s\nTYPE=0/0/0\nINTERFACE=3/0/0\n",
                     productAttribute(interface).c_str()));
    writeFile(usbInterface / "bInterfaceNumber", format("%02x\n", interface.interfaceNumber));
    link(m_sysfs / "bus/usb", usbInterface / "subsystem");

    const std::string name = utf8(interface.manufacturer) + " " + utf8(interface.product);
    writeFile(hidDevice / "uevent",
              format("DRIVER=hid-generic\nHID_ID=0003:%08X:%08X\nHID_NAME=%s\nHID_PHYS=usb-qvhid-%s/input%d\n"
                     "HID_UNIQ=%s\nMODALIAS=hid:b0003g0001v%08Xp%08X\n",
                     interface.vendorId, interface.productId, name.c_str(), usbName.c_str(), interface.interfaceNumber,
                     utf8(interface.serialNumber).c_str(), interface.vendorId, interface.productId));
    writeFile(hidDevice / "report_descriptor", std::string(interface.descriptor.begin(), interface.descriptor.end()));
    link(m_sysfs / "bus/hid", hidDevice / "subsystem");

    writeFile(hidraw / "uevent", format("MAJOR=%u\nMINOR=%d\nDEVNAME=hidraw%d\n", HidrawMajor, number, number));
    writeFile(hidraw / "dev", format("%u:%d\n", HidrawMajor, number));
    link(m_sysfs / "class/hidraw", hidraw / "subsystem");
    link(hidDevice, hidraw / "device");

    link(hidraw, m_sysfs / "class/hidraw" / format("hidraw%d", number));
    link(hidraw, m_sysfs / "dev/char" / format("%u:%d", HidrawMajor, number));
    link(hidDevice, m_sysfs / "bus/hid/devices" / hidName(number, interface));
}

void SysfsTree::removeHidInterface(const std::string &usbName, int number,
                                   const hid::virt::DeviceDescription &interface) const
{
    std::error_code ignored;
    fs::remove(m_sysfs / "class/hidraw" / format("hidraw%d", number), ignored);
    fs::remove(m_sysfs / "dev/char" / format("%u:%d", HidrawMajor, number), ignored);
    fs::remove(m_sysfs / "bus/hid/devices" / hidName(number, interface), ignored);
    fs::remove_all(usbDevicePath(usbName) / interfaceName(usbName, interface.interfaceNumber)
                       / hidName(number, interface),
                   ignored);
}

int SysfsTree::claimCard(const std::string &id, std::string &uniqueId)
{
    int number = 0;
    while (m_cardIds.count(number))
        ++number;
    uniqueId = id;
    for (int suffix = 1;; ++suffix) {
        bool taken = false;
        for (const auto &other : m_cardIds)
            taken = taken || other.second == uniqueId;
        if (!taken)
            break;
        uniqueId = id + "_" + std::to_string(suffix);
    }
    m_cardIds[number] = uniqueId;
    return number;
}

void SysfsTree::addCard(const fs::path &parent, int number, const std::string &id) const
{
    const fs::path card = parent / "sound" / format("card%d", number);
    fs::create_directories(card);
    writeFile(card / "uevent", {});
    writeFile(card / "id", id + "\n");
    writeFile(card / "number", format("%d\n", number));
    link(m_sysfs / "class/sound", card / "subsystem");
    link(parent, card / "device");
    link(card, m_sysfs / "class/sound" / format("card%d", number));
}

int SysfsTree::addSoundCard(const std::string &usbName, const hid::virt::DeviceDescription &identity,
                            const hid::virt::SoundCard &card)
{
    std::string id;
    const int number = claimCard(card.id, id);
    const fs::path interface = usbDevicePath(usbName) / interfaceName(usbName, card.interfaceNumber);
    fs::create_directories(interface);
    writeFile(interface / "uevent",
              format("DEVTYPE=usb_interface\nDRIVER=snd-usb-audio\nPRODUCT=%s\nTYPE=0/0/0\nINTERFACE=1/1/0\n",
                     productAttribute(identity).c_str()));
    writeFile(interface / "bInterfaceNumber", format("%02x\n", card.interfaceNumber));
    link(m_sysfs / "bus/usb", interface / "subsystem");
    addCard(interface, number, id);
    writeFile(m_udevData / format("+sound:card%d", number),
              "E:ID_ID=" + udevSoundCardId(identity, card.interfaceNumber) + "\n");
    return number;
}

void SysfsTree::removeUdevData(int card) const
{
    std::error_code ignored;
    fs::remove(m_udevData / format("+sound:card%d", card), ignored);
}

int SysfsTree::addBuiltInSoundCard(const std::string &id)
{
    std::string uniqueId;
    const int number = claimCard(id, uniqueId);
    addCard(m_sysfs / "devices/pci0000:00/0000:00:1f.3", number, uniqueId);
    return number;
}

std::string SysfsTree::udevSoundCardId(const hid::virt::DeviceDescription &identity, int interfaceNumber)
{
    std::string vendor = udevSerialPart(utf8(identity.manufacturer));
    std::string model = udevSerialPart(utf8(identity.product));
    if (vendor.empty())
        vendor = format("%04x", identity.vendorId);
    if (model.empty())
        model = format("%04x", identity.productId);
    const std::string serial = udevSerialPart(utf8(identity.serialNumber));
    return "usb-" + vendor + "_" + model + (serial.empty() ? "" : "_" + serial) + format("-%02x", interfaceNumber);
}

} // namespace emulation
